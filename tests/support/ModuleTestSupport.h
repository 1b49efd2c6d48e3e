#pragma once
// Shared pieces of the trace module tests: configuration blocks built in code,
// log output without its time of day, and table runners for what a module
// does against the recording access process.
#include "common/src/AttributeXml.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlockXml.h"
#include "plugin/base/ConfigurationModule.h"
#include "target.access/ExtAddress.h"
#include "tests/support/RecordingTaProcess.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <regex>
#include <string>
#include <vector>

namespace rq7test {

// A list of typed attributes that a test changes (replace, drop, give another
// type) before building the block. Attributes keep their first place.
class BlockSpec {
public:
    explicit BlockSpec(std::string name) : name(std::move(name)) {}

    BlockSpec& boolean(const std::string& n, bool v) {
        return set(n, [n, v] { return quorl::makeBoolAttribute(n, v); });
    }
    BlockSpec& string(const std::string& n, const std::string& v) {
        return set(n, [n, v] { return quorl::makeStringAttribute(n, v); });
    }
    BlockSpec& uint32(const std::string& n, uint32_t v) {
        return set(n, [n, v] { return quorl::makeUInt32Attribute(n, v); });
    }
    BlockSpec& addr64(const std::string& n, uint64_t v) {
        return set(n, [n, v] { return quorl::makeAddr64Attribute(n, v); });
    }
    BlockSpec& enumeration(const std::string& n, const std::vector<std::string>& values) {
        return set(n, [n, values] {
            auto a = quorl::makeEnumAttribute(n, "");
            a->setValues(values);
            return a;
        });
    }
    BlockSpec& without(const std::string& n) {
        entries.erase(std::remove_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.name == n; }),
                      entries.end());
        return *this;
    }

    boost::shared_ptr<quorl::ConfigBlock> build() const {
        auto block = boost::make_shared<quorl::ConfigBlockXml>(name);
        for (const Entry& e : entries) block->addAttribute(e.make());
        return block;
    }

private:
    struct Entry {
        std::string name;
        std::function<quorl::ConfigAttributePtr()> make;
    };

    // Replaces an attribute of that name in place, or appends it.
    BlockSpec& set(const std::string& n, std::function<quorl::ConfigAttributePtr()> make) {
        for (Entry& e : entries)
            if (e.name == n) {
                e.make = std::move(make);
                return *this;
            }
        entries.push_back(Entry{n, std::move(make)});
        return *this;
    }

    std::string name;
    std::vector<Entry> entries;
};

inline bool boolAttribute(const boost::shared_ptr<quorl::ConfigBlock>& block, const std::string& name) {
    auto a = quorl::getTypedAttribute<quorl::BoolAttribute>(*block, name);
    return a && a->getValue();
}

// Log output with the time of day taken off the start of each line.
inline std::string logLines(const std::string& captured) {
    static const std::regex timeOfDay("(^|\n)- [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} ");
    return std::regex_replace(captured, timeOfDay, "$1");
}

// What a piece of code printed: the log lines (on stdout) and the error stream.
struct Output {
    std::string log;
    std::string err;
};

inline Output captureOutput(const std::function<void()>& body) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    body();
    Output out;
    out.log = logLines(testing::internal::GetCapturedStdout());
    out.err = testing::internal::GetCapturedStderr();
    return out;
}

// The memory spaces of the fake target; modules in the tests use "APB".
inline void useTestMemorySpaces() {
    quorl::ExtAddress::memorySpaceIds = {"APB", "AXI"};
}

// Builds a Module from the block of `spec`, named as the block, with any
// further constructor arguments.
using ModuleBuilder = std::function<boost::shared_ptr<quorl::ConfigurationModule>()>;
template <typename Module, typename... Extra>
ModuleBuilder builder(const BlockSpec& spec, Extra... extra) {
    auto block = spec.build();
    return [block, extra...] { return boost::make_shared<Module>(block->getName(), block, extra...); };
}

// What building a module from a block leads to: its messages, whether it
// asks to be enabled, and whether reset, enable and disable reach the target.
struct LoadCase {
    std::string what;
    ModuleBuilder build;
    std::string log;
    std::string err;
    bool enableTrace;
    bool touchesHardware;
};

inline void checkLoads(const std::vector<LoadCase>& cases) {
    for (const LoadCase& c : cases) {
        SCOPED_TRACE(c.what);
        boost::shared_ptr<quorl::ConfigurationModule> module;
        Output out = captureOutput([&] { module = c.build(); });
        EXPECT_EQ(out.log, c.log);
        EXPECT_EQ(out.err, c.err);
        EXPECT_EQ(module->isEnableTrace(), c.enableTrace);
        auto fake = boost::make_shared<RecordingTaProcess>();
        captureOutput([&] {
            EXPECT_TRUE(module->reset(fake));
            EXPECT_TRUE(module->enableModule(fake));
            EXPECT_TRUE(module->disable(fake));
        });
        EXPECT_EQ(!fake->accesses.empty(), c.touchesHardware) << fake->accesses.size() << " accesses";
    }
}

// The operations the plugin runs on a module; EnableModule is the normal way
// in, with the module marked enabled before its enable runs.
enum class Op { Configure, EnableModule, Reset, Disable };

inline void run(quorl::ConfigurationModule& module, Op op, boost::shared_ptr<RecordingTaProcess> fake) {
    switch (op) {
        case Op::Configure:
            EXPECT_TRUE(module.configure(fake));
            break;
        case Op::EnableModule:
            EXPECT_TRUE(module.enableModule(fake));
            break;
        case Op::Reset:
            EXPECT_TRUE(module.reset(fake));
            break;
        case Op::Disable:
            EXPECT_TRUE(module.disable(fake));
            break;
    }
}

// One row of a register sequence table: the module, the operation run on it,
// and the whole ordered list of accesses it must make.
struct SequenceCase {
    std::string what;
    ModuleBuilder build;
    Op op;
    std::vector<Access> expected;
};

inline void checkSequences(const std::vector<SequenceCase>& rows, uint32_t moduleType) {
    for (const SequenceCase& row : rows) {
        SCOPED_TRACE(row.what);
        boost::shared_ptr<quorl::ConfigurationModule> module = row.build();
        auto fake = boost::make_shared<RecordingTaProcess>();
        run(*module, row.op, fake);
        EXPECT_EQ(fake->accesses, row.expected);
        EXPECT_EQ(module->getModuleType(), moduleType);
    }
}

inline Access w(uint64_t address, uint64_t value) {
    return Access::write(address, value, 4, "APB");
}
inline Access r(uint64_t address, uint64_t value) {
    return Access::read(address, value, 4, "APB");
}

}  // namespace rq7test
