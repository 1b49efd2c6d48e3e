// `rq7 lint FILE [--format text|sarif]`: the findings on stdout, exit 0
// without errors, 1 with errors, 2 when the file cannot be loaded.
#include "rq7/Lint.h"

#include <boost/program_options.hpp>
#include <nlohmann/json.hpp>

#include <iostream>
#include <sstream>

namespace rq7 {

const char* const lintHelp =
    "Usage: rq7 lint FILE [--format text|sarif]\n"
    "\n"
    "Checks a configuration file without touching a target and prints each\n"
    "finding as FILE:LINE:COLUMN: error|warning: message [rule], or a SARIF 2.1.0\n"
    "log with --format sarif. The file is never written.\n"
    "\n"
    "Exit status: 0 no errors (warnings allowed), 1 errors, 2 the file cannot be\n"
    "loaded, or a bad command line.\n";

namespace {

const char* severityText(Severity s) { return s == Severity::Error ? "error" : "warning"; }

}  // namespace

std::string formatFindingsText(const std::string& file, const LintReport& report) {
    std::ostringstream os;
    for (const Finding& f : report.findings)
        os << file << ':' << f.place.line << ':' << f.place.column << ": " << severityText(f.severity) << ": "
           << f.message << " [" << f.rule << "]\n";
    return os.str();
}

std::string formatFindingsSarif(const std::string& file, const LintReport& report) {
    using nlohmann::json;
    json rules = json::array();
    for (const LintRule& rule : lintRules())
        rules.push_back({{"id", rule.id},
                         {"shortDescription", {{"text", rule.summary}}},
                         {"defaultConfiguration", {{"level", severityText(rule.severity)}}}});
    json results = json::array();
    for (const Finding& f : report.findings) {
        json location = {{"physicalLocation",
                          {{"artifactLocation", {{"uri", file}}},
                           {"region", {{"startLine", f.place.line}, {"startColumn", f.place.column}}}}}};
        results.push_back({{"ruleId", f.rule},
                           {"level", severityText(f.severity)},
                           {"message", {{"text", f.message}}},
                           {"locations", json::array({location})}});
    }
    json log = {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                {"version", "2.1.0"},
                {"runs", json::array({{{"tool", {{"driver", {{"name", "rq7 lint"},
                                                              {"version", "1.0.0"},
                                                              {"rules", rules}}}}},
                                       {"artifacts", json::array({{{"location", {{"uri", file}}}}})},
                                       {"results", results}}})}};
    return log.dump(2) + "\n";
}

int lintCommand(const std::vector<std::string>& args) {
    namespace po = boost::program_options;
    po::options_description options;
    options.add_options()("format", po::value<std::string>()->default_value("text"), "text or sarif")(
        "file", po::value<std::string>(), "configuration file")("help,h", "help");
    po::positional_options_description positional;
    positional.add("file", 1);
    po::variables_map vm;
    try {
        po::store(po::command_line_parser(args).options(options).positional(positional).run(), vm);
        po::notify(vm);
    } catch (const po::error& e) {
        std::cerr << "rq7 lint: " << e.what() << "\n" << lintHelp;
        return 2;
    }
    if (vm.count("help")) {
        std::cout << lintHelp;
        return 0;
    }
    const std::string format = vm["format"].as<std::string>();
    if (!vm.count("file") || (format != "text" && format != "sarif")) {
        std::cerr << "rq7 lint: " << (vm.count("file") ? "unknown format '" + format + "'" : "no FILE given")
                  << "\n" << lintHelp;
        return 2;
    }
    const std::string file = vm["file"].as<std::string>();
    const LintReport report = lintConfiguration(file);
    std::cout << (format == "sarif" ? formatFindingsSarif(file, report) : formatFindingsText(file, report));
    std::cout.flush();
    if (!report.loaded) return 2;
    return report.errors() ? 1 : 0;
}

}  // namespace rq7
