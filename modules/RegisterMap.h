#pragma once
// Register maps as data: one row per register, to be held against the
// hardware's register definitions, and the one loop that turns a map into
// Register objects at a module's base address.
#include "target.access/quorl/register.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

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

// Builds every row of `map` whose width is that of T into its slot of
// `registers`, at `base` + offset in `memorySpace`. A map may mix widths:
// each array takes the rows of its own width.
template <typename T, size_t N, typename Id, size_t M>
void buildRegisters(std::array<Register<T>, N>& registers, const RegisterRow<Id> (&map)[M], uint64_t base,
                    const std::string& memorySpace) {
    for (const RegisterRow<Id>& row : map) {
        if (row.width != 8 * sizeof(T)) continue;
        const uint64_t address = base + row.offset;
        registers[row.id] = row.resetValue
                                ? Register<T>(address, memorySpace, row.name, static_cast<T>(*row.resetValue))
                                : Register<T>(address, memorySpace, row.name);
    }
}

}  // namespace quorl
