// SPDX-License-Identifier: Apache-2.0
#include "author/Signing.h"
#include "pack/StubBytes.h"
#include "packformat/PackFormat.h"
#include "tests/pack/PackFixture.h"
#include "tests/support/SmallDisk.h"

namespace {

// A file that not every system can have.
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
    const auto file
        = [](const QString &name) -> Change { return [name](auto folder) { return MakeFile(folder + u'/' + name); }; };
    const std::tuple<QString, QString, Change> rows[] = {
        { u"EMPTY"_s, noExam, [](auto folder) { return QFile::remove(folder + u"/EMPTY.exam"_s); } },
        { u"OTHER"_s, noExam, [](auto folder) { return QFile::rename(folder + u"/OTHER.exam"_s, folder + u"/NAME.exam"_s); } },
        { u"CUT"_s, u"CUT.exam: Input past end of file"_s,
          [](auto folder) { return QFile::resize(folder + u"/CUT.exam"_s, 1); } },
        { u"DIR"_s, u"DIR.exam: "_s + System::TextOf(System::IsFolder),
          [](auto folder) { return QFile::remove(folder + u"/DIR.exam"_s) && QDir(folder).mkdir(u"DIR.exam"_s); } },
        { u"MISSING"_s, noFolder, [](auto folder) { return QDir(folder).removeRecursively(); } },
        { u"FILE"_s, noFolder, [](auto folder) { return QDir(folder).removeRecursively() && MakeFile(folder); } },
        { u"DEEP"_s, u"folder: it is no regular file"_s, [](auto folder) { return QDir(folder).mkdir(u"folder"_s); } },
        { u"LINK"_s, irregular,
          [](auto folder) { return System::MakeLink(folder + u"/picture.bmp"_s, folder + u"/a.bmp"_s); } },
        { u"PIPE"_s, irregular, [](auto folder) { return System::MakePipe(folder + u"/pipe"_s); } },
        { u"HIDDEN"_s, misnamed, file(u".hidden"_s) },
        { u"STAR"_s, misnamed, file(u"a*b"_s) },
        { u"DEVICE"_s, misnamed, file(u"nul.bmp"_s) },
        { u"LONG"_s, misnamed, file(u"x"_s.repeated(201)) },
        { u"TWINS"_s, u" in nothing but letter case"_s, file(u"Picture.bmp"_s) },
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
        const QString said = Refusal(package, out, false, [&] { QFile::resize(picture, size); });
        EXPECT_TRUE(said.endsWith(u"picture.bmp: it changed while it was read"_s)) << size << said.toStdString();
    }
    const QString said = Refusal(package, out, false, [&] { QFile::remove(picture); });
    EXPECT_TRUE(said.contains(u"picture.bmp: "_s)) << said.toStdString();
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
    // How a program of that system starts.
    const std::tuple<QString, Packer::Platform, QByteArray> rows[] = {
        { u"linux"_s, Packer::Platform::Linux, QByteArray::fromHex("7F454C46") },
        { u"windows"_s, Packer::Platform::Windows, "MZ" },
    };
    for (const auto &[name, platform, start] : rows) {
        const QByteArrayView stub = StubBytes(platform);
        const QByteArray pack = packed({ u"--for"_s, name });
        if (stub.isEmpty()) {
            EXPECT_TRUE(pack.startsWith("1 practorium-author: this program was built without what packs for "));
            EXPECT_NE(platform, Packer::OwnPlatform);
            continue;
        }
        EXPECT_TRUE(pack.startsWith(start) && pack.startsWith(stub)) << name.toStdString();
        // It needs no library beside it.
        for (const char *library : { "libstdc++-6", "libgcc_s", "libwinpthread", "bcrypt.dll", "libcrypto.so" })
            EXPECT_FALSE(stub.toByteArray().contains(library)) << library;
        // The same index and contents behind the stub.
        const QByteArray expected = own.sliced(StubBytes(Packer::OwnPlatform).size()).chopped(PackFormat::TrailerBytes);
        EXPECT_EQ(pack.sliced(stub.size()).chopped(PackFormat::TrailerBytes), expected) << name.toStdString();
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
    EXPECT_EQ(OutcomeOf(old), Done);
    // The disk is full in the stub, in the contents, in the trailer and in its sum.
    const auto size = static_cast<quint64>(QFileInfo(old).size());
    const auto made = Snapshot(root);
    EXPECT_EQ(made.size(), before.size());
    for (const quint64 bytes : { quint64(1'000), size - 1'000, size - 33, size - 1 }) {
        const SmallDisk disk(SmallDisk::WhyNot() ? 0 : bytes);
        for (const QString &file : { old, root + u"/new.run"_s })
            EXPECT_TRUE(SmallDisk::WhyNot() || Refusal(package, file, true) == file + u": File too large"_s) << bytes;
    }
    EXPECT_EQ(Snapshot(root), made);
}

TEST(PackerTest, SignedPacks)
{
    const QString package = MakePackage(u"SIGNED"_s, u"S-1"_s);
    const QString out = Sandbox::Path(u"signed.run"_s);
    const auto run = [](const QStringList &arguments, const QByteArray &input = {}) {
        return OutcomeOf(QStringLiteral(AUTHOR_PROGRAM), arguments, {}, input);
    };
    const QString keyFile = Sandbox::Path(u"vendor.key"_s);
    const Outcome made = run({ u"key"_s, u"--out"_s, keyFile }, "open \xC3\xBC\nmore");
    ASSERT_EQ(made, (Outcome{ 0, made.Out, {} }));
    const QString vendor = made.Out.trimmed();
    const QByteArray sealed = Sandbox::ReadFile(keyFile);
    EXPECT_EQ(run({ u"key"_s, u"--out"_s, keyFile }, "x\n").Code, 1) << "no key is lost";
    EXPECT_EQ(Sandbox::ReadFile(keyFile), sealed);
    const QString next = Sandbox::Path(u"next.key"_s);
    const QString nextKey = Signing::MakeKey(next, u"sesame"_s, Minisign::Cost::Low).ToText();

    const QStringList pack = { u"pack"_s, package, u"--out"_s, out, u"--replace"_s, u"--pack-version"_s, u"7"_s, u"--sign"_s };
    qputenv("SOURCE_DATE_EPOCH", "1763888400");
    EXPECT_EQ(run(pack + QStringList(next), "wrong\n"),
              (Outcome{ 1, {}, u"practorium-author: %1: the pass phrase is wrong, or the key is damaged\n"_s.arg(next) }));
    EXPECT_FALSE(QFile::exists(out));
    ASSERT_EQ(run(pack + QStringList{ keyFile, u"--sign"_s, next, u"--exam"_s, u"S-101"_s, u"--signer"_s, u"B\u00FCro"_s },
                  "open \xC3\xBC\nsesame\n")
                  .Err,
              QString());
    qunsetenv("SOURCE_DATE_EPOCH");
    const QString stated = u"version 7 of the exam S-101, signed by B\u00FCro at 2025-11-23T09:00:00Z\n"_s;
    const QString other = Minisign::NewKey().Public().ToText();
    const std::pair<QStringList, Outcome> checks[] = {
        { { u"--key"_s, vendor }, { 0, out + u": "_s + stated } },
        { { u"--key"_s, other, u"--key"_s, nextKey }, { 0, out + u": "_s + stated } },
        { { u"--key"_s, next + u".pub"_s }, { 0, out + u": "_s + stated } },
        { { u"--key"_s, other }, { 1, out + u": the pack has no valid signature by a key that is trusted\n"_s } },
        { {}, { 0, QString(out + u": not verified (--key): "_s + stated).repeated(2) } },
    };
    for (const auto &[keys, outcome] : checks)
        EXPECT_EQ(run(QStringList{ u"check"_s, out } + keys), outcome) << keys.join(u' ').toStdString();
    const QString unsignedPack = MakePack(u"PLAIN"_s, u"P-1"_s);
    EXPECT_EQ(run({ u"check"_s, unsignedPack }), Outcome());
    EXPECT_EQ(run({ u"check"_s, unsignedPack, u"--key"_s, vendor }),
              (Outcome{ 1, unsignedPack + u": the pack is not signed\n"_s }));

    // It installs like any other.
    FreshFolder();
    EXPECT_EQ(OutcomeOf(out), Done);
    EXPECT_EQ(Snapshot(Sandbox::ExamsFolder()), Installed(u"SIGNED"_s, u"S-1"_s));
    QByteArray damaged = Sandbox::ReadFile(out);
    damaged[damaged.size() - 200] = static_cast<char>(damaged[damaged.size() - 200] ^ 1);
    Sandbox::WriteFile(out, damaged);
    EXPECT_EQ(InstallHere(out), "1 Exam pack: the pack is damaged\n");
}
