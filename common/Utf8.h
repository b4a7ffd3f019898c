// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

// Texts of files as UTF-8 (RFC 3629) that keep every byte. The toolkit's own
// conversions drop a byte order mark, and what is no UTF-8 becomes one and the
// same character.
namespace Utf8Text {

// A byte that is no part of a character becomes the lone surrogate U+DC00 plus
// the byte. A byte order mark stays.
QString FromBytes(QByteArrayView bytes);

// The way back. A lone surrogate that stands for no byte becomes "?".
QByteArray ToBytes(QStringView text);

}
