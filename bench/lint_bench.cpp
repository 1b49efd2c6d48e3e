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
#include "common/src/ConfigurationLoader.h"
#include "rq7/Lint.h"
#include "tools/socgen/SocGen.h"

#include <benchmark/benchmark.h>

#include <unistd.h>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

double cpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

std::string socFile(unsigned cores) {
    char pattern[] = "/tmp/rq7-lint-bench-XXXXXX";
    if (!mkdtemp(pattern)) throw std::runtime_error("mkdtemp");
    const std::string path = std::string(pattern) + "/soc.xml";
    std::ofstream(path, std::ios::binary) << socgen::generatedSoc(cores);
    return path;
}

double lintMs(const std::string& path) {
    const double start = cpuMs();
    const rq7::LintReport report = rq7::lintConfiguration(path);
    if (!report.loaded) throw std::runtime_error("lint could not load " + path);
    return cpuMs() - start;
}

void BM_LintAgainstLoad64(benchmark::State& state) {
    const std::string path = socFile(64);
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
    const std::string small = socFile(64), large = socFile(640);
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
