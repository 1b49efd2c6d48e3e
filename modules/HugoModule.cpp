#include "modules/HugoModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "target.access/ExtAddress.h"

#include <boost/make_shared.hpp>

#include <sstream>

namespace quorl {

Log logHugoModule("quorl.ka.rq7.config.HugoModule");

HugoModule::HugoModule(std::string name, boost::shared_ptr<ConfigBlock> block) : DataStream(std::move(name), block) {
    loadDataStreamSettings(block);
}

HugoModule::~HugoModule() = default;

bool HugoModule::loadDataStreamSettings(boost::shared_ptr<ConfigBlock> block) {
    const std::string prefix = "[loadDataStreamSettings]";
    if (!block) {
        logHugoModule.write(prefix + " Could not find 'Data Streams' config block!", LOG_ERROR);
        return false;
    }
    const BlockReader read(logHugoModule, *block, prefix + " Could not find attribute ", " for " + block->getName());

    auto bufferModeAttribute =
        read.require<EnumAttribute>(ATTR_BUFFER_MODE, prefix + " Could not find attribute " + ATTR_BUFFER_MODE);
    if (!bufferModeAttribute) return false;
    auto bufferModes = bufferModeAttribute->getValues();
    if (!bufferModes) return read.fail(prefix + " Could not get value for attribute " + ATTR_BUFFER_MODE);
    if (bufferModes->size() == 0) return read.fail(prefix + " No trace location selected");
    bufferMode = bufferModes->at(0);

    // Each attribute that follows is needed below: a missing one ends the load.
    // The controller is kept only once the whole block has been read: a sink
    // whose reading stopped early touches nothing.
    bool enableBuffer = false;
    auto controller = readController(read, enableBuffer);
    if (!controller) return false;
    name = read.blockName();
    if (!readCollectionMode(read, traceCollectionMode)) return false;

    enableTrace = enableBuffer;
    tmc = controller;
    return true;
}

bool HugoModule::configure(boost::shared_ptr<TaProcess> process) {
    if (!tmc) return true;  // the block was not read: nothing to touch
    if (bufferMode == VALUE_PASS_THROUGH) return tmc->startHardwareFifo(process);
    return tmc->startInternalBuffer(process, traceCollectionMode == VALUE_OVERWRITE);
}

}  // namespace quorl
