// SPDX-License-Identifier: Apache-2.0
#include "install/Installation.h"

#include "pack/StubBytes.h"
#include "tests/pack/PackFixture.h"
#include "tests/signature/SignedPack.h"

namespace {

// Folder, code, name, items, files, missing exhibits, what is replaced.
QString Described(const Installation::Offer &offer)
{
    QString text = u"%1 %2 %3 %4 %5 %6"_s.arg(offer.Folder, offer.Exam.Code, offer.Exam.Name)
                       .arg(offer.Exam.Items)
                       .arg(offer.Files)
                       .arg(offer.MissingExhibits);
    if (offer.Replaced)
        text += u" for %1 %2"_s.arg(offer.Replaced->Code).arg(offer.Replaced->Items);
    if (!offer.Signer.isEmpty())
        text += u" by %1 %2"_s.arg(offer.Signer, offer.SignedAt.toString(Qt::ISODate));
    if (offer.IsUnsigned)
        text += u" unsigned"_s;
    return text + (offer.IsShared ? u" shared"_s : u""_s);
}

// What was offered and how it ended.
QString Given(const QString &path, bool isAgreed = true)
{
    QString offered;
    try {
        const bool isInstalled = Installation::Run(path, [&](const Installation::Offer &offer) {
            offered += Described(offer);
            return isAgreed;
        });
        return offered + (isInstalled ? u""_s : u" declined"_s);
    } catch (const Error &error) {
        return offered + u"! "_s + error.Description();
    }
}

// A pack for the other system is data like any other.
QString ForeignPack(const QString &folder)
{
    const QString file = Sandbox::Path(u"foreign.exe"_s);
    const auto other = Packer::OwnPlatform == Packer::Platform::Linux ? Packer::Platform::Windows : Packer::Platform::Linux;
    if (StubBytes(other).isEmpty())
        return {};
    Packer::Write(folder, file, other, true, [] {});
    return file;
}

}

TEST(InstallationTest, WhateverWasGiven)
{
    const QString exams = FreshFolder();
    const QString folder = MakePackage(u"NET"_s, u"N-1"_s);
    const QString pack = MakePack(u"NET"_s, u"N-1"_s);
    QFile::setPermissions(pack, QFile::ReadOwner);
    const Tree wanted = Installed(u"NET"_s, u"N-1"_s);
    QString replaced;
    for (const QString &path : { pack, ForeignPack(folder), folder, folder + u'/', folder + u"/NET.exam"_s }) {
        if (path.isEmpty())
            continue;
        const QString offer = u"NET N-1 Sample 1 2 0"_s + replaced;
        const Tree before = Snapshot(exams);
        EXPECT_EQ(Given(path, false), offer + u" declined"_s) << path.toStdString();
        EXPECT_EQ(Snapshot(exams), before);
        EXPECT_EQ(Given(path), offer) << path.toStdString();
        EXPECT_EQ(Snapshot(exams), wanted) << path.toStdString();
        replaced = u" for N-1 1"_s;
    }
    QFile::setPermissions(pack, QFile::ReadOwner | QFile::WriteOwner);
    // One that cannot be read is replaced as well.
    Sandbox::WriteFile(exams + u"/NET/NET.exam"_s, "x");
    EXPECT_EQ(Given(pack), u"NET N-1 Sample 1 2 0 for  0"_s);
    EXPECT_EQ(Snapshot(exams), wanted);
}

// One for everybody in a folder of that name is told apart from one of the user's own, which
// is replaced. On Windows all exams are everybody's.
TEST(InstallationTest, AnExamForEverybodyStays)
{
    FreshFolder();
    const QString pack = MakePack(u"NET"_s, u"N-1"_s);
    const QString shared = qEnvironmentVariable("XDG_DATA_DIRS") + u"/Practorium/Exams"_s;
    for (const QString &name : { u"OTHER"_s, u"NET"_s }) {
        Sandbox::WriteFile(shared + u'/' + name + u'/' + name + u".exam"_s, "x");
        const bool isShared = name == u"NET"_s && Packer::OwnPlatform == Packer::Platform::Linux;
        EXPECT_EQ(Given(pack, false), u"NET N-1 Sample 1 2 0"_s + (isShared ? u" shared"_s : u""_s) + u" declined"_s);
    }
    EXPECT_EQ(Given(pack).contains(u"shared"_s), Packer::OwnPlatform == Packer::Platform::Linux);
    EXPECT_EQ(Given(pack, false), u"NET N-1 Sample 1 2 0 for N-1 1 declined"_s);
    QDir(shared).removeRecursively();
}

// A pack is refused by the same rules as one that is downloaded; exams that are not programs
// are installed, and shown as nobody's.
TEST(InstallationTest, SignedPacks)
{
    const QString exams = FreshFolder();
    const Minisign::SecretKey vendor = Minisign::NewKey();
    const QString folder = MakePackage(u"NET"_s, u"N-1"_s);
    const auto pack = [&](qint32 version, const Minisign::SecretKey &key) {
        const QString file = Sandbox::Path(u"signed.run"_s);
        const QString comment = SignedPack::Statement(u"NET-101"_s, version).ToText();
        Packer::Write(
            folder, file, Packer::OwnPlatform, true, [] {},
            [&](const QByteArray &digest) { return Minisign::Sign(key, digest, comment); });
        return file;
    };
    EXPECT_EQ(Given(pack(1, vendor), false), u"NET N-1 Sample 1 2 0 declined"_s) << "no key is trusted";
    const TrustedKeys trusted(vendor.Public().ToText());
    EXPECT_EQ(Given(MakePack(u"NET"_s, u"N-1"_s)), u"! the pack is not signed"_s);
    EXPECT_EQ(Given(pack(2, Minisign::NewKey())), u"! the pack has no valid signature by a key that is trusted"_s);
    EXPECT_EQ(Snapshot(exams), Tree());
    const QString offered = u"NET N-1 Sample 1 2 0%1 by Example Org 2026-03-21T20:05:09Z"_s;
    EXPECT_EQ(Given(pack(3, vendor), false), offered.arg(u""_s) + u" declined"_s);
    EXPECT_EQ(Given(pack(2, vendor)), offered.arg(u""_s)) << "what was declined is not installed";
    EXPECT_EQ(Given(pack(1, vendor)), u"! the pack is version 1 of the exam NET-101, and version 2 has been installed"_s);
    EXPECT_EQ(Given(folder), u"NET N-1 Sample 1 2 0 for N-1 1 unsigned"_s);
    EXPECT_EQ(Given(pack(2, vendor)), offered.arg(u" for N-1 1"_s));
}

TEST(InstallationTest, AnExamFileComesWithItsExhibits)
{
    const QString exams = FreshFolder();
    const auto exam = NewExam({ u"A-1"_s });
    for (const QString &exhibit : { u"a.png"_s, u"gone.png"_s, u"a.png"_s, u"../secret"_s })
        AddItem(*exam, { u"Which?"_s, { u"*a"_s, u"b"_s }, false, exhibit });
    const QString folder = Sandbox::Path(u"Downloads/"_s);
    for (const QString &name : { u"a.png"_s, u"letter.txt"_s, u"../secret"_s })
        Sandbox::WriteFile(folder + name, "1");
    exam->Save(folder + u"ALONE.exam"_s);
    EXPECT_EQ(Given(folder + u"ALONE.exam"_s), u"ALONE A-1 Sample 4 2 2"_s);
    EXPECT_EQ(QDir(exams + u"/ALONE"_s).entryList(QDir::Files, QDir::Name | QDir::IgnoreCase),
              (QStringList{ u"a.png"_s, u"ALONE.exam"_s }));
}

TEST(InstallationTest, WhatIsRefused)
{
    const QString exams = FreshFolder();
    const QString pack = MakePack(u"NET"_s, u"N-1"_s);
    const QByteArray bytes = Sandbox::ReadFile(pack);
    const auto file = [](const QString &name, const QByteArray &content) {
        Sandbox::WriteFile(Sandbox::Path(name), content);
        return Sandbox::Path(name);
    };
    QByteArray flipped = bytes;
    flipped[flipped.size() - 200] ^= 1;
    PackSheet leading;
    leading.Folder = "../NET-101";
    const QString folderInside = MakePackage(u"DEEP"_s, u"D-1"_s);
    QDir(folderInside).mkdir(u"more"_s);
    const std::pair<QString, QString> rows[] = {
        { Sandbox::Path(u"nowhere"_s), u"there is no such file or folder"_s },
        { QString(), u"there is no such file or folder"_s },
        { file(u"letter.txt"_s, "Dear"), u"it is no exam pack, exam file or folder of an exam"_s },
        { file(u"short.run"_s, bytes.first(bytes.size() - 1)), u"the pack is damaged"_s },
        { file(u"flipped.run"_s, flipped), u"the pack is damaged"_s },
        { file(u"leading"_s, ToBytes(leading)), u"the pack holds a name that is not allowed"_s },
        { file(u"hollow"_s, ToBytes({})), u"NET-101: the exam in it cannot be read"_s },
        { file(u"bad.exam"_s, "Dear"), u"Input past end of file"_s },
        { file(u"empty/notes.txt"_s, "x").chopped(10), u"there is no exam of the folder's name in it"_s },
        { folderInside, u"it is no regular file"_s },
    };
    const Tree before = Snapshot(exams);
    for (const auto &[path, reason] : rows) {
        const QString outcome = Given(path);
        EXPECT_TRUE(outcome.startsWith(u"! "_s) && outcome.endsWith(reason)) << outcome.toStdString();
        EXPECT_FALSE(outcome.contains(u'\n'));
        EXPECT_EQ(Snapshot(exams), before) << path.toStdString();
    }
}

// What has changed between the look and the installation is not installed.
TEST(InstallationTest, TheCheckedBytesAreInstalled)
{
    const QString exams = FreshFolder();
    const QString pack = MakePack(u"NET"_s, u"N-1"_s);
    QString outcome;
    try {
        const bool isInstalled = Installation::Run(pack, [&](const Installation::Offer &) {
            QFile file(pack);
            // Windows lets nobody write to it meanwhile.
            if (file.open(QIODevice::ReadWrite) && file.seek(file.size() - 200))
                file.write("!");
            return true;
        });
        outcome = isInstalled ? u"installed"_s : u"declined"_s;
    } catch (const Error &error) {
        outcome = error.Description();
    }
    const bool isChanged = Packer::OwnPlatform == Packer::Platform::Linux;
    EXPECT_EQ(outcome, isChanged ? u"NET: the pack has changed while it was read"_s : u"installed"_s);
    EXPECT_EQ(Snapshot(exams), isChanged ? Tree() : Installed(u"NET"_s, u"N-1"_s));
}

TEST(InstallationTest, OnATerminal)
{
    FreshFolder();
    const QString pack = MakePack(u"NET"_s, u"N-1"_s);
    const Outcome installed = { 0, u"NET: 1 item, installed\nNET: 1 item, installed in place of the one before\n"_s };
    EXPECT_EQ(OutcomeOf(QStringLiteral(INSTALL_PROGRAM), { u"--yes"_s, pack, pack }), installed);
    const Outcome half = OutcomeOf(QStringLiteral(INSTALL_PROGRAM), { u"--yes"_s, u"nowhere"_s, pack });
    EXPECT_EQ(half.Code, 1);
    EXPECT_EQ(half.Err, u"practorium-install: nowhere: there is no such file or folder\n"_s);
    EXPECT_EQ(half.Out, u"NET: 1 item, installed in place of the one before\n"_s);
    EXPECT_EQ(OutcomeOf(QStringLiteral(INSTALL_PROGRAM), { u"--yes"_s }).Code, 2);
}
