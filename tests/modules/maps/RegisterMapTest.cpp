// Register maps and field tables: values built from fields, lookup and
// decoding by register name, and checks that hold the tables together.
#include "modules/EtmRegisters.h"
#include "modules/FunnelRegisters.h"
#include "modules/NocObserverRegisters.h"
#include "modules/NocProbeRegisters.h"
#include "modules/StmRegisters.h"
#include "modules/TimestampRegisters.h"
#include "modules/TmcRegisters.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

using namespace quorl;

namespace {

// An id of another width or unit must not index a register array.
template <typename Array, typename Id, typename = void>
struct Indexable : std::false_type {};
template <typename Array, typename Id>
struct Indexable<Array, Id, std::void_t<decltype(std::declval<Array&>()[std::declval<Id>()])>> : std::true_type {};
using Etm32 = RegisterArray<etm::Register32, uint32_t, etm::REGISTER32_COUNT>;
using Tmc = RegisterArray<tmc::RegisterId, uint32_t, tmc::REGISTER_COUNT>;
static_assert(Indexable<Etm32, etm::Register32>::value, "");
static_assert(!Indexable<Etm32, etm::Register64>::value, "a 64-bit id does not index 32-bit registers");
static_assert(!Indexable<Etm32, tmc::RegisterId>::value, "another unit's id does not index ETM registers");
static_assert(!Indexable<Tmc, unsigned>::value, "a bare number is no register id");

TEST(RegisterMapTest, ValuesBuiltFromFields) {
    struct Row {
        const char* what;
        uint64_t built;
        uint64_t expected;
    };
    const Row rows[] = {
        {"funnel control reset: ports off, hold time 3", funnel::CONTROL_ALL_PORTS_OFF, 0x300},
        {"funnel priority reset: port n at priority n", funnel::priorityNForPortN(), 0xFAC688},
        {"STM trace ID", stm::STMTCSR_TRACEID(stm::STM_TRACE_ID), 0x400000},
        {"ETM base configuration", etm::TRCCONFIGR_INSTP0(etm::INSTP0_LOAD_STORE) | etm::TRCCONFIGR_CID.mask(), 0x46},
        {"a value wider than its field is cut", tmc::DBAHI_BUFADDRHI(0xFF12), 0x12},
        {"a whole-register field", tmc::DBALO_BUFADDRLO(0xFFFFFFFF), 0xFFFFFFFF},
        {"a field read back", etm::TRCIDR4_NUMVMIDC.get(0x81230004), 8},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.built, row.expected);
    }
    // The reset values in the funnel's map are the ones built above.
    EXPECT_EQ(*funnel::registerMap[funnel::CSTFCR].resetValue, 0x300u);
    EXPECT_EQ(*funnel::registerMap[funnel::CSTFPCR].resetValue, 0xFAC688u);
}

TEST(RegisterMapTest, FieldsDecodedByRegisterName) {
    struct Row {
        const char* name;
        uint64_t value;
        const char* expected;  // nullptr: no table
    };
    const Row rows[] = {
        {"ETM_TRCCONFIGR", 0x308D6, "INSTP0=0x3 BB=0 CCI=1 CID=1 VMID=1 COND=0x0 TS=1 RS=0 QE=0x0 VMIDOPT=0 DA=1 DV=1"},
        {"ETM_TRCPRGCTLR", 1, "EN=1"},
        {"ETM_TRCTSCTLR", 1, "EVENT=0x1"},
        {"STMTCSR", 0x40000F, "EN=1 TSEN=1 SYNCEN=1 HWTEN=1 SWOEN=0 COMPEN=0 TRACEID=0x40 BUSY=0"},
        {"CSTFCR", 0x305, "ENS0=1 ENS1=0 ENS2=1 ENS3=0 ENS4=0 ENS5=0 ENS6=0 ENS7=0 HT=0x3"},
        {"CSTFPCR", 0x101,
         "PRIPORT0=0x1 PRIPORT1=0x0 PRIPORT2=0x4 PRIPORT3=0x0 PRIPORT4=0x0 PRIPORT5=0x0 PRIPORT6=0x0 PRIPORT7=0x0"},
        {"CTL", 1, "TraceCaptEn=1"},
        {"MODE", 2, "MODE=0x2"},
        {"FFCR", 0x5003,
         "EnFt=1 EnTI=1 FOnFlIn=0 FOnTrigEvt=0 FlushMan=0 TrigOnTrigIn=0 TrigOnTrigEvt=0 TrigOnFl=0 StopOnFl=1 "
         "StopOnTrigEvt=0 DrainBuffer=1"},
        {"STS", 0x25, "Full=1 Triggered=0 TMCReady=1 FtEmpty=0 Empty=0 MemErr=1"},
        {"FFSR", 2, "FlInProg=0 FtStopped=1"},
        {"ARM_TSMP_CNTCR", 3, "EN=1 HDBG=1 FCREQ=0x0"},
        {"NOC_PROBE_MAINCTL", 0x4E, "TRACE_EN=1 PAYLOAD_EN=1 STATISTICS_EN=1 INTRUSIVE_MODE=1"},
        {"ETM_TRCIDR10", 7, "NUMP1KEY=0x7"},  // digits that belong to the name
        {"ETM_TRCACATR3", 0xFF04, "TYPE=0x0 CONTEXTTYPE=0x1 CONTEXT=0x0 EXLEVEL_S=0xf EXLEVEL_NS=0xf"},
        {"ETM_TRCCIDCCTLR1", 0x0100, "COMP0=0x0 COMP1=0x1 COMP2=0x0 COMP3=0x0"},
        {"ETM_TRCIDR6", 0, nullptr},  // no "ETM_TRCIDR" array to fall back on
        {"ETM_TRCACVR0", 0, nullptr},
        {"Not initialized", 0, nullptr},
        {"", 0, nullptr},
        {"42", 0, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const RegisterFields* fields = findRegisterFields(row.name);
        if (!row.expected) {
            EXPECT_EQ(fields, nullptr);
            continue;
        }
        ASSERT_NE(fields, nullptr);
        EXPECT_EQ(formatFields(*fields, row.value), row.expected);
        const auto pairs = decodeFields(*fields, row.value);
        ASSERT_EQ(pairs.size(), fields->count);
        EXPECT_EQ(pairs.front().first, fields->fields[0].name);
    }
}

// Every name a register map gives, with its width; arrays under their prefix.
std::map<std::string, unsigned> mappedRegisters() {
    std::map<std::string, unsigned> names;
    auto add = [&](const auto& map) {
        for (const auto& row : map) names[row.name] = row.width;
    };
    add(etm::registerMap32);
    add(etm::registerMap64);
    add(etm::idRegisterMap);
    for (const etm::ArrayDef& array : {etm::TRCRSCTLR, etm::TRCVMIDCVR, etm::TRCACVR, etm::TRCACATR})
        names[array.prefix] = array.width;
    names["ETM_TRCCIDCCTLR"] = 32;
    names["ETM_TRCVMIDCCTLR"] = 32;
    add(stm::registerMap);
    add(funnel::registerMap);
    add(tmc::registerMap);
    add(counter::registerMap);
    add(nocprobe::registerMap);
    add(nocobserver::atbSideMap);
    add(nocobserver::stpSideMap);
    return names;
}

TEST(RegisterMapTest, FieldTablesFitTheirRegisters) {
    const auto registers = mappedRegisters();
    std::map<std::string, const RegisterFields*> seen;
    for (const RegisterFields* table : allRegisterFields()) {
        SCOPED_TRACE(table->registerName);
        auto it = registers.find(table->registerName);
        ASSERT_NE(it, registers.end()) << "field table for a register no map has";
        // A name in two units must mean the same fields (the lock access register).
        auto [previous, fresh] = seen.emplace(table->registerName, table);
        if (!fresh) {
            EXPECT_EQ(previous->second->fields, table->fields);
        }
        uint64_t used = 0;
        for (const Field& field : *table) {
            SCOPED_TRACE(field.name);
            EXPECT_GT(field.width, 0u);
            EXPECT_LE(field.lsb + field.width, it->second);
            EXPECT_EQ(used & field.mask(), 0u) << "overlaps another field";
            used |= field.mask();
        }
    }
}

TEST(RegisterMapTest, OffsetsAreDistinctWithinAMap) {
    auto check = [](const char* unit, const auto& map) {
        SCOPED_TRACE(unit);
        std::set<uint64_t> offsets;
        for (const auto& row : map) EXPECT_TRUE(offsets.insert(row.offset).second) << row.name;
    };
    check("ETM programming", etm::registerMap32);
    check("ETM ID", etm::idRegisterMap);
    check("STM", stm::registerMap);
    check("funnel", funnel::registerMap);
    check("TMC", tmc::registerMap);
    check("counter", counter::registerMap);
    check("NoC probe", nocprobe::registerMap);
    check("NoC observer ATB side", nocobserver::atbSideMap);
    check("NoC observer STP side", nocobserver::stpSideMap);
    // The ID registers the programming reads sit where the ID table has them.
    EXPECT_EQ(etm::registerMap32[etm::TRCIDR2].offset, etm::idRegisterMap[etm::ID_TRCIDR2].offset);
    EXPECT_EQ(etm::registerMap32[etm::TRCIDR4].offset, etm::idRegisterMap[etm::ID_TRCIDR4].offset);
}

}  // namespace
