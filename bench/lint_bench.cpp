// rq7 lint of generated SoCs against loading the same file alone, in one
// process, and lint of ten times the blocks against one time.
//
// Times are CPU time of this thread, so that other work on a shared machine
// inflates neither side.
//
// Counters:
//   load_ms    loading the configuration file
//   lint_ms    lintConfiguration of the same file (findings included)
//   ratio      lint_ms / load_ms (goal for 64 cores: at most 1.5)
//   growth     (BM_LintGrowth) lint_ms of 640 cores / lint_ms of 64 cores (goal: at most 11)
#include "bench/SocBench.h"
#include "common/src/ConfigurationLoader.h"
#include "rq7/Lint.h"

#include <benchmark/benchmark.h>

#include <unistd.h>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

using rq7bench::cpuMs;
using rq7bench::writeSocFile;

double lintMs(const std::string& path) {
    const double start = cpuMs();
    const rq7::LintReport report = rq7::lintConfiguration(path);
    if (!report.loaded) throw std::runtime_error("lint could not load " + path);
    return cpuMs() - start;
}

void BM_LintAgainstLoad64(benchmark::State& state) {
    const std::string path = writeSocFile(64);
    double loadMs = 0, lint = 0;
    for (auto _ : state) {
        const double start = cpuMs();
        if (!quorl::loadConfiguration(path)) throw std::runtime_error("load failed");
        loadMs += cpuMs() - start;
        lint += lintMs(path);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["load_ms"] = loadMs / n;
    state.counters["lint_ms"] = lint / n;
    state.counters["ratio"] = lint / loadMs;
}
BENCHMARK(BM_LintAgainstLoad64)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_LintGrowth(benchmark::State& state) {
    const std::string small = writeSocFile(64), large = writeSocFile(640);
    double smallMs = 0, largeMs = 0;
    for (auto _ : state) {
        smallMs += lintMs(small);
        largeMs += lintMs(large);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["lint64_ms"] = smallMs / n;
    state.counters["lint640_ms"] = largeMs / n;
    state.counters["growth"] = largeMs / smallMs;
}
BENCHMARK(BM_LintGrowth)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
