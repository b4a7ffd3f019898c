// SPDX-License-Identifier: Apache-2.0
#include "model/File.h"

#include "common/Ansi.h"
#include "model/IO.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <cerrno>

namespace {

constexpr quint32 ReadWrite = File::ReadAccess | File::WriteAccess;

// What a new file holds after these writes.
QByteArray Written(const std::function<void(File &)> &write, qint32 mode = File::BinaryMode)
{
    File file;
    file.OpenFile(u"written"_s, mode, File::WriteAccess, File::CreateAlways);
    write(file);
    file.CloseFile();
    return Sandbox::ReadFile(u"written"_s);
}

// Opens a file of these bytes for reading.
void Offer(File &file, const QByteArray &bytes, qint32 mode = File::BinaryMode)
{
    Sandbox::WriteFile(Sandbox::Path(u"offered"_s), bytes);
    file.OpenFile(u"offered"_s, mode, File::ReadAccess, File::OpenExisting);
}

QVariant Amount(qint64 scaled)
{
    return QVariant::fromValue(Currency{ scaled });
}
QVariant Date(int year, int month, int day, int hour = 0)
{
    return QDateTime(QDate(year, month, day), QTime(hour, 0));
}

}

TEST(FileTest, EveryTypeThereAndBack)
{
    // The count is that of the characters, and no more bytes are written: where
    // letters take two, a text is cut short.
    const QString text = u"\u20AC\u0416\u6F22"_s;
    const QByteArray letters = Ansi::FromText(text).left(text.size());
    const struct {
        QVariant Value;
        QByteArray Hex;
        qint32 Length = -1;
    } rows[] = {
        { QVariant::fromValue<qint16>(-2), "feff" },
        { qint32(0x01020304), "04030201" },
        { 1.5F, "0000c03f" },
        { -2.0, "00000000000000c0" },
        { Amount(10'000), "1027000000000000" },
        { Date(1900, 1, 1, 12), "0000000000000440" },
        // The time of day counts forward from midnight before the origin too.
        { Date(1899, 12, 29, 6), "000000000000f4bf" },
        { Date(2024, 2, 29, 18), "00000000f824e640" },
        { true, "ffff0000" },
        { QVariant::fromValue<quint8>(200), "c8" },
        { u"ABC"_s, "03000000414243" },
        { text, QByteArray(1, char(letters.size())).toHex() + "000000" + letters.toHex() },
        { u"ABC"_s, "414243", 3 },
        { QByteArray("\1\2\3"), "03000000010203" },
        { QByteArray("\1\2\3"), "010203", 3 },
    };
    for (const auto &row : rows) {
        const QByteArray bytes = QByteArray::fromHex(row.Hex);
        EXPECT_EQ(Written([&](File &file) { file.WriteData(row.Value, row.Length); }), bytes);
        File file;
        Offer(file, bytes + "more");
        QVariant value(row.Value.metaType());
        file.ReadData(value, row.Length);
        EXPECT_EQ(file.Position(), bytes.size()) << row.Hex.data();
        EXPECT_TRUE(value == row.Value || value == Ansi::ToText(letters)) << row.Hex.data();
    }
    EXPECT_EQ(Written([](File &file) { file.WriteData(u"ABC"_s, 5); }), QByteArray("ABC\0\0", 5));
    EXPECT_EQ(Written([](File &file) { file.WriteData(u"ABC"_s, 2); }), "AB");
}

TEST(FileTest, LengthsOfReadTextsAndBlocks)
{
    struct Row {
        const char *Hex;
        QVariant Before;
        qint32 Length;
        QVariant After;
        qint32 Delivered;
        qint64 Shortfall;
    };
    const Row rows[] = {
        { "00000000", u"old"_s, -1, u"old"_s, 4, 0 },
        { "feffffff4142", u"old"_s, -1, u"old"_s, 4, 0 },
        { "41424344", u"old"_s, 0, u"ABC"_s, 3, 0 },
        { "050000004180", u"old"_s, -1, Ansi::ToText("A\x80"), 2, 3 },
        // A count that is cut short counts as far as it is there.
        { "0300", u"old"_s, -1, u""_s, 0, 5 },
        { "03", QByteArray("old"), -1, QByteArray(""), 0, 6 },
        { "0000", u"old"_s, -1, u"old"_s, 2, 2 },
        { "ffffff7f41", u"old"_s, -1, u"A"_s, 1, 0x7FFFFFFE },
        { "00000000", QByteArray("old"), -1, QByteArray("old"), 4, 0 },
        { "010203", QByteArray("old"), 2, QByteArray("\1\2"), 2, 0 },
        { "010203", QByteArray("old"), 0, QByteArray("old"), 0, 0 },
        { "ff", QVariant::fromValue<qint16>(-1), 0, QVariant::fromValue<qint16>(255), 1, 1 },
        // Any low word but 0 is true.
        { "00800000", false, 0, true, 4, 0 },
        { "0000ffff", true, 0, false, 4, 0 },
    };
    for (const Row &row : rows) {
        File file;
        Offer(file, QByteArray::fromHex(row.Hex));
        QVariant value = row.Before;
        EXPECT_EQ(file.ReadData(value, row.Length), row.Delivered) << row.Hex;
        EXPECT_TRUE(value == row.After) << row.Hex << " " << value.toString().toStdString();
        EXPECT_EQ(file.Shortfall(), row.Shortfall) << row.Hex;
    }
}

// Every value is a text there, in the system's language.
TEST(FileTest, TextMode)
{
    const QVariant numbers[]
        = { QVariant::fromValue<qint16>(0), 0, 0.0F, 0.0, Amount(0), false, QVariant::fromValue<quint8>(0) };
    const QVariant &small = numbers[0], &large = numbers[1], &single = numbers[2], &amount = numbers[4], &truth = numbers[5],
                   &byte = numbers[6], date = Date(2024, 2, 29, 18);
    const QString mismatch = u"13 File::ReadData()"_s, overflow = u"6 File::ReadData()"_s;
    const struct {
        QVariant Before;
        QString Text;
        QVariant After;
        QString Result = u"none"_s;
    } rows[] = {
        { small, u"-32768"_s, QVariant::fromValue<qint16>(-32768) },
        { small, u"32768"_s, small, overflow },
        { large, u"70000"_s, 70'000 },
        { large, u"-2147483649"_s, large, overflow },
        { single, u"1.5"_s, 1.5F },
        { single, u"1e39"_s, single, overflow },
        { 0.0, u"-2.5"_s, -2.5 },
        { 0.0, u"nan"_s, 0.0, mismatch },
        { amount, u"1.5"_s, Amount(15'000) },
        { amount, u"1e15"_s, amount, overflow },
        { date, QLocale::system().toString(date.toDateTime(), QLocale::ShortFormat), date },
        { date, u"x"_s, date, mismatch },
        { truth, u"True"_s, true },
        { true, u"False"_s, false },
        { truth, u"x"_s, truth, mismatch },
        { byte, u"200"_s, QVariant::fromValue<quint8>(200) },
        { byte, u"-1"_s, byte, overflow },
        { u""_s, u"all of it"_s, u"all of it"_s },
        { QByteArray(), u"all of it"_s, QByteArray("all of it") },
    };
    for (const auto &row : rows) {
        QString text = row.Text;
        const QByteArray bytes
            = text.replace(u'.', row.Before.metaType() == date.metaType() ? u"."_s : QLocale::system().decimalPoint()).toUtf8();
        File file;
        Offer(file, bytes, File::TextMode);
        QVariant value = row.Before;
        EXPECT_EQ(ResultOf([&] { file.ReadData(value, 0); }), row.Result) << row.Text.toStdString();
        EXPECT_TRUE(value == row.After) << row.Text.toStdString();
        const QByteArray written = Written([&](File &target) { target.WriteData(value, 0); }, File::TextMode);
        EXPECT_EQ(written == bytes, row.Result == u"none"_s) << row.Text.toStdString();
    }
    for (const QVariant &number : numbers) {
        File file;
        Offer(file, "no number", File::TextMode);
        QVariant value = number;
        EXPECT_EQ(ResultOf([&] { file.ReadData(value, 0); }), mismatch) << number.typeName();
    }
    EXPECT_EQ(Written([](File &file) { file.WriteData(u"ABC"_s, -1); }, File::TextMode), "3ABC") << "the count is one, too";
}

TEST(FileTest, PositionsAndRights)
{
    File file;
    const QString closed = u"%1 "_s.arg(System::NotOpen), invalid = u"5 "_s;
    EXPECT_EQ(ResultOf([&] { file.SeekTo(0, File::FromStart); }), closed);
    EXPECT_FALSE(file.Flush() || file.CloseFile());
    Offer(file, "abcdef");
    const struct {
        qint32 Distance;
        quint32 Method;
        QString Position;
        bool IsEOF;
    } rows[] = {
        { 2, File::FromStart, u"2"_s, false },
        { 3, File::FromCurrent, u"5"_s, false },
        { 0, File::FromEnd, u"6"_s, true },
        { 9, File::FromEnd, u"15"_s, true },
        { 1, 3, invalid, true },
        { 1, File::FromStart, u"1"_s, false },
    };
    for (const auto &row : rows) {
        EXPECT_EQ(ResultOf([&] { return file.SeekTo(row.Distance, row.Method); }), row.Position);
        EXPECT_EQ(file.IsEOF(), row.IsEOF) << row.Position.toStdString();
    }
    // A change of what was read ahead, and of the size.
    QByteArray block;
    EXPECT_EQ(ResultOf([&] { file.WriteData(block, 1); }), u"%1 File::WriteData()"_s.arg(System::NotAllowed));
    file.OpenFile(u"offered"_s, File::BinaryMode, ReadWrite, File::OpenExisting);
    file.ReadData(block, 2);
    file.WriteData(QByteArray("XYZxyz"), 6);
    EXPECT_TRUE(file.Size() == 8 && file.BytesLeft() == 0);
    file.SeekTo(1, File::FromStart);
    file.ReadData(block, 7);
    EXPECT_EQ(block, "bXYZxyz");
    file.WriteData(QByteArray("!"), 1);
    // What waits for the disk is written before another file is opened.
    file.OpenFile(u"offered"_s, File::BinaryMode, File::WriteAccess, File::OpenExisting);
    EXPECT_EQ(Sandbox::ReadFile(u"offered"_s), "abXYZxyz!");
    EXPECT_EQ(ResultOf([&] { file.ReadData(block, 1); }), u"%1 File::ReadData()"_s.arg(System::NotAllowed));
    QVariant unsupported = QVariantList();
    EXPECT_EQ(ResultOf([&] { file.WriteData(unsupported, 0); }), u"5 File::WriteData()"_s);
}

TEST(FileTest, Opening)
{
    Sandbox::WriteFile(Sandbox::Path(u"there"_s), "abc");
    QDir().mkpath(Sandbox::Path(u"folder"_s));
    const QString pipe = System::MakePipe(Sandbox::Path(u"pipe"_s)) ? u"pipe"_s : System::Device;
    const struct {
        QString Name;
        quint32 Access, Disposition;
        int Code;
        qint64 Size = 0;
    } rows[] = {
        { u"  \""_s + Sandbox::Path(u"there"_s) + u"\" "_s, File::ReadAccess, File::OpenExisting, 0, 3 },
        { u"th\"e\"re"_s, File::ReadAccess, File::OpenExisting, 0, 3 },
        { u"missing"_s, File::ReadAccess, File::OpenExisting, System::NotFound },
        { u"there"_s, File::WriteAccess, File::CreateNew, System::Exists },
        { u"there"_s, ReadWrite, File::OpenAlways, 0, 3 },
        { u"there"_s, ReadWrite, 6, System::IsDevice },
        { u"there"_s, ReadWrite, File::TruncateExisting, 0 },
        { u"new"_s, ReadWrite, File::OpenAlways, 0 },
        // Nothing waits for the other end of a pipe.
        { pipe, File::ReadAccess, File::OpenExisting, System::IsDevice },
        { System::Device, File::ReadAccess, File::OpenExisting, System::IsDevice },
        { u"folder"_s, File::ReadAccess, File::OpenExisting, System::IsFolder },
        { u"no/folder"_s, File::ReadAccess, File::OpenExisting, System::FolderNotFound },
    };
    for (const auto &row : rows) {
        File file;
        const QString result = ResultOf([&] { file.OpenFile(row.Name, File::BinaryMode, row.Access, row.Disposition); });
        EXPECT_EQ(result, row.Code == 0 ? u"none"_s : u"%1 File::OpenFile()"_s.arg(row.Code)) << row.Name.toStdString();
        EXPECT_EQ(file.Size(), row.Size) << row.Name.toStdString();
        EXPECT_EQ(ResultOf([&] { file.SeekTo(0, File::FromStart); }) == u"none"_s, row.Code == 0) << row.Name.toStdString();
        EXPECT_EQ(file.CloseFile(), row.Code == 0) << row.Name.toStdString();
    }
}

// Names that no code page holds, in a path longer than any of the system's old limits.
TEST(FileTest, LongAndForeignNames)
{
    QString folder = Sandbox::Path(u"\u65E5\u672C"_s);
    for (int i = 0; i < 6; ++i)
        folder += QDir::separator() + QString(60, QChar(u'a' + i));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString path = folder + QDir::separator() + u"\u0416\u00E9\U0001F600.exam"_s;
    File file;
    file.OpenFile(path, File::BinaryMode, File::WriteAccess, File::CreateNew);
    file.WriteData(u"ABC"_s, -1);
    file.CloseFile();
    EXPECT_TRUE(file.GetAttributes(folder));
    EXPECT_TRUE(file.IsDirectory());
    QString text;
    file.OpenFile(path, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    file.ReadData(text, -1);
    EXPECT_EQ(text, u"ABC"_s);
    EXPECT_TRUE(IO::FileExists(folder + QDir::separator() + u"*.exam"_s));
    EXPECT_TRUE(IO::GetSubFolders(u" "_s + IO::GetFolder(folder) + u"  "_s).contains(QString(60, u'f')));
}

TEST(FileTest, Attributes)
{
    Sandbox::WriteFile(Sandbox::Path(u"kept"_s), "abc");
    File file;
    file.SetName(u"kept"_s);
    for (const bool readOnly : { true, false }) {
        file.GetAttributes();
        EXPECT_EQ(file.IsReadOnly(), !readOnly);
        file.SetIsReadOnly(readOnly);
        EXPECT_TRUE(file.SetAttributes());
        file.SetIsReadOnly(!readOnly);
        EXPECT_TRUE(file.GetAttributes());
        EXPECT_EQ(file.IsReadOnly(), readOnly) << "as the disk has it";
        EXPECT_EQ(QFileInfo(u"kept"_s).permissions() & QFile::WriteOwner, readOnly ? QFile::Permissions() : QFile::WriteOwner);
    }
    EXPECT_EQ(ResultOf([&] { file.GetAttributes(u"missing"_s); }), u"%1 File::GetAttributes()"_s.arg(System::NotFound));
    EXPECT_EQ(ResultOf([&] { file.SetAttributes(u"missing"_s); }), u"%1 File::SetAttributes()"_s.arg(System::NotFound));
}

TEST(FileTest, AFullDiskIsReported)
{
    if (const char *reason = SmallDisk::WhyNot())
        GTEST_SKIP() << reason;
    const QString full = u"%1 "_s.arg(EFBIG);
    const SmallDisk disk(100'000);
    for (const bool flush : { true, false }) {
        File file;
        file.OpenFile(u"full"_s, File::BinaryMode, File::WriteAccess, File::CreateAlways);
        EXPECT_EQ(ResultOf([&] { file.WriteData(QByteArray(200'000, 'x'), -1); }), full + u"File::WriteData()"_s);
        file.SeekTo(99'990, File::FromStart);
        // These wait in the buffer.
        EXPECT_EQ(ResultOf([&] { file.WriteData(QByteArray(20, 'x'), 20); }), u"none"_s);
        EXPECT_EQ(ResultOf([&] { flush ? file.Flush() : file.CloseFile(); }), full) << flush;
        EXPECT_EQ(file.CloseFile(), flush);
    }
}

TEST(FileTest, CopyTo)
{
    const QByteArray bytes = QByteArray(9'000, 'a') + QByteArray(1'000, 'b');
    for (const int from : { 0, 5'904, 9'999, 20'000 }) {
        File source;
        Offer(source, bytes);
        source.SeekTo(from, File::FromStart);
        EXPECT_TRUE(Written([&](File &target) { source.CopyTo(target); }) == bytes.mid(from)) << from;
    }
}
