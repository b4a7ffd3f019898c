// SPDX-License-Identifier: Apache-2.0
#include "download/HttpExchange.h"

#include "download/Transfer.h"
#include "tests/download/FaultServer.h"
#include "tests/download/TestSystem.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QSemaphore>
#include <QSslSocket>
#include <QStandardPaths>
#include <QTest>
#include <QThread>
#include <QTimer>

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool KeepsFreedMemory = true;
#else
constexpr bool KeepsFreedMemory = false;
#endif

const QByteArray Fine = "HTTP/1.1 200 OK\r\n";
const QByteArray Chunked = Fine + "Transfer-Encoding: chunked\r\n\r\n";
constexpr auto Resets = Answer::Resets;
constexpr auto KeepsOpen = Answer::KeepsOpen;

// Milliseconds; a machine that does much else takes some for itself.
constexpr int Prompt = 50;

// The authority that the program trusts in place of the system's.
QByteArray TrustedAuthority;

// The server on a thread of its own, so that what it does wakes nobody here.
struct Elsewhere {
    explicit Elsewhere(const Answer &answer)
    {
        Thread.reset(QThread::create([this, answer] {
            FaultServer server;
            server.On("HTTP", answer);
            Url = server.Url();
            IsReady.release();
            QEventLoop().exec();
        }));
        Thread->start();
        IsReady.acquire();
    }
    ~Elsewhere()
    {
        Thread->quit();
        Thread->wait();
    }
    QString Url;
    QSemaphore IsReady;
    std::unique_ptr<QThread> Thread;
};

// One request from its start to its end or, after a while, to a cancel.
struct Course {
    QString End; // the code and the body, the code of a failure, or "cancelled"
    qint64 LongestGap = 0; // milliseconds in which no other event was served, or which the cancel took
    double Memory = 0; // megabytes more than before

    explicit Course(const QString &url, int chunkBytes = 256, int headerTimeout = 5000, int cancelAfter = 10'000)
    {
        Transfer line(std::make_unique<HttpTransport>());
        line.SetTimeouts(5000, 5000, headerTimeout);
        QEventLoop loop;
        QElapsedTimer beat;
        QTimer often;
        const double before = System::ResidentMegabytes();
        QObject::connect(&often, &QTimer::timeout, &loop, [&] {
            LongestGap = std::max(LongestGap, beat.restart());
            Memory = std::max(Memory, System::ResidentMegabytes() - before);
        });
        QObject::connect(&line, &Transfer::StateChanged, &loop, [&](int state) {
            QByteArray body;
            // A reader who is slower than the server.
            while (state == Transfer::Completed && End.isEmpty()) {
                const QString chunk = ResultOf([&] { return QString::fromLatin1(line.GetChunk(chunkBytes)); });
                const bool isCut = chunk == "5 Transfer::GetChunk()"_L1;
                if (isCut || (chunk.isEmpty() && !line.IsBrokenOff()))
                    End = u"%1 "_s.arg(line.ResponseCode()) + QLatin1StringView(body) + (isCut ? u" cut"_s : u""_s);
                else if (chunk.isEmpty())
                    break;
                body += chunk.toLatin1();
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            }
            if (state == Transfer::Failed)
                End = QString::number(line.ResponseCode());
            if (!End.isEmpty())
                loop.quit();
        });
        QTimer::singleShot(cancelAfter, &loop, [&] {
            beat.start();
            line.Cancel();
            LongestGap = std::max(LongestGap, beat.elapsed());
            End = u"cancelled"_s;
            loop.quit();
        });
        beat.start();
        often.start(1);
        line.Execute(url, "POST");
        loop.exec();
    }
};

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

// Each ends soon, or as soon as it is cancelled; meanwhile the events go on and
// the memory does not fill up.
TEST(HttpTest, Answers)
{
    const QByteArray length = Fine + "Content-Length: 5\r\n";
    const QByteArray hundred = "HTTP/1.1 100 Continue\r\n\r\n";
    const struct {
        const char *Name;
        Answer Reply;
        QString End;
        int HeaderTimeout = 5000;
        int CancelAfter = 10'000;
    } rows[] = {
        { "whole", Answer::Whole("12345"), u"200 12345"_s },
        { "reset at once", { "", Resets }, u"56"_s },
        { "closed at once", { "" }, u"52"_s },
        { "reset in the headers", { Fine + "Conte", Resets }, u"56"_s },
        { "reset in the body", Answer::Raw(length, "123", Resets), u"200 123 cut"_s },
        { "shorter than announced", Answer::Raw(length, "1234"), u"200 1234 cut"_s },
        { "longer than announced", Answer::Raw(length, "1234567"), u"200 12345"_s },
        { "no length", Answer::Raw(Fine, "123"), u"200 123"_s },
        { "no length and reset", Answer::Raw(Fine, "123", Resets), u"200 123 cut"_s },
        { "negative length", Answer::Raw(Fine + "Content-Length: -1\r\n", "1"), u"8"_s },
        { "chunks", { Chunked + "2\r\n12\r\na\r\n3456789012\r\n0\r\n\r\n" }, u"200 123456789012"_s },
        { "chunks cut", { Chunked + "2\r\n12\r\na\r\n345" }, u"18"_s },
        { "no size of a chunk", { Chunked + "LOGIN?\r\n", KeepsOpen }, u"56"_s },
        { "encoded on the way", Answer::Raw(Fine + "Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n"), u"23"_s },
        { "byte by byte", { Fine + "Content-Length: 2\r\n\r\n12", KeepsOpen, 2 }, u"200 12"_s },
        { "only 100", { hundred }, u"52"_s },
        { "eight times 100", { hundred.repeated(8) + Fine + "\r\n12" }, u"200 12"_s },
        { "nine times 100", { hundred.repeated(9) + Fine + "\r\n12" }, u"23"_s },
        { "two hundred headers", { Fine + QByteArray("X: y\r\n").repeated(200) + "\r\n12" }, u"200 12"_s },
        { "one more", { Fine + QByteArray("X: y\r\n").repeated(201) + "\r\n12" }, u"23"_s },
        { "204", { "HTTP/1.1 204 None\r\n\r\n", KeepsOpen }, u"204 "_s },
        { "401", Answer::Whole("no", "401 No", "WWW-Authenticate: Basic realm=\"x\"\r\n"), u"401"_s },
        { "500", { "HTTP/1.1 500 Oops\r\n\r\n", KeepsOpen, 0, "x" }, u"500"_s },
        { "to itself", Answer::Whole("", "307 Moved", "Location: /x?HTTP\r\n"), u"47"_s },
        // Without an end.
        { "a header line", { Fine + "X: ", KeepsOpen, 0, "x" }, u"27"_s },
        { "header lines", { Fine, KeepsOpen, 0, "X: y\r\n" }, u"23"_s },
        { "long header lines", { Fine, KeepsOpen, 0, "X: " + QByteArray(1000, 'y') + "\r\n" }, u"23"_s },
        { "informational answers", { "", KeepsOpen, 0, hundred }, u"23"_s },
        { "headers byte by byte", { Fine + "X: " + QByteArray(5000, 'x'), KeepsOpen, 2 }, u"28"_s, 300 },
        { "chunk size", { Chunked, KeepsOpen, 0, "0" }, u"56"_s },
        { "chunk extension", { Chunked + "5;", KeepsOpen, 0, "x" }, u"23"_s },
        { "trailers", { Chunked + "0\r\n", KeepsOpen, 0, "X: y\r\n" }, u"23"_s },
        { "a trailer", { Chunked + "0\r\nX: ", KeepsOpen, 0, "x" }, u"56"_s },
        { "body", { Fine + "\r\n", KeepsOpen, 0, "x" }, u"cancelled"_s, 5000, 300 },
        { "nothing", { "", KeepsOpen }, u"cancelled"_s, 5000, 300 },
    };
    for (const auto &row : rows) {
        const Elsewhere server(row.Reply);
        qint64 gap = Prompt;
        // A machine that does something else can make any one of them late.
        for (int i = 0; i < 10 && gap >= Prompt; ++i) {
            const Course course(server.Url, 256, row.HeaderTimeout, row.CancelAfter);
            EXPECT_EQ(row.Reply.End == Resets ? AsReset(course.End) : course.End, row.End) << row.Name;
            EXPECT_TRUE(KeepsFreedMemory || course.Memory < 8) << row.Name << ' ' << course.Memory << " MB";
            gap = course.LongestGap;
        }
        EXPECT_LT(gap, Prompt) << row.Name;
    }
    EXPECT_EQ(Course(u"http://127.0.0.1:1/x"_s).End, u"7"_s) << "reserved, nothing listens";
    EXPECT_EQ(Course(u"http://no.such.host.invalid/x"_s).End, u"6"_s);
}

// On the wire, and one request after the other over the same connection, executed
// and read inside a posted event, in which this system's event loop does not see
// what is posted behind it.
TEST(HttpTest, ThousandsOfSmallReplies)
{
    FaultServer seen;
    seen.On("a", Answer::Whole("12", "200 Fine so far", "X: a\r\n\tb\r\ny: z\r\nx:  c \r\n"));
    Transfer line(std::make_unique<HttpTransport>());
    line.Execute(seen.Url(), "POST", "a;b", "Content-Type: x/y");
    ASSERT_TRUE(QTest::qWaitFor([&] { return line.ResponseCode() == 200; }));
    EXPECT_EQ(seen.Requests, QByteArrayList{ "POST /PackCourier.asp HTTP/1.1\na;b" });
    EXPECT_TRUE(seen.LastHead.contains("\r\ncontent-type: x/y\r\n")
                && seen.LastHead.contains("\r\naccept-encoding: identity\r\n") && !seen.LastHead.contains("expect:"))
        << seen.LastHead.constData();
    EXPECT_EQ(line.ResponseInfo(), u"Fine so far"_s);
    EXPECT_EQ(line.GetHeader("x"), "a b, c");
    line.Cancel();

    const Elsewhere server(Answer::Whole("REPORT;"));
    line.SetTimeouts(2000, 2000, 2000);
    int answered = 0;
    QEventLoop loop;
    const auto execute = [&] { line.Execute(server.Url, "GET"); };
    QObject::connect(&line, &Transfer::StateChanged, &loop, [&](int state) {
        if (state == Transfer::Requesting)
            return;
        const QByteArray begin = line.GetChunk(4);
        answered += begin + line.GetChunk(1024) == "REPORT;" && line.GetChunk(1024).isEmpty();
        if (state == Transfer::Failed || answered == 3000)
            loop.quit();
        else
            QMetaObject::invokeMethod(&loop, execute, Qt::QueuedConnection);
    });
    execute();
    loop.exec();
    EXPECT_EQ(answered, 3000);
}

// The server waits again and again for a reader who is slower, and nothing is lost.
TEST(HttpTest, LongBody)
{
    QByteArray body(24 << 20, 'x');
    for (qsizetype i = 0; i < body.size(); i += 997)
        body[i] = static_cast<char>(i / 997);
    const Elsewhere server(Answer::Whole(body));
    EXPECT_TRUE(Course(server.Url, 32'768).End == u"200 "_s + QString::fromLatin1(body));
}

TEST(HttpTest, Encryption)
{
    if (!QSslSocket::supportsSsl() || QStandardPaths::findExecutable(u"openssl"_s).isEmpty())
        GTEST_SKIP() << "needs Qt's TLS and the openssl program";
    QProcess openssl;
    openssl.start(u"openssl"_s,
                  { u"req"_s, u"-x509"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s, u"-keyout"_s, u"key.pem"_s, u"-out"_s,
                    u"certificate.pem"_s, u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=127.0.0.1"_s, u"-addext"_s,
                    u"subjectAltName=IP:127.0.0.1"_s });
    ASSERT_TRUE(openssl.waitForFinished());
    FaultServer server;
    server.SetTls(Sandbox::ReadFile(Sandbox::Path(u"key.pem"_s)), Sandbox::ReadFile(Sandbox::Path(u"certificate.pem"_s)));
    server.On("POST", Answer::Whole("12345"));
    EXPECT_EQ(Course(server.Url(u"https"_s)).End, u"60"_s) << "nobody vouches for it";
    EXPECT_TRUE(server.Requests.isEmpty());
    TrustedAuthority = QFile::encodeName(Sandbox::Path(u"certificate.pem"_s));
    EXPECT_EQ(Course(server.Url(u"https"_s)).End, u"200 12345"_s);
    EXPECT_EQ(Course(server.Url(u"https"_s).replace(u"127.0.0.1"_s, u"localhost"_s)).End, u"60"_s) << "another's name";
    TrustedAuthority.clear();
}
