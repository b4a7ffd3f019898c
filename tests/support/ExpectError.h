// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Error.h"

#include <QByteArray>
#include <QString>

#include <ostream>
#include <type_traits>

// What an operation returns, as text ("none" for nothing), or the error that it
// raises as its number and source, such as "62 Exam::Save()".
template <class Operation> QString ResultOf(Operation &&operation)
{
    try {
        using Result = decltype(operation());
        if constexpr (std::is_void_v<Result>)
            operation();
        else if constexpr (std::is_arithmetic_v<Result>)
            return QString::number(operation());
        else
            return operation();
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
