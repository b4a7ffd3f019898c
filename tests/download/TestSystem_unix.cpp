// SPDX-License-Identifier: Apache-2.0
#include "tests/download/TestSystem.h"

#include "tests/support/Sandbox.h"

#include <QFileInfo>

#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;

QByteArray FakePack::Bytes() const
{
    QString script = u"#!/bin/sh\necho run >> '%1'\n"_s.arg(Sandbox::Path(u"mark-"_s + QString::fromUtf8(Name)));
    if (!CopyFrom.isEmpty())
        script += u"mkdir -p '%1' && cp '%2' '%3'\n"_s.arg(QFileInfo(CopyTo).path(), CopyFrom, CopyTo);
    if (RemovesItself)
        script += u"rm -f \"$0\"\n"_s;
    return script.toUtf8() + "exit 0\n" + QByteArray(Padding, 'x');
}

void ResetOnClose(qintptr descriptor)
{
    const linger none = { 1, 0 };
    setsockopt(static_cast<int>(descriptor), SOL_SOCKET, SO_LINGER, &none, sizeof none);
}

QString AsReset(const QString &end)
{
    return end;
}
