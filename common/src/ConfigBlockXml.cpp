#include "common/src/ConfigBlockXml.h"

#include "common/src/ConfigLogs.h"

#include <boost/pointer_cast.hpp>

namespace quorl {

bool setBlockQualifiedName(ConfigBlock& block, const std::string& qualifiedName) {
    RenamableConfigBlock* named = dynamic_cast<RenamableConfigBlock*>(&block);
    if (!named) return false;
    named->setQualifiedName(qualifiedName);
    return true;
}

ConfigBlockXml::ConfigBlockXml(const std::string& n) : ConfigBlockXmlBase<ConfigBlock>(n, n) {}

ConfigBlockXml::ConfigBlockXml(const std::string& n, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase<ConfigBlock>(n, joinQualifiedName(parentQualifiedName, n)) {}

ConfigBlockXml::ConfigBlockXml(const ConfigBlock& source) {
    copyFrom(source, nullptr);
}

ConfigBlockXml::ConfigBlockXml(const ConfigBlockXml& source) : ConfigBlockXmlBase<ConfigBlock>() {
    copyFrom(source, nullptr);
}

ConfigBlockXml::~ConfigBlockXml() {}

ConfigBlockPtr ConfigBlockXml::clone() const {
    return boost::make_shared<ConfigBlockXml>(static_cast<const ConfigBlock&>(*this));
}

bool ConfigBlockXml::addAttribute(const ConfigAttributePtr& attribute) {
    return adoptAttribute(attribute, logConfigBlockXml);
}

bool ConfigBlockXml::addBlock(const ConfigBlockPtr& block) {
    return adoptBlock(block, logConfigBlockXml);
}

boost::shared_ptr<ConfigBlockXml> ConfigBlockXml::ensureBlock(const std::string& childName) {
    Guard g(lock);
    if (ConfigBlockPtr existing = getConfigBlock(childName))
        return boost::dynamic_pointer_cast<ConfigBlockXml>(existing);
    auto created = boost::make_shared<ConfigBlockXml>(childName, qualifiedName);
    appendBlock(created);
    return created;
}

bool ConfigBlockXml::removeAttribute(const std::string& attributeName) {
    return detachAttribute(attributeName) != nullptr;
}

bool ConfigBlockXml::removeBlock(const std::string& blockName) {
    return detachBlock(blockName) != nullptr;
}

}  // namespace quorl
