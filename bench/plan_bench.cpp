// rq7 plan of a generated 64-core SoC against loading that file alone, in
// one process: the plan (load, modules, every access recorded, text written
// to memory) should cost at most 1.5 times the load.
//
// Times are CPU time of this thread, so that other work on a shared machine
// inflates neither side (wall-clock figures are noisy there).
//
// Counters:
//   load_ms    loading the configuration file
//   plan_ms    makePlan of the same file plus its text output
//   make_ms    the makePlan part alone (load, modules, recording)
//   accesses   register accesses in the plan
//   ratio      plan_ms / load_ms (goal: at most 1.5)
#include "bench/SocBench.h"
#include "common/src/ConfigurationLoader.h"
#include "rq7/Plan.h"
#include "rq7/PlanText.h"

#include <benchmark/benchmark.h>

#include <unistd.h>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using rq7bench::cpuMs;
using rq7bench::writeSocFile;

void BM_PlanAgainstLoad64(benchmark::State& state) {
    const std::string path = writeSocFile(64);
    double loadMs = 0, planMs = 0, makeMs = 0;
    size_t accesses = 0;
    for (auto _ : state) {
        // Loaded and freed again, as the plan's own copy is.
        double start = cpuMs();
        if (!quorl::loadConfiguration(path)) throw std::runtime_error("load failed");
        loadMs += (cpuMs() - start);

        start = cpuMs();
        const rq7::Plan plan = rq7::makePlan(path, rq7::PlanOptions());
        makeMs += cpuMs() - start;
        std::ostringstream text;
        rq7::printPlanText(text, plan.accesses);
        planMs += (cpuMs() - start);
        accesses = plan.accesses.size();
        benchmark::DoNotOptimize(text.str().size());
    }
    const double n = double(state.iterations());
    state.counters["load_ms"] = loadMs / n;
    state.counters["plan_ms"] = planMs / n;
    state.counters["make_ms"] = makeMs / n;
    state.counters["accesses"] = double(accesses);
    state.counters["ratio"] = planMs / loadMs;
    std::remove(path.c_str());
}
BENCHMARK(BM_PlanAgainstLoad64)->Unit(benchmark::kMillisecond)->Iterations(20);

}  // namespace

BENCHMARK_MAIN();
