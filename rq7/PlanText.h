#pragma once
// Plan accesses as text: aligned columns op, module, register, space,
// address, width, value, then the value's fields by name.
#include "rq7/Plan.h"

#include <ostream>
#include <string>
#include <vector>

namespace rq7 {

// Hex with as many digits as the width has (at least eight).
std::string hexValue(uint64_t value, unsigned widthBits);
// The space as printed: "-" for the default one.
std::string spaceText(const std::string& space);

void printPlanText(std::ostream& out, const std::vector<Access>& accesses);

}  // namespace rq7
