// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"
#include "tests/author/AuthorFixture.h"

#include <QtEndian>

#include <cerrno>
#include <cstring>

namespace {

// The faults, then the warnings, without the path at their beginning.
QString FaultsOf(const QString &path)
{
    QStringList warnings;
    QStringList lines = Check::Faults(path, &warnings);
    lines += warnings;
    for (QString &line : lines) {
        EXPECT_TRUE(line.startsWith(path + u": "_s)) << line.toStdString();
        line = line.mid(path.size() + 2);
        // In the words of the system or of the C library.
        for (const QString &text : { System::TextOf(System::NotFound), QString::fromLocal8Bit(std::strerror(ENOENT)) })
            line.replace(text, u"not found"_s);
    }
    return lines.join(u"; "_s);
}

// The file of an exam without faults.
QByteArray GoodFile(int items)
{
    const auto exam = NewExam();
    for (int i = 0; i < items; ++i)
        AddItem(*exam, { u"Q"_s, { u"*a"_s, u"b"_s } });
    return Sandbox::ReadFile(Install(*exam, u"GOOD"_s));
}

}

TEST(CheckTest, WhatAnExamCanHoldWrong)
{
    const QString folder = Sandbox::ExamsFolder() + u"/CHECK"_s;
    Sandbox::WriteFile(folder + u"/good.bmp"_s, Bmp(1'200));
    Sandbox::WriteFile(folder + u"/wide.bmp"_s, Bmp(1'201));
    Sandbox::WriteFile(folder + u"/text.bmp"_s, "no picture");
    const ItemSheet large{ u"Q\r\n\tR\nS"_s, QStringList(26, u"*x"_s), true, u"good.bmp"_s };
    for (const ExamSheet &sheet : { ExamSheet{ u"C"_s, u"N"_s, 32767, 32767, 546 }, ExamSheet{ u"C"_s, u"N"_s, 1, 0, 1 } }) {
        const auto exam = NewExam(sheet);
        EXPECT_EQ(FaultsOf(Install(*exam, u"CHECK"_s)), u"there are no items"_s);
        AddItem(*exam, large);
        EXPECT_EQ(FaultsOf(Install(*exam, u"CHECK"_s)), QString());
    }
    const auto low = NewExam({ u"A\0"_s, u"\u001B[2J"_s, 0, -1, 0 });
    AddItem(*low, large);
    AddItem(*low, { u"Q"_s, { u"*a"_s, u"b"_s } })->Choices().Item(2)->SetNumber(0);
    AddItem(*low, { u"Q"_s, { u"*a"_s, u"b"_s } })->Choices().Item(2)->SetIsSolution(true);
    AddItem(*low, { u"Q"_s, {}, true });
    low->Questions().Item(1)->SetNumber(5);
    EXPECT_EQ(FaultsOf(Install(*low, u"CHECK"_s)),
              u"the code holds the control character U+0000; the name holds the control character U+001B; "
              "the maximum score is 0; the passing score is -1; the duration is 0 minutes; item 1: its number is 5; "
              "item 2: the number of option 2 is 0; item 3: its solution count is 1, but 2 options are solutions; "
              "item 4: it has no options; item 4: it has no solution; item 4: it limits the selection to none"_s);
    const auto foreign = NewExam({ u"C"_s, u"N"_s, 1, 0, 1 });
    AddItem(*foreign, { u"Q"_s, { u"*a"_s, u"\u00D6"_s } });
    EXPECT_EQ(FaultsOf(Install(*foreign, u"CHECK"_s)),
              u"warning: the texts are in the code page of the reader's language, here 1252, and are unreadable in another; "
              "an exam built anew is readable everywhere"_s);
    foreign->SetCodePage(65001);
    EXPECT_EQ(FaultsOf(Install(*foreign, u"CHECK"_s)), QString());
    const auto high = NewExam({ u"C"_s, u"N"_s, 1000, 1001, 547 });
    AddItem(*high, { u"Q\rR"_s, { u"*a"_s, u"\0"_s }, false, {}, u"x\u007F"_s });
    AddItem(*high, { u"Q"_s, QStringList(27, u"*x"_s) });
    for (const QString &name : { u"gone.bmp"_s, u"gone.bmp"_s, u"text.bmp"_s, u"../x"_s, u"wide.bmp"_s })
        AddItem(*high, { u"Q"_s, { u"*a"_s, u"b"_s }, false, name });
    EXPECT_EQ(
        FaultsOf(Install(*high, u"CHECK"_s)),
        u"the passing score 1001 is above the maximum score 1000; the duration of 547 minutes is over 546; "
        "item 1: the question text holds the control character U+000D; item 1: option 2 holds the control character U+0000; "
        "item 1: the explanation holds the control character U+007F; item 2: 27 options are more than 26; "
        "item 3: the exhibit \"gone.bmp\": not found; item 4: the exhibit \"gone.bmp\": not found; "
        "item 5: the exhibit \"text.bmp\": The file is not a BMP, GIF, JPEG, ICO or PNG picture; "
        "item 6: the exhibit \"../x\" is not a plain file name and may lead out of the folder; "
        "warning: item 7: the exhibit \"wide.bmp\" is 1201 pixels wide, wider than many screens"_s);
}

TEST(CheckTest, FilesThatAreCutShortOrTooLong)
{
    const QByteArray whole = GoodFile(2);
    const QString path = Sandbox::Path(u"cut.exam"_s);
    const auto faultsOf = [&](const QByteArray &bytes) {
        Sandbox::WriteFile(path, bytes);
        return FaultsOf(path);
    };
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const int item = length < (whole.size() + 4 + 4 + 7 + 4 + 6 + 6 + 4) / 2 ? 1 : 2;
        EXPECT_EQ(faultsOf(whole.left(length)), u"cut short: the file ends before item %1 is whole"_s.arg(item)) << length;
    }
    EXPECT_EQ(faultsOf(whole + "xyz"), u"trailing bytes: 3"_s);
    // Counts that promise more than there is, and less than nothing.
    const qsizetype count = 4 + 4 + 6 + 4 + 6 + 6;
    const qsizetype options = (whole.size() + count + 4) / 2 + 2 + 2 + 4 + 4 + 5 + 4;
    const std::tuple<qsizetype, qint32, QString> rows[] = {
        { count, 32'768, u"there are more than 32767 items"_s },
        { count, -1, u"trailing bytes: %1; there are no items"_s.arg(whole.size() - count - 4) },
        { options, 32'768, u"item 2: there are more than 32767 options"_s },
        // The last thing in the file is an option of one letter.
        { whole.size() - 5, 1'000'001, u"item 2: there are more than 1000000 characters in an item"_s },
    };
    for (const auto &[place, forged, expected] : rows) {
        QByteArray bytes = whole + (forged > 1'000'000 ? QByteArray(1'000'000, 'x') : QByteArray());
        qToLittleEndian(forged, bytes.data() + place);
        EXPECT_EQ(faultsOf(bytes), expected);
    }
    const bool canBeHuge = QFile(path).resize((1LL << 32) + 1'000);
    EXPECT_EQ(FaultsOf(path).startsWith("the exam file is too large"_L1), canBeHuge);
}

TEST(CheckTest, FoldersAndWhatTheirNamesLeadTo)
{
    const QByteArray bytes = GoodFile(1);
    const std::tuple<QString, QStringList, QString> rows[] = {
        { u"good"_s, { u"good.exam"_s }, {} },
        { u"dotted.101"_s, { u"dotted.exam"_s }, {} },
        { u"other"_s, { u"NET.exam"_s }, u"the folder's name leads to other.exam, which is not there"_s },
        { u"two"_s, { u"two.exam"_s, u"three.exam"_s }, u"several exam files: three.exam, two.exam"_s },
    };
    for (const auto &[name, files, expected] : rows) {
        for (const QString &file : files)
            Sandbox::WriteFile(Sandbox::Path(name + u'/' + file), bytes);
        QDir::setCurrent(Sandbox::Path(name));
        EXPECT_EQ(FaultsOf(u"."_s), expected);
        QDir::setCurrent(Sandbox::Path({}));
        EXPECT_EQ(FaultsOf(Sandbox::Path(name)), expected);
    }
    QDir().mkpath(Sandbox::Path(u"hollow/hollow.exam"_s));
    for (const QString &path : { Sandbox::Path(u"a\"b.exam"_s), Sandbox::Path(u"a.exam "_s) }) {
        if (System::RunsByName)
            continue; // no file can have such a name there
        Sandbox::WriteFile(path, bytes);
        EXPECT_EQ(FaultsOf(path), u"the path holds double quotes or ends with a blank, so it cannot be opened"_s);
    }
    EXPECT_EQ(FaultsOf(Sandbox::Path(u"nowhere"_s)), u"not found"_s);
    Sandbox::WriteFile(Sandbox::Path(u"good/good.exam"_s), bytes + "x");
    EXPECT_EQ(Check::Faults(Sandbox::Path(u"hollow"_s)) + Check::Faults(Sandbox::Path(u"good/"_s)),
              (QStringList{ Sandbox::Path(u"hollow/hollow.exam: "_s + System::TextOf(System::IsFolder)),
                            Sandbox::Path(u"good/good.exam: trailing bytes: 1"_s) }));
}
