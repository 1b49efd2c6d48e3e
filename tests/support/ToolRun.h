#pragma once
// Runs the built rq7.config as a child process in a scratch folder and keeps
// what it printed, with the clock of log lines masked so that runs compare.
#include "tests/support/Files.h"

#include <string>
#include <vector>

namespace rq7test {

struct ToolResult {
    int status = -1;        // exit status; -1 if the run did not end normally
    bool timedOut = false;  // the run was killed after the time limit
    std::string out;        // stdout
    std::string err;        // stderr
};

// Runs the tool with `args`; a run longer than `limitSeconds` is killed.
ToolResult runTool(const std::vector<std::string>& args, const std::string& workDir, int limitSeconds = 60);
// The same for any program.
ToolResult runProgram(const std::string& program, const std::vector<std::string>& args, const std::string& workDir,
                      int limitSeconds = 60);

// "- 14:03:22.125 [" becomes "- HH:MM:SS.mmm [" at the start of every line.
std::string maskLogTimes(const std::string& text);

}  // namespace rq7test
