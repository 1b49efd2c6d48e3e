#pragma once
// Captures what the process writes to file descriptor 1 (log channels keep
// their own stream on stdout's buffer, so swapping std::cout's buffer would
// not reach them).
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace rq7test {

class StdoutCapture {
public:
    StdoutCapture() {
        std::cout.flush();
        std::fflush(stdout);
        char name[] = "/tmp/rq7-capture-XXXXXX";
        fd_ = mkstemp(name);
        path_ = name;
        saved_ = dup(1);
        dup2(fd_, 1);
    }
    // Everything written since construction; ends the capture.
    std::string text() {
        restore();
        std::ifstream in(path_);
        std::stringstream all;
        all << in.rdbuf();
        return all.str();
    }
    ~StdoutCapture() {
        restore();
        unlink(path_.c_str());
    }

private:
    void restore() {
        if (saved_ < 0) return;
        std::cout.flush();
        std::fflush(stdout);
        dup2(saved_, 1);
        close(saved_);
        close(fd_);
        saved_ = -1;
    }
    int fd_ = -1;
    int saved_ = -1;
    std::string path_;
};

}  // namespace rq7test
