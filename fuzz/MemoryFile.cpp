// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFile.h"

#include <QFile>

#include <cstdio>
#include <cstdlib>

void Require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

void MemoryFile::Fill(const uint8_t *data, size_t size) const
{
    QFile file(m_path);
    Require(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered), "an empty file");
    const auto length = static_cast<qint64>(size);
    Require(file.write(reinterpret_cast<const char *>(data), length) == length, "a filled file");
}

std::string MemoryFile::Bytes() const
{
    QFile file(m_path);
    Require(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered), "a read file");
    return file.readAll().toStdString();
}
