#include "common/src/MutableConfigBlockXml.h"

#include "common/src/ConfigLogs.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/MutableAttributeXml.h"

#include <boost/make_shared.hpp>

namespace quorl {

MutableConfigBlockXml::MutableConfigBlockXml(const std::string& name) : ConfigBlockXmlBase(name, name) {}

MutableConfigBlockXml::MutableConfigBlockXml(const std::string& name, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase(name, joinQualifiedName(parentQualifiedName, name)) {}

MutableConfigBlockXml::MutableConfigBlockXml(const ConfigBlock& source) {
    copyFrom(source, &logMutableConfigBlockXml);
}

MutableConfigBlockXml::MutableConfigBlockXml(const MutableConfigBlockXml& source) : ConfigBlockXmlBase() {
    copyFrom(source, &logMutableConfigBlockXml);
}

MutableConfigBlockXml::~MutableConfigBlockXml() = default;

ConfigBlockPtr MutableConfigBlockXml::clone() const {
    return boost::make_shared<MutableConfigBlockXml>(*this);
}

void MutableConfigBlockXml::appendRenamed(const ConfigBlockPtr& copy) {
    setBlockQualifiedName(*copy, joinQualifiedName(getQualifiedName(), copy->getName()));
    appendBlock(copy);
}

void MutableConfigBlockXml::appendRenamed(const ConfigAttributePtr& copy) {
    setAttributeQualifiedName(*copy, joinQualifiedName(getQualifiedName(), copy->getName()));
    appendAttribute(copy);
}

void MutableConfigBlockXml::addConfigBlock(const ConfigBlock& block) {
    if (hasBlockNamed(block.getName())) {
        logMutableConfigBlockXml.write("duplicate config block", LOG_ERROR);
        return;
    }
    if (dynamic_cast<const MutableConfigBlock*>(&block))
        appendRenamed(ConfigBlockPtr(boost::make_shared<MutableConfigBlockXml>(block)));
    else
        appendRenamed(ConfigBlockPtr(boost::make_shared<ConfigBlockXml>(block)));
}

void MutableConfigBlockXml::addMutableConfigBlock(const ConfigBlock& block) {
    if (hasBlockNamed(block.getName())) {
        logMutableConfigBlockXml.write("duplicate config block", LOG_ERROR);
        return;
    }
    ConfigBlockPtr copy = block.clone();
    if (!boost::dynamic_pointer_cast<MutableConfigBlockXml>(copy)) {
        logMutableConfigBlockXml.write("invalid mutable config block", LOG_ERROR);
        return;
    }
    appendRenamed(copy);
}

bool MutableConfigBlockXml::removeConfigBlock(const std::string& childName) {
    return static_cast<bool>(detachBlock(childName));
}

void MutableConfigBlockXml::removeConfigBlocks() {
    detachAllBlocks();
}

void MutableConfigBlockXml::addConfigAttribute(const ConfigAttribute& attribute) {
    if (hasAttributeNamed(attribute.getName())) {
        logMutableConfigBlockXml.write("duplicate config attribute", LOG_ERROR);
        return;
    }
    // The stored copy is plain even when the argument is editable.
    CloneConfigAttributeVisitor cloner;
    attribute.accept(cloner);
    if (ConfigAttributePtr copy = cloner.getResult()) appendRenamed(copy);
}

void MutableConfigBlockXml::addMutableConfigAttribute(const ConfigAttribute& attribute) {
    if (hasAttributeNamed(attribute.getName())) {
        logMutableConfigBlockXml.write("duplicate config attribute", LOG_ERROR);
        return;
    }
    ConfigAttributePtr copy = attribute.clone();
    if (!boost::dynamic_pointer_cast<MutableConfigAttributeXml>(copy)) {
        logMutableConfigBlockXml.write("invalid config attribute", LOG_ERROR);
        return;
    }
    appendRenamed(copy);
}

bool MutableConfigBlockXml::removeConfigAttribute(const std::string& attributeName) {
    return static_cast<bool>(detachAttribute(attributeName));
}

void MutableConfigBlockXml::removeConfigAttributes() {
    detachAllAttributes();
}

void MutableConfigBlockXml::checkAdditional(const ConfigBlock& block) {
    for (const ConfigBlockPtr& child : getConfigBlocks()->snapshot()) {
        if (!child) continue;
        CheckAdditionalConfigBlocksVisitor blocksVisitor(&block);
        child->accept(blocksVisitor);
        CheckAdditionalAttributesVisitor attributesVisitor(&block);
        child->accept(attributesVisitor);
    }
}

// The document's editable add: as addConfigBlock, with an editable copy.
void ConfigurationXml::addMutableConfigBlock(const ConfigBlock& block) {
    const std::string blockName = block.getName();
    if (blockMap.contains(blockName)) {
        logConfigurationXml.write("duplicate config block", LOG_ERROR);
        return;
    }
    ConfigBlockPtr copy = boost::make_shared<MutableConfigBlockXml>(block);
    blockList->push_back(copy);
    blockMap.insert(blockName, copy);
}

}  // namespace quorl
