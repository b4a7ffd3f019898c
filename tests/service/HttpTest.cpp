#include "tests/service/HttpClient.h"
#include "tests/service/ManualClock.h"
#include "tests/support/Sandbox.h"

#include "common/Error.h"
#include "service/HttpServer.h"
#include "service/Password.h"

#include <QCryptographicHash>
#include <QFile>
#include <QProcess>
#include <QUrl>

#include <gtest/gtest.h>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qsizetype PackSize = 50'000'000;

QByteArray PackBytes()
{
    QByteArray bytes(PackSize, '\0');
    quint32 state = 1;
    for (char &byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

class HttpTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        Sandbox::WriteFile(Sandbox::Path(u"packs/BIG.exe"_s), PackBytes());
        Sandbox::WriteFile(Sandbox::Path(u"packs/EMPTY.exe"_s), {});
        Sandbox::WriteFile(Sandbox::Path(u"packs/OTHER.exe"_s), "other");
        Sandbox::WriteFile(Sandbox::Path(u"packs/FOLDER.exe/x"_s), "x");
        Sandbox::WriteFile(Sandbox::Path(u"secret.exe"_s), "secret");
        QFile::link(Sandbox::Path(u"secret.exe"_s), Sandbox::Path(u"packs/LINK.exe"_s));
    }

    HttpTest()
        : m_store(FreshPath(), Store::IfMissing::Make)
        , m_sessions(m_clock.Port())
        , m_guard(m_clock.Port())
        , m_responder(m_store, m_sessions, m_guard)
    {
        m_store.AddUser(u"ann"_s, Password::Hash(u"pass"_s, Password::LeastCost));
        m_store.Grant(u"ann"_s, { u"BIG"_s, u"EMPTY"_s, u"FOLDER"_s, u"LINK"_s, u"GONE"_s });
        m_options.Packs = Sandbox::Path(u"packs"_s);
    }

    static QString FreshPath()
    {
        static int count = 0;
        return Sandbox::Path(u"http-%1.db"_s.arg(++count));
    }
    void Start() { m_server.emplace(m_responder, m_options, m_clock.Port()); }
    QString Endpoint() const { return m_server->Endpoint(); }
    QByteArray LogIn()
    {
        const QByteArray reply = HttpClient::Post(Endpoint(), "LOGIN?email=ann&pwd=pass;");
        EXPECT_TRUE(reply.startsWith("LOGIN?status=OK&sid=")) << reply.toStdString();
        return reply.mid(20).chopped(1);
    }
    static QString Target(const QByteArray &sid, const QString &exam)
    {
        return u"/PackCourier.asp?sid=%1&eid=%2"_s.arg(QString::fromLatin1(sid), exam);
    }

    ManualClock m_clock;
    Store m_store;
    Sessions m_sessions;
    GuessGuard m_guard;
    Responder m_responder;
    HttpServer::Options m_options;
    std::optional<HttpServer> m_server;
};

}

TEST_F(HttpTest, EveryRequestHasItsStatus)
{
    Start();
    const QByteArray sid = LogIn();
    const auto get = [&](const QString &exam) { return HttpClient::GetRequest(Target(sid, exam)); };
    const QByteArray invalid = "ERROR?code=400&description=Invalid message;";
    struct Row {
        QByteArray Request;
        int Status;
        QByteArray Body = {}; // where it matters
    };
    const std::vector<Row> rows = {
        { HttpClient::PostRequest("LIST?sid=" + sid + ';'), 200, "LIST?status=OK&data=BIG,EMPTY,FOLDER,LINK,GONE;" },
        { HttpClient::PostRequest(""), 200, invalid },
        { HttpClient::PostRequest(QByteArray(65'536, 'x')), 200, invalid },
        { HttpClient::PostRequest(QByteArray(65'537, 'x')), 413 },
        { HttpClient::PostRequest(QByteArray(1'048'576, 'x')), 413 },
        { "POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nContent-Length: 1048577\r\n\r\n", 413 },
        { "POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nContent-Length: 99999999999999999999999\r\n\r\n", 413 },
        { "POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nContent-Length: -1\r\n\r\n", 400 },
        { "POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nLIS\r\n2\r\nT;\r\n0\r\n\r\n",
          200, "ERROR?code=422&description=The parameter \"sid\" is missing.;" },
        { "POST /other HTTP/1.1\r\nHost: h\r\nConnection: close\r\nContent-Length: 5\r\n\r\nLIST;", 404 },
        { "PUT /PackCourier.asp HTTP/1.1\r\nHost: h\r\nConnection: close\r\nContent-Length: 5\r\n\r\nLIST;", 405 },
        { "GET /PackCourier.asp HTTP/1.1\r\nConnection: close\r\n\r\n", 400 },
        { HttpClient::GetRequest(u"/PackCourier.asp"_s), 403 }, { HttpClient::GetRequest(u"/"_s), 404 },
        { HttpClient::GetRequest(u"/packcourier.asp"_s), 404 }, { HttpClient::GetRequest(u"/../secret.exe"_s), 404 },
        { HttpClient::GetRequest(u"/PackCourier.asp"_s, "X: " + QByteArray(40'000, 'x') + "\r\n"), 431 },
        { HttpClient::GetRequest(u"/"_s + QString(40'000, u'x')), 414 },
        { HttpClient::GetRequest(Target("x", u"EMPTY"_s)), 403 }, { HttpClient::GetRequest(Target(sid.toUpper(), u"EMPTY"_s)), 403 },
        { get(u"EMPTY"_s), 200, "" }, { get(u"OTHER"_s), 403 }, { get(u"GONE"_s), 404 }, { get(u"FOLDER"_s), 404 }, { get(u"LINK"_s), 404 },
        { get(u"empty"_s), 403 }, { get(u""_s), 404 }, { get(u".."_s), 404 }, { get(u"../secret"_s), 404 }, { get(u"..%2Fsecret"_s), 404 },
        { get(u"/etc/passwd"_s), 404 }, { get(u"EMPTY%00"_s), 404 }, { get(u"EMPTY.exe%00"_s), 404 }, { get(u"FOLDER.exe/x"_s), 404 },
        { get(u"%C3%A9"_s), 404 }, { get(u"+EMPTY"_s), 404 },
    };
    int number = 0;
    for (const Row &row : rows) {
        const HttpClient::Reply reply = HttpClient::Exchange(Endpoint(), row.Request);
        EXPECT_EQ(reply.Status, row.Status) << "row " << ++number << ": " << reply.Head.toStdString();
        EXPECT_FALSE(reply.Body.contains("secret")) << "row " << number;
        if (!row.Body.isNull()) {
            EXPECT_EQ(reply.Body.toStdString(), row.Body.toStdString()) << "row " << number;
        }
    }
}

TEST_F(HttpTest, APackArrivesWhole)
{
    Start();
    const QByteArray sid = LogIn();
    const QByteArray pack = Sandbox::ReadFile(Sandbox::Path(u"packs/BIG.exe"_s));
    for (const QByteArray &more : { QByteArray(), QByteArray("Range: bytes=10-20\r\n"), QByteArray("Range: bytes=x,-\r\nAccept-Encoding: gzip\r\n") }) {
        const HttpClient::Reply reply = HttpClient::Exchange(Endpoint(), HttpClient::GetRequest(Target(sid, u"BIG"_s), more));
        EXPECT_EQ(reply.Status, 200);
        EXPECT_TRUE(reply.Body == pack) << reply.Body.size();
        for (const char *line : { "\r\nContent-Length: 50000000\r\n", "\r\nContent-Type: application/octet-stream\r\n", "\r\nAccept-Ranges: none\r\n" })
            EXPECT_TRUE((reply.Head + "\r\n").contains(line)) << reply.Head.toStdString();
        EXPECT_FALSE(reply.Head.contains("Content-Encoding") || reply.Head.contains("Content-Range")) << reply.Head.toStdString();
    }
    const HttpClient::Reply head = HttpClient::Exchange(Endpoint(), HttpClient::GetRequest(Target(sid, u"BIG"_s), {}, "HEAD"));
    EXPECT_EQ(head.Status, 200);
    EXPECT_TRUE(head.Head.contains("\r\nContent-Length: 50000000")) << head.Head.toStdString();
    EXPECT_EQ(head.Body, QByteArray());
}

TEST_F(HttpTest, OneConnectionForAWholeRun)
{
    Start();
    const QByteArray sid = LogIn();
    HttpClient client(Endpoint());
    const QByteArray body = "LIST?sid=" + sid + ';';
    for (int i = 0; i < 3; ++i) {
        client.Send("POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        EXPECT_EQ(client.ReceiveHead().Status, 200) << i;
    }
    client.Send(HttpClient::GetRequest(Target(sid, u"EMPTY"_s)));
    const HttpClient::Reply last = client.Receive();
    EXPECT_TRUE(last.Head.contains("Content-Length: 0")) << last.Head.toStdString();
}

TEST_F(HttpTest, WhoSendsTooSlowlyOrTooMuchIsCutOff)
{
    Start();
    const std::vector<QByteArray> beginnings = {
        "", "POST /Pa", "GET / HTTP/1.1\r\nHost: h\r\nX: ", "POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nContent-Length: 10\r\n\r\nLIS",
    };
    for (const QByteArray &beginning : beginnings) {
        HttpClient slow(Endpoint());
        slow.Send(beginning);
        // An answer to somebody else: the service has seen the connection.
        HttpClient::Post(Endpoint(), "X;");
        m_clock.Advance(m_options.RequestTime - 1ms);
        m_server->CloseOverdue();
        HttpClient::Post(Endpoint(), "X;");
        EXPECT_TRUE(slow.IsOpen()) << beginning.toStdString();
        m_clock.Advance(1ms);
        m_server->CloseOverdue();
        EXPECT_TRUE(slow.HasEnded()) << beginning.toStdString();
    }
    HttpClient endless(Endpoint());
    endless.Send("POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n");
    const QByteArray chunk = "10000\r\n" + QByteArray(65'536, 'x') + "\r\n";
    int count = 0;
    while (endless.IsOpen() && ++count < 1'000)
        endless.Send(chunk);
    EXPECT_LT(count, 1'000);
}

TEST_F(HttpTest, ALongDownloadIsNeitherSlowNorIdle)
{
    Start();
    const QByteArray sid = LogIn();
    HttpClient client(Endpoint());
    client.Send(HttpClient::GetRequest(Target(sid, u"BIG"_s)));
    EXPECT_EQ(client.ReceiveHead().Status, 200);
    m_clock.Advance(2h);
    m_server->CloseOverdue();
    EXPECT_TRUE(HttpClient::Post(Endpoint(), "LIST?sid=" + sid + ';').startsWith("LIST?status=OK&"));
    m_clock.Advance(2h);
    m_server->CloseOverdue();
    EXPECT_EQ(client.Receive().Body.size() > PackSize - 2'000'000, true);
    EXPECT_TRUE(HttpClient::Post(Endpoint(), "LIST?sid=" + sid + ';').startsWith("LIST?status=OK&"));
}

TEST_F(HttpTest, OneAddressHasOnlySoManyConnections)
{
    m_options.ConnectionsOfOneAddress = 3;
    Start();
    std::vector<std::unique_ptr<HttpClient>> clients;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(std::make_unique<HttpClient>(Endpoint()));
        clients.back()->Send("POST /PackCourier.asp HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nX;");
        EXPECT_EQ(clients.back()->ReceiveHead().Status, 200) << i;
    }
    EXPECT_EQ(HttpClient::Exchange(Endpoint(), HttpClient::PostRequest("X;")).Status, 0);
    m_clock.Advance(m_options.RequestTime);
    m_server->CloseOverdue();
    for (const auto &client : clients)
        EXPECT_TRUE(client->HasEnded());
    // The service forgets a connection a moment after it has ended it.
    int status = 0;
    for (int i = 0; i < 10'000 && status == 0; ++i)
        status = HttpClient::Exchange(Endpoint(), HttpClient::PostRequest("X;")).Status;
    EXPECT_EQ(status, 200);
}

TEST_F(HttpTest, ManyAtOnce)
{
    Start();
    const QByteArray sid = LogIn();
    const QString endpoint = Endpoint();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 2; ++round) {
                EXPECT_EQ(HttpClient::Post(endpoint, "REPORT?sid=" + sid + "&list=BIG&time=noon;"), "REPORT?status=OK;");
                EXPECT_TRUE(HttpClient::Post(endpoint, "LOGIN?email=ann&pwd=pass;").startsWith("LOGIN?status=OK&")) << i;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(m_store.Reports().size(), 1u);
}

TEST_F(HttpTest, ASelfSignedCertificate)
{
    const QString key = Sandbox::Path(u"tls/key.pem"_s);
    const QString certificate = Sandbox::Path(u"tls/certificate.pem"_s);
    Sandbox::WriteFile(key, {});
    QProcess maker;
    maker.start(u"openssl"_s, { u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s, u"ec_paramgen_curve:P-256"_s, u"-nodes"_s,
                                u"-subj"_s, u"/CN=localhost"_s, u"-keyout"_s, key, u"-out"_s, certificate });
    ASSERT_TRUE(maker.waitForFinished(60'000) && maker.exitCode() == 0) << maker.readAllStandardError().toStdString();
    m_options.Certificate = Sandbox::ReadFile(certificate);
    m_options.Key = Sandbox::ReadFile(key);
    Start();
    EXPECT_TRUE(Endpoint().startsWith("https://127.0.0.1:"_L1)) << Endpoint().toStdString();
    const QByteArray sid = LogIn();
    const HttpClient::Reply reply = HttpClient::Exchange(Endpoint(), HttpClient::GetRequest(Target(sid, u"BIG"_s)));
    EXPECT_TRUE(reply.Body == Sandbox::ReadFile(Sandbox::Path(u"packs/BIG.exe"_s))) << reply.Body.size();

    QString plain = Endpoint();
    plain.replace("https:"_L1, "http:"_L1);
    EXPECT_EQ(HttpClient::Exchange(plain, HttpClient::PostRequest("X;")).Status, 0);
    // Nothing was said yet, and the handshake has its time, too.
    HttpClient silent(plain);
    HttpClient::Post(Endpoint(), "X;");
    m_clock.Advance(m_options.RequestTime);
    m_server->CloseOverdue();
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
    m_options.Address = u"127.0.0.2"_s;
    Start();
    EXPECT_EQ(HttpClient::Exchange(Endpoint(), HttpClient::PostRequest("X;")).Status, 200);
}
