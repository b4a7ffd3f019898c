#include "tests/service/ManualClock.h"

#include "service/GuessGuard.h"
#include "service/Sessions.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

TEST(SessionsTest, EndAfterIdlenessAndInAnyCase)
{
    ManualClock clock;
    Sessions sessions(clock.Port(), { 10min, 60min, 20 });
    const QString id = sessions.Open(7);
    ASSERT_TRUE(sessions.Find(id));
    EXPECT_EQ(sessions.Find(id)->User(), 7);
    for (const QString &wrong : { QString(), id.chopped(1), id.toUpper(), id + u'0', QString(64, u'0') })
        EXPECT_FALSE(sessions.Find(wrong)) << wrong.toStdString();
    for (int minutes = 9; minutes < 60; minutes += 9) {
        clock.Advance(9min);
        EXPECT_TRUE(sessions.Find(id)) << minutes;
    }
    clock.Advance(6min);
    EXPECT_FALSE(sessions.Find(id));

    const QString idle = sessions.Open(7);
    clock.Advance(10min);
    EXPECT_FALSE(sessions.Find(idle));
    clock.Advance(-10min);
    EXPECT_FALSE(sessions.Find(idle));
}

TEST(SessionsTest, AreNotIdleWhileInUse)
{
    ManualClock clock;
    Sessions sessions(clock.Port(), { 10min, 60min, 20 });
    const QString id = sessions.Open(7);
    {
        const auto use = sessions.Find(id);
        clock.Advance(30min);
        EXPECT_TRUE(sessions.Find(id));
        sessions.Open(8);
        clock.Advance(15min);
    }
    clock.Advance(9min);
    EXPECT_TRUE(sessions.Find(id));
    const auto use = sessions.Find(id);
    clock.Advance(6min);
    EXPECT_FALSE(sessions.Find(id));
    EXPECT_EQ(use->User(), 7);
}

TEST(SessionsTest, AreHardToGuessAndNotTooMany)
{
    ManualClock clock;
    Sessions sessions(clock.Port(), { 10min, 60min, 3 });
    QStringList ids;
    const QString stranger = sessions.Open(8);
    for (int i = 0; i < 5; ++i) {
        ids.append(sessions.Open(7));
        EXPECT_EQ(ids.last().size(), 64);
        clock.Advance(1s);
    }
    EXPECT_EQ(QSet<QString>(ids.begin(), ids.end()).size(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(sessions.Find(ids[i]).has_value(), i >= 2) << i;
    EXPECT_TRUE(sessions.Find(stranger));
}

TEST(GuessGuardTest, WaitsGrowByUserAndByAddress)
{
    struct Row {
        std::chrono::milliseconds After;
        QString User;
        QString Address;
        std::chrono::milliseconds Wait; // 0: admitted
        bool Succeeds = false;
    };
    const std::vector<Row> rows = {
        // Three wrong passwords of one user, from anywhere.
        { 0s, u"ann"_s, u"1"_s, 0s }, { 0s, u"ann"_s, u"2"_s, 0s }, { 0s, u"ann"_s, u"3"_s, 0s },
        { 0s, u"ann"_s, u"4"_s, 2s }, { 0s, u"bob"_s, u"4"_s, 0s }, { 1500ms, u"ann"_s, u"4"_s, 500ms },
        // Each one after the wait doubles it, up to the longest.
        { 500ms, u"ann"_s, u"4"_s, 0s }, { 0s, u"ann"_s, u"4"_s, 4s }, { 4s, u"ann"_s, u"1"_s, 0s },
        { 0s, u"ann"_s, u"1"_s, 8s }, { 8s, u"ann"_s, u"2"_s, 0s }, { 0s, u"ann"_s, u"2"_s, 10s },
        // The right one ends it.
        { 10s, u"ann"_s, u"5"_s, 0s, true }, { 0s, u"ann"_s, u"5"_s, 0s }, { 0s, u"ann"_s, u"6"_s, 0s },
        // One address tries many users; a user of its own in between does not help.
        { 0s, u"u1"_s, u"9"_s, 0s }, { 0s, u"u2"_s, u"9"_s, 0s }, { 0s, u"u3"_s, u"9"_s, 0s }, { 0s, u"u4"_s, u"9"_s, 0s },
        { 0s, u"own"_s, u"9"_s, 0s, true }, { 0s, u"u5"_s, u"9"_s, 0s }, { 0s, u"own"_s, u"9"_s, 2s }, { 2s, u"own"_s, u"9"_s, 0s, true },
        { 0s, u"u6"_s, u"9"_s, 2s }, { 2s, u"u6"_s, u"9"_s, 0s }, { 0s, u"u7"_s, u"9"_s, 4s }, { 0s, u"u7"_s, u"8"_s, 0s },
        // All is forgotten in the end.
        { 64s, u"u7"_s, u"9"_s, 0s }, { 0s, u"u8"_s, u"9"_s, 0s },
    };
    ManualClock clock;
    GuessGuard guard(clock.Port(), { { 3, 2s, 10s, 60s }, { 5, 2s, 100s, 60s }, 100 });
    int number = 0;
    for (const Row &row : rows) {
        ++number;
        clock.Advance(row.After);
        const auto wait = guard.Admit(row.User, row.Address);
        EXPECT_EQ(wait.value_or(0s).count(), row.Wait.count()) << "row " << number;
        if (row.Succeeds)
            guard.Succeeded(row.User, row.Address);
    }
}

TEST(GuessGuardTest, RemembersOnlySoMany)
{
    ManualClock clock;
    GuessGuard guard(clock.Port(), { { 1, 60s, 60s, 60s }, { 1'000, 1s, 1s, 60s }, 50 });
    for (int i = 0; i < 500; ++i)
        EXPECT_FALSE(guard.Admit(QString::number(i), u"a"_s)) << i;
    int remembered = 0;
    for (int i = 0; i < 500; ++i)
        remembered += guard.Admit(QString::number(i), u"b"_s).has_value();
    EXPECT_LE(remembered, 50);
    EXPECT_GT(remembered, 0);
}
