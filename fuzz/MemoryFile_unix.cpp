// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFile.h"

#include <sys/mman.h>

using namespace Qt::Literals::StringLiterals;

MemoryFile::MemoryFile()
    : m_path(u"/proc/self/fd/%1"_s.arg(memfd_create("exam", MFD_CLOEXEC)))
{
}
