#pragma once
// Helpers of the benchmarks that time rq7 commands on generated SoCs.
#include "tools/socgen/SocGen.h"

#include <unistd.h>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string>

namespace rq7bench {

// CPU time of the calling thread, so that other work on a shared machine
// inflates neither side of a ratio.
inline double cpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

// Writes a generated SoC of the given cores into a new temporary folder.
inline std::string writeSocFile(unsigned cores) {
    char pattern[] = "/tmp/rq7-soc-bench-XXXXXX";
    if (!mkdtemp(pattern)) throw std::runtime_error("mkdtemp");
    const std::string path = std::string(pattern) + "/soc.xml";
    std::ofstream(path, std::ios::binary) << socgen::generatedSoc(cores);
    return path;
}

}  // namespace rq7bench
