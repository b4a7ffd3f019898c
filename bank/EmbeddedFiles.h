// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Files.h"

#include <QHash>

#include <memory>

namespace Bank {

// Files that stand in a document as base64, decoded when they are read; what is not
// among them is looked for in the others.
class EmbeddedFiles : public Files {
public:
    explicit EmbeddedFiles(std::shared_ptr<const Files> others)
        : m_others(std::move(others))
    {
    }

    // Whether a file of the path can be added: none is there, or the same.
    bool HasRoomFor(const QString &path, const QByteArray &base64) const;
    void Add(const QString &path, const QByteArray &base64) { m_base64.insert(path, base64); }

    std::optional<QByteArray> Read(const QString &path) const override;

private:
    QHash<QString, QByteArray> m_base64;
    std::shared_ptr<const Files> m_others; // null for none
};

}
