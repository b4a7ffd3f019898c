// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"

#include "common/Common.h"
#include "common/Error.h"
#include "common/WidePath_win.h"

#include <QByteArray>

#include <algorithm>
#include <memory>
#include <utility>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Chunks of the network are small; the disk gets them in larger pieces.
constexpr qsizetype WriteBuffer = 256 * 1024;

// Between two attempts at what another program may be in the way of, such as one
// that looks for viruses in every program, or the system itself, which lets go
// of a program's file only some time after its end: 5 seconds in all.
constexpr DWORD AttemptMilliseconds = 50;
constexpr int MostAttempts = 100;

template <class Attempt> bool RetryWhileInUse(Attempt attempt)
{
    for (int count = 1; !attempt(); ++count) {
        const DWORD code = GetLastError();
        if (count == MostAttempts || (code != ERROR_SHARING_VIOLATION && code != ERROR_ACCESS_DENIED))
            return false;
        Sleep(AttemptMilliseconds);
    }
    return true;
}

Error Exchanged()
{
    return Error(InvalidCall, u"The downloaded file is not the one that was written"_s, u"PackFile"_s);
}

class FileHandle {
public:
    FileHandle() = default;
    // The file itself, not what a link in its place leads to.
    FileHandle(const QString &path, DWORD access, DWORD share, DWORD disposition, SECURITY_ATTRIBUTES *security = nullptr)
        : m_handle(CreateFileW(Wide(WidePath(path)), access, share, security, disposition,
                               FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr))
    {
    }
    ~FileHandle() { Close(); }
    FileHandle(FileHandle &&other) noexcept
        : m_handle(std::exchange(other.m_handle, INVALID_HANDLE_VALUE))
    {
    }
    FileHandle &operator=(FileHandle &&other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }
    bool Close()
    {
        const HANDLE handle = std::exchange(m_handle, INVALID_HANDLE_VALUE);
        return handle == INVALID_HANDLE_VALUE || CloseHandle(handle);
    }
    // A regular file, which is none of several names of it and no link.
    bool IsPlain(BY_HANDLE_FILE_INFORMATION &information) const
    {
        return IsOpen() && GetFileInformationByHandle(m_handle, &information) && information.nNumberOfLinks == 1
            && (information.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0;
    }
    bool Delete() const
    {
        FILE_DISPOSITION_INFO disposition = { TRUE };
        return RetryWhileInUse([&] {
            return SetFileInformationByHandle(m_handle, FileDispositionInfo, &disposition, sizeof disposition) != FALSE;
        });
    }

private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

// A file that is to be deleted. A folder in its place is not waited for.
FileHandle OpenToDelete(const QString &path, DWORD access)
{
    FileHandle file;
    RetryWhileInUse([&] {
        file = FileHandle(path, DELETE | FILE_READ_ATTRIBUTES | access, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING);
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
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return {};
    DWORD size = 0;
    GetTokenInformation(token, kind, nullptr, 0, &size);
    QByteArray bytes(std::max<qsizetype>(size, sizeof(Information)), '\0');
    const bool known = GetTokenInformation(token, kind, bytes.data(), static_cast<DWORD>(bytes.size()), &size);
    CloseHandle(token);
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
    FileHandle Handle;
    bool IsWriting = true;
    DWORD Volume = 0;
    quint64 Index = 0;
    QByteArray Pending;

    static quint64 IndexOf(const BY_HANDLE_FILE_INFORMATION &information)
    {
        return quint64(information.nFileIndexHigh) << 32 | information.nFileIndexLow;
    }

    bool IsSame(const FileHandle &handle) const
    {
        BY_HANDLE_FILE_INFORMATION information = {};
        return handle.IsPlain(information) && information.dwVolumeSerialNumber == Volume && IndexOf(information) == Index;
    }

    void WritePending()
    {
        const char *bytes = Pending.constData();
        qsizetype left = Pending.size();
        while (left > 0) {
            DWORD put = 0;
            Common::CheckApiResult(WriteFile(Handle.Get(), bytes, static_cast<DWORD>(left), &put, nullptr) && put > 0);
            bytes += put;
            left -= put;
        }
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
    m_system->Handle = FileHandle(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW, &security);
    Common::CheckApiResult(m_system->Handle.IsOpen());
    BY_HANDLE_FILE_INFORMATION information = {};
    Common::CheckApiResult(GetFileInformationByHandle(m_system->Handle.Get(), &information));
    m_system->Volume = information.dwVolumeSerialNumber;
    m_system->Index = System::IndexOf(information);
}

void PackFile::Write(const char *bytes, qint64 count)
{
    m_system->Pending.append(bytes, count);
    if (m_system->Pending.size() >= WriteBuffer)
        m_system->WritePending();
}

// The system runs no file that is open for writing. A handle that only reads
// takes over before the other goes, and one that lets nobody write follows.
void PackFile::Close()
{
    if (!m_system || !m_system->IsWriting || !m_system->Handle.IsOpen())
        return;
    m_system->WritePending();
    FileHandle between(m_path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    Common::CheckApiResult(between.IsOpen());
    m_system->IsWriting = false;
    Common::CheckApiResult(m_system->Handle.Close());
    m_system->Handle = FileHandle(m_path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    Common::CheckApiResult(m_system->Handle.IsOpen());
}

void PackFile::Abandon()
{
    if (m_system) {
        m_system->Pending.clear();
        m_system->Handle.Close();
    }
}

void PackFile::MakeRunnable()
{
    if (!m_system)
        throw Exchanged();
    Close();
    if (!m_system->IsSame(m_system->Handle))
        throw Exchanged();
}

// The file and every folder on the way to it stay where they are while it is
// open, links elsewhere do not. The system takes a program's name without its
// prefix, and a long one by its short names. A disk that keeps no names of its
// own, such as some that lie in memory, is taken by the name that is known.
QString PackFile::RunPath() const
{
    QString path = TextOf([&](wchar_t *text, DWORD room) {
        return GetFinalPathNameByHandleW(m_system->Handle.Get(), text, room, VOLUME_NAME_DOS);
    });
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
    const FileHandle file = OpenToDelete(m_path, 0);
    if (!m_system->IsSame(file))
        throw Exchanged();
    Common::CheckApiResult(file.Delete());
    // The next file may get its number.
    m_system.reset();
}

void RemoveOwnFile(const QString &path)
{
    const FileHandle file = OpenToDelete(path, READ_CONTROL);
    BY_HANDLE_FILE_INFORMATION information = {};
    if (file.IsPlain(information) && BelongsToThisUser(file.Get()))
        file.Delete();
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
