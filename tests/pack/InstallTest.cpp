// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/Installed.h"
#include "tests/pack/PackSheet.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

TEST(InstallTest, WhereNoExamCanCome)
{
    const QString program = MakePack(u"PLACE"_s, u"P-2"_s);
    const QString root = System::ProgramFiles() + u"/Practorium"_s;
    const QString inFolder = u"the installed exam cannot be replaced, because a folder is in it"_s;
    const QString noFolder = u"there is no exams folder to install into: "_s;
    const struct {
        QString File, Reason;
    } rows[] = {
        { u"/Exams/PLACE"_s, u"a file or a link is in its place"_s },
        { u"/Exams/PLACE/notes/n"_s, inFolder },
        { u"/Exams"_s, noFolder },
        { {}, noFolder },
    };
    for (const auto &[file, reason] : rows) {
        QDir(root).removeRecursively();
        QFile::remove(root);
        Sandbox::WriteFile(root + file, "x");
        const Tree before = Snapshot(root);
        const Outcome outcome = OutcomeOf(program);
        EXPECT_EQ(outcome.Code, 1) << file.toStdString();
        EXPECT_TRUE(outcome.Err.startsWith(u"Exam pack: PLACE: "_s + reason)) << outcome.Err.toStdString();
        EXPECT_EQ(outcome.Err.count(u'\n'), 1);
        EXPECT_EQ(Snapshot(root), before) << file.toStdString();
        EXPECT_EQ(Sandbox::ReadFile(root + file), QByteArray("x"));
    }
    QFile::remove(root);
    EXPECT_EQ(OutcomeOf(program, { u"--help"_s }).Code, 2);
    EXPECT_FALSE(QFile::exists(root));
    EXPECT_EQ(OutcomeOf(program), Done);
    EXPECT_EQ(Snapshot(root + u"/Exams"_s), Installed(u"PLACE"_s, u"P-2"_s));
    EXPECT_EQ(CodeOf(u"PLACE"_s), u"P-2"_s);
}

TEST(InstallTest, EndedByForce)
{
    const QString exams = FreshFolder();
    ASSERT_EQ(OutcomeOf(MakePack(u"BIG"_s, u"B-1"_s)), Done);
    const QString large = MakePack(u"BIG"_s, u"B-2"_s, LargeBytes);
    const QString small = MakePack(u"SMALL"_s, u"S-1"_s);

    // What it leaves the next one clears away.
    const auto killed = Unpacking(large, exams);
    killed->kill();
    ASSERT_TRUE(killed->waitForFinished(60'000));
    ASSERT_EQ(HiddenNames(exams).size(), 1);
    EXPECT_EQ(CodeOf(u"BIG"_s), u"B-1"_s);
    EXPECT_EQ(OutcomeOf(small), Done);
    EXPECT_EQ(HiddenNames(exams), QStringList());

    // One that only sleeps is left alone by it.
    const auto asleep = Unpacking(large, exams);
    Freeze(*asleep);
    EXPECT_EQ(OutcomeOf(small), Done);
    EXPECT_EQ(HiddenNames(exams).size(), 1);
    Thaw(*asleep);
    EXPECT_EQ(EndOf(*asleep), Done);
    EXPECT_EQ(CodeOf(u"BIG"_s), u"B-2"_s);
    EXPECT_EQ(HiddenNames(exams), QStringList());
}

TEST(InstallTest, TheOldExamGoes)
{
    const QString exams = FreshFolder();
    const QString old = exams + u"/TWO/picture-of-the-old.bmp"_s;
    Sandbox::WriteFile(old, "x");
    QFile::setPermissions(old, QFile::ReadOwner);
    for (const QString &code : { u"T-1"_s, u"T-2"_s }) {
        EXPECT_EQ(OutcomeOf(MakePack(u"TWO"_s, code)), Done);
        EXPECT_EQ(Snapshot(exams), Installed(u"TWO"_s, code));
    }
    // Ended between two steps of a swap: the next run of any pack puts the exam back.
    const QString kept = exams + u"/.practorium-kept-TWO"_s;
    ASSERT_TRUE(QDir().rename(exams + u"/TWO"_s, kept));
    EXPECT_TRUE(Globals::GetInstalledExams().isEmpty());
    const QString other = MakePack(u"OTHER"_s, u"O-1"_s);
    EXPECT_EQ(OutcomeOf(other), Done);
    EXPECT_EQ(CodeOf(u"TWO"_s), u"T-2"_s);
    EXPECT_EQ(HiddenNames(exams), QStringList());
    // Ended behind them: what was kept goes.
    Sandbox::WriteFile(kept + u"/TWO.exam"_s, "old");
    EXPECT_EQ(OutcomeOf(other), Done);
    EXPECT_EQ(HiddenNames(exams), QStringList());
    EXPECT_EQ(CodeOf(u"TWO"_s), u"T-2"_s);
}

TEST(InstallTest, OnlyLeftoversAreClearedAway)
{
    const QString exams = FreshFolder();
    for (const QString &name :
         { u"pack-notes/n"_s, u"pack-0123456789ABCDEF/n"_s, u"pack-0123456789abcdef0/n"_s, u"pack-0123456789abcdea/folder/n"_s,
           u"pack-0123456789abcdea/a"_s, u"pack-0123456789abcdeb"_s, u"kept-/n"_s, u"kept-.a/n"_s })
        Sandbox::WriteFile(exams + u"/.practorium-"_s + name, "mine");
    System::MakeLink(Sandbox::Path(u"packages"_s), exams + u"/.practorium-pack-0123456789abcdec"_s);
    Tree before = Snapshot(exams);
    Sandbox::WriteFile(exams + u"/.practorium-pack-1123456789abcdef/half"_s, "x");
    EXPECT_EQ(OutcomeOf(MakePack(u"SWEEP"_s, u"C-1"_s)), Done);
    before.merge(Installed(u"SWEEP"_s, u"C-1"_s));
    EXPECT_EQ(Snapshot(exams), before);
}

TEST(InstallTest, NoFileOfAPack)
{
    const auto before = Snapshot(FreshFolder());
    const auto said = u"1 Exam pack: the pack cannot be read: %1\n"_s.arg(System::TextOf(System::NotFound));
    EXPECT_EQ(InstallHere(Sandbox::Path(u"nowhere"_s)), said.toStdString());
    EXPECT_TRUE(InstallHere(Sandbox::Path({})).starts_with("1 Exam pack: the pack cannot be read"));
    EXPECT_EQ(Snapshot(Sandbox::ExamsFolder()), before);
}
