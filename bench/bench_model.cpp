// SPDX-License-Identifier: Apache-2.0
#include "model/Exam.h"

#include <QFile>
#include <QFileInfo>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <malloc.h>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Packages = 10'000;
constexpr size_t HeaderRead = 4096;

QString bigExam;
std::vector<std::string> packages;

size_t HeapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// One load of a large exam into a new object; "held" is what the object keeps
// of the heap for each byte of the file.
void LoadExam(benchmark::State &state)
{
    size_t held = 0;
    for (auto _ : state) {
        const size_t before = HeapInUse();
        std::optional<Exam> exam(std::in_place);
        exam->Load(bigExam);
        state.PauseTiming();
        held = HeapInUse() - before;
        exam.reset();
        state.ResumeTiming();
    }
    state.counters["held"] = static_cast<double>(held) / static_cast<double>(QFileInfo(bigExam).size());
}
BENCHMARK(LoadExam)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// The catalogue's look into every package, as the main window takes it.
void LoadHeaders(benchmark::State &state)
{
    for (auto _ : state) {
        for (const std::string &path : packages) {
            Exam exam;
            exam.LoadHeader(QString::fromStdString(path));
            benchmark::DoNotOptimize(exam.Code().constData());
        }
    }
}
BENCHMARK(LoadHeaders)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// The least that a look into a file costs.
void ReadHeaders(benchmark::State &state)
{
    char bytes[HeaderRead];
    for (auto _ : state) {
        for (const std::string &path : packages) {
            const int descriptor = open(path.c_str(), O_RDONLY);
            if (read(descriptor, bytes, sizeof bytes) != static_cast<ssize_t>(sizeof bytes))
                std::abort();
            close(descriptor);
            benchmark::DoNotOptimize(bytes);
        }
    }
}
BENCHMARK(ReadHeaders)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}

// bench_model [--benchmark_...] BIG.exam PACKAGE.exam FOLDER: the second file
// is installed 10,000 times below the folder.
int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (argc != 4) {
        std::fprintf(stderr, "usage: bench_model [--benchmark_...] BIG.exam PACKAGE.exam FOLDER\n");
        return EXIT_FAILURE;
    }
    bigExam = QFile::decodeName(argv[1]);
    for (int i = 0; i < Packages; ++i) {
        const std::string name = "EX-" + std::to_string(i);
        const std::filesystem::path folder = std::filesystem::path(argv[3]) / name;
        if (std::filesystem::create_directories(folder))
            std::filesystem::copy_file(argv[2], folder / (name + ".exam"));
        packages.push_back(folder / (name + ".exam"));
    }
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
