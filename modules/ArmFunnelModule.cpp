#include "modules/ArmFunnelModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/FunnelRegisters.h"
#include "target.access/ExtAddress.h"

#include <sstream>

namespace quorl {

// Shared by funnels and their ports.
Log logArmFunnelModule("quorl.ka.rq7.config.ArmFunnelModule");

using namespace funnel;

ArmFunnelModule::ArmFunnelModule(std::string name, boost::shared_ptr<ConfigBlock> block)
    : ConfigurationModule(std::move(name), block) {
    readModuleConfiguration(block);
    registers.build(registerMap, baseAddress, memorySpace);
}

bool ArmFunnelModule::readModuleConfiguration(boost::shared_ptr<ConfigBlock> block) {
    if (!block) return false;
    const BlockReader read(logArmFunnelModule, *block);
    auto enableTraceAttribute = read.require<BoolAttribute>(ATTR_ENABLE_TRACE);
    if (!enableTraceAttribute) return false;
    auto memSpaceAttribute = read.require<StringAttribute>(ATTR_MEM_SPACE);
    if (!memSpaceAttribute) return false;
    auto baseAddressAttribute = read.require<Addr64Attribute>(ATTR_MODULE_BASE_ADDRESS);
    if (!baseAddressAttribute) return false;

    baseAddress = baseAddressAttribute->getValue();
    baseAddressRead = true;
    memorySpace = ExtAddress::validMemorySpace(memSpaceAttribute->getValue());
    enableTrace = enableTraceAttribute->getValue();
    return true;
}

unsigned int ArmFunnelModule::controlValue() const {
    unsigned int value = CSTFCR_HT(HOLD_TIME);
    for (uint32_t port = 0; port < PORT_COUNT && port < portEnables.size(); ++port)
        value |= CSTFCR_ENS[port](portEnables[port]);
    return value;
}

unsigned int ArmFunnelModule::priorityValue() const {
    unsigned int value = 0;
    // Shifted, not masked: a priority above 7 spills into the next port's field.
    for (uint32_t port = 0; port < PORT_COUNT && port < portPriorities.size(); ++port)
        value |= portPriorities[port] << CSTFPCR_PRIPORT[port].lsb;
    return value;
}

bool ArmFunnelModule::configure(boost::shared_ptr<TaProcess> process) {
    if (!enabled || !baseAddressRead) return true;
    registers[LAR].write(process, CS_LAR_UNLOCK_KEY);
    registers[CSTFCR].write(process, controlValue());    // ports open first,
    registers[CSTFPCR].write(process, priorityValue());  // then their priorities
    return true;
}

bool ArmFunnelModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    registers[CSTFCR].reset(process);
    registers[CSTFPCR].reset(process);
    return true;
}

bool ArmFunnelModule::disable(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    registers[CSTFCR].reset(process);  // priorities stay
    return true;
}

}  // namespace quorl
