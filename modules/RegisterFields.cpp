// Lookup of field tables by register name, over every unit's map, and the
// decoding of a register value into its named fields.
#include "modules/EtmRegisters.h"
#include "modules/FunnelRegisters.h"
#include "modules/NocObserverRegisters.h"
#include "modules/NocProbeRegisters.h"
#include "modules/RegisterMap.h"
#include "modules/StmRegisters.h"
#include "modules/TimestampRegisters.h"
#include "modules/TmcRegisters.h"

#include <sstream>

namespace quorl {

namespace {

// Every unit's field tables. "LAR" stands in both the funnel's and the
// controller's tables with the same one field, so the first match serves.
struct UnitFields {
    const RegisterFields* begin;
    const RegisterFields* end;
};
template <size_t N>
constexpr UnitFields unit(const RegisterFields (&tables)[N]) {
    return {tables, tables + N};
}
const UnitFields UNITS[] = {
    unit(etm::registerFields),         unit(stm::registerFields),     unit(funnel::registerFields),
    unit(tmc::registerFields),         unit(counter::registerFields), unit(nocprobe::registerFields),
    unit(nocobserver::registerFields),
};

const RegisterFields* findExact(const std::string& name) {
    for (const UnitFields& u : UNITS)
        for (const RegisterFields* table = u.begin; table != u.end; ++table)
            if (name == table->registerName) return table;
    return nullptr;
}

}  // namespace

const RegisterFields* findRegisterFields(const std::string& registerName) {
    if (const RegisterFields* table = findExact(registerName)) return table;
    const size_t digits = registerName.find_last_not_of("0123456789");
    if (digits == std::string::npos || digits + 1 == registerName.size()) return nullptr;
    return findExact(registerName.substr(0, digits + 1));
}

std::vector<const RegisterFields*> allRegisterFields() {
    std::vector<const RegisterFields*> out;
    for (const UnitFields& u : UNITS)
        for (const RegisterFields* table = u.begin; table != u.end; ++table) out.push_back(table);
    return out;
}

std::vector<std::pair<std::string, uint64_t>> decodeFields(const RegisterFields& fields, uint64_t value) {
    std::vector<std::pair<std::string, uint64_t>> out;
    out.reserve(fields.count);
    for (const Field& field : fields) out.emplace_back(field.name, field.get(value));
    return out;
}

std::string formatFields(const RegisterFields& fields, uint64_t value) {
    std::ostringstream out;
    const char* separator = "";
    for (const Field& field : fields) {
        out << separator << field.name << '=';
        if (field.width == 1)
            out << field.get(value);
        else
            out << "0x" << std::hex << field.get(value) << std::dec;
        separator = " ";
    }
    return out.str();
}

}  // namespace quorl
