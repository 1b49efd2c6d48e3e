#include "target.access/AgentClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace quorl {

namespace {

const agent_socket_t NO_SOCKET = -1;  // all ones: not connected
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
bool socketIsZero() {
    return agentSocket == 0;
}

// The next message from the agent in host order, into *host for the caller
// to free; 0, or the failure with lastError set. A closed connection (-1)
// is reported only when reportClosed.
int receiveFromAgent(agent_message** host, bool reportClosed) {
    if (socketIsZero()) {
        setLastError("Invalid socket");
        return -EIO;
    }
    // The socket's receive timeout bounds the wait for the answer (set once
    // at connection: no wait call before each receive).
    agent_message* net = nullptr;
    int rc = recv_sock_message(agentSocket, &net, &agentReader);
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

}  // namespace

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

std::string getLastError() {
    return lastError;
}

void clearLastError() {
    lastError.clear();
}

agent_socket_t getAgentSocket() {
    return agentSocket;
}

ConnectionInfo& lastAgentConnection() {
    return lastConnection;
}

void closeAgentSocket() {
    if (agentSocket > 0) ::close(agentSocket);  // a zero handle is "invalid", never closed
    agentSocket = NO_SOCKET;
    agent_reader_init(&agentReader, NO_SOCKET);
}

// A receive on the socket gives up after the reply timeout.
static bool applyReplyTimeout() {
    timeval limit = {replyTimeoutMs / 1000, (replyTimeoutMs % 1000) * 1000};
    return ::setsockopt(agentSocket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) == 0;
}

void setAgentReplyTimeout(int milliseconds) {
    replyTimeoutMs = milliseconds;
    if (agentSocket > 0) applyReplyTimeout();
}

void resetAgentConnection() {
    closeAgentSocket();
    lastConnection = ConnectionInfo();
    lastError.clear();
}

bool openAgentSocket(const std::string& address, int port) {
    if (!socketLibraryStarted) {
        init_sock_library();
        socketLibraryStarted = true;
    }
    agentSocket = ::socket(AF_INET, SOCK_STREAM, 0);
    if (agentSocket < 0) {
        agentSocket = NO_SOCKET;
        setLastError("Error : Could not create socket");
        return false;
    }
    sockaddr_in server;
    // Filled with the character '0', not zero bytes, as agents' clients always
    // have: sin_zero keeps those bytes and the connection works all the same.
    std::memset(&server, '0', sizeof server);
    server.sin_family = AF_INET;
    server.sin_port = htons(static_cast<uint16_t>(port));
    char text[ADDRESS_TEXT_MAX];
    std::strncpy(text, address.c_str(), ADDRESS_TEXT_MAX);
    text[ADDRESS_TEXT_MAX - 1] = 0;
    in_addr parsed;
    if (::inet_pton(AF_INET, text, &parsed) != 1) {
        setLastError("inet_pton error occured");
        return false;
    }
    server.sin_addr = parsed;
    int on = 1;
    if (::setsockopt(agentSocket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) {
        setLastError("TCP_NODELAY setsockopt error");
        return false;
    }
    if (::connect(agentSocket, reinterpret_cast<sockaddr*>(&server), sizeof server) != 0) {
        setLastError("Error : connect Failed");
        return false;
    }
    applyReplyTimeout();
    return receiveStatus() == 0;
}

int sendToAgent(agent_message* host) {
    const int type = host->type;
    agent_message* net = nullptr;
    int rc = htonm(host, &net);
    if (rc != 0 || !net) {
        setLastError("Unknown type of message : %d", type);
        std::free(net);
        return rc != 0 ? rc : -ENOMEM;
    }
    int result = -1;
    if (socketIsZero()) {
        setLastError("Invalid socket");
    } else {
        result = sock_write(agentSocket, net);
        result = result > 0 ? 0 : (result < 0 ? result : -EIO);
    }
    if (result < 0) setLastError("Failed to send a message");
    std::free(net);
    return result;
}

int sendMemoryMessage(uint64_t address, const void* buffer, unsigned width, uint8_t operation) {
    uint8_t code;
    switch (width) {
        case 1:
            code = 0;
            break;
        case 2:
            code = 1;
            break;
        case 4:
            code = 2;
            break;
        case 8:
            code = 3;
            break;
        default:
            return -EINVAL;
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
    return sendToAgent(reinterpret_cast<agent_message*>(&m));
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
    int result = sendToAgent(reinterpret_cast<agent_message*>(m));
    std::free(m);
    return result;
}

int receiveStatus() {
    agent_message* host = nullptr;
    int rc = receiveFromAgent(&host, false);
    if (rc != 0) return rc;
    int result = statusResult(host);
    std::free(host);
    return result;
}

int receiveReadReply(uint8_t expectedType, size_t valueOffset, uint64_t* value) {
    agent_message* host = nullptr;
    int rc = receiveFromAgent(&host, true);
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

}  // namespace quorl
