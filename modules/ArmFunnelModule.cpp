#include "modules/ArmFunnelModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/RegisterMap.h"
#include "target.access/ExtAddress.h"

#include <sstream>

namespace quorl {

// Shared by funnels and their ports.
Log logArmFunnelModule("quorl.ka.rq7.config.ArmFunnelModule");

namespace {

// CSTFCR: bits 7..0 enable the ports (ENSn), bits 11..8 are the hold time.
const unsigned CSTFCR_HT_SHIFT = 8;
const unsigned int CSTFCR_HT_3 = 3u << CSTFCR_HT_SHIFT;
const unsigned int CSTFCR_ALL_PORTS_OFF = 0;
// CSTFPCR: three bits of priority per port (PRIPORTn), lower is higher.
const unsigned CSTFPCR_PRIPORT_BITS = 3;
const unsigned int CSTFPCR_PRIORITY_N_FOR_PORT_N = 0xFAC688;

// CoreSight funnel register map, offsets from the module base address.
// clang-format off
const RegisterRow<ArmFunnelModule::RegisterId> REGISTER_MAP[ArmFunnelModule::REGISTER_COUNT] = {
    {ArmFunnelModule::LAR,     "LAR",     0xFB0, 32, NO_RESET},
    {ArmFunnelModule::CSTFCR,  "CSTFCR",  0x000, 32, CSTFCR_HT_3 | CSTFCR_ALL_PORTS_OFF},
    {ArmFunnelModule::CSTFPCR, "CSTFPCR", 0x004, 32, CSTFPCR_PRIORITY_N_FOR_PORT_N},
};
// clang-format on

}  // namespace

ArmFunnelModule::ArmFunnelModule(std::string name, boost::shared_ptr<ConfigBlock> block)
    : ConfigurationModule(std::move(name), block) {
    readModuleConfiguration(block);
    buildRegisters(registers, REGISTER_MAP, baseAddress, memorySpace);
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
    unsigned int value = CSTFCR_HT_3;
    for (uint32_t port = 0; port < PORT_COUNT && port < portEnables.size(); ++port)
        if (portEnables[port]) value |= 1u << port;  // ENSn
    return value;
}

unsigned int ArmFunnelModule::priorityValue() const {
    unsigned int value = 0;
    for (uint32_t port = 0; port < PORT_COUNT && port < portPriorities.size(); ++port)
        value |= portPriorities[port] << (CSTFPCR_PRIPORT_BITS * port);  // PRIPORTn
    return value;
}

bool ArmFunnelModule::configure(boost::shared_ptr<TaProcess> process) {
    if (!enabled || !baseAddressRead) return true;
    reg(LAR).write(process, CS_LAR_UNLOCK_KEY);
    reg(CSTFCR).write(process, controlValue());   // ports open first,
    reg(CSTFPCR).write(process, priorityValue());  // then their priorities
    return true;
}

bool ArmFunnelModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    reg(CSTFCR).reset(process);
    reg(CSTFPCR).reset(process);
    return true;
}

bool ArmFunnelModule::disable(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    reg(CSTFCR).reset(process);  // priorities stay
    return true;
}

}  // namespace quorl
