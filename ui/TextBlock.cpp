// SPDX-License-Identifier: Apache-2.0
#include "ui/TextBlock.h"

#include "common/Common.h"
#include "ui/CodeFont.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype LongestRun = 1000; // characters
constexpr QChar ZeroWidthSpace(0x200B);

// Gives the layout of the text its direction and the font, with code in one of fixed
// width.
void SetFont(QTextLayout &layout, const QFont &font)
{
    const bool isRightToLeft = layout.text().isRightToLeft();
    QTextOption option(isRightToLeft ? Qt::AlignRight : Qt::AlignLeft);
    option.setTextDirection(isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    if (layout.text().contains(u'\t'))
        option.setTabStopDistance(CodeFont::TabStopDistance(font));
    layout.setTextOption(option);
    layout.setFont(font);
    layout.setFormats(CodeFont::Formats(layout.text(), font));
}

QString Lines(QString text)
{
    text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n').replace(u'\n', QChar::LineSeparator);
    return TextBlock::Breakable(text);
}

}

TextBlock::Content::Content(const QString &text)
    : Text(text)
    , Layout(Lines(text))
{
    Layout.setCacheEnabled(true);
}

TextBlock::TextBlock(QWidget *parent)
    : QLabel(parent)
    , m_content(std::make_unique<Content>(QString()))
{
    setTextFormat(Qt::PlainText);
}

void TextBlock::SetText(const QString &text)
{
    const QString shown = Common::ShownText(text);
    if (shown == m_content->Text)
        return;
    if (m_next && m_next->Text == shown)
        m_content = std::move(m_next);
    else
        m_content = std::make_unique<Content>(shown);
    // The label keeps the text for a screen reader.
    setText(shown);
}

void TextBlock::Prepare(const QString &text)
{
    if (m_content->Width < 0)
        return;
    m_next = std::make_unique<Content>(Common::ShownText(text));
    LayOut(*m_next, m_content->Width);
}

QString TextBlock::Breakable(const QString &text)
{
    QString result;
    qsizetype copied = 0;
    qsizetype run = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u' ' || c == u'\n' || c == u'\t' || c == QChar::LineSeparator) {
            run = 0;
        } else if (++run > LongestRun && !c.isLowSurrogate()) {
            result += QStringView(text).mid(copied, i - copied);
            result += ZeroWidthSpace;
            copied = i;
            run = 1;
        }
    }
    return result + text.mid(copied);
}

void TextBlock::SetInsets(int left, int top)
{
    if (left == m_leftInset && top == m_topInset)
        return;
    m_leftInset = left;
    m_topInset = top;
    ForgetLines();
    update();
}

int TextBlock::HeightForWidth(int width) const
{
    LayOut(*m_content, width);
    return m_content->Height;
}

void TextBlock::LayOut(Content &content, int width) const
{
    if (content.Width == width)
        return;
    content.Width = width;
    SetFont(content.Layout, font());
    // An empty text, too, has a line.
    content.Height = static_cast<int>(std::ceil(LayOutLines(content.Layout, width, QPoint(m_leftInset, m_topInset))));
}

void TextBlock::ForgetLines()
{
    m_content->Width = -1;
    m_next.reset();
}

qreal TextBlock::LayOutLines(QTextLayout &layout, int width, QPoint corner)
{
    qreal y = corner.y();
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(width - corner.x(), 1));
        // Letters that another font lends may be less tall; what stands beside the text
        // shares a line with it all the same.
        if (line.lineNumber() == 0)
            y += std::max(0.0, std::floor(QFontMetricsF(layout.font()).ascent() - line.ascent()));
        line.setPosition(QPointF(corner.x(), y));
        y += line.height();
    }
    layout.endLayout();
    return y;
}

TextBlock::Extent TextBlock::ExtentOf(const QString &text, const QFont &font, int width)
{
    QTextLayout layout(Lines(Common::ShownText(text)));
    SetFont(layout, font);
    layout.setCacheEnabled(true);
    qreal height = LayOutLines(layout, QWIDGETSIZE_MAX, {});
    qreal widest = 0;
    for (int i = 0; i < layout.lineCount(); ++i)
        widest = std::max(widest, layout.lineAt(i).naturalTextWidth());
    const int unwrapped = static_cast<int>(std::ceil(widest)) + 1;
    if (unwrapped > width)
        height = LayOutLines(layout, width, {});
    return { unwrapped, static_cast<int>(std::ceil(height)) };
}

void TextBlock::SetHasLeader(bool hasLeader)
{
    m_hasLeader = hasLeader;
    update();
}

void TextBlock::PaintLeader(QPainter &painter) const
{
    const QTextLine line = m_content->Layout.lineAt(0);
    const int gap = fontMetrics().averageCharWidth();
    const qreal end = line.naturalTextRect().left() - gap;
    if (end < m_leftInset + gap)
        return;
    QPen dots(palette().color(QPalette::Mid), 1, Qt::CustomDashLine, Qt::FlatCap);
    dots.setDashPattern({ 1, 5 });
    painter.setPen(dots);
    const qreal y = std::floor(line.y() + line.ascent()) - 0.5;
    painter.drawLine(QPointF(m_leftInset + gap, y), QPointF(end, y));
    painter.setPen(palette().color(foregroundRole()));
}

void TextBlock::paintEvent(QPaintEvent *event)
{
    LayOut(*m_content, width());
    const QTextLayout &layout = m_content->Layout;
    QPainter painter(this);
    if (m_hasLeader && layout.textOption().alignment() == Qt::AlignRight)
        PaintLeader(painter);
    for (int i = 0; i < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        if (line.rect().bottom() < event->rect().top())
            continue;
        if (line.rect().top() > event->rect().bottom())
            break;
        line.draw(&painter, QPointF(0, 0));
    }
}

void TextBlock::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        ForgetLines();
    QLabel::changeEvent(event);
}

void TextBlock::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT Clicked();
}
