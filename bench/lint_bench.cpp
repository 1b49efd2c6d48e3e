// rq7 lint of generated SoCs against the load of the same file alone, and
// lint of ten times the blocks against one time.
//
//   lint_bench      google-benchmark table: BM_Lint/64 against BM_Load/64 is
//                   the cost over loading (want at most 1.5 times), BM_Lint/640
//                   against BM_Lint/64 the growth with ten times the blocks
//                   (want at most 11 times).
#include "common/src/ConfigurationLoader.h"
#include "rq7/Lint.h"
#include "tools/socgen/SocGen.h"

#include <benchmark/benchmark.h>

#include <boost/filesystem.hpp>

#include <chrono>
#include <fstream>
#include <iostream>
#include <map>
#include <streambuf>

namespace {

std::string fileFor(unsigned cores) {
    static std::map<unsigned, std::string> files;
    auto found = files.find(cores);
    if (found != files.end()) return found->second;
    const boost::filesystem::path dir =
        boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("rq7-lint-bench-%%%%");
    boost::filesystem::create_directories(dir);
    const std::string path = (dir / ("soc" + std::to_string(cores) + ".xml")).string();
    std::ofstream(path, std::ios::binary) << socgen::generatedSoc(cores);
    return files[cores] = path;
}

// The loader logs nothing for these files; lint keeps module lines off stdout itself.
void BM_Load(benchmark::State& state) {
    const std::string path = fileFor(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(quorl::loadConfiguration(path));
    state.counters["cores"] = static_cast<double>(state.range(0));
}

void BM_Lint(benchmark::State& state) {
    const std::string path = fileFor(static_cast<unsigned>(state.range(0)));
    std::size_t findings = 0;
    for (auto _ : state) findings = rq7::lintConfiguration(path).findings.size();
    state.counters["cores"] = static_cast<double>(state.range(0));
    state.counters["findings"] = static_cast<double>(findings);
}

BENCHMARK(BM_Load)->Arg(64)->Arg(640)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_Lint)->Arg(64)->Arg(640)->Unit(benchmark::kMillisecond)->MinTime(1.0);

}  // namespace

BENCHMARK_MAIN();
