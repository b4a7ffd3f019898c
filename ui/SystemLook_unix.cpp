// SPDX-License-Identifier: Apache-2.0
#include "ui/SystemLook.h"

#include "ui/DesktopPortal_unix.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

// Milliseconds that the first window waits for the answer. One that comes later
// changes the look of the windows that are open by then.
constexpr int LongestWait = 150;

const QString Service = u"org.freedesktop.portal.Desktop"_s;
const QString Path = u"/org/freedesktop/portal/desktop"_s;
const QString Settings = u"org.freedesktop.portal.Settings"_s;
const QString Appearance = u"org.freedesktop.appearance"_s;
const QString Accessibility = u"org.gnome.desktop.a11y.interface"_s;

enum ColorScheme : uint { NoPreference = 0, PreferDark = 1, PreferLight = 2 };

// Without an address, or with one that says so, the library would start a bus.
bool HasSessionBus()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return address.isEmpty() ? !folder.isEmpty() && QFileInfo::exists(folder + u"/bus"_s)
                             : !address.startsWith("autolaunch:"_L1);
}

}

void SystemLook::Watch(QApplication &application, Receiver receiver)
{
    const QColor window = application.palette().color(QPalette::Window);
    const bool isDark = window.lightness() < application.palette().color(QPalette::WindowText).lightness();
    if (!HasSessionBus()) {
        receiver({ isDark });
        return;
    }
    (new DesktopPortal(application, isDark, std::move(receiver)))->Start();
}

DesktopPortal::DesktopPortal(QObject &parent, bool isDark, SystemLook::Receiver receiver)
    : QObject(&parent)
    , m_bus(QDBusConnection::sessionBus())
    , m_isDark(isDark)
    , m_receiver(std::move(receiver))
{
}

void DesktopPortal::Start()
{
    // From any sender: with a name the library would ask the bus who has it, and wait.
    // What a signal says is not used.
    m_bus.connect({}, Path, Settings, u"SettingChanged"_s, this, SLOT(OnSettingChanged(QString)));
    auto *watcher = new QDBusServiceWatcher(Service, m_bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &DesktopPortal::Ask);
    QEventLoop wait;
    connect(this, &DesktopPortal::Answered, &wait, &QEventLoop::quit);
    QTimer::singleShot(LongestWait, &wait, &QEventLoop::quit);
    Ask();
    wait.exec(QEventLoop::ExcludeUserInputEvents);
    if (!m_hasAnswer)
        m_receiver({ m_isDark });
}

void DesktopPortal::OnSettingChanged(const QString &group)
{
    if (group == Appearance || group == Accessibility)
        Ask();
}

void DesktopPortal::Ask()
{
    QDBusMessage question = QDBusMessage::createMethodCall(Service, Path, Settings, u"ReadAll"_s);
    question.setArguments({ QStringList{ Appearance, Accessibility } });
    // A desktop without a portal is not to get one by this program.
    question.setAutoStartService(false);
    auto *reply = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
        reply->deleteLater();
        Take(reply->reply());
    });
}

void DesktopPortal::Take(const QDBusMessage &reply)
{
    SystemLook look{ m_isDark };
    if (reply.type() == QDBusMessage::ReplyMessage && reply.signature() == "a{sa{sv}}"_L1) {
        QMap<QString, QVariantMap> groups;
        reply.arguments().first().value<QDBusArgument>() >> groups;
        const QVariantMap appearance = groups.value(Appearance);
        const uint scheme = appearance.value(u"color-scheme"_s).toUInt();
        look.IsDark = scheme == PreferDark || (scheme != PreferLight && m_isDark);
        look.IsHighContrast
            = appearance.value(u"contrast"_s).toUInt() == 1 || groups.value(Accessibility).value(u"high-contrast"_s).toBool();
    }
    m_hasAnswer = true;
    m_receiver(look);
    Q_EMIT Answered();
}
