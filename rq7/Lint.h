#pragma once
// `rq7 lint`: mistakes of a configuration found before it touches hardware,
// each pointing at the start tag of the element that causes it.
//
//   rq7::LintReport report = rq7::lintConfiguration("board.xml");
//   for (const rq7::Finding& f : report.findings) ...   // in file order
//
// The checks ask the code that runs a configuration: the plugin's walk
// (loadModules), the module factory and the modules' own readers.
#include "rq7/SourceIndex.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rq7 {

enum class Severity { Error, Warning };

struct LintRule {
    const char* id;
    Severity severity;
    const char* summary;
};

// Every rule, in the order the help text lists them.
const std::vector<LintRule>& lintRules();
const LintRule* findLintRule(const std::string& id);

struct Finding {
    std::string rule;
    Severity severity = Severity::Error;
    SourcePlace place;
    std::string message;
    std::string module;  // the module block it concerns, if any
};

// One module of the trace path as a run would build it, for the picture.
struct TraceNode {
    std::string name;
    int kind = 0;            // TraceModuleCreator::ModuleKind
    std::string dependency;  // text of its Dependency attribute
    bool linked = false;     // the run links that dependency
    bool on = false;         // a configure run enables it
    bool built = true;       // false for a sink that TraceLocation drops
    bool hasBase = false;
    uint64_t baseAddress = 0;
    std::string memorySpace;
    int traceId = -1;  // -1: carries no trace ID
    int port = -1;     // funnel port number, -1 for other modules
    int portPriority = -1;
    SourcePlace place;
};

struct LintReport {
    bool loaded = false;
    std::vector<Finding> findings;  // sorted by place
    std::vector<TraceNode> nodes;   // walk order: sources, then the rest by name
    std::size_t errors() const;
};

// Reads and checks the file; never writes it. Log lines of the modules are
// kept off stdout while it runs.
LintReport lintConfiguration(const std::string& path);

// "FILE:LINE:COLUMN: error|warning: message [rule]" lines.
std::string formatFindingsText(const std::string& file, const LintReport& report);
// SARIF 2.1.0 log with one run.
std::string formatFindingsSarif(const std::string& file, const LintReport& report);

// The trace path as a Graphviz DOT graph, lint findings marked.
std::string formatGraphDot(const std::string& file, const LintReport& report);

}  // namespace rq7
