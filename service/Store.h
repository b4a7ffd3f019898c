// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>

#include <optional>
#include <vector>

class QSqlDatabase;
class QSqlQuery;

// The users, what each has bought and what was reported, in one SQLite file
// that its owner alone can read. It may be used by several threads, each with
// a connection of its own, and by several programs. User IDs are the same
// without regard to letter case. Every failure of the database is raised.
class Store {
public:
    enum class IfMissing { Make, Refuse };

    explicit Store(const QString &file, IfMissing ifMissing = IfMissing::Refuse);
    // No other thread may be using it any more.
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    // Reads the whole file and raises InvalidCall when it is damaged.
    void Check() const;

    // An exam's ID is part of an address and of a file's name, and commas part
    // IDs: 1 to 64 letters, digits, "-", "_" and "." of ASCII, not beginning
    // with ".".
    static bool IsExamId(QStringView text);

    // What user IDs are compared by.
    static QString Folded(const QString &email);

    struct Credentials {
        qint64 User;
        QByteArray PasswordHash;
    };
    std::optional<Credentials> Find(const QString &email) const;
    // Empty for a user who is not there any more. No two hashes are the same.
    QByteArray PasswordHash(qint64 user) const;

    // Raises InvalidCall for a user who is there already.
    void AddUser(const QString &email, const QByteArray &passwordHash);
    // All raise InvalidCall for an unknown user; the exams' IDs must be sound.
    void SetPassword(const QString &email, const QByteArray &passwordHash);
    // The user's reports go, too.
    void RemoveUser(const QString &email);
    void Grant(const QString &email, const QStringList &exams);
    void Revoke(const QString &email, const QStringList &exams);

    // In the order in which they were granted.
    QStringList Exams(qint64 user) const;
    bool HasExam(qint64 user, const QString &exam) const;

    struct User {
        QString Email;
        QStringList Exams;
    };
    std::vector<User> Users() const;

    // What a session reported: the exams and the candidate's time as they were
    // sent.
    struct Report {
        qint64 User;
        QByteArray Session;
        QString Exams;
        QString Time;
    };
    static constexpr int MostReportsADay = 100; // of one user
    // The same report again changes nothing. False when the user has reported
    // too often in the last 24 hours.
    bool Record(const Report &report);

    struct ReportLine {
        QString Received; // UTC, ISO 8601
        QString Email;
        QString Exams;
        QString Time;
    };
    std::vector<ReportLine> Reports() const;

private:
    void Prepare();
    QSqlDatabase Database() const;
    QSqlQuery Run(const QString &statement, const QVariantList &values = {}) const;
    qint64 UserOf(const QString &email) const;

    QString m_file;
    const int m_number; // tells the stores of a process apart
};
