#pragma once
// Between the binding objects and the tree: building attributes from their
// elements, and the visitor that writes attributes back into a block
// element.
#include "common/src/AttributeKinds.h"
#include "common/src/ConfigAttribute.h"

#include <string>

namespace quorl {

class c_ConfigBlock;
class c_anon_StringAttribute;

// The attribute of a choice element, editable if its element says Mutable,
// with owner's qualified name; null if the choice holds no attribute kind.
ConfigAttributePtr makeAttributeFromElement(const c_anon_StringAttribute& choice, const std::string& owner);

// Fills the last choice of a block element with the visited attribute, of
// its kind, through the populate of its plain or editable implementation.
class PopulateConfigAttributeXMLVisitor : public ConfigAttributeVisitor {
public:
    explicit PopulateConfigAttributeXMLVisitor(c_ConfigBlock* block) : block(block) {}
#define RQ7_POPULATE_VISIT_DECL(Kind, ...) void visit(Kind##Attribute& attribute) override;
    RQ7_ATTRIBUTE_KINDS(RQ7_POPULATE_VISIT_DECL)
#undef RQ7_POPULATE_VISIT_DECL

private:
    c_ConfigBlock* block;
};

}  // namespace quorl
