#pragma once
// One CoreSight trace memory controller. A sink starts it in the one mode the
// sink stands for; TMC reads no configuration of its own.
#include "modules/TmcRegisters.h"
#include "target.access/TaProcess.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace quorl {

class TMC {
public:
    // Where a system-memory sink writes its trace.
    struct SystemBuffer {
        uint64_t address = 0;    // bits 39 to 32 and 31 to 0 reach the controller
        uint32_t sizeWords = 0;  // in 32-bit words
        bool overwrite = false;  // circular buffer rather than a FIFO that stops when full
        bool scatterGather = false;
    };

    TMC(uint64_t baseAddress, std::string memorySpace);

    // Each of the three opens the registers, stops capture, sets the
    // controller up for one sink mode and starts capture again.
    // A pass-through FIFO on the trace path.
    bool startHardwareFifo(boost::shared_ptr<TaProcess> process);
    // The controller's own memory, as a circular buffer or a FIFO that stops when full.
    bool startInternalBuffer(boost::shared_ptr<TaProcess> process, bool overwrite);
    // A buffer in system memory.
    bool startSystemBuffer(boost::shared_ptr<TaProcess> process, const SystemBuffer& buffer);

    // Clears the capture enable; nothing waits for the controller to drain.
    bool stop(boost::shared_ptr<TaProcess> process);

private:
    // Opens the registers for writing (CoreSight lock access).
    void unlock(boost::shared_ptr<TaProcess> process);
    void startCapture(boost::shared_ptr<TaProcess> process);

    RegisterArray<tmc::RegisterId, unsigned int, tmc::REGISTER_COUNT> registers;
};

}  // namespace quorl
