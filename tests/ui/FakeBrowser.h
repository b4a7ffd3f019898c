// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// While it lives, the desktop has a browser that writes down what it is asked
// to open.
class FakeBrowser {
public:
    FakeBrowser();
    ~FakeBrowser();
    FakeBrowser(const FakeBrowser &) = delete;
    FakeBrowser &operator=(const FakeBrowser &) = delete;

    bool HasOpened() const;
    // What was opened, once something was; "|" stands between several parameters.
    QString Opened();

    // Leaves no browser.
    void Remove();
    // Leaves one that the system cannot start; false where it would not say so.
    bool Spoil();

private:
    QString m_log;
    // What the desktop had before.
    QString m_before;
};
