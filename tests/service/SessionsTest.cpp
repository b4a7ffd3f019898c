// SPDX-License-Identifier: Apache-2.0
#include "service/IpAddress.h"
#include "tests/service/ServiceFixture.h"

using namespace std::chrono_literals;

TEST(SessionsTest, EndAfterIdlenessAndAtTheLatestAfterAnHour)
{
    ManualClock clock;
    Sessions sessions(clock, { 10min, 60min, 20 });
    QString id = sessions.Open(7, {});
    const auto isThereAfter = [&](std::chrono::milliseconds time) {
        clock.Advance(time);
        return sessions.Find(id).has_value();
    };
    for (const QString &wrong : { QString(), id.chopped(1), id.toUpper(), id + u'0', QString(64, u'0') })
        EXPECT_FALSE(sessions.Find(wrong)) << wrong.toStdString();
    for (int minutes = 9; minutes < 60; minutes += 9)
        EXPECT_TRUE(isThereAfter(9min)) << minutes;
    EXPECT_FALSE(isThereAfter(6min));

    id = sessions.Open(7, {});
    EXPECT_FALSE(isThereAfter(10min));
    EXPECT_FALSE(isThereAfter(-10min));

    // Not idle while in use.
    id = sessions.Open(7, {});
    {
        const auto use = sessions.Find(id);
        EXPECT_TRUE(isThereAfter(30min));
        sessions.Open(8, {});
        clock.Advance(15min);
    }
    clock.Advance(9min);
    const auto use = sessions.Find(id);
    ASSERT_TRUE(use);
    EXPECT_FALSE(isThereAfter(6min));
    EXPECT_EQ(use->User(), 7);
}

TEST(SessionsTest, AreHardToGuessAndNotTooMany)
{
    ManualClock clock;
    Sessions sessions(clock, { 10min, 60min, 3 });
    QStringList ids = { sessions.Open(8, {}) };
    for (; ids.size() < 6; clock.Advance(1s))
        ids.append(sessions.Open(7, {}));
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(ids[i].size() == 64 && sessions.Find(ids[i]).has_value() == (i == 0 || i >= 3)) << i;
    EXPECT_EQ(ids.removeDuplicates(), 0);
}

TEST(LoginThrottleTest, WaitsGrowByUserAndByAddress)
{
    const struct {
        std::chrono::milliseconds After;
        const char *User, *Address;
        std::chrono::milliseconds Wait; // 0: admitted
        bool Succeeds = false;
    } rows[] = {
        // Three wrong passwords of one user, from anywhere.
        { 0s, "ann", "1", 0s },
        { 0s, "ann", "2", 0s },
        { 0s, "ann", "3", 0s },
        { 0s, "ann", "4", 2s },
        { 0s, "bob", "4", 0s },
        { 1500ms, "ann", "4", 500ms },
        // Each one after the wait doubles it, up to the longest.
        { 500ms, "ann", "4", 0s },
        { 0s, "ann", "4", 4s },
        { 4s, "ann", "1", 0s },
        { 0s, "ann", "1", 8s },
        { 8s, "ann", "2", 0s },
        { 0s, "ann", "2", 10s },
        // The right one ends it.
        { 10s, "ann", "5", 0s, true },
        { 0s, "ann", "5", 0s },
        { 0s, "ann", "6", 0s },
        // One address tries many users; a user of its own in between does not help.
        { 0s, "u1", "9", 0s },
        { 0s, "u2", "9", 0s },
        { 0s, "u3", "9", 0s },
        { 0s, "u4", "9", 0s },
        { 0s, "own", "9", 0s, true },
        { 0s, "u5", "9", 0s },
        { 0s, "own", "9", 2s },
        { 2s, "own", "9", 0s, true },
        { 0s, "u6", "9", 2s },
        { 2s, "u6", "9", 0s },
        { 0s, "u7", "9", 4s },
        { 0s, "u7", "8", 0s },
        // All is forgotten in the end.
        { 64s, "u7", "9", 0s },
        { 0s, "u8", "9", 0s },
    };
    ManualClock clock;
    LoginThrottle throttle(clock, { { 3, 2s, 10s, 60s }, { 5, 2s, 100s, 60s }, 100 });
    for (const auto &row : rows) {
        clock.Advance(row.After);
        const auto [user, address] = std::pair{ QString::fromLatin1(row.User), QString::fromLatin1(row.Address) };
        for (const auto wait : { throttle.RemainingDelay(user, address), throttle.BeginAttempt(user, address) })
            EXPECT_EQ(wait.value_or(0s).count(), row.Wait.count()) << "row " << &row - rows;
        if (row.Succeeds)
            throttle.Succeeded(user, address);
    }
}

TEST(LoginThrottleTest, FailuresOfAnAddressFade)
{
    ManualClock clock;
    LoginThrottle throttle(clock, { { 99, 2s, 10s, 1h }, { 3, 2s, 100s, 1h, 60s }, 100 });
    const struct {
        std::chrono::seconds After;
        int Admitted;
    } rows[] = { { 0s, 3 }, { 119s, 1 }, { 2s, 1 }, { 1s, 0 }, { 600s, 3 } };
    for (const auto &row : rows) {
        clock.Advance(row.After);
        int admitted = 0;
        while (admitted < 10 && !throttle.BeginAttempt(u"u%1"_s.arg(admitted), u"school"_s))
            ++admitted;
        EXPECT_EQ(admitted, row.Admitted) << "row " << &row - rows;
    }
}

TEST(LoginThrottleTest, RemembersOnlySoMany)
{
    ManualClock clock;
    LoginThrottle throttle(clock, { { 1, 60s, 60s, 60s }, { 1'000, 1s, 1s, 60s }, 50 });
    int remembered = 0;
    for (int i = 0; i < 1'000; ++i)
        remembered += throttle.BeginAttempt(QString::number(i % 500), u"a"_s).has_value();
    EXPECT_TRUE(remembered > 0 && remembered <= 50) << remembered;
}

TEST(TrustedProxiesTest, WhoIsAtTheOtherEndAndCountsAsOne)
{
    TrustedProxies proxies;
    for (const QString &sound :
         { u"10.1.2.3/8"_s, u"192.0.2.7"_s, u"2001:db8:fff0::/44"_s, u"::1"_s, u"::ffff:203.0.113.8/125"_s })
        EXPECT_TRUE(proxies.Add(sound)) << sound.toStdString();
    for (const QString &odd : { u""_s, u"proxy"_s, u"10.0.0"_s, u"10.0.0.0/33"_s, u"10.0.0.0/"_s, u"10.0.0.0/-1"_s,
                                u"10.0.0.0/ 8"_s, u"10.0.0.0/8/8"_s, u"::1/129"_s, u"/8"_s, u"::1%lo"_s })
        EXPECT_FALSE(proxies.Add(odd)) << odd.toStdString();
    const std::array<const char *, 3> rows[] = {
        { "198.51.100.1", "1.2.3.4", "198.51.100.1" },
        { "192.0.2.7", "", "192.0.2.7" },
        { "192.0.2.7", "1.2.3.4, 198.51.100.1", "198.51.100.1" },
        { "192.0.2.7", "1.2.3.4,198.51.100.1, 10.255.0.1 ,::ffff:10.0.0.2", "198.51.100.1" },
        { "192.0.2.7", "10.0.0.1,10.0.0.2", "10.0.0.1" },
        { "192.0.2.7", "1.2.3.4, unknown", "192.0.2.7" },
        { "192.0.2.7", "1.2.3.4, unknown, 10.0.0.1", "10.0.0.1" },
        { "11.0.0.1", "1.2.3.4", "11.0.0.1" },
        { "::ffff:192.0.2.7", "[2001:db8:1:2:3::4]:443", "2001:db8:1:2::/64" },
        { "::1", "198.51.100.1:1234", "198.51.100.1" },
        { "2001:db8:ffff:1::9", "2001:db8:1:3:ffff::", "2001:db8:1:3::/64" },
        { "2001:db8:ffe0::9", "1.2.3.4", "2001:db8:ffe0::/64" },
        { "203.0.113.15", "::ffff:198.51.100.1", "198.51.100.1" },
        { "203.0.113.7", "1.2.3.4", "203.0.113.7" },
    };
    for (const auto &[peer, forwardedFor, network] : rows)
        EXPECT_EQ(proxies.ClientAddress(*IpAddress::FromText(peer), forwardedFor).Network().toStdString(), network) << peer;
}
