// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <exception>

// The classic run-time error numbers that the program raises itself.
enum RunTimeError : qint32 {
    InvalidCall = 5, // invalid procedure call or argument
    Overflow = 6, // a result does not fit its integer type
    OutOfMemory = 7,
    SubscriptOutOfRange = 9,
    DivisionByZero = 11,
    TypeMismatch = 13,
    InputPastEnd = 62, // a file ends inside a record
};

// The one kind of exception: a number, a description for the user and the
// operation that raised it, for example "Exam::LoadHeader()". The number is a
// RunTimeError, a system error code, or an own number from 0x80040001 on.
class Error : public std::exception {
public:
    Error(qint32 number, QString description, QString source = {});

    // The run-time error with its usual description.
    static Error RunTime(RunTimeError number, QString source = {});

    qint32 Number() const { return m_number; }
    const QString &Description() const { return m_description; }
    const QString &Source() const { return m_source; }
    void SetSource(const QString &source) { m_source = source; }

    const char *what() const noexcept override;

private:
    qint32 m_number;
    QString m_description;
    QString m_source;
    QByteArray m_what;
};

// Runs an operation and lets an error leave it under the operation's own
// name; whatever the operation opened is released by its destructors.
template <class Operation> auto WithSource(const char16_t *source, Operation &&operation)
{
    try {
        return operation();
    } catch (Error &error) {
        error.SetSource(QString::fromUtf16(source));
        throw;
    }
}
