// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"

#include "tests/download/RunFixture.h"
#include "tests/signature/SignedPack.h"
#include "tests/support/SmallDisk.h"

namespace {

using PackFileTest = RunTest;

}

// What stands in the temporary folder under the pack's name.
TEST_F(PackFileTest, Places)
{
    const QString place = TempFile(u"101.exe"_s);
    QFile removes(Sandbox::Path(u"removes"_s));
    EXPECT_EQ(Outcome(), u"run, installed, "_s);
    Sandbox::WriteFile(place, QByteArray(100'000, 'o'));
    EXPECT_EQ(Outcome(), u"run, installed, "_s) << "an old pack";
    ASSERT_TRUE(QDir().mkpath(place));
    EXPECT_TRUE(Outcome().startsWith(u"stays, "_s)) << "a folder";
    EXPECT_TRUE(QDir().rmdir(place));
    // Windows gives up no program that runs.
    Sandbox::WriteFile(removes.fileName(), "");
    EXPECT_EQ(Outcome(),
              System::RunsByName ? u"run, installed, "_s : u"run, The downloaded file is not the one that was written"_s);
    EXPECT_TRUE(removes.remove());
    if (SmallDisk::WhyNot())
        return;
    // Noticed while the pack arrives, or at its end.
    for (const qsizetype padding : { 2'000'000, 100'000 }) {
        On("eid=", Reply::Whole(FakePack::Bytes(padding)));
        const SmallDisk disk(64 * 1024);
        EXPECT_EQ(Outcome(), u"stays, File too large"_s) << padding;
    }
}

TEST_F(PackFileTest, OneFileFromItsBeginningToItsEnd)
{
    const QString place = TempFile(u"\u65E5 own.exe"_s);
    const QByteArray bytes = FakePack::Bytes(300'000);
    PackFile file;
    EXPECT_THROW(file.MakeRunnable(), Error) << "there is none";
    EXPECT_THROW(file.Remove(), Error);
    file.Create(place);
    file.Write(bytes.constData(), bytes.size());
    file.MakeRunnable();
    EXPECT_EQ(Sandbox::ReadFile(place), bytes) << "closed as well";
    file.Run();
    EXPECT_EQ(FakePack::Runs(), 1);
    PackFile second;
    EXPECT_EQ(ResultOf([&] { second.Create(place); }), u"%1 "_s.arg(System::Exists)) << "what is there stays";
    file.Remove();
    EXPECT_FALSE(QFileInfo::exists(place));
    EXPECT_THROW(file.Remove(), Error) << "it is gone";
    // Another file is neither run nor removed with it.
    file.Create(place);
    file.Abandon();
    Sandbox::WriteFile(TempFile(u"other"_s), "theirs");
    EXPECT_TRUE(QFile::remove(place) && QFile::rename(TempFile(u"other"_s), place));
    EXPECT_THROW(file.MakeRunnable(), Error);
    EXPECT_THROW(file.Remove(), Error);
    RemoveOwnFile(place);
    EXPECT_FALSE(QFileInfo::exists(place));
}

TEST_F(PackFileTest, NamesThatStayInTheirFolder)
{
    for (const QString &name : { u"101.exe"_s, u"...exe"_s, u"NET 101 \u65E5.exe"_s, u"console.exe"_s, u"a;b.exe"_s })
        EXPECT_TRUE(IsPlainFileName(name)) << name.toStdString();
    for (const QString &name : { u""_s, u"."_s, u".."_s, u"a/b"_s, u"a\0b"_s })
        EXPECT_FALSE(IsPlainFileName(name)) << name.toStdString();
    for (const QString &name : { u"a\\b"_s, u"c:x.exe"_s, u"x.exe:stream"_s, u"x.exe."_s, u"x.exe "_s, u" x.exe"_s, u"CON"_s,
                                 u"nul.exe"_s, u"com1.exe"_s, u"a*.exe"_s, u"a?b"_s, u"a\nb"_s, u"\\\\s\\x"_s })
        EXPECT_NE(IsPlainFileName(name), System::RunsByName) << name.toStdString();
}

// With a key, nothing becomes a program before its signature is checked.
TEST_F(PackFileTest, OnlySignedPacksAreRun)
{
    const Minisign::SecretKey vendor = Minisign::NewKey();
    const TrustedKeys trusted(vendor.Public().ToText());
    const QByteArray fails = FakePack::Bytes();
    const QByteArray succeeds = QByteArray(fails).replace("exit 7", "exit 0");
    const auto pack = [&](const QByteArray &program, const QString &exam, qint32 version) {
        return SignedPack::Signed(program, vendor, SignedPack::Statement(exam, version));
    };
    const QString done = u"run, installed, "_s;
    std::vector<std::pair<QByteArray, QString>> rows = {
        { fails, u"stays, the pack is damaged"_s },
        { SignedPack::Unsigned(fails), u"stays, the pack is not signed"_s },
        { pack(fails, u"102"_s, 2), u"stays, the pack is signed for the exam 102"_s },
        { SignedPack::Signed(fails, Minisign::NewKey(), SignedPack::Statement(u"101"_s, 2)),
          u"stays, the pack has no valid signature by a key that is trusted"_s },
        { pack(fails, u"101"_s, 2), done },
        { pack(fails, u"101"_s, 1), done }, // what has failed is not installed
    };
    if (!System::RunsByName)
        rows.insert(rows.end(),
                    { { pack(succeeds, u"101"_s, 3), done },
                      { pack(succeeds, u"101"_s, 3), done },
                      { pack(succeeds, u"101"_s, 2),
                        u"stays, the pack is version 2 of the exam 101, and version 3 has been installed"_s } });
    for (const auto &[bytes, outcome] : rows) {
        On("eid=", Reply::Whole(bytes));
        EXPECT_EQ(Outcome(), outcome);
        EXPECT_TRUE(System::RunsByName || !QFileInfo(TempFile(u"101.exe"_s)).isExecutable());
    }
}
