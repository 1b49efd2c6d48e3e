#pragma once
// The traits of the thirteen attribute kinds, generated from the rows of
// AttributeKindTable.h: interface, value type, shape, file element names,
// codec, range element, the sentinels that mean "no bound given", and the
// text form. Every family over the kinds (the AttributeXml template, the
// editable twins, the file binding) is written once against these traits.
//
// Extending: a new property of every kind is a new column of the table (or a
// member of the shape rows in `kinds_detail`); code that needs all kinds
// iterates with forEachAttributeKind or RQ7_ATTRIBUTE_KINDS, never a switch.
#include "common/src/AttributeKindTable.h"
#include "common/src/ConfigAttribute.h"

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace quorl {

// The kinds in file order.
#define RQ7_KIND_ENUMERATOR(Kind, ...) Kind,
enum class AttributeKind { RQ7_ATTRIBUTE_KINDS(RQ7_KIND_ENUMERATOR) };
#undef RQ7_KIND_ENUMERATOR
#define RQ7_KIND_COUNT(...) +1
constexpr int kAttributeKindCount = 0 RQ7_ATTRIBUTE_KINDS(RQ7_KIND_COUNT);
#undef RQ7_KIND_COUNT

// Which fields and operations a kind has.
enum class AttributeShape {
    Text,     // value: string
    Integer,  // value, min, max
    Real,     // value, min, minInclusive, max, maxInclusive
    Flag,     // value: bool, valueDescription
    Enum,     // allowMultiple, values, enumValues
};

// How a value is written as text: as the file holds it, before escaping.
enum class TextForm {
    Verbatim,  // strings as they are
    Decimal,   // integers
    Hex,       // "0x" and lower-case hex digits, no leading zeros
    Real,      // "NaN", "INF", "-INF", "-0.0", "0.0", else default format at the kind's precision
    Flag,      // "true" / "false"
    List,      // enum values joined with ","
};

constexpr AttributeShape shapeOf(TextForm form) {
    return form == TextForm::Verbatim                           ? AttributeShape::Text
           : form == TextForm::Decimal || form == TextForm::Hex ? AttributeShape::Integer
           : form == TextForm::Real                             ? AttributeShape::Real
           : form == TextForm::Flag                             ? AttributeShape::Flag
                                                                : AttributeShape::Enum;
}

// The file binding's classes, defined with the binding (ka.common.xml.h).
template <AttributeKind K>
class c_Attribute;
template <AttributeKind K>
class c_IntRange;
template <AttributeKind K>
class c_RealRange;
template <AttributeKind K>
class NoRange;
struct TextCodec;
struct FlagCodec;
template <class T>
struct IntCodec;
template <int Digits>
struct AddrCodec;
template <class T>
struct RealCodec;

namespace kinds_detail {

template <AttributeShape S, class T>
struct ShapeRow {
    static constexpr AttributeShape shape = S;
    typedef T value_type;
};

// Unranged bounds of integer kinds: the type's own, except that the maximum
// of a 64-bit unsigned kind is deliberately the largest signed 64-bit number
// (values up to the largest unsigned one are accepted): the writer compares
// against these numbers.
template <class T>
struct ShapeRow<AttributeShape::Integer, T> {
    static constexpr AttributeShape shape = AttributeShape::Integer;
    typedef T value_type;
    static constexpr T minSentinel() { return std::numeric_limits<T>::min(); }
    static constexpr T maxSentinel() {
        return std::is_same<T, uint64_t>::value ? static_cast<T>(std::numeric_limits<int64_t>::max())
                                                : std::numeric_limits<T>::max();
    }
};

// Unranged bounds of floating-point kinds: the smallest positive normal
// number and the largest finite one, both inclusive.
template <class T>
struct ShapeRow<AttributeShape::Real, T> {
    static constexpr AttributeShape shape = AttributeShape::Real;
    typedef T value_type;
    static constexpr T minSentinel() { return std::numeric_limits<T>::min(); }
    static constexpr T maxSentinel() { return std::numeric_limits<T>::max(); }
    static constexpr bool minInclusiveSentinel() { return true; }
    static constexpr bool maxInclusiveSentinel() { return true; }
};

}  // namespace kinds_detail

template <AttributeKind K>
struct AttributeKindTraits;

// ---- The traits, one per row of the table -------------------------------------

// rangeElementName and the bound names mean something for ranged kinds only.
#define RQ7_KIND_TRAITS(Kind, Index, Value, CodecT, RangeT, Form)                                              \
    template <>                                                                                                \
    struct AttributeKindTraits<AttributeKind::Kind> : kinds_detail::ShapeRow<shapeOf(TextForm::Form), Value> { \
        static constexpr AttributeKind kind = AttributeKind::Kind;                                             \
        static constexpr int index = Index;                                                                    \
        static constexpr TextForm textForm = TextForm::Form;                                                   \
        static constexpr const char* elementName = #Kind "Attribute";                                          \
        static constexpr const char* rangeElementName = #Kind "Range";                                         \
        static constexpr const char* minBoundName = "Min" #Kind "Value";                                       \
        static constexpr const char* maxBoundName = "Max" #Kind "Value";                                       \
        typedef Kind##Attribute Interface;                                                                     \
        typedef CodecT Codec;                                                                                  \
        typedef RangeT<AttributeKind::Kind> Range;                                                             \
        typedef c_Attribute<AttributeKind::Kind> Binding;                                                      \
        /* As the file holds it, before escaping. */                                                           \
        static std::string toText(const value_type& value);                                                    \
    };                                                                                                         \
    static_assert(static_cast<int>(AttributeKind::Kind) == Index,                                              \
                  #Kind ": the choice index must equal the row's position in the table");                      \
    static_assert(std::is_same<Kind##Attribute::value_type, Value>::value,                                     \
                  #Kind ": the row's value type must be the interface's");
RQ7_ATTRIBUTE_KINDS(RQ7_KIND_TRAITS)
#undef RQ7_KIND_TRAITS

// ---- Iteration over the kinds ---------------------------------------------

template <AttributeKind K>
using AttributeKindTag = std::integral_constant<AttributeKind, K>;

// Calls f(AttributeKindTag<K>()) for every kind, in file order; f is
// usually a generic lambda: [&](auto tag) { using T = AttributeKindTraits<tag.value>; ... }.
template <class F>
void forEachAttributeKind(F&& f) {
#define RQ7_CALL_WITH_KIND(Kind, ...) f(AttributeKindTag<AttributeKind::Kind>());
    RQ7_ATTRIBUTE_KINDS(RQ7_CALL_WITH_KIND)
#undef RQ7_CALL_WITH_KIND
}

// Calls f(AttributeKindTag<K>()) for the kind whose choice index is index;
// false (and no call) if index names no attribute kind.
template <class F>
bool withAttributeKind(int index, F&& f) {
    bool found = false;
    forEachAttributeKind([&](auto tag) {
        if (static_cast<int>(decltype(tag)::value) == index) {
            found = true;
            f(tag);
        }
    });
    return found;
}

// Element name of a kind ("UInt32Attribute").
const char* attributeElementName(AttributeKind kind);

// Kind of an attribute object, found through the interface it presents to a
// visitor (every attribute presents exactly one of the thirteen).
AttributeKind attributeKindOf(const ConfigAttribute& attribute);

}  // namespace quorl
