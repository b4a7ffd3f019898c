// SPDX-License-Identifier: Apache-2.0
#pragma once

// What nearly every test needs.

#include "common/Error.h"
#include "model/Globals.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <type_traits>

using namespace Qt::Literals::StringLiterals;

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
