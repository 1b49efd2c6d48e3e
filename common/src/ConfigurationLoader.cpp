#include "common/src/ConfigurationLoader.h"

#include "common/src/ConfigBlockXml.h"
#include "common/src/ConfigLogs.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/MutableConfigBlockXml.h"
#include "common/src/ka.common.xml.h"
#include "common/src/ka.common.xml.tree.h"

#include <boost/filesystem/path.hpp>
#include <boost/make_shared.hpp>

#include <memory>
#include <sstream>

namespace quorl {

namespace {

// The children of a block element in file order: attributes and nested
// blocks are built, already named below the block, and handed to append
// callbacks, which keep the first of two same-named children; other kinds
// are logged and skipped.
template <class AdoptAttribute, class AdoptBlock>
void buildChildren(const c_ConfigBlock& element, const std::string& qualifiedName, Log& channel,
                   const char* unknownText, AdoptAttribute adoptAttribute, AdoptBlock adoptBlock) {
    for (size_t i = 0; i < element.size_StringAttribute(); ++i) {
        const c_anon_StringAttribute& child = element.get_StringAttribute(i);
        if (child.get_kind() == c_anon_StringAttribute::kind_ConfigBlock && child.as<c_ConfigBlock>()) {
            adoptBlock(makeBlockFromElement(*child.as<c_ConfigBlock>(), qualifiedName));
        } else if (ConfigAttributePtr attribute = makeAttributeFromElement(child, qualifiedName)) {
            adoptAttribute(attribute);
        } else {
            RQ7_LOG(channel, LOG_ERROR, unknownText << child.get_kind());
        }
    }
}

std::string duplicateAttribute() {
    return "duplicate attribute was found";
}
std::string duplicateBlock(const ConfigBlock& b) {
    return "duplicate config block was found" + b.getName();
}

}  // namespace

ConfigBlockXml::ConfigBlockXml(const c_ConfigBlock& element, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase(element.get_Name(), joinQualifiedName(parentQualifiedName, element.get_Name())) {
    reserveChildren(element.size_StringAttribute());
    buildChildren(
        element, qualifiedName, logConfigBlockXml, "Unknown attribute : ",
        [this](const ConfigAttributePtr& a) {
            if (hasAttributeNamed(a->getName()))
                logConfigBlockXml.write(duplicateAttribute(), LOG_ERROR);
            else
                appendAttribute(a);
        },
        [this](const ConfigBlockPtr& b) {
            if (hasBlockNamed(b->getName()))
                logConfigBlockXml.write(duplicateBlock(*b), LOG_ERROR);
            else
                appendBlock(b);
        });
}

MutableConfigBlockXml::MutableConfigBlockXml(const c_ConfigBlock& element, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase(element.get_Name(), joinQualifiedName(parentQualifiedName, element.get_Name())) {
    reserveChildren(element.size_StringAttribute());
    buildChildren(
        element, qualifiedName, logMutableConfigBlockXml, "Unknown attribute type : ",
        [this](const ConfigAttributePtr& a) {
            if (hasAttributeNamed(a->getName()))
                logMutableConfigBlockXml.write(duplicateAttribute(), LOG_ERROR);
            else
                appendAttribute(a);
        },
        [this](const ConfigBlockPtr& b) {
            if (hasBlockNamed(b->getName()))
                logMutableConfigBlockXml.write(duplicateBlock(*b), LOG_ERROR);
            else
                appendBlock(b);
        });
}

ConfigBlockPtr makeBlockFromElement(const c_ConfigBlock& element, const std::string& parentQualifiedName) {
    if (element.has_Mutable() && element.get_Mutable())
        return boost::make_shared<MutableConfigBlockXml>(element, parentQualifiedName);
    return boost::make_shared<ConfigBlockXml>(element, parentQualifiedName);
}

// Top-level blocks: no duplicate message here; a later block of a used name
// stays in the file-order list but not in the lookup.
ConfigurationXml::ConfigurationXml(const c_Configuration& element)
    : ConfigurationXml(element.get_Name(), element.get_Version(),
                       element.has_Comments() ? element.get_Comments() : std::string()) {
    // The blocks are built already named below the document.
    for (size_t i = 0; i < element.size_ConfigBlock(); ++i) {
        const c_ConfigBlock& blockElement = element.get_ConfigBlock(i);
        ConfigBlockPtr block = makeBlockFromElement(blockElement, name);
        blockMap.insert(blockElement.get_Name(), block);
        blockList->push_back(block);
    }
}

bool hasConfigurationExtension(const std::string& path) {
    const std::string extension = boost::filesystem::path(path).extension().string();
    return extension.find(".xml") != std::string::npos || extension.find(".XML") != std::string::npos;
}

namespace {
ConfigurationPtr adopt(const c_QUORL& document) {
    return ConfigurationPtr(new ConfigurationXml(document.get_Configuration()), ConfigurationXml::deleter());
}
}  // namespace

ConfigurationPtr loadConfiguration(const std::string& path) {
    if (!hasConfigurationExtension(path)) return ConfigurationPtr();
    xrt::exrt_error code = XB_UNDEFINED;
    // The binding objects live only until the tree holds its copy.
    std::unique_ptr<c_QUORL> document(new c_QUORL(path.c_str(), &code));
    if (code != XB_OK) {
        RQ7_LOG(logQorKaCommon, LOG_ERROR,
                "An error occurred while reading XML (" << path << ")"
                                                        << " XML Error Code: " << static_cast<int>(code));
        return ConfigurationPtr();
    }
    return adopt(*document);
}

ConfigurationPtr loadConfigurationFromMemory(const char* data, size_t length, xrt::exrt_error* code) {
    xrt::exrt_error result = XB_UNDEFINED;
    std::unique_ptr<c_QUORL> document(new c_QUORL(data, length, &result));
    if (code) *code = result;
    if (result != XB_OK) return ConfigurationPtr();
    return adopt(*document);
}

}  // namespace quorl
