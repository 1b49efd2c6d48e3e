#pragma once
// Register map of the ETMv4 trace unit: the registers this tool programs
// (offsets from the unit's base address, access width, the value reset
// writes), the ID and status registers that readers of a unit may look at,
// and the fields of both, named after the ETMv4 architecture.
#include <cstddef>
#include <cstdint>

#include "modules/RegisterMap.h"

namespace quorl {
namespace etm {

// Programmed registers accessed 32 bits wide.
enum Register32 : unsigned {
    TRCLAR,
    TRCOSLAR,
    TRCPRGCTLR,
    TRCCONFIGR,
    TRCVDARCCTLR,
    TRCVDCTLR,
    TRCVDSACCTLR,
    TRCCIDCVR0,
    TRCCIDCVR1,
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
    REGISTER32_COUNT
};

// Programmed registers accessed 64 bits wide.
enum Register64 : unsigned { TRCCIDCVR2, TRCCIDCVR3, TRCCIDCVR4, TRCCIDCVR5, TRCCIDCVR6, TRCCIDCVR7, REGISTER64_COUNT };

// clang-format off
// Names are spelled as the tool always has (the two TRCVD... without prefix).
inline constexpr RegisterRow<Register32> registerMap32[] = {
    {TRCLAR,        "ETM_TRCLAR",        0xFB0, 32, NO_RESET},
    {TRCOSLAR,      "ETM_TRCOSLAR",      0x300, 32, NO_RESET},
    {TRCPRGCTLR,    "ETM_TRCPRGCTLR",    0x004, 32, 0       },
    {TRCCONFIGR,    "ETM_TRCCONFIGR",    0x010, 32, NO_RESET},
    {TRCVDARCCTLR,  "ETM_TRCVDARCCTLR",  0x0A8, 32, NO_RESET},
    {TRCVDCTLR,     "TRCVDCTLR",         0x0A0, 32, NO_RESET},
    {TRCVDSACCTLR,  "TRCVDSACCTLR",      0x0A4, 32, NO_RESET},
    {TRCCIDCVR0,    "ETM_TRCCIDCVR0",    0x600, 32, NO_RESET},
    {TRCCIDCVR1,    "ETM_TRCCIDCVR1",    0x608, 32, NO_RESET},
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
inline constexpr RegisterRow<Register64> registerMap64[] = {
    {TRCCIDCVR2,    "ETM_TRCCIDCVR2",    0x610, 64, NO_RESET},
    {TRCCIDCVR3,    "ETM_TRCCIDCVR3",    0x618, 64, NO_RESET},
    {TRCCIDCVR4,    "ETM_TRCCIDCVR4",    0x620, 64, NO_RESET},
    {TRCCIDCVR5,    "ETM_TRCCIDCVR5",    0x628, 64, NO_RESET},
    {TRCCIDCVR6,    "ETM_TRCCIDCVR6",    0x630, 64, NO_RESET},
    {TRCCIDCVR7,    "ETM_TRCCIDCVR7",    0x638, 64, NO_RESET},
};
// clang-format on
static_assert(std::size(registerMap32) == REGISTER32_COUNT && wellFormedMap(registerMap32, 32),
              "one 32-bit row per 32-bit id");
static_assert(std::size(registerMap64) == REGISTER64_COUNT && wellFormedMap(registerMap64, 64),
              "one 64-bit row per 64-bit id");

// ID and status registers, for readers of a unit. The programming above
// never builds them; TRCIDR2 and TRCIDR4 are read there under the same names.
enum IdRegister : unsigned {
    ID_TRCSTATR,
    ID_TRCOSLSR,
    ID_TRCIDR0,
    ID_TRCIDR1,
    ID_TRCIDR2,
    ID_TRCIDR3,
    ID_TRCIDR4,
    ID_TRCIDR5,
    ID_TRCIDR8,
    ID_TRCIDR9,
    ID_TRCIDR10,
    ID_TRCIDR11,
    ID_TRCIDR12,
    ID_TRCIDR13,
    ID_TRCAUTHSTATUS,
    ID_TRCDEVARCH,
    ID_REGISTER_COUNT
};

// clang-format off
inline constexpr RegisterRow<IdRegister> idRegisterMap[] = {
    {ID_TRCSTATR,      "ETM_TRCSTATR",      0x00C, 32, NO_RESET},
    {ID_TRCOSLSR,      "ETM_TRCOSLSR",      0x304, 32, NO_RESET},
    {ID_TRCIDR0,       "ETM_TRCIDR0",       0x1E0, 32, NO_RESET},
    {ID_TRCIDR1,       "ETM_TRCIDR1",       0x1E4, 32, NO_RESET},
    {ID_TRCIDR2,       "ETM_TRCIDR2",       0x1E8, 32, NO_RESET},
    {ID_TRCIDR3,       "ETM_TRCIDR3",       0x1EC, 32, NO_RESET},
    {ID_TRCIDR4,       "ETM_TRCIDR4",       0x1F0, 32, NO_RESET},
    {ID_TRCIDR5,       "ETM_TRCIDR5",       0x1F4, 32, NO_RESET},
    {ID_TRCIDR8,       "ETM_TRCIDR8",       0x180, 32, NO_RESET},
    {ID_TRCIDR9,       "ETM_TRCIDR9",       0x184, 32, NO_RESET},
    {ID_TRCIDR10,      "ETM_TRCIDR10",      0x188, 32, NO_RESET},
    {ID_TRCIDR11,      "ETM_TRCIDR11",      0x18C, 32, NO_RESET},
    {ID_TRCIDR12,      "ETM_TRCIDR12",      0x190, 32, NO_RESET},
    {ID_TRCIDR13,      "ETM_TRCIDR13",      0x194, 32, NO_RESET},
    {ID_TRCAUTHSTATUS, "ETM_TRCAUTHSTATUS", 0xFB8, 32, NO_RESET},
    {ID_TRCDEVARCH,    "ETM_TRCDEVARCH",    0xFBC, 32, NO_RESET},
};
// clang-format on
static_assert(std::size(idRegisterMap) == ID_REGISTER_COUNT && wellFormedMap(idRegisterMap, 32),
              "one 32-bit row per ID register");

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

// ---- fields -----------------------------------------------------------------
using FA = FieldAccess;

inline constexpr Field TRCOSLAR_OSLK{"OSLK", 0, 1, FieldAccess::WriteOnly};
inline constexpr uint32_t TRCOSLAR_UNLOCKED = 0;  // OSLK clear

inline constexpr Field TRCPRGCTLR_EN{"EN", 0, 1};

inline constexpr Field TRCCONFIGR_INSTP0{"INSTP0", 1, 2};  // P0 elements: 3 for loads and stores
inline constexpr Field TRCCONFIGR_BB{"BB", 3, 1};          // branch broadcast
inline constexpr Field TRCCONFIGR_CCI{"CCI", 4, 1};        // cycle counting
inline constexpr Field TRCCONFIGR_CID{"CID", 6, 1};        // context identifier tracing
inline constexpr Field TRCCONFIGR_VMID{"VMID", 7, 1};      // VMID tracing
inline constexpr Field TRCCONFIGR_COND{"COND", 8, 3};      // conditional instruction tracing
inline constexpr Field TRCCONFIGR_TS{"TS", 11, 1};         // global timestamps
inline constexpr Field TRCCONFIGR_RS{"RS", 12, 1};         // return stack
inline constexpr Field TRCCONFIGR_QE{"QE", 13, 2};         // Q elements
inline constexpr Field TRCCONFIGR_VMIDOPT{"VMIDOPT", 15, 1};
inline constexpr Field TRCCONFIGR_DA{"DA", 16, 1};  // data address tracing
inline constexpr Field TRCCONFIGR_DV{"DV", 17, 1};  // data value tracing
inline constexpr uint32_t INSTP0_LOAD_STORE = 3;

// Resource selector 1 is always TRUE; an EVENT field holding 1 fires always.
inline constexpr uint32_t EVENT_ALWAYS = 1;
inline constexpr uint32_t EVENT_NONE = 0;

// TRCEVENTCTL0R: four event selectors; TRCEVENTCTL1R: which of them insert
// event elements, and the ATB trigger.
inline constexpr Field TRCEVENTCTL0R_EVENT[] = {
    {"EVENT0", 0, 8}, {"EVENT1", 8, 8}, {"EVENT2", 16, 8}, {"EVENT3", 24, 8}};
inline constexpr Field TRCEVENTCTL1R_INSTEN{"INSTEN", 0, 4};
inline constexpr Field TRCEVENTCTL1R_ATB{"ATB", 11, 1};
inline constexpr Field TRCEVENTCTL1R_LPOVERRIDE{"LPOVERRIDE", 12, 1};

inline constexpr Field TRCSYNCPR_PERIOD{"PERIOD", 0, 5};
inline constexpr uint32_t SYNC_PERIOD_1KB = 10;  // a sync every 2^10 bytes of trace
inline constexpr Field TRCCCCTLR_THRESHOLD{"THRESHOLD", 0, 12};
inline constexpr uint32_t CYCLE_THRESHOLD = 0x200;
inline constexpr Field TRCTSCTLR_EVENT{"EVENT", 0, 8};
inline constexpr Field TRCTRACEIDR_TRACEID{"TRACEID", 0, 7};

inline constexpr Field TRCVDCTLR_EVENT{"EVENT", 0, 8};
inline constexpr Field TRCVDCTLR_SPREL{"SPREL", 8, 2};
inline constexpr Field TRCVDCTLR_PCREL{"PCREL", 10, 1};
inline constexpr Field TRCVDCTLR_TBI{"TBI", 11, 1};

inline constexpr Field TRCVICTLR_EVENT{"EVENT", 0, 8};
inline constexpr Field TRCVICTLR_SSSTATUS{"SSSTATUS", 9, 1};  // start/stop logic in the started state
inline constexpr Field TRCVICTLR_TRCRESET{"TRCRESET", 10, 1};
inline constexpr Field TRCVICTLR_TRCERR{"TRCERR", 11, 1};
inline constexpr Field TRCVICTLR_EXLEVEL_S{"EXLEVEL_S", 16, 4};
inline constexpr Field TRCVICTLR_EXLEVEL_NS{"EXLEVEL_NS", 20, 4};

// One bit per address range comparator pair / per single address comparator.
inline constexpr Field TRCVIIECTLR_INCLUDE{"INCLUDE", 0, 8};
inline constexpr Field TRCVIIECTLR_EXCLUDE{"EXCLUDE", 16, 8};
inline constexpr Field TRCVISSCTLR_START{"START", 0, 16};
inline constexpr Field TRCVISSCTLR_STOP{"STOP", 16, 16};

// TRCCIDCCTLRn and TRCVMIDCCTLRn: byte masks for four comparators each;
// COMP0 is the byte mask of comparator 0.
inline constexpr size_t CONTEXT_COMPARATORS_PER_CTLR = 4;
inline constexpr unsigned VMID_COMPARATORS_PER_CTLR = 4;
inline constexpr Field TRCCIDCCTLR_COMP0{"COMP0", 0, 8};
inline constexpr Field TRCCIDCCTLR_COMP1{"COMP1", 8, 8};
inline constexpr Field TRCCIDCCTLR_COMP2{"COMP2", 16, 8};
inline constexpr Field TRCCIDCCTLR_COMP3{"COMP3", 24, 8};
inline constexpr Field TRCVMIDCCTLR_COMP0 = TRCCIDCCTLR_COMP0;
inline constexpr uint32_t COMP_MASK_BYTE0 = 1u << 0;

// TRCACATRn fields; CONTEXTTYPE 1 matches the context ID, 2 the VMID.
inline constexpr Field TRCACATR_TYPE{"TYPE", 0, 2};
inline constexpr Field TRCACATR_CONTEXTTYPE{"CONTEXTTYPE", 2, 2};
inline constexpr Field TRCACATR_CONTEXT{"CONTEXT", 4, 3};
inline constexpr Field TRCACATR_EXLEVEL_S{"EXLEVEL_S", 8, 4};
inline constexpr Field TRCACATR_EXLEVEL_NS{"EXLEVEL_NS", 12, 4};
inline constexpr uint32_t CONTEXTTYPE_CTXID = 1;
inline constexpr uint32_t CONTEXTTYPE_CTXID_VMID = 3;
// Exception level bits within an EXLEVEL field; a set bit excludes the level.
inline constexpr uint32_t EXLEVEL_EL0 = 1u << 0;
inline constexpr uint32_t EXLEVEL_EL1 = 1u << 1;
inline constexpr uint32_t EXLEVEL_EL3 = 1u << 3;
inline constexpr uint32_t EXLEVEL_ALL = 0xF;

inline constexpr Field TRCSTATR_IDLE{"IDLE", 0, 1, FA::ReadOnly};
inline constexpr Field TRCSTATR_PMSTABLE{"PMSTABLE", 1, 1, FA::ReadOnly};
inline constexpr Field TRCOSLSR_OSLK{"OSLK", 1, 1, FA::ReadOnly};

inline constexpr Field TRCIDR0_INSTP0{"INSTP0", 1, 2, FA::ReadOnly};
inline constexpr Field TRCIDR0_TRCDATA{"TRCDATA", 3, 2, FA::ReadOnly};
inline constexpr Field TRCIDR0_TRCBB{"TRCBB", 5, 1, FA::ReadOnly};
inline constexpr Field TRCIDR0_TRCCOND{"TRCCOND", 6, 1, FA::ReadOnly};
inline constexpr Field TRCIDR0_TRCCCI{"TRCCCI", 7, 1, FA::ReadOnly};
inline constexpr Field TRCIDR0_RETSTACK{"RETSTACK", 9, 1, FA::ReadOnly};
inline constexpr Field TRCIDR0_NUMEVENT{"NUMEVENT", 10, 2, FA::ReadOnly};
inline constexpr Field TRCIDR0_QSUPP{"QSUPP", 15, 2, FA::ReadOnly};
inline constexpr Field TRCIDR0_TSSIZE{"TSSIZE", 24, 5, FA::ReadOnly};

inline constexpr Field TRCIDR1_REVISION{"REVISION", 0, 4, FA::ReadOnly};
inline constexpr Field TRCIDR1_TRCARCHMIN{"TRCARCHMIN", 4, 4, FA::ReadOnly};
inline constexpr Field TRCIDR1_TRCARCHMAJ{"TRCARCHMAJ", 8, 4, FA::ReadOnly};
inline constexpr Field TRCIDR1_DESIGNER{"DESIGNER", 24, 8, FA::ReadOnly};

inline constexpr Field TRCIDR2_IASIZE{"IASIZE", 0, 5, FA::ReadOnly};
inline constexpr Field TRCIDR2_CIDSIZE{"CIDSIZE", 5, 5, FA::ReadOnly};
inline constexpr Field TRCIDR2_VMIDSIZE{"VMIDSIZE", 10, 5, FA::ReadOnly};
inline constexpr Field TRCIDR2_DASIZE{"DASIZE", 15, 5, FA::ReadOnly};
inline constexpr Field TRCIDR2_DVSIZE{"DVSIZE", 20, 5, FA::ReadOnly};
inline constexpr Field TRCIDR2_CCSIZE{"CCSIZE", 25, 4, FA::ReadOnly};

inline constexpr Field TRCIDR3_CCITMIN{"CCITMIN", 0, 12, FA::ReadOnly};
inline constexpr Field TRCIDR3_EXLEVEL_S{"EXLEVEL_S", 16, 4, FA::ReadOnly};
inline constexpr Field TRCIDR3_EXLEVEL_NS{"EXLEVEL_NS", 20, 4, FA::ReadOnly};
inline constexpr Field TRCIDR3_NUMPROC{"NUMPROC", 28, 3, FA::ReadOnly};

inline constexpr Field TRCIDR4_NUMACPAIRS{"NUMACPAIRS", 0, 4, FA::ReadOnly};
inline constexpr Field TRCIDR4_NUMDVC{"NUMDVC", 4, 4, FA::ReadOnly};
inline constexpr Field TRCIDR4_SUPPDAC{"SUPPDAC", 8, 1, FA::ReadOnly};
inline constexpr Field TRCIDR4_NUMPC{"NUMPC", 12, 4, FA::ReadOnly};
inline constexpr Field TRCIDR4_NUMRSPAIR{"NUMRSPAIR", 16, 4, FA::ReadOnly};
inline constexpr Field TRCIDR4_NUMSSCC{"NUMSSCC", 20, 4, FA::ReadOnly};
inline constexpr Field TRCIDR4_NUMCIDC{"NUMCIDC", 24, 4, FA::ReadOnly};
inline constexpr Field TRCIDR4_NUMVMIDC{"NUMVMIDC", 28, 4, FA::ReadOnly};

inline constexpr Field TRCIDR5_NUMEXTIN{"NUMEXTIN", 0, 9, FA::ReadOnly};
inline constexpr Field TRCIDR5_TRACEIDSIZE{"TRACEIDSIZE", 16, 6, FA::ReadOnly};
inline constexpr Field TRCIDR5_NUMSEQSTATE{"NUMSEQSTATE", 25, 3, FA::ReadOnly};
inline constexpr Field TRCIDR5_NUMCNTR{"NUMCNTR", 28, 3, FA::ReadOnly};

inline constexpr Field TRCIDR8_MAXSPEC{"MAXSPEC", 0, 32, FA::ReadOnly};
inline constexpr Field TRCIDR9_NUMP0KEY{"NUMP0KEY", 0, 32, FA::ReadOnly};
inline constexpr Field TRCIDR10_NUMP1KEY{"NUMP1KEY", 0, 32, FA::ReadOnly};
inline constexpr Field TRCIDR11_NUMP1SPC{"NUMP1SPC", 0, 32, FA::ReadOnly};
inline constexpr Field TRCIDR12_NUMCONDKEY{"NUMCONDKEY", 0, 32, FA::ReadOnly};
inline constexpr Field TRCIDR13_NUMCONDSPC{"NUMCONDSPC", 0, 32, FA::ReadOnly};

inline constexpr Field TRCDEVARCH_ARCHID{"ARCHID", 0, 16, FA::ReadOnly};
inline constexpr Field TRCDEVARCH_REVISION{"REVISION", 16, 4, FA::ReadOnly};
inline constexpr Field TRCDEVARCH_PRESENT{"PRESENT", 20, 1, FA::ReadOnly};
inline constexpr Field TRCDEVARCH_ARCHITECT{"ARCHITECT", 21, 11, FA::ReadOnly};

// clang-format off
inline constexpr Field TRCPRGCTLR_FIELDS[] = {TRCPRGCTLR_EN};
inline constexpr Field TRCOSLAR_FIELDS[] = {TRCOSLAR_OSLK};
inline constexpr Field TRCEVENTCTL1R_FIELDS[] = {TRCEVENTCTL1R_INSTEN, TRCEVENTCTL1R_ATB, TRCEVENTCTL1R_LPOVERRIDE};
inline constexpr Field TRCCONFIGR_FIELDS[] = {TRCCONFIGR_INSTP0, TRCCONFIGR_BB, TRCCONFIGR_CCI, TRCCONFIGR_CID,
    TRCCONFIGR_VMID, TRCCONFIGR_COND, TRCCONFIGR_TS, TRCCONFIGR_RS, TRCCONFIGR_QE, TRCCONFIGR_VMIDOPT,
    TRCCONFIGR_DA, TRCCONFIGR_DV};
inline constexpr Field TRCSYNCPR_FIELDS[] = {TRCSYNCPR_PERIOD};
inline constexpr Field TRCCCCTLR_FIELDS[] = {TRCCCCTLR_THRESHOLD};
inline constexpr Field TRCTSCTLR_FIELDS[] = {TRCTSCTLR_EVENT};
inline constexpr Field TRCTRACEIDR_FIELDS[] = {TRCTRACEIDR_TRACEID};
inline constexpr Field TRCVDCTLR_FIELDS[] = {TRCVDCTLR_EVENT, TRCVDCTLR_SPREL, TRCVDCTLR_PCREL, TRCVDCTLR_TBI};
inline constexpr Field TRCVICTLR_FIELDS[] = {TRCVICTLR_EVENT, TRCVICTLR_SSSTATUS, TRCVICTLR_TRCRESET,
    TRCVICTLR_TRCERR, TRCVICTLR_EXLEVEL_S, TRCVICTLR_EXLEVEL_NS};
inline constexpr Field TRCVIIECTLR_FIELDS[] = {TRCVIIECTLR_INCLUDE, TRCVIIECTLR_EXCLUDE};
inline constexpr Field TRCVISSCTLR_FIELDS[] = {TRCVISSCTLR_START, TRCVISSCTLR_STOP};
inline constexpr Field TRCCIDCCTLR_FIELDS[] = {TRCCIDCCTLR_COMP0, TRCCIDCCTLR_COMP1, TRCCIDCCTLR_COMP2,
    TRCCIDCCTLR_COMP3};
inline constexpr Field TRCACATR_FIELDS[] = {TRCACATR_TYPE, TRCACATR_CONTEXTTYPE, TRCACATR_CONTEXT,
    TRCACATR_EXLEVEL_S, TRCACATR_EXLEVEL_NS};
inline constexpr Field TRCSTATR_FIELDS[] = {TRCSTATR_IDLE, TRCSTATR_PMSTABLE};
inline constexpr Field TRCOSLSR_FIELDS[] = {TRCOSLSR_OSLK};
inline constexpr Field TRCIDR0_FIELDS[] = {TRCIDR0_INSTP0, TRCIDR0_TRCDATA, TRCIDR0_TRCBB, TRCIDR0_TRCCOND,
    TRCIDR0_TRCCCI, TRCIDR0_RETSTACK, TRCIDR0_NUMEVENT, TRCIDR0_QSUPP, TRCIDR0_TSSIZE};
inline constexpr Field TRCIDR1_FIELDS[] = {TRCIDR1_REVISION, TRCIDR1_TRCARCHMIN, TRCIDR1_TRCARCHMAJ,
    TRCIDR1_DESIGNER};
inline constexpr Field TRCIDR2_FIELDS[] = {TRCIDR2_IASIZE, TRCIDR2_CIDSIZE, TRCIDR2_VMIDSIZE, TRCIDR2_DASIZE,
    TRCIDR2_DVSIZE, TRCIDR2_CCSIZE};
inline constexpr Field TRCIDR3_FIELDS[] = {TRCIDR3_CCITMIN, TRCIDR3_EXLEVEL_S, TRCIDR3_EXLEVEL_NS, TRCIDR3_NUMPROC};
inline constexpr Field TRCIDR4_FIELDS[] = {TRCIDR4_NUMACPAIRS, TRCIDR4_NUMDVC, TRCIDR4_SUPPDAC, TRCIDR4_NUMPC,
    TRCIDR4_NUMRSPAIR, TRCIDR4_NUMSSCC, TRCIDR4_NUMCIDC, TRCIDR4_NUMVMIDC};
inline constexpr Field TRCIDR5_FIELDS[] = {TRCIDR5_NUMEXTIN, TRCIDR5_TRACEIDSIZE, TRCIDR5_NUMSEQSTATE,
    TRCIDR5_NUMCNTR};
inline constexpr Field TRCIDR8_FIELDS[] = {TRCIDR8_MAXSPEC};
inline constexpr Field TRCIDR9_FIELDS[] = {TRCIDR9_NUMP0KEY};
inline constexpr Field TRCIDR10_FIELDS[] = {TRCIDR10_NUMP1KEY};
inline constexpr Field TRCIDR11_FIELDS[] = {TRCIDR11_NUMP1SPC};
inline constexpr Field TRCIDR12_FIELDS[] = {TRCIDR12_NUMCONDKEY};
inline constexpr Field TRCIDR13_FIELDS[] = {TRCIDR13_NUMCONDSPC};
inline constexpr Field TRCDEVARCH_FIELDS[] = {TRCDEVARCH_ARCHID, TRCDEVARCH_REVISION, TRCDEVARCH_PRESENT,
    TRCDEVARCH_ARCHITECT};

inline constexpr RegisterFields registerFields[] = {
    {"ETM_TRCLAR",        LAR_FIELDS},
    {"ETM_TRCOSLAR",      TRCOSLAR_FIELDS},
    {"ETM_TRCPRGCTLR",    TRCPRGCTLR_FIELDS},
    {"ETM_TRCEVENTCTL0R", TRCEVENTCTL0R_EVENT},
    {"ETM_TRCEVENTCTL1R", TRCEVENTCTL1R_FIELDS},
    {"ETM_TRCCONFIGR",    TRCCONFIGR_FIELDS},
    {"ETM_TRCSYNCPR",     TRCSYNCPR_FIELDS},
    {"ETM_TRCCCCTLR",     TRCCCCTLR_FIELDS},
    {"ETM_TRCTSCTLR",     TRCTSCTLR_FIELDS},
    {"ETM_TRCTRACEIDR",   TRCTRACEIDR_FIELDS},
    {"TRCVDCTLR",         TRCVDCTLR_FIELDS},
    {"ETM_TRCVICTLR",     TRCVICTLR_FIELDS},
    {"ETM_TRCVIIECTLR",   TRCVIIECTLR_FIELDS},
    {"ETM_TRCVISSCTLR",   TRCVISSCTLR_FIELDS},
    {"ETM_TRCCIDCCTLR",   TRCCIDCCTLR_FIELDS},  // TRCCIDCCTLR0 and 1
    {"ETM_TRCVMIDCCTLR",  TRCCIDCCTLR_FIELDS},  // the same byte masks for VMIDs
    {"ETM_TRCACATR",      TRCACATR_FIELDS},
    {"ETM_TRCSTATR",      TRCSTATR_FIELDS},
    {"ETM_TRCOSLSR",      TRCOSLSR_FIELDS},
    {"ETM_TRCIDR0",       TRCIDR0_FIELDS},
    {"ETM_TRCIDR1",       TRCIDR1_FIELDS},
    {"ETM_TRCIDR2",       TRCIDR2_FIELDS},
    {"ETM_TRCIDR3",       TRCIDR3_FIELDS},
    {"ETM_TRCIDR4",       TRCIDR4_FIELDS},
    {"ETM_TRCIDR5",       TRCIDR5_FIELDS},
    {"ETM_TRCIDR8",       TRCIDR8_FIELDS},
    {"ETM_TRCIDR9",       TRCIDR9_FIELDS},
    {"ETM_TRCIDR10",      TRCIDR10_FIELDS},
    {"ETM_TRCIDR11",      TRCIDR11_FIELDS},
    {"ETM_TRCIDR12",      TRCIDR12_FIELDS},
    {"ETM_TRCIDR13",      TRCIDR13_FIELDS},
    {"ETM_TRCAUTHSTATUS", AUTHSTATUS_FIELDS},
    {"ETM_TRCDEVARCH",    TRCDEVARCH_FIELDS},
};
// clang-format on

}  // namespace etm
}  // namespace quorl
