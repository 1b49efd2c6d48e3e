#include "tests/support/ToolRun.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace rq7test {

ToolResult runTool(const std::vector<std::string>& args, const std::string& workDir, int limitSeconds) {
    return runProgram(RQ7_CONFIG_BINARY, args, workDir, limitSeconds);
}

ToolResult runProgram(const std::string& program, const std::vector<std::string>& args, const std::string& workDir,
                      int limitSeconds) {
    const std::string outPath = workDir + "/.stdout";
    const std::string errPath = workDir + "/.stderr";
    ToolResult result;

    // Everything the child needs is prepared before the fork.
    std::string binary = program;
    std::vector<std::string> copies(args);
    std::vector<char*> argv;
    argv.push_back(&binary[0]);
    for (std::string& a : copies) argv.push_back(&a[0]);
    argv.push_back(nullptr);

    pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork failed");
    if (child == 0) {
        int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out < 0 || err < 0 || chdir(workDir.c_str()) != 0) _exit(127);
        dup2(out, 1);
        dup2(err, 2);
        execv(binary.c_str(), argv.data());
        _exit(127);
    }

    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(limitSeconds);
    for (;;) {
        pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child) break;
        if (std::chrono::steady_clock::now() > deadline) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            result.timedOut = true;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (!result.timedOut && WIFEXITED(status)) result.status = WEXITSTATUS(status);
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    unlink(outPath.c_str());
    unlink(errPath.c_str());
    return result;
}

std::string maskLogTimes(const std::string& text) {
    static const std::regex clock("(^|\n)- ([0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}|Error in NowTime\\(\\)) \\[");
    return std::regex_replace(text, clock, "$1- HH:MM:SS.mmm [");
}

}  // namespace rq7test
