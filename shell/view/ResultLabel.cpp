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

QSize ResultLabel::sizeHint() const
{
    const QStringList lines = text().split(u"\r\n"_s);
    int width = QFontMetrics(HeadlineFont()).horizontalAdvance(lines.first()) + 2 * BandSides;
    for (const QString &line : lines.mid(1))
        width = std::max(width, fontMetrics().size(0, line).width());
    return { width,
             2 * Margin + BandHeight() + BandPadding + static_cast<int>(lines.size() - 1) * fontMetrics().lineSpacing() };
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
    QRect line(0, band.bottom() + 1 + BandPadding, width(), fontMetrics().lineSpacing());
    for (const QString &text : lines.mid(1)) {
        painter.drawText(line, Qt::AlignCenter, text);
        line.translate(0, line.height());
    }
}
