#include "modules/HugoModuleDDR.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "target.access/ExtAddress.h"

#include <boost/make_shared.hpp>

#include <sstream>

namespace quorl {

Log logHugoModuleDDR("quorl.ka.rq7.config.HugoModuleDDR");

namespace {

const unsigned BYTES_PER_WORD_SHIFT = 2;  // the controller counts 32-bit words

}  // namespace

HugoModuleDDR::HugoModuleDDR(std::string name, boost::shared_ptr<ConfigBlock> block)
    : DataStream(std::move(name), block) {
    loadDataStreamSettings(block);
}

HugoModuleDDR::~HugoModuleDDR() = default;

bool HugoModuleDDR::loadDataStreamSettings(boost::shared_ptr<ConfigBlock> block) {
    const std::string prefix = "[loadDataStreamSettings]";
    if (!block) {
        logHugoModuleDDR.write(prefix + " Could not find 'Data Streams' config block!", LOG_ERROR);
        return false;
    }
    const BlockReader read(logHugoModuleDDR, *block, prefix + " Could not find attribute ", " for " + block->getName());
    const std::string suffix = " config block for " + read.blockName();

    // Each attribute is needed below: a missing one ends the load. The
    // controller is kept only once the whole block has been read: a sink
    // whose reading stopped early touches nothing.
    bool enableBuffer = false;
    auto controller = readController(read, enableBuffer);
    if (!controller) return false;

    // A zero address or size is reported and accepted.
    auto bufferAddress = read.require<Addr64Attribute>(ATTR_TRACE_BUFFER_BASE_ADDRESS,
                                                       prefix + " Could not find 'Trace Buffer Base Address'" + suffix);
    if (!bufferAddress) return false;
    if (bufferAddress->getValue() == 0)
        read.fail(prefix + " Could not get value for 'Trace Buffer Base Address'" + suffix);
    auto bufferSize =
        read.require<Addr64Attribute>(ATTR_TRACE_BUFFER_SIZE, prefix + " Could not find 'Trace Buffer Size'" + suffix);
    if (!bufferSize) return false;
    if (bufferSize->getValue() == 0) read.fail(prefix + " Could not get value for 'Trace Buffer Size'" + suffix);

    if (!readCollectionMode(read, collectionMode)) return false;

    traceBufferBaseAddress = bufferAddress->getValue();
    traceBufferSize = bufferSize->getValue();
    name = read.blockName();
    enableTrace = enableBuffer;
    tmc = controller;
    return true;
}

bool HugoModuleDDR::configure(boost::shared_ptr<TaProcess> process) {
    if (!tmc) return true;  // the block was not read: nothing to touch
    TMC::SystemBuffer buffer;
    buffer.address = traceBufferBaseAddress;
    buffer.sizeWords = static_cast<uint32_t>(traceBufferSize >> BYTES_PER_WORD_SHIFT);
    buffer.overwrite = collectionMode == VALUE_OVERWRITE;
    buffer.scatterGather = scatterGather;
    return tmc->startSystemBuffer(process, buffer);
}

}  // namespace quorl
