#pragma once
// What reading trace out of a target needs to know of a configuration: the
// core trace units, STMs and trace sinks that a configure run enables, their
// addresses and programmed values, found in the run's register plan, and the
// sink each source's Dependency chain reaches.
#include "rq7/Plan.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rq7 {

// Register offsets from a unit's base address, as capture and snapshot use
// them.
namespace etm {
constexpr uint64_t TRCPRGCTLR = 0x004, TRCCONFIGR = 0x010, TRCTRACEIDR = 0x040;
}
namespace tmc {
constexpr uint64_t RSZ = 0x004, STS = 0x00C, RRD = 0x010, RRP = 0x014, RWP = 0x018, CTL = 0x020,
                   MODE = 0x028, RWPHI = 0x03C, DBALO = 0x118, DBAHI = 0x11C, FFCR = 0x304;
constexpr uint32_t STS_FULL = 1u << 0, STS_TMC_READY = 1u << 2;
constexpr uint32_t FFCR_FLUSH_MAN = 1u << 6, FFCR_STOP_ON_FLUSH = 1u << 12, FFCR_DRAIN = 1u << 14;
constexpr uint32_t CTL_CAPT_EN = 1u << 0;
constexpr uint32_t MODE_HARDWARE_FIFO = 2;
constexpr uint32_t RRD_EMPTY = 0xFFFFFFFF;
}  // namespace tmc
namespace stm {
constexpr uint64_t STMTCSR = 0xE80;
constexpr unsigned TCSR_TRACEID_SHIFT = 16;
constexpr uint32_t TCSR_TRACEID_MASK = 0x7F;
}  // namespace stm

// Identification registers a decoder needs of an ETMv4 unit, with the values
// of an Armv8-A unit (64-bit addresses and timestamps, 32-bit context IDs,
// 8-bit VMIDs, branch broadcast, cycle counting, return stack, no P0 or data
// tracing) for snapshots made without the target's memory.
struct EtmIdRegister {
    const char* name;
    uint64_t offset;
    uint32_t armv8Default;
};
extern const EtmIdRegister ETM_ID_REGISTERS[10];
// TRCIDR0 and TRCIDR2 of an ID register set in ETM_ID_REGISTERS order.
constexpr unsigned ID_TRCIDR0 = 1, ID_TRCIDR2 = 3;

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
    bool storesTrace() const { return mode != tmc::MODE_HARDWARE_FIFO; }
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
