// The built `rq7 lint` and `rq7 graph` on the shipped examples and on files
// that cannot be loaded; SARIF checked by the SARIF Multitool.
#include "rq7/Lint.h"
#include "tests/rq7/lint/LintTestSupport.h"

#include <gtest/gtest.h>
#include <boost/filesystem.hpp>

#include <sys/wait.h>
#include <cstdio>
#include <cstdlib>

namespace fs = boost::filesystem;

namespace {

struct Outcome {
    int status = -1;
    std::string out;
};

// Runs a shell command line; stdout (and stderr when asked) collected.
Outcome run(const std::string& command) {
    Outcome r;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return r;
    char buffer[4096];
    std::size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) r.out.append(buffer, n);
    const int status = pclose(pipe);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

std::string rq7(const std::string& args) {
    return std::string(RQ7_BINARY) + " " + args;
}

bool haveProgram(const char* name) {
    return run(std::string("command -v ") + name + " >/dev/null 2>&1").status == 0;
}

std::vector<std::string> examples() {
    std::vector<std::string> files;
    for (const fs::directory_entry& e : fs::directory_iterator(RQ7_EXAMPLES_DIR))
        if (e.path().extension() == ".xml") files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

std::string copyOf(const std::string& example) {
    return rq7test::writeFile(fs::path(example).filename().string(), rq7test::readFile(example));
}

TEST(LintCommand, ShippedExamplesHaveNoErrors) {
    ASSERT_FALSE(examples().empty());
    for (const std::string& example : examples()) {
        const std::string copy = copyOf(example);
        const Outcome r = run(rq7("lint " + copy));
        EXPECT_EQ(r.status, 0) << example << "\n" << r.out;
        EXPECT_EQ(r.out.find(": error:"), std::string::npos) << r.out;
    }
}

TEST(LintCommand, TextLinesHaveTheCompilerForm) {
    std::string text = rq7test::cleanConfiguration();
    text.replace(text.find("<DefaultValue>5000"), 18, "<DefaultValue>5001");
    const std::string file = rq7test::writeFile("port.xml", text);
    const Outcome r = run(rq7("lint " + file));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, file +
                         ":9:2: error: Logger runs serve on port 5000, so port 5001 reaches no server "
                         "[logger-endpoint]\n");
}

TEST(LintCommand, SarifPassesTheMultitoolValidation) {
    const bool multitool = haveProgram("sarif-multitool");
    if (!multitool && !haveProgram("npx")) GTEST_SKIP() << "neither sarif-multitool nor npx is installed";
    std::string text = rq7test::cleanConfiguration();
    text.replace(text.find("<DefaultValue>5000"), 18, "<DefaultValue>5001");
    const std::string file = rq7test::writeFile("sarif.xml", text);
    const Outcome lint = run(rq7("lint --format sarif " + file));
    EXPECT_EQ(lint.status, 1);
    ASSERT_NE(lint.out.find("\"logger-endpoint\""), std::string::npos) << lint.out;
    const std::string log = rq7test::writeFile("lint.sarif", lint.out);
    const std::string tool = multitool ? "sarif-multitool" : "npx --no-install @microsoft/sarif-multitool";
    const Outcome check = run(tool + " validate " + log + " 2>&1");
    EXPECT_EQ(check.status, 0) << check.out;
    EXPECT_EQ(check.out.find(": error"), std::string::npos) << check.out;
    EXPECT_NE(check.out.find("completed successfully"), std::string::npos) << check.out;
}

TEST(GraphCommand, RendersTheExampleToSvg) {
    if (!haveProgram("dot")) GTEST_SKIP() << "Graphviz's dot is not installed";
    const std::string copy = copyOf(examples().front());
    const std::string svg = (rq7test::scratchDirectory() / "example.svg").string();
    const Outcome r = run(rq7("graph " + copy + " -o " + svg + " 2>&1"));
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string picture = rq7test::readFile(svg);
    EXPECT_NE(picture.find("<svg"), std::string::npos);
    EXPECT_NE(picture.find("ETF 0"), std::string::npos);
}

TEST(GraphCommand, DotShowsWhatARunEnables) {
    const rq7::LintReport report =
        rq7::lintConfiguration(rq7test::writeFile("graph.xml", rq7test::cleanConfiguration()));
    const std::string dot = rq7::formatGraphDot("graph.xml", report);
    for (const char* name : {"Core 0", "Core 1", "ARM Funnel Port 0", "ARM Funnel", "ETF 0", "DDR Trace Buffer"})
        EXPECT_NE(dot.find(std::string("\"") + name + "\" [shape="), std::string::npos) << name;
    // Enabled chain solid; the stand-alone DDR sink is on by its own Enable Buffer.
    EXPECT_NE(dot.find("\"Core 0\" -> \"ARM Funnel Port 0\" [color=darkgreen"), std::string::npos) << dot;
    EXPECT_NE(dot.find("trace ID 0x02"), std::string::npos);
    EXPECT_NE(dot.find("APB 0x81030000"), std::string::npos);
}

struct BadInput {
    const char* title;
    const char* name;
    const char* text;  // null: the file does not exist
    const char* says;
};

const BadInput kBadInputs[] = {
    {"missing file", "absent.xml", nullptr, "Unable to open file"},
    {"not XML", "notes.xml", "just some words\n", "XML Error Code"},
    {"refused by the loader", "refused.xml",
     "<?xml version=\"1.0\"?>\n<QUORL>\n<Configuration>\n<Name>x</Name>\n"
     "<ConfigBlock><Name>y</Name></ConfigBlock>\n</Configuration>\n</QUORL>\n",
     "Mandatory element missing"},
    {"wrong extension", "board.txt", "<QUORL/>", "extension"},
    {"empty", "empty.xml", "", "XML Error Code"},
    {"a directory", "folder.xml", nullptr, "Unable to open file"},
};

TEST(BadInput, LintAndGraphEndCleanlyAndNeverWrite) {
    for (const BadInput& input : kBadInputs) {
        SCOPED_TRACE(input.title);
        const std::string path = (rq7test::scratchDirectory() / input.name).string();
        if (input.text) rq7test::writeFile(input.name, input.text);
        if (std::string(input.title) == "a directory") fs::create_directories(path);
        const Outcome lint = run(rq7("lint " + path));
        EXPECT_EQ(lint.status, 2) << lint.out;
        EXPECT_NE(lint.out.find("[load-error]"), std::string::npos) << lint.out;
        EXPECT_NE(lint.out.find(input.says), std::string::npos) << lint.out;
        const Outcome graph = run(rq7("graph " + path + " 2>&1"));
        EXPECT_EQ(graph.status, 2) << graph.out;
        EXPECT_NE(graph.out.find(input.says), std::string::npos) << graph.out;
        if (input.text)
            EXPECT_EQ(rq7test::readFile(path), input.text);
        else
            EXPECT_FALSE(fs::is_regular_file(path));
    }
}

TEST(BadInput, CommandLineMistakesExitTwo) {
    const std::string file = rq7test::writeFile("cli.xml", rq7test::cleanConfiguration());
    const char* lines[] = {"lint", "lint --format xml ", "lint --bogus ", "graph", "graph -o out.gif "};
    for (const char* line : lines) {
        const std::string args = std::string(line) + (std::string(line).back() == ' ' ? file : "");
        EXPECT_EQ(run(rq7(args + " 2>/dev/null")).status, 2) << args;
    }
    // A picture never replaces the configuration.
    EXPECT_EQ(run(rq7("graph " + file + " -o " + file + " 2>/dev/null")).status, 2);
    EXPECT_EQ(rq7test::readFile(file), rq7test::cleanConfiguration());
}

}  // namespace
