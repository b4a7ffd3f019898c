// SPDX-License-Identifier: Apache-2.0
#include "common/Error.h"

using namespace Qt::Literals::StringLiterals;

Error::Error(qint32 number, QString description, QString source)
    : m_number(number)
    , m_description(std::move(description))
    , m_source(std::move(source))
    , m_what(m_description.left(m_description.indexOf(QChar(u'\0'))).toUtf8())
{
}

Error Error::RunTime(RunTimeError number, QString source)
{
    QString text;
    switch (number) {
    case InvalidCall: text = u"Invalid procedure call or argument"_s; break;
    case Overflow: text = u"Overflow"_s; break;
    case OutOfMemory: text = u"Out of memory"_s; break;
    case SubscriptOutOfRange: text = u"Subscript out of range"_s; break;
    case DivisionByZero: text = u"Division by zero"_s; break;
    case TypeMismatch: text = u"Type mismatch"_s; break;
    case InputPastEnd: text = u"Input past end of file"_s; break;
    }
    return Error(number, text, std::move(source));
}

const char *Error::what() const noexcept
{
    return m_what.constData();
}
