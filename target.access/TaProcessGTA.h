#pragma once
// Access process over a debug server: one libgta session and one memory
// context, opened in the constructor. Every access is a monitor command;
// registers by name are not offered.
#include "target.access/TaProcess.h"

#include <cstdint>
#include <string>

struct GtaSession;
struct GtaContext;

namespace quorl {

class TaProcessGTA : public TaProcess {
public:
    // Connects to tcp://address:port and makes the context (connection, soc,
    // core) the server's current one, then loads the server's memory-space
    // names into ExtAddress::memorySpaceIds. Throws std::runtime_error on
    // failure. `endianness` "big" swaps each element between host and target.
    TaProcessGTA(std::string address, unsigned port, std::string connection, std::string soc, std::string core,
                 std::string memorySpace, std::string endianness);
    ~TaProcessGTA() override;
    TaProcessGTA(const TaProcessGTA&) = delete;
    TaProcessGTA& operator=(const TaProcessGTA&) = delete;

    // Failures of the server throw std::runtime_error; false only for a null
    // buffer or an operation not offered. 8-byte writes go out as two 4-byte
    // writes, low word first.
    bool writeMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* source) override;
    bool readMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) override;
    bool readMemoryPiped(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) override;
    bool writeRegister(const std::string&, uint64_t, uint32_t, void*) override { return false; }
    bool readRegister(const std::string&, uint64_t, uint32_t, uint64_t*) override { return false; }
    bool reserved() override { return false; }
    unsigned int accessType() override { return ACCESS_GTA; }

private:
    // -1 on a failed command or a malformed list, else 0.
    int loadMemorySpaces();
    void swapElements(void* buffer, uint64_t width, uint32_t count) const;
    bool bigEndian() const { return endianness == "big"; }

    GtaSession* session = nullptr;
    GtaContext* context = nullptr;
    std::string endianness;
    bool connected = false;
    std::string memorySpace;
};

}  // namespace quorl
