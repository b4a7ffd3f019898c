// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <string>

// Ends the program, with a word on what was violated, unless the condition holds.
void Require(bool condition, const char *what);

// A file that has a path and lies in memory, as far as the system can do that.
class MemoryFile {
public:
    MemoryFile();

    const QString &Path() const { return m_path; }
    void Fill(const uint8_t *data, size_t size) const;
    std::string Bytes() const;

private:
    QString m_path;
};
