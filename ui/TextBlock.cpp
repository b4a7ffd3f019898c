#include "ui/TextBlock.h"

#include "common/Common.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype LongestRun = 1000; // characters
constexpr QChar ZeroWidthSpace(0x200B);

}

TextBlock::TextBlock(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_layout.setTextOption(option);
    m_layout.setCacheEnabled(true);
}

void TextBlock::SetText(const QString &text)
{
    const QString shown = Common::ShownText(text);
    if (shown == this->text())
        return;
    // The label keeps the text for a screen reader.
    setText(shown);
    QString lines = shown;
    lines.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n').replace(u'\n', QChar::LineSeparator);
    m_layout.setText(Breakable(lines));
    m_width = -1;
    update();
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
    return copied == 0 ? text : result + text.mid(copied);
}

void TextBlock::SetInsets(int left, int top)
{
    if (left == m_leftInset && top == m_topInset)
        return;
    m_leftInset = left;
    m_topInset = top;
    m_width = -1;
    update();
}

int TextBlock::HeightForWidth(int width) const
{
    LayOut(width);
    return m_height;
}

void TextBlock::LayOut(int width) const
{
    if (m_width == width)
        return;
    m_width = width;
    m_layout.setFont(font());
    qreal y = m_topInset;
    m_layout.beginLayout();
    for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine()) {
        line.setLineWidth(std::max(width - m_leftInset, 1));
        line.setPosition(QPointF(m_leftInset, y));
        y += line.height();
    }
    m_layout.endLayout();
    // An empty text still takes a line.
    m_height = static_cast<int>(std::ceil(m_layout.lineCount() > 0 ? y : m_topInset + fontMetrics().height()));
}

void TextBlock::paintEvent(QPaintEvent *event)
{
    LayOut(width());
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    for (int i = 0; i < m_layout.lineCount(); ++i) {
        const QTextLine line = m_layout.lineAt(i);
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
        m_width = -1;
    QLabel::changeEvent(event);
}

void TextBlock::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT Clicked();
}
