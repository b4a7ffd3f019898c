// SPDX-License-Identifier: Apache-2.0
#include "author/BuildOptions.h"

#include "author/Limits.h"
#include "author/TextPage.h"
#include "bank/Encoding.h"
#include "common/Ansi.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int MostVariants = 26; // each has a letter

const QString NotesText = uR"(
A SOURCE is a question bank in one of these formats, recognised by its content:
%1
Several SOURCEs, and all banks in a folder, become one exam. "-" is the standard
input. DIR holds the exam file, named after DIR, and the pictures that its items
show. It can be copied into the exams folder. DIR appears whole or not at all.

Not given, --code is the first SOURCE's name, --name what the bank calls itself,
--max 1000, --pass 70 %% of that, --minutes one and a half for each item, at most 546.

How questions are converted:
  Single choice, multiple answers, true/false   become items. An item with several
                         right options is right or wrong as a whole; weights are
                         not kept.
  HTML, Markdown         become plain text with the marks of lists and table cells
                         parted by " | ". Superscripts, subscripts, simple TeX and
                         MathML become readable characters.
  Pictures of a stem     become the item's exhibit, several one below the other.
                         They are looked for in --pictures, then in the package,
                         in the source itself, or beside it.
  Feedback               the general one is the explanation; that on single options
                         follows it, one line each under the option's letter.

In GIFT, comment lines before a question can say more:
  // [exhibit:picture.gif]  The picture that the item shows.
  // [nolimit]           With several right options the candidate may tick more
                         options than are right; otherwise no more than that.

Questions that an exam cannot hold are left out, each with one line of file, line
and reason on the error output: matching, numerical, essay and short-answer
questions, descriptions, fewer than 2 or more than 26 options, no right option,
several options each of which is right alone, a right option that reads like a
wrong one, a control character, a character that --code-page lacks. docs/formats.md
has the details of every format. The last lines count what was taken and left out.

--pick, --per-category and --shuffle draw by chance; the same --seed draws the same.
Options that speak of the others ("None of the above") keep their place.

The exit code is 0 when anything was taken, 2 for wrong usage, otherwise 1. With
--strict a single question left out is enough for 1, and nothing is made.
)"_s;

// Reads "NAME=N".
bool ReadShare(const QString &text, Selection::Share &share)
{
    bool isNumber = false;
    const qsizetype equals = text.lastIndexOf(u'=');
    share.Category = text.left(equals).trimmed();
    share.Count = text.mid(equals + 1).toInt(&isNumber);
    return equals > 0 && isNumber && share.Count > 0 && !share.Category.isEmpty();
}

struct Number {
    QString Option;
    qint16 Least;
    qint16 Most;
    qint16 &Value;
};

QString ReadNumber(const QCommandLineParser &parser, const Number &number)
{
    if (!parser.isSet(number.Option))
        return {};
    bool isNumber = false;
    const int value = parser.value(number.Option).toInt(&isNumber);
    if (!isNumber || value < number.Least || value > number.Most)
        return u"--%1 must be a number from %2 to %3"_s.arg(number.Option).arg(number.Least).arg(number.Most);
    number.Value = static_cast<qint16>(value);
    return {};
}

}

void BuildOptions::Describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(u"Makes a package folder from question banks."_s);
    parser.addPositionalArgument(u"SOURCE"_s, u"A question bank: a file, a folder, a package, or \"-\"."_s, u"SOURCE…"_s);
    parser.addOptions({
        { u"out"_s, u"The package folder to make."_s, u"DIR"_s },
        { u"replace"_s, u"Replace an existing package folder."_s },
        { u"strict"_s, u"Make nothing when a question is left out or a picture is lost."_s },
        { u"report"_s, u"Write a line for each question: .json or .html."_s, u"FILE"_s },
        { u"code"_s, u"Code of the exam, such as \"NET-101\"."_s, u"code"_s },
        { u"name"_s, u"Name of the exam."_s, u"name"_s },
        { u"max"_s, u"Maximum score, 1 to %1."_s.arg(Limits::MostScore), u"score"_s },
        { u"pass"_s, u"Passing score, 0 to the maximum score."_s, u"score"_s },
        { u"minutes"_s, u"Time allowed, 1 to %1."_s.arg(Limits::MostMinutes), u"minutes"_s },
        { u"format"_s, u"The format of every SOURCE, if its content does not tell."_s, u"FORMAT"_s },
        { u"encoding"_s, u"The encoding of SOURCEs that are not UTF-8, such as windows-1251."_s, u"NAME"_s },
        { u"columns"_s, u"The columns of a table, such as question=1,options=2-5,key=6."_s, u"LIST"_s },
        { u"pictures"_s, u"Folder of pictures, looked through first."_s, u"DIR"_s },
        { u"passages"_s, u"A description is a passage that the items behind it begin with."_s },
        { u"keep-letters"_s, u"Keep the letters that options carry themselves, such as \"a)\"."_s },
        { u"plain"_s, u"Keep HTML tags and entities in texts of GIFT and tables as they are."_s },
        { u"true"_s, u"The option \"True\" in the bank's language."_s, u"text"_s },
        { u"false"_s, u"The option \"False\" in the bank's language."_s, u"text"_s },
        { u"ascii"_s, u"Write arrows and relations as \"->\" and \"<=\"."_s },
        { u"code-page"_s,
          u"The code page of the texts: 874, 932, 936, 949, 950, 1250 to 1258, or 65001 (UTF-8). "
          "Otherwise the narrowest that holds them."_s,
          u"NUMBER"_s },
        { u"category"_s, u"Only questions of this category; can be repeated."_s, u"NAME"_s },
        { u"pick"_s, u"Only so many questions, drawn by chance."_s, u"N"_s },
        { u"per-category"_s, u"So many questions of a category, drawn by chance; can be repeated."_s, u"NAME=N"_s },
        { u"shuffle"_s, u"Shuffle items, options, or both."_s, u"items,options"_s },
        { u"seed"_s, u"What chance begins with."_s, u"S"_s },
        { u"variants"_s, u"Make so many packages, DIR-A, DIR-B, … (2 to %1)."_s.arg(MostVariants), u"K"_s },
    });
}

QString BuildOptions::Notes()
{
    QStringList formats;
    for (const Bank::Format &format : Bank::Formats())
        formats.append(u"  "_s + format.Name.leftJustified(9) + format.Title);
    return QString(NotesText).replace("%%"_L1, "%"_L1).arg(formats.join(u'\n'));
}

QString BuildOptions::Read(const QCommandLineParser &parser)
{
    Sources = parser.positionalArguments();
    if (Sources.isEmpty())
        return u"a question bank is required"_s;
    if (Sources.count(u"-"_s) > 1)
        return u"the standard input can be read once"_s;
    for (qsizetype i = 0; i < Sources.size(); ++i) {
        const QString path = QFileInfo(Sources.at(i)).canonicalFilePath();
        const bool isRepeated = !path.isEmpty() && std::any_of(Sources.begin(), Sources.begin() + i, [&](const QString &other) {
            return QFileInfo(other).canonicalFilePath() == path;
        });
        if (isRepeated)
            return u"\"%1\" is named twice"_s.arg(Sources.at(i));
    }
    Out = parser.value(u"out"_s);
    if (!parser.isSet(u"out"_s))
        return u"--out is missing"_s;
    Replaces = parser.isSet(u"replace"_s);
    IsStrict = parser.isSet(u"strict"_s);
    Report = parser.value(u"report"_s);
    if (const QString kind = QFileInfo(Report).suffix().toLower();
        parser.isSet(u"report"_s) && kind != "json"_L1 && kind != "html"_L1)
        return u"--report takes a name that ends in .json or .html"_s;
    if (const QString folder = QFileInfo(Report).path(); parser.isSet(u"report"_s) && !QFileInfo(folder).isDir())
        return u"--report: there is no folder \"%1\""_s.arg(folder);
    for (const auto &read : { &BuildOptions::ReadHeader, &BuildOptions::ReadTexts, &BuildOptions::ReadChoice }) {
        if (const QString fault = (this->*read)(parser); !fault.isEmpty())
            return fault;
    }
    return {};
}

QString BuildOptions::ReadHeader(const QCommandLineParser &parser)
{
    Header.Code = parser.value(u"code"_s);
    Header.Name = parser.value(u"name"_s);
    for (const auto &[option, text] : { std::pair(u"code"_s, Header.Code), std::pair(u"name"_s, Header.Name) }) {
        if (parser.isSet(option) && text.trimmed().isEmpty())
            return u"--%1 is empty"_s.arg(option);
        if (const QString control = TextPage::ControlCharacter(text); !control.isEmpty())
            return u"--%1 holds the control character %2"_s.arg(option, control);
    }
    // The passing score is limited by the maximum: this order matters.
    Header.MaxScore = 1000;
    QString fault = ReadNumber(parser, { u"max"_s, 1, Limits::MostScore, Header.MaxScore });
    Header.PassScore = static_cast<qint16>(Header.MaxScore * 7 / 10);
    if (fault.isEmpty())
        fault = ReadNumber(parser, { u"pass"_s, 0, Header.MaxScore, Header.PassScore });
    if (fault.isEmpty())
        fault = ReadNumber(parser, { u"minutes"_s, 1, Limits::MostMinutes, Header.Minutes });
    return fault;
}

QString BuildOptions::ReadTexts(const QCommandLineParser &parser)
{
    if (parser.isSet(u"format"_s)) {
        Hints.Format = Bank::FormatOf(parser.value(u"format"_s));
        QStringList names;
        for (const Bank::Format &each : Bank::Formats())
            names.append(each.Name);
        if (!Hints.Format)
            return u"--format takes one of %1"_s.arg(names.join(u", "_s));
    }
    if (parser.isSet(u"code-page"_s)) {
        Assembling.CodePage = parser.value(u"code-page"_s).toInt();
        if (!TextPage::IsKnown(Assembling.CodePage))
            return u"--code-page takes 874, 932, 936, 949, 950, 1250 to 1258, or 65001"_s;
        for (const QString &text : { Header.Code, Header.Name }) {
            if (const QString lacking = TextPage::Lacking(text, Assembling.CodePage); !lacking.isEmpty())
                return u"--code and --name: the character %1 is not in %2"_s.arg(lacking,
                                                                                 TextPage::NameOf(Assembling.CodePage));
        }
    }
    Reading.HasPassages = parser.isSet(u"passages"_s);
    if (parser.isSet(u"plain"_s))
        Reading.Unmarked = Markup::Kind::Plain;
    Hints.Encoding = parser.value(u"encoding"_s);
    if (!Bank::IsEncoding(Hints.Encoding))
        return u"--encoding \"%1\" is not known (UTF-8, UTF-16, ISO-8859-1, windows-1251, KOI8-R, Shift_JIS and the like are)"_s
            .arg(Hints.Encoding);
    Reading.Columns = parser.value(u"columns"_s);
    if (parser.isSet(u"true"_s))
        Reading.True = parser.value(u"true"_s);
    if (parser.isSet(u"false"_s))
        Reading.False = parser.value(u"false"_s);
    if (Reading.True.trimmed().isEmpty() || Reading.False.trimmed().isEmpty())
        return u"--true and --false must not be empty"_s;
    Assembling.KeepsLetters = parser.isSet(u"keep-letters"_s);
    Assembling.IsAscii = parser.isSet(u"ascii"_s);
    Assembling.NeedsPictures = IsStrict;
    if (parser.isSet(u"pictures"_s)) {
        if (!QFileInfo(parser.value(u"pictures"_s)).isDir())
            return u"--pictures: there is no folder \"%1\""_s.arg(parser.value(u"pictures"_s));
        Assembling.Pictures = std::make_shared<Bank::FolderFiles>(parser.value(u"pictures"_s));
    }
    return {};
}

QString BuildOptions::ReadChoice(const QCommandLineParser &parser)
{
    Choice.Categories = parser.values(u"category"_s);
    qint16 count = 0;
    if (const QString fault = ReadNumber(parser, { u"pick"_s, 1, static_cast<qint16>(Limits::MostItems), count });
        !fault.isEmpty())
        return fault;
    if (count > 0)
        Choice.Pick = count;
    for (const QString &text : parser.values(u"per-category"_s)) {
        Selection::Share share;
        if (!ReadShare(text, share))
            return u"--per-category takes a name and a number, such as Routing=5"_s;
        Choice.Shares.push_back(share);
    }
    if (Choice.Pick && !Choice.Shares.empty())
        return u"--pick and --per-category do not go together"_s;
    if (parser.isSet(u"shuffle"_s)) {
        for (const QString &what : parser.value(u"shuffle"_s).split(u',')) {
            if (what != "items"_L1 && what != "options"_L1)
                return u"--shuffle takes items, options, or items,options"_s;
            (what == "items"_L1 ? Choice.ShufflesItems : Choice.ShufflesOptions) = true;
        }
    }
    if (!Choice.IsByChance() && Choice.Categories.isEmpty())
        Assembling.Room = static_cast<size_t>(Limits::MostItems);
    HasSeed = parser.isSet(u"seed"_s);
    bool isNumber = true;
    if (HasSeed)
        Seed = parser.value(u"seed"_s).toULongLong(&isNumber);
    if (!isNumber)
        return u"--seed must be a number from 0 to %1"_s.arg(std::numeric_limits<quint64>::max());
    if (parser.isSet(u"variants"_s)) {
        qint16 variants = 0;
        if (const QString fault = ReadNumber(parser, { u"variants"_s, 2, MostVariants, variants }); !fault.isEmpty())
            return fault;
        Variants = variants;
        if (!Choice.IsByChance())
            return u"--variants needs --shuffle, --pick or --per-category, or all would be the same"_s;
    }
    return {};
}
