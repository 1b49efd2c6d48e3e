#pragma once
// Memory that capture, snapshot and verify read registers and buffers from:
// a target behind the configuration's debug server, or a gta-sim memory
// image standing in for one.
#include "rq7/Plan.h"
#include "rq7/Snapshot.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace gtasim {
class MemoryImage;
}

namespace rq7 {

class TargetMemory {
public:
    virtual ~TargetMemory() = default;
    // Failures of a debug server throw std::runtime_error.
    virtual uint64_t read(const std::string& space, uint64_t address, unsigned bits) = 0;
    virtual void write32(const std::string& space, uint64_t address, uint32_t value) = 0;
    virtual void readBytes(const std::string& space, uint64_t address, uint8_t* out, uint32_t size) = 0;
    // The memory spaces it offers; the first stands for an empty name.
    virtual std::vector<std::string> spaces() const { return {}; }
    uint32_t read32(const std::string& space, uint64_t address) {
        return static_cast<uint32_t>(read(space, address, 32));
    }
};

// Bytes a debug-server command moves at most.
constexpr uint32_t MAX_TRANSFER = 64 * 1024;

std::unique_ptr<TargetMemory> imageMemory(const gtasim::MemoryImage& image);
// The debug server that the Target Access block of `configFile` names.
// Throws std::runtime_error when the block names no debug server or the
// connection fails.
std::unique_ptr<TargetMemory> connectTarget(const std::string& configFile);

// ID registers and programmed values of a unit as `memory` holds them.
UnitRegisters readUnitRegisters(TargetMemory& memory, const TraceUnit& unit);
// The plan's values with the ID registers of an Armv8-A unit.
UnitRegisters defaultUnitRegisters(const TraceUnit& unit);

// Reads `size` bytes in chunks of at most MAX_TRANSFER, appending to `out`;
// `progress` (may be empty) hears the bytes done so far.
void readRange(TargetMemory& memory, const std::string& space, uint64_t address, uint64_t size,
               std::vector<uint8_t>& out, const std::function<void(uint64_t)>& progress);

// The plan of a configure run whose reads answer what `memory` holds now:
// each round reads what the last plan read, until no new address comes up.
// Modules keep the memory spaces of the target.
Plan planAgainstTarget(const std::string& configFile, TargetMemory& memory);

// The memory a --dump asks for: a file's bytes, or read from `memory`
// (null: there is none to read, which throws std::runtime_error).
MemoryDump loadDump(const DumpRequest& request, TargetMemory* memory);

}  // namespace rq7
