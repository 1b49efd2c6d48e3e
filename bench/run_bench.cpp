// Cost of a whole Logger configure run of rq7.config, against the physical
// limit measured in the same process: the number of register accesses the run
// makes times a bare loopback TCP round trip of the same message sizes, plus
// the launch of a trivial process. Also reports the run's peak resident memory.
//
// Counters per benchmark:
//   writes, reads      register accesses in the run's trace
//   run_ms             wall time of one run
//   limit_ms           writes * rtt(write) + reads * rtt(read) + launch
//   ratio              run_ms / limit_ms (goal: at most 1.5)
//   peak_rss_kib       peak resident set size of the run
//   empty_run_ms       a run of a configuration without modules: the tool's
//                      fixed cost (start, load, save with its sync, teardown)
#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

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
double loopbackRoundTripMs(bool read, int exchanges) {
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

double trivialLaunchMs(const std::string& workDir, int launches) {
    double total = 0;
    for (int i = 0; i < launches; ++i) total += runProgram({"/bin/true"}, workDir).ms;
    return total / launches;
}

// A system-on-chip with `clusters` clusters of eight cores, each cluster behind
// its own funnel, the cluster funnels behind one SoC funnel, then ETF and DDR.
std::string generatedSoc(unsigned clusters) {
    std::ostringstream x;
    auto attr = [&](const char* kind, const std::string& name, const std::string& value,
                    const std::string& extra = "") {
        x << "<" << kind << "><Name>" << name << "</Name><DefaultValue>" << value
          << "</DefaultValue>" << extra << "</" << kind << ">\n";
    };
    auto hex = [](unsigned long long v) {
        char b[32];
        std::snprintf(b, sizeof b, "0x%llx", v);
        return std::string(b);
    };
    x << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QUORL><Configuration><Name>GEN" << clusters * 8
      << "</Name><Version>1.0</Version>\n";
    x << "<ConfigBlock><Name>Target Access</Name>\n";
    attr("EnumAttribute", "Target Access Method", "Logger", "<EnumValues>LTA,Logger,GTA</EnumValues>");
    attr("StringAttribute", "ServerAddress", "127.0.0.1");
    attr("UInt32Attribute", "ServerPort", "5000");
    x << "</ConfigBlock>\n<ConfigBlock><Name>Timestamp Generator</Name>\n";
    attr("Addr64Attribute", "Module Base Address", "0x80010000");
    attr("BoolAttribute", "Enable Timestamp Generator", "true");
    attr("BoolAttribute", "Halt on Debug", "false");
    attr("StringAttribute", "MemSpace", "APB");
    attr("UInt32Attribute", "Counter Base Frequency", "100000000");
    x << "</ConfigBlock>\n<ConfigBlock><Name>Trace Generators</Name><ConfigBlock><Name>CORE</Name>\n";
    for (unsigned c = 0; c < clusters; ++c)
        for (unsigned n = 0; n < 8; ++n) {
            x << "<ConfigBlock><Name>Cluster " << c << " Core " << n << "</Name>\n";
            attr("BoolAttribute", "Enable Trace", "true");
            attr("StringAttribute", "MemSpace", "APB");
            attr("Addr64Attribute", "Module Base Address", hex(0x81030000ull + c * 0x01000000ull + n * 0x40000ull));
            attr("StringAttribute", "Trace Generator Type", "ETMv4");
            attr("UInt32Attribute", "ATB ID", std::to_string(2 + c * 8 + n));
            attr("BoolAttribute", "Timestamp", "true");
            attr("BoolAttribute", "Cycle Counting", "false");
            attr("EnumAttribute", "TraceScenario", "ProgramTrace", "<EnumValues>ProgramTrace,DataAddress,DataValue</EnumValues>");
            attr("EnumAttribute", "TraceMode", "ProgramTrace", "<EnumValues>DataAdress,DataValue,ProgramTrace</EnumValues>");
            attr("BoolAttribute", "Enable Logging", "false");
            attr("StringAttribute", "Dependency", "Cluster " + std::to_string(c) + " ARM Funnel Port " + std::to_string(n));
            x << "</ConfigBlock>\n";
        }
    x << "</ConfigBlock></ConfigBlock>\n<ConfigBlock><Name>GPP Funnel</Name>\n";
    for (unsigned c = 0; c < clusters; ++c) {
        const std::string funnel = "Cluster " + std::to_string(c) + " ARM Funnel";
        x << "<ConfigBlock><Name>" << funnel << "</Name>\n";
        attr("BoolAttribute", "Enable Trace", "true");
        attr("StringAttribute", "MemSpace", "APB");
        attr("Addr64Attribute", "Module Base Address", hex(0x81010000ull + c * 0x01000000ull));
        attr("StringAttribute", "Dependency", "SoC ARM Funnel Port " + std::to_string(c));
        x << "</ConfigBlock>\n";
        for (unsigned n = 0; n < 8; ++n) {
            x << "<ConfigBlock><Name>" << funnel << " Port " << n << "</Name>\n";
            attr("BoolAttribute", "Enable Port", "true");
            attr("UInt32Attribute", "Port Priority", std::to_string(n));
            attr("StringAttribute", "Dependency", funnel);
            x << "</ConfigBlock>\n";
        }
    }
    x << "</ConfigBlock>\n<ConfigBlock><Name>SoC Modules</Name>\n<ConfigBlock><Name>SoC ARM Funnel</Name>\n";
    attr("BoolAttribute", "Enable Trace", "true");
    attr("StringAttribute", "MemSpace", "APB");
    attr("Addr64Attribute", "Module Base Address", "0x80040000");
    attr("StringAttribute", "Dependency", "ETF 0");
    x << "</ConfigBlock>\n";
    for (unsigned c = 0; c < clusters && c < 8; ++c) {
        x << "<ConfigBlock><Name>SoC ARM Funnel Port " << c << "</Name>\n";
        attr("BoolAttribute", "Enable Port", "true");
        attr("UInt32Attribute", "Port Priority", std::to_string(c));
        attr("StringAttribute", "Dependency", "SoC ARM Funnel");
        x << "</ConfigBlock>\n";
    }
    x << "</ConfigBlock>\n<ConfigBlock><Name>Data Streams</Name>\n";
    attr("EnumAttribute", "TraceLocation", "DDR Buffer", "<EnumValues>Internal,DDR Buffer</EnumValues>");
    x << "<ConfigBlock><Name>ETF 0</Name>\n";
    attr("EnumAttribute", "BufferMode", "PassThrough", "<EnumValues>PassThrough,OneBuffer</EnumValues>");
    attr("BoolAttribute", "Enable Buffer", "true");
    attr("StringAttribute", "MemSpace", "APB");
    attr("Addr64Attribute", "Module Base Address", "0x80050000");
    attr("EnumAttribute", "TraceCollectionMode", "Overwrite", "<EnumValues>Overwrite,StopOnFull</EnumValues>");
    attr("StringAttribute", "Dependency", "DDR Trace Buffer");
    x << "</ConfigBlock>\n<ConfigBlock><Name>DDR Trace Buffer</Name>\n";
    attr("BoolAttribute", "Enable Buffer", "true");
    attr("StringAttribute", "MemSpace", "APB");
    attr("Addr64Attribute", "Module Base Address", "0x80060000");
    attr("Addr64Attribute", "Trace Buffer Base Address", "0xa0000000");
    attr("Addr64Attribute", "Trace Buffer Size", "0x1000000");
    attr("EnumAttribute", "TraceCollectionMode", "Overwrite", "<EnumValues>Overwrite,StopOnFull</EnumValues>");
    attr("StringAttribute", "Dependency", "");
    x << "</ConfigBlock></ConfigBlock>\n</Configuration></QUORL>\n";
    return x.str();
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
    const double rttWrite = loopbackRoundTripMs(false, 2000);
    const double rttRead = loopbackRoundTripMs(true, 2000);
    const double launch = trivialLaunchMs(dir, 20);
    double emptyMs = 0;
    for (int i = 0; i < 10; ++i) {
        writeText(path, EmptyLoggerConfig);
        emptyMs += runProgram({RQ7_CONFIG_BINARY, "-c", "soc.xml"}, dir).ms / 10;
    }

    RunResult last;
    double totalMs = 0;
    long peak = 0;
    for (auto _ : state) {
        state.PauseTiming();
        writeText(path, configText);  // each run saves over its file
        state.ResumeTiming();
        last = runProgram({RQ7_CONFIG_BINARY, "-c", "soc.xml"}, dir);
        totalMs += last.ms;
        if (last.peakRssKib > peak) peak = last.peakRssKib;
        if (last.status != 0) {
            state.SkipWithError(("run failed: " + last.out.substr(0, 200)).c_str());
            break;
        }
    }
    const double writes = static_cast<double>(countPrefix(last.out, "write_mem "));
    const double reads = static_cast<double>(countPrefix(last.out, "read_mem "));
    const double runMs = state.iterations() ? totalMs / static_cast<double>(state.iterations()) : 0;
    const double limit = writes * rttWrite + reads * rttRead + launch;
    state.counters["writes"] = writes;
    state.counters["reads"] = reads;
    state.counters["rtt_write_us"] = rttWrite * 1000;
    state.counters["rtt_read_us"] = rttRead * 1000;
    state.counters["launch_ms"] = launch;
    state.counters["run_ms"] = runMs;
    state.counters["limit_ms"] = limit;
    state.counters["ratio"] = limit > 0 ? runMs / limit : 0;
    state.counters["peak_rss_kib"] = static_cast<double>(peak);
    state.counters["empty_run_ms"] = emptyMs;
    std::string rm = "rm -rf '" + dir + "'";
    if (std::system(rm.c_str()) != 0) state.SkipWithError("cleanup failed");
}

void BM_LoggerConfigureExample(benchmark::State& state) {
    configureRun(state, readText(std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_logger.xml"));
}
BENCHMARK(BM_LoggerConfigureExample)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_LoggerConfigureGenerated64(benchmark::State& state) {
    configureRun(state, generatedSoc(8));
}
BENCHMARK(BM_LoggerConfigureGenerated64)->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace

BENCHMARK_MAIN();
