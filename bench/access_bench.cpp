// Cost of one register access on the Logger road (Register<T> -> TaProcessLTA
// -> agent protocol over loopback TCP -> DummyServer -> back), against a bare
// loopback round trip that moves the same number of bytes each way.
//
//   write: request 23 bytes, answer 6 (status)
//   read:  request 23 bytes, answer 29 (reply 23 + status 6)
//
// What the stack does with these small messages: the client sets
// TCP_NODELAY; if the server did not, a read's status (sent right behind the
// reply) would wait under Nagle for the client's delayed ACK, about 40 ms per
// read. The server therefore sets TCP_NODELAY too, holds the reply back with
// MSG_MORE so that reply and status leave as one segment, and both ends read
// through a small buffer so that a message pair costs one receive call. The
// bytes on the wire are unchanged.
//
// Wall time suffers from whatever else the machine runs; cpu_both_ends_ns
// (process CPU time per operation, both threads) is the steadier figure.
//
// Run with stdout sent away, since the server prints one trace line per
// access, as in a real Logger run:
//   access_bench --benchmark_out=access.txt --benchmark_out_format=console >/dev/null
#include "target.access/TaProcessLTA.h"
#include "target.access/quorl/register.h"
#include "target.access/server/DummyServer.h"
#include "tests/support/Loopback.h"

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>

#include <ctime>
#include <thread>
#include <vector>

namespace {

const size_t REQUEST_BYTES = 23;
const size_t STATUS_BYTES = 6;
const size_t READ_REPLY_BYTES = 23;

// CPU time of the whole process (client and server threads), a figure the
// load of other processes on the machine disturbs far less than wall time.
double processCpuNs() {
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return t.tv_sec * 1e9 + t.tv_nsec;
}

// Runs `op` for the benchmark and reports both ends' CPU time per operation.
template <typename Op>
void measure(benchmark::State& state, Op op) {
    const double start = processCpuNs();
    for (auto _ : state) op();
    state.counters["cpu_both_ends_ns"] =
        benchmark::Counter((processCpuNs() - start) / double(state.iterations()), benchmark::Counter::kAvgThreads);
}

// A loopback peer that answers each request with `answer` bytes, sent in the
// given pieces, and the client that talks to it.
class BareLink {
public:
    explicit BareLink(std::vector<size_t> pieces) : pieces(std::move(pieces)) {
        sockaddr_in a;
        listenFd = rq7test::listenOnFreePort(a);
        peer = std::thread([this] { serve(); });
        clientFd = rq7test::connectTo(ntohs(a.sin_port), true);
        for (size_t p : this->pieces) answerBytes += p;
    }
    ~BareLink() {
        ::close(clientFd);
        peer.join();
        ::close(listenFd);
    }
    void roundTrip() {
        uint8_t request[REQUEST_BYTES] = {0, 0, 0, 19};
        uint8_t answer[64];
        ::send(clientFd, request, sizeof request, MSG_NOSIGNAL);
        rq7test::readExactly(clientFd, answer, answerBytes);
    }

private:
    void serve() {
        int fd = ::accept(listenFd, nullptr, nullptr);
        rq7test::noDelay(fd);
        uint8_t request[REQUEST_BYTES];
        uint8_t answer[64] = {};
        while (rq7test::readExactly(fd, request, sizeof request))
            for (size_t p : pieces) ::send(fd, answer, p, MSG_NOSIGNAL);
        ::close(fd);
    }

    std::vector<size_t> pieces;
    size_t answerBytes = 0;
    int listenFd;
    int clientFd;
    std::thread peer;
};

// The Logger road of one run: server, process and a register, torn down in
// the run's order.
struct LoggerRoad {
    quorl::DummyServer server{0};
    boost::shared_ptr<quorl::TaProcess> process;
    quorl::Register<unsigned int> reg{0x80010000, "", "ETM_TRCPRGCTLR"};
    LoggerRoad() {
        quorl::resetAgentConnection();
        server.run();
        process = boost::make_shared<quorl::TaProcessLTA>("127.0.0.1", server.getPort());
        reg.write(process, 0);  // connect outside the measurement
    }
    ~LoggerRoad() {
        server.stop();
        quorl::closeAgentSocket();
        server.join();
    }
};

void BM_RegisterWrite(benchmark::State& state) {
    LoggerRoad road;
    unsigned int v = 0;
    measure(state, [&] { road.reg.write(road.process, ++v); });
}

void BM_RegisterRead(benchmark::State& state) {
    LoggerRoad road;
    measure(state, [&] { benchmark::DoNotOptimize(road.reg.read(road.process)); });
}

void BM_BareWriteRoundTrip(benchmark::State& state) {
    BareLink link({STATUS_BYTES});
    measure(state, [&] { link.roundTrip(); });
}

void BM_BareReadRoundTrip(benchmark::State& state) {
    BareLink link({READ_REPLY_BYTES + STATUS_BYTES});
    measure(state, [&] { link.roundTrip(); });
}

// The read's answer as two sends, reply then status.
void BM_BareReadRoundTripTwoSends(benchmark::State& state) {
    BareLink link({READ_REPLY_BYTES, STATUS_BYTES});
    measure(state, [&] { link.roundTrip(); });
}

}  // namespace

BENCHMARK(BM_BareWriteRoundTrip)->UseRealTime();
BENCHMARK(BM_RegisterWrite)->UseRealTime();
BENCHMARK(BM_BareReadRoundTrip)->UseRealTime();
BENCHMARK(BM_BareReadRoundTripTwoSends)->UseRealTime();
BENCHMARK(BM_RegisterRead)->UseRealTime();

BENCHMARK_MAIN();
