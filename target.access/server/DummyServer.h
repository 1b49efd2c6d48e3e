#pragma once
// The agent server of Logger mode. It runs inside the program on its own
// thread, speaks the whole agent protocol over loopback TCP, and instead of
// touching hardware prints one trace line per memory access on stdout. A
// one-word mailbox holds the last value written; every read returns it.
#include "target.agent/user/communication.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <cstdint>

namespace quorl {

class DummyServer {
public:
    static constexpr unsigned short DEFAULT_PORT = 5000;

    // Does nothing on the network yet.
    explicit DummyServer(unsigned short port = DEFAULT_PORT);
    ~DummyServer();
    DummyServer(const DummyServer&) = delete;
    DummyServer& operator=(const DummyServer&) = delete;

    // Listens on every interface at the port and starts the server thread.
    // False if the port cannot be bound.
    bool run();
    // Asks the server to end: no further request is served, and a thread still
    // waiting for its client, or blocked on a client that never closes, wakes.
    void stop();
    // Waits for the server thread.
    void join();

    // The port actually listened on (differs from the requested one only for
    // port 0, which lets the system choose).
    unsigned short getPort() const { return port; }

private:
    static void waitData(agent_socket_t* listenSocket, DummyServer* server);
    // Greets one client and answers its requests until it leaves.
    void serveClient(agent_socket_t client);
    bool isRunning();
    void closeClient(agent_socket_t& client);
    // Stops watching the client without closing its socket.
    void releaseClient();

    unsigned short port;
    agent_socket_t listenSocket;
    bool serveMoreClients;
    boost::shared_ptr<boost::thread> thread;
    boost::mutex mutex;
    bool running;
    // Guarded by `mutex`: set by stop(); the client being served, so that
    // stop() can wake a thread blocked on it.
    bool stopRequested;
    agent_socket_t clientSocket;
};

// What the Logger agent remembers between requests. Touched by the server
// thread alone.
struct LoggerAgentState {
    uint64_t lastValue = 0;  // the mailbox
    uint8_t lastWidth = 0;
    uint8_t block[200] = {};
    uint64_t blockLength = ~uint64_t(0);
    uint8_t triggered = 0;
    char* lastRegisterName = nullptr;  // owned
    uint64_t ddrFirst = ~uint64_t(0);
    uint64_t lastAddress = ~uint64_t(0);
    bool verbose = true;  // print the trace lines
};

extern LoggerAgentState loggerAgentState;

// The Logger handlers behind the agent's handler table.
namespace logger_agent {
int write_mem(uint64_t address, uint64_t value, unsigned width);
int read_mem(uint64_t address, uint64_t* value, unsigned width);
int read_reg(const char* name, uint64_t* value);
int write_reg(const char* name, uint64_t value);
int ddr_get(uint64_t first, uint64_t* second);
int ddr_set(uint64_t second);
int ddr_trigger();
int ddr_write(uint64_t address, uint64_t size, uint8_t* data);
int ddr_read(uint64_t address, uint64_t size, uint8_t* data);
}  // namespace logger_agent

}  // namespace quorl
