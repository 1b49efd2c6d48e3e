#include "modules/TMC.h"

#include "app/base/Log.h"

namespace quorl {

// Declared for the controller's registers; nothing is logged on it.
Log logTmcModule("quorl.ka.rq7.config.TmcModule");

using namespace tmc;

namespace {

// Formatted trace with trigger indication; a flush stops capture.
const uint32_t FFCR_FORMATTED = FFCR_EnFt.mask() | FFCR_EnTI.mask() | FFCR_StopOnFl.mask();

uint32_t bufferMode(bool overwrite) {
    return MODE_MODE(overwrite ? MODE_CIRCULAR_BUFFER : MODE_SOFTWARE_FIFO);
}

}  // namespace

TMC::TMC(uint64_t baseAddress, std::string memorySpace) {
    registers.build(registerMap, baseAddress, memorySpace);
}

void TMC::unlock(boost::shared_ptr<TaProcess> process) {
    registers[LAR].write(process, CS_LAR_UNLOCK_KEY);
}

bool TMC::stop(boost::shared_ptr<TaProcess> process) {
    registers[CTL].write(process, CTL_TraceCaptEn(false));
    return true;
}

void TMC::startCapture(boost::shared_ptr<TaProcess> process) {
    registers[CTL].write(process, CTL_TraceCaptEn(true));
}

bool TMC::startHardwareFifo(boost::shared_ptr<TaProcess> process) {
    unlock(process);
    stop(process);
    registers[MODE].write(process, MODE_MODE(MODE_HARDWARE_FIFO));
    startCapture(process);
    return true;
}

bool TMC::startInternalBuffer(boost::shared_ptr<TaProcess> process, bool overwrite) {
    unlock(process);
    stop(process);
    registers[PSCR].write(process, PSCR_PSCount(SYNC_EVERY_2POW27_BYTES));
    registers[FFCR].write(process, FFCR_FORMATTED);
    registers[MODE].write(process, bufferMode(overwrite));
    startCapture(process);
    return true;
}

bool TMC::startSystemBuffer(boost::shared_ptr<TaProcess> process, const SystemBuffer& buffer) {
    unlock(process);
    stop(process);
    const uint32_t status = registers[STS].read(process);
    if (STS_MemErr.get(status)) registers[STS].write(process, status);  // writes the error bit back to clear it
    if (buffer.scatterGather) {
        const uint32_t axiControl = registers[AXICTL].read(process);
        registers[AXICTL].write(process, axiControl | AXICTL_ScatterGatherMode.mask());
    }
    registers[FFCR].write(process, FFCR_FORMATTED | FFCR_DrainBuffer.mask());
    registers[MODE].write(process, bufferMode(buffer.overwrite));
    registers[DBALO].write(process, DBALO_BUFADDRLO(buffer.address));
    registers[DBAHI].write(process, DBAHI_BUFADDRHI(buffer.address >> DBAHI_ADDRESS_SHIFT));
    registers[RSZ].write(process, buffer.sizeWords);
    startCapture(process);
    return true;
}

}  // namespace quorl
