#pragma once
// One CoreSight trace memory controller. A sink sets the four plain fields and
// calls unlock, stop and program; TMC reads no configuration of its own.
#include "target.access/TaProcess.h"
#include "target.access/quorl/register.h"

#include <boost/shared_ptr.hpp>

#include <array>
#include <cstdint>
#include <string>

namespace quorl {

// What program() sets the controller up as.
enum TmcMode : uint32_t {
    TmcHardwareFifo = 0,               // pass-through FIFO on the trace path
    TmcHardwareFifoAlternate = 1,      // handled exactly as TmcHardwareFifo
    TmcInternalBuffer = 2,             // the controller's own memory
    TmcSystemBuffer = 3,               // a buffer in system memory
    TmcSystemBufferScatterGather = 4,  // as TmcSystemBuffer, scatter-gather on
};

class TMC {
public:
    // Register indices, in the order of the register map.
    enum RegisterId {
        PSCR, STS, LSR, LAR, FFCR, CTL, RRP, RWP, MODE, AUTHSTATUS, TRG, RSZ, BUFWM, AXICTL,
        DBALO, DBAHI, REGISTER_COUNT
    };

    TMC(uint64_t baseAddress, std::string memorySpace);

    // Opens the registers for writing (CoreSight lock access).
    bool unlock(boost::shared_ptr<TaProcess> process);
    // Clears the capture enable; nothing waits for the controller to drain.
    bool stop(boost::shared_ptr<TaProcess> process);
    // Programs the mode given by the fields below and starts capture.
    bool program(boost::shared_ptr<TaProcess> process);


    bool overwrite = false;  // circular buffer rather than a FIFO that stops when full
    TmcMode tmcMode = TmcInternalBuffer;
    uint64_t dataBufferAddress = 0;  // system-memory buffer address
    uint32_t ramSizeWords = 0;       // system-memory buffer size in 32-bit words

private:
    void programSystemBuffer(boost::shared_ptr<TaProcess> process);
    unsigned int bufferModeValue() const;  // circular buffer or software FIFO
    Register<unsigned int>& reg(RegisterId id) { return registers[id]; }

    std::array<Register<unsigned int>, REGISTER_COUNT> registers;
};

}  // namespace quorl
