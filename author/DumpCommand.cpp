// SPDX-License-Identifier: Apache-2.0
#include "author/Commands.h"
#include "console/Console.h"
#include "author/Dump.h"
#include "author/Package.h"
#include "common/Error.h"
#include "model/Exam.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

int Command::DumpExam(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Prints an exam file as JSON, in UTF-8. Texts are printed as stored."_s);
    parser.addPositionalArgument(u"PATH"_s, u"An exam file or a package folder."_s);
    if (const auto code = Parse(parser, arguments))
        return *code;
    if (parser.positionalArguments().size() != 1)
        return Misused(u"one exam file or package folder is required"_s);

    QString path = parser.positionalArguments().first();
    if (QFileInfo(path).isDir()) {
        const QString folder = QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
        path = QDir::toNativeSeparators(QDir(path).filePath(Package::ExamFileName(folder)));
    }
    Exam exam;
    try {
        exam.Load(path);
    } catch (const Error &error) {
        Console::Complain(Console::OneLine(u"%1: %2"_s.arg(path, Console::OneLine(error))));
        return Failure;
    }
    Console::Print(QString::fromUtf8(Dump::ToJson(exam)));
    return Success;
}
