#pragma once
// Register map of the system timestamp counter (control frame of the
// CoreSight timestamp generator): offsets from its base address, access
// width, and the fields this tool programs.
#include "modules/RegisterMap.h"

namespace quorl {
namespace counter {

enum RegisterId : unsigned { CNTCR, CNTFID0, REGISTER_COUNT };

// clang-format off
inline constexpr RegisterRow<RegisterId> registerMap[] = {
    {CNTCR,   "ARM_TSMP_CNTCR",   0x000, 32, NO_RESET},
    {CNTFID0, "ARM_TSMP_CNTFID0", 0x020, 32, NO_RESET},
};
// clang-format on
static_assert(std::size(registerMap) == REGISTER_COUNT && wellFormedMap(registerMap, 32), "one row per register id");

inline constexpr Field CNTCR_EN{"EN", 0, 1};      // counter enable
inline constexpr Field CNTCR_HDBG{"HDBG", 1, 1};  // halt on debug
inline constexpr Field CNTCR_FCREQ{"FCREQ", 8, 10};
inline constexpr Field CNTFID0_FREQ{"FREQ", 0, 32};  // base frequency in Hz

inline constexpr Field CNTCR_FIELDS[] = {CNTCR_EN, CNTCR_HDBG, CNTCR_FCREQ};
inline constexpr Field CNTFID0_FIELDS[] = {CNTFID0_FREQ};
inline constexpr RegisterFields registerFields[] = {
    {"ARM_TSMP_CNTCR", CNTCR_FIELDS},
    {"ARM_TSMP_CNTFID0", CNTFID0_FIELDS},
};

}  // namespace counter
}  // namespace quorl
