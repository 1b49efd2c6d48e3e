#pragma once
// Binding of the configuration file vocabulary: one class per complex
// element, each able to unmarshal itself from the pull reader and marshal
// itself to the writer. The thirteen attribute elements and their range
// elements are instances of a few templates over the kind traits.
#include "common/src/AttributeKinds.h"
#include "common/src/ka.common.xml.io.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace quorl {

// Base of every element class, so that a choice can own any of them.
class c_Element {
public:
    virtual ~c_Element() = default;
    virtual c_Element* clone_element() const = 0;
    virtual const char* element_name() const = 0;
    // Writes the element at the writer's depth.
    virtual exrt_error marshal(xrt::c_xml_writer& w) const = 0;
    // Called with the element's start tag peeked; consumes up to its end tag.
    virtual exrt_error unmarshal(BindReader& r) = 0;
};

// Children of attribute elements; the order lists hold these numbers.
enum AttrChild {
    AC_Name,
    AC_DefaultValue,
    AC_Mutable,
    AC_ReadOnly,
    AC_Range,
    AC_ValueDescription,
    AC_EnumValues,
    AC_AllowMultiple,
};

struct ChildRow {
    int id;
    const char* name;
    bool required;
};

// ---- Ranges ------------------------------------------------------------------
// Each range element belongs to one attribute kind and takes its element
// names and value codec from that kind's traits.

// Int and address ranges: an all-group of optional MinValue and MaxValue.
// May be empty or self-closed.
template <AttributeKind K>
class c_IntRange : public c_Element {
public:
    using Codec = typename AttributeKindTraits<K>::Codec;
    using value_type = typename Codec::type;
    static constexpr const char* name = AttributeKindTraits<K>::rangeElementName;
    enum { MinValue, MaxValue };

    bool has_MinValue() const { return order.has(MinValue); }
    bool has_MaxValue() const { return order.has(MaxValue); }
    const value_type& get_MinValue() const { return minValue; }
    const value_type& get_MaxValue() const { return maxValue; }
    exrt_error set_MinValue(const value_type& v) {
        minValue = v;
        order.add(MinValue);
        return XB_OK;
    }
    exrt_error set_MaxValue(const value_type& v) {
        maxValue = v;
        order.add(MaxValue);
        return XB_OK;
    }

    c_Element* clone_element() const override { return new c_IntRange(*this); }
    const char* element_name() const override { return name; }
    exrt_error marshal(xrt::c_xml_writer& w) const override;
    exrt_error unmarshal(BindReader& r) override;

private:
    OrderList order;
    value_type minValue{};
    value_type maxValue{};
};

// One bound of a float or double range (MinFloatValue ... MaxDoubleValue):
// an all-group of a required value and an optional inclusive flag.
template <AttributeKind K, bool IsMax>
class c_RealBound : public c_Element {
public:
    using Codec = typename AttributeKindTraits<K>::Codec;
    using value_type = typename Codec::type;
    static constexpr const char* name =
        IsMax ? AttributeKindTraits<K>::maxBoundName : AttributeKindTraits<K>::minBoundName;
    static constexpr const char* valueName = IsMax ? "MaxValue" : "MinValue";
    static constexpr const char* inclusiveName = IsMax ? "MaxInclusive" : "MinInclusive";
    enum { Value, Inclusive };

    const value_type& get_Value() const { return value; }
    exrt_error set_Value(value_type v) {
        value = v;
        order.add(Value);
        return XB_OK;
    }
    bool has_Inclusive() const { return order.has(Inclusive); }
    bool get_Inclusive() const { return inclusive; }
    exrt_error set_Inclusive(bool v) {
        inclusive = v;
        order.add(Inclusive);
        return XB_OK;
    }

    c_Element* clone_element() const override { return new c_RealBound(*this); }
    const char* element_name() const override { return name; }
    exrt_error marshal(xrt::c_xml_writer& w) const override;
    exrt_error unmarshal(BindReader& r) override;

private:
    OrderList order;
    value_type value{};
    bool inclusive = false;
};

// Float and double ranges: a sequence of two optional bounds.
template <AttributeKind K>
class c_RealRange : public c_Element {
public:
    using Min = c_RealBound<K, false>;
    using Max = c_RealBound<K, true>;
    static constexpr const char* name = AttributeKindTraits<K>::rangeElementName;

    bool has_Min() const { return hasMin; }
    bool has_Max() const { return hasMax; }
    const Min& get_Min() const { return minBound; }
    const Max& get_Max() const { return maxBound; }
    void assign_Min(const Min& v) {
        minBound = v;
        hasMin = true;
    }
    void assign_Max(const Max& v) {
        maxBound = v;
        hasMax = true;
    }

    c_Element* clone_element() const override { return new c_RealRange(*this); }
    const char* element_name() const override { return name; }
    exrt_error marshal(xrt::c_xml_writer& w) const override;
    exrt_error unmarshal(BindReader& r) override;

private:
    bool hasMin = false;
    bool hasMax = false;
    Min minBound;
    Max maxBound;
};

// The range of a kind without one.
template <AttributeKind K>
class NoRange {};

// ---- Extras: what an attribute element holds beyond its four common children.

struct NoExtra {
    static const ChildRow rows[];
    static constexpr int rowCount = 0;
    exrt_error read(int, BindReader&) { return XB_UNDEFINED; }
    void write(int, xrt::c_xml_writer&) const {}
};

template <class R>
struct RangeExtra {
    static constexpr ChildRow rows[] = {{AC_Range, R::name, false}};
    static constexpr int rowCount = 1;
    R range;
    exrt_error read(int id, BindReader& r) { return range.unmarshal(r); }
    void write(int id, xrt::c_xml_writer& w) const { range.marshal(w); }
};

struct BoolExtra {
    static const ChildRow rows[];
    static constexpr int rowCount = 1;
    std::string valueDescription;
    exrt_error read(int id, BindReader& r);
    void write(int id, xrt::c_xml_writer& w) const;
};

struct EnumExtra {
    static const ChildRow rows[];
    static constexpr int rowCount = 2;
    std::string enumValues;
    bool allowMultiple = false;
    exrt_error read(int id, BindReader& r);
    void write(int id, xrt::c_xml_writer& w) const;
};

// What an attribute element holds beyond its four common children, by shape.
template <AttributeKind K, AttributeShape S = AttributeKindTraits<K>::shape>
struct ExtraOf {
    using type = RangeExtra<typename AttributeKindTraits<K>::Range>;  // integers and reals
};
template <AttributeKind K>
struct ExtraOf<K, AttributeShape::Text> {
    using type = NoExtra;
};
template <AttributeKind K>
struct ExtraOf<K, AttributeShape::Flag> {
    using type = BoolExtra;
};
template <AttributeKind K>
struct ExtraOf<K, AttributeShape::Enum> {
    using type = EnumExtra;
};

// ---- Attribute elements ------------------------------------------------------

// One attribute element of kind K: element name, choice index, value codec
// and extra children come from the kind's traits. The children of float and
// double form a fixed sequence, those of every other kind an all-group.
template <AttributeKind K>
class c_Attribute : public c_Element {
public:
    using Traits = AttributeKindTraits<K>;
    using Codec = typename Traits::Codec;
    using value_type = typename Codec::type;
    using Extra = typename ExtraOf<K>::type;
    static constexpr const char* name = Traits::elementName;
    static constexpr int index = Traits::index;
    static constexpr bool sequence = Traits::shape == AttributeShape::Real;

    const std::string& get_Name() const { return fileName; }
    exrt_error set_Name(const std::string& v) {
        fileName = v;
        order.add(AC_Name);
        return XB_OK;
    }
    const value_type& get_DefaultValue() const { return value; }
    exrt_error set_DefaultValue(const value_type& v) {
        value = v;
        order.add(AC_DefaultValue);
        return XB_OK;
    }
    bool has_Mutable() const { return order.has(AC_Mutable); }
    bool get_Mutable() const { return mutableFlag; }
    exrt_error set_Mutable(bool v) {
        mutableFlag = v;
        order.add(AC_Mutable);
        return XB_OK;
    }
    bool has_ReadOnly() const { return order.has(AC_ReadOnly); }
    bool get_ReadOnly() const { return readOnly; }
    exrt_error set_ReadOnly(bool v) {
        readOnly = v;
        order.add(AC_ReadOnly);
        return XB_OK;
    }
    // Presence of an extra child (range, description, enum values, multiple).
    bool has(AttrChild child) const { return order.has(child); }
    const Extra& extra() const { return ext; }
    // Editing an extra marks it present.
    Extra& extra(AttrChild child) {
        order.add(child);
        return ext;
    }
    const OrderList& order_list() const { return order; }

    c_Element* clone_element() const override { return new c_Attribute(*this); }
    const char* element_name() const override { return name; }
    exrt_error marshal(xrt::c_xml_writer& w) const override;
    exrt_error unmarshal(BindReader& r) override;

private:
    exrt_error readChild(int id, BindReader& r);
    void writeChild(int id, xrt::c_xml_writer& w) const;

    OrderList order;
    std::string fileName;
    value_type value{};
    bool mutableFlag = false;
    bool readOnly = false;
    Extra ext;
};

#define RQ7_BINDING_NAME(Kind, ...) using c_##Kind##Attribute = c_Attribute<AttributeKind::Kind>;
RQ7_ATTRIBUTE_KINDS(RQ7_BINDING_NAME)
#undef RQ7_BINDING_NAME

class c_ConfigBlock;

// ---- The repeated choice inside ConfigBlock ----------------------------------

class c_anon_StringAttribute {
public:
    static constexpr int kind_ConfigBlock = 13;
    static constexpr int kind_not_set = 14;

    c_anon_StringAttribute() = default;
    c_anon_StringAttribute(const c_anon_StringAttribute& o);
    c_anon_StringAttribute(c_anon_StringAttribute&&) noexcept = default;
    c_anon_StringAttribute& operator=(const c_anon_StringAttribute& o);
    c_anon_StringAttribute& operator=(c_anon_StringAttribute&&) noexcept = default;
    virtual ~c_anon_StringAttribute();

    int get_kind() const { return kind; }
    // Chooses a kind: the old object is deleted and a new empty one made.
    void select(int newKind);
    // Sets a kind number without an object (kept for the writer's checks).
    void set_kind_only(int newKind);
    c_Element* get() const { return object.get(); }

    // Typed access; null if the choice holds another kind.
    template <class C>
    C* as() const {
        return dynamic_cast<C*>(object.get());
    }

    // Kind of an element name, or kind_not_set.
    static int kindOf(const std::string& element);

    exrt_error marshal(xrt::c_xml_writer& w) const;
    exrt_error unmarshal(BindReader& r);

private:
    int kind = kind_not_set;
    std::unique_ptr<c_Element> object;
};

// ---- ConfigBlock, Configuration, QUORL ---------------------------------------

class c_ConfigBlock : public c_Element {
public:
    const std::string& get_Name() const { return name; }
    exrt_error set_Name(const std::string& v) {
        name = v;
        return XB_OK;
    }
    bool has_Mutable() const { return hasMutable; }
    bool get_Mutable() const { return mutableFlag; }
    exrt_error set_Mutable(bool v) {
        mutableFlag = v;
        hasMutable = true;
        return XB_OK;
    }

    size_t size_StringAttribute() const { return children.size(); }
    const c_anon_StringAttribute& get_StringAttribute(size_t i) const { return children[i]; }
    c_anon_StringAttribute& get_StringAttribute(size_t i) { return children[i]; }
    c_anon_StringAttribute& append_StringAttribute() {
        children.emplace_back();
        return children.back();
    }
    c_anon_StringAttribute& back_StringAttribute() { return children.back(); }
    void clear_StringAttribute() { children.clear(); }
    // Kept for callers: the children live in blocks, which need no reserving.
    void reserve_StringAttribute(size_t) {}
    // Drops the first child: a reader that consumes the children frees their
    // storage as it goes.
    void pop_front_StringAttribute() { children.pop_front(); }

    c_Element* clone_element() const override { return new c_ConfigBlock(*this); }
    const char* element_name() const override { return "ConfigBlock"; }
    exrt_error marshal(xrt::c_xml_writer& w) const override;
    exrt_error unmarshal(BindReader& r) override;
    // The element around its children, for writers that stream the children.
    void marshal_open(xrt::c_xml_writer& w) const;
    void marshal_close(xrt::c_xml_writer& w) const;

private:
    std::string name;
    bool hasMutable = false;
    bool mutableFlag = false;
    // Blocks rather than one array: a wide block's children are never
    // copied as they grow, and are freed block by block as they are consumed.
    std::deque<c_anon_StringAttribute> children;
};

class c_Configuration : public c_Element {
public:
    const std::string& get_Name() const { return name; }
    exrt_error set_Name(const std::string& v) {
        name = v;
        return XB_OK;
    }
    const std::string& get_Version() const { return version; }
    exrt_error set_Version(const std::string& v) {
        version = v;
        return XB_OK;
    }
    bool has_Comments() const { return hasComments; }
    const std::string& get_Comments() const { return comments; }
    exrt_error set_Comments(const std::string& v) {
        comments = v;
        hasComments = true;
        return XB_OK;
    }
    bool has_default() const { return hasDefault; }
    bool get_default() const { return defaultFlag; }
    exrt_error set_default(bool v) {
        defaultFlag = v;
        hasDefault = true;
        return XB_OK;
    }

    size_t size_ConfigBlock() const { return blocks.size(); }
    const c_ConfigBlock& get_ConfigBlock(size_t i) const { return blocks[i]; }
    c_ConfigBlock& get_ConfigBlock(size_t i) { return blocks[i]; }
    c_ConfigBlock& append_ConfigBlock() {
        blocks.emplace_back();
        return blocks.back();
    }
    c_ConfigBlock& back_ConfigBlock() { return blocks.back(); }
    void clear_ConfigBlock() { blocks.clear(); }

    c_Element* clone_element() const override { return new c_Configuration(*this); }
    const char* element_name() const override { return "Configuration"; }
    exrt_error marshal(xrt::c_xml_writer& w) const override;
    exrt_error unmarshal(BindReader& r) override;
    // The element around its blocks, for writers that stream the blocks.
    void marshal_open(xrt::c_xml_writer& w) const;
    void marshal_close(xrt::c_xml_writer& w) const;

private:
    std::string name;
    std::string version;
    bool hasComments = false;
    std::string comments;
    std::vector<c_ConfigBlock> blocks;
    bool hasDefault = false;
    bool defaultFlag = false;
};

class c_QUORL : public c_Element {
public:
    c_QUORL() = default;
    // Opens the file and unmarshals; *err starts at 42, is 1 if the file
    // cannot be opened, else the result of unmarshal.
    c_QUORL(const char* path, exrt_error* err);
    // From a document in memory.
    c_QUORL(const char* data, size_t length, exrt_error* err);

    bool has_Configuration() const { return hasConfiguration; }
    const c_Configuration& get_Configuration() const { return configuration; }
    c_Configuration& get_Configuration() { return configuration; }
    void assign_Configuration(const c_Configuration& c) {
        configuration = c;
        hasConfiguration = true;
    }

    c_Element* clone_element() const override { return new c_QUORL(*this); }
    const char* element_name() const override { return "QUORL"; }
    exrt_error marshal(xrt::c_xml_writer& w) const override;
    exrt_error unmarshal(BindReader& r) override;
    // Whole document from a reader: skips the prolog and reads the root.
    exrt_error unmarshal(xrt::c_xml_reader& reader);
    // Whole document to a stream: prolog, root, and the writer's error result.
    exrt_error marshal(std::ostream& os) const;

private:
    bool hasConfiguration = false;
    c_Configuration configuration;
};

}  // namespace quorl
