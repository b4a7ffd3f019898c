// SPDX-License-Identifier: Apache-2.0
#include "pack/StubBytes.h"
#include "packformat/PackFormat.h"
#include "tests/pack/PackFixture.h"

namespace {

// A file that not every system can have.
bool MakeFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly) && file.write("x") == 1;
}

bool MakeFiles(const QString &folder, int count)
{
    return count == 0 || (MakeFile(folder + u"/%1"_s.arg(count)) && MakeFiles(folder, count - 1));
}

}

TEST(PackerTest, WhatNoPackCanHold)
{
    const QString noExam = u"there is no exam of the folder's name in it"_s;
    const QString noFolder = u"it is no folder"_s;
    const QString irregular = u"it is no regular file"_s;
    const QString misnamed = u"a pack cannot hold a file of that name"_s;
    // False when this system cannot have such a folder.
    using Change = std::function<bool(const QString &folder)>;
    const auto file
        = [](const QString &name) -> Change { return [name](auto folder) { return MakeFile(folder + u'/' + name); }; };
    const struct {
        QString Name, Reason;
        Change Prepare;
    } rows[] = {
        { u"EMPTY"_s, noExam, [](auto folder) { return QFile::remove(folder + u"/EMPTY.exam"_s); } },
        { u"OTHER"_s, noExam, [](auto folder) { return QFile::rename(folder + u"/OTHER.exam"_s, folder + u"/NAME.exam"_s); } },
        { u"CUT"_s, u"CUT.exam: Input past end of file"_s,
          [](auto folder) { return QFile::resize(folder + u"/CUT.exam"_s, 1); } },
        { u"MISSING"_s, noFolder, [](auto folder) { return QDir(folder).removeRecursively(); } },
        { u"FILE"_s, noFolder, [](auto folder) { return QDir(folder).removeRecursively() && MakeFile(folder); } },
        { u"DEEP"_s, u"folder: it is no regular file"_s, [](auto folder) { return QDir(folder).mkdir(u"folder"_s); } },
        { u"LINK"_s, irregular,
          [](auto folder) { return System::MakeLink(folder + u"/picture.bmp"_s, folder + u"/a.bmp"_s); } },
        { u"LINKED"_s, irregular,
          [](auto folder) {
              return System::MakeLink(folder + u"/../elsewhere"_s, folder + u"/link"_s)
                  && QFile::rename(folder + u"/LINKED.exam"_s, folder + u"/../elsewhere"_s)
                  && QFile::rename(folder + u"/link"_s, folder + u"/LINKED.exam"_s);
          } },
        { u"PIPE"_s, irregular, [](auto folder) { return System::MakePipe(folder + u"/pipe"_s); } },
        { u"HIDDEN"_s, misnamed, file(u".hidden"_s) },
        { u"STAR"_s, misnamed, file(u"a*b"_s) },
        { u"DEVICE"_s, misnamed, file(u"nul.bmp"_s) },
        { u"LONG"_s, misnamed, file(u"x"_s.repeated(201)) },
        { u"TWINS"_s, u" in nothing but letter case"_s, file(u"Picture.bmp"_s) },
        { u"MANY"_s, u"10001 files are more than 10000"_s, [](auto folder) { return MakeFiles(folder, 9'999); } },
        { u".DOT"_s, u"a pack cannot hold a folder of that name"_s, [](auto) { return true; } },
    };
    const QString out = Sandbox::Path(u"out/x.run"_s);
    QDir().mkpath(QFileInfo(out).path());
    for (const auto &[name, reason, prepare] : rows) {
        const QString folder = MakePackage(name, u"P-1"_s);
        if (!prepare(folder)) {
            EXPECT_EQ(Packer::OwnPlatform, Packer::Platform::Windows) << name.toStdString();
            continue;
        }
        const QString said = Refusal(folder, out);
        EXPECT_TRUE(said.endsWith(reason)) << name.toStdString() << said.toStdString();
    }
    EXPECT_TRUE(Snapshot(QFileInfo(out).path()).empty());
    const QString most = Sandbox::Path(u"packages/P-1/MANY"_s);
    EXPECT_TRUE(QFile::remove(most + u"/1"_s));
    EXPECT_EQ(Refusal(most, out), QString());
    for (const QString &folder : { QDir::rootPath(), QString() })
        EXPECT_TRUE(Refusal(folder, u"out.run"_s).endsWith(u": a pack cannot hold a folder of that name"_s));
}

TEST(PackerTest, APackageThatChanges)
{
    const QString package = MakePackage(u"CHANGES"_s, u"Q-1"_s, 5'000'000);
    const QString picture = package + u"/picture.bmp"_s;
    const QString out = Sandbox::Path(u"changes.run"_s);
    for (const qint64 size : { 5'000'001, 4'999'999, 1 }) {
        QFile::resize(picture, 5'000'000);
        const QString changed = Refusal(package, out, false, [&] { QFile::resize(picture, size); });
        EXPECT_EQ(changed, QDir::toNativeSeparators(picture) + u": it changed while it was read"_s) << size;
    }
    QFile::resize(picture, 5'000'000);
    EXPECT_TRUE(
        Refusal(package, out, false, [&] { QFile::remove(picture); }).startsWith(QDir::toNativeSeparators(picture) + u": "_s));
    EXPECT_FALSE(QFile::exists(out));
}

TEST(PackerTest, ForEitherSystem)
{
    const QString package = MakePackage(u"EITHER"_s, u"E-1"_s);
    const QString out = Sandbox::Path(u"either.run"_s);
    // The pack, or what the program says.
    const auto packed = [&](const QStringList &more) {
        QFile::remove(out);
        const QStringList arguments = { u"pack"_s, package + u'/', u"--out"_s, out };
        const Outcome outcome = OutcomeOf(QStringLiteral(AUTHOR_PROGRAM), arguments + more);
        return outcome.Code == 0 ? Sandbox::ReadFile(out) : QByteArray::number(outcome.Code) + ' ' + outcome.Err.toUtf8();
    };
    const QByteArray own = packed({});
    EXPECT_TRUE(packed({ u"--for"_s, u"Windows"_s }).startsWith("2 "));
    EXPECT_TRUE(packed({ package }).startsWith("2 "));
    const struct {
        QString Name;
        Packer::Platform Platform;
        QByteArray Start; // of a program of that system
    } rows[] = {
        { u"linux"_s, Packer::Platform::Linux, QByteArray::fromHex("7F454C46") },
        { u"windows"_s, Packer::Platform::Windows, "MZ" },
    };
    for (const auto &[name, platform, start] : rows) {
        const QByteArrayView stub = StubBytes(platform);
        const QByteArray pack = packed({ u"--for"_s, name });
        if (stub.isEmpty()) {
            const QByteArray said = "1 practorium-author: this program was built without what packs for ";
            EXPECT_TRUE(pack.toLower().startsWith(said + name.toLatin1() + " need")) << pack.toStdString();
            EXPECT_NE(platform, Packer::OwnPlatform);
            continue;
        }
        EXPECT_TRUE(pack.startsWith(start) && pack.startsWith(stub)) << name.toStdString();
        // It needs no library beside it.
        for (const char *library :
             { "libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll", "bcrypt.dll", "libsodium.so" })
            EXPECT_FALSE(stub.toByteArray().contains(library)) << library;
        // The same index and contents behind the stub.
        const qsizetype trailer = qsizetype(PackFormat::TrailerBytes);
        const qsizetype ownStub = StubBytes(Packer::OwnPlatform).size();
        EXPECT_EQ(pack.sliced(stub.size()).chopped(trailer), own.sliced(ownStub).chopped(trailer)) << name.toStdString();
        EXPECT_EQ(pack == own, platform == Packer::OwnPlatform) << name.toStdString();
    }
}

TEST(PackerTest, WholeOrNotAtAll)
{
    const QString package = MakePackage(u"WHOLE"_s, u"W-1"_s, 600'000);
    const QString root = Sandbox::Path(u"whole"_s);
    const QString old = root + u"/old.run"_s;
    Sandbox::WriteFile(old, "old");
    QDir(root).mkdir(u"folder"_s);
    const bool hasLink = System::MakeLink(root + u"/nothing"_s, root + u"/link.run"_s);
    const auto before = Snapshot(root);
    const QString irregular = u": it is there already and no regular file"_s;
    EXPECT_EQ(Refusal(package, old), old + u": it exists already (--replace replaces it)"_s);
    EXPECT_EQ(Refusal(package, root + u"/folder"_s, true), root + u"/folder"_s + irregular);
    EXPECT_TRUE(!hasLink || Refusal(package, root + u"/link.run"_s, true) == root + u"/link.run"_s + irregular);
    EXPECT_TRUE(Refusal(package, root + u"/missing/new.run"_s, true).startsWith(root + u"/missing/new.run: "_s));
    // Cancelled before each block, and before the file appears.
    int steps = 0;
    const auto cancelledAt = [&](int last) {
        steps = 0;
        return Refusal(package, old, true, [&] {
            if (++steps == last)
                throw Error(InvalidCall, u"cancelled"_s, {});
        });
    };
    for (int last = 1; cancelledAt(last) == "cancelled"_L1; ++last)
        ASSERT_EQ(Snapshot(root), before) << last;
    EXPECT_GE(steps, 8);
    EXPECT_EQ(Snapshot(root).size(), before.size());
    EXPECT_EQ(OutcomeOf(old), Done);
}
