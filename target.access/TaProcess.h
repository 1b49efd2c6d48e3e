#pragma once
// The one door to the target: every register access of the trace hardware
// goes through an object of this type. Buffers hold bytes in host order.
#include <cstdint>
#include <string>

namespace quorl {

class ExtAddress;

class TaProcess {
public:
    // Access kinds returned by accessType().
    static constexpr unsigned int ACCESS_AGENT = 1;
    static constexpr unsigned int ACCESS_GTA = 2;

    // One memory write of `count` elements of `width` bytes from `source`.
    // The buffer is not const: an implementation may swap it in place for the
    // transfer, but hands it back unchanged.
    virtual bool writeMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* source) = 0;
    virtual bool readMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) = 0;
    virtual bool readMemoryPiped(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) = 0;
    // Registers reached by name rather than by address.
    virtual bool writeRegister(const std::string& name, uint64_t width, uint32_t count, void* source) = 0;
    virtual bool readRegister(const std::string& name, uint64_t width, uint32_t count, uint64_t* destination) = 0;
    // Kept for interface compatibility; no implementation offers it.
    virtual bool reserved() = 0;
    virtual unsigned int accessType() = 0;
    virtual ~TaProcess() = default;
};

}  // namespace quorl
