// SPDX-License-Identifier: Apache-2.0
#include "download/DownloadRun.h"

#include "download/DownloadText.h"
#include "tests/download/RunFixture.h"

#include <QRegularExpression>

namespace {

class DownloadRunTest : public RunTest {
protected:
    void List(const QByteArray &exams) { On("LIST?", Reply::Whole("LIST?status=OK&data=" + exams + ';')); }
    // Each request for a pack gets the next answer, if there are any, and all others the last one.
    Reply Serve(const QString &request) override
    {
        const Reply usual = RunTest::Serve(request);
        if (AtRequest)
            AtRequest(request);
        if (!request.startsWith(u"GET"_s) || PackAnswers.isEmpty())
            return usual;
        return PackAnswers.size() > 1 ? PackAnswers.takeFirst() : PackAnswers.first();
    }
    void InstallationStarts(const QString &examID) override
    {
        RunTest::InstallationStarts(examID);
        Ran = Sandbox::ReadFile(TempFile(examID + u".exe"_s));
    }
    QList<Reply> PackAnswers;
    std::function<void(const QString &request)> AtRequest;
    QByteArray Ran; // the pack that was
};

const QString Connecting = u"running|status Connecting to Practorium Download Server|POST LOGIN?email=me&pwd=pw;|"_s;

QString Failure(const QString &code, const QString &text)
{
    const QString advice = u"Unable to perform this operation. Make sure you are connected to Internet."_s;
    return u"box 16 Error (0x%1) %2\r\n%3|ended"_s.arg(code, text, advice);
}

}

TEST_F(DownloadRunTest, WholeRun)
{
    List(" 101,102 ");
    const QByteArray pack = FakePack::Bytes(300'000);
    On("eid=101", Reply::Whole(pack));
    On("eid=102", Reply::Whole("no program"));
    const QString time = DownloadText::GeneralDate(Now.Now(), QLocale::system());
    EXPECT_EQ(WholeRun(),
              Connecting
                  + u"status Checking for available downloads|POST LIST?sid=7;"
                    "|GET http://server/x.asp?sid=7&eid=101|status Downloading: 101.exe|status Installing: 101|install 101"
                    "|GET http://server/x.asp?sid=7&eid=102|status Downloading: 102.exe|status Installing: 102|install 102"
                    "|box 16 Installation of 102 failed. Click OK to continue."
                    "|status Performing post-installation tasks|POST REPORT?sid=7&list=101&time=%1;|status Completed|ended"_s
                        .arg(time));
    EXPECT_EQ(FakePack::Runs(), 1);
    EXPECT_EQ(QDir(TempFile(u""_s)).entryList(QDir::Files), QStringList{ u"102.exe"_s }) << "what was installed is deleted";
    EXPECT_TRUE(Counts.contains(std::pair(double(pack.size()), double(pack.size()))));
    EXPECT_GT(Counts.size(), 5) << "the labels move";
    EXPECT_LT(Counts.size(), pack.size() / 1024 / 10) << "but not with every chunk";
    EXPECT_TRUE(WaitFor([this] { return Log.last() == "close"_L1; })) << "by itself";

    // Another try in the same window knows nothing of the one before.
    On("REPORT?", Reply::Whole("LOGIN?status=NO;"));
    EXPECT_TRUE(WholeRun().endsWith(u"|ended|idle|to user ID|status Authentication failed!"_s));
    AnswerRightly();
    On("LOGIN?", Reply::Whole("LIST?status=OK&data=102;"));
    On("eid=102", Reply::Whole("no program"));
    Log.clear();
    Press();
    EXPECT_TRUE(WaitFor([this] { return LastState == u"ended"_s; }));
    EXPECT_TRUE(Log.contains(u"GET http://server/x.asp?sid=&eid=102"_s));
    EXPECT_TRUE(Log.contains(u"POST REPORT?sid=&list=&time=%1;"_s.arg(time)));
}

TEST_F(DownloadRunTest, Replies)
{
    const Reply refused = Reply::Whole("LOGIN?status=NO;");
    const auto whole = [](const QByteArray &body) { return Reply::Whole(body); };
    const QString wrong = u"box 16 Cannot continue because the User ID or password is incorrect|ended|idle|to user ID"
                          "|status Authentication failed!"_s;
    const QString trouble
        = u"ended|status Error communicating to server|box 16 Cannot continue because there seems to be a problem "
          "with your internet connection or Practorium's PackCourier Service. If the problem persists, please "
          "contact Practorium support."_s;
    const struct {
        const char *Name;
        Reply Answer; // to the first message
        QString Lines;
    } rows[] = {
        { "refused", refused, wrong },
        { "no parameters", whole("LOGIN;"), wrong },
        { "error", whole("ERROR?code=3&description=No {CRLF}luck;"), u"ended|box 16 No \r\nluck|close"_s },
        { "nothing bought", whole("LIST?status=OK&data=  ;"),
          u"box 16 You do not have any exams available for download|ended|close"_s },
        { "no semicolon", whole("LOGIN?status=OK"), trouble },
        { "a mebibyte", whole("LOGIN?x=" + QByteArray((1 << 20) - 9, 'x') + ';'), wrong },
        { "a byte more", whole("LOGIN?x=" + QByteArray((1 << 20) - 8, 'x') + ';'), trouble },
        { "not found", Reply::Whole("", 404), Failure(u"194"_s, u"reason"_s) },
        { "encoded", refused.With("content-encoding", " GZIP"), Failure(u"C8"_s, u"The server sends its answer encoded"_s) },
        { "as it is", refused.With("content-encoding", "Identity"), wrong },
        { "silence in the body", refused.Until({ .Byte = 5, .IsSilent = true }),
          Failure(u"1C"_s, u"The server does not go on"_s) },
        { "broken in the body", refused.Until({ .Byte = 15, .Result = 18 }), trouble },
    };
    for (const auto &row : rows) {
        AnswerRightly();
        On("LOGIN?", row.Answer);
        EXPECT_EQ(WholeRun().remove(Connecting), row.Lines) << row.Name;
    }
    AnswerRightly();
    // The run waits; the candidate can still end it.
    for (const char *ignored : { "", ";", "HELLO?status=OK;", "login?status=OK&sid=7;", "LIST?data=101;", "LIST?status=NO;" }) {
        On("LOGIN?", Reply::Whole(ignored));
        Log.clear();
        Open();
        Press();
        EXPECT_TRUE(WaitFor([&] { return Log.last() == "full"_L1; })) << ignored;
        EXPECT_EQ(LastState, u"running"_s) << ignored;
        Press();
        EXPECT_TRUE(Log.join(u'|').endsWith(u"full|ended|close"_s)) << ignored;
    }
}

TEST_F(DownloadRunTest, Lists)
{
    Install(*NewExam({ u"102"_s }), u"Old"_s);
    Install(*NewExam({ u"103"_s }), u"Older"_s);
    const QString question = u" is already installed on this computer. Do you want to overwrite the existing exam?"_s;
    const struct {
        const char *Data;
        MessageAnswer Choice;
        QString Lines; // without the question, the address and the time
    } rows[] = {
        { " 101,,104,", AnswerYes, u"GET 101|GET |GET 104|GET |POST REPORT?sid=7&list=101,,104,"_s },
        { "102,102", AnswerYes, u"box 36 Exam 102|GET 102|box 36 Exam 102|GET 102|POST REPORT?sid=7&list=102,102"_s },
        { "102,103", AnswerNo, u"box 36 Exam 102|box 36 Exam 103"_s },
        { "103,101", AnswerNo, u"box 36 Exam 103|GET 101|POST REPORT?sid=7&list=101"_s },
        // The last one declined: no report, though another was installed.
        { "101,102", AnswerNo, u"GET 101|box 36 Exam 102"_s },
    };
    for (const auto &row : rows) {
        List(row.Data);
        Choice = row.Choice;
        QString log = WholeRun().remove(question).remove(u"http://server/x.asp?sid=7&eid="_s);
        log.remove(QRegularExpression(u"&time=[^|]*"_s));
        const QStringList lines = log.split(u'|').filter(QRegularExpression(u"GET|box|REPORT|Completed"_s));
        EXPECT_EQ(lines.join(u'|'), row.Lines + u"|status Completed"_s) << row.Data;
    }
    List("102" + QByteArray(",102").repeated(2999));
    EXPECT_EQ(WholeRun().count(u"box 36"_s), 3000) << "none inside the other";
}

// A pack of which anything is missing or odd is never run. The run goes on to its
// report, or ends when the transfer itself has failed.
TEST_F(DownloadRunTest, Packs)
{
    // More than what waits in memory for the disk.
    const QByteArray bytes = FakePack::Bytes(600'000);
    const Reply whole = Reply::Whole(bytes);
    const auto announced = [&](const QByteArray &length) { return whole.With("content-length", length); };
    const QString installed = u"run, installed, "_s;
    const QString partial = u"stays, The pack did not come whole"_s;
    const struct {
        const char *Name;
        Reply Answer;
        QString Outcome;
    } rows[] = {
        { "whole", whole, installed },
        { "longer than announced", announced(QByteArray::number(bytes.size() - 1)), partial },
        { "shorter by one", announced(QByteArray::number(bytes.size() + 1)), partial },
        { "32 bits", announced("2147483647"), partial },
        { "beyond 32 bits", announced("2147483648"), u"Overflow"_s },
        { "negative", announced("-1"), u"Overflow"_s },
        { "no length", Reply{ bytes }, u"Type mismatch"_s },
        { "blanks around", announced(' ' + QByteArray::number(bytes.size()) + ' '), installed },
        { "empty", Reply::Whole(""), u"stays, Unable to execute command"_s },
        { "part", Reply::Whole(bytes, 206), u"The server does not send a file"_s },
        { "chunked", whole.With("transfer-encoding", "chunked"), u"The server sends the file encoded"_s },
        { "packed", whole.With("content-encoding", "gzip"), u"The server sends the file encoded"_s },
        { "moved and found", Reply::Whole("", 307).With("location", "/y?moved"), installed },
        { "cut, with all its bytes", whole.Until({ .Byte = -1, .Result = 56 }), u"stays, result 56"_s },
        { "not found", Reply::Whole(bytes, 404), Failure(u"194"_s, u"reason"_s) },
        { "silence behind the body", whole.Until({ .Byte = -1, .IsSilent = true }),
          u"stays, "_s + Failure(u"1C"_s, u"The server does not go on"_s) },
    };
    for (const auto &row : rows) {
        AnswerRightly();
        On("moved", whole);
        On("eid=", row.Answer);
        QFile::remove(TempFile(u"101.exe"_s));
        const QString outcome = Outcome();
        EXPECT_TRUE(outcome.startsWith(row.Outcome)) << row.Name << ": " << outcome.toStdString();
    }
    const QString outside = TempFile(u"../out.exe"_s);
    Sandbox::WriteFile(outside, "mine");
    List("../out");
    EXPECT_TRUE(Outcome().contains(u"The name of the file leads out of its folder"_s));
    EXPECT_EQ(Sandbox::ReadFile(outside), "mine");
}

// A pack that breaks off goes on where it was, as long as the server leaves no doubt that what
// comes is the rest of the same version. What is run is one version from its first byte to its last.
TEST_F(DownloadRunTest, PacksThatBreakOff)
{
    const QByteArray pack = FakePack::Bytes(600'000), other = FakePack::Bytes(700'000), tag = "\"1\"";
    const qsizetype at = 400'000;
    const auto whole = [&](const QByteArray &bytes, const QByteArray &name) { return Reply::Whole(bytes).With("etag", name); };
    const auto until = [](const Reply &reply, qsizetype byte) { return reply.Until({ .Byte = byte, .Result = 18 }); };
    const auto range = [&](qsizetype from, qsizetype size) {
        return "bytes " + QByteArray::number(from) + '-' + QByteArray::number(size - 1) + '/' + QByteArray::number(size);
    };
    const auto rest = [&](qsizetype from) {
        return Reply::Whole(pack.mid(from), 206).With("etag", tag).With("content-range", range(from, pack.size()));
    };
    QByteArray toEnd = range(at, pack.size());
    const QByteArray last = QByteArray::number(pack.size() - 1);
    const Reply broken = until(whole(pack, tag), at), unreachable = Reply{}.Until({ .Event = 0, .Result = 7 });
    const Reply next = whole(other, "\"2\"");
    // Says that its bytes are others than those which were asked for.
    const auto wrong = [&](const QByteArray &name, const QByteArray &value) { return rest(at).With(name, value); };
    const QString installed = u"run, installed, "_s, refused = u"stays, result 18"_s;
    const struct {
        const char *Name;
        QList<Reply> Answers; // the last one again and again
        QString Outcome;
        int Requests;
        int Wholes = 1; // of them, for the whole pack
    } rows[] = {
        { "the rest", { broken, rest(at) }, installed, 2 },
        { "before its first byte", { until(broken, 0), rest(0) }, installed, 2 },
        { "again in the rest", { broken, until(rest(at), 100'000), rest(at + 100'000) }, installed, 3 },
        { "small steps",
          { until(broken, 0), until(rest(0), 30'000), until(rest(30'000), 40'000), until(rest(70'000), 9), unreachable,
            rest(70'009) },
          installed,
          6 },
        { "away for a while", { broken, unreachable, Reply::Whole("", 503), rest(at) }, installed, 4 },
        { "away for longer", { broken, unreachable }, refused, 4 },
        { "never a byte", { broken, until(rest(at), 0) }, refused, 4 },
        { "a byte at a time",
          { broken, until(rest(at), 1), until(rest(at + 1), 1), until(rest(at + 2), 1), rest(at + 3) },
          refused,
          4 },
        { "more behind the rest", { broken, wrong("content-length", "999999") }, refused, 4, 3 },
        { "from elsewhere", { broken, wrong("content-range", range(at - 1, pack.size())), next }, installed, 3, 2 },
        { "not to the end",
          { broken, wrong("content-range", toEnd.replace('-' + last, '-' + QByteArray::number(pack.size() - 2))) },
          refused,
          4,
          3 },
        { "of a smaller file", { broken, wrong("content-range", range(at, pack.size() - 1)), next }, installed, 3, 2 },
        { "no range", { broken, wrong("content-range", "") }, refused, 4, 3 },
        { "of another version", { broken, wrong("etag", "\"2\""), next }, installed, 3, 2 },
        { "of a version without a name", { broken, wrong("etag", "") }, refused, 4, 3 },
        { "packed", { broken, wrong("content-encoding", "gzip") }, refused, 4, 3 },
        { "chunked", { broken, wrong("transfer-encoding", "chunked") }, refused, 4, 3 },
        { "a part of the whole", { broken, wrong("etag", ""), rest(0) }, refused, 4, 3 },
        { "not to be had", { broken, Reply::Whole("", 416), next }, installed, 3, 2 },
        { "another version", { broken, next }, installed, 2 },
        { "another version, smaller", { until(next, 500'000), until(whole(pack, tag), at), rest(at) }, installed, 3 },
        { "always from the start", { broken }, refused, 4 },
        { "another version, cut", { broken, until(next.With("etag", ""), 690'000) }, refused, 2 },
        { "a page instead", { broken, Reply{ "<html>" } }, u"stays, Type mismatch"_s, 2 },
        { "moved", { To("/y"), broken, To("/z", 303), rest(at) }, installed, 4, 2 },
        { "moved away", { broken, To("ftp://server/") }, refused, 4 },
        { "weak", { until(whole(pack, "W/" + tag), at), rest(at) }, refused, 1 },
        { "two names", { until(whole(pack, tag + ", " + tag), at), rest(at) }, refused, 1 },
        { "a name without an end", { until(whole(pack, "\""), at), rest(at) }, refused, 1 },
        { "no ranges", { broken.With("accept-ranges", "None"), rest(at) }, refused, 1 },
        { "silent, then the rest", { broken.Until({ .Byte = at, .IsSilent = true }), rest(at) }, installed, 2 },
        { "silent",
          { broken.Until({ .Byte = at, .IsSilent = true }), unreachable },
          u"stays, "_s + Failure(u"1C"_s, u"The server does not go on"_s) + u", "_s,
          4 },
    };
    for (const auto &row : rows) {
        AnswerRightly();
        Timeout = 200; // of which only the rows of a silent server make use
        PackAnswers = row.Answers;
        QFile::remove(TempFile(u"101.exe"_s));
        EXPECT_EQ(Outcome(), row.Outcome) << row.Name;
        const QStringList requests = Log.filter(u"GET "_s);
        EXPECT_EQ(requests.size(), row.Requests) << row.Name;
        EXPECT_EQ(requests.size() - requests.filter(u" Range: "_s).size(), row.Wholes) << row.Name;
        EXPECT_TRUE(Ran.isEmpty() || Ran == pack || Ran == other) << row.Name;
        const auto isTooMuch = [](const auto &count) { return count.second > count.first; };
        EXPECT_TRUE(std::none_of(Counts.begin(), Counts.end(), isTooMuch)) << row.Name;
        Ran.clear();
    }
    EXPECT_EQ(Log.filter(u"GET "_s).last(), u"GET http://server/x.asp?sid=7&eid=101 Range: bytes=400000- If-Range: \"1\""_s);
    // A cancel while the rest is waited for is one.
    PackAnswers = { broken, Reply{}.Until({ .IsSilent = true }) };
    AtRequest = [this](const QString &request) {
        if (request.contains(u"Range"_s))
            QTimer::singleShot(0, Run.get(), [this] { Press(); });
    };
    EXPECT_TRUE(WholeRun().endsWith(u"If-Range: \"1\"|ended|close"_s));
    EXPECT_EQ(Sandbox::ReadFile(TempFile(u"101.exe"_s)).size(), at);
}

TEST_F(DownloadRunTest, WhileAPackArrives)
{
    // Pressed while a fast server sends: the events are seen to every few milliseconds.
    On("eid=", Reply::Whole(FakePack::Bytes(1'000'000)));
    AtUpdate = [this] {
        if (Counts.size() == 1)
            QTimer::singleShot(0, Run.get(), [this] { Press(); });
    };
    EXPECT_TRUE(WholeRun().endsWith(u"|status Downloading: 101.exe|ended|close"_s));
    EXPECT_EQ(Sandbox::ReadFile(TempFile(u"101.exe"_s)).size(), 3 * 1024) << "of two milliseconds each";
    // All since the meter began, less what closes its window.
    Now.Step = std::chrono::milliseconds(40);
    AtUpdate = [this] { Now.Time = Now.Time.addMSecs(600); };
    On("eid=", Reply::Whole(FakePack::Bytes(3000)));
    WholeRun();
    EXPECT_EQ(Rate, 2048);
    AtUpdate = [] { throw std::bad_alloc(); };
    EXPECT_TRUE(WholeRun().contains(u"|raised Out of memory|"_s));
}

TEST_F(DownloadRunTest, EntriesAndCredentials)
{
    const auto stored = [](const QString &name) {
        return Registry::ReadValue(Registry::CurrentUser, u"Software\\Practorum\\PackCourier"_s, name);
    };
    Open();
    Run->Press({ u"  "_s, u"pw"_s }, true);
    Run->Press({ u"me"_s, u" "_s }, true);
    EXPECT_EQ(Log.join(u'|'),
              u"warning Please enter your User ID.|to user ID|warning Please enter your password.|to password"_s);
    EXPECT_FALSE(stored(u"User ID"_s).isValid());

    const QString password = u" p\u00E4\u20AC\u0418;\"%\" "_s;
    Run->Press({ u" a&b "_s, password }, true);
    EXPECT_EQ(Log.last().section(u'?', 1), u"email=a%26b&pwd=p\u00E4\u0080?%3B\"%25\";"_s)
        << "in the code page, without the blanks";
    EXPECT_EQ(stored(u"User ID"_s), u" a&b "_s);
    EXPECT_EQ(stored(u"Password"_s).toByteArray().size(), password.size());
    EXPECT_FALSE(stored(u"Password"_s).toByteArray().contains("p\xE4"));
    EXPECT_EQ(Credentials::Load().Password, QString(password).replace(u'\u0418', u'?'));
    Run->Close(true);
    EXPECT_TRUE(stored(u"User ID"_s).isValid() && stored(u"Password"_s).isValid());
    Run->Close(false);
    EXPECT_FALSE(stored(u"User ID"_s).isValid() || stored(u"Password"_s).isValid());
}

TEST_F(DownloadRunTest, Settings)
{
    const auto point = [](const QString &url) {
        Registry::WriteValue(ServiceKey, u"Endpoint"_s, url, Registry::Text, Registry::CurrentUser);
    };
    point(u"nonsense"_s);
    EXPECT_EQ(WholeRun(),
              u"running|status Connecting to Practorium Download Server|box 16 Invalid procedure call or argument|ended"_s);
    point(u" "_s);
    EXPECT_EQ(Credentials::Endpoint(), QStringLiteral(PRACTORIUM_ENDPOINT)) << "the one that it was built with";
    if (System::RunsByName)
        return; // nothing keeps a user from writing to the registry
    // The exams matter more than what is remembered.
    const QString settings = QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME")) + u"/Practorium"_s;
    ASSERT_TRUE(QFile::rename(settings, settings + u"-aside"_s));
    Sandbox::WriteFile(settings, "no folder");
    Open();
    Run->Press({ u"me"_s, u"pw"_s }, true);
    EXPECT_TRUE(Log.filter(u"warning System Error: 0x14\r\n"_s).size() == 1 && LastState == "running"_L1);
    QFile::remove(settings);
    ASSERT_TRUE(QFile::rename(settings + u"-aside"_s, settings));
}
