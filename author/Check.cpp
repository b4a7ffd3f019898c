// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"

#include "author/Ahead.h"
#include "author/Limits.h"
#include "author/Package.h"
#include "author/TextPage.h"
#include "common/Ansi.h"
#include "common/Common.h"
#include "common/Error.h"
#include "console/Console.h"
#include "model/File.h"
#include "model/Globals.h"
#include "model/RecordIO.h"
#include "picture/Picture.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

#include <future>
#include <map>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace Check {

namespace {

class ExamChecker {
public:
    // Reads the exam and begins to load its exhibits. The path as it appears in the lines.
    explicit ExamChecker(QString path)
        : m_path(std::move(path))
        // Opening a file trims blanks; an absolute path begins with none.
        , m_file(QDir::current().absoluteFilePath(m_path))
    {
        m_isRead = Read(m_exam);
        if (!m_isRead)
            return;
        for (const auto &question : m_exam.Questions()) {
            const QString name = question->Exhibit();
            if (question->HasExhibit() && Package::IsPlainName(name) && !m_widths.contains(name))
                m_widths.emplace(name, Ahead([file = ExhibitFile(name)] { return Picture::Load(file).width(); }));
        }
    }

    void Run(QStringList &faults, QStringList *warnings)
    {
        m_warnings = warnings;
        if (m_isRead) {
            CheckHeader(m_exam);
            CheckLetters(m_exam);
            qint32 position = 0;
            for (const auto &question : m_exam.Questions())
                CheckItem(*question, ++position);
        }
        faults += m_faults;
    }

private:
    QString ExhibitFile(const QString &name) const { return QFileInfo(m_file).dir().filePath(name); }

    QString Line(const QString &text) const { return Console::OneLine(m_path + u": "_s + text); }
    void Report(const QString &text) { m_faults.append(Line(text)); }
    void ReportItem(const QString &text) { Report(u"item %1: %2"_s.arg(m_item).arg(text)); }

    bool Read(Exam &exam)
    {
        if (m_file.contains(u'"') || m_file != Common::TrimBlanks(m_file)) {
            Report(u"the path holds double quotes or ends with a blank, so it cannot be opened"_s);
            return false;
        }
        File file;
        try {
            file.OpenFile(m_file, File::BinaryMode, File::ReadAccess, File::OpenExisting);
            ExamFormat::RequireFileSize(file.ByteSize());
            exam.Deserialize(file);
            if (const qint64 left = file.BytesLeft(); left > 0)
                Report(u"trailing bytes: %1"_s.arg(left));
            return true;
        } catch (const Error &error) {
            if (error.Number() == InputPastEnd)
                Report(u"cut short: the file ends before item %1 is whole"_s.arg(exam.Questions().Count() + 1));
            else if (IsOfAnItem(error))
                Report(u"item %1: %2"_s.arg(exam.Questions().Count() + 1).arg(error.Description()));
            else
                Report(Console::OneLine(error));
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
        const QString control = TextPage::ControlCharacter(text);
        return control.isEmpty() ? QString() : u"%1 holds the control character %2"_s.arg(what, control);
    }

    void CheckHeader(const Exam &exam)
    {
        for (const QString &fault : { ControlIn(u"the code"_s, exam.Code()), ControlIn(u"the name"_s, exam.Name()) }) {
            if (!fault.isEmpty())
                Report(fault);
        }
        if (exam.MaxScore() <= 0)
            Report(u"the maximum score is %1"_s.arg(exam.MaxScore()));
        if (exam.PassScore() < 0)
            Report(u"the passing score is %1"_s.arg(exam.PassScore()));
        if (exam.PassScore() > exam.MaxScore())
            Report(u"the passing score %1 is above the maximum score %2"_s.arg(exam.PassScore()).arg(exam.MaxScore()));
        if (exam.Duration() < 1)
            Report(u"the duration is %1 minutes"_s.arg(exam.Duration()));
        if (exam.Duration() > Limits::MostMinutes)
            Report(u"the duration of %1 minutes is over %2"_s.arg(exam.Duration()).arg(Limits::MostMinutes));
        if (exam.Questions().Count() == 0)
            Report(u"there are no items"_s);
    }

    // Without a block that names their page, texts mean what they say in one language only.
    void CheckLetters(const Exam &exam)
    {
        const auto isPlain = [](const QString &text) {
            return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
        };
        const auto isPlainItem = [&](const auto &question) {
            return isPlain(question->Problem()) && isPlain(question->StoredExplaination())
                && std::all_of(question->Choices().begin(), question->Choices().end(),
                               [&](const auto &choice) { return isPlain(choice->Statement()); });
        };
        const bool arePlain = isPlain(exam.Code()) && isPlain(exam.Name())
            && std::all_of(exam.Questions().begin(), exam.Questions().end(), isPlainItem);
        if (m_warnings && exam.CodePage() == 0 && !arePlain)
            m_warnings->append(Line(
                u"warning: the texts are in the code page of the reader's language, here %1, and are "
                "unreadable in another; an exam built anew is readable everywhere"_s.arg(Ansi::SystemCodePage().Number())));
    }

    void CheckItem(const Question &question, qint32 position)
    {
        m_item = position;
        if (question.Number() != position)
            ReportItem(u"its number is %1"_s.arg(question.Number()));
        const qint32 options = question.Choices().Count();
        if (options == 0)
            ReportItem(u"it has no options"_s);
        if (options > Limits::MostOptions)
            ReportItem(u"%1 options are more than %2"_s.arg(options).arg(Limits::MostOptions));
        qint32 solutions = 0;
        qint32 number = 0;
        for (const auto &choice : question.Choices()) {
            if (choice->Number() != ++number)
                ReportItem(u"the number of option %1 is %2"_s.arg(number).arg(choice->Number()));
            solutions += choice->IsSolution() ? 1 : 0;
        }
        if (solutions == 0)
            ReportItem(u"it has no solution"_s);
        if (question.SolutionCount() != solutions)
            ReportItem(
                u"its solution count is %1, but %2 options are solutions"_s.arg(question.SolutionCount()).arg(solutions));
        if (question.HasHint() && solutions == 0)
            ReportItem(u"it limits the selection to none"_s);
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
            ReportItem(fault);
    }

    void CheckExhibit(const QString &name)
    {
        if (!Package::IsPlainName(name)) {
            ReportItem(u"the exhibit \"%1\" is not a plain file name and may lead out of the folder"_s.arg(name));
            return;
        }
        if (!m_exhibits.contains(name)) {
            try {
                const int width = m_widths.at(name).get();
                m_exhibits.insert(name, {});
                if (m_warnings && width > Limits::WidestExhibit)
                    m_warnings->append(Line(u"warning: item %1: the exhibit \"%2\" is %3 pixels wide, wider than many screens"_s
                                                .arg(QString::number(m_item), name, QString::number(width))));
            } catch (const Error &error) {
                m_exhibits.insert(name, Console::OneLine(error));
            }
        }
        if (const QString fault = m_exhibits.value(name); !fault.isEmpty())
            ReportItem(u"the exhibit \"%1\": %2"_s.arg(name, fault));
    }

    QStringList m_faults;
    QStringList *m_warnings = nullptr;
    QString m_path;
    QString m_file;
    Exam m_exam;
    bool m_isRead = false;
    qint32 m_item = 0;
    std::map<QString, std::future<int>> m_widths; // of the exhibits
    QHash<QString, QString> m_exhibits; // the fault of each; empty: none
};

// The exam files of a package folder.
QStringList ExamsOf(const QString &path, QStringList &faults)
{
    const QString folder = QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
    const auto report = [&](const QString &text) { faults.append(Console::OneLine(path + u": "_s + text)); };
    const QString pattern = u"*."_s + QString::fromUtf16(ExamFormat::Extension);
    QStringList names = QDir(folder).entryList({ pattern }, QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    const QString name = Package::ExamFileName(folder);
    if (Globals::FindExamFile(folder).isEmpty())
        report(u"the folder's name leads to %1, which is not there"_s.arg(name));
    else if (!names.contains(name))
        names.append(name); // it exists, but is not a file
    if (names.size() > 1)
        report(u"several exam files: %1"_s.arg(names.join(u", "_s)));
    for (QString &file : names)
        file = QDir::toNativeSeparators(QDir(path).filePath(file));
    return names;
}

}

QStringList Faults(const QString &path, QStringList *warnings)
{
    return Begin(path)(warnings);
}

std::function<QStringList(QStringList *warnings)> Begin(const QString &path)
{
    QStringList faults;
    QStringList files;
    const QFileInfo info(QDir::current().absoluteFilePath(path));
    if (info.isDir())
        files = ExamsOf(path, faults);
    else if (!info.exists())
        faults.append(Console::OneLine(path + u": No such file or directory"_s));
    else
        files.append(path);
    std::vector<std::shared_ptr<ExamChecker>> exams;
    for (const QString &file : files)
        exams.push_back(std::make_shared<ExamChecker>(file));
    return [faults, exams](QStringList *warnings) {
        QStringList lines = faults;
        for (const auto &exam : exams)
            exam->Run(lines, warnings);
        return lines;
    };
}

}
