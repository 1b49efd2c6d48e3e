#pragma once
// Register values described by their named fields, from the register maps'
// field tables. Registers without a table get nothing.
#include <cstdint>
#include <string>
#include <vector>

namespace rq7 {

// "NAME=value ..." for every field of the register, or "" without a table.
std::string describeFields(const std::string& registerName, uint64_t value);

// "NAME a->b" for each field whose value differs between `a` and `b`.
std::vector<std::string> differingFields(const std::string& registerName, uint64_t a, uint64_t b);

}  // namespace rq7
