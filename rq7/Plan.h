#pragma once
// The register plan of a configuration: every access that a configure (or
// disable) run of the file would make, in order, found by running the real
// plugin and modules against an access process that records instead of
// reaching a target. The file is never written.
#include "tools/gta-sim/GtaSim.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace CONFIG_KA2 {
class TraceTargetConfigPluginKA2;
}

namespace rq7 {

struct Access {
    enum class Op { Read, Write } op;
    std::string module;  // block name of the module driving the access
    std::string reg;     // register name as the module declares it
    std::string space;   // memory space as the register carries it ("" the default)
    uint64_t address = 0;
    unsigned width = 32;  // bits
    uint64_t value = 0;   // written, or what the read returned
};

struct PlanOptions {
    bool disable = false;  // plan a disable run instead of a configure run
    // Reads answer from this memory (a copy, updated by the plan's writes), as
    // a debug server holding it would; without it, as the Logger server does.
    const gtasim::MemoryImage* image = nullptr;
};

struct Plan {
    std::vector<Access> accesses;
    bool success = false;  // the run would end with its success line
};

// The file could not be loaded as a configuration (missing, not XML, refused).
class LoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads a memory image in gta-sim's format (little-endian target); throws
// LoadError naming the file and line.
gtasim::MemoryImage loadMemoryImage(const std::string& path);

// Log lines of the run go to stderr. Throws LoadError. Never writes the file.
Plan makePlan(const std::string& configFile, const PlanOptions& options);
// The same over a plugin that has already loaded `configFile`, for callers
// that hold one (lint): the file is not loaded a second time. The run
// rebuilds the plugin's modules and turns its saving off.
Plan makePlan(CONFIG_KA2::TraceTargetConfigPluginKA2& plugin, const std::string& configFile,
              const PlanOptions& options);

}  // namespace rq7
