#pragma once
// Trace filters of a core trace unit: address ranges, single-address
// tracepoints, context identifier and VMID matching, exception levels.
// The configuration file sets none of them; a caller that wants a filter
// places it here before configure, and configure programs it each time.
#include <cstdint>
#include <map>

namespace quorl {

struct LinuxTraceGenerator {
    static constexpr uint32_t NONE = 0xFFFFFFFFu;  // contextId / vmid not set

    // Kind of an address range.
    static constexpr uint32_t RANGE_INCLUDE = 0;
    static constexpr uint32_t RANGE_EXCLUDE = 1;
    // Kind of a tracepoint.
    static constexpr uint32_t TRACEPOINT_START = 0;
    static constexpr uint32_t TRACEPOINT_STOP = 1;

    // Bits of exceptionLevelFilter: the levels to trace.
    static constexpr uint32_t FILTER_EL0 = 1u << 0;
    static constexpr uint32_t FILTER_EL1 = 1u << 1;
    static constexpr uint32_t FILTER_EL3 = 1u << 2;

    struct AddressRange {
        uint64_t endAddress;
        uint32_t kind;  // RANGE_INCLUDE, RANGE_EXCLUDE, anything else: neither
    };

    LinuxTraceGenerator() = default;
    virtual ~LinuxTraceGenerator();

    uint32_t contextId = NONE;
    uint32_t vmid = NONE;
    std::map<uint64_t, AddressRange> addressRanges;  // by start address
    std::map<uint64_t, uint32_t> tracepoints;        // address -> kind
    uint32_t exceptionLevelFilter = 0;
    bool contextIdComparator = false;  // context comparator 0 takes part in TRCCIDCCTLR0
};

}  // namespace quorl
