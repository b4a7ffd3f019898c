// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/PackReader.h"
#include "tests/pack/Installed.h"
#include "tests/pack/PackSheet.h"
#include "tests/support/Test.h"

#include <cstring>

namespace {

QByteArray memory;

bool ReadMemory(std::intptr_t, std::uint64_t offset, void *out, std::size_t count)
{
    const auto size = static_cast<std::uint64_t>(memory.size());
    if (offset > size || count > size - offset)
        return false;
    std::memcpy(out, memory.constData() + offset, count);
    return true;
}

PackReader ReaderOf(const QByteArray &pack)
{
    memory = pack;
    return PackReader({ ReadMemory, 0, static_cast<std::uint64_t>(pack.size()) });
}

std::string Checked(const QByteArray &pack)
{
    const char *fault = ReaderOf(pack).Check();
    return fault ? fault : "sound";
}

const std::string Damaged = "the pack is damaged";

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
            // With a right sum, what passes stays in its folder and is whole.
            PackReader reader = ReaderOf(Summed(changed));
            if (reader.Check())
                continue;
            PackEntry entry;
            quint64 size = 0;
            while (reader.Next(entry)) {
                EXPECT_TRUE(entry.Name.find('/') == entry.Name.npos && entry.Name.front() != '.') << at << ' ' << bits;
                size += entry.Size;
            }
            EXPECT_EQ(size, 8u) << at << ' ' << bits;
        }
    }
    for (const QByteArray &more : { QByteArray(1, '\0'), QByteArray(64, '\0'), sound.last(64), sound })
        EXPECT_EQ(Checked(sound + more), Damaged) << more.size();
}

// Made with a right sum by somebody who wants to do harm.
TEST(DamageTest, HostilePacks)
{
    const std::string misnamed = "the pack holds a name that is not allowed";
    const std::string twins = "the pack holds two names that differ in nothing but letter case";
    const std::string misordered = "the pack holds a name twice or out of order";
    const std::string missized = "the sizes in the pack are wrong";
    const std::string tooMany = "the pack holds too many files";
    const std::string noExam = "the pack holds no exam";
    const quint64 half = quint64(1) << 63;
    std::vector<std::pair<PackSheet, std::string>> rows = {
        { { .Files = { { "NET-101.exam", 8 }, { "NET-101.exam", 0 } } }, misordered },
        { { .Files = { { "a.bmp", 3 }, { "NET-101.exam", 5 } } }, misordered },
        { { .Files = { { "A.bmp", 1 }, { "NET-101.exam", 5 }, { "a.bmp", 2 } } }, twins },
        { { .Files = { { "NET-101.exam", 5 }, { "x\xC3\x96", 0 }, { "x\xC3\xA4", 1 }, { "x\xC3\xB6", 2 } } }, twins },
        { { .Files = { { "NET-101.exam", 5 }, { "a.bmp", 4 } } }, missized },
        { { .Files = { { "NET-101.exam", 5 }, { "a.bmp", 2 } } }, missized },
        { { .Files = { { "NET-101.exam", ~quint64(0) }, { "a.bmp", 9 } } }, missized },
        { { .Files = { { "NET-101.exam", half }, { "a.bmp", half } }, .Contents = {} }, missized },
        { { .BehindIndex = "x" }, missized },
        { { .BehindIndex = QByteArray("\x05\x00"
                                      "b.bmp\x00",
                                      8) },
          missized },
        { { .BehindIndex = "\xFF\xFF"
                           "b.bmp" },
          missized },
        { { .Files = {}, .Contents = {} }, noExam },
        { { .Files = { { "NET-102.exam", 8 } } }, noExam },
        { { .Folder = "NET-101.v2", .Files = { { "NET-101.v2.exam", 8 } } }, noExam },
        { { .Folder = "NET-101.v2" }, "sound" },
        { { .Version = 2 }, Damaged },
        { { .MoreStart = 1 }, Damaged },
        { { .MoreStart = ~quint64(0) - 12 }, Damaged },
        { { .MoreIndexBytes = 1 }, Damaged },
        { { .MoreIndexBytes = 0xFFFFFF00 }, Damaged },
        { { .MoreContentBytes = ~quint64(0) }, Damaged },
        // Both wrong, their total right: the index runs on into the contents.
        { { .MoreIndexBytes = 8, .MoreContentBytes = ~quint64(0) - 7 }, missized },
        { { .BehindIndex = QByteArray(2'200'000, 'x') }, tooMany },
    };
    const QByteArrayList names = {
        "../x",
        "/tmp/x",
        "a/b",
        "a\\b",
        "c:x",
        ".",
        "..",
        ".a",
        "",
        "a\n",
        QByteArray("a\0b", 3),
        "a\x7F",
        "a\xC2\x9B",
        "a ",
        " a",
        "a.",
        "a*",
        QByteArray(201, 'a'),
        // No UTF-8: cut short, too long, half a pair, beyond the last character.
        "a\xFF",
        "a\xC3",
        "a\xE2\x82",
        "\x80",
        "a\xC0\xAF"
        "b",
        "\xE0\x9F\xBF",
        "\xED\xA0\x80",
        "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80",
        // Devices of Windows.
        "CON",
        "con.exam",
        "nul.bmp",
        "Aux .bmp",
        "PRN.a.b",
        "Com1.bmp",
        "LPT9",
        "COM\xC2\xB9.bmp",
        "conin$",
        "CONOUT$.x",
    };
    for (const QByteArray &name : names) {
        rows.push_back({ { .Folder = name }, misnamed });
        PackSheet sheet;
        (name < "NET-101.exam" ? sheet.Files.front() : sheet.Files.back()).Name = name;
        rows.push_back({ sheet, misnamed });
    }
    rows.push_back({ { .Files = { { "NET-101.exam", 5 }, { "a\xC3\x9B b,(c)", 3 } } }, "sound" });
    for (const char *name : { "con-1.bmp", "console", "com.bmp", "com10.bmp", "lpt\xC2\xB4.bmp", "xnul.bmp" })
        rows.push_back({ { .Files = { { "NET-101.exam", 5 }, { name, 3 } } }, "sound" });
    PackSheet many;
    many.Files.resize(1);
    many.Contents = "exam!";
    for (int i = 1; i <= 10'000; ++i)
        many.Files.push_back({ "a" + QByteArray::number(i).rightJustified(5, '0'), 0 });
    rows.push_back({ many, tooMany });
    many.Files.pop_back();
    rows.push_back({ many, "sound" });
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(Checked(ToBytes(rows[i].first)), rows[i].second) << "row " << i;
}

// The packer and the stub have no Qt for letters in common.
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

// What the program does with it: one line, and nothing is touched.
TEST(DamageTest, ARealPack)
{
    const QByteArray sound = Sandbox::ReadFile(MakePack(u"DAMAGED"_s, u"D-1"_s));
    const QString broken = Sandbox::Path(u"broken.run"_s);
    const auto ran = [&](const QByteArray &bytes) {
        QFile::remove(broken);
        Sandbox::WriteFile(broken, bytes);
        QFile::setPermissions(broken, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return OutcomeOf(broken);
    };
    const qsizetype start = sound.lastIndexOf("DAMAGED", sound.lastIndexOf("DAMAGED.exam") - 1) - 2;
    const auto before = Snapshot(Sandbox::ExamsFolder());
    std::vector<QByteArray> rows = { sound.chopped(1), sound.chopped(64), sound.first(start), sound + sound };
    // A part of the stub that never runs, and everything behind it.
    for (qsizetype at = start - 4; at<sound.size(); at += at> start + 50 && at < sound.size() - 70 ? 997 : 3) {
        QByteArray flipped = sound;
        flipped[at] = static_cast<char>(flipped[at] ^ 1 << at % 8);
        rows.push_back(flipped);
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(ran(rows[i]), (Outcome{ 1, {}, u"Exam pack: the pack is damaged\n"_s })) << "row " << i;
        ASSERT_EQ(Snapshot(Sandbox::ExamsFolder()), before) << "row " << i;
    }
    EXPECT_EQ(ran(sound), Outcome{});
    EXPECT_EQ(CodeOf(u"DAMAGED"_s), u"D-1"_s);
}
