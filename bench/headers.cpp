// SPDX-License-Identifier: Apache-2.0
// bench_headers PACKAGE.exam FOLDER: what LoadHeader of 10,000 packages takes to the
// least that a look into as many files takes: open, read 4 KB, close. In turns, first
// with the files in the memory of the system, then, another 1,000 in each round, with
// none of their bytes there; the folder has to be on a disk. The package is installed
// 10,000 times below the folder.

#include "model/Exam.h"

#include <QString>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <span>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int Packages = 10'000;
constexpr size_t HeaderRead = 4096;
constexpr int WarmRounds = 25;
constexpr int ColdRounds = 10;
constexpr int PackagesARound = Packages / ColdRounds;

struct Package {
    std::string Path;
    QString Name; // the same, as the program has it
};

std::vector<Package> Install(const std::filesystem::path &package, const std::filesystem::path &folder)
{
    std::vector<Package> packages;
    for (int i = 0; i < Packages; ++i) {
        const std::string name = "EX-" + std::to_string(i);
        const std::filesystem::path file = folder / name / (name + ".exam");
        if (std::filesystem::create_directories(file.parent_path()))
            std::filesystem::copy_file(package, file);
        packages.push_back({ file, QString::fromStdString(file) });
    }
    sync();
    return packages;
}

void LoadHeaders(std::span<const Package> packages)
{
    for (const Package &package : packages) {
        Exam exam;
        exam.LoadHeader(package.Name);
        if (exam.Code().isEmpty())
            std::abort();
    }
}

void ReadHeaders(std::span<const Package> packages)
{
    char bytes[HeaderRead];
    for (const Package &package : packages) {
        const int descriptor = open(package.Path.c_str(), O_RDONLY);
        if (read(descriptor, bytes, sizeof bytes) != static_cast<ssize_t>(sizeof bytes))
            std::abort();
        close(descriptor);
    }
}

void Forget(std::span<const Package> packages)
{
    for (const Package &package : packages) {
        const int descriptor = open(package.Path.c_str(), O_RDONLY);
        if (posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED) != 0)
            std::abort();
        close(descriptor);
    }
}

template <class Work> double Milliseconds(Work &&work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

// Which of the two comes first changes from round to round.
double Ratio(std::span<const Package> packages, int round, bool areCold)
{
    const auto measure = [&](auto look) {
        if (areCold)
            Forget(packages);
        return Milliseconds([&] { look(packages); });
    };
    double times[2];
    for (const int which : { round % 2, 1 - round % 2 })
        times[which] = which == 0 ? measure(ReadHeaders) : measure(LoadHeaders);
    return times[1] / times[0];
}

}

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_headers PACKAGE.exam FOLDER\n");
        return EXIT_FAILURE;
    }
    const std::vector<Package> packages = Install(argv[1], argv[2]);
    LoadHeaders(packages);
    std::printf("LoadHeader of 10,000 packages, to open, read, close|");
    for (int round = 0; round < WarmRounds; ++round)
        std::printf("%.3f ", Ratio(packages, round, false));
    std::printf("|1.15|x\nLoadHeader of 1,000 packages that are not in memory, to the same|");
    for (int round = 0; round < ColdRounds; ++round)
        std::printf("%.3f ", Ratio(std::span(packages).subspan(round * PackagesARound, PackagesARound), round, true));
    std::printf("|1.15|x\n");
    return EXIT_SUCCESS;
}
