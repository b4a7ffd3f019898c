// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ui/OleColor.h"

#include <QVariantMap>
#include <QWidget>

class QLabel;

// A text that looks like a web link, is exactly as large as its text, and when
// clicked (or pressed by Enter or Space) opens its address in the browser. With
// an empty address it only emits Click.
class LinkLabel : public QWidget {
    Q_OBJECT
public:
    explicit LinkLabel(QWidget *parent = nullptr);

    // The settings of a link placed anew: its own object name as the caption,
    // underlined, blue.
    void InitProperties();
    // The settings by their persisted names; what is missing gets its default.
    void ReadProperties(const QVariantMap &Store);
    QVariantMap WriteProperties() const;

    const QString &HRef() const { return m_href; }
    void SetHRef(const QString &HRef);
    OleColor ForeColor() const { return m_foreColor; }
    void SetForeColor(OleColor Color);
    // The control's own state, whatever disables the window around it.
    bool Enabled() const { return isEnabledTo(parentWidget()); }
    void SetEnabled(bool Enabled);
    QFont Font() const;
    void SetFont(const QFont &Font);
    void Refresh();
    QString Caption() const;
    void SetCaption(const QString &Caption);
    OleColor BackColor() const { return m_backColor; }
    void SetBackColor(OleColor Color);

Q_SIGNALS:
    void Click();
    // A property, by its persisted name, is no longer as it was stored.
    void PropertyChanged(const QString &Name);

protected:
    void showEvent(QShowEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    friend class LinkInterface;

    void Fit();
    void Apply();
    void Follow();

    QLabel *lblLink;
    bool m_isDoubleClick = false;
    QString m_href;
    OleColor m_foreColor = OleColors::LinkBlue;
    OleColor m_backColor = OleColors::ButtonFace;
};
