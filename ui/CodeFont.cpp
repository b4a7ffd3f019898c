// SPDX-License-Identifier: Apache-2.0
#include "ui/CodeFont.h"

#include "common/CodeLines.h"

#include <QFontDatabase>
#include <QFontMetricsF>

#include <algorithm>

namespace CodeFont {

namespace {

QFont Fixed(const QFont &font)
{
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    // The system may name a font that it does not have.
    fixed.setFamilies(fixed.families() + QStringList{ QStringLiteral("DejaVu Sans Mono"), QStringLiteral("Courier New") });
    fixed.setStyleHint(QFont::Monospace);
    fixed.setFixedPitch(true);
    if (font.pointSizeF() > 0)
        fixed.setPointSizeF(font.pointSizeF());
    else
        fixed.setPixelSize(font.pixelSize());
    return fixed;
}

}

QTextCharFormat Format(const QFont &font)
{
    QTextCharFormat format;
    format.setFont(Fixed(font));
    return format;
}

QList<QTextLayout::FormatRange> Formats(const QString &text, const QFont &font)
{
    QList<QTextLayout::FormatRange> formats;
    for (const CodeLines::Range &range : CodeLines::Find(text)) {
        // With the end of the last line, which has the height of its font.
        const qsizetype end = std::min(range.Start + range.Length + 1, text.size());
        formats.append({ static_cast<int>(range.Start), static_cast<int>(end - range.Start), Format(font) });
    }
    return formats;
}

qreal TabStopDistance(const QFont &font)
{
    return CodeLines::Indent * QFontMetricsF(Fixed(font)).horizontalAdvance(u' ');
}

}
