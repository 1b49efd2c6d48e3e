#include "modules/TMC.h"

#include "app/base/Log.h"
#include "modules/RegisterMap.h"

namespace quorl {

// Declared for the controller's registers; nothing is logged on it.
Log logTmcModule("quorl.ka.rq7.config.TmcModule");

namespace {

// CoreSight TMC register map, offsets from the controller's base address.
// clang-format off
const RegisterRow<TMC::RegisterId> REGISTER_MAP[TMC::REGISTER_COUNT] = {
    {TMC::LAR,        "LAR",        0xFB0, 32, NO_RESET},
    {TMC::PSCR,       "PSCR",       0x308, 32, NO_RESET},
    {TMC::STS,        "STS",        0x00C, 32, NO_RESET},
    {TMC::LSR,        "LSR",        0xFB4, 32, NO_RESET},
    {TMC::FFCR,       "FFCR",       0x304, 32, NO_RESET},
    {TMC::CTL,        "CTL",        0x020, 32, 0},
    {TMC::RRP,        "RRP",        0x014, 32, NO_RESET},
    {TMC::RWP,        "RWP",        0x018, 32, NO_RESET},
    {TMC::MODE,       "MODE",       0x028, 32, NO_RESET},
    {TMC::AUTHSTATUS, "AUTHSTATUS", 0xFB8, 32, NO_RESET},
    {TMC::TRG,        "TRG",        0x01C, 32, NO_RESET},
    {TMC::RSZ,        "RSZ",        0x004, 32, NO_RESET},
    {TMC::BUFWM,      "BUFWM",      0x034, 32, NO_RESET},
    {TMC::AXICTL,     "AXICTL",     0x110, 32, NO_RESET},
    {TMC::DBALO,      "DBALO",      0x118, 32, NO_RESET},
    {TMC::DBAHI,      "DBAHI",      0x11C, 32, NO_RESET},
};
// clang-format on

// Register fields and values.
const unsigned int TMC_CTL_CAPT_EN = 1u << 0;
const unsigned int TMC_CTL_STOPPED = 0;
const unsigned int TMC_MODE_CIRCULAR_BUFFER = 0;
const unsigned int TMC_MODE_SOFTWARE_FIFO = 1;
const unsigned int TMC_MODE_HARDWARE_FIFO = 2;
const unsigned int TMC_PSCR_SYNC_2POW27 = 27;  // a sync packet every 2^27 bytes
const unsigned int TMC_FFCR_EN_FMT = 1u << 0;
const unsigned int TMC_FFCR_EN_TI = 1u << 1;
const unsigned int TMC_FFCR_STOP_ON_FLUSH = 1u << 12;
const unsigned int TMC_FFCR_DRAIN_BUFFER = 1u << 14;
const unsigned int TMC_STS_MEMERR = 1u << 5;
const unsigned int TMC_AXICTL_SCT_GAT_MODE = 1u << 7;
const unsigned int TMC_DBAHI_MASK = 0xFF;  // address bits 39 to 32
const unsigned DBAHI_SHIFT = 32;

const unsigned int FFCR_INTERNAL = TMC_FFCR_EN_FMT | TMC_FFCR_EN_TI | TMC_FFCR_STOP_ON_FLUSH;
const unsigned int FFCR_SYSTEM = FFCR_INTERNAL | TMC_FFCR_DRAIN_BUFFER;

}  // namespace

TMC::TMC(uint64_t baseAddress, std::string memorySpace) {
    buildRegisters(registers, REGISTER_MAP, baseAddress, memorySpace);
}

bool TMC::unlock(boost::shared_ptr<TaProcess> process) {
    reg(LAR).write(process, CS_LAR_UNLOCK_KEY);
    return true;
}

bool TMC::stop(boost::shared_ptr<TaProcess> process) {
    reg(CTL).write(process, TMC_CTL_STOPPED);
    return true;
}

unsigned int TMC::bufferModeValue() const {
    return overwrite ? TMC_MODE_CIRCULAR_BUFFER : TMC_MODE_SOFTWARE_FIFO;
}

bool TMC::program(boost::shared_ptr<TaProcess> process) {
    switch (tmcMode) {
        case TmcHardwareFifo:
        case TmcHardwareFifoAlternate:
            reg(MODE).write(process, TMC_MODE_HARDWARE_FIFO);
            break;
        case TmcInternalBuffer:
            reg(PSCR).write(process, TMC_PSCR_SYNC_2POW27);
            reg(FFCR).write(process, FFCR_INTERNAL);
            reg(MODE).write(process, bufferModeValue());
            break;
        case TmcSystemBuffer:
        case TmcSystemBufferScatterGather:
            programSystemBuffer(process);
            break;
        default:  // unknown modes only start capture
            break;
    }
    reg(CTL).write(process, TMC_CTL_CAPT_EN);
    return true;
}

void TMC::programSystemBuffer(boost::shared_ptr<TaProcess> process) {
    const unsigned int status = reg(STS).read(process);
    if (status & TMC_STS_MEMERR) reg(STS).write(process, status);  // write-one-to-clear
    if (tmcMode == TmcSystemBufferScatterGather) {
        const unsigned int axiControl = reg(AXICTL).read(process);
        reg(AXICTL).write(process, axiControl | TMC_AXICTL_SCT_GAT_MODE);
    }
    reg(FFCR).write(process, FFCR_SYSTEM);
    reg(MODE).write(process, bufferModeValue());
    reg(DBALO).write(process, static_cast<unsigned int>(dataBufferAddress));
    reg(DBAHI).write(process, static_cast<unsigned int>(dataBufferAddress >> DBAHI_SHIFT) & TMC_DBAHI_MASK);
    reg(RSZ).write(process, ramSizeWords);
}

}  // namespace quorl
