// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <windows.h>

#include <sddl.h>

// While it is held nobody else moves exams, so that what a living run of a pack
// has put aside is not taken for what a dead one has left. Runs of all users
// wait for each other. Like packs it needs nothing but the system.
class MoveLock {
public:
    // Waits so long at most, in milliseconds.
    explicit MoveLock(DWORD patience)
        : m_mutex(Open())
    {
        const DWORD result = m_mutex ? WaitForSingleObject(m_mutex, patience) : WAIT_FAILED;
        m_isHeld = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    }
    ~MoveLock()
    {
        if (m_isHeld)
            ReleaseMutex(m_mutex);
        if (m_mutex)
            CloseHandle(m_mutex);
    }
    MoveLock(const MoveLock &) = delete;
    MoveLock &operator=(const MoveLock &) = delete;

    bool IsHeld() const { return m_isHeld; }

private:
    // Every user who has logged on may wait for it and give it back.
    static HANDLE Open()
    {
        SECURITY_ATTRIBUTES security = { sizeof security, nullptr, FALSE };
        if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;0x100001;;;AU)", SDDL_REVISION_1,
                                                                  &security.lpSecurityDescriptor, nullptr))
            return nullptr;
        const HANDLE mutex = CreateMutexExW(&security, L"Global\\Practorium.Exams", 0, SYNCHRONIZE | MUTEX_MODIFY_STATE);
        LocalFree(security.lpSecurityDescriptor);
        return mutex;
    }

    HANDLE m_mutex;
    bool m_isHeld = false;
};
