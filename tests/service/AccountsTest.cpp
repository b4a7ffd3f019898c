// SPDX-License-Identifier: Apache-2.0
#include "tests/service/ServiceFixture.h"

#include <thread>

using namespace std::chrono_literals;

TEST(AccountsTest, UserIdsPasswordsAndExams)
{
    const std::pair<QString, QString> rows[] = {
        { u"a b&c=d;%3B\u00E9\u20AC"_s, {} },
        { QString(1'000, u'x'), {} },
        { u""_s, u" is empty"_s },
        { u" pass"_s, u" begins or ends with a blank"_s },
        { u"pass "_s, u" begins or ends with a blank"_s },
        { QString(1'001, u'x'), u" is longer than 1000 characters"_s },
        { u"pa\tss"_s, u" has a control character"_s },
        { u"pass\u2192"_s, u" has a character that code page 1252 lacks"_s },
    };
    for (const auto &[text, reason] : rows) {
        EXPECT_EQ(Password::InvalidReason(text), reason.isEmpty() ? reason : u"the password"_s + reason);
        EXPECT_EQ(Password::InvalidUserReason(text), reason.isEmpty() ? reason : u"the user ID"_s + reason);
    }
    for (const QString &good : { u"NET-101"_s, u"azAZ09-_."_s, QString(64, u'x') })
        EXPECT_TRUE(Store::IsExamId(good)) << good.toStdString();
    // The neighbours of what is allowed, what leads out of a folder, and what separates.
    for (const QString &bad : { u""_s, u"."_s, u".hidden"_s, u"a/b"_s, u"a:"_s, u"a@"_s, u"a["_s, u"a`"_s, u"a{"_s, u"a,b"_s,
                                u"a\\b"_s, u"\u00E9"_s, QString(2, u'\0'), u"a\n"_s, QString(65, u'x') })
        EXPECT_FALSE(Store::IsExamId(bad)) << bad.toStdString();
}

TEST(AccountsTest, TheStoreKeepsUsersAndExams)
{
    const QString path = Sandbox::Path(u"store/a.db"_s);
    Sandbox::WriteFile(path, {});
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    {
        Store store(path);
        store.AddUser(u"Bob"_s, "other");
        store.AddUser(u"Ann@Example.org"_s, "hash");
        store.AddUser(u"'; DROP TABLE users; --"_s, "third");
        store.Grant(u"ann@example.org"_s, { u"NET-101"_s, u"LNX-101"_s, u"NET-101"_s });
        store.Grant(u"bob"_s, { u"NET-101"_s });
        store.Grant(u" ann@example.org"_s, { u"A-1"_s, u"LNX-101"_s });
        store.Revoke(u"ANN@EXAMPLE.ORG"_s, { u"LNX-101"_s, u"NONE"_s });
        store.SetPassword(u"bob"_s, "new");
        for (const char *journal : { "", "-wal", "-shm" })
            EXPECT_EQ(int(QFile::permissions(path + QLatin1StringView(journal))), 0x6600) << journal;
    }
    const Store store(path);
    const auto ann = store.Find(u"ANN@EXAMPLE.ORG"_s);
    ASSERT_TRUE(ann && !store.Find(u"ann"_s));
    EXPECT_EQ(ann->PasswordHash + store.PasswordHash(ann->User), "hashhash");
    EXPECT_EQ(store.Find(u"bob"_s)->PasswordHash, "new");
    EXPECT_TRUE(store.HasExam(ann->User, u"A-1"_s));
    EXPECT_FALSE(store.HasExam(ann->User, u"LNX-101"_s) || store.HasExam(store.Find(u"bob"_s)->User, u"A-1"_s));
    QStringList users;
    for (const Store::User &user : store.Users())
        users.append(user.Email + u' ' + user.Exams.join(u','));
    EXPECT_EQ(users, (QStringList{ u"'; DROP TABLE users; -- "_s, u"Ann@Example.org NET-101,A-1"_s, u"Bob NET-101"_s }));
}

TEST(AccountsTest, AReportIsKeptOnceAndOnlySoManyADay)
{
    ManualClock clock;
    Store store(Sandbox::Path(u"reports.db"_s), Store::IfMissing::Make, clock);
    store.AddUser(u"ann"_s, "hash");
    const qint64 ann = store.Find(u"ann"_s)->User;
    const auto isKept = [&](qint64 user, int session, const QString &exams = u"101"_s, const QString &time = u"noon"_s) {
        return store.Record({ user, QByteArray::number(session), exams, time });
    };
    std::atomic<int> kept = 0;
    std::vector<std::thread> threads;
    for (int first = 0; first < 120; first += 30) {
        threads.emplace_back([&, first] {
            for (int i = first; i < first + 30; ++i)
                kept += isKept(ann, i);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(kept, Store::MostReportsADay);
    // One that is known is accepted still, one that differs in anything is not.
    int known = 0;
    for (int i = 0; i < 120; ++i)
        known += isKept(ann, i);
    EXPECT_EQ(known, Store::MostReportsADay);
    EXPECT_FALSE(isKept(ann, 200) || isKept(ann, 0, {}) || isKept(ann, 0, u"101"_s, {}));
    clock.Advance(24h - 1s);
    EXPECT_FALSE(isKept(ann, 200));
    store.AddUser(u"bob"_s, "hash");
    EXPECT_TRUE(isKept(store.Find(u"bob"_s)->User, 200, {}, {}));
    clock.Advance(1s);
    EXPECT_TRUE(isKept(ann, 201));
    const auto last = store.Reports().back();
    EXPECT_EQ(last.Email + last.Exams + last.Time + last.Received, u"ann101noon2027-01-16T08:00:05Z"_s);
    store.RemoveUser(u"ANN"_s);
    EXPECT_TRUE(store.Reports().size() == 1 && store.Users().size() == 1);
    EXPECT_THROW(isKept(ann, 202), Error);
}
