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
#include <type_traits>
#include <utility>

namespace quorl {

namespace {

std::string duplicateBlock(const ConfigBlock& b) {
    return "duplicate config block was found" + b.getName();
}

}  // namespace

// Attributes and nested blocks are built already named below the block; the
// first of two same-named children is kept; other kinds are logged and
// skipped.
template <class Interface>
template <class Element>
void ConfigBlockXmlBase<Interface>::buildFromElement(Element&& element, Log& channel, const char* unknownText) {
    constexpr bool consume = !std::is_lvalue_reference<Element>::value;
    const size_t count = element.size_StringAttribute();
    reserveChildren(count);
    for (size_t i = 0; i < count; ++i) {
        // A consumed element gives up each child, storage included, once built.
        const c_anon_StringAttribute& child = element.get_StringAttribute(consume ? 0 : i);
        if (child.get_kind() == c_anon_StringAttribute::kind_ConfigBlock && child.as<c_ConfigBlock>()) {
            c_ConfigBlock& blockElement = *child.as<c_ConfigBlock>();
            ConfigBlockPtr b;
            if constexpr (consume)
                b = makeBlockFromElement(std::move(blockElement), qualifiedName);
            else
                b = makeBlockFromElement(static_cast<const c_ConfigBlock&>(blockElement), qualifiedName);
            if (hasBlockNamed(b->getName()))
                channel.write(duplicateBlock(*b), LOG_ERROR);
            else
                appendBlock(b);
        } else if (ConfigAttributePtr a = makeAttributeFromElement(child, qualifiedName)) {
            if (!appendAttributeIfNew(a)) channel.write("duplicate attribute was found", LOG_ERROR);
        } else {
            RQ7_LOG(channel, LOG_ERROR, unknownText << child.get_kind());
        }
        if constexpr (consume) element.pop_front_StringAttribute();
    }
}

ConfigBlockXml::ConfigBlockXml(const c_ConfigBlock& element, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase(element.get_Name(), joinQualifiedName(parentQualifiedName, element.get_Name())) {
    buildFromElement(element, logConfigBlockXml, "Unknown attribute : ");
}

ConfigBlockXml::ConfigBlockXml(c_ConfigBlock&& element, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase(element.get_Name(), joinQualifiedName(parentQualifiedName, element.get_Name())) {
    buildFromElement(std::move(element), logConfigBlockXml, "Unknown attribute : ");
}

MutableConfigBlockXml::MutableConfigBlockXml(const c_ConfigBlock& element, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase(element.get_Name(), joinQualifiedName(parentQualifiedName, element.get_Name())) {
    buildFromElement(element, logMutableConfigBlockXml, "Unknown attribute type : ");
}

MutableConfigBlockXml::MutableConfigBlockXml(c_ConfigBlock&& element, const std::string& parentQualifiedName)
    : ConfigBlockXmlBase(element.get_Name(), joinQualifiedName(parentQualifiedName, element.get_Name())) {
    buildFromElement(std::move(element), logMutableConfigBlockXml, "Unknown attribute type : ");
}

ConfigBlockPtr makeBlockFromElement(const c_ConfigBlock& element, const std::string& parentQualifiedName) {
    if (element.has_Mutable() && element.get_Mutable())
        return boost::make_shared<MutableConfigBlockXml>(element, parentQualifiedName);
    return boost::make_shared<ConfigBlockXml>(element, parentQualifiedName);
}

ConfigBlockPtr makeBlockFromElement(c_ConfigBlock&& element, const std::string& parentQualifiedName) {
    if (element.has_Mutable() && element.get_Mutable())
        return boost::make_shared<MutableConfigBlockXml>(std::move(element), parentQualifiedName);
    return boost::make_shared<ConfigBlockXml>(std::move(element), parentQualifiedName);
}

// Top-level blocks: no duplicate message here; a later block of a used name
// stays in the file-order list but not in the lookup.
ConfigurationXml::ConfigurationXml(const c_Configuration& element)
    : ConfigurationXml(element.get_Name(), element.get_Version(),
                       element.has_Comments() ? element.get_Comments() : std::string()) {
    buildBlocks(element);
}

ConfigurationXml::ConfigurationXml(c_Configuration&& element)
    : ConfigurationXml(element.get_Name(), element.get_Version(),
                       element.has_Comments() ? element.get_Comments() : std::string()) {
    buildBlocks(std::move(element));
}

// The blocks are built already named below the document.
template <class Element>
void ConfigurationXml::buildBlocks(Element&& element) {
    for (size_t i = 0; i < element.size_ConfigBlock(); ++i) {
        auto& blockElement = element.get_ConfigBlock(i);
        const std::string blockName = blockElement.get_Name();
        ConfigBlockPtr block;
        if constexpr (std::is_lvalue_reference<Element>::value)
            block = makeBlockFromElement(blockElement, name);
        else
            block = makeBlockFromElement(std::move(blockElement), name);
        blockMap.insert(blockName, block);
        blockList->push_back(block);
    }
}

bool hasConfigurationExtension(const std::string& path) {
    const std::string extension = boost::filesystem::path(path).extension().string();
    return extension.find(".xml") != std::string::npos || extension.find(".XML") != std::string::npos;
}

namespace {
// The binding objects are released as the tree takes them over.
ConfigurationPtr adopt(c_QUORL& document) {
    return ConfigurationPtr(new ConfigurationXml(std::move(document.get_Configuration())), ConfigurationXml::deleter());
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
