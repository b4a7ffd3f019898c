// SPDX-License-Identifier: Apache-2.0
#include "service/AccountTables.h"
#include "service/Password.h"
#include "service/Store.h"
#include "tests/service/Databases.h"
#include "tests/support/Program.h"
#include "tests/support/Test.h"

class ImportTest : public testing::TestWithParam<DatabaseKind> {
protected:
    Outcome On(QStringList arguments) const
    {
        return OutcomeOf(QStringLiteral(SERVICE_PROGRAM), arguments << u"--database"_s << m_location);
    }
    Outcome Import(const QByteArray &users, const QByteArray &grants, const QStringList &options = {}) const
    {
        Sandbox::WriteFile(Sandbox::Path(u"u.csv"_s), users);
        Sandbox::WriteFile(Sandbox::Path(u"g.csv"_s), grants);
        return On(QStringList{ u"import"_s, u"u.csv"_s, u"g.csv"_s } + options);
    }
    QString Users() const { return On({ u"list-users"_s }).Out; }

    const QString m_location = NewDatabase(GetParam());
};
INSTANTIATE_TEST_SUITE_P(On, ImportTest, BothKinds, testing::PrintToStringParamName());

TEST_P(ImportTest, AllOfItOrNothing)
{
    const QByteArray hash = Password::Hash(u"pass"_s), quoted = '"' + hash + '"';
    const QByteArray users = "email\nann\n", grants = "email,exam\r\nANN,NET-101\r\n";
    const QStringList made = { u"--passwords"_s, u"made.csv"_s };
    EXPECT_EQ(On({ u"init"_s }), Outcome{});
    const struct {
        QByteArray Users, Grants;
        QString Error;
    } refused[] = {
        { users, grants, u"u.csv: line 2: there is no password_hash, and --passwords names no file"_s },
        { "", grants, u"u.csv: is empty"_s },
        { "email,email\n", grants, u"u.csv: line 1: \"email\" is no column of this table, or stands there twice"_s },
        { "email,password\n", grants, u"u.csv: line 1: \"password\" is no column of this table, or stands there twice"_s },
        { "password_hash\n", grants, u"u.csv: line 1: there is no column \"email\""_s },
        { "email\nann\n\"a\nnn\"\n", grants, u"u.csv: line 3: the user ID has a control character"_s },
        { "email\n\nann\nb\xFF\n", grants, u"u.csv: line 4: is not UTF-8"_s },
        { "email\n\"ann\n", grants, u"u.csv: the quotation mark in line 2 is not closed"_s },
        { "email\n\"a\"nn\n", grants,
          u"u.csv: line 2: a quotation mark must enclose the whole field, or be doubled inside one"_s },
        { "email,password_hash\nann\n", grants, u"u.csv: line 2: has 1 fields instead of 2"_s },
        { "email,password_hash\nann,pass\n", grants,
          u"u.csv: line 2: the password_hash is no Argon2id hash that the service can check"_s },
        { "email,password_hash\nann," + QByteArray(quoted).replace("m=65536", "m=9999999") + '\n', grants,
          u"u.csv: line 2: the password_hash is no Argon2id hash that the service can check"_s },
        { "email\nann\nbob\nAnn\n", grants, u"u.csv: line 4: the user \"Ann\" stands in an earlier line too"_s },
        { "email,password_hash\nann," + quoted + '\n', "email,exam\nann,../x\n", u"g.csv: line 2: \"../x\" is no exam's ID"_s },
        { "email,password_hash\nann," + quoted + '\n', "email,exam\nann,A\nbob,A\n",
          u"g.csv: line 3: there is no user \"bob\""_s },
    };
    for (const auto &row : refused) {
        const Outcome expected = { 1, {}, u"practorium-service: %1\n"_s.arg(row.Error) };
        EXPECT_EQ(Import(row.Users, row.Grants), expected);
        EXPECT_EQ(Users(), QString());
    }
    EXPECT_EQ(Import(users, "email,exam\nbob,A\n", made).Code, 1);
    EXPECT_FALSE(QFile::exists(Sandbox::Path(u"made.csv"_s)));

    // A byte order mark, columns in another order, quoted commas; who is there keeps the password.
    EXPECT_EQ(
        Import("\xEF\xBB\xBFpassword_hash,email\r\n" + quoted + ",\"b\xC3\xA9, \"\"Bea\"\"\"\r\n,ann\r\n", grants, made).Out,
        u"2 users added, 0 there already, 1 grants read\n"_s);
    EXPECT_EQ(Users(), u"ann\tNET-101\nbé, \"Bea\"\t\n"_s);
    const QString path = Sandbox::Path(u"made.csv"_s);
    EXPECT_EQ(int(QFile::permissions(path)), 0x6600);
    const auto lines = QString::fromUtf8(Sandbox::ReadFile(path)).split(u"\r\n"_s);
    ASSERT_TRUE(lines.size() == 3 && lines[0] == u"email,password"_s && lines[1].startsWith(u"ann,"_s));
    EXPECT_EQ(Import(users, "email,exam\nann,A\nann,NET-101\n").Out, u"0 users added, 1 there already, 2 grants read\n"_s);
    {
        Database database(m_location);
        const Store store(database);
        EXPECT_TRUE(Password::Matches(store.Find(u"ann"_s)->PasswordHash, lines[1].mid(4)));
        EXPECT_EQ(store.Find(u"b\u00E9, \"bea\""_s)->PasswordHash, hash);
    }
    EXPECT_EQ(Import("email,password_hash\nann," + quoted + '\n', grants).Code, 0);
    Database database(m_location);
    Store store(database);
    EXPECT_EQ(store.Find(u"ann"_s)->PasswordHash, hash);
    // Another file of passwords is not overwritten.
    EXPECT_EQ(Import("email\nnew\n", grants, made), (Outcome{ 1, {}, u"practorium-service: made.csv: File exists\n"_s }));
    QFile::remove(path);

    // What candidates sent is no formula in a spreadsheet.
    const qint64 user = store.Find(u"ann"_s)->User;
    for (const QString &time : { u"=1+1"_s, u"-1"_s, u"@x"_s, u"a,\"b\""_s, u"8:05 PM"_s })
        store.Record({ user, "s", u"NET-101,A"_s, time });
    QStringList fields;
    for (const QString &line : On({ u"list-reports"_s, u"--csv"_s }).Out.split(u"\n"_s, Qt::SkipEmptyParts))
        fields.append(line.section(u',', 1));
    const QString report = u"ann,\"NET-101,A\","_s;
    EXPECT_EQ(fields,
              (QStringList{ u"email,exams,time"_s, report + u"'=1+1"_s, report + u"'-1"_s, report + u"'@x"_s,
                            report + u"\"a,\"\"b\"\"\""_s, report + u"8:05 PM"_s }));
}
