#include "rq7/Fields.h"

#include "modules/RegisterMap.h"

#include <sstream>
#include <unordered_map>

namespace rq7 {

namespace {

// A table worth showing: one field spanning the whole register (a key, an
// address) says nothing the value does not.
const quorl::RegisterFields* lookUp(const std::string& registerName) {
    const quorl::RegisterFields* fields = quorl::findRegisterFields(registerName);
    if (!fields || fields->count == 0) return nullptr;
    if (fields->count == 1 && fields->fields[0].lsb == 0 && fields->fields[0].width >= 32) return nullptr;
    return fields;
}

// A plan names a few dozen registers thousands of times: look each up once.
const quorl::RegisterFields* namedFields(const std::string& registerName) {
    static thread_local std::unordered_map<std::string, const quorl::RegisterFields*> known;
    auto found = known.find(registerName);
    if (found == known.end()) found = known.emplace(registerName, lookUp(registerName)).first;
    return found->second;
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
    if (!fields) return std::string();
    // The same register value recurs across the cores of a plan.
    struct KeyHash {
        size_t operator()(const std::pair<const void*, uint64_t>& k) const {
            return std::hash<const void*>()(k.first) ^ std::hash<uint64_t>()(k.second * 0x9e3779b97f4a7c15ull);
        }
    };
    static thread_local std::unordered_map<std::pair<const void*, uint64_t>, std::string, KeyHash> texts;
    auto found = texts.find({fields, value});
    if (found == texts.end())
        found = texts.emplace(std::make_pair(fields, value), quorl::formatFields(*fields, value)).first;
    return found->second;
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
