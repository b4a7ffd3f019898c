#include "model/File.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SmallDisk.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <random>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

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

QVariant Amount(qint64 scaled) { return QVariant::fromValue(Currency{ scaled }); }
QVariant Date(int year, int month, int day, int hour = 0)
{
    return QDateTime(QDate(year, month, day), QTime(hour, 0));
}

}

TEST(FileTest, EveryTypeThereAndBack)
{
    struct Row { QVariant Value; QByteArray Hex; };
    const Row rows[] = {
        { QVariant::fromValue<qint16>(-2), "feff" }, { qint32(0x01020304), "04030201" }, { 1.5F, "0000c03f" },
        { -2.0, "00000000000000c0" }, { Amount(10'000), "1027000000000000" }, { Amount(-1), "ffffffffffffffff" },
        { Date(1899, 12, 30), "0000000000000000" }, { Date(1900, 1, 1, 12), "0000000000000440" },
        // The time of day counts forward from midnight before the origin too.
        { Date(1899, 12, 29, 6), "000000000000f4bf" }, { Date(2024, 2, 29, 18), "00000000f824e640" },
        { true, "ffff0000" }, { false, "00000000" }, { QVariant::fromValue<quint8>(200), "c8" },
    };
    for (const Row &row : rows) {
        const QByteArray bytes = QByteArray::fromHex(row.Hex);
        // Their width is fixed, whatever the length.
        for (const qint32 length : { -1, 0, 1, 100 })
            EXPECT_EQ(Written([&](File &file) { file.WriteData(row.Value, length); }), bytes) << row.Hex.data();
        File file;
        Offer(file, bytes + "more");
        QVariant value(row.Value.metaType());
        EXPECT_EQ(file.ReadData(value, -1), bytes.size()) << row.Hex.data();
        EXPECT_TRUE(value == row.Value) << row.Hex.data();
    }
}

TEST(FileTest, LengthsOfWrittenTextsAndBlocks)
{
    struct Row { QVariant Value; qint32 Length; QByteArray Hex; };
    const Row rows[] = {
        { u"ABC"_s, -1, "03000000414243" }, { u"ABC"_s, -7, "03000000414243" }, { u"ABC"_s, 0, "414243" },
        { u"ABC"_s, 2, "4142" }, { u"ABC"_s, 5, "4142430000" }, { u"\u20AC\u0416"_s, -1, "02000000803f" },
        { u""_s, -1, "00000000" }, { u""_s, 0, "" }, { QByteArray("\1\2\3"), -1, "03000000010203" },
        { QByteArray("\1\2\3"), 0, "" }, { QByteArray("\1\2\3"), 2, "0102" }, { QByteArray("\1\2\3"), 4, "01020300" },
        { QByteArray(), -1, "00000000" },
    };
    for (const Row &row : rows)
        EXPECT_EQ(Written([&](File &file) { file.WriteData(row.Value, row.Length); }), QByteArray::fromHex(row.Hex))
            << row.Hex.data() << " " << row.Length;
}

TEST(FileTest, LengthsOfReadTextsAndBlocks)
{
    struct Row { const char *Hex; QVariant Before; qint32 Length; QVariant After; qint32 Delivered; qint64 Shortfall; };
    const Row rows[] = {
        { "0300000041424344", u"old"_s, -1, u"ABC"_s, 3, 0 }, { "00000000", u"old"_s, -1, u"old"_s, 4, 0 },
        { "feffffff4142", u"old"_s, -1, u"old"_s, 4, 0 }, { "41424344", u"old"_s, 2, u"AB"_s, 2, 0 },
        { "41424344", u"old"_s, 0, u"ABC"_s, 3, 0 }, { "41424344", u""_s, 0, u""_s, 0, 0 },
        { "050000004180", u"old"_s, -1, u"A\u20AC"_s, 2, 3 }, { "0300", u"old"_s, -1, u"old"_s, 2, 2 },
        { "ffffff7f41", u"old"_s, -1, u"A"_s, 1, 0x7FFFFFFE }, { "4142", u"old"_s, 9, u"AB"_s, 2, 7 },
        { "02000000010203", QByteArray("old"), -1, QByteArray("\1\2"), 2, 0 },
        { "00000000", QByteArray("old"), -1, QByteArray("old"), 4, 0 },
        { "ffffffff01", QByteArray("old"), -1, QByteArray("old"), 4, 0 },
        { "010203", QByteArray("old"), 0, QByteArray("old"), 0, 0 },
        { "010203", QByteArray("old"), 2, QByteArray("\1\2"), 2, 0 },
        { "0400000001", QByteArray("old"), -1, QByteArray("\1"), 1, 3 },
        { "ff", QVariant::fromValue<qint16>(-1), 0, QVariant::fromValue<qint16>(255), 1, 1 },
        { "", qint32(7), 0, qint32(0), 0, 4 },
        // Any low word but 0 is true.
        { "01000000", false, 0, true, 4, 0 }, { "00800000", false, 0, true, 4, 0 },
        { "0000ffff", true, 0, false, 4, 0 },
    };
    for (const Row &row : rows) {
        File file;
        Offer(file, QByteArray::fromHex(row.Hex));
        QVariant value = row.Before;
        EXPECT_EQ(file.ReadData(value, row.Length), row.Delivered) << row.Hex << " " << row.Length;
        EXPECT_TRUE(value == row.After) << row.Hex << " " << value.toString().toStdString();
        EXPECT_EQ(file.Shortfall(), row.Shortfall) << row.Hex << " " << row.Length;
    }
}

TEST(FileTest, TextModeWritesTexts)
{
    struct Row { QVariant Value; QByteArray Text; qint32 Length = 0; };
    const Row rows[] = {
        { QVariant::fromValue<qint16>(-12), "-12" }, { 1234567, "1234567" }, { 0.25, "0.25" }, { true, "True" },
        { Amount(12'500), "1.25" }, { QVariant::fromValue<quint8>(9), "9" }, { QByteArray("abc"), "abc" },
        { 9, QByteArray("9\0\0", 3), 3 }, { u"ABC"_s, "3ABC", -1 },
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Written([&](File &file) { file.WriteData(row.Value, row.Length); }, File::TextMode), row.Text);
        File file;
        Offer(file, row.Text, File::TextMode);
        QVariant value(row.Value.metaType());
        EXPECT_TRUE(row.Length != 0 || (file.ReadData(value, 0) == row.Text.size() && value == row.Value)) << row.Text.data();
    }
}

TEST(FileTest, TextModeConvertsWhatItReads)
{
    const QString mismatch = u"13 File::ReadData()"_s;
    const QString overflow = u"6 File::ReadData()"_s;
    struct Row { const char *Text; QVariant Kind; qint32 Length; QString Result; };
    const Row rows[] = {
        { "12 apples", u""_s, 0, u"12 apples"_s }, { "12 apples", qint32(0), 2, u"12"_s },
        { "12 apples", qint32(0), 0, mismatch }, { " 2.5 ", qint32(0), 0, u"2"_s },
        { "40000", QVariant::fromValue<qint16>(0), 0, overflow },
        { "-1", QVariant::fromValue<quint8>(0), 0, overflow }, { "1e300", 0.0F, 0, overflow },
        { "nan", qint32(0), 0, mismatch }, { "inf", 0.0, 0, mismatch }, { "", qint32(0), 0, mismatch },
        { "TRUE", false, 0, u"true"_s }, { "0", true, 0, u"false"_s }, { "maybe", true, 0, mismatch },
        { "someday", QDateTime(), 0, mismatch },
        // The count is a number like any other: all that is left of the file.
        { "3ABC", u""_s, -1, mismatch }, { "3", u"old"_s, -1, u""_s }, { "0", u"old"_s, -1, u"old"_s },
    };
    for (const Row &row : rows) {
        File file;
        Offer(file, row.Text, File::TextMode);
        QVariant value = row.Kind;
        const auto read = [&] { file.ReadData(value, row.Length); return value.toString(); };
        EXPECT_EQ(ResultOf(read), row.Result) << row.Text;
    }
}

TEST(FileTest, UnsupportedTypes)
{
    File file;
    file.OpenFile(Sandbox::Path(u"types"_s), File::BinaryMode, ReadWrite, File::CreateAlways);
    for (QVariant value : { QVariant(), QVariant::fromValue<qint64>(1), QVariant(QStringList{ u"a"_s }), QVariant::fromValue(nullptr) }) {
        EXPECT_EQ(ResultOf([&] { file.WriteData(value, 0); }), u"5 File::WriteData()"_s) << value.typeName();
        EXPECT_EQ(ResultOf([&] { file.ReadData(value, 0); }), u"5 File::ReadData()"_s) << value.typeName();
    }
}

TEST(FileTest, Opening)
{
    Sandbox::WriteFile(Sandbox::Path(u"there"_s), "abc");
    QDir().mkpath(Sandbox::Path(u"folder"_s));
    ASSERT_EQ(mkfifo(qPrintable(Sandbox::Path(u"pipe"_s)), 0600), 0);
    struct Row { QString Name; quint32 Access, Disposition; int Code; qint64 Size = 0; };
    const Row rows[] = {
        { u"  \""_s + Sandbox::Path(u"there"_s) + u"\" "_s, File::ReadAccess, File::OpenExisting, 0, 3 },
        { u"th\"e\"re"_s, File::ReadAccess, File::OpenExisting, 0, 3 },
        { u"missing"_s, File::ReadAccess, File::OpenExisting, ENOENT },
        { u"missing"_s, File::WriteAccess, File::TruncateExisting, ENOENT },
        { u""_s, File::ReadAccess, File::OpenExisting, ENOENT },
        { u"there"_s, File::WriteAccess, File::CreateNew, EEXIST }, { u"there"_s, ReadWrite, File::OpenAlways, 0, 3 },
        { u"there"_s, ReadWrite, File::TruncateExisting, 0 }, { u"new"_s, ReadWrite, File::CreateNew, 0 },
        { u"newer"_s, ReadWrite, File::OpenAlways, 0 },
        // Nothing waits for the other end of a pipe.
        { u"pipe"_s, File::ReadAccess, File::OpenExisting, EINVAL },
        { u"pipe"_s, ReadWrite, File::OpenExisting, EINVAL },
        { u"folder"_s, File::ReadAccess, File::OpenExisting, EISDIR },
        { u"/dev/null"_s, File::ReadAccess, File::OpenExisting, EINVAL },
    };
    for (const Row &row : rows) {
        File file;
        const QString result = ResultOf([&] { file.OpenFile(row.Name, File::BinaryMode, row.Access, row.Disposition); });
        EXPECT_EQ(result, row.Code == 0 ? u"none"_s : u"%1 File::OpenFile()"_s.arg(row.Code)) << row.Name.toStdString();
        EXPECT_EQ(file.Size(), row.Size) << row.Name.toStdString();
        EXPECT_EQ(file.IsEOF(), row.Size == 0) << row.Name.toStdString();
        EXPECT_EQ(file.CloseFile(), row.Code == 0) << row.Name.toStdString();
    }
}

// A long row of mixed operations against the same ones on bytes in memory.
TEST(FileTest, PositionSizeAndEndAreExact)
{
    File file;
    const QString path = Sandbox::Path(u"mixed"_s);
    file.OpenFile(path, File::BinaryMode, ReadWrite, File::CreateAlways);
    QByteArray bytes;
    qsizetype position = 0;
    std::mt19937 random(7);
    for (int step = 0; step < 4'000; ++step) {
        const int count = static_cast<int>(random() % (random() % 50 == 0 ? 200'000 : 300)) + 1;
        switch (random() % 6) {
        case 0:
        case 1: {
            const QByteArray block(count, static_cast<char>(step));
            file.WriteData(block, count);
            // Bytes of 0 fill what was skipped, once something stands behind it.
            if (position > bytes.size())
                bytes.append(position - bytes.size(), '\0');
            bytes.replace(position, count, block);
            position += count;
            break;
        }
        case 2:
        case 3: {
            QByteArray block;
            const QByteArray expected = position < bytes.size() ? bytes.mid(position, count) : QByteArray();
            ASSERT_EQ(file.ReadData(block, count), expected.size()) << step;
            ASSERT_TRUE(block == expected) << step;
            ASSERT_EQ(file.Shortfall(), count - expected.size()) << step;
            position += expected.size();
            break;
        }
        case 4:
            position = static_cast<qsizetype>(random()) % (bytes.size() + 10);
            ASSERT_EQ(file.SeekTo(static_cast<qint32>(position), File::FromStart), position) << step;
            break;
        default: {
            const qint32 distance = count % 50;
            position = distance + (step % 2 == 0 ? bytes.size() : position);
            ASSERT_EQ(file.SeekTo(distance, step % 2 == 0 ? File::FromEnd : File::FromCurrent), position) << step;
        }
        }
        ASSERT_EQ(file.Position(), position) << step;
        ASSERT_EQ(file.Size(), bytes.size()) << step;
        ASSERT_EQ(file.IsEOF(), position >= bytes.size()) << step;
    }
    EXPECT_EQ(ResultOf([&] { file.SeekTo(0, 3); }), u"5 "_s);
    file.Flush();
    EXPECT_TRUE(Sandbox::ReadFile(path) == bytes);
}

TEST(FileTest, AFullDiskIsReported)
{
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

TEST(FileTest, AccessIsKept)
{
    Sandbox::WriteFile(Sandbox::Path(u"kept"_s), "abc");
    const QString bad = u"%1 File::%2"_s.arg(EBADF);
    File file;
    qint16 value = 0;
    EXPECT_EQ(ResultOf([&] { file.WriteData(value); }), bad.arg(u"WriteData()"_s));
    EXPECT_EQ(ResultOf([&] { file.ReadData(value); }), bad.arg(u"ReadData()"_s));
    file.OpenFile(u"kept"_s, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    EXPECT_EQ(ResultOf([&] { file.WriteData(value); }), bad.arg(u"WriteData()"_s));
    EXPECT_EQ(file.Size(), 3U);
    file.OpenFile(u"kept"_s, File::BinaryMode, File::WriteAccess, File::OpenExisting);
    EXPECT_EQ(ResultOf([&] { file.ReadData(value); }), bad.arg(u"ReadData()"_s));
}

TEST(FileTest, Attributes)
{
    const QString path = Sandbox::Path(u".hidden"_s);
    Sandbox::WriteFile(path, "x");
    File file;
    file.OpenFile(path, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    EXPECT_TRUE(file.IsHidden());
    EXPECT_FALSE(file.IsNormal() || file.IsReadOnly() || file.IsDirectory());
    file.SetIsReadOnly(true);
    EXPECT_TRUE(QFile::permissions(path) & QFile::WriteOwner) << "only the cached word";
    file.SetAttributes();
    EXPECT_FALSE(QFile::permissions(path) & QFile::WriteOwner);
    file.GetAttributes(Sandbox::Path(u"."_s));
    EXPECT_TRUE(file.IsDirectory() && !file.IsReadOnly());
    file.SetAttributes(path);
    EXPECT_TRUE(QFile::permissions(path) & QFile::WriteOwner);

    struct Row { void (File::*Set)(bool); bool (File::*Get)() const; };
    const Row rows[] = {
        { &File::SetIsArchive, &File::IsArchive }, { &File::SetIsCompressed, &File::IsCompressed },
        { &File::SetIsHidden, &File::IsHidden }, { &File::SetIsNormal, &File::IsNormal },
        { &File::SetIsReadOnly, &File::IsReadOnly }, { &File::SetIsSystem, &File::IsSystem },
    };
    for (const Row &set : rows) {
        File flags;
        (flags.*set.Set)(true);
        for (const Row &get : rows)
            EXPECT_EQ((flags.*get.Get)(), &get == &set) << &get - rows << " after " << &set - rows;
    }
    const QString missing = Sandbox::Path(u"missing"_s);
    EXPECT_EQ(ResultOf([&] { file.GetAttributes(missing); }), u"%1 File::GetAttributes()"_s.arg(ENOENT));
    EXPECT_EQ(ResultOf([&] { file.SetAttributes(missing); }), u"%1 File::SetAttributes()"_s.arg(ENOENT));
}

TEST(FileTest, CopyTo)
{
    QByteArray bytes;
    for (int i = 0; i < 10'000; ++i)
        bytes.append(static_cast<char>(i * 7));
    for (const int from : { 0, 1, 5'904, 9'999, 10'000, 20'000 }) {
        File source;
        Offer(source, bytes);
        source.SeekTo(from, File::FromStart);
        EXPECT_TRUE(Written([&](File &target) { source.CopyTo(target); }) == bytes.mid(from)) << from;
    }
}
