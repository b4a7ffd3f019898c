#include "tests/service/HttpClient.h"
#include "tests/support/Sandbox.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Program = QStringLiteral(SERVICE_PROGRAM);

struct Outcome {
    int Code;
    QString Out;
    QString Err;
};

Outcome Started(const QStringList &arguments, const QByteArray &input = {})
{
    QProcess process;
    process.setWorkingDirectory(Sandbox::Path({}));
    process.start(Program, arguments);
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(60'000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError()) };
}

QStringList On(const QString &database, const QStringList &arguments)
{
    return arguments + QStringList{ u"--database"_s, database };
}

// Resident memory in bytes.
qint64 MemoryOf(const QProcess &process)
{
    QFile status(u"/proc/%1/status"_s.arg(process.processId()));
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    const QRegularExpression line(u"VmRSS:\\s+(\\d+) kB"_s);
    return line.match(QString::fromLatin1(status.readAll())).captured(1).toLongLong() * 1024;
}

class Running {
public:
    explicit Running(const QString &database)
    {
        m_process.setWorkingDirectory(Sandbox::Path({}));
        m_process.start(Program, On(database, { u"serve"_s, u"--packs"_s, u"program-packs"_s }));
        while (!m_process.canReadLine() && m_process.waitForReadyRead(60'000)) { }
        Endpoint = QString::fromLatin1(m_process.readLine()).trimmed();
    }
    Outcome Stop(int signal)
    {
        ::kill(static_cast<pid_t>(m_process.processId()), signal);
        EXPECT_TRUE(m_process.waitForFinished(20'000));
        EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
        return { m_process.exitCode(), QString::fromUtf8(m_process.readAllStandardOutput()), QString::fromUtf8(m_process.readAllStandardError()) };
    }
    const QProcess &Process() const { return m_process; }
    QString Endpoint;

private:
    QProcess m_process;
};

}

TEST(ServiceProgramTest, AccountsFromTheCommandLine)
{
    Sandbox::WriteFile(Sandbox::Path(u"word"_s), "second word\r\nnot this\n");
    struct Row {
        QStringList Arguments;
        QByteArray Input;
        int Code;
        QString Err = {};
    };
    const std::vector<Row> rows = {
        { { u"list-users"_s }, {}, 1, u"practorium-service: a.db: No such file or directory\n"_s },
        { { u"add-user"_s, u"ann"_s }, "first word\n", 0 },
        { { u"add-user"_s, u"ANN"_s }, "x\n", 1, u"practorium-service: The user \"ANN\" is there already\n"_s },
        { { u"add-user"_s, u"ann"_s, u"--replace"_s, u"--password-file"_s, u"word"_s }, {}, 0 },
        { { u"add-user"_s, u"bob"_s, u"--password-file"_s, u"none"_s }, {}, 1, u"practorium-service: none: No such file or directory\n"_s },
        { { u"add-user"_s, u"bob"_s }, {}, 2, u"practorium-service: the password is empty (see --help)\n"_s },
        { { u"add-user"_s, u"bob"_s, u"word"_s }, "x", 2 }, { { u"add-user"_s }, "x", 2 }, { { u"add-user"_s, u" b"_s }, "x", 2 },
        { { u"add-user"_s, u"bob"_s, u"--replace"_s }, "x", 1, u"practorium-service: There is no user \"bob\"\n"_s },
        { { u"grant"_s, u"ann"_s, u"NET-101"_s, u"SQL-101"_s }, {}, 0 }, { { u"grant"_s, u"ann"_s }, {}, 2 },
        { { u"grant"_s, u"ann"_s, u"../x"_s }, {}, 2, u"practorium-service: \"../x\" is no exam's ID (see --help)\n"_s },
        { { u"grant"_s, u"bob"_s, u"X"_s }, {}, 1 }, { { u"revoke"_s, u"ann"_s, u"SQL-101"_s }, {}, 0 },
        { { u"serve"_s, u"--packs"_s, u"none"_s }, {}, 2 }, { { u"serve"_s, u"--packs"_s, u"."_s, u"--port"_s, u"65536"_s }, {}, 2 },
        { { u"serve"_s, u"--packs"_s, u"."_s, u"--key"_s, u"word"_s }, {}, 2 },
        { { u"serve"_s, u"--packs"_s, u"."_s, u"--key"_s, u"word"_s, u"--certificate"_s, u"word"_s }, {}, 1 },
        { { u"bogus"_s }, {}, 2 }, { { u"list-users"_s, u"x"_s }, {}, 2 },
    };
    int number = 0;
    for (const Row &row : rows) {
        const Outcome outcome = Started(On(u"a.db"_s, row.Arguments), row.Input);
        EXPECT_EQ(outcome.Code, row.Code) << "row " << ++number << ": " << outcome.Err.toStdString();
        EXPECT_EQ(outcome.Out, QString()) << "row " << number;
        EXPECT_EQ(outcome.Err.isEmpty(), row.Code == 0) << "row " << number;
        if (!row.Err.isEmpty()) {
            EXPECT_EQ(outcome.Err.toStdString(), row.Err.toStdString()) << "row " << number;
        }
    }
    EXPECT_EQ(Started(On(u"a.db"_s, { u"list-users"_s })).Out, u"ann\tNET-101\n"_s);
    EXPECT_EQ(Started({ u"list-users"_s }).Code, 2);
    EXPECT_EQ(Started({}).Code, 2);
    EXPECT_TRUE(Started({ u"serve"_s, u"--help"_s }).Out.startsWith("Usage: practorium-service serve "_L1));
}

TEST(ServiceProgramTest, ARunFromEndToEndInLittleMemory)
{
    ASSERT_EQ(Started(On(u"run.db"_s, { u"add-user"_s, u"ann"_s }), "pass\n").Code, 0);
    ASSERT_EQ(Started(On(u"run.db"_s, { u"grant"_s, u"ann"_s, u"NET-101"_s }), {}).Code, 0);
    Sandbox::WriteFile(Sandbox::Path(u"program-packs/NET-101.exe"_s), QByteArray(50'000'000, 'p'));
    Running service(u"run.db"_s);
    ASSERT_TRUE(QRegularExpression(u"^http://127\\.0\\.0\\.1:\\d+/PackCourier\\.asp$"_s).match(service.Endpoint).hasMatch())
        << service.Endpoint.toStdString();

    const QByteArray sid = HttpClient::Post(service.Endpoint, "LOGIN?email=ann&pwd=pass;").mid(20).chopped(1);
    ASSERT_EQ(sid.size(), 64);
    EXPECT_EQ(HttpClient::Post(service.Endpoint, "LIST?sid=" + sid + ';'), "LIST?status=OK&data=NET-101;");
    const QByteArray get = HttpClient::GetRequest(u"/PackCourier.asp?sid=%1&eid=NET-101"_s.arg(QString::fromLatin1(sid)));
    const qint64 before = MemoryOf(service.Process());
    HttpClient half(service.Endpoint);
    half.Send(get);
    EXPECT_EQ(half.ReceiveHead().Status, 200);
    EXPECT_EQ(HttpClient::Exchange(service.Endpoint, get).Body.size(), 50'000'000);
    EXPECT_LT(MemoryOf(service.Process()) - before, 8'000'000);
    const QByteArray report = "REPORT?sid=" + sid + "&list=NET-101&time=a\tb\nc;";
    EXPECT_EQ(HttpClient::Post(service.Endpoint, report), "REPORT?status=OK;");
    EXPECT_EQ(HttpClient::Post(service.Endpoint, report), "REPORT?status=OK;");

    // One download is half way still.
    QElapsedTimer timer;
    timer.start();
    const Outcome outcome = service.Stop(SIGTERM);
    EXPECT_EQ(outcome.Code, 0);
    EXPECT_EQ(outcome.Err, QString());
    EXPECT_LT(timer.elapsed(), 5'000);
    EXPECT_TRUE(half.HasEnded());
    const QString reports = Started(On(u"run.db"_s, { u"list-reports"_s })).Out;
    EXPECT_TRUE(QRegularExpression(u"^20\\d\\d-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ\tann\tNET-101\ta b c\n$"_s).match(reports).hasMatch())
        << reports.toStdString();
}

TEST(ServiceProgramTest, StopsAtOnce)
{
    ASSERT_EQ(Started(On(u"stop.db"_s, { u"add-user"_s, u"ann"_s }), "pass\n").Code, 0);
    for (const int signal : { SIGINT, SIGTERM }) {
        Running service(u"stop.db"_s);
        EXPECT_EQ(service.Stop(signal).Code, 0) << signal;
    }
}
