// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"

#include "common/Common.h"
#include "common/Error.h"
#include "common/WidePath_win.h"
#include "handles/Handle_win.h"

#include <QByteArray>

#include <algorithm>
#include <memory>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Chunks of the network are small; the disk gets them in larger pieces.
constexpr qsizetype WriteBuffer = 256 * 1024;

Error Exchanged()
{
    return Error(InvalidCall, u"The downloaded file is not the one that was written"_s, u"PackFile"_s);
}

// Opens the file itself, not what a link in its place leads to.
UniqueHandle OpenWithoutLink(const QString &path, DWORD access, DWORD share, DWORD disposition,
                             SECURITY_ATTRIBUTES *security = nullptr)
{
    return UniqueHandle(CreateFileW(Wide(WidePath(path)), access, share, security, disposition,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

// Whether it is an open regular file, which has one name alone and is no link.
bool IsPlain(const UniqueHandle &file, BY_HANDLE_FILE_INFORMATION &information)
{
    return file.IsOpen() && GetFileInformationByHandle(file, &information) && information.nNumberOfLinks == 1
        && (information.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0;
}

bool Delete(HANDLE file)
{
    FILE_DISPOSITION_INFO disposition = { TRUE };
    return RetryWhileInUse(
        [&] { return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition) != FALSE; });
}

// A file that is to be deleted. A folder in its place is not waited for.
UniqueHandle OpenToDelete(const QString &path, DWORD access)
{
    UniqueHandle file;
    RetryWhileInUse([&] {
        file
            = OpenWithoutLink(path, DELETE | FILE_READ_ATTRIBUTES | access, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING);
        const DWORD code = GetLastError();
        if (file.IsOpen())
            return true;
        const DWORD attributes = GetFileAttributesW(Wide(WidePath(path)));
        const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        SetLastError(code);
        return isFolder;
    });
    return file;
}

// A text that the system writes into a buffer and of which it gives the length,
// or of what a buffer needs; empty when it has none.
template <class Call> QString TextOf(Call call)
{
    QString text;
    for (DWORD room = MAX_PATH; room > 0;) {
        text.resize(static_cast<qsizetype>(room));
        const DWORD length = call(reinterpret_cast<wchar_t *>(text.data()), room);
        text.truncate(static_cast<qsizetype>(length));
        room = length >= room ? length + 1 : 0;
    }
    return text;
}

// The path without the prefix that lifts the system's limits, if it is within
// them and means the same; else empty.
QString PlainPath(const QString &path)
{
    QString plain = path;
    if (path.startsWith("\\\\?\\UNC\\"_L1))
        plain = u'\\' + path.mid(7);
    else if (path.startsWith("\\\\?\\"_L1))
        plain = path.mid(4);
    if (plain.size() >= MAX_PATH)
        return {};
    const QString meant = TextOf([&](wchar_t *text, DWORD room) { return GetFullPathNameW(Wide(plain), room, text, nullptr); });
    return meant == plain ? plain : QString();
}

struct LocalMemory {
    void operator()(void *memory) const { LocalFree(memory); }
};

// What the process's token says of the user, or of whom its new files belong to.
template <class Information> QByteArray FromToken(TOKEN_INFORMATION_CLASS kind)
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
        return {};
    const UniqueHandle token(opened);
    DWORD size = 0;
    GetTokenInformation(token, kind, nullptr, 0, &size);
    QByteArray bytes(std::max<qsizetype>(size, sizeof(Information)), '\0');
    const bool known = GetTokenInformation(token, kind, bytes.data(), static_cast<DWORD>(bytes.size()), &size);
    return known ? bytes : QByteArray();
}

// Everything for this user and nothing for anybody else, whatever the folder says.
std::unique_ptr<void, LocalMemory> OnlyThisUser()
{
    const QByteArray user = FromToken<TOKEN_USER>(TokenUser);
    wchar_t *name = nullptr;
    Common::CheckApiResult(!user.isEmpty()
                           && ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER *>(user.constData())->User.Sid, &name));
    const std::unique_ptr<void, LocalMemory> ownName(name);
    const QString sid = QString::fromWCharArray(name);
    const QString rights = u"O:"_s + sid + u"D:P(A;;FA;;;"_s + sid + u')';
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    Common::CheckApiResult(
        ConvertStringSecurityDescriptorToSecurityDescriptorW(Wide(rights), SDDL_REVISION_1, &descriptor, nullptr));
    return std::unique_ptr<void, LocalMemory>(descriptor);
}

bool BelongsToThisUser(HANDLE file)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr, &descriptor)
        != ERROR_SUCCESS)
        return false;
    const std::unique_ptr<void, LocalMemory> own(descriptor);
    const QByteArray user = FromToken<TOKEN_USER>(TokenUser);
    const QByteArray usual = FromToken<TOKEN_OWNER>(TokenOwner);
    return (!user.isEmpty() && EqualSid(owner, reinterpret_cast<const TOKEN_USER *>(user.constData())->User.Sid))
        || (!usual.isEmpty() && EqualSid(owner, reinterpret_cast<const TOKEN_OWNER *>(usual.constData())->Owner));
}

}

struct PackFile::System {
    // While it is open nobody else writes, renames or deletes the file.
    UniqueHandle File;
    bool IsWriting = true;
    DWORD Volume = 0;
    quint64 Index = 0;
    QByteArray Pending;

    static quint64 IndexOf(const BY_HANDLE_FILE_INFORMATION &information)
    {
        return quint64(information.nFileIndexHigh) << 32 | information.nFileIndexLow;
    }

    bool IsSame(const UniqueHandle &file) const
    {
        BY_HANDLE_FILE_INFORMATION information = {};
        return IsPlain(file, information) && information.dwVolumeSerialNumber == Volume && IndexOf(information) == Index;
    }

    void WritePending()
    {
        Common::CheckApiResult(WriteAll(File, Pending.constData(), static_cast<size_t>(Pending.size())));
        Pending.clear();
    }
};

PackFile::PackFile() = default;
PackFile::~PackFile() = default;

void PackFile::Create(const QString &path)
{
    m_path = path;
    m_system = std::make_unique<System>();
    m_system->Pending.reserve(WriteBuffer);
    const auto rights = OnlyThisUser();
    SECURITY_ATTRIBUTES security = { sizeof security, rights.get(), FALSE };
    m_system->File = OpenWithoutLink(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW, &security);
    Common::CheckApiResult(m_system->File.IsOpen());
    BY_HANDLE_FILE_INFORMATION information = {};
    Common::CheckApiResult(GetFileInformationByHandle(m_system->File, &information));
    m_system->Volume = information.dwVolumeSerialNumber;
    m_system->Index = System::IndexOf(information);
}

void PackFile::Write(const char *bytes, qint64 count)
{
    m_system->Pending.append(bytes, count);
    if (m_system->Pending.size() >= WriteBuffer)
        m_system->WritePending();
}

void PackFile::StartOver()
{
    m_system->Pending.clear();
    Common::CheckApiResult(SetFilePointerEx(m_system->File, {}, nullptr, FILE_BEGIN) && SetEndOfFile(m_system->File));
}

// The system runs no file that is open for writing. A handle that only reads
// takes over before the other goes, and one that lets nobody write follows.
void PackFile::Close()
{
    if (!m_system || !m_system->IsWriting || !m_system->File.IsOpen())
        return;
    m_system->WritePending();
    const UniqueHandle between = OpenWithoutLink(m_path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    Common::CheckApiResult(between.IsOpen());
    m_system->IsWriting = false;
    Common::CheckApiResult(m_system->File.Close());
    m_system->File = OpenWithoutLink(m_path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    Common::CheckApiResult(m_system->File.IsOpen());
}

void PackFile::Abandon()
{
    if (m_system) {
        m_system->Pending.clear();
        m_system->File.Close();
    }
}

void PackFile::MakeRunnable()
{
    OpenForCheck();
}

std::intptr_t PackFile::OpenForCheck()
{
    if (!m_system)
        throw Exchanged();
    Close();
    if (!m_system->IsSame(m_system->File))
        throw Exchanged();
    return reinterpret_cast<std::intptr_t>(static_cast<HANDLE>(m_system->File));
}

// The file and every folder on the way to it stay where they are while it is
// open, links elsewhere do not. The system takes a program's name without its
// prefix, and a long one by its short names. A disk that keeps no names of its
// own, such as some that lie in memory, is taken by the name that is known.
QString PackFile::RunPath() const
{
    QString path = TextOf(
        [&](wchar_t *text, DWORD room) { return GetFinalPathNameByHandleW(m_system->File, text, room, VOLUME_NAME_DOS); });
    if (path.isEmpty())
        path = WidePath(m_path);
    const QString shortPath = TextOf([&](wchar_t *text, DWORD room) { return GetShortPathNameW(Wide(path), text, room); });
    for (const QString &plain : { PlainPath(path), PlainPath(shortPath) }) {
        if (!plain.isEmpty())
            return plain;
    }
    return path;
}

void PackFile::Remove()
{
    if (!m_system)
        throw Exchanged();
    Abandon();
    const UniqueHandle file = OpenToDelete(m_path, 0);
    if (!m_system->IsSame(file))
        throw Exchanged();
    Common::CheckApiResult(Delete(file));
    // The next file may get its number.
    m_system.reset();
}

void RemoveOwnFile(const QString &path)
{
    const UniqueHandle file = OpenToDelete(path, READ_CONTROL);
    BY_HANDLE_FILE_INFORMATION information = {};
    if (IsPlain(file, information) && BelongsToThisUser(file))
        Delete(file);
}

// The system says what it would make of the name: a device lies in no folder,
// and dots and blanks at the end are left out.
bool IsPlainFileName(const QString &name)
{
    const bool isOdd
        = std::any_of(name.begin(), name.end(), [](QChar c) { return c < u' ' || QStringView(u"/\\:*?\"<>|").contains(c); });
    if (name.isEmpty() || isOdd || name.startsWith(u' '))
        return false;
    const DWORD room = GetFullPathNameW(Wide(name), 0, nullptr, nullptr);
    QString whole(room, Qt::Uninitialized);
    whole.truncate(GetFullPathNameW(Wide(name), room, reinterpret_cast<wchar_t *>(whole.data()), nullptr));
    return !whole.startsWith("\\\\.\\"_L1) && whole.endsWith(u'\\' + name);
}
