#include "rq7/Fields.h"

namespace rq7 {

std::string describeFields(const std::string&, uint64_t) { return std::string(); }

std::vector<std::string> differingFields(const std::string&, uint64_t, uint64_t) { return {}; }

}  // namespace rq7
