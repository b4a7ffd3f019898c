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
    for (const double nothing : { 0.0, 0.9, -5.0 })
        EXPECT_EQ(labels(nothing), u"NA|NA|NA"_s) << nothing;
    EXPECT_EQ(labels(102'400), u"100.00 KB|100 KB|100 KB/s"_s);
    // Only the number of decimals changes at the limits.
    EXPECT_FALSE(DownloadText::Received(1'022'975).contains(u'.'));
    EXPECT_TRUE(DownloadText::Received(1'022'976).contains(u'.'));
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
    EXPECT_GT(DownloadText::NextSimulated(0.9985F), 0.999F) << "up to the end";
    EXPECT_EQ(DownloadText::NextSimulated(1.0F), 0.5F);
}

namespace {

class NightClock : public Clock {
public:
    QDateTime Now() const override { return { { 2026, 3, 21 }, QTime::fromMSecsSinceStartOfDay(Milliseconds) }; }
    std::chrono::milliseconds Elapsed() const override { return std::chrono::milliseconds(Milliseconds); }
    mutable int Milliseconds = 40'000'000;
};

class DownloaderTest : public testing::Test {
protected:
    DownloaderTest()
    {
        Getter.Initialize(&Line);
        QObject::connect(&Getter, &Downloader::DownloadStarted, &Getter, [this] { Events.append(u"started"_s); });
        QObject::connect(&Getter, &Downloader::ChunkDownloaded, &Getter, [this] {
            Events.append(QString::number(Getter.Downloaded()));
            if (AtChunk)
                AtChunk();
        });
        QObject::connect(&Getter, &Downloader::DownloadComplete, &Getter, [this] { Events.append(u"complete"_s); });
        QObject::connect(&Getter, &Downloader::DownloadFailed, &Getter, [this](const QString &text) { Events.append(text); });
        QObject::connect(&Getter, &Downloader::Raised, &Getter,
                         [this](const Error &error) { Events.append(error.Description()); });
    }
    // Into a new file each time, because a system may keep the one before.
    QString Fetch(const QString &folder = Sandbox::Path(u""_s), const QString &name = u"x%1.exe"_s)
    {
        static int count = 0;
        Events.clear();
        Getter.GetFile(u"http://server/packs/101.exe"_s, folder, name.isEmpty() ? name : name.arg(++count));
        const auto isOver = [this] {
            return !QStringList{ u"started"_s, u"1024"_s, u"2048"_s, u"2500"_s }.contains(Events.last());
        };
        EXPECT_TRUE(QTest::qWaitFor(isOver));
        return Events.join(u'|');
    }

    QStringList Events;
    Reply Answer = Reply::Whole(QByteArray(2500, 'x'));
    std::function<void()> AtChunk;
    NightClock Night;
    Transfer Line{ std::make_unique<ScriptedTransport>([this](const QString &) { return Answer; }) };
    Downloader Getter{ Night };
};

}

TEST_F(DownloaderTest, Files)
{
    EXPECT_EQ(Fetch({ Sandbox::Path(u""_s) }, u""_s), u"started|1024|2048|2500|complete"_s);
    EXPECT_EQ(Getter.FileName(), u"101.exe"_s) << "the one of the address";
    EXPECT_EQ(Getter.FileSize(), 2500);
    EXPECT_TRUE(Getter.IsComplete());
    Getter.Cancel();
    EXPECT_TRUE(Getter.IsComplete()) << "there is nothing to cancel";
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"101.exe"_s)), QByteArray(2500, 'x'));
    EXPECT_EQ(QFileInfo(Getter.TargetFile()).isExecutable(), System::RunsByName) << "before it is known to be complete";

    EXPECT_EQ(Fetch(u""_s), u"started|There is no folder for the file"_s);
    EXPECT_FALSE(Getter.IsComplete());
    EXPECT_TRUE(QDir().entryList({ u"x*.exe"_s }).isEmpty());

    Answer = Answer.With("content-length", "2000");
    EXPECT_EQ(Fetch(), u"started|1024|2000|2000|complete"_s) << "never more than announced";
    EXPECT_FALSE(Getter.IsComplete());

    Answer = Reply::Whole(QByteArray(2500, 'x'));
    AtChunk = [this] { Getter.Cancel(); };
    EXPECT_EQ(Fetch(), u"started|1024|complete"_s) << "also after a cancel";
    EXPECT_FALSE(Getter.IsComplete());
    EXPECT_EQ(Sandbox::ReadFile(Getter.TargetFile()).size(), 1024) << "what was written";
    EXPECT_FALSE(Line.StillExecuting());

    AtChunk = [this] { Night.Milliseconds += 600; };
    Fetch();
    EXPECT_EQ(Getter.TransferRate(), 2500 + 2500 + 1024 + 2048) << "all since the meter began";
    AtChunk = [] { throw std::bad_alloc(); };
    EXPECT_EQ(Fetch(), u"started|1024|Out of memory"_s) << "raised by whoever listens";
}

// Pressed while a fast server sends: the events are seen to every few milliseconds.
TEST_F(DownloaderTest, EventsMeanwhile)
{
    Answer = Reply::Whole(QByteArray(1'000'000, 'x'));
    int chunks = 0;
    AtChunk = [&] {
        if (++chunks == 1)
            QMetaObject::invokeMethod(
                &Getter, [this] { Getter.Cancel(); }, Qt::QueuedConnection);
        Night.Milliseconds += 2;
    };
    Getter.GetFile(u"http://server/x"_s, Sandbox::Path(u""_s), u"fast"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return Events.last() == "complete"_L1; }));
    EXPECT_EQ(chunks, 3) << "of two milliseconds each";
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
