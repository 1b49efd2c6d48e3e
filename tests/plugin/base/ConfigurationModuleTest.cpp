// Life cycle of modules linked by dependencies: use counts, the order in which
// modules are switched on and off, failures, the cycle guard, and the
// "Enable Trace" attribute written back into the block.
#include "plugin/base/ConfigurationModule.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <map>

#include "app/base/Exception.h"
#include "tests/support/ModuleTestSupport.h"

namespace {

std::vector<std::string> journal;  // "enable X" / "disable X" in call order

class FakeModule : public quorl::ConfigurationModule {
public:
    FakeModule(const std::string& name, boost::shared_ptr<quorl::ConfigBlock> block)
        : ConfigurationModule(name, block) {}

    uint32_t getModuleType() const override { return FunnelOrObserver; }
    bool configure(boost::shared_ptr<quorl::TaProcess>) override { return true; }
    bool reset(boost::shared_ptr<quorl::TaProcess>) override { return true; }
    bool enable(boost::shared_ptr<quorl::TaProcess>) override { return run("enable"); }
    bool disable(boost::shared_ptr<quorl::TaProcess>) override { return run("disable"); }

    void preset(bool on, uint32_t users) { enabled = on, useCount = users; }
    void unlink() { dependencies.clear(); }  // cyclic test graphs would keep each other alive

    std::map<std::string, char> failure;  // operation -> 'f' returns false, 't' throws

private:
    bool run(const std::string& operation) {
        journal.push_back(operation + " " + name);
        auto f = failure.find(operation);
        if (f == failure.end()) return true;
        if (f->second == 't') throw quorl::Exception("fake", 1, "boom on " + operation);
        return false;
    }
};

struct State {
    char module;
    bool enabled;
    uint32_t useCount;
};

struct Op {
    char kind;  // 'E' enableModule, 'D' disableModule(false), 'F' disableModule(true)
    char module;
    bool result;
};

struct Fail {
    char module;
    const char* operation;  // "enable" or "disable"
    char how;               // 'f' returns false, 't' throws
};

struct Case {
    const char* name;
    std::string modules;             // one letter each
    std::vector<std::string> edges;  // "XY": X depends on Y, in this order
    std::vector<State> preset;
    std::vector<Fail> failures;
    std::vector<Op> ops;
    std::vector<std::string> journal;
    std::vector<State> after;
    std::string traced;  // modules whose "Enable Trace" ends true
    std::string log;     // ERROR text expected on the module channel, empty for silence
};

const std::vector<Case> cases = {
    {"SharedDependencyEnabledOnceReleasedByLastUser",
     "ABF",
     {"AF", "BF"},
     {},
     {},
     {{'E', 'A', true}, {'E', 'B', true}, {'D', 'A', true}, {'D', 'B', true}},
     {"enable F", "enable A", "enable B", "disable A", "disable B", "disable F"},
     {{'F', false, 0}, {'A', false, 0}, {'B', false, 0}},
     "",
     ""},
    {"ChainEnablesDeepestFirst",
     "AFS",
     {"AF", "FS"},
     {},
     {},
     {{'E', 'A', true}},
     {"enable S", "enable F", "enable A"},
     {{'A', true, 0}, {'F', true, 1}, {'S', true, 1}},
     "AFS",
     ""},
    {"DependenciesInOrderOfAdding",
     "ABC",
     {"AC", "AB"},
     {},
     {},
     {{'E', 'A', true}},
     {"enable C", "enable B", "enable A"},
     {{'B', true, 1}, {'C', true, 1}},
     "ABC",
     ""},
    {"EnabledDependencyCountedNotTouched",
     "AF",
     {"AF"},
     {{'F', true, 0}},
     {},
     {{'E', 'A', true}},
     {"enable A"},
     {{'F', true, 1}},
     "A",
     ""},
    {"FreshDisableLeavesDependency",
     "AF",
     {"AF"},
     {},
     {},
     {{'D', 'A', true}},
     {"disable A"},
     {{'F', false, 0}},
     "",
     ""},
    {"ForcedDisableReachesOneLevel",
     "AFS",
     {"AF", "FS"},
     {},
     {},
     {{'F', 'A', true}},
     {"disable A", "disable F"},
     {{'S', false, 0}},
     "",
     ""},
    {"ForcedDisableFollowsEnabledSecondLevel",
     "AFS",
     {"AF", "FS"},
     {{'S', true, 1}},
     {},
     {{'F', 'A', true}},
     {"disable A", "disable F", "disable S"},
     {{'S', false, 0}},
     "",
     ""},
    {"DisableWithOtherUserKeepsDependency",
     "AF",
     {"AF"},
     {{'F', true, 2}},
     {},
     {{'D', 'A', true}},
     {"disable A"},
     {{'F', true, 1}},
     "",
     ""},
    // Failures
    {"DependencyRefusesEnable",
     "AF",
     {"AF"},
     {},
     {{'F', "enable", 'f'}},
     {{'E', 'A', false}},
     {"enable F"},
     {{'A', false, 0}, {'F', true, 1}},
     "",
     ""},
    {"DependencyThrowsOnEnable",
     "AF",
     {"AF"},
     {},
     {{'F', "enable", 't'}},
     {{'E', 'A', false}},
     {"enable F"},
     {{'A', false, 0}, {'F', true, 1}},
     "",
     "Cannot enable module: boom on enable"},
    {"OwnEnableThrowsLeavesEnabledSet",
     "AF",
     {"AF"},
     {},
     {{'A', "enable", 't'}},
     {{'E', 'A', false}},
     {"enable F", "enable A"},
     {{'A', true, 0}, {'F', true, 1}},
     "F",
     "Cannot enable module: boom on enable"},
    {"OwnEnableRefusesSilently",
     "A",
     {},
     {},
     {{'A', "enable", 'f'}},
     {{'E', 'A', false}},
     {"enable A"},
     {{'A', true, 0}},
     "",
     ""},
    {"OwnDisableThrowsKeepsDependencies",
     "AF",
     {"AF"},
     {{'A', true, 0}, {'F', true, 1}},
     {{'A', "disable", 't'}},
     {{'D', 'A', false}},
     {"disable A"},
     {{'A', false, 0}, {'F', true, 1}},
     "",
     "Cannot disable module: boom on disable"},
    {"OwnDisableRefusesKeepsDependencies",
     "AF",
     {"AF"},
     {{'A', true, 0}, {'F', true, 1}},
     {{'A', "disable", 'f'}},
     {{'D', 'A', false}},
     {"disable A"},
     {{'A', false, 0}, {'F', true, 1}},
     "",
     ""},
    {"DependencyFailureOnDisableIgnored",
     "AF",
     {"AF"},
     {{'A', true, 0}, {'F', true, 1}},
     {{'F', "disable", 't'}},
     {{'D', 'A', true}},
     {"disable A", "disable F"},
     {{'A', false, 0}, {'F', false, 0}},
     "",
     "Cannot disable module: boom on disable"},
    // Cycles end with an error line instead of recursing.
    {"SelfDependency",
     "A",
     {"AA"},
     {},
     {},
     {{'E', 'A', false}},
     {},
     {{'A', false, 1}},
     "",
     "Dependency cycle detected at module A, module not enabled."},
    {"TwoModuleCycle",
     "AB",
     {"AB", "BA"},
     {},
     {},
     {{'E', 'A', false}},
     {},
     {{'A', false, 1}, {'B', false, 1}},
     "",
     "Dependency cycle detected at module A, module not enabled."},
    {"CycleBelowTheEntry",
     "XABC",
     {"XA", "AB", "BC", "CA"},
     {},
     {},
     {{'E', 'X', false}},
     {},
     {{'X', false, 0}},
     "",
     "Dependency cycle detected at module A, module not enabled."},
    {"ForcedDisableOfSelfDependencyRunsOnce",
     "A",
     {"AA"},
     {{'A', true, 0}},
     {},
     {{'F', 'A', true}},
     {"disable A"},
     {{'A', false, 0}},
     "",
     "Dependency cycle detected at module A, module not disabled."},
};

class LifeCycle : public ::testing::TestWithParam<Case> {};

TEST_P(LifeCycle, JournalStateAndBlocks) {
    const Case& c = GetParam();
    journal.clear();
    std::map<char, boost::shared_ptr<FakeModule>> m;
    std::map<char, boost::shared_ptr<quorl::ConfigBlock>> blocks;
    for (char x : c.modules) {
        blocks[x] = rq7test::BlockSpec(std::string(1, x)).boolean("Enable Trace", false).build();
        m[x] = boost::make_shared<FakeModule>(std::string(1, x), blocks[x]);
    }
    for (const std::string& e : c.edges) m.at(e[0])->addDependency(m.at(e[1]));
    for (const State& s : c.preset) m.at(s.module)->preset(s.enabled, s.useCount);
    for (const Fail& f : c.failures) m.at(f.module)->failure[f.operation] = f.how;
    auto process = boost::make_shared<rq7test::RecordingTaProcess>();

    testing::internal::CaptureStdout();
    for (const Op& op : c.ops)
        EXPECT_EQ(op.kind == 'E' ? m.at(op.module)->enableModule(process)
                                 : m.at(op.module)->disableModule(process, op.kind == 'F'),
                  op.result)
            << op.kind << op.module;
    const std::string log = testing::internal::GetCapturedStdout();

    EXPECT_EQ(journal, c.journal);
    for (const State& s : c.after) {
        EXPECT_EQ(m.at(s.module)->isEnabled(), s.enabled) << s.module;
        EXPECT_EQ(m.at(s.module)->getUseCount(), s.useCount) << s.module;
    }
    std::string traced;
    for (auto& b : blocks)
        if (rq7test::boolAttribute(b.second, "Enable Trace")) traced += b.first;
    EXPECT_EQ(traced, c.traced);
    EXPECT_EQ(rq7test::logLines(log),
              c.log.empty() ? "" : "[quorl.ka.rq.config.ConfigurationModule] ERROR: " + c.log + "\n");
    EXPECT_TRUE(process->accesses.empty());
    for (auto& x : m) x.second->unlink();
}

INSTANTIATE_TEST_SUITE_P(ConfigurationModule, LifeCycle, ::testing::ValuesIn(cases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ConfigurationModule, EnableTraceOfAnotherTypeOrNoBlockIsLeftAlone) {
    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    auto block = rq7test::BlockSpec("Core 1").string("Enable Trace", "false").build();
    FakeModule withStringAttribute("Core 1", block);
    FakeModule withoutBlock("Core 2", {});
    EXPECT_TRUE(withStringAttribute.enableModule(process));
    EXPECT_TRUE(withoutBlock.enableModule(process));
    auto text = quorl::getTypedAttribute<quorl::StringAttribute>(*block, "Enable Trace");
    EXPECT_EQ(text->getValue(), "false");
}

TEST(ConfigurationModule, IndexIsTheNumberOfTheLastWord) {
    const struct {
        const char* name;
        bool ok;
        uint32_t index;
    } cases[] = {
        {"GPP Cluster Funnel 1 Port 3", true, 3},
        {"SoC Funnel Port 7 ", true, 7},
        {"Port 12abc", true, 12},
        {"Port\t5", true, 5},
        {"Port 3 x", false, 0},
        {"Port", false, 0},
        {"", false, 0},
    };
    for (const auto& c : cases) {
        FakeModule module(c.name, {});
        uint32_t index = 99;
        EXPECT_EQ(module.getModuleIndexFromName(index), c.ok) << '"' << c.name << '"';
        if (c.ok) {
            EXPECT_EQ(index, c.index) << c.name;
        }
    }
}

}  // namespace
