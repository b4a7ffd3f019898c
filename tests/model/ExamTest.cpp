// SPDX-License-Identifier: Apache-2.0
#include "common/Ansi.h"
#include "model/Exam.h"
#include "model/TextEncoding.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QtEndian>

namespace {

QString Written(const QByteArray &bytes)
{
    const QString path = Sandbox::Path(u"any.exam"_s);
    Sandbox::WriteFile(path, bytes);
    return path;
}

// An exam file of another writer: three reserved bytes and two items.
const QByteArray Known
    = QByteArray::fromHex("03000000 010203 04000000 45582d31 05000000 536d616c6c e803 bc02 3c00 02000000"
                          "0100 0100 00000000 00000000 0a000000 cc467d1439f861f15c2b 00000000 02000000"
                          "  0100 ffff0000 04000000 cf467d04  0200 00000000 04000000 cf467503"
                          "0200 0200 ffff0000 08000000 6c6973742e676966 11000000 cc467d1439f87ae8562bca4d840ae9f3da"
                          "  1a000000 bb0e561825b02eec4d75a923f40ae4b8808d9eb27cb4116f72b2 03000000"
                          "  0100 ffff0000 01000000 da  0200 00000000 01000000 d9  0300 ffff0000 01000000 d8");

QByteArray Counted(const QByteArray &bytes)
{
    QByteArray count(4, '\0');
    qToLittleEndian(static_cast<qint32>(bytes.size()), count.data());
    return count + bytes;
}

// A file of another writer with one item whose stem is a capital PI, in that page.
QByteArray FileWith(const QByteArray &block, const QByteArray &code, const QByteArray &stem)
{
    static constexpr uchar seal[] = { 0x9B, 0x2E };
    QByteArray sealed = stem;
    for (qsizetype i = 0; i < sealed.size(); ++i)
        sealed[i] = static_cast<char>(sealed[i] ^ seal[i]);
    return Counted(block) + Counted(code) + Counted("N")
        + QByteArray::fromHex("e803 bc02 3c00 01000000 0100 0000 00000000 00000000") + Counted(sealed) + QByteArray(8, '\0');
}

}

TEST(ExamTest, AKnownFile)
{
    const QString path = Written(Known);
    Exam exam;
    EXPECT_TRUE(exam.Load(path));
    EXPECT_EQ(exam.FileName(), path) << "exhibits are looked for beside it";
    EXPECT_EQ(exam.Reserved(), "\1\2\3");
    ASSERT_TRUE(exam.Questions().Count() == 2 && exam.Questions().Item(1)->Problem() == u"Which one?"_s);
    const auto second = exam.Questions().Item(2);
    EXPECT_EQ(second->Problem() + second->Explaination(), u"Which two?\r\nPick.Both stand in the list."_s);
    EXPECT_EQ(second->Exhibit() + second->CorrectAnswer(), u"list.gif1,3"_s);
    EXPECT_TRUE(second->HasHint());

    // The sitting leaves no trace in the file.
    second->SetAnswer(u"1,3"_s);
    second->SetIsMarked(true);
    exam.EndExam();
    const QString copy = Sandbox::Path(u"copy.exam"_s);
    EXPECT_FALSE(exam.Save(u"\""_s + copy + u'"'));
    EXPECT_EQ(Sandbox::ReadFile(copy), Known);

    exam.Load(copy);
    EXPECT_EQ(exam.Questions().Count(), 2) << "not appended";
    EXPECT_EQ(ResultOf([&] { exam.Load(Written(Known.left(120))); }), u"62 Exam::Save()"_s);
    EXPECT_EQ(exam.Questions().Count(), 1) << "the whole item before the cut";
    const QString missing = u"missing/a.exam"_s;
    EXPECT_EQ(ResultOf([&] { Exam().LoadHeader(missing); }), u"%1 Exam::LoadHeader()"_s.arg(System::FolderNotFound));
    EXPECT_EQ(ResultOf([&] { exam.Save(missing); }), u"%1 Exam::Save()"_s.arg(System::FolderNotFound));
}

TEST(ExamTest, HeaderBytes)
{
    const auto exam = NewExam({ u"ABC-101"_s, u"Sample"_s, 1000, 700, 120 });
    const QString path = Sandbox::Path(u"header.exam"_s);
    exam->Save(path);
    const QByteArray header = QByteArray::fromHex("00000000 07000000 4142432d313031 06000000 53616d706c65 e803 bc02 7800");
    EXPECT_EQ(Sandbox::ReadFile(path), header + QByteArray(4, '\0'));

    // A header that is cut short gives what is there.
    const std::pair<int, QString> rows[] = {
        { 0, u"||0|0|0"_s },
        { 21, u"ABC-101|Sa|0|0|0"_s },
        { 26, u"ABC-101|Sample|232|0|0"_s },
        { 31, u"ABC-101|Sample|1000|700|120"_s },
    };
    for (const auto &[bytes, fields] : rows) {
        Exam cut;
        const QString name = u" \""_s + Written(header.left(bytes)) + u"\" "_s;
        EXPECT_TRUE(cut.LoadHeader(name)) << bytes;
        EXPECT_EQ(u"%1|%2|%3|%4|%5"_s.arg(cut.Code(), cut.Name()).arg(cut.MaxScore()).arg(cut.PassScore()).arg(cut.Duration()),
                  fields);
        EXPECT_EQ(cut.FileName(), name);
    }
}

TEST(ExamTest, CalculateScore)
{
    // One letter for each item: r right, w wrong, - unanswered, n without a solution and unanswered.
    const std::tuple<const char *, qint16, QString> rows[] = {
        { "rrw", 1000, u"667"_s }, { "rwwwwwww", 100, u"12"_s }, { "rrrwwwww", 100, u"38"_s }, { "wr", 1, u"0"_s },
        { "rrrw", 2, u"2"_s },     { "rrr", -1000, u"-1000"_s }, { "r", 32767, u"32767"_s },   { "--", 1000, u"0"_s },
        { "n", 1000, u"1000"_s },  { "nw", 1000, u"500"_s },     { "", 1000, u"11 "_s },       { "r", -32768, u"-32768"_s },
    };
    for (const auto &[items, maxScore, result] : rows) {
        const auto exam = NewExam();
        exam->SetMaxScore(maxScore);
        for (const char item : QByteArrayView(items)) {
            const auto question
                = AddItem(*exam, { u"?"_s, { item == 'n' ? u"a"_s : u"*a"_s, u"b"_s, item == 'n' ? u"c"_s : u"*c"_s } });
            question->SetAnswer(item == 'r' ? u"1,3"_s : item == 'w' ? u"3,1"_s : u""_s);
        }
        EXPECT_EQ(ResultOf([&] { return exam->CalculateScore(); }), result) << items << " " << maxScore;
    }
}

// What is not loaded is not saved either, and the file that is there stays.
TEST(ExamTest, Limits)
{
    const QString path = Sandbox::Path(u"limits.exam"_s), refused = u"6 Exam::Save()"_s;
    struct Row {
        qint32 Items, Options, Letters;
        QString Result;
        qint32 Code = 0, Name = 0;
    };
    for (const Row &row : { Row{ 32'767, 1, 0, u"none"_s }, Row{ 32'768, 0, 0, refused }, Row{ 1, 32'767, 0, u"none"_s },
                            Row{ 1, 32'768, 0, refused }, Row{ 31, 32'767, 0, refused }, Row{ 0, 0, 0, refused, 32'768, 0 },
                            Row{ 0, 0, 0, refused, 0, 32'768 }, Row{ 1, 1, 0, u"none"_s, 32'767, 32'767 },
                            Row{ 270, 0, 1'000'000, refused }, Row{ 1, 0, 1'000'001, refused } }) {
        SCOPED_TRACE(testing::Message() << row.Items << " items of " << row.Options << " options" << row.Code << " "
                                        << row.Name);
        Exam exam;
        exam.SetCode(QString(row.Code, u'x'));
        exam.SetName(QString(row.Name, u'x'));
        const auto question = AddItem(exam, { QString(row.Letters, u'x') });
        while (question->Choices().Count() < row.Options)
            question->Choices().Add(std::make_shared<Choice>());
        while (exam.Questions().Count() < row.Items)
            exam.Questions().Add(question);
        Sandbox::WriteFile(path, "kept");
        EXPECT_EQ(ResultOf([&] { exam.Save(path); }), row.Result);
        EXPECT_EQ(Sandbox::ReadFile(path) == "kept", row.Result == refused);
        const auto number = [](const qint32 &value) { return QByteArray(reinterpret_cast<const char *>(&value), 4); };
        const QByteArray item
            = QByteArray(20, '\0') + number(row.Options) + QByteArray(row.Options * ExamFormat::ChoiceBytes, '\0');
        const auto title = [&](qint32 letters) { return number(letters) + QByteArray(letters, 'x'); };
        Sandbox::WriteFile(path,
                           number(0) + title(row.Code) + title(row.Name) + QByteArray(6, '\0') + number(row.Items)
                               + item.repeated(row.Items));
        EXPECT_EQ(ResultOf([&] { Exam().LoadHeader(path); }),
                  row.Code <= 32'767 && row.Name <= 32'767 ? u"none"_s : u"6 Exam::LoadHeader()"_s);
        EXPECT_EQ(ResultOf([&] { Exam().Load(path); }), row.Letters == 0 ? row.Result : u"none"_s);
    }
    // The characters of an item are counted together, in any number of bytes.
    for (const auto &[page, letter, width] : { std::tuple(0, u'x', 1), std::tuple(Ansi::Utf8, u'\u0165', 2) }) {
        Exam exam;
        exam.SetCodePage(page);
        AddItem(exam, { QString(400'000, letter), { QString(300'000, letter) }, false, {}, QString(300'000, letter) });
        exam.Save(path);
        EXPECT_EQ(ResultOf([&] { Exam().Load(path); }), u"none"_s);
        QByteArray longer = Sandbox::ReadFile(path) + 'x';
        qToLittleEndian(300'000 * width + 1, longer.data() + longer.size() - (300'000 * width + 5));
        Sandbox::WriteFile(path, longer);
        EXPECT_EQ(ResultOf([&] { Exam().Load(path); }), refused);
    }
    QFile file(path);
    for (const qint64 bytes : { qint64(1) << 28, (qint64(1) << 28) + 1, (qint64(1) << 32) + 1'000 }) {
        if (!file.resize(bytes))
            GTEST_SKIP() << "no file can have " << bytes << " bytes: " << file.errorString().toStdString();
        EXPECT_EQ(ResultOf([&] { Exam().LoadHeader(path); }), bytes == 1 << 28 ? u"none"_s : u"6 Exam::LoadHeader()"_s)
            << bytes;
    }
    file.remove();
}

TEST(ExamTest, TextsInACodePageOfTheirOwn)
{
    const QByteArray start = "Practorium text\x1A";
    const auto block = [&](const char *version, const char *page, const QByteArray &code) {
        return start + QByteArray::fromHex(version) + QByteArray::fromHex(page) + Counted(code) + Counted("N");
    };
    const QByteArray cyrillic = "\xD0\x96", utf8 = block("0100", "e9fd0000", cyrillic);
    const QString code = u"\u0416"_s, other = u"?"_s;
    const struct {
        const char *Name;
        QByteArray Block, Stem;
        QString Code, Problem = {};
        int Page = 0;
    } rows[] = {
        { "UTF-8", utf8, "\xD0\x9F", code, u"\u041F"_s, 65001 },
        { "not UTF-8", utf8, "\xD0?", code, u"\xDCD0?"_s, 65001 },
        { "Cyrillic", block("0100", "e3040000", cyrillic), "\xCF", code, u"\u041F"_s, 1251 },
        { "Japanese", block("0100", "a4030000", cyrillic), "\x84\x50", code, u"\u041F"_s, 932 },
        { "a later version", block("0200", "e9fd0000", cyrillic) + "more", "\xD0\x9F", code, u"\u041F"_s, 65001 },
        { "no block", {}, "\xCF", other },
        { "an earlier version", block("0000", "e9fd0000", cyrillic), "\xCF", other },
        { "a byte more", utf8 + '\0', "\xCF", other },
        { "a byte less", utf8.chopped(1), "\xCF", other },
        { "a count below 0", utf8.chopped(5) + QByteArray(4, '\xFF'), "\xCF", other },
        { "another signature", QByteArray(utf8).replace('x', 'X'), "\xCF", other },
        { "an unknown page", block("0100", "eb040000", cyrillic), "\xCF", other },
        { "a code that is not UTF-8", block("0100", "e9fd0000", "\xD0"), "\xCF", other },
        { "a long code", block("0100", "e9fd0000", QByteArray(32'768, 'x')), "\xCF", other },
    };
    Exam reused;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.Name);
        const QByteArray bytes = FileWith(row.Block, "?", row.Stem);
        const QString path = Written(bytes);
        Exam header;
        header.LoadHeader(path);
        EXPECT_EQ(header.Code() + header.Name(), row.Code + u'N');
        reused.Load(path);
        EXPECT_EQ(reused.Code() + reused.Name(), row.Code + u'N');
        EXPECT_TRUE(reused.CodePage() == row.Page && header.CodePage() == row.Page);
        EXPECT_EQ(reused.Questions().Item(1)->Problem(), row.Page != 0 ? row.Problem : Ansi::ToText(row.Stem));
        reused.Save(path);
        EXPECT_EQ(Sandbox::ReadFile(path), bytes);
    }

    // Made anew, and changed when it is loaded.
    for (const auto &[page, plain] :
         { std::pair<int, QByteArray>{ 65001, "Zlut-ss \"?\"" }, { 1250, "\x8Elu\x9D\x96\xDF \x93?\x94" } }) {
        const QString path = Sandbox::Path(u"made.exam"_s), title = u"\u017Dlu\u0165\u2013\u00DF \u201C\u4E2D\u201D"_s;
        Exam exam;
        exam.SetName(title);
        exam.SetCodePage(page);
        exam.SetCode(title);
        AddItem(exam, { QString(1'000'000, u'\u0165') });
        exam.Save(path);
        Exam again;
        again.Load(path);
        EXPECT_EQ(again.Code() + again.Name(), title + title);
        EXPECT_TRUE(again.Questions().Item(1)->Problem() == exam.Questions().Item(1)->Problem()) << page;
        EXPECT_EQ(Sandbox::ReadFile(path).mid(4 + again.Reserved().size(), 2 * (4 + plain.size())),
                  Counted(plain) + Counted(plain));
        again.SetName(u"N"_s);
        again.Save(path);
        exam.LoadHeader(path);
        EXPECT_EQ(exam.Code() + exam.Name(), title + u'N');
        again.SetCodePage(0);
        EXPECT_TRUE(again.Reserved().isEmpty());
        EXPECT_TRUE(again.Questions().Item(1)->Problem() == exam.Questions().Item(1)->Problem()) << page;
    }
    EXPECT_EQ(ResultOf([&] { reused.SetCodePage(1259); }), u"5 "_s);
    EXPECT_EQ(TextEncoding::Plain(QString(20'000, u'\u4E2D'), 932), QByteArray("\x92\x86").repeated(16'383));
}
