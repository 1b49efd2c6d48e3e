#pragma once
// A named node of the configuration tree holding attributes and child
// blocks, both in file order. Lookups by name are one step and exact
// (byte for byte, case-sensitive); the first match wins.
#include "common/src/ConfigAttribute.h"
#include "common/src/Vector.h"

#include <boost/pointer_cast.hpp>
#include <boost/shared_ptr.hpp>

#include <string>

namespace quorl {

class ConfigBlock;

class ConfigBlockVisitor {
public:
    virtual ~ConfigBlockVisitor() {}
    virtual void visit(ConfigBlock& block) = 0;
};

typedef boost::shared_ptr<ConfigBlock> ConfigBlockPtr;
typedef Vector<ConfigBlockPtr> ConfigBlockVector;
typedef boost::shared_ptr<ConfigBlockVector> ConfigBlockVectorPtr;

class ConfigBlock {
public:
    // A new block of the same concrete class whose children are clones.
    virtual boost::shared_ptr<ConfigBlock> clone() const = 0;
    virtual std::string getName() const = 0;
    // Parent's qualified name, ".", name; top-level blocks start with the
    // document's name.
    virtual std::string getQualifiedName() const = 0;
    // First child block of that name, or null. The name is not split.
    virtual boost::shared_ptr<ConfigBlock> getConfigBlock(const std::string& name) const = 0;
    // Snapshot of the child blocks, in file order.
    virtual ConfigBlockVectorPtr getConfigBlocks() const = 0;
    // First attribute of that name, or null.
    virtual ConfigAttributePtr getConfigAttribute(const std::string& name) const = 0;
    // Snapshot of the attributes, in file order.
    virtual ConfigAttributeVectorPtr getConfigAttributes() const = 0;
    // Both forms call visitor.visit(*this).
    virtual void accept(ConfigBlockVisitor& visitor) = 0;
    virtual void accept(ConfigBlockVisitor& visitor) const = 0;
    virtual ~ConfigBlock() {}
};

// The attribute of that name cast to a typed interface; null when it is
// missing or of another type.
//   auto base = getTypedAttribute<Addr64Attribute>(*block, ATTR_MODULE_BASE_ADDRESS);
template <class Interface>
boost::shared_ptr<Interface> getTypedAttribute(const ConfigBlock& block, const std::string& name) {
    return boost::dynamic_pointer_cast<Interface>(block.getConfigAttribute(name));
}

}  // namespace quorl
