// SPDX-License-Identifier: Apache-2.0
// bench_download ENDPOINT USER-ID PASSWORD: fetches the account's first pack
// with the download window from a service on this machine. Prints how fast that
// was (MB/s, from the press of Start), how soon the window answered meanwhile
// (ms, 99th percentile) and by how much its memory grew (MB).

#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "download/Credentials.h"
#include "download/view/frmExamDownloader.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::chrono::milliseconds AskEvery{ 2 };
constexpr double Megabyte = 1e6;

[[noreturn]] void Fail(const QString &what)
{
    std::fprintf(stderr, "bench_download: %s\n", qPrintable(what));
    std::_Exit(1);
}

// No box belongs to a download that succeeds.
class NoBoxes : public MessagePort {
public:
    MessageAnswer Show(const QString &text, MessageStyle) override { Fail(text); }
};

double Resident()
{
    QFile status(u"/proc/self/statm"_s);
    if (!status.open(QIODevice::ReadOnly))
        Fail(u"no memory to look at"_s);
    return status.readAll().split(' ').at(1).toDouble() * 4096 / Megabyte;
}

// Asks the window something again and again from another thread, one question
// at a time, and notes how long each answer took.
class Asker {
public:
    explicit Asker(QObject *window)
        : m_window(window)
        , m_thread([this] { Ask(); })
    {
    }
    ~Asker() { Stop(); }
    Asker(const Asker &) = delete;
    Asker &operator=(const Asker &) = delete;

    void Stop()
    {
        m_goesOn = false;
        // A question that is still on its way is answered here; it may have been
        // asked just now.
        while (!m_hasStopped)
            QCoreApplication::sendPostedEvents(m_window);
        if (m_thread.joinable())
            m_thread.join();
    }
    // Milliseconds. After Stop.
    double Percentile99()
    {
        if (m_waits.size() < 100)
            Fail(u"too few answers to tell"_s);
        const auto rank = m_waits.begin() + static_cast<ptrdiff_t>(m_waits.size() * 99 / 100);
        std::nth_element(m_waits.begin(), rank, m_waits.end());
        return *rank;
    }
    double MostMemory() const { return m_mostMemory; }

private:
    void Ask()
    {
        while (m_goesOn) {
            std::atomic<bool> hasAnswered = false;
            QElapsedTimer wait;
            wait.start();
            QMetaObject::invokeMethod(
                m_window, [&] { hasAnswered = true; }, Qt::QueuedConnection);
            while (!hasAnswered)
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            m_waits.push_back(static_cast<double>(wait.nsecsElapsed()) / 1e6);
            m_mostMemory = std::max(m_mostMemory, Resident());
            std::this_thread::sleep_for(AskEvery);
        }
        m_hasStopped = true;
    }

    QObject *m_window;
    std::atomic<bool> m_goesOn = true;
    std::atomic<bool> m_hasStopped = false;
    std::vector<double> m_waits;
    double m_mostMemory = 0;
    std::thread m_thread;
};

}

int main(int argc, char **argv)
{
    if (argc != 4)
        Fail(u"usage: bench_download ENDPOINT USER-ID PASSWORD"_s);
    QApplication application(argc, argv);
    QApplication::setApplicationName(ApplicationTitle);
    Theme::Apply(application);
    NoBoxes boxes;
    SetMessagePort(&boxes);
    Registry::WriteValue(ServiceKey, Credentials::EndpointName, QFile::decodeName(argv[1]), Registry::Text,
                         Registry::CurrentUser);

    frmExamDownloader window(nullptr);
    window.show();
    window.findChild<QLineEdit *>(u"txtEmail"_s)->setText(QFile::decodeName(argv[2]));
    window.findChild<QLineEdit *>(u"txtPassword"_s)->setText(QFile::decodeName(argv[3]));
    // What a window has to load once is not the download's.
    window.grab();
    QCoreApplication::processEvents();

    Asker asker(&window);
    const double before = Resident();
    QElapsedTimer time;
    time.start();
    QObject::connect(&window, &frmExamDownloader::Installing, &window, [&](const QString &examID) {
        const double seconds = static_cast<double>(time.nsecsElapsed()) / 1e9;
        const qint64 size = QFileInfo(QDir::tempPath() + u'/' + examID + u".exe"_s).size();
        asker.Stop();
        std::printf("%.1f %.2f %.2f\n", static_cast<double>(size) / Megabyte / seconds, asker.Percentile99(),
                    asker.MostMemory() - before);
        std::fflush(nullptr);
        std::_Exit(0);
    });
    window.findChild<QPushButton *>(u"cmdAction"_s)->click();
    return QApplication::exec();
}
