// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Registry.h"
#include "download/view/frmExamDownloader.h"
#include "tests/download/FakePack.h"
#include "tests/download/FaultServer.h"
#include "tests/support/Windows.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTimer>

#include <deque>

namespace Download {

inline const QString Key = u"Software\\Practorum\\PackCourier"_s;
inline const QString Trouble
    = u"16 Cannot continue because there seems to be a problem with your internet connection or Practorium's PackCourier Service. If the problem persists, please contact Practorium support."_s;
inline const QString Start = u"&Start"_s;
inline const QString Cancel = u"&Cancel"_s;
inline const QString Close = u"&Close"_s;

inline QString Failed(const QString &examID)
{
    return u"16 Installation of "_s + examID + u" failed. Click OK to continue."_s;
}

inline QByteArray PackOf(const QByteArray &name, qsizetype padding = 0)
{
    return FakePack{ name, {}, {}, false, padding }.Bytes();
}

// Message boxes as they came. The words in which the network tells of an error
// are left out, the number stays.
class Boxes : public MessagePort {
public:
    Boxes() { SetMessagePort(this); }
    ~Boxes() override { SetMessagePort(nullptr); }
    Boxes(const Boxes &) = delete;
    Boxes &operator=(const Boxes &) = delete;

    MessageAnswer Show(const QString &text, MessageStyle style) override
    {
        static const QRegularExpression transport(
            u"^(Error \\(0x[0-9A-F]+\\)) .+\\r\\nUnable to perform this operation\\. Make sure you are connected to Internet\\.$"_s);
        const auto match = transport.match(text);
        Shown.append(QString::number(style) + u' ' + (match.hasMatch() ? match.captured(1) : text));
        if (Meanwhile)
            Meanwhile();
        return style == QuestionMessage ? Answer : AnswerOK;
    }

    QStringList Shown;
    MessageAnswer Answer = AnswerYes;
    std::function<void()> Meanwhile;
};

// The window against the server, with everything that an earlier test left
// behind cleared away.
class DownloadTest : public testing::Test {
protected:
    DownloadTest()
    {
        QDir(QString::fromLocal8Bit(qgetenv("TMPDIR"))).removeRecursively();
        QDir().mkpath(QString::fromLocal8Bit(qgetenv("TMPDIR")));
        QDir(Sandbox::ExamsFolder()).removeRecursively();
        for (const QString &mark : QDir(Sandbox::Path(u""_s)).entryList({ u"mark-*"_s }))
            QFile::remove(Sandbox::Path(mark));
        for (const QString &name : { u"User ID"_s, u"Password"_s })
            Registry::WriteValue(Key, name, QString(), Registry::Text, Registry::CurrentUser);
        SetEndpoint(Server.Url());
        AnswerRightly();
    }

    void AnswerRightly()
    {
        Server.On("LOGIN?", Answer::Whole("LOGIN?status=OK&sid=s7;"));
        Server.On("LIST?", Answer::Whole("LIST?status=OK&data=101;"));
        Server.On("eid=", Answer::Whole(PackOf("pack")));
        Server.On("REPORT?", Answer::Whole("REPORT;"));
    }

    static void SetEndpoint(const QString &url)
    {
        Registry::WriteValue(Key, u"Endpoint"_s, url, Registry::Text, Registry::CurrentUser);
    }
    static QString TempFile(const QString &name) { return QString::fromLocal8Bit(qgetenv("TMPDIR")) + u'/' + name; }
    static bool WasRun(const QString &name) { return QFile::exists(Sandbox::Path(u"mark-"_s + name)); }

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
    QString Caption() { return Windows::Find<QPushButton>(Window.get(), u"cmdAction"_s)->text(); }
    QString Status() { return Windows::Find<QLabel>(Window.get(), u"lblInfo"_s)->text(); }
    void Press() { Windows::Click(Window.get(), u"cmdAction"_s); }
    // Until the run is over; a window that has been closed is over too.
    bool WaitForEnd()
    {
        return QTest::qWaitFor([this] { return !Window->isVisible() || Caption() != Cancel; }, Windows::Patience);
    }
    // One whole run from the opened window; the boxes that it showed. Silence is
    // not waited for long where the name tells of it.
    QString Run(const char *name = "")
    {
        Shown.Shown.clear();
        Open();
        if (QByteArray(name).startsWith("silence"))
            Window->SetTimeouts(300, 300, 300);
        Press();
        QElapsedTimer beat;
        QTimer often;
        LongestGap = 0;
        QObject::connect(&often, &QTimer::timeout, &often, [&] { LongestGap = std::max(LongestGap, beat.restart()); });
        beat.start();
        often.start(1);
        EXPECT_TRUE(WaitForEnd()) << "the run goes on: " << Status().toStdString();
        return Shown.Shown.join(u'\n');
    }

    qint64 LongestGap = 0; // milliseconds of the last run in which no other event was served
    Boxes Shown;
    FaultServer Server;
    std::unique_ptr<frmExamDownloader> Window;
};

}
