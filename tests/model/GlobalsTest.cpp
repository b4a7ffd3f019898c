// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Program.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <gmock/gmock.h>

namespace {

// Every test begins with an empty exams folder.
class GlobalsTest : public testing::Test {
protected:
    GlobalsTest() { QDir(Sandbox::ExamsFolder()).removeRecursively(); }
    const QString m_folder = Globals::ExamsFolder();
};

}

TEST_F(GlobalsTest, PackageNames)
{
    EXPECT_EQ(m_folder, System::ProgramFiles() + QDir::toNativeSeparators(u"/Practorium/Exams"_s));
    const struct {
        QString Package, File;
        bool Expected;
    } rows[] = {
        { u"X.Y"_s, u"X.exam"_s, true },       { u"X.Z"_s, u"X.Z.exam"_s, false }, { u"A.B.C"_s, u"A.B.exam"_s, true },
        { u"other"_s, u"else.exam"_s, false }, { u"empty"_s, u""_s, false },
    };
    QStringList expected;
    for (const auto &row : rows) {
        const QString package = m_folder + QDir::separator() + row.Package;
        QDir().mkpath(package);
        if (!row.File.isEmpty())
            Sandbox::WriteFile(package + u'/' + row.File, "");
        const QString path = row.Expected ? package + QDir::separator() + row.File : u""_s;
        EXPECT_EQ(Globals::FindExamFile(package), path) << row.Package.toStdString();
        if (row.Expected)
            expected << path;
    }
    Sandbox::WriteFile(m_folder + u"/no folder"_s, "");
    EXPECT_THAT(Globals::GetInstalledExams(), testing::UnorderedElementsAreArray(expected));
}

TEST_F(GlobalsTest, ExamsThatWerePutAside)
{
    const QStringList names = { u"back"_s,
                                u".practorium-kept-back"_s,
                                u".practorium-kept-gone \u65E5"_s,
                                u".practorium-kept-"_s,
                                u".practorium-kept-.hidden"_s,
                                u".practorium-pack-0123456789abcdef"_s };
    for (const QString &name : names)
        Sandbox::WriteFile(m_folder + u'/' + name + u"/x"_s, "");
    Sandbox::WriteFile(m_folder + u"/.practorium-kept-file"_s, "");
    Sandbox::WriteFile(m_folder + u"/.practorium-kept-covered/x"_s, "");
    Sandbox::WriteFile(m_folder + u"/covered"_s, "");
    auto expected = Snapshot(m_folder);
    for (const QString &path : { u""_s, u"/x"_s }) {
        auto moved = expected.extract(u"/.practorium-kept-gone \u65E5"_s + path);
        ASSERT_FALSE(moved.empty()) << path.toStdString();
        moved.key() = u"/gone \u65E5"_s + path;
        expected.insert(std::move(moved));
    }
    Globals::PutBackExams();
    EXPECT_EQ(Snapshot(m_folder), expected);
    QDir(m_folder).removeRecursively();
    Globals::PutBackExams();
    EXPECT_FALSE(QFileInfo::exists(m_folder)) << "nothing is made";
}

TEST_F(GlobalsTest, IsExamInstalled)
{
    Install(*NewExam({ u" abc-1 "_s }), u"one"_s);
    Install(*NewExam({ u"XYZ"_s }), u"two"_s);
    const std::pair<QString, bool> rows[]
        = { { u"ABC-1"_s, true }, { u"xyz "_s, true }, { u"abc"_s, false }, { u""_s, false } };
    for (const auto &[code, expected] : rows)
        EXPECT_EQ(Globals::IsExamInstalled(code), expected) << code.toStdString();

    // What cannot be loaded takes part with an empty code and stops nothing.
    QDir().mkpath(m_folder + u"/broken/broken.exam"_s);
    for (const auto &[code, expected] : rows)
        EXPECT_EQ(Globals::IsExamInstalled(code), expected || code.isEmpty()) << code.toStdString();
}

TEST_F(GlobalsTest, AnswerLists)
{
    const std::tuple<QString, QString, qint16> rows[] = {
        { u""_s, u""_s, 0 },       { u"  "_s, u""_s, 1 },         { u"2"_s, u"B"_s, 1 },
        { u"1,3"_s, u"A,C"_s, 2 }, { u" 26 , 1"_s, u"Z,A"_s, 2 }, { u"-65"_s, u"5 "_s, 1 },
        { u"1,x"_s, u"13 "_s, 2 }, { u"1,,2"_s, u"13 "_s, 3 },    { u"40000"_s, u"6 "_s, 1 },
    };
    for (const auto &[list, letters, count] : rows) {
        EXPECT_EQ(ResultOf([&l = list] { return Globals::AnswerLetters(l); }), letters) << list.toStdString();
        EXPECT_EQ(Globals::ItemCount(list), count) << list.toStdString();
    }
    EXPECT_EQ(ResultOf([] { Globals::ItemCount(QString(32'767, u',')); }), u"6 "_s);
}
