// SPDX-License-Identifier: Apache-2.0
#include "author/PaperPdf.h"
#include "tests/author/AuthorFixture.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/Program.h"

#include <QFontDatabase>
#include <QPainter>

namespace {

// Letters of 2 by 5 mm, and pictures whose names are their sizes.
Paper::Measures Plain()
{
    const auto lines = [](const QString &text, Paper::Style style, double width) {
        std::vector<Paper::Line> broken;
        for (const QString &paragraph : text.split(u'\n')) {
            for (qsizetype start = 0; start == 0 || start < paragraph.size(); start += qsizetype(width / 2))
                broken.push_back({ paragraph.mid(start, qsizetype(width / 2)), 5, 4, paragraph.isRightToLeft(), style });
        }
        return broken;
    };
    const auto picture
        = [](const QString &name) { return QSizeF(name.section(u'x', 0, 0).toInt(), name.section(u'x', 1).toInt()); };
    return { lines, [](const QString &text, Paper::Style) { return 2.0 * double(text.size()); }, picture };
}

// The pages as they are read: marks that stand level are one row, "|" is a new page.
QStringList Sketch(const std::vector<Paper::Page> &pages, QSizeF sheet)
{
    QStringList rows;
    for (const Paper::Page &page : pages) {
        QMap<int, QMap<double, QString>> levels;
        for (const Paper::Mark &mark : page) {
            const QRectF room(QPointF(15, 8), sheet - QSizeF(30, 16));
            EXPECT_TRUE(room.contains(mark.Place.topLeft()) && room.contains(mark.Place.bottomRight()))
                << mark.Content.toStdString() << " leaves the paper";
            for (const Paper::Mark &other : page) {
                const bool isFree = &mark == &other || !mark.Place.intersects(other.Place);
                EXPECT_TRUE(isFree) << mark.Content.toStdString() << " lies on " << other.Content.toStdString();
            }
            static const QMap<Paper::Mark::Kind, QString> shapes
                = { { Paper::Mark::Circle, u"( )"_s }, { Paper::Mark::Square, u"[ ]"_s }, { Paper::Mark::Rule, u"__"_s } };
            levels[qRound(mark.Place.center().y())][mark.Place.left()] = shapes.value(mark.What, mark.Content);
        }
        for (const auto &level : levels)
            rows += level.values().join(u' ');
        rows += u"|"_s;
    }
    return rows.mid(0, rows.size() - 1);
}

QStringList ExamOf(const Exam &exam)
{
    return Sketch(Paper::PlanExam(exam, Paper::A4, Plain()), Paper::A4);
}

// The numbers of the pages that have the text.
QList<int> PagesWith(const std::vector<Paper::Page> &pages, const QString &text)
{
    QList<int> found;
    for (size_t i = 0; i < pages.size(); ++i) {
        if (std::any_of(pages[i].begin(), pages[i].end(), [&](const auto &mark) { return mark.Content.startsWith(text); }))
            found += int(i) + 1;
    }
    return found;
}

// Of 10 dots in a millimetre.
QImage Sheet()
{
    QImage sheet(2100, 2970, QImage::Format_RGB32);
    sheet.setDotsPerMeterX(10'000);
    sheet.setDotsPerMeterY(10'000);
    sheet.fill(Qt::white);
    return sheet;
}

// What is dark of a place on it.
QRectF Ink(const QImage &sheet, const QRectF &place)
{
    QRectF found;
    for (int row = int(place.top() * 10); row < int(place.bottom() * 10); ++row) {
        for (int column = int(place.left() * 10); column < int(place.right() * 10); ++column) {
            if (qGray(sheet.pixel(column, row)) < 200)
                found |= QRectF(column / 10.0, row / 10.0, 0.1, 0.1);
        }
    }
    return found;
}

}

TEST(PrintTest, WhatStandsOnThePaper)
{
    const auto exam = NewExam();
    AddItem(*exam, { u"One"_s, { u"*yes"_s, u"no\nnever"_s }, true, u"40x20"_s, u"Why"_s });
    AddItem(*exam, { u"Two"_s, { u"*a"_s, u"*b"_s, u"c"_s }, true });
    AddItem(*exam, { u"אחת"_s, { u"*כן"_s, u"*לא"_s }, false, {}, u"כי\nso"_s });
    const QString facts = u"EX-101  ·  3 items  ·  60 minutes  ·  passing score 700 of 1000"_s;
    EXPECT_EQ(ExamOf(*exam),
              (QStringList{ u"Sample"_s,  facts,       u"Name Date"_s, u"__ __"_s,     u"( ) one answer [ ] several answers"_s,
                            u"__"_s,      u"1. One"_s, u"40x20"_s,     u"( ) A yes"_s, u"( ) B no"_s,
                            u"never"_s,   u"2. Two"_s, u"Choose 2."_s, u"[ ] A a"_s,   u"[ ] B b"_s,
                            u"[ ] C c"_s, u"אחת 3."_s, u"כן A [ ]"_s,  u"לא B [ ]"_s,  u"1 / 1"_s }));
    EXPECT_EQ(Sketch(Paper::PlanKey(*exam, Paper::Letter, Plain()), Paper::Letter),
              (QStringList{ u"Key: Sample"_s, facts, u"__"_s, u"1. A 2. A, B 3. A, B"_s, u"Explanations"_s, u"1. A"_s, u"Why"_s,
                            u"3. A, B"_s, u"כי"_s, u"so"_s, u"1 / 1"_s }));
    for (const qint16 count : { 1, 30 }) {
        const auto one = NewExam();
        AddItem(*one, { u"Q"_s, QStringList(count, u"*x"_s) });
        EXPECT_EQ(ExamOf(*one)[4], count == 1 ? u"( ) one answer"_s : u"[ ] several answers"_s);
        const QStringList key = Sketch(Paper::PlanKey(*one, Paper::A4, Plain()), Paper::A4);
        EXPECT_EQ(key.join(QString()).count(u','), count - 1) << "no letter of a long key is lost";
    }
}

TEST(PrintTest, WhereAPageEnds)
{
    // An item of so many lines with two options, behind one of so many.
    const auto planned = [](int before, int lines, const QString &picture) {
        const auto exam = NewExam();
        AddItem(*exam, { QString(before, u'\n'), { u"*x"_s } });
        AddItem(*exam, { u"stem"_s + QString(lines - 1, u'\n'), { u"*first"_s, u"last\n"_s }, false, picture });
        return Paper::PlanExam(*exam, Paper::A4, Plain());
    };
    const struct {
        int Before, Lines;
        QString Picture;
        QList<int> Stem, PicturePages, Last;
    } rows[] = {
        { 3, 3, {}, { 1 }, {}, { 1 } },
        { 30, 3, {}, { 1 }, {}, { 1 } },
        { 33, 3, {}, { 2 }, {}, { 2 } },
        { 2, 46, {}, { 2 }, {}, { 2 } },
        { 2, 48, {}, { 2 }, {}, { 3 } },
        { 2, 49, {}, { 2 }, {}, { 3 } },
        { 2, 150, {}, { 2 }, {}, { 5 } },
        { 2, 2, u"50x100"_s, { 1 }, { 1 }, { 1 } },
        { 2, 2, u"1600x1000"_s, { 1 }, { 1 }, { 1 } },
        { 2, 2, u"50x230"_s, { 2 }, { 2 }, { 2 } },
        { 2, 2, u"50x900"_s, { 2 }, { 2 }, { 3 } },
        { 2, 60, u"50x900"_s, { 2 }, { 3 }, { 3 } },
    };
    for (const auto &row : rows) {
        const auto pages = planned(row.Before, row.Lines, row.Picture);
        const QString where = u"%1 %2 %3"_s.arg(row.Before).arg(row.Lines).arg(row.Picture);
        EXPECT_EQ(PagesWith(pages, u"stem"_s), row.Stem) << where.toStdString();
        EXPECT_EQ(PagesWith(pages, u"last"_s), row.Last) << where.toStdString();
        EXPECT_EQ(PagesWith(pages, row.Picture.isEmpty() ? u"?"_s : row.Picture), row.PicturePages) << where.toStdString();
        Sketch(pages, Paper::A4);
        EXPECT_EQ(PagesWith(pages, u"EX-101  ·  Sample"_s).size(), qsizetype(pages.size()) - 1) << "running heads";
        EXPECT_EQ(PagesWith(pages, u"%1 / %1"_s.arg(pages.size())), QList<int>{ int(pages.size()) });
        const QSizeF natural = Plain().Picture(row.Picture);
        for (const auto &page : pages) {
            for (const auto &mark : page) {
                const bool isPicture = mark.What == Paper::Mark::Picture;
                EXPECT_NEAR(isPicture ? mark.Place.width() * natural.height() : 0,
                            isPicture ? mark.Place.height() * natural.width() : 0, 0.1);
            }
        }
    }
}

TEST(PrintTest, PaintedWhereItWasPlanned)
{
    Sandbox::WriteFile(Sandbox::Path(u"green.bmp"_s), Bmp(96, 96));
    QImage sheet = Sheet();
    QPainter painter(&sheet);
    Paper::Press press(painter, Sandbox::Path({}));
    const Paper::Measures measures = press.MeasuresOfIt();
    EXPECT_EQ(measures.Picture(u"green.bmp"_s), QSizeF(25.4, 25.4));
    EXPECT_THROW(measures.Picture(u"../green.bmp"_s), Error);
    EXPECT_THROW(measures.Picture(u"red.bmp"_s), Error);
    const QString text = u"a few words\tand more, "_s.repeated(20) + u"\r\n\nא\u0007b"_s + QString(25'000, u'W');
    QString broken;
    for (const Paper::Line &line : measures.Break(text, Paper::Body, 100)) {
        broken += line.Text + u' ';
        EXPECT_LE(measures.Width(line.Text.section(u'\t', 0, 0), Paper::Body), 101);
        EXPECT_NEAR(line.Height, 5, 2);
    }
    EXPECT_EQ(broken.simplified().remove(u' '), text.simplified().remove(u' ').remove(u'\u0007')) << "no text is lost";
    EXPECT_FALSE(press.LacksLetters());
    measures.Break(u"\U0010FFFD"_s, Paper::Body, 100);
    EXPECT_TRUE(press.LacksLetters());
    EXPECT_TRUE(measures.Break(u"א\nb"_s, Paper::Body, 9)[0].IsRightToLeft);

    using Paper::Mark;
    const Paper::Page page = { { Mark::Text, { 20, 20, 60, 6 }, u"Left"_s },
                               { Mark::Text, { 100, 20, 60, 6 }, u"Right"_s, {}, false, true },
                               { Mark::Text, { 20, 40, 60, 6 }, u"אבג"_s, {}, true, false },
                               { Mark::Text, { 100, 40, 60, 6 }, u"אבג"_s, {}, true, true },
                               { Mark::Picture, { 20, 60, 10, 20 }, u"green.bmp"_s },
                               { Mark::Circle, { 40, 60, 10, 10 } },
                               { Mark::Square, { 60, 60, 10, 10 } },
                               { Mark::Rule, { 80, 60, 20, 0 } } };
    press.Paint(page);
    painter.end();
    const auto ink = [&](double x, double y, double width, double height) { return Ink(sheet, { x, y, width, height }); };
    EXPECT_NEAR(ink(15, 15, 80, 20).left(), 20, 1);
    EXPECT_NEAR(ink(95, 15, 80, 20).right(), 160, 1);
    EXPECT_NEAR(ink(15, 35, 80, 20).left(), 20, 1);
    EXPECT_NEAR(ink(95, 35, 80, 20).right(), 160, 1);
    EXPECT_EQ(sheet.pixelColor(250, 795), QColor(Qt::green));
    EXPECT_EQ(sheet.pixelColor(250, 805), QColor(Qt::white));
    EXPECT_TRUE(ink(39, 59, 2, 2).isNull() && ink(44, 64, 2, 2).isNull()) << "a circle has no corners";
    EXPECT_FALSE(ink(60, 60, 0.5, 0.5).isNull());
    EXPECT_NEAR(ink(75, 55, 50, 10).width(), 20, 0.5);
}

TEST(PrintTest, CodeStandsInColumns)
{
    // The third fits when it is set smaller.
    for (const QString &before : { QString(), u"אחת\n\n"_s, QString(80, u'x') + u'\n' }) {
        const auto exam = NewExam();
        AddItem(*exam, { before + u"|iii    |\n|WWW\t|\n|"_s, { u"*x"_s } });
        QImage sheet = Sheet();
        QPainter painter(&sheet);
        Paper::Press press(painter, {});
        const Paper::Page page = Paper::PlanExam(*exam, Paper::A4, press.MeasuresOfIt()).front();
        press.Paint(page);
        painter.end();
        QList<QRectF> lines;
        for (const Paper::Mark &mark : page)
            lines += mark.Style.IsFixed ? QList{ Ink(sheet, mark.Place) } : QList<QRectF>();
        ASSERT_EQ(lines.size(), before.startsWith(u'x') ? 4 : 3);
        const QRectF last = lines.takeLast(), tab = lines.takeLast();
        EXPECT_NEAR(lines.last().right(), tab.right(), 0.2) << before.toStdString();
        EXPECT_NEAR(last.left(), tab.left(), 0.2) << before.toStdString();
    }
}

TEST(PrintTest, EmojiHaveTheirColours)
{
    if (!QFontDatabase::families().contains(u"Noto Color Emoji"_s))
        GTEST_SKIP() << "no font of emoji in colours is installed";
    const auto exam = NewExam();
    AddItem(*exam, { u"\U0001F98A"_s, { u"*x"_s } });
    const auto plan = [&](const Paper::Measures &measures) { return Paper::PlanExam(*exam, Paper::A4, measures); };
    for (const char *number : { "first", "second" }) {
        QBuffer file;
        file.open(QIODevice::WriteOnly);
        EXPECT_FALSE(Paper::WritePdf(file, plan, Paper::A4, {}, {}, [] {}).LacksLetters);
        const qsizetype picture = file.data().indexOf("/DeviceRGB", file.data().indexOf("/Subtype /Image"));
        ASSERT_GE(picture, 0) << number;
        const QByteArray packed = file.data().mid(file.data().indexOf("stream\n", picture) + 7);
        const QByteArray pixels = qUncompress(QByteArray("\0\1\0\0", 4) + packed);
        int orange = 0;
        for (qsizetype i = 0; i + 2 < pixels.size(); i += 3)
            orange += uchar(pixels[i]) > uchar(pixels[i + 2]) + 100 ? 1 : 0;
        EXPECT_GT(orange, pixels.size() / 3 / 10) << number;
    }
}

TEST(PrintTest, FilesWholeOrNotAtAll)
{
    const auto started
        = [](const QString &arguments) { return OutcomeOf(QStringLiteral(AUTHOR_PROGRAM), arguments.split(u' ')); };
    const auto exam = NewExam();
    AddItem(*exam, { u"Q"_s, { u"*x"_s }, false, u"e.bmp"_s });
    const QString folder = Sandbox::Path(u"print/PACK"_s);
    QDir().mkpath(folder);
    exam->Save(folder + u"/PACK.exam"_s);
    const QString print = u"print print/PACK --out print/a.b.pdf --key"_s;
    const Outcome missing = started(print);
    EXPECT_EQ(missing.Code, 1);
    EXPECT_TRUE(missing.Err.startsWith(u"practorium-author: the exhibit \"e.bmp\": "_s)) << missing.Err.toStdString();
    EXPECT_EQ(Names(Sandbox::Path(u"print"_s)), QStringList{ u"PACK"_s });

    Sandbox::WriteFile(folder + u"/e.bmp"_s, Bmp());
    EXPECT_EQ(started(print), (Outcome{ 0, u"print/a.b.pdf: 1 page\nprint/a.b-key.pdf: 1 page\n"_s, {} }));
    const QStringList names = { u"PACK"_s, u"a.b-key.pdf"_s, u"a.b.pdf"_s };
    EXPECT_EQ(Names(Sandbox::Path(u"print"_s)), names);
    for (const QString &name : names.mid(1)) {
        const QByteArray pdf = Sandbox::ReadFile(Sandbox::Path(u"print/"_s + name));
        EXPECT_TRUE(pdf.startsWith("%PDF-") && pdf.trimmed().endsWith("%%EOF") && pdf.contains("/FontFile2"))
            << name.toStdString();
    }

    QFile::remove(Sandbox::Path(u"print/a.b.pdf"_s));
    EXPECT_EQ(started(print),
              (Outcome{ 1, {}, u"practorium-author: print/a.b-key.pdf: it exists already (--replace replaces it)\n"_s }));
    EXPECT_EQ(Names(Sandbox::Path(u"print"_s)), names.first(2));
    EXPECT_EQ(started(print + u" --replace --paper letter"_s).Code, 0);
    EXPECT_EQ(started(u"print print/PACK/PACK.exam --out print/PACK"_s),
              (Outcome{ 1, {}, u"practorium-author: print/PACK: it is there already and no regular file\n"_s }));
    for (const QString &wrong : { u"print"_s, u"print print/PACK"_s, u"print print/PACK --out x --paper A5"_s })
        EXPECT_EQ(started(wrong).Code, 2);
}
