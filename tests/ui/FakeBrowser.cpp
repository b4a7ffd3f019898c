// SPDX-License-Identifier: Apache-2.0
#include "tests/ui/FakeBrowser.h"

#include "tests/support/Sandbox.h"

#include <QFile>
#include <QTest>

bool FakeBrowser::HasOpened() const
{
    return QFile::exists(m_log);
}

QString FakeBrowser::Opened()
{
    if (!QTest::qWaitFor([this] { return HasOpened(); }))
        return QStringLiteral("nothing");
    const QString opened = QString::fromUtf8(Sandbox::ReadFile(m_log));
    QFile::remove(m_log);
    return opened;
}
