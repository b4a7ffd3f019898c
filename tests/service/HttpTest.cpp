// SPDX-License-Identifier: Apache-2.0
#include "service/HttpServer.h"
#include "tests/service/HttpClient.h"
#include "tests/service/ServiceFixture.h"
#include "tests/support/Program.h"

#include <QElapsedTimer>

#include <list>

#include <sys/stat.h>

using namespace std::chrono_literals;

namespace {

// A request behind which the connection stays open.
QByteArray OpenPost(const QByteArray &lines)
{
    return "POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\n" + lines + "\r\n";
}

class HttpTest : public ServiceFixture {
protected:
    static void SetUpTestSuite()
    {
        // With a period that no buffer has.
        Sandbox::WriteFile(Sandbox::Path(u"packs/BIG.exe"_s), QByteArray("PackCourier").repeated(3'000'000));
        for (const QString &name : { u"packs/EMPTY.exe"_s, u"packs/OTHER.exe"_s, u"packs/FOLDER.exe/x"_s, u"secret.exe"_s })
            Sandbox::WriteFile(Sandbox::Path(name), name.startsWith(u's') ? "secret" : "");
        QFile::link(Sandbox::Path(u"secret.exe"_s), Sandbox::Path(u"packs/LINK.exe"_s));
        ::mkfifo(qPrintable(Sandbox::Path(u"packs/PIPE.exe"_s)), 0600);
    }

    HttpTest()
    {
        m_store.AddUser(u"ann"_s, Password::Hash(u"pass"_s, Password::LeastCost));
        m_store.Grant(u"ann"_s, { u"BIG"_s, u"EMPTY"_s, u"FOLDER"_s, u"LINK"_s, u"PIPE"_s, u"GONE"_s });
        m_options.Packs = Sandbox::Path(u"packs"_s);
    }

    void Start() { m_server.emplace(m_responder, m_options, m_clock); }
    // Starts and logs on.
    QByteArray StartedSession()
    {
        Start();
        return SessionIn(Post("LOGIN?email=ann&pwd=pass;"));
    }
    void Pass(std::chrono::milliseconds time)
    {
        m_clock.Advance(time);
        m_server->CloseOverdue();
    }
    QString Endpoint() const { return m_server->Endpoint(); }
    QByteArray Post(const QByteArray &message) const { return Exchange(HttpClient::PostRequest(message)).Body; }
    HttpClient::Reply Exchange(const QByteArray &request) const { return HttpClient(Endpoint(), request).Receive(); }
    static QByteArray Get(const QByteArray &sid, const QString &exam, const QByteArray &more = {})
    {
        return HttpClient::GetRequest(u"/PackCourier.asp?sid=%1&eid=%2"_s.arg(QString::fromLatin1(sid), exam), more);
    }

    HttpServer::Options m_options;
    std::optional<HttpServer> m_server;
};

}

TEST_F(HttpTest, EveryRequestHasItsStatus)
{
    const QByteArray sid = StartedSession();
    const QByteArray missing = "ERROR?code=422&description=The parameter \"sid\" is missing.;";
    const QByteArray tooLong = "The message is too long.\n", unclear = "Where this request ends is not clear.\n";
    const QByteArray nothing = "There is nothing here.\n", noSession = "You are not logged on, or not any more.\n";
    const QByteArray chunked = "Connection: close\r\nTransfer-Encoding: chunked\r\n";
    const auto post = [](const QByteArray &body) { return HttpClient::PostRequest(body); };
    const auto get = [](const QString &target) { return HttpClient::GetRequest(target); };
    struct Row {
        QByteArray Request;
        int Status;
        QByteArray Body;
    };
    std::vector<Row> rows = {
        { post("LIST?sid=" + sid + ';'), 200, "LIST?status=OK&data=BIG,EMPTY,FOLDER,LINK,PIPE,GONE;" },
        { post(""), 200, "ERROR?code=400&description=Invalid message;" },
        { post("LIST?x=" + QByteArray(65'528, 'x') + ';'), 200, missing },
        { post(QByteArray(65'537, 'x')), 413, tooLong },
        { post(QByteArray(1'048'576, 'x')), 413, tooLong },
        { OpenPost("Content-Length: 1048577\r\n"), 413, tooLong },
        { OpenPost(chunked) + "3\r\nLIS\r\n2\r\nT;\r\n0\r\n\r\n", 200, missing },
        { OpenPost("Content-Length: 5\r\nContent-Length: 6\r\n") + "LIST;;", 400, unclear },
        { OpenPost("Content-Length: 5\r\n 6\r\n") + "LIST;", 400, unclear },
        { OpenPost("Content-Length : 5\r\n") + "LIST;", 400, unclear },
        { OpenPost("X\t: 5\r\n"), 400, unclear },
        { OpenPost("Content-Length: 5\r\nTransfer-Encoding: chunked\r\n") + "0\r\n\r\n" + get(u"/other"_s), 400, unclear },
        { OpenPost("Transfer-Encoding: gzip, chunked\r\n") + "0\r\n\r\n", 400, unclear },
        { OpenPost("Transfer-Encoding: chunked\r\n x\r\n"), 400, unclear },
        { OpenPost(chunked).replace("1.1", "1.0"), 400, unclear },
        { post("LIST;").replace("PackCourier", "other"), 404, nothing },
        { get(u"/packcourier.asp"_s), 404, nothing },
        { get(u"/../secret.exe"_s), 404, nothing },
        { post("LIST;").replace("POST", "PUT"), 405, "GET, HEAD or POST.\n" },
        { get(u"/PackCourier.asp"_s), 403, noSession },
        { Get("x", u"EMPTY"_s), 403, noSession },
        { Get(sid, u"EMPTY"_s), 200, "" },
        { Get(sid, u"OTHER"_s), 403, "You do not have this exam.\n" },
    };
    for (const QString &exam : { u"GONE"_s, u"FOLDER"_s, u"LINK"_s, u"PIPE"_s })
        rows.push_back({ Get(sid, exam), 404, "The pack of this exam is not there.\n" });
    for (const QString &exam : { u""_s, u"../secret"_s, u"..%2Fsecret"_s, u"EMPTY%00"_s, u"FOLDER.exe/x"_s, u"%C3%A9"_s })
        rows.push_back({ Get(sid, exam), 404, "There is no such exam.\n" });
    for (const Row &row : rows) {
        const HttpClient::Reply reply = Exchange(row.Request);
        const std::string request = row.Request.left(120).toStdString();
        EXPECT_EQ(reply.Status, row.Status) << request << reply.Head.toStdString();
        EXPECT_EQ(reply.Body, row.Body) << request << reply.Body.toStdString();
        const bool isPack = row.Request.startsWith("GET") && row.Status == 200;
        EXPECT_TRUE(reply.Head.contains(isPack ? "\r\nContent-Type: application/octet-stream\r\n"
                                               : "\r\nContent-Type: text/plain\r\n"));
        EXPECT_TRUE(reply.Head.contains("\r\nCache-Control: no-store\r\n")) << request;
        EXPECT_EQ(reply.Head.contains("\r\nAllow: GET, HEAD, POST\r\n"), row.Status == 405) << request;
    }
}

TEST_F(HttpTest, APackArrivesWhole)
{
    const QByteArray sid = StartedSession();
    const QByteArray pack = Sandbox::ReadFile(Sandbox::Path(u"packs/BIG.exe"_s));
    // What takes long is neither overdue nor idle.
    HttpClient slow(Endpoint(), Get(sid, u"BIG"_s));
    EXPECT_EQ(slow.ReceiveHead().Status, 200);
    Pass(4h);
    EXPECT_TRUE(slow.Receive().Body == pack);
    const HttpClient::Reply range = Exchange(Get(sid, u"BIG"_s, "Range: bytes=10-20\r\nAccept-Encoding: gzip\r\n"));
    EXPECT_TRUE(range.Status == 200 && range.Body == pack && range.Head.contains("\r\nAccept-Ranges: none\r\n"));
    const HttpClient::Reply head = Exchange("HEAD" + Get(sid, u"BIG"_s).mid(3));
    EXPECT_TRUE(head.Head.contains("\r\nContent-Length: 33000000\r\n") && head.Body.isEmpty()) << head.Head.toStdString();

    m_options.BytesPerSecond = 40'000'000;
    Start();
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(Exchange(Get(sid, u"BIG"_s)).Body == pack);
    EXPECT_GT(timer.elapsed(), 800);
}

TEST_F(HttpTest, WhoSendsTooSlowlyOrTooMuchIsCutOff)
{
    Start();
    for (const QByteArray &beginning :
         { QByteArray(), QByteArray("POST /Pa"), OpenPost("X: ").chopped(4), OpenPost("Content-Length: 9\r\n") + "LIS" }) {
        HttpClient slow(Endpoint(), beginning);
        // An answer to somebody else: the service has seen the connection.
        Post("X;");
        Pass(m_options.RequestTimeout - 1ms);
        Post("X;");
        EXPECT_TRUE(slow.IsOpen()) << beginning.toStdString();
        Pass(1ms);
        EXPECT_TRUE(slow.HasEnded()) << beginning.toStdString();
    }
    // The time begins again with the next request, on one connection for a whole run.
    HttpClient client(Endpoint());
    for (const auto time : { m_options.RequestTimeout - 1ms, m_options.RequestTimeout - 1ms, m_options.RequestTimeout }) {
        client.Send(HttpClient::PostRequest("X;", {}));
        EXPECT_EQ(client.ReceiveHead().Status, 200);
        Pass(time);
    }
    EXPECT_TRUE(client.HasEnded());

    HttpClient endless(Endpoint(), OpenPost("Transfer-Encoding: chunked\r\n"));
    int count = 0;
    while (endless.IsOpen() && ++count < 1'000)
        endless.Send("10000\r\n" + QByteArray(65'536, 'x') + "\r\n");
    EXPECT_LT(count, 1'000);
}

TEST_F(HttpTest, OneNetworkHasOnlySoMuchAtOnce)
{
    m_options.ConnectionsPerNetwork = 2;
    const QByteArray sid = StartedSession();
    const auto get = [&](const QByteArray &from) { return Get(sid, u"BIG"_s, "X-Forwarded-For: " + from + "\r\n"); };
    using Row = std::pair<const char *, int>;
    // Whose word does not count, and behind a trusted proxy.
    const std::vector<Row> direct = { { "192.0.2.1", 200 }, { "192.0.2.2", 200 }, { "192.0.2.3", 0 } };
    const std::vector<Row> proxied = { { "2001:db8::1", 200 },
                                       { "2001:db8::2", 200 },
                                       { "192.0.2.1, 2001:db8::3", 429 },
                                       { "192.0.2.1", 200 },
                                       { "192.0.2.2\r\nx-forwarded-for: 192.0.2.1", 200 },
                                       { "192.0.2.1", 429 },
                                       { "192.0.2.2", 200 } };
    for (const auto &rows : { direct, proxied }) {
        std::list<HttpClient> clients;
        for (const auto &[from, status] : rows) {
            clients.emplace_back(Endpoint(), get(from));
            const HttpClient::Reply reply = clients.back().ReceiveHead();
            EXPECT_EQ(reply.Status, status) << from;
            EXPECT_EQ(reply.Head.contains("\r\nRetry-After: 5\r\n"), status == 429) << from;
        }
        // There is room again behind the first, and no more than that.
        clients.pop_front();
        Await([&] { return Exchange("HEAD" + get("2001:db8::4").mid(3)).Status == 200; });
        HttpClient again(Endpoint(), get("2001:db8::4"));
        EXPECT_EQ(again.ReceiveHead().Status, 200);
        EXPECT_EQ(Exchange(get("2001:db8::5")).Status, rows.back().second == 200 ? 429 : 0);
        m_options.Proxies.Add(u"127.0.0.1"_s);
        Start();
    }
}

TEST_F(HttpTest, PasswordsAreCheckedBesideEverythingElse)
{
    m_store.SetPassword(u"ann"_s, Password::Hash(u"pass"_s, { 2 * Password::UsualCost.Passes, Password::UsualCost.Bytes }));
    m_options.LoginThreads = 1;
    m_options.MaximumWaitingLogins = 4;
    const QByteArray sid = StartedSession();
    std::list<HttpClient> clients;
    const auto logOn = [&] {
        clients.clear();
        for (int i = 0; i < 8; ++i)
            clients.emplace_back(Endpoint(), HttpClient::PostRequest("LOGIN?email=ann&pwd=pass;"));
    };
    // One is checked, four wait.
    logOn();
    EXPECT_TRUE(Post("LIST?sid=" + sid + ';').startsWith("LIST?status=OK&"));
    EXPECT_FALSE(std::all_of(clients.begin(), clients.end(), [](HttpClient &client) { return client.HasAnswer(); }));
    std::map<int, int> count;
    const QByteArray busy
        = "ERROR?code=429&description=Too many users are logging on at this moment. Please try again in a few seconds.;";
    for (HttpClient &client : clients) {
        const HttpClient::Reply reply = client.Receive();
        ++count[reply.Status];
        EXPECT_TRUE(reply.Status == 429 ? reply.Body == busy : reply.Body.startsWith("LOGIN?status=OK&sid=")) << reply.Status;
    }
    EXPECT_TRUE(count[200] >= 4 && count[429] >= 1 && count[200] + count[429] == 8) << count[200] << ' ' << count[429];

    logOn();
    m_server.reset();
    EXPECT_TRUE(std::all_of(clients.begin(), clients.end(), [](HttpClient &client) { return client.HasEnded(); }));
}

TEST_F(HttpTest, ASelfSignedCertificate)
{
    const QString options = u"req -x509 -newkey rsa:2048 -nodes -subj /CN=localhost -keyout - -out -"_s;
    m_options.Certificate = m_options.Key = OutcomeOf(u"openssl"_s, options.split(u' ')).Out.toLatin1();
    const QByteArray sid = StartedSession();
    QString plain = Endpoint();
    EXPECT_EQ(Exchange(Get(sid, u"BIG"_s)).Body.size(), 33'000'000);
    // With a key exchange that the certificate's key can open later; without an authenticated cipher.
    for (const auto &[cipher, code] :
         { std::pair{ "kRSA+AESGCM", 1 }, std::pair{ "ECDHE+AES+SHA1", 1 }, std::pair{ "ECDHE+AESGCM", 0 } }) {
        const QString client
            = u"s_client -tls1_2 -connect %1 -cipher %2"_s.arg(QUrl(plain).authority(), QString::fromLatin1(cipher));
        EXPECT_EQ(OutcomeOf(u"openssl"_s, client.split(u' ')).Code, code) << cipher;
    }
    plain.replace("https:"_L1, "http:"_L1);
    // Nothing is sent, and the handshake has its time, too.
    HttpClient silent(plain);
    Post("X;");
    Pass(m_options.RequestTimeout);
    EXPECT_TRUE(silent.HasEnded());
    m_options.Key = "nonsense";
    EXPECT_EQ(ResultOf([&] { Start(); }), u"5 HttpServer::Start()"_s);
}

TEST_F(HttpTest, Addresses)
{
    const QString networks = u"/proc/net/if_inet6"_s; // a machine may have none
    if (QFile::exists(networks) && Sandbox::ReadFile(networks).contains(" lo\n")) {
        m_options.Address = u"::1"_s;
        Start();
        EXPECT_TRUE(Endpoint().startsWith("http://[::1]:"_L1)) << Endpoint().toStdString();
        EXPECT_EQ(Post("LIST?sid=x;").left(15), "ERROR?code=401&");
    }
    m_options.Address = u"127.0.0.1"_s;
    Start();
    m_options.Port = static_cast<quint16>(QUrl(Endpoint()).port());
    const auto start = [&] { HttpServer(m_responder, m_options); };
    EXPECT_EQ(ResultOf(start), u"5 HttpServer::Start()"_s) << "the port is in use";
    m_options.Port = 0;
    for (const QString &address : { u"localhost"_s, u""_s, u"300.1.1.1"_s, u"192.0.2.1"_s }) {
        m_options.Address = address;
        EXPECT_EQ(ResultOf(start), u"5 HttpServer::Start()"_s) << address.toStdString();
    }
}
