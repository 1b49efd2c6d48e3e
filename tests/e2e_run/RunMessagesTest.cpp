// Every early end of a run: which message, on which stream, with which status.
#include "tests/e2e_run/ConfigText.h"
#include "tests/support/ToolRun.h"

#include <gtest/gtest.h>

namespace rq7test {
namespace {

const char* const NoConfiguration = "[RQ7 Trace Configuration Client] Cannot find configuration\n";
const char* const NoProcess = "[RQ7 Trace Configuration Client] Cannot find valid process\n";

Block access(std::vector<std::string> attributes) {
    return Block{"Target Access", std::move(attributes), {}};
}
std::string method(const std::string& value) {
    return enumAttr("Target Access Method", value, "LTA,Logger,GTA");
}
const std::string address = stringAttr("ServerAddress", "127.0.0.1");

struct MessageCase {
    const char* label;
    std::string fileName;  // empty: no file is written
    std::string text;      // file content
    std::vector<std::string> args;
    int status;
    std::string out;
    std::string err;
};

void PrintTo(const MessageCase& c, std::ostream* os) {
    *os << c.label;
}

std::vector<MessageCase> messageCases() {
    return {
        {"DisableWithoutFile", "", "", {"-d"}, 1, NoConfiguration, ""},
        {"ExtensionNotXml", "board.txt", document({loggerAccess()}), {"-c", "board.txt"}, 1, NoConfiguration, ""},
        {"FileMissing",
         "",
         "",
         {"-c", "absent.xml"},
         1,
         "- HH:MM:SS.mmm [qor.ka.common] ERROR: An error occurred while reading XML (absent.xml) "
         "XML Error Code: 1\n" +
             std::string(NoConfiguration),
         ""},
        {"NoTargetAccessBlock",
         "board.xml",
         document({Block{"Other", {}, {}}}),
         {"-c", "board.xml"},
         1,
         "[RQ7 Trace Configuration Client]: Unable to get configuration block: 'Target "
         "Access'.\n",
         ""},
        {"ServerAddressMissing",
         "board.xml",
         document({access({uint32Attr("ServerPort", "5000"), method("Logger")})}),
         {"-c", "board.xml"},
         1,
         "",
         "[RQ7 CONFIG]: Could not find 'ServerAddress' config block!\n"},
        {"ServerAddressOfOtherType",
         "board.xml",
         document({access({uint32Attr("ServerAddress", "1"), uint32Attr("ServerPort", "5000"), method("Logger")})}),
         {"-c", "board.xml"},
         1,
         "",
         "[RQ7 CONFIG]: Could not find 'ServerAddress' config block!\n"},
        {"ServerPortMissing",
         "board.xml",
         document({access({address, method("Logger")})}),
         {"-c", "board.xml"},
         1,
         "",
         "[RQ7 CONFIG]: Could not find 'ServerPort' config block!\n"},
        {"ServerPortOfOtherType",
         "board.xml",
         document({access({address, stringAttr("ServerPort", "5000"), method("Logger")})}),
         {"-c", "board.xml"},
         1,
         "",
         "[RQ7 CONFIG]: Could not find 'ServerPort' config block!\n"},
        // The port is refused before the access method is looked at.
        {"ServerPortTooLarge",
         "board.xml",
         document({access({address, uint32Attr("ServerPort", "65536")})}),
         {"-c", "board.xml"},
         1,
         "",
         "[RQ7 CONFIG]: Invalid port number!\n"},
        {"MethodMissing",
         "board.xml",
         document({access({address, uint32Attr("ServerPort", "65535")})}),
         {"-c", "board.xml"},
         1,
         "[RQ7 Trace Configuration Client]: Could not find 'Target Access Method' config "
         "block!\n",
         ""},
        {"MethodOfOtherType",
         "board.xml",
         document({access({address, uint32Attr("ServerPort", "5000"), stringAttr("Target Access Method", "Logger")})}),
         {"-c", "board.xml"},
         1,
         "[RQ7 Trace Configuration Client]: Could not find 'Target Access Method' config "
         "block!\n",
         ""},
        {"MethodInLowerCase",
         "board.xml",
         document({access({address, uint32Attr("ServerPort", "5000"), method("logger")})}),
         {"-c", "board.xml"},
         1,
         "[RQ7 Trace Configuration Client] Target access type different than LTA, Logger or "
         "GTA.\n",
         ""},
        // An empty value is one empty token, not an empty list.
        {"MethodEmpty",
         "board.xml",
         document({access({address, uint32Attr("ServerPort", "5000"), method("")})}),
         {"-c", "board.xml"},
         1,
         "[RQ7 Trace Configuration Client] Target access type different than LTA, Logger or "
         "GTA.\n",
         ""},
        {"MethodLta",
         "board.xml",
         document({access({address, uint32Attr("ServerPort", "5000"), method("LTA")})}),
         {"-c", "board.xml"},
         1,
         NoProcess,
         ""},
        // Without its connection attributes the manager builds no GTA process.
        {"MethodGtaIncomplete",
         "board.xml",
         document({access({address, uint32Attr("ServerPort", "5000"), method("GTA")})}),
         {"-c", "board.xml"},
         1,
         NoProcess,
         ""},
        // Nothing to program: the run ends without a client ever connecting.
        {"LoggerWithoutModules",
         "board.xml",
         document({loggerAccess()}),
         {"-c", "board.xml"},
         0,
         "Configuration finished successfully.\n",
         ""},
        {"LoggerDisableWithoutModules",
         "board.xml",
         document({loggerAccess()}),
         {"-d", "-c", "board.xml"},
         0,
         "Trace Generators were successfully disabled.\n",
         ""},
        {"LoggerOnPortZero",
         "board.xml",
         document({loggerAccess("0")}),
         {"-c", "board.xml"},
         0,
         "Configuration finished successfully.\n",
         ""},
    };
}

class RunMessages : public ::testing::TestWithParam<MessageCase> {};

TEST_P(RunMessages, StreamsAndStatus) {
    const MessageCase& c = GetParam();
    ScratchDir dir;
    if (!c.fileName.empty()) writeFile(dir.file(c.fileName), c.text);
    ToolResult r = runTool(c.args, dir.path());
    ASSERT_FALSE(r.timedOut);
    EXPECT_EQ(r.status, c.status);
    EXPECT_EQ(maskLogTimes(r.out), c.out);
    EXPECT_EQ(r.err, c.err);
}

INSTANTIATE_TEST_SUITE_P(Run, RunMessages, ::testing::ValuesIn(messageCases()),
                         [](const ::testing::TestParamInfo<MessageCase>& info) {
                             return std::string(info.param.label);
                         });

}  // namespace
}  // namespace rq7test
