// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstddef>
#include <dirent.h>
#include <memory>
#include <unistd.h>
#include <utility>

// Open files and folders of the system, and calls that have to be repeated.
// What fails leaves the system's code in errno. Nothing here raises. Without
// Qt, as the programs in packs have none.

// A file descriptor, owned by one object and closed with it. It converts to the
// number for calls of the system, which leaves the ownership where it is.
class UniqueHandle {
public:
    // Takes over what open and its kin return; -1 is none.
    explicit UniqueHandle(int descriptor = -1)
        : m_descriptor(descriptor)
    {
    }
    ~UniqueHandle() { Close(); }
    UniqueHandle(UniqueHandle &&other) noexcept
        : m_descriptor(other.Release())
    {
    }
    // The two change places: what was open here is closed with the other object.
    UniqueHandle &operator=(UniqueHandle &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    bool IsOpen() const { return m_descriptor >= 0; }
    operator int() const { return m_descriptor; }
    // From here on the caller closes it; -1 when none is open.
    int Release() { return std::exchange(m_descriptor, -1); }
    // Closes it now; it is closed in either case. False when the system reports an
    // error, such as a full disk that a server has noticed only by now; true when
    // none is open.
    bool Close() { return !IsOpen() || close(Release()) == 0; }

private:
    int m_descriptor;
};

// A listing of a folder, closed with the object; nullptr when it cannot be opened.
struct ListingCloser {
    void operator()(DIR *listing) const { closedir(listing); }
};
using UniqueListing = std::unique_ptr<DIR, ListingCloser>;

// The result of a system call, which is repeated while a signal interrupts it
// (EINTR). For calls that report a failure by a value below 0; not for close,
// after which Linux has closed the descriptor even when it was interrupted.
template <class Call> auto Uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// Writes all of the bytes by put(bytes, count), which is write or one of its kin
// and returns how many it took, or -1; it is called again for the rest. False when
// the system takes no more: a part may be written by then, and errno is ENOSPC
// when put took nothing without an error. Nothing is called for a count of 0.
template <class Put> bool WriteWhole(const char *bytes, std::size_t count, Put put)
{
    while (count > 0) {
        const ssize_t written = Uninterrupted([&] { return put(bytes, count); });
        if (written <= 0) {
            if (written == 0)
                errno = ENOSPC;
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

// Writes all of the bytes at the file's position, or false.
inline bool WriteAll(int file, const char *bytes, std::size_t count)
{
    return WriteWhole(bytes, count, [&](const char *next, std::size_t left) { return write(file, next, left); });
}

// Writes all of the bytes from that offset on, in bytes from the file's start, or
// false. The file's position stays where it is.
inline bool WriteAllAt(int file, const char *bytes, std::size_t count, off_t offset)
{
    return WriteWhole(bytes, count,
                      [&](const char *next, std::size_t left) { return pwrite(file, next, left, offset + (next - bytes)); });
}
