#pragma once
// Register maps as data: one row per register, to be held against the
// hardware's register definitions; named bit fields from which values are
// built and into which read values are decoded; and the typed arrays that
// turn a map into Register objects at a module's base address.
//
// Each unit's map and fields live in modules/<Unit>Registers.h. Other code
// (plan printers, snapshot readers) queries them without building a module:
// through the unit headers, or by register name with findRegisterFields.
#include "target.access/quorl/register.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorl {

// Value that reset() writes; a register without one is left alone by reset().
using ResetValue = std::optional<uint64_t>;
inline constexpr ResetValue NO_RESET = std::nullopt;

// CoreSight lock access: writing this key to a unit's lock access register
// opens its programming registers.
inline constexpr uint32_t CS_LAR_UNLOCK_KEY = 0xC5ACCE55;

template <typename Id>
struct RegisterRow {
    Id id;             // slot of the register in the module's array
    const char* name;  // appears in error messages
    uint64_t offset;   // from the base address
    unsigned width;    // bits of the access
    ResetValue resetValue;
};

// True when the rows of `map` stand in id order from `firstId` and are all
// `width` bits wide. Each map asserts this: its ids then index the map, and a
// row of another width cannot slip into a typed register array.
template <typename Id, size_t M>
constexpr bool wellFormedMap(const RegisterRow<Id> (&map)[M], unsigned width, unsigned firstId = 0) {
    for (size_t i = 0; i < M; ++i)
        if (map[i].id != firstId + i || map[i].width != width) return false;
    return true;
}

// What software may do with a field's bits.
enum class FieldAccess : uint8_t {
    ReadWrite,
    ReadOnly,         // status the hardware keeps
    WriteOnly,        // reads give nothing useful
    SelfClearing,     // a written 1 starts an action; the bit clears when it is done
    WriteOneToClear,  // set by the hardware, cleared by writing it back as 1
};

// One named bit field of a register.
struct Field {
    const char* name;
    unsigned lsb;
    unsigned width;
    FieldAccess access = FieldAccess::ReadWrite;

    constexpr uint64_t mask() const { return (width >= 64 ? ~uint64_t(0) : (uint64_t(1) << width) - 1) << lsb; }
    // `value` placed in the field; bits beyond the field's width are dropped.
    constexpr uint64_t operator()(uint64_t value) const { return (value << lsb) & mask(); }
    // The field's value within a whole register value.
    constexpr uint64_t get(uint64_t registerValue) const { return (registerValue & mask()) >> lsb; }
};

// Every CoreSight unit's lock access register holds one write-only key.
inline constexpr Field LAR_KEY{"KEY", 0, 32, FieldAccess::WriteOnly};
inline constexpr Field LAR_FIELDS[] = {LAR_KEY};
// And one authentication status: two bits each for non-secure and secure,
// invasive and non-invasive debug.
inline constexpr Field AUTHSTATUS_FIELDS[] = {{"NSID", 0, 2, FieldAccess::ReadOnly},
                                              {"NSNID", 2, 2, FieldAccess::ReadOnly},
                                              {"SID", 4, 2, FieldAccess::ReadOnly},
                                              {"SNID", 6, 2, FieldAccess::ReadOnly}};

// The fields of one register, by the name its Register<T> carries. An array
// of registers ("ETM_TRCACATR0", "ETM_TRCACATR1", ...) has one entry under
// its prefix.
struct RegisterFields {
    const char* registerName;
    const Field* fields;
    size_t count;

    template <size_t N>
    constexpr RegisterFields(const char* name, const Field (&rows)[N]) : registerName(name), fields(rows), count(N) {}
    const Field* begin() const { return fields; }
    const Field* end() const { return fields + count; }
};

// The field table of a register by its name (exact, or else the name without
// its trailing index digits, for arrays); nullptr when none is known.
const RegisterFields* findRegisterFields(const std::string& registerName);
// Every unit's field tables, unit by unit.
std::vector<const RegisterFields*> allRegisterFields();

// Every field's value, in table order.
std::vector<std::pair<std::string, uint64_t>> decodeFields(const RegisterFields& fields, uint64_t value);
// "NAME=value" pairs joined by spaces: one-bit fields as 0 or 1, wider ones in
// hexadecimal with 0x.
std::string formatFields(const RegisterFields& fields, uint64_t value);

// The registers of one access width of a unit, indexed by that width's id
// enumeration: an id of another map or width does not compile.
template <typename Id, typename T, size_t COUNT>
class RegisterArray {
public:
    // Builds every row of `map` into its slot, at `base` + offset in `memorySpace`.
    template <size_t M>
    void build(const RegisterRow<Id> (&map)[M], uint64_t base, const std::string& memorySpace) {
        for (const RegisterRow<Id>& row : map) {
            const uint64_t address = base + row.offset;
            registers[row.id] = row.resetValue
                                    ? Register<T>(address, memorySpace, row.name, static_cast<T>(*row.resetValue))
                                    : Register<T>(address, memorySpace, row.name);
        }
    }
    Register<T>& operator[](Id id) { return registers[id]; }

private:
    std::array<Register<T>, COUNT> registers;
};

}  // namespace quorl
