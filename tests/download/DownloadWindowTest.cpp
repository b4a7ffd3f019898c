// SPDX-License-Identifier: Apache-2.0
#include "tests/download/DownloadFixture.h"

using namespace Download;

namespace {

using DownloadWindowTest = DownloadTest;

QString SavedExam(const QString &code)
{
    const QString path = Sandbox::Path(u"exam-"_s + code);
    NewExam({ code })->Save(path);
    return path;
}

// Copies an exam to where it is installed.
QByteArray Installer(const QString &code, qsizetype padding = 0)
{
    const QString exam = Sandbox::ExamsFolder() + u"/Pack %1/Pack %1.exam"_s.arg(code);
    return FakePack{ code.toUtf8(), SavedExam(code), exam, false, padding }.Bytes();
}

}

TEST_F(DownloadWindowTest, WholeRun)
{
    Server.On("LIST?", Answer::Whole("LIST?status=OK&data= 101,202 ;"));
    const QByteArray first = Installer(u"101"_s, 3'000'000);
    Server.On("eid=101", Answer::Whole(first));
    Server.On("eid=202", Answer::Whole(Installer(u"202"_s)));
    Open(u"  a&b "_s, u" x=1"_s);
    for (const QString &label : { u"lblTotal"_s, u"lblDownloaded"_s, u"lblRate"_s })
        EXPECT_EQ(Windows::Find<QLabel>(Window.get(), label)->text(), u"NA"_s);
    auto *bar = Windows::Find<QWidget>(Window.get(), u"shpProgress"_s);
    EXPECT_EQ(bar->width(), 0);
    QStringList statuses;
    QStringList totals;
    QStringList received;
    int widest = 0;
    const auto look = [&] {
        for (auto [list, label] : { std::pair{ &statuses, u"lblInfo"_s }, std::pair{ &totals, u"lblTotal"_s },
                                    std::pair{ &received, u"lblDownloaded"_s } }) {
            const QString text = Windows::Find<QLabel>(Window.get(), label)->text();
            if (list->isEmpty() || list->last() != text)
                list->append(text);
        }
        widest = std::max(widest, bar->width());
        return Caption() == Close;
    };
    QTimer often;
    QObject::connect(&often, &QTimer::timeout, &often, look);
    often.start(0);
    Press();
    EXPECT_EQ(Caption(), Cancel);
    ASSERT_TRUE(QTest::qWaitFor(look, Windows::Patience)) << statuses.join(u'\n').toStdString();
    QElapsedTimer sinceEnd;
    sinceEnd.start();

    EXPECT_TRUE(Shown.Shown.isEmpty()) << Shown.Shown.join(u'\n').toStdString();
    const QByteArray post = "POST /PackCourier.asp HTTP/1.1\n";
    const QByteArray get = "GET /PackCourier.asp?sid=s7&eid=";
    EXPECT_EQ(Server.Requests.mid(0, 4),
              (QByteArrayList{ post + "LOGIN?email=a%26b&pwd=x%3D1;", post + "LIST?sid=s7;", get + "101 HTTP/1.1\n",
                               get + "202 HTTP/1.1\n" }));
    EXPECT_TRUE(Server.Requests.value(4).startsWith(post + "REPORT?sid=s7&list=101,202&time="));
    for (const QString &code : { u"101"_s, u"202"_s }) {
        EXPECT_TRUE(Globals::IsExamInstalled(code)) << code.toStdString();
        EXPECT_FALSE(QFile::exists(TempFile(code + u".exe"_s))) << "the pack is deleted";
        EXPECT_TRUE(statuses.contains(u"Downloading: "_s + code + u".exe"_s)) << statuses.join(u'\n').toStdString();
    }
    EXPECT_EQ(statuses.last(), u"Completed"_s);
    EXPECT_TRUE(totals.contains(u"2.86 MB"_s)) << totals.join(u'\n').toStdString();
    EXPECT_GE(received.size(), 3) << "it moves";
    EXPECT_EQ(received.last(), u"NA"_s);
    EXPECT_GE(widest, bar->parentWidget()->width() - 4) << "nearly the whole";
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Window->isVisible(); }, 3000)) << "closes by itself";
    EXPECT_GT(sinceEnd.elapsed(), 500) << "but can be read before";
}

TEST_F(DownloadWindowTest, Entries)
{
    const struct {
        QString User, Password, Text, Focus;
    } rows[] = {
        { u""_s, u"pw"_s, u"48 Please enter your User ID."_s, u"txtEmail"_s },
        { u"   "_s, u"  "_s, u"48 Please enter your User ID."_s, u"txtEmail"_s },
        { u"me"_s, u"  "_s, u"48 Please enter your password."_s, u"txtPassword"_s },
    };
    for (const auto &row : rows) {
        Shown.Shown.clear();
        Open(row.User, row.Password);
        Press();
        EXPECT_EQ(Shown.Shown, QStringList{ row.Text });
        EXPECT_EQ(Window->focusWidget(), Edit(row.Focus));
        EXPECT_EQ(Caption(), Start);
    }
    EXPECT_TRUE(Server.Requests.isEmpty());
    EXPECT_EQ(Edit(u"txtPassword"_s)->echoMode(), QLineEdit::Password);
}

TEST_F(DownloadWindowTest, WrongPasswordThenRight)
{
    Server.On("LOGIN?", Answer::Whole("LOGIN?status=NO;"));
    Open(u"J\u00FCrgen \u20AC \u0418"_s, QString(1000, u'%'));
    Press();
    ASSERT_TRUE(WaitForEnd());
    EXPECT_TRUE(
        Server.Requests.last().endsWith("\nLOGIN?email=J\xFCrgen \x80 ?&pwd=" + QByteArray("%25").repeated(1000) + ';'));
    EXPECT_EQ(Window->focusWidget(), Edit(u"txtEmail"_s));
    EXPECT_TRUE(Edit(u"txtPassword"_s)->isEnabled());
    Server.On("LOGIN?", Answer::Whole("LOGIN?status=OK&sid=s7;"));
    Press();
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(Status(), u"Completed"_s);
    EXPECT_TRUE(WasRun(u"pack"_s));
}

TEST_F(DownloadWindowTest, RememberedCredentials)
{
    Server.On("LOGIN?", Answer::Whole("LOGIN?status=NO;"));
    const QString user = u"  me "_s;
    const QString password = u" p\u00E4ss;\"%\" "_s;
    Open(user, password);
    QTest::mouseClick(Windows::Find(Window.get(), u"lblRemember"_s), Qt::LeftButton);
    EXPECT_TRUE(Windows::Find<QCheckBox>(Window.get(), u"chkRemember"_s)->isChecked());
    Press();
    ASSERT_TRUE(WaitForEnd());
    EXPECT_TRUE(Server.Requests.last().endsWith("LOGIN?email=me&pwd=p\xE4ss%3B\"%25\";")) << "sent without the blanks";
    Window->close();
    for (const QString &file : QDir(Sandbox::Path(u"xdg_config_home/Practorium"_s)).entryList(QDir::Files))
        EXPECT_FALSE(Sandbox::ReadFile(Sandbox::Path(u"xdg_config_home/Practorium/"_s + file)).contains("ss;"));
    const QByteArray stored = Registry::ReadValue(Registry::CurrentUser, Key, u"Password"_s).toByteArray();
    EXPECT_EQ(stored.size(), password.size());
    EXPECT_FALSE(stored.contains("ss"));

    Open(QString());
    EXPECT_EQ(Edit(u"txtEmail"_s)->text(), user);
    EXPECT_EQ(Edit(u"txtPassword"_s)->text(), password);
    EXPECT_TRUE(Windows::Find<QCheckBox>(Window.get(), u"chkRemember"_s)->isChecked());
    QTest::mouseClick(Windows::Find(Window.get(), u"lblRemember"_s), Qt::LeftButton);
    EXPECT_FALSE(Windows::Find<QCheckBox>(Window.get(), u"chkRemember"_s)->isChecked());
    EXPECT_TRUE(Registry::ReadValue(Registry::CurrentUser, Key, u"User ID"_s).isValid()) << "until the window closes";
    QTest::keyClick(Window.get(), Qt::Key_Escape);
    EXPECT_FALSE(Window->isVisible());
    for (const QString &name : { u"User ID"_s, u"Password"_s })
        EXPECT_FALSE(Registry::ReadValue(Registry::CurrentUser, Key, name).isValid()) << name.toStdString();
    Open(QString());
    EXPECT_EQ(Edit(u"txtEmail"_s)->text(), u""_s);
    EXPECT_FALSE(Windows::Find<QCheckBox>(Window.get(), u"chkRemember"_s)->isChecked());
}

// However and whenever the window is closed, it is closed at once, nothing of a
// pack is run and the service hears no more.
TEST_F(DownloadWindowTest, ClosedInEveryState)
{
    const QByteArray whole = PackOf("pack", 300'000);
    const Answer silence{ "", Answer::KeepsOpen };
    const Answer half{ "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(whole.size()) + "\r\n\r\n"
                           + whole.left(100'000),
                       Answer::KeepsOpen };
    const std::pair<QString, std::function<void()>> ways[] = {
        { u"button"_s, [this] { Press(); } },
        { u"close box"_s, [this] { Window->close(); } },
        { u"Escape"_s, [this] { QTest::keyClick(Window.get(), Qt::Key_Escape); } },
    };
    const struct {
        const char *Name;
        QByteArray Silent;
        Answer Reply;
        QString Box;
    } states[] = {
        { "login", "LOGIN?", silence, {} },
        { "login, in the headers", "LOGIN?", { "HTTP/1.1 200 OK\r\nContent-", Answer::KeepsOpen }, {} },
        { "login, in the body", "LOGIN?", { "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nLOGIN", Answer::KeepsOpen }, {} },
        { "list", "LIST?", silence, {} },
        { "list refused", "LIST?", Answer::Whole("LIST?status=NO;"), {} },
        { "pack", "eid=", silence, {} },
        { "pack, in the body", "eid=", half, {} },
        { "overwrite question", "", {}, u"36 "_s },
        { "installation failed", "eid=", Answer::Whole("no program"), u"16 Installation"_s },
        { "report", "REPORT?", silence, {} },
    };
    for (const auto &state : states) {
        for (const auto &[way, go] : ways) {
            const std::string where = std::string(state.Name) + ", " + way.toStdString();
            QFile::remove(Sandbox::Path(u"mark-pack"_s));
            QDir(Sandbox::ExamsFolder()).removeRecursively();
            if (state.Box == u"36 "_s)
                Install(*NewExam({ u"101"_s }), u"Old"_s);
            AnswerRightly();
            if (!state.Silent.isEmpty())
                Server.On(state.Silent, state.Reply);
            Server.Requests.clear();
            Shown.Shown.clear();
            bool isThere = false;
            Shown.Meanwhile = [&, &go = go] {
                isThere = true;
                go();
            };
            Window = std::make_unique<frmExamDownloader>(nullptr);
            // As the program opens it: in a loop of its own, gone right behind it.
            QTimer step;
            QElapsedTimer since;
            QObject::connect(&step, &QTimer::timeout, &step, [&, &go = go, pressed = false]() mutable {
                if (!Window->isVisible())
                    return;
                if (!pressed) {
                    pressed = true;
                    QApplication::setActiveWindow(Window.get());
                    Edit(u"txtEmail"_s)->setText(u"me"_s);
                    Edit(u"txtPassword"_s)->setText(u"pw"_s);
                    since.start();
                    Press();
                } else if (since.elapsed() > Windows::Patience) {
                    ADD_FAILURE() << where << ": never got there: " << Status().toStdString();
                    Window->reject();
                } else if (state.Box.isEmpty() && Server.Count(state.Silent) > 0 && since.elapsed() > 60) {
                    // A moment for what is on its way.
                    isThere = true;
                    go();
                }
            });
            step.start(20);
            Window->exec();
            step.stop();
            EXPECT_TRUE(isThere) << where;
            EXPECT_FALSE(Window->isVisible()) << where;
            const qsizetype asked = Server.Requests.size();
            Window.reset();
            Shown.Meanwhile = {};
            QTest::qWait(20);
            EXPECT_EQ(Server.Requests.size(), asked) << where;
            EXPECT_EQ(WasRun(u"pack"_s), qstrcmp(state.Name, "report") == 0) << where;
            EXPECT_EQ(Shown.Shown.size(), state.Box.isEmpty() ? 0 : 1) << where << Shown.Shown.join(u'\n').toStdString();
        }
    }
}

// The end of the session, say: no loop may go on for ever, no box may come up.
TEST_F(DownloadWindowTest, ProgramEndsMeanwhile)
{
    for (const QByteArray &key : { QByteArray("LOGIN?"), QByteArray("eid=") }) {
        Server.On(key, Answer{ "HTTP/1.1 200 OK\r\nContent-Length: 900\r\n\r\nLOGIN?status=NO;", Answer::KeepsOpen });
        Server.Meanwhile(key, [] { QTimer::singleShot(100, qApp, &QCoreApplication::quit); });
        EXPECT_EQ(Windows::RunLoop([&] {
                      Open();
                      Press();
                  }),
                  0);
        EXPECT_TRUE(Shown.Shown.isEmpty()) << Shown.Shown.join(u'\n').toStdString();
        EXPECT_EQ(Server.Count(key), 1);
        Window.reset();
        Server.On("LOGIN?", Answer::Whole("LOGIN?status=OK&sid=s7;"));
    }
}

// A key that is held down presses the button once.
TEST_F(DownloadWindowTest, EnterHeldDown)
{
    Server.On("LOGIN?", Answer{ "", Answer::KeepsOpen });
    Open();
    const auto enter = [this](bool isRepeated) {
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, u"\r"_s, isRepeated);
        QApplication::sendEvent(Edit(u"txtPassword"_s), &key);
    };
    enter(true);
    EXPECT_EQ(Caption(), Start) << "meant for another window";
    enter(false);
    enter(true);
    EXPECT_EQ(Caption(), Cancel);
    EXPECT_TRUE(Window->isVisible());
}

// The exams matter more than what is remembered.
TEST_F(DownloadWindowTest, CredentialsThatCannotBeStored)
{
#ifdef Q_OS_WIN
    GTEST_SKIP() << "nothing keeps a user from writing to the registry";
#endif
    Open();
    Windows::ClickBox(Window.get(), u"chkRemember"_s);
    const QString settings = QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME")) + u"/Practorium"_s;
    ASSERT_TRUE(QFile::rename(settings, settings + u"-aside"_s));
    Sandbox::WriteFile(settings, "no folder");
    Press();
    EXPECT_TRUE(WaitForEnd());
    ASSERT_EQ(Shown.Shown.size(), 1);
    EXPECT_TRUE(Shown.Shown.constFirst().startsWith(u"48 System Error: 0x"_s)) << Shown.Shown.constFirst().toStdString();
    EXPECT_TRUE(WasRun(u"pack"_s));
    QFile::remove(settings);
    ASSERT_TRUE(QFile::rename(settings + u"-aside"_s, settings));
}

// A server's text of any kind is shown as it stands, and costs no more than it must.
TEST_F(DownloadWindowTest, HostileTexts)
{
    Server.On("LOGIN?", Answer::Whole("ERROR?description=<b>x</b> <img src%3D'/x'>\n{CRLF};"));
    EXPECT_EQ(Run(), u"16 <b>x</b> <img src='/x'>\n\r\n"_s);
    EXPECT_FALSE(Window->isVisible());

    Server.On("LOGIN?", Answer::Whole("LOGIN?status=OK&sid=s7;"));
    const QByteArray longName(900'000, 'w');
    Server.On("LIST?", Answer::Whole("LIST?status=OK&data=" + longName + ';'));
    Server.On("eid=", Answer{ "", Answer::KeepsOpen });
    Open();
    const QSize size = Window->size();
    Press();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Status().startsWith(u"Downloading: www"_s); }, Windows::Patience));
    QElapsedTimer timer;
    timer.start();
    Window->grab();
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_EQ(Window->size(), size);
    EXPECT_TRUE(Windows::Find(Window.get(), u"cmdAction"_s)->visibleRegion().contains(QPoint(5, 5))) << "can be pressed";
    Press();
    EXPECT_FALSE(Window->isVisible());

    Server.On("LIST?", Answer::Whole(QByteArray("LIST?status=OK&data=<b>9</b>\0x;", 32)));
    Open();
    Press();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Status().startsWith(u"Downloading: "_s); }, Windows::Patience));
    EXPECT_EQ(Status(), u"Downloading: <b>9</b>"_s) << "up to the NUL";
    EXPECT_EQ(Windows::Find<QLabel>(Window.get(), u"lblInfo"_s)->textFormat(), Qt::PlainText);
}
