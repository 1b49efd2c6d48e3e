#pragma once
// The `rq7` command: one table of subcommands, each an entry function in a
// file of its own, and the parsing helpers they share.
#include <boost/program_options/options_description.hpp>
#include <boost/program_options/positional_options.hpp>
#include <boost/program_options/variables_map.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace rq7 {

// Entry functions: `args` are the words after the subcommand's name. They
// return the exit status and throw UsageError for a bad command line.
int planCommand(const std::vector<std::string>& args);
int diffCommand(const std::vector<std::string>& args);
int lintCommand(const std::vector<std::string>& args);
int graphCommand(const std::vector<std::string>& args);
int snapshotCommand(const std::vector<std::string>& args);
int captureCommand(const std::vector<std::string>& args);
int verifyCommand(const std::vector<std::string>& args);

extern const char* const planHelp;
extern const char* const diffHelp;
extern const char* const lintHelp;
extern const char* const graphHelp;
extern const char* const snapshotHelp;
extern const char* const captureHelp;
extern const char* const verifyHelp;

struct Subcommand {
    const char* name;
    const char* summary;  // one line for `rq7 --help`
    const char* help;     // full text for `rq7 help NAME`
    int (*entry)(const std::vector<std::string>& args);
};

// The subcommands, in the order `rq7 --help` lists them.
const std::vector<Subcommand>& subcommands();

// Exit statuses shared by the subcommands.
enum ExitStatus { EXIT_OK = 0, EXIT_FAIL = 1, EXIT_USAGE = 2 };

// A bad command line; the dispatcher prints it with the subcommand's name
// and ends with EXIT_USAGE.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Parses `args` with `options` and `positional`; unknown options, missing
// values and surplus words become UsageError.
boost::program_options::variables_map parseArguments(
    const std::vector<std::string>& args, const boost::program_options::options_description& options,
    const boost::program_options::positional_options_description& positional);

// The value of --format, checked against `allowed` (the first is the default).
std::string formatOption(const boost::program_options::variables_map& values, const std::vector<std::string>& allowed);

// The whole command; returns the exit status.
int main(int argc, char* argv[]);

}  // namespace rq7
