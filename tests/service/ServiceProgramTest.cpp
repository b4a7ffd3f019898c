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

// Resident memory in pages.
qint64 MemoryOf(const QProcess &process)
{
    return Sandbox::ReadFile(u"/proc/%1/statm"_s.arg(process.processId())).split(' ').value(1).toLongLong();
}

class Running : public QProcess {
public:
    explicit Running(const QString &database)
    {
        setWorkingDirectory(Sandbox::Path({}));
        start(Service, { u"serve"_s, u"--packs"_s, u"program-packs"_s, u"--database"_s, database });
        while (!canReadLine() && waitForReadyRead(60'000)) { }
        Endpoint = QString::fromLatin1(readLine()).trimmed();
    }
    QString Endpoint;
};

}

TEST(ServiceProgramTest, AccountsFromTheCommandLine)
{
    Sandbox::WriteFile(Sandbox::Path(u"word"_s), "second word\r\nnot this\n");
    const struct {
        QString Arguments;
        QByteArray Input;
        int Code;
        QString Text = {}; // what is printed, or complained where that matters
    } rows[] = {
        { u"list-users"_s, "", 1, u"a.db: No such file or directory"_s },
        { u"add-user ann"_s, "first word\n", 0 },
        { u"add-user ANN"_s, "x\n", 1, u"The user \"ANN\" is there already"_s },
        { u"add-user ann --replace --password-file word"_s, "", 0 },
        { u"add-user bob --password-file none"_s, "", 1, u"none: No such file or directory"_s },
        { u"add-user bob"_s, "", 2, u"the password is empty"_s },
        { u"add-user bob word"_s, "x", 2 },
        { u"add-user"_s, "x", 2 },
        { u"add-user _b"_s, "x", 2 },
        { u"add-user bob --replace"_s, "x", 1, u"There is no user \"bob\""_s },
        { u"grant ann NET-101 SQL-101"_s, "", 0 },
        { u"grant ann"_s, "", 2 },
        { u"grant ann ../x"_s, "", 2, u"\"../x\" is no exam's ID"_s },
        { u"grant bob X"_s, "", 1 },
        { u"revoke ann SQL-101"_s, "", 0 },
        { u"serve --packs none"_s, "", 2 },
        { u"serve --packs . --port 65536"_s, "", 2 },
        { u"serve --packs . --key word"_s, "", 2 },
        { u"serve --packs . --key word --certificate word"_s, "", 1 },
        { u"serve --packs . --trusted-proxy ::1 --trusted-proxy 1.2.3"_s, "", 2,
          u"--trusted-proxy: \"1.2.3\" is no address"_s },
        { u"list-users"_s, "", 0, u"ann\tNET-101\n"_s },
        { u"remove-user bob"_s, "", 1, u"There is no user \"bob\""_s },
        { u"remove-user ANN"_s, "", 0 },
        { u"list-users"_s, "", 0 },
        { u"bogus"_s, "", 2 },
        { u"list-users x"_s, "", 2 },
    };
    for (const auto &row : rows) {
        const QStringList arguments = row.Arguments.split(u' ').replaceInStrings(u"_"_s, u" "_s);
        const Outcome outcome = On(u"a.db"_s, arguments, row.Input);
        EXPECT_EQ(outcome.Code, row.Code) << row.Arguments.toStdString() << ": " << outcome.Err.toStdString();
        EXPECT_EQ(outcome.Out, row.Code == 0 ? row.Text : QString()) << row.Arguments.toStdString();
        const QString complaint = row.Code == 0 ? QString() : u"practorium-service: %1"_s.arg(row.Text);
        EXPECT_TRUE(outcome.Err.startsWith(complaint)) << outcome.Err.toStdString();
        EXPECT_EQ(outcome.Err.isEmpty(), row.Code == 0) << outcome.Err.toStdString();
    }
    EXPECT_TRUE(OutcomeOf(Service, { u"list-users"_s }).Code == 2 && OutcomeOf(Service).Code == 2);
}

TEST(ServiceProgramTest, NoOrADamagedDatabaseIsNotServed)
{
    const QString folder = Sandbox::Path(u"odd"_s);
    Sandbox::WriteFile(folder + u"/text"_s, QByteArray(5'000, 'x'));
    {
        Store store(folder + u"/sound"_s, Store::IfMissing::Make);
        for (int i = 0; i < 200; ++i)
            store.AddUser(QString::number(i), QByteArray(100, 'x'));
    }
    QByteArray bytes = Sandbox::ReadFile(folder + u"/sound"_s);
    Sandbox::WriteFile(folder + u"/damaged"_s, QByteArray(bytes).replace(bytes.size() - 5'000, 4'000, QByteArray(4'000, 'y')));
    bytes[63] = 99; // of the format's version
    Sandbox::WriteFile(folder + u"/newer"_s, bytes);
    for (const auto &[name, fault] : { std::pair{ u"/text"_s, u"not a database"_s }, std::pair{ u"/none"_s, u"No such file"_s },
                                       std::pair{ u""_s, u"directory"_s }, std::pair{ u"/newer"_s, u"newer version"_s },
                                       std::pair{ u"/damaged"_s, u"/damaged: is damaged: "_s } }) {
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
        EXPECT_EQ(service.exitCode(), exitCode) << service.readAllStandardError().toStdString();
        EXPECT_TRUE(shows());
    }
    EXPECT_TRUE(::close(line) == 0 && ::close(terminal) == 0);
}

TEST(ServiceProgramTest, ARunFromEndToEndInLittleMemory)
{
    ASSERT_EQ(On(u"run.db"_s, { u"add-user"_s, u"ann"_s }, "pass\n"), Outcome{});
    ASSERT_EQ(On(u"run.db"_s, { u"grant"_s, u"ann"_s, u"NET-101"_s }), Outcome{});
    Sandbox::WriteFile(Sandbox::Path(u"program-packs/NET-101.exe"_s), QByteArray(50'000'000, 'p'));
    Running service(u"run.db"_s);
    EXPECT_TRUE(service.Endpoint.startsWith("http://127.0.0.1:"_L1)) << service.Endpoint.toStdString();
    HttpClient::Post(service.Endpoint, "LOGIN?email=eve%251&pwd=pass;");
    const QByteArray sid = HttpClient::Post(service.Endpoint, "LOGIN?email=ann&pwd=pass;").mid(20).chopped(1);
    ASSERT_EQ(sid.size(), 64);
    EXPECT_EQ(HttpClient::Post(service.Endpoint, "LIST?sid=" + sid + ';'), "LIST?status=OK&data=NET-101;");
    const QString target = u"/PackCourier.asp?sid=%1&eid=NET-101"_s.arg(QString::fromLatin1(sid));
    const qint64 before = MemoryOf(service);
    HttpClient half(service.Endpoint, HttpClient::GetRequest(target));
    EXPECT_EQ(half.ReceiveHead().Status, 200);
    EXPECT_EQ(HttpClient(service.Endpoint, HttpClient::GetRequest(target)).Receive().Body.size(), 50'000'000);
    EXPECT_LT(MemoryOf(service) - before, 2'000);
    EXPECT_EQ(HttpClient::Post(service.Endpoint, "REPORT?sid=" + sid + "&list=NET-101&time=a\tb\nc;"), "REPORT?status=OK;");
    // One download is half way still.
    Signal(service, SIGTERM);
    const Outcome end = EndOf(service);
    const QRegularExpression failure(u"^20\\d\\d-\\d\\d-\\d\\dT[\\d:]{8}Z login failed: \"eve%1\" from 127\\.0\\.0\\.1\n$"_s);
    EXPECT_TRUE(failure.match(end.Err).hasMatch()) << end.Err.toStdString();
    EXPECT_TRUE(end.Code == 0 && half.HasEnded());
    const QString reports = On(u"run.db"_s, { u"list-reports"_s }).Out;
    const QRegularExpression report(u"^20\\d\\d-\\d\\d-\\d\\dT[\\d:]{8}Z\tann\tNET-101\ta b c\n$"_s);
    EXPECT_TRUE(report.match(reports).hasMatch()) << reports.toStdString();

    Running idle(u"run.db"_s);
    Signal(idle, SIGINT);
    EXPECT_EQ(EndOf(idle), Outcome{});
}
