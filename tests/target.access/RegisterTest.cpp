#include "target.access/quorl/register.h"

#include "app/base/Exception.h"
#include "tests/support/RecordingTaProcess.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <functional>

namespace {

using quorl::Exception;
using quorl::Register;
using quorl::RegisterManager;
using rq7test::Access;
using rq7test::AccessKind;
using rq7test::Failure;
using rq7test::RecordingTaProcess;
using rq7test::thrownBy;

using Fake = boost::shared_ptr<RecordingTaProcess>;

TEST(Register, AccessesReachTheProcessWithAddressSpaceAndWidth) {
    auto fake = boost::make_shared<RecordingTaProcess>();
    Register<unsigned int> r32(0x80001000, "APB", "ETM_TRCPRGCTLR");
    Register<uint64_t> r64(0x80001400, "", "ETM_TRCACVR0");
    fake->setReadValue(0x80001000, 0x1122334455667788ull);
    fake->setReadValue(0x80001400, 0x1122334455667788ull);

    r32.write(fake, 0xCAFEF00D);
    r64.write(fake, 0x0123456789ABCDEFull);
    EXPECT_EQ(r32.read(fake), 0x55667788u);  // only sizeof(T) bytes come back
    EXPECT_EQ(r64.read(fake), 0x1122334455667788ull);

    EXPECT_EQ(fake->accesses, (std::vector<Access>{
                                  Access::write(0x80001000, 0xCAFEF00D, 4, "APB"),
                                  Access::write(0x80001400, 0x0123456789ABCDEFull, 8),
                                  Access::read(0x80001000, 0x1122334455667788ull, 4, "APB"),
                                  Access::read(0x80001400, 0x1122334455667788ull, 8),
                              }));
}

// Every failure of the process reaches the caller as one text naming the
// register; the inner cause is dropped.
TEST(Register, FailuresAreRewrappedWithTheRegisterName) {
    for (bool write : {true, false})
        for (Failure how : {Failure::ReturnFalse, Failure::ThrowException, Failure::ThrowRuntimeError}) {
            SCOPED_TRACE(std::to_string(write) + " / " + std::to_string(int(how)));
            auto fake = boost::make_shared<RecordingTaProcess>();
            fake->failAtIndex(0, how);
            Register<unsigned int> reg(0x20, "", "TMC_CTL");
            Exception e = thrownBy([&] { write ? reg.write(fake, 1) : void(reg.read(fake)); });
            EXPECT_EQ(e.getMessage(), write ? "Error while writing TMC_CTL" : "Error while reading TMC_CTL");
            EXPECT_EQ(e.getFile(), "register");
            EXPECT_EQ(e.getLine(), write ? 161u : 118u);
            EXPECT_EQ(fake->accesses.size(), 1u);
        }
}

TEST(Register, UninitializedRegisterNeverReachesTheProcess) {
    auto fake = boost::make_shared<RecordingTaProcess>();
    Register<uint64_t> reg;
    EXPECT_EQ(reg.getName(), "Not initialized");
    Exception w = thrownBy([&] { reg.write(fake, 5); });
    Exception r = thrownBy([&] { reg.read(fake); });
    EXPECT_EQ(w.getMessage(), "Register not initialized");
    EXPECT_EQ(w.getLine(), 137u);
    EXPECT_EQ(r.getMessage(), "Register not initialized");
    EXPECT_EQ(r.getLine(), 104u);
    EXPECT_TRUE(fake->accesses.empty());

    // Assigning a real register over the placeholder makes it usable.
    reg = Register<uint64_t>(0x40, "", "STM_SPER", 0);
    reg.write(fake, 5);
    EXPECT_EQ(fake->accesses, (std::vector<Access>{Access::write(0x40, 5, 8)}));
}

TEST(Register, ResetWritesOnlyWhenThereIsAResetValue) {
    auto fake = boost::make_shared<RecordingTaProcess>();
    Register<unsigned int> without(0x10, "", "A");
    Register<unsigned int> with(0x14, "", "B", 0xFFFF0000u);
    Register<unsigned int> zero(0x18, "", "C", 0);
    without.reset(fake);
    with.reset(fake);
    zero.reset(fake);
    EXPECT_EQ(fake->accesses, (std::vector<Access>{Access::write(0x14, 0xFFFF0000u), Access::write(0x18, 0)}));
}

template <typename T>
void expectLayout(const RegisterManager<T>& m, uint64_t base, size_t count, const std::string& prefix) {
    ASSERT_EQ(m.registers.size(), count);
    ASSERT_EQ(m.used.size(), count);
    for (size_t i = 0; i < count; ++i) {
        const Register<T>& r = *m.registers[i];
        EXPECT_EQ(r.getName(), prefix + std::to_string(i));
        EXPECT_EQ(r.getAddress().address, base + i * sizeof(T));
        EXPECT_EQ(r.getAddress().memorySpace, m.memorySpace);
        EXPECT_TRUE(r.getHasResetValue());
        EXPECT_EQ(r.getResetValue(), T(0));
    }
}

TEST(RegisterManager, BuildsConsecutiveNamedRegisters) {
    RegisterManager<uint64_t> acvr(0x1000, "", 16, "ETM_TRCACVR");
    expectLayout(acvr, 0x1000, 16, "ETM_TRCACVR");

    RegisterManager<unsigned int> ssc(0x2000, "APB", 3, "ETM_TRCSSCCR");
    expectLayout(ssc, 0x2000, 3, "ETM_TRCSSCCR");

    // Resetting each member writes 0 at its own address.
    auto fake = boost::make_shared<RecordingTaProcess>();
    for (auto& r : ssc.registers) r->reset(fake);
    EXPECT_EQ(fake->accesses,
              (std::vector<Access>{Access::write(0x2000, 0, 4, "APB"), Access::write(0x2004, 0, 4, "APB"),
                                   Access::write(0x2008, 0, 4, "APB")}));
}

// Shrinking keeps the in-use marks of the registers that remain; growing is refused.
TEST(RegisterManager, CanOnlyShrink) {
    for (unsigned request : {17u, 4u, 0u}) {
        SCOPED_TRACE(request);
        RegisterManager<uint64_t> m(0x3000, "", 16, "R");
        m.used[1] = m.used[15] = true;
        m.setNumberOfResources(request);
        const size_t kept = std::min(request, 16u);
        expectLayout(m, 0x3000, kept, "R");
        for (size_t i : {1, 15}) {
            if (i < kept) {
                EXPECT_TRUE(m.used[i]) << i;
            }
        }
    }
}

TEST(ResourceManager, FirstFreeScan) {
    quorl::ResourceManager rm(4);
    EXPECT_EQ(rm.firstFree(), 0);
    rm.used[0] = rm.used[1] = true;
    EXPECT_EQ(rm.firstFree(), 2);
    rm.used[2] = rm.used[3] = true;
    EXPECT_EQ(rm.firstFree(), -1);
    rm.setNumberOfResources(6);  // new resources come free
    EXPECT_EQ(rm.firstFree(), 4);
    quorl::ResourceManager none(0);
    EXPECT_EQ(none.firstFree(), -1);
}

}  // namespace
