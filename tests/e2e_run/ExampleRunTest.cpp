// The shipped example, run as a user would: on a copy, in Logger mode.
// Its trace is compared with a reviewed record of the register accesses.
#include "tests/support/ToolRun.h"

#include <gtest/gtest.h>

namespace rq7test {
namespace {

const std::string Example = std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_logger.xml";

std::string golden(const std::string& name) {
    return readFile(std::string(RQ7_GOLDEN_DIR) + "/" + name);
}

// On a mismatch the actual text is kept in the build folder for review.
void expectGolden(const std::string& actual, const std::string& name) {
    if (actual != golden(name)) {
        const std::string kept = std::string(RQ7_ACTUAL_DIR) + "/" + name + ".actual";
        writeFile(kept, actual);
        ADD_FAILURE() << "differs from golden/" << name << "; actual text in " << kept;
    }
}

struct ExampleCase {
    const char* label;
    bool disable;
    const char* goldenOut;
    const char* goldenSaved;  // null: the file must stay as it was
};

void PrintTo(const ExampleCase& c, std::ostream* os) {
    *os << c.label;
}

class ExampleRun : public ::testing::TestWithParam<ExampleCase> {};

TEST_P(ExampleRun, MatchesRecordedTrace) {
    const ExampleCase& c = GetParam();
    ScratchDir dir;
    const std::string path = dir.file("soc.xml");
    copyFile(Example, path);
    std::vector<std::string> args{"-c", "soc.xml"};
    if (c.disable) args.insert(args.begin(), "-d");

    ToolResult r = runTool(args, dir.path());
    ASSERT_FALSE(r.timedOut);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    expectGolden(maskLogTimes(r.out), c.goldenOut);
    if (c.goldenSaved)
        expectGolden(readFile(path), c.goldenSaved);
    else
        EXPECT_EQ(readFile(path), readFile(Example));
}

INSTANTIATE_TEST_SUITE_P(
    Ka7710x, ExampleRun,
    ::testing::Values(ExampleCase{"Configure", false, "ka7710x_configure.out", "ka7710x_saved.xml"},
                      ExampleCase{"Disable", true, "ka7710x_disable.out", nullptr}),
    [](const ::testing::TestParamInfo<ExampleCase>& info) { return std::string(info.param.label); });

}  // namespace
}  // namespace rq7test

namespace rq7test {
namespace {

// The GTA variant with no debug server listening: the connection fails inside
// the process's construction, which is reported on the log and then ends the
// program abnormally; it never turns into a "Cannot find valid process" line.
TEST(ExampleGta, NoServerEndsAbnormallyAfterLogLine) {
    ScratchDir dir;
    std::string text = readFile(std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_gta.xml");
    const std::string port = "<Name>ServerPort</Name><DefaultValue>";
    const auto at = text.find(port);
    ASSERT_NE(at, std::string::npos);
    const auto end = text.find('<', at + port.size());
    text.replace(at + port.size(), end - at - port.size(), "1");  // nothing listens on port 1
    writeFile(dir.file("soc.xml"), text);

    ToolResult r = runTool({"-c", "soc.xml"}, dir.path());
    ASSERT_FALSE(r.timedOut);
    EXPECT_EQ(r.status, -1);  // killed by the runtime, no exit status
    EXPECT_EQ(maskLogTimes(r.out), "- HH:MM:SS.mmm [qor.ta.gta] ERROR: Cannot open a connection to server\n");
    EXPECT_NE(r.err.find("Cannot open a connection to server"), std::string::npos) << r.err;
    EXPECT_EQ(readFile(dir.file("soc.xml")), text);
}

}  // namespace
}  // namespace rq7test
