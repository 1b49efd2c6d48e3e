#pragma once
// Register map of a CoreSight trace memory controller (ETF, ETB or ETR
// configuration): offsets from the controller's base address, access width,
// the value reset writes, and named fields. The map holds every register that
// programming or reading out the controller needs; the controller's own
// sequences touch only some of them.
#include "modules/RegisterMap.h"

namespace quorl {
namespace tmc {

// Register ids, in the order of the map (by offset).
enum RegisterId : unsigned {
    RSZ,
    STS,
    RRD,
    RRP,
    RWP,
    TRG,
    CTL,
    RWD,
    MODE,
    LBUFLEVEL,
    CBUFLEVEL,
    BUFWM,
    RRPHI,
    RWPHI,
    AXICTL,
    DBALO,
    DBAHI,
    FFSR,
    FFCR,
    PSCR,
    LAR,
    LSR,
    AUTHSTATUS,
    DEVID,
    REGISTER_COUNT
};

// clang-format off
inline constexpr RegisterRow<RegisterId> registerMap[] = {
    {RSZ,        "RSZ",        0x004, 32, NO_RESET},  // RAM size, 32-bit words
    {STS,        "STS",        0x00C, 32, NO_RESET},
    {RRD,        "RRD",        0x010, 32, NO_RESET},  // RAM read data; reading advances RRP
    {RRP,        "RRP",        0x014, 32, NO_RESET},
    {RWP,        "RWP",        0x018, 32, NO_RESET},
    {TRG,        "TRG",        0x01C, 32, NO_RESET},
    {CTL,        "CTL",        0x020, 32, 0       },
    {RWD,        "RWD",        0x024, 32, NO_RESET},
    {MODE,       "MODE",       0x028, 32, NO_RESET},
    {LBUFLEVEL,  "LBUFLEVEL",  0x02C, 32, NO_RESET},
    {CBUFLEVEL,  "CBUFLEVEL",  0x030, 32, NO_RESET},
    {BUFWM,      "BUFWM",      0x034, 32, NO_RESET},
    {RRPHI,      "RRPHI",      0x038, 32, NO_RESET},
    {RWPHI,      "RWPHI",      0x03C, 32, NO_RESET},
    {AXICTL,     "AXICTL",     0x110, 32, NO_RESET},
    {DBALO,      "DBALO",      0x118, 32, NO_RESET},
    {DBAHI,      "DBAHI",      0x11C, 32, NO_RESET},
    {FFSR,       "FFSR",       0x300, 32, NO_RESET},
    {FFCR,       "FFCR",       0x304, 32, NO_RESET},
    {PSCR,       "PSCR",       0x308, 32, NO_RESET},
    {LAR,        "LAR",        0xFB0, 32, NO_RESET},
    {LSR,        "LSR",        0xFB4, 32, NO_RESET},
    {AUTHSTATUS, "AUTHSTATUS", 0xFB8, 32, NO_RESET},
    {DEVID,      "DEVID",      0xFC8, 32, NO_RESET},
};
// clang-format on
static_assert(std::size(registerMap) == REGISTER_COUNT && wellFormedMap(registerMap, 32), "one row per register id");

using FA = FieldAccess;

inline constexpr Field RSZ_RSZ{"RSZ", 0, 31};

inline constexpr Field STS_Full{"Full", 0, 1, FA::ReadOnly};
inline constexpr Field STS_Triggered{"Triggered", 1, 1, FA::ReadOnly};
inline constexpr Field STS_TMCReady{"TMCReady", 2, 1, FA::ReadOnly};
inline constexpr Field STS_FtEmpty{"FtEmpty", 3, 1, FA::ReadOnly};
inline constexpr Field STS_Empty{"Empty", 4, 1, FA::ReadOnly};
inline constexpr Field STS_MemErr{"MemErr", 5, 1, FA::WriteOneToClear};

inline constexpr Field CTL_TraceCaptEn{"TraceCaptEn", 0, 1};

inline constexpr Field MODE_MODE{"MODE", 0, 2};
inline constexpr uint32_t MODE_CIRCULAR_BUFFER = 0;
inline constexpr uint32_t MODE_SOFTWARE_FIFO = 1;
inline constexpr uint32_t MODE_HARDWARE_FIFO = 2;

inline constexpr Field AXICTL_ProtCtrl{"ProtCtrl", 0, 2};
inline constexpr Field AXICTL_CacheCtrl{"CacheCtrl", 2, 4};
inline constexpr Field AXICTL_ScatterGatherMode{"ScatterGatherMode", 7, 1};
inline constexpr Field AXICTL_WrBurstLen{"WrBurstLen", 8, 4};

inline constexpr Field DBALO_BUFADDRLO{"BUFADDRLO", 0, 32};
// The system's buses carry 40-bit addresses: bits 39 to 32 of the buffer
// address; the register's upper bits are written 0.
inline constexpr Field DBAHI_BUFADDRHI{"BUFADDRHI", 0, 8};
inline constexpr unsigned DBAHI_ADDRESS_SHIFT = 32;

inline constexpr Field FFSR_FlInProg{"FlInProg", 0, 1, FA::ReadOnly};
inline constexpr Field FFSR_FtStopped{"FtStopped", 1, 1, FA::ReadOnly};

inline constexpr Field FFCR_EnFt{"EnFt", 0, 1};  // formatter on
inline constexpr Field FFCR_EnTI{"EnTI", 1, 1};  // trigger indication in the formatted stream
inline constexpr Field FFCR_FOnFlIn{"FOnFlIn", 4, 1};
inline constexpr Field FFCR_FOnTrigEvt{"FOnTrigEvt", 5, 1};
inline constexpr Field FFCR_FlushMan{"FlushMan", 6, 1, FA::SelfClearing};
inline constexpr Field FFCR_TrigOnTrigIn{"TrigOnTrigIn", 8, 1};
inline constexpr Field FFCR_TrigOnTrigEvt{"TrigOnTrigEvt", 9, 1};
inline constexpr Field FFCR_TrigOnFl{"TrigOnFl", 10, 1};
inline constexpr Field FFCR_StopOnFl{"StopOnFl", 12, 1};
inline constexpr Field FFCR_StopOnTrigEvt{"StopOnTrigEvt", 13, 1};
inline constexpr Field FFCR_DrainBuffer{"DrainBuffer", 14, 1, FA::SelfClearing};

inline constexpr Field PSCR_PSCount{"PSCount", 0, 5};  // a sync packet every 2^PSCount bytes
inline constexpr uint32_t SYNC_EVERY_2POW27_BYTES = 27;

inline constexpr Field LSR_SLI{"SLI", 0, 1, FA::ReadOnly};  // a lock is implemented
inline constexpr Field LSR_SLK{"SLK", 1, 1, FA::ReadOnly};  // registers are locked
inline constexpr Field LSR_nTT{"nTT", 2, 1, FA::ReadOnly};

inline constexpr Field DEVID_ATBINPORTCOUNT{"ATBINPORTCOUNT", 0, 5, FA::ReadOnly};
inline constexpr Field DEVID_CLKSCHEME{"CLKSCHEME", 5, 1, FA::ReadOnly};
inline constexpr Field DEVID_CONFIGTYPE{"CONFIGTYPE", 6, 2, FA::ReadOnly};  // 0 ETB, 1 ETR, 2 ETF
inline constexpr Field DEVID_MEMWIDTH{"MEMWIDTH", 8, 3, FA::ReadOnly};

// clang-format off
inline constexpr Field RSZ_FIELDS[] = {RSZ_RSZ};
inline constexpr Field STS_FIELDS[] = {STS_Full, STS_Triggered, STS_TMCReady, STS_FtEmpty, STS_Empty, STS_MemErr};
inline constexpr Field CTL_FIELDS[] = {CTL_TraceCaptEn};
inline constexpr Field MODE_FIELDS[] = {MODE_MODE};
inline constexpr Field AXICTL_FIELDS[] = {AXICTL_ProtCtrl, AXICTL_CacheCtrl, AXICTL_ScatterGatherMode,
    AXICTL_WrBurstLen};
inline constexpr Field DBALO_FIELDS[] = {DBALO_BUFADDRLO};
inline constexpr Field DBAHI_FIELDS[] = {DBAHI_BUFADDRHI};
inline constexpr Field FFSR_FIELDS[] = {FFSR_FlInProg, FFSR_FtStopped};
inline constexpr Field FFCR_FIELDS[] = {FFCR_EnFt, FFCR_EnTI, FFCR_FOnFlIn, FFCR_FOnTrigEvt, FFCR_FlushMan,
    FFCR_TrigOnTrigIn, FFCR_TrigOnTrigEvt, FFCR_TrigOnFl, FFCR_StopOnFl, FFCR_StopOnTrigEvt, FFCR_DrainBuffer};
inline constexpr Field PSCR_FIELDS[] = {PSCR_PSCount};
inline constexpr Field LSR_FIELDS[] = {LSR_SLI, LSR_SLK, LSR_nTT};
inline constexpr Field DEVID_FIELDS[] = {DEVID_ATBINPORTCOUNT, DEVID_CLKSCHEME, DEVID_CONFIGTYPE, DEVID_MEMWIDTH};

inline constexpr RegisterFields registerFields[] = {
    {"RSZ",        RSZ_FIELDS},
    {"STS",        STS_FIELDS},
    {"CTL",        CTL_FIELDS},
    {"MODE",       MODE_FIELDS},
    {"AXICTL",     AXICTL_FIELDS},
    {"DBALO",      DBALO_FIELDS},
    {"DBAHI",      DBAHI_FIELDS},
    {"FFSR",       FFSR_FIELDS},
    {"FFCR",       FFCR_FIELDS},
    {"PSCR",       PSCR_FIELDS},
    {"LAR",        LAR_FIELDS},
    {"LSR",        LSR_FIELDS},
    {"AUTHSTATUS", AUTHSTATUS_FIELDS},
    {"DEVID",      DEVID_FIELDS},
};
// clang-format on

}  // namespace tmc
}  // namespace quorl
