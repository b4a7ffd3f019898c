// SPDX-License-Identifier: Apache-2.0
#include "service/Database.h"

#include "common/Common.h"

#include <QFile>
#include <QHash>
#include <QSqlDatabase>
#include <QSqlError>
#include <QThread>
#include <QUrl>
#include <QUrlQuery>

#include <atomic>
#include <map>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

// The statements that lead from each version of the tables to the next. {key}, {text}
// and {bytes} are types. Texts are compared by their bytes.
const std::vector<QStringList> Migrations = {
    {
        uR"(CREATE TABLE users(id {key}, email {text} NOT NULL, folded {text} NOT NULL UNIQUE, password {bytes} NOT NULL))"_s,
        uR"(CREATE TABLE grants(id {key}, "user" BIGINT NOT NULL REFERENCES users(id), exam {text} NOT NULL,
            UNIQUE("user", exam)))"_s,
        uR"(CREATE TABLE reports(id {key}, "user" BIGINT NOT NULL REFERENCES users(id), session {bytes} NOT NULL,
            exams {text} NOT NULL, time {text} NOT NULL, received {text} NOT NULL, UNIQUE(session, exams, time)))"_s,
    },
    { uR"(CREATE INDEX reports_by_user ON reports("user", received))"_s },
    {
        // "user" is a keyword of PostgreSQL.
        uR"(ALTER TABLE grants RENAME COLUMN "user" TO account)"_s,
        uR"(ALTER TABLE reports RENAME COLUMN "user" TO account)"_s,
        // Times are milliseconds since 1970 in UTC.
        u"CREATE TABLE sessions(id {key}, fingerprint {bytes} NOT NULL UNIQUE, account BIGINT NOT NULL REFERENCES users(id), "
        "password {bytes} NOT NULL, opened BIGINT NOT NULL, last_use BIGINT NOT NULL)"_s,
        u"CREATE INDEX sessions_by_account ON sessions(account)"_s,
        u"CREATE TABLE attempts(name {bytes} PRIMARY KEY, is_network INTEGER NOT NULL, failures INTEGER NOT NULL, "
        "delayed_until BIGINT NOT NULL, decayed_until BIGINT NOT NULL)"_s,
    },
};

const QFile::Permissions OwnerOnly = QFile::ReadOwner | QFile::WriteOwner;

bool IsFile(const QString &location)
{
    return !location.startsWith("postgresql:"_L1) && !location.startsWith("postgres:"_L1);
}

// Makes the file accessible to its owner only. To be called before the database
// is opened, because SQLite gives its journal files the mode of the database.
void Protect(const QString &path, Database::IfMissing ifMissing)
{
    QFile file(path);
    const auto mode
        = ifMissing == Database::IfMissing::Make ? QIODevice::ReadWrite : QIODevice::ReadWrite | QIODevice::ExistingOnly;
    if (!file.open(mode, OwnerOnly)
        || ((file.permissions() & ~(OwnerOnly | QFile::ReadUser | QFile::WriteUser)) && !file.setPermissions(OwnerOnly)))
        throw Error(InvalidCall, u"%1: %2"_s.arg(path, file.errorString()), u"Database::Database()"_s);
}

// The location without a password, for messages.
QString Shown(const QString &location)
{
    return IsFile(location) ? location : QUrl(location).toString(QUrl::RemovePassword | QUrl::RemoveQuery);
}

// The options of libpq in a location, and those that it needs if they are not there.
QString ConnectOptions(const QUrl &url)
{
    std::map<QString, QString> options = {
        { u"application_name"_s, u"practorium-service"_s },
        // Seconds, and milliseconds: a host that is gone must not block a thread for long.
        { u"connect_timeout"_s, u"5"_s },
        { u"tcp_user_timeout"_s, u"10000"_s },
        { u"options"_s, u"-c lock_timeout=10s -c statement_timeout=60s"_s },
    };
    for (const auto &[name, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded))
        options[name] = value;
    QStringList parts;
    for (auto [name, value] : options) {
        // Qt separates the options by semicolons.
        if (value.contains(u';') || name.contains(u';'))
            throw Error(InvalidCall, u"\"%1\" in the database's address contains a semicolon"_s.arg(name),
                        u"Database::Database()"_s);
        parts.append(u"%1='%2'"_s.arg(name, value.replace(u'\\', u"\\\\"_s).replace(u'\'', u"\\'"_s)));
    }
    return parts.join(u';');
}

// Whether an error of PostgreSQL means that the connection is gone: it comes without a
// code, with one of the class "connection exception", or the server shuts down or has become
// one that only answers queries.
bool IsLoss(const QSqlError &error)
{
    const QString code = error.nativeErrorCode();
    return code.isEmpty() || code.startsWith("08"_L1) || code.startsWith("57P"_L1) || code == "25006"_L1;
}

// Whether an error of PostgreSQL will pass by itself: a lock that did not come in time, a
// transaction that others were in the way of, or too many connections.
bool IsPassing(const QSqlError &error)
{
    const QString code = error.nativeErrorCode();
    return code == "55P03"_L1 || code == "40P01"_L1 || code == "40001"_L1 || code == "53300"_L1;
}

// Whether an error of SQLite means that another program was not ready in time.
bool IsLocked(const QSqlError &error)
{
    const int code = error.nativeErrorCode().toInt() & 0xFF;
    return code == 5 || code == 6; // SQLITE_BUSY, SQLITE_LOCKED
}

std::atomic<int> databaseCount = 0;
std::atomic<int> connectionCount = 0;

}

// A connection of Qt's, which only the thread that opened it can use.
class Database::Connection {
public:
    Connection() = default;
    ~Connection() { Close(); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    void Close()
    {
        IsInTransaction = false;
        Qt = {};
        if (IsOpen())
            QSqlDatabase::removeDatabase(m_name);
        m_name.clear();
        // After the connection: otherwise each statement would first be given back to a
        // server that may be gone.
        Prepared.clear();
    }
    void Make(const QString &driver)
    {
        m_name = u"practorium-%1"_s.arg(++connectionCount);
        Qt = QSqlDatabase::addDatabase(driver, m_name);
    }
    bool IsOpen() const { return !m_name.isEmpty(); }

    QSqlDatabase Qt;
    QHash<QString, Statement> Prepared;
    bool IsInTransaction = false;

private:
    QString m_name;
};

Database::Database(const QString &location, IfMissing ifMissing)
    : m_location(location)
    , m_isFile(IsFile(location))
    , m_number(++databaseCount)
{
    if (m_isFile)
        Protect(location, ifMissing);
    try {
        Migrate();
    } catch (const Error &) {
        Mine().Close();
        throw;
    }
}

Database::~Database()
{
    Mine().Close();
}

Database::Connection &Database::Mine() const
{
    thread_local std::map<int, Connection> connections; // by the database's number
    return connections[m_number];
}

void Database::Open(Connection &connection) const
{
    connection.Make(m_isFile ? u"QSQLITE"_s : u"QPSQL"_s);
    QSqlDatabase &database = connection.Qt;
    if (m_isFile) {
        database.setDatabaseName(m_location);
        database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=10000"_s);
    } else {
        const QUrl url(m_location);
        if (!url.isValid()) {
            connection.Close();
            throw Error(InvalidCall, u"The database's address is not valid: %1"_s.arg(url.errorString()),
                        u"Database::Open()"_s);
        }
        database.setHostName(url.host());
        database.setPort(url.port());
        database.setDatabaseName(url.path(QUrl::FullyDecoded).mid(1));
        database.setUserName(url.userName(QUrl::FullyDecoded));
        database.setPassword(url.password(QUrl::FullyDecoded));
        database.setConnectOptions(ConnectOptions(url));
    }
    // A report that was acknowledged must be on the disk.
    const QStringList preparation = m_isFile ? QStringList{ u"PRAGMA foreign_keys = ON"_s, u"PRAGMA synchronous = FULL"_s }
                                             : QStringList{ u"SET client_min_messages = warning"_s,
                                                            u"SELECT set_config('synchronous_commit', 'on', false) "
                                                            "WHERE current_setting('synchronous_commit') = 'off'"_s };
    bool isOpen = database.open();
    QSqlError error = database.lastError();
    for (const QString &statement : preparation) {
        QSqlQuery query(database);
        if (isOpen && !query.exec(statement)) {
            isOpen = false;
            error = query.lastError();
        }
    }
    if (isOpen)
        return;
    connection.Close();
    Raise(error);
}

void Database::Raise(const QSqlError &error) const
{
    const QString text = u"%1: %2"_s.arg(Shown(m_location), Common::OneLine(error.text()));
    if (m_isFile ? IsLocked(error) : IsLoss(error) || IsPassing(error))
        throw Unavailable(InvalidCall, text, u"Database::Run()"_s);
    throw Error(InvalidCall, text, u"Database::Run()"_s);
}

Database::Statement Database::Try(const std::function<Statement(Connection &)> &attempt) const
{
    Connection &connection = Mine();
    for (bool isAgain = false;; isAgain = true) {
        if (!connection.IsOpen())
            Open(connection);
        Statement query = attempt(connection);
        const QSqlError error = query->lastError();
        if (!error.isValid())
            return query;
        if (m_isFile || !IsLoss(error))
            Raise(error);
        const bool wasInTransaction = connection.IsInTransaction;
        query.reset();
        connection.Close();
        if (isAgain || wasInTransaction)
            Raise(error);
    }
}

Database::Result Database::Run(const QString &statement, const QVariantList &values) const
{
    return Result(Try([&](Connection &connection) {
        Statement query = connection.Prepared.value(statement);
        if (!query) {
            query = std::make_shared<QSqlQuery>(connection.Qt);
            // Otherwise a copy of each row is kept. PostgreSQL sends all rows anyway.
            query->setForwardOnly(m_isFile);
            if (!query->prepare(statement))
                return query;
            connection.Prepared.insert(statement, query);
        }
        for (int i = 0; i < values.size(); ++i) {
            QVariant value = values[i];
            // A null text would be stored as NULL, which no column allows, and
            // PostgreSQL allows no NUL in a text.
            if (value.typeId() == QMetaType::QString)
                value = QString(u""_s + value.toString().replace(QChar::Null, QChar::ReplacementCharacter));
            query->bindValue(i, value);
        }
        query->exec();
        return query;
    }));
}

Database::Result Database::Execute(const QString &text) const
{
    return Result(Try([&](Connection &connection) {
        auto query = std::make_shared<QSqlQuery>(connection.Qt);
        query->exec(text);
        return query;
    }));
}

int Database::Version() const
{
    if (!m_isFile) {
        Result table = Execute(u"SELECT 1 FROM pg_catalog.pg_tables WHERE tablename = 'schema_version' "
                               "AND schemaname = ANY (current_schemas(false))"_s);
        if (!table.Next())
            return 0;
    }
    Result version = Execute(m_isFile ? u"PRAGMA user_version"_s : u"SELECT version FROM schema_version"_s);
    return version.Next() ? version[0].toInt() : 0;
}

void Database::SetVersion(int version) const
{
    if (m_isFile) {
        Execute(u"PRAGMA user_version = %1"_s.arg(version));
        return;
    }
    Execute(u"CREATE TABLE IF NOT EXISTS schema_version(version INTEGER NOT NULL)"_s);
    Execute(u"DELETE FROM schema_version"_s);
    Execute(u"INSERT INTO schema_version VALUES(%1)"_s.arg(version));
}

void Database::UseWriteAheadLog() const
{
    // SQLite does not wait for other programs that do the same.
    for (int attempt = 0;; ++attempt) {
        try {
            Execute(u"PRAGMA journal_mode = WAL"_s);
            return;
        } catch (const Unavailable &) {
            if (attempt == 1'000)
                throw;
            QThread::msleep(10);
        }
    }
}

void Database::Migrate() const
{
    if (m_isFile)
        UseWriteAheadLog();
    const int newest = static_cast<int>(Migrations.size());
    const int found = Version();
    if (found > newest)
        throw Error(InvalidCall, u"%1: made by a newer version of this program"_s.arg(Shown(m_location)),
                    u"Database::Migrate()"_s);
    if (found == newest)
        return;
    Transaction transaction(*this, Subject::Schema);
    // Another program may have been faster.
    for (int version = Version(); version < newest; ++version) {
        for (QString statement : Migrations[static_cast<size_t>(version)]) {
            statement.replace(u"{key}"_s,
                              m_isFile ? u"INTEGER PRIMARY KEY"_s : u"BIGINT GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY"_s);
            statement.replace(u"{text}"_s, m_isFile ? u"TEXT"_s : u"TEXT COLLATE \"C\""_s);
            statement.replace(u"{bytes}"_s, m_isFile ? u"BLOB"_s : u"BYTEA"_s);
            Execute(statement);
        }
        SetVersion(version + 1);
    }
    transaction.Commit();
}

void Database::Ping() const
{
    Run(u"SELECT 1 FROM users WHERE id = 0"_s);
}

void Database::Check() const
{
    if (!m_isFile)
        return;
    Result check = Execute(u"PRAGMA quick_check(1)"_s);
    const QString finding = check.Next() ? check[0].toString() : u"cannot be read"_s;
    if (finding != "ok"_L1)
        throw Error(InvalidCall, u"%1: is damaged: %2"_s.arg(m_location, finding), u"Database::Check()"_s);
}

Database::Transaction::Transaction(const Database &database, Subject subject, qint64 key)
    : m_database(database)
{
    // SQLite allows one writer at a time; the lock is taken at the beginning.
    m_database.Execute(m_database.m_isFile ? u"BEGIN IMMEDIATE"_s : u"BEGIN"_s);
    m_database.Mine().IsInTransaction = true;
    if (m_database.m_isFile)
        return;
    try {
        AlsoLock(subject, key);
    } catch (const Error &) {
        Undo();
        throw;
    }
}

void Database::Transaction::AlsoLock(Subject subject, qint64 key) const
{
    if (m_database.m_isFile)
        return;
    m_database.Run(u"SELECT pg_advisory_xact_lock(CAST(? AS INTEGER), CAST(? AS INTEGER))"_s,
                   { static_cast<int>(subject), static_cast<int>(key & 0x7FFFFFFF) });
}

Database::Transaction::~Transaction()
{
    if (!m_isDone && m_database.Mine().IsInTransaction)
        Undo();
}

void Database::Transaction::Undo() const
{
    Connection &connection = m_database.Mine();
    connection.IsInTransaction = false;
    if (connection.IsOpen())
        QSqlQuery(connection.Qt).exec(u"ROLLBACK"_s);
}

void Database::Transaction::Commit()
{
    m_database.Execute(u"COMMIT"_s);
    m_database.Mine().IsInTransaction = false;
    m_isDone = true;
}
