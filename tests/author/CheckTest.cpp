// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"
#include "tests/author/AuthorFixture.h"

#include <QtEndian>

namespace {

// The faults without the path at their beginning.
QString FaultsOf(const QString &path)
{
    QStringList faults = Check::Faults(path);
    for (QString &fault : faults) {
        EXPECT_TRUE(fault.startsWith(path)) << fault.toStdString();
        fault.remove(0, path.size() + 2);
        fault.replace(System::TextOf(System::NotFound), u"not found"_s);
    }
    return faults.join(u"; "_s);
}

// An exam without faults.
std::shared_ptr<Exam> GoodExam(int items)
{
    auto exam = NewExam();
    for (int i = 0; i < items; ++i)
        AddItem(*exam, { u"Q"_s, { u"*a"_s, u"b"_s } });
    return exam;
}

}

TEST(CheckTest, WhatAnExamCanHoldWrong)
{
    const auto item = [](Exam &exam) -> Question & { return *exam.Questions().Item(2); };
    const auto shown = [&](const QString &name) { return [=](Exam &exam) { item(exam).SetExhibit(name); }; };
    // What is spoilt is an exam of two good items.
    const struct {
        const char *Name;
        std::function<void(Exam &)> Spoil;
        const char16_t *Expected;
    } rows[] = {
        { "limits", [](Exam &e) { e.SetDuration(546), e.SetMaxScore(32767), e.SetPassScore(32767); }, u"" },
        { "long", [](Exam &e) { e.SetDuration(547); }, u"the duration of 547 minutes is over 546" },
        { "no time", [](Exam &e) { e.SetDuration(0); }, u"the duration is 0 minutes" },
        { "negative scores", [](Exam &e) { e.SetMaxScore(-2), e.SetPassScore(-3); },
          u"the maximum score is -2; the passing score is -3" },
        { "not to be passed", [](Exam &e) { e.SetPassScore(1001); },
          u"the passing score 1001 is above the maximum score 1000" },
        { "empty", [](Exam &e) { e.Questions().Clear(); }, u"there are no items" },
        { "item number", [&](Exam &e) { item(e).SetNumber(5); }, u"item 2: its number is 5" },
        { "option number", [&](Exam &e) { item(e).Choices().Item(2)->SetNumber(0); }, u"item 2: the number of option 2 is 0" },
        { "no solution", [&](Exam &e) { item(e).Choices().Item(1)->SetIsSolution(false), item(e).CalculateSolutionCount(); },
          u"item 2: it has no solution" },
        { "solution count", [&](Exam &e) { item(e).Choices().Item(2)->SetIsSolution(true); },
          u"item 2: its solution count is 1, but 2 options are solutions" },
        { "27 options",
          [](Exam &e) {
              AddItem(e, { u"Q"_s, QStringList(27, u"*x"_s) });
          },
          u"item 3: 27 options are more than 26" },
        { "control characters in texts",
          [&](Exam &e) {
              e.SetCode(u"A\0"_s), e.SetName(u"\u001B[2J"_s), item(e).SetProblem(u"Q\u0007\0"_s);
              item(e).Choices().Item(2)->SetStatement(u"\0"_s), item(e).SetExplaination(u"x\u007F"_s);
          },
          u"the code holds the control character U+0000; the name holds the control character U+001B; "
          "item 2: the question text holds the control character U+0007; item 2: option 2 holds the control character U+0000; "
          "item 2: the explanation holds the control character U+007F" },
        { "exhibit", shown(u"good.bmp"_s), u"" },
        { "no exhibit", shown(u"gone.bmp"_s), u"item 2: the exhibit \"gone.bmp\": not found" },
        { "no picture", shown(u"text.bmp"_s),
          u"item 2: the exhibit \"text.bmp\": The file is not a BMP, GIF, JPEG, ICO or PNG picture" },
        { "upwards", shown(u"../good.bmp"_s),
          u"item 2: the exhibit \"../good.bmp\" is not a plain file name and may lead out of the folder" },
    };
    const QString folder = Sandbox::ExamsFolder() + u"/CHECK"_s;
    for (const QString &place : { folder, Sandbox::ExamsFolder() })
        Sandbox::WriteFile(place + u"/good.bmp"_s, Bmp());
    Sandbox::WriteFile(folder + u"/text.bmp"_s, "no picture");
    for (const auto &row : rows) {
        const auto exam = GoodExam(2);
        row.Spoil(*exam);
        EXPECT_EQ(FaultsOf(Install(*exam, u"CHECK"_s)), QString::fromUtf16(row.Expected)) << row.Name;
    }
}

TEST(CheckTest, FilesThatAreCutShortOrTooLong)
{
    const QByteArray whole = Sandbox::ReadFile(Install(*GoodExam(2), u"CUT"_s));
    const QString path = Sandbox::Path(u"cut.exam"_s);
    for (qsizetype length = 0; length < whole.size(); ++length) {
        Sandbox::WriteFile(path, whole.left(length));
        const QString faults = FaultsOf(path);
        EXPECT_TRUE(faults.startsWith("cut short: the file ends before item "_L1)) << length << faults.toStdString();
        EXPECT_EQ(faults.contains("item 2"_L1), length >= (whole.size() + 4 + 4 + 7 + 4 + 6 + 6 + 4) / 2) << length;
    }
    Sandbox::WriteFile(path, whole + "xyz");
    EXPECT_EQ(FaultsOf(path), u"trailing bytes: 3"_s);
    // Counts that promise more than there is, and less than nothing.
    const qsizetype count = 4 + 4 + 6 + 4 + 6 + 6;
    const qsizetype options = (whole.size() + count + 4) / 2 + 2 + 2 + 4 + 4 + 5 + 4;
    const struct {
        qsizetype Place;
        qint32 Forged;
        QString Expected;
    } rows[] = {
        { count, 32'768, u"there are more than 32767 items"_s },
        { count, 3, u"cut short: the file ends before item 3 is whole"_s },
        { count, -1, u"trailing bytes: %1; there are no items"_s.arg(whole.size() - count - 4) },
        { options, 32'768, u"item 2: there are more than 32767 options"_s },
    };
    for (const auto &row : rows) {
        QByteArray bytes = whole;
        qToLittleEndian(row.Forged, bytes.data() + row.Place);
        Sandbox::WriteFile(path, bytes);
        EXPECT_EQ(FaultsOf(path), row.Expected);
    }
    // The last thing in the file is an option of one letter.
    QByteArray bytes = whole + QByteArray(1'000'000, 'x');
    qToLittleEndian(1'000'001, bytes.data() + whole.size() - 5);
    Sandbox::WriteFile(path, bytes);
    EXPECT_EQ(FaultsOf(path), u"item 2: there are more than 1000000 characters in an item"_s);
    const bool canBeHuge = QFile(path).resize((1LL << 32) + 1'000);
    EXPECT_EQ(FaultsOf(path).startsWith("the exam file is too large"_L1), canBeHuge);
    QFile::remove(path);
}

TEST(CheckTest, FoldersAndWhatTheirNamesLeadTo)
{
    const QByteArray bytes = Sandbox::ReadFile(Install(*GoodExam(1), u"SRC"_s));
    const struct {
        const char16_t *Folder;
        QStringList Files;
        const char16_t *Expected;
    } rows[] = {
        { u"good", { u"good.exam"_s }, u"" },
        { u"dotted.101", { u"dotted.exam"_s }, u"" },
        { u"other", { u"NET.exam"_s }, u"the folder's name leads to other.exam, which is not there" },
        { u"two", { u"two.exam"_s, u"three.exam"_s }, u"several exam files: three.exam, two.exam" },
    };
    for (const auto &row : rows) {
        const QString folder = Sandbox::Path(QString::fromUtf16(row.Folder));
        for (const QString &file : row.Files)
            Sandbox::WriteFile(folder + u'/' + file, bytes);
        EXPECT_EQ(FaultsOf(folder), QString::fromUtf16(row.Expected));
        QDir::setCurrent(folder);
        EXPECT_EQ(FaultsOf(u"."_s), QString::fromUtf16(row.Expected));
        QDir::setCurrent(Sandbox::Path({}));
    }
    QDir().mkpath(Sandbox::Path(u"hollow/hollow.exam"_s));
    EXPECT_EQ(Check::Faults(Sandbox::Path(u"hollow"_s)),
              QStringList{ Sandbox::Path(u"hollow/hollow.exam: "_s + System::TextOf(System::IsFolder)) });
    const QString nowhere = Sandbox::Path(u"nowhere"_s);
    EXPECT_EQ(Check::Faults(nowhere), QStringList{ nowhere + u": No such file or directory"_s });
    // A fault inside is told for the file, with a slash behind the folder too.
    Sandbox::WriteFile(Sandbox::Path(u"good/good.exam"_s), bytes + "x");
    EXPECT_EQ(Check::Faults(Sandbox::Path(u"good/"_s)), QStringList{ Sandbox::Path(u"good/good.exam: trailing bytes: 1"_s) });
}
