// SPDX-License-Identifier: Apache-2.0
#include "author/Commands.h"
#include "console/Console.h"
#include "author/Limits.h"
#include "author/Package.h"
#include "bank/Formats.h"
#include "common/Ansi.h"
#include "common/Error.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Notes = uR"(
The package folder DIR holds the exam file, named after DIR, and the pictures
that its items show. It can be copied into the exams folder. DIR appears whole
or not at all.

How questions are converted:
  {=right ~wrong}        One option is right.
  {~%50%a ~%50%b ~%-50%c}  Options with a weight above 0 are right. The weights
                         are not kept: an item is right or wrong as a whole.
  {T} {F}                Two options, "True" and "False".
  Sentence {…} goes on.  "_____" stands in place of the options.
  ####general feedback   The explanation. Feedback on single options follows it,
                         one line each under the option's letter.
  [html] [markdown]      Plain text in the end, with the marks of lists, table
                         cells separated by " | " and "[…]" in place of pictures.
  ::title::  $CATEGORY:  Not kept.

Comment lines with a meaning, before a question:
  // [exhibit:picture.gif]  The picture that the item shows: BMP, GIF, JPEG, ICO
                         or PNG, in the folder of SOURCE or in --pictures.
  // [nolimit]           With several right options the candidate may tick more
                         options than are right; otherwise no more than that.

Questions that an exam cannot hold are left out, each with one line of file,
line and reason on the error output: matching, numerical, essay and
short-answer questions, descriptions, fewer than 2 or more than 26 options, no
right option, several options each of which is right alone (a second "=", or
"~%100%" beside a "="), a control character, a character that code page %1 (of
this system's language) lacks, an exhibit that is missing, damaged or no
picture. The last line counts what was taken and left out. The exit code is 0
when anything was taken, 2 for wrong usage, otherwise 1. With --strict a single
question left out is enough for 1, and nothing is made.
)"_s;

void Describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(u"Makes a package folder from a question bank in GIFT."_s);
    parser.addPositionalArgument(u"SOURCE"_s, u"The question bank, in UTF-8."_s);
    parser.addOptions({
        { u"code"_s, u"Code of the exam, such as \"NET-101\"."_s, u"code"_s },
        { u"name"_s, u"Name of the exam."_s, u"name"_s },
        { u"max"_s, u"Maximum score, 1 to %1."_s.arg(Limits::MostScore), u"score"_s },
        { u"pass"_s, u"Passing score, 0 to the maximum score."_s, u"score"_s },
        { u"minutes"_s, u"Time allowed, 1 to %1."_s.arg(Limits::MostMinutes), u"minutes"_s },
        { u"out"_s, u"The package folder to make."_s, u"DIR"_s },
        { u"pictures"_s, u"Folder of the exhibits' pictures, if not that of SOURCE."_s, u"DIR"_s },
        { u"replace"_s, u"Replace an existing package folder."_s },
        { u"strict"_s, u"Make nothing when a question is left out."_s },
    });
}

// Fills header from the options. Returns what is wrong with their values; empty
// when nothing is.
QString ReadHeader(const QCommandLineParser &parser, Package::Header &header)
{
    for (const QString &option : { u"code"_s, u"name"_s, u"max"_s, u"pass"_s, u"minutes"_s, u"out"_s }) {
        if (!parser.isSet(option))
            return u"--%1 is missing"_s.arg(option);
    }
    header.Code = parser.value(u"code"_s);
    header.Name = parser.value(u"name"_s);
    for (const auto &[option, text] : { std::pair(u"code"_s, header.Code), std::pair(u"name"_s, header.Name) }) {
        if (text.trimmed().isEmpty())
            return u"--%1 is empty"_s.arg(option);
        if (const QString control = Package::ControlCharacter(text); !control.isEmpty())
            return u"--%1 holds the control character %2"_s.arg(option, control);
        if (!Package::HoldsPlain(text))
            return u"--%1: \"%2\" has a character that code page %3 lacks"_s.arg(option, Console::OneLine(text),
                                                                                 QString::number(
                                                                                     Ansi::SystemCodePage().Number()));
    }
    struct Number {
        QString Option;
        qint16 Least;
        qint16 Most;
        qint16 &Value;
    };
    // The passing score is limited by the maximum: this order matters.
    const auto read = [&](const Number &number) {
        bool isNumber = false;
        const int value = parser.value(number.Option).toInt(&isNumber);
        if (!isNumber || value < number.Least || value > number.Most)
            return u"--%1 must be a number from %2 to %3"_s.arg(number.Option).arg(number.Least).arg(number.Most);
        number.Value = static_cast<qint16>(value);
        return QString();
    };
    QString fault = read({ u"max"_s, 1, Limits::MostScore, header.MaxScore });
    if (fault.isEmpty())
        fault = read({ u"pass"_s, 0, header.MaxScore, header.PassScore });
    if (fault.isEmpty())
        fault = read({ u"minutes"_s, 1, Limits::MostMinutes, header.Minutes });
    return fault;
}

class Items : public Bank::Receiver {
public:
    std::vector<Bank::Item> All;

    void Add(Bank::Item &&item) override { All.push_back(std::move(item)); }
    void SetName(const QString &) override { }
    void Warn(int, const QString &) override { }
};

std::vector<Bank::Item> ReadSource(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Error(InvalidCall, u"%1: %2"_s.arg(path, file.errorString()), u"Command::Build()"_s);
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError)
        throw Error(InvalidCall, u"%1: %2"_s.arg(path, file.errorString()), u"Command::Build()"_s);
    const Bank::Source source{ path, bytes, std::make_shared<Bank::FolderFiles>(QFileInfo(path).path()) };
    const Bank::Format *format = Bank::FormatOf(source);
    if (!format)
        throw Error(InvalidCall, u"%1: it seems to be %2"_s.arg(path, Bank::KindOf(source)), u"Command::Build()"_s);
    Items items;
    format->Read(source, {}, items);
    return std::move(items.All);
}

}

int Command::Build(const QStringList &arguments)
{
    QCommandLineParser parser;
    Describe(parser);
    if (const auto code = Parse(parser, arguments, Notes.arg(Ansi::SystemCodePage().Number())))
        return *code;
    if (parser.positionalArguments().size() != 1)
        return Misused(u"one question bank is required"_s);
    Package::Header header;
    if (const QString fault = ReadHeader(parser, header); !fault.isEmpty())
        return Misused(fault);

    const QString source = parser.positionalArguments().first();
    const QString out = parser.value(u"out"_s);
    const bool replace = parser.isSet(u"replace"_s);
    const QString pictures = parser.isSet(u"pictures"_s) ? parser.value(u"pictures"_s) : QFileInfo(source).path();
    Package::CheckTarget(out, replace);

    const Package::Content content = Package::Assemble(ReadSource(source), header, pictures);
    for (const Package::LeftOut &item : content.LeftOut)
        Console::Complain(Console::OneLine(u"%1:%2: %3"_s.arg(source, QString::number(item.Line), item.Reason)));
    const qint32 taken = content.Exam->Questions().Count();
    const bool isRefused = parser.isSet(u"strict"_s) && !content.LeftOut.empty();
    const bool isMade = taken > 0 && !isRefused;
    if (isMade) {
        if (const QString warning = Package::Write(content, pictures, out, replace); !warning.isEmpty())
            Console::Complain(Console::OneLine(warning));
    }
    Console::Complain(
        u"%1 %2 taken, %3 left out"_s.arg(taken).arg(taken == 1 ? u"item"_s : u"items"_s).arg(content.LeftOut.size())
        + (isRefused ? u", nothing made (--strict)"_s : QString()));
    return isMade ? Success : Failure;
}
