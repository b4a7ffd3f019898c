// SPDX-License-Identifier: Apache-2.0
#include "ui/SystemLook.h"
#include "ui/Theme.h"

#include "tests/support/Sketch.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QProcess>

using namespace Windows;
using Groups = QMap<QString, QVariantMap>;

namespace {

const QString Name = u"org.freedesktop.portal.Desktop"_s;
const QString Appearance = u"org.freedesktop.appearance"_s;
const QString Accessibility = u"org.gnome.desktop.a11y.interface"_s;

}

// The settings of a desktop as its portal offers them.
class FakePortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    void Change(const QString &group, const QVariant &settings)
    {
        Settings = settings;
        Q_EMIT SettingChanged(group, u"any"_s, QDBusVariant(0));
    }
    void Answer() { QDBusConnection(u"portal"_s).send(Question.createReply(Settings)); }

    QVariant Settings;
    bool IsSlow = false;
    int Questions = 0;
    QDBusMessage Question;

public Q_SLOTS:
    void ReadAll(const QStringList &)
    {
        setDelayedReply(true);
        ++Questions;
        Question = message();
        if (!IsSlow)
            Answer();
    }

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);
};

namespace {

QVariant Both(const QVariantMap &appearance, const QVariantMap &accessibility = {})
{
    return QVariant::fromValue(Groups{ { Appearance, appearance }, { Accessibility, accessibility } });
}

// A bus for this program alone, which could start a portal.
class PortalTest : public testing::Test {
protected:
    PortalTest()
    {
        const QString address = u"unix:path="_s + Sandbox::Path(u"bus"_s);
        Sandbox::WriteFile(Sandbox::Path(u"services/portal.service"_s),
                           "[D-BUS Service]\nName=" + Name.toUtf8() + "\nExec=/usr/bin/touch "
                               + Sandbox::Path(u"started"_s).toUtf8() + '\n');
        Sandbox::WriteFile(Sandbox::Path(u"bus.conf"_s),
                           "<busconfig><type>session</type><listen>" + address.toUtf8() + "</listen><servicedir>"
                               + Sandbox::Path(u"services"_s).toUtf8()
                               + "</servicedir><policy context='default'><allow send_destination='*'/><allow "
                                 "receive_sender='*'/><allow own='*'/>"
                                 "</policy></busconfig>");
        Daemon.start(u"dbus-daemon"_s,
                     { u"--nofork"_s, u"--print-address"_s, u"--config-file="_s + Sandbox::Path(u"bus.conf"_s) });
        if (!Daemon.waitForReadyRead())
            qFatal("no dbus-daemon");
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        qDBusRegisterMetaType<Groups>();
        Bus.emplace(QDBusConnection::connectToBus(address, u"portal"_s));
        Bus->registerObject(u"/org/freedesktop/portal/desktop"_s, &Portal,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    }
    ~PortalTest() override
    {
        QDBusConnection::disconnectFromBus(u"portal"_s);
        Daemon.kill();
        Daemon.waitForFinished();
        Theme::Apply(*qApp);
    }

    QProcess Daemon;
    FakePortal Portal;
    std::optional<QDBusConnection> Bus;
};

}

// A window that is open has each look as the user chooses it; no service is started for it.
TEST_F(PortalTest, FollowsTheDesktop)
{
    using Theme::Look;
    QLabel open(u"text"_s);
    Theme::Follow(*qApp);
    Show(&open);
    EXPECT_EQ(Theme::CurrentLook(), Look::Light);
    Portal.Settings = Both({ { u"color-scheme"_s, 1u } });
    Bus->registerService(Name);
    const auto shows = [&](Look look, QRgb ground) {
        return QTest::qWaitFor([&] { return Theme::CurrentLook() == look && open.grab().toImage().pixel(0, 0) == ground; });
    };
    const QRgb light = qRgb(243, 246, 250), dark = qRgb(32, 37, 43), black = qRgb(0, 0, 0);
    EXPECT_TRUE(shows(Look::Dark, dark)) << "a portal that comes later";
    const struct {
        QString Group;
        QVariant Settings;
        Look Expected;
        QRgb Ground;
    } rows[] = {
        { Appearance, Both({ { u"color-scheme"_s, 2u } }), Look::Light, light },
        { Appearance, Both({ { u"color-scheme"_s, 1u }, { u"contrast"_s, 1u } }), Look::HighContrast, black },
        { Appearance, Both({ { u"color-scheme"_s, 0u }, { u"contrast"_s, 0u } }), Look::Light, light },
        { Accessibility, Both({ { u"color-scheme"_s, 2u } }, { { u"high-contrast"_s, true } }), Look::HighContrast, black },
        { Accessibility, Both({ { u"color-scheme"_s, 1u } }, { { u"high-contrast"_s, false } }), Look::Dark, dark },
        { Appearance, u"what is no table of settings"_s, Look::Light, light },
        { Appearance, Both({ { u"color-scheme"_s, u"dark"_s } }), Look::Light, light },
    };
    for (const auto &row : rows) {
        const int questions = Portal.Questions;
        Portal.Change(row.Group, row.Settings);
        EXPECT_TRUE(QTest::qWaitFor([&] { return Portal.Questions == questions + 1; })) << &row - rows;
        EXPECT_TRUE(shows(row.Expected, row.Ground)) << &row - rows;
    }
    const int questions = Portal.Questions;
    Portal.Change(u"org.example"_s, Both({ { u"color-scheme"_s, 1u } }));
    Portal.Change(Appearance, Portal.Settings);
    EXPECT_TRUE(shows(Look::Dark, dark));
    EXPECT_EQ(Portal.Questions, questions + 1) << "other settings are of no interest";

    // One that takes its time holds nobody, and is heard all the same.
    Portal.IsSlow = true;
    QList<bool> looks;
    QElapsedTimer time;
    time.start();
    SystemLook::Watch(*qApp, [&](const SystemLook &look) { looks += look.IsDark; });
    EXPECT_LT(time.elapsed(), 5'000);
    EXPECT_EQ(looks, QList<bool>{ true });
    Portal.Settings = Both({ { u"color-scheme"_s, 2u } });
    Portal.Answer();
    EXPECT_TRUE(QTest::qWaitFor([&] { return looks == QList<bool>{ true, false }; }));
    EXPECT_FALSE(QFileInfo::exists(Sandbox::Path(u"started"_s)));
}

#include "PortalTest_unix.moc"
