// SPDX-License-Identifier: Apache-2.0
#include "download/view/frmExamDownloader.h"

#include "common/Registry.h"
#include "tests/download/TestSystem.h"
#include "tests/download/FaultServer.h"
#include "tests/support/Windows.h"
#include "ui/Theme.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <ctime>

namespace {

constexpr auto KeepsOpen = Answer::KeepsOpen;

// The real window over HTTP.
class DownloadWindowTest : public testing::Test {
protected:
    DownloadWindowTest()
    {
        QDir(Sandbox::ExamsFolder()).removeRecursively();
        WasRun();
        for (const QString &name : { u"User ID"_s, u"Password"_s })
            Registry::WriteValue(Credentials::RegistryKey, name, QString(), Registry::Text, Registry::CurrentUser);
        Registry::WriteValue(Credentials::RegistryKey, Credentials::EndpointName, Server.Url(), Registry::Text,
                             Registry::CurrentUser);
        Server.On("LOGIN?", Answer::Whole("LOGIN?status=OK&sid=s7;"));
        Server.On("LIST?", Answer::Whole("LIST?status=OK&data=101;"));
        Server.On("eid=", Answer::Whole(FakePack{ "pack" }.Bytes()));
        Server.On("REPORT?", Answer::Whole("REPORT;"));
    }
    static bool WasRun() { return QFile::remove(Sandbox::Path(u"mark-pack"_s)); }

    void Open(const QString &user = u"me"_s, const QString &password = u"pw"_s)
    {
        Window = std::make_unique<frmExamDownloader>(nullptr);
        Windows::Show(Window.get());
        if (!user.isNull()) {
            Edit(u"txtEmail"_s)->setText(user);
            Edit(u"txtPassword"_s)->setText(password);
        }
    }
    QLineEdit *Edit(const QString &name) { return Windows::Find<QLineEdit>(Window.get(), name); }
    QString Text(const QString &label) { return Windows::Find<QLabel>(Window.get(), label)->text(); }
    QString Caption() { return Windows::Find<QPushButton>(Window.get(), u"cmdAction"_s)->text(); }
    QWidget *Bar() { return Windows::Find(Window.get(), u"shpProgress"_s); }
    void Press() { Windows::Click(Window.get(), u"cmdAction"_s); }
    bool WaitForCaption(const QString &caption)
    {
        return QTest::qWaitFor([&] { return Caption() == caption; }, Windows::Patience);
    }
    // The caption, the status and the three labels; everything can be used at any time.
    QString Shown()
    {
        for (const QString &name : { u"cmdAction"_s, u"txtEmail"_s, u"txtPassword"_s, u"chkRemember"_s })
            EXPECT_TRUE(Windows::Find(Window.get(), name)->isEnabled()) << name.toStdString();
        const QStringList labels = { Text(u"lblInfo"_s), Text(u"lblTotal"_s), Text(u"lblDownloaded"_s), Text(u"lblRate"_s) };
        return Caption() + u'|' + labels.join(u'|');
    }

    Messages Boxes;
    FaultServer Server;
    std::unique_ptr<frmExamDownloader> Window;
};

}

TEST_F(DownloadWindowTest, WholeRun)
{
    const QString exam = Sandbox::Path(u"exam"_s);
    NewExam({ u"101"_s })->Save(exam);
    const QString place = Sandbox::ExamsFolder() + u"/Pack/Pack.exam"_s;
    Server.On("eid=", Answer::Whole(FakePack{ "pack", exam, place, false, 3'000'000 }.Bytes()));
    Open(u"  a&b "_s, u" x=1"_s);
    QStringList received, installing;
    int widest = 0;
    const auto look = [&] {
        received.append(Text(u"lblDownloaded"_s));
        widest = std::max(widest, Bar()->width());
        return Caption() == "&Close"_L1;
    };
    // Nothing runs while a pack does: what is to be seen then has been painted.
    QObject::connect(Window.get(), &frmExamDownloader::Installing, Window.get(),
                     [&](const QString &examID) { installing.append(examID + u' ' + Text(u"lblInfo"_s)); });
    QTimer often;
    QObject::connect(&often, &QTimer::timeout, &often, look);
    often.start(0);
    Press();
    ASSERT_TRUE(QTest::qWaitFor(look, Windows::Patience)) << Shown().toStdString();
    QElapsedTimer sinceEnd;
    sinceEnd.start();
    const QByteArray post = "POST /PackCourier.asp HTTP/1.1\n";
    const QByteArray report = Server.Requests.value(3);
    EXPECT_EQ(Server.Requests.mid(0, 3),
              (QByteArrayList{ post + "LOGIN?email=a%26b&pwd=x%3D1;", post + "LIST?sid=s7;",
                               "GET /PackCourier.asp?sid=s7&eid=101 HTTP/1.1\n" }));
    EXPECT_TRUE(report.startsWith(post + "REPORT?sid=s7&list=101&time=")) << report.constData();
    const QString time = QString::fromLatin1(report).section(u"&time="_s, 1);
    EXPECT_TRUE(time.contains(QString::number(QDate::currentDate().year())) && time.count(u':') == 2) << time.toStdString();
    EXPECT_TRUE(Globals::IsExamInstalled(u"101"_s));
    EXPECT_TRUE(QDir(QString::fromLocal8Bit(qgetenv("TMPDIR"))).entryList({ u"*.exe"_s }).isEmpty()) << "the pack is deleted";
    EXPECT_EQ(installing, QStringList{ u"101 Installing: 101"_s });
    received.removeDuplicates();
    EXPECT_GE(received.size(), 2) << "bytes are counted";
    EXPECT_GE(widest, Bar()->parentWidget()->width() - 4) << "nearly the whole";
    EXPECT_EQ(Shown(), u"&Close|Completed|NA|NA|NA"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Window->isVisible(); }, 3000)) << "closes by itself";
    EXPECT_GT(sinceEnd.elapsed(), 500) << "but can be read before";
}

// What is shown in each state, and where: the bar grows inside its frame, and
// nothing overlaps.
TEST_F(DownloadWindowTest, States)
{
    Server.On("eid=", Answer{ "", KeepsOpen });
    Server.On("LOGIN?", Answer::Whole("LOGIN?status=NO;"));
    Open(u""_s, u""_s);
    EXPECT_EQ(Shown(), u"&Start||NA|NA|NA"_s);
    EXPECT_EQ(Edit(u"txtPassword"_s)->echoMode(), QLineEdit::Password);
    QStringList captions;
    for (const QLabel *label : Window->findChildren<QLabel *>())
        captions.append(label->text());
    for (const QString &caption : { u"&User ID:"_s, u"&Password:"_s, u"Remember"_s, u"Size:"_s, u"Received:"_s, u"Rate:"_s })
        EXPECT_TRUE(captions.contains(caption)) << caption.toStdString();
    EXPECT_EQ(Bar()->width(), 0);
    Boxes.Expect(u"Please enter your User ID."_s, ExclamationMessage);
    Press();
    EXPECT_EQ(Window->focusWidget(), Edit(u"txtEmail"_s));
    QTest::keyClicks(Edit(u"txtEmail"_s), u"me"_s);
    Boxes.Expect(u"Please enter your password."_s, ExclamationMessage);
    Press();
    EXPECT_EQ(Window->focusWidget(), Edit(u"txtPassword"_s));
    QTest::keyClicks(Edit(u"txtPassword"_s), u"pw"_s);
    Boxes.Expect(u"Cannot continue because the User ID or password is incorrect"_s, CriticalMessage);
    Press();
    EXPECT_EQ(Shown(), u"&Cancel|Connecting to Practorium Download Server|NA|NA|NA"_s);
    ASSERT_TRUE(WaitForCaption(u"&Start"_s));
    EXPECT_EQ(Text(u"lblInfo"_s), u"Authentication failed!"_s);
    EXPECT_EQ(Window->focusWidget(), Edit(u"txtEmail"_s));
    const QWidget *room = Windows::Find(Window.get(), u"picProgress"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return Bar()->geometry() == room->rect().adjusted(1, 1, -1, -1); })) << "full";

    Server.On("LOGIN?", Answer::Whole("LOGIN?status=OK&sid=s7;"));
    Press();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Server.Count("eid=101") > 0; }, Windows::Patience));
    EXPECT_EQ(Shown(), u"&Cancel|Downloading: 101.exe|NA|NA|NA"_s);
    Window->UpdateStatus(u"Downloading: 101.exe"_s, 2'000'000, 1'000'000, 2000);
    EXPECT_EQ(Shown(), u"&Cancel|Downloading: 101.exe|1.91 MB|977 KB|2 KB/s"_s);
    EXPECT_NEAR(Bar()->width(), (room->width() - 2) / 2, 1);
    const QImage picture = Window->grab().toImage();
    const QPoint corner = room->mapTo(Window.get(), QPoint(0, 0));
    const auto painted
        = [&](int x) { return picture.pixelColor((corner + QPoint(x, room->height() / 2)) * picture.devicePixelRatio()); };
    EXPECT_EQ(painted(room->width() / 4), QColor(Theme::Blue));
    EXPECT_EQ(painted(room->width() * 3 / 4), QColor(Qt::white));
    QRect before;
    for (const QString &name : { u"txtEmail"_s, u"txtPassword"_s, u"chkRemember"_s, u"lblInfo"_s, u"picProgress"_s,
                                 u"lblTotal"_s, u"lblDownloaded"_s, u"lblRate"_s, u"cmdAction"_s }) {
        const QRect place = Windows::Find(Window.get(), name)->geometry();
        EXPECT_TRUE(Window->rect().contains(place) && (place.top() > before.bottom() || place.left() > before.right()))
            << name.toStdString();
        before = place;
    }
    Window->hide();
    Window->show();
    EXPECT_NEAR(Bar()->width(), (room->width() - 2) / 2, 1) << "what comes back keeps its progress";
    Press();
    EXPECT_FALSE(Window->isVisible());
    EXPECT_FALSE(WasRun());

    Server.On("LOGIN?", Answer::Whole("", "404 Not Found"));
    Open();
    Boxes.Expect(u"Error (0x194) Not Found\r\nUnable to perform this operation. Make sure you are connected to Internet."_s,
                 CriticalMessage);
    Press();
    ASSERT_TRUE(WaitForCaption(u"&Close"_s));
    EXPECT_TRUE(Window->isVisible());
    Press();
    EXPECT_FALSE(Window->isVisible());
}

TEST_F(DownloadWindowTest, Remembered)
{
    Server.On("LOGIN?", Answer{ "", KeepsOpen });
    Open(u" me "_s, u" p\u00E4ss;"_s);
    const auto isTicked = [this] { return Windows::Find<QCheckBox>(Window.get(), u"chkRemember"_s)->isChecked(); };
    auto *label = Windows::Find(Window.get(), u"lblRemember"_s);
    QTest::mousePress(label, Qt::LeftButton);
    QTest::mouseRelease(label, Qt::LeftButton, {}, QPoint(-5, -5));
    QTest::mouseClick(label, Qt::RightButton);
    EXPECT_FALSE(isTicked());
    for (const bool isRemembered : { true, false }) {
        QTest::mouseClick(Windows::Find(Window.get(), u"lblRemember"_s), Qt::LeftButton);
        EXPECT_EQ(isTicked(), isRemembered);
        Press();
        Window->close();
        Open(QString());
        EXPECT_EQ(isTicked(), isRemembered);
        EXPECT_EQ(Edit(u"txtEmail"_s)->text() + Edit(u"txtPassword"_s)->text(), isRemembered ? u" me  p\u00E4ss;"_s : u""_s);
    }
}

// However and whenever the window is closed, it is closed at once and gone right
// behind; nothing of a pack is run and the service hears no more.
TEST_F(DownloadWindowTest, Closed)
{
    const std::pair<const char *, std::function<void()>> ways[] = {
        { "button", [this] { Press(); } },
        { "close box", [this] { Window->close(); } },
        { "Escape", [this] { QTest::keyClick(Window.get(), Qt::Key_Escape); } },
        { "end of the program", [] { QCoreApplication::quit(); } },
    };
    const QByteArray begun = "HTTP/1.1 200 OK\r\nContent-Length: 900\r\n\r\nLOGIN?status=NO;";
    for (const auto &[to, reply] : { std::pair{ "LOGIN?", Answer{ "", KeepsOpen } },
                                     { "eid=", Answer{ begun, KeepsOpen } },
                                     { "LOGIN?", Answer{ begun, KeepsOpen } } }) {
        Server.On(to, reply);
        for (const auto &[way, close] : ways) {
            SCOPED_TRACE(testing::Message() << to << way);
            Server.Requests.clear();
            Server.Meanwhile(to, [&, close = close] { QTimer::singleShot(50, Window.get(), close); });
            Windows::RunLoop([&] {
                Open();
                QTimer::singleShot(0, Window.get(), [this] { Press(); });
                Window->exec();
                EXPECT_FALSE(Window->isVisible());
                Window.reset();
                QCoreApplication::quit();
            });
            EXPECT_EQ(Server.Count(to), 1);
            EXPECT_TRUE(Server.Requests.last().contains(to));
        }
        Server.On("LOGIN?", Answer::Whole("LOGIN?status=OK&sid=s7;"));
    }
    EXPECT_FALSE(WasRun());
}

// A key that is held down presses the button once.
TEST_F(DownloadWindowTest, EnterHeldDown)
{
    Server.On("LOGIN?", Answer{ "", KeepsOpen });
    Open();
    const auto enter = [this](bool isRepeated) {
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, u"\r"_s, isRepeated);
        QApplication::sendEvent(Edit(u"txtPassword"_s), &key);
    };
    enter(true);
    EXPECT_EQ(Caption(), u"&Start"_s) << "meant for another window";
    enter(false);
    enter(true);
    EXPECT_EQ(Caption(), u"&Cancel"_s);
    EXPECT_TRUE(Window->isVisible());
    EXPECT_TRUE(QTest::qWaitFor([this] { return Bar()->width() > 1; })) << "the bar creeps meanwhile";
}

// A server's text of any kind is shown as it stands, and costs no more than it must.
TEST_F(DownloadWindowTest, HostileTexts)
{
    Server.On("LIST?", Answer::Whole("LIST?status=OK&data=" + QByteArray(900'000, 'w') + ';'));
    Server.On("eid=", Answer{ "", KeepsOpen });
    Open();
    const QSize size = Window->size();
    Press();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Text(u"lblInfo"_s).startsWith(u"Downloading: www"_s); }, Windows::Patience));
    // Of this process, because the machine may be busy with others.
    const std::clock_t before = std::clock();
    Window->grab();
    EXPECT_LT(std::clock() - before, 2 * CLOCKS_PER_SEC);
    EXPECT_EQ(Window->size(), size);
    EXPECT_TRUE(Windows::Find(Window.get(), u"cmdAction"_s)->visibleRegion().contains(QPoint(5, 5))) << "can be pressed";
    Press();
    EXPECT_FALSE(Window->isVisible());

    Server.On("LIST?", Answer::Whole(QByteArray("LIST?status=OK&data=<b>9</b>\0x;", 32)));
    Open();
    Press();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Text(u"lblInfo"_s).startsWith(u"Downloading: "_s); }, Windows::Patience));
    EXPECT_EQ(Text(u"lblInfo"_s), u"Downloading: <b>9</b>"_s) << "up to the NUL";
    EXPECT_EQ(Windows::Find<QLabel>(Window.get(), u"lblInfo"_s)->textFormat(), Qt::PlainText);
}
