// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "session/ExamSession.h"
#include "session/PageLayout.h"

#include <QFrame>

class InfoPanel;
class OptionRows;
class QScrollBar;
class TextBlock;

// The question frame: the stem and its option rows on a page that scrolls, and
// the panel of the review after the exam. It paints a PageState and reports
// what the candidate does to the rows.
class QuestionFrame : public QFrame {
    Q_OBJECT
public:
    explicit QuestionFrame(QWidget *parent);

    // Shows another item, from its top. ShowChanges follows, for the panel.
    void ShowItem(const PageState &page);
    // Brings selectors and panel up to date.
    void ShowChanges(const PageState &page);
    // Lays out the texts of the item that ShowItem is expected to bring next, unless they
    // are very long: the stem, then the options'. None does nothing.
    void Prepare(QStringList texts);
    // Puts everything inside where the boxes say, the panel to its home, and the
    // content to its top; the scroll bar keeps its value, as far as it is within
    // the new range. The frame has its size already.
    void Place(const PageLayout::Boxes &boxes);
    // The size of the texts, above 0, with 1 for the usual one. What is in view
    // stays in view.
    void SetTextScale(double scale);
    // Moves the panel as dragging it does; a distance in twips. It stays on an axis
    // on which it would leave the frame.
    void MovePanel(PageLayout::Point distance);

    // The width of the border on each side, and of the scroll bar.
    double BorderTwips() const;
    double ScrollBarTwips() const;
    // Both are owned by the frame.
    InfoPanel *Info() const { return fraInfo; }
    QScrollBar *ScrollBar() const { return vsbScroll; }
    // The controls of the rows on the page and the panel's button in the order of
    // the Tab key, between the two given.
    void ChainTabs(QWidget *before, QWidget *after);

Q_SIGNALS:
    // Rows count from 1.
    void RadioClicked(int row);
    void CheckClicked(int row, bool checked);
    void LabelClicked(int row);

protected:
    void wheelEvent(QWheelEvent *event) override;

private:
    void ArrangeRows();
    void AdjustScrollBar();
    void MoveContent(int value);
    // Scrolls a part of the content into view, pixels of the content.
    void Reveal(int top, int bottom);
    PageLayout::PanelFrame PanelFrame() const;
    void PutPanel(PageLayout::Point topLeft);

    QWidget *picQuestion;
    TextBlock *lblQuestion;
    OptionRows *m_rows;
    QScrollBar *vsbScroll;
    InfoPanel *fraInfo;
    PageLayout::Boxes m_boxes;
    // The panel's lower right corner inside the frame, in twips, where the
    // candidate or the last change of size has put it.
    PageLayout::Point m_panelCorner;
    double m_contentHeight = 0;
    int m_keptScroll = 0; // the scroll bar's value while the content fits
    double m_scale = 1;
};
