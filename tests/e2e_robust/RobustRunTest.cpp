// Logger runs of the example under hostile conditions: a save that cannot
// happen is reported on stderr without changing the result line or status,
// and a reader that closes stdout early does not stop the run.
#include "tests/support/ToolRun.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

using rq7test::readFile;
using rq7test::ScratchDir;

namespace {

const std::string EXAMPLE = std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_logger.xml";
const std::string SAVED = std::string(RQ7_GOLDEN_DIR) + "/ka7710x_saved.xml";
const std::string SUCCESS = "Configuration finished successfully.\n";

struct Outcome {
    int status = -1;
    std::string firstLine;  // of stdout
    std::string lastLine;   // of stdout, when it was read to the end
    std::string err;
};

// Runs `rq7.config -c path`; `prepare` runs in the child before exec. With
// `closeEarly` the parent reads one line of stdout and closes the pipe.
Outcome runConfigure(const std::string& path, const std::function<void()>& prepare, bool closeEarly = false) {
    ScratchDir scratch;
    const std::string errPath = scratch.file("stderr");
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return Outcome();
    std::string binary = RQ7_CONFIG_BINARY, flag = "-c", file = path;
    char* argv[] = {&binary[0], &flag[0], &file[0], nullptr};
    const pid_t pid = ::fork();
    if (pid == 0) {
        const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        ::dup2(pipeFds[1], 1);
        ::dup2(err, 2);
        ::close(pipeFds[0]);
        ::close(pipeFds[1]);
        prepare();
        ::execv(binary.c_str(), argv);
        ::_exit(127);
    }
    ::close(pipeFds[1]);
    Outcome r;
    std::string out;
    char c;
    while (::read(pipeFds[0], &c, 1) == 1) {
        out += c;
        if (c == '\n' && r.firstLine.empty()) {
            r.firstLine = out;
            if (closeEarly) break;
        }
    }
    ::close(pipeFds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (WIFEXITED(status)) r.status = WEXITSTATUS(status);
    if (!closeEarly) {
        const auto start = out.rfind('\n', out.size() >= 2 ? out.size() - 2 : 0);
        r.lastLine = start == std::string::npos ? out : out.substr(start + 1);
    }
    r.err = readFile(errPath);
    return r;
}

TEST(RobustRun, FailedSaveIsReportedAndTheResultStays) {
    ScratchDir dir;
    const std::string path = dir.file("board.xml");
    rq7test::copyFile(EXAMPLE, path);
    const Outcome r = runConfigure(path, [] {
        // The file may not grow past 4 KiB: the save fails as on a full disk.
        ::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.lastLine, SUCCESS);
    EXPECT_EQ(r.err, "Cannot save configuration to " + path + ": File too large\n");
    EXPECT_EQ(readFile(path), readFile(EXAMPLE));
}

TEST(RobustRun, ReaderClosingEarlyDoesNotStopTheRun) {
    ScratchDir dir;
    const std::string path = dir.file("board.xml");
    rq7test::copyFile(EXAMPLE, path);
    const Outcome r = runConfigure(
        path, [] { ::signal(SIGPIPE, SIG_DFL); }, true);
    EXPECT_FALSE(r.firstLine.empty());
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(readFile(path) == readFile(SAVED)) << "not saved";
}

}  // namespace
