// SPDX-License-Identifier: Apache-2.0
#include "shell/view/ResultLabel.h"

#include "ui/Theme.h"

#include <QPainter>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double HeadlineScale = 1.5;
constexpr int Margin = 18; // pixels above and below
constexpr int BandPadding = 9;
constexpr int BandSides = 34;
constexpr int DarkText = 150; // a lighter ground than this takes dark letters

}

ResultLabel::ResultLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void ResultLabel::SetResult(const QString &message, const QColor &color)
{
    m_color = color;
    setText(message);
}

QFont ResultLabel::HeadlineFont() const
{
    QFont headline = font();
    headline.setPointSizeF(headline.pointSizeF() * HeadlineScale);
    headline.setBold(true);
    return Theme::Large(headline);
}

int ResultLabel::BandHeight() const
{
    return QFontMetrics(HeadlineFont()).height() + 2 * BandPadding;
}

QSize ResultLabel::SizeOf(const QString &line, int width) const
{
    const QSize whole(fontMetrics().size(0, line).width(), fontMetrics().lineSpacing());
    if (whole.width() <= width)
        return whole;
    return fontMetrics().boundingRect(0, 0, width, QWIDGETSIZE_MAX, Qt::TextWordWrap, line).size();
}

QSize ResultLabel::sizeHint() const
{
    const QStringList lines = text().split(u"\r\n"_s);
    int width = QFontMetrics(HeadlineFont()).horizontalAdvance(lines.first()) + 2 * BandSides;
    int height = 2 * Margin + BandHeight() + BandPadding;
    for (const QString &line : lines.mid(1)) {
        const QSize size = SizeOf(line, maximumWidth());
        width = std::max(width, size.width());
        height += size.height();
    }
    return { std::min(width, maximumWidth()), height };
}

void ResultLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QStringList lines = text().split(u"\r\n"_s);
    const int bandWidth = QFontMetrics(HeadlineFont()).horizontalAdvance(lines.first()) + 2 * BandSides;
    const QRect band((width() - bandWidth) / 2, Margin, bandWidth, BandHeight());
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_color);
    painter.drawRoundedRect(band, band.height() / 2.0, band.height() / 2.0);
    painter.setFont(HeadlineFont());
    painter.setPen(qGray(m_color.rgb()) > DarkText ? Brand::Ink : QColor(Qt::white));
    painter.drawText(band, Qt::AlignCenter, lines.first());
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::WindowText));
    int top = band.bottom() + 1 + BandPadding;
    for (const QString &text : lines.mid(1)) {
        const int height = SizeOf(text, width()).height();
        painter.drawText(QRect(0, top, width(), height), Qt::AlignCenter | Qt::TextWordWrap, text);
        top += height;
    }
}
