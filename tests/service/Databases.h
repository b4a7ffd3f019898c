// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <gtest/gtest.h>

#include <ostream>

// The kinds of databases that the service can use.
enum class DatabaseKind { Sqlite, Postgres };
inline void PrintTo(DatabaseKind kind, std::ostream *out)
{
    *out << (kind == DatabaseKind::Sqlite ? "Sqlite" : "Postgres");
}
const auto BothKinds = testing::Values(DatabaseKind::Sqlite, DatabaseKind::Postgres);

// The location of a database that does not exist before (a file) or is empty. The
// first one of PostgreSQL starts a server of its own, which ends with the test program
// in any case.
QString NewDatabase(DatabaseKind kind);

// The server of PostgreSQL: as after a crash of its computer, and started again.
void StopPostgres();
void StartPostgres();

// Runs a statement in the database of the location; with PostgreSQL as the owner of all.
void RunSql(const QString &location, const QString &sql);
