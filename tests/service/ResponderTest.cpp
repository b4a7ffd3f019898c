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
    std::string Ask(const QByteArray &request, const QString &address = u"home"_s)
    {
        return m_responder.Answer(request, address).toStdString();
    }
    QByteArray LogIn(const QByteArray &user = "ann")
    {
        return SessionIn(QByteArray::fromStdString(Ask("LOGIN?email=" + user + SentPass)));
    }
};

}

TEST_F(ResponderTest, EveryMessageHasItsAnswer)
{
    const QByteArray session =
        "ERROR?code=401&description=You are not logged on, or not any more. Please start again.;";
    const QByteArray invalid = "ERROR?code=400&description=Invalid message;";
    const QByteArray failed = "LOGIN?status=FAILED;";
    const QByteArray unknown = "ERROR?code=404&description=The service does not know this command.;";
    const auto missing = [](const QByteArray &name) {
        return "ERROR?code=422&description=The parameter \"" + name + "\" is missing.;";
    };
    const std::vector<std::pair<QByteArray, QByteArray>> rows = {
        { "LIST?sid={ann};", "LIST?status=OK&data=101,102;" },
        { "LIST?SID={ann}&more=x;rest", "LIST?status=OK&data=101,102;" },
        { "LIST?sid={new};", "LIST?status=OK&data=;" },
        { "LIST;", missing("sid") }, { "LIST?;", missing("sid") }, { "LIST?id={ann};", missing("sid") },
        { "LIST?sid=;", session }, { "LIST?sid={ann}x;", session }, { "LIST?sid='%20OR%201%3D1;", session },
        { "REPORT?sid={ann}&list=101,102&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=101,102&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=999,101,101,,102,103,&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=&time=" + QByteArray(4'096, 'x') + ';', "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=101&time=" + QByteArray(4'094, 'x') + ';', "ERROR?code=413&description=The report is too long.;" },
        { "REPORT?sid={ann}&list=101;", missing("time") }, { "REPORT?sid={ann}&time=x;", missing("list") },
        { "REPORT?list=101&time=x;", missing("sid") }, { "REPORT?sid=7&list=101&time=x;", session },
        { "LOGIN?email=ann&pwd=wrong;", failed }, { "LOGIN?email=a\n\"\\\x85 \xE9" + QByteArray(200, 'x') + "&pwd=x;", failed },
        { "LOGIN?email=&pwd=;", failed }, { "LOGIN?email=ann;", missing("pwd") },
        { "LOGIN?pwd=x;", missing("email") }, { "LOGIN;", missing("email") },
        { "login?email=ann&pwd=x;", unknown }, { "ERROR?description=x;", unknown }, { ";", unknown },
        { "?a=1;", unknown }, { "STATUS;", unknown }, { QByteArray("LI\0ST;", 6), unknown },
        { "", invalid }, { "LIST?sid={ann}", invalid }, { QByteArray(65'536, '\xFF'), invalid },
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
    EXPECT_EQ(m_store.Reports()[0].Exams, u"101,102"_s);
    EXPECT_EQ(m_store.Reports()[0].Time, u"21.11.2026 05:56:00"_s);
    EXPECT_EQ(m_store.Reports()[0].Email, u"ann"_s);
    EXPECT_EQ(m_log, (QStringList{ u"login failed: \"ann\" from home"_s,
                                   u"login failed: \"a\\u000a\\\"\\\\… é%1…\" from home"_s.arg(QString(93, u'x')),
                                   u"login failed: \"\" from home"_s }));
}

TEST_F(ResponderTest, ASessionEndsAndARunningServiceSeesChanges)
{
    const QByteArray sid = LogIn();
    const QString session = QString::fromLatin1(sid);
    using Access = Responder::Access;
    m_store.Revoke(u"ann"_s, { u"101"_s });
    m_store.Grant(u"ann"_s, { u"103"_s });
    EXPECT_EQ(Ask("LIST?sid=" + sid + ';'), "LIST?status=OK&data=102,103;");
    EXPECT_EQ(m_responder.Admit(session, u"103"_s).Answer, Access::Granted);
    EXPECT_EQ(m_responder.Admit(session, u"101"_s).Answer, Access::NotBought);
    EXPECT_EQ(m_responder.Admit(u"x"_s, u"103"_s).Answer, Access::NoSession);
    // A user ID's number may come back.
    const QByteArray gone = LogIn("new");
    const qint64 number = m_store.Find(u"new"_s)->User;
    m_store.RemoveUser(u"NEW"_s);
    m_store.AddUser(u"eve"_s, Password::Hash(Pass, Password::LeastCost));
    EXPECT_EQ(m_store.Find(u"eve"_s)->User, number);
    m_store.SetPassword(u"ann"_s, Password::Hash(Pass, Password::LeastCost));
    const QByteArray idle = LogIn();
    EXPECT_EQ(Ask("LIST?sid=" + idle + ';'), "LIST?status=OK&data=102,103;");
    m_clock.Advance(30min);
    for (const QByteArray &ended : { sid, gone, idle }) {
        EXPECT_TRUE(Ask("LIST?sid=" + ended + ';').starts_with("ERROR?code=401&"));
        EXPECT_EQ(m_responder.Admit(QString::fromLatin1(ended), u"103"_s).Answer, Access::NoSession);
    }
}

TEST_F(ResponderTest, AGuesserWaitsAndNobodyElse)
{
    const QByteArray sid = LogIn("new");
    const std::string wait =
        "ERROR?code=429&description=There were too many failed attempts. Please try again in 2 seconds.;";
    for (const QByteArray user : { "ann", "nobody" }) {
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(Ask("LOGIN?email=" + user + "&pwd=x;", QString::fromLatin1(user)), "LOGIN?status=FAILED;");
        // Not even with the right password, and no different for one who is not there.
        for (const QString &address : { QString::fromLatin1(user), u"home"_s })
            EXPECT_EQ(Ask("LOGIN?email=" + user.toUpper() + SentPass, address), wait);
    }
    EXPECT_EQ(Ask("LIST?sid=" + sid + ';', u"ann"_s), "LIST?status=OK&data=;");
    LogIn("new");
    m_clock.Advance(2s);
    LogIn("ann");
    LogIn("ann");
}

TEST_F(ResponderTest, AnUnknownUserTakesAsLong)
{
    const auto fastest = [this](const QByteArray &user) {
        qint64 best = std::numeric_limits<qint64>::max();
        for (int i = 0; i < 4; ++i) {
            QElapsedTimer timer;
            timer.start();
            EXPECT_EQ(Ask("LOGIN?email=" + user + "&pwd=wrong;"), "LOGIN?status=FAILED;");
            best = std::min(best, timer.nsecsElapsed());
        }
        return best;
    };
    const qint64 known = fastest("ann");
    EXPECT_GT(fastest("nobody"), known / 2);
}
