#include "common/src/AttributeKinds.h"

#include "common/src/EnumList.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <locale>
#include <sstream>

namespace quorl {

std::string formatDecimal(int64_t value) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%" PRId64, value);
    return buf;
}

std::string formatDecimal(uint64_t value) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%" PRIu64, value);
    return buf;
}

std::string formatHex(uint64_t value) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "0x%" PRIx64, value);
    return buf;
}

std::string formatReal(double value, int precision) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
    if (value == 0) return std::signbit(value) ? "-0.0" : "0.0";
    std::ostringstream os;
    os.imbue(std::locale::classic());
    os.precision(precision);
    os << value;
    return os.str();
}

std::string formatFlag(bool value) { return value ? "true" : "false"; }

std::string formatList(const std::vector<std::string>& values) { return joinEnumList(values); }

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
#define RQ7_PROBE_VISIT(Kind) \
    void visit(const Kind##Attribute&) override { kind = AttributeKind::Kind; }
    RQ7_FOR_EACH_ATTRIBUTE_KIND(RQ7_PROBE_VISIT)
#undef RQ7_PROBE_VISIT
    AttributeKind kind = AttributeKind::String;
};

}  // namespace

bool attributeKindOf(const ConfigAttribute& attribute, AttributeKind& kind) {
    KindProbe probe;
    attribute.accept(probe);
    kind = probe.kind;
    return true;
}

}  // namespace quorl
