#include "target.access/ExtAddress.h"

#include <gtest/gtest.h>

namespace {

using quorl::ExtAddress;

TEST(ExtAddress, ValidMemorySpace) {
    struct Case {
        std::vector<std::string> ids;
        const char* text;
        const char* result;
        const char* logged;  // text of the ERROR line, or "" for none
    };
    const Case cases[] = {
        {{"logger"}, "xyz", "", ""},
        {{"logger"}, "logger", "logger", ""},
        {{"AXI", "APB"}, "APB", "APB", ""},
        {{"AXI", "APB"}, "apb", "", "Invalid memory space string: \"apb\". Returning empty string."},
        {{"APB"}, "", "", "Invalid memory space string: \"\". Returning empty string."},
        {{"Logger"}, "xyz", "", "Invalid memory space string: \"xyz\". Returning empty string."},
        {{"logger", "APB"}, "xyz", "", "Invalid memory space string: \"xyz\". Returning empty string."},
        {{}, "APB", "", "ExtAddress::memorySpaceIds is empty, check device xml files in GTA."},
    };
    const std::vector<std::string> saved = ExtAddress::memorySpaceIds;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " among " + std::to_string(c.ids.size()));
        ExtAddress::memorySpaceIds = c.ids;
        testing::internal::CaptureStdout();
        EXPECT_EQ(ExtAddress::validMemorySpace(c.text), c.result);
        const std::string out = testing::internal::GetCapturedStdout();
        if (*c.logged) {
            const std::string tail = std::string("[qor.ka.common.ExtAddress] ERROR: ") + c.logged + "\n";
            ASSERT_GE(out.size(), tail.size()) << out;
            EXPECT_EQ(out.substr(out.size() - tail.size()), tail);
            EXPECT_EQ(out.find('\n'), out.size() - 1);  // one line
        } else {
            EXPECT_EQ(out, "");
        }
    }
    ExtAddress::memorySpaceIds = saved;
}

}  // namespace
