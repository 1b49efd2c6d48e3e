// Between the binding objects and the tree: how a value and a range of the
// file reach the typed fields of an attribute, and how they come back.
// Written once over the kind table; the shape of each kind picks the branch.
#include "common/src/ka.common.xml.tree.h"

#include "common/src/AttributeXml.h"
#include "common/src/EnumList.h"
#include "common/src/MutableAttributeXml.h"
#include "common/src/ka.common.xml.h"

namespace quorl {

namespace {

// An address travels as text in the binding, a number in the tree.
template <class Codec, class T>
T fromFileValue(const typename Codec::type& v) {
    if constexpr (std::is_same<typename Codec::type, std::string>::value && !std::is_same<T, std::string>::value)
        return static_cast<T>(Codec::toNumber(v));
    else
        return v;
}

template <class Codec, class T>
typename Codec::type toFileValue(const T& v) {
    if constexpr (std::is_same<typename Codec::type, std::string>::value && !std::is_same<T, std::string>::value)
        return Codec::toText(static_cast<uint64_t>(v));
    else
        return v;
}

// Fills a plain attribute from its element: value, then the range bounds
// that are present (each replaces its initial value), the flags, the texts.
template <AttributeKind K>
void applyElement(AttributeXml<K>& a, const typename AttributeKindTraits<K>::Binding& e) {
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::Binding::Codec Codec;
    typedef typename Traits::value_type T;
    constexpr AttributeShape shape = Traits::shape;

    if constexpr (shape == AttributeShape::Enum) {
        // setEnumValues empties the current values, so it goes first.
        a.setEnumValues(e.extra().enumValues);
        const std::vector<std::string> values = splitEnumList(e.get_DefaultValue());
        a.assignValue(values);
        a.setAllowMultiple(e.has(AC_AllowMultiple) ? e.extra().allowMultiple : values.size() > 1);
    } else {
        a.assignValue(fromFileValue<Codec, T>(e.get_DefaultValue()));
    }
    if constexpr (shape == AttributeShape::Integer) {
        if (e.has(AC_Range)) {
            const auto& range = e.extra().range;
            if (range.has_MinValue()) a.setMinValue(fromFileValue<Codec, T>(range.get_MinValue()));
            if (range.has_MaxValue()) a.setMaxValue(fromFileValue<Codec, T>(range.get_MaxValue()));
        }
    }
    if constexpr (shape == AttributeShape::Real) {
        if (e.has(AC_Range)) {
            const auto& range = e.extra().range;
            if (range.has_Min()) {
                a.setMinValue(range.get_Min().get_Value());
                if (range.get_Min().has_Inclusive()) a.setMinInclusive(range.get_Min().get_Inclusive());
            }
            if (range.has_Max()) {
                a.setMaxValue(range.get_Max().get_Value());
                if (range.get_Max().has_Inclusive()) a.setMaxInclusive(range.get_Max().get_Inclusive());
            }
        }
    }
    if constexpr (shape == AttributeShape::Flag) {
        if (e.has(AC_ValueDescription)) a.setValueDescription(e.extra().valueDescription);
    }
}

// Writes an attribute into its element through the typed interface. The
// children are added in this order, which is the order they are written:
// Name, Mutable, ReadOnly, DefaultValue, then the kind's own.
template <AttributeKind K>
void fillElement(const typename AttributeKindTraits<K>::Interface& a, typename AttributeKindTraits<K>::Binding& e,
                 bool isMutable) {
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::Binding::Codec Codec;
    typedef typename Traits::value_type T;
    constexpr AttributeShape shape = Traits::shape;

    e.set_Name(a.getName());
    if (isMutable) e.set_Mutable(true);
    if (a.isReadOnly()) e.set_ReadOnly(true);

    if constexpr (shape == AttributeShape::Enum) {
        e.set_DefaultValue(joinEnumList(a.getValues()->snapshot()));
        e.extra(AC_EnumValues).enumValues = joinEnumList(a.getEnumValues()->snapshot());
        if (a.isAllowMultiple()) e.extra(AC_AllowMultiple).allowMultiple = true;
    } else {
        e.set_DefaultValue(toFileValue<Codec, T>(a.getValue()));
    }
    if constexpr (shape == AttributeShape::Integer) {
        // A bound equal to its initial value means "no bound" and is left out.
        const T min = a.getMinValue(), max = a.getMaxValue();
        const bool writeMin = min != Traits::minSentinel(), writeMax = max != Traits::maxSentinel();
        if (writeMin || writeMax) {
            auto& range = e.extra(AC_Range).range;
            if (writeMin) range.set_MinValue(toFileValue<Codec, T>(min));
            if (writeMax) range.set_MaxValue(toFileValue<Codec, T>(max));
        }
    }
    if constexpr (shape == AttributeShape::Real) {
        const T min = a.getMinValue(), max = a.getMaxValue();
        const bool writeMin = !(min == Traits::minSentinel()), writeMax = !(max == Traits::maxSentinel());
        if (writeMin || writeMax) {
            auto& range = e.extra(AC_Range).range;
            // An inclusive flag goes out only when false, inside a written bound.
            if (writeMin) {
                typename std::decay<decltype(range.get_Min())>::type bound;
                bound.set_Value(min);
                if (!a.isMinInclusive()) bound.set_Inclusive(false);
                range.assign_Min(bound);
            }
            if (writeMax) {
                typename std::decay<decltype(range.get_Max())>::type bound;
                bound.set_Value(max);
                if (!a.isMaxInclusive()) bound.set_Inclusive(false);
                range.assign_Max(bound);
            }
        }
    }
    if constexpr (shape == AttributeShape::Flag) {
        const std::string description = a.getValueDescription();
        if (!description.empty()) e.extra(AC_ValueDescription).valueDescription = description;
    }
}

}  // namespace

template <AttributeKind K>
AttributeXml<K>::AttributeXml(const Binding& element, const std::string& ownerQualifiedName)
    : Fields(element.get_Name(), joinQualifiedName(ownerQualifiedName, element.get_Name())) {
    this->readOnly = element.has_ReadOnly() && element.get_ReadOnly();
    applyElement<K>(*this, element);
}

template <AttributeKind K>
void AttributeXml<K>::populate(Binding& element) const {
    fillElement<K>(*this, element, false);
}

template <AttributeKind K>
void MutableAttributeXml<K>::populate(Binding& element) const {
    fillElement<K>(*this, element, true);
}

#define RQ7_INSTANTIATE_BRIDGE(Kind, ...)                                                                         \
    template AttributeXml<AttributeKind::Kind>::AttributeXml(const AttributeXml<AttributeKind::Kind>::Binding&,   \
                                                             const std::string&);                                 \
    template void AttributeXml<AttributeKind::Kind>::populate(AttributeXml<AttributeKind::Kind>::Binding&) const; \
    template void MutableAttributeXml<AttributeKind::Kind>::populate(                                             \
        MutableAttributeXml<AttributeKind::Kind>::Binding&) const;
RQ7_ATTRIBUTE_KINDS(RQ7_INSTANTIATE_BRIDGE)
#undef RQ7_INSTANTIATE_BRIDGE

// ---- Attribute to element, element to attribute ------------------------------

namespace {

// Writes a of kind K into the choice: plain or editable implementation,
// found by cast; an attribute of neither leaves the element's fields empty.
template <AttributeKind K>
void populateChoice(typename AttributeKindTraits<K>::Interface& a, c_anon_StringAttribute& choice) {
    typedef typename AttributeKindTraits<K>::Binding Binding;
    choice.select(AttributeKindTraits<K>::index);
    Binding& element = *choice.as<Binding>();
    if (auto* plain = dynamic_cast<AttributeXml<K>*>(&a))
        plain->populate(element);
    else if (auto* editable = dynamic_cast<MutableAttributeXml<K>*>(&a))
        editable->populate(element);
}

}  // namespace

#define RQ7_POPULATE_VISIT(Kind, ...)                                                  \
    void PopulateConfigAttributeXMLVisitor::visit(Kind##Attribute& attribute) {        \
        populateChoice<AttributeKind::Kind>(attribute, block->back_StringAttribute()); \
    }
RQ7_ATTRIBUTE_KINDS(RQ7_POPULATE_VISIT)
#undef RQ7_POPULATE_VISIT

ConfigAttributePtr makeAttributeFromElement(const c_anon_StringAttribute& choice, const std::string& owner) {
    ConfigAttributePtr result;
    withAttributeKind(choice.get_kind(), [&](auto tag) {
        constexpr AttributeKind K = decltype(tag)::value;
        typedef typename AttributeKindTraits<K>::Binding Binding;
        const Binding* element = choice.as<Binding>();
        if (!element) return;
        if (element->has_Mutable() && element->get_Mutable())
            result = boost::make_shared<MutableAttributeXml<K>>(*element, owner);
        else
            result = boost::make_shared<AttributeXml<K>>(*element, owner);
    });
    return result;
}

// ---- Plain copies ------------------------------------------------------------

#define RQ7_CLONE_VISIT(Kind, ...)                                              \
    void CloneConfigAttributeVisitor::visit(const Kind##Attribute& attribute) { \
        result = boost::make_shared<Kind##AttributeXml>(attribute);             \
    }
RQ7_ATTRIBUTE_KINDS(RQ7_CLONE_VISIT)
#undef RQ7_CLONE_VISIT

}  // namespace quorl
