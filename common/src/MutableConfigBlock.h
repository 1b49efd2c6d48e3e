#pragma once
// An editable block: children can be added and removed. Names stay unique
// among the children of one kind: an add of a taken name is logged and does
// nothing.
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"

#include <string>

namespace quorl {

class MutableConfigBlock : public ConfigBlock {
public:
    // Appends a copy: editable if block is a MutableConfigBlock, else plain.
    virtual void addConfigBlock(const ConfigBlock& block) = 0;
    // Appends block's own clone, which must be an editable block.
    virtual void addMutableConfigBlock(const ConfigBlock& block) = 0;
    // The removed child keeps its bare name as qualified name.
    virtual bool removeConfigBlock(const std::string& name) = 0;
    virtual void removeConfigBlocks() = 0;
    // Appends a plain copy, even of an editable attribute.
    virtual void addConfigAttribute(const ConfigAttribute& attribute) = 0;
    // Appends attribute's own clone, which must be an editable attribute.
    virtual void addMutableConfigAttribute(const ConfigAttribute& attribute) = 0;
    virtual bool removeConfigAttribute(const std::string& name) = 0;
    virtual void removeConfigAttributes() = 0;
    // Walks the child blocks with the two check visitors; has no effect.
    virtual void checkAdditional(const ConfigBlock& block) = 0;
};

}  // namespace quorl
