#include "common/src/ConfigurationXml.h"

#include "common/src/ConfigLogs.h"
#include "common/src/EnumList.h"

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace quorl {

std::string newConfigurationId() {
    boost::uuids::random_generator generator;
    return boost::uuids::to_string(generator());
}

ConfigurationXml::ConfigurationXml(const std::string& n, const std::string& v, const std::string& c)
    : id(newConfigurationId()), name(n), version(v), comments(c), blockList(boost::make_shared<ConfigBlockVector>()) {}

ConfigurationXml::~ConfigurationXml() {}

std::string ConfigurationXml::getId() const {
    return id;
}
std::string ConfigurationXml::getVersion() const {
    return version;
}
std::string ConfigurationXml::getName() const {
    return name;
}
void ConfigurationXml::setName(const std::string& n) {
    name = n;
}
std::string ConfigurationXml::getComments() const {
    return comments;
}
void ConfigurationXml::setComments(const std::string& c) {
    comments = c;
}
void ConfigurationXml::setVersion(const std::string& v) {
    version = v;
}

ConfigBlockPtr ConfigurationXml::getConfigBlock(const std::string& qualifiedName) const {
    const std::vector<std::string> tokens = splitQualifiedName(qualifiedName);
    if (tokens.empty()) return ConfigBlockPtr();
    ConfigBlockPtr block = blockMap.get(tokens.front());
    for (size_t i = 1; block && i < tokens.size(); ++i) block = block->getConfigBlock(tokens[i]);
    return block;
}

ConfigBlockVectorPtr ConfigurationXml::getConfigBlocks() const {
    return boost::make_shared<ConfigBlockVector>(blockMap.values());
}

ConfigAttributePtr ConfigurationXml::getConfigAttribute(const std::string& qualifiedName) const {
    const std::vector<std::string> tokens = splitQualifiedName(qualifiedName);
    if (tokens.size() < 2) {
        logConfigurationXml.write(
            "Configuration attribute requested without qualified path, name must contain both configuration "
            "block name and attribute name, separated by '.' or ':'. Name used:" +
                qualifiedName,
            LOG_ERROR);
        return ConfigAttributePtr();
    }
    ConfigBlockPtr block = getConfigBlock(tokens.front());
    for (size_t i = 1; block && i + 1 < tokens.size(); ++i) block = block->getConfigBlock(tokens[i]);
    if (!block) return ConfigAttributePtr();
    return block->getConfigAttribute(tokens.back());
}

boost::shared_ptr<Configuration> ConfigurationXml::clone() const {
    boost::shared_ptr<ConfigurationXml> copy(new ConfigurationXml(name, version, comments), deleter());
    ConfigBlockVectorPtr clones = cloneConfigBlocks(blockMap);
    for (const ConfigBlockPtr& block : clones->snapshot()) {
        copy->blockList->push_back(block);
        copy->blockMap.insert(block->getName(), block);
    }
    return copy;
}

void ConfigurationXml::addConfigBlock(const ConfigBlock& block) {
    const std::string blockName = block.getName();
    if (blockMap.contains(blockName)) {
        logConfigurationXml.write("duplicate config block", LOG_ERROR);
        return;
    }
    ConfigBlockPtr copy = boost::make_shared<ConfigBlockXml>(block);
    blockList->push_back(copy);
    blockMap.insert(blockName, copy);
}

bool ConfigurationXml::removeConfigBlock(const std::string& blockName) {
    return blockMap.erase(blockName);
}

ConfigBlockVectorPtr ConfigurationXml::cloneConfigBlocks(const ConfigBlockMap& map) const {
    auto clones = boost::make_shared<ConfigBlockVector>();
    for (const ConfigBlockPtr& block : map.values())
        if (block) clones->push_back(block->clone());
    return clones;
}

boost::shared_ptr<ConfigBlockMap> ConfigurationXml::getConfigBlockMap() const {
    auto map = boost::make_shared<ConfigBlockMap>();
    for (const ConfigBlockPtr& block : blockList->snapshot())
        if (block) map->insert(block->getName(), block);
    return map;
}

bool ConfigurationXml::addBlock(const ConfigBlockPtr& block) {
    if (!block) return false;
    const std::string blockName = block->getName();
    setBlockQualifiedName(*block, joinQualifiedName(name, blockName));
    blockList->push_back(block);
    return blockMap.insert(blockName, block);
}

boost::shared_ptr<ConfigBlockXml> ConfigurationXml::ensureBlock(const std::string& qualifiedPath) {
    const std::vector<std::string> tokens = splitQualifiedName(qualifiedPath);
    if (tokens.empty()) return ConfigBlockXmlPtr();
    ConfigBlockPtr top = blockMap.get(tokens.front());
    if (!top) {
        top = boost::make_shared<ConfigBlockXml>(tokens.front(), name);
        addBlock(top);
    }
    ConfigBlockXmlPtr block = boost::dynamic_pointer_cast<ConfigBlockXml>(top);
    for (size_t i = 1; block && i < tokens.size(); ++i) block = block->ensureBlock(tokens[i]);
    return block;
}

ConfigBlockVectorPtr ConfigurationXml::getConfigBlockList() const {
    return blockList->copy();
}

}  // namespace quorl
