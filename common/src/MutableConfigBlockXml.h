#pragma once
// The editable block implementation. It shares fields and read operations
// with ConfigBlockXml (ConfigBlockXmlBase); its children may be plain or
// editable, each as its own element says.
#include "common/src/ConfigBlockXml.h"
#include "common/src/MutableConfigBlock.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace quorl {

class c_ConfigBlock;

class MutableConfigBlockXml : public ConfigBlockXmlBase<MutableConfigBlock> {
public:
    explicit MutableConfigBlockXml(const std::string& name);
    MutableConfigBlockXml(const std::string& name, const std::string& parentQualifiedName);
    // Reads another block through its interface: names, then clones of its
    // attributes and blocks in order; a null list is logged.
    explicit MutableConfigBlockXml(const ConfigBlock& source);
    MutableConfigBlockXml(const MutableConfigBlockXml& source);
    MutableConfigBlockXml& operator=(const MutableConfigBlockXml&) = delete;
    // From the file binding, with the parent's qualified name.
    MutableConfigBlockXml(const c_ConfigBlock& element, const std::string& parentQualifiedName);
    MutableConfigBlockXml(c_ConfigBlock&& element, const std::string& parentQualifiedName);
    ~MutableConfigBlockXml() override;

    ConfigBlockPtr clone() const override;

    void addConfigBlock(const ConfigBlock& block) override;
    void addMutableConfigBlock(const ConfigBlock& block) override;
    bool removeConfigBlock(const std::string& name) override;
    void removeConfigBlocks() override;
    void addConfigAttribute(const ConfigAttribute& attribute) override;
    void addMutableConfigAttribute(const ConfigAttribute& attribute) override;
    bool removeConfigAttribute(const std::string& name) override;
    void removeConfigAttributes() override;
    void checkAdditional(const ConfigBlock& block) override;

    // As ConfigBlockXml::populate, with Mutable written true.
    virtual void populate(c_ConfigBlock& element) const;

private:
    // Appends copy under this block's qualified name.
    void appendRenamed(const ConfigBlockPtr& copy);
    void appendRenamed(const ConfigAttributePtr& copy);
};

// The two visitors of checkAdditional: each holds the block it was given
// and does nothing with it.
class CheckAdditionalConfigBlocksVisitor : public ConfigBlockVisitor {
public:
    explicit CheckAdditionalConfigBlocksVisitor(const ConfigBlock* block) : block(block) {}
    void visit(ConfigBlock&) override {}
    const ConfigBlock* getBlock() const { return block; }

private:
    const ConfigBlock* block;
};

class CheckAdditionalAttributesVisitor : public ConfigBlockVisitor {
public:
    explicit CheckAdditionalAttributesVisitor(const ConfigBlock* block) : block(block) {}
    void visit(ConfigBlock&) override {}
    const ConfigBlock* getBlock() const { return block; }

private:
    const ConfigBlock* block;
};

}  // namespace quorl
