// SPDX-License-Identifier: Apache-2.0
#include "download/HttpExchange.h"

#include "tests/download/Course.h"
#include "tests/download/FaultServer.h"
#include "tests/support/Program.h"
#include "tests/support/System.h"

#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>

namespace {

const QByteArray Fine = "HTTP/1.1 200 OK\r\n";
const QByteArray Chunked = Fine + "Transfer-Encoding: chunked\r\n\r\n";

}

// A server that gives no proper answer, or none that ends, keeps nobody, nor the
// next request over the same connection.
TEST(HttpTest, Answers)
{
    const QByteArray length = Fine + "Content-Length: 5\r\n\r\n";
    const QByteArray hundred = "HTTP/1.1 100 Continue\r\n\r\n";
    // Long enough for the server to wait again and again for the reader.
    QByteArray body;
    while (body.size() < 2 << 20)
        body += QByteArray::number(body.size()) + ' ';
    const struct {
        QByteArray Name;
        Answer Reply;
        QString End;
    } rows[] = {
        { "whole", Answer::Whole("12", "200 Fine so far", "X: a\r\n\tb\r\ny: z\r\nx:  c \r\n"), u"200 12"_s },
        { "long", Answer::Whole(body), u"200 "_s + QString::fromLatin1(body) },
        { "closed-at-once", { "" }, u"52"_s },
        { "shorter-than-announced", { length + "1234" }, u"5 Transfer::GetChunk()"_s },
        { "chunks", { Chunked + "2\r\n12\r\na\r\n3456789012\r\n0\r\n\r\n", true }, u"200 123456789012"_s },
        { "chunks-cut", { Chunked + "2\r\n12\r\na\r\n345" }, u"18"_s },
        { "encoded-on-the-way",
          { Fine + "transfer-encoding: gzip, chunked\r\n\r\n0\r\n\r\n" },
          u"23 The server sends its answer encoded"_s },
        { "8-informational", { hundred.repeated(8) + Fine + "\r\n12" }, u"200 12"_s },
        { "9-informational", { hundred.repeated(9) + Fine + "\r\n12" }, u"23 The server does not come to its answer"_s },
        { "200-headers", { Fine + QByteArray("X: y\r\n").repeated(200) + "\r\n12" }, u"200 12"_s },
        { "201-headers",
          { Fine + QByteArray("X: y\r\n").repeated(201) + "\r\n12" },
          u"23 The server's headers are too many"_s },
        { "to-itself", Answer::Whole("", "307 Moved", "Location: ?to-itself\r\n"), u"47"_s },
        { "headers-that-stop", { Fine + "X: y\r\n", true }, u"28"_s },
        // Without an end.
        { "body-of-500", { "HTTP/1.1 500 Oops\r\n\r\n", true, "x" }, u"500"_s },
        { "header-lines", { Fine, true, "X: y\r\n" }, u"23 The server's headers are too many"_s },
        { "long-header-lines",
          { Fine, true, "X: " + QByteArray(1000, 'y') + "\r\n" },
          u"23 The server's headers are too long"_s },
        { "informational-answers", { hundred, true, hundred }, u"23 The server does not come to its answer"_s },
        { "chunk-extension", { Chunked + "5;", true, "x" }, u"23 The server does not come to its answer"_s },
        { "trailers", { Chunked + "0\r\n", true, "X: y\r\n" }, u"23 The server's headers are too long"_s },
        { "body", { Fine + "\r\n", true, "x" }, u"endless"_s },
    };
    // What a desktop names as a proxy is not asked.
    qputenv("http_proxy", "http://127.0.0.1:1");
    FaultServer server;
    Transfer line(std::make_unique<HttpTransport>());
    for (const auto &row : rows) {
        server.On('?' + row.Name + ' ', row.Reply);
        line.SetTimes({ Never, Never, row.Name == "headers-that-stop" ? 300 : Never });
        server.Sent = 0;
        const QString end = Course(line, server.Url() + u"/../x?"_s + QLatin1StringView(row.Name));
        const bool isRead = row.End.contains(u' ');
        ASSERT_TRUE(row.End == (isRead ? end : end.section(u' ', 0, 0)))
            << row.Name.data() << ' ' << end.left(100).toStdString();
        EXPECT_LT(server.Sent, 64 << 20) << row.Name.data() << " fills the memory";
        if (row.Name == "whole") {
            EXPECT_EQ(line.ResponseInfo(), u"Fine so far"_s);
            EXPECT_EQ(line.GetHeader("x"), "a b, c");
        }
        if (line.StillExecuting())
            line.Cancel();
    }
    server.On("?pack", { Fine + "ETag: \"a\"\r\nContent-Length: 10\r\n\r\n01234" });
    server.On("Range: bytes=5-\r\nIf-Range: \"a\"\r\n",
              Answer::Whole("56789", "206 Partial Content", "ETag: \"a\"\r\nContent-Range: bytes 5-9/10\r\n"));
    line.SetTimes({ Never, Never, Never, 1 });
    EXPECT_EQ(Course(line, server.Url() + u"?pack"_s, "GET"), u"200 0123456789"_s) << "in two parts";
    EXPECT_TRUE(Course(line, u"http://127.0.0.1:1/x"_s).startsWith(u"7 "_s)) << "reserved, nothing listens";
    const QByteArray request = server.Requests.value(0);
    EXPECT_TRUE(request.startsWith("POST /PackCourier.asp/../x?whole HTTP/1.1\r\n") && request.endsWith("\r\n\r\na;b")
                && request.contains("\r\nContent-Type: x/y\r\n") && !request.contains("Expect:")
                && request.contains("\r\nAccept-Encoding: identity\r\n") && request.contains("\r\nUser-Agent: Practorium/")
                && request.contains(System::RunsByName ? " (Windows)\r\n" : " (Linux)\r\n"))
        << request.data();
}

// Whoever stands between program and service cannot pretend to be the service, not even by its name.
TEST(HttpTest, ACertificateThatNobodyVouchesFor)
{
    if (System::RunsByName)
        GTEST_SKIP() << "Wine runs no program that makes certificates";
    const QString make
        = u"req -x509 -newkey rsa:2048 -nodes -subj /CN=x -addext subjectAltName=IP:127.0.0.1 -keyout key.pem -out own.pem"_s;
    ASSERT_EQ(OutcomeOf(u"openssl"_s, make.split(u' ')).Code, 0);
    QSslConfiguration configuration;
    configuration.setLocalCertificate(QSslCertificate(Sandbox::ReadFile(u"own.pem"_s)));
    configuration.setPrivateKey(QSslKey(Sandbox::ReadFile(u"key.pem"_s), QSsl::Rsa));
    QSslServer server;
    server.setSslConfiguration(configuration);
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    Transfer line(std::make_unique<HttpTransport>());
    const QString end = Course(line, u"https://127.0.0.1:%1/x"_s.arg(server.serverPort()));
    EXPECT_TRUE(end.startsWith("60 "_L1)) << end.toStdString();
}
