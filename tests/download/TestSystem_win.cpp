// SPDX-License-Identifier: Apache-2.0
#include "tests/download/TestSystem.h"

#include "tests/support/Sandbox.h"

#include <QDir>

#include <winsock2.h>

using namespace Qt::Literals::StringLiterals;

// The program is the same for all; what it is to do stands behind it.
QByteArray FakePack::Bytes() const
{
    static const QByteArray program = Sandbox::ReadFile(QStringLiteral(FAKE_PACK));
    const QStringList lines = { Sandbox::Path(u"mark-"_s + QString::fromUtf8(Name)), QDir::toNativeSeparators(CopyFrom),
                                QDir::toNativeSeparators(CopyTo), RemovesItself ? u"remove"_s : QString() };
    const QString text = lines.join(u'\n') + u'\n';
    return program + QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2) + QByteArray(Padding, '\0');
}

void ResetOnClose(qintptr descriptor)
{
    const linger none = { 1, 0 };
    setsockopt(static_cast<SOCKET>(descriptor), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&none), sizeof none);
}

QString AsReset(const QString &end)
{
    if (end.startsWith(u"200"))
        return end.endsWith(u" cut") ? end : end + QStringLiteral(" cut");
    return end == u"52" || end == u"8" ? QStringLiteral("56") : end;
}
