// SPDX-License-Identifier: Apache-2.0
#include "bank/EmbeddedFiles.h"

namespace Bank {

bool EmbeddedFiles::HasRoomFor(const QString &path, const QByteArray &base64) const
{
    const auto found = m_base64.constFind(path);
    return found == m_base64.constEnd() || *found == base64;
}

std::optional<QByteArray> EmbeddedFiles::Read(const QString &path) const
{
    const auto found = m_base64.constFind(path);
    if (found != m_base64.constEnd())
        return QByteArray::fromBase64(*found);
    return m_others ? m_others->Read(path) : std::nullopt;
}

}
