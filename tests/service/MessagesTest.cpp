// SPDX-License-Identifier: Apache-2.0
#include "tests/service/ServiceFixture.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;

class MessagesTest : public DatabaseFixture { };
INSTANTIATE_TEST_SUITE_P(On, MessagesTest, BothKinds, testing::PrintToStringParamName());

TEST_P(MessagesTest, EveryMessageHasItsAnswer)
{
    const auto missing
        = [](auto name) { return QByteArray("ERROR?code=422&description=The parameter \"") + name + "\" is missing.;"; };
    const std::pair<QByteArray, QByteArray> rows[] = {
        { "LIST?sid={ann};", "LIST?status=OK&data=BIG,EMPTY;" },
        { "LIST?SID={new}&more=x;rest", "LIST?status=OK&data=;" },
        { "LIST;", missing("sid") },
        { "LIST?sid={ann}x;", "ERROR?code=401&description=You are not logged on, or not any more. Please start again.;" },
        { "REPORT?sid={ann}&list=BIG,EMPTY&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=999,BIG,BIG,,EMPTY,103,&time=21.11.2026 05:56:00;", "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=&time=" + QByteArray(4'096, 'x') + ';', "REPORT?status=OK;" },
        { "REPORT?sid={ann}&list=101&time=" + QByteArray(4'094, 'x') + ';',
          "ERROR?code=413&description=The report is too long.;" },
        { "REPORT?sid={ann}&list=101;", missing("time") },
        { "REPORT?sid={ann}&time=x;", missing("list") },
        { "LOGIN?email=ann&pwd=wrong;", "LOGIN?status=FAILED;" },
        { "LOGIN?email=a\n\"\\\x85 \xE9" + QByteArray(200, 'x') + "&pwd=x;", "LOGIN?status=FAILED;" },
        { "LOGIN?email=ann;", missing("pwd") },
        { "LOGIN?pwd=x;", missing("email") },
        { QByteArray("LI\0ST;", 6), "ERROR?code=404&description=The service does not know this command.;" },
        { QByteArray(65'536, '\xFF'), "ERROR?code=400&description=Invalid message;" },
        { "LIST?sid;", "ERROR?code=400&description=Error decoding parameters;" },
    };
    const QByteArray ann = StartedSession();
    const QByteArray newcomer = SessionAt(m_server->Endpoint(), OddAccount);
    for (auto [request, reply] : rows) {
        const std::string sent = request.left(100).toStdString();
        request.replace("{ann}", ann).replace("{new}", newcomer);
        // All but the check of a password is done at once.
        EXPECT_EQ(m_instance.Replies.AnswerAtOnce(request, u"here"_s).has_value(), !reply.startsWith("LOGIN")) << sent;
        EXPECT_EQ(Post(request).toStdString(), reply.toStdString()) << sent;
    }
    ASSERT_EQ(m_store.Reports().size(), 2u);
    const Store::ReportLine report = m_store.Reports()[0];
    EXPECT_EQ(report.Email + report.Exams + report.Time, u"annBIG,EMPTY21.11.2026 05:56:00"_s);
    for (int i = 2; i < Store::MostReportsADay; ++i)
        m_store.Record({ m_store.Find(u"ann"_s)->User, "x", QString::number(i), {} });
    EXPECT_EQ(Post("REPORT?sid=" + ann + "&list=&time=;"),
              "ERROR?code=429&description=There were too many reports in one day.;");
    const QString failed = u"event=login_failed user=\"%1\" from=127.0.0.1"_s;
    EXPECT_EQ(m_instance.Lines,
              (QStringList{ failed.arg(u"ann"_s), failed.arg(u"a\\u000a\\\"\\\\… é%1…"_s.arg(QString(93, u'x'))) }));
}

TEST_P(MessagesTest, ASessionEndsAndARunningServiceSeesChanges)
{
    const auto answers = [this](const QByteArray &session) {
        const QByteArray list = Post("LIST?sid=" + session + ';').first(15);
        return list + QByteArray::number(StatusOf(Exchange(GetOf(session, "103")))) + ' '
            + QByteArray::number(StatusOf(Exchange(GetOf(session, "BIG"))));
    };
    const QByteArray ended = "ERROR?code=401&403 403", open = "LIST?status=OK&404 403"; // without a pack, and without the exam
    const QByteArray sid = StartedSession();
    m_store.Revoke(u"ann"_s, { u"BIG"_s });
    m_store.Grant(u"ann"_s, { u"103"_s });
    EXPECT_EQ(answers(sid), open);
    Instance other(m_location, m_clock, Database::IfMissing::Refuse);
    EXPECT_EQ(other.Replies.AnswerAtOnce("LIST?sid=" + sid + ';', u"there"_s), "LIST?status=OK&data=EMPTY,103;");
    // SQLite uses the key of a removed user again for the next one.
    const QByteArray gone = SessionAt(m_server->Endpoint(), OddAccount);
    const qint64 key = m_store.Find(u"new"_s)->User;
    m_store.RemoveUser(u"NEW"_s);
    m_store.AddUser(u"eve"_s, Password::Hash(u"pass"_s, Password::LeastCost));
    EXPECT_EQ(m_store.Find(u"eve"_s)->User == key, GetParam() == DatabaseKind::Sqlite);
    m_store.SetPassword(u"ann"_s, Password::Hash(u"pass"_s, Password::LeastCost));
    EXPECT_EQ(answers(sid) + answers(gone), ended + ended);
    EXPECT_TRUE(other.Replies.AnswerAtOnce("LIST?sid=" + sid + ';', u"there"_s)->startsWith("ERROR?code=401&"));
    const QByteArray idle = SessionAt(m_server->Endpoint());
    EXPECT_EQ(answers(idle), open);
    m_clock.Advance(30min);
    EXPECT_EQ(answers(idle), ended);
}

TEST_P(MessagesTest, AGuesserWaitsAndNobodyElse)
{
    m_store.SetPassword(u"ann"_s, Password::Hash(u"pass"_s)); // as it is kept really
    StartedSession();
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
    EXPECT_GT(fastest["nobody"], fastest["ann"] / 4) << "the time shows who is there";
    EXPECT_EQ(SessionAt(m_server->Endpoint(), OddAccount).size(), 64);
    m_clock.Advance(2s);
    EXPECT_EQ(SessionAt(m_server->Endpoint()).size(), 64);
}
