#pragma once
// Register map of the ETMv4 trace unit as this tool programs it: offsets from
// the unit's base address, access width, and the value reset writes, if any.
// Field values below are named after the ETMv4 architecture's fields.
#include <cstddef>
#include <cstdint>

#include "modules/RegisterMap.h"

namespace quorl {
namespace etm {

enum RegisterId : unsigned {
    TRCLAR,
    TRCOSLAR,
    TRCPRGCTLR,
    TRCCONFIGR,
    TRCVDARCCTLR,
    TRCVDCTLR,
    TRCVDSACCTLR,
    TRCCIDCVR0,
    TRCCIDCVR1,
    TRCCIDCVR2,
    TRCCIDCVR3,
    TRCCIDCVR4,
    TRCCIDCVR5,
    TRCCIDCVR6,
    TRCCIDCVR7,
    TRCVMIDCCTLR0,
    TRCVMIDCCTLR1,
    TRCCIDCCTLR0,
    TRCCIDCCTLR1,
    TRCEVENTCTL0R,
    TRCEVENTCTL1R,
    TRCTRACEIDR,
    TRCSYNCPR,
    TRCCCCTLR,
    TRCTSCTLR,
    TRCVICTLR,
    TRCVIIECTLR,
    TRCVISSCTLR,
    TRCAUXCTLR,
    TRCIDR2,
    TRCIDR4,
    REGISTER_COUNT
};

// clang-format off
// Names are spelled as the tool always has (the two TRCVD... without prefix).
inline constexpr RegisterRow<RegisterId> registerMap[] = {
    {TRCLAR,        "ETM_TRCLAR",        0xFB0, 32, NO_RESET},
    {TRCOSLAR,      "ETM_TRCOSLAR",      0x300, 32, NO_RESET},
    {TRCPRGCTLR,    "ETM_TRCPRGCTLR",    0x004, 32, 0       },
    {TRCCONFIGR,    "ETM_TRCCONFIGR",    0x010, 32, NO_RESET},
    {TRCVDARCCTLR,  "ETM_TRCVDARCCTLR",  0x0A8, 32, NO_RESET},
    {TRCVDCTLR,     "TRCVDCTLR",         0x0A0, 32, NO_RESET},
    {TRCVDSACCTLR,  "TRCVDSACCTLR",      0x0A4, 32, NO_RESET},
    {TRCCIDCVR0,    "ETM_TRCCIDCVR0",    0x600, 32, NO_RESET},
    {TRCCIDCVR1,    "ETM_TRCCIDCVR1",    0x608, 32, NO_RESET},
    {TRCCIDCVR2,    "ETM_TRCCIDCVR2",    0x610, 64, NO_RESET},
    {TRCCIDCVR3,    "ETM_TRCCIDCVR3",    0x618, 64, NO_RESET},
    {TRCCIDCVR4,    "ETM_TRCCIDCVR4",    0x620, 64, NO_RESET},
    {TRCCIDCVR5,    "ETM_TRCCIDCVR5",    0x628, 64, NO_RESET},
    {TRCCIDCVR6,    "ETM_TRCCIDCVR6",    0x630, 64, NO_RESET},
    {TRCCIDCVR7,    "ETM_TRCCIDCVR7",    0x638, 64, NO_RESET},
    {TRCVMIDCCTLR0, "ETM_TRCVMIDCCTLR0", 0x688, 32, NO_RESET},
    {TRCVMIDCCTLR1, "ETM_TRCVMIDCCTLR1", 0x68C, 32, NO_RESET},
    {TRCCIDCCTLR0,  "ETM_TRCCIDCCTLR0",  0x680, 32, 0       },
    {TRCCIDCCTLR1,  "ETM_TRCCIDCCTLR1",  0x684, 32, 0       },
    {TRCEVENTCTL0R, "ETM_TRCEVENTCTL0R", 0x020, 32, 0       },
    {TRCEVENTCTL1R, "ETM_TRCEVENTCTL1R", 0x024, 32, 0       },
    {TRCTRACEIDR,   "ETM_TRCTRACEIDR",   0x040, 32, NO_RESET},
    {TRCSYNCPR,     "ETM_TRCSYNCPR",     0x034, 32, NO_RESET},
    {TRCCCCTLR,     "ETM_TRCCCCTLR",     0x038, 32, NO_RESET},
    {TRCTSCTLR,     "ETM_TRCTSCTLR",     0x030, 32, NO_RESET},
    {TRCVICTLR,     "ETM_TRCVICTLR",     0x080, 32, 0       },
    {TRCVIIECTLR,   "ETM_TRCVIIECTLR",   0x084, 32, 0       },
    {TRCVISSCTLR,   "ETM_TRCVISSCTLR",   0x088, 32, 0       },
    {TRCAUXCTLR,    "ETM_TRCAUXCTLR",    0x018, 32, NO_RESET},
    {TRCIDR2,       "ETM_TRCIDR2",       0x1E8, 32, NO_RESET},
    {TRCIDR4,       "ETM_TRCIDR4",       0x1F0, 32, NO_RESET},
};
// clang-format on
static_assert(sizeof(registerMap) / sizeof(registerMap[0]) == REGISTER_COUNT,
              "one row per register id");

// Register arrays; the count actually built is learnt from TRCIDR4.
struct ArrayDef {
    const char* prefix;
    uint32_t offset;
    unsigned width;
    uint32_t maximum;
};
inline constexpr ArrayDef TRCRSCTLR = {"ETM_TRCRSCTLR", 0x200, 32, 32};   // resource selectors
inline constexpr ArrayDef TRCVMIDCVR = {"ETM_TRCVMIDCVR", 0x640, 64, 8};  // VMID comparators
inline constexpr ArrayDef TRCACVR = {"ETM_TRCACVR", 0x400, 64, 16};       // address comparator values
inline constexpr ArrayDef TRCACATR = {"ETM_TRCACATR", 0x480, 64, 16};     // address comparator types

// Lock access: writing the key to TRCLAR opens the programming registers.
constexpr uint32_t TRCLAR_KEY = CS_LAR_UNLOCK_KEY;
constexpr uint32_t TRCOSLAR_UNLOCKED = 0;  // OSLK clear

constexpr uint32_t TRCPRGCTLR_EN = 1u << 0;

constexpr uint32_t TRCCONFIGR_INSTP0_LOAD_STORE = 3u << 1;  // P0 elements for loads and stores
constexpr uint32_t TRCCONFIGR_CCI = 1u << 4;                 // cycle counting
constexpr uint32_t TRCCONFIGR_CID = 1u << 6;                 // context identifier tracing
constexpr uint32_t TRCCONFIGR_VMID = 1u << 7;                // VMID tracing
constexpr uint32_t TRCCONFIGR_TS = 1u << 11;                 // global timestamps
constexpr uint32_t TRCCONFIGR_DA = 1u << 16;                 // data address tracing
constexpr uint32_t TRCCONFIGR_DV = 1u << 17;                 // data value tracing

// Resource selector 1 is always TRUE; an EVENT field holding 1 fires always.
constexpr uint32_t EVENT_ALWAYS = 1;
constexpr uint32_t EVENT_NONE = 0;

constexpr uint32_t TRCSYNCPR_PERIOD_1KB = 10;   // a sync every 2^10 bytes of trace
constexpr uint32_t TRCCCCTLR_THRESHOLD = 0x200; // cycle count threshold
constexpr uint32_t TRCTSCTLR_EVENT_ALWAYS = EVENT_ALWAYS;
constexpr uint32_t TRCVDCTLR_EVENT_ALWAYS = EVENT_ALWAYS;

constexpr uint32_t TRCVICTLR_EVENT_MASK = 0xFF;
constexpr uint32_t TRCVICTLR_SSSTATUS = 1u << 9;  // start/stop logic starts in the started state

// TRCIDR4 fields
constexpr uint32_t TRCIDR4_NUMACPAIRS_MASK = 0xF;
constexpr unsigned TRCIDR4_NUMRSPAIR_SHIFT = 16;
constexpr uint32_t TRCIDR4_NUMRSPAIR_MASK = 0xF;
constexpr unsigned TRCIDR4_NUMVMIDC_SHIFT = 28;

// TRCACATRn fields
constexpr uint64_t TRCACATR_CONTEXTTYPE_CTXID = 1u << 2;
constexpr uint64_t TRCACATR_CONTEXTTYPE_VMID = 1u << 3;
constexpr unsigned TRCACATR_EXLEVEL_S_SHIFT = 8;
constexpr unsigned TRCACATR_EXLEVEL_NS_SHIFT = 12;
// Exception level bits within an EXLEVEL field; a set bit excludes the level.
constexpr uint32_t EXLEVEL_EL0 = 1u << 0;
constexpr uint32_t EXLEVEL_EL1 = 1u << 1;
constexpr uint32_t EXLEVEL_EL3 = 1u << 3;
constexpr uint32_t EXLEVEL_ALL = 0xF;

// TRCVIIECTLR / TRCVISSCTLR: include or start bits low, exclude or stop bits high.
constexpr unsigned VI_EXCLUDE_SHIFT = 16;

// TRCCIDCCTLRn: byte masks for four context comparators each; COMP0 is the
// byte mask of context comparator 0.
constexpr size_t CONTEXT_COMPARATORS_PER_CTLR = 4;
constexpr uint32_t TRCCIDCCTLR0_COMP0_MASK = 0xFF;
constexpr uint32_t TRCCIDCCTLR0_COMP0_BYTE0 = 1u << 0;

// TRCVMIDCCTLRn: byte masks for four VMID comparators each.
constexpr uint32_t TRCVMIDCCTLR_BYTE_MASK = 0xFF;
constexpr unsigned VMID_COMPARATORS_PER_CTLR = 4;

}  // namespace etm
}  // namespace quorl
