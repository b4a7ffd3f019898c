// SPDX-License-Identifier: Apache-2.0
#include "author/Cancellation.h"
#include "author/Package.h"
#include "common/Common.h"
#include "common/Error.h"
#include "model/File.h"
#include "model/Globals.h"
#include "model/IO.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSet>

#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace fs = std::filesystem;

namespace Package {

namespace {

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Package::Write()"_s);
}

void RaiseIf(const std::error_code &code, const QString &path)
{
    const QString text = QString::fromLocal8Bit(code.message());
    if (code)
        throw Error(code.value(), QDir::toNativeSeparators(path) + u": "_s + text, u"Package::Write()"_s);
}

fs::path Native(const QString &path)
{
    return QFileInfo(path).filesystemFilePath();
}

// Absolute, with the system's separators and none at the end.
QString Resolved(const QString &folder)
{
    return QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(folder)));
}

void Rename(const QString &from, const QString &to)
{
    std::error_code code;
    fs::rename(Native(from), Native(to), code);
    RaiseIf(code, to);
}

// A new folder beside the target, with the missing folders above it. Everything
// is removed again unless PutInPlace succeeded.
class StagingFolder {
public:
    explicit StagingFolder(const QString &target)
        : m_target(target)
        , m_folder(Sibling(target))
    {
        try {
            MakeParents();
            Make(m_folder);
        } catch (...) {
            Remove();
            throw;
        }
    }
    ~StagingFolder()
    {
        if (!m_isInPlace)
            Remove();
    }
    StagingFolder(const StagingFolder &) = delete;
    StagingFolder &operator=(const StagingFolder &) = delete;

    QString Path(const QString &name) const { return QDir(m_folder).filePath(name); }

    // Renames the folder to the target. With replace, an existing target is moved
    // to another name first, moved back when the renaming fails, and removed in
    // the end; returns a warning when it cannot be removed.
    QString PutInPlace(bool replace)
    {
        const QString old = m_folder + u".old"_s;
        const bool replaces = replace && QFileInfo::exists(m_target);
        if (replaces)
            Rename(m_target, old);
        try {
            Rename(m_folder, m_target);
        } catch (const Error &) {
            std::error_code ignored;
            if (replaces)
                fs::rename(Native(old), Native(m_target), ignored);
            throw;
        }
        m_isInPlace = true;
        std::error_code code;
        if (replaces)
            fs::remove_all(Native(old), code);
        return code ? u"%1: the replaced package cannot be removed: %2"_s.arg(old, QString::fromLocal8Bit(code.message()))
                    : QString();
    }

private:
    static QString Sibling(const QString &target)
    {
        const quint32 number = QRandomGenerator::system()->generate();
        return QFileInfo(target).dir().filePath(u".practorium-"_s + QString::number(number, 16));
    }

    // Creates one folder that must not exist yet.
    void Make(const QString &folder)
    {
        std::error_code code;
        if (!fs::create_directory(Native(folder), code) && !code)
            code = std::make_error_code(std::errc::file_exists);
        RaiseIf(code, folder);
        m_made.append(folder);
    }

    void MakeParents()
    {
        QStringList missing;
        QString folder = QFileInfo(m_target).path();
        while (!QFileInfo::exists(folder)) {
            missing.prepend(folder);
            // A missing drive has no parent.
            const QString above = QFileInfo(folder).path();
            if (above == folder)
                break;
            folder = above;
        }
        for (const QString &each : missing)
            Make(each);
    }

    void Remove()
    {
        std::error_code ignored;
        if (m_made.contains(m_folder))
            fs::remove_all(Native(m_folder), ignored);
        // Parents only when they are empty.
        while (!m_made.isEmpty())
            fs::remove(Native(m_made.takeLast()), ignored);
    }

    QString m_target;
    QString m_folder;
    QStringList m_made;
    bool m_isInPlace = false;
};

// Runs the operation; a system error gets the name of the file in front.
template <class Operation> void NamingFile(const QString &name, Operation operation)
{
    try {
        operation();
    } catch (const Error &error) {
        QString text = Common::ShownText(error.Description()).trimmed();
        throw Error(error.Number(), name + u": "_s + text.section(u'\n', -1), error.Source());
    }
}

void SaveExam(Exam &exam, const QString &path)
{
    exam.Save(path);
    // A full disk may be reported only now.
    File file;
    file.OpenFile(path, File::BinaryMode, File::WriteAccess, File::OpenExisting);
    file.Flush();
}

void CopyPicture(const QString &from, const QString &to)
{
    File source;
    source.OpenFile(from, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    File target;
    target.OpenFile(to, File::BinaryMode, File::WriteAccess, File::CreateNew);
    source.CopyTo(target);
    target.Flush();
}

// Why an existing folder must not be replaced; empty when it holds nothing but a
// package.
QString WhyNotReplaced(const QString &folder)
{
    const QFileInfo info(folder);
    if (info.isSymLink() || !info.isDir())
        return u"it is no folder"_s;
    static const QStringList kinds = { u"exam"_s, u"bmp"_s, u"gif"_s, u"jpg"_s, u"jpeg"_s, u"ico"_s, u"png"_s };
    const QFileInfoList entries
        = QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        if (!entry.isFile() || !kinds.contains(entry.suffix().toLower()))
            return u"\"%1\" in it belongs to no package"_s.arg(entry.fileName());
    }
    const bool isPackage = entries.isEmpty() || !Globals::FindExamFile(folder).isEmpty();
    return isPackage ? QString() : u"it holds no exam of its name"_s;
}

}

void CheckTarget(const QString &out, bool replace)
{
    const QString target = Resolved(out);
    const QString name = IO::GetFileName(target, false);
    if (out.isEmpty() || name.isEmpty())
        throw Refused(u"\"%1\" is no name for a package folder"_s.arg(out));
    if (target.contains(u'"') || name != Common::TrimBlanks(name))
        throw Refused(u"%1: the path holds double quotes, or its name begins or ends with a blank"_s.arg(out));
    const QFileInfo info(target);
    if (!info.exists() && !info.isSymLink())
        return;
    if (!replace)
        throw Refused(u"%1: it exists already (--replace replaces a package)"_s.arg(out));
    if (const QString reason = WhyNotReplaced(target); !reason.isEmpty())
        throw Refused(u"%1: it is not replaced, because %2"_s.arg(out, reason));
}

QString Write(Exam &exam, const Exhibits &exhibits, const QString &out, bool replace)
{
    CheckTarget(out, replace);
    const QString target = Resolved(out);
    const Cancellation cancellation;
    StagingFolder staging(target);
    const QString examName = ExamFileName(target);
    NamingFile(examName, [&] { SaveExam(exam, staging.Path(examName)); });
    QSet<QString> copied;
    for (const auto &question : exam.Questions()) {
        const QString name = question->Exhibit();
        if (name.isEmpty() || copied.contains(name))
            continue;
        copied.insert(name);
        Cancellation::Check();
        NamingFile(name, [&] { CopyPicture(QDir(exhibits.Folder()).filePath(name), staging.Path(name)); });
    }
    Cancellation::Check();
    return staging.PutInPlace(replace);
}

}
