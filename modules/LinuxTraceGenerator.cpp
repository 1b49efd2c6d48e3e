#include "modules/LinuxTraceGenerator.h"

namespace quorl {

LinuxTraceGenerator::~LinuxTraceGenerator() = default;

}  // namespace quorl
