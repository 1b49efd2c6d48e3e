#pragma once
#include <string>

namespace rq7 {

// The real run after the command line: load, connect, configure or disable,
// print the result line. Returns the exit status.
int runSequence(const std::string& configFile, int disableCount);

}  // namespace rq7
