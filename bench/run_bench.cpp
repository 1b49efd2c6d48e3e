// Cost of a whole Logger configure run of rq7.config, against the physical
// limit measured in the same process: the number of register accesses the run
// makes times a bare loopback TCP round trip of the same message sizes, plus
// the launch of a trivial process. Also reports the run's peak resident memory.
//
// Counters per benchmark:
//   writes, reads      register accesses in the run's trace
//   run_ms             wall time of one run
//   limit_ms           writes * rtt(write) + reads * rtt(read) + launch, the
//                      round trips measured with both ends on one CPU
//   ratio              run_ms / limit_ms
//   run_one_cpu_ms     the run with the whole process held on one CPU
//   ratio_one_cpu      run_one_cpu_ms / limit_ms
//   peak_rss_kib       peak resident set size of the run
//   empty_run_ms       a run of a configuration without modules: the tool's
//                      fixed cost (start, load, save with its sync, teardown)
// Times are medians over the iterations.
#include "tools/socgen/SocGen.h"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string tempDir() {
    char pattern[] = "/tmp/rq7-bench-XXXXXX";
    if (!mkdtemp(pattern)) throw std::runtime_error("mkdtemp");
    return pattern;
}

void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

struct RunResult {
    double ms = 0;
    long peakRssKib = 0;
    int status = -1;
    std::string out;
};

double median(std::vector<double> v) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}

// Holds the calling thread (and the threads and processes it starts) on the
// CPU it runs on, until destroyed.
class OneCpu {
public:
    OneCpu() {
        sched_getaffinity(0, sizeof saved, &saved);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(sched_getcpu(), &one);
        sched_setaffinity(0, sizeof one, &one);
    }
    ~OneCpu() { sched_setaffinity(0, sizeof saved, &saved); }

private:
    cpu_set_t saved;
};

// Runs a program with stdout to a file; measures wall time and peak RSS.
RunResult runProgram(const std::vector<std::string>& args, const std::string& workDir) {
    std::vector<std::string> copies(args);
    std::vector<char*> argv;
    for (std::string& a : copies) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    const std::string outPath = workDir + "/.out";

    RunResult r;
    const auto start = Clock::now();
    pid_t child = fork();
    if (child == 0) {
        int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out < 0 || chdir(workDir.c_str()) != 0) _exit(127);
        dup2(out, 1);
        dup2(out, 2);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    struct rusage usage {};
    wait4(child, &status, 0, &usage);
    r.ms = msSince(start);
    r.peakRssKib = usage.ru_maxrss;
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = readText(outPath);
    return r;
}

size_t countPrefix(const std::string& text, const char* prefix) {
    size_t n = 0, at = 0;
    const size_t len = std::strlen(prefix);
    while (at < text.size()) {
        if (text.compare(at, len, prefix) == 0) ++n;
        at = text.find('\n', at);
        if (at == std::string::npos) break;
        ++at;
    }
    return n;
}

// Bare request and reply over loopback with the agent's message sizes: a
// 23-byte memory request answered by a 6-byte status (write), or by a 23-byte
// memory reply and a 6-byte status (read). Returns milliseconds per exchange.
double loopbackRoundTripBatchMs(bool read, int exchanges) {
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    int one = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    listen(listener, 1);
    socklen_t len = sizeof addr;
    getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len);

    auto readAll = [](int fd, char* p, size_t n) {
        while (n > 0) {
            ssize_t got = recv(fd, p, n, 0);
            if (got <= 0) return false;
            p += got;
            n -= static_cast<size_t>(got);
        }
        return true;
    };

    std::thread server([&] {
        int c = accept(listener, nullptr, nullptr);
        setsockopt(c, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        char request[23], memoryReply[23] = {}, status[6] = {};
        for (int i = 0; i < exchanges; ++i) {
            // The server reads a message as its length field, then the rest.
            if (!readAll(c, request, 4) || !readAll(c, request + 4, 19)) break;
            if (read) send(c, memoryReply, sizeof memoryReply, 0);
            send(c, status, sizeof status, 0);
        }
        close(c);
    });

    int s = socket(AF_INET, SOCK_STREAM, 0);
    setsockopt(s, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    connect(s, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    char request[23] = {}, reply[29];
    const auto start = Clock::now();
    for (int i = 0; i < exchanges; ++i) {
        send(s, request, sizeof request, 0);
        if (read && (!readAll(s, reply, 4) || !readAll(s, reply + 4, 19))) break;
        if (!readAll(s, reply, 4) || !readAll(s, reply + 4, 2)) break;
    }
    const double ms = msSince(start) / exchanges;
    close(s);
    server.join();
    close(listener);
    return ms;
}

// Both ends held on one CPU.
double loopbackRoundTripMs(bool read, int exchanges) {
    OneCpu pin;
    return loopbackRoundTripBatchMs(read, exchanges);
}

double trivialLaunchMs(const std::string& workDir, int launches) {
    std::vector<double> ms;
    for (int i = 0; i < launches; ++i) ms.push_back(runProgram({"/bin/true"}, workDir).ms);
    return median(ms);
}

const char* const EmptyLoggerConfig =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QUORL><Configuration><Name>E</Name>"
    "<Version>1</Version><ConfigBlock><Name>Target Access</Name>"
    "<EnumAttribute><Name>Target Access Method</Name><DefaultValue>Logger</DefaultValue>"
    "<EnumValues>LTA,Logger,GTA</EnumValues></EnumAttribute>"
    "<StringAttribute><Name>ServerAddress</Name><DefaultValue>127.0.0.1</DefaultValue>"
    "</StringAttribute><UInt32Attribute><Name>ServerPort</Name><DefaultValue>5000"
    "</DefaultValue></UInt32Attribute></ConfigBlock></Configuration></QUORL>\n";

void configureRun(benchmark::State& state, const std::string& configText) {
    const std::string dir = tempDir();
    const std::string path = dir + "/soc.xml";
    // The limit's round trips are sampled between the runs, so that both
    // sides see the same moments of a machine whose speed drifts.
    std::vector<double> rttWrites, rttReads;
    const double launch = trivialLaunchMs(dir, 20);
    std::vector<double> empty;
    for (int i = 0; i < 11; ++i) {
        writeText(path, EmptyLoggerConfig);
        empty.push_back(runProgram({RQ7_CONFIG_BINARY, "-c", "soc.xml"}, dir).ms);
    }
    const double emptyMs = median(empty);

    RunResult last;
    std::vector<double> runs, oneCpuRuns;
    long peak = 0;
    for (auto _ : state) {
        state.PauseTiming();
        rttWrites.push_back(loopbackRoundTripMs(false, 300));
        rttReads.push_back(loopbackRoundTripMs(true, 300));
        state.ResumeTiming();
        for (bool oneCpu : {false, true}) {
            state.PauseTiming();
            writeText(path, configText);  // each run saves over its file
            state.ResumeTiming();
            if (oneCpu) {
                OneCpu pin;
                last = runProgram({RQ7_CONFIG_BINARY, "-c", "soc.xml"}, dir);
                oneCpuRuns.push_back(last.ms);
            } else {
                last = runProgram({RQ7_CONFIG_BINARY, "-c", "soc.xml"}, dir);
                runs.push_back(last.ms);
            }
            if (last.peakRssKib > peak) peak = last.peakRssKib;
            if (last.status != 0) {
                state.SkipWithError(("run failed: " + last.out.substr(0, 200)).c_str());
                break;
            }
        }
    }
    const double writes = static_cast<double>(countPrefix(last.out, "write_mem "));
    const double reads = static_cast<double>(countPrefix(last.out, "read_mem "));
    const double runMs = median(runs), oneCpuMs = median(oneCpuRuns);
    const double rttWrite = median(rttWrites), rttRead = median(rttReads);
    const double limit = writes * rttWrite + reads * rttRead + launch;
    state.counters["writes"] = writes;
    state.counters["reads"] = reads;
    state.counters["rtt_write_us"] = rttWrite * 1000;
    state.counters["rtt_read_us"] = rttRead * 1000;
    state.counters["launch_ms"] = launch;
    state.counters["run_ms"] = runMs;
    state.counters["limit_ms"] = limit;
    state.counters["ratio"] = limit > 0 ? runMs / limit : 0;
    state.counters["run_one_cpu_ms"] = oneCpuMs;
    state.counters["ratio_one_cpu"] = limit > 0 ? oneCpuMs / limit : 0;
    state.counters["peak_rss_kib"] = static_cast<double>(peak);
    state.counters["empty_run_ms"] = emptyMs;
    std::string rm = "rm -rf '" + dir + "'";
    if (std::system(rm.c_str()) != 0) state.SkipWithError("cleanup failed");
}

void BM_LoggerConfigureExample(benchmark::State& state) {
    configureRun(state, readText(std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_logger.xml"));
}
BENCHMARK(BM_LoggerConfigureExample)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_LoggerConfigureGenerated8(benchmark::State& state) {
    configureRun(state, socgen::generatedSoc(8));
}
BENCHMARK(BM_LoggerConfigureGenerated8)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_LoggerConfigureGenerated64(benchmark::State& state) {
    configureRun(state, socgen::generatedSoc(64));
}
BENCHMARK(BM_LoggerConfigureGenerated64)->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace

BENCHMARK_MAIN();
