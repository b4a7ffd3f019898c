// SPDX-License-Identifier: Apache-2.0
#include "common/Error.h"
#include "service/HttpServer.h"
#include "tests/service/HttpClient.h"
#include "tests/service/ServiceFixture.h"
#include "tests/support/Program.h"

#include <QUrl>

#include <list>
#include <optional>

using namespace std::chrono_literals;

namespace {

constexpr qsizetype PackSize = 50'000'000;

// Lines of a request behind which the connection stays open.
QByteArray OpenPost(const QByteArray &lines)
{
    return "POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\n" + lines + "\r\n";
}

class HttpTest : public ServiceFixture {
protected:
    static void SetUpTestSuite()
    {
        // With a period that no buffer has.
        Sandbox::WriteFile(Sandbox::Path(u"packs/BIG.exe"_s), QByteArray("PackCourier").repeated(5'000'000).first(PackSize));
        for (const QString &name : { u"packs/EMPTY.exe"_s, u"packs/OTHER.exe"_s, u"packs/FOLDER.exe/x"_s, u"secret.exe"_s })
            Sandbox::WriteFile(Sandbox::Path(name), name.startsWith(u's') ? "secret" : "");
        QFile::link(Sandbox::Path(u"secret.exe"_s), Sandbox::Path(u"packs/LINK.exe"_s));
    }

    HttpTest()
    {
        m_store.AddUser(u"ann"_s, Password::Hash(u"pass"_s, Password::LeastCost));
        m_store.Grant(u"ann"_s, { u"BIG"_s, u"EMPTY"_s, u"FOLDER"_s, u"LINK"_s, u"GONE"_s });
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
    QByteArray Post(const QByteArray &message) const { return HttpClient::Post(Endpoint(), message); }
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
    const auto post = HttpClient::PostRequest;
    const auto get = [](const QString &target) { return HttpClient::GetRequest(target); };
    const QByteArray five = " HTTP/1.1\r\nHost: h\r\nConnection: close\r\nContent-Length: 5\r\n\r\nLIST;";
    const QByteArray chunked = "Connection: close\r\nTransfer-Encoding: chunked\r\n";
    struct Row {
        QByteArray Request;
        int Status;
        QByteArray Body = {}; // where it matters
    };
    std::vector<Row> rows = {
        { post("LIST?sid=" + sid + ';'), 200, "LIST?status=OK&data=BIG,EMPTY,FOLDER,LINK,GONE;" },
        { post(""), 200, "ERROR?code=400&description=Invalid message;" },
        { post(QByteArray(65'537, 'x')), 413 },
        { post("LIST?x=" + QByteArray(65'528, 'x') + ';'), 200, missing },
        { post(QByteArray(1'048'576, 'x')), 413 },
        { OpenPost("Content-Length: 1048577\r\n"), 413 },
        { OpenPost("Content-Length: -1\r\n"), 400 },
        { OpenPost("Content-Length: 99999999999999999999999\r\n"), 413 },
        { OpenPost(chunked) + "3\r\nLIS\r\n2\r\nT;\r\n0\r\n\r\n", 200, missing },
        { OpenPost("Content-Length: 5\r\nContent-Length: 6\r\n") + "LIST;;", 400 },
        { OpenPost("Content-Length: 5\r\n 6\r\n") + "LIST;", 400 },
        { OpenPost("Content-Length : 5\r\n") + "LIST;", 400 },
        { OpenPost("Content-Length: 5\r\nTransfer-Encoding: chunked\r\n") + "0\r\n\r\n" + get(u"/other"_s), 400 },
        { OpenPost("Transfer-Encoding: gzip, chunked\r\n") + "0\r\n\r\n", 400 },
        { OpenPost("Transfer-Encoding: x\r\n"), 400 },
        { OpenPost(chunked + "transfer-encoding: x\r\n"), 400 },
        { OpenPost(chunked).replace("1.1", "1.0"), 400 },
        { "POST /other" + five, 404 },
        { "PUT /PackCourier.asp" + five, 405 },
        { "GET /PackCourier.asp HTTP/1.1\r\nConnection: close\r\n\r\n", 400 },
        { get(u"/PackCourier.asp"_s), 403 },
        { get(u"/packcourier.asp"_s), 404 },
        { get(u"/../secret.exe"_s), 404 },
        { get(u"/"_s + QString(40'000, u'x')), 414 },
        { HttpClient::GetRequest(u"/PackCourier.asp"_s, "X: " + QByteArray(40'000, 'x') + "\r\n"), 431 },
        { Get("x", u"EMPTY"_s), 403 },
        { Get(sid.toUpper(), u"EMPTY"_s), 403 },
        { Get(sid, u"EMPTY"_s), 200, "" },
        { Get(sid, u"OTHER"_s), 403 },
        { Get(sid, u"empty"_s), 403 },
    };
    for (const QString &exam : { u"GONE"_s, u"FOLDER"_s, u"LINK"_s, u""_s, u".."_s, u"../secret"_s, u"..%2Fsecret"_s,
                                 u"/etc/passwd"_s, u"EMPTY%00"_s, u"EMPTY.exe%00"_s, u"FOLDER.exe/x"_s, u"%C3%A9"_s })
        rows.push_back({ Get(sid, exam), 404 });
    for (const Row &row : rows) {
        const HttpClient::Reply reply = Exchange(row.Request);
        const std::string request = row.Request.left(120).toStdString();
        EXPECT_EQ(reply.Status, row.Status) << request << reply.Head.toStdString();
        EXPECT_TRUE(row.Body.isNull() || reply.Body == row.Body) << request << reply.Body.toStdString();
        EXPECT_FALSE(reply.Body.contains("secret") || reply.Body.contains("HTTP/1.1 404")) << request;
    }
}

TEST_F(HttpTest, APackArrivesWhole)
{
    const QByteArray sid = StartedSession();
    const QByteArray pack = Sandbox::ReadFile(Sandbox::Path(u"packs/BIG.exe"_s));
    for (const char *more : { "", "Range: bytes=10-20\r\n", "Range: bytes=x,-\r\nAccept-Encoding: gzip\r\n" }) {
        const HttpClient::Reply reply = Exchange(Get(sid, u"BIG"_s, more));
        EXPECT_TRUE(reply.Status == 200 && reply.Body == pack) << reply.Body.size();
        for (const char *line : { "Content-Length: 50000000", "Content-Type: application/octet-stream", "Accept-Ranges: none" })
            EXPECT_TRUE((reply.Head + "\r\n").contains("\r\n" + QByteArray(line) + "\r\n")) << reply.Head.toStdString();
        EXPECT_FALSE(reply.Head.contains("Content-Encoding") || reply.Head.contains("Content-Range"));
    }
    const HttpClient::Reply head = Exchange("HEAD" + Get(sid, u"BIG"_s).mid(3));
    EXPECT_TRUE(head.Head.contains("\r\nContent-Length: 50000000") && head.Body.isEmpty()) << head.Head.toStdString();
    // One connection for a whole run.
    HttpClient client(Endpoint());
    for (int i = 0; i < 3; ++i) {
        client.Send(OpenPost("Content-Length: 2\r\n") + "X;");
        EXPECT_EQ(client.ReceiveHead().Status, 200) << i;
    }
    client.Send(Get(sid, u"EMPTY"_s));
    EXPECT_TRUE(client.Receive().Head.contains("Content-Length: 0"));
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
    HttpClient endless(Endpoint(), OpenPost("Transfer-Encoding: chunked\r\n"));
    int count = 0;
    while (endless.IsOpen() && ++count < 1'000)
        endless.Send("10000\r\n" + QByteArray(65'536, 'x') + "\r\n");
    EXPECT_LT(count, 1'000);
}

TEST_F(HttpTest, ALongDownloadIsNeitherSlowNorIdle)
{
    const QByteArray sid = StartedSession();
    HttpClient client(Endpoint(), Get(sid, u"BIG"_s));
    EXPECT_EQ(client.ReceiveHead().Status, 200);
    Pass(4h);
    EXPECT_GT(client.Receive().Body.size(), PackSize - 2'000'000);
    EXPECT_TRUE(Post("LIST?sid=" + sid + ';').startsWith("LIST?status=OK&"));
}

TEST_F(HttpTest, OneNetworkHasOnlySoMuchAtOnce)
{
    m_options.ConnectionsPerNetwork = 2;
    const QByteArray sid = StartedSession();
    const auto get = [&](const QByteArray &from) { return Get(sid, u"BIG"_s, "X-Forwarded-For: " + from + "\r\n"); };
    using Row = std::pair<const char *, int>;
    // Whose word does not count, and behind a trusted proxy.
    const std::vector<Row> direct = { { "192.0.2.1", 200 }, { "192.0.2.2", 200 }, { "192.0.2.3", 0 } };
    const std::vector<Row> proxied = {
        { "2001:db8::1", 200 },
        { "2001:db8::2", 200 },
        { "192.0.2.1, 2001:db8::3", 429 },
        { "192.0.2.1", 200 },
        { "192.0.2.2\r\nx-forwarded-for: 192.0.2.1", 200 },
        { "192.0.2.1", 429 },
        { "192.0.2.2", 200 },
    };
    for (const auto &rows : { direct, proxied }) {
        std::list<HttpClient> clients;
        for (const auto &[from, status] : rows) {
            clients.emplace_back(Endpoint(), get(from));
            EXPECT_EQ(clients.back().ReceiveHead().Status, status) << from;
        }
        clients.pop_front();
        Await([&] { return Exchange("HEAD" + get("2001:db8::4").mid(3)).Status == 200; });
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
    for (HttpClient &client : clients) {
        const HttpClient::Reply reply = client.Receive();
        ++count[reply.Status];
        EXPECT_EQ(reply.Head.contains("\r\nRetry-After: "), reply.Status == 429);
        EXPECT_TRUE(reply.Body.startsWith(reply.Status == 200 ? "LOGIN?status=OK&sid=" : "ERROR?code=429&")) << reply.Status;
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
    EXPECT_TRUE(plain.startsWith("https://127.0.0.1:"_L1)) << plain.toStdString();
    EXPECT_TRUE(Exchange(Get(sid, u"BIG"_s)).Body == Sandbox::ReadFile(Sandbox::Path(u"packs/BIG.exe"_s)));

    // With a key exchange that the certificate's key can open later; with CBC.
    for (const auto &[cipher, code] : { std::pair{ "kRSA+AESGCM", 1 }, std::pair{ "ECDHE+AES+SHA1", 1 },
                                        std::pair{ "ECDHE+AES+SHA256", 1 }, std::pair{ "ECDHE+AESGCM", 0 } }) {
        const QString wish
            = u"s_client -tls1_2 -connect %1 -cipher %2"_s.arg(QUrl(plain).authority(), QString::fromLatin1(cipher));
        EXPECT_EQ(OutcomeOf(u"openssl"_s, wish.split(u' ')).Code, code) << cipher;
    }
    plain.replace("https:"_L1, "http:"_L1);
    EXPECT_EQ(HttpClient::Post(plain, "X;"), QByteArray());
    // Nothing was said yet, and the handshake has its time, too.
    HttpClient silent(plain);
    Post("X;");
    Pass(m_options.RequestTimeout);
    EXPECT_TRUE(silent.HasEnded());
    m_options.Key = "nonsense";
    EXPECT_THROW(Start(), Error);
}

TEST_F(HttpTest, AddressesThatCannotBeHad)
{
    Start();
    m_options.Port = static_cast<quint16>(QUrl(Endpoint()).port());
    EXPECT_THROW(HttpServer(m_responder, m_options), Error);
    m_options.Port = 0;
    for (const QString &address : { u"localhost"_s, u""_s, u"300.1.1.1"_s, u"192.0.2.1"_s }) {
        m_options.Address = address;
        EXPECT_THROW(HttpServer(m_responder, m_options), Error) << address.toStdString();
    }
}
