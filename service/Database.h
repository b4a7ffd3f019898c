// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Error.h"

#include <QSqlQuery>
#include <QString>
#include <QVariantList>

#include <functional>
#include <memory>

class QSqlError;

// The tables of the service: in one SQLite file that only its owner may read, or in
// a PostgreSQL database. All functions may be called from several threads at once,
// each of which gets its own connection, and several programs may use the database
// at the same time. Every failure is raised as InvalidCall.
class Database {
public:
    // The database cannot be reached at the moment. The next statement tries again.
    class Unavailable : public Error {
    public:
        using Error::Error;
    };

    enum class IfMissing { Make, Refuse };

    // The location is "postgresql://USER@HOST:PORT/NAME?OPTION=VALUE&…", with the
    // options of libpq, or a file. Creates or updates the tables if necessary; a
    // missing file only with Make. Raises InvalidCall if the database cannot be used,
    // or belongs to a newer version of this program.
    explicit Database(const QString &location, IfMissing ifMissing = IfMissing::Refuse);
    // No other thread may use the object any more.
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    // Raises an error if the database cannot be read at the moment.
    void Ping() const;
    // Reads the whole database if it is a file; raises InvalidCall if it is damaged.
    void Check() const;

    // The rows that a statement returns. To be destroyed before the thread runs the
    // same statement again.
    class Result {
    public:
        explicit Result(std::shared_ptr<QSqlQuery> query)
            : m_query(std::move(query))
        {
        }
        // Without it, an open statement of SQLite would hide later changes.
        ~Result() { m_query->finish(); }
        Result(const Result &) = delete;
        Result &operator=(const Result &) = delete;

        // Moves to the first row, then to the next one; false if there is none.
        bool Next() { return m_query->next(); }
        // A column of the row, from 0.
        QVariant operator[](int column) const { return m_query->value(column); }
        // Rows that the statement has changed.
        int Changed() const { return m_query->numRowsAffected(); }

    private:
        std::shared_ptr<QSqlQuery> m_query;
    };

    // Runs one statement with a value for each "?" and keeps it prepared, so its text
    // must be one of a limited number. Outside a transaction it may be run twice: once
    // more if the connection turns out to be broken.
    Result Run(const QString &statement, const QVariantList &values = {}) const;

    // What can be changed by only one transaction at a time; see Transaction.
    enum class Subject { Schema = 1, Accounts, Attempts, Sessions, Reports };

    // All statements that this thread runs while the object exists; undone unless
    // Commit has succeeded. Commit returns when the changes are on the disk.
    class Transaction {
    public:
        // Waits until no other transaction changes the subject, or the part of it that
        // the key selects.
        Transaction(const Database &database, Subject subject, qint64 key = 0);
        ~Transaction();
        Transaction(const Transaction &) = delete;
        Transaction &operator=(const Transaction &) = delete;
        // Waits for another subject too. Subjects are locked in the order in which the
        // enumeration has them, so that no two transactions wait for each other.
        void AlsoLock(Subject subject, qint64 key = 0) const;
        void Commit();

    private:
        void Undo() const;

        const Database &m_database;
        bool m_isDone = false;
    };

private:
    class Connection;

    using Statement = std::shared_ptr<QSqlQuery>;

    Connection &Mine() const;
    void Open(Connection &connection) const;
    [[noreturn]] void Raise(const QSqlError &error) const;
    Statement Try(const std::function<Statement(Connection &)> &attempt) const;
    // Runs a text that cannot be prepared, or is not worth it.
    Result Execute(const QString &text) const;
    int Version() const;
    void SetVersion(int version) const;
    void UseWriteAheadLog() const;
    void Migrate() const;

    const QString m_location;
    const bool m_isFile;
    const int m_number; // identifies this object among those of the process
};
