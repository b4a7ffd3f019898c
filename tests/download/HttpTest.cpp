// SPDX-License-Identifier: Apache-2.0
#include "download/HttpExchange.h"

#include "download/Transfer.h"
#include "tests/download/FaultServer.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QEventLoop>
#include <QProcess>
#include <QSemaphore>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QStandardPaths>
#include <QTest>
#include <QThread>
#include <QTimer>

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr double MostMemory = 1000; // freed memory is kept
#else
constexpr double MostMemory = 16; // megabytes, with what is read
#endif

const QByteArray Fine = "HTTP/1.1 200 OK\r\n";
const QByteArray Chunked = Fine + "Transfer-Encoding: chunked\r\n\r\n";
constexpr int Never = 60'000; // milliseconds
constexpr qsizetype Endless = 3 << 20; // bytes

// The authority that the program trusts in place of the system's.
QByteArray TrustedAuthority;

// The server on a thread of its own, so that what it does wakes nobody here.
class Elsewhere : public QThread {
public:
    explicit Elsewhere(Answer answer)
        : m_answer(std::move(answer))
    {
        start();
        m_isReady.acquire();
    }
    ~Elsewhere() override
    {
        quit();
        wait();
    }
    QString Url;

protected:
    void run() override
    {
        FaultServer server;
        server.On("HTTP", m_answer);
        Url = server.Url();
        m_isReady.release();
        exec();
    }

private:
    const Answer m_answer;
    QSemaphore m_isReady;
};

// What a request comes to: the code with the body, the code of a failure, or that
// it was cancelled because there is no end. Meanwhile the memory does not fill up.
QString Course(const QString &url, int headerTimeout = Never)
{
    Transfer line(std::make_unique<HttpTransport>());
    line.SetTimeouts(Never, Never, headerTimeout);
    const double before = System::ResidentMegabytes();
    double memory = 0;
    const auto look = [&] { memory = std::max(memory, System::ResidentMegabytes() - before); };
    QString end;
    QObject::connect(&line, &Transfer::StateChanged, &line, [&](int state) {
        if (state == Transfer::Failed)
            end = QString::number(line.ResponseCode());
        if (state != Transfer::Completed)
            return;
        QByteArray body;
        QString chunk;
        // A reader who is slower than the server.
        do {
            chunk = ResultOf([&] { return QString::fromLatin1(line.GetChunk(256)); });
            body += chunk.toLatin1();
            QCoreApplication::processEvents();
            look();
        } while (!chunk.isEmpty() && !line.IsBrokenOff() && body.size() < Endless);
        if (!chunk.isEmpty())
            end = body.size() < Endless ? chunk : u"endless"_s;
        else if (!line.IsBrokenOff())
            end = u"%1 "_s.arg(line.ResponseCode()) + QLatin1StringView(body);
    });
    line.Execute(url, "POST");
    EXPECT_TRUE(QTest::qWaitFor([&] { return look(), !end.isEmpty(); }, Never)) << "goes on";
    EXPECT_LT(memory, MostMemory);
    return end;
}

}

// The linker calls this one for the library's (see CMakeLists.txt).
extern "C" CURL *__real_curl_easy_init();
extern "C" CURL *__wrap_curl_easy_init()
{
    CURL *easy = __real_curl_easy_init();
    if (!TrustedAuthority.isEmpty())
        curl_easy_setopt(easy, CURLOPT_CAINFO, TrustedAuthority.constData());
    return easy;
}

// A server that gives no proper answer, or none that ends, keeps nobody.
TEST(HttpTest, Answers)
{
    const QByteArray length = Fine + "Content-Length: 5\r\n\r\n";
    const QByteArray hundred = "HTTP/1.1 100 Continue\r\n\r\n";
    const struct {
        const char *Name;
        Answer Reply;
        QString End;
    } rows[] = {
        { "whole", Answer::Whole("12345"), u"200 12345"_s },
        { "closed at once", { "" }, u"52"_s },
        { "shorter than announced", { length + "1234" }, u"5 Transfer::GetChunk()"_s },
        { "longer than announced", { length + "1234567" }, u"200 12345"_s },
        { "no length", { Fine + "\r\n123" }, u"200 123"_s },
        { "chunks", { Chunked + "2\r\n12\r\na\r\n3456789012\r\n0\r\n\r\n" }, u"200 123456789012"_s },
        { "chunks cut", { Chunked + "2\r\n12\r\na\r\n345" }, u"18"_s },
        { "encoded on the way", { Fine + "transfer-encoding: gzip, chunked\r\n\r\n0\r\n\r\n" }, u"23"_s },
        { "eight times 100", { hundred.repeated(8) + Fine + "\r\n12" }, u"200 12"_s },
        { "nine times 100", { hundred.repeated(9) + Fine + "\r\n12" }, u"23"_s },
        { "two hundred headers", { Fine + QByteArray("X: y\r\n").repeated(200) + "\r\n12" }, u"200 12"_s },
        { "one more", { Fine + QByteArray("X: y\r\n").repeated(201) + "\r\n12" }, u"23"_s },
        { "401", Answer::Whole("no", "401 No", "WWW-Authenticate: Basic realm=\"x\"\r\n"), u"401"_s },
        { "to itself", Answer::Whole("", "307 Moved", "Location: /x?HTTP\r\n"), u"47"_s },
        { "headers that stop", { Fine + "X: y\r\n", true }, u"28"_s },
        // Without an end.
        { "500", { "HTTP/1.1 500 Oops\r\n\r\n", true, "x" }, u"500"_s },
        { "header lines", { Fine, true, "X: y\r\n" }, u"23"_s },
        { "long header lines", { Fine, true, "X: " + QByteArray(1000, 'y') + "\r\n" }, u"23"_s },
        { "informational answers", { "", true, hundred }, u"23"_s },
        { "chunk extension", { Chunked + "5;", true, "x" }, u"23"_s },
        { "trailers", { Chunked + "0\r\n", true, "X: y\r\n" }, u"23"_s },
        { "body", { Fine + "\r\n", true, "x" }, u"endless"_s },
    };
    for (const auto &row : rows) {
        const Elsewhere server(row.Reply);
        const bool isStopped = row.End == "28"_L1;
        EXPECT_EQ(Course(server.Url, isStopped ? 300 : Never), row.End) << row.Name;
    }
    EXPECT_EQ(Course(u"http://127.0.0.1:1/x"_s), u"7"_s) << "reserved, nothing listens";
    // The server waits again and again for the reader, and nothing is lost.
    QByteArray body(2 << 20, 'x');
    for (qsizetype i = 0; i < body.size(); i += 997)
        body[i] = static_cast<char>(i / 997);
    const Elsewhere server(Answer::Whole(body));
    EXPECT_TRUE(Course(server.Url) == u"200 "_s + QString::fromLatin1(body));
}

// On the wire, and one request after the other over the same connection, executed
// and read inside a posted event, in which this system's event loop does not see
// what is posted behind it.
TEST(HttpTest, OneAfterTheOther)
{
    FaultServer seen;
    seen.On("a;b", Answer::Whole("12", "200 Fine so far", "X: a\r\n\tb\r\ny: z\r\nx:  c \r\n"));
    Transfer line(std::make_unique<HttpTransport>());
    line.Execute(seen.Url(), "POST", "a;b", "Content-Type: x/y");
    ASSERT_TRUE(QTest::qWaitFor([&] { return line.ResponseCode() == 200; }));
    const QByteArray request = seen.Requests.value(0);
    EXPECT_TRUE(request.startsWith("POST /PackCourier.asp HTTP/1.1\r\n") && request.endsWith("\r\n\r\na;b")) << request.data();
    EXPECT_TRUE(request.contains("\r\nContent-Type: x/y\r\n") && request.contains("\r\nAccept-Encoding: identity\r\n")
                && !request.contains("Expect:"))
        << request.data();
    EXPECT_EQ(line.ResponseInfo(), u"Fine so far"_s);
    EXPECT_EQ(line.GetHeader("x"), "a b, c");
    line.Cancel();

    const Elsewhere server(Answer::Whole("REPORT;"));
    int answered = 0;
    QEventLoop loop;
    const auto execute = [&] { line.Execute(server.Url, "GET"); };
    QObject::connect(&line, &Transfer::StateChanged, &line, [&](int state) {
        if (state == Transfer::Requesting)
            return;
        const QByteArray begin = line.GetChunk(4);
        answered += begin + line.GetChunk(1024) == "REPORT;" && line.GetChunk(1024).isEmpty();
        if (state == Transfer::Failed || answered == 1000)
            loop.quit();
        else
            QMetaObject::invokeMethod(&loop, execute, Qt::QueuedConnection);
    });
    execute();
    QTimer::singleShot(Never, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(answered, 1000);
}

TEST(HttpTest, Encryption)
{
    if (!QSslSocket::supportsSsl() || QStandardPaths::findExecutable(u"openssl"_s).isEmpty())
        GTEST_SKIP() << "needs Qt's TLS and the openssl program";
    const QString arguments = u"req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out certificate.pem -days 2 "
                              "-subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1"_s;
    QProcess openssl;
    openssl.start(u"openssl"_s, arguments.split(u' '));
    ASSERT_TRUE(openssl.waitForFinished());
    QSslConfiguration encrypted = QSslConfiguration::defaultConfiguration();
    encrypted.setPrivateKey(QSslKey(Sandbox::ReadFile(Sandbox::Path(u"key.pem"_s)), QSsl::Rsa));
    encrypted.setLocalCertificate(QSslCertificate(Sandbox::ReadFile(Sandbox::Path(u"certificate.pem"_s))));
    auto listener = std::make_unique<QSslServer>();
    listener->setSslConfiguration(encrypted);
    FaultServer server(std::move(listener));
    server.On("POST", Answer::Whole("12345"));
    const QString url = server.Url(u"https"_s);
    EXPECT_EQ(Course(url), u"60"_s) << "nobody vouches for it";
    EXPECT_TRUE(server.Requests.isEmpty());
    TrustedAuthority = QFile::encodeName(Sandbox::Path(u"certificate.pem"_s));
    EXPECT_EQ(Course(url), u"200 12345"_s);
    EXPECT_EQ(Course(QString(url).replace(u"127.0.0.1"_s, u"localhost"_s)), u"60"_s) << "another's name";
    TrustedAuthority.clear();
}
