#pragma once
// What reading trace out of a target needs to know of a configuration: the
// core trace units, STMs and trace sinks that a configure run enables, their
// addresses and programmed values, found in the run's register plan, and the
// sink each source's Dependency chain reaches.
#include "modules/EtmRegisters.h"
#include "modules/StmRegisters.h"
#include "modules/TmcRegisters.h"
#include "rq7/Plan.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rq7 {

// Offsets from a unit's base address, from the units' register maps.
inline uint64_t etmOffset(quorl::etm::Register32 id) {
    return quorl::etm::registerMap32[id].offset;
}
inline uint64_t etmIdOffset(quorl::etm::IdRegister id) {
    return quorl::etm::idRegisterMap[id].offset;
}
inline uint64_t tmcOffset(quorl::tmc::RegisterId id) {
    return quorl::tmc::registerMap[id].offset;
}
inline uint64_t stmOffset(quorl::stm::RegisterId id) {
    return quorl::stm::registerMap[id].offset;
}

// Identification registers a decoder needs of an ETMv4 unit, with the values
// of an Armv8-A unit (64-bit addresses and timestamps, 32-bit context IDs,
// 8-bit VMIDs, branch broadcast, cycle counting, return stack, no P0 or data
// tracing) for snapshots made without the target's memory.
struct EtmIdRegister {
    quorl::etm::IdRegister id;
    uint32_t armv8Default;
    const char* name() const { return quorl::etm::idRegisterMap[id].name + 4; }  // without "ETM_"
    uint64_t offset() const { return etmIdOffset(id); }
};
constexpr size_t ETM_ID_COUNT = 10;
extern const EtmIdRegister ETM_ID_REGISTERS[ETM_ID_COUNT];
// Where TRCIDR0 and TRCIDR2 stand in ETM_ID_REGISTERS.
constexpr unsigned ID_INDEX_TRCIDR0 = 1, ID_INDEX_TRCIDR2 = 3;

// TRCCONFIGR bits the unit implements according to its ID registers: the
// others read as 0 whatever was written.
uint32_t implementedConfigBits(uint32_t idr0, uint32_t idr2);

struct TraceUnit {
    std::string block;  // the core's block name
    std::string space;
    uint64_t base = 0;
    uint32_t config = 0;   // TRCCONFIGR as the run writes it
    uint32_t traceId = 0;  // TRCTRACEIDR as the run writes it
    std::string coreType;  // "Core Type" of the block, else "ARMv8-A"
    std::string sink;      // block of the sink its trace reaches; "" unknown
};

struct StmUnit {
    std::string block, space;
    uint64_t base = 0;
    uint32_t control = 0;  // STMTCSR as the run writes it
    std::string sink;
};

struct TraceSink {
    std::string block, space;
    uint64_t base = 0;
    uint32_t mode = 0;
    bool systemBuffer = false;  // a buffer in system memory (DBALO/DBAHI programmed)
    uint64_t bufferBase = 0, bufferSize = 0;
    bool storesTrace() const { return mode != quorl::tmc::MODE_HARDWARE_FIFO; }
};

struct TraceSetup {
    std::vector<TraceUnit> units;
    std::vector<StmUnit> stms;
    std::vector<TraceSink> sinks;  // enabled ones, pass-through included
};

// Units, STMs and sinks that the plan of a configure run of `configFile`
// leaves enabled, in plan order. Throws LoadError as makePlan does.
TraceSetup traceSetup(const std::string& configFile, const Plan& plan);

// Name usable as a snapshot device or file name: blanks and other
// characters become '_'.
std::string deviceName(const std::string& block);

}  // namespace rq7
