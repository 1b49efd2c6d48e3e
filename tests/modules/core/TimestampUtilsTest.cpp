// The timestamp counter: control value from the two flags, the optional base
// frequency, the "no counter" base addresses, and the reading of its block.
#include "modules/TimestampUtils.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "app/base/Exception.h"
#include "tests/support/ModuleTestSupport.h"

using rq7test::Access;
using rq7test::BlockSpec;

namespace {

const uint64_t COUNTER = 0x2A010000;

BlockSpec timestampBlock(uint64_t base, bool enable, bool halt, uint32_t frequency) {
    return BlockSpec("Timestamp Generator")
        .addr64("Module Base Address", base)
        .boolean("Enable Timestamp Generator", enable)
        .boolean("Halt on Debug", halt)
        .string("MemSpace", "sysbus")  // taken as written, known space or not
        .uint32("Counter Base Frequency", frequency);
}
Access W(uint64_t address, uint64_t value) {
    return Access::write(address, value, 4, "sysbus");
}

TEST(TimestampUtils, WritesControlThenFrequencyEachTime) {
    const struct {
        uint64_t base;
        bool enable, halt;
        uint32_t frequency;
        std::vector<Access> expected;
    } cases[] = {
        {COUNTER, false, true, 100, {W(COUNTER, 2), W(COUNTER + 0x20, 100)}},
        {COUNTER, false, false, 1, {W(COUNTER, 0), W(COUNTER + 0x20, 1)}},  // stops the counter
        {COUNTER, true, false, 0, {W(COUNTER, 1)}},                         // no frequency to write
        {0, true, false, 0, {W(0, 1)}},                                     // 0 is a real address
        {0xFFFFFFFFull, true, true, 100, {}},
        {0xFFFFFFFFFFFFFFFFull, true, true, 100, {}},
    };
    quorl::ExtAddress::memorySpaceIds = {"apb", "dap"};
    for (const auto& c : cases) {
        quorl::TimestampUtils counter(timestampBlock(c.base, c.enable, c.halt, c.frequency).build());
        auto process = boost::make_shared<rq7test::RecordingTaProcess>();
        // Every core and the STM configure the counter again, with the same values.
        for (int run = 0; run < 2; ++run) {
            process->clear();
            EXPECT_TRUE(counter.configure(process));
            EXPECT_EQ(process->accesses, c.expected) << std::hex << c.base << " " << c.enable << c.halt;
        }
    }
    quorl::ExtAddress::memorySpaceIds.clear();
}

TEST(TimestampUtils, FirstMissingAttributeEndsTheReadingAndNothingIsWritten) {
    const std::string NOT_FOUND = "[readModuleConfiguration]: Error: Could not find attribute ";
    const struct {
        const char* attribute;
        std::string message;
    } cases[] = {
        {"Module Base Address", "[readModuleConfiguration] Could not find 'Module Base Address' for "},
        {"Enable Timestamp Generator", NOT_FOUND + "Enable Timestamp Generator for "},
        {"Halt on Debug", NOT_FOUND + "Halt on Debug for "},
        {"MemSpace", NOT_FOUND + "MemSpace for "},
        {"Counter Base Frequency", NOT_FOUND + "Counter Base Frequency for "},
    };
    for (const auto& c : cases)
        for (bool wrongType : {false, true}) {  // another type counts as missing
            BlockSpec spec = timestampBlock(COUNTER, true, true, 100);
            if (!wrongType)
                spec.without(c.attribute);
            else if (std::string(c.attribute) == "MemSpace")
                spec.uint32(c.attribute, 1);
            else
                spec.string(c.attribute, "1");
            testing::internal::CaptureStdout();
            quorl::TimestampUtils counter(spec.build());
            const std::string log = testing::internal::GetCapturedStdout();
            EXPECT_EQ(rq7test::logLines(log),
                      "[quorl.ka.rq.config.TimestampUtils] ERROR: " + c.message + "Timestamp Generator\n");

            auto process = boost::make_shared<rq7test::RecordingTaProcess>();
            EXPECT_TRUE(counter.configure(process));
            EXPECT_TRUE(process->accesses.empty()) << c.attribute;
        }
}

TEST(TimestampUtils, AFailedWriteReachesTheCallerByName) {
    quorl::TimestampUtils counter(timestampBlock(COUNTER, true, false, 100).build());
    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    process->failAtIndex(1, rq7test::Failure::ThrowRuntimeError);
    try {
        counter.configure(process);
        FAIL() << "no exception";
    } catch (const quorl::Exception& e) {
        EXPECT_EQ(e.getMessage(), "Error while writing ARM_TSMP_CNTFID0");
    }
    EXPECT_EQ(process->accesses.size(), 2u);
}

}  // namespace
