#pragma once
// The entry function's first half: parse the command line, answer help and
// version, and hand a real run to the run sequence.
#include <boost/program_options/value_semantic.hpp>

#include <string>

namespace quorl {

// A typed option value that shows a chosen argument name in the help text
// ("path" instead of "arg") and stores into a string owned elsewhere.
template <class T>
class QORLBoostTypedV : public boost::program_options::typed_value<T> {
public:
    QORLBoostTypedV(T* store, const std::string* argumentName)
        : boost::program_options::typed_value<T>(store), argumentName_(argumentName) {}
    std::string name() const override { return *argumentName_; }

private:
    const std::string* argumentName_;
};

// The option value of --config-file: it owns the parsed path. The options
// description takes ownership of the object, so `value` stays readable as
// long as that description lives.
struct QORLBoostTypedValue : public QORLBoostTypedV<std::string> {
    QORLBoostTypedValue(const std::string& argumentName, const std::string& initialValue)
        : QORLBoostTypedV<std::string>(&value, &name), name(argumentName), value(initialValue) {}

    std::string name;   // shown in the help text
    std::string value;  // the path, after notify
};

}  // namespace quorl

namespace rq7 {

// Version and build time, as --version prints them ("0.0.0.0 (built on ...)").
const char* versionText();

// Runs the program on its command line and returns the exit status: 1 for
// help and for parser errors, 0 for --version, else the run's status.
int runCommandLine(int argc, const char* const argv[]);

}  // namespace rq7
