#include "modules/StmModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/RegisterMap.h"
#include "modules/TimestampUtils.h"
#include "target.access/ExtAddress.h"

#include <iostream>
#include <sstream>

namespace quorl {

Log logStmModule("quorl.ka.rq7.config.StmModule");

namespace {

// CoreSight STM register map, offsets from the module base address.
// clang-format off
const RegisterRow<StmModule::RegisterId> REGISTER_MAP[StmModule::REGISTER_COUNT] = {
    {StmModule::STMLAR,     "STMLAR",     0xFB0, 32, NO_RESET},
    {StmModule::STMTSFREQR, "STMTSFREQR", 0xE8C, 32, NO_RESET},
    {StmModule::STMTCSR,    "STMTCSR",    0xE80, 32, 0},
    {StmModule::STMAUXCR,   "STMAUXCR",   0xE94, 32, NO_RESET},
    {StmModule::STMSPER,    "STMSPER",    0xE00, 32, NO_RESET},
    {StmModule::STMHEER,    "STMHEER",    0xD00, 32, NO_RESET},
    {StmModule::STMHETER,   "STMHETER",   0xD20, 32, NO_RESET},
    {StmModule::STMHEMCR,   "STMHEMCR",   0xD64, 32, NO_RESET},
    {StmModule::STMHEBSR,   "STMHEBSR",   0xD60, 32, NO_RESET},
};
// clang-format on

// STMTCSR fields.
const unsigned int STMTCSR_EN = 1u << 0;
const unsigned int STMTCSR_TSEN = 1u << 1;
const unsigned int STMTCSR_SYNCEN = 1u << 2;
const unsigned int STMTCSR_HWTEN = 1u << 3;
const unsigned STMTCSR_TRACEID_SHIFT = 16;
const unsigned int STM_TRACE_ID = 0x40;

// STMHEMCR fields (bit 3 is reserved).
const unsigned int STMHEMCR_EN = 1u << 0;
const unsigned int STMHEMCR_COMPEN = 1u << 1;
const unsigned int STMHEMCR_ERRDETECT = 1u << 2;
const unsigned int STMHEMCR_TRIGCTL = 1u << 4;
const unsigned int STMHEMCR_TRIGSTATUS = 1u << 5;
const unsigned int STMHEMCR_TRIGCLEAR = 1u << 6;
const unsigned int STMHEMCR_ATBTRIGEN = 1u << 7;
const unsigned int STMHEMCR_ALL = STMHEMCR_EN | STMHEMCR_COMPEN | STMHEMCR_ERRDETECT |
                                  STMHEMCR_TRIGCTL | STMHEMCR_TRIGSTATUS | STMHEMCR_TRIGCLEAR |
                                  STMHEMCR_ATBTRIGEN;

const unsigned int STMTSFREQR_UNSET = 0;  // nothing fills in the counter frequency
const unsigned int STMAUXCR_FIFOAF = 1u << 0;
const unsigned int STMSPER_ALL_PORTS = 0xFFFFFFFF;
const unsigned int STMHEER_ALL_EVENTS = 0xFFFFFFFF;
const unsigned int STMHETER_ALL_TRIGGERS = 0xFFFFFFFF;
const unsigned int STMHEBSR_BANK0 = 0;
const unsigned int STMHEBSR_BANK1 = 1;

}  // namespace

StmModule::StmModule(std::string name, boost::shared_ptr<ConfigBlock> block,
                     boost::shared_ptr<TimestampUtils> timestamps)
    : ConfigurationModule(std::move(name), block), timestampUtils(std::move(timestamps)) {
    loadSTMSettings(block);
    buildRegisters(registers, REGISTER_MAP, baseAddress, memorySpace);
}

StmModule::~StmModule() = default;

bool StmModule::loadSTMSettings(boost::shared_ptr<ConfigBlock> block) {
    auto enableTraceAttribute = getTypedAttribute<BoolAttribute>(*block, ATTR_ENABLE_TRACE);
    if (!enableTraceAttribute) {
        // This one attribute is reported on the error stream, not the log.
        std::cerr << "[loadSTMSettings]: Error: Could not find attribute " << ATTR_ENABLE_TRACE << std::endl;
        return false;
    }
    const BlockReader read(logStmModule, *block, "[loadSTMSettings]: Error: Could not find attribute ", "\n");
    auto memSpaceAttribute = read.require<StringAttribute>(ATTR_MEM_SPACE);
    if (!memSpaceAttribute) return false;
    auto baseAddressAttribute = read.requireBaseAddress("loadDataStreamSettings");
    if (!baseAddressAttribute) return false;
    auto timestampAttribute = read.require<BoolAttribute>(ATTR_TIMESTAMP);
    if (!timestampAttribute) return false;

    enableTrace = enableTraceAttribute->getValue();
    timestampEnable = timestampAttribute->getValue();
    memorySpace = ExtAddress::validMemorySpace(memSpaceAttribute->getValue());
    // Stored before the optional bank event is looked at, so that a block
    // without one still has a known address.
    baseAddress = baseAddressAttribute->getValue();
    baseAddressRead = true;
    bankEventId = 0;
    hwEventsEnable = false;

    auto bankEventAttribute = getTypedAttribute<UInt32Attribute>(*block, ATTR_BANK_EVENT_ID);
    if (!bankEventAttribute) return true;  // optional, and not reported
    auto hwEventsAttribute = read.require<BoolAttribute>(ATTR_ENABLE_HW_EVENTS_TRACE);
    if (!hwEventsAttribute) return false;
    hwEventsEnable = hwEventsAttribute->getValue();
    bankEventId = bankEventAttribute->getValue();
    return true;
}

bool StmModule::configure(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    RQ7_LOG(logStmModule, LOG_INFO, "Write STM registers");

    reg(STMLAR).write(process, CS_LAR_UNLOCK_KEY);

    unsigned int control = STMTCSR_SYNCEN | (enabled ? STMTCSR_EN : 0);
    if (timestampEnable) {
        control |= STMTCSR_TSEN;
        if (timestampUtils)
            timestampUtils->configure(process);
        else
            RQ7_LOG(logStmModule, LOG_WARNING,
                    "Timestamp module not initialized, timestamp generator left as it is");
        reg(STMTSFREQR).write(process, STMTSFREQR_UNSET);
    }
    control |= STM_TRACE_ID << STMTCSR_TRACEID_SHIFT;
    if (hwEventsEnable) control |= STMTCSR_HWTEN;

    // Program the final fields with the unit still off, then switch it on.
    if (enabled) reg(STMTCSR).write(process, control & ~STMTCSR_EN);
    reg(STMTCSR).write(process, control);
    reg(STMAUXCR).write(process, STMAUXCR_FIFOAF);
    reg(STMSPER).write(process, STMSPER_ALL_PORTS);
    if (hwEventsEnable) {
        reg(STMHEER).write(process, STMHEER_ALL_EVENTS);
        reg(STMHETER).write(process, STMHETER_ALL_TRIGGERS);
        reg(STMHEMCR).write(process, STMHEMCR_ALL);
        reg(STMHEBSR).write(process, bankEventId != 0 ? STMHEBSR_BANK1 : STMHEBSR_BANK0);
    }
    return true;
}

bool StmModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    reg(STMTCSR).reset(process);
    return true;
}

uint32_t StmModule::traceId() { return STM_TRACE_ID; }

}  // namespace quorl
