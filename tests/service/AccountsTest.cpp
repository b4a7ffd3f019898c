// SPDX-License-Identifier: Apache-2.0
#include "service/Password.h"
#include "service/Store.h"
#include "tests/support/Test.h"

#include <QDate>

#include <thread>

TEST(AccountsTest, PasswordsAreKeptUnderArgon2id)
{
    const QString password = u"caf\u00E9 & 100%; \u20AC"_s;
    const QByteArray hash = Password::Hash(password, Password::LeastCost);
    EXPECT_TRUE(hash.startsWith("$argon2id$v=19$")) << hash.toStdString();
    EXPECT_NE(hash, Password::Hash(password, Password::LeastCost));
    EXPECT_TRUE(Password::Matches(hash, password));
    for (const QString &wrong : { password.left(5), password + u'x', u"cafe & 100%; \u20AC"_s, u""_s })
        EXPECT_FALSE(Password::Matches(hash, wrong)) << wrong.toStdString();
}

TEST(AccountsTest, WhatUsersPasswordsAndExamsMayBe)
{
    for (const QString &sound : { u"pass"_s, u"a b&c=d;%3B\u00E9\u20AC"_s, QString(1'000, u'x') })
        EXPECT_EQ(Password::InvalidReason(sound) + Password::InvalidUserReason(sound), QString()) << sound.toStdString();
    for (const QString &odd : { u""_s, u" pass"_s, u"pass "_s, u"pa\tss"_s, u"pass\u2192"_s, QString(1'001, u'x') })
        EXPECT_FALSE(Password::InvalidReason(odd).isEmpty() || Password::InvalidUserReason(odd).isEmpty()) << odd.toStdString();
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
        for (const char *journal : { "", "-wal", "-shm" })
            EXPECT_FALSE(QFile::permissions(path + QLatin1StringView(journal)) & ~QFile::Permissions(0x6600)) << journal;
    }
    const Store store(path);
    const auto ann = store.Find(u"ANN@EXAMPLE.ORG"_s);
    ASSERT_TRUE(ann && ann->PasswordHash == "hash" && !store.Find(u"ann"_s) && store.Users().size() == 2);
    EXPECT_EQ(store.Exams(ann->User), (QStringList{ u"NET-101"_s, u"SQL-101"_s }));
    EXPECT_TRUE(store.HasExam(ann->User, u"SQL-101"_s));
    EXPECT_FALSE(store.HasExam(ann->User, u"LNX-101"_s) || store.HasExam(ann->User + 1, u"SQL-101"_s));
}

TEST(AccountsTest, AReportIsKeptOnceAndOnlySoManyADay)
{
    const QString path = Sandbox::Path(u"reports.db"_s);
    auto store = std::make_unique<Store>(path, Store::IfMissing::Make);
    store->AddUser(u"ann"_s, "hash");
    const qint64 ann = store->Find(u"ann"_s)->User;
    const auto isKept = [&](qint64 user, int session) {
        return store->Record({ user, QByteArray::number(session), u"101"_s, u"noon"_s });
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { EXPECT_TRUE(isKept(ann, 1)); });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(store->Reports().size(), 1u);
    EXPECT_TRUE(store->Record({ ann, "1", {}, u"noon"_s }) && store->Record({ ann, "1", u"101"_s, {} }));
    EXPECT_EQ(store->Reports().size(), 3u);
    for (int i = 4; i <= Store::MostReportsADay; ++i)
        EXPECT_TRUE(isKept(ann, i));
    EXPECT_FALSE(isKept(ann, 0));
    EXPECT_TRUE(isKept(ann, 1));
    store->AddUser(u"bob"_s, "hash");
    EXPECT_TRUE(isKept(store->Find(u"bob"_s)->User, -1));

    // A year later.
    store.reset();
    const auto year = [](int offset) { return QByteArray::number(QDate::currentDate().year() - offset) + '-'; };
    Sandbox::WriteFile(path, Sandbox::ReadFile(path).replace(year(0), year(1)));
    store = std::make_unique<Store>(path);
    EXPECT_TRUE(isKept(ann, 0));
    store->RemoveUser(u"ANN"_s);
    EXPECT_TRUE(store->Reports().size() == 1 && store->Users().size() == 1);
}
