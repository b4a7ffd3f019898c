// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "session/PageLayout.h"
#include "ui/Panel.h"

class QLabel;
class QPushButton;
class TextBlock;
struct PageState;

// The panel that shows, after the exam, the key of the item on the page and
// whether the answer was right. It is as large as these need and resizes itself.
// It reports how the pointer drags it and leaves the moving to its frame.
class InfoPanel : public Panel {
    Q_OBJECT
public:
    explicit InfoPanel(QWidget *parent);

    // The Why button is there only for an item with an explanation; its place stays
    // free otherwise.
    void Display(const PageState &page);
    // The largest size it may take, in pixels: a key longer than a line wraps,
    // and what finds no line any more gives way to an ellipsis.
    void SetRoom(QSize room);
    // Owned by the panel, which does nothing when it is pressed.
    QPushButton *WhyButton() const { return cmdWhy; }

Q_SIGNALS:
    // Both points in twips from the panel's own upper left corner, with every move
    // of the pointer while its left button is held.
    void Dragged(PageLayout::Point press, PageLayout::Point pointer);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void Fit();
    void ShowStatus();

    TextBlock *lblAnswer;
    QLabel *lblStatus;
    QPushButton *cmdWhy;
    QString m_answer;
    QSize m_room;
    bool m_isCorrect = false;
    bool m_isPressed = false;
    PageLayout::Point m_press;
};
