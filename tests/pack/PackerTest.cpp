// SPDX-License-Identifier: Apache-2.0
#include "pack/StubBytes.h"
#include "packformat/PackFormat.h"
#include "tests/pack/PackSheet.h"
#include "tests/support/Program.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

namespace {

const QString Author = QStringLiteral(AUTHOR_PROGRAM);

QStringList Packing(const QString &folder, const QString &file, const QStringList &more = {})
{
    return QStringList{ u"pack"_s, folder, u"--out"_s, file } + more;
}

// A file that not every system can hold.
bool MakeFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly) && file.write("x") == 1;
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
    const auto file = [](const QString &name) -> Change {
        return [name](const QString &folder) { return MakeFile(folder + u'/' + name); };
    };
    const struct {
        QString Name, Reason;
        Change Prepare;
    } rows[] = {
        { u"EMPTY"_s, noExam, [](auto folder) { return QFile::remove(folder + u"/EMPTY.exam"_s); } },
        { u"OTHER"_s, noExam, [](auto folder) { return QFile::rename(folder + u"/OTHER.exam"_s, folder + u"/NAME.exam"_s); } },
        { u"CUT"_s, u"past end of file"_s, [](auto folder) { return QFile::resize(folder + u"/CUT.exam"_s, 1); } },
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
        { u"TWINS"_s, u"in nothing but letter case"_s, file(u"Picture.bmp"_s) },
        { u".DOT"_s, u"a pack cannot hold a folder of that name"_s, [](auto) { return true; } },
    };
    for (const auto &[name, reason, prepare] : rows) {
        const QString folder = MakePackage(name, u"P-1"_s);
        if (!prepare(folder)) {
            EXPECT_EQ(Packer::OwnPlatform, Packer::Platform::Windows) << name.toStdString();
            continue;
        }
        const QString out = Sandbox::Path(u"never/%1.run"_s.arg(name));
        Sandbox::WriteFile(Sandbox::Path(u"never/other"_s), "x");
        const Outcome outcome = OutcomeOf(Author, Packing(folder, out));
        EXPECT_EQ(outcome.Code, 1) << name.toStdString();
        EXPECT_TRUE(outcome.Err.endsWith(reason + u'\n') && outcome.Err.count(u'\n') == 1) << outcome.Err.toStdString();
        EXPECT_EQ(Snapshot(Sandbox::Path(u"never"_s)).size(), 1u);
    }
    EXPECT_TRUE(OutcomeOf(Author, Packing(QDir::rootPath(), u"out.run"_s)).Err.endsWith(u"a folder of that name\n"_s));
    const QString good = MakePackage(u"GOOD"_s, u"P-1"_s);
    for (const QStringList &misuse : { Packing(good, {}),
                                       { u"pack"_s, good },
                                       Packing(good, u"x"_s, { good }),
                                       Packing(good, u"x"_s, { u"--for"_s, u"Windows"_s }) })
        EXPECT_EQ(OutcomeOf(Author, misuse).Code, 2) << misuse.join(u' ').toStdString();
}

TEST(PackerTest, ForEitherSystem)
{
    const QString package = MakePackage(u"EITHER"_s, u"E-1"_s);
    const QString out = Sandbox::Path(u"either.run"_s);
    const auto packed = [&](const QStringList &more) {
        QFile::remove(out);
        const Outcome outcome = OutcomeOf(Author, Packing(package, out, more));
        return outcome.Code == 0 ? Sandbox::ReadFile(out) : outcome.Err.toUtf8();
    };
    const QByteArray own = packed({});
    // How a program of that system starts.
    const struct {
        QString Name;
        Packer::Platform System;
        QByteArray Start;
    } rows[] = {
        { u"linux"_s, Packer::Platform::Linux,
          "\x7F"
          "ELF" },
        { u"windows"_s, Packer::Platform::Windows, "MZ" },
    };
    for (const auto &[name, system, start] : rows) {
        const QByteArrayView stub = StubBytes(system);
        const QByteArray pack = packed({ u"--for"_s, name });
        if (stub.isEmpty()) {
            EXPECT_TRUE(pack.contains("this program was built without what packs for")) << name.toStdString();
            EXPECT_NE(system, Packer::OwnPlatform);
            continue;
        }
        EXPECT_TRUE(pack.startsWith(start)) << name.toStdString();
        EXPECT_TRUE(pack.startsWith(stub)) << name.toStdString();
        // It brings along what it needs, and finds nothing beside it by name.
        for (const char *library :
             { "libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll", "bcrypt.dll", "libsodium.so" })
            EXPECT_FALSE(stub.toByteArray().contains(library)) << library;
        // The same index and contents behind the stub.
        const qsizetype trailer = qsizetype(PackFormat::TrailerBytes);
        const qsizetype ownStub = StubBytes(Packer::OwnPlatform).size();
        EXPECT_EQ(pack.sliced(stub.size()).chopped(trailer), own.sliced(ownStub).chopped(trailer)) << name.toStdString();
        EXPECT_EQ(pack == own, system == Packer::OwnPlatform) << name.toStdString();
    }
}

TEST(PackerTest, WholeOrNotAtAll)
{
    const QString package = MakePackage(u"WHOLE"_s, u"W-1"_s, 40'000);
    const QString root = Sandbox::Path(u"whole"_s);
    const QString old = root + u"/old.run"_s;
    const QStringList replace = { u"--replace"_s };
    Sandbox::WriteFile(old, "old");
    QDir(root).mkdir(u"folder"_s);
    const bool hasLink = System::MakeLink(old, root + u"/link.run"_s);
    const auto before = Snapshot(root);
    EXPECT_EQ(OutcomeOf(Author, Packing(package, old)).Code, 1);
    for (const QString &name : { u"/folder"_s, hasLink ? u"/link.run"_s : u"/folder"_s, u"/missing/new.run"_s })
        EXPECT_EQ(OutcomeOf(Author, Packing(package, root + name, replace)).Code, 1) << name.toStdString();
    EXPECT_EQ(Snapshot(root), before);
    EXPECT_EQ(OutcomeOf(Author, Packing(package, old, replace)), Outcome{});
    EXPECT_EQ(Snapshot(root).size(), before.size());
    EXPECT_GT(QFileInfo(old).size(), 40'000);
}
