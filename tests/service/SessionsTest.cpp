// SPDX-License-Identifier: Apache-2.0
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
    for (const QString &wrong : { QString(), id.chopped(1), id.toUpper(), id + u'0' })
        EXPECT_FALSE(sessions.Find(wrong)) << wrong.toStdString();
    for (int minutes = 9; minutes < 60; minutes += 9)
        EXPECT_TRUE(isThereAfter(9min)) << minutes;
    EXPECT_FALSE(isThereAfter(6min));
    id = sessions.Open(7, {});
    EXPECT_FALSE(isThereAfter(10min) || isThereAfter(-10min));

    // Not idle while in use, not even when others come.
    id = sessions.Open(7, {});
    {
        const auto use = sessions.Find(id);
        EXPECT_TRUE(use->User() == 7 && isThereAfter(30min));
        sessions.Open(8, {});
        clock.Advance(15min);
    }
    EXPECT_TRUE(isThereAfter(9min));
    const auto use = sessions.Find(id);
    EXPECT_FALSE(isThereAfter(6min));
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

namespace {

// After that time so many attempts are allowed, then the next has to wait. The
// user "*" is another one every time.
struct Attempts {
    std::chrono::milliseconds After;
    const char *User, *Network;
    int Count;
    std::chrono::milliseconds Delay; // 0: none
    bool Succeeds = false; // the last one allowed
};

void Try(const LoginThrottle::Limits &limits, std::initializer_list<Attempts> rows)
{
    ManualClock clock;
    LoginThrottle throttle(clock, limits);
    int number = 0;
    for (const Attempts &row : rows) {
        const auto user = [&] { return *row.User == '*' ? QString::number(++number) : QString::fromLatin1(row.User); };
        const QString network = QString::fromLatin1(row.Network);
        clock.Advance(row.After);
        for (int i = 0; i < row.Count; ++i)
            EXPECT_FALSE(throttle.BeginAttempt(user(), network)) << "row " << &row - rows.begin() << ", attempt " << i;
        if (row.Succeeds)
            throttle.Succeeded(user(), network);
        EXPECT_EQ(throttle.RemainingDelay(user(), network).value_or(0s), row.Delay) << "row " << &row - rows.begin();
        const auto refused = row.Delay > 0s ? throttle.BeginAttempt(user(), network) : std::nullopt;
        EXPECT_EQ(refused.value_or(0s), row.Delay) << "row " << &row - rows.begin();
    }
}

}

TEST(LoginThrottleTest, DelaysGrowByUserAndByNetwork)
{
    Try({ { 3, 2s, 10s, 60s }, { 5, 2s, 100s, 60s }, 100 },
        {
            { 0s, "ann", "1", 3, 2s }, // wrong passwords of one user, from anywhere
            { 0s, "bob", "1", 1, 0s },
            { 1500ms, "ann", "2", 0, 500ms },
            { 500ms, "ann", "2", 1, 4s },
            { 4s, "ann", "3", 1, 8s },
            { 8s, "ann", "3", 1, 10s },
            { 69'999ms, "ann", "4", 1, 10s },
            { 70s, "ann", "4", 3, 2s },
            { 2s, "ann", "5", 1, 0s, true }, // the right one clears the user
            { 0s, "ann", "6", 3, 2s },
            { 0s, "*", "9", 4, 0s }, // one network tries many users
            { 0s, "own", "9", 1, 0s, true }, // an account of its own does not help
            { 0s, "*", "9", 1, 2s },
            { 2s, "own", "9", 1, 2s, true },
            { 2s, "*", "9", 1, 4s },
            { 0s, "*", "8", 1, 0s },
            { 64s, "*", "9", 5, 2s },
        });
    // Failures decay, one a minute.
    Try({ { 99, 2s, 10s, 1h }, { 3, 2s, 100s, 1h, 60s }, 100 },
        {
            { 0s, "*", "school", 3, 2s },
            { 119s, "*", "school", 1, 2s },
            { 2s, "*", "school", 1, 2s },
            { 1s, "*", "school", 0, 1s },
            { 600s, "*", "school", 3, 2s },
        });
}

TEST(LoginThrottleTest, RemembersOnlySoMany)
{
    LoginThrottle throttle(Clock::Real(), { { 1, 1h, 1h, 1h }, { 1'000, 1s, 1s, 60s }, 50 });
    int remembered = 0;
    for (int i = 0; i < 1'000; ++i)
        remembered += throttle.BeginAttempt(QString::number(i % 500), u"a"_s).has_value();
    EXPECT_TRUE(remembered > 0 && remembered <= 50) << remembered;
}

TEST(TrustedProxiesTest, WhoIsAtTheOtherEndAndCountsAsOne)
{
    TrustedProxies proxies;
    for (const QString &good :
         { u"10.1.2.3/8"_s, u"192.0.2.7"_s, u"2001:db8:fff0::/44"_s, u"::1"_s, u"::ffff:203.0.113.8/125"_s })
        EXPECT_TRUE(proxies.Add(good)) << good.toStdString();
    for (const QString &bad : { u""_s, u"proxy"_s, u"10.0.0"_s, u"10.0.0.0/33"_s, u"10.0.0.0/"_s, u"10.0.0.0/-1"_s,
                                u"10.0.0.0/ 8"_s, u"10.0.0.0/8/8"_s, u"::1/129"_s, u"/8"_s, u"::1%lo"_s })
        EXPECT_FALSE(proxies.Add(bad)) << bad.toStdString();
    const std::array<const char *, 3> rows[] = {
        { "198.51.100.1", "1.2.3.4", "198.51.100.1" },
        { "192.0.2.7", "", "192.0.2.7" },
        { "192.0.2.7", "1.2.3.4,198.51.100.1, 10.255.0.1 ,::ffff:10.0.0.2", "198.51.100.1" },
        { "192.0.2.7", "10.0.0.1,10.0.0.2", "10.0.0.1" },
        { "192.0.2.7", "1.2.3.4, unknown, 10.0.0.1", "10.0.0.1" },
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
