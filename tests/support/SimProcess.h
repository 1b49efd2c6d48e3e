#pragma once
// Runs the gta-sim program as a child process on a port of its own choosing
// and stops it again.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

namespace rq7test {

class SimProcess {
public:
    // Starts `program` with `args` and "--port 0"; port() is what it printed.
    SimProcess(const std::string& program, std::vector<std::string> args) {
        int out[2];
        if (::pipe(out) != 0) return;
        args.insert(args.begin(), {program, "--port", "0"});
        pid = ::fork();
        if (pid == 0) {
            ::dup2(out[1], 1);
            ::close(out[0]);
            ::close(out[1]);
            std::vector<char*> argv;
            for (auto& a : args) argv.push_back(&a[0]);
            argv.push_back(nullptr);
            ::execv(program.c_str(), argv.data());
            std::_Exit(127);
        }
        ::close(out[1]);
        stdoutFile = ::fdopen(out[0], "r");
        char line[256] = {};
        if (stdoutFile && std::fgets(line, sizeof line, stdoutFile)) {
            firstLine = line;
            unsigned p = 0;
            if (std::sscanf(line, "gta-sim listening on %*[^:]:%u", &p) == 1) listenPort = p;
        }
    }
    ~SimProcess() { stop(); }

    unsigned port() const { return listenPort; }
    // Ends the simulator with SIGTERM; its exit status, or -1.
    int stop() {
        if (pid > 0) ::kill(pid, SIGTERM);
        return wait();
    }
    // Waits for a simulator that ends by itself (a bad command line).
    int wait() {
        if (pid <= 0) return exitStatus;
        int status = 0;
        ::waitpid(pid, &status, 0);
        pid = -1;
        if (stdoutFile) std::fclose(stdoutFile);
        stdoutFile = nullptr;
        return exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string firstLine;

private:
    pid_t pid = -1;
    FILE* stdoutFile = nullptr;
    unsigned listenPort = 0;
    int exitStatus = -1;
};

}  // namespace rq7test
