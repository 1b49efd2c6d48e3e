// rq7 capture of a full 16 MiB DDR trace buffer against gta-sim, next to the
// bare throughput of the same server: 64 KiB `mem read` commands over the
// same buffer through libgta, measured in the same run.
//   capture_bench --benchmark_repetitions=3
#include "gta/gta.h"
#include "rq7/Cli.h"
#include "tools/gta-sim/GtaSim.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>

namespace {

const uint64_t BUFFER_BASE = 0xa0000000;  // the GTA example's DDR trace buffer
const uint64_t BUFFER_SIZE = 16 << 20;
const uint32_t CHUNK = 64 * 1024;

// gta-sim in this process with the example's image and a full buffer of
// random bytes that ends at the write pointer.
struct Sim {
    Sim() {
        gtasim::MemoryImage image;
        std::string error;
        if (!image.load(std::string(RQ7_SIM_DIR) + "/ka7710x.image", false, error)) throw std::runtime_error(error);
        std::vector<uint8_t> bytes(BUFFER_SIZE);
        std::mt19937 random(7);
        for (auto& b : bytes) b = static_cast<uint8_t>(random());
        image.write("APB", BUFFER_BASE, bytes.data(), bytes.size());
        // As a configure run leaves the sink, then full up to its end.
        image.writeValue("APB", 0x80060118, BUFFER_BASE, 4, false);                // DBALO
        image.writeValue("APB", 0x80060004, BUFFER_SIZE / 4, 4, false);            // RSZ, words
        image.writeValue("APB", 0x80060018, BUFFER_BASE + BUFFER_SIZE, 4, false);  // RWP
        gtasim::Options options;
        options.clearOnWrite.push_back({"APB", 0x80060304, 0x40});  // the flush completes at once
        server.reset(new gtasim::Server(options, image));
        if (!server->listen(error)) throw std::runtime_error(error);
        thread = std::thread([this] { server->run(); });
    }
    ~Sim() {
        server->stop();
        thread.join();
    }
    std::unique_ptr<gtasim::Server> server;
    std::thread thread;
};

Sim& sim() {
    static Sim instance;
    return instance;
}

void BM_BareMemRead16MiB(benchmark::State& state) {
    GtaSession* s = nullptr;
    GtaContext* c = nullptr;
    gta_open(("tcp://127.0.0.1:" + std::to_string(sim().server->port())).c_str(), &s);
    gta_context_create("ka7710x-evb", "KA7710X", 3, "Cluster 0 Core 0", &c);
    if (gta_context_connect(s, c) != GTA_OK) state.SkipWithError("cannot connect");
    std::vector<uint8_t> out(CHUNK);
    for (auto _ : state)
        for (uint64_t done = 0; done < BUFFER_SIZE; done += CHUNK)
            if (gta_mem_read(s, c, BUFFER_BASE + done, "APB", 1, CHUNK, out.data()) != GTA_OK)
                state.SkipWithError("mem read failed");
    state.SetBytesProcessed(int64_t(state.iterations()) * BUFFER_SIZE);
    gta_context_destroy(c);
    gta_close(s);
}
BENCHMARK(BM_BareMemRead16MiB)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_Capture16MiB(benchmark::State& state) {
    const std::string dir =
        std::filesystem::temp_directory_path().string() + "/capture_bench_" + std::to_string(::getpid());
    std::filesystem::create_directories(dir);
    std::ifstream in(std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_gta.xml");
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::string port = "<DefaultValue>6170</DefaultValue>";
    text.replace(text.find(port), port.size(),
                 "<DefaultValue>" + std::to_string(sim().server->port()) + "</DefaultValue>");
    std::ofstream(dir + "/trace.xml") << text;
    for (auto _ : state)
        if (rq7::captureCommand({dir + "/trace.xml", "-o", dir + "/snapshot"}) != 0)
            state.SkipWithError("capture failed");
    state.SetBytesProcessed(int64_t(state.iterations()) * BUFFER_SIZE);
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_Capture16MiB)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
