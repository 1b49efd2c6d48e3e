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
    try {
        RQ7_THROW("boom");
    } catch (const quorl::Exception& e) {
        EXPECT_EQ(e.getType(), "Exception");
        EXPECT_NE(e.getFile().find("LogTest.cpp"), std::string::npos);
        EXPECT_EQ(e.getMessage(), "boom");
    }
    quorl::Exception r(42, "reg");
    EXPECT_EQ(r.getFile(), "register");
    EXPECT_EQ(r.getLine(), 42u);
}

}  // namespace
