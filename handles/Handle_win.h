// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Retry.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <windows.h>

// Open files and searches of the system, and calls that have to be repeated.
// What fails leaves the system's code for GetLastError. Nothing here raises.
// Without Qt, as the programs in packs have none.

// A handle of a file, a folder or a process, owned by one object and closed with
// it. It converts to the handle for calls of the system, which leaves the
// ownership where it is.
class UniqueHandle {
public:
    // Takes over what CreateFileW returns; INVALID_HANDLE_VALUE is none. What
    // returns nullptr for a failure must have succeeded.
    explicit UniqueHandle(HANDLE handle = INVALID_HANDLE_VALUE)
        : m_handle(handle)
    {
    }
    ~UniqueHandle() { Close(); }
    UniqueHandle(UniqueHandle &&other) noexcept
        : m_handle(other.Release())
    {
    }
    // The two change places: what was open here is closed with the other object.
    UniqueHandle &operator=(UniqueHandle &&other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    operator HANDLE() const { return m_handle; }
    // From here on the caller closes it; INVALID_HANDLE_VALUE when none is open.
    HANDLE Release() { return std::exchange(m_handle, INVALID_HANDLE_VALUE); }
    // Closes it now. False when the system reports an error; true when none is open.
    bool Close() { return !IsOpen() || CloseHandle(Release()); }

private:
    HANDLE m_handle;
};

// The entries whose paths match a pattern, one after the other; "*" matches "."
// and "..", too. The search is open for as long as the object exists.
class FileSearch {
public:
    // A path, with or without wildcards in its last name. It is used here alone
    // and need not stay.
    explicit FileSearch(const wchar_t *pattern)
        : m_search(FindFirstFileW(pattern, &Entry))
    {
    }
    ~FileSearch()
    {
        if (IsFound())
            FindClose(m_search);
    }
    FileSearch(const FileSearch &) = delete;
    FileSearch &operator=(const FileSearch &) = delete;

    // Whether anything matches, and Entry is the first match. False, too, for a
    // folder that cannot be read.
    bool IsFound() const { return m_search != INVALID_HANDLE_VALUE; }
    // Makes Entry the next match; false behind the last one and after an error.
    // Only for a search that IsFound.
    bool Next() { return FindNextFileW(m_search, &Entry); }

    // The present match: its name without the folder, size, times, attributes.
    WIN32_FIND_DATAW Entry = {};

private:
    HANDLE m_search;
};

// The most bytes that are read or written by one call, which counts in 32 bits.
constexpr std::size_t LargestTransfer = 1 << 30;

// A place in a file, in bytes from its start, for ReadFile and WriteFile on a
// handle that was opened without FILE_FLAG_OVERLAPPED.
inline OVERLAPPED AtOffset(std::uint64_t offset)
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

// Writes all of the bytes by put(bytes, count, written), which calls WriteFile and
// returns its result; it is called again for the rest. False when the system takes
// no more: a part may be written by then, and the code is ERROR_DISK_FULL when put
// took nothing without an error. Nothing is called for a count of 0.
template <class Put> bool WriteWhole(const char *bytes, std::size_t count, Put put)
{
    while (count > 0) {
        DWORD written = 0;
        if (!put(bytes, static_cast<DWORD>(std::min(count, LargestTransfer)), &written))
            return false;
        if (written == 0) {
            SetLastError(ERROR_DISK_FULL);
            return false;
        }
        bytes += written;
        count -= written;
    }
    return true;
}

// Writes all of the bytes at the file's position, or false.
inline bool WriteAll(HANDLE file, const char *bytes, std::size_t count)
{
    return WriteWhole(bytes, count, [&](const char *next, DWORD left, DWORD *written) {
        return WriteFile(file, next, left, written, nullptr);
    });
}

// Writes all of the bytes from that offset on, or false. Unlike on other systems
// the file's position moves: it is behind what was written.
inline bool WriteAllAt(HANDLE file, const char *bytes, std::size_t count, std::uint64_t offset)
{
    return WriteWhole(bytes, count, [&](const char *next, DWORD left, DWORD *written) {
        OVERLAPPED place = AtOffset(offset + static_cast<std::uint64_t>(next - bytes));
        return WriteFile(file, next, left, written, &place);
    });
}

// Another program may have a file open for a moment, such as one that looks for
// viruses in every new file, or the system itself, which releases the file of a
// program only some time after its end. MostAttempts last 5 seconds.
constexpr DWORD AttemptMilliseconds = 50;

// Whether that is a code for a file that another program has open. A lack of
// rights has one of them as well: a call that is not allowed is repeated, too,
// until no attempt is left.
constexpr bool IsInUse(DWORD code)
{
    return code == ERROR_SHARING_VIOLATION || code == ERROR_ACCESS_DENIED;
}

inline void PauseForOthers()
{
    Sleep(AttemptMilliseconds);
}

// Calls attempt, which returns whether it has succeeded, again while it fails
// because a file is in use. The last result. The attempt leaves its code for
// GetLastError, which has that of the last one afterwards. The thread sleeps
// meanwhile, up to 5 seconds.
template <class Attempt> bool RetryWhileInUse(Attempt attempt)
{
    bool isDone = false;
    Retry(MostAttempts, PauseForOthers, [&] {
        isDone = attempt();
        return isDone || !IsInUse(GetLastError());
    });
    return isDone;
}
