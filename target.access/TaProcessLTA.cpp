#include "target.access/TaProcessLTA.h"

#include "app/base/Exception.h"
#include "app/base/Log.h"
#include "target.access/ExtAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <vector>

namespace quorl {

Log logLta("qor.ta.lta");

namespace {

const char* const SOURCE = "taprocesslta";
const uint32_t LINE_WRITE_MEMORY = 72;
const uint32_t LINE_READ_MEMORY = 97;
const uint32_t LINE_READ_REGISTER = 118;
const uint32_t LINE_WRITE_REGISTER = 144;

const agent_socket_t NO_SOCKET = -1;  // all ones: not connected
const uint64_t MAX_ACCESS_BYTES = 8;
const size_t ADDRESS_TEXT_MAX = 66;
// The agent answers at once; a peer silent this long is not our server (two
// Logger runs sharing the port), and waiting for it would hang the run.
int replyTimeoutMs = 5000;

agent_socket_t agentSocket = NO_SOCKET;
// Answers are read through a buffer: a read's reply and status come together.
agent_reader agentReader = {NO_SOCKET, 0, 0, {}};
ConnectionInfo lastConnection;
bool socketLibraryStarted = false;
std::string lastError;

// The operations test the handle against zero, as the agent protocol's
// clients always have; the unconnected all-ones handle passes and fails at
// the socket call instead.
bool socketIsZero() { return agentSocket == 0; }

// One whole message from the agent, in network order.
int receiveMessage(agent_message** message) {
    if (agentReader.socket != agentSocket) agent_reader_init(&agentReader, agentSocket);
    if (agentReader.end - agentReader.start < 4 && agentSocket >= 0) {
        pollfd wait = {agentSocket, POLLIN, 0};
        int ready;
        do {
            ready = ::poll(&wait, 1, replyTimeoutMs);
        } while (ready < 0 && errno == EINTR);
        if (ready == 0) return -ETIMEDOUT;
    }
    return recv_sock_message_buffered(&agentReader, message);
}

// The next message from the agent in host order, into *host for the caller
// to free; 0, or the failure with lastError set. A closed connection (-1)
// is reported only when reportClosed.
int receiveHostMessage(agent_message** host, bool reportClosed) {
    agent_message* net = nullptr;
    int rc = receiveMessage(&net);
    if (rc != 0) {
        std::free(net);
        if (reportClosed || rc != -1) setLastError("Failed to receive a message from server");
        return -EIO;
    }
    rc = ntohm(net, host);
    std::free(net);
    if (rc != 0 || !*host) {
        std::free(*host);
        *host = nullptr;
        setLastError("Failed to interpret message from network");
        return rc != 0 ? rc : -ENOMEM;
    }
    return 0;
}

void closeHandle(agent_socket_t s) {
    if (s >= 0) ::close(s);
}

// Outcome of a status message in host order.
int statusResult(agent_message* host) {
    if (host->type == AGENT_MSG_STATUS) {
        auto* status = reinterpret_cast<agent_status_message*>(host);
        if (status->status == AGENT_STATUS_OK) return 0;
        // The text ends with the buffer; its last counted byte need not be NUL.
        const char* text = agent_status_text(host);
        setLastError("%s", std::string(text, strnlen(text, host->length - 2)).c_str());
        return -EINVAL;
    }
    setLastError("Unexpected type of message : %d", host->type);
    return -EINVAL;
}

// Sends a message given in host order; lastError says what failed.
int sendHostMessage(agent_message* host) {
    const int type = host->type;
    agent_message* net = nullptr;
    int rc = htonm(host, &net);
    if (rc != 0 || !net) {
        setLastError("Unknown type of message : %d", type);
        std::free(net);
        return rc != 0 ? rc : -ENOMEM;
    }
    int result = sendToAgent(net);
    if (result < 0) setLastError("Failed to send a message");
    std::free(net);
    return result;
}

// Reads the reply of a read request, takes the 8-byte value at `valueOffset`
// of it, then reads the status that always follows.
int receiveReadReply(uint8_t expectedType, size_t valueOffset, uint64_t* value) {
    if (socketIsZero()) {
        setLastError("Invalid socket");
        return -1;
    }
    agent_message* host = nullptr;
    int rc = receiveHostMessage(&host, true);
    if (rc != 0) return rc;
    if (host->type != expectedType) {
        // A server that refused the request answers with its status alone.
        int result = host->type == AGENT_MSG_STATUS ? statusResult(host) : 0;
        if (result == 0) {
            setLastError("Unexpected type of message : %d", host->type);
            result = -EINVAL;
        }
        std::free(host);
        return result;
    }
    std::memcpy(value, reinterpret_cast<uint8_t*>(host) + valueOffset, sizeof *value);
    std::free(host);
    return receiveStatus();
}

}  // namespace

// ---- Client layer ------------------------------------------------------------

void setLastError(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (n < 0) n = 0;
    std::vector<char> text(size_t(n) + 1);
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    lastError.assign(text.data(), size_t(n));
}

std::string getLastError() { return lastError; }

agent_socket_t getAgentSocket() { return agentSocket; }

void closeAgentSocket() {
    if (agentSocket != 0) closeHandle(agentSocket);
    agentSocket = NO_SOCKET;
    agent_reader_init(&agentReader, NO_SOCKET);
}

void setAgentReplyTimeout(int milliseconds) { replyTimeoutMs = milliseconds; }

void resetAgentConnection() {
    closeAgentSocket();
    lastConnection = ConnectionInfo();
    lastError.clear();
}

int sendToAgent(agent_message* message) {
    if (socketIsZero()) {
        setLastError("Invalid socket");
        return -1;
    }
    int rc = sock_write(agentSocket, message);
    return rc > 0 ? 0 : (rc < 0 ? rc : -EIO);
}

int sendMemoryMessage(uint64_t address, const void* buffer, unsigned width, uint8_t operation) {
    uint8_t code;
    switch (width) {
        case 1: code = 0; break;
        case 2: code = 1; break;
        case 4: code = 2; break;
        case 8: code = 3; break;
        default: return -EINVAL;
    }
    agent_mem_message m{};
    m.length = AGENT_MEM_LENGTH;
    m.type = AGENT_MSG_MEMORY;
    m.operation = operation;
    m.data_length = code;
    m.address = address;
    uint64_t value = 0;
    std::memcpy(&value, buffer, width);
    m.value = value;

    return sendHostMessage(reinterpret_cast<agent_message*>(&m));
}

int sendRegisterMessage(const char* name, const uint64_t* value, uint8_t operation) {
    if (!name) return -EINVAL;
    const size_t nameLength = std::strlen(name);
    const size_t size = sizeof(agent_reg_message) + nameLength + 1;
    auto* m = static_cast<agent_reg_message*>(std::malloc(size));
    if (!m) return -ENOMEM;
    m->length = static_cast<uint32_t>(size - 4);
    m->type = AGENT_MSG_REGISTER;
    m->operation = operation;
    m->value = value ? *value : 0;
    std::memcpy(agent_reg_name(reinterpret_cast<agent_message*>(m)), name, nameLength + 1);

    int result = sendHostMessage(reinterpret_cast<agent_message*>(m));
    std::free(m);
    return result;
}

int receiveStatus() {
    if (socketIsZero()) {
        setLastError("Invalid socket");
        return -EIO;
    }
    agent_message* host = nullptr;
    int rc = receiveHostMessage(&host, false);
    if (rc != 0) return rc;
    int result = statusResult(host);
    std::free(host);
    return result;
}

// ---- TaProcessLTA --------------------------------------------------------------

namespace {

// The bytes one access moves: at most one 64-bit value; more is warned about
// (the warning names the access) and cut.
uint64_t accessSize(uint64_t width, uint32_t count, const char* warning) {
    uint64_t size = width * count;
    if (size > MAX_ACCESS_BYTES) {
        RQ7_LOG(logLta, LOG_WARNING, warning);
        size = MAX_ACCESS_BYTES;
    }
    return size;
}

// One request and its answer: -1 with lastError set when there is no socket,
// the send's negative result with sendError set when it fails, else what
// receive returns (0 on success).
template <class Send, class Receive>
int exchange(Send send, const char* sendError, Receive receive) {
    if (socketIsZero()) {
        setLastError("Invalid socket");
        return -1;
    }
    int result = send();
    if (result < 0) {
        setLastError("%s", sendError);
        return result;
    }
    return receive();
}

}  // namespace

TaProcessLTA::TaProcessLTA(std::string newAddress, int newPort) : port(-1), connected(false) {
    if (isConnected() && newAddress != address) {
        closeAgentSocket();
        connected = false;
    }
    address = newAddress;
    if (isConnected() && newPort != port) {
        closeAgentSocket();
        connected = false;
    }
    port = newPort;
    // The agent protocol has no memory spaces; every name maps to the default.
    ExtAddress::memorySpaceIds = std::vector<std::string>{"logger"};
}

bool TaProcessLTA::isConnected() {
    if (lastError.find("Failed to send a message") != std::string::npos ||
        lastError.find("Failed to receive a message") != std::string::npos) {
        lastError.clear();
        connected = false;
        return false;
    }
    return connected;
}

ConnectionInfo TaProcessLTA::getConnectionInfo() const {
    ConnectionInfo info;
    info.address = address;
    info.port = port;
    info.connected = connected;
    return info;
}

void TaProcessLTA::connect() {
    boost::mutex::scoped_lock lock(mutex);
    // Same target as last time: keep that connection, even a failed one, so a
    // dead target is not retried on every access.
    if (address == lastConnection.address && port == lastConnection.port) return;

    closeAgentSocket();
    lastConnection.connected = false;
    connected = false;

    if (!isConnected()) {
        if (!socketLibraryStarted) {
            init_sock_library();
            socketLibraryStarted = true;
        }
        do {
            agentSocket = ::socket(AF_INET, SOCK_STREAM, 0);
            if (agentSocket < 0) {
                agentSocket = NO_SOCKET;
                setLastError("Error : Could not create socket");
                break;
            }
            sockaddr_in server;
            std::memset(&server, '0', sizeof server);
            server.sin_family = AF_INET;
            server.sin_port = htons(static_cast<uint16_t>(port));
            char text[ADDRESS_TEXT_MAX];
            std::strncpy(text, address.c_str(), ADDRESS_TEXT_MAX);
            text[ADDRESS_TEXT_MAX - 1] = 0;
            in_addr parsed;
            if (::inet_pton(AF_INET, text, &parsed) != 1) {
                setLastError("inet_pton error occured");
                break;
            }
            server.sin_addr = parsed;
            int on = 1;
            if (::setsockopt(agentSocket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) {
                setLastError("TCP_NODELAY setsockopt error");
                break;
            }
            if (::connect(agentSocket, reinterpret_cast<sockaddr*>(&server), sizeof server) != 0) {
                setLastError("Error : connect Failed");
                break;
            }
            connected = receiveStatus() == 0;
        } while (false);
    }
    lastConnection.address = address;
    lastConnection.port = port;
    lastConnection.connected = connected;
}

std::string TaProcessLTA::hexAddress(uint64_t value) const {
    std::ostringstream text;
    text << std::hex << value;
    return text.str();
}

bool TaProcessLTA::writeMemory(const ExtAddress& where, uint64_t width, uint32_t count,
                               void* source) {
    if (!source) return false;
    connect();
    uint64_t size =
        accessSize(width, count, "Trying to write more than 64 bits into IO_MAPPED memory once.");
    uint64_t value = 0;
    std::memcpy(&value, source, size);

    int result = exchange(
        [&] { return sendMemoryMessage(where.address, &value, unsigned(size), AGENT_OP_WRITE); },
        "Failed to send a request", [] { return receiveStatus(); });
    if (result != 0)
        throw Exception(SOURCE, LINE_WRITE_MEMORY,
                        "Cannot write address " + hexAddress(where.address) +
                            " with memory space " + where.memorySpace);
    return true;
}

bool TaProcessLTA::readMemory(const ExtAddress& where, uint64_t width, uint32_t count,
                              void* destination) {
    if (!destination) return false;
    connect();
    uint64_t size =
        accessSize(width, count, "Trying to read more than 64 bits into IO_MAPPED memory once.");
    uint64_t value = 0;
    const uint64_t zero = 0;
    int result = exchange(
        [&] { return sendMemoryMessage(where.address, &zero, unsigned(size), AGENT_OP_READ); },
        "Failed to send a message !",
        [&] { return receiveReadReply(AGENT_MSG_MEMORY, offsetof(agent_mem_message, value), &value); });
    // The low bytes of the value, also after a failure (then zero).
    std::memcpy(destination, &value, size);
    if (result != 0)
        throw Exception(SOURCE, LINE_READ_MEMORY,
                        "Cannot read address " + hexAddress(where.address) +
                            " with memory space " + where.memorySpace);
    return true;
}

bool TaProcessLTA::writeRegister(const std::string& name, uint64_t width, uint32_t count,
                                 void* source) {
    if (!source) return false;
    connect();
    uint64_t size = accessSize(width, count, "Attempt to write more than 64 bits into a register.");
    uint64_t value = 0;
    std::memcpy(&value, source, size);

    int result = exchange([&] { return sendRegisterMessage(name.c_str(), &value, AGENT_OP_WRITE); },
                          "Failed to send a request", [] { return receiveStatus(); });
    if (result != 0)
        throw Exception(SOURCE, LINE_WRITE_REGISTER, "Cannot write register " + name);
    return true;
}

bool TaProcessLTA::readRegister(const std::string& name, uint64_t width, uint32_t count,
                                uint64_t* destination) {
    if (!destination) return false;
    connect();
    // The destination is one 64-bit value, so nothing needs clamping.
    if (width * count > MAX_ACCESS_BYTES)
        RQ7_LOG(logLta, LOG_WARNING, "Attempt to read more than 64 bits from a register.");

    const uint64_t zero = 0;
    int result = sendRegisterMessage(name.c_str(), &zero, AGENT_OP_READ);
    if (result >= 0)
        result = receiveReadReply(AGENT_MSG_REGISTER, offsetof(agent_reg_message, value),
                                  destination);
    if (result != 0) throw Exception(SOURCE, LINE_READ_REGISTER, "Cannot read register " + name);
    return true;
}

}  // namespace quorl
