#pragma once
// Runs the built rq7.config as a child process in a scratch folder and keeps
// what it printed, with the clock of log lines masked so that runs compare.
#include <string>
#include <vector>

namespace rq7e2e {

struct ToolResult {
    int status = -1;       // exit status; -1 if the run did not end normally
    bool timedOut = false; // the run was killed after the time limit
    std::string out;       // stdout
    std::string err;       // stderr
};

// A fresh folder under the system's temporary folder, removed with the object.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return dir; }
    std::string file(const std::string& name) const { return dir + "/" + name; }

private:
    std::string dir;
};

// Runs the tool with `args`; a run longer than `limitSeconds` is killed.
ToolResult runTool(const std::vector<std::string>& args, const std::string& workDir,
                   int limitSeconds = 60);
// The same for any program.
ToolResult runProgram(const std::string& program, const std::vector<std::string>& args,
                      const std::string& workDir, int limitSeconds = 60);

// "- 14:03:22.125 [" becomes "- HH:MM:SS.mmm [" at the start of every line.
std::string maskLogTimes(const std::string& text);

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);
void copyFile(const std::string& from, const std::string& to);

}  // namespace rq7e2e
