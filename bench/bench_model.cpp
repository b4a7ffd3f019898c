// SPDX-License-Identifier: Apache-2.0
#include "model/Exam.h"

#include <QFile>
#include <QFileInfo>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <optional>

namespace {

QString bigExam;

size_t HeapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// One load of a large exam into a new object, and into memory that the program has yet
// to get from the system; "held" is what the object keeps of the heap for each byte of
// the file.
void LoadExam(benchmark::State &state)
{
    size_t held = 0;
    for (auto _ : state) {
        state.PauseTiming();
        malloc_trim(0);
        const size_t before = HeapInUse();
        state.ResumeTiming();
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

// The same, and every text of it once, as whoever prints or checks a whole exam.
void LoadExamAndTexts(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        malloc_trim(0);
        state.ResumeTiming();
        std::optional<Exam> exam(std::in_place);
        exam->Load(bigExam);
        qint64 characters = 0;
        for (const auto &question : exam->Questions())
            characters += question->Characters();
        benchmark::DoNotOptimize(characters);
        state.PauseTiming();
        exam.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(LoadExamAndTexts)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}

// bench_model [--benchmark_...] BIG.exam
int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_model [--benchmark_...] BIG.exam\n");
        return EXIT_FAILURE;
    }
    bigExam = QFile::decodeName(argv[1]);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
