// SPDX-License-Identifier: Apache-2.0
#include "service/Log.h"

#include "common/Clock.h"
#include "console/Console.h"

using namespace Qt::Literals::StringLiterals;

namespace Log {

Line &&Line::Text(const QString &name, const QString &value) &&
{
    m_text += u' ' + name + u'=' + Console::Quoted(value);
    return std::move(*this);
}

Line &&Line::Plain(const QString &name, const QString &value) &&
{
    m_text += u' ' + name + u'=' + value;
    return std::move(*this);
}

void ToStandardError(const QString &line)
{
    Console::Complain(u"time="_s + Clock::System().Now().toString(Qt::ISODate) + u' ' + line);
}

}
