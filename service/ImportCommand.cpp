// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include "common/Error.h"
#include "console/Console.h"
#include "service/AccountTables.h"
#include "service/Password.h"
#include "service/Store.h"

#include <QFile>
#include <QHash>

#include <atomic>
#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace {

// The file for the initial passwords, which is new and readable by its owner only. It
// is removed again unless Keep was called.
class PasswordFile {
public:
    explicit PasswordFile(const QString &path)
        : m_file(path)
    {
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly, QFile::ReadOwner | QFile::WriteOwner))
            Fail();
        Add({ u"email"_s, u"password"_s });
    }
    ~PasswordFile()
    {
        if (!m_isKept && m_file.isOpen())
            m_file.remove();
    }
    PasswordFile(const PasswordFile &) = delete;
    PasswordFile &operator=(const PasswordFile &) = delete;

    void Add(const QStringList &fields) { m_file.write(AccountTables::Row(fields).toUtf8() + '\n'); }
    void Write()
    {
        if (!m_file.flush() || m_file.error() != QFile::NoError)
            Fail();
    }
    void Keep() { m_isKept = true; }

private:
    [[noreturn]] void Fail() const
    {
        throw Error(InvalidCall, u"%1: %2"_s.arg(m_file.fileName(), m_file.errorString()), u"Command::Import()"_s);
    }
    QFile m_file;
    bool m_isKept = false;
};

// The hashes of passwords, on all processors.
std::vector<QByteArray> HashesOf(const QStringList &passwords)
{
    std::vector<QByteArray> hashes(static_cast<size_t>(passwords.size()));
    std::atomic<size_t> next = 0;
    std::atomic<bool> hasFailed = false;
    const auto work = [&] {
        try {
            for (size_t i = next++; i < hashes.size(); i = next++)
                hashes[i] = Password::Hash(passwords[static_cast<qsizetype>(i)]);
        } catch (const Error &) {
            hasFailed = true;
        }
    };
    std::vector<std::thread> others;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
        others.emplace_back(work);
    work();
    for (std::thread &other : others)
        other.join();
    if (hasFailed)
        throw Error(InvalidCall, u"The passwords' hashes cannot be made"_s, u"Command::Import()"_s);
    return hashes;
}

// The accounts by their users, in the order in which they are named first.
class Accounts {
public:
    Store::Account &Of(const QString &email)
    {
        const QString key = Store::Folded(email);
        if (!m_places.contains(key)) {
            m_places.insert(key, m_all.size());
            m_all.push_back({ email, {}, {}, {} });
        }
        return m_all[m_places.value(key)];
    }
    std::vector<Store::Account> &All() { return m_all; }
    bool Contains(const QString &email) const { return m_places.contains(Store::Folded(email)); }

private:
    QHash<QString, size_t> m_places;
    std::vector<Store::Account> m_all;
};

}

int Command::Import(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Adds users, and allows them to download exams: all that the tables say, or nothing if there is an error in them. The "
        "tables are CSV files in UTF-8 whose first line names the columns: \"email\" and perhaps \"password_hash\" of users, "
        "\"email\" and \"exam\" of grants. A user who is there already keeps the password, unless there is a hash in the "
        "table. "
        "The database is created if it does not exist."_s);
    parser.addPositionalArgument(u"USERS"_s, u"The table of users."_s);
    parser.addPositionalArgument(u"GRANTS"_s, u"The table of grants."_s, u"[GRANTS]"_s);
    parser.addOption(
        { u"passwords"_s,
          u"Make a password for each new user without a password_hash, and write them to FILE, which must not exist: a "
          "table with the columns \"email\" and \"password\"."_s,
          u"FILE"_s });
    if (const auto code = ParseWithDatabase(parser, arguments, 1, 2))
        return *code;
    const QStringList tables = parser.positionalArguments();
    const auto users = AccountTables::ReadUsers(tables.first());
    const auto grants = tables.size() > 1 ? AccountTables::ReadGrants(tables[1]) : std::vector<AccountTables::GrantRow>();

    Database database(parser.value(u"database"_s), Database::IfMissing::Make);
    Store store(database);
    Accounts accounts;
    QStringList newcomers, passwords;
    qsizetype added = 0;
    for (const auto &row : users) {
        const bool isNew = !store.Find(row.Email);
        added += isNew;
        accounts.Of(row.Email).PasswordHash = row.PasswordHash;
        if (!isNew || !row.PasswordHash.isEmpty())
            continue;
        if (!parser.isSet(u"passwords"_s))
            throw Error(InvalidCall, row.Place + u": there is no password_hash, and --passwords names no file"_s,
                        u"Command::Import()"_s);
        newcomers.append(row.Email);
        passwords.append(Password::Generated());
    }
    for (const auto &row : grants) {
        if (!accounts.Contains(row.Email) && !store.Find(row.Email))
            throw Error(InvalidCall, u"%1: there is no user \"%2\""_s.arg(row.Place, row.Email), u"Command::Import()"_s);
        accounts.Of(row.Email).Exams.append(row.Exam);
    }

    std::optional<PasswordFile> file;
    if (!newcomers.isEmpty())
        file.emplace(parser.value(u"passwords"_s));
    const std::vector<QByteArray> hashes = HashesOf(passwords);
    for (qsizetype i = 0; i < newcomers.size(); ++i) {
        accounts.Of(newcomers[i]).InitialHash = hashes[static_cast<size_t>(i)];
        file->Add({ newcomers[i], passwords[i] });
    }
    // Before the users are there: nobody could log on without them.
    if (file)
        file->Write();
    store.Import(accounts.All());
    if (file)
        file->Keep();
    Console::Print(u"%1 users added, %2 there already, %3 grants read"_s.arg(added)
                       .arg(static_cast<qsizetype>(users.size()) - added)
                       .arg(grants.size()));
    return Success;
}
