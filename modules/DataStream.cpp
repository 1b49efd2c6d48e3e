#include "modules/DataStream.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/Names.h"
#include "modules/BlockReader.h"
#include "modules/TMC.h"
#include "target.access/ExtAddress.h"

#include <boost/make_shared.hpp>

namespace quorl {

// Declared for the sink base; nothing is logged on it.
Log logDataStream("quorl.ka.rq.config.Data Stream");

DataStream::DataStream(std::string name, boost::shared_ptr<ConfigBlock> block)
    : ConfigurationModule(std::move(name), std::move(block)) {}

DataStream::~DataStream() = default;

bool DataStream::reset(boost::shared_ptr<TaProcess> process) {
    if (!tmc) return true;
    return tmc->stop(process);
}

bool DataStream::enableOnce(boost::shared_ptr<TaProcess> process) {
    if (tmcConfigured) return true;
    bool result = configure(process);
    if (result) tmcConfigured = true;
    return result;
}

boost::shared_ptr<TMC> DataStream::readController(const BlockReader& read, bool& enableBuffer) {
    const std::string prefix = "[loadDataStreamSettings]";
    const std::string suffix = " for " + read.blockName();
    auto enableBufferAttribute = read.require<BoolAttribute>(ATTR_ENABLE_BUFFER);
    if (!enableBufferAttribute) return {};
    auto memSpace = read.require<StringAttribute>(
        ATTR_MEM_SPACE, prefix + " No memory space string attribute (MemSpace) could be found" + suffix);
    if (!memSpace) return {};
    auto baseAddress = read.requireBaseAddress("loadDataStreamSettings");
    if (!baseAddress) return {};
    enableBuffer = enableBufferAttribute->getValue();
    return boost::make_shared<TMC>(baseAddress->getValue(), ExtAddress::validMemorySpace(memSpace->getValue()));
}

bool DataStream::readCollectionMode(const BlockReader& read, std::string& mode) {
    const std::string prefix = "[loadDataStreamSettings]";
    const std::string suffix = " config block for " + read.blockName();
    auto collection = read.require<EnumAttribute>(ATTR_TRACE_COLLECTION_MODE,
                                                  prefix + "Could not find 'TraceCollectionMode'" + suffix);
    if (!collection) return false;
    auto modes = collection->getValues();
    if (!modes || modes->size() == 0)
        return read.fail(prefix + "Could not get value for 'TraceCollectionMode'" + suffix);
    mode = modes->at(0);
    return true;
}

bool DataStream::passesThrough() const {
    return bufferMode == VALUE_PASS_THROUGH;
}

}  // namespace quorl
