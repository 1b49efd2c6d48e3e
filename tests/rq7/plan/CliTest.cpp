// The rq7 command line and bad input: clear messages, exit statuses scripts
// can use, and input files left as they were.
#include "tests/rq7/plan/PlanSupport.h"

#include <sstream>

using namespace rq7plantest;
using rq7test::readFile;
using rq7test::ScratchDir;
using rq7test::writeFile;

namespace {

struct CliCase {
    const char* name;
    std::vector<std::string> args;  // "@X" stands for the scratch file X
    int status;
    std::string out;  // substrings expected on stdout / stderr ("" for none)
    std::string err;
};

void PrintTo(const CliCase& c, std::ostream* os) {
    *os << c.name;
}

class Cli : public testing::TestWithParam<CliCase> {};

TEST_P(Cli, StatusAndMessage) {
    const CliCase& c = GetParam();
    ScratchDir dir;
    const std::string notXml = "this is not XML\n";
    const std::string wrongRoot = "<?xml version=\"1.0\"?><NOTQUORL/>\n";
    writeFile(dir.file("text.xml"), notXml);
    writeFile(dir.file("root.xml"), wrongRoot);
    writeFile(dir.file("good.txt"), readFile(LOGGER_EXAMPLE));
    writeFile(dir.file("good.xml"), readFile(LOGGER_EXAMPLE));
    std::vector<std::string> args;
    for (const std::string& a : c.args) args.push_back(a[0] == '@' ? dir.file(a.substr(1)) : a);

    const auto result = rq7(args, dir.path());
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.status, c.status) << result.out << result.err;
    EXPECT_NE(result.out.find(c.out), std::string::npos) << result.out;
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
    if (c.status == 2) {
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(readFile(dir.file("text.xml")), notXml);
    EXPECT_EQ(readFile(dir.file("root.xml")), wrongRoot);
    EXPECT_EQ(readFile(dir.file("good.txt")), readFile(LOGGER_EXAMPLE));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Cli,
    testing::Values(
        CliCase{"NoArguments", {}, 2, "", "Usage: rq7"}, CliCase{"Help", {"--help"}, 0, "  plan  ", ""},
        CliCase{"HelpOfPlan", {"help", "plan"}, 0, "Usage: rq7 plan [-d] FILE", ""},
        CliCase{"PlanDashHelp", {"plan", "--help"}, 0, "Usage: rq7 plan", ""},
        CliCase{"DiffDashH", {"diff", "-h"}, 0, "Usage: rq7 diff", ""},
        CliCase{"Version", {"--version"}, 0, "rq7 0.0.0.0 (built on ", ""},
        CliCase{"UnknownSubcommand", {"plot"}, 2, "", "rq7: unknown subcommand 'plot'"},
        CliCase{"HelpOfUnknown", {"help", "plot"}, 2, "", "unknown subcommand 'plot'"},
        CliCase{"PlanWithoutFile", {"plan"}, 2, "", "rq7 plan: missing FILE\nTry 'rq7 help plan'"},
        CliCase{"PlanUnknownOption", {"plan", "--frob", "@good.xml"}, 2, "", "rq7 plan: "},
        CliCase{"PlanTwoFiles", {"plan", "@good.xml", "@good.xml"}, 2, "", "rq7 plan: too many arguments"},
        CliCase{"PlanBadFormat", {"plan", "@good.xml", "--format", "yaml"}, 2, "", "unknown format 'yaml'"},
        CliCase{"PlanMissingFile", {"plan", "@none.xml"}, 2, "", "none.xml: cannot open: No such file"},
        CliCase{"PlanNotXml", {"plan", "@text.xml"}, 2, "", "text.xml: not a valid configuration file (XML error"},
        CliCase{"PlanWrongRoot", {"plan", "@root.xml"}, 2, "", "root.xml: not a valid configuration file"},
        CliCase{"PlanDirectory", {"plan", "@"}, 2, "", ": is a directory"},
        CliCase{"PlanWrongExtension", {"plan", "@good.txt"}, 2, "", "must end in .xml"},
        CliCase{"PlanMissingImage", {"plan", "@good.xml", "--image", "@none.image"}, 2, "", "none.image: cannot open"},
        CliCase{"PlanBadImage", {"plan", "@good.xml", "--image", "@text.xml"}, 2, "", "text.xml:1"},
        CliCase{"DiffOneFile", {"diff", "@good.xml"}, 2, "", "rq7 diff: two files needed"},
        CliCase{"DiffMissingFile", {"diff", "@good.xml", "@none.xml"}, 2, "", "none.xml: cannot open"},
        CliCase{"DiffNotXml", {"diff", "@text.xml", "@good.xml"}, 2, "", "not a valid configuration file"}),
    [](const testing::TestParamInfo<CliCase>& info) { return info.param.name; });

// Control registers come with their fields decoded by name.
TEST(PlanText, ControlRegisterFieldsByName) {
    ScratchDir dir;
    writeFile(dir.file("a.xml"), readFile(LOGGER_EXAMPLE));
    const auto result = rq7({"plan", dir.file("a.xml")}, dir.path());
    ASSERT_EQ(result.status, 0) << result.err;
    std::istringstream lines(result.out);
    std::string line;
    while (std::getline(lines, line) && line.find("Cluster 0 Core 0      ETM_TRCCONFIGR ") == std::string::npos) {
    }
    EXPECT_NE(line.find(" 0x00020856  "), std::string::npos) << line;
    EXPECT_NE(line.find(" CCI=1 "), std::string::npos) << line;
}

// A Logger file whose port the in-process server does not listen on: the run
// would fail, and the plan says so with status 1.
TEST(PlanStatus, UnreachableLoggerPortFails) {
    ScratchDir dir;
    writeFile(dir.file("a.xml"), replaced(readFile(LOGGER_EXAMPLE), "<DefaultValue>5000</DefaultValue>",
                                          "<DefaultValue>5001</DefaultValue>"));
    const auto result = rq7({"plan", dir.file("a.xml")}, dir.path());
    EXPECT_EQ(result.status, 1) << result.err;
    EXPECT_NE(result.err.find("port 5000 only"), std::string::npos) << result.err;
}

}  // namespace
