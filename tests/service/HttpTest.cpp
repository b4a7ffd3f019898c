// SPDX-License-Identifier: Apache-2.0
#include "tests/service/ServiceFixture.h"
#include "tests/support/Program.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QRegularExpression>

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
    // The ETag of a pack with these bytes.
    static QByteArray HashOf(const QByteArray &bytes)
    {
        return '"' + QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex() + '"';
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
    EXPECT_TRUE(BodyOf(Exchange(GetOf(sid, "BIG", "Accept-Encoding: gzip\r\n"))) == pack);

    m_options.BytesPerSecond = 40'000'000;
    sid = StartedSession();
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(BodyOf(Exchange(GetOf(sid, "BIG"))) == pack);
    EXPECT_GT(timer.elapsed(), 800);
    EXPECT_TRUE(BodyOf(Exchange(GetOf(sid, "BIG", "Range: bytes=32000000-\r\n"))) == pack.mid(32'000'000));
}

TEST_F(HttpTest, PartsOfAPack)
{
    const QByteArray sid = StartedSession(), pack = "0123456789", tag = HashOf(pack);
    Sandbox::WriteFile(Sandbox::Path(u"packs/TEN.exe"_s), pack);
    m_store.Grant(u"ann"_s, { u"TEN"_s });
    const auto headers = [](const QByteArray &reply) {
        static const QRegularExpression date(u"\r\nDate: [^\r]*"_s);
        return QString::fromLatin1(reply.left(reply.indexOf("\r\n\r\n"))).remove(date);
    };
    const auto get = [&](const QByteArray &lines, const QByteArray &exam = "TEN") { return Exchange(GetOf(sid, exam, lines)); };
    const QByteArray range = "Range: bytes=2-5\r\n";
    const struct {
        QByteArray Lines;
        QByteArray Part; // the bytes and where they are; or the status
    } rows[] = {
        { "Range: bytes=0-0", "0 0-0" },
        { "Range: bytes=2-5", "2345 2-5" },
        { "Range: Bytes = , 9-99999999999999999999 ,", "9 9-9" },
        { "Range: bytes=0-", "0123456789 0-9" },
        { "Range: bytes=7-", "789 7-9" },
        { "Range: bytes=-3", "789 7-9" },
        { "Range: bytes=-10", "0123456789 0-9" },
        { "Range: bytes=-99", "0123456789 0-9" },
        { "Range: bytes=10-", "416" },
        { "Range: bytes=99999999999999999999-", "416" },
        { "Range: bytes=-0", "416" },
        // What is no range, or several, is ignored.
        { "Range: bytes=5-2", "200" },
        { "Range: bytes=-", "200" },
        { "Range: bytes=", "200" },
        { "Range: bytes=5", "200" },
        { "Range: bytes=+1-5", "200" },
        { "Range: bytes=1-x", "200" },
        { "Range: bytes=1--2", "200" },
        { "Range: bytes=0x1-5", "200" },
        { "Range: 1-5", "200" },
        { "Range: lines=1-5", "200" },
        { "Range: bytes=0-1,5-6", "200" },
        { range + range.chopped(2), "200" },
        // The same version only.
        { range + "If-Range: " + tag, "2345 2-5" },
        { range + "If-Range: W/" + tag, "200" },
        { range + "If-Range: \"x\"", "200" },
        { range + "If-Range: Sat, 21 Nov 2026 20:05:09 GMT", "200" },
        { range + "If-Range: " + tag + "\r\nIf-Range: " + tag, "200" },
        { "If-Range: " + tag, "200" },
        { range + "If-Match: \"x\", " + tag, "2345 2-5" },
        { "If-Match: *", "200" },
        { range + "If-Match: W/" + tag, "412" },
        { range + "If-None-Match: \"x\"", "2345 2-5" },
        { range + "If-None-Match: \"x\", W/" + tag, "304" },
        { "If-None-Match: *", "304" },
        { "If-Modified-Since: Sat, 21 Nov 2099 20:05:09 GMT", "200" },
    };
    for (const auto &row : rows) {
        const QByteArray reply = get(row.Lines + "\r\n");
        const QByteArray where = row.Part.contains(' ') ? row.Part.split(' ').last() : QByteArray();
        const int status = where.isEmpty() ? row.Part.toInt() : 206;
        const QByteArray body = where.isEmpty() ? (status == 200 ? pack : QByteArray()) : row.Part.split(' ').first();
        EXPECT_EQ(StatusOf(reply), status) << row.Lines.data();
        EXPECT_EQ(BodyOf(reply), body) << row.Lines.data();
        EXPECT_TRUE(reply.contains("\r\nETag: " + tag + "\r\n") && reply.contains("\r\nAccept-Ranges: bytes\r\n")
                    && reply.contains("\r\nVary: User-Agent\r\n"))
            << row.Lines.data() << reply.data();
        const QByteArray length = QByteArray::number(status == 304 ? pack.size() : body.size());
        EXPECT_TRUE(reply.contains("\r\nContent-Length: " + length + "\r\n")) << reply.data();
        const QByteArray place = where.isEmpty() ? "*" : where;
        EXPECT_EQ(reply.contains("\r\nContent-Range: bytes " + place + "/10\r\n"), status == 206 || status == 416)
            << row.Lines.data() << reply.data();
        // No range is defined for HEAD; everything else is the same.
        if (status == 200 || status == 304 || status == 412)
            EXPECT_EQ(headers(Exchange("HEAD" + GetOf(sid, "TEN", row.Lines + "\r\n").mid(3))), headers(reply))
                << row.Lines.data();
        else
            EXPECT_EQ(StatusOf(Exchange("HEAD" + GetOf(sid, "TEN", row.Lines + "\r\n").mid(3))), 200) << row.Lines.data();
    }
    for (const char *lines : { "Range: bytes=0-\r\n", "Range: bytes=-1\r\n" })
        EXPECT_EQ(StatusOf(get(lines, "EMPTY")), QByteArray(lines).contains("0-") ? 416 : 200);
}

// Who downloads a pack gets one version of it, whatever is done to the file meanwhile.
TEST_F(HttpTest, APackThatIsReplaced)
{
    const QString path = Sandbox::Path(u"packs/NEW.exe"_s), aside = Sandbox::Path(u"packs/aside"_s);
    const QByteArray first = QByteArray("first").repeated(3'000'000), second = QByteArray("other").repeated(3'000'000);
    Sandbox::WriteFile(path, first);
    m_store.Grant(u"ann"_s, { u"NEW"_s });
    const QByteArray sid = StartedSession();
    // All packs are summed by and by, without anybody's request.
    Await([&] { return Exchange("HEAD" + GetOf(sid, "NEW").mid(3)).contains("\r\nETag: " + HashOf(first) + "\r\n"); });
    const auto slow = Connect(m_server->Endpoint(), GetOf(sid, "NEW"));
    const QByteArray begun = Receive(*slow, "\r\n\r\n");
    Sandbox::WriteFile(aside, second);
    ASSERT_EQ(::rename(qPrintable(aside), qPrintable(path)), 0);
    EXPECT_TRUE(BodyOf(begun + Receive(*slow)) == first);
    // Who asks for the rest of the version before gets the new one as a whole, and waits for its name.
    const QByteArray whole = Exchange(GetOf(sid, "NEW", "Range: bytes=5-\r\nIf-Range: " + HashOf(first) + "\r\n"));
    EXPECT_TRUE(StatusOf(whole) == 200 && BodyOf(whole) == second);
    EXPECT_TRUE(whole.contains("\r\nETag: " + HashOf(second) + "\r\n"));
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadWrite) && file.write("x") == 1);
    file.close();
    EXPECT_FALSE(Exchange(GetOf(sid, "NEW")).contains(HashOf(second))) << "changed where it is";
    const QByteArray rest
        = Exchange(GetOf(sid, "NEW", "Range: bytes=0-0\r\nIf-Range: " + HashOf("x" + second.mid(1)) + "\r\n"));
    EXPECT_EQ(BodyOf(rest), "x");
    // Nobody waits for a sum when the service ends.
    EXPECT_TRUE(QFile::resize(path, 4'000'000'000));
    const auto waiting = Connect(m_server->Endpoint(), GetOf(sid, "NEW", "Range: bytes=0-0\r\n"));
    QElapsedTimer timer;
    timer.start();
    m_server.reset();
    EXPECT_LT(timer.elapsed(), 1'000);
    QFile::remove(path);
}

// Each system gets its own packs, from the service or from a proxy that sends files.
TEST_F(HttpTest, PacksForSystems)
{
    for (const char *path : { "BOTH", "windows/BOTH", "linux/BOTH", "SOME", "linux/SOME", "windows/ONE", "BAD" })
        Sandbox::WriteFile(Sandbox::Path(u"packs/%1.exe"_s.arg(QLatin1StringView(path))), path);
    QFile::link(Sandbox::Path(u"packs/BAD.exe"_s), Sandbox::Path(u"packs/linux/BAD.exe"_s));
    m_store.Grant(u"ann"_s, { u"BOTH"_s, u"SOME"_s, u"ONE"_s, u"BAD"_s });
    const QByteArray windows = "Practorium/1.0.0 (Windows)", linux = "Practorium/1.0.0 (Linux)";
    const struct {
        const char *Exam;
        QByteArray Agent;
        QByteArray Path; // empty: not there
    } rows[] = {
        { "BOTH", windows, "windows/BOTH" },
        { "BOTH", linux, "linux/BOTH" },
        { "BOTH", "curl/7.88", "BOTH" },
        { "SOME", windows, "SOME" },
        { "SOME", linux, "linux/SOME" },
        { "ONE", windows, "windows/ONE" },
        { "ONE", linux, "" },
        { "BAD", linux, "" },
        { "BAD", windows, "BAD" },
    };
    const auto get = [&](const QByteArray &sid, const auto &row) {
        return Exchange(GetOf(sid, row.Exam, "User-Agent: " + row.Agent + "\r\n"));
    };
    QByteArray sid = StartedSession();
    for (const auto &row : rows)
        EXPECT_EQ(BodyOf(get(sid, row)), row.Path.isEmpty() ? "The pack of this exam is not there.\n" : row.Path) << row.Exam;
    m_options.AccelPrefix = u"/inside/"_s;
    sid = StartedSession();
    EXPECT_EQ(BodyOf(get(sid, rows[0])), "windows/BOTH") << "to nobody but a trusted proxy";
    m_options.Proxies.Add(u"127.0.0.1"_s);
    sid = StartedSession();
    for (const auto &row : rows) {
        const QByteArray reply = get(sid, row);
        const bool isThere = !row.Path.isEmpty();
        EXPECT_EQ(StatusOf(reply), isThere ? 200 : 404) << row.Exam;
        EXPECT_EQ(reply.contains("\r\nX-Accel-Redirect: /inside/" + row.Path + ".exe\r\n"), isThere) << reply.data();
        EXPECT_EQ(BodyOf(reply).isEmpty(), isThere) << row.Exam;
    }
    EXPECT_EQ(StatusOf(get("x", rows[0])), 403);
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
