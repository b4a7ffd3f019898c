// SPDX-License-Identifier: Apache-2.0
#include "install/view/frmInstall.h"

#include "tests/pack/PackFixture.h"
#include "tests/signature/SignedPack.h"
#include "tests/support/Contrast.h"
#include "tests/support/Sketch.h"
#include "ui/Theme.h"

namespace {

class InstallWindowTest : public testing::Test {
protected:
    void Open(const QString &path)
    {
        Window = std::make_unique<frmInstall>(path);
        Windows::Show(Window.get());
        Window->Start();
    }
    // The window as it is read, once the button can be pressed.
    QStringList ShownWith(const QString &button)
    {
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                for (const auto *each : Window->findChildren<QAbstractButton *>()) {
                    if (each->isVisible() && each->isEnabled() && each->text() == button)
                        return true;
                }
                return false;
            },
            Windows::Patience));
        return Windows::Sketch(Window.get());
    }
    std::unique_ptr<frmInstall> Window;
};

}

TEST_F(InstallWindowTest, AskedOnceThenInstalled)
{
    const QString exams = FreshFolder();
    const QString pack = MakePack(u"NET"_s, u"N-1"_s);
    Open(pack);
    EXPECT_EQ(ShownWith(u"&Install"_s).join(u'\n').toStdString(),
              "Install Exam - Practorium\n* Sample\nCode: N-1\nItems: 1\nSize: 16.68 KiB in 2 files\nFolder: NET\n... &Install "
              "Cancel");
    EXPECT_EQ(Snapshot(exams), Tree());
    for (const auto look : { Theme::Look::Dark, Theme::Look::HighContrast, Theme::Look::Light }) {
        Theme::Apply(*qApp, look);
        QCoreApplication::sendPostedEvents();
        Windows::ExpectVisibleFocus(Window.get());
        Windows::ExpectContrast(Window.get());
    }
    Windows::Click(Window.get(), u"cmdAction"_s);
    EXPECT_EQ(ShownWith(u"&Open Practorium"_s).join(u'\n').toStdString(),
              "Install Exam - Practorium\n* Sample\nCode: N-1\nItems: 1\nSize: 16.68 KiB in 2 files\nFolder: NET\nThe exam is "
              "installed. Practorium lists it from its next start on.\n... &Open Practorium Close");
    EXPECT_EQ(Snapshot(exams), Installed(u"NET"_s, u"N-1"_s));
    Windows::Click(Window.get(), u"cmdCancel"_s);
    EXPECT_TRUE(Window->IsInstalled() && !Window->isVisible());

    // The next one takes its place, or not.
    const Tree before = Snapshot(exams);
    Open(MakePack(u"NET"_s, u"N-2"_s));
    EXPECT_EQ(ShownWith(u"&Install"_s).join(u'\n').toStdString(),
              "Install Exam - Practorium\n* Sample\nCode: N-2\nItems: 1\nSize: 16.68 KiB in 2 files\nFolder: NET\nReplaces: "
              "N-1, Sample (1 item)\n... &Install Cancel");
    QTest::keyClick(Window.get(), Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Window->isVisible(); }, Windows::Patience));
    EXPECT_FALSE(Window->IsInstalled());
    EXPECT_EQ(Snapshot(exams), before);
}

TEST_F(InstallWindowTest, WhoHasSigned)
{
    FreshFolder();
    const Minisign::SecretKey vendor = Minisign::NewKey();
    const TrustedKeys trusted(vendor.Public().ToText());
    const QString folder = MakePackage(u"NET"_s, u"N-1"_s);
    const QString pack = Sandbox::Path(u"signed.run"_s);
    const QString comment = SignedPack::Statement(u"N-1"_s, 1).ToText();
    Packer::Write(
        folder, pack, Packer::OwnPlatform, true, [] {},
        [&](const QByteArray &digest) { return Minisign::Sign(vendor, digest, comment); });
    Open(pack);
    EXPECT_TRUE(ShownWith(u"&Install"_s).contains(u"Signed by: Example Org, 21 March 2026"_s));
    Open(folder);
    EXPECT_TRUE(ShownWith(u"&Install"_s).contains(u"Signed by: nobody"_s));
    Open(MakePack(u"NET"_s, u"N-1"_s));
    EXPECT_TRUE(ShownWith(u"Close"_s).contains(u"the pack is not signed"_s));
}

TEST_F(InstallWindowTest, WhatCannotBeInstalled)
{
    const QString exams = FreshFolder();
    const QString letter = Sandbox::Path(u"letter & text.txt"_s);
    Sandbox::WriteFile(letter, "Dear");
    Open(letter);
    EXPECT_EQ(ShownWith(u"Close"_s),
              (QStringList{ u"Install Exam - Practorium"_s, u"* The exam cannot be installed."_s,
                            QDir::toNativeSeparators(letter) + u": it is no exam pack, exam file or folder of an exam"_s,
                            u"... Close"_s }));
    QTest::keyClick(Window.get(), Qt::Key_Return);
    EXPECT_FALSE(Window->isVisible() || Window->IsInstalled());
    EXPECT_EQ(Snapshot(exams), Tree());
}
