// rq7 diff over pairs of files: exit status as diff(1) and the key lines.
#include "tests/rq7/plan/PlanSupport.h"
#include "tools/socgen/SocGen.h"

#include <functional>

using namespace rq7plantest;
using rq7test::readFile;
using rq7test::ScratchDir;
using rq7test::writeFile;

namespace {

const std::string CORE0_CYCLES = "<Name>Cycle Counting</Name><DefaultValue>true</DefaultValue>";

// Socgen text with the blocks of two cores swapped: same values, other order.
std::string swappedCores(const std::string& text) {
    auto block = [&](const std::string& name) {
        const size_t begin = text.find("<ConfigBlock><Name>" + name + "</Name>");
        const size_t end = text.find("</ConfigBlock>\n", begin) + 15;
        return std::make_pair(begin, end);
    };
    const auto a = block("Cluster 0 Core 0");
    const auto b = block("Cluster 0 Core 1");
    EXPECT_EQ(a.second, b.first);
    return text.substr(0, a.first) + text.substr(b.first, b.second - b.first) +
           text.substr(a.first, a.second - a.first) + text.substr(b.second);
}

struct DiffCase {
    const char* name;
    std::function<std::string()> a, b;
    int status;
    std::vector<std::string> lines;  // substrings the output must hold
    bool disable = false;
};

void PrintTo(const DiffCase& c, std::ostream* os) {
    *os << c.name;
}

class DiffPairs : public testing::TestWithParam<DiffCase> {};

TEST_P(DiffPairs, StatusAndKeyLines) {
    const DiffCase& c = GetParam();
    ScratchDir dir;
    const std::string a = c.a(), b = c.b();
    writeFile(dir.file("a.xml"), a);
    writeFile(dir.file("b.xml"), b);
    std::vector<std::string> args = {"diff", dir.file("a.xml"), dir.file("b.xml")};
    if (c.disable) args.push_back("-d");
    const auto result = rq7(args, dir.path());
    EXPECT_EQ(result.status, c.status) << result.out << result.err;
    if (c.status == 0) {
        EXPECT_EQ(result.out, "");
    }
    for (const std::string& line : c.lines)
        EXPECT_NE(result.out.find(line), std::string::npos) << line << "\n" << result.out;
    EXPECT_EQ(readFile(dir.file("a.xml")), a);
    EXPECT_EQ(readFile(dir.file("b.xml")), b);
}

std::string logger() {
    return readFile(LOGGER_EXAMPLE);
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, DiffPairs,
    testing::Values(DiffCase{"SameFile", logger, logger, 0, {}},
                    DiffCase{"ChangedValue",
                             logger,
                             [] {
                                 return replaced(logger(), CORE0_CYCLES,
                                                 "<Name>Cycle Counting</Name><DefaultValue>false</DefaultValue>");
                             },
                             1,
                             {"Cluster 0 Core 0  ETM_TRCCONFIGR  -:0x81030010: 0x00020856 -> 0x00020846  CCI 1->0\n",
                              "Cluster 0 Core 0  ETM_TRCCCCTLR  -:0x81030038: 0x00000200 -> (not written)"}},
                    DiffCase{"AddedModule",
                             [] { return socgen::generatedSoc(8); },
                             [] { return socgen::generatedSoc(9); },
                             1,
                             {"Cluster 1 Core 0  ETM_TRCCONFIGR  -:0x82030010: (not written) -> 0x"}},
                    DiffCase{"Reordered",
                             [] { return socgen::generatedSoc(8); },
                             [] { return swappedCores(socgen::generatedSoc(8)); },
                             1,
                             {"order of writes to registers both write:\n", "@@ -1,",
                              "-Cluster 0 Core 1  ETM_TRCOSLAR  -:0x81070300\n",
                              "+Cluster 0 Core 1  ETM_TRCOSLAR  -:0x81070300\n"}},
                    DiffCase{"DisableRunsOfChangedValue",
                             logger,
                             [] {
                                 return replaced(logger(), CORE0_CYCLES,
                                                 "<Name>Cycle Counting</Name><DefaultValue>false</DefaultValue>");
                             },
                             0,
                             {},
                             true}),
    [](const testing::TestParamInfo<DiffCase>& info) { return info.param.name; });

}  // namespace
