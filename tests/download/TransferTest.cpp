// SPDX-License-Identifier: Apache-2.0
#include "download/Transfer.h"
#include "download/HttpExchange.h"

#include "tests/download/FaultServer.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSemaphore>
#include <QTest>
#include <QThread>
#include <QTimer>

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool KeepsFreedMemory = true;
#else
constexpr bool KeepsFreedMemory = false;
#endif

const QByteArray Fine = "HTTP/1.1 200 OK\r\n";
const QByteArray Chunked = Fine + "Transfer-Encoding: chunked\r\n\r\n";

// Milliseconds; a machine that does much else takes some for itself.
constexpr int Prompt = 50;

// The server on a thread of its own, so that what it does wakes nobody here.
class Elsewhere : public QThread {
public:
    explicit Elsewhere(const Answer &answer)
        : m_answer(answer)
    {
        start();
        m_isReady.acquire();
    }
    ~Elsewhere() override
    {
        quit();
        wait();
    }
    QString Url;

protected:
    void run() override
    {
        FaultServer server;
        server.On("GET", m_answer);
        Url = server.Url();
        m_isReady.release();
        exec();
    }

private:
    const Answer m_answer;
    QSemaphore m_isReady;
};

// One request from its start to its end or, after a while, to a cancel.
struct Course {
    QString End; // the code of a failure, or "cancelled"
    int LongestGap = 0; // milliseconds in which no other event was served
    qsizetype Received = 0; // bytes of the body
    double Memory = 0; // megabytes more than before
    qint64 Cancel = 0; // milliseconds that the cancel took

    Course(const QString &url, int headerTime, int cancelAfter, int silenceTime = 5000)
    {
        Transfer line{ std::make_unique<HttpTransport>() };
        line.SetTimeouts(5000, silenceTime, headerTime);
        QEventLoop loop;
        QElapsedTimer beat;
        QTimer often;
        const double before = System::ResidentMegabytes();
        const auto look = [&] {
            LongestGap = std::max(LongestGap, static_cast<int>(beat.restart()));
            Memory = std::max(Memory, System::ResidentMegabytes() - before);
        };
        QObject::connect(&often, &QTimer::timeout, &loop, look);
        QObject::connect(&line, &Transfer::StateChanged, &loop, [&](int state) {
            if (state == Transfer::Failed) {
                End = QString::number(line.ResponseCode());
                loop.quit();
            }
            // A reader who is slower than the server.
            while (state == Transfer::Completed) {
                const QByteArray chunk = line.GetChunk(256);
                if (chunk.isEmpty())
                    break;
                Received += chunk.size();
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            }
        });
        QTimer::singleShot(cancelAfter, &loop, [&] {
            QElapsedTimer timer;
            timer.start();
            line.Cancel();
            Cancel = timer.elapsed();
            End = u"cancelled"_s;
            loop.quit();
        });
        beat.start();
        often.start(1);
        line.Execute(url, "GET");
        loop.exec();
    }
};

}

// Ends soon, or as soon as it is cancelled; meanwhile the events go on and the
// memory does not fill up.
TEST(TransferTest, ServersWithoutAnEnd)
{
    const struct {
        const char *Name;
        Answer Reply;
        QString End;
        int HeaderTime = 5000;
        int CancelAfter = 10'000;
    } rows[] = {
        { "a header line", { Fine + "X: ", Answer::KeepsOpen, 0, "x" }, u"27"_s },
        { "header lines", { Fine, Answer::KeepsOpen, 0, "X: y\r\n" }, u"23"_s },
        { "two hundred headers",
          { "HTTP/1.1 302 Found\r\n" + QByteArray("Location: /\r\n").repeated(4000) + "\r\n" },
          u"23"_s },
        { "informational answers", { "", Answer::KeepsOpen, 0, "HTTP/1.1 100 Continue\r\n\r\n" }, u"23"_s },
        { "headers byte by byte", { Fine + "X: " + QByteArray(5000, 'x'), Answer::KeepsOpen, 2 }, u"28"_s, 300 },
        { "chunk size", { Chunked, Answer::KeepsOpen, 0, "0" }, u"56"_s },
        { "chunk extension", { Chunked + "5;", Answer::KeepsOpen, 0, "x" }, u"23"_s },
        { "trailers", { Chunked + "0\r\n", Answer::KeepsOpen, 0, "X: y\r\n" }, u"23"_s },
        { "a trailer", { Chunked + "0\r\nX: ", Answer::KeepsOpen, 0, "x" }, u"56"_s },
        { "body", { Fine + "\r\n", Answer::KeepsOpen, 0, "x" }, u"cancelled"_s, 5000, 300 },
        { "nothing", { "", Answer::KeepsOpen }, u"cancelled"_s, 5000, 300 },
    };
    for (const auto &row : rows) {
        const Elsewhere server(row.Reply);
        // A machine that does something else can make any one of them late.
        Course best(server.Url, row.HeaderTime, row.CancelAfter);
        EXPECT_EQ(best.End, row.End) << row.Name;
        double memory = best.Memory;
        for (int i = 0; i < 9 && std::max<qint64>(best.LongestGap, best.Cancel) >= Prompt; ++i) {
            best = Course(server.Url, row.HeaderTime, row.CancelAfter);
            memory = std::max(memory, best.Memory);
        }
        EXPECT_LT(best.LongestGap, Prompt) << row.Name;
        EXPECT_LT(best.Cancel, Prompt) << row.Name;
        EXPECT_TRUE(KeepsFreedMemory || memory < 8) << row.Name << ' ' << memory << " MB";
    }
}

// Each of them executed and read inside a posted event, in which this system's
// event loop does not see what is posted behind it.
TEST(TransferTest, ThousandsOfSmallReplies)
{
    const Elsewhere server(Answer::Whole("REPORT;"));
    Transfer line{ std::make_unique<HttpTransport>() };
    line.SetTimeouts(2000, 2000, 2000);
    int answered = 0;
    QEventLoop loop;
    const auto execute = [&] { line.Execute(server.Url, "GET"); };
    QObject::connect(&line, &Transfer::StateChanged, &loop, [&](int state) {
        if (state == Transfer::Requesting)
            return;
        EXPECT_EQ(state, Transfer::Completed) << line.ResponseInfo().toStdString();
        QByteArray body = line.GetChunk(4);
        body += line.GetChunk(1024);
        EXPECT_TRUE(line.GetChunk(1024).isEmpty());
        answered += body == "REPORT;";
        if (state == Transfer::Failed || answered == 3000)
            loop.quit();
        else
            QMetaObject::invokeMethod(&loop, execute, Qt::QueuedConnection);
    });
    QMetaObject::invokeMethod(&loop, execute, Qt::QueuedConnection);
    loop.exec();
    EXPECT_EQ(answered, 3000);
}

// While GetChunk waits, what was posted before it began is done, although it was
// itself called by such an event.
TEST(TransferTest, PostedBehind)
{
    const Elsewhere server({ Fine + "Content-Length: 9\r\n\r\nREPORT", Answer::KeepsOpen });
    Transfer line{ std::make_unique<HttpTransport>() };
    line.SetTimeouts(2000, 2000, 2000);
    QStringList order;
    QEventLoop loop;
    QObject::connect(&line, &Transfer::StateChanged, &loop, [&](int state) {
        if (state != Transfer::Completed)
            return;
        QTimer::singleShot(0, &loop, [&] {
            QMetaObject::invokeMethod(
                &loop,
                [&] {
                    EXPECT_EQ(line.GetChunk(1024), "REPORT");
                    EXPECT_EQ(line.GetChunk(1024), "");
                    order.append(u"read"_s);
                    loop.quit();
                },
                Qt::QueuedConnection);
            QMetaObject::invokeMethod(
                &loop,
                [&] {
                    order.append(u"cancelled"_s);
                    line.Cancel();
                },
                Qt::QueuedConnection);
        });
    });
    line.Execute(server.Url, "GET");
    loop.exec();
    EXPECT_EQ(order, QStringList({ u"cancelled"_s, u"read"_s }));
    EXPECT_EQ(line.ResponseCode(), 200) << "not silence";
}

TEST(TransferTest, SlowIsNotSilent)
{
    const Elsewhere server({ Fine + "\r\n" + QByteArray(60, 'x'), Answer::KeepsOpen, 25 });
    const Course course(server.Url, 5000, 10'000, 1000);
    EXPECT_EQ(course.Received, 60);
    EXPECT_EQ(course.End, u"28"_s) << "silent behind its last byte";
}

// What was on its way when the request was cancelled does not arrive.
TEST(TransferTest, NothingAfterCancel)
{
    const Elsewhere server(Answer::Whole("REPORT;"));
    Transfer line{ std::make_unique<HttpTransport>() };
    QList<int> states;
    QObject::connect(&line, &Transfer::StateChanged, &line, [&](int state) { states.append(state); });
    QObject::connect(&line, &Transfer::Advanced, &line, [&] {
        if (line.StillExecuting() && line.ResponseCode() == 200)
            line.Cancel();
    });
    line.Execute(server.Url, "GET");
    line.Cancel();
    QCoreApplication::processEvents();
    EXPECT_EQ(states, QList<int>());
    line.Execute(server.Url, "GET");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !line.StillExecuting(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(states, QList<int>{ Transfer::Requesting });
}

// The server waits again and again for a reader who is slower, and nothing is lost.
TEST(TransferTest, LongBody)
{
    QByteArray body(24 << 20, 'x');
    for (qsizetype i = 0; i < body.size(); i += 997)
        body[i] = static_cast<char>(i / 997);
    const Elsewhere server(Answer::Whole(body));
    Transfer line{ std::make_unique<HttpTransport>() };
    QByteArray read;
    QEventLoop loop;
    QObject::connect(&line, &Transfer::StateChanged, &loop, [&](int state) {
        for (QByteArray chunk; state == Transfer::Completed && !(chunk = line.GetChunk(32'768)).isEmpty();) {
            read += chunk;
            QCoreApplication::processEvents();
        }
        if (state != Transfer::Requesting)
            loop.quit();
    });
    line.Execute(server.Url, "GET");
    loop.exec();
    EXPECT_TRUE(read == body) << read.size();
    EXPECT_FALSE(line.StillExecuting());
}
