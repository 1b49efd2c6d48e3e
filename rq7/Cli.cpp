#include "rq7/Cli.h"

#include "app/CommandLine.h"

#include <boost/program_options/parsers.hpp>

#include <csignal>
#include <iostream>

namespace rq7 {

namespace po = boost::program_options;

namespace {

const char* const Usage =
    "Usage: rq7 SUBCOMMAND [OPTIONS] [ARGS]\n"
    "       rq7 help SUBCOMMAND | --help | --version\n";

}  // namespace

const std::vector<Subcommand>& subcommands() {
    static const std::vector<Subcommand> table = {
        {"plan", "list every register access a run of a configuration makes", planHelp, planCommand},
        {"diff", "compare two configurations register by register", diffHelp, diffCommand},
        {"lint", "find the mistakes of a configuration, with file and line", lintHelp, lintCommand},
        {"graph", "draw the trace path of a configuration (Graphviz)", graphHelp, graphCommand},
        {"snapshot", "write a trace decoder snapshot of a configuration", snapshotHelp, snapshotCommand},
        {"capture", "stop the trace sinks, read their trace out and write a snapshot (GTA)", captureHelp,
         captureCommand},
        {"verify", "read back every register a configure run writes and report differences (GTA)", verifyHelp,
         verifyCommand},
    };
    return table;
}

namespace {

const Subcommand* findSubcommand(const std::string& name) {
    for (const Subcommand& command : subcommands())
        if (name == command.name) return &command;
    return nullptr;
}

void printOverview(std::ostream& out) {
    out << "rq7: see and check trace configurations before they touch hardware\n\n" << Usage << "\nSubcommands:\n";
    size_t width = 0;
    for (const Subcommand& command : subcommands()) width = std::max(width, std::string(command.name).size());
    for (const Subcommand& command : subcommands())
        out << "  " << command.name << std::string(width + 2 - std::string(command.name).size(), ' ') << command.summary
            << "\n";
    out << "\nRun 'rq7 help SUBCOMMAND' for the options of one.\n";
}

int usageError(const std::string& where, const std::string& message, const std::string& hint) {
    std::cerr << where << ": " << message << "\nTry '" << hint << "' for more information." << std::endl;
    return EXIT_USAGE;
}

bool asksForHelp(const std::vector<std::string>& args) {
    for (const std::string& arg : args) {
        if (arg == "--") return false;
        if (arg == "--help" || arg == "-h") return true;
    }
    return false;
}

int runSubcommand(const Subcommand& command, const std::vector<std::string>& args) {
    const std::string where = std::string("rq7 ") + command.name;
    if (asksForHelp(args)) {
        std::cout << command.help;
        return EXIT_OK;
    }
    try {
        return command.entry(args);
    } catch (const UsageError& e) {
        return usageError(where, e.what(), "rq7 help " + std::string(command.name));
    } catch (const std::exception& e) {
        std::cerr << where << ": " << e.what() << std::endl;
        return EXIT_USAGE;
    }
}

}  // namespace

po::variables_map parseArguments(const std::vector<std::string>& args, const po::options_description& options,
                                 const po::positional_options_description& positional) {
    po::variables_map values;
    try {
        po::store(po::command_line_parser(args).options(options).positional(positional).run(), values);
        po::notify(values);
    } catch (const po::too_many_positional_options_error&) {
        throw UsageError("too many arguments");
    } catch (const po::error& e) {
        throw UsageError(e.what());
    }
    return values;
}

std::string formatOption(const po::variables_map& values, const std::vector<std::string>& allowed) {
    if (!values.count("format")) return allowed.front();
    const std::string format = values["format"].as<std::string>();
    for (const std::string& name : allowed)
        if (format == name) return format;
    std::string list;
    for (const std::string& name : allowed) list += (list.empty() ? "" : ", ") + name;
    throw UsageError("unknown format '" + format + "' (one of: " + list + ")");
}

int main(int argc, char* argv[]) {
    // A reader that goes away (rq7 plan ... | head) is no error of ours.
    std::signal(SIGPIPE, SIG_IGN);
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) {
        std::cerr << Usage;
        return EXIT_USAGE;
    }
    const std::string& first = words.front();
    if (first == "--help" || first == "-h") {
        printOverview(std::cout);
        return EXIT_OK;
    }
    if (first == "--version") {
        std::cout << "rq7 " << versionText() << std::endl;
        return EXIT_OK;
    }
    if (first == "help") {
        if (words.size() == 1) {
            printOverview(std::cout);
            return EXIT_OK;
        }
        const Subcommand* command = findSubcommand(words[1]);
        if (!command || words.size() > 2)
            return usageError("rq7 help", command ? "too many arguments" : "unknown subcommand '" + words[1] + "'",
                              "rq7 --help");
        std::cout << command->help;
        return EXIT_OK;
    }
    if (!first.empty() && first[0] == '-') return usageError("rq7", "unknown option '" + first + "'", "rq7 --help");
    const Subcommand* command = findSubcommand(first);
    if (!command) return usageError("rq7", "unknown subcommand '" + first + "'", "rq7 --help");
    return runSubcommand(*command, std::vector<std::string>(words.begin() + 1, words.end()));
}

}  // namespace rq7
