// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLayout>

#include <memory>
#include <vector>

// A row of controls at their own sizes, which goes on in further rows where the
// window is too narrow for one. In each row what is added behind a stretch stands at
// the right.
class RowLayout : public QLayout {
public:
    // Pixels between two controls; rows stand no closer than links need.
    explicit RowLayout(int spacing, QWidget *parent = nullptr);

    // Each counts for the next control that is added.
    void AddStretch() { m_isAfterStretch = true; }
    void AddSpacing(int pixels) { m_extra += pixels; }

    void addItem(QLayoutItem *item) override;
    int count() const override { return static_cast<int>(m_cells.size()); }
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect &place) override;

private:
    struct Cell {
        std::unique_ptr<QLayoutItem> Item;
        int Before = 0; // pixels; not at the start of a row
        bool IsAfterStretch = false;
    };

    // Where the row ends that begins there, and its size.
    size_t EndOfRow(size_t first, int width, QSize &size) const;
    // The height; places the controls as well if it is to.
    int Place(const QRect &place, bool isToPlace) const;

    std::vector<Cell> m_cells;
    int m_extra = 0;
    bool m_isAfterStretch = false;
};
