#include "modules/GppTraceModule.h"

#include <algorithm>
#include <sstream>

#include "app/base/Exception.h"
#include "app/base/HexText.h"
#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/TimestampUtils.h"
#include "target.access/ExtAddress.h"
#include "target.access/TaProcess.h"

namespace quorl {

Log logGppTraceModule("quorl.ka.rq7.config.GppTraceModule");

using namespace etm;

namespace {

static_assert(TRCRSCTLR.width == 32, "resource selectors are 32-bit registers");
static_assert(TRCVMIDCVR.width == 64 && TRCACVR.width == 64 && TRCACATR.width == 64,
              "comparator arrays are 64-bit registers");

const char* const LOCKSTEP_STATUS_NAME = "LOCKSTEP_STATUS";
const uint32_t LOCKSTEP_STATUS_ACTIVE = 1u << 0;

const char* const DATA_ADDRESS_SCENARIO = "DataAddress";
const char* const DATA_VALUE_SCENARIO = "DataValue";

// Current values of an enum attribute, last value first.
bool reversedValues(const EnumAttribute& attribute, std::vector<std::string>& out) {
    boost::shared_ptr<Vector<std::string>> values = attribute.getValues();
    if (!values || values->empty()) return false;
    std::vector<std::string> copy = values->snapshot();
    out.assign(copy.rbegin(), copy.rend());
    return true;
}

template <typename T>
boost::shared_ptr<Register<T>> at(const RegisterManager<T>& array, size_t index) {
    return index < array.registers.size() ? array.registers[index] : boost::shared_ptr<Register<T>>();
}

void markUsed(ResourceManager& resources, size_t index) {
    if (index < resources.used.size()) resources.used[index] = true;
}

}  // namespace

GppTraceModule::GppTraceModule(std::string name, boost::shared_ptr<ConfigBlock> block,
                               boost::shared_ptr<TimestampUtils> timestampUtils)
    : ConfigurationModule(std::move(name), block), timestampUtils(std::move(timestampUtils)) {
    readModuleConfiguration(block);
    contextId = NONE;
    exceptionLevelFilter = 0;
    contextIdComparator = false;
    if (lockstepStatusAddress != 0 && !lockstepMemorySpace.empty())
        lockstepStatus.reset(new Register<uint32_t>(lockstepStatusAddress, lockstepMemorySpace, LOCKSTEP_STATUS_NAME));
    buildRegisters();
}

GppTraceModule::~GppTraceModule() = default;

bool GppTraceModule::readModuleConfiguration(boost::shared_ptr<ConfigBlock> block) {
    if (!timestampUtils)
        RQ7_LOG(logGppTraceModule, LOG_ERROR,
                "Error: Timestamp module not initialized. Make sure config block " << BLOCK_TIMESTAMP_GENERATOR
                                                                                   << " is present.");
    if (!block) return false;

    const BlockReader read(logGppTraceModule, *block);
    const std::string owner = read.blockName();
    const std::string prefix = "[readModuleConfiguration]";
    const std::string suffix = " for " + owner;

    auto enableTraceAttr = read.require<BoolAttribute>(ATTR_ENABLE_TRACE);
    if (!enableTraceAttr) return false;
    auto memSpaceAttr = read.require<StringAttribute>(ATTR_MEM_SPACE);
    if (!memSpaceAttr) return false;
    const std::string space = ExtAddress::validMemorySpace(memSpaceAttr->getValue());
    auto baseAttr = read.requireBaseAddress("readModuleConfiguration");
    if (!baseAttr) return false;

    // The lockstep settings are optional and take effect as they are found.
    if (auto a = getTypedAttribute<StringAttribute>(*block, ATTR_LOCKSTEP_REGISTER_MEM_SPACE))
        lockstepMemorySpace = a->getValue();
    if (auto a = getTypedAttribute<Addr64Attribute>(*block, ATTR_LOCKSTEP_STATUS_REGISTER))
        lockstepStatusAddress = a->getValue();
    if (auto a = getTypedAttribute<BoolAttribute>(*block, ATTR_MAIN_LOCKSTEP_CLUSTER))
        mainLockstepCluster = a->getValue();

    auto typeAttr = read.require<StringAttribute>(ATTR_TRACE_GENERATOR_TYPE);
    if (!typeAttr) return false;
    auto atbIdAttr = read.require<UInt32Attribute>(ATTR_ATB_ID);
    if (!atbIdAttr) return false;
    auto timestampAttr =
        read.require<BoolAttribute>(ATTR_TIMESTAMP, prefix + "Could not find 'Timestamp' attribute!" + suffix);
    if (!timestampAttr) return false;
    auto cycleAttr =
        read.require<BoolAttribute>(ATTR_CYCLE_COUNTING, prefix + "Could not find 'Cycle Counting' attribute" + suffix);
    if (!cycleAttr) return false;

    std::vector<std::string> scenarios;
    auto scenarioAttr = read.require<EnumAttribute>(ATTR_TRACE_SCENARIO,
                                                    prefix + "Could not find 'TraceScenario' config block" + suffix);
    if (!scenarioAttr) return false;
    if (!reversedValues(*scenarioAttr, scenarios))
        return read.fail(prefix + "Could not get value for 'TraceScenario' config block" + suffix);

    std::vector<std::string> modes;
    auto modeAttr =
        read.require<EnumAttribute>(ATTR_TRACE_MODE, prefix + "Could not find 'TraceMode' config block" + suffix);
    if (!modeAttr) return false;
    if (!reversedValues(*modeAttr, modes))
        return read.fail(prefix + "Could not get value for 'TraceMode' config block" + suffix);

    auto loggingAttr = read.require<BoolAttribute>(
        ATTR_ENABLE_LOGGING, "[loadCoreSettings]: Error: Could not find attribute " + ATTR_ENABLE_LOGGING + suffix);
    if (!loggingAttr) return false;

    // Stored together, only once the whole block has been read.
    enableTrace = enableTraceAttr->getValue();
    memorySpace = space;
    baseAddress = baseAttr->getValue();
    baseAddressRead = true;
    traceGeneratorType = typeAttr->getValue();
    atbId = atbIdAttr->getValue();
    timestamp = timestampAttr->getValue();
    cycleCounting = cycleAttr->getValue();
    traceScenarios = scenarios;
    traceModes = modes;
    enableLogging = loggingAttr->getValue();
    blockName = owner;
    name = owner;
    return true;
}

void GppTraceModule::buildRegisters() {
    // Without a base address from the block the unit has no known place:
    // registers stay uninitialised and the arrays empty, and configure and
    // reset leave the target alone.
    if (baseAddressRead) {
        registers32.build(registerMap32, baseAddress, memorySpace);
        registers64.build(registerMap64, baseAddress, memorySpace);
    }
    auto size = [&](const ArrayDef& def) { return baseAddressRead ? def.maximum : 0u; };
    resourceSelectors.reset(
        new RegisterManager<uint32_t>(baseAddress + TRCRSCTLR.offset, memorySpace, size(TRCRSCTLR), TRCRSCTLR.prefix));
    vmidComparators.reset(new RegisterManager<uint64_t>(baseAddress + TRCVMIDCVR.offset, memorySpace, size(TRCVMIDCVR),
                                                        TRCVMIDCVR.prefix));
    addressValues.reset(
        new RegisterManager<uint64_t>(baseAddress + TRCACVR.offset, memorySpace, size(TRCACVR), TRCACVR.prefix));
    addressTypes.reset(
        new RegisterManager<uint64_t>(baseAddress + TRCACATR.offset, memorySpace, size(TRCACATR), TRCACATR.prefix));
}

void GppTraceModule::write(boost::shared_ptr<TaProcess> process, Register32 id, uint32_t value) {
    registers32[id].write(process, value);
}

uint32_t GppTraceModule::read(boost::shared_ptr<TaProcess> process, Register32 id) {
    return registers32[id].read(process);
}

void GppTraceModule::resetRegister(boost::shared_ptr<TaProcess> process, Register32 id) {
    registers32[id].reset(process);
}

bool GppTraceModule::enable(boost::shared_ptr<TaProcess> process) {
    return configure(process);
}

bool GppTraceModule::disable(boost::shared_ptr<TaProcess> process) {
    return reset(process);
}

bool GppTraceModule::isLockstepCore(boost::shared_ptr<TaProcess> process) {
    // Only a debug-server connection can see the lockstep status.
    if (process->accessType() == TaProcess::ACCESS_AGENT) return false;
    if (!lockstepStatus) {
        RQ7_LOG(logGppTraceModule, LOG_INFO, "Platform does not have lockstep mode.");
        return false;
    }
    try {
        return (lockstepStatus->read(process) & LOCKSTEP_STATUS_ACTIVE) != 0;
    } catch (const Exception& e) {
        RQ7_LOG(logGppTraceModule, LOG_ERROR, "Error reading lockstep status register." << e.getMessage());
        return false;
    }
}

bool GppTraceModule::isSecondaryLockstepCore(boost::shared_ptr<TaProcess> process) {
    // The status is read even on the main cluster; only the answer is ignored there.
    return isLockstepCore(process) && !mainLockstepCluster;
}

void GppTraceModule::unlock(boost::shared_ptr<TaProcess> process) {
    write(process, TRCOSLAR, TRCOSLAR_UNLOCKED);
    write(process, TRCLAR, CS_LAR_UNLOCK_KEY);
}

void GppTraceModule::discoverResources(boost::shared_ptr<TaProcess> process) {
    read(process, TRCIDR2);  // not used, but the unit sees the read
    const uint32_t id4 = read(process, TRCIDR4);
    const uint32_t addressComparators = TRCIDR4_NUMACPAIRS.get(id4) * 2;
    // NUMRSPAIR counts the selector pairs beyond the fixed pair 0.
    const uint32_t selectors = TRCIDR4_NUMRSPAIR.get(id4) * 2 + 2;
    const uint32_t vmids = TRCIDR4_NUMVMIDC.get(id4);

    addressValues->setNumberOfResources(addressComparators);
    addressTypes->setNumberOfResources(addressComparators);
    resourceSelectors->setNumberOfResources(selectors);
    // Selectors 0 and 1 are the fixed FALSE and TRUE resources.
    markUsed(*resourceSelectors, 0);
    markUsed(*resourceSelectors, 1);
    vmidComparators->setNumberOfResources(vmids);
}

bool GppTraceModule::configure(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    if (isSecondaryLockstepCore(process)) return true;

    unlock(process);
    write(process, TRCPRGCTLR, 0);
    discoverResources(process);
    if (timestamp && timestampUtils) timestampUtils->configure(process);

    uint32_t config = TRCCONFIGR_INSTP0(INSTP0_LOAD_STORE) | TRCCONFIGR_CID.mask();
    bool dataTrace = false;
    if (timestamp) config |= TRCCONFIGR_TS.mask();
    if (!vmidComparators->registers.empty()) config |= TRCCONFIGR_VMID.mask();
    if (cycleCounting) config |= TRCCONFIGR_CCI.mask();
    auto scenario = [&](const char* s) {
        return std::find(traceScenarios.begin(), traceScenarios.end(), s) != traceScenarios.end();
    };
    if (scenario(DATA_ADDRESS_SCENARIO)) {
        config |= TRCCONFIGR_DA.mask();
        dataTrace = true;
    }
    if (scenario(DATA_VALUE_SCENARIO)) {
        config |= TRCCONFIGR_DV.mask();
        dataTrace = true;
    }

    write(process, TRCCONFIGR, config);
    programVmidComparator(process);
    programContextId(process);
    write(process, TRCEVENTCTL0R, 0);
    write(process, TRCEVENTCTL1R, 0);
    write(process, TRCTRACEIDR, atbId);
    write(process, TRCSYNCPR, TRCSYNCPR_PERIOD(SYNC_PERIOD_1KB));
    if (cycleCounting) write(process, TRCCCCTLR, TRCCCCTLR_THRESHOLD(CYCLE_THRESHOLD));
    write(process, TRCTSCTLR, TRCTSCTLR_EVENT(timestamp ? EVENT_ALWAYS : EVENT_NONE));
    write(process, TRCVDARCCTLR, 0);
    write(process, TRCVDCTLR, TRCVDCTLR_EVENT(dataTrace ? EVENT_ALWAYS : EVENT_NONE));
    write(process, TRCVDSACCTLR, 0);
    programAddressRanges(process);  // writes TRCVIIECTLR; exhaustion is logged there
    programTracepoints(process);    // writes TRCVISSCTLR

    uint32_t viewInst = tracepoints.empty() ? TRCVICTLR_SSSTATUS.mask() : read(process, TRCVICTLR);
    if (TRCVICTLR_EVENT.get(viewInst) == EVENT_NONE) viewInst |= TRCVICTLR_EVENT(EVENT_ALWAYS);
    write(process, TRCVICTLR, viewInst);
    write(process, TRCPRGCTLR, TRCPRGCTLR_EN(enabled));
    return true;
}

bool GppTraceModule::reset(boost::shared_ptr<TaProcess> process) {
    if (!baseAddressRead) return true;
    if (isSecondaryLockstepCore(process)) return true;

    unlock(process);
    discoverResources(process);
    resetRegister(process, TRCVICTLR);
    resetRegister(process, TRCVISSCTLR);
    resetRegister(process, TRCEVENTCTL0R);
    resetRegister(process, TRCEVENTCTL1R);
    resetRegister(process, TRCPRGCTLR);
    resetRegister(process, TRCVIIECTLR);
    resetRegister(process, TRCCIDCCTLR0);
    // Context control 1 serves context comparators 4 to 7, but it is the number
    // of address comparators that decides whether it is reset.
    if (addressValues->registers.size() > CONTEXT_COMPARATORS_PER_CTLR) resetRegister(process, TRCCIDCCTLR1);
    for (const auto& r : addressValues->registers)
        if (r) r->reset(process);
    for (const auto& r : addressTypes->registers)
        if (r) r->reset(process);
    for (const auto& r : vmidComparators->registers)
        if (r) r->reset(process);
    return true;
}

uint32_t GppTraceModule::exceptionLevelMask() const {
    uint32_t mask = EXLEVEL_ALL;  // EL2 always stays excluded
    if (exceptionLevelFilter & FILTER_EL0) mask &= ~EXLEVEL_EL0;
    if (exceptionLevelFilter & FILTER_EL1) mask &= ~EXLEVEL_EL1;
    if (exceptionLevelFilter & FILTER_EL3) mask &= ~EXLEVEL_EL3;
    return mask;
}

void GppTraceModule::programAddressComparator(boost::shared_ptr<TaProcess> process,
                                              boost::shared_ptr<Register<uint64_t>> valueRegister,
                                              boost::shared_ptr<Register<uint64_t>> typeRegister, uint64_t address) {
    if (!valueRegister || !typeRegister) return;
    // A VMID is matched only together with a context identifier.
    uint64_t contextType = 0;
    if (contextId != NONE)
        contextType = TRCACATR_CONTEXTTYPE(vmid != NONE ? CONTEXTTYPE_CTXID_VMID : CONTEXTTYPE_CTXID);
    const uint64_t mask = exceptionLevelMask();
    const uint64_t type = TRCACATR_EXLEVEL_S(mask) | TRCACATR_EXLEVEL_NS(mask) | contextType;
    valueRegister->write(process, address);
    typeRegister->write(process, type);
}

bool GppTraceModule::programAddressRanges(boost::shared_ptr<TaProcess> process) {
    uint32_t control = 0;
    if (addressRanges.empty()) {
        write(process, TRCVIIECTLR, control);
        return true;
    }
    for (const auto& entry : addressRanges) {
        const uint64_t start = entry.first;
        const AddressRange& range = entry.second;
        const std::vector<bool>& used = addressValues->used;
        const size_t count = addressValues->registers.size();
        size_t i = 0;
        bool found = false;
        for (; i < count; i += 2) {
            if (i + 1 < count && !used[i] && !used[i + 1]) {
                found = true;
                break;
            }
        }
        if (!found) {
            RQ7_LOG(logGppTraceModule, LOG_ERROR,
                    "Unable to find an available address range comparators for 0x" << hexDigits(start) << "-0x"
                                                                                   << hexDigits(range.endAddress));
            return false;
        }
        const size_t pair = i / 2;
        if (range.kind == RANGE_INCLUDE) control |= TRCVIIECTLR_INCLUDE(1u << pair);
        if (range.kind == RANGE_EXCLUDE) control |= TRCVIIECTLR_EXCLUDE(1u << pair);

        markUsed(*addressValues, i);
        markUsed(*addressTypes, i);
        programAddressComparator(process, at(*addressValues, i), at(*addressTypes, i), start);
        markUsed(*addressValues, i + 1);
        markUsed(*addressTypes, i + 1);
        programAddressComparator(process, at(*addressValues, i + 1), at(*addressTypes, i + 1), range.endAddress);
    }
    write(process, TRCVIIECTLR, control);
    return true;
}

bool GppTraceModule::programTracepoints(boost::shared_ptr<TaProcess> process) {
    uint32_t control = 0;
    if (tracepoints.empty()) {
        write(process, TRCVISSCTLR, control);
        return true;
    }
    for (const auto& entry : tracepoints) {
        const uint64_t address = entry.first;
        const int index = addressValues->firstFree();
        if (index < 0) {
            RQ7_LOG(logGppTraceModule, LOG_ERROR,
                    "Unable to find an available comparator for tracepoint : 0x" << hexDigits(address));
            return false;
        }
        markUsed(*addressValues, index);
        markUsed(*addressTypes, index);
        programAddressComparator(process, at(*addressValues, index), at(*addressTypes, index), address);
        if (entry.second == TRACEPOINT_START) control |= TRCVISSCTLR_START(1u << index);
        if (entry.second == TRACEPOINT_STOP) control |= TRCVISSCTLR_STOP(1u << index);
    }
    write(process, TRCVISSCTLR, control);
    return true;
}

void GppTraceModule::programVmidComparator(boost::shared_ptr<TaProcess> process) {
    std::vector<bool>& used = vmidComparators->used;
    const size_t taken = static_cast<size_t>(std::count(used.begin(), used.end(), true));
    if (taken >= vmidComparators->registers.size() || vmid == NONE) return;
    const int k = vmidComparators->firstFree();
    if (k < 0 || static_cast<size_t>(k) >= vmidComparators->registers.size()) return;
    used[k] = true;
    // The byte mask is shifted by the comparator number, not by its byte
    // position, and comparator 4 gets no mask write: that is what the unit is
    // told, and it must stay so.
    const unsigned n = static_cast<unsigned>(k);
    if (n < VMID_COMPARATORS_PER_CTLR)
        write(process, TRCVMIDCCTLR0, ~(TRCVMIDCCTLR_COMP0.mask() << n));
    else if (n > VMID_COMPARATORS_PER_CTLR)
        write(process, TRCVMIDCCTLR1, ~(TRCVMIDCCTLR_COMP0.mask() << (n - VMID_COMPARATORS_PER_CTLR)));
    vmidComparators->registers[k]->write(process, static_cast<uint64_t>(vmid));
}

void GppTraceModule::programContextId(boost::shared_ptr<TaProcess> process) {
    if (contextId == NONE) return;
    write(process, TRCCIDCVR0, contextId);
    uint32_t control = read(process, TRCCIDCCTLR0) & ~TRCCIDCCTLR_COMP0.mask();
    if (contextIdComparator) control |= TRCCIDCCTLR_COMP0(COMP_MASK_BYTE0);
    write(process, TRCCIDCCTLR0, control);
}

}  // namespace quorl
