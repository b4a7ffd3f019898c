// SPDX-License-Identifier: Apache-2.0
#include "author/Package.h"
#include "tests/author/AuthorFixture.h"

namespace {

const Package::Header Header{ u"EX-1"_s, u"Sample"_s, 1000, 700, 90 };

QString PictureFolder()
{
    const QString path = Sandbox::Path(u"pictures"_s);
    for (const QString &name : { u"a.bmp"_s, u"b.bmp"_s, u"a.exam"_s, u"\u03B1.bmp"_s })
        Sandbox::WriteFile(path + u'/' + name, Bmp());
    Sandbox::WriteFile(path + u"/text.bmp"_s, "text");
    return path;
}

Package::Content Assembled(const QString &gift)
{
    return Package::Assemble(Gift::Parse(gift), Header, PictureFolder());
}

// "stem | explanation | 1,3 of 4 | hint | exhibit" for each item, then
// "line: reason" for each left out.
QString Shown(const Package::Content &content)
{
    QStringList lines;
    for (const auto &question : content.Exam->Questions()) {
        QString line = u"%1. %2 | %3 | %4 of %5"_s.arg(question->Number())
                           .arg(question->Problem(), question->StoredExplaination(), question->CorrectAnswer())
                           .arg(question->Choices().Count());
        if (question->SolutionCount() != question->AnswerCount())
            line += u" | wrong count"_s;
        if (question->HasHint())
            line += u" | hint"_s;
        lines.append(question->HasExhibit() ? line + u" | "_s + question->Exhibit() : line);
    }
    for (const Package::LeftOut &item : content.LeftOut)
        lines.append(u"%1: %2"_s.arg(item.Line).arg(item.Reason));
    return lines.join(u'\n');
}

}

TEST(PackageTest, WhatIsTakenAndWhatIsLeftOut)
{
    const struct {
        const char *Name;
        QString Source, Expected;
    } rows[] = {
        { "multiple", u"Q {~%50%a ~b ~%50%c}"_s, u"1. Q |  | 1,3 of 3 | hint"_s },
        { "several right", u"Q {=a ~b =c}"_s, u"1: several answers are right alone"_s },
        { "no limit", u"// [nolimit]\nQ {~%50%a ~b ~%50%c}"_s, u"1. Q |  | 1,3 of 3"_s },
        { "numbers go on", u"Q {T}\n\nR {}\n\nS {F}"_s,
          u"1. Q |  | 1 of 2\n2. S |  | 2 of 2\n3: an essay question has no options"_s },
        { "both", u"Q {=a#yes ~b####general}"_s, u"1. Q | general\n\nA: yes | 1 of 2"_s },
        { "an accent of its own", u"e\u0301 {T}"_s, u"1. \u00E9 |  | 1 of 2"_s },
        { "not of the page", u"\u2192 {T}"_s, u"1: the character \"\u2192\" (U+2192) is not in code page 1252"_s },
        { "no UTF-8", u"Q {=\uFFFD ~b}"_s, u"1: it holds bytes that are not UTF-8"_s },
        { "NUL", u"Q\0R {T}"_s, u"1: it holds the control character U+0000"_s },
        { "in feedback", u"Q {=a ~b#\u001B[2J}"_s, u"1: it holds the control character U+001B"_s },
        { "in an exhibit's name", u"// [exhibit:a\u0007.bmp]\nQ {T}"_s, u"2: it holds the control character U+0007"_s },
        { "27 options", u"Q {=a"_s + u"~b"_s.repeated(26) + u'}', u"1: it has 27 options, and an exam has letters for 26"_s },
        { "a million characters", u"Q {=a~"_s + u"b"_s.repeated(1'000'000) + u'}',
          u"1: it has more than 1000000 characters"_s },
        { "one option", u"Q {~%100%a}"_s, u"1: it has fewer than 2 options"_s },
        { "no right one", u"Q {~a ~b}"_s, u"1: no option is right"_s },
        { "an empty option", u"Q {=a ~}"_s, u"1: option 2 is empty"_s },
        { "no question", u"::t:: {T}"_s, u"1: it has no question text"_s },
        { "exhibit", u"// [exhibit:a.bmp]\nQ {T}"_s, u"1. Q |  | 1 of 2 | a.bmp"_s },
        { "no exhibit", u"// [exhibit:x.bmp]\nQ {T}"_s, u"2: the exhibit \"x.bmp\": "_s + System::TextOf(System::NotFound) },
        { "no picture", u"// [exhibit:text.bmp]\nQ {T}"_s,
          u"2: the exhibit \"text.bmp\": The file is not a BMP, GIF, JPEG, ICO or PNG picture"_s },
        { "out of the folder", u"// [exhibit:../a.bmp]\nQ {T}"_s, u"2: the exhibit \"../a.bmp\" is not a plain file name"_s },
        { "named like an exam", u"// [exhibit:a.exam]\nQ {T}"_s, u"2: the exhibit \"a.exam\" is named like an exam"_s },
        { "a name off the page", u"// [exhibit:\u03B1.bmp]\nQ {T}"_s,
          u"2: the name of the exhibit \"\u03B1.bmp\" is not in code page 1252"_s },
    };
    for (const auto &row : rows)
        EXPECT_EQ(Shown(Assembled(row.Source)), row.Expected) << row.Name;
}

TEST(PackageTest, FolderWithExamAndEachPictureOnce)
{
    const Package::Content content
        = Assembled(u"// [exhibit:a.bmp]\nQ {T}\n\n// [exhibit:a.bmp]\nR {F}\n\n// [exhibit:b.bmp]\nS {}"_s);
    const QString out = Sandbox::Path(u"made/up/NET.101"_s);
    Package::Write(content, PictureFolder(), out + u'/', false);
    EXPECT_EQ(Names(out), (QStringList{ u"NET.exam"_s, u"a.bmp"_s })) << "nothing of items left out";
    EXPECT_EQ(Names(Sandbox::Path(u"made/up"_s)), QStringList{ u"NET.101"_s });
    EXPECT_EQ(Sandbox::ReadFile(out + u"/a.bmp"_s), Sandbox::ReadFile(PictureFolder() + u"/a.bmp"_s));
    Exam exam;
    exam.Load(out + u"/NET.exam"_s);
    EXPECT_EQ(exam.Code(), Header.Code);
    EXPECT_EQ(exam.Questions().Count(), 2);
    const auto plain = Sandbox::Path(u"plain"_s);
    QDir().mkdir(plain);
    EXPECT_EQ(QFile::permissions(out), QFile::permissions(plain)) << "others may read what they may read elsewhere";
}

TEST(PackageTest, TargetsThatAreRefused)
{
    const Package::Content content = Assembled(u"Q {T}"_s);
    const QString root = Sandbox::Path(u"targets"_s);
    for (const QString &name : { u"PACK/PACK.exam"_s, u"PACK/old.bmp"_s, u"home/notes.txt"_s, u"deep/deep.exam"_s,
                                 u"deep/more/notes.txt"_s, u"mixed/mixed.exam"_s, u"mixed/notes.txt"_s, u"file"_s })
        Sandbox::WriteFile(root + u'/' + name, "old");
    QDir().mkdir(root + u"/hollow"_s);
    // Followed, this one would be a package of its name.
    QDir().mkdir(root + u"/links"_s);
    QFile::link(root + u"/PACK"_s, root + u"/links/PACK"_s);
    QFile::link(root + u"/nowhere"_s, root + u"/broken"_s);
    const QStringList before = Names(root);
    const QString refused = u"5 Package::Write()"_s;
    const struct {
        QString Name;
        bool Replace;
    } rows[] = {
        { u"PACK"_s, false }, { u"hollow"_s, false },    { u"file"_s, true },   { u"home"_s, true },  { u"mixed"_s, true },
        { u"deep"_s, true },  { u"links/PACK"_s, true }, { u"broken"_s, true }, { u"a\"b"_s, false }, { u"blank "_s, false },
    };
    for (const auto &row : rows) {
        const QString out = root + u'/' + row.Name;
        EXPECT_EQ(ResultOf([&] { Package::Write(content, {}, out, row.Replace); }), refused) << out.toStdString();
        EXPECT_EQ(Names(root), before) << out.toStdString();
    }
    EXPECT_EQ(ResultOf([&] { Package::Write(content, {}, root + u"/file/PACK"_s, false); }),
              u"%1 Package::Write()"_s.arg(System::BelowAFile));
    EXPECT_EQ(Names(root), before);
    for (const QString &out : { QString(), u"/"_s })
        EXPECT_EQ(ResultOf([&] { Package::CheckTarget(out, true); }), refused) << out.toStdString();

    for (const QString &name : { u"PACK"_s, u"hollow"_s }) {
        Package::Write(content, {}, root + u'/' + name, true);
        EXPECT_EQ(Names(root + u'/' + name), QStringList{ name + u".exam"_s });
    }
    EXPECT_EQ(Names(root), before);
}
