// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/PackFixture.h"

TEST(InstallTest, WhereNoExamCanBePut)
{
    const QString program = MakePack(u"PLACE"_s, u"P-2"_s);
    const QString root = System::ProgramFiles() + u"/Practorium"_s;
    const QString inPlace = u"a file or a link is in its place\n"_s;
    const QString noFolder = u"there is no exams folder to install into: "_s;
    // What is in the way: a file, or a link to somewhere.
    const struct {
        QString Path, Link, Reason;
    } rows[] = {
        { u"/Exams/PLACE"_s, {}, inPlace },
        { u"/Exams/PLACE"_s, Sandbox::Path(u"packages"_s), inPlace },
        { u"/Exams/PLACE"_s, Sandbox::Path(u"nowhere"_s), inPlace },
        { u"/Exams/PLACE/notes/n"_s, {}, u"the installed exam cannot be replaced, because a folder is in it\n"_s },
        { u"/Exams"_s, {}, noFolder },
        { {}, {}, noFolder },
    };
    for (const auto &[path, link, reason] : rows) {
        QDir(root).removeRecursively();
        QFile::remove(root);
        Sandbox::WriteFile(root + path, "x");
        if (!link.isEmpty() && !(QFile::remove(root + path) && System::MakeLink(link, root + path)))
            continue;
        const Tree before = Snapshot(System::ProgramFiles());
        const Outcome outcome = OutcomeOf(program);
        EXPECT_TRUE(outcome.Code == 1 && outcome.Err.startsWith(u"Exam pack: PLACE: "_s + reason)) << outcome.Err.toStdString();
        EXPECT_EQ(outcome.Err.count(u'\n'), 1);
        EXPECT_EQ(Snapshot(System::ProgramFiles()), before) << path.toStdString() << link.toStdString();
    }
    QFile::remove(root);
    const Outcome misused = { 2, {}, u"Exam pack: run it without arguments to install the exam\n"_s };
    EXPECT_EQ(OutcomeOf(program, { u"--help"_s }), misused);
    EXPECT_FALSE(QFile::exists(root));
    EXPECT_EQ(OutcomeOf(program), Done);
    EXPECT_EQ(Snapshot(root + u"/Exams"_s), Installed(u"PLACE"_s, u"P-2"_s));
}

// The next run removes what it leaves.
TEST(InstallTest, KilledWhileItUnpacks)
{
    const QString exams = FreshFolder();
    ASSERT_EQ(OutcomeOf(MakePack(u"BIG"_s, u"B-1"_s)), Done);
    const auto killed = Unpacking(MakePack(u"BIG"_s, u"B-2"_s, LargeBytes), exams);
    killed->kill();
    ASSERT_TRUE(killed->waitForFinished(60'000));
    EXPECT_EQ(HiddenNames(exams).size(), 1);
    EXPECT_EQ(CodeOf(u"BIG"_s), u"B-1"_s);
    EXPECT_EQ(OutcomeOf(MakePack(u"SMALL"_s, u"S-1"_s)), Done);
    EXPECT_EQ(HiddenNames(exams), QStringList());
}

TEST(InstallTest, TheOldExamIsReplaced)
{
    const QString exams = FreshFolder();
    const QString old = exams + u"/TWO/picture-of-the-old.bmp"_s;
    Sandbox::WriteFile(old, "x");
    QFile::setPermissions(old, QFile::ReadOwner);
    for (const QString &code : { u"T-1"_s, u"T-2"_s }) {
        EXPECT_EQ(OutcomeOf(MakePack(u"TWO"_s, code)), Done);
        EXPECT_EQ(Snapshot(exams), Installed(u"TWO"_s, code));
    }
    // Killed between the two steps of a swap: the next run of any pack moves the exam back.
    const QString kept = exams + u"/.practorium-kept-TWO"_s;
    const QString other = MakePack(u"OTHER"_s, u"O-1"_s);
    ASSERT_TRUE(QDir().rename(exams + u"/TWO"_s, kept));
    for (const bool isReplaced : { false, true }) {
        // Killed after them: what was kept is removed.
        if (isReplaced)
            Sandbox::WriteFile(kept + u"/TWO.exam"_s, "old");
        EXPECT_EQ(OutcomeOf(other), Done);
        EXPECT_EQ(CodeOf(u"TWO"_s), u"T-2"_s);
        EXPECT_EQ(HiddenNames(exams), QStringList());
    }
}

TEST(InstallTest, OnlyLeftoversAreRemoved)
{
    const QString exams = FreshFolder();
    for (const QString &name :
         { u"pack-notes/n"_s, u"pack-0123456789ABCDEF/n"_s, u"pack-0123456789abcdef0/n"_s, u"pack-0123456789abcdea/folder/n"_s,
           u"pack-0123456789abcdea/a"_s, u"pack-0123456789abcdeb"_s, u"kept-/n"_s, u"kept-.a/n"_s })
        Sandbox::WriteFile(exams + u"/.practorium-"_s + name, "mine");
    System::MakeLink(Sandbox::Path(u"packages"_s), exams + u"/.practorium-pack-0123456789abcdec"_s);
    Tree before = Snapshot(exams);
    Sandbox::WriteFile(exams + u"/.practorium-pack-1123456789abcdef/half"_s, "x");
    EXPECT_EQ(OutcomeOf(MakePack(u"SWEEP"_s, u"V-1"_s)), Done);
    before.merge(Installed(u"SWEEP"_s, u"V-1"_s));
    EXPECT_EQ(Snapshot(exams), before);
}
