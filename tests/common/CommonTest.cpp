#include "common/Common.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

using namespace Qt::Literals::StringLiterals;

TEST(CommonTest, FormatText)
{
    using Marker = Common::LineBreakMarker;
    struct Row { QString Text; QVariantList Values; QString Expected; Marker Breaks = Marker::AnyCase; };
    const Row rows[] = {
        { u""_s, { u"a"_s }, u""_s },
        { u"{1}{CRLF}{2}"_s, { u"a"_s, u"b"_s }, u"a\r\nb"_s },
        { u"x{crlf}y{CrLf}"_s, {}, u"x\r\ny\r\n"_s },
        { u"x{crlf}y{CRLF}"_s, {}, u"x{crlf}y\r\n"_s, Marker::Exact },
        // Each pass works on the result of the one before, and none looks back.
        { u"{1}"_s, { u"{2}"_s, u"x"_s }, u"x"_s },
        { u"{2}{1}"_s, { u"a"_s, u"{1}"_s }, u"{1}a"_s },
        { u"{1}"_s, { u"{CRLF}"_s }, u"\r\n"_s },
        { u"{1} of {3}, {1}"_s, { 7, 8 }, u"7 of {3}, 7"_s },
        { u"{0}{01}{ 1}"_s, { u"a"_s }, u"{0}{01}{ 1}"_s },
        { u"{1} {2} {3} {4}"_s, { 1234567, 0.5, true, QVariant::fromValue<qint16>(-3) }, u"1234567 0.5 True -3"_s },
        { u"{10}{1}"_s, { 1, 2, 3, 4, 5, 6, 7, 8, 9, u"ten"_s }, u"ten1"_s },
    };
    for (const Row &row : rows)
        EXPECT_EQ(Common::FormatText(row.Text, row.Values, row.Breaks), row.Expected) << row.Text.toStdString();
}

TEST(CommonTest, SystemErrorsCarryTheCodeAndTheSystemsText)
{
    const QString missing = Common::SystemErrorText(ENOENT);
    EXPECT_EQ(missing.size(), 256);
    EXPECT_EQ(Common::ShownText(missing), QString::fromLocal8Bit(strerror(ENOENT)));
    EXPECT_EQ(missing.mid(Common::ShownText(missing).size()).count(QChar(u'\0')), 256 - Common::ShownText(missing).size());
    for (const qint32 unknown : { 2250, 99'999, -1 })
        EXPECT_EQ(Common::SystemErrorText(unknown), u"Unknown error"_s) << unknown;

    Common::SetLastSystemError(ENOTEMPTY);
    EXPECT_EQ(ErrorOf([] { Common::CheckApiResult(true); }), u"none"_s);
    struct Row { qint32 Code; QString Start; };
    for (const Row &row : { Row{ ENOTEMPTY, u"System Error: 0x27\r\nDirectory not empty"_s },
                            Row{ qint32(0x80090008), u"System Error: 0x80090008\r\nUnknown error"_s } }) {
        Common::SetLastSystemError(row.Code);
        try {
            Common::CheckApiResult(false);
            FAIL() << row.Code;
        } catch (const Error &error) {
            EXPECT_EQ(error.Number(), row.Code);
            EXPECT_EQ(Common::ShownText(error.Description()), row.Start);
            EXPECT_STREQ(error.what(), qPrintable(row.Start));
        }
    }
}

TEST(CommonTest, SyncShell)
{
    struct Row { QString Command; qint32 ExitCode; };
    const Row rows[] = {
        { u"true"_s, 0 },
        { u"sh -c \"exit 200\""_s, 200 },
        { u"sh -c \"kill -TERM $$\""_s, 128 + 15 },
        { u"\""_s + Sandbox::Path(u"a pack"_s) + u"\" 3"_s, 3 },
    };
    Sandbox::WriteFile(Sandbox::Path(u"a pack"_s), "#!/bin/sh\nexit $1\n");
    QFile::setPermissions(Sandbox::Path(u"a pack"_s), QFile::ReadOwner | QFile::ExeOwner);
    for (const Row &row : rows)
        EXPECT_EQ(Common::SyncShell(row.Command), row.ExitCode) << row.Command.toStdString();

    for (const QString &command : { u"/no/such/program -x"_s, u""_s, u"   "_s, Sandbox::Path(u"."_s) }) {
        try {
            Common::SyncShell(command);
            ADD_FAILURE() << command.toStdString();
        } catch (const Error &error) {
            EXPECT_EQ(error.Number(), 5);
            EXPECT_EQ(error.Source(), u"SyncShell()"_s);
            EXPECT_EQ(error.Description(), u"Unable to execute command "_s + command);
        }
    }
}

TEST(CommonTest, FormatDuration)
{
    struct Row { qint32 Seconds; QString Expected; };
    const Row rows[] = {
        { 0, u"00:00:00"_s }, { 59, u"00:00:59"_s }, { 60, u"00:01:00"_s }, { 3'599, u"00:59:59"_s },
        { 3'661, u"01:01:01"_s }, { 360'000, u"100:00:00"_s }, { 2'147'483'647, u"596523:14:07"_s },
    };
    for (const Row &row : rows)
        EXPECT_EQ(Common::FormatDuration(row.Seconds), row.Expected) << row.Seconds;
}

TEST(CommonTest, RoundingAndOverflow)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    struct Row { double Value; QString Int16; QString Int32; };
    const QString overflow = u"6 "_s;
    const Row rows[] = {
        { 0.5, u"0"_s, u"0"_s }, { 1.5, u"2"_s, u"2"_s }, { 2.5, u"2"_s, u"2"_s }, { -1.5, u"-2"_s, u"-2"_s },
        { 12.5, u"12"_s, u"12"_s }, { 32767.4, u"32767"_s, u"32767"_s }, { 32767.5, overflow, u"32768"_s },
        { -32768.5, u"-32768"_s, u"-32768"_s }, { -32769, overflow, u"-32769"_s },
        { 2147483647.4, overflow, u"2147483647"_s }, { 2147483647.5, overflow, overflow }, { nan, overflow, overflow },
    };
    const auto result = [](auto convert) {
        qint32 value = 0;
        const QString error = ErrorOf([&] { value = convert(); });
        return error == u"none"_s ? QString::number(value) : error;
    };
    for (const Row &row : rows) {
        EXPECT_EQ(result([&] { return Common::ToInt16(row.Value); }), row.Int16) << row.Value;
        EXPECT_EQ(result([&] { return Common::ToInt32(row.Value); }), row.Int32) << row.Value;
    }

    struct Shift { qint32 Value; qint16 Bits; QString Expected; };
    const Shift shifts[] = {
        { 40, 16, u"2621440"_s }, { 1, 30, u"1073741824"_s }, { 1, 31, overflow }, { -1, 31, u"-2147483648"_s },
        { 0, 32767, u"0"_s }, { 1, 32767, overflow }, { 5, -1, u"2"_s }, { 7, -1, u"4"_s }, { 9, -32768, u"0"_s },
    };
    for (const Shift &shift : shifts)
        EXPECT_EQ(result([&] { return Common::ShiftLeft(shift.Value, shift.Bits); }), shift.Expected)
            << shift.Value << " " << shift.Bits;
}

TEST(CommonTest, PercentagesAndTexts)
{
    EXPECT_FLOAT_EQ(Common::Percentage(1, 3), 33.333332F);
    EXPECT_EQ(ErrorOf([] { Common::Percentage(1, 0); }), u"11 "_s);
    EXPECT_FLOAT_EQ(Common::PercentOf(1000, 90), 900);

    struct Row { QString Text; bool IsBlank; QString Trimmed; QString BeforeNull; };
    const Row rows[] = {
        { u""_s, true, u""_s, u""_s },
        { u"   "_s, true, u""_s, u"   "_s },
        { u" \t "_s, false, u"\t"_s, u" \t "_s },
        { u"  a b "_s, false, u"a b"_s, u"  a b "_s },
        { u"\0abc"_s, false, u"\0abc"_s, u""_s },
        { u"ab\0cd\0"_s, false, u"ab\0cd\0"_s, u"ab"_s },
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Common::IsBlank(row.Text), row.IsBlank) << row.Text.toStdString();
        EXPECT_EQ(Common::TrimBlanks(row.Text), row.Trimmed) << row.Text.toStdString();
        QString text = row.Text;
        EXPECT_EQ(Common::TrimNull(text), row.BeforeNull);
        EXPECT_EQ(text, row.BeforeNull);
    }
    EXPECT_EQ(Common::NullBuffer(3), u"\0\0\0"_s);

    struct Number { QString Text; double Expected; };
    for (const Number &row : { Number{ u" 42 bytes"_s, 42 }, { u"x1"_s, 0 }, { u""_s, 0 }, { u"-5"_s, 0 }, { u"007"_s, 7 } })
        EXPECT_EQ(Common::LeadingNumber(row.Text), row.Expected) << row.Text.toStdString();
    EXPECT_GT(Common::LeadingNumber(QString(400, u'9')), 1e12);
}
