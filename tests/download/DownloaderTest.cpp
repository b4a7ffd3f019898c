// SPDX-License-Identifier: Apache-2.0
#include "download/Downloader.h"

#include "download/DownloadText.h"
#include "download/HttpExchange.h"
#include "tests/download/FaultServer.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QRegularExpression>
#include <QTest>

TEST(DownloadTextTest, Labels)
{
    const struct {
        double Bytes;
        QString Total, Received, Rate;
    } rows[] = {
        { 0, u"NA"_s, u"NA"_s, u"NA"_s },
        { 0.9, u"NA"_s, u"NA"_s, u"NA"_s },
        { -5, u"NA"_s, u"NA"_s, u"NA"_s },
        { 102'400, u"100.00 KB"_s, u"100 KB"_s, u"100 KB/s"_s },
    };
    for (const auto &row : rows) {
        EXPECT_EQ(DownloadText::Total(row.Bytes), row.Total) << row.Bytes;
        EXPECT_EQ(DownloadText::Received(row.Bytes), row.Received) << row.Bytes;
        EXPECT_EQ(DownloadText::Rate(row.Bytes), row.Rate) << row.Bytes;
    }
    // Only the number of decimals changes at the limits.
    const auto hasDecimals = [](const QString &text) { return text.contains(u'.'); };
    EXPECT_FALSE(hasDecimals(DownloadText::Received(1'022'975)));
    EXPECT_TRUE(hasDecimals(DownloadText::Received(1'022'976)));
    EXPECT_EQ(DownloadText::Rate(99), u"99 bytes/s"_s);
}

TEST(DownloadTextTest, GeneralDate)
{
    const QDateTime time({ 2026, 3, 21 }, { 20, 5, 9 });
    const std::pair<QString, QString> rows[] = {
        { u"en_US"_s, u"3/21/2026 8:05:09 PM"_s }, { u"de_DE"_s, u"21.03.2026 20:05:09"_s },
        { u"sv_SE"_s, u"2026-03-21 20:05:09"_s },  { u"fa_IR"_s, u"2026/3/21 20:05:09"_s },
        { u"ar_EG"_s, u"21/3/2026 8:05:09 PM"_s }, { u"bn_BD"_s, u"21/3/2026 8:05:09 PM"_s },
    };
    for (const auto &[name, text] : rows)
        EXPECT_EQ(DownloadText::GeneralDate(time, QLocale(name)), text) << name.toStdString();
    static const QRegularExpression readable(u"^(?=.*2026)(?=.*\\b21\\b)[0-9./-]+ (20:05:09|8:05:09 PM)$"_s);
    for (const QLocale &locale : QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
        const QString text = DownloadText::GeneralDate(time, locale);
        EXPECT_TRUE(readable.match(text).hasMatch()) << locale.name().toStdString() << ' ' << text.toStdString();
    }
}

TEST(DownloadTextTest, Progress)
{
    struct Row {
        double Full, Width, Fraction, Result;
    };
    for (const Row &row : { Row{ 1000, 0, 0.5, 500 }, Row{ 1000, 500, 0.509, 500 }, Row{ 1000, 500, 0.51, 510 },
                            Row{ 1000, 500, 0.49, 490 }, Row{ 1000, 500, 0.495, 500 }, Row{ 10, 0, 200, 1000 } })
        EXPECT_EQ(DownloadText::BarWidth(row.Full, row.Width, row.Fraction), row.Result) << row.Fraction;
    EXPECT_FLOAT_EQ(DownloadText::NextSimulated(0), 0.001F);
    EXPECT_EQ(DownloadText::NextSimulated(1.0F), 0.5F);
    float fraction = 0;
    int ticks = 0;
    for (; fraction >= float(ticks) * 0.0005F; ++ticks)
        fraction = DownloadText::NextSimulated(fraction);
    EXPECT_NEAR(ticks, 1001, 2) << "falls back once the bar is full";
    EXPECT_EQ(fraction, 0.5F);
}

namespace {

class DownloaderTest : public testing::Test {
protected:
    DownloaderTest()
    {
        Getter.Initialize(&Line);
        QObject::connect(&Getter, &Downloader::ChunkDownloaded, &Getter, [this] { Counts.append(Getter.Downloaded()); });
        QObject::connect(&Getter, &Downloader::DownloadComplete, &Getter, [this] { ++Completed; });
        QObject::connect(&Getter, &Downloader::DownloadFailed, &Getter, [this] { ++Failed; });
    }
    QString Url(const QString &path) const { return Server.Url().replace(u"PackCourier.asp"_s, path); }
    bool Wait()
    {
        return QTest::qWaitFor([this] { return Completed + Failed > 0; }, 10'000);
    }

    QList<qint32> Counts;
    FaultServer Server;
    int Completed = 0;
    int Failed = 0;
    Transfer Line{ std::make_unique<HttpTransport>() };
    Downloader Getter;
};

}

TEST_F(DownloaderTest, ChunksAndName)
{
    Server.On("GET", Answer::Whole(QByteArray(2500, 'x')));
    int started = 0;
    QObject::connect(&Getter, &Downloader::DownloadStarted, &Getter, [&] { ++started; });
    Getter.GetFile(Url(u"packs/101.exe"_s), Sandbox::Path(u""_s), u""_s);
    EXPECT_EQ(started, 1);
    EXPECT_EQ(Getter.FileName(), u"101.exe"_s);
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Counts, (QList<qint32>{ 1024, 2048, 2500 }));
    EXPECT_EQ(Getter.FileSize(), 2500);
    EXPECT_TRUE(Getter.IsComplete());
    EXPECT_EQ(Sandbox::ReadFile(Getter.TargetFile()), QByteArray(2500, 'x'));
    EXPECT_EQ(QFileInfo(Getter.TargetFile()).isExecutable(), System::RunsByName) << "before it is known to be whole";
    EXPECT_FALSE(Line.StillExecuting());
}

TEST_F(DownloaderTest, CancelledInTheMiddle)
{
    Server.On("GET", Answer::Whole(QByteArray(5000, 'x')));
    QObject::connect(&Getter, &Downloader::ChunkDownloaded, &Getter, [this] { Getter.Cancel(); });
    Getter.GetFile(Url(u"x"_s), Sandbox::Path(u""_s), u"cancelled"_s);
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Completed, 1) << "also after a cancel";
    EXPECT_FALSE(Getter.IsComplete());
    EXPECT_EQ(Sandbox::ReadFile(Getter.TargetFile()).size(), 1024) << "what was written";
}

TEST_F(DownloaderTest, NoFolderForTheFile)
{
    Server.On("GET", Answer::Whole("x"));
    Getter.GetFile(Url(u"x"_s), u""_s, u"nowhere.exe"_s);
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Failed, 1);
    EXPECT_FALSE(Getter.IsComplete());
    EXPECT_FALSE(QFileInfo::exists(Getter.TargetFile()));
}

// What stands behind the "?" reaches the server as bytes of the code page, and
// nothing in it can end the request line.
TEST_F(DownloaderTest, AddressOnTheWire)
{
    Getter.GetFile(Url(u"p.asp?sid=a b&eid=\u00E9\u0416%3B\r\nX: y#z?\"{1}"_s), Sandbox::Path(u""_s), u"x"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !Server.Requests.isEmpty(); }));
    EXPECT_EQ(Server.Requests.first(), "GET /p.asp?sid=a%20b&eid=%E9?%3B%0D%0AX:%20y%23z?%22%7B1%7D HTTP/1.1\n");
    EXPECT_EQ(Server.LastHead.count("x:"), 1);
    EXPECT_FALSE(Server.LastHead.contains("gzip"));
}

TEST_F(DownloaderTest, Addresses)
{
    for (const QString &url : { u"file:///etc/passwd"_s, u"ftp://localhost/x"_s, u"data:,x"_s, u""_s, u"http://"_s, u"x"_s })
        EXPECT_EQ(ResultOf([&] { Line.Execute(url, "GET"); }), u"5 Transfer::Execute()"_s) << url.toStdString();
    EXPECT_FALSE(Line.StillExecuting());
    Line.Execute(Url(u"x"_s), "GET");
    EXPECT_EQ(ResultOf([&] { Line.Execute(Url(u"x"_s), "GET"); }), u"5 Transfer::Execute()"_s) << "one at a time";
}

TEST(DownloaderAccountTest, Rate)
{
    // A fresh one: no announced size, so nothing counts as downloaded.
    Downloader getter;
    const struct {
        double Now;
        qint32 Bytes, Rate;
    } rows[] = {
        { 100.0, 1000, 0 },    { 100.5, 1000, 0 },  { 100.99, 500, 0 },
        { 101.0, 9000, 2500 }, // closes the window and counts in none
        { 101.5, 300, 2500 },  { 105.0, 7, 300 },   { 86'399.5, 50, 300 }, // the window before midnight
        { 0.5, 60, 300 },      { 80'000, 70, 300 }, { 86'400.5, 1, 180 },
        { 0, 10, 180 }, // midnight itself leaves no window open
        { 5, 20, 180 },        { 6, 1, 30 },
    };
    for (const auto &row : rows) {
        getter.Account(row.Bytes, row.Now);
        EXPECT_EQ(getter.TransferRate(), row.Rate) << row.Now;
        EXPECT_EQ(getter.Downloaded(), 0) << "clamped to the announced size";
    }
}
