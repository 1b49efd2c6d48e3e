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

namespace mutable_detail {

// The setters an editable interface adds to the typed interface I, by shape.
template <class I, AttributeShape S>
class MutableShape;

template <class I>
class MutableShape<I, AttributeShape::Text> : public I, public MutableConfigAttribute {};

template <class I>
class MutableShape<I, AttributeShape::Integer> : public I, public MutableConfigAttribute {
public:
    typedef typename I::value_type value_type;
    virtual void setMinValue(value_type value) = 0;
    virtual void setMaxValue(value_type value) = 0;
};

template <class I>
class MutableShape<I, AttributeShape::Real> : public I, public MutableConfigAttribute {
public:
    typedef typename I::value_type value_type;
    virtual void setMinValue(value_type value) = 0;
    virtual void setMinInclusive(bool inclusive) = 0;
    virtual void setMaxValue(value_type value) = 0;
    virtual void setMaxInclusive(bool inclusive) = 0;
};

template <class I>
class MutableShape<I, AttributeShape::Flag> : public I, public MutableConfigAttribute {
public:
    virtual void setValueDescription(const std::string& description) = 0;
};

template <class I>
class MutableShape<I, AttributeShape::Enum> : public I, public MutableConfigAttribute {
public:
    // Both forms empty the current values first.
    virtual void setEnumValues(const std::string& text) = 0;
    virtual void setEnumValues(const std::vector<std::string>& values) = 0;
    virtual void setAllowMultiple(bool allowMultiple) = 0;
};

}  // namespace mutable_detail

// The editable interface of each kind (MutableUInt32Attribute), and the way
// from a typed interface to it: MutableInterfaceOf<UInt32Attribute>::type.
template <class Interface>
struct MutableInterfaceOf;
#define RQ7_MUTABLE_INTERFACE(Kind, ...)                                                                            \
    class Mutable##Kind##Attribute                                                                                  \
        : public mutable_detail::MutableShape<Kind##Attribute, AttributeKindTraits<AttributeKind::Kind>::shape> {}; \
    template <>                                                                                                     \
    struct MutableInterfaceOf<Kind##Attribute> {                                                                    \
        typedef Mutable##Kind##Attribute type;                                                                      \
    };
RQ7_ATTRIBUTE_KINDS(RQ7_MUTABLE_INTERFACE)
#undef RQ7_MUTABLE_INTERFACE

}  // namespace quorl
