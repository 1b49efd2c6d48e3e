#include "app/RunSequence.h"

namespace rq7 {

int runSequence(const std::string&, int) { return 1; }

}  // namespace rq7
