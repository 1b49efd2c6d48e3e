#include "app/CommandLine.h"

#include <csignal>

int main(int argc, char* argv[]) {
    // A reader that goes away (`rq7.config -c f.xml | head -1`) must not stop
    // the programming half-way: writes to it just fail.
    std::signal(SIGPIPE, SIG_IGN);
    return rq7::runCommandLine(argc, argv);
}
