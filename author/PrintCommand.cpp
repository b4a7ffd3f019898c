// SPDX-License-Identifier: Apache-2.0
#include "author/Cancellation.h"
#include "author/Commands.h"
#include "author/PaperPdf.h"
#include "common/Common.h"
#include "common/Error.h"
#include "console/Console.h"
#include "model/Exam.h"
#include "model/Globals.h"
#include "model/IO.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Notes = uR"(
The exam has room for the candidate's name and the date, the items with their
exhibits, a circle to tick before each option of an item with one right option and
a square before those of any other, and page numbers. An item stands on one page if
it fits on one. The key has the letters of all items and the explanations.

FILE appears whole or not at all, and with --key both files.
)"_s;

QString ExamFileOf(const QString &package)
{
    const QString path = QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(package)));
    if (!QFileInfo(path).isDir())
        return path;
    const QString file = Globals::FindExamFile(path);
    if (file.isEmpty())
        throw Error(InvalidCall, u"%1: there is no exam of the folder's name in it"_s.arg(package));
    return file;
}

QString KeyFileOf(const QString &out)
{
    const QFileInfo info(out);
    const QString suffix = info.suffix().isEmpty() ? QString() : u'.' + info.suffix();
    return out.chopped(suffix.size()) + u"-key"_s + suffix;
}

// A file while it is made. Without Commit nothing of it stays.
class Target {
public:
    Target(const QString &path, bool replace)
        : m_file(path)
    {
        const QFileInfo info(path);
        if (info.isSymLink() || (info.exists() && !info.isFile()))
            throw Fault(u"it is there already and no regular file"_s);
        if (info.exists() && !replace)
            throw Fault(u"it exists already (--replace replaces it)"_s);
        if (!m_file.open(QIODevice::WriteOnly))
            throw Fault(m_file.errorString());
    }

    QString Name() const { return m_file.fileName(); }
    QIODevice &Device() { return m_file; }
    void Check() const
    {
        if (m_file.error() != QFileDevice::NoError)
            throw Fault(m_file.errorString());
    }
    void Commit()
    {
        if (!m_file.commit())
            throw Fault(m_file.errorString());
    }

private:
    Error Fault(const QString &text) const { return Error(InvalidCall, m_file.fileName() + u": "_s + text); }

    QSaveFile m_file;
};

struct Request {
    QString Package;
    QString Out;
    QSizeF Sheet = Paper::A4;
    bool HasKey = false;
    bool Replaces = false;
};

void PrintExam(const Request &request)
{
    const QString path = ExamFileOf(request.Package);
    Exam exam;
    try {
        exam.Load(path);
    } catch (const Error &error) {
        throw Error(error.Number(), path + u": "_s + Console::OneLine(error));
    }
    const Cancellation cancellation;
    std::vector<std::unique_ptr<Target>> targets;
    targets.push_back(std::make_unique<Target>(request.Out, request.Replaces));
    if (request.HasKey)
        targets.push_back(std::make_unique<Target>(KeyFileOf(request.Out), request.Replaces));
    QStringList done;
    bool lacksLetters = false;
    for (const auto &target : targets) {
        const bool isKey = target != targets.front();
        const auto plan = isKey ? Paper::PlanKey : Paper::PlanExam;
        const QString title = Common::OneLine(Common::ShownText(exam.Name()));
        const auto planned = [&](Paper::Measures measures) {
            measures.Break = [breaking = measures.Break](const QString &text, Paper::Style style, double width) {
                Cancellation::Check();
                return breaking(text, style, width);
            };
            return plan(exam, request.Sheet, measures);
        };
        const Paper::Printed printed
            = Paper::WritePdf(target->Device(), planned, request.Sheet, isKey ? u"Key: "_s + title : title, IO::GetFolder(path),
                              Cancellation::Check);
        target->Check();
        lacksLetters = lacksLetters || printed.LacksLetters;
        done += u"%1: %2 %3"_s.arg(target->Name()).arg(printed.Pages).arg(printed.Pages == 1 ? u"page"_s : u"pages"_s);
    }
    Cancellation::Check();
    for (const auto &target : targets)
        target->Commit();
    for (const QString &line : done)
        Console::Print(Console::OneLine(line));
    if (lacksLetters)
        Console::Complain(u"warning: letters that no font of this system has are printed as boxes"_s);
}

}

int Command::Print(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Makes a PDF of an exam on paper, and its key."_s);
    parser.addPositionalArgument(u"PACKAGE"_s, u"The package folder or its exam file."_s);
    parser.addOptions({
        { u"out"_s, u"The PDF file to make."_s, u"FILE"_s },
        { u"key"_s, u"Make a second one of the key and the explanations; its name ends with -key."_s },
        { u"paper"_s, u"A4 or Letter; without it, A4."_s, u"SIZE"_s },
        { u"replace"_s, u"Replace existing files."_s },
    });
    if (const auto code = Parse(parser, arguments, Notes))
        return *code;
    if (parser.positionalArguments().size() != 1)
        return Misused(u"one package is required"_s);
    if (parser.value(u"out"_s).isEmpty())
        return Misused(u"--out is missing"_s);
    const QString paper = parser.value(u"paper"_s).toLower();
    if (parser.isSet(u"paper"_s) && paper != "a4"_L1 && paper != "letter"_L1)
        return Misused(u"--paper takes A4 or Letter"_s);

    PrintExam({ parser.positionalArguments().first(), parser.value(u"out"_s), paper == "letter"_L1 ? Paper::Letter : Paper::A4,
                parser.isSet(u"key"_s), parser.isSet(u"replace"_s) });
    return Success;
}
