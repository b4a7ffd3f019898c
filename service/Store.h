// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Clock.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

#include <optional>
#include <vector>

class QSqlDatabase;
class QSqlQuery;

// The accounts, the exams granted to each and the reports, in one SQLite file that
// only its owner may read. User IDs ("email") are compared without regard to letter
// case. All functions may be called from several threads at once, each of which
// gets its own connection to the database, and several programs may use the file
// at the same time. Every failure of the database is raised as InvalidCall.
class Store {
public:
    enum class IfMissing { Make, Refuse };

    // Opens the database, and creates or updates its tables if necessary. Raises
    // InvalidCall if the file cannot be used, or belongs to a newer version of
    // this program. The clock dates the reports and must outlive this object.
    explicit Store(const QString &file, IfMissing ifMissing = IfMissing::Refuse, const Clock &clock = Clock::Real());
    // No other thread may use the object any more.
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    // Reads the whole file; raises InvalidCall if it is damaged.
    void Check() const;

    // Whether a text can be an exam's ID: 1 to 64 ASCII letters, digits, "-", "_"
    // and ".", not beginning with ".". Such an ID is safe in a URL, in a file name
    // and in a list separated by commas.
    static bool IsExamId(QStringView text);

    // The form in which user IDs are compared.
    static QString Folded(const QString &email);

    struct Credentials {
        qint64 User; // the key of the other functions; may be reused after RemoveUser
        QByteArray PasswordHash;
    };
    // Empty if there is no such user.
    std::optional<Credentials> Find(const QString &email) const;
    // The current hash; empty if the user does not exist any more. Because of its
    // salt it also differs from the hash of every other user, and of an earlier
    // user with the same key.
    QByteArray PasswordHash(qint64 user) const;

    // Raises InvalidCall if the user exists.
    void AddUser(const QString &email, const QByteArray &passwordHash);
    // These raise InvalidCall if the user does not exist. The exams' IDs must be
    // valid (IsExamId).
    void SetPassword(const QString &email, const QByteArray &passwordHash);
    // Removes the user's exams and reports too.
    void RemoveUser(const QString &email);
    // Exams that the user has already, or does not have, are skipped.
    void Grant(const QString &email, const QStringList &exams);
    void Revoke(const QString &email, const QStringList &exams);

    // The exams granted to a user, in the order in which they were granted.
    QStringList Exams(qint64 user) const;
    bool HasExam(qint64 user, const QString &exam) const;

    struct User {
        QString Email; // as it was added
        QStringList Exams;
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
    void Prepare();
    QSqlDatabase Database() const;
    QSqlQuery Run(const QString &statement, const QVariantList &values = {}) const;
    qint64 UserOf(const QString &email) const;

    const QString m_file;
    const Clock &m_clock;
    const int m_number; // identifies this object among the stores of the process
};
