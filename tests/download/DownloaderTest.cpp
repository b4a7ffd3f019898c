// SPDX-License-Identifier: Apache-2.0
#include "download/Downloader.h"

#include "download/DownloadText.h"
#include "tests/download/ScriptedTransport.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QRegularExpression>
#include <QTest>

TEST(DownloadTextTest, Labels)
{
    const auto labels = [](double bytes) {
        return QStringList{ DownloadText::Total(bytes), DownloadText::Received(bytes), DownloadText::Rate(bytes) }.join(u'|');
    };
    const std::pair<double, QString> rows[] = {
        { 0.9, u"NA|NA|NA"_s },
        { 1, u"1 bytes|1 bytes|1 bytes/s"_s },
        { 102'400, u"100.00 KB|100 KB|100 KB/s"_s },
        // Only the number of decimals changes at the limits.
        { 1'022'975, u"999.00 KB|999 KB|999 KB/s"_s },
        { 1'022'976, u"999.00 KB|999.00 KB|999 KB/s"_s },
    };
    for (const auto &[bytes, text] : rows)
        EXPECT_EQ(labels(bytes), text) << bytes;
}

TEST(DownloadTextTest, GeneralDate)
{
    const QDateTime time({ 2026, 3, 21 }, { 20, 5, 9 });
    const std::pair<QString, QString> rows[] = {
        { u"en_US"_s, u"3/21/2026 8:05:09 PM"_s },
        { u"de_DE"_s, u"21.03.2026 20:05:09"_s },
        { u"sv_SE"_s, u"2026-03-21 20:05:09"_s },
    };
    for (const auto &[name, text] : rows)
        EXPECT_EQ(DownloadText::GeneralDate(time, QLocale(name)), text);
    static const QRegularExpression readable(u"^(?=.*2026)(?=.*\\b21\\b)[0-9./-]+ (20:05:09|8:05:09 PM)$"_s);
    for (const QLocale &locale : QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
        const QString text = DownloadText::GeneralDate(time, locale);
        EXPECT_TRUE(readable.match(text).hasMatch()) << locale.name().toStdString() << ' ' << text.toStdString();
    }
}

TEST(DownloadTextTest, Progress)
{
    const std::pair<double, double> rows[] = { { 0.509, 500 }, { 0.51, 510 }, { 0.49, 490 }, { 0.495, 500 }, { 200, 100'000 } };
    for (const auto &[fraction, width] : rows)
        EXPECT_EQ(DownloadText::BarWidth(1000, 500, fraction), width) << fraction;
    EXPECT_FLOAT_EQ(DownloadText::NextSimulated(0), 0.001F);
    EXPECT_GT(DownloadText::NextSimulated(0.9985F), 0.999F) << "up to the end";
    EXPECT_EQ(DownloadText::NextSimulated(1.0F), 0.5F);
}

TEST(DownloaderTest, Names)
{
    Transfer line(std::make_unique<ScriptedTransport>([](const QString &) { return Reply::Whole(QByteArray(2500, 'x')); }));
    Downloader getter;
    getter.Initialize(&line);
    QString failure;
    QObject::connect(&getter, &Downloader::DownloadFailed, &getter, [&](const QString &text) { failure = text; });
    const auto fetch = [&](const QString &folder) {
        getter.GetFile(u"http://server/packs/101.exe"_s, folder, u""_s);
        EXPECT_EQ(getter.FileSize() + getter.Downloaded(), 0);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !line.StillExecuting(); }));
        return getter.IsComplete();
    };
    EXPECT_TRUE(fetch(Sandbox::Path(u""_s)));
    EXPECT_EQ(getter.TargetFile(), Sandbox::Path(u"101.exe"_s)) << "the name of the address";
    EXPECT_EQ(Sandbox::ReadFile(getter.TargetFile()), QByteArray(2500, 'x'));
    EXPECT_EQ(QFileInfo(getter.TargetFile()).isExecutable(), System::RunsByName) << "before it is to be run";
    getter.Cancel();
    EXPECT_TRUE(getter.IsComplete()) << "there is nothing to cancel";
    EXPECT_FALSE(fetch(u""_s));
    EXPECT_EQ(failure, u"There is no folder for the file"_s);
}

TEST(DownloaderTest, Rate)
{
    // A fresh one: no announced size, so nothing counts as downloaded.
    Downloader getter;
    const std::tuple<double, qint32, qint32> rows[] = {
        { 100.0, 1000, 0 },    { 100.5, 1000, 0 },  { 100.99, 500, 0 },
        { 101.0, 9000, 2500 }, // closes the window and counts in none
        { 101.5, 300, 2500 },  { 105.0, 7, 300 },   { 86'399.5, 50, 300 }, // the window before midnight
        { 0.5, 60, 300 },      { 80'000, 70, 300 }, { 86'400.5, 1, 180 },
        { 0, 10, 180 }, // midnight itself leaves no window open
        { 5, 20, 180 },        { 6, 1, 30 },
    };
    for (const auto &[now, bytes, rate] : rows) {
        getter.Account(bytes, now);
        EXPECT_EQ(getter.TransferRate(), rate) << now;
        EXPECT_EQ(getter.Downloaded(), 0) << "clamped to the announced size";
    }
}
