#pragma once
// Shared by the rq7 plan tests: running rq7 and the example files.
#include "tests/support/ToolRun.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace rq7plantest {

const std::string LOGGER_EXAMPLE = std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_logger.xml";
const std::string GTA_EXAMPLE = std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_gta.xml";
const std::string IMAGE = std::string(RQ7_SIM_DIR) + "/ka7710x.image";

inline rq7test::ToolResult rq7(const std::vector<std::string>& args, const std::string& dir) {
    return rq7test::runProgram(RQ7_BINARY, args, dir);
}

// `text` with its first `from` replaced by `to` (the test fails if absent).
inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

// The GTA example with a Logger target access block.
inline std::string gtaExampleAsLogger() {
    std::string text = rq7test::readFile(GTA_EXAMPLE);
    text = replaced(text, "<DefaultValue>GTA</DefaultValue>", "<DefaultValue>Logger</DefaultValue>");
    return replaced(text, "<DefaultValue>6170</DefaultValue>", "<DefaultValue>5000</DefaultValue>");
}

}  // namespace rq7plantest
