#pragma once
// Access process over the agent message protocol (one TCP connection to an
// agent). In this program the agent is the in-process Logger server, but
// nothing here depends on that.
//
// The connection is process-wide (AgentClient.h): every TaProcessLTA on the
// same address and port shares one socket, opened on the first access and
// kept until closeAgentSocket().
#include "target.access/AgentClient.h"
#include "target.access/TaProcess.h"

#include <boost/thread/mutex.hpp>

#include <cstdint>
#include <string>

namespace quorl {

class TaProcessLTA : public TaProcess {
public:
    // `address` is an IPv4 dotted text. Nothing goes on the network here.
    TaProcessLTA(std::string address, int port);
    ~TaProcessLTA() override = default;

    // Each slot connects first if needed and throws Exception when the
    // request fails; false only for a null buffer or an operation this
    // protocol does not offer.
    bool writeMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* source) override;
    bool readMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) override;
    bool readMemoryPiped(const ExtAddress&, uint64_t, uint32_t, void*) override { return false; }
    bool writeRegister(const std::string& name, uint64_t width, uint32_t count, void* source) override;
    bool readRegister(const std::string& name, uint64_t width, uint32_t count, uint64_t* destination) override;
    bool reserved() override { return false; }
    unsigned int accessType() override { return ACCESS_AGENT; }

    // False once a send or receive has failed since the last question.
    bool isConnected();
    ConnectionInfo getConnectionInfo() const;

private:
    void connect();

    std::string address;
    int32_t port;
    bool connected;
    boost::mutex mutex;  // serialises connect()
};

}  // namespace quorl
