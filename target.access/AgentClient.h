#pragma once
// Client end of the agent message protocol, under TaProcessLTA. Its state is
// process-wide: one socket, one last connection and the text of the last
// client error, shared by every TaProcessLTA.
#include "target.agent/user/communication.h"

#include <cstdint>
#include <string>

namespace quorl {

struct ConnectionInfo {
    std::string address;
    int32_t port = -1;
    bool connected = false;
};

// What the last connection attempt was made to, and how it went.
ConnectionInfo& lastAgentConnection();

// Opens the shared socket to `address` (IPv4 dotted text) and `port` and
// reads the agent's greeting; true when the greeting said success.
bool openAgentSocket(const std::string& address, int port);
// Closes the shared connection; the next access of a new target reconnects.
void closeAgentSocket();

// Sends one message given in host order: the one send of the client. 0 or a
// negative value, with the last error saying what failed.
int sendToAgent(agent_message* message);
// One memory request of `width` bytes (1, 2, 4 or 8) taken from `buffer`.
int sendMemoryMessage(uint64_t address, const void* buffer, unsigned width, uint8_t operation);
// One register request by name, with the value for a write.
int sendRegisterMessage(const char* name, const uint64_t* value, uint8_t operation);

// Reads one status message: 0 for success, negative otherwise, with the
// server's text as the last error.
int receiveStatus();
// Reads the reply of a read request, takes the 8-byte value at `valueOffset`
// of it, then the status that always follows.
int receiveReadReply(uint8_t expectedType, size_t valueOffset, uint64_t* value);

// The text of the last client error.
void setLastError(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string getLastError();
void clearLastError();

// Forgets the shared connection and the last error, as at program start.
void resetAgentConnection();
// How long an answer from the agent may take before the access fails
// (default 5000 ms); tests shorten it.
void setAgentReplyTimeout(int milliseconds);
agent_socket_t getAgentSocket();

}  // namespace quorl
