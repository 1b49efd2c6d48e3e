#pragma once
// Access process over the agent message protocol (one TCP connection to an
// agent). In this program the agent is the in-process Logger server, but
// nothing here depends on that.
//
// The connection is process-wide: every TaProcessLTA on the same address and
// port shares one socket, opened on the first access and kept until
// closeAgentSocket(). The text of the last client error is process-wide too.
#include "target.access/TaProcess.h"
#include "target.agent/user/communication.h"

#include <boost/thread/mutex.hpp>

#include <cstdint>
#include <string>

namespace quorl {

struct ConnectionInfo {
    std::string address;
    int32_t port = -1;
    bool connected = false;
};

class TaProcessLTA : public TaProcess {
public:
    // `address` is an IPv4 dotted text. Nothing goes on the network here.
    TaProcessLTA(std::string address, int port);
    ~TaProcessLTA() override = default;

    // Each slot connects first if needed and throws Exception when the
    // request fails; false only for a null buffer or an operation this
    // protocol does not offer.
    bool writeMemory(const ExtAddress& where, uint64_t width, uint32_t count,
                     void* source) override;
    bool readMemory(const ExtAddress& where, uint64_t width, uint32_t count,
                    void* destination) override;
    bool readMemoryPiped(const ExtAddress&, uint64_t, uint32_t, void*) override { return false; }
    bool writeRegister(const std::string& name, uint64_t width, uint32_t count,
                       void* source) override;
    bool readRegister(const std::string& name, uint64_t width, uint32_t count,
                      uint64_t* destination) override;
    bool reserved() override { return false; }
    unsigned int accessType() override { return ACCESS_AGENT; }

    // False once a send or receive has failed since the last question.
    bool isConnected();
    ConnectionInfo getConnectionInfo() const;

private:
    void connect();
    std::string hexAddress(uint64_t value) const;

    std::string address;
    int32_t port;
    bool connected;
    boost::mutex mutex;  // serialises connect()
};

// ---- The client layer under the class (process-wide state) ----------------

// One memory request of `width` bytes (1, 2, 4 or 8) taken from `buffer`.
int sendMemoryMessage(uint64_t address, const void* buffer, unsigned width, uint8_t operation);
// One register request by name, with the value for a write.
int sendRegisterMessage(const char* name, const uint64_t* value, uint8_t operation);
// Reads one status message: 0 for success, negative otherwise, with the
// server's text as the last error.
int receiveStatus();
// Closes the shared connection; the next access of a new target reconnects.
void closeAgentSocket();
// Replaces the text of the last client error.
void setLastError(const char* format, ...) __attribute__((format(printf, 1, 2)));
int sendToAgent(agent_message* message);

// Forgets the shared connection and the last error, as at program start.
void resetAgentConnection();
// How long an answer from the agent may take before the access fails
// (default 5000 ms); tests shorten it.
void setAgentReplyTimeout(int milliseconds);

// Diagnostics.
std::string getLastError();
agent_socket_t getAgentSocket();

}  // namespace quorl
