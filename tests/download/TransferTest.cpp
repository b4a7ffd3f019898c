// SPDX-License-Identifier: Apache-2.0
#include "download/Transfer.h"

#include "tests/download/ScriptedTransport.h"
#include "tests/support/Test.h"

#include <QEventLoop>
#include <QTest>

namespace {

class TransferTest : public testing::Test {
protected:
    TransferTest()
    {
        QObject::connect(&Line, &Transfer::StateChanged, &Line, [this](int state) {
            States.append(state);
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
    // The code and what there is to be read, or the text of the failure.
    QString Course(const QString &url = u"http://server/x"_s, const QByteArray &operation = "GET")
    {
        States.clear();
        Requests.clear();
        Line.Execute(url, operation, operation == "GET" ? "" : "body");
        EXPECT_TRUE(QTest::qWaitFor([this] { return States.size() > 1 || !Line.StillExecuting(); }));
        if (States.last() != Transfer::Completed)
            return u"%1 %2"_s.arg(Line.ResponseCode()).arg(Line.ResponseInfo());
        QByteArray body;
        for (QByteArray chunk; !(chunk = Line.GetChunk(4)).isEmpty(); body += chunk)
            EXPECT_LE(chunk.size(), 4);
        EXPECT_FALSE(Line.StillExecuting());
        return QString::number(Line.ResponseCode()) + u' ' + QString::fromLatin1(body);
    }

    QStringList Requests;
    QList<Reply> Replies = { Reply::Whole("0123456789") };
    QList<int> States;
    std::function<void()> Reader;
    Transfer Line{ std::make_unique<ScriptedTransport>([this](const QString &request) { return Serve(request); }) };
};

Reply To(const QByteArray &location, int status = 302)
{
    return Reply{ {}, status }.With("location", location);
}

}

TEST_F(TransferTest, Addresses)
{
    for (const QString &url : { u"file:///etc/passwd"_s, u"ftp://localhost/x"_s, u"data:,x"_s, u""_s, u"http://"_s, u"x"_s })
        EXPECT_EQ(ResultOf([&] { Line.Execute(url, "GET"); }), u"5 Transfer::Execute()"_s) << url.toStdString();
    EXPECT_FALSE(Line.StillExecuting() || Line.IsBrokenOff());
    EXPECT_EQ(Line.GetChunk(1), "");
    // What stands behind the "?" reaches the server as bytes of the code page,
    // and nothing in it can end the request line.
    Course(u"http://me:pw@server/p.asp?sid=a b&eid=\u00E9\u0416%3B\r\nX: y#z?\"{1}"_s);
    EXPECT_EQ(Requests, QStringList{ u"GET http://server/p.asp?sid=a%20b&eid=%E9?%3B%0D%0AX:%20y%23z?%22%7B1%7D"_s });
    Line.Execute(u"https://server/x"_s, "GET");
    EXPECT_EQ(ResultOf([&] { Line.Execute(u"http://server/x"_s, "GET"); }), u"5 Transfer::Execute()"_s) << "one at a time";
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
        { "http://a/x", { To("https://b/"), To("/c"), found }, u"200 found"_s, "POST body" },
        { "http://a/x", { To("/c", 303), found }, u"200 found"_s, "GET http://a/c" },
        { "http://a/x/y/z", { To("/c", 303), To("/u/v/?a b#c"), To("../d"), found }, u"200 found"_s, "GET http://a/u/d" },
        { "http://a/x", { To("?a b#c", 303), found }, u"200 found"_s, "GET http://a/x?a%20b" },
        { "http://a/x", { To("/c", 399), found }, u"200 found"_s, "POST body" },
        { "http://a/x", QList<Reply>(10, To("/c")) + QList<Reply>{ found }, u"200 found"_s, "POST body" },
        { "http://a/x", { To("/c") }, u"47 The server redirects too often"_s, "POST body" },
        { "http://a/x", { To("/c", 400) }, u"400 reason"_s, "POST body" },
        { "http://a/x", { To("file:///etc/passwd") }, unsafe, "POST body" },
        { "http://a/x", { To("//") }, unsafe, "POST body" },
        { "https://a/x", { To("http://a/x") }, unsafe, "POST body" },
    };
    for (const auto &row : rows) {
        Replies = row.Replies;
        EXPECT_EQ(Course(QLatin1StringView(row.Url), "POST"), row.End) << row.Url;
        EXPECT_EQ(Requests.last(), QLatin1StringView(row.Last)) << row.Url;
        EXPECT_EQ(Line.IsBrokenOff(), row.End != "200 found"_L1);
    }
}

// What was on its way when the request was cancelled does not arrive.
TEST_F(TransferTest, Cancelled)
{
    Line.Execute(u"http://server/x"_s, "GET");
    Line.Cancel();
    Replies = { To("/x"), Reply::Whole("again") };
    EXPECT_EQ(Course(), u"200 again"_s);
    EXPECT_EQ(States, (QList<int>{ Transfer::Requesting, Transfer::Completed }));
    EXPECT_EQ(Line.GetHeader("Content-LENGTH"), "5");
    // Completed is raised already, but cancelled before it is seen.
    QObject::connect(&Line, &Transfer::Advanced, &Line, [&] {
        if (Line.StillExecuting() && Line.ResponseCode() == 200)
            Line.Cancel();
    });
    States.clear();
    Line.Execute(u"http://server/x"_s, "GET");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !Line.StillExecuting(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(States, QList<int>{ Transfer::Requesting });
    EXPECT_EQ(Line.GetChunk(1) + Line.GetHeader("content-length"), "");
}

// A broken connection is an error of its reader, once, behind what has arrived.
TEST_F(TransferTest, CutShort)
{
    Replies = { Reply::Whole("0123456789").Until({ .Byte = 5, .Result = 18 }) };
    QStringList read;
    Reader = [&] {
        for (int i = 0; i < 4; ++i)
            read.append(ResultOf([&] { return QString::fromLatin1(Line.GetChunk(3)); }));
        EXPECT_TRUE(Line.IsBrokenOff() && !Line.StillExecuting());
    };
    Line.Execute(u"http://server/x"_s, "GET");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !Line.StillExecuting(); }));
    EXPECT_EQ(read, QStringList({ u"012"_s, u"34"_s, u"5 Transfer::GetChunk()"_s, u""_s }));
}

// The time is for silence alone: neither for a slow server nor for a slow reader.
TEST_F(TransferTest, IdleTimeout)
{
    Replies = { Reply::Whole("0123456789") };
    Replies[0].PartBytes = 1;
    Replies[0].Pause = 20;
    Line.SetTimeouts(100, 100, 100);
    EXPECT_EQ(Course(), u"200 0123456789"_s) << "less than the time between two parts";

    Replies = { Reply::Whole("01").Until({ .IsSilent = true }) };
    Reader = [&] {
        EXPECT_EQ(Line.GetChunk(1), "0");
        QTest::qWait(150);
        EXPECT_EQ(Line.GetChunk(9), "1");
    };
    Course();
    EXPECT_EQ(Line.ResponseInfo(), u"The server does not go on"_s);

    Reader = {};
    for (const int event : { 0, 1, 2 }) {
        const auto time = [event](int of) { return event == of ? 50 : 50'000; };
        Line.SetTimeouts(time(0), time(1), time(2));
        Replies = { Reply{}.Until({ .Event = event, .IsSilent = true }) };
        EXPECT_EQ(Course(), u"28 The server does not answer"_s) << event;
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
    Line.Execute(u"http://server/x"_s, "GET");
    ASSERT_TRUE(QTest::qWaitFor([&] { return order.size() == 2; }));
    EXPECT_EQ(order, QStringList({ u"cancelled"_s, u"read"_s }));
    EXPECT_EQ(Line.ResponseCode(), 200) << "not silence";
}
