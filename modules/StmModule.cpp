#include "modules/StmModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/StmRegisters.h"
#include "modules/TimestampUtils.h"
#include "target.access/ExtAddress.h"

#include <iostream>
#include <sstream>

namespace quorl {

Log logStmModule("quorl.ka.rq7.config.StmModule");

using namespace stm;

StmModule::StmModule(std::string name, boost::shared_ptr<ConfigBlock> block,
                     boost::shared_ptr<TimestampUtils> timestamps)
    : ConfigurationModule(std::move(name), block), timestampUtils(std::move(timestamps)) {
    loadSTMSettings(block);
    registers.build(registerMap, baseAddress, memorySpace);
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

    registers[STMLAR].write(process, CS_LAR_UNLOCK_KEY);

    uint32_t control = STMTCSR_SYNCEN.mask() | STMTCSR_EN(enabled);
    if (timestampEnable) {
        control |= STMTCSR_TSEN.mask();
        if (timestampUtils)
            timestampUtils->configure(process);
        else
            RQ7_LOG(logStmModule, LOG_WARNING, "Timestamp module not initialized, timestamp generator left as it is");
        registers[STMTSFREQR].write(process, STMTSFREQR_UNSET);
    }
    control |= STMTCSR_TRACEID(STM_TRACE_ID);
    if (hwEventsEnable) control |= STMTCSR_HWTEN.mask();

    // Program the final fields with the unit still off, then switch it on.
    if (enabled) registers[STMTCSR].write(process, control & ~STMTCSR_EN.mask());
    registers[STMTCSR].write(process, control);
    registers[STMAUXCR].write(process, STMAUXCR_FIFOAF.mask());
    registers[STMSPER].write(process, STMSPER_SPE.mask());
    if (hwEventsEnable) {
        registers[STMHEER].write(process, STMHEER_HEE.mask());
        registers[STMHETER].write(process, STMHETER_HETE.mask());
        registers[STMHEMCR].write(process, STMHEMCR_EN.mask() | STMHEMCR_COMPEN.mask() | STMHEMCR_ERRDETECT.mask() |
                                               STMHEMCR_TRIGCTL.mask() | STMHEMCR_TRIGSTATUS.mask() |
                                               STMHEMCR_TRIGCLEAR.mask() | STMHEMCR_ATBTRIGEN.mask());
        registers[STMHEBSR].write(process, STMHEBSR_HEBS(bankEventId != 0));
    }
    return true;
}

bool StmModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    registers[STMTCSR].reset(process);
    return true;
}

uint32_t StmModule::traceId() {
    return STM_TRACE_ID;
}

}  // namespace quorl
