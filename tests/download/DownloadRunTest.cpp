// SPDX-License-Identifier: Apache-2.0
#include "download/DownloadRun.h"

#include "download/DownloadText.h"
#include "tests/download/RunFixture.h"

namespace {

class DownloadRunTest : public RunTest {
protected:
    QString Reporting(const QString &list) const
    {
        return u"|status Performing post-installation tasks|POST REPORT?sid=7&list=%1&time=%2;|status Completed|ended"_s.arg(
            list, DownloadText::GeneralDate(Now.Now(), QLocale::system()));
    }
    void List(const QByteArray &exams) { On("LIST?", Reply::Whole("LIST?status=OK&data=" + exams + ';')); }
};

const QString Connecting = u"running|status Connecting to Practorium Download Server|POST LOGIN?email=me&pwd=pw;"_s;
const QString Checking = u"|status Checking for available downloads|POST LIST?sid=7;"_s;
const QString Completed = u"|status Completed|ended"_s;

QString Failure(const QString &code, const QString &text)
{
    return u"box 16 Error (0x%1) %2\r\nUnable to perform this operation. Make sure you are connected to Internet."_s.arg(code,
                                                                                                                         text);
}
QString Fetching(const QString &exam)
{
    return u"|GET http://server/x.asp?sid=7&eid=%1|status Downloading: %1.exe"_s.arg(exam);
}
QString Installing(const QString &exam)
{
    return u"|status Installing: %1|install %1"_s.arg(exam);
}
QString Overwriting(const QString &exam)
{
    return u"|box 36 Exam %1 is already installed on this computer. Do you want to overwrite the existing exam?"_s.arg(exam);
}

}

TEST_F(DownloadRunTest, WholeRun)
{
    List(" 101,102,103 ");
    On("eid=102", Reply::Whole("no program"));
    const QByteArray pack = FakePack::Bytes(300'000);
    On("eid=103", Reply::Whole(pack));
    const QString failing
        = Fetching(u"102"_s) + Installing(u"102"_s) + u"|box 16 Installation of 102 failed. Click OK to continue."_s;
    EXPECT_EQ(WholeRun(),
              Connecting + Checking + Fetching(u"101"_s) + Installing(u"101"_s) + failing + Fetching(u"103"_s)
                  + Installing(u"103"_s) + Reporting(u"101,103"_s));
    EXPECT_EQ(FakePack::Runs(), 2);
    EXPECT_EQ(QDir(TempFile(u""_s)).entryList(QDir::Files), QStringList{ u"102.exe"_s }) << "what was installed is deleted";
    const auto end = std::pair(double(pack.size()), double(pack.size()));
    EXPECT_EQ(Counts.last(), end);
    EXPECT_GT(Counts.size(), 5) << "the labels move";
    EXPECT_LT(Counts.size(), pack.size() / 1024 / 10) << "but not with every chunk";

    // The next one knows nothing of it.
    List("102");
    EXPECT_EQ(WholeRun(), Connecting + Checking + failing + Reporting(u""_s));
}

TEST_F(DownloadRunTest, Replies)
{
    const QByteArray refusal = "LOGIN?status=NO;";
    const Reply refused = Reply::Whole(refusal);
    const auto whole = [](const QByteArray &body) { return Reply::Whole(body); };
    const auto failure = [](const QString &code, const QString &text) { return u'|' + Failure(code, text) + u"|ended"_s; };
    const QString wrong = u"|box 16 Cannot continue because the User ID or password is incorrect|ended|idle|to user ID"
                          "|status Authentication failed!"_s;
    const QString trouble
        = u"|ended|status Error communicating to server|box 16 Cannot continue because there seems to be a problem "
          "with your internet connection or Practorium's PackCourier Service. If the problem persists, please "
          "contact Practorium support."_s;
    const QString nothing = Checking + u"|box 16 You do not have any exams available for download|ended|close"_s;
    const struct {
        const char *Name, *To;
        Reply Answer;
        QString Lines;
    } rows[] = {
        { "refused", "LOGIN?", refused, wrong },
        { "no status", "LOGIN?", whole("LOGIN?sid=7;"), wrong },
        { "status in small letters", "LOGIN?", whole("LOGIN?status=ok&sid=7;"), wrong },
        { "no parameters", "LOGIN?", whole("LOGIN;"), wrong },
        { "error", "LOGIN?", whole("ERROR?code=3&description=No {CRLF}luck;"), u"|ended|box 16 No \r\nluck|close"_s },
        { "error later", "LIST?", whole("ERROR?description=a%3B;"), Checking + u"|ended|box 16 a;|close"_s },
        { "report at once", "LOGIN?", whole("REPORT;"), Completed },
        { "nothing bought", "LIST?", whole("LIST?status=OK&data=  ;"), nothing },
        { "no semicolon", "LOGIN?", whole("LOGIN?status=OK"), trouble },
        { "no message", "LIST?", whole("LIST?status;"), Checking + trouble },
        { "a mebibyte", "LOGIN?", whole("LOGIN?x=" + QByteArray((1 << 20) - 9, 'x') + ';'), wrong },
        { "a byte more", "LOGIN?", whole("LOGIN?x=" + QByteArray((1 << 20) - 8, 'x') + ';'), trouble },
        { "not found", "LOGIN?", Reply::Whole(refusal, 404), failure(u"194"_s, u"reason"_s) },
        { "encoded", "LOGIN?", refused.With("content-encoding", " GZIP"),
          failure(u"C8"_s, u"The server sends its answer encoded"_s) },
        { "as it is", "LOGIN?", refused.With("content-encoding", "Identity"), wrong },
        { "no connection", "LOGIN?", Reply{}.Until({ .Event = 0, .Result = 7 }), failure(u"7"_s, u"result 7"_s) },
        { "silence in the body", "LOGIN?", refused.Until({ .Byte = 5, .IsSilent = true }),
          failure(u"1C"_s, u"The server does not go on"_s) },
        { "broken in the body", "LOGIN?", refused.Until({ .Byte = 15, .Result = 18 }), trouble },
    };
    for (const auto &row : rows) {
        AnswerRightly();
        On(row.To, row.Answer);
        EXPECT_EQ(WholeRun(), Connecting + row.Lines) << row.Name;
    }
    AnswerRightly();
    On("LOGIN?", Reply::Whole("LOGIN?STATUS=OK;"));
    EXPECT_TRUE(WholeRun().contains(u"|POST LIST?sid=;"_s)) << "a number that is not there";

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
    const auto got = [](const QString &exam) { return Fetching(exam) + Installing(exam); };
    const struct {
        const char *Data;
        MessageAnswer Choice;
        QString Lines; // behind the list
    } rows[] = {
        { " 101,,104,", AnswerYes, got(u"101"_s) + got(u""_s) + got(u"104"_s) + got(u""_s) + Reporting(u"101,,104,"_s) },
        { "102,102", AnswerYes,
          Overwriting(u"102"_s) + got(u"102"_s) + Overwriting(u"102"_s) + got(u"102"_s) + Reporting(u"102,102"_s) },
        { "102,103", AnswerNo, Overwriting(u"102"_s) + Overwriting(u"103"_s) + Completed },
        { "103,101", AnswerNo, Overwriting(u"103"_s) + got(u"101"_s) + Reporting(u"101"_s) },
        // The last one declined: no report, though another was installed.
        { "101,102", AnswerNo, got(u"101"_s) + Overwriting(u"102"_s) + Completed },
    };
    for (const auto &row : rows) {
        List(row.Data);
        Choice = row.Choice;
        EXPECT_EQ(WholeRun(), Connecting + Checking + row.Lines) << row.Data;
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
    const QString installed = u"run, installed"_s;
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
        { "two lengths", announced("7, 7"), u"Type mismatch"_s },
        { "blanks around", announced(' ' + QByteArray::number(bytes.size()) + ' '), installed },
        { "empty", Reply::Whole(""), u"stays, Unable to execute command"_s },
        { "part", Reply::Whole(bytes, 206), u"The server does not send a file"_s },
        { "elsewhere, but not where", Reply::Whole(bytes, 302), u"The server does not send a file"_s },
        { "chunked", whole.With("transfer-encoding", "chunked"), u"The server sends the file encoded"_s },
        { "packed", whole.With("content-encoding", "gzip"), u"The server sends the file encoded"_s },
        { "moved and found", Reply::Whole("", 307).With("location", "/y?moved"), installed },
        { "cut, with all its bytes", whole.Until({ .Byte = -1, .Result = 56 }), u"stays, result 56"_s },
        { "cut before the body", whole.Until({ .Byte = 0, .Result = 56 }), u"stays, result 56"_s },
        { "not found", Reply::Whole(bytes, 404), Failure(u"194"_s, u"reason"_s) },
        { "silence", whole.Until({ .Event = 2, .IsSilent = true }), Failure(u"1C"_s, u"The server does not answer"_s) },
        { "silence behind the body", whole.Until({ .Byte = -1, .IsSilent = true }),
          u"stays, "_s + Failure(u"1C"_s, u"The server does not go on"_s) },
        { "too much", whole.Until({ .Byte = 500'000, .Result = 23, .IsRefused = true }),
          u"stays, "_s + Failure(u"17"_s, u"result 23"_s) },
        { "broken chunk", whole.Until({ .Byte = 500'000, .Result = 56, .IsInChunks = true }),
          u"stays, "_s + Failure(u"38"_s, u"result 56"_s) },
    };
    for (const auto &row : rows) {
        AnswerRightly();
        On("eid=", row.Answer);
        On("moved", whole);
        QFile::remove(TempFile(u"101.exe"_s));
        const QString outcome = Outcome();
        EXPECT_TRUE(outcome.startsWith(row.Outcome)) << row.Name << ": " << outcome.toStdString();
    }
    AnswerRightly();
    for (const char *exam : { "../out", "a/b", "/etc/out", ".." }) {
        List(exam);
        testing::internal::CaptureStderr();
        WholeRun();
        const std::string logged = testing::internal::GetCapturedStderr();
        const bool isName = qstrcmp(exam, "..") == 0; // "...exe" is one
        EXPECT_EQ(logged.find("leads out of its folder") == std::string::npos, isName) << exam;
        EXPECT_EQ(FakePack::Runs() == 1, isName) << exam;
    }
}

TEST_F(DownloadRunTest, EntriesAndCredentials)
{
    const auto stored = [](const QString &name) {
        return Registry::ReadValue(Registry::CurrentUser, u"Software\\Practorum\\PackCourier"_s, name);
    };
    On("LOGIN?", Reply::Whole("LOGIN?status=NO;"));
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
    EXPECT_EQ(Credentials::Load().UserID, u" a&b "_s);
    EXPECT_EQ(Credentials::Load().Password, QString(password).replace(u'\u0418', u'?'));
    ASSERT_TRUE(WaitFor([this] { return LastState == u"idle"_s; }));

    // Another try in the same window, and nothing is deleted before that closes.
    AnswerRightly();
    Press();
    ASSERT_TRUE(WaitFor([this] { return LastState == u"ended"_s; }));
    EXPECT_EQ(FakePack::Runs(), 1);
    Run->Close(true);
    EXPECT_TRUE(stored(u"User ID"_s).isValid() && stored(u"Password"_s).isValid());
    Run->Close(false);
    EXPECT_FALSE(stored(u"User ID"_s).isValid() || stored(u"Password"_s).isValid());
    EXPECT_EQ(Credentials::Load().UserID + Credentials::Load().Password, u""_s);
}

TEST_F(DownloadRunTest, Settings)
{
    const auto point = [](const QString &url) {
        Registry::WriteValue(Credentials::RegistryKey, u"Endpoint"_s, url, Registry::Text, Registry::CurrentUser);
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
