// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ui/SystemLook.h"

#include <QDBusConnection>
#include <QObject>

class QDBusMessage;

// The settings of a free desktop, read from its portal on the session bus.
class DesktopPortal : public QObject {
    Q_OBJECT
public:
    // IsDark holds where the desktop has no portal, or one that does not say.
    DesktopPortal(QObject &parent, bool isDark, SystemLook::Receiver receiver);

    // Calls the receiver before it returns, and again with each later answer. It waits for
    // the first one for a short time only.
    void Start();

Q_SIGNALS:
    void Answered();

private Q_SLOTS:
    void OnSettingChanged(const QString &group);

private:
    void Ask();
    void Take(const QDBusMessage &reply);

    QDBusConnection m_bus;
    bool m_isDark;
    bool m_hasAnswer = false;
    SystemLook::Receiver m_receiver;
};
