#pragma once
// The command line shared by snapshot, capture and verify:
//   FILE [-o DIR] [--image IMAGE] [--trace BUFFER]... [--dump MEMORY]...
#include "rq7/Snapshot.h"

#include <functional>
#include <string>
#include <vector>

namespace rq7 {

struct CaptureArgs {
    std::string file, out, image;
    std::vector<std::string> traces;
    std::vector<DumpRequest> dumps;
};

enum CaptureOption : unsigned { OPT_OUT = 1, OPT_IMAGE = 2, OPT_TRACE = 4, OPT_DUMP = 8, OPT_DUMP_FILE = 16 };

// Takes the options in `allowed`; throws UsageError.
CaptureArgs parseCaptureArgs(const std::vector<std::string>& args, unsigned allowed);

// Runs a command's body. A file that cannot be loaded goes on to the
// dispatcher (status 2); any other failure, of the debug server or of
// writing, is one "rq7 NAME: message" line and status 1.
int reportingFailures(const char* name, const std::function<int()>& body);

}  // namespace rq7
