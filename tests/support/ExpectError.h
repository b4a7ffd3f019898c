#pragma once

#include "common/Error.h"

#include <QByteArray>
#include <QString>

#include <ostream>

// The error that an operation raises as its number and source, such as
// "62 Exam::Save()"; "none" when it comes back.
template <class Operation>
QString ErrorOf(Operation &&operation)
{
    try {
        operation();
    } catch (const Error &error) {
        return QString::number(error.Number()) + u' ' + error.Source();
    }
    return QStringLiteral("none");
}

// How a failed comparison shows texts and bytes.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray &bytes, std::ostream *out)
{
    *out << bytes.toHex(' ').toStdString();
}
