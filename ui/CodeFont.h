// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QFont>
#include <QTextLayout>

// The font of fixed width in which windows show CodeLines.
namespace CodeFont {

// The format of these lines in a text that is otherwise in that font.
QTextCharFormat Format(const QFont &font);
QList<QTextLayout::FormatRange> Formats(const QString &text, const QFont &font);

// The distance of tab stops in pixels: four characters of these lines.
qreal TabStopDistance(const QFont &font);

}
