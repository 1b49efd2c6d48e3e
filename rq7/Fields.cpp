#include "rq7/Fields.h"

#include "modules/RegisterMap.h"

#include <sstream>

namespace rq7 {

namespace {

// A table worth showing: one field spanning the whole register (a key, an
// address) says nothing the value does not.
const quorl::RegisterFields* namedFields(const std::string& registerName) {
    const quorl::RegisterFields* fields = quorl::findRegisterFields(registerName);
    if (!fields || fields->count == 0) return nullptr;
    if (fields->count == 1 && fields->fields[0].lsb == 0 && fields->fields[0].width >= 32) return nullptr;
    return fields;
}

std::string fieldValue(const quorl::Field& field, uint64_t value) {
    std::ostringstream text;
    if (field.width == 1)
        text << field.get(value);
    else
        text << "0x" << std::hex << field.get(value);
    return text.str();
}

}  // namespace

std::string describeFields(const std::string& registerName, uint64_t value) {
    const quorl::RegisterFields* fields = namedFields(registerName);
    return fields ? quorl::formatFields(*fields, value) : std::string();
}

std::vector<std::string> differingFields(const std::string& registerName, uint64_t a, uint64_t b) {
    std::vector<std::string> out;
    const quorl::RegisterFields* fields = namedFields(registerName);
    if (!fields) return out;
    for (const quorl::Field& field : *fields)
        if (field.get(a) != field.get(b))
            out.push_back(std::string(field.name) + " " + fieldValue(field, a) + "->" + fieldValue(field, b));
    return out;
}

}  // namespace rq7
