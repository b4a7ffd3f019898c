// SPDX-License-Identifier: Apache-2.0
#include "tests/service/Databases.h"

#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QUrl>

#include <csignal>
#include <memory>

#include <pwd.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A server in a temporary folder, which only a socket there leads to. PostgreSQL
// refuses to run as root.
class Server {
public:
    Server()
        : m_folder(u"/tmp/practorium-postgres-XXXXXX"_s)
    {
        if (const passwd *user = ::getuid() == 0 ? ::getpwnam("postgres") : nullptr) {
            m_asUser = { u"--reuid=postgres"_s, u"--regid=postgres"_s, u"--clear-groups"_s };
            EXPECT_EQ(::chown(qPrintable(m_folder.path()), user->pw_uid, user->pw_gid), 0);
        }
        const QDir versions(u"/usr/lib/postgresql"_s, {}, QDir::Name, QDir::Dirs | QDir::NoDotAndDotDot);
        m_programs = versions.filePath(versions.entryList().value(0)) + u"/bin/"_s;
        QStringList arguments = m_asUser;
        arguments << m_programs + u"initdb"_s << u"--pgdata=%1/data"_s.arg(m_folder.path()) << u"--no-sync"_s
                  << u"--auth=trust"_s << u"--username=owner"_s << u"--encoding=UTF8"_s << u"--locale=C"_s;
        const Outcome made = OutcomeOf(u"setpriv"_s, arguments);
        EXPECT_EQ(made.Code, 0) << made.Err.toStdString();
        Start();
    }
    ~Server() { Stop(SIGQUIT); }
    void Start()
    {
        m_server = std::make_unique<QProcess>();
        m_server->setStandardOutputFile(QProcess::nullDevice());
        m_server->setStandardErrorFile(QProcess::nullDevice());
        QStringList arguments = { u"--pdeathsig=QUIT"_s };
        arguments << m_asUser << m_programs + u"postgres"_s << u"-D"_s << m_folder.filePath(u"data"_s) << u"-k"_s
                  << m_folder.path() << u"-F"_s << u"-c"_s << u"listen_addresses="_s;
        m_server->start(u"setpriv"_s, arguments);
        Await([this] { return OutcomeOf(m_programs + u"pg_isready"_s, { u"-q"_s, u"-h"_s, m_folder.path() }).Code == 0; });
    }
    void Stop(int signal)
    {
        Signal(*m_server, signal);
        m_server->waitForFinished();
    }
    QString Location(const QString &database) const
    {
        return u"postgresql:///%1?host=%2&user=owner"_s.arg(database, m_folder.path());
    }
    void Run(const QString &database, const QString &sql) const
    {
        const Outcome outcome
            = OutcomeOf(m_programs + u"psql"_s,
                        { u"-q"_s, u"-v"_s, u"ON_ERROR_STOP=1"_s, u"-d"_s, Location(database), u"-c"_s, sql });
        EXPECT_EQ(outcome.Code, 0) << outcome.Err.toStdString();
    }

private:
    QTemporaryDir m_folder;
    QStringList m_asUser;
    QString m_programs;
    std::unique_ptr<QProcess> m_server;
};

std::unique_ptr<Server> server;

// Ends the server with the tests.
class Shutdown : public testing::Environment {
public:
    void TearDown() override { server.reset(); }
};
[[maybe_unused]] const auto *const shutdown = testing::AddGlobalTestEnvironment(new Shutdown);

}

QString NewDatabase(DatabaseKind kind)
{
    static int count = 0;
    ++count;
    if (kind == DatabaseKind::Sqlite)
        return Sandbox::Path(u"service-%1.db"_s.arg(count));
    if (!server)
        server = std::make_unique<Server>();
    const QString name = u"service%1"_s.arg(count);
    server->Run(u"postgres"_s, u"CREATE DATABASE "_s + name);
    return server->Location(name);
}

void StopPostgres()
{
    server->Stop(SIGQUIT);
}

void StartPostgres()
{
    server->Start();
}

void RunSql(const QString &location, const QString &sql)
{
    if (location.startsWith("postgresql:"_L1)) {
        server->Run(QUrl(location).path().mid(1), sql);
        return;
    }
    {
        QSqlDatabase file = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"test"_s);
        file.setDatabaseName(location);
        QSqlQuery query(file);
        EXPECT_TRUE(file.open() && query.exec(sql)) << file.lastError().text().toStdString();
    }
    QSqlDatabase::removeDatabase(u"test"_s);
}
