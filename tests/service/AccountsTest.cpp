#include "service/Password.h"
#include "service/Store.h"
#include "tests/support/Test.h"

#include <QSqlDatabase>
#include <QSqlQuery>

#include <thread>

namespace {

void Execute(const QString &path, const QString &statement)
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other"_s);
        database.setDatabaseName(path);
        EXPECT_TRUE(database.open() && QSqlQuery(database).exec(statement));
    }
    QSqlDatabase::removeDatabase(u"other"_s);
}

}

TEST(AccountsTest, PasswordsAreKeptUnderArgon2id)
{
    const QString password = u"caf\u00E9 & 100%; \u20AC"_s;
    const QByteArray hash = Password::Hash(password, Password::LeastCost);
    EXPECT_TRUE(hash.startsWith("$argon2id$v=19$")) << hash.toStdString();
    EXPECT_NE(hash, Password::Hash(password, Password::LeastCost));
    EXPECT_TRUE(Password::Matches(hash, password));
    for (const QString &wrong : { password.left(5), password + u'x', u"cafe & 100%; \u20AC"_s, u""_s })
        EXPECT_FALSE(Password::Matches(hash, wrong)) << wrong.toStdString();
    for (const QByteArray &odd : { QByteArray(), QByteArray("$argon2id$"), hash.chopped(1), QByteArray(4096, '$') })
        EXPECT_FALSE(Password::Matches(odd, password)) << odd.toStdString();
}

TEST(AccountsTest, WhatUsersPasswordsAndExamsMayBe)
{
    for (const QString &sound : { u"pass"_s, u"a b&c=d;%3B\u00E9\u20AC"_s, QString(1'000, u'x') })
        EXPECT_EQ(Password::Fault(sound) + Password::FaultOfUser(sound), QString()) << sound.toStdString();
    for (const QString &odd : { u""_s, u" pass"_s, u"pass "_s, u"pa\tss"_s, u"pass\u2192"_s, QString(1'001, u'x') })
        EXPECT_FALSE(Password::Fault(odd).isEmpty() || Password::FaultOfUser(odd).isEmpty()) << odd.toStdString();
    for (const QString &sound : { u"NET-101"_s, u"101"_s, u"a_b.c"_s, QString(64, u'x') })
        EXPECT_TRUE(Store::IsExamId(sound)) << sound.toStdString();
    for (const QString &odd : { u""_s, u"."_s, u".."_s, u".hidden"_s, u"a/b"_s, u"a\\b"_s, u"a b"_s, u"a,b"_s, u"a&b"_s,
                                u"a%2Fb"_s, u"a:b"_s, u"\u00E9"_s, QString(1, u'\0'), u"a\n"_s, QString(65, u'x') })
        EXPECT_FALSE(Store::IsExamId(odd)) << odd.toStdString();
}

TEST(AccountsTest, TheStoreKeepsWhatItWasTold)
{
    const QString path = Sandbox::Path(u"store/a.db"_s);
    Sandbox::WriteFile(path, {});
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    {
        Store store(path);
        store.AddUser(u"Ann@Example.org"_s, "hash");
        store.AddUser(u"'; DROP TABLE users; --"_s, "other");
        store.Grant(u"ann@example.org"_s, { u"NET-101"_s, u"LNX-101"_s, u"NET-101"_s });
        store.Grant(u"ann@example.org"_s, { u"SQL-101"_s, u"LNX-101"_s });
        store.Revoke(u"ANN@EXAMPLE.ORG"_s, { u"LNX-101"_s, u"NONE"_s });
        EXPECT_EQ(ResultOf([&] { store.AddUser(u"ANN@example.org"_s, "x"); }), u"5 Store::AddUser()"_s);
        EXPECT_EQ(ResultOf([&] { store.SetPassword(u"bob"_s, "x"); }), u"5 Store::UserOf()"_s);
        EXPECT_EQ(ResultOf([&] { store.Grant(u"bob"_s, { u"A"_s }); }), u"5 Store::UserOf()"_s);
        for (const char *journal : { "", "-wal", "-shm" }) {
            const auto others = QFile::permissions(path + QLatin1StringView(journal)) & ~QFile::Permissions(0x6600);
            EXPECT_EQ(others, QFile::Permissions()) << journal;
        }
    }
    const Store store(path);
    const auto ann = store.Find(u"ANN@EXAMPLE.ORG"_s);
    ASSERT_TRUE(ann);
    EXPECT_EQ(ann->PasswordHash, QByteArray("hash"));
    EXPECT_EQ(store.Exams(ann->User), (QStringList{ u"NET-101"_s, u"SQL-101"_s }));
    EXPECT_TRUE(store.HasExam(ann->User, u"SQL-101"_s));
    EXPECT_FALSE(store.HasExam(ann->User, u"LNX-101"_s) || store.HasExam(ann->User + 1, u"SQL-101"_s));
    EXPECT_FALSE(store.Find(u"ann"_s));
    ASSERT_EQ(store.Users().size(), 2u);
    EXPECT_EQ(store.Users()[1].Email, u"Ann@Example.org"_s);
}

TEST(AccountsTest, AReportIsKeptOnce)
{
    const QString path = Sandbox::Path(u"reports.db"_s);
    Store store(path, Store::IfMissing::Make);
    store.AddUser(u"ann"_s, "hash");
    const qint64 ann = store.Find(u"ann"_s)->User;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { EXPECT_TRUE(store.Record({ ann, "s1", u"101,102"_s, u"noon"_s })); });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(store.Reports().size(), 1u);
    EXPECT_TRUE(store.Record({ ann, "s2", u"101,102"_s, u"noon"_s }));
    EXPECT_TRUE(store.Record({ ann, "s1", u""_s, u"noon"_s }));
    EXPECT_TRUE(store.Record({ ann, "s1", u"101,102"_s, u"one"_s }));
    ASSERT_EQ(store.Reports().size(), 4u);
    EXPECT_EQ(store.Reports()[2].Exams, u""_s);

    // Only so many of one user in a day, whatever the session.
    const auto isKept = [&](qint64 user, int i) { return store.Record({ user, QByteArray::number(i), u"101"_s, u""_s }); };
    for (int i = 4; i < Store::MostReportsADay; ++i)
        EXPECT_TRUE(isKept(ann, i));
    EXPECT_FALSE(isKept(ann, 0));
    EXPECT_TRUE(isKept(ann, 4));
    store.AddUser(u"bob"_s, "hash");
    EXPECT_TRUE(isKept(store.Find(u"bob"_s)->User, 1));
    Execute(path, u"UPDATE reports SET received = strftime('%Y-%m-%dT%H:%M:%SZ', received, '-1 day') WHERE session = x'39'"_s);
    EXPECT_TRUE(isKept(ann, 0));
    EXPECT_FALSE(isKept(ann, 2));
    store.RemoveUser(u"ANN"_s);
    EXPECT_EQ(store.Reports().size(), 1u);
    EXPECT_EQ(store.Users().size(), 1u);
}

TEST(AccountsTest, FilesThatAreNoDatabase)
{
    const QString odd = Sandbox::Path(u"odd"_s);
    Sandbox::WriteFile(odd + u"/text.db"_s, QByteArray(5'000, 'x'));
    {
        Store store(odd + u"/newer.db"_s, Store::IfMissing::Make);
        Execute(odd + u"/newer.db"_s, u"PRAGMA user_version = 99"_s);
    }
    for (const QString &name : { u"/text.db"_s, u"/none.db"_s, u""_s, u"/newer.db"_s })
        EXPECT_TRUE(ResultOf([&] { Store store(odd + name); }).startsWith("5 Store::"_L1)) << name.toStdString();
    EXPECT_FALSE(QFile::exists(odd + u"/none.db"_s));
    EXPECT_EQ(Sandbox::ReadFile(odd + u"/text.db"_s), QByteArray(5'000, 'x'));
}
