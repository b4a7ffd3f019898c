// SPDX-License-Identifier: Apache-2.0
#include "service/Store.h"
#include "tests/service/HttpClient.h"
#include "tests/support/Program.h"
#include "tests/support/Test.h"

#include <QRegularExpression>

#include <csignal>

#include <pty.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace {

const QString Service = QStringLiteral(SERVICE_PROGRAM);

Outcome On(const QString &database, const QStringList &arguments, const QByteArray &input = {})
{
    return OutcomeOf(Service, arguments + QStringList{ u"--database"_s, database }, {}, input);
}

Outcome Failed(const QString &text)
{
    return { 1, {}, u"practorium-service: %1\n"_s.arg(text) };
}
Outcome Misused(const QString &text)
{
    return { 2, {}, u"practorium-service: %1 (see --help)\n"_s.arg(text) };
}

// Resident memory in pages.
qint64 MemoryOf(const QProcess &process)
{
    return Sandbox::ReadFile(u"/proc/%1/statm"_s.arg(process.processId())).split(' ').value(1).toLongLong();
}

class Running : public QProcess {
public:
    Running(const QString &database, const QString &options)
    {
        setWorkingDirectory(Sandbox::Path({}));
        start(Service, u"serve --packs program-packs --database %1 %2"_s.arg(database, options).split(u' '));
        while (!canReadLine() && waitForReadyRead(60'000)) { }
        Endpoint = QString::fromLatin1(readLine()).trimmed();
    }
    template <class... More> QByteArray Post(const QByteArray &message, const More &...more) const
    {
        return HttpClient(Endpoint, HttpClient::PostRequest(message, more...)).Receive().Body;
    }
    // Logs on, for a request of the one pack.
    QByteArray GetPack()
    {
        Session = Post("LOGIN?email=ann&pwd=pass;").mid(20).chopped(1);
        return HttpClient::GetRequest(u"/PackCourier.asp?eid=NET-101&sid="_s + QString::fromLatin1(Session));
    }

    QString Endpoint;
    QByteArray Session;
};

}

TEST(ServiceProgramTest, AccountsFromTheCommandLine)
{
    Sandbox::WriteFile(Sandbox::Path(u"word"_s), "second word\r\nnot this\n");
    Sandbox::WriteFile(Sandbox::Path(u"nothing"_s), {});
    const struct {
        QString Arguments; // "_" is a blank
        QByteArray Input;
        Outcome Expected;
    } rows[] = {
        { u"list-users"_s, "", Failed(u"a.db: No such file or directory"_s) },
        { u"add-user ann"_s, "first word\r\n", {} },
        { u"add-user ANN"_s, "x\n", Failed(u"The user \"ANN\" is there already"_s) },
        { u"add-user ann --replace --password-file word"_s, "", {} },
        { u"add-user bob --password-file none"_s, "", Failed(u"none: No such file or directory"_s) },
        { u"add-user bob"_s, "\n", Misused(u"the password is empty"_s) },
        { u"add-user bob word"_s, "x", Misused(u"too many arguments"_s) },
        { u"add-user"_s, "x", Misused(u"too few arguments"_s) },
        { u"add-user _b"_s, "x", Misused(u"the user ID begins or ends with a blank"_s) },
        { u"add-user bob --replace"_s, "x", Failed(u"There is no user \"bob\""_s) },
        { u"grant ann NET-101 SQL-101"_s, "", {} },
        { u"grant ann"_s, "", Misused(u"too few arguments"_s) },
        { u"grant ann ../x"_s, "", Misused(u"\"../x\" is no exam's ID"_s) },
        { u"grant bob X"_s, "", Failed(u"There is no user \"bob\""_s) },
        { u"revoke ann SQL-101"_s, "", {} },
        { u"list-users"_s, "", { 0, u"ann\tNET-101\n"_s } },
        { u"remove-user bob"_s, "", Failed(u"There is no user \"bob\""_s) },
        { u"remove-user"_s, "", Misused(u"too few arguments"_s) },
        { u"remove-user ann x"_s, "", Misused(u"too many arguments"_s) },
        { u"remove-user ANN"_s, "", {} },
        { u"list-users"_s, "", {} },
        { u"list-users x"_s, "", Misused(u"too many arguments"_s) },
        { u"list-reports x"_s, "", Misused(u"too many arguments"_s) },
        { u"serve --packs . x"_s, "", Misused(u"too many arguments"_s) },
        { u"serve --packs word"_s, "", Misused(u"--packs must name a folder"_s) },
        { u"serve --packs . --port 65536"_s, "", Misused(u"--port must be a number from 0 to 65535"_s) },
        { u"serve --packs . --rate x"_s, "", Misused(u"--rate must be a number of bytes"_s) },
        { u"serve --packs . --key word"_s, "", Misused(u"--certificate and --key belong together"_s) },
        { u"serve --packs . --key none --certificate none"_s, "", Failed(u"none: No such file or directory"_s) },
        { u"serve --packs . --key nothing --certificate word"_s, "", Failed(u"nothing: is empty"_s) },
        { u"serve --packs . --address ::x"_s,
          "",
          { 1,
            {},
            u"Without --certificate and --key, everybody on the way can read the passwords.\n"
            "practorium-service: \"::x\" is no address\n"_s } },
        { u"serve --packs . --address 127.x"_s, "", Failed(u"\"127.x\" is no address"_s) },
        { u"serve --packs . --trusted-proxy ::1 --trusted-proxy 1.2.3"_s, "",
          Misused(u"--trusted-proxy: \"1.2.3\" is no address and no range"_s) },
    };
    for (const auto &row : rows) {
        const QStringList arguments = row.Arguments.split(u' ').replaceInStrings(u"_"_s, u" "_s);
        EXPECT_EQ(On(u"a.db"_s, arguments, row.Input), row.Expected) << row.Arguments.toStdString();
    }
    EXPECT_EQ(OutcomeOf(Service, { u"list-users"_s }), Misused(u"--database is missing"_s));
    EXPECT_EQ(OutcomeOf(Service).Code, 2);
}

TEST(ServiceProgramTest, HelpIsWholeSentences)
{
    // Lines of options and arguments hang below each other; each text ends before
    // the next name.
    const QRegularExpression cut(u"[^.\n:](?=\n(?:\n|  [-A-Z]|$))"_s);
    for (const QString &command :
         { u"serve"_s, u"add-user"_s, u"remove-user"_s, u"grant"_s, u"revoke"_s, u"list-users"_s, u"list-reports"_s }) {
        const Outcome help = OutcomeOf(Service, { command, u"--help"_s });
        EXPECT_TRUE(help.Code == 0 && help.Out.contains(u"\nOptions:\n"_s)) << help.Err.toStdString();
        const QString text = help.Out.section(u'\n', 1); // without the usage
        EXPECT_FALSE(text.contains(cut)) << text.toStdString();
    }
}

TEST(ServiceProgramTest, NoOrADamagedDatabaseIsNotServed)
{
    const QString folder = Sandbox::Path(u"odd"_s);
    Sandbox::WriteFile(folder + u"/text"_s, QByteArray(5'000, 'x'));
    {
        Store store(folder + u"/sound"_s, Store::IfMissing::Make);
        for (int i = 0; i < 100; ++i)
            store.AddUser(QString::number(i), QByteArray(200, 'x'));
    }
    QByteArray bytes = Sandbox::ReadFile(folder + u"/sound"_s);
    Sandbox::WriteFile(folder + u"/damaged"_s, QByteArray(bytes).replace(bytes.size() - 5'000, 4'000, QByteArray(4'000, 'y')));
    bytes[63] = 3; // of the format's version
    Sandbox::WriteFile(folder + u"/newer"_s, bytes);
    const std::pair<QString, QString> rows[] = {
        { u"/text"_s, u"/text: file is not a database"_s },
        { u"/none"_s, u"/none: No such file or directory\n"_s },
        { u""_s, u"odd: "_s },
        { u"/newer"_s, u"/newer: made by a newer version of this program\n"_s },
        { u"/damaged"_s, u"/damaged: is damaged: *** in database main ***"_s },
    };
    for (const auto &[name, fault] : rows) {
        const Outcome outcome = On(folder + name, { u"serve"_s, u"--packs"_s, u"."_s });
        EXPECT_TRUE(outcome.Code == 1 && outcome.Err.contains(fault)) << outcome.Err.toStdString();
    }
    EXPECT_TRUE(!QFile::exists(folder + u"/none"_s) && Sandbox::ReadFile(folder + u"/text"_s) == QByteArray(5'000, 'x'));
}

TEST(ServiceProgramTest, ATerminalShowsNoPasswordAndEverythingAfterwards)
{
    int terminal, line;
    ASSERT_EQ(openpty(&terminal, &line, nullptr, nullptr, nullptr), 0);
    const auto shows = [&] {
        termios mode{};
        return tcgetattr(line, &mode) == 0 && (mode.c_lflag & ECHO) != 0;
    };
    const QString path = Sandbox::Path(u"typed.db"_s);
    for (const auto &[typed, exitCode] : { std::pair{ "pass\n", 0 }, std::pair{ "pass\x03", SIGINT } }) {
        QProcess service;
        service.setChildProcessModifier([line] { login_tty(dup(line)); });
        service.start(Service, { u"add-user"_s, u"--database"_s, path, u"ann"_s });
        Await([&] { return !shows(); });
        EXPECT_EQ(::write(terminal, typed, qstrlen(typed)), static_cast<ssize_t>(qstrlen(typed)));
        EXPECT_TRUE(service.waitForFinished(60'000));
        EXPECT_EQ(service.exitCode(), exitCode);
        EXPECT_TRUE(shows());
        QByteArray seen(100, '\0');
        seen.truncate(::read(terminal, seen.data(), 100));
        EXPECT_EQ(seen, exitCode == 0 ? "Password: \r\n" : "Password: ");
    }
    EXPECT_TRUE(::close(line) == 0 && ::close(terminal) == 0);
}

TEST(ServiceProgramTest, ARunFromEndToEndInLittleMemory)
{
    ASSERT_EQ(On(u"run.db"_s, { u"add-user"_s, u"ann"_s }, "pass\n"), Outcome{});
    ASSERT_EQ(On(u"run.db"_s, { u"grant"_s, u"ann"_s, u"NET-101"_s }), Outcome{});
    Sandbox::WriteFile(Sandbox::Path(u"program-packs/NET-101.exe"_s), QByteArray(50'000'000, 'p'));
    Running service(u"run.db"_s, u"--trusted-proxy 127.0.0.0/8"_s);
    EXPECT_TRUE(service.Endpoint.startsWith("http://127.0.0.1:"_L1)) << service.Endpoint.toStdString();
    service.Post("LOGIN?email=e%251&pwd=x;", "Connection: close\r\nX-Forwarded-For: 192.0.2.7\r\n");
    const QByteArray get = service.GetPack();
    const qint64 before = MemoryOf(service);
    HttpClient half(service.Endpoint, get);
    EXPECT_EQ(half.ReceiveHead().Status, 200);
    EXPECT_EQ(HttpClient(service.Endpoint, get).Receive().Body.size(), 50'000'000);
    EXPECT_LT(MemoryOf(service) - before, 2'000);
    EXPECT_EQ(service.Post("REPORT?sid=" + service.Session + "&list=NET-101&time=a\tb\nc;"), "REPORT?status=OK;");
    // One download is half way still.
    Signal(service, SIGTERM);
    const Outcome end = EndOf(service);
    const QRegularExpression failure(u"^20\\d\\d-\\d\\d-\\d\\dT[\\d:]{8}Z login failed: \"e%1\" from 192\\.0\\.2\\.7\n$"_s);
    EXPECT_TRUE(failure.match(end.Err).hasMatch()) << end.Err.toStdString();
    EXPECT_TRUE(end.Code == 0 && half.HasEnded());
    const QString reports = On(u"run.db"_s, { u"list-reports"_s }).Out;
    const QRegularExpression report(u"^20\\d\\d-\\d\\d-\\d\\dT[\\d:]{8}Z\tann\tNET-101\ta b c\n$"_s);
    EXPECT_TRUE(report.match(reports).hasMatch()) << reports.toStdString();

    // Over HTTPS, and a byte a second.
    const QString certificate = u"req -x509 -newkey rsa:2048 -nodes -subj /CN=here -keyout own.pem -out chain.pem"_s;
    ASSERT_EQ(OutcomeOf(u"openssl"_s, certificate.split(u' ')).Code, 0);
    Running slow(u"run.db"_s, u"--certificate chain.pem --key own.pem --rate 1"_s);
    EXPECT_TRUE(slow.Endpoint.startsWith("https:"_L1)) << slow.Endpoint.toStdString();
    HttpClient begun(slow.Endpoint, slow.GetPack());
    EXPECT_EQ(begun.ReceiveHead().Status, 200);
    Signal(slow, SIGINT);
    EXPECT_EQ(EndOf(slow), Outcome{});
    EXPECT_LT(begun.Receive().Body.size(), 10);
}
