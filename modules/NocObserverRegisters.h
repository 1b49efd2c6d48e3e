#pragma once
// Register maps of a network-on-chip observer, one per side: the ATB side
// (toward the trace bus) and the STP side, each at offsets from its own base
// address.
#include "modules/RegisterMap.h"

namespace quorl {
namespace nocobserver {

enum RegisterId : unsigned { ATBEN, ATBID, ASYNC_PERIOD, STPV2_EN, REGISTER_COUNT };

// clang-format off
inline constexpr RegisterRow<RegisterId> atbSideMap[] = {
    {ATBEN, "ATBEN", 0x0C, 32, 0},
    {ATBID, "ATBID", 0x08, 32, 0},
};
inline constexpr RegisterRow<RegisterId> stpSideMap[] = {
    {ASYNC_PERIOD, "ASYNC_PERIOD", 0x08, 32, 0},
    {STPV2_EN,     "STPV2_EN",     0x0C, 32, 0},
};
// clang-format on
static_assert(std::size(atbSideMap) + std::size(stpSideMap) == REGISTER_COUNT && wellFormedMap(atbSideMap, 32) &&
                  wellFormedMap(stpSideMap, 32, ASYNC_PERIOD),
              "one row per register id");

inline constexpr Field ATBEN_EN{"EN", 0, 1};
inline constexpr Field ATBID_ID{"ID", 0, 7};
inline constexpr Field ASYNC_PERIOD_PERIOD{"PERIOD", 0, 8};
inline constexpr Field STPV2_EN_EN{"EN", 0, 1};

inline constexpr Field ATBEN_FIELDS[] = {ATBEN_EN};
inline constexpr Field ATBID_FIELDS[] = {ATBID_ID};
inline constexpr Field ASYNC_PERIOD_FIELDS[] = {ASYNC_PERIOD_PERIOD};
inline constexpr Field STPV2_EN_FIELDS[] = {STPV2_EN_EN};
inline constexpr RegisterFields registerFields[] = {
    {"ATBEN", ATBEN_FIELDS},
    {"ATBID", ATBID_FIELDS},
    {"ASYNC_PERIOD", ASYNC_PERIOD_FIELDS},
    {"STPV2_EN", STPV2_EN_FIELDS},
};

}  // namespace nocobserver
}  // namespace quorl
