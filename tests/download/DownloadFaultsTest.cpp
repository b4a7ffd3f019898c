// SPDX-License-Identifier: Apache-2.0
#include "tests/download/DownloadFixture.h"
#include "tests/download/SocketReset.h"
#include "tests/support/SmallDisk.h"

#include <QProcess>
#include <QSslCertificate>
#include <QStandardPaths>

#include <curl/curl.h>

using namespace Download;

namespace {

using DownloadFaultsTest = DownloadTest;

constexpr auto Resets = Answer::Resets;
const QByteArray Fine = "HTTP/1.1 200 OK\r\n";
const QByteArray Html = "<html><body>Sorry; not here</body></html>";

QString Code(const QString &hex)
{
    return u"16 Error (0x"_s + hex + u')';
}

QString Told(const Answer &reply, const QString &boxes)
{
    return reply.End == Resets ? ToldAsReset(boxes) : boxes;
}

// The authority that the program trusts in place of the system's.
QByteArray TrustedAuthority;

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

// Instead of a message. A run that has ended leaves the window open.
TEST_F(DownloadFaultsTest, Replies)
{
    const QByteArray whole = "LOGIN?status=NO;";
    const QString refused = u"16 Cannot continue because the User ID or password is incorrect"_s;
    struct Row {
        const char *Name;
        Answer Reply;
        QString Box;
        QString Status = u"Error communicating to server"_s;
    };
    const QString connecting = u"Connecting to Practorium Download Server"_s;
    const QString failed = u"Authentication failed!"_s;
    const Row rows[] = {
        { "silence", { "", Answer::KeepsOpen }, Code(u"1C"_s), connecting },
        { "silence in the headers", { Fine, Answer::KeepsOpen }, Code(u"1C"_s), connecting },
        { "silence in the body", { Fine + "Content-Length: 16\r\n\r\nLOGIN", Answer::KeepsOpen }, Code(u"1C"_s), connecting },
        { "reset at once", { "", Resets }, Code(u"38"_s), connecting },
        { "closed at once", { "" }, Code(u"34"_s), connecting },
        { "reset in the headers", { "HTTP/1.1 200 OK\r\nConte", Resets }, Code(u"38"_s), connecting },
        { "reset after the headers", Answer::Raw(Fine + "Content-Length: 16\r\n", {}, Resets), Trouble },
        { "body too short", Answer::Raw(Fine + "Content-Length: 17\r\n", whole), Trouble },
        { "body too long", Answer::Raw(Fine + "Content-Length: 16\r\n", whole + whole), refused, failed },
        { "no length", Answer::Raw(Fine, whole), refused, failed },
        { "no length and cut", Answer::Raw(Fine, "LOGIN?status=NO", Resets), Trouble },
        { "negative length", Answer::Raw(Fine + "Content-Length: -1\r\n", whole), Code(u"8"_s), connecting },
        { "chunked", Answer::Raw(Fine + "Transfer-Encoding: chunked\r\n", "6\r\nLOGIN?\r\na\r\nstatus=NO;\r\n0\r\n\r\n"),
          refused, failed },
        { "chunk cut", Answer::Raw(Fine + "Transfer-Encoding: chunked\r\n", "6\r\nLOGIN?\r\na\r\nstat"), Code(u"12"_s),
          connecting },
        { "one byte at a time", { Fine + "Content-Length: 16\r\n\r\n" + whole, Answer::KeepsOpen, 2 }, refused, failed },
        { "broken chunk size", Answer::Raw(Fine + "Transfer-Encoding: chunked\r\n", "LOGIN?status=NO;", Answer::KeepsOpen),
          Code(u"38"_s), connecting },
        { "encoded", Answer::Whole("", "200 OK", "Content-Encoding: gzip\r\n"), Code(u"C8"_s), connecting },
        { "encoded on the way", Answer::Raw(Fine + "Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n"), Code(u"17"_s),
          connecting },
        { "headers without an end", { Fine, Answer::KeepsOpen, 0, "X: y\r\n" }, Code(u"17"_s), connecting },
        { "only 100", { "HTTP/1.1 100 Continue\r\n\r\n" }, Code(u"34"_s), connecting },
        { "twice 100", { "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Soon\r\n\r\n" + Fine + "\r\n" + whole }, refused, failed },
        { "no semicolon", Answer::Whole("LOGIN?status=NO"), Trouble },
        { "spoilt parameters", Answer::Whole("LOGIN?status;"), Trouble },
        { "no HTTP", { "SSH-2.0-OpenSSH_9.2\r\n\r\n" }, {}, connecting },
        { "401", Answer::Whole(Html, "401 No", "WWW-Authenticate: Basic realm=\"x\"\r\n"), Code(u"191"_s), connecting },
        { "404", Answer::Whole(Html, "404 Not Found"), Code(u"194"_s), connecting },
        { "500", Answer::Whole(Html, "500 Oops"), Code(u"1F4"_s), connecting },
        { "500 with a message", Answer::Whole(whole, "500 Oops"), Code(u"1F4"_s), connecting },
        { "redirected to itself", Answer::Whole(Html, "301 Moved", "Location: /x?LOGIN?\r\n"), Code(u"2F"_s), connecting },
        { "redirected to a file", Answer::Whole(Html, "302 Found", "Location: file:///etc/passwd\r\n"), Code(u"1"_s),
          connecting },
        { "100 MB", { Fine + "Content-Length: 104857600\r\n\r\n", Answer::KeepsOpen, 0, "x" }, Trouble },
    };
    for (const Row &row : rows) {
        Server.On("LOGIN?", row.Reply);
        Server.BytesTaken = 0;
        const QString boxes = Told(row.Reply, Run(row.Name));
        if (row.Box.isEmpty())
            EXPECT_EQ(Shown.Shown.size(), 1) << row.Name << boxes.toStdString();
        else
            EXPECT_EQ(boxes, row.Box) << row.Name;
        EXPECT_EQ(Status(), row.Status) << row.Name;
        EXPECT_TRUE(Window->isVisible()) << row.Name;
        EXPECT_EQ(Caption(), row.Status == failed ? Start : Close) << row.Name;
        EXPECT_LT(Server.BytesTaken, 20'000'000) << row.Name << ": stops soon behind the first megabyte";
        // A machine that does something else can make any one of them late.
        for (int i = 0; i < 5 && !row.Reply.Forever.isEmpty() && LongestGap >= 50; ++i)
            Run(row.Name);
        EXPECT_TRUE(row.Reply.Forever.isEmpty() || LongestGap < 50) << row.Name << ' ' << LongestGap << " ms";
    }
}

// What is no reply at all leaves the run waiting for the candidate.
TEST_F(DownloadFaultsTest, RepliesThatAreIgnored)
{
    for (const Answer &reply :
         { Answer::Whole(""), Answer::Whole("HELLO;"), Answer::Whole(Html), Answer::Whole("", "204 Nothing") }) {
        Server.On("LOGIN?", reply);
        Open();
        Press();
        auto *bar = Windows::Find<QWidget>(Window.get(), u"shpProgress"_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return bar->width() >= bar->parentWidget()->width() - 3; })) << "full all the same";
        EXPECT_EQ(Caption(), Cancel);
        Press();
        EXPECT_FALSE(Window->isVisible());
    }
    EXPECT_TRUE(Shown.Shown.isEmpty());
}

TEST_F(DownloadFaultsTest, NoService)
{
    QTcpServer gone;
    ASSERT_TRUE(gone.listen(QHostAddress::LocalHost));
    const QString refusing = u"http://127.0.0.1:%1/x"_s.arg(gone.serverPort());
    gone.close();
    struct Row {
        QString Url, Box;
    };
    for (const Row &row : { Row{ refusing, Code(u"7"_s) }, Row{ u"http://no.such.host.invalid/x"_s, Code(u"6"_s) },
                            Row{ u"file:///etc/passwd"_s, u"16 Invalid procedure call or argument"_s },
                            Row{ u"nonsense"_s, u"16 Invalid procedure call or argument"_s } }) {
        SetEndpoint(row.Url);
        EXPECT_EQ(Run(), row.Box) << row.Url.toStdString();
        EXPECT_EQ(Caption(), Close);
        Press();
        EXPECT_FALSE(Window->isVisible());
    }
}

// Instead of a pack. The run goes on to its report, or ends when the transfer
// itself has failed; a pack that did not come whole is never run.
TEST_F(DownloadFaultsTest, Packs)
{
    // More than what waits in memory for the disk.
    const QByteArray pack = PackOf("pack", 600'000);
    const QByteArray size = QByteArray::number(pack.size());
    const auto sized = [](const QByteArray &length) { return Fine + "Content-Length: " + length + "\r\n"; };
    const QString failed = Failed(u"101"_s);
    const struct {
        const char *Name;
        Answer Reply;
        QString Box;
        bool IsRun = false;
    } rows[] = {
        { "whole", Answer::Whole(pack), u""_s, true },
        { "silence", { "", Answer::KeepsOpen }, Code(u"1C"_s) },
        { "silence in the body", { sized(size) + "\r\n" + pack.left(500'000), Answer::KeepsOpen }, Code(u"1C"_s) },
        { "reset at once", { "", Resets }, Code(u"38"_s) },
        { "reset in the headers", { Fine + "Conte", Resets }, Code(u"38"_s) },
        { "reset after the headers", Answer::Raw(sized(size), {}, Resets), failed },
        { "reset in the body", Answer::Raw(sized(size), pack.left(500'000), Resets), failed },
        { "too short by one", Answer::Raw(sized(QByteArray::number(pack.size() + 1)), pack), failed },
        { "longer than announced", Answer::Raw(sized(size), pack + "more"), u""_s, true },
        { "no length", Answer::Raw(Fine, pack), failed },
        { "negative length", Answer::Raw(sized("-5"), pack), Code(u"8"_s) },
        { "no number", Answer::Raw(sized("1e3"), pack), failed },
        { "two lengths", Answer::Raw(Fine + "Content-Length: " + size + "\r\nContent-Length: 7\r\n", pack), failed },
        { "beyond 32 bits", Answer::Raw(sized("2147483648"), pack), failed },
        { "beyond 64 bits", Answer::Raw(sized("99999999999999999999"), pack), failed },
        { "no length but 64 bits' worth", Answer::Raw(sized("2147483647"), pack), failed },
        { "chunked", Answer::Raw(Fine + "Transfer-Encoding: chunked\r\n", "5\r\n#!/bi\r\n0\r\n\r\n"), failed },
        { "chunked with a length",
          Answer::Raw(sized(size) + "Transfer-Encoding: chunked\r\n",
                      QByteArray::number(pack.size(), 16) + "\r\n" + pack + "\r\n0\r\n\r\n"),
          failed },
        { "chunked and packed", Answer::Raw(Fine + "Transfer-Encoding: gzip, chunked\r\n", "5\r\n#!/bi\r\n0\r\n\r\n"), failed },
        { "not as it is", Answer::Raw(sized(size) + "Transfer-Encoding: identity\r\n", pack), failed },
        { "gzip", Answer::Whole(pack, "200 OK", "Content-Encoding: gzip\r\n"), failed },
        { "part", Answer::Whole(pack, "206 Partial Content"), failed },
        { "elsewhere", Answer::Whole(pack, "302 Found"), failed },
        { "moved and found", Answer::Whole(Html, "302 Found", "Location: /x?moved\r\n"), u""_s, true },
        { "moved for ever", Answer::Whole(Html, "301 Moved", "Location: /x?eid=101\r\n"), Code(u"2F"_s) },
        { "empty", Answer::Whole(""), failed },
        { "page", Answer::Whole(Html), failed },
        { "401", Answer::Whole(pack, "401 No"), Code(u"191"_s) },
        { "404", Answer::Whole(pack, "404 Not Found"), Code(u"194"_s) },
        { "500", Answer::Whole(pack, "500 Oops"), Code(u"1F4"_s) },
        { "slow",
          { sized(QByteArray::number(PackOf("pack").size())) + "\r\n" + PackOf("pack"), Answer::KeepsOpen, 1 },
          u""_s,
          true },
    };
    Server.On("moved", Answer::Whole(pack));
    for (const auto &row : rows) {
        Server.On("eid=", row.Reply);
        Server.Requests.clear();
        EXPECT_EQ(Told(row.Reply, Run(row.Name)), row.Box) << row.Name;
        EXPECT_EQ(WasRun(u"pack"_s), row.IsRun) << row.Name;
        EXPECT_EQ(Caption(), Close) << row.Name;
        const bool goesOn = !row.Box.startsWith(u"16 Error"_s);
        EXPECT_EQ(Server.Count(row.IsRun ? "list=101&" : "list=&"), goesOn ? 1 : 0) << row.Name;
        EXPECT_EQ(Status(), goesOn ? u"Completed"_s : u"Downloading: 101.exe"_s) << row.Name;
        QFile::remove(Sandbox::Path(u"mark-pack"_s));
    }
}

TEST_F(DownloadFaultsTest, NamesThatLeadOut)
{
    for (const QByteArray &examID : { QByteArray("../out"), QByteArray("a/b"), QByteArray("/etc/out"), QByteArray("..") }) {
        Server.On("LIST?", Answer::Whole("LIST?status=OK&data=" + examID + ';'));
        const bool isName = examID == ".."; // "...exe" is one
        EXPECT_EQ(Run(), isName ? u""_s : Failed(QString::fromLatin1(examID))) << examID.toStdString();
        EXPECT_EQ(WasRun(u"pack"_s), isName) << examID.toStdString();
    }
    EXPECT_FALSE(QFile::exists(Sandbox::Path(u"out.exe"_s)));
}

TEST_F(DownloadFaultsTest, DiskFull)
{
    if (const char *reason = SmallDisk::WhyNot())
        GTEST_SKIP() << reason;
    // The one is noticed while it arrives, the other at its end.
    for (const qsizetype padding : { 2'000'000, 100'000 }) {
        Server.On("eid=", Answer::Whole(PackOf("pack", padding)));
        const SmallDisk disk(64 * 1024);
        EXPECT_EQ(Run(), Failed(u"101"_s)) << padding;
        EXPECT_EQ(Server.Count("list=&"), 1);
        EXPECT_FALSE(WasRun(u"pack"_s));
        Server.Requests.clear();
    }
}

TEST_F(DownloadFaultsTest, Encryption)
{
    if (!QSslSocket::supportsSsl() || QStandardPaths::findExecutable(u"openssl"_s).isEmpty())
        GTEST_SKIP() << "needs Qt's TLS and the openssl program";
    QProcess openssl;
    openssl.start(u"openssl"_s,
                  { u"req"_s, u"-x509"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s, u"-keyout"_s, u"key.pem"_s, u"-out"_s,
                    u"certificate.pem"_s, u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=127.0.0.1"_s, u"-addext"_s,
                    u"subjectAltName=IP:127.0.0.1"_s });
    ASSERT_TRUE(openssl.waitForFinished());
    const QByteArray certificate = Sandbox::ReadFile(Sandbox::Path(u"certificate.pem"_s));
    Server.SetTls(Sandbox::ReadFile(Sandbox::Path(u"key.pem"_s)), certificate);
    SetEndpoint(Server.Url(u"https"_s));
    EXPECT_EQ(Run(), Code(u"3C"_s)) << "nobody vouches for it";
    EXPECT_TRUE(Server.Requests.isEmpty());

    TrustedAuthority = QFile::encodeName(Sandbox::Path(u"certificate.pem"_s));
    EXPECT_EQ(Run(), u""_s) << "a whole run";
    EXPECT_TRUE(WasRun(u"pack"_s));

    FaultServer plain;
    plain.On("x", Answer::Whole(PackOf("pack")));
    QFile::remove(Sandbox::Path(u"mark-pack"_s));
    Server.On("eid=", Answer::Whole("", "302 Found", "Location: " + plain.Url().toLatin1() + "?x\r\n"));
    EXPECT_EQ(Run(), Code(u"1"_s)) << "from https to http";
    EXPECT_TRUE(plain.Requests.isEmpty());
    EXPECT_FALSE(WasRun(u"pack"_s));
    TrustedAuthority.clear();
}
