// `rq7 lint FILE [--format text|sarif]`: the findings on stdout, exit 0
// without errors, 1 with errors, 2 when the file cannot be loaded.
#include "rq7/Cli.h"
#include "rq7/Lint.h"

#include <nlohmann/json.hpp>

#include <cctype>
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

const char* severityText(Severity s) {
    return s == Severity::Error ? "error" : "warning";
}

// The file as a URI reference: an absolute path as a file URI, a relative one
// as a relative reference; bytes outside the unreserved set percent-encoded.
std::string fileUri(const std::string& path) {
    static const char digits[] = "0123456789ABCDEF";
    std::string uri = !path.empty() && path[0] == '/' ? "file://" : "";
    for (unsigned char c : path) {
        if (std::isalnum(c) || c == '/' || c == '-' || c == '.' || c == '_' || c == '~') {
            uri += static_cast<char>(c);
        } else {
            uri += '%';
            uri += digits[c >> 4];
            uri += digits[c & 15];
        }
    }
    return uri;
}

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
    const std::string uri = fileUri(file);
    json rules = json::array();
    for (const LintRule& rule : lintRules())
        rules.push_back({{"id", rule.id},
                         {"shortDescription", {{"text", rule.summary}}},
                         {"defaultConfiguration", {{"level", severityText(rule.severity)}}}});
    json results = json::array();
    for (const Finding& f : report.findings) {
        json location = {{"physicalLocation",
                          {{"artifactLocation", {{"uri", uri}}},
                           {"region", {{"startLine", f.place.line}, {"startColumn", f.place.column}}}}}};
        results.push_back({{"ruleId", f.rule},
                           {"level", severityText(f.severity)},
                           {"message", {{"text", f.message}}},
                           {"locations", json::array({location})}});
    }
    json log = {
        {"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
        {"version", "2.1.0"},
        {"runs", json::array({{{"tool", {{"driver", {{"name", "rq7 lint"}, {"version", "1.0.0"}, {"rules", rules}}}}},
                               {"artifacts", json::array({{{"location", {{"uri", uri}}}}})},
                               {"results", results}}})}};
    return log.dump(2) + "\n";
}

int lintCommand(const std::vector<std::string>& args) {
    namespace po = boost::program_options;
    po::options_description options;
    options.add_options()("format", po::value<std::string>(), "text or sarif")("file", po::value<std::string>(),
                                                                               "configuration file");
    po::positional_options_description positional;
    positional.add("file", 1);
    const po::variables_map values = parseArguments(args, options, positional);
    const std::string format = formatOption(values, {"text", "sarif"});
    if (!values.count("file")) throw UsageError("no configuration FILE given");
    const std::string file = values["file"].as<std::string>();
    const LintReport report = lintConfiguration(file);
    std::cout << (format == "sarif" ? formatFindingsSarif(file, report) : formatFindingsText(file, report));
    std::cout.flush();
    if (!report.loaded) return EXIT_USAGE;
    return report.errors() ? EXIT_FAIL : EXIT_OK;
}

}  // namespace rq7
