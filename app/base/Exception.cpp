#include "app/base/Exception.h"

namespace quorl {

Exception::Exception(const char* f, uint32_t l, const std::string& m)
    : type("Exception"), file(f ? f : ""), line(l), message(m) {}

Exception::Exception(uint32_t l, const char* m) : type("Exception"), file("register"), line(l), message(m ? m : "") {}

Exception::~Exception() = default;

}  // namespace quorl
