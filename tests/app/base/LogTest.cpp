#include "app/base/Exception.h"
#include "app/base/Log.h"

#include <gtest/gtest.h>

#include <iostream>
#include <regex>
#include <sstream>

namespace {

// Captures what a channel writes to stdout.
struct CoutCapture {
    std::stringstream buf;
    std::streambuf* old;
    CoutCapture() : old(std::cout.rdbuf(buf.rdbuf())) {}
    ~CoutCapture() { std::cout.rdbuf(old); }
};

TEST(Log, LinesAboveTheChannelLevelAreDropped) {
    CoutCapture cap;
    quorl::Log log("test.channel");
    for (int level : {quorl::LOG_WARNING, quorl::LOG_INFO, quorl::LOG_DEBUG, quorl::LOG_TRACE})
        log.write("hidden", level);
    EXPECT_EQ(cap.buf.str(), "");
}

TEST(Log, LineFormat) {
    CoutCapture cap;
    quorl::Log log("quorl.test");
    log.write("first line", quorl::LOG_ERROR);
    log.write("second", quorl::LOG_ERROR);
    std::string out = cap.buf.str();
    std::regex line(R"(- \d\d:\d\d:\d\d\.\d{3} \[quorl\.test\] ERROR: first line\n)"
                    R"(- \d\d:\d\d:\d\d\.\d{3} \[quorl\.test\] ERROR: second\n)");
    EXPECT_TRUE(std::regex_match(out, line)) << out;
}

TEST(Exception, CarriesTypeFileLineAndMessage) {
    struct Case {
        quorl::Exception e;
        const char* file;
        uint32_t line;
        const char* message;
    };
    const Case cases[] = {
        {quorl::Exception("taprocesslta", 72, "Cannot write address 10"), "taprocesslta", 72,
         "Cannot write address 10"},
        {quorl::Exception(nullptr, 1, ""), "", 1, ""},
        {quorl::Exception(137, "Register not initialized"), "register", 137, "Register not initialized"},
        {quorl::Exception(5, nullptr), "register", 5, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        const quorl::Exception copy = c.e;  // thrown by value: copies keep everything
        EXPECT_EQ(copy.getType(), "Exception");
        EXPECT_EQ(copy.getFile(), c.file);
        EXPECT_EQ(copy.getLine(), c.line);
        EXPECT_EQ(copy.getMessage(), c.message);
    }
}

}  // namespace
