// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"
#include "tests/author/AuthorFixture.h"

#include <QtEndian>

namespace {

// The faults, then the warnings, without the path at their beginning.
QString FaultsOf(const QString &path)
{
    QStringList warnings;
    QStringList lines = Check::Faults(path, &warnings);
    lines += warnings;
    for (QString &line : lines) {
        EXPECT_TRUE(line.startsWith(path + u": "_s)) << line.toStdString();
        line = line.mid(path.size() + 2).replace(System::TextOf(System::NotFound), u"not found"_s);
    }
    return lines.join(u"; "_s);
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
    const auto choice = [&](Exam &exam, int number) -> Choice & { return *item(exam).Choices().Item(number); };
    const auto shown = [&](const QString &name) { return [=](Exam &exam) { item(exam).SetExhibit(name); }; };
    const auto most = [](Exam &e) {
        e.SetDuration(546), e.SetMaxScore(32767), e.SetPassScore(32767);
        AddItem(e, { u"Q\r\n\tR\nS"_s, QStringList(26, u"*x"_s), true, u"good.bmp"_s });
    };
    const auto controls = [&](Exam &e) {
        e.SetCode(u"A\0"_s), e.SetName(u"\u001B[2J"_s), item(e).SetProblem(u"Q\rR"_s);
        choice(e, 2).SetStatement(u"\0"_s), item(e).SetExplaination(u"x\u007F"_s);
    };
    // What is done to an exam of two good items, and what is reported.
    const std::pair<std::function<void(Exam &)>, QString> rows[] = {
        { most, {} },
        { [](Exam &e) { e.SetDuration(1), e.SetMaxScore(1), e.SetPassScore(0); }, {} },
        { [](Exam &e) { e.SetDuration(547); }, u"the duration of 547 minutes is over 546"_s },
        { [](Exam &e) { e.SetDuration(0); }, u"the duration is 0 minutes"_s },
        { [](Exam &e) { e.SetMaxScore(0), e.SetPassScore(-1); }, u"the maximum score is 0; the passing score is -1"_s },
        { [](Exam &e) { e.SetPassScore(1001); }, u"the passing score 1001 is above the maximum score 1000"_s },
        { [](Exam &e) { e.Questions().Clear(); }, u"there are no items"_s },
        { [&](Exam &e) { item(e).SetNumber(5); }, u"item 2: its number is 5"_s },
        { [&](Exam &e) { choice(e, 2).SetNumber(0); }, u"item 2: the number of option 2 is 0"_s },
        { [&](Exam &e) { choice(e, 2).SetIsSolution(true); },
          u"item 2: its solution count is 1, but 2 options are solutions"_s },
        { [](Exam &e) {
             AddItem(e, { u"Q"_s, {}, true });
         },
          u"item 3: it has no options; item 3: it has no solution; item 3: it limits the selection to none"_s },
        { [](Exam &e) {
             AddItem(e, { u"Q"_s, QStringList(27, u"*x"_s) });
         },
          u"item 3: 27 options are more than 26"_s },
        { controls,
          u"the code holds the control character U+0000; the name holds the control character U+001B; "
          "item 2: the question text holds the control character U+000D; item 2: option 2 holds the control character U+0000; "
          "item 2: the explanation holds the control character U+007F"_s },
        { shown(u"wide.bmp"_s), u"warning: item 2: the exhibit \"wide.bmp\" is 1201 pixels wide, wider than many screens"_s },
        { shown(u"gone.bmp"_s), u"item 2: the exhibit \"gone.bmp\": not found"_s },
        { shown(u"text.bmp"_s), u"item 2: the exhibit \"text.bmp\": The file is not a BMP, GIF, JPEG, ICO or PNG picture"_s },
        { shown(u"../x"_s), u"item 2: the exhibit \"../x\" is not a plain file name and may lead out of the folder"_s },
    };
    const QString folder = Sandbox::ExamsFolder() + u"/CHECK"_s;
    Sandbox::WriteFile(folder + u"/good.bmp"_s, Bmp(1'200));
    Sandbox::WriteFile(folder + u"/wide.bmp"_s, Bmp(1'201));
    Sandbox::WriteFile(folder + u"/text.bmp"_s, "no picture");
    for (const auto &[change, expected] : rows) {
        const auto exam = GoodExam(2);
        change(*exam);
        EXPECT_EQ(FaultsOf(Install(*exam, u"CHECK"_s)), expected);
    }
}

TEST(CheckTest, FilesThatAreCutShortOrTooLong)
{
    const QByteArray whole = Sandbox::ReadFile(Install(*GoodExam(2), u"CUT"_s));
    const QString path = Sandbox::Path(u"cut.exam"_s);
    for (qsizetype length = 0; length < whole.size(); ++length) {
        Sandbox::WriteFile(path, whole.left(length));
        const int item = length < (whole.size() + 4 + 4 + 7 + 4 + 6 + 6 + 4) / 2 ? 1 : 2;
        EXPECT_EQ(FaultsOf(path), u"cut short: the file ends before item %1 is whole"_s.arg(item)) << length;
    }
    Sandbox::WriteFile(path, whole + "xyz");
    EXPECT_EQ(FaultsOf(path), u"trailing bytes: 3"_s);
    // Counts that promise more than there is, and less than nothing.
    const qsizetype count = 4 + 4 + 6 + 4 + 6 + 6;
    const qsizetype options = (whole.size() + count + 4) / 2 + 2 + 2 + 4 + 4 + 5 + 4;
    const std::tuple<qsizetype, qint32, QString> rows[] = {
        { count, 32'768, u"there are more than 32767 items"_s },
        { count, 3, u"cut short: the file ends before item 3 is whole"_s },
        { count, -1, u"trailing bytes: %1; there are no items"_s.arg(whole.size() - count - 4) },
        { options, 32'768, u"item 2: there are more than 32767 options"_s },
        // The last thing in the file is an option of one letter.
        { whole.size() - 5, 1'000'001, u"item 2: there are more than 1000000 characters in an item"_s },
    };
    for (const auto &[place, forged, expected] : rows) {
        QByteArray bytes = whole + (forged > 1'000'000 ? QByteArray(1'000'000, 'x') : QByteArray());
        qToLittleEndian(forged, bytes.data() + place);
        Sandbox::WriteFile(path, bytes);
        EXPECT_EQ(FaultsOf(path), expected);
    }
    const bool canBeHuge = QFile(path).resize((1LL << 32) + 1'000);
    EXPECT_EQ(FaultsOf(path).startsWith("the exam file is too large"_L1), canBeHuge);
    QFile::remove(path);
}

TEST(CheckTest, FoldersAndWhatTheirNamesLeadTo)
{
    const QByteArray bytes = Sandbox::ReadFile(Install(*GoodExam(1), u"SRC"_s));
    const std::tuple<QString, QStringList, QString> rows[] = {
        { u"good"_s, { u"good.exam"_s }, {} },
        { u"dotted.101"_s, { u"dotted.exam"_s }, {} },
        { u"other"_s, { u"NET.exam"_s }, u"the folder's name leads to other.exam, which is not there"_s },
        { u"two"_s, { u"two.exam"_s, u"three.exam"_s }, u"several exam files: three.exam, two.exam"_s },
    };
    for (const auto &[name, files, expected] : rows) {
        const QString folder = Sandbox::Path(name);
        for (const QString &file : files)
            Sandbox::WriteFile(folder + u'/' + file, bytes);
        EXPECT_EQ(FaultsOf(folder), expected);
        QDir::setCurrent(folder);
        EXPECT_EQ(FaultsOf(u"."_s), expected);
        QDir::setCurrent(Sandbox::Path({}));
    }
    QDir().mkpath(Sandbox::Path(u"hollow/hollow.exam"_s));
    const QString quoted = Sandbox::Path(u"a\"b.exam"_s);
    Sandbox::WriteFile(quoted, bytes);
    EXPECT_EQ(FaultsOf(quoted), u"the path holds double quotes or ends with a blank, so it cannot be opened"_s);
    EXPECT_EQ(FaultsOf(Sandbox::Path(u"nowhere"_s)), u"not found"_s);
    // A fault of the file is reported for the file, also with a slash after the folder.
    Sandbox::WriteFile(Sandbox::Path(u"good/good.exam"_s), bytes + "x");
    EXPECT_EQ(Check::Faults(Sandbox::Path(u"hollow"_s)) + Check::Faults(Sandbox::Path(u"good/"_s)),
              (QStringList{ Sandbox::Path(u"hollow/hollow.exam: "_s + System::TextOf(System::IsFolder)),
                            Sandbox::Path(u"good/good.exam: trailing bytes: 1"_s) }));
}
