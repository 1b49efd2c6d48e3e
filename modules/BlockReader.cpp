#include "modules/BlockReader.h"

#include "common/src/Names.h"

namespace quorl {

namespace {
RequirementObserver* currentObserver = nullptr;
}

RequirementObserver::~RequirementObserver() = default;

void BlockReader::setObserver(RequirementObserver* o) {
    currentObserver = o;
}
RequirementObserver* BlockReader::observer() {
    return currentObserver;
}

BlockReader::BlockReader(Log& channel, const ConfigBlock& block)
    : BlockReader(channel, block, "[readModuleConfiguration]: Error: Could not find attribute ",
                  " for " + block.getName()) {}

BlockReader::BlockReader(Log& channel, const ConfigBlock& block, std::string missingPrefix, std::string missingSuffix)
    : channel(channel),
      block(block),
      name(block.getName()),
      missingPrefix(std::move(missingPrefix)),
      missingSuffix(std::move(missingSuffix)) {}

boost::shared_ptr<Addr64Attribute> BlockReader::requireBaseAddress(const std::string& reader) const {
    return require<Addr64Attribute>(ATTR_MODULE_BASE_ADDRESS, baseAddressMissing(reader));
}

std::string BlockReader::baseAddressMissing(const std::string& reader) const {
    return "[" + reader + "] Could not find 'Module Base Address' for " + name;
}

bool BlockReader::fail(const std::string& text) const {
    channel.write(text, LOG_ERROR);
    return false;
}

}  // namespace quorl
