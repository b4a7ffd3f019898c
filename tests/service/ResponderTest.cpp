// SPDX-License-Identifier: Apache-2.0
#include "tests/service/ServiceFixture.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;

namespace {

const QString Pass = u"a&b=c; 100%3B\u00E9"_s;
const QByteArray SentPass = "&pwd=a%26b%3Dc%3B 100%253B\xE9;";

class ResponderTest : public ServiceFixture {
protected:
    ResponderTest()
    {
        m_store.AddUser(u"ann"_s, Password::Hash(Pass));
        m_store.AddUser(u"new"_s, Password::Hash(Pass, Password::LeastCost));
        m_store.Grant(u"ann"_s, { u"101"_s, u"102"_s });
    }
    std::string Ask(const QByteArray &request) { return m_responder.Answer(request, u"home"_s).toStdString(); }
    QByteArray LogIn(const QByteArray &user = "ann") { return SessionIn(Ask("LOGIN?email=" + user + SentPass).c_str()); }
};

}

TEST_F(ResponderTest, EveryMessageHasItsAnswer)
{
    const QByteArray session = "ERROR?code=401&description=You are not logged on, or not any more. Please start again.;";
    const QByteArray tooLong = "ERROR?code=413&description=The report is too long.;";
    const QByteArray invalid = "ERROR?code=400&description=Invalid message;";
    const QByteArray failed = "LOGIN?status=FAILED;";
    const QByteArray unknown = "ERROR?code=404&description=The service does not know this command.;";
    const auto missing
        = [](auto name) { return QByteArray("ERROR?code=422&description=The parameter \"") + name + "\" is missing.;"; };
    const std::vector<std::pair<QByteArray, QByteArray>> rows = {
        { "LIST?sid={ann};", "LIST?status=OK&data=101,102;" },
        { "LIST?SID={ann}&more=x;rest", "LIST?status=OK&data=101,102;" },
        { "LIST?sid={new};", "LIST?status=OK&data=;" },
        { "LIST;", missing("sid") },
        { "LIST?;", missing("sid") },
        { "LIST?id={ann};", missing("sid") },
        { "LIST?sid=;", session },
        { "LIST?sid={ann}x;", session },
        { "LIST?sid='%20OR%201%3D1;", session },
        { "REPORT?sid={ann}&list=101,102&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=999,101,101,,102,103,&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=&time=" + QByteArray(4'096, 'x') + ';', "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=101&time=" + QByteArray(4'094, 'x') + ';', tooLong },
        { "REPORT?sid={ann}&list=101;", missing("time") },
        { "REPORT?sid={ann}&time=x;", missing("list") },
        { "REPORT?sid=7&list=101&time=x;", session },
        { "LOGIN?email=ann&pwd=wrong;", failed },
        { "LOGIN?email=a\n\"\\\x85 \xE9" + QByteArray(200, 'x') + "&pwd=x;", failed },
        { "LOGIN?email=&pwd=;", failed },
        { "LOGIN?email=ann;", missing("pwd") },
        { "LOGIN?pwd=x;", missing("email") },
        { "login?email=ann&pwd=x;", unknown },
        { ";", unknown },
        { "?a=1;", unknown },
        { QByteArray("LI\0ST;", 6), unknown },
        { "", invalid },
        { "LIST?sid={ann}", invalid },
        { QByteArray(65'536, '\xFF'), invalid },
        { "LIST?sid;", "ERROR?code=400&description=Error decoding parameters;" },
        { "LIST?sid={ann}&;", "ERROR?code=400&description=Error decoding parameters;" },
        { ";?", "ERROR?code=400&description=Invalid procedure call or argument;" },
    };
    const QByteArray ann = LogIn();
    const QByteArray newcomer = LogIn("NEW");
    for (auto [request, reply] : rows) {
        const std::string sent = request.left(100).toStdString();
        EXPECT_EQ(Ask(request.replace("{ann}", ann).replace("{new}", newcomer)), reply.toStdString()) << sent;
    }
    ASSERT_EQ(m_store.Reports().size(), 2u);
    const Store::ReportLine report = m_store.Reports()[0];
    EXPECT_EQ(report.Email + report.Exams + report.Time, u"ann101,10221.11.2026 05:56:00"_s);
    EXPECT_EQ(m_log,
              (QStringList{ u"login failed: \"ann\" from home"_s,
                            u"login failed: \"a\\u000a\\\"\\\\… é%1…\" from home"_s.arg(QString(93, u'x')),
                            u"login failed: \"\" from home"_s }));
}

TEST_F(ResponderTest, ASessionEndsAndARunningServiceSeesChanges)
{
    const QByteArray sid = LogIn();
    using Access = Responder::Access;
    m_store.Revoke(u"ann"_s, { u"101"_s });
    m_store.Grant(u"ann"_s, { u"103"_s });
    EXPECT_EQ(Ask("LIST?sid=" + sid + ';'), "LIST?status=OK&data=102,103;");
    EXPECT_EQ(m_responder.AuthorizeDownload(QString::fromLatin1(sid), u"103"_s).Result, Access::Granted);
    EXPECT_EQ(m_responder.AuthorizeDownload(QString::fromLatin1(sid), u"101"_s).Result, Access::NotBought);
    // A user ID's number may come back.
    const QByteArray gone = LogIn("new");
    const qint64 number = m_store.Find(u"new"_s)->User;
    m_store.RemoveUser(u"NEW"_s);
    m_store.AddUser(u"eve"_s, Password::Hash(Pass, Password::LeastCost));
    EXPECT_EQ(m_store.Find(u"eve"_s)->User, number);
    m_store.SetPassword(u"ann"_s, Password::Hash(Pass, Password::LeastCost));
    const auto hasEnded = [this](const QByteArray &session) {
        return Ask("LIST?sid=" + session + ';').starts_with("ERROR?code=401&")
            && m_responder.AuthorizeDownload(QString::fromLatin1(session), u"103"_s).Result == Access::NoSession;
    };
    EXPECT_TRUE(hasEnded(sid) && hasEnded(gone));
    const QByteArray idle = LogIn();
    EXPECT_FALSE(hasEnded(idle));
    m_clock.Advance(30min);
    EXPECT_TRUE(hasEnded(idle));
}

TEST_F(ResponderTest, AGuesserWaitsAndNobodyElse)
{
    const std::string wait = "ERROR?code=429&description=There were too many failed attempts. Please try again in 2 seconds.;";
    for (const QByteArray user : { "ann", "nobody" }) {
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(Ask("LOGIN?email=" + user + "&pwd=x;"), "LOGIN?status=FAILED;");
        // Not even with the right password, and no different for one who is not there.
        EXPECT_EQ(Ask("LOGIN?email=" + user.toUpper() + SentPass), wait);
        EXPECT_EQ(m_responder.AnswerAtOnce("LOGIN?email=" + user + SentPass, u"abroad"_s).value_or("").toStdString(), wait);
    }
    LogIn("new");
    m_clock.Advance(2s);
    LogIn("ann");
}

TEST_F(ResponderTest, AnUnknownUserTakesAsLong)
{
    std::map<QByteArray, qint64> fastest = { { "ann", 1LL << 40 }, { "nobody", 1LL << 40 } };
    for (int i = 0; i < 4; ++i) {
        for (auto &[user, best] : fastest) {
            QElapsedTimer timer;
            timer.start();
            EXPECT_EQ(Ask("LOGIN?email=" + user + "&pwd=wrong;"), "LOGIN?status=FAILED;");
            best = std::min(best, timer.nsecsElapsed());
        }
    }
    EXPECT_GT(fastest["nobody"], fastest["ann"] / 2);
}
