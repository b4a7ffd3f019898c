// SPDX-License-Identifier: Apache-2.0
#include "picture/MutedErrors.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

MutedErrors::MutedErrors()
    : m_kept(_dup(_fileno(stderr)))
{
    std::fflush(stderr);
    const int nowhere = _open("NUL", _O_WRONLY);
    if (m_kept >= 0 && nowhere >= 0)
        _dup2(nowhere, _fileno(stderr));
    if (nowhere >= 0)
        _close(nowhere);
}

MutedErrors::~MutedErrors()
{
    std::fflush(stderr);
    if (m_kept < 0)
        return;
    _dup2(m_kept, _fileno(stderr));
    _close(m_kept);
}
