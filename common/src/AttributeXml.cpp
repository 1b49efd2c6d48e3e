#include "common/src/AttributeXml.h"

namespace quorl {

#define RQ7_INSTANTIATE_ATTRIBUTE_XML(Kind, ...) template class AttributeXml<AttributeKind::Kind>;
RQ7_ATTRIBUTE_KINDS(RQ7_INSTANTIATE_ATTRIBUTE_XML)
#undef RQ7_INSTANTIATE_ATTRIBUTE_XML

bool setAttributeQualifiedName(ConfigAttribute& attribute, const std::string& qualifiedName) {
    ConfigAttributeXml* named = dynamic_cast<ConfigAttributeXml*>(&attribute);
    if (!named) return false;
    named->setQualifiedName(qualifiedName);
    return true;
}

namespace {

// Builders take an empty text as an empty list.
std::vector<std::string> listOf(const std::string& text) {
    return text.empty() ? std::vector<std::string>() : splitEnumList(text);
}

}  // namespace

boost::shared_ptr<EnumAttributeXml> makeEnumAttribute(const std::string& name, const std::string& valuesText,
                                                      const std::string& enumValuesText) {
    return makeEnumAttribute(name, valuesText, enumValuesText, listOf(valuesText).size() > 1);
}

boost::shared_ptr<EnumAttributeXml> makeEnumAttribute(const std::string& name, const std::string& valuesText,
                                                      const std::string& enumValuesText, bool allowMultiple,
                                                      bool readOnly) {
    auto attribute = boost::make_shared<EnumAttributeXml>(name);
    attribute->setEnumValues(listOf(enumValuesText));
    attribute->setValues(listOf(valuesText));
    attribute->setAllowMultiple(allowMultiple);
    attribute->setReadOnly(readOnly);
    return attribute;
}

}  // namespace quorl
