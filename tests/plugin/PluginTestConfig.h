#pragma once
// Configurations built in code for the plugin tests: small hardware blocks
// with only the attributes their modules read, placed by path in the tree.
#include "common/src/AttributeXml.h"
#include "common/src/ConfigBlockXml.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/Names.h"
#include "plugin/TraceTargetConfigPluginKA2.h"
#include "target.access/ExtAddress.h"
#include "tests/support/RecordingTaProcess.h"

#include <unistd.h>
#include <boost/make_shared.hpp>
#include <cstdio>
#include <string>

namespace plugintest {

using quorl::ConfigBlockXmlPtr;

class TestConfig {
public:
    boost::shared_ptr<quorl::ConfigurationXml> cfg = boost::make_shared<quorl::ConfigurationXml>("Board", "1.0");

    ConfigBlockXmlPtr child(const std::string& parentPath, const std::string& name) {
        return cfg->ensureBlock(parentPath)->ensureBlock(name);
    }

    // A NoC probe: six writes to enable (CFGCTL at +0xC ends at 1), two to reset.
    ConfigBlockXmlPtr probe(const std::string& parent, const std::string& name, uint64_t base, bool enableTrace,
                            const std::string& dependency = "") {
        ConfigBlockXmlPtr b = child(parent, name);
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_TRACE, enableTrace));
        b->addAttribute(quorl::makeStringAttribute(quorl::ATTR_MEM_SPACE, "APB"));
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_PAYLOAD, false));
        b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_MODULE_BASE_ADDRESS, base));
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_STATISTICS, false));
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_INTRUSIVE_MODE, false));
        b->addAttribute(quorl::makeUInt32Attribute(quorl::ATTR_TRACE_PORT, 0));
        addDependency(b, dependency);
        return b;
    }

    // A probe under the usual generator block.
    ConfigBlockXmlPtr generator(const std::string& name, uint64_t base, bool enableTrace,
                                const std::string& dependency = "") {
        return probe(quorl::BLOCK_TRACE_GENERATORS_NOC_MAIN, name, base, enableTrace, dependency);
    }

    ConfigBlockXmlPtr funnel(const std::string& parent, const std::string& name, uint64_t base,
                             const std::string& dependency = "") {
        ConfigBlockXmlPtr b = child(parent, name);
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_TRACE, false));
        b->addAttribute(quorl::makeStringAttribute(quorl::ATTR_MEM_SPACE, "APB"));
        b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_MODULE_BASE_ADDRESS, base));
        addDependency(b, dependency);
        return b;
    }

    ConfigBlockXmlPtr port(const std::string& parent, const std::string& name, bool enable, uint32_t priority,
                           const std::string& dependency = "") {
        ConfigBlockXmlPtr b = child(parent, name);
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_PORT, enable));
        b->addAttribute(quorl::makeUInt32Attribute(quorl::ATTR_PORT_PRIORITY, priority));
        addDependency(b, dependency);
        return b;
    }

    // An ETF in pass-through: enable writes LAR, CTL 0, MODE 2, CTL 1; reset CTL 0.
    ConfigBlockXmlPtr etf(const std::string& name, uint64_t base, bool enableBuffer,
                          const std::string& dependency = "") {
        ConfigBlockXmlPtr b = child(quorl::BLOCK_DATA_STREAMS, name);
        b->addAttribute(quorl::makeEnumAttribute(quorl::ATTR_BUFFER_MODE, "PassThrough", "PassThrough,OneBuffer"));
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_BUFFER, enableBuffer));
        b->addAttribute(quorl::makeStringAttribute(quorl::ATTR_MEM_SPACE, "APB"));
        b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_MODULE_BASE_ADDRESS, base));
        b->addAttribute(quorl::makeEnumAttribute(quorl::ATTR_TRACE_COLLECTION_MODE, "Overwrite", "Overwrite"));
        addDependency(b, dependency);
        return b;
    }

    ConfigBlockXmlPtr ddr(const std::string& name, uint64_t base, bool enableBuffer) {
        ConfigBlockXmlPtr b = child(quorl::BLOCK_DATA_STREAMS, name);
        b->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_BUFFER, enableBuffer));
        b->addAttribute(quorl::makeStringAttribute(quorl::ATTR_MEM_SPACE, "APB"));
        b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_MODULE_BASE_ADDRESS, base));
        b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_TRACE_BUFFER_BASE_ADDRESS, 0x80000000));
        b->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_TRACE_BUFFER_SIZE, 0x1000));
        b->addAttribute(quorl::makeEnumAttribute(quorl::ATTR_TRACE_COLLECTION_MODE, "Overwrite", "Overwrite"));
        return b;
    }

    void traceLocation(const std::string& value) {
        cfg->ensureBlock(quorl::BLOCK_DATA_STREAMS)
            ->addAttribute(quorl::makeEnumAttribute(quorl::ATTR_TRACE_LOCATION, value, "Internal,DDR Buffer"));
    }

private:
    static void addDependency(const ConfigBlockXmlPtr& b, const std::string& dependency) {
        if (!dependency.empty()) b->addAttribute(quorl::makeStringAttribute(quorl::ATTR_DEPENDENCY, dependency));
    }
};

// A plugin on a configuration built in code. Its file path has an extension
// the loader refuses, so nothing is read; configure saves to it.
class PluginUnderTest {
public:
    explicit PluginUnderTest(const TestConfig& config)
        : path(makePath()),
          plugin(boost::make_shared<CONFIG_KA2::TraceTargetConfigPluginKA2>("id", "1.0.0", path,
                                                                            "TraceTargetConfigPluginKA2")),
          process(boost::make_shared<rq7test::RecordingTaProcess>()) {
        // Any memory space is accepted, as in Logger mode.
        quorl::ExtAddress::memorySpaceIds = {"logger"};
        plugin->setConfiguration(config.cfg);
        plugin->setAccessProcess(process);
    }
    ~PluginUnderTest() { std::remove(path.c_str()); }

    bool saved() const { return access(path.c_str(), F_OK) == 0; }

    const std::string path;
    boost::shared_ptr<CONFIG_KA2::TraceTargetConfigPluginKA2> plugin;
    boost::shared_ptr<rq7test::RecordingTaProcess> process;

private:
    static std::string makePath() {
        static int counter = 0;
        return "/tmp/rq7-plugin-test-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".saved";
    }
};

using rq7test::Access;

// The writes a probe at `base` makes when it is enabled.
inline std::vector<Access> probeEnableWrites(uint64_t base) {
    return {Access::write(base + 0xC, 0),  Access::write(base + 0x8, 0),       Access::write(base + 0x8, 0x2),
            Access::write(base + 0x10, 0), Access::write(base + 0x14, 0xFFFF), Access::write(base + 0xC, 1)};
}
inline std::vector<Access> probeResetWrites(uint64_t base) {
    return {Access::write(base + 0xC, 0), Access::write(base + 0x8, 0)};
}
inline std::vector<Access> probeDisableWrites(uint64_t base) {
    return {Access::write(base + 0x8, 0), Access::write(base + 0xC, 0)};
}
// An ETF in pass-through started, and stopped.
inline std::vector<Access> etfEnableWrites(uint64_t base) {
    return {Access::write(base + 0xFB0, 0xC5ACCE55), Access::write(base + 0x20, 0), Access::write(base + 0x28, 2),
            Access::write(base + 0x20, 1)};
}
inline std::vector<Access> etfResetWrites(uint64_t base) {
    return {Access::write(base + 0x20, 0)};
}
inline std::vector<Access> funnelEnableWrites(uint64_t base, uint32_t control, uint32_t priority) {
    return {Access::write(base + 0xFB0, 0xC5ACCE55), Access::write(base, control), Access::write(base + 4, priority)};
}
inline std::vector<Access> funnelResetWrites(uint64_t base) {
    return {Access::write(base, 0x300), Access::write(base + 4, 0xFAC688)};
}

inline std::vector<Access> concat(std::initializer_list<std::vector<Access>> parts) {
    std::vector<Access> out;
    for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

}  // namespace plugintest
