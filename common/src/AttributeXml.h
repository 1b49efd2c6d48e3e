#pragma once
// The attribute implementations of the configuration tree: one template,
// AttributeXml<K>, over the kind table (AttributeKinds.h), with the names
// StringAttributeXml ... EnumAttributeXml.
//
// Building attributes in code (tests, tools):
//
//   auto port = quorl::makeUInt32Attribute("ServerPort", 5000);   // bare qualified name
//   port->setMinValue(1);                                          // ranges, readOnly, ...
//   auto method = quorl::makeEnumAttribute("Target Access Method", "Logger", "LTA,Logger,GTA");
//   auto flag = quorl::makeBoolAttribute("Enable Trace", true);
//   block->addAttribute(port);   // ConfigBlockXml sets "<block>.ServerPort"
//
// The layers are reusable for other implementations of the same interfaces
// (the editable twins): AttributeFields<K, Base, Editable> holds the fields
// and implements every operation of the kind's interface for any Base that
// derives from that interface and from a mixin with setQualifiedName. With
// Editable true, every getter takes the lock and setValue/setValues call
// shared_from_this() after storing, as editable attributes require. The
// setters that only editable interfaces declare (setMinValue, setMaxValue,
// setMinInclusive, setMaxInclusive, setValueDescription, setAllowMultiple,
// setEnumValues(text), setEnumValues(list), setReadOnly) are provided here
// with exactly those signatures, so a Base that declares them pure virtual
// gets them implemented; on the plain classes they serve programmatic
// construction.
#include "common/src/AttributeKinds.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/EnumList.h"
#include "common/src/Vector.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <string>
#include <vector>

// One template implements both the read-only and the editable interfaces;
// only the editable ones declare the setters, so `override` cannot be written
// on them for every instantiation.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Winconsistent-missing-override"
#endif

namespace quorl {

// Mixin of the implementations: lets a block give its attributes their
// qualified names. An editable attribute's mixin should derive from this one,
// so that a block reaches every implementation through one cast.
class ConfigAttributeXml {
public:
    virtual void setQualifiedName(const std::string& qualifiedName) = 0;
    virtual ~ConfigAttributeXml() {}
};

// Sets the qualified name of any attribute that carries the mixin; false for
// other implementations.
bool setAttributeQualifiedName(ConfigAttribute& attribute, const std::string& qualifiedName);

// owner, ".", name.
inline std::string joinQualifiedName(const std::string& owner, const std::string& name) {
    return owner + "." + name;
}

namespace attribute_detail {

typedef boost::lock_guard<boost::recursive_mutex> Guard;

// Takes the lock only when asked: plain integer attributes read without it.
class OptionalGuard {
public:
    OptionalGuard(boost::recursive_mutex& m, bool take) : m_(take ? &m : nullptr) {
        if (m_) m_->lock();
    }
    ~OptionalGuard() {
        if (m_) m_->unlock();
    }
    OptionalGuard(const OptionalGuard&) = delete;
    OptionalGuard& operator=(const OptionalGuard&) = delete;

private:
    boost::recursive_mutex* m_;
};

}  // namespace attribute_detail

// Fields and operations common to every kind: lock, name, qualifiedName,
// readOnly, in that order.
template <class Base, bool Editable>
class AttributeCore : public Base {
public:
    std::string getName() const override {
        attribute_detail::Guard g(lock);
        return name;
    }
    std::string getQualifiedName() const override {
        attribute_detail::Guard g(lock);
        return qualifiedName;
    }
    bool isReadOnly() const override {
        attribute_detail::Guard g(lock);
        return readOnly;
    }
    void setQualifiedName(const std::string& q) override {
        attribute_detail::Guard g(lock);
        qualifiedName = q;
    }
    // ReadOnly is carried and written back; nothing acts on it.
    void setReadOnly(bool value) {
        attribute_detail::Guard g(lock);
        readOnly = value;
    }

protected:
    AttributeCore() = default;
    AttributeCore(const std::string& n, const std::string& q) : name(n), qualifiedName(q) {}
    AttributeCore(const AttributeCore&) = delete;
    AttributeCore& operator=(const AttributeCore&) = delete;

    // Caller holds other.lock.
    void copyCoreFrom(const AttributeCore& other) {
        name = other.name;
        qualifiedName = other.qualifiedName;
        readOnly = other.readOnly;
    }
    void readCoreThrough(const ConfigAttribute& source) {
        name = source.getName();
        qualifiedName = source.getQualifiedName();
        readOnly = source.isReadOnly();
    }
    // Editable attributes insist on being owned by a shared pointer:
    // boost::bad_weak_ptr otherwise, after the value has been stored.
    void afterSet() const {
        if (Editable) (void)this->shared_from_this();
    }

    mutable boost::recursive_mutex lock;
    std::string name;
    std::string qualifiedName;
    bool readOnly = false;
};

template <AttributeKind K, class Base, bool Editable, AttributeShape S = AttributeKindTraits<K>::shape>
class AttributeFields;

// ---- Text: string, path, file ------------------------------------------------

template <AttributeKind K, class Base, bool Editable>
class AttributeFields<K, Base, Editable, AttributeShape::Text> : public AttributeCore<Base, Editable> {
public:
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::value_type value_type;

    std::string getValue() const override {
        attribute_detail::Guard g(this->lock);
        return value;
    }
    void setValue(const std::string& v) override {
        {
            attribute_detail::Guard g(this->lock);
            value = v;
        }
        this->afterSet();
    }
    // Uniform access for code written over all kinds.
    value_type currentValue() const { return getValue(); }
    void assignValue(const value_type& v) { setValue(v); }

protected:
    using AttributeCore<Base, Editable>::AttributeCore;
    void copyFieldsFrom(const AttributeFields& o) {
        attribute_detail::Guard g(o.lock);
        this->copyCoreFrom(o);
        value = o.value;
    }
    void readThrough(const typename Traits::Interface& s) {
        this->readCoreThrough(s);
        value = s.getValue();
    }

    std::string value;
};

// ---- Ranged kinds: integers, addresses, float and double ----------------------

// value, min and max. The bounds of a plain attribute are read without the
// lock; its value only when LockedValue is false (plain integers).
template <AttributeKind K, class Base, bool Editable, bool LockedValue>
class RangedFields : public AttributeCore<Base, Editable> {
public:
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::value_type value_type;

    value_type getValue() const override {
        attribute_detail::OptionalGuard g(this->lock, LockedValue);
        return value;
    }
    void setValue(value_type v) override {
        {
            attribute_detail::Guard g(this->lock);
            value = v;
        }
        this->afterSet();
    }
    value_type getMinValue() const override {
        attribute_detail::OptionalGuard g(this->lock, Editable);
        return min;
    }
    value_type getMaxValue() const override {
        attribute_detail::OptionalGuard g(this->lock, Editable);
        return max;
    }
    void setMinValue(value_type v) {
        attribute_detail::Guard g(this->lock);
        min = v;
    }
    void setMaxValue(value_type v) {
        attribute_detail::Guard g(this->lock);
        max = v;
    }
    value_type currentValue() const { return getValue(); }
    void assignValue(const value_type& v) { setValue(v); }

protected:
    using AttributeCore<Base, Editable>::AttributeCore;
    // Caller holds o.lock.
    void copyRangeFrom(const RangedFields& o) {
        this->copyCoreFrom(o);
        value = o.value;
        min = o.min;
        max = o.max;
    }
    void readRangeThrough(const typename Traits::Interface& s) {
        this->readCoreThrough(s);
        value = s.getValue();
        min = s.getMinValue();
        max = s.getMaxValue();
    }

    value_type value = 0;
    value_type min = Traits::minSentinel();
    value_type max = Traits::maxSentinel();
};

// Plain integer attributes read their fields without the lock.
template <AttributeKind K, class Base, bool Editable>
class AttributeFields<K, Base, Editable, AttributeShape::Integer> : public RangedFields<K, Base, Editable, Editable> {
    typedef RangedFields<K, Base, Editable, Editable> Ranged;

protected:
    using Ranged::Ranged;
    void copyFieldsFrom(const AttributeFields& o) {
        attribute_detail::Guard g(o.lock);
        this->copyRangeFrom(o);
    }
    void readThrough(const typename Ranged::Traits::Interface& s) { this->readRangeThrough(s); }
};

// Float and double always lock for their value and add the inclusive flags.
template <AttributeKind K, class Base, bool Editable>
class AttributeFields<K, Base, Editable, AttributeShape::Real> : public RangedFields<K, Base, Editable, true> {
    typedef RangedFields<K, Base, Editable, true> Ranged;

public:
    typedef typename Ranged::Traits Traits;

    bool isMinInclusive() const override {
        attribute_detail::OptionalGuard g(this->lock, Editable);
        return minInclusive;
    }
    bool isMaxInclusive() const override {
        attribute_detail::OptionalGuard g(this->lock, Editable);
        return maxInclusive;
    }
    void setMinInclusive(bool v) {
        attribute_detail::Guard g(this->lock);
        minInclusive = v;
    }
    void setMaxInclusive(bool v) {
        attribute_detail::Guard g(this->lock);
        maxInclusive = v;
    }

protected:
    using Ranged::Ranged;
    void copyFieldsFrom(const AttributeFields& o) {
        attribute_detail::Guard g(o.lock);
        this->copyRangeFrom(o);
        minInclusive = o.minInclusive;
        maxInclusive = o.maxInclusive;
    }
    void readThrough(const typename Traits::Interface& s) {
        this->readRangeThrough(s);
        minInclusive = s.isMinInclusive();
        maxInclusive = s.isMaxInclusive();
    }

    bool minInclusive = Traits::minInclusiveSentinel();
    bool maxInclusive = Traits::maxInclusiveSentinel();
};

// ---- Bool ---------------------------------------------------------------------

template <AttributeKind K, class Base, bool Editable>
class AttributeFields<K, Base, Editable, AttributeShape::Flag> : public AttributeCore<Base, Editable> {
public:
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::value_type value_type;

    bool getValue() const override {
        attribute_detail::Guard g(this->lock);
        return value;
    }
    void setValue(bool v) override {
        {
            attribute_detail::Guard g(this->lock);
            value = v;
        }
        this->afterSet();
    }
    std::string getValueDescription() const override {
        attribute_detail::Guard g(this->lock);
        return valueDescription;
    }
    void setValueDescription(const std::string& v) {
        attribute_detail::Guard g(this->lock);
        valueDescription = v;
    }
    value_type currentValue() const { return getValue(); }
    void assignValue(const value_type& v) { setValue(v); }

protected:
    using AttributeCore<Base, Editable>::AttributeCore;
    void copyFieldsFrom(const AttributeFields& o) {
        attribute_detail::Guard g(o.lock);
        this->copyCoreFrom(o);
        value = o.value;
        valueDescription = o.valueDescription;
    }
    void readThrough(const typename Traits::Interface& s) {
        this->readCoreThrough(s);
        value = s.getValue();
        valueDescription = s.getValueDescription();
    }

    bool value = false;
    std::string valueDescription;
};

// ---- Enum -------------------------------------------------------------------

template <AttributeKind K, class Base, bool Editable>
class AttributeFields<K, Base, Editable, AttributeShape::Enum> : public AttributeCore<Base, Editable> {
public:
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::value_type value_type;

    boost::shared_ptr<Vector<std::string>> getEnumValues() const override {
        attribute_detail::Guard g(this->lock);
        return boost::make_shared<Vector<std::string>>(enumValues);
    }
    bool isAllowMultiple() const override {
        attribute_detail::OptionalGuard g(this->lock, Editable);
        return allowMultiple;
    }
    boost::shared_ptr<Vector<std::string>> getValues() const override {
        attribute_detail::Guard g(this->lock);
        return boost::make_shared<Vector<std::string>>(values);
    }
    void setValues(const std::vector<std::string>& list) override {
        {
            attribute_detail::Guard g(this->lock);
            values.assign(list);
        }
        this->afterSet();
    }
    void setValues(const std::string& text) override { setValues(splitEnumList(text)); }

    // Empties the current values, then replaces the allowed ones.
    void setEnumValues(const std::vector<std::string>& list) {
        attribute_detail::Guard g(this->lock);
        values.clear();
        enumValues.assign(list);
    }
    void setEnumValues(const std::string& text) { setEnumValues(splitEnumList(text)); }
    void setAllowMultiple(bool v) {
        attribute_detail::Guard g(this->lock);
        allowMultiple = v;
    }
    value_type currentValue() const { return getValues()->snapshot(); }
    void assignValue(const value_type& v) { setValues(v); }

protected:
    using AttributeCore<Base, Editable>::AttributeCore;
    void copyFieldsFrom(const AttributeFields& o) {
        attribute_detail::Guard g(o.lock);
        this->copyCoreFrom(o);
        allowMultiple = o.allowMultiple;
        values = o.values;
        enumValues = o.enumValues;
    }
    void readThrough(const typename Traits::Interface& s) {
        this->readCoreThrough(s);
        allowMultiple = s.isAllowMultiple();
        if (auto v = s.getValues()) values.assign(v->snapshot());
        if (auto e = s.getEnumValues()) enumValues.assign(e->snapshot());
    }

    bool allowMultiple = false;
    Vector<std::string> values;
    Vector<std::string> enumValues;
};

// ---- The plain implementations ---------------------------------------------

template <AttributeKind K>
class PlainAttributeBase : public AttributeKindTraits<K>::Interface, public ConfigAttributeXml {};

template <AttributeKind K>
class AttributeXml : public AttributeFields<K, PlainAttributeBase<K>, false> {
    typedef AttributeFields<K, PlainAttributeBase<K>, false> Fields;

public:
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::Interface Interface;
    typedef typename Traits::Binding Binding;
    static constexpr AttributeKind kind = K;

    // Initial values of the kind (the "no bound given" sentinels); the
    // qualified name is the bare name until a block adopts the attribute.
    explicit AttributeXml(const std::string& name) : Fields(name, name) {}
    // Qualified name: owner, ".", name.
    AttributeXml(const std::string& name, const std::string& ownerQualifiedName)
        : Fields(name, joinQualifiedName(ownerQualifiedName, name)) {}
    // Reads every field through the interface, so any implementation can be
    // copied into a plain attribute.
    explicit AttributeXml(const Interface& source) { this->readThrough(source); }
    // The copy made by clone, under the source's lock.
    AttributeXml(const AttributeXml& other) : Fields() { this->copyFieldsFrom(other); }
    AttributeXml& operator=(const AttributeXml&) = delete;
    // From the file binding, with the owning block's qualified name. Defined
    // with the binding, explicitly instantiated there for every kind.
    AttributeXml(const Binding& element, const std::string& ownerQualifiedName);

    boost::shared_ptr<ConfigAttribute> clone() const override { return boost::make_shared<AttributeXml>(*this); }
    void accept(ConstConfigAttributeVisitor& visitor) const override {
        attribute_detail::Guard g(this->lock);
        visitor.visit(static_cast<const Interface&>(*this));
    }
    void accept(ConfigAttributeVisitor& visitor) override { visitor.visit(static_cast<Interface&>(*this)); }

    // Writes the attribute into its binding object. Defined with the file
    // writer, explicitly instantiated there for every kind.
    virtual void populate(Binding& element) const;
};

#define RQ7_ATTRIBUTE_XML_NAME(Kind, ...) typedef AttributeXml<AttributeKind::Kind> Kind##AttributeXml;
RQ7_ATTRIBUTE_KINDS(RQ7_ATTRIBUTE_XML_NAME)
#undef RQ7_ATTRIBUTE_XML_NAME

// ---- Builders -----------------------------------------------------------------

// A new attribute of kind K holding value, with the kind's initial bounds
// and flags; its qualified name is its bare name until a block adopts it.
template <AttributeKind K>
boost::shared_ptr<AttributeXml<K>> makeAttribute(const std::string& name,
                                                 const typename AttributeKindTraits<K>::value_type& value,
                                                 bool readOnly = false) {
    auto attribute = boost::make_shared<AttributeXml<K>>(name);
    attribute->assignValue(value);
    attribute->setReadOnly(readOnly);
    return attribute;
}

// makeUInt32Attribute(name, value, readOnly) and the like for every kind but
// Bool and Enum, whose builders below take their extra texts.
#define RQ7_DEFINE_MAKE_ATTRIBUTE(Kind, Index, Value, Codec, Range, Form) RQ7_MAKE_ATTRIBUTE_##Form(Kind)
#define RQ7_MAKE_ATTRIBUTE_OF(Kind)                                                                 \
    inline boost::shared_ptr<Kind##AttributeXml> make##Kind##Attribute(                             \
        const std::string& name, const AttributeKindTraits<AttributeKind::Kind>::value_type& value, \
        bool readOnly = false) {                                                                    \
        return makeAttribute<AttributeKind::Kind>(name, value, readOnly);                           \
    }
#define RQ7_MAKE_ATTRIBUTE_Verbatim RQ7_MAKE_ATTRIBUTE_OF
#define RQ7_MAKE_ATTRIBUTE_Decimal RQ7_MAKE_ATTRIBUTE_OF
#define RQ7_MAKE_ATTRIBUTE_Hex RQ7_MAKE_ATTRIBUTE_OF
#define RQ7_MAKE_ATTRIBUTE_Real RQ7_MAKE_ATTRIBUTE_OF
#define RQ7_MAKE_ATTRIBUTE_Flag(Kind)
#define RQ7_MAKE_ATTRIBUTE_List(Kind)
RQ7_ATTRIBUTE_KINDS(RQ7_DEFINE_MAKE_ATTRIBUTE)
#undef RQ7_DEFINE_MAKE_ATTRIBUTE
#undef RQ7_MAKE_ATTRIBUTE_OF
#undef RQ7_MAKE_ATTRIBUTE_Verbatim
#undef RQ7_MAKE_ATTRIBUTE_Decimal
#undef RQ7_MAKE_ATTRIBUTE_Hex
#undef RQ7_MAKE_ATTRIBUTE_Real
#undef RQ7_MAKE_ATTRIBUTE_Flag
#undef RQ7_MAKE_ATTRIBUTE_List

inline boost::shared_ptr<BoolAttributeXml> makeBoolAttribute(const std::string& name, bool value,
                                                             const std::string& valueDescription = std::string(),
                                                             bool readOnly = false) {
    auto attribute = makeAttribute<AttributeKind::Bool>(name, value, readOnly);
    attribute->setValueDescription(valueDescription);
    return attribute;
}

// Enum from list texts as the file writes them ("LTA,Logger,GTA"). Without
// allowMultiple given, it is true when the values text has more than one
// token, as when a file omits the flag.
boost::shared_ptr<EnumAttributeXml> makeEnumAttribute(const std::string& name, const std::string& valuesText,
                                                      const std::string& enumValuesText = std::string());
boost::shared_ptr<EnumAttributeXml> makeEnumAttribute(const std::string& name, const std::string& valuesText,
                                                      const std::string& enumValuesText, bool allowMultiple,
                                                      bool readOnly = false);

}  // namespace quorl

#if defined(__clang__)
#pragma clang diagnostic pop
#endif
