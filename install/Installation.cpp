// SPDX-License-Identifier: Apache-2.0
#include "install/Installation.h"

#include "common/Common.h"
#include "common/Error.h"
#include "model/Exam.h"
#include "model/ExamFormat.h"
#include "model/Globals.h"
#include "model/IO.h"
#include "pack/PackContents.h"
#include "pack/stub/Install.h"
#include "pack/stub/PackReader.h"
#include "signature/PackTrust.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QTemporaryDir>

#include <exception>

using namespace Qt::Literals::StringLiterals;

namespace Installation {

namespace {

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Installation::Run()"_s);
}

// The path of a file that only this user can read and that goes with the object.
struct TemporaryFile {
    TemporaryFile()
    {
        if (!m_folder.isValid())
            throw Refused(m_folder.errorString());
    }

private:
    const QTemporaryDir m_folder;

public:
    const QString Path = m_folder.filePath(u"file"_s);
};

QString ToText(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

Title TitleOf(const Exam &exam)
{
    return { Common::ShownText(exam.Code()).trimmed(), Common::ShownText(exam.Name()).trimmed(), exam.Questions().Count() };
}

// The exam file of a checked pack, in a file of its own.
Exam ExamOf(const PackReader &pack, const PackEntry &entry)
{
    // A larger one is no exam, and is not copied.
    const Error damaged = Refused(u"%1: the exam in it cannot be read"_s.arg(ToText(pack.Folder())));
    if (entry.Size > static_cast<quint64>(ExamFormat::LargestFile))
        throw damaged;
    const TemporaryFile copy;
    QFile file(copy.Path);
    if (!file.open(QIODevice::WriteOnly))
        throw Refused(file.errorString());
    QByteArray block;
    for (quint64 at = 0; at < entry.Size; at += static_cast<quint64>(block.size())) {
        block.resize(static_cast<qsizetype>(qMin<quint64>(entry.Size - at, 1 << 18)));
        if (!pack.ReadAt(entry.Start + at, block.data(), static_cast<size_t>(block.size())))
            throw Refused(u"the pack cannot be read"_s);
        if (file.write(block) != block.size())
            throw Refused(file.errorString());
    }
    file.close();
    if (file.error() != QFile::NoError)
        throw Refused(file.errorString());
    Exam exam;
    try {
        exam.Load(copy.Path);
    } catch (const Error &) {
        throw damaged;
    }
    return exam;
}

std::optional<Title> InstalledIn(const QString &folder)
{
    const QString path = Globals::FindExamFile(folder);
    if (path.isEmpty())
        return {};
    Exam exam;
    try {
        exam.Load(path);
    } catch (const Error &) {
        return Title{ Common::ShownText(exam.Code()).trimmed(), Common::ShownText(exam.Name()).trimmed(), 0 };
    }
    return TitleOf(exam);
}

Offer OfferOf(PackReader &pack, const std::optional<PackStatement> &statement)
{
    Offer offer;
    if (statement) {
        offer.Signer = statement->Signer;
        offer.SignedAt = statement->Date;
    }
    offer.Folder = ToText(pack.Folder());
    QSet<QString> names;
    PackEntry examFile;
    pack.Rewind();
    for (PackEntry entry; pack.Next(entry);) {
        ++offer.Files;
        offer.Bytes += static_cast<qint64>(entry.Size);
        names.insert(ToText(entry.Name));
        if (PackFormat::IsExamFile(entry.Name, pack.Folder()))
            examFile = entry;
    }
    const Exam exam = ExamOf(pack, examFile);
    offer.Exam = TitleOf(exam);
    QSet<QString> missing;
    for (const auto &item : exam.Questions()) {
        if (item->HasExhibit() && !names.contains(item->Exhibit()))
            missing.insert(item->Exhibit());
    }
    offer.MissingExhibits = static_cast<int>(missing.size());
    offer.Replaced = InstalledIn(IO::CombinePath(Globals::ExamsFolder(), offer.Folder));
    if (!offer.Replaced) {
        for (const QString &path : Globals::GetInstalledExams())
            offer.IsShared = offer.IsShared || QFileInfo(path).dir().dirName() == offer.Folder;
    }
    return offer;
}

// Asks, and keeps what goes wrong for the caller.
class Port final : public InstallPort {
public:
    enum class Kind { Pack, Data };

    Port(Kind kind, const std::function<bool(const Offer &)> &agrees)
        : m_kind(kind)
        , m_agrees(agrees)
    {
    }

    // No exception may pass through the steps of an installation.
    bool Agrees(PackReader &pack) override
    {
        try {
            if (m_kind == Kind::Pack)
                Statement = PackTrust::Check(pack);
            Offer offer = OfferOf(pack, Statement);
            offer.IsUnsigned = m_kind == Kind::Data && !PackTrust::Keys().empty();
            if (!m_agrees(offer))
                return false;
            // A newer pack may have been installed while the user read the question.
            if (m_kind == Kind::Pack)
                Statement = PackTrust::Check(pack);
            return true;
        } catch (...) {
            m_raised = std::current_exception();
            return false;
        }
    }

    void Fail(const char *about, const char *text, const char *reason) override
    {
        QStringList parts;
        for (const char *part : { about, text, reason }) {
            if (part)
                parts += QString::fromUtf8(part);
        }
        m_raised = std::make_exception_ptr(Refused(parts.join(u": "_s)));
    }

    void Rethrow() const
    {
        if (m_raised)
            std::rethrow_exception(m_raised);
    }

    // What is stated about a pack that must be signed.
    std::optional<PackStatement> Statement;

private:
    const Kind m_kind;
    const std::function<bool(const Offer &)> &m_agrees;
    std::exception_ptr m_raised;
};

bool InstallFile(const QString &path, Port::Kind kind, const std::function<bool(const Offer &)> &agrees)
{
    Port port(kind, agrees);
    const bool isInstalled = InstallPack(path.toUtf8().constData(), port) == 0;
    port.Rethrow();
    if (isInstalled && port.Statement)
        PackTrust::Remember(*port.Statement);
    return isInstalled;
}

}

bool Run(const QString &path, const std::function<bool(const Offer &)> &agrees)
{
    const QFileInfo given(QFileInfo(path).canonicalFilePath());
    if (path.isEmpty() || !given.exists())
        throw Refused(u"%1: there is no such file or folder"_s.arg(path));
    if (!given.isDir() && !given.isFile())
        throw Refused(u"%1: it is no regular file"_s.arg(path));
    if (given.isFile() && PackContents::IsPack(given.filePath()))
        return InstallFile(given.filePath(), Port::Kind::Pack, agrees);
    if (given.isFile() && given.suffix() != QStringView(ExamFormat::Extension))
        throw Refused(u"%1: it is no exam pack, exam file or folder of an exam"_s.arg(path));

    // The exam file in a folder of its name stands for the folder.
    const QFileInfo folder(given.path());
    const bool isInPackage = given.isFile()
        && Globals::FindExamFile(QDir::toNativeSeparators(folder.filePath())) == QDir::toNativeSeparators(given.filePath());
    const TemporaryFile copy;
    QFile pack(copy.Path);
    if (!pack.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        throw Refused(pack.errorString());
    const bool isFolder = given.isDir() || isInPackage;
    const auto package = isFolder ? PackContents::OfFolder(isInPackage ? folder.filePath() : given.filePath())
                                  : PackContents::OfFile(given.filePath());
    PackContents::Write(pack, {}, package, [] {});
    pack.close();
    return InstallFile(copy.Path, Port::Kind::Data, agrees);
}

}
