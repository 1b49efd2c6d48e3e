// Configuration files: load (binding and tree) and save (populate, marshal,
// safe replace) of generated documents, to show that both scale with the
// size of the document, and the same bytes through libxml2 as a baseline.
//
//   config_bench --benchmark_filter=wide    one block with N attributes
//   config_bench --benchmark_filter=blocks  N top-level blocks
//   config_bench --benchmark_filter=mixed   the 10 MiB document of xrt_bench
// Counters: MB/s of the input text. Peak memory: the --once mode below.
#include "bench/config_document.h"
#include "common/src/ConfigurationLoader.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/ka.common.xml.h"
#include "xrt/xml_writer.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace {

// One attribute element of each kind in turn, so every binding class is used.
std::string attribute(size_t i) {
    const std::string name = "<Name>attr " + std::to_string(i) + "</Name>";
    switch (i % 8) {
        case 0:
            return "<StringAttribute>" + name + "<DefaultValue>text &amp; more</DefaultValue></StringAttribute>";
        case 1:
            return "<UInt32Attribute>" + name +
                   "<DefaultValue>45000</DefaultValue><UInt32Range><MinValue>1</MinValue><MaxValue>65535</MaxValue>"
                   "</UInt32Range></UInt32Attribute>";
        case 2:
            return "<Addr64Attribute>" + name + "<DefaultValue>0x80001000</DefaultValue></Addr64Attribute>";
        case 3:
            return "<BoolAttribute>" + name + "<DefaultValue>true</DefaultValue></BoolAttribute>";
        case 4:
            return "<EnumAttribute>" + name +
                   "<DefaultValue>Logger</DefaultValue><EnumValues>LTA,Logger,GTA</EnumValues></EnumAttribute>";
        case 5:
            return "<Int64Attribute>" + name + "<DefaultValue>-123456789</DefaultValue></Int64Attribute>";
        case 6:
            return "<DoubleAttribute>" + name + "<DefaultValue>2.5</DefaultValue></DoubleAttribute>";
        default:
            return "<Addr32Attribute>" + name +
                   "<DefaultValue>0xABC</DefaultValue><ReadOnly>true</ReadOnly>"
                   "</Addr32Attribute>";
    }
}

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QUORL><Configuration><Name>Bench</Name>"
    "<Version>1</Version>";
const std::string kTail = "</Configuration></QUORL>\n";

std::string wideBlock(size_t n) {
    std::string text = kHead + "<ConfigBlock><Name>wide</Name>\n";
    for (size_t i = 0; i < n; ++i) text += attribute(i) + "\n";
    return text + "</ConfigBlock>" + kTail;
}

std::string manyBlocks(size_t n) {
    std::string text = kHead;
    for (size_t i = 0; i < n; ++i)
        text += "<ConfigBlock><Name>block " + std::to_string(i) + "</Name>" + attribute(i) + "</ConfigBlock>\n";
    return text + kTail;
}

enum Shape { WIDE, BLOCKS, MIXED };

const std::string& document(Shape shape, size_t n) {
    static std::map<std::pair<int, size_t>, std::string> cache;
    std::string& text = cache[{shape, n}];
    if (text.empty()) {
        if (shape == WIDE) text = wideBlock(n);
        if (shape == BLOCKS) text = manyBlocks(n);
        if (shape == MIXED) text = rq7bench::make_config_document(n);
    }
    return text;
}

quorl::ConfigurationPtr load(const std::string& text) {
    xrt::exrt_error code;
    quorl::ConfigurationPtr cfg = quorl::loadConfigurationFromMemory(text.data(), text.size(), &code);
    if (!cfg) {
        std::fprintf(stderr, "document refused with code %d\n", static_cast<int>(code));
        std::abort();
    }
    return cfg;
}

const std::string savePath = "/tmp/rq7_config_bench.xml";

void setBytes(benchmark::State& state, size_t bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["input_MB"] = static_cast<double>(bytes) / 1e6;
}

void loadBench(benchmark::State& state, Shape shape) {
    const std::string& text = document(shape, static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        quorl::ConfigurationPtr cfg = load(text);
        benchmark::DoNotOptimize(cfg.get());
        state.PauseTiming();
        cfg.reset();
        state.ResumeTiming();
    }
    setBytes(state, text.size());
}

void saveBench(benchmark::State& state, Shape shape) {
    const std::string& text = document(shape, static_cast<size_t>(state.range(0)));
    quorl::ConfigurationPtr cfg = load(text);
    for (auto _ : state)
        if (!cfg->save(savePath)) state.SkipWithError("save failed");
    setBytes(state, text.size());
    std::remove(savePath.c_str());
}

void loadSaveBench(benchmark::State& state, Shape shape) {
    const std::string& text = document(shape, static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        quorl::ConfigurationPtr cfg = load(text);
        if (!cfg->save(savePath)) state.SkipWithError("save failed");
    }
    setBytes(state, text.size());
    std::remove(savePath.c_str());
}

// The same bytes parsed into a libxml2 tree and written back to a file.
void libxml2Bench(benchmark::State& state, Shape shape) {
    const std::string& text = document(shape, static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        xmlDocPtr tree =
            xmlReadMemory(text.data(), static_cast<int>(text.size()), "bench.xml", nullptr, XML_PARSE_NONET);
        if (!tree || xmlSaveFile(savePath.c_str(), tree) < 0) state.SkipWithError("libxml2 failed");
        xmlFreeDoc(tree);
    }
    setBytes(state, text.size());
    std::remove(savePath.c_str());
}

void BM_load_wide(benchmark::State& s) {
    loadBench(s, WIDE);
}
void BM_save_wide(benchmark::State& s) {
    saveBench(s, WIDE);
}
void BM_load_blocks(benchmark::State& s) {
    loadBench(s, BLOCKS);
}
void BM_save_blocks(benchmark::State& s) {
    saveBench(s, BLOCKS);
}
void BM_load_save_mixed(benchmark::State& s) {
    loadSaveBench(s, MIXED);
}
void BM_load_mixed(benchmark::State& s) {
    loadBench(s, MIXED);
}
void BM_libxml2_parse_save_mixed(benchmark::State& s) {
    libxml2Bench(s, MIXED);
}

constexpr int64_t kMiB10 = 10 * 1024 * 1024;

BENCHMARK(BM_load_wide)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_save_wide)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_load_blocks)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_save_blocks)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_load_save_mixed)->Arg(kMiB10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_load_mixed)->Arg(kMiB10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_libxml2_parse_save_mixed)->Arg(kMiB10)->Unit(benchmark::kMillisecond);

// One load and one save of one document, then the peak resident memory
// beyond what the document text itself took:
//   config_bench --once wide|blocks|mixed N
// Also the driver for instruction counts (valgrind --tool=callgrind).
int runOnce(const std::string& shapeName, size_t n) {
    const Shape shape = shapeName == "wide" ? WIDE : shapeName == "blocks" ? BLOCKS : MIXED;
    const std::string& text = document(shape, n);
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const long base = usage.ru_maxrss;
    {
        quorl::ConfigurationPtr cfg = load(text);
        if (!cfg->save(savePath)) return 1;
    }
    getrusage(RUSAGE_SELF, &usage);
    const double mb = text.size() / 1e6;
    std::printf("%s %zu: input %.2f MB, peak resident growth %.1f MB, %.1f MB per MB of input\n", shapeName.c_str(), n,
                mb, (usage.ru_maxrss - base) / 1024.0, (usage.ru_maxrss - base) / 1024.0 / mb);
    std::remove(savePath.c_str());
    return 0;
}

long peakRssKib() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// The saved form of a flat block of n attributes, the input of the passes
// below: what the tool writes is what it reads back.
int writeFlat(size_t n, const std::string& out) {
    return load(wideBlock(n))->save(out) ? 0 : 1;
}

// One pass from file to file, alone in its process so that its peak resident
// memory is its own; prints "ms <wall time> growth <peak bytes beyond the
// process before it>". libxml2 does the same bytes as the baseline.
int filePass(bool baseline, const std::string& in) {
    const std::string out = in + ".out.xml";
    const long before = peakRssKib();
    const auto start = std::chrono::steady_clock::now();
    bool ok = false;
    if (baseline) {
        xmlDocPtr tree = xmlReadFile(in.c_str(), nullptr, XML_PARSE_NONET);
        ok = tree && xmlSaveFile(out.c_str(), tree) >= 0;
        xmlFreeDoc(tree);
    } else {
        quorl::ConfigurationPtr cfg = quorl::loadConfiguration(in);
        ok = cfg && cfg->save(out);
    }
    const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    std::printf("ms %.3f growth %ld\n", ms, (peakRssKib() - before) * 1024);
    std::remove(out.c_str());
    return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (argc == 4 && mode == "--once") return runOnce(argv[2], std::stoul(argv[3]));
    if (argc == 4 && mode == "--flat") return writeFlat(std::stoul(argv[2]), argv[3]);
    if (argc == 3 && (mode == "--load-save" || mode == "--libxml2")) return filePass(mode == "--libxml2", argv[2]);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
