// SPDX-License-Identifier: Apache-2.0
#define _CRT_RAND_S
#include "pack/stub/Files_win.h"
#include "pack/stub/Steps.h"
#include "packformat/MoveLock_win.h"

#include <cstdlib>
#include <cstring>

#include <shlobj.h>

namespace {

class OpenPack {
public:
    Fault Open(const char *path)
    {
        static wchar_t wide[32'768];
        const bool isNamed = path ? MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide, std::size(wide)) > 0
                                  : GetModuleFileNameW(nullptr, wide, std::size(wide)) < std::size(wide);
        if (!isNamed)
            return SystemFault(NotRead);
        // Nothing can write to the file while it is open.
        m_file = UniqueHandle(
            CreateFileW(wide, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
        const HANDLE file = m_file;
        return m_file.IsOpen() && SourceOf(reinterpret_cast<std::intptr_t>(file), m_source) ? Fault() : SystemFault(NotRead);
    }

    PackSource Source() const { return m_source; }
    // A program without a console is ended by force or not at all.
    bool IsCancelled() const { return false; }

private:
    UniqueHandle m_file;
    PackSource m_source = {};
};

// A fault when another program has the file open, so that its folder cannot be
// renamed.
Fault CheckFile(const Path &path)
{
    const UniqueHandle file(CreateFileW(path, DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (file.IsOpen() || GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND)
        return {};
    return SystemFault(NotReplaced);
}

// No fault when an exam can be put in that place: nothing is there, or a folder of
// files that no other program has open.
Fault CheckPlace(const Path &place)
{
    const FileSearch search(place);
    if (!search.IsFound())
        return GetLastError() == ERROR_FILE_NOT_FOUND ? Fault() : SystemFault(NotReplaced);
    const WIN32_FIND_DATAW &found = search.Entry;
    // What is found by another name than its own is another exam's folder,
    // by its short name.
    if (!IsFolder(found) || (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
        || CompareStringOrdinal(found.cFileName, -1, place.Name(), -1, TRUE) != CSTR_EQUAL)
        return InPlace;
    Fault fault;
    const bool isListed = ForEach(place, [&](const WIN32_FIND_DATAW &entry) {
        fault = IsFolder(entry) ? FolderInside : CheckFile(Path(place, entry.cFileName));
        return !fault;
    });
    return isListed || GetLastError() == ERROR_PATH_NOT_FOUND ? fault : SystemFault(NotReplaced);
}

// The same, after waiting for other programs to close the files.
Fault AwaitPlace(const Path &place)
{
    const auto attempt = [&] {
        Fault fault = CheckPlace(place);
        fault.IsPassing = fault.Code == ERROR_SHARING_VIOLATION;
        return fault;
    };
    return LastFault(MostAttempts, PauseForOthers, attempt);
}

bool Move(const Path &from, const Path &to)
{
    return MoveFileExW(from, to, MOVEFILE_WRITE_THROUGH);
}

bool IsThere(const Path &path)
{
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

// The exams folder in the folder of programs, where the program looks for it.
// The folders of its path that were made are removed again if they stay empty.
class ExamsFolder {
public:
    ExamsFolder() = default;
    ~ExamsFolder()
    {
        m_folder.Close();
        if (m_isExamsMade)
            RemoveDirectoryW(m_exams);
        if (m_isProgramMade)
            RemoveDirectoryW(m_program);
    }
    ExamsFolder(const ExamsFolder &) = delete;
    ExamsFolder &operator=(const ExamsFolder &) = delete;

    Fault Open()
    {
        wchar_t programs[MAX_PATH] = {};
        const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES, nullptr, SHGFP_TYPE_CURRENT, programs);
        if (FAILED(result) || programs[0] == L'\0')
            return { NoExamsFolder };
        // A path on another machine begins with two separators.
        const bool isLocal = programs[0] != L'\\';
        m_program.Append(isLocal ? L"\\\\?\\" : L"\\\\?\\UNC");
        m_program.Append(isLocal ? programs : programs + 1);
        m_program.Append(L"\\Practorium");
        m_exams = Path(m_program, L"Exams");
        m_isProgramMade = CreateDirectoryW(m_program, nullptr);
        m_isExamsMade = CreateDirectoryW(m_exams, nullptr);
        // It cannot be renamed while it is open.
        m_folder = UniqueHandle(CreateFileW(m_exams, FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        BY_HANDLE_FILE_INFORMATION about = {};
        if (!m_folder.IsOpen() || !GetFileInformationByHandle(m_folder, &about))
            return SystemFault(NoExamsFolder);
        return about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? Fault() : Fault{ NoExamsFolder, ERROR_DIRECTORY };
    }

    Fault Check(std::string_view package) const { return AwaitPlace(Path(m_exams, package)); }

    // Removes the leftovers of killed runs, and moves exams back that they had kept.
    // Does nothing if another run does not stop moving exams.
    void Sweep() const
    {
        const MoveLock lock(MostAttempts * AttemptMilliseconds);
        if (!lock.IsHeld())
            return;
        ForEach(m_exams, [this](const WIN32_FIND_DATAW &entry) {
            char name[MAX_PATH * 3] = {};
            if (!IsFolder(entry)
                || WideCharToMultiByte(CP_UTF8, 0, entry.cFileName, -1, name, sizeof name, nullptr, nullptr) <= 0)
                return true;
            const Path path(m_exams, entry.cFileName);
            if (IsWorkName(name)) {
                Remove(path);
            } else if (const std::string_view package = KeptPackage(name); !package.empty()) {
                const Path place(m_exams, package);
                if (IsThere(place))
                    Remove(path);
                else
                    Move(path, place);
            }
            return true;
        });
    }

    operator const Path &() const { return m_exams; }

private:
    Path m_program;
    Path m_exams;
    bool m_isProgramMade = false;
    bool m_isExamsMade = false;
    UniqueHandle m_folder;
};

// A new folder inside the exams folder, which is removed with everything in it
// unless it has been swapped in.
class WorkFolder {
public:
    explicit WorkFolder(const Path &exams)
        : m_exams(exams)
    {
    }
    ~WorkFolder()
    {
        m_file.Close();
        m_folder.Close();
        if (m_isMade)
            Remove(m_path);
    }
    WorkFolder(const WorkFolder &) = delete;
    WorkFolder &operator=(const WorkFolder &) = delete;

    Fault Make()
    {
        return LastFault(MostAttempts, NoPause, [this] { return TryMake(); });
    }

    // Creates a file in the folder, writes to it, and closes it. Two names that
    // differ in nothing but letter case are one file.
    Fault Begin(std::string_view name)
    {
        m_file = UniqueHandle(
            CreateFileW(Path(m_path, name), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        return m_file.IsOpen() ? Fault() : SystemFault(NotWritten);
    }
    Fault Put(const char *bytes, std::size_t count)
    {
        return WriteAll(m_file, bytes, count) ? Fault() : SystemFault(NotWritten);
    }
    Fault End() { return FlushFileBuffers(m_file) && m_file.Close() ? Fault() : SystemFault(NotWritten); }
    // Changes of folders are in the file system's journal.
    Fault Keep() { return {}; }

    // Puts the folder where the exam belongs and removes what was there. That takes
    // two steps, because two folders cannot change places: if the run is killed in
    // between, the next one moves the exam back.
    Fault SwapIn(std::string_view package)
    {
        const Path place(m_exams, package);
        const Path kept(m_exams, package, KeptPrefix);
        // The folder stays locked while it is renamed.
        m_folder = Lock(m_path, FILE_SHARE_DELETE);
        if (!m_folder.IsOpen())
            return SystemFault(NotWritten);
        // Without the lock, exams that another run may still need are not removed; a
        // later run removes them.
        const MoveLock lock(MostAttempts * AttemptMilliseconds);
        return LastFault(MostAttempts, PauseForOthers, [&] { return TrySwapIn(place, kept, lock); });
    }

private:
    Fault TryMake()
    {
        unsigned int parts[2] = {};
        if (rand_s(&parts[0]) != 0 || rand_s(&parts[1]) != 0)
            return SystemFault(NotWritten);
        unsigned char random[WorkDigits / 2] = {};
        static_assert(sizeof random == sizeof parts);
        std::memcpy(random, parts, sizeof random);
        m_path = Path(m_exams, WorkName(random).Text);
        if (!CreateDirectoryW(m_path, nullptr))
            return SystemFault(NotWritten, GetLastError() == ERROR_ALREADY_EXISTS);
        // Another run may have removed the folder as a leftover before the lock.
        m_folder = Lock(m_path, 0);
        m_isMade = m_folder.IsOpen();
        if (m_isMade)
            return {};
        RemoveDirectoryW(m_path);
        return SystemFault(NotWritten, true);
    }

    Fault TrySwapIn(const Path &place, const Path &kept, const MoveLock &lock)
    {
        if (const Fault fault = AwaitPlace(place))
            return fault;
        if (Move(m_path, place))
            return Finish(kept, lock);
        if (lock.IsHeld() && IsThere(place))
            Remove(kept);
        if (!Move(place, kept))
            return MoveFault();
        if (Move(m_path, place))
            return Finish(kept, lock);
        const Fault fault = MoveFault();
        RetryWhileInUse([&] { return Move(kept, place); });
        return fault;
    }

    // Another run may have been faster, whose exam is replaced in turn; or another
    // program has just opened a file.
    static Fault MoveFault()
    {
        const DWORD code = GetLastError();
        const bool isPassing = code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS || code == ERROR_FILE_NOT_FOUND
            || code == ERROR_PATH_NOT_FOUND || IsInUse(code);
        return { NotWritten, code, isPassing };
    }

    Fault Finish(const Path &kept, const MoveLock &lock)
    {
        m_isMade = false;
        // Otherwise the next run could not replace this exam.
        m_folder.Close();
        if (lock.IsHeld())
            Remove(kept);
        return {};
    }

    const Path &m_exams;
    Path m_path;
    bool m_isMade = false;
    UniqueHandle m_folder;
    UniqueHandle m_file;
};

// Identifies a folder independently of its path; false when it cannot be opened.
bool LookAt(const wchar_t *folder, BY_HANDLE_FILE_INFORMATION &about)
{
    const UniqueHandle own(CreateFileW(folder, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                       OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return own.IsOpen() && GetFileInformationByHandle(own, &about);
}

// Whether this program's file lies in the user's temporary folder.
bool IsInTemporaryFolder()
{
    static wchar_t own[32'768];
    wchar_t temporary[MAX_PATH + 2] = {};
    const DWORD length = GetModuleFileNameW(nullptr, own, std::size(own));
    const std::size_t separator = std::wstring_view(own, length).rfind(L'\\');
    const DWORD room = static_cast<DWORD>(std::size(temporary));
    const DWORD count = GetTempPathW(room, temporary);
    if (length == 0 || length >= std::size(own) || separator == std::wstring_view::npos || count == 0 || count > room)
        return false;
    // With its separator, which a disk's own folder has to keep.
    own[separator + 1] = L'\0';
    BY_HANDLE_FILE_INFORMATION here = {};
    BY_HANDLE_FILE_INFORMATION there = {};
    return LookAt(own, here) && LookAt(temporary, there) && here.dwVolumeSerialNumber == there.dwVolumeSerialNumber
        && here.nFileIndexHigh == there.nFileIndexHigh && here.nFileIndexLow == there.nFileIndexLow;
}

}

void PrepareProgram()
{
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
    // No boxes of the system's own, such as for a missing disk.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
}

Fault SystemFault(const char *text, bool isPassing)
{
    return { text, GetLastError(), isPassing };
}

const char *SystemText(unsigned long code)
{
    wchar_t wide[256] = {};
    static char text[sizeof wide / sizeof *wide * 3];
    constexpr DWORD how = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    DWORD length = FormatMessageW(how, nullptr, code, 0, wide, std::size(wide), nullptr);
    while (length > 0 && wide[length - 1] == L' ')
        wide[--length] = L'\0';
    return WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, sizeof text, nullptr, nullptr) > 1 ? text : nullptr;
}

// The program has no console of its own, so that none flashes up when a program
// with windows runs it. It writes to the error output that it was given, or to the
// console of the process that started it. With neither, as after a double click, it
// shows a box, but not in the temporary folder: the download window runs packs there
// and waits for them, and the box would be hidden behind it.
void WriteErrorLine(const char *line, std::size_t length)
{
    wchar_t wide[1024] = {};
    const int count = MultiByteToWideChar(CP_UTF8, 0, line, static_cast<int>(length), wide, std::size(wide) - 1);
    DWORD put = 0;
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    if (error && error != INVALID_HANDLE_VALUE && GetConsoleMode(error, &put)) {
        WriteConsoleW(error, wide, static_cast<DWORD>(count), &put, nullptr);
    } else if (error && error != INVALID_HANDLE_VALUE && WriteFile(error, line, static_cast<DWORD>(length), &put, nullptr)) {
        return;
    } else if (AttachConsole(ATTACH_PARENT_PROCESS)) {
        const UniqueHandle console(CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                               nullptr, OPEN_EXISTING, 0, nullptr));
        WriteConsoleW(console, wide, static_cast<DWORD>(count), &put, nullptr);
    } else if (!IsInTemporaryFolder()) {
        MessageBoxW(nullptr, wide, L"Practorium", MB_OK | MB_ICONERROR | MB_SETFOREGROUND);
    }
}

int InstallPack(const char *file, InstallPort &port)
{
    return InstallFile<OpenPack, ExamsFolder, WorkFolder>(file, port);
}
