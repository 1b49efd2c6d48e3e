#include "plugin/TraceModuleCreator.h"

#include "app/base/Log.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/ArmFunnelModule.h"
#include "modules/ArmFunnelPortModule.h"
#include "modules/GppTraceModule.h"
#include "modules/HugoModule.h"
#include "modules/HugoModuleDDR.h"
#include "modules/NocObserverModule.h"
#include "modules/NocProbeModule.h"
#include "modules/StmModule.h"
#include "modules/TimestampUtils.h"

namespace quorl {

Log logTraceModuleCreator("quorl.ka.rq.config.TraceModuleCreator");

namespace {

// The timestamp object of the last "Timestamp Generator" block; cores and STM
// modules get a copy when they are built, so that block must come first.
boost::shared_ptr<TimestampUtils>& timestampSlot() {
    static boost::shared_ptr<TimestampUtils> shared;
    return shared;
}

struct NameRule {
    const std::string& word;
    int32_t kind;
};

}  // namespace

TraceModuleCreator::~TraceModuleCreator() = default;

int32_t TraceModuleCreator::moduleTypeFromName(const std::string& name) {
    // The order is the behaviour: "Core " before everything, "HSIO Funnel"
    // before "Port", "Port" before the funnel kinds.
    static const NameRule rules[] = {
        {WORD_CORE, CoreKind},
        {WORD_HSIO_FUNNEL, HsioFunnelKind},
        {WORD_PORT, FunnelPortKind},
        {WORD_SOC_FUNNEL, SocFunnelKind},
        {WORD_GPP_CLUSTER_FUNNEL, GppClusterFunnelKind},
        {WORD_TIMESTAMP_GENERATOR, TimestampGeneratorKind},
        {WORD_OBSERVER, NocObserverKind},
        {WORD_OBS, NocObserverKind},
        {WORD_DATA_STREAMS, DataStreamsKind},
        {WORD_ETF, EtfSinkKind},
        {WORD_DDR, DdrSinkKind},
        {WORD_STM, StmKind},
        {WORD_ARM_FUNNEL, ArmFunnelKind},
        {WORD_PACKET, NocProbeKind},
        {WORD_XACTION, NocProbeKind},
        {WORD_PROBE, NocProbeKind},
        {WORD_DEBUG, DebugKind},
    };
    for (const NameRule& rule : rules)
        if (name.find(rule.word) != std::string::npos) return rule.kind;
    return UnknownKind;
}

bool TraceModuleCreator::makesModule(int32_t kind) {
    switch (kind) {
        case CoreKind:
        case NocProbeKind:
        case StmKind:
        case FunnelPortKind:
        case NocObserverKind:
        case EtfSinkKind:
        case DdrSinkKind:
        case ArmFunnelKind:
            return true;
        default:
            return false;
    }
}

boost::shared_ptr<TimestampUtils> TraceModuleCreator::sharedTimestampUtils() {
    return timestampSlot();
}

void TraceModuleCreator::forgetSharedObjects() {
    timestampSlot().reset();
}

boost::shared_ptr<ConfigurationModule> TraceModuleCreator::createModule(boost::shared_ptr<ConfigBlock> block) {
    boost::shared_ptr<ConfigurationModule> none;
    if (!block) return none;
    const std::string name = block->getName();
    const int32_t kind = moduleTypeFromName(name);
    if (kind == UnknownKind || kind >= DebugKind) return none;

    switch (kind) {
        case CoreKind:
            return boost::shared_ptr<ConfigurationModule>(new GppTraceModule(name, block, timestampSlot()));
        case NocProbeKind:
            return boost::shared_ptr<ConfigurationModule>(new NocProbeModule(name, block));
        case StmKind:
            return boost::shared_ptr<ConfigurationModule>(new StmModule(name, block, timestampSlot()));
        case FunnelPortKind:
            return boost::shared_ptr<ConfigurationModule>(new ArmFunnelPortModule(name, block));
        case NocObserverKind:
            return boost::shared_ptr<ConfigurationModule>(new NocObserverModule(name, block));
        case EtfSinkKind:
            return boost::shared_ptr<ConfigurationModule>(new HugoModule(name, block));
        case DdrSinkKind:
            return boost::shared_ptr<ConfigurationModule>(new HugoModuleDDR(name, block));
        case ArmFunnelKind:
            return boost::shared_ptr<ConfigurationModule>(new ArmFunnelModule(name, block));
        case TimestampGeneratorKind:
            timestampSlot().reset(new TimestampUtils(block));
            return none;
        default:
            // Cluster, SoC and HSIO funnel names, the data streams parent: no module.
            return none;
    }
}

}  // namespace quorl
