// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ui/OleColor.h"

#include <QVariantMap>
#include <QWidget>

// A plain area with a background and a border of one line on its edges.
class Panel : public QWidget {
    Q_OBJECT
public:
    explicit Panel(QWidget *parent = nullptr);

    // The settings by their persisted names; what is missing gets its default.
    void ReadProperties(const QVariantMap &Store);
    QVariantMap WriteProperties() const;

    OleColor BackColor() const { return m_backColor; }
    void SetBackColor(OleColor Color);
    // The control's own state, whatever disables the window around it.
    bool Enabled() const { return isEnabledTo(parentWidget()); }
    void SetEnabled(bool Enabled);
    void Refresh();
    OleColor BorderColor() const { return m_borderColor; }
    void SetBorderColor(OleColor Color);

Q_SIGNALS:
    // A property, by its persisted name, is no longer as it was stored.
    void PropertyChanged(const QString &Name);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    OleColor m_backColor = OleColors::ButtonFace;
    OleColor m_borderColor = OleColors::WindowText;
};
