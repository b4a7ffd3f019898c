// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

// Tables of accounts as files: CSV (RFC 4180) in UTF-8, whose first line names the
// columns in any order. Errors are raised as InvalidCall and name file and line.
namespace AccountTables {

struct UserRow {
    QString Place; // "FILE: line N", for messages
    QString Email;
    QByteArray PasswordHash; // can be empty
};
// The columns "email" and, if there is one, "password_hash". Each user once, each with
// a usable ID and no or a usable hash.
std::vector<UserRow> ReadUsers(const QString &path);

struct GrantRow {
    QString Place;
    QString Email;
    QString Exam;
};
// The columns "email" and "exam"; each exam with a valid ID.
std::vector<GrantRow> ReadGrants(const QString &path);

// A line of a table, with its carriage return but without its line feed.
QString Row(const QStringList &fields);

// The field with "'" before it if a spreadsheet would take it for a formula.
QString NoFormula(const QString &field);

}
