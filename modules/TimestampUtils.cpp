#include "modules/TimestampUtils.h"

#include <sstream>

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/TimestampRegisters.h"

namespace quorl {

Log logTimestampUtils("quorl.ka.rq.config.TimestampUtils");

namespace {

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

    using namespace counter;
    RegisterArray<RegisterId, uint32_t, REGISTER_COUNT> registers;
    registers.build(registerMap, baseAddress, memorySpace);

    registers[CNTCR].write(process, CNTCR_EN(enableGenerator) | CNTCR_HDBG(haltOnDebug));
    if (counterBaseFrequency != 0) registers[CNTFID0].write(process, counterBaseFrequency);
    return true;
}

}  // namespace quorl
