#include "session/QuestionFrame.h"

#include "session/InfoPanel.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace {

// Room inside the question text and left of the selectors, in pixels, so that
// nothing touches the frame's line.
constexpr int TextInset = 12;
constexpr int SelectorGap = 6;
constexpr double QuestionScale = 1.3;

QString Captioned(const QString &caption)
{
    return QString(caption).replace(u'&', u"&&"_s);
}

}

QuestionFrame::QuestionFrame(QWidget *parent)
    : QFrame(parent)
    , picQuestion(new QWidget(this))
    , lblQuestion(new TextBlock(picQuestion))
    , vsbScroll(new QScrollBar(Qt::Vertical, this))
    , fraInfo(new InfoPanel(this))
{
    setObjectName(u"picBorder"_s);
    picQuestion->setObjectName(u"picQuestion"_s);
    lblQuestion->setObjectName(u"lblQuestion"_s);
    vsbScroll->setObjectName(u"vsbScroll"_s);
    vsbScroll->setAccessibleName(u"Scroll the question"_s);
    setFrameShape(QFrame::StyledPanel);
    QPalette paper = palette();
    paper.setColor(QPalette::Window, Qt::white);
    setPalette(paper);
    setAutoFillBackground(true);
    lblQuestion->SetInsets(TextInset, TextInset);
    SetTextScale(1);
    fraInfo->hide();
    connect(vsbScroll, &QScrollBar::valueChanged, this, &QuestionFrame::MoveContent);
    connect(fraInfo, &InfoPanel::Dragged, this, [this](PageLayout::Point press, PageLayout::Point pointer) {
        MovePanel({ pointer.X - press.X, pointer.Y - press.Y });
    });
    Theme::ShowThumb(vsbScroll);
}

PageLayout::PanelFrame QuestionFrame::PanelFrame() const
{
    return { Twips::Of(contentsRect().width()), Twips::Of(contentsRect().height()), ScrollBarTwips() };
}

void QuestionFrame::PutPanel(PageLayout::Point topLeft)
{
    fraInfo->move(contentsRect().topLeft() + QPoint(Twips::ToPixels(topLeft.X), Twips::ToPixels(topLeft.Y)));
}

void QuestionFrame::MovePanel(PageLayout::Point distance)
{
    const QPoint from = fraInfo->pos() - contentsRect().topLeft();
    const PageLayout::Box panel{ Twips::Of(from.x()), Twips::Of(from.y()), Twips::Of(fraInfo->width()),
                                 Twips::Of(fraInfo->height()) };
    const PageLayout::Point to = PanelFrame().Drag(panel, {}, distance);
    PutPanel(to);
    m_panelCorner = { to.X + panel.Width, to.Y + panel.Height };
}

double QuestionFrame::BorderTwips() const
{
    return Twips::Of(frameWidth());
}

double QuestionFrame::ScrollBarTwips() const
{
    return Twips::Of(vsbScroll->sizeHint().width());
}

QuestionFrame::Row &QuestionFrame::RowAt(size_t index)
{
    if (index < m_rows.size())
        return m_rows[index];
    Row row{ new QRadioButton(picQuestion), new QCheckBox(picQuestion), new TextBlock(picQuestion) };
    const int number = static_cast<int>(index) + 1;
    row.Radio->setObjectName(u"optChoices%1"_s.arg(number));
    row.Check->setObjectName(u"chkChoices%1"_s.arg(number));
    row.Label->setObjectName(u"lblChoices%1"_s.arg(number));
    row.Label->setFont(lblQuestion->font());
    // Which radio buttons belong together is the session's matter.
    row.Radio->setAutoExclusive(false);
    for (QAbstractButton *selector : { static_cast<QAbstractButton *>(row.Radio), static_cast<QAbstractButton *>(row.Check) }) {
        selector->setFont(lblQuestion->font());
        selector->hide();
        selector->installEventFilter(this);
    }
    connect(row.Radio, &QRadioButton::clicked, this, [this, number] { Q_EMIT RadioClicked(number); });
    connect(row.Check, &QCheckBox::clicked, this, [this, number](bool checked) { Q_EMIT CheckClicked(number, checked); });
    connect(row.Label, &TextBlock::Clicked, this, [this, number] { Q_EMIT LabelClicked(number); });
    if (m_tabEnd) {
        QWidget::setTabOrder(m_tabEnd, row.Radio);
        QWidget::setTabOrder(row.Radio, row.Check);
        m_tabEnd = row.Check;
    }
    m_rows.push_back(row);
    return m_rows.back();
}

void QuestionFrame::ChainTabs(QWidget *before, QWidget *after)
{
    m_tabEnd = before;
    for (const Row &row : m_rows) {
        QWidget::setTabOrder(m_tabEnd, row.Radio);
        QWidget::setTabOrder(row.Radio, row.Check);
        m_tabEnd = row.Check;
    }
    QWidget::setTabOrder(m_tabEnd, fraInfo->WhyButton());
    QWidget::setTabOrder(fraInfo->WhyButton(), after);
}

QAbstractButton *QuestionFrame::SelectorOf(const Row &row) const
{
    if (m_kind == SelectorKind::Radio)
        return row.Radio;
    return row.Check;
}

void QuestionFrame::ShowItem(const PageState &page)
{
    lblQuestion->SetText(page.Problem);
    m_kind = page.Kind;
    const size_t shown = m_rowCount;
    m_rowCount = 0;
    for (const Selector &selector : page.Selectors()) {
        if (!selector.IsVisible)
            break;
        Row &row = RowAt(m_rowCount);
        const RowLabel &label = page.lblChoices[m_rowCount];
        QAbstractButton *button = SelectorOf(row);
        button->setText(Captioned(selector.Caption));
        button->setAccessibleName(selector.Caption + u' ' + label.Text);
        row.Label->SetText(label.Text);
        row.Radio->setVisible(m_kind == SelectorKind::Radio);
        row.Check->setVisible(m_kind == SelectorKind::Check);
        row.Label->show();
        ++m_rowCount;
    }
    for (size_t index = m_rowCount; index < std::min(std::max(shown, m_rowCount), m_rows.size()); ++index) {
        m_rows[index].Radio->hide();
        m_rows[index].Check->hide();
        m_rows[index].Label->hide();
    }
    ArrangeRows();
    MoveContent(0);
    vsbScroll->setValue(0);
}

void QuestionFrame::ShowChanges(const PageState &page)
{
    for (size_t index = 0; index < std::min(m_rowCount, page.Selectors().size()); ++index) {
        const Selector &selector = page.Selectors()[index];
        QAbstractButton *button = SelectorOf(m_rows[index]);
        button->setEnabled(selector.IsEnabled);
        button->setChecked(selector.Value == Selector::On);
    }
    fraInfo->setVisible(page.IsPostExam);
    if (page.IsPostExam) {
        fraInfo->Display(page);
        // A longer key makes the panel grow away from the corner it stands in,
        // as far as the frame has room there; a shorter one brings it back.
        const double width = Twips::Of(fraInfo->width());
        const double height = Twips::Of(fraInfo->height());
        PutPanel(PanelFrame().Keep({ m_panelCorner.X - width, m_panelCorner.Y - height, width, height }));
        fraInfo->raise();
    }
}

void QuestionFrame::Place(const PageLayout::Boxes &boxes)
{
    m_boxes = boxes;
    const QPoint corner = contentsRect().topLeft();
    // Rounding may make it a pixel too long for the frame.
    vsbScroll->setGeometry(boxes.ScrollBar.ToPixels().translated(corner) & contentsRect());
    const PageLayout::Point room = PanelFrame().Room();
    fraInfo->SetRoom({ Twips::ToPixels(room.X), Twips::ToPixels(room.Y) });
    m_panelCorner = PanelFrame().Home();
    PutPanel({ m_panelCorner.X - Twips::Of(fraInfo->width()), m_panelCorner.Y - Twips::Of(fraInfo->height()) });
    ArrangeRows();
    // The content is shown from its top again, whatever the scroll bar says.
    MoveContent(0);
}

void QuestionFrame::ArrangeRows()
{
    const int questionWidth = Twips::ToPixels(m_boxes.QuestionWidth);
    const int questionHeight = lblQuestion->HeightForWidth(questionWidth);
    lblQuestion->setGeometry(0, 0, questionWidth, questionHeight);

    // Every selector is as wide as the widest letter needs.
    QSize size;
    if (m_rowCount > 0) {
        QAbstractButton *first = SelectorOf(m_rows.front());
        size = first->sizeHint();
        size.rwidth() += first->fontMetrics().horizontalAdvance(u'W')
            - first->fontMetrics().horizontalAdvance(first->text().left(1)) + SelectorGap;
    }
    const double selectorWidth = Twips::Of(size.width() + TextInset);
    const int labelWidth = Twips::ToPixels(PageLayout::LabelWidth(m_boxes.QuestionWidth, selectorWidth));
    std::vector<double> heights;
    for (size_t index = 0; index < m_rowCount; ++index) {
        TextBlock *label = m_rows[index].Label;
        // The letter stands on the line of the text's first row.
        label->SetInsets(0, std::max(0, (size.height() - label->fontMetrics().height()) / 2));
        heights.push_back(Twips::Of(std::max(label->HeightForWidth(labelWidth), size.height())));
    }
    const PageLayout::Rows rows = PageLayout::ArrangeRows(Twips::Of(questionHeight), heights);
    for (size_t index = 0; index < m_rowCount; ++index) {
        const int top = Twips::ToPixels(rows.Tops[index]);
        SelectorOf(m_rows[index])->setGeometry(TextInset, top, size.width(), size.height());
        m_rows[index].Label->setGeometry(TextInset + size.width(), top, labelWidth, Twips::ToPixels(heights[index]));
    }
    m_contentHeight = rows.ContentHeight;
    picQuestion->resize(Twips::ToPixels(m_boxes.Content.Width), Twips::ToPixels(m_contentHeight));
    AdjustScrollBar();
}

void QuestionFrame::AdjustScrollBar()
{
    const PageLayout::Scroll scroll = PageLayout::ScrollFor(Twips::Of(contentsRect().height()), m_contentHeight);
    vsbScroll->setEnabled(scroll.IsEnabled);
    if (!scroll.IsEnabled) {
        vsbScroll->setRange(0, 0);
        return;
    }
    vsbScroll->setRange(0, scroll.Max);
    vsbScroll->setSingleStep(scroll.SmallChange);
    vsbScroll->setPageStep(scroll.LargeChange);
}

void QuestionFrame::MoveContent(int value)
{
    picQuestion->move(contentsRect().topLeft() - QPoint(0, Twips::ToPixels(value)));
}

void QuestionFrame::SetTextScale(double scale)
{
    m_scale = scale;
    lblQuestion->setFont(parentWidget()->font());
    Theme::ScaleFont(lblQuestion, QuestionScale * m_scale);
    for (const Row &row : m_rows) {
        row.Radio->setFont(lblQuestion->font());
        row.Check->setFont(lblQuestion->font());
        row.Label->setFont(lblQuestion->font());
    }
    const double before = m_contentHeight;
    ArrangeRows();
    if (before > 0 && vsbScroll->isEnabled())
        vsbScroll->setValue(static_cast<int>(std::lround(vsbScroll->value() * (m_contentHeight / before))));
    MoveContent(vsbScroll->value());
}

void QuestionFrame::wheelEvent(QWheelEvent *event)
{
    QCoreApplication::sendEvent(vsbScroll, event);
    event->accept();
}

// A row that a key reaches outside the frame's view is scrolled into it. Under
// a pressed mouse button nothing may move.
bool QuestionFrame::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn && static_cast<QFocusEvent *>(event)->reason() != Qt::MouseFocusReason)
        RevealRow(static_cast<QWidget *>(watched));
    return false;
}

void QuestionFrame::RevealRow(const QWidget *selector)
{
    for (size_t index = 0; index < m_rowCount; ++index) {
        if (SelectorOf(m_rows[index]) != selector)
            continue;
        const int bottom = std::max(selector->geometry().bottom(), m_rows[index].Label->geometry().bottom()) + TextInset;
        const int top = selector->y() - TextInset;
        const int height = contentsRect().height();
        const int shown = -(picQuestion->y() - contentsRect().y());
        if (bottom > shown + height && vsbScroll->isEnabled())
            vsbScroll->setValue(static_cast<int>(Twips::Of(std::min(top, bottom - height))));
        else if (top < shown && vsbScroll->isEnabled())
            vsbScroll->setValue(static_cast<int>(Twips::Of(top)));
    }
}
