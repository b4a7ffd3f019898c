// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <windows.h>

#include <sddl.h>

// Moving exams is exclusive to the holder of this lock, so that the exam that a
// running pack has moved away is not taken for the leftover of a killed one. It is
// one lock for all users of the machine: a named mutex of the system. A mutex
// belongs to a thread: the object is destroyed on the thread that created it, and
// a second one on that thread gets the lock at once. It needs only the system, as
// packs do, and raises nothing.
class MoveLock {
public:
    // Waits up to so many milliseconds for it; 0 does not wait. A lock that a
    // killed program left behind counts as free.
    explicit MoveLock(DWORD milliseconds)
        : m_mutex(Open())
    {
        const DWORD result = m_mutex ? WaitForSingleObject(m_mutex, milliseconds) : WAIT_FAILED;
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

    // False when the time was up, or the lock cannot be created. What another pack
    // has moved away must be left alone then.
    bool IsHeld() const { return m_isHeld; }

private:
    // Every user who has logged on may wait for it and release it.
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
