// SPDX-License-Identifier: Apache-2.0
#include "service/Store.h"
#include "tests/service/Databases.h"
#include "tests/service/HttpClient.h"
#include "tests/support/Program.h"
#include "tests/support/Test.h"

#include <QRegularExpression>

#include <atomic>
#include <csignal>
#include <thread>

#include <pty.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace {

const QString Service = QStringLiteral(SERVICE_PROGRAM);

// A test run in the background may have it ignored, and programs inherit that.
[[maybe_unused]] const auto interruptBefore = std::signal(SIGINT, SIG_DFL);

// With arguments parted by blanks; "_" is a blank in one.
Outcome On(const QString &arguments, const QByteArray &input = {})
{
    return OutcomeOf(Service, arguments.split(u' ').replaceInStrings(u"_"_s, u" "_s), {}, input);
}

QString NextLine(QProcess &service)
{
    while (!service.canReadLine() && service.waitForReadyRead(Patience)) { }
    return QString::fromLatin1(service.readLine()).trimmed();
}

// The program on each kind of database, with a user who has one exam.
class RunTest : public testing::TestWithParam<DatabaseKind> {
protected:
    RunTest()
    {
        EXPECT_EQ(On(u"add-user ann --database "_s + m_location, "pass\n"), Outcome{});
        EXPECT_EQ(On(u"grant ann NET-101 --database "_s + m_location), Outcome{});
        Sandbox::WriteFile(Sandbox::Path(u"program-packs/NET-101.exe"_s), QByteArray(50'000'000, 'p'));
    }
    // Starts a service; its address.
    QString Serve(QProcess &service, const QString &options = u"--rate 0"_s) const
    {
        service.setWorkingDirectory(Sandbox::Path({}));
        service.start(Service, (u"serve --packs program-packs --database %1 %2"_s.arg(m_location, options)).split(u' '));
        return NextLine(service);
    }
    QString Reports() const { return On(u"list-reports --database "_s + m_location).Out; }

    // Without the folder, whose name contains a blank.
    const QString m_location = NewDatabase(GetParam()).remove(Sandbox::Path({}));
};
INSTANTIATE_TEST_SUITE_P(On, RunTest, BothKinds, testing::PrintToStringParamName());

QByteArray Fetch(const QString &url)
{
    return Receive(
        *Connect(url, "GET " + QUrl(url).path().toLatin1() + " HTTP/1.1\r\nHost: here\r\nConnection: close\r\n\r\n"));
}

// Makes a certificate and its key.
void MakeCertificate(const QString &name)
{
    const QString arguments = u"req -x509 -newkey rsa:2048 -nodes -subj /CN=%1 -keyout key.pem -out chain.pem"_s.arg(name);
    ASSERT_EQ(OutcomeOf(u"openssl"_s, arguments.split(u' ')).Code, 0);
}

}

TEST(ServiceProgramTest, CommandsAndTheirArguments)
{
    for (const auto &[name, bytes] : { std::pair{ u"word"_s, "second word\r\nnot this\n" }, std::pair{ u"nothing"_s, "" },
                                       std::pair{ u"text"_s, "xxxxxxxxxxxx" } })
        Sandbox::WriteFile(Sandbox::Path(name), bytes);
    {
        Database database(Sandbox::Path(u"sound"_s), Database::IfMissing::Make);
        Store store(database);
        for (int i = 0; i < 100; ++i)
            store.AddUser(QString::number(i), QByteArray(200, 'x'));
    }
    QByteArray bytes = Sandbox::ReadFile(Sandbox::Path(u"sound"_s));
    Sandbox::WriteFile(Sandbox::Path(u"damaged"_s),
                       QByteArray(bytes).replace(bytes.size() - 5'000, 4'000, QByteArray(4'000, 'y')));
    bytes[63] = 4; // of the version of the tables
    Sandbox::WriteFile(Sandbox::Path(u"newer"_s), bytes);
    const auto failed = [](const QString &text) { return Outcome{ 1, {}, u"practorium-service: %1\n"_s.arg(text) }; };
    const auto misused = [&](const QString &text) { return Outcome{ 2, {}, failed(text + u" (see --help)"_s).Err }; };
    const Outcome noBob = failed(u"There is no user \"bob\""_s);
    const struct {
        QString Arguments;
        QByteArray Input;
        Outcome Expected;
    } rows[] = {
        { u"list-users --database ."_s, "", failed(u".: Is a directory"_s) },
        { u"list-users --database newer"_s, "", failed(u"newer: made by a newer version of this program"_s) },
        { u"list-users"_s, "", failed(u"a.db: No such file or directory"_s) },
        { u"add-user Cy"_s, "first word\r\n", {} },
        { u"add-user ann"_s, "first word\n", {} },
        { u"add-user ANN"_s, "x\n", failed(u"The user \"ANN\" is there already"_s) },
        { u"add-user ann --replace --password-file word"_s, "", {} },
        { u"add-user bob --password-file none"_s, "", failed(u"none: No such file or directory"_s) },
        { u"add-user bob"_s, "\n", misused(u"the password is empty"_s) },
        { u"add-user _b"_s, "x", misused(u"the user ID begins or ends with a blank"_s) },
        { u"add-user bob --replace"_s, "x", noBob },
        { u"add-user ';_DROP_TABLE_users;_--"_s, "x", {} },
        { u"grant ann NET-101 LNX-101 NET-101"_s, "", {} },
        { u"grant cy NET-101"_s, "", {} },
        { u"grant ANN A-1 LNX-101"_s, "", {} },
        { u"grant ann ../x"_s, "", misused(u"\"../x\" is no exam's ID"_s) },
        { u"grant bob X"_s, "", noBob },
        { u"revoke Ann LNX-101 NONE"_s, "", {} },
        { u"list-users"_s, "", { 0, u"'; DROP TABLE users; --\t\nann\tNET-101,A-1\nCy\tNET-101\n"_s } },
        { u"remove-user bob"_s, "", noBob },
        { u"remove-user ANN"_s, "", {} },
        { u"serve --packs word"_s, "", misused(u"--packs must name a folder"_s) },
        { u"serve --packs . --port 65536"_s, "", misused(u"--port must be a number from 0 to 65535"_s) },
        { u"serve --packs . --rate x"_s, "", misused(u"--rate must be a number of bytes"_s) },
        { u"serve --packs . --accel-prefix /a//"_s, "", misused(u"--accel-prefix must be a path such as /packs/"_s) },
        { u"serve --packs . --accel-prefix /a/"_s, "", misused(u"--accel-prefix needs --trusted-proxy"_s) },
        { u"serve --packs . --key word"_s, "", misused(u"--certificate and --key belong together"_s) },
        { u"serve --packs . --key none --certificate none"_s, "", failed(u"none: No such file or directory"_s) },
        { u"serve --packs . --key nothing --certificate word"_s, "", failed(u"nothing: is empty"_s) },
        { u"serve --packs . --address ::x"_s, "", failed(u"\"::x\" is no address"_s) },
        { u"serve --packs . --admin-port x"_s, "", misused(u"--admin-port must be a number from 0 to 65535"_s) },
        { u"serve --packs . --grace -1"_s, "", misused(u"--grace must be a number of seconds up to 65535"_s) },
        { u"serve --packs . --key word --certificate word"_s, "",
          failed(u"The certificate or its key cannot be used: The requested data were not available."_s) },
        { u"serve --packs . --address 127.x"_s, "", failed(u"\"127.x\" is no address"_s) },
        { u"serve --packs . --trusted-proxy ::1 --trusted-proxy 1.2.3"_s, "",
          misused(u"--trusted-proxy: \"1.2.3\" is no address and no range"_s) },
    };
    for (const auto &row : rows) {
        const QString database = row.Arguments.contains("--database"_L1) ? QString() : u" --database a.db"_s;
        EXPECT_EQ(On(row.Arguments + database, row.Input), row.Expected) << row.Arguments.toStdString();
    }
    for (const auto &[name, fault] :
         { std::pair{ u"text"_s, u"file is not a database"_s }, std::pair{ u"damaged"_s, u"is damaged: ***"_s } }) {
        const Outcome outcome = On(u"serve --packs . --database "_s + name);
        EXPECT_TRUE(outcome.Code == 1 && outcome.Err.startsWith(u"practorium-service: %1: %2"_s.arg(name, fault)))
            << outcome.Err.toStdString();
    }
    for (const QString &command : { u"add-user a"_s, u"remove-user a"_s, u"list-users"_s, u"list-reports"_s, u"serve"_s })
        EXPECT_EQ(On(command + u" x --database a.db"_s), misused(u"too many arguments"_s)) << command.toStdString();
    for (const QString &command : { u"add-user"_s, u"remove-user"_s, u"grant a"_s, u"revoke a"_s })
        EXPECT_EQ(On(command + u" --database a.db"_s), misused(u"too few arguments"_s)) << command.toStdString();
    EXPECT_EQ(On(u"list-users"_s), misused(u"--database is missing"_s));
    EXPECT_EQ(OutcomeOf(Service).Code, 2);
    // The first column of each help: what scripts may use.
    const std::pair<QString, QString> helps[] = {
        { u"serve"_s,
          u"--packs <DIR> --accel-prefix <PATH> --address <ADDRESS> --port <PORT> --trusted-proxy <ADDRESS[/PREFIX]> --rate "
          u"<BYTES> "
          "--certificate <FILE> --key <FILE> --admin-port <PORT> --admin-address <ADDRESS> --grace <SECONDS>"_s },
        { u"add-user"_s, u"--password-file <FILE> --replace EMAIL"_s },
        { u"remove-user"_s, u"EMAIL"_s },
        { u"grant"_s, u"EMAIL EXAM"_s },
        { u"revoke"_s, u"EMAIL EXAM"_s },
    };
    const QRegularExpression column(u"^  (\\S+( <\\S+>)?)"_s, QRegularExpression::MultilineOption);
    for (const auto &[command, expected] : helps) {
        QStringList names;
        const QString help = On(command + u" --help"_s).Out;
        for (auto match = column.globalMatch(help); match.hasNext();)
            names += match.next().captured(1);
        names.removeAll(u"-h,"_s);
        EXPECT_EQ(names.removeAll(u"--database <DATABASE>"_s), 1) << command.toStdString();
        EXPECT_EQ(names.join(u' '), expected) << command.toStdString();
    }
}

TEST(ServiceProgramTest, ATerminalShowsNoPasswordAndEverythingAfterwards)
{
    int terminal, line;
    ASSERT_EQ(openpty(&terminal, &line, nullptr, nullptr, nullptr), 0);
    const auto shows = [&] {
        termios mode{};
        return tcgetattr(line, &mode) == 0 && (mode.c_lflag & ECHO) != 0;
    };
    const auto seen = [terminal] {
        QByteArray bytes(100, '\0');
        return bytes.first(std::max<ssize_t>(::read(terminal, bytes.data(), 100), 0));
    };
    const QString path = Sandbox::Path(u"typed.db"_s);
    for (const auto &[typed, exitCode] : { std::pair{ "pass\n", 0 }, std::pair{ "pass\x03", SIGINT } }) {
        QProcess service;
        service.setChildProcessModifier([line] { login_tty(dup(line)); });
        service.start(Service, { u"add-user"_s, u"--database"_s, path, u"ann"_s });
        Await([&] { return !shows(); });
        // Before the key for a signal, with which a terminal drops what waits in it.
        EXPECT_EQ(seen(), "Password: ");
        EXPECT_EQ(::write(terminal, typed, qstrlen(typed)), static_cast<ssize_t>(qstrlen(typed)));
        EXPECT_TRUE(service.waitForFinished(Patience));
        EXPECT_EQ(service.exitCode(), exitCode);
        EXPECT_TRUE(shows());
        EXPECT_TRUE(exitCode != 0 || seen() == "\r\n");
    }
    EXPECT_TRUE(::close(line) == 0 && ::close(terminal) == 0);
}

TEST_P(RunTest, FromEndToEndInLittleMemory)
{
    const bool isFile = GetParam() == DatabaseKind::Sqlite;
    if (isFile)
        QFile::setPermissions(Sandbox::Path(m_location),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    QProcess service;
    QString endpoint = Serve(service, u"--trusted-proxy 127.0.0.0/8"_s);
    EXPECT_TRUE(endpoint.startsWith("http://127.0.0.1:"_L1)) << endpoint.toStdString();
    for (const QString &suffix : { u""_s, u"-wal"_s, u"-shm"_s })
        EXPECT_TRUE(!isFile || int(QFile::permissions(Sandbox::Path(m_location + suffix))) == 0x6600) << suffix.toStdString();
    const QString port = endpoint.section(u':', 2).section(u'/', 0, 0);
    const Outcome second = On(u"serve --packs . --database %1 --port %2"_s.arg(m_location, port));
    EXPECT_TRUE(second.Code == 1 && second.Err.contains(u"Address already in use"_s)) << second.Err.toStdString();
    const QByteArray wrong = PostOf("LOGIN?email=e%251&pwd=x;", "Connection: close\r\nX-Forwarded-For: 192.0.2.7\r\n");
    EXPECT_EQ(BodyOf(Receive(*Connect(endpoint, wrong))), "LOGIN?status=FAILED;");
    const QByteArray sid = SessionAt(endpoint);
    const QByteArray get = GetOf(sid, "NET-101");
    // The resident memory, in pages.
    const auto memory
        = [&] { return Sandbox::ReadFile(u"/proc/%1/statm"_s.arg(service.processId())).split(' ').value(1).toLongLong(); };
    const qint64 before = memory();
    const auto half = Connect(endpoint, get);
    EXPECT_EQ(StatusOf(Receive(*half, "\r\n\r\n")), 200);
    EXPECT_EQ(BodyOf(Receive(*Connect(endpoint, get))).size(), 50'000'000);
    EXPECT_LT(memory() - before, 2'000);
    EXPECT_TRUE(Receive(*Connect(endpoint, PostOf("REPORT?sid=" + sid + "&list=NET-101&time=a\tb\nc;"))).endsWith("=OK;"));
    // One download is half way still, and whoever asks twice does not wait for it.
    Signal(service, SIGTERM);
    Await([&] { return Connect(endpoint)->state() != QAbstractSocket::ConnectedState; });
    Signal(service, SIGTERM);
    const Outcome end = EndOf(service);
    const QRegularExpression failure(u"^time=20\\d\\d-\\d\\d-\\d\\dT[\\d:]{8}Z event=login_failed user=\"e%1\" "
                                     "from=192\\.0\\.2\\.7\n$"_s);
    EXPECT_TRUE(failure.match(end.Err).hasMatch()) << end.Err.toStdString();
    EXPECT_TRUE(end.Code == 0 && HasEnded(*half));
    const QString reports = Reports();
    const QRegularExpression report(u"^20\\d\\d-\\d\\d-\\d\\dT[\\d:]{8}Z\tann\tNET-101\ta b c\n$"_s);
    EXPECT_TRUE(report.match(reports).hasMatch()) << reports.toStdString();
}

TEST_P(RunTest, KilledAtOnceItLosesNoReportAndNoSession)
{
    QProcess service;
    QString endpoint = Serve(service);
    const QByteArray sid = SessionAt(endpoint);
    // As many as arrive from two clients until the end, which comes in the middle.
    std::atomic<int> acknowledged = 0;
    std::array<QStringList, 2> times;
    const auto send = [&](int client) {
        for (int i = 0;; ++i) {
            const QString time = u"%1-%2"_s.arg(client).arg(i);
            const QByteArray report = "REPORT?sid=" + sid + "&list=NET-101&time=" + time.toLatin1() + ';';
            if (!Receive(*Connect(endpoint, PostOf(report))).endsWith("REPORT?status=OK;"))
                return;
            times[static_cast<size_t>(client)].append(time);
            ++acknowledged;
        }
    };
    std::thread first(send, 0), second(send, 1);
    Await([&] { return acknowledged >= 20; });
    service.kill();
    first.join();
    second.join();
    service.waitForFinished();
    const QString kept = Reports();
    for (const QString &time : times[0] + times[1])
        EXPECT_TRUE(kept.contains(u"\tann\tNET-101\t%1\n"_s.arg(time))) << time.toStdString();
    QProcess again;
    endpoint = Serve(again);
    EXPECT_EQ(BodyOf(Receive(*Connect(endpoint, PostOf("LIST?sid=" + sid + ';')))), "LIST?status=OK&data=NET-101;");
    again.terminate();
    EXPECT_EQ(EndOf(again), Outcome{});
}

TEST_P(RunTest, AnAdministratorSeesHowItDoesAndEndsItInOrder)
{
    QProcess service;
    const QString endpoint = Serve(service, u"--admin-port 0"_s);
    const QString health = NextLine(service), metrics = QString(health).replace(u"/health"_s, u"/metrics"_s);
    EXPECT_EQ(BodyOf(Fetch(health)), "ok\n");
    EXPECT_EQ(StatusOf(Fetch(endpoint.section(u'/', 0, 2) + u"/health"_s)), 404);
    EXPECT_EQ(StatusOf(Fetch(QString(health).replace(u"/health"_s, u"/"_s))), 404);
    const QByteArray sid = SessionAt(endpoint), list = PostOf("LIST?sid=" + sid + ';');
    for (const QByteArray &request : { list, list, PostOf("LOGIN?email=ann&pwd=x;"), GetOf(sid, "NET-101"), GetOf("x", "y") })
        Receive(*Connect(endpoint, request));
    const auto half = Connect(endpoint, GetOf(sid, "NET-101"));
    const QByteArray begun = Receive(*half, "\r\n\r\n");
    // The end of a request is counted a moment after its last byte.
    const QStringList samples = {
        u"practorium_requests_total{kind=\"list\",status=\"2xx\"} 2"_s,
        u"practorium_requests_total{kind=\"login\",status=\"2xx\"} 2"_s,
        u"practorium_requests_total{kind=\"pack\",status=\"2xx\"} 1"_s,
        u"practorium_requests_total{kind=\"pack\",status=\"4xx\"} 2"_s,
        u"practorium_logins_total{result=\"ok\"} 1"_s,
        u"practorium_logins_total{result=\"failed\"} 1"_s,
        u"practorium_pack_bytes_total 50000000"_s,
        u"practorium_requests_in_progress 1"_s,
        u"practorium_connections 1"_s,
        u"practorium_login_queue 0"_s,
        u"practorium_request_seconds_bucket{kind=\"list\",le=\"+Inf\"} 2"_s,
        u"practorium_request_seconds_count{kind=\"login\"} 2"_s,
        u"practorium_refused_total{what=\"request\"} 0"_s,
    };
    QStringList missing;
    Await([&] {
        missing = samples;
        for (const QString &line : QString::fromLatin1(BodyOf(Fetch(metrics))).split(u'\n'))
            missing.removeAll(line);
        return missing.isEmpty();
    });
    EXPECT_EQ(missing, QStringList());
    // A line that is no comment is a name, perhaps with labels, and a number.
    const QRegularExpression sample(u"^practorium_\\w+(\\{(\\w+=\"[^\"]+\",?)+\\})? [\\d.e-]+$"_s);
    const QString text = QString::fromLatin1(BodyOf(Fetch(metrics)));
    for (const QString &line : text.split(u'\n', Qt::SkipEmptyParts))
        EXPECT_TRUE(line.startsWith(u"# "_s) || sample.match(line).hasMatch()) << line.toStdString();

    Signal(service, SIGTERM);
    Await([&] { return BodyOf(Fetch(health)) == "stopping\n"; });
    EXPECT_EQ(StatusOf(Fetch(health)), 503);
    EXPECT_EQ(Connect(endpoint)->state(), QAbstractSocket::UnconnectedState);
    EXPECT_EQ(BodyOf(begun + Receive(*half)).size(), 50'000'000);
    EXPECT_EQ(EndOf(service).Code, 0);
}

TEST(ServiceProgramTest, AServerOfPostgresThatEndsIsFoundAgain)
{
    const QString location = NewDatabase(DatabaseKind::Postgres);
    ASSERT_EQ(On(u"add-user ann --database "_s + location, "pass\n"), Outcome{});
    QProcess service;
    service.setWorkingDirectory(Sandbox::Path({}));
    service.start(Service, (u"serve --admin-port 0 --packs . --database "_s + location).split(u' '));
    const QString endpoint = NextLine(service), health = NextLine(service);
    const QByteArray sid = SessionAt(endpoint);
    const auto report = [&](const QByteArray &time) {
        return BodyOf(Receive(*Connect(endpoint, PostOf("REPORT?sid=" + sid + "&list=&time=" + time + ';'))));
    };
    const QByteArray unavailable
        = "ERROR?code=503&description=The service is not available at the moment. Please try again later.;";
    // Of every thread of the service.
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(report("before" + QByteArray::number(i)), "REPORT?status=OK;");
    StopPostgres();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(report("during"), unavailable);
    EXPECT_EQ(BodyOf(Receive(*Connect(endpoint, PostOf("LOGIN?email=ann&pwd=pass;")))), unavailable);
    EXPECT_EQ(StatusOf(Receive(*Connect(endpoint, GetOf(sid, "X")))), 503);
    EXPECT_EQ(BodyOf(Fetch(health)), "no database\n");
    StartPostgres();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(report("after" + QByteArray::number(i)), "REPORT?status=OK;");
    EXPECT_EQ(BodyOf(Fetch(health)), "ok\n");
    EXPECT_EQ(On(u"list-reports --database "_s + location).Out.count(u'\n'), 20);
    service.terminate();
    EXPECT_EQ(EndOf(service).Code, 0);
}

TEST(ServiceProgramTest, TheRightsInTheManualAreEnoughToServe)
{
    const QString owner = NewDatabase(DatabaseKind::Postgres);
    const QString serving = QString(owner).replace(u"user=owner"_s, u"user=practorium%5Fserve"_s);
    ASSERT_EQ(On(u"init --database "_s + owner), Outcome{});
    const QString manual = QString::fromUtf8(Sandbox::ReadFile(QStringLiteral(MANUAL)));
    for (const QString &line : manual.split(u'\n')) {
        if (line.startsWith("    GRANT "_L1) || line.startsWith("    CREATE ROLE "_L1))
            RunSql(owner, line.trimmed());
    }
    ASSERT_EQ(On(u"add-user ann --database "_s + owner, "pass\n"), Outcome{});
    QProcess service;
    service.setWorkingDirectory(Sandbox::Path({}));
    service.start(Service, (u"serve --packs . --grace 0 --database "_s + serving).split(u' '));
    const QString endpoint = NextLine(service);
    const auto post = [&](const QByteArray &message) { return BodyOf(Receive(*Connect(endpoint, PostOf(message)))); };
    EXPECT_EQ(post("LOGIN?email=ann&pwd=x;"), "LOGIN?status=FAILED;");
    const QByteArray sid = SessionAt(endpoint);
    EXPECT_EQ(post("LIST?sid=" + sid + ';'), "LIST?status=OK&data=;");
    EXPECT_EQ(post("REPORT?sid=" + sid + "&list=&time=noon;"), "REPORT?status=OK;");
    // Ended in order, it stores the last uses.
    service.terminate();
    EXPECT_EQ(EndOf(service).Err.count(u'\n'), 1);
    for (const QString &forbidden : { u"add-user eve"_s, u"remove-user ann"_s, u"grant ann X"_s }) {
        const Outcome outcome = On(forbidden + u" --database "_s + serving, "pass\n");
        EXPECT_TRUE(outcome.Code == 1 && outcome.Err.contains(u"permission denied"_s)) << outcome.Err.toStdString();
    }
    EXPECT_EQ(On(u"list-users --database "_s + owner).Out, u"ann\t\n"_s);
}

TEST(ServiceProgramTest, CertificatesAreReadAgainAndCiphersAreStrong)
{
    ASSERT_EQ(On(u"add-user ann --database tls.db"_s, "pass\n"), Outcome{});
    ASSERT_EQ(On(u"grant ann NET-101 --database tls.db"_s), Outcome{});
    Sandbox::WriteFile(Sandbox::Path(u"tls-packs/NET-101.exe"_s), "a pack of some bytes");
    // Over HTTPS, a byte a second, and IPv6 where the machine has it.
    MakeCertificate(u"first"_s);
    const bool hasIPv6 = QFile::exists(u"/proc/net/if_inet6"_s) && Sandbox::ReadFile(u"/proc/net/if_inet6"_s).contains(" lo\n");
    const QString options
        = u"serve --packs tls-packs --database tls.db --certificate chain.pem --key key.pem --rate 1 --grace 0 "
          "--address "_s;
    QProcess slow;
    slow.setWorkingDirectory(Sandbox::Path({}));
    slow.start(Service, (options + (hasIPv6 ? u"::1"_s : u"127.0.0.1"_s)).split(u' '));
    const QString endpoint = NextLine(slow);
    EXPECT_TRUE(endpoint.startsWith(hasIPv6 ? u"https://[::1]:"_s : u"https://127.0.0.1:"_s)) << endpoint.toStdString();
    // With a key exchange that the certificate's key can open later; without an authenticated cipher.
    for (const auto &[cipher, code] :
         { std::pair{ u"kRSA+AESGCM"_s, 1 }, std::pair{ u"ECDHE+AES+SHA1"_s, 1 }, std::pair{ u"ECDHE+AESGCM"_s, 0 } }) {
        const QString client = u"s_client -tls1_2 -connect %1 -cipher %2"_s.arg(QUrl(endpoint).authority(), cipher);
        EXPECT_EQ(OutcomeOf(u"openssl"_s, client.split(u' ')).Code, code) << cipher.toStdString();
    }
    const auto begun = Connect(endpoint, GetOf(SessionAt(endpoint), "NET-101"));
    EXPECT_EQ(StatusOf(Receive(*begun, "\r\n\r\n")), 200);
    const auto subject
        = [&] { return Connect(endpoint, PostOf("LIST;"))->peerCertificate().subjectInfo("CN").join(QString()); };
    EXPECT_EQ(subject(), u"first"_s);
    MakeCertificate(u"second"_s);
    Signal(slow, SIGHUP);
    QByteArray log;
    const auto isLogged = [&](const char *event) {
        slow.waitForReadyRead(1);
        log += slow.readAllStandardError();
        return log.contains(QByteArray("event=certificate_") + event);
    };
    Await([&] { return isLogged("loaded"); });
    EXPECT_EQ(subject(), u"second"_s);
    // A download that was begun with the first goes on.
    EXPECT_TRUE(begun->waitForReadyRead(Patience));
    MakeCertificate(u"third"_s);
    Sandbox::WriteFile(Sandbox::Path(u"chain.pem"_s), "no certificate");
    Signal(slow, SIGHUP);
    Await([&] { return isLogged("kept reason=\"The certificate or its key cannot be used: "); });
    EXPECT_EQ(subject(), u"second"_s);
    Signal(slow, SIGINT);
    EXPECT_EQ(EndOf(slow), Outcome{});
    EXPECT_LT(Receive(*begun).size(), 10);
}
