// SPDX-License-Identifier: Apache-2.0
#include "tests/support/SmallDisk.h"

#include <csignal>
#include <sys/resource.h>

struct SmallDisk::System {
    rlimit Before = {};
    void (*Handler)(int) = nullptr;
};

SmallDisk::SmallDisk(quint64 bytes)
    : m_system(std::make_unique<System>())
{
    m_system->Handler = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &m_system->Before);
    const rlimit small = { bytes, m_system->Before.rlim_max };
    setrlimit(RLIMIT_FSIZE, &small);
}

SmallDisk::~SmallDisk()
{
    setrlimit(RLIMIT_FSIZE, &m_system->Before);
    std::signal(SIGXFSZ, m_system->Handler);
}

const char *SmallDisk::WhyNot()
{
    return nullptr;
}
