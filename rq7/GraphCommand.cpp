// `rq7 graph FILE [-o OUT]`: the trace path as a Graphviz picture. DOT is
// written here; SVG, PNG and PDF come from Graphviz's `dot` program.
#include "rq7/Cli.h"
#include "rq7/Lint.h"

#include "plugin/TraceModuleCreator.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

extern char** environ;

namespace rq7 {

const char* const graphHelp =
    "Usage: rq7 graph FILE [-o OUT]\n"
    "\n"
    "Draws the trace path of a configuration: trace sources, funnel ports,\n"
    "funnels, sinks and the Dependency links between them. What a configure run\n"
    "enables is solid and green, the rest dashed; blocks with lint errors are red.\n"
    "OUT's extension picks the format: .dot (written directly), .svg, .png or .pdf\n"
    "(through Graphviz's dot program). Without -o, DOT goes to stdout.\n"
    "\n"
    "Exit status: 0 picture written, 1 it could not be written, 2 the file cannot\n"
    "be loaded, or a bad command line.\n";

namespace {

using quorl::TraceModuleCreator;

std::string html(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

std::string hex(uint64_t value, int width = 0) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%0*llx", width, static_cast<unsigned long long>(value));
    return text;
}

const char* role(int kind) {
    switch (kind) {
        case TraceModuleCreator::CoreKind:
            return "core trace unit";
        case TraceModuleCreator::StmKind:
            return "STM";
        case TraceModuleCreator::NocProbeKind:
            return "NoC probe";
        case TraceModuleCreator::NocObserverKind:
            return "NoC observer";
        case TraceModuleCreator::FunnelPortKind:
            return "funnel port";
        case TraceModuleCreator::ArmFunnelKind:
            return "funnel";
        case TraceModuleCreator::EtfSinkKind:
            return "ETF sink";
        case TraceModuleCreator::DdrSinkKind:
            return "DDR sink";
        default:
            return "module";
    }
}

const char* shape(int kind) {
    switch (kind) {
        case TraceModuleCreator::FunnelPortKind:
            return "box";
        case TraceModuleCreator::ArmFunnelKind:
            return "invtrapezium";
        case TraceModuleCreator::EtfSinkKind:
        case TraceModuleCreator::DdrSinkKind:
            return "cylinder";
        default:
            return "box";
    }
}

}  // namespace

std::string formatGraphDot(const std::string& file, const LintReport& report) {
    // Worst finding per module block: errors red, warnings orange.
    std::map<std::string, std::set<std::string>> errors, warnings;
    for (const Finding& f : report.findings)
        if (!f.module.empty()) (f.severity == Severity::Error ? errors : warnings)[f.module].insert(f.rule);
    std::set<std::string> names;
    for (const TraceNode& n : report.nodes) names.insert(n.name);

    std::ostringstream os;
    os << "digraph trace {\n"
       << "  rankdir=TB; newrank=true; nodesep=0.25; ranksep=0.45;\n"
       << "  graph [fontname=\"Helvetica\", fontsize=12, labelloc=t, label="
       << quoted("Trace path of " + file +
                 "\nsolid green: enabled by a configure run;  dashed grey: left off;  "
                 "red / orange: lint error / warning")
       << "];\n"
       << "  node [fontname=\"Helvetica\", fontsize=10, margin=\"0.12,0.06\"];\n"
       << "  edge [arrowsize=0.7];\n";
    int missing = 0;
    for (const TraceNode& n : report.nodes) {
        std::ostringstream label;
        label << "<<b>" << html(n.name) << "</b><br/><font point-size=\"9\">" << role(n.kind);
        if (n.port >= 0) label << ' ' << n.port << " · priority " << n.portPriority;
        if (n.hasBase) label << " · " << html(n.memorySpace) << ' ' << hex(n.baseAddress);
        if (n.traceId >= 0) label << "<br/>trace ID " << hex(static_cast<uint64_t>(n.traceId), 2);
        if (!n.built) label << "<br/>dropped by TraceLocation";
        label << "</font>";
        auto bad = errors.find(n.name);
        auto warn = warnings.find(n.name);
        for (const auto* found :
             {bad != errors.end() ? &bad->second : nullptr, warn != warnings.end() ? &warn->second : nullptr}) {
            if (!found) continue;
            const bool error = found == (bad != errors.end() ? &bad->second : nullptr);
            label << "<br/><font point-size=\"9\" color=\"" << (error ? "red3" : "darkorange3") << "\">"
                  << (error ? "error: " : "warning: ");
            bool first = true;
            for (const std::string& rule : *found) label << (first ? "" : ", ") << rule, first = false;
            label << "</font>";
        }
        label << ">";
        std::string style = n.on ? "\"rounded,filled,bold\"" : "\"rounded,dashed\"";
        if (n.kind == TraceModuleCreator::ArmFunnelKind || n.kind == TraceModuleCreator::EtfSinkKind ||
            n.kind == TraceModuleCreator::DdrSinkKind)
            style = n.on ? "\"filled,bold\"" : "\"dashed\"";
        const std::string color = bad != errors.end()      ? "red3"
                                  : warn != warnings.end() ? "darkorange2"
                                  : n.on                   ? "darkgreen"
                                                           : "gray55";
        os << "  " << quoted(n.name) << " [shape=" << shape(n.kind) << ", style=" << style
           << ", fillcolor=" << (n.on ? "\"#d7f5d7\"" : "white") << ", color=" << color << ", penwidth="
           << (bad != errors.end() ? 2.5
               : n.on              ? 1.8
                                   : 1.0)
           << ", fontcolor=" << (n.on ? "black" : "gray35") << ", label=" << label.str() << "];\n";
    }
    // Sources on the top row in file order, so that a cluster's cores stand together.
    std::vector<const TraceNode*> sources;
    for (const TraceNode& n : report.nodes)
        if (n.kind == TraceModuleCreator::CoreKind || n.kind == TraceModuleCreator::StmKind ||
            n.kind == TraceModuleCreator::NocProbeKind)
            sources.push_back(&n);
    std::stable_sort(sources.begin(), sources.end(),
                     [](const TraceNode* a, const TraceNode* b) { return a->place.line < b->place.line; });
    if (sources.size() > 1) {
        os << "  { rank=same; ";
        for (std::size_t i = 0; i < sources.size(); ++i) os << (i ? " -> " : "") << quoted(sources[i]->name);
        os << " [style=invis]; }\n";
    }
    for (const TraceNode& n : report.nodes) {
        if (n.dependency.empty()) continue;
        std::string target = n.dependency;
        if (!names.count(target)) {
            target = "missing " + std::to_string(++missing);
            os << "  " << quoted(target)
               << " [shape=plaintext, fontcolor=red3, label=" << quoted("no module '" + n.dependency + "'") << "];\n";
        }
        os << "  " << quoted(n.name) << " -> " << quoted(target);
        if (n.on && n.linked)
            os << " [color=darkgreen, penwidth=2]";
        else if (n.built && !n.linked && names.count(n.dependency))
            os << " [color=red3, style=dashed, label=\" dropped\", fontcolor=red3, fontsize=9]";
        else
            os << " [color=gray55, style=dashed]";
        os << ";\n";
    }
    os << "}\n";
    return os.str();
}

namespace {

// Runs `dot -T<format> -o OUT` on a DOT file; the text of a failure, or "".
std::string renderWithDot(const std::string& dot, const std::string& format, const std::string& out) {
    char temp[] = "/tmp/rq7-graph-XXXXXX";
    const int fd = mkstemp(temp);
    if (fd < 0) return "cannot create a temporary file";
    {
        std::ofstream tmp(temp, std::ios::binary);
        tmp << dot;
    }
    close(fd);
    const std::string typeArg = "-T" + format;
    std::vector<char*> argv = {const_cast<char*>("dot"),
                               const_cast<char*>(typeArg.c_str()),
                               const_cast<char*>("-o"),
                               const_cast<char*>(out.c_str()),
                               temp,
                               nullptr};
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, "dot", nullptr, nullptr, argv.data(), environ);
    std::string failure;
    if (spawned != 0) {
        failure = spawned == ENOENT ? "the 'dot' program of Graphviz is needed for ." + format +
                                          " output; install it (Debian package graphviz) or use a .dot file"
                                    : "cannot run 'dot'";
    } else {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) failure = "'dot' could not write " + out;
    }
    unlink(temp);
    return failure;
}

}  // namespace

int graphCommand(const std::vector<std::string>& args) {
    namespace po = boost::program_options;
    po::options_description options;
    options.add_options()("output,o", po::value<std::string>(), "output file")("file", po::value<std::string>(),
                                                                               "configuration file");
    po::positional_options_description positional;
    positional.add("file", 1);
    const po::variables_map vm = parseArguments(args, options, positional);
    if (!vm.count("file")) throw UsageError("no configuration FILE given");
    const std::string file = vm["file"].as<std::string>();
    const std::string out = vm.count("output") ? vm["output"].as<std::string>() : std::string();
    std::string format = out.empty() ? "dot" : boost::filesystem::path(out).extension().string();
    if (!format.empty() && format[0] == '.') format.erase(0, 1);
    if (format != "dot" && format != "svg" && format != "png" && format != "pdf")
        throw UsageError("cannot tell the format of '" + out + "': use .dot, .svg, .png or .pdf");
    boost::system::error_code ignored;
    if (!out.empty() && boost::filesystem::equivalent(file, out, ignored))
        throw UsageError("the picture would overwrite the configuration " + file);
    const LintReport report = lintConfiguration(file);
    if (!report.loaded) {
        std::cerr << formatFindingsText(file, report);
        return EXIT_USAGE;
    }
    const std::string dot = formatGraphDot(file, report);
    if (out.empty()) {
        std::cout << dot;
        std::cout.flush();
        return EXIT_OK;
    }
    if (format == "dot") {
        std::ofstream stream(out, std::ios::binary);
        stream << dot;
        stream.close();
        if (!stream) {
            std::cerr << "rq7 graph: cannot write " << out << "\n";
            return EXIT_FAIL;
        }
        return EXIT_OK;
    }
    const std::string failure = renderWithDot(dot, format, out);
    if (!failure.empty()) {
        std::cerr << "rq7 graph: " << failure << "\n";
        return EXIT_FAIL;
    }
    return EXIT_OK;
}

}  // namespace rq7
