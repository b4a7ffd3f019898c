// SPDX-License-Identifier: Apache-2.0
#include "tests/service/ServiceFixture.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;

namespace {

const QByteArray OddPassword = "&pwd=a%26b%3Dc%3B 100%253B\xE9;";

class MessagesTest : public ServiceFixture {
protected:
    MessagesTest()
    {
        m_store.AddUser(u"new"_s, Password::Hash(u"a&b=c; 100%3B\u00E9"_s, Password::LeastCost));
        m_store.Grant(u"ann"_s, { u"101"_s, u"102"_s });
        Start();
    }
};

}

TEST_F(MessagesTest, EveryMessageHasItsAnswer)
{
    const QByteArray session = "ERROR?code=401&description=You are not logged on, or not any more. Please start again.;";
    const QByteArray tooLong = "ERROR?code=413&description=The report is too long.;";
    const QByteArray unknown = "ERROR?code=404&description=The service does not know this command.;";
    const QByteArray invalid = "ERROR?code=400&description=Invalid message;";
    const auto missing
        = [](auto name) { return QByteArray("ERROR?code=422&description=The parameter \"") + name + "\" is missing.;"; };
    const std::pair<QByteArray, QByteArray> rows[] = {
        { "LIST?sid={ann};", "LIST?status=OK&data=101,102;" },
        { "LIST?SID={new}&more=x;rest", "LIST?status=OK&data=;" },
        { "LIST;", missing("sid") },
        { "LIST?sid={ann}x;", session },
        { "REPORT?sid={ann}&list=101,102&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=999,101,101,,102,103,&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=&time=" + QByteArray(4'096, 'x') + ';', "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=101&time=" + QByteArray(4'094, 'x') + ';', tooLong },
        { "REPORT?sid={ann}&list=101;", missing("time") },
        { "REPORT?sid={ann}&time=x;", missing("list") },
        { "LOGIN?email=ann&pwd=wrong;", "LOGIN?status=FAILED;" },
        { "LOGIN?email=a\n\"\\\x85 \xE9" + QByteArray(200, 'x') + "&pwd=x;", "LOGIN?status=FAILED;" },
        { "LOGIN?email=ann;", missing("pwd") },
        { "LOGIN?pwd=x;", missing("email") },
        { "login?email=ann&pwd=x;", unknown },
        { QByteArray("LI\0ST;", 6), unknown },
        { "", invalid },
        { QByteArray(65'536, '\xFF'), invalid },
        { "LIST?sid;", "ERROR?code=400&description=Error decoding parameters;" },
    };
    const QByteArray ann = LogIn();
    const QByteArray newcomer = LogIn("email=NEW" + OddPassword);
    for (auto [request, reply] : rows) {
        const std::string sent = request.left(100).toStdString();
        EXPECT_EQ(Post(request.replace("{ann}", ann).replace("{new}", newcomer)).toStdString(), reply.toStdString()) << sent;
    }
    ASSERT_EQ(m_store.Reports().size(), 2u);
    const Store::ReportLine report = m_store.Reports()[0];
    EXPECT_EQ(report.Email + report.Exams + report.Time, u"ann101,10221.11.2026 05:56:00"_s);
    for (int i = 2; i < Store::MostReportsADay; ++i)
        m_store.Record({ m_store.Find(u"ann"_s)->User, "x", QString::number(i), {} });
    EXPECT_EQ(Post("REPORT?sid=" + ann + "&list=&time=;"),
              "ERROR?code=429&description=There were too many reports in one day.;");
    EXPECT_EQ(m_log,
              (QStringList{ u"login failed: \"ann\" from 127.0.0.1"_s,
                            u"login failed: \"a\\u000a\\\"\\\\… é%1…\" from 127.0.0.1"_s.arg(QString(93, u'x')) }));
}

TEST_F(MessagesTest, ASessionEndsAndARunningServiceSeesChanges)
{
    const QByteArray sid = LogIn();
    m_store.Revoke(u"ann"_s, { u"101"_s });
    m_store.Grant(u"ann"_s, { u"103"_s });
    EXPECT_EQ(Post("LIST?sid=" + sid + ';'), "LIST?status=OK&data=102,103;");
    EXPECT_TRUE(Exchange(GetOf(sid, "103")).Status == 404 && Exchange(GetOf(sid, "101")).Status == 403);
    // The key of a removed user is used again for the next one.
    const QByteArray gone = LogIn("email=new" + OddPassword);
    const qint64 key = m_store.Find(u"new"_s)->User;
    m_store.RemoveUser(u"NEW"_s);
    m_store.AddUser(u"eve"_s, Password::Hash(u"pass"_s, Password::LeastCost));
    EXPECT_EQ(m_store.Find(u"eve"_s)->User, key);
    m_store.SetPassword(u"ann"_s, Password::Hash(u"pass"_s, Password::LeastCost));
    const auto hasEnded = [this](const QByteArray &session) {
        return Post("LIST?sid=" + session + ';').startsWith("ERROR?code=401&") && Exchange(GetOf(session, "103")).Status == 403;
    };
    EXPECT_TRUE(hasEnded(sid) && hasEnded(gone));
    const QByteArray idle = LogIn();
    EXPECT_FALSE(hasEnded(idle));
    m_clock.Advance(30min);
    EXPECT_TRUE(hasEnded(idle));
}

TEST_F(MessagesTest, AGuesserWaitsAndNobodyElse)
{
    m_store.SetPassword(u"ann"_s, Password::Hash(u"pass"_s)); // as it is kept really
    std::map<QByteArray, qint64> fastest = { { "ann", 1LL << 40 }, { "nobody", 1LL << 40 } };
    for (auto &[user, best] : fastest) {
        for (int i = 0; i < 5; ++i) {
            QElapsedTimer timer;
            timer.start();
            EXPECT_EQ(Post("LOGIN?email=" + user + "&pwd=x;"), "LOGIN?status=FAILED;");
            best = std::min(best, timer.nsecsElapsed());
        }
        m_clock.Advance(999ms);
        // Not even with the right password, and no different for one who is not there.
        EXPECT_EQ(Post("LOGIN?email=" + user.toUpper() + "&pwd=pass;"),
                  "ERROR?code=429&description=There were too many failed attempts. Please try again in 2 seconds.;");
    }
    EXPECT_GT(fastest["nobody"], fastest["ann"] / 2) << "the time tells who is there";
    LogIn("email=new" + OddPassword);
    m_clock.Advance(2s);
    LogIn();
}
