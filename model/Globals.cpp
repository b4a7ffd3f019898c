// SPDX-License-Identifier: Apache-2.0
#include "model/Globals.h"

#include "common/Common.h"
#include "common/Error.h"
#include "model/ExamFormat.h"
#include "model/Globals_p.h"
#include "model/IO.h"
#include "packformat/KeptExams.h"

#include <QDir>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace Globals {

std::shared_ptr<Exam> CurrentExam;

QString ExamsFolder()
{
    return IO::CombinePath(IO::GetSpecialFolder(u"$(ProgramFiles)"_s), u"Practorium"_s + IO::Separator + u"Exams"_s);
}

QString FindExamFile(const QString &PackageFolder)
{
    QString name = IO::GetFileName(PackageFolder, false);
    IO::ChangeExtension(name, QString::fromUtf16(ExamFormat::Extension));
    const QString path = IO::CombinePath(PackageFolder, name);
    return IO::FileExists(path) ? path : QString();
}

QStringList GetInstalledExams()
{
    QStringList exams;
    QSet<QString> names;
    for (const QString &folder : QStringList(ExamsFolder()) + SharedExamsFolders()) {
        for (const QString &name : IO::GetSubFolders(folder)) {
            const QString path = FindExamFile(IO::CombinePath(folder, name));
            if (path.isEmpty() || names.contains(name))
                continue;
            names.insert(name);
            exams.append(path);
        }
    }
    return exams;
}

void PutBackKept()
{
    const QString folder = ExamsFolder();
    const QLatin1StringView prefix(KeptPrefix.data(), static_cast<qsizetype>(KeptPrefix.size()));
    for (const QString &kept : IO::GetSubFolders(folder)) {
        const QString name = kept.startsWith(prefix) ? kept.mid(prefix.size()) : QString();
        const QString place = IO::CombinePath(folder, name);
        if (!name.isEmpty() && !name.startsWith(u'.') && !IO::FileExists(place))
            QDir().rename(IO::CombinePath(folder, kept), place);
    }
}

bool IsExamInstalled(const QString &ExamCode)
{
    const auto plain = [](const QString &code) { return Common::TrimBlanks(code).toUpper(); };
    for (const QString &path : GetInstalledExams()) {
        Exam exam;
        try {
            exam.LoadHeader(path);
        } catch (const Error &) {
            // It takes part with the code that it has by now.
        }
        if (plain(exam.Code()) == plain(ExamCode))
            return true;
    }
    return false;
}

QString OptionLetter(qint16 Number)
{
    const int code = ExamFormat::LetterBase + Number;
    if (code < 0)
        throw Error::RunTime(InvalidCall);
    return QString(QChar(static_cast<char16_t>(code)));
}

qint16 ListNumber(QStringView Piece)
{
    bool isNumber = false;
    const double value = Piece.trimmed().toString().toDouble(&isNumber);
    if (!isNumber)
        throw Error::RunTime(TypeMismatch);
    return Common::ToInt16(value);
}

QString AnswerLetters(const QString &List)
{
    if (Common::IsBlank(List))
        return {};
    QStringList letters;
    for (QStringView piece : QStringView(List).split(u','))
        letters.append(OptionLetter(ListNumber(piece)));
    return letters.join(u',');
}

qint16 ItemCount(const QString &List)
{
    return List.isEmpty() ? qint16(0) : Common::ToInt16(static_cast<double>(List.count(u',') + 1));
}

}
