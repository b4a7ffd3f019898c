// SPDX-License-Identifier: Apache-2.0
#include "common/CodeLines.h"
#include "common/Common.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <limits>

using namespace Common;

TEST(CommonTest, FormatText)
{
    struct Row {
        QString Text;
        QVariantList Values;
        QString Expected;
        LineBreakMarker Breaks = LineBreakMarker::AnyCase;
    };
    const Row rows[] = {
        { u"{1}{CRLF}{2}"_s, { u"a"_s, u"b"_s }, u"a\r\nb"_s },
        { u"x{crlf}y{CRLF}"_s, {}, u"x{crlf}y\r\n"_s, LineBreakMarker::Exact },
        // Each pass works on the result of the one before, and none looks back.
        { u"{1}"_s, { u"{2}"_s, u"x"_s }, u"x"_s },
        { u"{2}{1}"_s, { u"a"_s, u"{1}"_s }, u"{1}a"_s },
        { u"{1} of {3}{0}{01}, {1}"_s, { 7, 8 }, u"7 of {3}{0}{01}, 7"_s },
        { u"{1} {2} {3} {4}"_s, { 1234567, 0.5, true, QVariant::fromValue<quint8>(65) }, u"1234567 0.5 True 65"_s },
    };
    for (const Row &row : rows)
        EXPECT_EQ(FormatText(row.Text, row.Values, row.Breaks), row.Expected) << row.Text.toStdString();
}

TEST(CommonTest, RoundingAndOverflow)
{
    const QString overflow = u"6 "_s;
    const std::tuple<double, QString, QString> rows[] = {
        { 0.5, u"0"_s, u"0"_s },
        { 1.5, u"2"_s, u"2"_s },
        { -1.5, u"-2"_s, u"-2"_s },
        { 32767.4, u"32767"_s, u"32767"_s },
        { 32767.5, overflow, u"32768"_s },
        { -32768.5, u"-32768"_s, u"-32768"_s },
        { -32769, overflow, u"-32769"_s },
        { 2147483647.4, overflow, u"2147483647"_s },
        { 2147483647.5, overflow, overflow },
        { std::numeric_limits<double>::quiet_NaN(), overflow, overflow },
    };
    for (const auto &[value, int16, int32] : rows) {
        EXPECT_EQ(ResultOf([&v = value] { return ToInt16(v); }), int16) << value;
        EXPECT_EQ(ResultOf([&v = value] { return ToInt32(v); }), int32) << value;
    }
    EXPECT_EQ(ShiftLeft(40, 16), 2621440);
    EXPECT_EQ(ResultOf([] { return ShiftLeft(1, 31); }), overflow);
    for (const auto &[seconds, text] :
         { std::pair{ 0, u"00:00:00"_s }, { 3661, u"01:01:01"_s }, { 86'399, u"23:59:59"_s }, { 362'439, u"100:40:39"_s } })
        EXPECT_EQ(FormatDuration(seconds), text) << seconds;
}

TEST(CommonTest, SystemErrors)
{
    const QString text = SystemErrorText(System::NotFound);
    EXPECT_EQ(text.size(), 256);
    EXPECT_GT(ShownText(text).trimmed().size(), 10);
    EXPECT_EQ(text.count(QChar(u'\0')), 256 - ShownText(text).size()) << "nothing but NULs behind it";
    SetLastSystemError(System::NotFound);
    EXPECT_EQ(ResultOf([] { CheckApiResult(true); }), u"none"_s);
    // No system has messages of programs' own numbers.
    constexpr qint32 ofNobody = 0x2000ABCD;
    const std::pair<qint32, QString> rows[] = {
        { System::NotFound, u"System Error: 0x2\r\n"_s + ShownText(text) },
        { ofNobody, u"System Error: 0x2000ABCD\r\nUnknown error"_s },
        { qint32(0x80090008), u"System Error: 0x80090008\r\n"_s + ShownText(SystemErrorText(qint32(0x80090008))) },
    };
    for (const auto &[code, shown] : rows) {
        SetLastSystemError(code);
        try {
            CheckApiResult(false);
            FAIL() << code;
        } catch (const Error &error) {
            EXPECT_EQ(error.Number(), code);
            EXPECT_EQ(ShownText(error.Description()), shown);
            EXPECT_EQ(OneLine(error), shown.section(u'\n', 1).simplified());
        }
    }
}

TEST(CommonTest, SyncShell)
{
    // A command line of the system's, under a name with a blank.
    const QString shell = Sandbox::Path(System::RunsByName ? u"a shell.exe"_s : u"a shell"_s);
    ASSERT_TRUE(QFile::copy(System::RunsByName ? qEnvironmentVariable("ComSpec") : u"/bin/sh"_s, shell));
    const QString run = u'"' + shell + (System::RunsByName ? u"\" /c "_s : u"\" -c "_s);
    EXPECT_EQ(SyncShell(run + u"\"exit 3\""_s), 3);
    EXPECT_EQ(SyncShell(run + u"\"echo done>done.txt\""_s), 0);
    EXPECT_EQ(Sandbox::ReadFile(u"done.txt"_s).trimmed(), "done") << "it waits";
    Sandbox::WriteFile(Sandbox::Path(u"text.exe"_s), "no program");
    for (const QString &command : { u"/no/such/program.exe -x"_s, u"  "_s, QDir::rootPath(), Sandbox::Path(u"text.exe"_s) }) {
        try {
            SyncShell(command);
            FAIL() << command.toStdString();
        } catch (const Error &error) {
            EXPECT_EQ(error.Source() + error.Description(), u"SyncShell()Unable to execute command "_s + command);
        }
    }
}

TEST(CommonTest, LogsOneLine)
{
    testing::internal::CaptureStderr();
    Log(u"a\r\nb \u00E9\x1B[2J"_s + QString(9'999, u'x'));
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(line.starts_with("Practorium: a  b \xC3\xA9 [2Jxx") && line.find('\n') == line.size() - 1
                && line.size() < 3'000)
        << line;
}

TEST(CommonTest, BlanksNullsAndLeadingNumbers)
{
    const struct {
        QString Text;
        bool IsBlank;
        QString Trimmed, BeforeNull;
        double Number;
    } rows[] = {
        { u""_s, true, u""_s, u""_s, 0 },
        { u"   "_s, true, u""_s, u"   "_s, 0 },
        { u" \t "_s, false, u"\t"_s, u" \t "_s, 0 },
        { u" 42 b "_s, false, u"42 b"_s, u" 42 b "_s, 42 },
        { u"\0abc"_s, false, u"\0abc"_s, u""_s, 0 },
        { u"7b\0cd\0"_s, false, u"7b\0cd\0"_s, u"7b"_s, 7 },
        { u"-5"_s, false, u"-5"_s, u"-5"_s, 0 },
    };
    for (const auto &row : rows) {
        QString text = row.Text;
        EXPECT_EQ(IsBlank(text), row.IsBlank) << row.Text.toStdString();
        EXPECT_EQ(TrimBlanks(text), row.Trimmed);
        EXPECT_EQ(LeadingNumber(text), row.Number) << row.Text.toStdString();
        EXPECT_EQ(TrimNull(text), row.BeforeNull);
        EXPECT_EQ(text, row.BeforeNull);
    }
    EXPECT_GT(LeadingNumber(QString(400, u'9')), 1e12);
    EXPECT_EQ(NullBuffer(3), u"\0\0\0"_s);
}

TEST(CodeLinesTest, Find)
{
    struct {
        const char *Text;
        const char *Code; // with "/" between two parts
    } const rows[] = {
        { "Which?\n\nfor i in x:\n    print(i)\n\nand", "for i in x:\n    print(i)" },
        { "a\tb\nc\td\n\n\n  e\n\tf", "a\tb\nc\td/  e\n\tf" },
        { "id   name\n1    Eva\n", "id   name\n1    Eva" },
        { "| id | name |\n| 1  | Eva  |\n| 22 | Bo  |", "| id | name |\n| 1  | Eva  |\n| 22 | Bo  |" },
        { "One.  Two.\nThree!  Four", "" },
        { "a  b\nc", "" },
        { "    one line", "" },
        { "- a\n  - b\n    - c\n    12. d", "" },
    };
    for (const auto &row : rows) {
        const QString text = QString::fromLatin1(row.Text);
        QStringList parts;
        for (const CodeLines::Range &range : CodeLines::Find(text))
            parts.append(text.mid(range.Start, range.Length));
        EXPECT_EQ(parts.join(u'/'), QString::fromLatin1(row.Code)) << row.Text;
    }
}
