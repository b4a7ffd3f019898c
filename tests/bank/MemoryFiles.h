// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

#include <map>

// Files that lie nowhere.
class MemoryFiles : public Bank::Files {
public:
    using Contents = std::map<QString, QByteArray>;
    explicit MemoryFiles(Contents contents)
        : m_contents(std::move(contents))
    {
    }

    std::optional<QByteArray> Read(const QString &path) const override
    {
        const auto found = m_contents.find(path);
        return found == m_contents.end() ? std::nullopt : std::optional(found->second);
    }
    QStringList Paths() const override
    {
        QStringList paths;
        for (const auto &each : m_contents)
            paths += each.first;
        return paths;
    }

private:
    Contents m_contents;
};

// A package with this content, as a folder is.
inline Bank::Source PackageOf(MemoryFiles::Contents contents)
{
    return { QStringLiteral("package"), {}, std::make_shared<MemoryFiles>(std::move(contents)) };
}
