#pragma once
// A number in lower-case hexadecimal digits without a prefix, as messages
// and log lines show addresses ("Cannot write address 80001000 ...").
#include <charconv>
#include <cstdint>
#include <string>

namespace quorl {

inline std::string hexDigits(uint64_t value) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
    return std::string(digits, end);
}

}  // namespace quorl
