// SPDX-License-Identifier: Apache-2.0
// bench_start EMPTY_WINDOW PACKAGE.exam FOLDER: how long the program takes from
// its start to its main window being on the screen with 1,000 packages
// installed, and what it then holds in memory, beside an empty window. Needs an
// X display; the two programs start in turns.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace {

constexpr int Packages = 1000;
constexpr int Rounds = 15;
constexpr int Patience = 20000; // milliseconds

struct Start {
    double Milliseconds = 0;
    double Megabytes = 0;
};

[[noreturn]] void Fail(const char *what)
{
    std::fprintf(stderr, "bench_start: %s\n", what);
    std::exit(1);
}

double Resident(pid_t process)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        Fail("no process to look at");
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).simplified().split(' ').first().toDouble() / 1024;
    }
    Fail("no resident size");
}

// Until it no longer grows.
double SettledResident(pid_t process)
{
    double before = 0;
    double now = Resident(process);
    for (int calm = 0; calm < 5; ++calm) {
        QThread::msleep(40);
        before = now;
        now = Resident(process);
        if (now != before)
            calm = 0;
    }
    return now;
}

void WaitForWindow(xcb_connection_t *display)
{
    for (;;) {
        while (xcb_generic_event_t *event = xcb_poll_for_event(display)) {
            const bool shown = (event->response_type & 0x7F) == XCB_MAP_NOTIFY;
            std::free(event);
            if (shown)
                return;
        }
        pollfd ready{ xcb_get_file_descriptor(display), POLLIN, 0 };
        if (poll(&ready, 1, Patience) <= 0)
            Fail("no window came up");
    }
}

Start Run(const QByteArray &program, xcb_connection_t *display)
{
    while (xcb_generic_event_t *event = xcb_poll_for_event(display))
        std::free(event);
    char *arguments[] = { const_cast<char *>(program.constData()), nullptr };
    pid_t process = 0;
    const auto begin = std::chrono::steady_clock::now();
    if (posix_spawn(&process, program.constData(), nullptr, nullptr, arguments, environ) != 0)
        Fail("cannot start a program");
    WaitForWindow(display);
    Start start;
    start.Milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    start.Megabytes = SettledResident(process);
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    return start;
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

}

int main(int argc, char **argv)
{
    if (argc != 4)
        Fail("usage: bench_start EMPTY_WINDOW PACKAGE.exam FOLDER");
    const QString exams = QFile::decodeName(argv[3]) + QStringLiteral("/Practorium/Exams");
    for (int i = 0; i < Packages; ++i) {
        const QString name = QStringLiteral("PACK-%1").arg(i);
        QDir().mkpath(exams + u'/' + name);
        QFile::copy(QFile::decodeName(argv[2]), exams + u'/' + name + u'/' + name + QStringLiteral(".exam"));
    }
    for (const char *variable : { "HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR" })
        qputenv(variable, argv[3]);
    QFile::setPermissions(QFile::decodeName(argv[3]), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("QT_QPA_PLATFORM", "xcb");

    xcb_connection_t *display = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(display))
        Fail("no X display");
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(display)).data;
    const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(display, screen->root, XCB_CW_EVENT_MASK, &events);
    xcb_flush(display);

    const QByteArray empty = argv[1];
    const QByteArray program = QByteArray(argv[0]).left(QByteArray(argv[0]).lastIndexOf('/') + 1) + "practorium";
    Run(empty, display);
    Run(program, display);
    std::vector<double> times;
    std::vector<double> sizes;
    std::vector<double> milliseconds;
    std::vector<double> megabytes;
    for (int round = 0; round < Rounds; ++round) {
        const Start floor = Run(empty, display);
        const Start mine = Run(program, display);
        times.push_back(mine.Milliseconds / floor.Milliseconds);
        sizes.push_back(mine.Megabytes / floor.Megabytes);
        milliseconds.push_back(mine.Milliseconds);
        megabytes.push_back(mine.Megabytes);
    }
    std::printf("start with 1,000 packages (%.0f ms), to an empty window|%.3f|1.5|x\n", Median(milliseconds), Median(times));
    std::printf("its resident memory (%.0f MB), to an empty window's|%.3f|1.5|x\n", Median(megabytes), Median(sizes));
    xcb_disconnect(display);
    return 0;
}
