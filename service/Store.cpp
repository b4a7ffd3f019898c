// SPDX-License-Identifier: Apache-2.0
#include "service/Store.h"

#include "common/Error.h"

#include <QDateTime>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <algorithm>
#include <atomic>
#include <map>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int SchemaVersion = 2;
const QStringList Schema = {
    u"CREATE TABLE IF NOT EXISTS users(id INTEGER PRIMARY KEY, email TEXT NOT NULL, folded TEXT NOT NULL UNIQUE, "
    "password BLOB NOT NULL)"_s,
    u"CREATE TABLE IF NOT EXISTS grants(id INTEGER PRIMARY KEY, user INTEGER NOT NULL REFERENCES users(id), "
    "exam TEXT NOT NULL, UNIQUE(user, exam))"_s,
    u"CREATE TABLE IF NOT EXISTS reports(id INTEGER PRIMARY KEY, user INTEGER NOT NULL REFERENCES users(id), "
    "session BLOB NOT NULL, exams TEXT NOT NULL, time TEXT NOT NULL, received TEXT NOT NULL, "
    "UNIQUE(session, exams, time))"_s,
    u"CREATE INDEX IF NOT EXISTS reports_by_user ON reports(user, received)"_s,
    u"PRAGMA user_version = %1"_s.arg(SchemaVersion),
};

const QFile::Permissions OwnerOnly = QFile::ReadOwner | QFile::WriteOwner;

// Makes the file accessible to its owner only. To be called before the database
// is opened, because SQLite gives its journal files the mode of the database.
void Protect(const QString &path, Store::IfMissing ifMissing)
{
    QFile file(path);
    const auto mode
        = ifMissing == Store::IfMissing::Make ? QIODevice::ReadWrite : QIODevice::ReadWrite | QIODevice::ExistingOnly;
    if (!file.open(mode, OwnerOnly)
        || ((file.permissions() & ~(OwnerOnly | QFile::ReadUser | QFile::WriteUser)) && !file.setPermissions(OwnerOnly)))
        throw Error(InvalidCall, u"%1: %2"_s.arg(path, file.errorString()), u"Store::Store()"_s);
}

// The name of a connection of Qt's, which is closed with the object.
class Connection {
public:
    Connection()
        : m_name(u"practorium-%1"_s.arg(++s_count))
    {
    }
    ~Connection() { QSqlDatabase::removeDatabase(m_name); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    const QString &Name() const { return m_name; }

private:
    static inline std::atomic<int> s_count = 0;
    QString m_name;
};

// Qt's connections can only be used by the thread that opened them.
thread_local std::map<int, Connection> connections; // by the store's number
std::atomic<int> storeCount = 0;

// Rolls back unless Commit has succeeded.
class Transaction {
public:
    explicit Transaction(const QSqlDatabase &database)
        : m_database(database)
    {
        m_database.transaction();
    }
    ~Transaction()
    {
        if (!m_isDone)
            m_database.rollback();
    }
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    void Commit()
    {
        m_isDone = m_database.commit();
        if (!m_isDone)
            throw Error(InvalidCall, m_database.lastError().text(), u"Store::Commit()"_s);
    }

private:
    QSqlDatabase m_database;
    bool m_isDone = false;
};

}

Store::Store(const QString &file, IfMissing ifMissing, const Clock &clock)
    : m_file(file)
    , m_clock(clock)
    , m_number(++storeCount)
{
    Protect(file, ifMissing);
    try {
        Prepare();
    } catch (const Error &) {
        connections.erase(m_number);
        throw;
    }
}

Store::~Store()
{
    connections.erase(m_number);
}

void Store::Prepare()
{
    Run(u"PRAGMA journal_mode = WAL"_s);
    QSqlQuery version = Run(u"PRAGMA user_version"_s);
    version.next();
    const int number = version.value(0).toInt();
    version.finish();
    if (number > SchemaVersion)
        throw Error(InvalidCall, u"%1: made by a newer version of this program"_s.arg(m_file), u"Store::Prepare()"_s);
    if (number == SchemaVersion)
        return;
    Transaction transaction(Database());
    for (const QString &statement : Schema)
        Run(statement);
    transaction.Commit();
}

void Store::Check() const
{
    QSqlQuery check = Run(u"PRAGMA quick_check(1)"_s);
    const QString finding = check.next() ? check.value(0).toString() : check.lastError().text();
    if (finding != "ok"_L1)
        throw Error(InvalidCall, u"%1: is damaged: %2"_s.arg(m_file, finding), u"Store::Check()"_s);
}

bool Store::IsExamId(QStringView text)
{
    const auto isPlain = [](QChar c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' || c == u'_'
            || c == u'.';
    };
    return !text.isEmpty() && text.size() <= 64 && text.front() != u'.' && std::all_of(text.begin(), text.end(), isPlain);
}

QString Store::Folded(const QString &email)
{
    return email.trimmed().toCaseFolded();
}

QSqlDatabase Store::Database() const
{
    if (const auto known = connections.find(m_number); known != connections.end())
        return QSqlDatabase::database(known->second.Name(), false);
    const auto connection = connections.try_emplace(m_number).first;
    QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection->second.Name());
    database.setDatabaseName(m_file);
    database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=10000"_s);
    if (!database.open()) {
        const QString reason = database.lastError().text();
        database = {};
        connections.erase(connection);
        throw Error(InvalidCall, u"%1: %2"_s.arg(m_file, reason), u"Store::Database()"_s);
    }
    QSqlQuery(database).exec(u"PRAGMA foreign_keys = ON"_s);
    return database;
}

QSqlQuery Store::Run(const QString &statement, const QVariantList &values) const
{
    QSqlQuery query(Database());
    bool isDone = query.prepare(statement);
    // A null text would be stored as NULL, which no column allows.
    for (const QVariant &value : values) {
        const bool isNullText = value.typeId() == QMetaType::QString && value.toString().isNull();
        query.addBindValue(isNullText ? QVariant(u""_s) : value);
    }
    isDone = isDone && query.exec();
    if (!isDone)
        throw Error(InvalidCall, u"%1: %2"_s.arg(m_file, query.lastError().text()), u"Store::Run()"_s);
    return query;
}

qint64 Store::UserOf(const QString &email) const
{
    const auto credentials = Find(email);
    if (!credentials)
        throw Error(InvalidCall, u"There is no user \"%1\""_s.arg(email), u"Store::UserOf()"_s);
    return credentials->User;
}

std::optional<Store::Credentials> Store::Find(const QString &email) const
{
    QSqlQuery query = Run(u"SELECT id, password FROM users WHERE folded = ?"_s, { Folded(email) });
    if (!query.next())
        return {};
    return Credentials{ query.value(0).toLongLong(), query.value(1).toByteArray() };
}

QByteArray Store::PasswordHash(qint64 user) const
{
    QSqlQuery query = Run(u"SELECT password FROM users WHERE id = ?"_s, { user });
    return query.next() ? query.value(0).toByteArray() : QByteArray();
}

void Store::AddUser(const QString &email, const QByteArray &passwordHash)
{
    const QSqlQuery query = Run(u"INSERT OR IGNORE INTO users(email, folded, password) VALUES(?, ?, ?)"_s,
                                { email, Folded(email), passwordHash });
    if (query.numRowsAffected() != 1)
        throw Error(InvalidCall, u"The user \"%1\" is there already"_s.arg(email), u"Store::AddUser()"_s);
}

void Store::SetPassword(const QString &email, const QByteArray &passwordHash)
{
    Run(u"UPDATE users SET password = ? WHERE id = ?"_s, { passwordHash, UserOf(email) });
}

void Store::RemoveUser(const QString &email)
{
    const qint64 user = UserOf(email);
    Transaction transaction(Database());
    for (const QString &statement : { u"DELETE FROM reports WHERE user = ?"_s, u"DELETE FROM grants WHERE user = ?"_s,
                                      u"DELETE FROM users WHERE id = ?"_s })
        Run(statement, { user });
    transaction.Commit();
}

void Store::Grant(const QString &email, const QStringList &exams)
{
    const qint64 user = UserOf(email);
    Transaction transaction(Database());
    for (const QString &exam : exams)
        Run(u"INSERT OR IGNORE INTO grants(user, exam) VALUES(?, ?)"_s, { user, exam });
    transaction.Commit();
}

void Store::Revoke(const QString &email, const QStringList &exams)
{
    const qint64 user = UserOf(email);
    Transaction transaction(Database());
    for (const QString &exam : exams)
        Run(u"DELETE FROM grants WHERE user = ? AND exam = ?"_s, { user, exam });
    transaction.Commit();
}

QStringList Store::Exams(qint64 user) const
{
    QSqlQuery query = Run(u"SELECT exam FROM grants WHERE user = ? ORDER BY id"_s, { user });
    QStringList exams;
    while (query.next())
        exams.append(query.value(0).toString());
    return exams;
}

bool Store::HasExam(qint64 user, const QString &exam) const
{
    return Run(u"SELECT 1 FROM grants WHERE user = ? AND exam = ?"_s, { user, exam }).next();
}

std::vector<Store::User> Store::Users() const
{
    QSqlQuery query = Run(u"SELECT id, email FROM users ORDER BY folded"_s);
    std::vector<User> users;
    while (query.next())
        users.push_back({ query.value(1).toString(), Exams(query.value(0).toLongLong()) });
    return users;
}

bool Store::Record(const Report &report)
{
    const QDateTime now = m_clock.Now();
    const QVariantList key = { report.Session, report.Exams, report.Time };
    const QVariantList more
        = { report.User, now.toString(Qt::ISODate), report.User, now.addDays(-1).toString(Qt::ISODate), MostReportsADay };
    // In one statement, so that simultaneous reports cannot exceed the limit.
    const QSqlQuery query = Run(u"INSERT OR IGNORE INTO reports(session, exams, time, user, received) SELECT ?, ?, ?, ?, ? "
                                "WHERE (SELECT COUNT(*) FROM reports WHERE user = ? AND received > ?) < ?"_s,
                                key + more);
    return query.numRowsAffected() == 1
        || Run(u"SELECT 1 FROM reports WHERE session = ? AND exams = ? AND time = ?"_s, key).next();
}

std::vector<Store::ReportLine> Store::Reports() const
{
    QSqlQuery query
        = Run(u"SELECT received, email, exams, time FROM reports JOIN users ON users.id = reports.user ORDER BY reports.id"_s);
    std::vector<ReportLine> lines;
    while (query.next())
        lines.push_back(
            { query.value(0).toString(), query.value(1).toString(), query.value(2).toString(), query.value(3).toString() });
    return lines;
}
