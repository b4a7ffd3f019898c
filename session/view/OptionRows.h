// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "session/ExamSession.h"
#include "ui/TextBlock.h"

#include <QFont>
#include <QObject>
#include <QSize>

#include <map>
#include <memory>
#include <vector>

class QAbstractButton;
class QCheckBox;
class QRadioButton;
class QWidget;

// The option rows of an item, a selector and a text each, below the stem. The
// rows in and near the view have controls; so have the first one, the last one
// and the neighbours of the one with the focus, which makes every row reachable
// by the keyboard. Of the others only the place is known, so the number of
// options costs little. Rows count from 0 here, places are pixels of the content,
// y from its top. The content owns the object and the controls.
class OptionRows : public QObject {
    Q_OBJECT
public:
    // Left of the selectors, and kept around a row that is brought into view.
    static constexpr int Inset = 12;

    explicit OptionRows(QWidget *content);

    // The rows of another item, which is seen from its top. Arrange comes next.
    void Load(const PageState &page);
    // Brings the selectors up to date: which are on and which are enabled. A page
    // with another kind or number of rows is ignored; Load is for that.
    void Update(const PageState &page);
    // Lays out the texts of the options that Load is expected to bring next.
    void Prepare(const QStringList &texts);
    // For selectors and texts. The rows get their new places with the next Arrange.
    void SetFont(const QFont &font);
    // Places the rows below the question text. Sizes, and the height of the
    // content that holds both, in twips.
    double Arrange(double questionWidth, double questionHeight);
    // Which part of the content is in view. Rows there get controls; before Arrange
    // it does nothing.
    void Show(int top, int bottom);
    // A row that begins below that place loses the focus, so that no key ticks an
    // option that the candidate has not seen.
    void KeepFocusAbove(int bottom);
    // The rows stand between these two, which are not owned, in the order of the
    // Tab key, from here on and whenever rows get other controls.
    void ChainTabs(QWidget *before, QWidget *after);

Q_SIGNALS:
    // Numbers of options, from 1. By the candidate alone, not by Load or Update.
    // The button has changed by itself already; Update sets what it is to show.
    void RadioClicked(int number);
    void CheckClicked(int number, bool checked);
    void LabelClicked(int number);
    // A key has brought the focus to the row at this place.
    void Reached(int top, int bottom);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Row {
        size_t Index = 0;
        QRadioButton *Radio = nullptr;
        QCheckBox *Check = nullptr;
        TextBlock *Label = nullptr;
    };
    // The size of a text without a control; the width is 0 when not measured.
    struct Measure {
        TextBlock::Extent Extent;
        int Width = 0;
    };

    size_t Count() const { return m_texts.size(); }
    QAbstractButton *SelectorOf(const Row &row) const;
    // The row with the focus; null when it is elsewhere.
    Row *FocusRow() const;
    Row *NewRow();
    void Fill(Row &row);
    void FillState(const Row &row);
    void Place(const Row &row);
    void Release(std::unique_ptr<Row> row);
    void MakeRows();
    int TextHeight(size_t index, int width);
    // Brings their controls into order, for the Tab key and for screen readers.
    void OrderRows();
    // Gives the focus to the next control behind the rows.
    void LeaveRows();
    bool MoveFocus(const Row &from, int key);

    QWidget *m_content;
    QFont m_font;
    SelectorKind m_kind = SelectorKind::Radio;
    std::vector<Selector> m_selectors;
    std::vector<QString> m_texts;
    std::vector<Measure> m_measures;
    std::vector<int> m_tops;
    std::vector<int> m_heights;
    QSize m_selectorSize;
    int m_labelWidth = 0;
    int m_topInset = 0;
    std::map<size_t, std::unique_ptr<Row>> m_rows; // those with controls
    std::vector<std::unique_ptr<Row>> m_spare; // hidden
    size_t m_first = 0; // in view or near it
    size_t m_last = 0;
    bool m_isFilling = false;
    QWidget *m_tabBefore = nullptr;
    QWidget *m_tabAfter = nullptr;
};
