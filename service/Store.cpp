// SPDX-License-Identifier: Apache-2.0
#include "service/Store.h"

#include "common/Error.h"

#include <QDateTime>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

using Transaction = Database::Transaction;
using Subject = Database::Subject;

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

qint64 Store::UserOf(const QString &email) const
{
    const auto credentials = Find(email);
    if (!credentials)
        throw Error(InvalidCall, u"There is no user \"%1\""_s.arg(email), u"Store::UserOf()"_s);
    return credentials->User;
}

std::optional<Store::Credentials> Store::Find(const QString &email) const
{
    auto rows = m_database.Run(u"SELECT id, password FROM users WHERE folded = ?"_s, { Folded(email) });
    if (!rows.Next())
        return {};
    return Credentials{ rows[0].toLongLong(), rows[1].toByteArray() };
}

void Store::Insert(const QString &email, const QByteArray &passwordHash)
{
    const auto added = m_database.Run(u"INSERT INTO users(email, folded, password) VALUES(?, ?, ?) ON CONFLICT DO NOTHING"_s,
                                      { email, Folded(email), passwordHash });
    if (added.Changed() != 1)
        throw Error(InvalidCall, u"The user \"%1\" is there already"_s.arg(email), u"Store::AddUser()"_s);
}

void Store::SetHash(qint64 user, const QByteArray &passwordHash)
{
    m_database.Run(u"UPDATE users SET password = ? WHERE id = ?"_s, { passwordHash, user });
}

void Store::GrantTo(qint64 user, const QStringList &exams)
{
    for (const QString &exam : exams)
        m_database.Run(u"INSERT INTO grants(account, exam) VALUES(?, ?) ON CONFLICT DO NOTHING"_s, { user, exam });
}

void Store::AddUser(const QString &email, const QByteArray &passwordHash)
{
    Transaction transaction(m_database, Subject::Accounts);
    Insert(email, passwordHash);
    transaction.Commit();
}

void Store::SetPassword(const QString &email, const QByteArray &passwordHash)
{
    Transaction transaction(m_database, Subject::Accounts);
    SetHash(UserOf(email), passwordHash);
    transaction.Commit();
}

void Store::Import(const std::vector<Account> &accounts)
{
    Transaction transaction(m_database, Subject::Accounts);
    for (const Account &account : accounts) {
        const QByteArray &hash = account.PasswordHash.isEmpty() ? account.InitialHash : account.PasswordHash;
        const auto known = Find(account.Email);
        // The password that belongs to the hash would not be the user's.
        if (known && !account.InitialHash.isEmpty())
            throw Error(InvalidCall, u"\"%1\" has been added meanwhile"_s.arg(account.Email), u"Store::Import()"_s);
        if (!known && !hash.isEmpty())
            Insert(account.Email, hash);
        else if (known && !account.PasswordHash.isEmpty())
            SetHash(known->User, hash);
        GrantTo(UserOf(account.Email), account.Exams);
    }
    transaction.Commit();
}

void Store::RemoveUser(const QString &email)
{
    Transaction transaction(m_database, Subject::Accounts);
    const qint64 user = UserOf(email);
    // A session or a report that is stored at the same moment would be in the way.
    transaction.AlsoLock(Subject::Sessions);
    transaction.AlsoLock(Subject::Reports, user);
    for (const QString &statement : { u"DELETE FROM sessions WHERE account = ?"_s, u"DELETE FROM reports WHERE account = ?"_s,
                                      u"DELETE FROM grants WHERE account = ?"_s, u"DELETE FROM users WHERE id = ?"_s })
        m_database.Run(statement, { user });
    transaction.Commit();
}

void Store::Grant(const QString &email, const QStringList &exams)
{
    Transaction transaction(m_database, Subject::Accounts);
    GrantTo(UserOf(email), exams);
    transaction.Commit();
}

void Store::Revoke(const QString &email, const QStringList &exams)
{
    Transaction transaction(m_database, Subject::Accounts);
    const qint64 user = UserOf(email);
    for (const QString &exam : exams)
        m_database.Run(u"DELETE FROM grants WHERE account = ? AND exam = ?"_s, { user, exam });
    transaction.Commit();
}

std::vector<Store::User> Store::Users() const
{
    auto rows = m_database.Run(u"SELECT users.id, email, exam FROM users LEFT JOIN grants ON grants.account = users.id "
                               "ORDER BY folded, grants.id"_s);
    std::vector<User> users;
    for (qint64 last = -1; rows.Next();) {
        if (rows[0].toLongLong() != std::exchange(last, rows[0].toLongLong()))
            users.push_back({ rows[1].toString(), {} });
        if (!rows[2].isNull())
            users.back().Exams.append(rows[2].toString());
    }
    return users;
}

bool Store::Record(const Report &report)
{
    const QDateTime now = m_clock.Now();
    const QVariantList key = { report.Session, report.Exams, report.Time };
    // Simultaneous reports of the user wait, so that they cannot exceed the limit.
    Transaction transaction(m_database, Subject::Reports, report.User);
    if (m_database.Run(u"SELECT 1 FROM reports WHERE session = ? AND exams = ? AND time = ?"_s, key).Next())
        return true;
    auto count = m_database.Run(u"SELECT COUNT(*) FROM reports WHERE account = ? AND received > ?"_s,
                                { report.User, now.addDays(-1).toString(Qt::ISODate) });
    if (!count.Next() || count[0].toInt() >= MostReportsADay)
        return false;
    m_database.Run(u"INSERT INTO reports(session, exams, time, account, received) VALUES(?, ?, ?, ?, ?)"_s,
                   key + QVariantList{ report.User, now.toString(Qt::ISODate) });
    transaction.Commit();
    return true;
}

std::vector<Store::ReportLine> Store::Reports() const
{
    auto rows = m_database.Run(
        u"SELECT received, email, exams, time FROM reports JOIN users ON users.id = reports.account ORDER BY reports.id"_s);
    std::vector<ReportLine> lines;
    while (rows.Next())
        lines.push_back({ rows[0].toString(), rows[1].toString(), rows[2].toString(), rows[3].toString() });
    return lines;
}
