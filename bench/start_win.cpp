// SPDX-License-Identifier: Apache-2.0
// bench_start EMPTY_WINDOW PACKAGE.exam: how long the program takes from its
// start to its main window being on the screen with 1,000 packages installed,
// and what it then holds in memory, beside an empty window. The two programs
// start in turns. Fills the exams folder of the system that it runs in.

#include "model/Globals.h"

#include <QDir>
#include <QFile>
#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <windows.h>

#include <psapi.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Packages = 1000;
constexpr int Rounds = 15;
constexpr DWORD Patience = 20000; // milliseconds

struct Start {
    double Milliseconds = 0;
    double Megabytes = 0;
};

[[noreturn]] void Fail(const char *what)
{
    std::fprintf(stderr, "bench_start: %s\n", what);
    std::exit(1);
}

struct Search {
    DWORD Process;
    bool IsFound;
};

BOOL CALLBACK Look(HWND window, LPARAM parameter)
{
    auto *search = reinterpret_cast<Search *>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    RECT place = {};
    GetWindowRect(window, &place);
    // Helpers of the library's own have no size.
    search->IsFound = process == search->Process && IsWindowVisible(window) && place.right - place.left > 100;
    return !search->IsFound;
}

Start Run(const QString &program)
{
    std::wstring line = (u'"' + QDir::toNativeSeparators(program) + u'"').toStdWString();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    const auto begin = std::chrono::steady_clock::now();
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        Fail("cannot start a program");
    Search search{ process.dwProcessId, false };
    for (const DWORD since = GetTickCount(); !search.IsFound; Sleep(1)) {
        EnumWindows(Look, reinterpret_cast<LPARAM>(&search));
        if (GetTickCount() - since > Patience)
            Fail("no window came up");
    }
    Start start;
    start.Milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    // Until it has nothing to do any more and no longer grows.
    WaitForInputIdle(process.hProcess, Patience);
    SIZE_T before = 0;
    for (int calm = 0; calm < 5; ++calm) {
        Sleep(40);
        PROCESS_MEMORY_COUNTERS counters = {};
        GetProcessMemoryInfo(process.hProcess, &counters, sizeof counters);
        if (counters.WorkingSetSize != before)
            calm = 0;
        before = counters.WorkingSetSize;
    }
    start.Megabytes = static_cast<double>(before) / 0x100000;
    TerminateProcess(process.hProcess, 0);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
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
    if (argc != 3)
        Fail("usage: bench_start EMPTY_WINDOW PACKAGE.exam");
    for (int i = 0; i < Packages; ++i) {
        const QString name = u"PACK-%1"_s.arg(i);
        const QString folder = Globals::ExamsFolder() + u'\\' + name;
        if (!QDir().mkpath(folder) || !QFile::copy(QFile::decodeName(argv[2]), folder + u'\\' + name + u".exam"_s))
            Fail("cannot install a package");
    }
    const QString empty = QFile::decodeName(argv[1]);
    const QString program = QFile::decodeName(argv[0]).section(u'\\', 0, -2) + u"\\practorium.exe"_s;
    Run(empty);
    Run(program);
    std::vector<double> times;
    std::vector<double> sizes;
    std::vector<double> milliseconds;
    std::vector<double> megabytes;
    for (int round = 0; round < Rounds; ++round) {
        const Start floor = Run(empty);
        const Start mine = Run(program);
        times.push_back(mine.Milliseconds / floor.Milliseconds);
        sizes.push_back(mine.Megabytes / floor.Megabytes);
        milliseconds.push_back(mine.Milliseconds);
        megabytes.push_back(mine.Megabytes);
    }
    std::printf("start with 1,000 packages (%.0f ms), to an empty window|%.3f|1.5|x\n", Median(milliseconds), Median(times));
    std::printf("its resident memory (%.0f MB), to an empty window's|%.3f|1.5|x\n", Median(megabytes), Median(sizes));
    return 0;
}
