// SPDX-License-Identifier: Apache-2.0
#include "tests/service/ServiceFixture.h"

#include <list>
#include <thread>

using namespace std::chrono_literals;

class SessionsTest : public DatabaseFixture { };
INSTANTIATE_TEST_SUITE_P(On, SessionsTest, BothKinds, testing::PrintToStringParamName());

TEST_P(SessionsTest, EndAfterIdlenessAndAtTheLatestAfterAnHour)
{
    Sessions sessions(m_instance.Tables, m_clock, { 10min, 60min, 20 });
    const auto ann = *m_store.Find(u"ann"_s), other = *m_store.Find(u"new"_s);
    const auto open = [&](const Store::Credentials &who) { return sessions.Open(who.User, who.PasswordHash); };
    QString id = open(ann);
    const auto isThereAfter = [&](std::chrono::milliseconds time) {
        m_clock.Advance(time);
        return sessions.Find(id).has_value();
    };
    for (const QString &wrong : { QString(), id.chopped(1), id.toUpper(), id + u'0' })
        EXPECT_FALSE(sessions.Find(wrong)) << wrong.toStdString();
    for (int minutes = 9; minutes < 60; minutes += 9)
        EXPECT_TRUE(isThereAfter(9min)) << minutes;
    EXPECT_FALSE(isThereAfter(6min));
    id = open(ann);
    EXPECT_FALSE(isThereAfter(10min) || isThereAfter(-10min));

    // Not idle while in use, not even when others come.
    id = open(ann);
    {
        const auto use = sessions.Find(id);
        EXPECT_TRUE(use->User() == ann.User && isThereAfter(30min));
        open(other);
        m_clock.Advance(15min);
    }
    EXPECT_TRUE(isThereAfter(9min));
    const auto use = sessions.Find(id);
    EXPECT_FALSE(isThereAfter(6min));
}

TEST_P(SessionsTest, AreHardToGuessAndNotTooMany)
{
    Sessions sessions(m_instance.Tables, m_clock, { 10min, 60min, 3 });
    const auto ann = *m_store.Find(u"ann"_s), other = *m_store.Find(u"new"_s);
    QStringList ids = { sessions.Open(other.User, other.PasswordHash) };
    for (; ids.size() < 6; m_clock.Advance(1s))
        ids.append(sessions.Open(ann.User, ann.PasswordHash));
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(ids[i].size() == 64 && sessions.Find(ids[i]).has_value() == (i == 0 || i >= 3)) << i;
    EXPECT_EQ(ids.removeDuplicates(), 0);
}

TEST_P(SessionsTest, AreSharedByAllInstancesAndOutliveThem)
{
    std::optional<Instance> second(std::in_place, m_location, m_clock, Database::IfMissing::Refuse);
    const auto ann = *m_store.Find(u"ann"_s);
    const QString id = m_instance.LoggedOn.Open(ann.User, ann.PasswordHash);
    EXPECT_EQ(second->LoggedOn.Find(id)->Exams(), (QStringList{ u"BIG"_s, u"EMPTY"_s }));
    // A download keeps the session for everybody.
    {
        const auto use = second->LoggedOn.Find(id);
        for (int minutes = 0; minutes < 35; ++minutes, m_clock.Advance(1min))
            second->LoggedOn.StoreUses(Sessions::Which::Due);
        EXPECT_TRUE(m_instance.LoggedOn.Find(id));
        m_clock.Advance(20s);
    }
    second->LoggedOn.StoreUses(Sessions::Which::All);
    second.reset();
    m_clock.Advance(29min);
    second.emplace(m_location, m_clock, Database::IfMissing::Refuse);
    EXPECT_TRUE(second->LoggedOn.Find(id));
    // A use just before the end is seen by the others at once.
    m_clock.Advance(29min + 59s);
    EXPECT_TRUE(m_instance.LoggedOn.Find(id));
    m_clock.Advance(2s);
    EXPECT_TRUE(second->LoggedOn.Find(id));
    m_clock.Advance(30min);
    EXPECT_FALSE(m_instance.LoggedOn.Find(id) || second->LoggedOn.Find(id));
}

TEST_P(SessionsTest, UsesAreStoredOnceAMinuteAndWithoutTheId)
{
    const auto ann = *m_store.Find(u"ann"_s);
    const QString id = m_instance.LoggedOn.Open(ann.User, ann.PasswordHash);
    const auto stored = [this] {
        auto rows = m_instance.Tables.Run(u"SELECT last_use, fingerprint, password FROM sessions"_s);
        EXPECT_TRUE(rows.Next());
        return std::pair(rows[0].toLongLong(), rows[1].toByteArray() + rows[2].toByteArray());
    };
    const qint64 begin = stored().first;
    QList<qint64> seen;
    for (int second = 0; second < 150; ++second, m_clock.Advance(1s)) {
        EXPECT_TRUE(m_instance.LoggedOn.Find(id));
        m_instance.LoggedOn.StoreUses(Sessions::Which::Due);
        if (const qint64 time = stored().first - begin; !seen.contains(time))
            seen.append(time);
    }
    EXPECT_EQ(seen, (QList<qint64>{ 0, 60'000, 120'000 }));
    const QByteArray kept = stored().second;
    EXPECT_FALSE(kept.contains(id.toLatin1()) || kept.contains(QByteArray::fromHex(id.toLatin1())));
    // What has ended does not stay.
    m_clock.Advance(33min);
    m_instance.LoggedOn.StoreUses(Sessions::Which::Due);
    EXPECT_FALSE(m_instance.Tables.Run(u"SELECT 1 FROM sessions"_s).Next());
}

class LoginThrottleTest : public DatabaseFixture {
protected:
    struct Attempts;
    void Try(const LoginThrottle::Limits &limits, std::initializer_list<Attempts> rows);
};
INSTANTIATE_TEST_SUITE_P(On, LoginThrottleTest, BothKinds, testing::PrintToStringParamName());

// After that time so many attempts are allowed, then the next has to wait. The
// user "*" is another one every time.
struct LoginThrottleTest::Attempts {
    std::chrono::milliseconds After;
    const char *User, *Network;
    int Count;
    std::chrono::milliseconds Delay; // 0: none
    bool Succeeds = false; // the last one allowed
};

// Each attempt at another one of three instances.
void LoginThrottleTest::Try(const LoginThrottle::Limits &limits, std::initializer_list<Attempts> rows)
{
    std::list<Database> databases;
    std::vector<LoginThrottle> instances;
    while (instances.size() < 3)
        instances.emplace_back(databases.emplace_back(m_location), m_clock, limits);
    size_t turn = 0;
    const auto throttle = [&]() -> LoginThrottle & { return instances[++turn % 3]; };
    int number = 0;
    for (const Attempts &row : rows) {
        const auto user = [&] { return *row.User == '*' ? QString::number(++number) : QString::fromLatin1(row.User); };
        const QString network = QString::fromLatin1(row.Network);
        m_clock.Advance(row.After);
        for (int i = 0; i < row.Count; ++i)
            EXPECT_FALSE(throttle().BeginAttempt(user(), network)) << "row " << &row - rows.begin() << ", attempt " << i;
        if (row.Succeeds)
            throttle().Succeeded(user(), network);
        const auto refused = row.Delay > 0s ? throttle().BeginAttempt(user(), network) : std::nullopt;
        for (const auto &delay : { throttle().RemainingDelay(user(), network), refused })
            EXPECT_EQ(delay.value_or(0s), row.Delay) << "row " << &row - rows.begin();
    }
}

TEST_P(LoginThrottleTest, DelaysGrowByUserAndByNetwork)
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
    m_instance.Tables.Run(u"DELETE FROM attempts"_s);
    Try({ { 99, 2s, 10s, 1h }, { 3, 2s, 100s, 1h, 60s }, 100 },
        {
            { 0s, "*", "school", 3, 2s },
            { 119s, "*", "school", 1, 2s },
            { 2s, "*", "school", 1, 2s },
            { 1s, "*", "school", 0, 1s },
            { 600s, "*", "school", 3, 2s },
        });
}

TEST_P(LoginThrottleTest, SimultaneousAttemptsCountOneByOne)
{
    std::atomic<int> allowed = 0;
    std::vector<std::thread> guessers;
    for (int i = 0; i < 8; ++i) {
        guessers.emplace_back([&] {
            Database instance(m_location);
            LoginThrottle throttle(instance, m_clock, { { 3, 1h, 1h, 1h }, { 1'000, 1h, 1h, 1h }, 100 });
            for (int j = 0; j < 4; ++j)
                allowed += !throttle.BeginAttempt(u"ann"_s, u"1"_s);
        });
    }
    for (std::thread &guesser : guessers)
        guesser.join();
    EXPECT_EQ(allowed, 3);
}

TEST_P(LoginThrottleTest, RemembersOnlySoMany)
{
    LoginThrottle throttle(m_instance.Tables, m_clock, { { 1, 1h, 1h, 1h }, { 1'000, 1s, 1s, 60s }, 50 });
    for (int i = 0; i < 200; ++i) {
        EXPECT_FALSE(throttle.BeginAttempt(QString::number(i), u"a"_s)) << i;
        EXPECT_TRUE(throttle.BeginAttempt(QString::number(i), u"a"_s)) << i;
    }
    auto count = m_instance.Tables.Run(u"SELECT COUNT(*) FROM attempts"_s);
    EXPECT_TRUE(count.Next() && count[0].toInt() == 51) << count[0].toInt();
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

class ReportsTest : public DatabaseFixture { };
INSTANTIATE_TEST_SUITE_P(On, ReportsTest, BothKinds, testing::PrintToStringParamName());

TEST_P(ReportsTest, AReportIsKeptOnceAndOnlySoManyADay)
{
    Store &store = m_store;
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
    EXPECT_TRUE(isKept(store.Find(u"new"_s)->User, 200, {}, {}));
    m_clock.Advance(24h - 1s);
    EXPECT_FALSE(isKept(ann, 200));
    m_clock.Advance(1s);
    EXPECT_TRUE(isKept(ann, 201));
    const auto last = store.Reports().back();
    EXPECT_EQ(last.Email + last.Exams + last.Time + last.Received, u"ann101noon2027-01-16T08:00:05Z"_s);
    store.RemoveUser(u"ANN"_s);
    EXPECT_TRUE(store.Reports().size() == 1 && store.Users().size() == 1);
    EXPECT_THROW(isKept(ann, 202), Error);
}

// The tables of an earlier version, with a user, an exam and a report.
class EarlierTablesTest : public testing::TestWithParam<std::tuple<DatabaseKind, int>> { };
INSTANTIATE_TEST_SUITE_P(On, EarlierTablesTest, testing::Combine(BothKinds, testing::Values(0, 1, 2)));

TEST_P(EarlierTablesTest, AreBroughtUpToDateByTheFirstOfSeveralPrograms)
{
    const auto [kind, version] = GetParam();
    const bool isFile = kind == DatabaseKind::Sqlite;
    const QString location = NewDatabase(kind);
    const auto typed = [&](QString sql) {
        sql.replace(u"%1"_s, isFile ? u"INTEGER PRIMARY KEY"_s : u"BIGINT GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY"_s);
        sql.replace(u"%2"_s, isFile ? u"TEXT"_s : u"TEXT COLLATE \"C\""_s);
        return sql.replace(u"%3"_s, isFile ? u"BLOB"_s : u"BYTEA"_s);
    };
    QStringList earlier = {
        u"CREATE TABLE users(id %1, email %2 NOT NULL, folded %2 NOT NULL UNIQUE, password %3 NOT NULL)"_s,
        u"CREATE TABLE grants(id %1, \"user\" BIGINT NOT NULL REFERENCES users(id), exam %2 NOT NULL, "
        "UNIQUE(\"user\", exam))"_s,
        u"CREATE TABLE reports(id %1, \"user\" BIGINT NOT NULL REFERENCES users(id), session %3 NOT NULL, "
        "exams %2 NOT NULL, time %2 NOT NULL, received %2 NOT NULL, UNIQUE(session, exams, time))"_s,
        u"INSERT INTO users(email, folded, password) VALUES('Ann', 'ann', 'hash')"_s,
        u"INSERT INTO grants(\"user\", exam) VALUES(1, 'NET-101')"_s,
        u"INSERT INTO reports(\"user\", session, exams, time, received) VALUES(1, 's', 'NET-101', 'noon', 'then')"_s,
    };
    if (version == 2)
        earlier.append(u"CREATE INDEX reports_by_user ON reports(\"user\", received)"_s);
    if (version == 0)
        earlier.clear();
    else if (isFile)
        earlier.append(u"PRAGMA user_version = %1"_s.arg(version));
    else
        earlier.append({ u"CREATE TABLE schema_version(version INTEGER NOT NULL)"_s,
                         u"INSERT INTO schema_version VALUES(%1)"_s.arg(version) });
    for (const QString &sql : std::as_const(earlier))
        RunSql(location, typed(sql));

    std::vector<std::thread> programs;
    for (int i = 0; i < 4; ++i)
        programs.emplace_back([&, name = u"new%1"_s.arg(i)] {
            Database database(location, Database::IfMissing::Make);
            Store(database).AddUser(name, "hash");
            Store(database).Grant(name, { u"A"_s, u"B"_s });
        });
    for (std::thread &program : programs)
        program.join();
    Instance instance(location, Clock::System(), Database::IfMissing::Refuse);
    QStringList users;
    for (const Store::User &user : instance.Accounts.Users())
        users.append(user.Email + u' ' + user.Exams.join(u','));
    QStringList expected = { u"new0 A,B"_s, u"new1 A,B"_s, u"new2 A,B"_s, u"new3 A,B"_s };
    QString reports;
    for (const Store::ReportLine &line : instance.Accounts.Reports())
        reports += line.Email + line.Exams + line.Time + line.Received;
    if (version > 0)
        expected.prepend(u"Ann NET-101"_s);
    EXPECT_EQ(users, expected);
    EXPECT_EQ(reports, version > 0 ? u"AnnNET-101noonthen"_s : QString());
    const auto user = instance.Accounts.Find(u"new3"_s);
    EXPECT_TRUE(user && instance.LoggedOn.Find(instance.LoggedOn.Open(user->User, user->PasswordHash)));
}

TEST(DatabaseTest, ATransactionThatWaitsTooLongLeavesNothingBehind)
{
    const QString location = NewDatabase(DatabaseKind::Postgres);
    const Database other(location);
    const Database database(location + u"&options=-c%20lock_timeout%3D50ms"_s);
    {
        const Database::Transaction first(other, Database::Subject::Sessions, 7);
        EXPECT_THROW(Database::Transaction(database, Database::Subject::Sessions, 7), Error);
        const Database::Transaction elsewhere(database, Database::Subject::Sessions, 8);
    }
    Database::Transaction second(database, Database::Subject::Sessions, 7);
    EXPECT_NO_THROW(second.Commit());
    for (const QString &wrong : { u"postgresql://a b/x"_s, location + u"&x=a%3Bb"_s, location + u"&nonsense=1"_s })
        EXPECT_THROW(Database{ wrong }, Error) << wrong.toStdString();
}
