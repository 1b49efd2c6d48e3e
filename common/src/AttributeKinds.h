#pragma once
// The table of the thirteen attribute kinds: one row per kind with its
// interface, value type, shape, file element names, the sentinels that mean
// "no bound given", and its text form. Every family over the kinds (the
// AttributeXml template, the editable twins, the file binding) is written
// once against this table.
//
// Extending: a new property of every kind goes into the rows below (or into
// the shape rows in `kinds_detail`); code that needs all kinds iterates with
// forEachAttributeKind or RQ7_FOR_EACH_ATTRIBUTE_KIND instead of a switch.
#include "common/src/ConfigAttribute.h"

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace quorl {

// File order of the vocabulary; the number is the choice index of the kind
// inside a ConfigBlock element (13 is a nested ConfigBlock, 14 "not set").
enum class AttributeKind {
    String = 0,
    Path,
    File,
    Int32,
    UInt32,
    Int64,
    UInt64,
    Addr32,
    Addr64,
    Float,
    Double,
    Bool,
    Enum,
};
constexpr int kAttributeKindCount = 13;

// Which fields and operations a kind has.
enum class AttributeShape {
    Text,     // value: string
    Integer,  // value, min, max
    Real,     // value, min, minInclusive, max, maxInclusive
    Flag,     // value: bool, valueDescription
    Enum,     // allowMultiple, values, enumValues
};

// How a value is written as text.
enum class TextForm {
    Verbatim,  // strings as they are
    Decimal,   // integers
    Hex,       // "0x" and lower-case hex digits, no leading zeros
    Real,      // "NaN", "INF", "-INF", "-0.0", "0.0", else default format at the kind's precision
    Flag,      // "true" / "false"
    List,      // enum values joined with ","
};

// Kind names in file order: X(Kind) with Kind one of String ... Enum; the
// interface is Kind##Attribute, the implementation Kind##AttributeXml.
#define RQ7_FOR_EACH_ATTRIBUTE_KIND(X) \
    X(String)                          \
    X(Path)                            \
    X(File)                            \
    X(Int32)                           \
    X(UInt32)                          \
    X(Int64)                           \
    X(UInt64)                          \
    X(Addr32)                          \
    X(Addr64)                          \
    X(Float)                           \
    X(Double)                          \
    X(Bool)                            \
    X(Enum)

// The file binding's element classes (c_UInt32Attribute is
// c_Attribute<UInt32AttributeKind>); defined with the binding.
template <class K>
class c_Attribute;
#define RQ7_DECLARE_BINDING_ROW(Kind) struct Kind##AttributeKind;
RQ7_FOR_EACH_ATTRIBUTE_KIND(RQ7_DECLARE_BINDING_ROW)
#undef RQ7_DECLARE_BINDING_ROW

// Text forms, shared by the rows.
std::string formatDecimal(int64_t value);
std::string formatDecimal(uint64_t value);
std::string formatHex(uint64_t value);
std::string formatReal(double value, int precision);
std::string formatFlag(bool value);
std::string formatList(const std::vector<std::string>& values);

namespace kinds_detail {

template <AttributeKind K, class I, class T, AttributeShape S, TextForm F>
struct Row {
    static constexpr AttributeKind kind = K;
    static constexpr int index = static_cast<int>(K);
    static constexpr AttributeShape shape = S;
    static constexpr TextForm textForm = F;
    typedef I Interface;
    typedef T value_type;
};

template <AttributeKind K, class I>
struct TextRow : Row<K, I, std::string, AttributeShape::Text, TextForm::Verbatim> {
    static std::string toText(const std::string& v) { return v; }
};

template <AttributeKind K, class I, class T, TextForm F>
struct IntegerRow : Row<K, I, T, AttributeShape::Integer, F> {
    static constexpr T minSentinel() { return std::numeric_limits<T>::min(); }
    static constexpr T maxSentinel() { return std::numeric_limits<T>::max(); }
    static std::string toText(T v) {
        if (F == TextForm::Hex) return formatHex(static_cast<uint64_t>(v));
        if (std::is_signed<T>::value) return formatDecimal(static_cast<int64_t>(v));
        return formatDecimal(static_cast<uint64_t>(v));
    }
};

// Unranged bounds of floating-point kinds: the smallest positive normal
// number and the largest finite one, both inclusive.
template <AttributeKind K, class I, class T, int Precision>
struct RealRow : Row<K, I, T, AttributeShape::Real, TextForm::Real> {
    static constexpr int precision = Precision;
    static constexpr T minSentinel() { return std::numeric_limits<T>::min(); }
    static constexpr T maxSentinel() { return std::numeric_limits<T>::max(); }
    static constexpr bool minInclusiveSentinel() { return true; }
    static constexpr bool maxInclusiveSentinel() { return true; }
    static std::string toText(T v) { return formatReal(v, Precision); }
};

}  // namespace kinds_detail

template <AttributeKind K>
struct AttributeKindTraits;

// ---- The table ---------------------------------------------------------------

template <>
struct AttributeKindTraits<AttributeKind::String>
    : kinds_detail::TextRow<AttributeKind::String, StringAttribute> {
    static constexpr const char* elementName = "StringAttribute";
    static constexpr const char* rangeElementName = nullptr;
    typedef c_Attribute<StringAttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::Path>
    : kinds_detail::TextRow<AttributeKind::Path, PathAttribute> {
    static constexpr const char* elementName = "PathAttribute";
    static constexpr const char* rangeElementName = nullptr;
    typedef c_Attribute<PathAttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::File>
    : kinds_detail::TextRow<AttributeKind::File, FileAttribute> {
    static constexpr const char* elementName = "FileAttribute";
    static constexpr const char* rangeElementName = nullptr;
    typedef c_Attribute<FileAttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::Int32>
    : kinds_detail::IntegerRow<AttributeKind::Int32, Int32Attribute, int32_t, TextForm::Decimal> {
    static constexpr const char* elementName = "Int32Attribute";
    static constexpr const char* rangeElementName = "Int32Range";
    typedef c_Attribute<Int32AttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::UInt32>
    : kinds_detail::IntegerRow<AttributeKind::UInt32, UInt32Attribute, uint32_t, TextForm::Decimal> {
    static constexpr const char* elementName = "UInt32Attribute";
    static constexpr const char* rangeElementName = "UInt32Range";
    typedef c_Attribute<UInt32AttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::Int64>
    : kinds_detail::IntegerRow<AttributeKind::Int64, Int64Attribute, int64_t, TextForm::Decimal> {
    static constexpr const char* elementName = "Int64Attribute";
    static constexpr const char* rangeElementName = "Int64Range";
    typedef c_Attribute<Int64AttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::UInt64>
    : kinds_detail::IntegerRow<AttributeKind::UInt64, UInt64Attribute, uint64_t, TextForm::Decimal> {
    static constexpr const char* elementName = "UInt64Attribute";
    static constexpr const char* rangeElementName = "UInt64Range";
    typedef c_Attribute<UInt64AttributeKind> Binding;
    // Deliberately the largest signed 64-bit number, although values up to
    // the largest unsigned one are accepted: the writer compares against it.
    static constexpr uint64_t maxSentinel() { return 0x7fffffffffffffffull; }
};

template <>
struct AttributeKindTraits<AttributeKind::Addr32>
    : kinds_detail::IntegerRow<AttributeKind::Addr32, Addr32Attribute, uint32_t, TextForm::Hex> {
    static constexpr const char* elementName = "Addr32Attribute";
    static constexpr const char* rangeElementName = "Addr32Range";
    typedef c_Attribute<Addr32AttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::Addr64>
    : kinds_detail::IntegerRow<AttributeKind::Addr64, Addr64Attribute, uint64_t, TextForm::Hex> {
    static constexpr const char* elementName = "Addr64Attribute";
    static constexpr const char* rangeElementName = "Addr64Range";
    typedef c_Attribute<Addr64AttributeKind> Binding;
    // Same deliberate sentinel as UInt64.
    static constexpr uint64_t maxSentinel() { return 0x7fffffffffffffffull; }
};

template <>
struct AttributeKindTraits<AttributeKind::Float>
    : kinds_detail::RealRow<AttributeKind::Float, FloatAttribute, float, 7> {
    static constexpr const char* elementName = "FloatAttribute";
    static constexpr const char* rangeElementName = "FloatRange";
    typedef c_Attribute<FloatAttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::Double>
    : kinds_detail::RealRow<AttributeKind::Double, DoubleAttribute, double, 14> {
    static constexpr const char* elementName = "DoubleAttribute";
    static constexpr const char* rangeElementName = "DoubleRange";
    typedef c_Attribute<DoubleAttributeKind> Binding;
};

template <>
struct AttributeKindTraits<AttributeKind::Bool>
    : kinds_detail::Row<AttributeKind::Bool, BoolAttribute, bool, AttributeShape::Flag, TextForm::Flag> {
    static constexpr const char* elementName = "BoolAttribute";
    static constexpr const char* rangeElementName = nullptr;
    typedef c_Attribute<BoolAttributeKind> Binding;
    static std::string toText(bool v) { return formatFlag(v); }
};

template <>
struct AttributeKindTraits<AttributeKind::Enum>
    : kinds_detail::Row<AttributeKind::Enum, EnumAttribute, std::vector<std::string>, AttributeShape::Enum,
                        TextForm::List> {
    static constexpr const char* elementName = "EnumAttribute";
    static constexpr const char* rangeElementName = nullptr;
    typedef c_Attribute<EnumAttributeKind> Binding;
    static std::string toText(const std::vector<std::string>& v) { return formatList(v); }
};

// ---- Iteration over the kinds ---------------------------------------------

template <AttributeKind K>
using AttributeKindTag = std::integral_constant<AttributeKind, K>;

// Calls f(AttributeKindTag<K>()) for every kind, in file order; f is
// usually a generic lambda: [&](auto tag) { using T = AttributeKindTraits<tag.value>; ... }.
template <class F>
void forEachAttributeKind(F&& f) {
#define RQ7_CALL_WITH_KIND(Kind) f(AttributeKindTag<AttributeKind::Kind>());
    RQ7_FOR_EACH_ATTRIBUTE_KIND(RQ7_CALL_WITH_KIND)
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

// Kind of an attribute object, found through its interface; false for an
// object that implements none of the thirteen interfaces.
bool attributeKindOf(const ConfigAttribute& attribute, AttributeKind& kind);

}  // namespace quorl
