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
    for (const QString &good : { u"azAZ09-_."_s, QString(64, u'x') })
        EXPECT_TRUE(Store::IsExamId(good)) << good.toStdString();
    // The neighbours of what is allowed, what leads out of a folder, and what separates.
    for (const QString &bad : { u""_s, u"."_s, u".hidden"_s, u"a/b"_s, u"a:"_s, u"a@"_s, u"a["_s, u"a`"_s, u"a{"_s, u"a,b"_s,
                                u"a\\b"_s, u"\u00E9"_s, QString(2, u'\0'), u"a\n"_s, QString(65, u'x') })
        EXPECT_FALSE(Store::IsExamId(bad)) << bad.toStdString();
}

TEST(AccountsTest, AReportIsKeptOnceAndOnlySoManyADay)
{
    ManualClock clock;
    Store store(Sandbox::Path(u"reports.db"_s), Store::IfMissing::Make, clock);
    store.AddUser(u"ann"_s, "hash");
    store.AddUser(u"bob"_s, "hash");
    const qint64 ann = store.Find(u"ann"_s)->User;
    const auto isKept = [&](qint64 user, int session, const QString &exams = u"101"_s, const QString &time = u"noon"_s) {
        return store.Record({ user, QByteArray::number(session), exams, time });
    };
    std::atomic<int> kept = 0;
    const auto keep = [&](int first, int last) {
        for (int i = first; i < last; ++i)
            kept += isKept(ann, i);
    };
    std::thread beside(keep, 0, 60);
    keep(60, 120);
    beside.join();
    EXPECT_EQ(kept, Store::MostReportsADay);
    // Those that are known are accepted still, those that differ in anything are not.
    keep(0, 120);
    EXPECT_EQ(kept, 2 * Store::MostReportsADay);
    EXPECT_FALSE(isKept(ann, 200) || isKept(ann, 0, {}) || isKept(ann, 0, u"101"_s, {}));
    EXPECT_TRUE(isKept(store.Find(u"bob"_s)->User, 200, {}, {}));
    clock.Advance(24h - 1s);
    EXPECT_FALSE(isKept(ann, 200));
    clock.Advance(1s);
    EXPECT_TRUE(isKept(ann, 201));
    const auto last = store.Reports().back();
    EXPECT_EQ(last.Email + last.Exams + last.Time + last.Received, u"ann101noon2027-01-16T08:00:05Z"_s);
    store.RemoveUser(u"ANN"_s);
    EXPECT_TRUE(store.Reports().size() == 1 && store.Users().size() == 1);
    EXPECT_THROW(isKept(ann, 202), Error);
}
