// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "service/Database.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// The accounts, the exams granted to each and the reports. User IDs ("email") are
// compared without regard to letter case. All functions may be called from several
// threads at once. Every failure of the database is raised as by Database.
class Store {
public:
    // The clock dates the reports. Both must outlive this object.
    explicit Store(Database &database, const Clock &clock = Clock::System())
        : m_database(database)
        , m_clock(clock)
    {
    }

    // Whether a text can be an exam's ID: 1 to 64 ASCII letters, digits, "-", "_"
    // and ".", not beginning with ".". Such an ID is safe in a URL, in a file name
    // and in a list separated by commas.
    static bool IsExamId(QStringView text);

    // The form in which user IDs are compared.
    static QString Folded(const QString &email);

    struct Credentials {
        qint64 User; // the user's key in the database
        QByteArray PasswordHash;
    };
    // Empty if there is no such user.
    std::optional<Credentials> Find(const QString &email) const;

    // Raises InvalidCall if the user exists.
    void AddUser(const QString &email, const QByteArray &passwordHash);
    // These raise InvalidCall if the user does not exist. The exams' IDs must be
    // valid (IsExamId).
    void SetPassword(const QString &email, const QByteArray &passwordHash);
    // Removes the user's exams, reports and sessions too.
    void RemoveUser(const QString &email);
    // Exams that the user has already, or does not have, are skipped.
    void Grant(const QString &email, const QStringList &exams);
    void Revoke(const QString &email, const QStringList &exams);

    // What is to be imported about a user.
    struct Account {
        QString Email;
        // Empty: a user who is there keeps the password.
        QByteArray PasswordHash;
        // Of a user who must not be there yet; empty for one who is.
        QByteArray InitialHash;
        QStringList Exams;
    };
    // Adds the users who are not there, and grants the exams. All of it or, if an error
    // is raised, nothing. A user without any hash must be there.
    void Import(const std::vector<Account> &accounts);

    struct User {
        QString Email; // as it was added
        QStringList Exams; // in the order in which they were granted
    };
    // All users, sorted by user ID.
    std::vector<User> Users() const;

    struct Report {
        qint64 User;
        QByteArray Session; // the session's fingerprint
        QString Exams; // IDs separated by commas
        QString Time; // the candidate's local time, as it was sent
    };
    static constexpr int MostReportsADay = 100; // of one user, within 24 hours
    // Stores a report. A report that is stored already is accepted and changes
    // nothing, because a request can arrive twice. False if the user has sent too
    // many different ones.
    bool Record(const Report &report);

    struct ReportLine {
        QString Received; // in UTC, ISO 8601
        QString Email;
        QString Exams;
        QString Time;
    };
    // All reports, in the order in which they arrived.
    std::vector<ReportLine> Reports() const;

private:
    // Parts of a transaction.
    qint64 UserOf(const QString &email) const;
    void Insert(const QString &email, const QByteArray &passwordHash);
    void SetHash(qint64 user, const QByteArray &passwordHash);
    void GrantTo(qint64 user, const QStringList &exams);

    Database &m_database;
    const Clock &m_clock;
};
