// SPDX-License-Identifier: Apache-2.0
#include "bank/Archive.h"
#include "tests/support/Test.h"

#include <QtEndian>

namespace {

struct Entry {
    QByteArray Name, Content;
    bool IsDeflated = true;
    quint32 Announced = 0; // bytes; 0: as many as there are
    quint32 Attributes = 0;
    quint16 Flags = 0;
    quint16 OtherMethod = 0; // instead of deflate
};

template <class... Numbers> void Append(QByteArray &bytes, Numbers... numbers)
{
    const auto append = [&](auto number) {
        number = qToLittleEndian(number);
        bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
    };
    (append(numbers), ...);
}

quint32 Checksum(const QByteArray &bytes)
{
    quint32 sum = ~0U;
    for (const char each : bytes) {
        sum ^= static_cast<quint8>(each);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) ? 0xedb88320 : 0);
    }
    return ~sum;
}

QByteArray Zip(const std::vector<Entry> &entries)
{
    QByteArray zip, directory;
    for (const Entry &entry : entries) {
        // Between a length of 4, a header of 2 and a checksum of 4 bytes.
        const QByteArray packed = entry.IsDeflated ? qCompress(entry.Content).chopped(4).mid(6) : entry.Content;
        QByteArray common;
        const quint16 method = entry.OtherMethod ? entry.OtherMethod : entry.IsDeflated ? 8 : 0;
        Append(common, quint16(20), entry.Flags, method, quint32(0), Checksum(entry.Content), quint32(packed.size()),
               entry.Announced ? entry.Announced : quint32(entry.Content.size()), quint16(entry.Name.size()), quint16(0));
        directory += "PK\1\2"_ba;
        Append(directory, quint16(0x0314));
        directory += common;
        Append(directory, quint16(0), quint16(0), quint16(0), entry.Attributes, quint32(zip.size()));
        directory += entry.Name;
        zip += "PK\3\4" + common + entry.Name + packed;
    }
    const auto count = quint16(entries.size());
    QByteArray end = "PK\5\6";
    Append(end, quint32(0), count, count, quint32(directory.size()), quint32(zip.size()), quint16(0));
    return zip + directory + end;
}

QString Opened(const QByteArray &zip)
{
    try {
        return Bank::Archive(zip, u"z"_s).Paths().join(u' ');
    } catch (const Error &error) {
        EXPECT_EQ(error.Source(), u"z"_s);
        return error.Description();
    }
}

}

TEST(ArchiveTest, EntriesByName)
{
    const QByteArray text = QByteArray("text ").repeated(1000);
    const QByteArray zip = Zip({ { "d/", {} },
                                 { "d/A.xml", text },
                                 { "x\\y.png", "stored", false },
                                 { "./z", "" },
                                 { "twice", "older" },
                                 { "twice", "newer" },
                                 { "B", "1" },
                                 { "b", "2" },
                                 { "caf\x82", "437" },
                                 { "u\xcc\x88", "accent" },
                                 { "__MACOSX/._d", "" } });
    ASSERT_TRUE(Bank::Archive::Suits(zip));
    const Bank::Archive archive(zip, {});
    EXPECT_EQ(archive.Paths(),
              (QStringList{ u"B"_s, u"b"_s, u"café"_s, u"d/A.xml"_s, u"twice"_s, u"u\u0308"_s, u"x/y.png"_s, u"z"_s }));
    const std::pair<QString, std::optional<QByteArray>> rows[] = {
        { u"d/A.xml"_s, text }, { u"D/a.XML"_s, text }, { u"x/y.png"_s, "stored" }, { u"z"_s, "" }, { u"twice"_s, "newer" },
        { u"b"_s, "2" },        { u"café"_s, "437" },   { u"Ü"_s, "accent" },       { u"d"_s, {} }, { u"e"_s, {} },
    };
    for (const auto &[path, content] : rows)
        EXPECT_EQ(archive.Read(path), content) << path.toStdString();
    // Two names that differ from it in case alone.
    const Bank::Archive both(Zip({ { "File", "1" }, { "file", "2" } }), {});
    EXPECT_EQ(both.Read(u"FILE"_s), std::nullopt);
}

TEST(ArchiveTest, HostileArchives)
{
    for (const char *name : { "../a", "d/../../a", "d\\..\\..\\a", "/a", "\\a", "C:\\a", "c:a" })
        EXPECT_TRUE(Opened(Zip({ { "good", "1" }, { name, "2" } })).contains(u"leads out"_s)) << name;
    EXPECT_EQ(Opened(Zip({ { "a", "target", false, 0, 0120777U << 16 } })), u"the entry \"a\" of the archive is a link"_s);
    EXPECT_EQ(Opened(Zip({ { "a", "text", false, 0, 0, 1 } })), u"the archive is encrypted"_s);
    EXPECT_EQ(Opened(Zip({}).repeated(5)), u"the archive has several ends"_s);
    const QByteArray bomb(5 << 20, '\0');
    EXPECT_EQ(Opened(Zip({ { "a", bomb } })), u"the entry \"a\" of the archive would grow to more than 200 times its size"_s);
    EXPECT_EQ(Opened(Zip({ { "a", bomb.first(4 << 20) } })), u"a"_s);
    std::vector<Entry> many(65'535, { "a", "" });
    EXPECT_EQ(Opened(Zip(many)), u"the archive has more than 65534 entries"_s);
    many.pop_back();
    EXPECT_EQ(Opened(Zip(many)), u"a"_s);
    const Entry large{ "a", QByteArray(11 << 20, 'x'), false, 0x4fff'ffff };
    EXPECT_EQ(Opened(Zip({ large, large })), u"the entries of the archive have more than 2 GB in all"_s);
}

TEST(ArchiveTest, DamagedEntries)
{
    const auto read = [](const QByteArray &zip) {
        try {
            return QString::fromUtf8(Bank::Archive(zip, {}).Read(u"a"_s).value_or("none"));
        } catch (const Error &error) {
            return error.Description();
        }
    };
    const QString damaged = u"\"a\": it is damaged"_s;
    EXPECT_EQ(read(Zip({ { "a", "text" } })), u"text"_s);
    EXPECT_EQ(read(Zip({ { "a", "text", false } }).replace("text", "test")), damaged);
    EXPECT_EQ(read(Zip({ { "a", "text", true, 3 } })), damaged);
    EXPECT_EQ(read(Zip({ { "a", "text", true, 5 } })), damaged);
    EXPECT_EQ(read(Zip({ { "a", "text", true, 0, 0, 0, 14 } })), u"\"a\": it is packed by another method than deflate"_s);
    EXPECT_EQ(read(Zip({ { "a", QByteArray(2 << 20, 'x'), false, 101 << 20 } })), u"\"a\": it is larger than 100 MB"_s);
    const QByteArray whole = Zip({ { "a", "text" }, { "b", "more" } });
    for (qsizetype size = 1; size < whole.size(); ++size)
        EXPECT_TRUE(Opened(whole.first(size)).startsWith(u"a damaged zip archive"_s)) << size;
    for (qsizetype at = 0; at < whole.size(); ++at) {
        QByteArray changed = whole;
        changed[at] = static_cast<char>(changed.at(at) ^ 0x55);
        // Neither a crash nor another text.
        const QString text
            = ResultOf([&] { return QString::fromUtf8(Bank::Archive(changed, u"z"_s).Read(u"a"_s).value_or("none")); });
        EXPECT_TRUE(text == "text"_L1 || text == "none"_L1 || text == "5 z"_L1) << at << text.toStdString();
    }
}
