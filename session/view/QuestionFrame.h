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

    // Shows another item, from its top; its state comes with ShowChanges.
    void ShowItem(const PageState &page);
    // Brings selectors and panel up to date.
    void ShowChanges(const PageState &page);
    // Puts everything inside where the boxes say, and the panel to its home. The
    // frame has its size already.
    void Place(const PageLayout::Boxes &boxes);
    // The size of the texts, 1 being the system font's. What is in view stays
    // in view.
    void SetTextScale(double scale);
    // Moves the panel as dragging it does; a distance in twips.
    void MovePanel(PageLayout::Point distance);

    double BorderTwips() const;
    double ScrollBarTwips() const;
    InfoPanel *Info() const { return fraInfo; }
    QScrollBar *ScrollBar() const { return vsbScroll; }
    // The controls of the rows on the page in the order of the Tab key, between
    // the two given.
    void ChainTabs(QWidget *before, QWidget *after);

Q_SIGNALS:
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
