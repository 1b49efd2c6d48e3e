#include "target.access/server/DummyServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace quorl {

LoggerAgentState loggerAgentState;

namespace {

const char* const SOURCE = "dummyserver";
const int PEER_CLOSED = -120;
const int LISTEN_BACKLOG = 1;

// A trace line on stdout, if the agent is verbose.
void trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
void trace(const char* format, ...) {
    if (!loggerAgentState.verbose) return;
    va_list args;
    va_start(args, format);
    std::vfprintf(stdout, format, args);
    va_end(args);
}

uint64_t loadBytes(const uint8_t* data, size_t size) {
    uint64_t v = 0;
    std::memcpy(&v, data, std::min<size_t>(size, sizeof v));  // host order
    return v;
}

// The trace line of a register-sized access ("%s 0x%lx data=0x%08lx
// length=0x%x\n"; op is padded to the column), formatted by hand: the server
// writes it before it answers, so it is on the round trip of every register
// access, and printf's parsing was most of the server's work per access.
void traceWord(const char* op, uint64_t address, uint64_t shown, unsigned width) {
    if (!loggerAgentState.verbose) return;
    if (width == 4) shown = static_cast<uint32_t>(shown);
    const size_t opLength = std::strlen(op);
    if (opLength > 32) {
        trace("%s 0x%" PRIx64 " data=0x%08" PRIx64 " length=0x%x\n", op, address, shown, width);
        return;
    }
    char line[128];
    char* p = line;
    std::memcpy(p, op, opLength);
    p += opLength;
    std::memcpy(p, " 0x", 3);
    p = std::to_chars(p + 3, line + sizeof line, address, 16).ptr;
    std::memcpy(p, " data=0x", 8);
    p += 8;
    char digits[16];
    const size_t n = static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, shown, 16).ptr - digits);
    for (size_t pad = n; pad < 8; ++pad) *p++ = '0';
    std::memcpy(p, digits, n);
    p += n;
    std::memcpy(p, " length=0x", 10);
    p = std::to_chars(p + 10, line + sizeof line, width, 16).ptr;
    *p++ = '\n';
    std::fwrite(line, 1, static_cast<size_t>(p - line), stdout);
}

// The trace line of a block access: the value shows as many digits as the
// access is wide; other sizes leave no line.
void traceBlock(const char* op, uint64_t address, uint64_t size, uint64_t v) {
    switch (size) {
        case 1:
            trace("%s 0x%" PRIx64 " data=0x%x length=0x%" PRIx64 "\n", op, address, unsigned(v), size);
            break;
        case 2:
            trace("%s 0x%" PRIx64 " data=0x%04x length=0x%" PRIx64 "\n", op, address, unsigned(v), size);
            break;
        case 4:
            trace("%s 0x%" PRIx64 " data=0x%08" PRIx32 " length=0x%" PRIx64 "\n", op, address, uint32_t(v), size);
            break;
        case 8:
            trace("%s 0x%" PRIx64 " data=0x%016" PRIx64 " length=0x%" PRIx64 "\n", op, address, v, size);
            break;
    }
}

void replaceRegisterName(const char* name) {
    std::free(loggerAgentState.lastRegisterName);
    loggerAgentState.lastRegisterName = name ? strdup(name) : nullptr;
}

// The agent's handler table is the Logger's for the whole program.
struct HandlerTableInstaller {
    HandlerTableInstaller() {
        agent_handlers.write_mem = logger_agent::write_mem;
        agent_handlers.read_mem = logger_agent::read_mem;
        agent_handlers.read_reg = logger_agent::read_reg;
        agent_handlers.write_reg = logger_agent::write_reg;
        agent_handlers.ddr_get = logger_agent::ddr_get;
        agent_handlers.ddr_set = logger_agent::ddr_set;
        agent_handlers.ddr_trigger = logger_agent::ddr_trigger;
        agent_handlers.ddr_write = logger_agent::ddr_write;
        agent_handlers.ddr_read = logger_agent::ddr_read;
    }
} installHandlers;

}  // namespace

namespace logger_agent {

int write_mem(uint64_t address, uint64_t value, unsigned width) {
    const uint64_t mask = width >= 8 ? ~uint64_t(0) : (uint64_t(1) << (8 * width)) - 1;
    loggerAgentState.lastValue = value & mask;
    loggerAgentState.lastAddress = address;
    loggerAgentState.lastWidth = static_cast<uint8_t>(width);
    traceWord("write_mem", address, value, width);
    return 0;
}

int read_mem(uint64_t address, uint64_t* value, unsigned width) {
    const uint64_t requested = *value;  // the line shows what the request carried
    *value = loggerAgentState.lastValue;
    loggerAgentState.lastAddress = address;
    loggerAgentState.lastWidth = static_cast<uint8_t>(width);
    traceWord("read_mem ", address, requested, width);
    return 0;
}

int read_reg(const char* name, uint64_t* value) {
    replaceRegisterName(name);
    *value = loggerAgentState.lastValue;
    return 0;
}

int write_reg(const char* name, uint64_t value) {
    replaceRegisterName(name);
    loggerAgentState.lastValue = value;
    return 0;
}

int ddr_get(uint64_t first, uint64_t* second) {
    loggerAgentState.ddrFirst = first;
    *second = loggerAgentState.lastAddress;
    return 0;
}

int ddr_set(uint64_t second) {
    loggerAgentState.lastAddress = second;
    return 0;
}

int ddr_trigger() {
    loggerAgentState.triggered = 1;
    return 0;
}

int ddr_write(uint64_t address, uint64_t size, uint8_t* data) {
    loggerAgentState.lastAddress = address;
    const size_t n = static_cast<size_t>(std::min<uint64_t>(size, sizeof loggerAgentState.block));
    std::memcpy(loggerAgentState.block, data, n);
    loggerAgentState.blockLength = n;
    traceBlock("write_mem", address, size, loadBytes(data, n));
    return 0;
}

int ddr_read(uint64_t address, uint64_t size, uint8_t* data) {
    loggerAgentState.lastAddress = address;
    loggerAgentState.blockLength = size;
    // Only the block is there to read from; what lies behind it reads as zero.
    const size_t n = static_cast<size_t>(std::min<uint64_t>(size, sizeof loggerAgentState.block));
    std::memcpy(data, loggerAgentState.block, n);
    if (size > n) std::memset(data + n, 0, static_cast<size_t>(size - n));
    // An 8-byte read says write_mem; readers of the trace rely on it.
    traceBlock(size == 8 ? "write_mem" : "read_mem", address, size, loadBytes(data, n));
    return 0;
}

}  // namespace logger_agent

DummyServer::DummyServer(unsigned short p)
    : port(p), listenSocket(-1), serveMoreClients(false), running(false), stopRequested(false), clientSocket(-1) {}

DummyServer::~DummyServer() {
    // A thread left running would outlive the object it serves.
    if (thread && thread->joinable() && thread->get_id() != boost::this_thread::get_id()) {
        stop();
        thread->join();
    }
    if (listenSocket >= 0) ::close(listenSocket);
}

bool DummyServer::run() {
    if (thread) return false;
    init_sock_library();
    listenSocket = ::socket(AF_INET, SOCK_STREAM, 0);
    if (listenSocket < 0) return false;
    int on = 1;
    ::setsockopt(listenSocket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);

    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_ANY);
    addr.sin_port = htons(port);
    if (::bind(listenSocket, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        AGENT_ERROR_AT("quorl::DummyServer::run", SOURCE, 171, "Failed to bind the socket");
        ::close(listenSocket);
        listenSocket = -1;
        return false;
    }
    socklen_t len = sizeof addr;
    if (::getsockname(listenSocket, reinterpret_cast<sockaddr*>(&addr), &len) == 0) port = ntohs(addr.sin_port);
    ::listen(listenSocket, LISTEN_BACKLOG);

    // Running before the thread starts, so that a client accepted at once is
    // served rather than dropped.
    {
        boost::mutex::scoped_lock lock(mutex);
        running = true;
    }
    try {
        thread.reset(new boost::thread(&DummyServer::waitData, &listenSocket, this));
    } catch (...) {
        boost::mutex::scoped_lock lock(mutex);
        running = false;
        throw;
    }
    return true;
}

void DummyServer::stop() {
    boost::mutex::scoped_lock lock(mutex);
    running = false;
    stopRequested = true;
    // Wake the thread wherever it waits: in accept (no client ever came) or in
    // a read from a client that does not close.
    if (clientSocket >= 0) ::shutdown(clientSocket, SHUT_RDWR);
    if (listenSocket >= 0) ::shutdown(listenSocket, SHUT_RDWR);
}

void DummyServer::join() {
    if (thread && (thread->joinable() || thread->get_id() == boost::this_thread::get_id())) thread->join();
}

bool DummyServer::isRunning() {
    boost::mutex::scoped_lock lock(mutex);
    return running;
}

void DummyServer::releaseClient() {
    boost::mutex::scoped_lock lock(mutex);
    clientSocket = -1;
}

void DummyServer::closeClient(agent_socket_t& client) {
    boost::mutex::scoped_lock lock(mutex);
    if (client >= 0) ::close(client);
    client = -1;
    clientSocket = -1;
}

void DummyServer::waitData(agent_socket_t* listenSocket, DummyServer* server) {
    for (;;) {
        agent_socket_t client = -1;
        try {
            boost::this_thread::interruption_point();
            client = ::accept(*listenSocket, nullptr, nullptr);
            if (client < 0) {
                boost::mutex::scoped_lock lock(server->mutex);
                if (!server->stopRequested && (errno == EINTR || errno == ECONNABORTED)) continue;
                return;  // stopped while waiting, or the socket is gone
            }
            {
                boost::mutex::scoped_lock lock(server->mutex);
                if (server->stopRequested) {
                    ::close(client);
                    return;
                }
                server->clientSocket = client;
            }
            server->serveClient(client);
        } catch (boost::thread_interrupted&) {
            server->closeClient(client);
        }
        if (!server->serveMoreClients) return;
        if (!server->isRunning()) return;
    }
}

namespace {

// Where an answer failed.
enum class AnswerStep { None, Build, Convert, Send };

struct Answer {
    AnswerStep failed = AnswerStep::None;
    int result = 0;  // the failing step's value, else what sock_write returned
};

// Turns `message` (host order, `capacity` bytes; taken over and freed here,
// may be null) into the status answer for `text` (null: success) and sends
// it. The buffer grows when the text needs it; `length` counts one byte
// behind the text, which is left as 0.
Answer sendStatus(agent_socket_t client, agent_message* message, size_t capacity, const char* text) {
    Answer answer;
    const size_t textLength = text ? std::strlen(text) : 0;
    const size_t size = text ? textLength + sizeof(agent_status_message) + 1 : sizeof(agent_status_message);
    if (size > capacity) {
        auto* grown = static_cast<agent_message*>(std::realloc(message, size));
        if (!grown) {
            std::free(message);
            answer.failed = AnswerStep::Build;
            answer.result = -ENOMEM;
            return answer;
        }
        message = grown;
    }
    auto* status = reinterpret_cast<agent_status_message*>(message);
    status->type = AGENT_MSG_STATUS;
    status->length = static_cast<uint32_t>(size - 4);
    status->status = text ? AGENT_STATUS_FAILED : AGENT_STATUS_OK;
    if (text) {
        std::memcpy(agent_status_text(message), text, textLength);
        agent_status_text(message)[textLength] = 0;
    }
    agent_message* net = nullptr;
    answer.result = htonm(message, &net);
    std::free(message);
    if (answer.result != 0 || !net) {
        std::free(net);
        answer.failed = AnswerStep::Convert;
        return answer;
    }
    answer.result = sock_write(client, net);
    std::free(net);
    if (answer.result < 0) answer.failed = AnswerStep::Send;
    return answer;
}

}  // namespace

void DummyServer::serveClient(agent_socket_t client) {
    // Replies are small and the client waits for each one: send them at once
    // rather than letting them wait for the acknowledgement of the last one.
    int on = 1;
    ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);

    const Answer greeting = sendStatus(client, nullptr, 0, nullptr);
    switch (greeting.failed) {
        case AnswerStep::None:
            break;
        case AnswerStep::Build:
            AGENT_ERROR_AT("waitData", SOURCE, 56, "Out of memory !");
            break;
        case AnswerStep::Convert:
            if (greeting.result == 0)
                AGENT_ERROR_AT("waitData", SOURCE, 74, "Out of memory !");
            else
                AGENT_ERROR_AT("waitData", SOURCE, 71, "%s",
                               greeting.result > 0 ? "Unknown error" : std::strerror(-greeting.result));
            break;
        case AnswerStep::Send:
            AGENT_ERROR_AT("waitData", SOURCE, 84, "Failed to send client's response");
            break;
    }
    if (greeting.failed != AnswerStep::None) {
        closeClient(client);
        return;
    }

    // One receive call per request: a whole request usually arrives at once.
    agent_reader reader;
    agent_reader_init(&reader, client);
    int result = 0;
    // A message that cannot be converted or an answer that cannot be sent
    // ends the service but leaves the client's socket open: only a stop or a
    // failed receive closes it.
    bool keepOpen = false;
    while (result >= 0 && isRunning()) {
        agent_message* received = nullptr;
        result = recv_sock_message(client, &received, &reader);
        if (result < 0) {
            std::free(received);
            break;
        }
        agent_message* message = nullptr;
        result = ntohm(received, &message);
        std::free(received);
        if (result == 0 && !message) result = -ENOMEM;
        if (result < 0) {
            keepOpen = true;
            break;
        }
        const size_t capacity = size_t(message->length) + 4;
        const char* text = interpret_message(client, message);
        const Answer answer = sendStatus(client, message, capacity, text);
        result = answer.failed == AnswerStep::Convert && answer.result == 0 ? -ENOMEM : answer.result;
        keepOpen = result < 0;
    }
    if (result < 0 && result != PEER_CLOSED)
        AGENT_ERROR_AT("waitData", SOURCE, 111, "Error interpreting message: %s", std::strerror(-result));
    if (!keepOpen)
        closeClient(client);
    else
        releaseClient();
}

}  // namespace quorl
