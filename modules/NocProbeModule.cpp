#include "modules/NocProbeModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/NocProbeRegisters.h"
#include "target.access/ExtAddress.h"

#include <sstream>

namespace quorl {

Log logNocProbeModule("quorl.ka.rq7.config.NocProbeModule");

using namespace nocprobe;

NocProbeModule::NocProbeModule(std::string name, boost::shared_ptr<ConfigBlock> block)
    : ConfigurationModule(std::move(name), block) {
    loadNoCProbeSettings(block);
    registers.build(registerMap, baseAddress, memorySpace);
}

bool NocProbeModule::loadNoCProbeSettings(boost::shared_ptr<ConfigBlock> block) {
    RQ7_LOG(logNocProbeModule, LOG_INFO, "Load NoC probes settings");
    const BlockReader read(logNocProbeModule, *block, "[loadNoCProbeSettings]: Error: Could not find attribute ", "\n");
    auto enableTraceAttribute = read.require<BoolAttribute>(ATTR_ENABLE_TRACE);
    if (!enableTraceAttribute) return false;
    auto memSpaceAttribute = read.require<StringAttribute>(ATTR_MEM_SPACE);
    if (!memSpaceAttribute) return false;
    auto payloadAttribute = read.require<BoolAttribute>(ATTR_ENABLE_PAYLOAD);
    if (!payloadAttribute) return false;
    auto baseAddressAttribute = read.requireBaseAddress("loadDataStreamSettings");
    if (!baseAddressAttribute) return false;
    auto statisticsAttribute = read.require<BoolAttribute>(ATTR_ENABLE_STATISTICS);
    if (!statisticsAttribute) return false;
    auto intrusiveAttribute = read.require<BoolAttribute>(ATTR_ENABLE_INTRUSIVE_MODE);
    if (!intrusiveAttribute) return false;
    auto tracePortAttribute = read.require<UInt32Attribute>(ATTR_TRACE_PORT);
    if (!tracePortAttribute) return false;

    enableTrace = enableTraceAttribute->getValue();
    memorySpace = ExtAddress::validMemorySpace(memSpaceAttribute->getValue());
    baseAddress = baseAddressAttribute->getValue();
    baseAddressRead = true;
    enablePayload = payloadAttribute->getValue();
    enableStatistics = statisticsAttribute->getValue();
    enableIntrusiveMode = intrusiveAttribute->getValue();
    probeName = block->getName();
    tracePort = tracePortAttribute->getValue();
    return true;
}

bool NocProbeModule::configure(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    const unsigned int mainControl = MAINCTL_TRACE_EN(enabled) | MAINCTL_PAYLOAD_EN(enablePayload) |
                                     MAINCTL_STATISTICS_EN(enableStatistics) |
                                     MAINCTL_INTRUSIVE_MODE(enableIntrusiveMode);

    // The probe stays off until everything else is in place.
    registers[CFGCTL].write(process, CFGCTL_ACTIVE(false));
    registers[MAINCTL].write(process, 0);
    registers[MAINCTL].write(process, mainControl);
    registers[TRACEPORT_SEL].write(process, tracePort);
    registers[FILTER_LUT].write(process, FILTER_LUT_PASS.mask());  // every packet passes
    registers[CFGCTL].write(process, CFGCTL_ACTIVE(enabled));
    return true;
}

bool NocProbeModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    registers[CFGCTL].reset(process);
    registers[MAINCTL].reset(process);
    return true;
}

bool NocProbeModule::disable(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    registers[MAINCTL].reset(process);  // tracing off before the probe itself
    registers[CFGCTL].reset(process);
    return true;
}

}  // namespace quorl
