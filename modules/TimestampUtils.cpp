#include "modules/TimestampUtils.h"

#include <sstream>

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/RegisterMap.h"

namespace quorl {

Log logTimestampUtils("quorl.ka.rq.config.TimestampUtils");

namespace {

// Generic counter registers (CoreSight timestamp generator, control frame).
enum CounterRegisterId { CNTCR, CNTFID0, COUNTER_REGISTER_COUNT };
// clang-format off
const RegisterRow<CounterRegisterId> COUNTER_MAP[COUNTER_REGISTER_COUNT] = {
    {CNTCR,   "ARM_TSMP_CNTCR",   0x000, 32, NO_RESET},
    {CNTFID0, "ARM_TSMP_CNTFID0", 0x020, 32, NO_RESET},
};
// clang-format on

const uint32_t CNTCR_EN = 1u << 0;    // counter enable
const uint32_t CNTCR_HDBG = 1u << 1;  // halt on debug

// Base addresses that mean "no counter here".
const uint64_t NO_COUNTER_32 = 0xFFFFFFFFull;
const uint64_t NO_COUNTER_64 = 0xFFFFFFFFFFFFFFFFull;

}  // namespace

TimestampUtils::TimestampUtils(boost::shared_ptr<ConfigBlock> block) {
    readModuleConfiguration(block);
}

TimestampUtils::~TimestampUtils() = default;

bool TimestampUtils::readModuleConfiguration(boost::shared_ptr<ConfigBlock> block) {
    if (!block) return false;
    const BlockReader read(logTimestampUtils, *block);
    auto base = read.requireBaseAddress("readModuleConfiguration");
    if (!base) return false;
    auto enable = read.require<BoolAttribute>(ATTR_ENABLE_TIMESTAMP_GENERATOR);
    if (!enable) return false;
    auto halt = read.require<BoolAttribute>(ATTR_HALT_ON_DEBUG);
    if (!halt) return false;
    auto space = read.require<StringAttribute>(ATTR_MEM_SPACE);
    if (!space) return false;
    auto frequency = read.require<UInt32Attribute>(ATTR_COUNTER_BASE_FREQUENCY);
    if (!frequency) return false;

    baseAddress = base->getValue();
    enableGenerator = enable->getValue();
    haltOnDebug = halt->getValue();
    memorySpace = space->getValue();
    counterBaseFrequency = frequency->getValue();
    return true;
}

bool TimestampUtils::configure(boost::shared_ptr<TaProcess> process) {
    if (baseAddress == NO_COUNTER_32 || baseAddress == NO_COUNTER_64) return true;

    std::array<Register<uint32_t>, COUNTER_REGISTER_COUNT> counter;
    buildRegisters(counter, COUNTER_MAP, baseAddress, memorySpace);

    uint32_t control = 0;
    if (enableGenerator) control |= CNTCR_EN;
    if (haltOnDebug) control |= CNTCR_HDBG;

    counter[CNTCR].write(process, control);
    if (counterBaseFrequency != 0) counter[CNTFID0].write(process, counterBaseFrequency);
    return true;
}

}  // namespace quorl
