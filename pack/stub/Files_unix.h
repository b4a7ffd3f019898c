// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

// Open files and folders of the system. Folders are named by an open one and a
// name in it, so that nothing leads elsewhere when paths change meanwhile.

constexpr int FolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

class Descriptor {
public:
    explicit Descriptor(int number = -1)
        : m_number(number)
    {
    }
    ~Descriptor() { Close(); }
    Descriptor(Descriptor &&other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }

    bool IsOpen() const { return m_number >= 0; }
    operator int() const { return m_number; }
    // Somebody else closes it.
    void Release() { m_number = -1; }
    // A disk may say only now that it has no room.
    bool Close() { return m_number < 0 || close(std::exchange(m_number, -1)) == 0; }

private:
    int m_number;
};

bool WriteAll(int file, const char *bytes, std::size_t count);
// Has the system bring a file or a folder to the disk. Some file systems have
// nothing to do for a folder and say so.
bool Sync(int file);

// Shows every name in the folder to visit until that returns false. False when
// the folder cannot be listed, with the system's code left behind.
template <class Visit> bool ForEach(int folder, Visit visit)
{
    Descriptor own(openat(folder, ".", FolderFlags));
    DIR *listing = own.IsOpen() ? fdopendir(own) : nullptr;
    if (!listing)
        return false;
    own.Release();
    while (const dirent *entry = readdir(listing)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0 && !visit(entry->d_name))
            break;
    }
    closedir(listing);
    return true;
}

// Whether a folder is in the folder; true too when it cannot be told.
bool HoldsFolder(int folder);
// Removes a folder and the files in it. One that holds a folder stays as it is.
void Remove(int parent, const char *name);

// A lock on a folder shows that the run that unpacks into it is alive; the
// system takes it away with the run. False when somebody else holds it.
bool Lock(int folder);
