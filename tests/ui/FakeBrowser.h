// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Sandbox.h"

#include <QFile>
#include <QTest>

// While it lives, the desktop has a browser that writes down what it is asked to open.
class FakeBrowser {
public:
    FakeBrowser();
    ~FakeBrowser();
    Q_DISABLE_COPY(FakeBrowser)

    // A file that is just renamed cannot be read yet everywhere.
    bool HasOpened() const { return QFile(m_log).open(QIODevice::ReadOnly); }
    // What was opened, once something was; "|" stands between several parameters.
    QString Opened()
    {
        const bool hasOpened = QTest::qWaitFor([this] { return HasOpened(); });
        const QString opened = hasOpened ? QString::fromUtf8(Sandbox::ReadFile(m_log)) : QStringLiteral("nothing");
        QFile::remove(m_log);
        return opened;
    }

    // Leaves no browser.
    void Remove();
    // Leaves one that the system cannot start; false where it would not say so.
    bool Spoil();

private:
    QString m_log = Sandbox::Path(QStringLiteral("browser.log"));
    QString m_before; // what the desktop had
};
