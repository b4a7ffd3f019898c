// SPDX-License-Identifier: Apache-2.0
// bench_start EMPTY_WINDOW PACKAGE.exam FOLDER: how long the program takes from
// its start to the rows of 1,000 installed packages being on the screen, and what
// it then holds in memory, beside the first frame of an empty window. Needs an X
// display with nothing else on it; the two programs start in turns.
//
// Both end by the same rule, read from the screen after each change of it: dots of
// one colour are there, that of the rows' texts, which nothing else in the main
// window has and which fills the empty window.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <xcb/damage.h>
#include <xcb/xcb.h>

namespace {

constexpr int Packages = 1000;
constexpr int Rounds = 25;
constexpr int Patience = 20000; // milliseconds
constexpr uint32_t Sought = 0x404040; // as red, green and blue
constexpr int LeastDots = 50; // of a few letters
// The part of the screen that is read, in pixels: beside the middle of the window's
// left edge, where some rows are.
constexpr xcb_rectangle_t Looked{ 20, 120, 300, 200 };

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

// The screen, and when it changes.
class Screen {
public:
    Screen()
        : m_display(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_display))
            Fail("no X display");
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_display)).data->root;
        const xcb_query_extension_reply_t *damage = xcb_get_extension_data(m_display, &xcb_damage_id);
        if (!damage || !damage->present)
            Fail("the X display does not say when it changes");
        std::free(xcb_damage_query_version_reply(m_display, xcb_damage_query_version(m_display, 1, 1), nullptr));
        m_damage = xcb_generate_id(m_display);
        xcb_damage_create(m_display, m_damage, m_root, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    }
    ~Screen() { xcb_disconnect(m_display); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    void WaitUntil(bool areSoughtDotsThere)
    {
        while ((SoughtDots() >= LeastDots) != areSoughtDotsThere) {
            pollfd ready{ xcb_get_file_descriptor(m_display), POLLIN, 0 };
            while (!TakeEvents()) {
                if (poll(&ready, 1, Patience) <= 0)
                    Fail("the screen does not become what it should");
            }
        }
    }

private:
    // Whether there were any; they are asked for again.
    bool TakeEvents()
    {
        bool hasChanged = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(m_display)) {
            std::free(event);
            hasChanged = true;
        }
        if (hasChanged)
            xcb_damage_subtract(m_display, m_damage, XCB_NONE, XCB_NONE);
        return hasChanged;
    }

    int SoughtDots()
    {
        xcb_get_image_reply_t *image = xcb_get_image_reply(m_display,
                                                           xcb_get_image(m_display, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, Looked.x,
                                                                         Looked.y, Looked.width, Looked.height, ~uint32_t(0)),
                                                           nullptr);
        if (!image)
            Fail("the screen cannot be read");
        const auto *dots = reinterpret_cast<const uint32_t *>(xcb_get_image_data(image));
        const int count = static_cast<int>(std::count_if(dots, dots + xcb_get_image_data_length(image) / 4,
                                                         [](uint32_t dot) { return (dot & 0xFFFFFF) == Sought; }));
        std::free(image);
        return count;
    }

    xcb_connection_t *m_display;
    xcb_window_t m_root = 0;
    xcb_damage_damage_t m_damage = 0;
};

Start Run(const QByteArray &program, Screen &screen, const char *argument = nullptr)
{
    screen.WaitUntil(false);
    char *arguments[] = { const_cast<char *>(program.constData()), const_cast<char *>(argument), nullptr };
    pid_t process = 0;
    const auto begin = std::chrono::steady_clock::now();
    if (posix_spawn(&process, program.constData(), nullptr, nullptr, arguments, environ) != 0)
        Fail("cannot start a program");
    screen.WaitUntil(true);
    Start start;
    start.Milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    start.Megabytes = SettledResident(process);
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    return start;
}

double Median(const std::vector<Start> &starts, double Start::*value)
{
    std::vector<double> values;
    for (const Start &start : starts)
        values.push_back(start.*value);
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// FIGURE|RATIO OF EACH ROUND|LIMIT|UNIT
void Print(const char *figure, const char *limit, const std::vector<Start> &floors, const std::vector<Start> &texts,
           const std::vector<Start> &mine, double Start::*value)
{
    std::printf(figure, Median(mine, value), Median(floors, value), Median(texts, value));
    for (size_t round = 0; round < mine.size(); ++round)
        std::printf("%c%.3f", round == 0 ? '|' : ' ', mine[round].*value / (floors[round].*value));
    std::printf("|%s|x\n", limit);
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

    Screen screen;
    const QByteArray empty = argv[1];
    const QByteArray program = QByteArray(argv[0]).left(QByteArray(argv[0]).lastIndexOf('/') + 1) + "practorium";
    std::vector<Start> floors;
    std::vector<Start> texts;
    std::vector<Start> mine;
    Run(empty, screen);
    Run(program, screen);
    for (int round = 0; round < Rounds; ++round) {
        floors.push_back(Run(empty, screen));
        texts.push_back(Run(empty, screen, "text"));
        mine.push_back(Run(program, screen));
    }
    Print("start to the list of 1,000 packages (%.0f ms, %.0f; %.0f with lines of text), to an empty window", "1.35", floors,
          texts, mine, &Start::Milliseconds);
    Print("its resident memory (%.0f MB, %.0f; %.0f with lines of text), to an empty window's", "1.25", floors, texts, mine,
          &Start::Megabytes);
    return 0;
}
