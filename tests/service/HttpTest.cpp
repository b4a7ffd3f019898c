// SPDX-License-Identifier: Apache-2.0
#include "tests/service/ServiceFixture.h"
#include "tests/support/Program.h"

#include <QElapsedTimer>

#include <list>

#include <sys/stat.h>

using namespace std::chrono_literals;

class HttpTest : public ServiceFixture {
protected:
    static void SetUpTestSuite()
    {
        // With a period that no buffer has.
        Sandbox::WriteFile(Sandbox::Path(u"packs/BIG.exe"_s), QByteArray("PackCourier").repeated(3'000'000));
        for (const QString &name : { u"EMPTY.exe"_s, u"OTHER.exe"_s, u"FOLDER.exe/x"_s })
            Sandbox::WriteFile(Sandbox::Path(u"packs/"_s + name), {});
        QFile::link(Sandbox::Path(u"packs/EMPTY.exe"_s), Sandbox::Path(u"packs/LINK.exe"_s));
        ::mkfifo(qPrintable(Sandbox::Path(u"packs/PIPE.exe"_s)), 0600);
    }
    void Pass(std::chrono::milliseconds time)
    {
        m_clock.Advance(time);
        m_server->CloseOverdue();
    }
};

TEST_F(HttpTest, EveryRequestHasItsStatus)
{
    struct Row {
        QByteArray Request;
        int Status;
        QByteArray Body;
    };
    m_store.Grant(u"ann"_s, { u"FOLDER"_s, u"LINK"_s, u"PIPE"_s, u"GONE"_s });
    const QByteArray sid = StartedSession();
    const QByteArray missing = "ERROR?code=422&description=The parameter \"sid\" is missing.;";
    const QByteArray tooLong = "The message is too long.\n", nothing = "There is nothing here.\n";
    const QByteArray noSession = "You are not logged on, or not any more.\n";
    const QByteArray chunked = "Connection: close\r\nTransfer-Encoding: chunked\r\n", noPiece = "0\r\n\r\n";
    const QByteArray list = PostOf("LIST;");
    std::vector<Row> rows = {
        { list, 200, missing },
        { PostOf(""), 200, "ERROR?code=400&description=Invalid message;" },
        { PostOf("LIST?x=" + QByteArray(65'528, 'x') + ';'), 200, missing },
        { OpenPost(chunked) + "3\r\nLIS\r\n2\r\nT;\r\n" + noPiece, 200, missing },
        { PostOf(QByteArray(65'537, 'x')), 413, tooLong },
        { PostOf(QByteArray(1'048'576, 'x')), 413, tooLong },
        { OpenPost("Content-Length: 1048577\r\n"), 413, tooLong },
        { QByteArray(list).replace("PackCourier", "other"), 404, nothing },
        { GetOf(sid, "EMPTY").replace("PackC", "packc"), 404, nothing },
        { QByteArray(list).replace("POST", "PUT"), 405, "GET, HEAD or POST.\n" },
        { GetOf("x", "EMPTY"), 403, noSession },
        { GetOf(sid, "EMPTY").replace("sid", "six"), 403, noSession },
        { GetOf(sid, "OTHER"), 403, "You do not have this exam.\n" },
        { GetOf(sid, "EMPTY"), 200, "" },
    };
    for (const QByteArray &request :
         { OpenPost("Content-Length: 5\r\nContent-Length: 6\r\n") + "LIST;;", OpenPost("Content-Length: 5\r\n 6\r\n") + "LIST;",
           OpenPost("Content-Length : 5\r\n") + "LIST;", OpenPost("X\t: 5\r\n"), OpenPost(chunked).replace("1.1", "1.0"),
           OpenPost("Content-Length: 5\r\nTransfer-Encoding: chunked\r\n") + noPiece + GetOf(sid, "EMPTY"),
           OpenPost("Transfer-Encoding: gzip, chunked\r\n") + noPiece,
           OpenPost("Transfer-Encoding: chunked\r\n x\r\n") + noPiece })
        rows.push_back({ request, 400, "Where this request ends is not clear.\n" });
    for (const char *exam : { "GONE", "FOLDER", "LINK", "PIPE" })
        rows.push_back({ GetOf(sid, exam), 404, "The pack of this exam is not there.\n" });
    for (const char *exam : { "", "../secret", "..%2Fsecret", "EMPTY%00", "FOLDER.exe/x", "%C3%A9" })
        rows.push_back({ GetOf(sid, exam), 404, "There is no such exam.\n" });
    for (const Row &row : rows) {
        const QByteArray reply = Exchange(row.Request);
        const std::string request = row.Request.left(120).toStdString();
        EXPECT_EQ(StatusOf(reply), row.Status) << request << reply.toStdString();
        EXPECT_EQ(BodyOf(reply), row.Body) << request << reply.toStdString();
        const QByteArray type = row.Body.isEmpty() ? "application/octet-stream" : "text/plain";
        EXPECT_TRUE(reply.contains("\r\nContent-Type: " + type + "\r\n")) << request;
        EXPECT_TRUE(reply.contains("\r\nCache-Control: no-store\r\n")) << request;
        EXPECT_EQ(reply.contains("\r\nAllow: GET, HEAD, POST\r\n"), row.Status == 405) << request;
    }
}

TEST_F(HttpTest, APackArrivesWhole)
{
    QByteArray sid = StartedSession();
    const QByteArray pack = Sandbox::ReadFile(Sandbox::Path(u"packs/BIG.exe"_s));
    // What takes long is neither overdue nor idle.
    const auto slow = Connect(m_server->Endpoint(), GetOf(sid, "BIG"));
    const QByteArray begun = Receive(*slow, "\r\n\r\n");
    Pass(4h);
    EXPECT_TRUE(BodyOf(begun + Receive(*slow)) == pack);
    const QByteArray range = Exchange(GetOf(sid, "BIG", "Range: bytes=10-20\r\nAccept-Encoding: gzip\r\n"));
    EXPECT_TRUE(BodyOf(range) == pack && range.contains("\r\nAccept-Ranges: none\r\n"));
    const QByteArray head = Exchange("HEAD" + GetOf(sid, "BIG").mid(3));
    EXPECT_TRUE(head.contains("\r\nContent-Length: 33000000\r\n") && BodyOf(head).isEmpty()) << head.toStdString();

    m_options.BytesPerSecond = 40'000'000;
    sid = StartedSession();
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(BodyOf(Exchange(GetOf(sid, "BIG"))) == pack);
    EXPECT_GT(timer.elapsed(), 800);
}

TEST_F(HttpTest, WhoSendsTooSlowlyOrTooMuchIsCutOff)
{
    StartedSession();
    for (const QByteArray &sent : { QByteArray("POST /Pa"), OpenPost("Content-Length: 9\r\n") + "LIS", PostOf("X;", {}) }) {
        const auto slow = Connect(m_server->Endpoint(), sent);
        Pass(m_options.RequestTimeout - 1ms);
        EXPECT_FALSE(HasEnded(*slow, 20)) << sent.toStdString();
        Await([&] {
            Pass(m_options.RequestTimeout);
            return HasEnded(*slow, 1);
        });
    }
    const QByteArray piece = "10000\r\n" + QByteArray(65'536, 'x') + "\r\n";
    EXPECT_EQ(Exchange(OpenPost("Transfer-Encoding: chunked\r\n") + piece.repeated(500) + "0\r\n\r\n"), "");
}

TEST_F(HttpTest, OneNetworkHasOnlySoMuchAtOnce)
{
    m_options.ConnectionsPerNetwork = 2;
    const QByteArray sid = StartedSession();
    const auto get = [&](const QByteArray &from) { return GetOf(sid, "BIG", "X-Forwarded-For: " + from + "\r\n"); };
    using Rows = std::vector<std::pair<const char *, int>>;
    const auto check = [&](const Rows &rows, int refused) {
        std::list<std::unique_ptr<QSslSocket>> clients;
        // A connection that has just ended counts until the server has noticed.
        const auto isLetIn = [&](const char *from) {
            clients.push_back(Connect(m_server->Endpoint(), get(from)));
            const bool isIn = StatusOf(Receive(*clients.back(), "\r\n\r\n")) == 200;
            if (!isIn)
                clients.pop_back();
            return isIn;
        };
        for (const auto &[from, status] : rows) {
            if (status == 200) {
                Await([&, from = from] { return isLetIn(from); });
                continue;
            }
            const QByteArray reply = Exchange(get(from));
            EXPECT_EQ(StatusOf(reply), status) << from;
            EXPECT_EQ(reply.contains("\r\nRetry-After: 5\r\n"), status == 429) << from;
        }
        // There is room again behind the first, and no more than that.
        clients.pop_front();
        Await([&] { return isLetIn("2001:db8::4"); });
        EXPECT_EQ(StatusOf(Exchange(get("2001:db8::5"))), refused);
    };
    check({ { "192.0.2.1", 200 }, { "192.0.2.2", 200 }, { "192.0.2.3", 0 } }, 0);
    m_options.Proxies.Add(u"127.0.0.1"_s);
    Start();
    check({ { "2001:db8::1", 200 },
            { "2001:db8::2", 200 },
            { "192.0.2.1, 2001:db8::3", 429 },
            { "192.0.2.2\r\nx-forwarded-for: 192.0.2.1", 200 } },
          429);
}

TEST_F(HttpTest, PasswordsAreCheckedBesideEverythingElse)
{
    m_store.SetPassword(u"ann"_s, Password::Hash(u"pass"_s, { 2 * Password::UsualCost.Passes, Password::UsualCost.Bytes }));
    m_options.LoginThreads = 1;
    m_options.MaximumWaitingLogins = 4;
    const QByteArray sid = StartedSession();
    const QByteArray busy
        = "ERROR?code=429&description=Too many users are logging on at this moment. Please try again in a few seconds.;";
    std::vector<std::unique_ptr<QSslSocket>> clients;
    const auto logOn = [&] {
        clients.clear();
        for (int i = 0; i < 8; ++i)
            clients.push_back(Connect(m_server->Endpoint(), PostOf("LOGIN?email=ann&pwd=pass;")));
    };
    // One is checked, four wait.
    logOn();
    EXPECT_TRUE(Post("LIST?sid=" + sid + ';').startsWith("LIST?status=OK&"));
    EXPECT_FALSE(std::all_of(clients.begin(), clients.end(), [](const auto &client) { return client->waitForReadyRead(0); }));
    int count = 0;
    for (const auto &client : clients) {
        const QByteArray reply = Receive(*client);
        count += StatusOf(reply) == 200;
        EXPECT_TRUE(StatusOf(reply) == 429 ? BodyOf(reply) == busy : reply.contains("LOGIN?status=OK&sid="))
            << reply.toStdString();
    }
    EXPECT_TRUE(count >= 4 && count < 8) << count;

    logOn();
    m_server.reset();
    EXPECT_TRUE(std::all_of(clients.begin(), clients.end(), [](const auto &client) { return HasEnded(*client); }));
}
