#pragma once
// Editable attributes: each typed interface gains setters for everything the
// file holds. A block or attribute is built from these classes when its
// element says Mutable; plain and editable objects mix freely in one tree.
#include "common/src/AttributeKinds.h"
#include "common/src/ConfigAttribute.h"

#include <string>
#include <vector>

namespace quorl {

class MutableConfigAttribute : public virtual ConfigAttribute {
public:
    virtual void setReadOnly(bool readOnly) = 0;
};

class MutableStringAttribute : public StringAttribute, public MutableConfigAttribute {};
class MutablePathAttribute : public PathAttribute, public MutableConfigAttribute {};
class MutableFileAttribute : public FileAttribute, public MutableConfigAttribute {};

template <class Base>
class MutableIntegerAttributeOf : public Base, public MutableConfigAttribute {
public:
    typedef typename Base::value_type value_type;
    virtual void setMinValue(value_type value) = 0;
    virtual void setMaxValue(value_type value) = 0;
};

class MutableInt32Attribute : public MutableIntegerAttributeOf<Int32Attribute> {};
class MutableUInt32Attribute : public MutableIntegerAttributeOf<UInt32Attribute> {};
class MutableInt64Attribute : public MutableIntegerAttributeOf<Int64Attribute> {};
class MutableUInt64Attribute : public MutableIntegerAttributeOf<UInt64Attribute> {};
class MutableAddr32Attribute : public MutableIntegerAttributeOf<Addr32Attribute> {};
class MutableAddr64Attribute : public MutableIntegerAttributeOf<Addr64Attribute> {};

template <class Base>
class MutableRealAttributeOf : public Base, public MutableConfigAttribute {
public:
    typedef typename Base::value_type value_type;
    virtual void setMinValue(value_type value) = 0;
    virtual void setMinInclusive(bool inclusive) = 0;
    virtual void setMaxValue(value_type value) = 0;
    virtual void setMaxInclusive(bool inclusive) = 0;
};

class MutableFloatAttribute : public MutableRealAttributeOf<FloatAttribute> {};
class MutableDoubleAttribute : public MutableRealAttributeOf<DoubleAttribute> {};

class MutableBoolAttribute : public BoolAttribute, public MutableConfigAttribute {
public:
    virtual void setValueDescription(const std::string& description) = 0;
};

class MutableEnumAttribute : public EnumAttribute, public MutableConfigAttribute {
public:
    // Both forms empty the current values first.
    virtual void setEnumValues(const std::string& text) = 0;
    virtual void setEnumValues(const std::vector<std::string>& values) = 0;
    virtual void setAllowMultiple(bool allowMultiple) = 0;
};

// The editable interface of each kind: MutableInterfaceOf<UInt32Attribute>::type.
template <class Interface>
struct MutableInterfaceOf;
#define RQ7_MUTABLE_INTERFACE_ROW(Kind)            \
    template <>                                    \
    struct MutableInterfaceOf<Kind##Attribute> {   \
        typedef Mutable##Kind##Attribute type;     \
    };
RQ7_FOR_EACH_ATTRIBUTE_KIND(RQ7_MUTABLE_INTERFACE_ROW)
#undef RQ7_MUTABLE_INTERFACE_ROW

}  // namespace quorl
