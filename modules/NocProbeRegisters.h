#pragma once
// Register map of a network-on-chip probe: offsets from the probe's base
// address, access width, the value reset writes, and named fields.
#include "modules/RegisterMap.h"

namespace quorl {
namespace nocprobe {

enum RegisterId : unsigned { CFGCTL, MAINCTL, TRACEPORT_SEL, FILTER_LUT, REGISTER_COUNT };

// clang-format off
inline constexpr RegisterRow<RegisterId> registerMap[] = {
    {CFGCTL,        "NOC_PROBE_CFGCTL",        0x0C, 32, 0       },
    {MAINCTL,       "NOC_PROBE_MAINCTL",       0x08, 32, 0       },
    {TRACEPORT_SEL, "NOC_PROBE_TRACEPORT_SEL", 0x10, 32, NO_RESET},
    {FILTER_LUT,    "NOC_PROBE_FILTER_LUT",    0x14, 32, NO_RESET},
};
// clang-format on
static_assert(std::size(registerMap) == REGISTER_COUNT && wellFormedMap(registerMap, 32), "one row per register id");

inline constexpr Field CFGCTL_ACTIVE{"ACTIVE", 0, 1};  // the probe runs
inline constexpr Field MAINCTL_TRACE_EN{"TRACE_EN", 1, 1};
inline constexpr Field MAINCTL_PAYLOAD_EN{"PAYLOAD_EN", 2, 1};
inline constexpr Field MAINCTL_STATISTICS_EN{"STATISTICS_EN", 3, 1};
inline constexpr Field MAINCTL_INTRUSIVE_MODE{"INTRUSIVE_MODE", 6, 1};
inline constexpr Field FILTER_LUT_PASS{"PASS", 0, 16};  // one bit per filter combination

inline constexpr Field CFGCTL_FIELDS[] = {CFGCTL_ACTIVE};
inline constexpr Field MAINCTL_FIELDS[] = {MAINCTL_TRACE_EN, MAINCTL_PAYLOAD_EN, MAINCTL_STATISTICS_EN,
                                           MAINCTL_INTRUSIVE_MODE};
inline constexpr Field FILTER_LUT_FIELDS[] = {FILTER_LUT_PASS};
inline constexpr RegisterFields registerFields[] = {
    {"NOC_PROBE_CFGCTL", CFGCTL_FIELDS},
    {"NOC_PROBE_MAINCTL", MAINCTL_FIELDS},
    {"NOC_PROBE_FILTER_LUT", FILTER_LUT_FIELDS},
};

}  // namespace nocprobe
}  // namespace quorl
