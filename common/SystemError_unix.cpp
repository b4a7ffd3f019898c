// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"

#include <array>
#include <cerrno>
#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int BufferLength = 256;

}

namespace Common {

// There is no separate list of network messages here: every code, those of
// 2100 to 2999 too, is looked up in the one list of the C library.
QString SystemErrorText(qint32 code)
{
    std::array<char, BufferLength> buffer{};
    const QString text = QString::fromLocal8Bit(strerror_r(code, buffer.data(), buffer.size()));
    // The C library makes up a text for a code outside its list.
    if (text.isEmpty() || text.contains(QString::number(code)))
        return u"Unknown error"_s;
    return text.left(BufferLength).leftJustified(BufferLength, QChar(u'\0'));
}

qint32 LastSystemError()
{
    return errno;
}

void SetLastSystemError(qint32 code)
{
    errno = code;
}

}
