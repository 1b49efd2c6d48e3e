#pragma once
// Where a register lives: a memory-space name and an address in it.
#include <cstdint>
#include <string>
#include <vector>

namespace quorl {

class ExtAddress {
public:
    static constexpr uint64_t NOT_INITIALIZED = ~uint64_t(0);

    ExtAddress() = default;
    ExtAddress(uint64_t address, std::string memorySpace);

    // Returns `text` if it names a known memory space, else the empty string
    // (the default space). Unknown names are logged, not fatal.
    static std::string validMemorySpace(std::string text);

    // Names of the target's memory spaces, set by the access process when it
    // is created ("logger" alone in Logger mode).
    static std::vector<std::string> memorySpaceIds;

    uint64_t getAddress() const { return address; }
    const std::string& getMemorySpace() const { return memorySpace; }

    std::string memorySpace;
    uint64_t address = NOT_INITIALIZED;
};

}  // namespace quorl
