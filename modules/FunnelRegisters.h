#pragma once
// Register map of a CoreSight funnel: offsets from the funnel's base address,
// access width, the value reset writes, and the fields of its control and
// priority registers. Up to eight input ports, port n in field n.
#include "modules/RegisterMap.h"

namespace quorl {
namespace funnel {

inline constexpr unsigned PORT_COUNT = 8;

// CSTFCR: one enable per port (ENSn) and the hold time.
inline constexpr Field CSTFCR_ENS[PORT_COUNT] = {{"ENS0", 0, 1}, {"ENS1", 1, 1}, {"ENS2", 2, 1}, {"ENS3", 3, 1},
                                                 {"ENS4", 4, 1}, {"ENS5", 5, 1}, {"ENS6", 6, 1}, {"ENS7", 7, 1}};
inline constexpr Field CSTFCR_HT{"HT", 8, 4};
inline constexpr uint32_t HOLD_TIME = 3;

// CSTFPCR: three bits of priority per port (PRIPORTn); a lower number wins.
inline constexpr Field CSTFPCR_PRIPORT[PORT_COUNT] = {{"PRIPORT0", 0, 3},  {"PRIPORT1", 3, 3},  {"PRIPORT2", 6, 3},
                                                      {"PRIPORT3", 9, 3},  {"PRIPORT4", 12, 3}, {"PRIPORT5", 15, 3},
                                                      {"PRIPORT6", 18, 3}, {"PRIPORT7", 21, 3}};

// Reset state: every port off, and port n at priority n.
inline constexpr uint32_t CONTROL_ALL_PORTS_OFF = CSTFCR_HT(HOLD_TIME);
constexpr uint32_t priorityNForPortN() {
    uint32_t value = 0;
    for (unsigned port = 0; port < PORT_COUNT; ++port) value |= CSTFPCR_PRIPORT[port](port);
    return value;
}

enum RegisterId : unsigned { LAR, CSTFCR, CSTFPCR, REGISTER_COUNT };

// clang-format off
inline constexpr RegisterRow<RegisterId> registerMap[] = {
    {LAR,     "LAR",     0xFB0, 32, NO_RESET},
    {CSTFCR,  "CSTFCR",  0x000, 32, CONTROL_ALL_PORTS_OFF},
    {CSTFPCR, "CSTFPCR", 0x004, 32, priorityNForPortN()},
};
// clang-format on
static_assert(std::size(registerMap) == REGISTER_COUNT && wellFormedMap(registerMap, 32), "one row per register id");

// clang-format off
inline constexpr Field CSTFCR_FIELDS[] = {CSTFCR_ENS[0], CSTFCR_ENS[1], CSTFCR_ENS[2], CSTFCR_ENS[3], CSTFCR_ENS[4],
    CSTFCR_ENS[5], CSTFCR_ENS[6], CSTFCR_ENS[7], CSTFCR_HT};
inline constexpr RegisterFields registerFields[] = {
    {"LAR",     LAR_FIELDS},
    {"CSTFCR",  CSTFCR_FIELDS},
    {"CSTFPCR", CSTFPCR_PRIPORT},
};
// clang-format on

}  // namespace funnel
}  // namespace quorl
