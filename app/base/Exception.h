#pragma once
// The exception of the system. Deliberately not a std::exception: callers
// catch it by its own type.
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

namespace quorl {

class Exception {
public:
    Exception(const Exception& other) = default;
    Exception(const char* file, uint32_t line, const std::string& message);
    // Used by the register template: the source is fixed to the register unit.
    Exception(uint32_t line, const char* message);
    virtual ~Exception();

    const std::string& getType() const { return type; }
    const std::string& getFile() const { return file; }
    uint32_t getLine() const { return line; }
    const std::string& getMessage() const { return message; }

private:
    boost::shared_ptr<void> cause;
    std::string type;
    std::string file;
    uint32_t line;
    std::string message;
};

}  // namespace quorl
