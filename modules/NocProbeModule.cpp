#include "modules/NocProbeModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/RegisterMap.h"
#include "target.access/ExtAddress.h"

#include <sstream>

namespace quorl {

Log logNocProbeModule("quorl.ka.rq7.config.NocProbeModule");

namespace {

// NoC probe register map, offsets from the module base address.
// clang-format off
const RegisterRow<NocProbeModule::RegisterId> REGISTER_MAP[NocProbeModule::REGISTER_COUNT] = {
    {NocProbeModule::NOC_PROBE_CFGCTL,        "NOC_PROBE_CFGCTL",        0x0C, 32, 0},
    {NocProbeModule::NOC_PROBE_MAINCTL,       "NOC_PROBE_MAINCTL",       0x08, 32, 0},
    {NocProbeModule::NOC_PROBE_TRACEPORT_SEL, "NOC_PROBE_TRACEPORT_SEL", 0x10, 32, NO_RESET},
    {NocProbeModule::NOC_PROBE_FILTER_LUT,    "NOC_PROBE_FILTER_LUT",    0x14, 32, NO_RESET},
};
// clang-format on

// CFGCTL: bit 0 switches the probe on.
const unsigned int CFGCTL_OFF = 0;
const unsigned int CFGCTL_ACTIVE = 1u << 0;
// MAINCTL fields.
const unsigned int MAINCTL_CLEAR = 0;
const unsigned int MAINCTL_TRACE_EN = 1u << 1;
const unsigned int MAINCTL_PAYLOAD_EN = 1u << 2;
const unsigned int MAINCTL_STATISTICS_EN = 1u << 3;
const unsigned int MAINCTL_INTRUSIVE_MODE = 1u << 6;
// Every filter lets every packet through.
const unsigned int FILTER_LUT_PASS_ALL = 0xFFFF;

}  // namespace

NocProbeModule::NocProbeModule(std::string name, boost::shared_ptr<ConfigBlock> block)
    : ConfigurationModule(std::move(name), block) {
    loadNoCProbeSettings(block);
    buildRegisters(registers, REGISTER_MAP, baseAddress, memorySpace);
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
    unsigned int mainControl = MAINCTL_CLEAR;
    if (enabled) mainControl |= MAINCTL_TRACE_EN;
    if (enablePayload) mainControl |= MAINCTL_PAYLOAD_EN;
    if (enableStatistics) mainControl |= MAINCTL_STATISTICS_EN;
    if (enableIntrusiveMode) mainControl |= MAINCTL_INTRUSIVE_MODE;

    // The probe stays off until everything else is in place.
    reg(NOC_PROBE_CFGCTL).write(process, CFGCTL_OFF);
    reg(NOC_PROBE_MAINCTL).write(process, MAINCTL_CLEAR);
    reg(NOC_PROBE_MAINCTL).write(process, mainControl);
    reg(NOC_PROBE_TRACEPORT_SEL).write(process, tracePort);
    reg(NOC_PROBE_FILTER_LUT).write(process, FILTER_LUT_PASS_ALL);
    reg(NOC_PROBE_CFGCTL).write(process, enabled ? CFGCTL_ACTIVE : CFGCTL_OFF);
    return true;
}

bool NocProbeModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    reg(NOC_PROBE_CFGCTL).reset(process);
    reg(NOC_PROBE_MAINCTL).reset(process);
    return true;
}

bool NocProbeModule::disable(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    reg(NOC_PROBE_MAINCTL).reset(process);  // tracing off before the probe itself
    reg(NOC_PROBE_CFGCTL).reset(process);
    return true;
}

}  // namespace quorl
