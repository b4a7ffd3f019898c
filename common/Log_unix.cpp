// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace Common {

void Log(const QString &text)
{
    const QByteArray line = (u"Practorium: "_s + OneLine(text.left(LongestLogLine)) + u'\n').toUtf8();
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stderr);
}

}
