#include "download/Conversation.h"

#include "common/Common.h"
#include "tests/support/ExpectError.h"
#include "ui/Messages.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Hello = u"status Connecting to Practorium Download Server"_s;
const QString WrongPassword = u"16 Cannot continue because the User ID or password is incorrect"_s;
const QString NothingBought = u"16 You do not have any exams available for download"_s;
const QString Trouble = u"16 Cannot continue because there seems to be a problem with your internet connection or Practorium's PackCourier Service. If the problem persists, please contact Practorium support."_s;
const QString LoggedOn = u"LOGIN?status=OK&sid=7;"_s;

QString Overwrite(const QString &examID)
{
    return u"36 Exam "_s + examID + u" is already installed on this computer. Do you want to overwrite the existing exam?"_s;
}

// Writes down what the conversation asks for.
class ScriptedPort : public ConversationPort {
public:
    int Ask(const QString &text, int style, const QVariantList &values) override
    {
        Write(QString::number(style) + u' ' + Common::FormatText(text, values, Common::LineBreakMarker::Exact));
        return Answer;
    }
    void UpdateStatus(const QString &text) override { Write(u"status "_s + text); }
    void Post(const QString &message) override
    {
        static const QRegularExpression time(u"&time=[^&;]+;"_s);
        Write(u"post "_s + QString(message).replace(time, u"&time=T;"_s));
        if (CannotPost)
            throw Error(InvalidCall, u"no line"_s);
    }
    void Fetch(const QString &sessionID, const QString &examID) override
    {
        Write(u"fetch "_s + sessionID + u' ' + examID);
        if (examID == Unfetchable)
            throw Error(InvalidCall, u"no address"_s);
    }
    void Install(const QString &examID) override
    {
        Write(u"install "_s + examID);
        if (Broken.contains(examID))
            throw Error::RunTime(InvalidCall);
    }
    bool IsInstalled(const QString &examID) override { return AllInstalled || Installed.contains(examID); }
    void EndRun(bool success) override { Write(success ? u"end well"_s : u"end badly"_s); }
    void OfferStart() override { Write(u"offer start"_s); }
    void CloseWindow() override { Write(u"close"_s); }

    QStringList Log;
    QStringList Installed;
    QStringList Broken;
    QString Unfetchable = u"none"_s;
    bool AllInstalled = false;
    bool CannotPost = false;
    int Answer = AnswerOK;
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
    QStringList Take() { return std::exchange(Port.Log, {}); }
    // Up to the line that begins the list.
    void LogOn()
    {
        Talk.Start(u"me"_s, u"pw"_s);
        Talk.Receive(LoggedOn);
        Take();
    }
    void Expect(const QStringList &lines, const QString &what)
    {
        EXPECT_EQ(Take().join(u'\n'), lines.join(u'\n')) << what.toStdString();
    }

    ScriptedPort Port;
    Conversation Talk{ Port };
};

}

TEST_F(ConversationTest, WholeRun)
{
    Port.Broken = { u"102"_s };
    Talk.Start(u"a&b"_s, u"x=1"_s);
    Expect({ Hello, u"post LOGIN?email=a%26b&pwd=x%3D1;"_s }, u"start"_s);
    EXPECT_TRUE(Talk.IsRunning());
    Talk.Receive(LoggedOn);
    Expect({ u"status Checking for available downloads"_s, u"post LIST?sid=7;"_s }, u"logged on"_s);
    Talk.Receive(u"LIST?status=OK&data= 101,102,103 ;"_s);
    Expect({ u"fetch 7 101"_s }, u"list"_s);
    Talk.DownloadComplete();
    Expect({ u"status Installing: 101"_s, u"install 101"_s, u"fetch 7 102"_s }, u"first"_s);
    Talk.DownloadComplete();
    Expect({ u"status Installing: 102"_s, u"install 102"_s, u"16 Installation of 102 failed. Click OK to continue."_s,
             u"fetch 7 103"_s }, u"second"_s);
    Talk.DownloadComplete();
    Expect({ u"status Installing: 103"_s, u"install 103"_s, u"status Performing post-installation tasks"_s,
             u"post REPORT?sid=7&list=101,103&time=T;"_s }, u"third"_s);
    Talk.Receive(u"REPORT;"_s);
    Expect({ u"status Completed"_s, u"end well"_s }, u"report"_s);
    EXPECT_FALSE(Talk.IsRunning());
    // A second run knows nothing of the first.
    Port.Broken = { u"102"_s };
    LogOn();
    Talk.Receive(u"LIST?status=OK&data=102;"_s);
    Talk.DownloadComplete();
    EXPECT_EQ(Take().last(), u"post REPORT?sid=7&list=&time=T;"_s);
}

TEST_F(ConversationTest, RepliesToLogin)
{
    const QStringList refused = { WrongPassword, u"end badly"_s, u"offer start"_s, u"status Authentication failed!"_s };
    const QStringList accepted = { u"status Checking for available downloads"_s, u"post LIST?sid=;"_s };
    struct Row { QString Reply; QStringList Lines; bool IsRunning; };
    const Row rows[] = {
        { u"LOGIN?status=NO&sid=7;"_s, refused, false },
        { u"LOGIN?status=ok;"_s, refused, false },
        { u"LOGIN?sid=7;"_s, refused, false },
        { u"LOGIN;"_s, refused, false },
        { u"LOGIN?status=OK;"_s, accepted, true },
        { u"LOGIN?STATUS=OK;"_s, accepted, true },
        { u"login?status=OK&sid=7;"_s, {}, true },
        { u"HELLO?status=OK;"_s, {}, true },
        { u";"_s, {}, true },
        { u""_s, {}, true },
        { u"ERROR?code=3&description=No {CRLF}luck;"_s, { u"end badly"_s, u"16 No \r\nluck"_s, u"close"_s }, false },
        { u"REPORT;"_s, { u"status Completed"_s, u"end well"_s }, false },
        { u"LIST?status=OK&data=5;"_s, { u"fetch  5"_s }, true },
    };
    for (const Row &row : rows) {
        Talk.Start(u"me"_s, u"pw"_s);
        Take();
        Talk.Receive(row.Reply);
        Expect(row.Lines, row.Reply);
        EXPECT_EQ(Talk.IsRunning(), row.IsRunning) << row.Reply.toStdString();
    }
    Talk.Start(u"me"_s, u"pw"_s);
    EXPECT_EQ(ResultOf([&] { Talk.Receive(u"<html>"_s); }), u"-2147221503 Message::UnPack()"_s);
}

TEST_F(ConversationTest, RepliesToList)
{
    struct Row { QString Reply; QStringList Lines, Queue; };
    const Row rows[] = {
        { u"LIST?status=OK&data= 101,102 ;"_s, { u"fetch 7 101"_s }, { u"101"_s, u"102"_s } },
        { u"LIST?status=OK&data=101,,102;"_s, { u"fetch 7 101"_s }, { u"101"_s, u""_s, u"102"_s } },
        { u"LIST?status=OK&data=101, 102,;"_s, { u"fetch 7 101"_s }, { u"101"_s, u" 102"_s, u""_s } },
        { u"LIST?status=OK&data=,;"_s, { u"fetch 7 "_s }, { u""_s, u""_s } },
        { u"LIST?status=OK&data=   ;"_s, { NothingBought, u"end badly"_s, u"close"_s }, {} },
        { u"LIST?status=OK;"_s, { NothingBought, u"end badly"_s, u"close"_s }, {} },
        { u"LIST?data=101;"_s, {}, {} },
        { u"LIST?status=NO&data=101;"_s, {}, {} },
        { u"ERROR?description=sid;"_s, { u"end badly"_s, u"16 sid"_s, u"close"_s }, {} },
        { u"ERROR;"_s, { u"end badly"_s, u"16 "_s, u"close"_s }, {} },
    };
    for (const Row &row : rows) {
        LogOn();
        Talk.Receive(row.Reply);
        Expect(row.Lines, row.Reply);
        EXPECT_EQ(Talk.Queue(), row.Queue) << row.Reply.toStdString();
    }
}

TEST_F(ConversationTest, OverwriteQuestion)
{
    Port.Installed = { u"101"_s, u"102"_s };
    struct Row { QString Data; int Answer; QStringList Lines; };
    const QStringList completed = { u"status Completed"_s, u"end well"_s };
    const Row rows[] = {
        { u"101"_s, AnswerYes, { Overwrite(u"101"_s), u"fetch 7 101"_s } },
        { u"101"_s, AnswerNo, QStringList{ Overwrite(u"101"_s) } + completed },
        { u"101,102"_s, AnswerNo, QStringList{ Overwrite(u"101"_s), Overwrite(u"102"_s) } + completed },
        { u"101,103,102"_s, AnswerNo, { Overwrite(u"101"_s), u"fetch 7 103"_s } },
    };
    for (const Row &row : rows) {
        Port.Answer = row.Answer;
        LogOn();
        Talk.Receive(u"LIST?status=OK&data="_s + row.Data + u';');
        Expect(row.Lines, row.Data);
    }
    // The last one declined: no report, though another was installed.
    Talk.DownloadComplete();
    Expect(QStringList{ u"status Installing: 103"_s, u"install 103"_s, Overwrite(u"102"_s) } + completed, u"kept"_s);
}

TEST_F(ConversationTest, TenThousandExams)
{
    QStringList list;
    for (int i = 0; i < 10'000; ++i)
        list.append(QString::number(i));
    const QString reply = u"LIST?status=OK&data="_s + list.join(u',') + u';';
    Port.AllInstalled = true;
    Port.Answer = AnswerNo;
    LogOn();
    Talk.Receive(reply);
    EXPECT_EQ(Take().size(), 10'000 + 2) << "all declined";
    Port.AllInstalled = false;
    LogOn();
    Talk.Receive(reply);
    for (int i = 0; i < 10'000; ++i)
        Talk.DownloadComplete();
    EXPECT_EQ(Take().last(), u"post REPORT?sid=7&list="_s + list.join(u',') + u"&time=T;"_s);
}

TEST_F(ConversationTest, Failures)
{
    const QString unable = u"Unable to perform this operation. Make sure you are connected to Internet."_s;
    LogOn();
    Talk.TransportFailed(404, u"Not Found"_s);
    Expect({ u"16 Error (0x194) Not Found\r\n"_s + unable, u"end badly"_s }, u"transport"_s);
    LogOn();
    Talk.TransportFailed(-1, u"{CRLF}"_s);
    Expect({ u"16 Error (0xFFFFFFFF) \r\n\r\n"_s + unable, u"end badly"_s }, u"a negative code"_s);
    LogOn();
    Talk.HandlingFailed();
    Expect({ u"end badly"_s, u"status Error communicating to server"_s, Trouble }, u"handling"_s);
    Port.CannotPost = true;
    Talk.Start(u"me"_s, u"pw"_s);
    Expect({ Hello, u"post LOGIN?email=me&pwd=pw;"_s, u"16 no line"_s, u"end badly"_s }, u"post"_s);
    EXPECT_FALSE(Talk.IsRunning());
    Port.CannotPost = false;
    Port.Unfetchable = u"1"_s;
    LogOn();
    Talk.Receive(u"LIST?status=OK&data=1,2;"_s);
    Expect({ u"fetch 7 1"_s, u"16 no address"_s, u"end badly"_s }, u"fetch"_s);
    EXPECT_FALSE(Talk.IsRunning());
}

// After a stop nothing that still arrives is answered, whatever box was open.
TEST_F(ConversationTest, Stopped)
{
    const auto late = [&](const QString &when) {
        Talk.Receive(LoggedOn);
        Talk.Receive(u"LIST?status=OK&data=1;"_s);
        Talk.DownloadComplete();
        Talk.DownloadNext();
        Talk.TransportFailed(1, u"x"_s);
        Talk.HandlingFailed();
        EXPECT_TRUE(Take().isEmpty()) << when.toStdString();
    };
    LogOn();
    Talk.Stop();
    late(u"waiting for the list"_s);

    Port.Installed = { u"1"_s };
    for (const int answer : { AnswerYes, AnswerNo }) {
        Port.Answer = answer;
        Port.AtNextBox = [&] { Talk.Stop(); };
        LogOn();
        Talk.Receive(u"LIST?status=OK&data=1;"_s);
        Expect({ Overwrite(u"1"_s) }, u"stopped in the question"_s);
        late(u"in the question"_s);
    }
    Port.Broken = { u"2"_s };
    for (const QString &data : { u"2"_s, u"2,3"_s }) {
        LogOn();
        Talk.Receive(u"LIST?status=OK&data="_s + data + u';');
        Port.AtNextBox = [&] { Talk.Stop(); };
        Take();
        Talk.DownloadComplete();
        EXPECT_TRUE(Take().last().startsWith(u"16 Installation of 2 failed."_s)) << data.toStdString();
        late(u"in the failure box"_s);
    }
}
