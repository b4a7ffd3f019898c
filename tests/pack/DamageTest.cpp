#include "model/Globals.h"
#include "pack/stub/Install.h"
#include "pack/stub/PackReader.h"
#include "tests/pack/PackSheet.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray memory;

bool ReadMemory(int, std::uint64_t offset, void *out, std::size_t count)
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

void MakeProgram(const QString &path, const QByteArray &bytes)
{
    QFile::remove(path);
    Sandbox::WriteFile(path, bytes);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

}

TEST(DamageTest, ASmallPackByteByByte)
{
    const QByteArray sound = ToBytes({});
    ASSERT_EQ(Checked(sound), "sound");
    for (qsizetype at = 0; at < sound.size(); ++at) {
        EXPECT_NE(Checked(sound.first(at)), "sound") << at;
        for (int bit = 0; bit < 8; ++bit) {
            QByteArray flipped = sound;
            flipped[at] = static_cast<char>(flipped[at] ^ 1 << bit);
            EXPECT_NE(Checked(flipped), "sound") << at << ' ' << bit;
        }
    }
    for (const QByteArray &more : { QByteArray(1, '\0'), QByteArray("\n"), QByteArray(64, '\0'), sound.last(64), sound })
        EXPECT_EQ(Checked(sound + more), Damaged) << more.size();
}

// Made with a right sum by somebody who wants to do harm.
TEST(DamageTest, HostilePacks)
{
    const std::string misnamed = "the pack holds a name that may lead out of its folder";
    const std::string misordered = "the pack holds a name twice or out of order";
    const std::string missized = "the sizes in the pack are wrong";
    const std::string tooMany = "the pack holds too many files";
    const std::string noExam = "the pack holds no exam";
    std::vector<std::pair<PackSheet, std::string>> rows = {
        { { .Files = { { "NET-101.exam", 8 }, { "NET-101.exam", 0 } } }, misordered },
        { { .Files = { { "a.bmp", 3 }, { "NET-101.exam", 5 } } }, misordered },
        { { .Files = { { "NET-101.exam", 5 }, { "a.bmp", 4 } } }, missized },
        { { .Files = { { "NET-101.exam", 5 }, { "a.bmp", 2 } } }, missized },
        { { .Files = { { "NET-101.exam", ~quint64(0) }, { "a.bmp", 9 } } }, missized },
        { { .Files = { { "NET-101.exam", quint64(1) << 63 }, { "a.bmp", quint64(1) << 63 } }, .Contents = {} }, missized },
        { { .BehindIndex = "x" }, missized },
        { { .BehindIndex = QByteArray("\x05\x00" "b.bmp\x00", 8) }, missized },
        { { .BehindIndex = "\xFF\xFF" "b.bmp" }, missized },
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
        "../x", "/tmp/x", "a/b", "a\\b", "c:x", ".", "..", ".a", "", "a\n", QByteArray("a\0b", 3), "a\x7F", "a\xC2\x9B",
        "a ", " a", "a.", "a*", QByteArray(201, 'a'),
    };
    for (const QByteArray &name : names) {
        rows.push_back({ { .Folder = name }, misnamed });
        PackSheet sheet;
        (name < "NET-101.exam" ? sheet.Files.front() : sheet.Files.back()).Name = name;
        rows.push_back({ sheet, misnamed });
    }
    rows.push_back({ { .Files = { { "NET-101.exam", 5 }, { "a\xC3\x9B b,(c)", 3 } } }, "sound" });
    PackSheet many;
    many.Files.resize(1);
    many.Contents = "exam!";
    for (int i = 1; i <= 10'000; ++i)
        many.Files.push_back({ "a" + QByteArray::number(i).rightJustified(5, '0'), 0 });
    rows.push_back({ many, tooMany });
    many.Files.pop_back();
    rows.push_back({ many, "sound" });

    const QString path = Sandbox::Path(u"hostile.run"_s);
    const auto before = Snapshot(Sandbox::ExamsFolder());
    for (size_t i = 0; i < rows.size(); ++i) {
        const QByteArray pack = ToBytes(rows[i].first);
        EXPECT_EQ(Checked(pack), rows[i].second) << "row " << i;
        if (rows[i].second == "sound")
            continue;
        Sandbox::WriteFile(path, pack);
        testing::internal::CaptureStderr();
        EXPECT_EQ(InstallPack(QFile::encodeName(path).constData()), 1) << "row " << i;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Exam pack: " + rows[i].second + "\n") << "row " << i;
        EXPECT_EQ(Snapshot(Sandbox::ExamsFolder()), before) << "row " << i;
    }
}

// Whatever an index holds: what passes stays in its folder and is whole.
TEST(DamageTest, RandomIndexes)
{
    const QByteArray sound = ToBytes({});
    const qsizetype indexEnd = sound.size() - 64 - 8;
    std::mt19937 random(20);
    int soundOnes = 0;
    for (int round = 0; round < 30'000; ++round) {
        QByteArray pack = sound;
        for (unsigned count = random() % 3 + 1; count > 0; --count)
            pack[13 + qsizetype(random()) % (indexEnd - 13)] = static_cast<char>(random() % (random() % 4 == 0 ? 256 : 32));
        PackReader reader = ReaderOf(Summed(pack));
        if (reader.Check())
            continue;
        ++soundOnes;
        PackEntry entry;
        quint64 size = 0;
        while (reader.Next(entry)) {
            EXPECT_EQ(entry.Name.find('/'), std::string_view::npos);
            EXPECT_NE(entry.Name.front(), '.');
            size += entry.Size;
        }
        EXPECT_EQ(size, 8u);
    }
    EXPECT_GT(soundOnes, 0);
}

TEST(DamageTest, ARealPack)
{
    const QString program = MakePack(u"DAMAGED"_s, u"D-1"_s);
    const QString broken = Sandbox::Path(u"broken.run"_s);
    const QByteArray sound = Sandbox::ReadFile(program);
    const qsizetype contents = 3'000 + QFileInfo(Sandbox::Path(u"packages/D-1/DAMAGED/DAMAGED.exam"_s)).size();
    const qsizetype index = 2 + 7 + (2 + 12 + 8) + (2 + 11 + 8);
    const qsizetype start = sound.size() - 64 - contents - index;
    ASSERT_EQ(sound.mid(start + 2, 7), QByteArray("DAMAGED"));
    const auto before = Snapshot(Sandbox::ExamsFolder());

    std::vector<QByteArray> rows;
    // A part of the stub that never runs, and everything behind it.
    for (qsizetype at = start - 4; at < sound.size(); at += at > start + index && at < sound.size() - 80 ? 499 : 2) {
        QByteArray flipped = sound;
        flipped[at] = static_cast<char>(flipped[at] ^ 1 << at % 8);
        rows.push_back(flipped);
    }
    for (qsizetype missing : { 1, 32, 33, 64, 65 })
        rows.push_back(sound.chopped(missing));
    for (qsizetype count = start; count < sound.size(); count += 997)
        rows.push_back(sound.first(count));
    for (const QByteArray &more : { QByteArray(1, '\0'), sound.last(64), sound })
        rows.push_back(sound + more);
    for (size_t i = 0; i < rows.size(); ++i) {
        MakeProgram(broken, rows[i]);
        const Outcome outcome = OutcomeOf(broken);
        EXPECT_EQ(outcome.Code, 1) << "row " << i;
        EXPECT_EQ(outcome.Err, QByteArray("Exam pack: the pack is damaged\n")) << "row " << i;
        ASSERT_EQ(Snapshot(Sandbox::ExamsFolder()), before) << "row " << i;
    }
    MakeProgram(broken, sound);
    EXPECT_EQ(OutcomeOf(broken).Code, 0);
    EXPECT_FALSE(Globals::FindExamFile(Sandbox::ExamsFolder() + u"/DAMAGED"_s).isEmpty());
}
