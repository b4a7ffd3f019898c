// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringView>
#include <QVariant>
#include <QVariantList>

class Error;

// The shared toolbox: templates, numbers, durations, system errors, commands.
// It holds no state and has no window.
namespace Common {

// Whether "{CRLF}" in a template is recognised in any letter case.
enum class LineBreakMarker { AnyCase, Exact };

// Expands a message template: "{1}", "{2}", … become the values, in ascending
// order, each pass working on the result of the one before, so that a value
// holding "{2}" is expanded too. "{CRLF}" becomes a carriage return and a line
// feed. A placeholder without a value stays. There is no escape.
QString FormatText(const QString &text, const QVariantList &values = {}, LineBreakMarker marker = LineBreakMarker::AnyCase);

// A value as text: numbers without grouping and with the locale's decimal
// sign, booleans as True or False.
QString ToText(const QVariant &value);

// What stands before the first NUL: what a box shows of a fixed-size buffer.
QString ShownText(const QString &text);

// A text with a blank for every line break and control character: files,
// services and reports come from strangers.
QString OneLine(QString text);
// An error's description as one line, without the code of a system error.
QString OneLine(const Error &error);

// Writes the text as one line, behind the program's name, to the error output,
// which a desktop keeps in its log. A Windows program without an error output
// passes it to the system as debug output. What is longer is cut.
constexpr int LongestLogLine = 2000; // characters
void Log(const QString &text);

// The operating system's text for an error code as a buffer of 256 characters,
// the text first and NULs behind it; "Unknown error" when it has none. Codes
// 2100 to 2999 are looked up among the network messages first, where the
// system keeps such a list.
QString SystemErrorText(qint32 code);

// The thread's last system error code, and how a caller that found a failure
// by itself sets it.
qint32 LastSystemError();
void SetLastSystemError(qint32 code);

// Raises the thread's last system error when result is false: its code as the
// number, "System Error: 0x" + code + line break + SystemErrorText as text.
void CheckApiResult(bool result);

// Starts a command line and blocks until it has ended; its exit code. A
// program that was ended by a signal counts as 128 + signal. Raises
// InvalidCall when the command cannot be started; the reason is then the last
// system error.
qint32 SyncShell(const QString &command);

// Seconds (0 or more) as hh:mm:ss, each part of at least two digits.
QString FormatDuration(qint32 seconds);

// part / whole × 100. Raises DivisionByZero for a whole of 0.
float Percentage(float part, float whole);
// value × percent / 100.
float PercentOf(float value, float percent);

// True for a text of nothing but blanks.
bool IsBlank(QStringView text);

// Without the blanks (only the space character) at both ends.
QString TrimBlanks(const QString &text);

// Cuts the text at its first NUL and returns it.
QString TrimNull(QString &text);

// A text of that many NULs, to be filled by a system call.
QString NullBuffer(int length);

// Rounded to the nearest integer, ties to even. Raise Overflow.
qint16 ToInt16(double value);
qint32 ToInt32(double value);

// value × 2^bits, rounded like ToInt32. Raises Overflow.
qint32 ShiftLeft(qint32 value, qint16 bits);

// The value of a text's leading digits after blanks, 0 when there are none;
// saturates far above any count a program holds.
double LeadingNumber(QStringView text);

}
