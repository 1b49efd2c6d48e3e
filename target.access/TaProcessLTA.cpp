#include "target.access/TaProcessLTA.h"

#include "app/base/Exception.h"
#include "app/base/HexText.h"
#include "app/base/Log.h"
#include "target.access/ExtAddress.h"

#include <cstring>
#include <sstream>

namespace quorl {

Log logLta("qor.ta.lta");

namespace {

const char* const SOURCE = "taprocesslta";
// Lines of the exceptions of the access operations, as their messages carry them.
const uint32_t LINE_WRITE_MEMORY = 72;
const uint32_t LINE_READ_MEMORY = 97;
const uint32_t LINE_READ_REGISTER = 118;
const uint32_t LINE_WRITE_REGISTER = 144;

const uint64_t MAX_ACCESS_BYTES = 8;

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

// A write request and its status; `sendError` replaces the send's own text.
int requestWrite(int sent, const char* sendError) {
    if (sent < 0) {
        setLastError("%s", sendError);
        return sent;
    }
    return receiveStatus();
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
    const std::string lastError = getLastError();
    if (lastError.find("Failed to send a message") != std::string::npos ||
        lastError.find("Failed to receive a message") != std::string::npos) {
        clearLastError();
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
    ConnectionInfo& last = lastAgentConnection();
    if (address == last.address && port == last.port) return;

    closeAgentSocket();
    last.connected = false;
    connected = false;
    if (!isConnected()) connected = openAgentSocket(address, port);
    last.address = address;
    last.port = port;
    last.connected = connected;
}

bool TaProcessLTA::writeMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* source) {
    if (!source) return false;
    connect();
    uint64_t size = accessSize(width, count, "Trying to write more than 64 bits into IO_MAPPED memory once.");
    uint64_t value = 0;
    std::memcpy(&value, source, size);

    const int sent = sendMemoryMessage(where.address, &value, unsigned(size), AGENT_OP_WRITE);
    if (requestWrite(sent, "Failed to send a request") != 0)
        throw Exception(SOURCE, LINE_WRITE_MEMORY,
                        "Cannot write address " + hexDigits(where.address) + " with memory space " + where.memorySpace);
    return true;
}

bool TaProcessLTA::readMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) {
    if (!destination) return false;
    connect();
    uint64_t size = accessSize(width, count, "Trying to read more than 64 bits into IO_MAPPED memory once.");
    uint64_t value = 0;
    const uint64_t zero = 0;
    int result = sendMemoryMessage(where.address, &zero, unsigned(size), AGENT_OP_READ);
    if (result < 0)
        setLastError("Failed to send a message !");
    else
        result = receiveReadReply(AGENT_MSG_MEMORY, offsetof(agent_mem_message, value), &value);
    // The low bytes of the value, also after a failure (then zero).
    std::memcpy(destination, &value, size);
    if (result != 0)
        throw Exception(SOURCE, LINE_READ_MEMORY,
                        "Cannot read address " + hexDigits(where.address) + " with memory space " + where.memorySpace);
    return true;
}

bool TaProcessLTA::writeRegister(const std::string& name, uint64_t width, uint32_t count, void* source) {
    if (!source) return false;
    connect();
    uint64_t size = accessSize(width, count, "Attempt to write more than 64 bits into a register.");
    uint64_t value = 0;
    std::memcpy(&value, source, size);

    const int sent = sendRegisterMessage(name.c_str(), &value, AGENT_OP_WRITE);
    if (requestWrite(sent, "Failed to send a request") != 0)
        throw Exception(SOURCE, LINE_WRITE_REGISTER, "Cannot write register " + name);
    return true;
}

bool TaProcessLTA::readRegister(const std::string& name, uint64_t width, uint32_t count, uint64_t* destination) {
    if (!destination) return false;
    connect();
    // The destination is one 64-bit value, so nothing needs clamping.
    if (width * count > MAX_ACCESS_BYTES)
        RQ7_LOG(logLta, LOG_WARNING, "Attempt to read more than 64 bits from a register.");

    const uint64_t zero = 0;
    int result = sendRegisterMessage(name.c_str(), &zero, AGENT_OP_READ);
    if (result >= 0) result = receiveReadReply(AGENT_MSG_REGISTER, offsetof(agent_reg_message, value), destination);
    if (result != 0) throw Exception(SOURCE, LINE_READ_REGISTER, "Cannot read register " + name);
    return true;
}

}  // namespace quorl
