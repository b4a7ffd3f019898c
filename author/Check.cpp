// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"

#include "console/Console.h"
#include "author/Limits.h"
#include "author/Package.h"
#include "common/Common.h"
#include "common/Error.h"
#include "model/File.h"
#include "model/Globals.h"
#include "model/RecordIO.h"
#include "picture/Picture.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace Check {

namespace {

class ExamChecker {
public:
    // The path as it is shown.
    ExamChecker(QStringList &faults, QStringList *warnings, QString path)
        : m_faults(faults)
        , m_warnings(warnings)
        , m_path(std::move(path))
        // An absolute one begins with no blank that opening would take away.
        , m_file(QDir::current().absoluteFilePath(m_path))
    {
    }

    void Run()
    {
        Exam exam;
        if (!Read(exam))
            return;
        CheckHeader(exam);
        qint32 position = 0;
        for (const auto &question : exam.Questions())
            CheckItem(*question, ++position);
    }

private:
    QString Line(const QString &text) const { return Console::OneLine(m_path + u": "_s + text); }
    void Say(const QString &text) { m_faults.append(Line(text)); }
    void SayOfItem(const QString &text) { Say(u"item %1: %2"_s.arg(m_item).arg(text)); }

    bool Read(Exam &exam)
    {
        if (m_file.contains(u'"') || m_file != Common::TrimBlanks(m_file)) {
            Say(u"the path holds double quotes or ends with a blank, so it cannot be opened"_s);
            return false;
        }
        File file;
        try {
            file.OpenFile(m_file, File::BinaryMode, File::ReadAccess, File::OpenExisting);
            ExamFormat::RequireFileSize(file.ByteSize());
            exam.Deserialize(file);
            if (const qint64 left = file.BytesLeft(); left > 0)
                Say(u"trailing bytes: %1"_s.arg(left));
            return true;
        } catch (const Error &error) {
            if (error.Number() == InputPastEnd)
                Say(u"cut short: the file ends before item %1 is whole"_s.arg(exam.Questions().Count() + 1));
            else if (IsOfAnItem(error))
                Say(u"item %1: %2"_s.arg(exam.Questions().Count() + 1).arg(error.Description()));
            else
                Say(Console::OneLine(error));
            return false;
        }
    }

    static bool IsOfAnItem(const Error &error)
    {
        const Error limits[]
            = { ExamFormat::TooMany(ExamFormat::MostMembers, Choice::Plural()), ExamFormat::TooManyCharacters() };
        return std::any_of(std::begin(limits), std::end(limits),
                           [&](const Error &limit) { return error.Description() == limit.Description(); });
    }

    static QString ControlIn(const QString &what, const QString &text)
    {
        const QString control = Package::ControlCharacter(text);
        return control.isEmpty() ? QString() : u"%1 holds the control character %2"_s.arg(what, control);
    }

    void CheckHeader(const Exam &exam)
    {
        for (const QString &fault : { ControlIn(u"the code"_s, exam.Code()), ControlIn(u"the name"_s, exam.Name()) }) {
            if (!fault.isEmpty())
                Say(fault);
        }
        if (exam.MaxScore() <= 0)
            Say(u"the maximum score is %1"_s.arg(exam.MaxScore()));
        if (exam.PassScore() < 0)
            Say(u"the passing score is %1"_s.arg(exam.PassScore()));
        if (exam.PassScore() > exam.MaxScore())
            Say(u"the passing score %1 is above the maximum score %2"_s.arg(exam.PassScore()).arg(exam.MaxScore()));
        if (exam.Duration() < 1)
            Say(u"the duration is %1 minutes"_s.arg(exam.Duration()));
        if (exam.Duration() > Limits::MostMinutes)
            Say(u"the duration of %1 minutes is over %2"_s.arg(exam.Duration()).arg(Limits::MostMinutes));
        if (exam.Questions().Count() == 0)
            Say(u"there are no items"_s);
    }

    void CheckItem(const Question &question, qint32 position)
    {
        m_item = position;
        if (question.Number() != position)
            SayOfItem(u"its number is %1"_s.arg(question.Number()));
        const qint32 options = question.Choices().Count();
        if (options == 0)
            SayOfItem(u"it has no options"_s);
        if (options > Limits::MostOptions)
            SayOfItem(u"%1 options are more than %2"_s.arg(options).arg(Limits::MostOptions));
        qint32 solutions = 0;
        qint32 number = 0;
        for (const auto &choice : question.Choices()) {
            if (choice->Number() != ++number)
                SayOfItem(u"the number of option %1 is %2"_s.arg(number).arg(choice->Number()));
            solutions += choice->IsSolution() ? 1 : 0;
        }
        if (solutions == 0)
            SayOfItem(u"it has no solution"_s);
        if (question.SolutionCount() != solutions)
            SayOfItem(u"its solution count is %1, but %2 options are solutions"_s.arg(question.SolutionCount()).arg(solutions));
        if (question.HasHint() && solutions == 0)
            SayOfItem(u"it limits the selection to none"_s);
        CheckTexts(question);
        if (question.HasExhibit())
            CheckExhibit(question.Exhibit());
    }

    void CheckTexts(const Question &question)
    {
        QStringList faults = { ControlIn(u"the question text"_s, question.Problem()) };
        for (const auto &choice : question.Choices())
            faults.append(ControlIn(u"option %1"_s.arg(choice->Number()), choice->Statement()));
        faults.append(ControlIn(u"the explanation"_s, question.StoredExplaination()));
        faults.removeAll(QString());
        for (const QString &fault : faults)
            SayOfItem(fault);
    }

    void CheckExhibit(const QString &name)
    {
        if (!Package::IsPlainName(name)) {
            SayOfItem(u"the exhibit \"%1\" is not a plain file name and may lead out of the folder"_s.arg(name));
            return;
        }
        if (!m_exhibits.contains(name)) {
            try {
                const QImage image = Picture::Load(QFileInfo(m_file).dir().filePath(name));
                m_exhibits.insert(name, {});
                if (m_warnings && image.width() > Limits::WidestExhibit)
                    m_warnings->append(Line(u"warning: item %1: the exhibit \"%2\" is %3 pixels wide, wider than many screens"_s
                                                .arg(QString::number(m_item), name, QString::number(image.width()))));
            } catch (const Error &error) {
                m_exhibits.insert(name, Console::OneLine(error));
            }
        }
        if (const QString fault = m_exhibits.value(name); !fault.isEmpty())
            SayOfItem(u"the exhibit \"%1\": %2"_s.arg(name, fault));
    }

    QStringList &m_faults;
    QStringList *m_warnings;
    QString m_path;
    QString m_file;
    qint32 m_item = 0;
    QHash<QString, QString> m_exhibits; // what is wrong with each; empty for nothing
};

void CheckFolder(QStringList &faults, QStringList *warnings, const QString &path)
{
    const QString folder = QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
    const auto say = [&](const QString &text) { faults.append(Console::OneLine(path + u": "_s + text)); };
    const QString pattern = u"*."_s + QString::fromUtf16(ExamFormat::Extension);
    QStringList names = QDir(folder).entryList({ pattern }, QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    const QString name = Package::ExamFileName(folder);
    if (Globals::FindExamFile(folder).isEmpty())
        say(u"the folder's name leads to %1, which is not there"_s.arg(name));
    else if (!names.contains(name))
        names.append(name); // it is there, but no file
    if (names.size() > 1)
        say(u"several exam files: %1"_s.arg(names.join(u", "_s)));
    for (const QString &file : names)
        ExamChecker(faults, warnings, QDir::toNativeSeparators(QDir(path).filePath(file))).Run();
}

}

QStringList Faults(const QString &path, QStringList *Warnings)
{
    QStringList faults;
    const QFileInfo info(QDir::current().absoluteFilePath(path));
    if (info.isDir())
        CheckFolder(faults, Warnings, path);
    else if (!info.exists())
        faults.append(Console::OneLine(path + u": No such file or directory"_s));
    else
        ExamChecker(faults, Warnings, path).Run();
    return faults;
}

}
