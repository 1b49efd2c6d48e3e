// The Logger road on its real port: what a run does, in the run's order.
#include "target.access/TaProcessLTA.h"
#include "target.access/quorl/register.h"
#include "target.access/server/DummyServer.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

namespace {

// A run with a register write, then one without any access: each ends, and
// the port is free again after teardown.
TEST(LoggerPort, RunsEndAndReleaseThePort) {
    for (bool access : {true, false}) {
        SCOPED_TRACE(access);
        quorl::resetAgentConnection();
        quorl::DummyServer server;
        ASSERT_EQ(server.getPort(), 5000);
        boost::shared_ptr<quorl::TaProcess> process = boost::make_shared<quorl::TaProcessLTA>("127.0.0.1", 5000);
        ASSERT_TRUE(server.run());
        quorl::Register<unsigned int> reg(0x80010FB0, "", "ETM_TRCLAR", 0xC5ACCE55);
        testing::internal::CaptureStdout();
        if (access) reg.reset(process);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  access ? "write_mem 0x80010fb0 data=0xc5acce55 length=0x4\n" : "");
        server.stop();
        quorl::closeAgentSocket();
        server.join();
    }
}

}  // namespace
