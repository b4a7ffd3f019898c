// SPDX-License-Identifier: Apache-2.0
#include "download/Conversation.h"

#include "common/Common.h"
#include "tests/support/Test.h"

#include <QDate>
#include <QRegularExpression>

namespace {

const QString Trouble = u"16 Cannot continue because there seems to be a problem with your internet connection or "
                        "Practorium's PackCourier Service. If the problem persists, please contact Practorium support."_s;
const QString LoggedOn = u"LOGIN?status=OK&sid=7;"_s;

QString Overwrite(int examID)
{
    return u"36 Exam %1 is already installed on this computer. Do you want to overwrite the existing exam?"_s.arg(examID);
}

// Writes down what the conversation asks for.
class ScriptedPort : public ConversationPort {
public:
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override
    {
        Write(QString::number(style) + u' ' + Common::FormatText(text, values, Common::LineBreakMarker::Exact));
        return Answer;
    }
    void UpdateStatus(const QString &text) override { Write(u"status "_s + text); }
    void Post(const QString &message) override
    {
        static const QRegularExpression time(
            u"&time=(?=[0-9./-]*\\b%1\\b)[0-9./-]+ [0-9]+:[0-9]{2}:[0-9]{2}( [AP]M)?;"_s.arg(QDate::currentDate().year()));
        Write(u"post "_s + QString(message).replace(time, u"&time=T;"_s));
        if (CannotPost)
            throw Error(InvalidCall, u"no line"_s);
    }
    void Fetch(const QString &sessionID, const QString &examID) override
    {
        Write(u"fetch "_s + sessionID + u' ' + examID);
        if (examID == "unfetchable"_L1)
            throw Error(InvalidCall, u"no address"_s);
    }
    void Install(const QString &examID) override
    {
        Write(u"install "_s + examID);
        if (examID == Broken)
            throw Error::RunTime(InvalidCall);
    }
    bool IsInstalled(const QString &examID) override { return AllInstalled || Installed.contains(examID); }
    void EndRun(bool success) override { Write(success ? u"end well"_s : u"end badly"_s); }
    void OfferStart() override { Write(u"offer start"_s); }
    void CloseWindow() override { Write(u"close"_s); }

    QStringList Log;
    QStringList Installed;
    QString Broken;
    bool AllInstalled = false;
    bool CannotPost = false;
    MessageAnswer Answer = AnswerOK;
    std::function<void()> AtNextBox;

private:
    void Write(const QString &line)
    {
        Log.append(line);
        if (AtNextBox && line.front().isDigit())
            std::exchange(AtNextBox, {})();
    }
};

class ConversationTest : public testing::Test {
protected:
    QString Take() { return std::exchange(Port.Log, {}).join(u'|'); }
    void Start(bool isLoggedOn = true)
    {
        Talk.Start(u"me"_s, u"pw"_s);
        if (isLoggedOn)
            Talk.Receive(LoggedOn);
        Take();
    }
    void StartList(const QString &data)
    {
        Start();
        Talk.Receive(u"LIST?status=OK&data=%1;"_s.arg(data));
    }
    QString Completed()
    {
        Talk.DownloadComplete();
        return Take();
    }

    ScriptedPort Port;
    Conversation Talk{ Port, Clock::System() };
};

}

TEST_F(ConversationTest, WholeRun)
{
    Port.Broken = u"102"_s;
    Talk.Start(u"a&b"_s, u"x=1"_s);
    EXPECT_EQ(Take(), u"status Connecting to Practorium Download Server|post LOGIN?email=a%26b&pwd=x%3D1;"_s);
    Talk.Receive(LoggedOn);
    EXPECT_EQ(Take(), u"status Checking for available downloads|post LIST?sid=7;"_s);
    Talk.Receive(u"LIST?status=OK&data= 101,102,103 ;"_s);
    EXPECT_EQ(Take(), u"fetch 7 101"_s);
    EXPECT_EQ(Completed(), u"status Installing: 101|install 101|fetch 7 102"_s);
    EXPECT_EQ(Completed(),
              u"status Installing: 102|install 102|16 Installation of 102 failed. Click OK to continue.|fetch 7 103"_s);
    EXPECT_EQ(Completed(),
              u"status Installing: 103|install 103|status Performing post-installation tasks|"
              "post REPORT?sid=7&list=101,103&time=T;"_s);
    Talk.Receive(u"REPORT;"_s);
    EXPECT_EQ(Take(), u"status Completed|end well"_s);
    EXPECT_FALSE(Talk.IsRunning());
    // A second run knows nothing of the first.
    StartList(u"102"_s);
    EXPECT_TRUE(Completed().endsWith(u"|post REPORT?sid=7&list=&time=T;"_s));
}

TEST_F(ConversationTest, Replies)
{
    const QString refused = u"16 Cannot continue because the User ID or password is incorrect|end badly|offer start|"
                            "status Authentication failed!"_s;
    const QString accepted = u"status Checking for available downloads|post LIST?sid=;"_s;
    const QString nothing = u"16 You do not have any exams available for download|end badly|close"_s;
    const struct {
        bool IsLoggedOn;
        QString Reply, Lines;
        QStringList Queue = {};
    } rows[] = {
        { false, u"LOGIN?status=NO&sid=7;"_s, refused },
        { false, u"LOGIN?status=ok;"_s, refused },
        { false, u"LOGIN?sid=7;"_s, refused },
        { false, u"LOGIN;"_s, refused },
        { false, u"LOGIN?status=OK;"_s, accepted },
        { false, u"LOGIN?STATUS=OK;"_s, accepted },
        { false, u"login?status=OK&sid=7;"_s, {} },
        { false, u"HELLO?status=OK;"_s, {} },
        { false, u";"_s, {} },
        { false, u""_s, {} },
        { false, u"ERROR?code=3&description=No {CRLF}luck;"_s, u"end badly|16 No \r\nluck|close"_s },
        { false, u"REPORT;"_s, u"status Completed|end well"_s },
        { false, u"LIST?status=OK&data=5;"_s, u"fetch  5"_s, { u"5"_s } },
        { true, u"LIST?status=OK&data= 101,102 ;"_s, u"fetch 7 101"_s, { u"101"_s, u"102"_s } },
        { true, u"LIST?status=OK&data=101,,102;"_s, u"fetch 7 101"_s, { u"101"_s, u""_s, u"102"_s } },
        { true, u"LIST?status=OK&data=101, 102,;"_s, u"fetch 7 101"_s, { u"101"_s, u" 102"_s, u""_s } },
        { true, u"LIST?status=OK&data=,;"_s, u"fetch 7 "_s, { u""_s, u""_s } },
        { true, u"LIST?status=OK&data=   ;"_s, nothing },
        { true, u"LIST?status=OK;"_s, nothing },
        { true, u"LIST?data=101;"_s, {} },
        { true, u"LIST?status=NO&data=101;"_s, {} },
        { true,
          u"LIST?status=OK&data=unfetchable,2;"_s,
          u"fetch 7 unfetchable|16 no address|end badly"_s,
          { u"unfetchable"_s, u"2"_s } },
        { true, u"ERROR?description=sid;"_s, u"end badly|16 sid|close"_s },
        { true, u"ERROR;"_s, u"end badly|16 |close"_s },
    };
    for (const auto &row : rows) {
        Start(row.IsLoggedOn);
        Talk.Receive(row.Reply);
        EXPECT_EQ(Take(), row.Lines) << row.Reply.toStdString();
        EXPECT_EQ(Talk.IsRunning(), !row.Lines.contains("end "_L1)) << row.Reply.toStdString();
    }
    Start(false);
    EXPECT_EQ(ResultOf([&] { Talk.Receive(u"<html>"_s); }), u"-2147221503 Message::UnPack()"_s);
}

TEST_F(ConversationTest, OverwriteQuestion)
{
    Port.Installed = { u"101"_s, u"102"_s };
    const QString completed = u"|status Completed|end well"_s;
    const struct {
        QString Data;
        MessageAnswer Answer;
        QString Lines;
    } rows[] = {
        { u"101"_s, AnswerYes, Overwrite(101) + u"|fetch 7 101"_s },
        { u"101"_s, AnswerNo, Overwrite(101) + completed },
        { u"101,102"_s, AnswerNo, Overwrite(101) + u'|' + Overwrite(102) + completed },
        { u"101,103,102"_s, AnswerNo, Overwrite(101) + u"|fetch 7 103"_s },
    };
    for (const auto &row : rows) {
        Port.Answer = row.Answer;
        StartList(row.Data);
        EXPECT_EQ(Take(), row.Lines) << row.Data.toStdString();
        EXPECT_EQ(Talk.IsRunning(), !row.Lines.contains("end "_L1)) << row.Data.toStdString();
    }
    // The last one declined: no report, though another was installed.
    EXPECT_EQ(Completed(), u"status Installing: 103|install 103|"_s + Overwrite(102) + completed);
}

TEST_F(ConversationTest, TenThousandExams)
{
    QStringList list;
    for (int i = 0; i < 10'000; ++i)
        list.append(QString::number(i));
    Port.AllInstalled = true;
    Port.Answer = AnswerNo;
    StartList(list.join(u','));
    EXPECT_EQ(Port.Log.size(), 10'000 + 2) << "all declined";
    Port.AllInstalled = false;
    StartList(list.join(u','));
    for (int i = 0; i < 10'000; ++i)
        Talk.DownloadComplete();
    EXPECT_EQ(Port.Log.last(), u"post REPORT?sid=7&list="_s + list.join(u',') + u"&time=T;"_s);
}

TEST_F(ConversationTest, Failures)
{
    const QString unable = u"\r\nUnable to perform this operation. Make sure you are connected to Internet.|end badly"_s;
    Start();
    Talk.TransportFailed(404, u"Not Found"_s);
    EXPECT_EQ(Take(), u"16 Error (0x194) Not Found"_s + unable);
    Start();
    Talk.TransportFailed(-1, u"{CRLF}"_s);
    EXPECT_EQ(Take(), u"16 Error (0xFFFFFFFF) \r\n"_s + unable);
    Start();
    Talk.HandlingFailed();
    EXPECT_EQ(Take(), u"end badly|status Error communicating to server|"_s + Trouble);
    Port.CannotPost = true;
    Talk.Start(u"me"_s, u"pw"_s);
    EXPECT_TRUE(Take().endsWith(u"|post LOGIN?email=me&pwd=pw;|16 no line|end badly"_s));
    EXPECT_FALSE(Talk.IsRunning());
}

// After a stop nothing that still arrives is answered, whatever box was open.
TEST_F(ConversationTest, Stopped)
{
    const struct {
        QString Data; // of the list; empty where it has not come yet
        MessageAnswer Answer;
        QString Box; // in which the run is stopped
    } rows[] = {
        { u""_s, AnswerOK, u""_s },
        { u"1"_s, AnswerYes, Overwrite(1) },
        { u"1"_s, AnswerNo, Overwrite(1) },
        { u"2"_s, AnswerOK, u"16 Installation of 2 failed. Click OK to continue."_s },
        { u"2,3"_s, AnswerOK, u"16 Installation of 2 failed. Click OK to continue."_s },
    };
    Port.Installed = { u"1"_s };
    Port.Broken = u"2"_s;
    for (const auto &row : rows) {
        Port.Answer = row.Answer;
        Start();
        if (row.Data.isEmpty()) {
            Talk.Stop();
        } else {
            Port.AtNextBox = [&] { Talk.Stop(); };
            Talk.Receive(u"LIST?status=OK&data=%1;"_s.arg(row.Data));
            if (row.Data.startsWith(u'2'))
                Talk.DownloadComplete();
            EXPECT_EQ(Port.Log.last(), row.Box);
            Take();
        }
        Talk.Receive(LoggedOn);
        Talk.Receive(u"LIST?status=OK&data=1;"_s);
        Talk.DownloadComplete();
        Talk.DownloadNext();
        Talk.TransportFailed(1, u"x"_s);
        Talk.HandlingFailed();
        EXPECT_EQ(Take(), QString()) << row.Data.toStdString() << row.Box.toStdString();
    }
}
