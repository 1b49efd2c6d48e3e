// Funnel programming from the gathered port settings, and the port blocks
// that those settings come from.
#include "modules/ArmFunnelModule.h"
#include "modules/ArmFunnelPortModule.h"
#include "tests/support/ModuleTestSupport.h"

#include <gtest/gtest.h>

using namespace rq7test;
using quorl::ArmFunnelModule;
using quorl::ArmFunnelPortModule;

namespace {

const uint64_t FUNNEL = 0x40000;
const uint64_t LAR = FUNNEL + 0xFB0, CSTFCR = FUNNEL + 0x000, CSTFPCR = FUNNEL + 0x004;

BlockSpec funnelBlock() {
    return BlockSpec("ARM Funnel 0")
        .boolean("Enable Trace", false)
        .string("MemSpace", "APB")
        .addr64("Module Base Address", FUNNEL);
}

class FunnelModuleTest : public testing::Test {
protected:
    void SetUp() override { useTestMemorySpaces(); }
};

TEST_F(FunnelModuleTest, PortSettingsMakeControlAndPriorityValues) {
    const Access unlock = w(LAR, 0xC5ACCE55);
    struct Row {
        const char* what;
        std::vector<bool> enables;
        std::vector<uint32_t> priorities;
        std::vector<Access> expected;
    };
    const std::vector<Row> rows = {
        {"all ports with priority n for port n",
         std::vector<bool>(8, true),
         {0, 1, 2, 3, 4, 5, 6, 7},
         {unlock, w(CSTFCR, 0x3FF), w(CSTFPCR, 0xFAC688)}},
        {"no port settings: all off, priorities 0", {}, {}, {unlock, w(CSTFCR, 0x300), w(CSTFPCR, 0)}},
        {"short lists: the rest off with priority 0",
         {false, true},
         {0, 5},
         {unlock, w(CSTFCR, 0x302), w(CSTFPCR, 0x28)}},
        {"entries beyond port 7 are ignored",
         std::vector<bool>(12, true),
         std::vector<uint32_t>(9, 1),
         {unlock, w(CSTFCR, 0x3FF), w(CSTFPCR, 0x249249)}},
        {"a priority is not cut to three bits", {true}, {9}, {unlock, w(CSTFCR, 0x301), w(CSTFPCR, 9)}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ArmFunnelModule funnel("ARM Funnel 0", funnelBlock().build());
        funnel.setPortEnables(row.enables);
        funnel.setPortPriorities(row.priorities);
        auto fake = boost::make_shared<RecordingTaProcess>();
        EXPECT_TRUE(funnel.enableModule(fake));
        EXPECT_EQ(fake->accesses, row.expected);
        EXPECT_EQ(funnel.getModuleType(), 2u);
    }
}

TEST_F(FunnelModuleTest, OperationsWithoutEnable) {
    struct Row {
        const char* what;
        Op op;
        std::vector<Access> expected;
    };
    const std::vector<Row> rows = {
        {"configure of a funnel no chain has reached", Op::Configure, {}},
        {"reset restores control and priorities", Op::Reset, {w(CSTFCR, 0x300), w(CSTFPCR, 0xFAC688)}},
        {"disable closes the ports, priorities stay", Op::Disable, {w(CSTFCR, 0x300)}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ArmFunnelModule funnel("ARM Funnel 0", funnelBlock().build());
        funnel.setPortEnables(std::vector<bool>(8, true));
        auto fake = boost::make_shared<RecordingTaProcess>();
        run(funnel, row.op, fake);
        EXPECT_EQ(fake->accesses, row.expected);
    }
}

TEST_F(FunnelModuleTest, IncompleteFunnelTouchesNothing) {
    std::vector<LoadCase> cases;
    for (const char* missing : {"Enable Trace", "MemSpace", "Module Base Address"}) {
        cases.push_back({missing,
                         builder<ArmFunnelModule>(funnelBlock().boolean("Enable Trace", true).without(missing)),
                         std::string("[quorl.ka.rq7.config.ArmFunnelModule] ERROR: [readModuleConfiguration]: Error: "
                                     "Could not find attribute ") +
                             missing + " for ARM Funnel 0\n",
                         "", false, false});
    }
    checkLoads(cases);
}

TEST_F(FunnelModuleTest, PortBlocks) {
    const std::string channel = "[quorl.ka.rq7.config.ArmFunnelModule] ERROR: [readModuleConfiguration]: Error: ";
    auto port = [](const std::string& name) {
        return BlockSpec(name).boolean("Enable Port", true).uint32("Port Priority", 5);
    };
    struct Row {
        std::string name;
        BlockSpec block;
        uint32_t number;
        bool enable;
        uint32_t priority;
        bool enableTrace;
        std::string log;
    };
    const std::vector<Row> rows = {
        {"ARM Funnel 2 Port 3", port("ARM Funnel 2 Port 3"), 3, true, 5, true, ""},
        {"ARM Funnel 2 Port 3x", port("ARM Funnel 2 Port 3x"), 3, true, 5, true, ""},
        {"ARM Funnel 2 Port 4", port("ARM Funnel 2 Port 4").boolean("Enable Port", false), 4, false, 5, false, ""},
        {"Port", port("Port"), 0, false, 0, false, channel + "Could get module index from name for Port\n"},
        {"ARM Funnel 2 Port 8", port("ARM Funnel 2 Port 8"), 8, true, 5, false,
         channel + "Port number exceeds maximum value (7) for ARM Funnel 2 Port 8\n"},
        {"ARM Funnel 2 Port 1", port("ARM Funnel 2 Port 1").uint32("Port Priority", 9), 1, true, 7, false,
         channel +
             "Port priority exceeds maximum value (7) for ARM Funnel 2 Port 1. Priority will be set to lowest.\n"},
        {"ARM Funnel 2 Port 1", port("ARM Funnel 2 Port 1").without("Enable Port"), 1, false, 0, false,
         channel + "Could not find attribute Enable Port for ARM Funnel 2 Port 1\n"},
        {"ARM Funnel 2 Port 1", port("ARM Funnel 2 Port 1").without("Port Priority"), 1, true, 0, false,
         channel + "Could not find attribute Port Priority for ARM Funnel 2 Port 1\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name + " / " + row.log);
        boost::shared_ptr<ArmFunnelPortModule> port;
        auto block = row.block.build();
        Output out = captureOutput([&] { port = boost::make_shared<ArmFunnelPortModule>(row.name, block); });
        EXPECT_EQ(out.log, row.log);
        EXPECT_EQ(port->getPortNumber(), row.number);
        EXPECT_EQ(port->getPortEnable(), row.enable);
        EXPECT_EQ(port->getPortPriority(), row.priority);
        EXPECT_EQ(port->isEnableTrace(), row.enableTrace);
        EXPECT_EQ(port->getModuleType(), 3u);

        // A port owns no hardware.
        auto fake = boost::make_shared<RecordingTaProcess>();
        EXPECT_TRUE(port->configure(fake));
        EXPECT_TRUE(port->reset(fake));
        EXPECT_TRUE(port->enableModule(fake));
        EXPECT_TRUE(port->disableModule(fake, true));
        EXPECT_TRUE(fake->accesses.empty());
    }
}

}  // namespace
