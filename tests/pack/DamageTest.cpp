// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/PackReader.h"
#include "tests/pack/PackFixture.h"

#include <cstring>

namespace {

QByteArray memory;
int readsLeft = 0; // until the disk fails; none before it when negative

bool ReadMemory(std::intptr_t, std::uint64_t offset, void *out, std::size_t count)
{
    const auto size = static_cast<std::uint64_t>(memory.size());
    const bool isThere = offset <= size && count <= size - offset;
    return readsLeft-- != 0 && isThere && std::memcpy(out, memory.constData() + offset, count);
}

PackReader ReaderOf(const QByteArray &pack)
{
    memory = pack;
    readsLeft = -1;
    return PackReader({ ReadMemory, 0, static_cast<std::uint64_t>(pack.size()) });
}

std::string Checked(const QByteArray &pack)
{
    const char *fault = ReaderOf(pack).Check();
    return fault ? fault : "sound";
}

const std::string Damaged = "the pack is damaged";
const std::string Misnamed = "the pack holds a name that is not allowed";
const std::string Misordered = "the pack holds a name twice or out of order";
const std::string Twins = "the pack holds two names that differ in nothing but letter case";
const std::string Missized = "the sizes in the pack are wrong";
const std::string TooMany = "the pack holds too many files";
const std::string NoExam = "the pack holds no exam";

}

TEST(DamageTest, ASmallPackByteByByte)
{
    const QByteArray sound = ToBytes({});
    ASSERT_EQ(Checked(sound), "sound");
    for (qsizetype at = 0; at < sound.size(); ++at) {
        EXPECT_NE(Checked(sound.first(at)), "sound") << at;
        for (int bits = 1; bits < 256; ++bits) {
            QByteArray changed = sound;
            changed[at] = static_cast<char>(changed[at] ^ bits);
            EXPECT_NE(Checked(changed), "sound") << at << ' ' << bits;
            // With a correct sum, what passes stays in its folder and is complete.
            PackReader reader = ReaderOf(Summed(changed));
            if (reader.Check())
                continue;
            quint64 size = 0;
            for (PackEntry entry; reader.Next(entry); size += entry.Size)
                EXPECT_TRUE(entry.Name.find('/') == entry.Name.npos && entry.Name.front() != '.') << at << ' ' << bits;
            EXPECT_EQ(size, 8u) << at << ' ' << bits;
        }
    }
    for (const QByteArray &more : { QByteArray(1, '\0'), QByteArray(64, '\0'), sound.last(64), sound })
        EXPECT_EQ(Checked(sound + more), Damaged) << more.size();
}

TEST(DamageTest, TheDiskFails)
{
    // In the trailer, the stub, the index and the contents.
    for (const int reads : { 0, 1, 2, 3 }) {
        PackReader reader = ReaderOf(ToBytes({}));
        readsLeft = reads;
        EXPECT_STREQ(reader.Check(), "the pack cannot be read") << reads;
    }
    PackReader reader = ReaderOf(ToBytes({}));
    ASSERT_EQ(reader.Check(), nullptr);
    readsLeft = 0;
    char byte = 0;
    EXPECT_FALSE(reader.Read(&byte, 1));
}

// Packs with a correct sum, made to do harm.
TEST(DamageTest, HostilePacks)
{
    const quint64 half = quint64(1) << 63;
    PackSheet most = { .Files = { { "NET-101.exam", 5 } }, .Contents = "exam!" };
    while (most.Files.size() < 10'000)
        most.Files.push_back({ "a" + QByteArray::number(quint64(most.Files.size())).rightJustified(5, '0'), 0 });
    PackSheet tooMany = most;
    tooMany.Files.push_back({ "b", 0 });
    const std::tuple<const char *, PackSheet, std::string> rows[] = {
        { "a name twice", { .Files = { { "NET-101.exam", 8 }, { "NET-101.exam", 0 } } }, Misordered },
        { "out of order", { .Files = { { "a.bmp", 3 }, { "NET-101.exam", 5 } } }, Misordered },
        { "letter case", { .Files = { { "A.bmp", 1 }, { "NET-101.exam", 5 }, { "a.bmp", 2 } } }, Twins },
        { "case beyond ASCII", { .Files = { { "NET-101.exam", 5 }, { "\xC3\x96", 1 }, { "\xC3\xB6", 2 } } }, Twins },
        { "a file too large", { .Files = { { "NET-101.exam", 5 }, { "a.bmp", 4 } } }, Missized },
        { "a file too small", { .Files = { { "NET-101.exam", 5 }, { "a.bmp", 2 } } }, Missized },
        { "sizes that overflow", { .Files = { { "NET-101.exam", ~quint64(0) }, { "a.bmp", 9 } } }, Missized },
        { "halves of 2^64", { .Files = { { "NET-101.exam", half }, { "a.bmp", half } }, .Contents = {} }, Missized },
        { "a byte behind the index", { .BehindIndex = "x" }, Missized },
        { "a cut size", { .BehindIndex = QByteArray("\5\0b.bmp\0", 8) }, Missized },
        { "a name beyond the index", { .BehindIndex = "\xFF\x7Fz.bmp" }, Missized },
        { "no files", { .Files = {}, .Contents = {} }, NoExam },
        { "another exam", { .Files = { { "NET-102.exam", 8 } } }, NoExam },
        { "an exam of the whole name", { .Folder = "NET-101.v2", .Files = { { "NET-101.v2.exam", 8 } } }, NoExam },
        { "a folder with an extension", { .Folder = "NET-101.v2" }, "sound" },
        { "another version", { .Version = 2 }, Damaged },
        { "a later start", { .MoreStart = 1 }, Damaged },
        { "a start that overflows", { .MoreStart = ~quint64(0) - 12 }, Damaged },
        { "a longer index", { .MoreIndexBytes = 1 }, Damaged },
        { "an index that overflows", { .MoreIndexBytes = 0xFFFFFF00 }, Damaged },
        { "less contents", { .MoreContentBytes = ~quint64(0) }, Damaged },
        { "an index that runs into the contents", { .MoreIndexBytes = 8, .MoreContentBytes = ~quint64(0) - 7 }, Missized },
        { "a large index", { .BehindIndex = QByteArray(2'200'000, 'x') }, TooMany },
        { "one file too many", tooMany, TooMany },
        { "as many as allowed", most, "sound" },
    };
    for (const auto &[name, sheet, said] : rows)
        EXPECT_EQ(Checked(ToBytes(sheet)), said) << name;

    const QByteArrayList misnamed
        = { "../x", "/tmp/x", "a/b", "a\\b", "c:x", ".", "..", ".a", "", "a\n", QByteArray("a\0b", 3), "a\x7F", "a\xC2\x9B",
            "a ", " a", "a.", "a*", QByteArray(201, 'a'),
            // No UTF-8: cut short, too long, a surrogate, beyond the last character.
            "a\xFF", "a\xC3", "a\xE2\x82", "\x80", "a\xC0\xAFz", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
            "\xF4\x90\x80\x80",
            // Devices of Windows.
            "CON", "con.exam", "nul.bmp", "Aux .bmp", "PRN.a.b", "Com1.bmp", "LPT9", "COM\xC2\xB9.bmp", "conin$", "CONOUT$.x" };
    for (const QByteArray &name : misnamed) {
        EXPECT_EQ(Checked(ToBytes({ .Folder = name })), Misnamed) << name.toPercentEncoding().toStdString();
        PackSheet sheet;
        (name < "NET-101.exam" ? sheet.Files.front() : sheet.Files.back()).Name = name;
        EXPECT_EQ(Checked(ToBytes(sheet)), Misnamed) << name.toPercentEncoding().toStdString();
    }
    for (const char *name :
         { "a\xC3\x9B b,(c)", "con-1.bmp", "console", "com.bmp", "com10.bmp", "lpt\xC2\xB4.bmp", "xnul.bmp" })
        EXPECT_EQ(Checked(ToBytes({ .Files = { { "NET-101.exam", 5 }, { name, 3 } } })), "sound") << name;
}

// The packer and the stub do not use Qt for letters.
TEST(DamageTest, LettersAsInUnicode)
{
    for (char32_t c = 1; c <= QChar::LastValidCodePoint; ++c) {
        const std::string bytes = QString::fromUcs4(&c, 1).toStdString();
        std::string_view text = bytes;
        const bool isText = !QChar::isSurrogate(c) && c != QChar::ByteOrderMark;
        ASSERT_TRUE(!isText || (Utf8::Take(text) == c && text.empty() && Utf8::Folded(c) == QChar::toCaseFolded(c)))
            << std::hex << uint32_t(c);
    }
}

// A damaged program writes one line and changes nothing.
TEST(DamageTest, ARealPack)
{
    const QString pack = MakePack(u"DAMAGED"_s, u"D-1"_s);
    const auto before = Snapshot(FreshFolder());
    QFile file(pack);
    EXPECT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(file.size() - 70) && file.write("x") == 1); // in the picture
    file.close();
    EXPECT_EQ(OutcomeOf(pack), (Outcome{ 1, {}, u"Exam pack: the pack is damaged\n"_s }));
    EXPECT_EQ(Snapshot(Sandbox::ExamsFolder()), before);
    const auto said = u"1 Exam pack: the pack cannot be read: %1\n"_s.arg(System::TextOf(System::NotFound));
    EXPECT_EQ(InstallHere(Sandbox::Path(u"nowhere"_s)), said.toStdString());
    EXPECT_TRUE(InstallHere(Sandbox::Path({})).starts_with("1 Exam pack: the pack cannot be read"));
}
