// SPDX-License-Identifier: Apache-2.0
#include "picture/MutedErrors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

MutedErrors::MutedErrors()
    : m_kept(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
{
    std::fflush(stderr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (m_kept >= 0 && nowhere >= 0)
        dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0)
        close(nowhere);
}

MutedErrors::~MutedErrors()
{
    std::fflush(stderr);
    if (m_kept < 0)
        return;
    dup2(m_kept, STDERR_FILENO);
    close(m_kept);
}
