#pragma once
// Shared by the capture tests: the GTA example rewritten for a scenario, the
// trace decoder's lister, and files of bytes.
#include "tests/rq7/capture/EtmStream.h"
#include "tests/support/ToolRun.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace capturetest {

const std::string EXAMPLE = std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_gta.xml";
const std::string EXAMPLE_IMAGE = std::string(RQ7_SIM_DIR) + "/ka7710x.image";
const char* const LISTER = "/usr/bin/trc_pkt_lister";

// Where the traced code of the streams lives, and its trace.
const uint64_t CODE_ADDRESS = 0x40001000;
const uint64_t TIMESTAMP = 0x123456789;
inline EtmTrace sampleTrace() {
    return EtmTrace{CODE_ADDRESS, {true, true, false}, TIMESTAMP};
}

// Text replacements applied to the example, each expected to match once.
using Edits = std::vector<std::pair<std::string, std::string>>;

inline std::string editedExample(const Edits& edits) {
    std::string text = rq7test::readFile(EXAMPLE);
    for (const auto& e : edits) {
        const auto at = text.find(e.first);
        EXPECT_NE(at, std::string::npos) << e.first;
        if (at != std::string::npos) text.replace(at, e.first.size(), e.second);
    }
    return text;
}

inline Edits portEdit(unsigned port) {
    return {{"<DefaultValue>6170</DefaultValue>", "<DefaultValue>" + std::to_string(port) + "</DefaultValue>"}};
}

inline void writeBytes(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

inline bool haveLister() {
    return ::access(LISTER, X_OK) == 0;
}

// trc_pkt_lister's decode of a snapshot directory.
inline std::string decode(const std::string& dir, const std::string& workDir) {
    return rq7test::runProgram(LISTER, {"-ss_dir", dir, "-decode"}, workDir).out;
}

inline size_t count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

}  // namespace capturetest
