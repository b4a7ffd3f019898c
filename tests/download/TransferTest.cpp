// SPDX-License-Identifier: Apache-2.0
#include "download/Transfer.h"

#include "tests/download/Course.h"
#include "tests/download/ScriptedTransport.h"

namespace {

const QString Address = u"http://server/x"_s;

class TransferTest : public testing::Test {
protected:
    TransferTest()
    {
        QObject::connect(&Line, &Transfer::StateChanged, &Line, [this](int state) {
            if (state == Transfer::Completed && Reader)
                Reader();
        });
    }
    // Each request gets the next reply, and all others the last one.
    Reply Serve(const QString &request)
    {
        Requests.append(request);
        return Replies.size() > 1 ? Replies.takeFirst() : Replies.value(0);
    }
    QStringList Requests;
    QList<Reply> Replies = { Reply::Whole("0123456789") };
    std::function<void()> Reader;
    Transfer Line{ std::make_unique<ScriptedTransport>([this](const QString &request) { return Serve(request); }) };
};

}

TEST_F(TransferTest, Addresses)
{
    for (const QString &url : { u"file:///etc/passwd"_s, u"ftp://localhost/x"_s, u"data:,x"_s, u""_s, u"http://"_s, u"x"_s })
        EXPECT_EQ(ResultOf([&] { Line.Execute(url, "GET"); }), u"5 Transfer::Execute()"_s) << url.toStdString();
    EXPECT_FALSE(Line.StillExecuting() || Line.IsBrokenOff());
    EXPECT_EQ(Line.GetChunk(1), "");
    // What stands behind the "?" reaches the server as bytes of the code page,
    // and nothing in it can end the request line.
    Course(Line, u"http://me:pw@server/p.asp?sid=a b&eid=\u00E9\u0416%3B\r\nX: y#z?\"{1}"_s, "GET");
    EXPECT_EQ(Requests, QStringList{ u"GET http://server/p.asp?sid=a%20b&eid=%E9?%3B%0D%0AX:%20y%23z?%22%7B1%7D"_s });
    Line.Execute(u"https://server/x"_s, "GET");
    EXPECT_EQ(ResultOf([&] { Line.Execute(Address, "GET"); }), u"5 Transfer::Execute()"_s) << "one at a time";
}

TEST_F(TransferTest, Redirections)
{
    const Reply found = Reply::Whole("found");
    const QString unsafe = u"1 The server redirects to an address that is not safe"_s;
    const struct {
        const char *Url;
        QList<Reply> Replies;
        QString End;
        const char *Last; // request
    } rows[] = {
        { "http://a/x", { To("https://b/"), To("/c"), found }, u"200 found"_s, "POST a;b" },
        { "http://a/x", { To("/c", 303), found }, u"200 found"_s, "GET http://a/c" },
        { "http://a/x/y/z", { To("/c", 303), To("/u/v/"), To("../d?a b#c"), found }, u"200 found"_s, "GET http://a/u/d?a%20b" },
        { "http://a/x", { To("/c", 399), found }, u"200 found"_s, "POST a;b" },
        { "http://a/x", QList<Reply>(10, To("/c")) + QList<Reply>{ found }, u"200 found"_s, "POST a;b" },
        { "http://a/x", { To("/c") }, u"47 The server redirects too often"_s, "POST a;b" },
        { "http://a/x", { To("/c", 400) }, u"400 reason"_s, "POST a;b" },
        { "http://a/x", { To("file:///etc/passwd") }, unsafe, "POST a;b" },
        { "http://a/x", { To("//") }, unsafe, "POST a;b" },
        { "https://a/x", { To("http://a/x") }, unsafe, "POST a;b" },
    };
    for (const auto &row : rows) {
        Replies = row.Replies;
        EXPECT_EQ(Course(Line, QLatin1StringView(row.Url)), row.End) << row.Url;
        EXPECT_EQ(Requests.last(), QLatin1StringView(row.Last)) << row.Url;
        EXPECT_EQ(Line.IsBrokenOff(), row.End != "200 found"_L1);
    }
}

// What was on its way when the request was cancelled does not arrive.
TEST_F(TransferTest, Cancelled)
{
    Replies = { To("/x", 400), To("/x"), Reply::Whole("again") };
    EXPECT_EQ(Course(Line, Address), u"400 reason"_s);
    Line.Execute(Address, "GET");
    EXPECT_EQ(QString::number(Line.ResponseCode()) + Line.ResponseInfo(), u"0"_s) << "nothing of the one before";
    Line.Cancel();
    EXPECT_EQ(Course(Line, Address), u"200 again"_s);
    EXPECT_EQ(Line.GetHeader("Content-LENGTH"), "5");
    // Completed is raised already, but cancelled before it is seen.
    QObject::connect(&Line, &Transfer::Advanced, &Line, [&] {
        if (Line.StillExecuting() && Line.ResponseCode() == 200)
            Line.Cancel();
    });
    EXPECT_EQ(Course(Line, Address), u""_s);
    EXPECT_EQ(Line.GetChunk(1) + Line.GetHeader("content-length"), "");
}

// The time is for silence alone: neither for a slow server nor for a slow reader.
TEST_F(TransferTest, IdleTimeout)
{
    Replies = { Reply::Whole("0123456789") };
    Replies[0].PartBytes = 1;
    Replies[0].Pause = 20;
    Line.SetTimes({ 100, 100, 100 });
    EXPECT_EQ(Course(Line, Address), u"200 0123456789"_s) << "less than the time between two parts";

    Replies = { Reply::Whole("01").Until({ .IsSilent = true }) };
    Reader = [&] {
        EXPECT_EQ(Line.GetChunk(1), "0");
        QTest::qWait(150);
        EXPECT_EQ(Line.GetChunk(9), "1");
    };
    Course(Line, Address);
    EXPECT_EQ(Line.ResponseInfo(), u"The server does not go on"_s);

    Reader = {};
    for (const int event : { 0, 1, 2 }) {
        const auto time = [event](int of) { return event == of ? 50 : 50'000; };
        Line.SetTimes({ time(0), time(1), time(2) });
        Replies = { Reply{}.Until({ .Event = event, .IsSilent = true }) };
        EXPECT_EQ(Course(Line, Address), u"28 The server does not answer"_s) << event;
    }
}

// While GetChunk waits, what was posted before it began is done, although it was
// itself called by such an event.
TEST_F(TransferTest, PostedBehind)
{
    Replies = { Reply::Whole("REPORT;;;").Until({ .Byte = 6, .IsSilent = true }) };
    QStringList order;
    const auto post = [this](auto action) { QMetaObject::invokeMethod(&Line, action, Qt::QueuedConnection); };
    Reader = [&] {
        post([&] {
            EXPECT_EQ(Line.GetChunk(1024), "REPORT");
            EXPECT_EQ(Line.GetChunk(1024), "");
            order.append(u"read"_s);
        });
        post([&] {
            order.append(u"cancelled"_s);
            Line.Cancel();
        });
    };
    Line.Execute(Address, "GET");
    ASSERT_TRUE(QTest::qWaitFor([&] { return order.size() == 2; }));
    EXPECT_EQ(order, QStringList({ u"cancelled"_s, u"read"_s }));
    EXPECT_EQ(Line.ResponseCode(), 200) << "not silence";
}
