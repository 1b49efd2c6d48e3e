// rq7.config's answers to its command line: stdout, stderr and exit status
// of the built program.
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

struct Outcome {
    std::string out;
    std::string err;
    int status = -1;
};

std::string slurp(const std::string& path) {
    std::ifstream in(path);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

// Runs the tool with args, stdout and stderr each into a file of its own.
Outcome runTool(const std::vector<std::string>& args) {
    char outPath[] = "/tmp/rq7-cli-out-XXXXXX";
    char errPath[] = "/tmp/rq7-cli-err-XXXXXX";
    close(mkstemp(outPath));
    close(mkstemp(errPath));

    std::vector<std::string> argv{RQ7_CONFIG_BINARY};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (std::string& a : argv) cargv.push_back(&a[0]);
    cargv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath, O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&actions, 2, errPath, O_WRONLY | O_TRUNC, 0);
    pid_t pid = 0;
    Outcome o;
    if (posix_spawn(&pid, cargv[0], &actions, nullptr, cargv.data(), environ) == 0) {
        int wstatus = 0;
        waitpid(pid, &wstatus, 0);
        o.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
    }
    posix_spawn_file_actions_destroy(&actions);
    o.out = slurp(outPath);
    o.err = slurp(errPath);
    unlink(outPath);
    unlink(errPath);
    return o;
}

const char kHelp[] =
    "This application configures trace on Korvane2 target\n"
    "Usage: rq7.config <-h|-v|-d|-c <xml_config_file>\n"
    "Options:\n"
    "  -h [ --help ]               Displays this help message\n"
    "  -c [ --config-file ] path   Path to the xml configuration file\n"
    "  -d [ --disable ]            Disables all trace generators\n"
    "  -v [ --version ]            Shows version info\n"
    "\n";

// The version carries the build's date and time.
const char kVersionPattern[] =
    "This application configures trace on Korvane2 target\n"
    "Version: 0\\.0\\.0\\.0 \\(built on \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\)\n";

struct Case {
    const char* title;
    std::vector<std::string> args;
    std::string out;  // exact text, or a pattern when outIsPattern
    bool outIsPattern;
    std::string err;
    int status;
};

const Case kCases[] = {
    {"no arguments is help", {}, kHelp, false, "", 1},
    {"short help", {"-h"}, kHelp, false, "", 1},
    {"long help", {"--help"}, kHelp, false, "", 1},
    {"help wins over version", {"-h", "-v"}, kHelp, false, "", 1},
    {"help never opens the file", {"-h", "-c", "/nonexistent/dir/trace.xml"}, kHelp, false, "", 1},
    {"short version", {"-v"}, kVersionPattern, true, "", 0},
    {"long version", {"--version"}, kVersionPattern, true, "", 0},
    {"version wins over disable", {"-v", "-d"}, kVersionPattern, true, "", 0},
    {"version wins over a file", {"-c", "/nonexistent/dir/trace.xml", "--version"}, kVersionPattern, true, "", 0},
    {"unknown option", {"--frobnicate"}, "", false, "ERROR: unrecognised option '--frobnicate'\n\n", 1},
    {"unknown short option", {"-x"}, "", false, "ERROR: unrecognised option '-x'\n\n", 1},
    {"missing argument",
     {"-c"},
     "",
     false,
     "ERROR: the required argument for option '--config-file' is missing\n\n",
     1},
    {"repeated file",
     {"-c", "a.xml", "-c", "b.xml"},
     "",
     false,
     "ERROR: option '--config-file' cannot be specified more than once\n\n",
     1},
    {"parser errors come before version",
     {"-v", "--frobnicate"},
     "",
     false,
     "ERROR: unrecognised option '--frobnicate'\n\n",
     1},
};

class CommandLine : public ::testing::TestWithParam<Case> {};

TEST_P(CommandLine, AnswersAsRequired) {
    const Case& c = GetParam();
    Outcome o = runTool(c.args);
    if (c.outIsPattern)
        EXPECT_TRUE(std::regex_match(o.out, std::regex(c.out))) << o.out;
    else
        EXPECT_EQ(o.out, c.out);
    EXPECT_EQ(o.err, c.err);
    EXPECT_EQ(o.status, c.status);
}

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
    std::string name;
    for (const char* p = info.param.title; *p; ++p) name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Rq7Config, CommandLine, ::testing::ValuesIn(kCases), caseName);

}  // namespace
