#pragma once
// The command line shared by snapshot, capture and verify:
//   FILE [-o DIR] [--image IMAGE] [--trace BUFFER]... [--dump SPEC]...
#include "rq7/Snapshot.h"

#include <string>
#include <vector>

namespace rq7 {

struct CaptureArgs {
    std::string file, out, image;
    std::vector<std::string> traces;
    std::vector<DumpRequest> dumps;
    bool help = false;
};

enum CaptureOption : unsigned { OPT_OUT = 1, OPT_IMAGE = 2, OPT_TRACE = 4, OPT_DUMP = 8, OPT_DUMP_FILE = 16 };

// Takes the options in `allowed`; false with a message naming the problem.
bool parseCaptureArgs(const std::vector<std::string>& args, unsigned allowed, CaptureArgs& out,
                      std::string& error);

// Exit statuses of these commands.
constexpr int EXIT_OK = 0, EXIT_FAILED = 1, EXIT_USAGE = 2;

}  // namespace rq7
