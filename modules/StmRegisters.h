#pragma once
// Register map of the CoreSight system trace macrocell: offsets from the
// unit's base address, access width, the value reset writes, and the fields
// of the registers this tool programs.
#include "modules/RegisterMap.h"

namespace quorl {
namespace stm {

enum RegisterId : unsigned {
    STMLAR,
    STMTSFREQR,
    STMTCSR,
    STMAUXCR,
    STMSPER,
    STMHEER,
    STMHETER,
    STMHEMCR,
    STMHEBSR,
    REGISTER_COUNT
};

// clang-format off
inline constexpr RegisterRow<RegisterId> registerMap[] = {
    {STMLAR,     "STMLAR",     0xFB0, 32, NO_RESET},
    {STMTSFREQR, "STMTSFREQR", 0xE8C, 32, NO_RESET},
    {STMTCSR,    "STMTCSR",    0xE80, 32, 0       },
    {STMAUXCR,   "STMAUXCR",   0xE94, 32, NO_RESET},
    {STMSPER,    "STMSPER",    0xE00, 32, NO_RESET},
    {STMHEER,    "STMHEER",    0xD00, 32, NO_RESET},
    {STMHETER,   "STMHETER",   0xD20, 32, NO_RESET},
    {STMHEMCR,   "STMHEMCR",   0xD64, 32, NO_RESET},
    {STMHEBSR,   "STMHEBSR",   0xD60, 32, NO_RESET},
};
// clang-format on
static_assert(std::size(registerMap) == REGISTER_COUNT && wellFormedMap(registerMap, 32), "one row per register id");

using FA = FieldAccess;

inline constexpr Field STMTCSR_EN{"EN", 0, 1};
inline constexpr Field STMTCSR_TSEN{"TSEN", 1, 1};
inline constexpr Field STMTCSR_SYNCEN{"SYNCEN", 2, 1};
inline constexpr Field STMTCSR_HWTEN{"HWTEN", 3, 1};
inline constexpr Field STMTCSR_SWOEN{"SWOEN", 4, 1};
inline constexpr Field STMTCSR_COMPEN{"COMPEN", 5, 1};
inline constexpr Field STMTCSR_TRACEID{"TRACEID", 16, 7};
inline constexpr Field STMTCSR_BUSY{"BUSY", 23, 1, FA::ReadOnly};
inline constexpr uint32_t STM_TRACE_ID = 0x40;

// Bit 3 of STMHEMCR is reserved.
inline constexpr Field STMHEMCR_EN{"EN", 0, 1};
inline constexpr Field STMHEMCR_COMPEN{"COMPEN", 1, 1};
inline constexpr Field STMHEMCR_ERRDETECT{"ERRDETECT", 2, 1};
inline constexpr Field STMHEMCR_TRIGCTL{"TRIGCTL", 4, 1};
inline constexpr Field STMHEMCR_TRIGSTATUS{"TRIGSTATUS", 5, 1};
inline constexpr Field STMHEMCR_TRIGCLEAR{"TRIGCLEAR", 6, 1, FA::WriteOnly};
inline constexpr Field STMHEMCR_ATBTRIGEN{"ATBTRIGEN", 7, 1};

inline constexpr Field STMAUXCR_FIFOAF{"FIFOAF", 0, 1};
inline constexpr Field STMAUXCR_ASYNCPE{"ASYNCPE", 1, 1};
inline constexpr Field STMAUXCR_PRIORINVDIS{"PRIORINVDIS", 2, 1};
inline constexpr Field STMAUXCR_CLKON{"CLKON", 3, 1};

inline constexpr Field STMTSFREQR_FREQ{"FREQ", 0, 32};
inline constexpr Field STMSPER_SPE{"SPE", 0, 32};     // one enable per stimulus port
inline constexpr Field STMHEER_HEE{"HEE", 0, 32};     // one enable per hardware event
inline constexpr Field STMHETER_HETE{"HETE", 0, 32};  // one trigger enable per hardware event
inline constexpr Field STMHEBSR_HEBS{"HEBS", 0, 1};   // bank of 32 hardware events
inline constexpr uint32_t STMTSFREQR_UNSET = 0;       // nothing fills in the counter frequency

// clang-format off
inline constexpr Field STMTCSR_FIELDS[] = {STMTCSR_EN, STMTCSR_TSEN, STMTCSR_SYNCEN, STMTCSR_HWTEN, STMTCSR_SWOEN,
    STMTCSR_COMPEN, STMTCSR_TRACEID, STMTCSR_BUSY};
inline constexpr Field STMHEMCR_FIELDS[] = {STMHEMCR_EN, STMHEMCR_COMPEN, STMHEMCR_ERRDETECT, STMHEMCR_TRIGCTL,
    STMHEMCR_TRIGSTATUS, STMHEMCR_TRIGCLEAR, STMHEMCR_ATBTRIGEN};
inline constexpr Field STMAUXCR_FIELDS[] = {STMAUXCR_FIFOAF, STMAUXCR_ASYNCPE, STMAUXCR_PRIORINVDIS, STMAUXCR_CLKON};
inline constexpr Field STMTSFREQR_FIELDS[] = {STMTSFREQR_FREQ};
inline constexpr Field STMSPER_FIELDS[] = {STMSPER_SPE};
inline constexpr Field STMHEER_FIELDS[] = {STMHEER_HEE};
inline constexpr Field STMHETER_FIELDS[] = {STMHETER_HETE};
inline constexpr Field STMHEBSR_FIELDS[] = {STMHEBSR_HEBS};

inline constexpr RegisterFields registerFields[] = {
    {"STMLAR",     LAR_FIELDS},
    {"STMTCSR",    STMTCSR_FIELDS},
    {"STMHEMCR",   STMHEMCR_FIELDS},
    {"STMAUXCR",   STMAUXCR_FIELDS},
    {"STMTSFREQR", STMTSFREQR_FIELDS},
    {"STMSPER",    STMSPER_FIELDS},
    {"STMHEER",    STMHEER_FIELDS},
    {"STMHETER",   STMHETER_FIELDS},
    {"STMHEBSR",   STMHEBSR_FIELDS},
};
// clang-format on

}  // namespace stm
}  // namespace quorl
