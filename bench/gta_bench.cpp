// Register writes in GTA mode (Register<T> -> TaProcessGTA -> libgta ->
// loopback TCP -> gta-sim -> back) against a bare exchange of the same
// bytes: the client sends the very packet of a register write, a minimal
// server answers "+" and "$OK#9a", and the client acknowledges with "+".
//
// Wall time depends on how fast the two threads are scheduled; the CPU
// column is the time of the whole process (client and server threads), the
// steadier figure on a busy machine:
//   gta_bench --benchmark_repetitions=10 --benchmark_enable_random_interleaving=true
#include "gta/gta.h"
#include "target.access/ExtAddress.h"
#include "target.access/TaProcessGTA.h"
#include "target.access/quorl/register.h"
#include "tests/support/Loopback.h"
#include "tools/gta-sim/GtaSim.h"

#include <benchmark/benchmark.h>
#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>
#include <thread>

namespace {

const uint64_t REGISTER_ADDRESS = 0x81030300;
const char* const MEMORY_SPACE = "APB";
const std::string SERVER_ANSWER = "+$OK#9a";  // ack of the command, then the reply

// The simulator on a free port, without a command log.
struct SimThread {
    SimThread() {
        gtasim::Options options;
        server.reset(new gtasim::Server(options, gtasim::MemoryImage()));
        std::string error;
        if (!server->listen(error)) throw std::runtime_error(error);
        thread = std::thread([this] { server->run(); });
    }
    ~SimThread() {
        server->stop();
        thread.join();
    }
    std::unique_ptr<gtasim::Server> server;
    std::thread thread;
};

void BM_GtaRegisterWrite(benchmark::State& state) {
    SimThread sim;
    boost::shared_ptr<quorl::TaProcess> process(new quorl::TaProcessGTA(
        "127.0.0.1", sim.server->port(), "ka7710x-evb", "KA7710X", "Cluster 0 Core 0", MEMORY_SPACE, "little"));
    quorl::Register<unsigned int> reg(REGISTER_ADDRESS, MEMORY_SPACE, "ETM_TRCCONFIGR");
    unsigned int value = 0;
    for (auto _ : state) reg.write(process, ++value);
    state.counters["writes/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_GtaRegisterWrite)->UseRealTime()->MeasureProcessCPUTime();

// The packet of one register write, built by libgta itself.
std::string registerWritePacket() {
    GtaSession* s = nullptr;
    GtaContext* c = nullptr;
    gta_open("memory", &s);
    gta_context_create("ka7710x-evb", "KA7710X", 3, "Cluster 0 Core 0", &c);
    s->transport->writeAll(s->transport, "+", 1);  // let the send see its ack
    uint32_t value = 1;
    gta_mem_write(s, c, REGISTER_ADDRESS, MEMORY_SPACE, 4, 1, &value);
    std::string packet(reinterpret_cast<char*>(s->command->data), s->command->size);
    gta_context_destroy(c);
    gta_close(s);
    return packet;
}

// The bare server of one client: per request, the client's "+" of the
// previous reply (from the second round on) and the packet, then the ack and
// reply in one send. Ends when the client closes its end.
class BareServer {
public:
    explicit BareServer(const std::string& packet) : packet(packet) {
        listener = rq7test::listenOnFreePort(address);
        thread = std::thread([this] { serve(); });
    }
    ~BareServer() {
        thread.join();
        ::close(listener);
    }
    const sockaddr_in& where() const { return address; }

private:
    void serve() {
        int fd = ::accept(listener, nullptr, nullptr);
        rq7test::noDelay(fd);
        std::string in(packet.size() + 1, '\0');
        bool first = true;
        for (;;) {
            size_t n = first ? packet.size() : packet.size() + 1;
            if (!rq7test::readExactly(fd, &in[0], n)) break;
            first = false;
            if (::send(fd, SERVER_ANSWER.data(), SERVER_ANSWER.size(), MSG_NOSIGNAL) <= 0) break;
        }
        ::close(fd);
    }

    const std::string packet;
    int listener;
    sockaddr_in address;
    std::thread thread;
};

void BM_BareExchange(benchmark::State& state) {
    const std::string packet = registerWritePacket();
    BareServer server(packet);
    int fd = rq7test::connectTo(ntohs(server.where(.sin_port), true));
    std::string answer(SERVER_ANSWER.size(), '\0');
    for (auto _ : state) {
        // Same messages in the same order as the protocol: the packet, the
        // server's ack and reply, the client's ack of the reply.
        ::send(fd, packet.data(), packet.size(), MSG_NOSIGNAL);
        if (!rq7test::readExactly(fd, &answer[0], answer.size())) {
            state.SkipWithError("server went away");
            break;
        }
        ::send(fd, "+", 1, MSG_NOSIGNAL);
    }
    ::close(fd);
    state.counters["writes/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["packet bytes"] = double(packet.size());
}
BENCHMARK(BM_BareExchange)->UseRealTime()->MeasureProcessCPUTime();

// libgta alone (no TaProcessGTA, no simulator) against the bare server:
// splits the difference between the two figures above into client and
// server shares.
void BM_LibgtaAgainstBareServer(benchmark::State& state) {
    BareServer server(registerWritePacket());
    GtaSession* s = nullptr;
    GtaContext* c = nullptr;
    gta_open(("tcp://127.0.0.1:" + std::to_string(ntohs(server.where().sin_port))).c_str(), &s);
    gta_context_create("ka7710x-evb", "KA7710X", 3, "Cluster 0 Core 0", &c);
    uint32_t value = 1;
    for (auto _ : state) gta_mem_write(s, c, REGISTER_ADDRESS, MEMORY_SPACE, 4, 1, &value);
    gta_close(s);
    gta_context_destroy(c);
}
BENCHMARK(BM_LibgtaAgainstBareServer)->UseRealTime()->MeasureProcessCPUTime();

}  // namespace

BENCHMARK_MAIN();
