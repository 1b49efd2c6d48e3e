#include "common/src/AttributeKinds.h"

#include "common/src/EnumList.h"
#include "common/src/ka.common.xml.io.h"

namespace quorl {

namespace {

// A value in its text form, through the same codec the file writer uses.
template <AttributeKind K>
std::string textOf(const typename AttributeKindTraits<K>::value_type& value) {
    typedef AttributeKindTraits<K> Traits;
    typedef typename Traits::Codec Codec;
    if constexpr (Traits::textForm == TextForm::Verbatim) {
        return value;
    } else if constexpr (Traits::textForm == TextForm::List) {
        return joinEnumList(value);
    } else if constexpr (Traits::textForm == TextForm::Hex) {
        return Codec::toText(value);
    } else {
        std::string text;
        Codec::append(text, value);
        return text;
    }
}

}  // namespace

#define RQ7_DEFINE_TO_TEXT(Kind, ...)                                                       \
    std::string AttributeKindTraits<AttributeKind::Kind>::toText(const value_type& value) { \
        return textOf<AttributeKind::Kind>(value);                                          \
    }
RQ7_ATTRIBUTE_KINDS(RQ7_DEFINE_TO_TEXT)
#undef RQ7_DEFINE_TO_TEXT

const char* attributeElementName(AttributeKind kind) {
    const char* name = "";
    withAttributeKind(static_cast<int>(kind),
                      [&](auto tag) { name = AttributeKindTraits<decltype(tag)::value>::elementName; });
    return name;
}

namespace {

// Records which of the thirteen interfaces an attribute presents.
class KindProbe : public ConstConfigAttributeVisitor {
public:
#define RQ7_PROBE_VISIT(Kind, ...)                \
    void visit(const Kind##Attribute&) override { \
        kind = AttributeKind::Kind;               \
    }
    RQ7_ATTRIBUTE_KINDS(RQ7_PROBE_VISIT)
#undef RQ7_PROBE_VISIT
    AttributeKind kind = AttributeKind::String;
};

}  // namespace

AttributeKind attributeKindOf(const ConfigAttribute& attribute) {
    KindProbe probe;
    attribute.accept(probe);
    return probe.kind;
}

}  // namespace quorl
