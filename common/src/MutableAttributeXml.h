#pragma once
// The editable attribute implementations: MutableAttributeXml<K> over the
// kind table, named MutableStringAttributeXml ... MutableEnumAttributeXml.
// They share the fields and operations of the plain ones (AttributeFields)
// with every getter locked, and setValue/setValues insisting on shared
// ownership (boost::bad_weak_ptr otherwise, after storing the value).
#include "common/src/AttributeXml.h"
#include "common/src/MutableConfigAttribute.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <string>

namespace quorl {

// Mixin of the editable implementations; a ConfigAttributeXml, so a block
// renames plain and editable children through one cast.
class MutableConfigAttributeXml : public ConfigAttributeXml {};

template <AttributeKind K>
class MutableAttributeBase : public MutableInterfaceOf<typename AttributeKindTraits<K>::Interface>::type,
                             public MutableConfigAttributeXml {};

template <AttributeKind K>
class MutableAttributeXml : public AttributeFields<K, MutableAttributeBase<K>, true> {
    typedef AttributeFields<K, MutableAttributeBase<K>, true> Fields;

public:
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::Interface Interface;
    typedef typename MutableInterfaceOf<Interface>::type MutableInterface;
    typedef typename Traits::Binding Binding;
    static constexpr AttributeKind kind = K;

    explicit MutableAttributeXml(const std::string& name) : Fields(name, name) {}
    MutableAttributeXml(const std::string& name, const std::string& ownerQualifiedName)
        : Fields(name, joinQualifiedName(ownerQualifiedName, name)) {}
    // Reads every field through the interface.
    explicit MutableAttributeXml(const Interface& source) { this->readThrough(source); }
    MutableAttributeXml(const MutableAttributeXml& other) : Fields() { this->copyFieldsFrom(other); }
    MutableAttributeXml& operator=(const MutableAttributeXml&) = delete;
    // From the file binding: the same conversions as the plain attribute.
    MutableAttributeXml(const Binding& element, const std::string& ownerQualifiedName) {
        const AttributeXml<K> plain(element, ownerQualifiedName);
        this->readThrough(plain);
    }

    boost::shared_ptr<ConfigAttribute> clone() const override { return boost::make_shared<MutableAttributeXml>(*this); }
    void accept(ConstConfigAttributeVisitor& visitor) const override {
        attribute_detail::Guard g(this->lock);
        visitor.visit(static_cast<const Interface&>(*this));
    }
    void accept(ConfigAttributeVisitor& visitor) override { visitor.visit(static_cast<Interface&>(*this)); }

    // As the plain attribute, with Mutable written true right after Name.
    virtual void populate(Binding& element) const;
};

#define RQ7_MUTABLE_ATTRIBUTE_XML_NAME(Kind, ...) \
    typedef MutableAttributeXml<AttributeKind::Kind> Mutable##Kind##AttributeXml;
RQ7_ATTRIBUTE_KINDS(RQ7_MUTABLE_ATTRIBUTE_XML_NAME)
#undef RQ7_MUTABLE_ATTRIBUTE_XML_NAME

// Builds a plain copy of any attribute, read through its typed interface.
class CloneConfigAttributeVisitor : public ConstConfigAttributeVisitor {
public:
#define RQ7_CLONE_VISIT(Kind, ...) void visit(const Kind##Attribute& attribute) override;
    RQ7_ATTRIBUTE_KINDS(RQ7_CLONE_VISIT)
#undef RQ7_CLONE_VISIT
    boost::shared_ptr<ConfigAttribute> getResult() const {
        return result;
    }

private:
    boost::shared_ptr<ConfigAttribute> result;
};

}  // namespace quorl
