#pragma once
#include <string>

namespace quorl {

// A fresh random (version 4) UUID in the 8-4-4-4-12 text form. Safe to call
// from any thread; one generator serves the whole process.
std::string generateUuid();

}  // namespace quorl
