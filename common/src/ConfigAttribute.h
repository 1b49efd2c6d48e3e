#pragma once
// Read side of the typed attributes of a configuration block.
//
// Consumers ask a block for an attribute by name, cast the
// boost::shared_ptr<ConfigAttribute> to the typed interface with
// boost::dynamic_pointer_cast (a null result means missing or of another
// type) and call getValue:
//
//   auto port = boost::dynamic_pointer_cast<quorl::UInt32Attribute>(
//       block->getConfigAttribute(quorl::ATTR_SERVER_PORT));
//   if (!port) { ...missing... } else use(port->getValue());
//
// Every typed interface derives virtually from ConfigAttribute, so that an
// editable attribute can combine a typed interface with the editing interface
// on one shared base.
#include "common/src/AttributeKindTable.h"
#include "common/src/Vector.h"

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace quorl {

class ConfigAttributeVisitor;
class ConstConfigAttributeVisitor;

class ConfigAttribute : public boost::enable_shared_from_this<ConfigAttribute> {
public:
    // A new object of the same concrete class sharing nothing with this one.
    virtual boost::shared_ptr<ConfigAttribute> clone() const = 0;
    virtual std::string getName() const = 0;
    // Owner's qualified name, ".", name.
    virtual std::string getQualifiedName() const = 0;
    virtual bool isReadOnly() const = 0;
    // Calls the visitor's visit for the concrete interface; this form holds
    // the attribute's lock during the visit.
    virtual void accept(ConstConfigAttributeVisitor& visitor) const = 0;
    // Same call, without the lock.
    virtual void accept(ConfigAttributeVisitor& visitor) = 0;
    virtual ~ConfigAttribute() {}
};

typedef boost::shared_ptr<ConfigAttribute> ConfigAttributePtr;
typedef Vector<ConfigAttributePtr> ConfigAttributeVector;
typedef boost::shared_ptr<ConfigAttributeVector> ConfigAttributeVectorPtr;

// ---- Shapes shared by several interfaces --------------------------------------

// Integer-valued attributes with a range. setValue stores what it is given;
// no operation checks a value against the bounds.
template <class T>
class IntegerAttributeOf : public virtual ConfigAttribute {
public:
    typedef T value_type;
    virtual T getValue() const = 0;
    virtual void setValue(T value) = 0;
    virtual T getMinValue() const = 0;
    virtual T getMaxValue() const = 0;
};

// Floating-point attributes with a range whose bounds may be exclusive.
template <class T>
class RealAttributeOf : public virtual ConfigAttribute {
public:
    typedef T value_type;
    virtual T getValue() const = 0;
    virtual void setValue(T value) = 0;
    virtual T getMinValue() const = 0;
    virtual bool isMinInclusive() const = 0;
    virtual T getMaxValue() const = 0;
    virtual bool isMaxInclusive() const = 0;
};

// ---- The thirteen interfaces -------------------------------------------------

class StringAttribute : public virtual ConfigAttribute {
public:
    typedef std::string value_type;
    virtual std::string getValue() const = 0;
    virtual void setValue(const std::string& value) = 0;
};

// A directory path; a distinct type only.
class PathAttribute : public StringAttribute {};
// A file path; a distinct type only.
class FileAttribute : public StringAttribute {};

class Int32Attribute : public IntegerAttributeOf<int32_t> {};
class UInt32Attribute : public IntegerAttributeOf<uint32_t> {};
class Int64Attribute : public IntegerAttributeOf<int64_t> {};
class UInt64Attribute : public IntegerAttributeOf<uint64_t> {};
// Addresses differ from their integer base only by their text form ("0x...").
class Addr32Attribute : public UInt32Attribute {};
class Addr64Attribute : public UInt64Attribute {};

class FloatAttribute : public RealAttributeOf<float> {};
class DoubleAttribute : public RealAttributeOf<double> {};

class BoolAttribute : public virtual ConfigAttribute {
public:
    typedef bool value_type;
    virtual bool getValue() const = 0;
    virtual void setValue(bool value) = 0;
    // Free text that goes with the flag.
    virtual std::string getValueDescription() const = 0;
};

// A choice from a list of allowed words. The lists returned are new Vectors
// copied under the attribute's lock. Neither setValues checks the values
// against the allowed set or looks at isAllowMultiple.
class EnumAttribute : public virtual ConfigAttribute {
public:
    typedef std::vector<std::string> value_type;
    virtual boost::shared_ptr<Vector<std::string>> getEnumValues() const = 0;
    virtual bool isAllowMultiple() const = 0;
    virtual boost::shared_ptr<Vector<std::string>> getValues() const = 0;
    // Replaces the current values by the list, in order.
    virtual void setValues(const std::vector<std::string>& values) = 0;
    // Replaces the current values by the tokens of text, split on ",", ";"
    // and ":" and trimmed (see splitEnumList).
    virtual void setValues(const std::string& text) = 0;
};

// ---- Visitors ------------------------------------------------------------------

namespace visitor_detail {

template <class I>
using Mutable = I&;
template <class I>
using Const = const I&;
struct End;

// One pure visit per interface of the list. Each layer derives from the layer
// of the interfaces after it, so the innermost base holds the destructor and
// the visit of the last interface: the visits come in reverse list order.
template <template <class> class Ref, class I, class... Rest>
class Visits : public Visits<Ref, Rest...> {
public:
    using Visits<Ref, Rest...>::visit;
    virtual void visit(Ref<I> attribute) = 0;
};

template <template <class> class Ref, class I>
class Visits<Ref, I, End> {
public:
    virtual ~Visits() {}
    virtual void visit(Ref<I> attribute) = 0;
};

}  // namespace visitor_detail

// A visit per concrete interface, in the reverse of the file vocabulary's
// order (EnumAttribute first, StringAttribute last).
class ConfigAttributeVisitor
    : public visitor_detail::Visits<visitor_detail::Mutable,
                                    RQ7_ATTRIBUTE_KINDS(RQ7_ATTRIBUTE_INTERFACE_COMMA) visitor_detail::End> {};

class ConstConfigAttributeVisitor
    : public visitor_detail::Visits<visitor_detail::Const,
                                    RQ7_ATTRIBUTE_KINDS(RQ7_ATTRIBUTE_INTERFACE_COMMA) visitor_detail::End> {};

}  // namespace quorl
