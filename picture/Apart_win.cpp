// SPDX-License-Identifier: Apache-2.0
#include "picture/Apart.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace Apart {

namespace {

// While an object exists, what is written to the error output is lost.
class MutedErrors {
public:
    MutedErrors()
        : m_kept(_dup(_fileno(stderr)))
    {
        std::fflush(stderr);
        const int nowhere = _open("NUL", _O_WRONLY);
        if (m_kept >= 0 && nowhere >= 0)
            _dup2(nowhere, _fileno(stderr));
        if (nowhere >= 0)
            _close(nowhere);
    }
    ~MutedErrors()
    {
        std::fflush(stderr);
        if (m_kept < 0)
            return;
        _dup2(m_kept, _fileno(stderr));
        _close(m_kept);
    }
    MutedErrors(const MutedErrors &) = delete;
    MutedErrors &operator=(const MutedErrors &) = delete;

private:
    int m_kept; // a copy of the descriptor; below 0 when there is none
};

}

QImage Run(const std::function<QImage()> &work)
{
    const MutedErrors muted;
    return work();
}

}
