// SPDX-License-Identifier: Apache-2.0
#include "download/view/frmExamDownloader.h"

#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "tests/download/FakePack.h"
#include "tests/download/FaultServer.h"
#include "tests/support/Sketch.h"
#include "ui/Theme.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

namespace {

const Answer Silence{ "", true };
const QStringList Entries = { u"txtEmail"_s, u"txtPassword"_s, u"chkRemember"_s };

// The real window over HTTP.
class DownloadWindowTest : public testing::Test {
protected:
    DownloadWindowTest()
    {
        Registry::WriteValue(ServiceKey, Credentials::EndpointName, Server.Url(), Registry::Text, Registry::CurrentUser);
        Server.On("LOGIN?", Right);
        Server.On("LIST?", Answer::Whole("LIST?status=OK&data=101;"));
        Server.On("eid=", Answer::Whole(FakePack::Bytes(3'000'000)));
        Server.On("REPORT?", Answer::Whole("REPORT;"));
    }
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
    static bool WaitFor(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, Windows::Patience); }
    // The caption, the status and the three labels; everything can be used at any time.
    QString Shown()
    {
        for (const QString &name : Entries + QStringList{ u"cmdAction"_s })
            EXPECT_TRUE(Windows::Find(Window.get(), name)->isEnabled()) << name.toStdString();
        const QStringList labels = { Text(u"lblInfo"_s), Text(u"lblTotal"_s), Text(u"lblDownloaded"_s), Text(u"lblRate"_s) };
        return Caption() + u'|' + labels.join(u'|');
    }

    const Answer Right = Answer::Whole("LOGIN?status=OK&sid=s7;");
    Messages Boxes;
    FaultServer Server;
    std::unique_ptr<frmExamDownloader> Window;
};

}

TEST_F(DownloadWindowTest, WholeRun)
{
    Open();
    QStringList received, installing;
    int widest = 0;
    // Nothing runs while a pack does: what is to be seen then has been painted.
    QObject::connect(Window.get(), &frmExamDownloader::Installing, Window.get(),
                     [&](const QString &examID) { installing.append(examID + u' ' + Text(u"lblInfo"_s)); });
    QTimer often;
    QObject::connect(&often, &QTimer::timeout, &often, [&] {
        received.append(Text(u"lblDownloaded"_s));
        widest = std::max(widest, Bar()->width());
    });
    often.start(0);
    Press();
    ASSERT_TRUE(WaitFor([&] { return Shown() == "&Close|Completed|NA|NA|NA"_L1; })) << Shown().toStdString();
    EXPECT_EQ(installing, QStringList{ u"101 Installing: 101"_s });
    EXPECT_GE(QSet(received.begin(), received.end()).size(), 2) << "bytes are counted";
    EXPECT_GE(widest, Bar()->parentWidget()->width() - 4) << "nearly the whole";
    EXPECT_TRUE(FakePack::Runs() == 1 && !Server.Requests.value(2).contains("Content-Length")) << "a GET alone";
    EXPECT_TRUE(WaitFor([&] { return !Window->isVisible(); })) << "closes by itself";
}

// What is shown in each state, and where: the bar grows inside its frame, and
// nothing overlaps.
TEST_F(DownloadWindowTest, States)
{
    Server.On("eid=", Silence);
    Server.On("LOGIN?", Answer::Whole("LOGIN?status=NO;"));
    Open(u""_s, u""_s);
    EXPECT_EQ(Shown(), u"&Start||NA|NA|NA"_s);
    EXPECT_EQ(Edit(u"txtPassword"_s)->echoMode(), QLineEdit::Password);
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
    ASSERT_TRUE(WaitFor([&] { return Shown() == "&Start|Authentication failed!|NA|NA|NA"_L1; }));
    EXPECT_EQ(Window->focusWidget(), Edit(u"txtEmail"_s));
    const QWidget *room = Windows::Find(Window.get(), u"picProgress"_s);
    ASSERT_TRUE(WaitFor([&] { return Bar()->geometry() == room->rect().adjusted(1, 1, -1, -1); })) << "full";

    Server.On("LOGIN?", Right);
    Press();
    ASSERT_TRUE(WaitFor([&] { return Shown() == "&Cancel|Downloading: 101.exe|NA|NA|NA"_L1; }));
    Window->UpdateStatus(u"Downloading: 101.exe"_s, 2'000'000, 1'000'000, 2000);
    EXPECT_EQ(Shown(), u"&Cancel|Downloading: 101.exe|1.91 MB|977 KB|2 KB/s"_s);
    const QImage picture = Window->grab().toImage();
    const auto painted = [&](int x) {
        return picture.pixelColor(room->mapTo(Window.get(), QPoint(x, room->height() / 2)) * picture.devicePixelRatio());
    };
    EXPECT_NE(painted(0), QColor(Qt::white)) << "a frame";
    EXPECT_EQ(painted(room->width() / 2 - 3), QColor(Brand::Blue));
    EXPECT_EQ(painted(room->width() / 2 + 3), QColor(Qt::white));
    EXPECT_EQ(Windows::Sketch(Window.get(), true),
              (QStringList{
                  u"Download Exams"_s, u"20: 22 &User ID: 12 me 22"_s, u"8: 22 &Password: 12 pw 22"_s,
                  u"8: ... [ ] chkRemember 6 Remember ..."_s, u"18: 22 Downloading: 101.exe 22"_s, u"13: 23 shpProgress ..."_s,
                  u"13: 22 Size: 12 1.91 MB 12 Received: 12 977 KB 12 Rate: 12 2 KB/s 22"_s, u"18: ... &Cancel 22"_s }));
    QString names;
    for (const QString &name : Entries + QStringList{ u"picProgress"_s })
        names += Windows::Find(Window.get(), name)->accessibleName() + u'|';
    EXPECT_EQ(names, u"User ID|Password|Remember user ID and password|Progress|"_s);
    EXPECT_EQ(Windows::Find(Window.get(), u"chkRemember"_s)->x(), Edit(u"txtPassword"_s)->x());
    QTest::keyClick(Window.get(), Qt::Key_P, Qt::AltModifier);
    EXPECT_EQ(Window->focusWidget(), Edit(u"txtPassword"_s));
    const int width = Bar()->width();
    Window->hide();
    Window->show();
    EXPECT_EQ(Bar()->width(), width) << "what comes back keeps its progress";
    Press();
    EXPECT_FALSE(Window->isVisible());
    EXPECT_EQ(FakePack::Runs(), 0);
}

TEST_F(DownloadWindowTest, Remembered)
{
    Server.On("LOGIN?", Silence);
    Open(u" me "_s, u" p\u00E4ss;"_s);
    const auto isTicked = [this] { return Windows::Find<QCheckBox>(Window.get(), u"chkRemember"_s)->isChecked(); };
    auto *label = Windows::Find(Window.get(), u"lblRemember"_s);
    QTest::mousePress(label, Qt::LeftButton);
    QTest::mouseRelease(label, Qt::LeftButton, {}, QPoint(-5, -5));
    QTest::mouseClick(label, Qt::RightButton);
    EXPECT_FALSE(isTicked());
    for (const bool isRemembered : { true, false }) {
        Windows::Click(Window.get(), u"lblRemember"_s);
        EXPECT_EQ(isTicked(), isRemembered);
        Press();
        EXPECT_TRUE(WaitFor([&] { return Bar()->width() > 1; })) << "the bar creeps";
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
    const Answer begun{ "HTTP/1.1 200 OK\r\nContent-Length: 900\r\n\r\nLOGIN?status=NO;", true };
    const struct {
        const char *Name, *To;
        Answer Reply;
        std::function<void()> Close;
    } rows[] = {
        { "button before the answer", "LOGIN?", Silence, [this] { Press(); } },
        { "close box in a pack", "eid=", begun, [this] { Window->close(); } },
        { "Escape in a message", "LOGIN?", begun, [this] { QTest::keyClick(Window.get(), Qt::Key_Escape); } },
        { "end of the program in a message", "LOGIN?", begun, [] { QCoreApplication::quit(); } },
        { "end of the program in a pack", "eid=", begun, [] { QCoreApplication::quit(); } },
    };
    for (const auto &row : rows) {
        Server.On("LOGIN?", Right);
        Server.On(row.To, row.Reply);
        Server.Requests.clear();
        Server.Seen = [&](const QByteArray &request) {
            if (request.contains(row.To))
                QTimer::singleShot(50, Window.get(), row.Close);
        };
        Windows::RunLoop([&] {
            Open();
            QTimer::singleShot(0, Window.get(), [this] { Press(); });
            Window->exec();
            EXPECT_FALSE(Window->isVisible()) << row.Name;
            Window.reset();
            QCoreApplication::quit();
        });
        EXPECT_EQ(Server.Requests.size(), qstrcmp(row.To, "eid=") == 0 ? 3 : 1) << row.Name;
    }
    EXPECT_EQ(FakePack::Runs(), 0);
}
