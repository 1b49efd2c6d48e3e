#include "modules/NocObserverModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/NocObserverRegisters.h"
#include "target.access/ExtAddress.h"

#include <sstream>

namespace quorl {

Log logNocObserverModule("quorl.ka.rq7.config.NocObserverModule");

const std::vector<ObserverIdentifier> NocObserverModule::observerIdentifiers = {
    {"a53_cluster0_noncoh_observer", 0},
    {"a53_cluster1_noncoh_observer", 1},
    {"concerto_observer", 2},
    {"dram0_observer", 3},
    {"edma0_observer", 4},
    {"edma1_observer", 5},
    {"enet_observer", 6},
    {"fray_observer", 7},
    {"pcie_observer", 8},
    {"OBS_SPT", 9},
    {"OBS_REST", 10},
    {"OBS_MIPICSI_0", 11},
    {"OBS_SAFE_FULL", 12},
};

using namespace nocobserver;

NocObserverModule::NocObserverModule(std::string name, boost::shared_ptr<ConfigBlock> block)
    : ConfigurationModule(std::move(name), block) {
    loadNoCObserverSettings(block);
    registers.build(atbSideMap, baseAddress, memorySpace);
    registers.build(stpSideMap, stpBaseAddress, memorySpace);
}

bool NocObserverModule::loadNoCObserverSettings(boost::shared_ptr<ConfigBlock> block) {
    const BlockReader read(logNocObserverModule, *block, "[loadNoCObserverSettings]: Error: Could not find attribute ",
                           "\n");
    // Both addresses are reported under the one name.
    const std::string noAddress = read.baseAddressMissing("readModuleConfiguration");

    auto enableTraceAttribute = read.require<BoolAttribute>(ATTR_ENABLE_TRACE);
    if (!enableTraceAttribute) return false;
    auto baseAddressAttribute = read.require<Addr64Attribute>(ATTR_MODULE_BASE_ADDRESS, noAddress);
    if (!baseAddressAttribute) return false;
    auto stpBaseAddressAttribute = read.require<Addr64Attribute>(ATTR_STP_BASE_ADDRESS, noAddress);
    if (!stpBaseAddressAttribute) return false;
    auto memSpaceAttribute = read.require<StringAttribute>(
        ATTR_MEM_SPACE, "[loadDataStreamSettings] No memory space string attribute (MemSpace) could be found.");
    if (!memSpaceAttribute) return false;
    auto syncPeriodAttribute = read.require<UInt32Attribute>(ATTR_SYNC_PERIOD);
    if (!syncPeriodAttribute) return false;
    auto atbIdAttribute = read.require<UInt32Attribute>(ATTR_ATB_ID);
    if (!atbIdAttribute) return false;

    enableTrace = enableTraceAttribute->getValue();
    baseAddress = baseAddressAttribute->getValue();
    stpBaseAddress = stpBaseAddressAttribute->getValue();
    baseAddressRead = true;
    memorySpace = ExtAddress::validMemorySpace(memSpaceAttribute->getValue());
    syncPeriod = static_cast<uint8_t>(syncPeriodAttribute->getValue());
    atbId = atbIdAttribute->getValue();
    return true;
}

bool NocObserverModule::configure(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    RQ7_LOG(logNocObserverModule, LOG_INFO, "Write NoC Observer registers");
    // Down ATB side first; up STP side first.
    registers[ATBEN].write(process, ATBEN_EN(false));
    registers[STPV2_EN].write(process, STPV2_EN_EN(false));
    registers[ASYNC_PERIOD].write(process, syncPeriod);
    registers[ATBID].write(process, atbId);
    registers[STPV2_EN].write(process, STPV2_EN_EN(enabled));
    registers[ATBEN].write(process, ATBEN_EN(enabled));
    return true;
}

bool NocObserverModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    registers[ATBEN].reset(process);
    registers[ATBID].reset(process);
    registers[ASYNC_PERIOD].reset(process);
    registers[STPV2_EN].reset(process);
    return true;
}

bool NocObserverModule::disable(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    registers[ATBEN].reset(process);
    registers[STPV2_EN].reset(process);
    return true;
}

}  // namespace quorl
