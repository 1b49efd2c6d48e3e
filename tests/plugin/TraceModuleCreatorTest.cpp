// Which module a block name gives, and the shared timestamp object.
#include "plugin/TraceModuleCreator.h"

#include "common/src/AttributeXml.h"
#include "common/src/ConfigBlockXml.h"
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
#include "target.access/ExtAddress.h"
#include "tests/support/RecordingTaProcess.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <typeinfo>

namespace {

using quorl::TraceModuleCreator;

struct NameCase {
    const char* name;
    int32_t kind;
};

TEST(ModuleTypeFromName, FirstWordOfTheFixedOrderWins) {
    const NameCase cases[] = {
        {"Cluster 0 Core 1", TraceModuleCreator::CoreKind},
        {"Core 0 Port", TraceModuleCreator::CoreKind},  // "Core " before "Port"
        {"Core0", TraceModuleCreator::UnknownKind},     // the blank is part of the word
        {"core 0", TraceModuleCreator::UnknownKind},    // case counts
        {"GPP Cluster Funnel 1 Port 3", TraceModuleCreator::FunnelPortKind},
        {"GPP Cluster Funnel 1", TraceModuleCreator::GppClusterFunnelKind},
        {"HSIO Funnel Port 2", TraceModuleCreator::HsioFunnelKind},
        {"SoC Funnel", TraceModuleCreator::SocFunnelKind},
        {"Timestamp Generator", TraceModuleCreator::TimestampGeneratorKind},
        {"dram0_observer", TraceModuleCreator::NocObserverKind},
        {"OBS_REST", TraceModuleCreator::NocObserverKind},
        {"Main NoC Observer", TraceModuleCreator::UnknownKind},
        {"Data Streams", TraceModuleCreator::DataStreamsKind},
        {"ETF DDR", TraceModuleCreator::EtfSinkKind},
        {"DDR Trace Buffer", TraceModuleCreator::DdrSinkKind},
        {"System STM", TraceModuleCreator::StmKind},
        {"Debug STM", TraceModuleCreator::StmKind},
        {"SoC ARM Funnel", TraceModuleCreator::ArmFunnelKind},
        {"ARM Funnel 2 Port 3", TraceModuleCreator::FunnelPortKind},
        {"NoC packet tracer", TraceModuleCreator::NocProbeKind},
        {"xaction 3", TraceModuleCreator::NocProbeKind},
        {"Main NoC Probe 0", TraceModuleCreator::NocProbeKind},
        {"Debug Probe", TraceModuleCreator::NocProbeKind},  // "Probe" before "Debug "
        {"Debug Cross Trigger", TraceModuleCreator::DebugKind},
        {"Debug", TraceModuleCreator::UnknownKind},
        {"", TraceModuleCreator::UnknownKind},
    };
    for (const NameCase& c : cases)
        EXPECT_EQ(TraceModuleCreator::moduleTypeFromName(c.name), c.kind) << '"' << c.name << '"';
}

struct CreateCase {
    const char* name;
    const std::type_info* type;  // null: no module
};

TEST(CreateModule, ClassChosenByName) {
    quorl::ExtAddress::memorySpaceIds = {"logger"};
    const CreateCase cases[] = {
        {"Cluster 0 Core 0", &typeid(quorl::GppTraceModule)},
        {"Main NoC Probe 0", &typeid(quorl::NocProbeModule)},
        {"System STM", &typeid(quorl::StmModule)},
        {"GPP Cluster Funnel 0", nullptr},
        {"SoC Funnel", nullptr},
        {"GPP Cluster Funnel 0 Port 1", &typeid(quorl::ArmFunnelPortModule)},
        {"HSIO Funnel Port 1", nullptr},
        {"OBS_REST", &typeid(quorl::NocObserverModule)},
        {"Data Streams", nullptr},
        {"ETF 0", &typeid(quorl::HugoModule)},
        {"DDR Trace Buffer", &typeid(quorl::HugoModuleDDR)},
        {"SoC ARM Funnel", &typeid(quorl::ArmFunnelModule)},
        {"Debug Cross Trigger", nullptr},
        {"Something Else", nullptr},
    };
    TraceModuleCreator creator;
    testing::internal::CaptureStdout();  // modules report their missing attributes
    for (const CreateCase& c : cases) {
        auto block = boost::make_shared<quorl::ConfigBlockXml>(c.name);
        auto module = creator.createModule(block);
        if (!c.type) {
            EXPECT_FALSE(module) << c.name;
            continue;
        }
        ASSERT_TRUE(module) << c.name;
        const auto& made = *module;
        EXPECT_EQ(typeid(made), *c.type) << c.name;
        EXPECT_EQ(module->getName(), c.name);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(creator.createModule(quorl::ConfigBlockPtr()));
}

boost::shared_ptr<quorl::ConfigBlockXml> timestampBlock(uint64_t base) {
    auto b = boost::make_shared<quorl::ConfigBlockXml>(quorl::BLOCK_TIMESTAMP_GENERATOR);
    b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_MODULE_BASE_ADDRESS, base));
    b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_TIMESTAMP_GENERATOR, true));
    b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_HALT_ON_DEBUG, false));
    b->addAttribute(quorl::makeStringAttribute(quorl::ATTR_MEM_SPACE, "APB"));
    b->addAttribute(quorl::makeUInt32Attribute(quorl::ATTR_COUNTER_BASE_FREQUENCY, 0));
    return b;
}

boost::shared_ptr<quorl::ConfigBlockXml> stmBlock() {
    auto b = boost::make_shared<quorl::ConfigBlockXml>("System STM");
    b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_TRACE, true));
    b->addAttribute(quorl::makeStringAttribute(quorl::ATTR_MEM_SPACE, "APB"));
    b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_MODULE_BASE_ADDRESS, 0x9000));
    b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_TIMESTAMP, true));
    return b;
}

// A module keeps the timestamp object it was built with; a later timestamp
// block serves only modules built after it.
TEST(CreateModule, LaterTimestampBlockServesLaterModules) {
    quorl::ExtAddress::memorySpaceIds = {"logger"};
    TraceModuleCreator creator;
    EXPECT_FALSE(creator.createModule(timestampBlock(0x1000)));
    auto first = TraceModuleCreator::sharedTimestampUtils();
    auto early = creator.createModule(stmBlock());
    EXPECT_FALSE(creator.createModule(timestampBlock(0x2000)));
    EXPECT_NE(TraceModuleCreator::sharedTimestampUtils(), first);
    auto late = creator.createModule(stmBlock());

    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    ASSERT_TRUE(early->enableModule(process));
    ASSERT_TRUE(late->enableModule(process));
    // The timestamp counter's control register (CNTCR, at the base) is
    // written by each STM, at the base of the object it holds.
    std::vector<uint64_t> counterWrites;
    for (const auto& a : process->accesses)
        if (a.address == 0x1000 || a.address == 0x2000) counterWrites.push_back(a.address);
    EXPECT_EQ(counterWrites, (std::vector<uint64_t>{0x1000, 0x2000}));
}

}  // namespace
