#include "rq7/Lint.h"

#include "rq7/Plan.h"

#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/ConfigurationLoader.h"
#include "common/src/Names.h"
#include "common/src/ka.common.xml.h"
#include "modules/ArmFunnelPortModule.h"
#include "modules/BlockReader.h"
#include "modules/DataStream.h"
#include "modules/GppTraceModule.h"
#include "modules/HugoModuleDDR.h"
#include "modules/NocObserverModule.h"
#include "modules/StmModule.h"
#include "modules/TimestampUtils.h"
#include "plugin/TraceModuleCreator.h"
#include "plugin/TraceTargetConfigPluginKA2.h"
#include "target.access/server/DummyServer.h"
#include "xrt/xml_reader.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <streambuf>

namespace rq7 {

using quorl::ConfigBlock;
using quorl::ConfigurationModule;
using quorl::TraceModuleCreator;
typedef boost::shared_ptr<ConfigurationModule> ModulePtr;

const std::vector<LintRule>& lintRules() {
    static const std::vector<LintRule> rules = {
        {"load-error", Severity::Error, "The file cannot be loaded."},
        {"duplicate-name", Severity::Warning,
         "A block or attribute name repeats in one parent; the loader keeps the first."},
        {"unknown-module", Severity::Warning, "A block's name makes no module, so the run ignores it."},
        {"missing-attribute", Severity::Error,
         "An attribute a module needs is absent, so the module is not programmed."},
        {"attribute-kind", Severity::Error,
         "An attribute a module needs is of another kind, so the module is not programmed."},
        {"dependency-missing", Severity::Error, "A Dependency names no block, or a block that makes no module."},
        {"dependency-cycle", Severity::Error, "A Dependency closes a cycle; a run drops that link."},
        {"no-sink", Severity::Error, "An enabled trace source reaches no sink that stores trace."},
        {"sink-filtered", Severity::Warning, "A Dependency names a sink that TraceLocation drops."},
        {"trace-id-range", Severity::Error, "A trace ID lies outside 0x01 to 0x6F."},
        {"trace-id-clash", Severity::Error, "Two enabled sources reach one sink with the same trace ID."},
        {"funnel-port", Severity::Warning, "A funnel port number or priority over 7, or two blocks for one port."},
        {"timestamp", Severity::Warning, "Timestamps are on but no timestamp generator runs."},
        {"ddr-buffer", Severity::Warning, "The DDR trace buffer is not 4 KiB aligned or sized, or too large."},
        {"logger-endpoint", Severity::Error, "A Logger run cannot reach its own server at this address and port."},
        {"address-overlap", Severity::Warning, "Two modules write one register, or into another's 4 KiB frame."},
    };
    return rules;
}

const LintRule* findLintRule(const std::string& id) {
    for (const LintRule& rule : lintRules())
        if (id == rule.id) return &rule;
    return nullptr;
}

std::size_t LintReport::errors() const {
    return static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(),
                                                  [](const Finding& f) { return f.severity == Severity::Error; }));
}

namespace {

std::string hex(uint64_t value) {
    std::ostringstream os;
    os << "0x" << std::hex << value;
    return os.str();
}

// The modules' log lines (on stdout, or stderr inside a plan) repeat what
// the findings say; lint's output is its findings alone.
// A log channel keeps the buffer it first wrote to, so the sink lives as long as the process.
class QuietLogs {
public:
    QuietLogs() : savedOut(std::cout.rdbuf(sink())), savedErr(std::cerr.rdbuf(sink())) {}
    ~QuietLogs() {
        std::cout.rdbuf(savedOut);
        std::cerr.rdbuf(savedErr);
    }

private:
    struct NullBuffer : std::streambuf {
        int overflow(int c) override { return traits_type::not_eof(c); }
    };
    static std::streambuf* sink() {
        static NullBuffer buffer;
        return &buffer;
    }
    std::streambuf* savedOut;
    std::streambuf* savedErr;
};

// Attributes the modules' readers asked for and did not find as they need them.
class MissingAttributes : public quorl::RequirementObserver {
public:
    struct Miss {
        std::string block, name, kind;
    };
    void required(const ConfigBlock& block, const std::string& name, const char* kind, bool found) override {
        if (!found) misses.push_back(Miss{block.getQualifiedName(), name, kind});
    }
    std::vector<Miss> misses;
};

class Checker {
public:
    Checker(const std::string& path, LintReport& report) : path(path), report(report) {}
    void run();

private:
    bool load();
    void findDuplicates();
    void walk();
    // f(parent name, child block) for each child of the blocks the plugin walks.
    template <class F>
    void forEachWalkedChild(F f) const {
        for (const std::string& parentName : CONFIG_KA2::TraceTargetConfigPluginKA2::moduleParentBlocks()) {
            auto parent = configuration->getConfigBlock(parentName);
            auto children = parent ? parent->getConfigBlocks() : quorl::ConfigBlockVectorPtr();
            for (std::size_t i = 0; children && i < children->size(); ++i) f(parentName, *(*children)[i]);
        }
    }
    void checkUnknownModules();
    void checkAttributes(const MissingAttributes& missing);
    // A module whose reader stopped at a missing attribute keeps its defaults: nothing more to check.
    bool readCompletely(const ModulePtr& m) const {
        return m && !unread.count(m->getConfigBlock()->getQualifiedName());
    }
    void checkDependencies();
    void checkSinks();
    void checkTraceIds();
    void checkFunnelPorts();
    void checkTimestamp();
    void checkDdrBuffers();
    void checkLoggerEndpoint();
    void checkAddresses();
    void collectNodes();

    void add(const char* rule, int node, const std::string& message, const std::string& module = "");
    int blockNode(const ConfigBlock& block) const { return index->block(block.getQualifiedName()); }
    int blockNode(const ModulePtr& m) const { return m ? blockNode(*m->getConfigBlock()) : -1; }
    // The attribute's node, or its block's when the attribute is absent.
    int attributeNode(const ModulePtr& m, const std::string& name) const;
    std::string lineOf(int node) const { return std::to_string(index->place(node).line); }
    // The sink a module's trace ends in, following the links a run makes:
    // a storing sink, or empty; chain receives the names passed.
    ModulePtr sinkOf(const ModulePtr& source, std::vector<std::string>* chain = nullptr) const;
    bool isBuilt(const std::string& name) const { return modules.count(name) != 0; }

    std::string path;
    LintReport& report;
    std::string text;
    std::unique_ptr<SourceIndex> index;
    std::unique_ptr<CONFIG_KA2::TraceTargetConfigPluginKA2> plugin;
    quorl::ConfigurationPtr configuration;
    CONFIG_KA::ModuleMap modules;
    CONFIG_KA::DependencyMap dependencies;
    CONFIG_KA::ModuleList generators;
    std::set<std::string> on;      // what a configure run enables
    std::set<std::string> unread;  // qualified names of blocks a reader gave up on
    std::string traceLocation;
};

void Checker::add(const char* rule, int node, const std::string& message, const std::string& module) {
    const LintRule* r = findLintRule(rule);
    Finding f;
    f.rule = rule;
    f.severity = r ? r->severity : Severity::Error;
    f.place = index ? index->place(node) : SourcePlace{1, 1};
    f.message = message;
    f.module = module;
    report.findings.push_back(f);
}

int Checker::attributeNode(const ModulePtr& m, const std::string& name) const {
    if (!m) return -1;
    const int node = index->attribute(m->getConfigBlock()->getQualifiedName(), name);
    return node >= 0 ? node : blockNode(m);
}

bool Checker::load() {
    std::ifstream in(path, std::ios::binary);
    bool readable = false;
    try {
        if (in) text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        readable = bool(in);
    } catch (const std::exception&) {  // a directory, for one
        text.clear();
    }
    index.reset(new SourceIndex(text));
    if (!quorl::hasConfigurationExtension(path)) {
        add("load-error", -1, "the file name has no .xml extension, so the loader refuses it");
        return false;
    }
    plugin.reset(new CONFIG_KA2::TraceTargetConfigPluginKA2("rq7.lint", "1.0.0", path, "rq7"));
    plugin->setSaveEnabled(false);
    configuration = plugin->getConfiguration();
    if (configuration) return true;
    // The loader tells only its code; read once more to learn the line.
    xrt::exrt_error code = quorl::XB_CANNOT_OPEN;
    int line = 1;
    std::string item;
    if (readable) {
        xrt::c_xml_reader_memory reader(text.data(), text.size());
        quorl::c_QUORL document;
        code = document.unmarshal(reader);
        if (reader.get_error_line() > 0) line = reader.get_error_line();
        item = reader.get_error_item_name();
    }
    Finding f;
    f.rule = "load-error";
    f.place = SourcePlace{line, 1};
    f.message = "XML Error Code: " + std::to_string(static_cast<int>(code)) + " (" + xrt::get_error_text(code) + ")" +
                (item.empty() ? std::string() : " at '" + item + "'");
    report.findings.push_back(f);
    return false;
}

void Checker::run() {
    QuietLogs quiet;
    if (!load()) return;
    report.loaded = true;
    findDuplicates();
    MissingAttributes missing;
    quorl::BlockReader::setObserver(&missing);
    TraceModuleCreator::forgetSharedObjects();
    plugin->loadModules();
    quorl::BlockReader::setObserver(nullptr);
    modules = plugin->getModuleMap();
    dependencies = plugin->getDependencyMap();
    generators = plugin->getModuleList();
    walk();
    checkUnknownModules();
    checkAttributes(missing);
    checkDependencies();
    checkSinks();
    checkTraceIds();
    checkFunnelPorts();
    checkTimestamp();
    checkDdrBuffers();
    checkLoggerEndpoint();
    checkAddresses();
    collectNodes();
}

void Checker::findDuplicates() {
    const std::vector<SourceNode>& nodes = index->nodes();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const int first = nodes[i].keptAs;
        if (first < 0 || first == static_cast<int>(i)) continue;
        add("duplicate-name", static_cast<int>(i),
            std::string(nodes[i].kind == SourceNode::Block ? "block" : "attribute") + " '" + nodes[i].name +
                "' repeats the one on line " + lineOf(first) + "; the loader keeps that one and ignores this");
    }
}

ModulePtr Checker::sinkOf(const ModulePtr& source, std::vector<std::string>* chain) const {
    std::set<const ConfigurationModule*> seen;
    ModulePtr at = source;
    while (at && seen.insert(at.get()).second) {
        if (chain && at != source) chain->push_back(at->getName());
        auto stream = boost::dynamic_pointer_cast<quorl::DataStream>(at);
        if (stream && !stream->passesThrough()) return at;
        const auto& next = at->getDependencies();
        at = next.empty() ? ModulePtr() : next.front();
    }
    return ModulePtr();
}

// What a configure run enables: each generator whose Enable Trace is set with
// everything its links reach, and the built sinks that ask for it themselves.
void Checker::walk() {
    std::vector<ModulePtr> work;
    for (const ModulePtr& m : generators)
        if (m && m->isEnableTrace()) work.push_back(m);
    for (const auto& entry : modules)
        if (entry.second && entry.second->getModuleType() == ConfigurationModule::DataStreamKind &&
            entry.second->isEnableTrace())
            work.push_back(entry.second);
    while (!work.empty()) {
        ModulePtr m = work.back();
        work.pop_back();
        if (!on.insert(m->getName()).second) continue;
        for (const ModulePtr& d : m->getDependencies()) work.push_back(d);
    }
    if (auto streams = configuration->getConfigBlock(quorl::BLOCK_DATA_STREAMS)) {
        auto location = quorl::getTypedAttribute<quorl::EnumAttribute>(*streams, quorl::ATTR_TRACE_LOCATION);
        auto values = location ? location->getValues() : boost::shared_ptr<quorl::Vector<std::string>>();
        if (values && values->size() > 0) traceLocation = (*values)[0];
    }
}

void Checker::checkUnknownModules() {
    forEachWalkedChild([&](const std::string& parentName, const ConfigBlock& child) {
        // "Debug " blocks are named as such on purpose: the factory knows them and makes nothing.
        const int32_t kind = TraceModuleCreator::moduleTypeFromName(child.getName());
        if (TraceModuleCreator::makesModule(kind) || kind == TraceModuleCreator::DebugKind) return;
        add("unknown-module", blockNode(child),
            "block '" + child.getName() + "' in '" + parentName + "' makes no module, so a run ignores it");
    });
}

void Checker::checkAttributes(const MissingAttributes& missing) {
    std::set<std::string> told;
    for (const MissingAttributes::Miss& miss : missing.misses) {
        unread.insert(miss.block);
        if (!told.insert(miss.block + "\n" + miss.name).second) continue;
        const int blockAt = index->block(miss.block);
        const int attributeAt = index->attribute(miss.block, miss.name);
        const std::string blockName = blockAt >= 0 ? index->nodes()[blockAt].name : miss.block;
        if (attributeAt < 0)
            add("missing-attribute", blockAt,
                "block '" + blockName + "' has no " + miss.kind + " '" + miss.name +
                    "', so its module is not programmed",
                blockName);
        else
            add("attribute-kind", attributeAt,
                "attribute '" + miss.name + "' of '" + blockName + "' is a " + index->nodes()[attributeAt].element +
                    " where its module needs a " + miss.kind + ", so the module is not programmed",
                blockName);
    }
}

void Checker::checkDependencies() {
    // Sinks that TraceLocation leaves out of the walk.
    std::set<std::string> droppedSinks;
    forEachWalkedChild([&](const std::string& parentName, const ConfigBlock& child) {
        if (parentName == quorl::BLOCK_DATA_STREAMS &&
            !CONFIG_KA2::TraceTargetConfigPluginKA2::keepsDataStream(child.getName(), traceLocation))
            droppedSinks.insert(child.getName());
    });
    std::set<std::string> namedBlocks;
    for (const SourceNode& node : index->nodes())
        if (node.kind == SourceNode::Block) namedBlocks.insert(node.name);
    for (const auto& entry : dependencies) {
        ModulePtr module = modules.count(entry.first) ? modules[entry.first] : ModulePtr();
        if (!module) continue;
        const int at = attributeNode(module, quorl::ATTR_DEPENDENCY);
        const std::string& target = entry.second;
        if (droppedSinks.count(target)) {
            add("sink-filtered", at,
                "'" + entry.first + "' depends on sink '" + target + "', which TraceLocation '" + traceLocation +
                    "' drops",
                entry.first);
        } else if (!isBuilt(target)) {
            add("dependency-missing", at,
                "Dependency of '" + entry.first + "' names '" + target + "', " +
                    (namedBlocks.count(target) ? "a block that makes no module" : "which names no block"),
                entry.first);
        } else {
            const auto& linked = module->getDependencies();
            if (std::find(linked.begin(), linked.end(), modules[target]) == linked.end())
                add("dependency-cycle", at,
                    "Dependency of '" + entry.first + "' on '" + target + "' closes a cycle; a run drops this link",
                    entry.first);
        }
    }
}

void Checker::checkSinks() {
    for (const ModulePtr& m : generators) {
        if (!m || !m->isEnableTrace()) continue;
        std::vector<std::string> chain;
        if (sinkOf(m, &chain)) continue;
        std::string path = m->getName();
        for (const std::string& step : chain) path += " -> " + step;
        add("no-sink", blockNode(m),
            "'" + m->getName() + "' is enabled but its trace reaches no sink that stores it (" + path + ")",
            m->getName());
    }
}

// Trace ID of a source module and the node to point at; false for modules without one.
bool traceIdOf(const ModulePtr& m, uint32_t& id, bool& fromAttribute) {
    if (auto core = boost::dynamic_pointer_cast<quorl::GppTraceModule>(m)) {
        id = core->getTraceId();
        fromAttribute = true;
    } else if (auto observer = boost::dynamic_pointer_cast<quorl::NocObserverModule>(m)) {
        id = observer->getTraceId();
        fromAttribute = true;
    } else if (boost::dynamic_pointer_cast<quorl::StmModule>(m)) {
        id = quorl::StmModule::traceId();
        fromAttribute = false;
    } else {
        return false;
    }
    // A module that never read its ID has none to check.
    return !fromAttribute || quorl::getTypedAttribute<quorl::UInt32Attribute>(*m->getConfigBlock(), quorl::ATTR_ATB_ID);
}

void Checker::checkTraceIds() {
    const uint32_t lowest = 0x01, highest = 0x6F;
    struct Holder {
        ModulePtr module;
        int node;
    };
    std::map<std::pair<const ConfigurationModule*, uint32_t>, std::vector<Holder>> bySinkAndId;
    std::vector<ModulePtr> all;
    for (const ModulePtr& m : generators) all.push_back(m);
    for (const auto& entry : modules)
        if (std::find(generators.begin(), generators.end(), entry.second) == generators.end())
            all.push_back(entry.second);
    for (const ModulePtr& m : all) {
        uint32_t id = 0;
        bool fromAttribute = false;
        if (!readCompletely(m) || !traceIdOf(m, id, fromAttribute)) continue;
        const int node = fromAttribute ? attributeNode(m, quorl::ATTR_ATB_ID) : blockNode(m);
        if (id < lowest || id > highest)
            add("trace-id-range", node,
                "trace ID " + hex(id) + " of '" + m->getName() +
                    "' lies outside 0x1 to 0x6f (0x0 and 0x70 to 0x7f are reserved on the trace bus)",
                m->getName());
        if (!on.count(m->getName())) continue;
        if (ModulePtr sink = sinkOf(m)) bySinkAndId[{sink.get(), id}].push_back(Holder{m, node});
    }
    for (auto& entry : bySinkAndId) {
        std::vector<Holder>& holders = entry.second;
        std::sort(holders.begin(), holders.end(), [&](const Holder& a, const Holder& b) {
            const SourcePlace pa = index->place(a.node), pb = index->place(b.node);
            return pa.line != pb.line ? pa.line < pb.line : pa.column < pb.column;
        });
        for (std::size_t i = 1; i < holders.size(); ++i)
            add("trace-id-clash", holders[i].node,
                "'" + holders[i].module->getName() + "' and '" + holders[0].module->getName() + "' (line " +
                    lineOf(holders[0].node) + ") both send trace ID " + hex(entry.first.second) + " to '" +
                    entry.first.first->getName() + "'",
                holders[i].module->getName());
    }
}

void Checker::checkFunnelPorts() {
    std::map<std::pair<std::string, uint32_t>, int> firstBlock;
    forEachWalkedChild([&](const std::string&, const ConfigBlock& child) {
        const std::string name = child.getName();
        auto found = modules.find(name);
        auto port = found == modules.end() ? boost::shared_ptr<quorl::ArmFunnelPortModule>()
                                           : boost::dynamic_pointer_cast<quorl::ArmFunnelPortModule>(found->second);
        if (!port) return;
        const int node = blockNode(port);
        uint32_t number = 0;
        if (!port->getModuleIndexFromName(number)) return;
        if (number > quorl::ArmFunnelPortModule::MAX_PORT)
            add("funnel-port", node,
                "port number " + std::to_string(number) + " of '" + name + "' is over 7; a funnel has ports 0 to 7",
                name);
        const std::string funnel = CONFIG_KA2::TraceTargetConfigPluginKA2::funnelNameOfPort(name);
        auto inserted = firstBlock.emplace(std::make_pair(funnel, number), node);
        if (!inserted.second && inserted.first->second != node)  // a repeated name is a duplicate-name
            add("funnel-port", node,
                "'" + name + "' sets port " + std::to_string(number) + " of '" + funnel + "' that the block on line " +
                    lineOf(inserted.first->second) + " sets already",
                name);
        auto priority =
            quorl::getTypedAttribute<quorl::UInt32Attribute>(*port->getConfigBlock(), quorl::ATTR_PORT_PRIORITY);
        if (priority && priority->getValue() > quorl::ArmFunnelPortModule::LOWEST_PRIORITY)
            add("funnel-port", attributeNode(port, quorl::ATTR_PORT_PRIORITY),
                "priority " + std::to_string(priority->getValue()) + " of '" + name + "' is over 7; a run uses 7",
                name);
    });
}

void Checker::checkTimestamp() {
    auto timestampBlock = configuration->getConfigBlock(quorl::BLOCK_TIMESTAMP_GENERATOR);
    auto counter = TraceModuleCreator::sharedTimestampUtils();
    const bool running = timestampBlock && counter && counter->isGeneratorEnabled();
    if (running) return;
    const std::string why = timestampBlock ? "its counter stays disabled" : "there is no 'Timestamp Generator' block";
    for (const ModulePtr& m : generators) {
        if (!m || !on.count(m->getName())) continue;
        bool stamps = false;
        if (auto core = boost::dynamic_pointer_cast<quorl::GppTraceModule>(m)) stamps = core->usesTimestamp();
        if (auto stm = boost::dynamic_pointer_cast<quorl::StmModule>(m)) stamps = stm->usesTimestamp();
        if (stamps)
            add("timestamp", attributeNode(m, quorl::ATTR_TIMESTAMP),
                "'" + m->getName() + "' asks for timestamps but " + why, m->getName());
    }
}

void Checker::checkDdrBuffers() {
    const uint64_t frame = 0x1000;
    const uint64_t maxBytes = uint64_t(0xFFFFFFFF) * 4;  // the size register counts 32-bit words
    for (const auto& entry : modules) {
        auto ddr = boost::dynamic_pointer_cast<quorl::HugoModuleDDR>(entry.second);
        if (!ddr) continue;
        const int baseAt = attributeNode(ddr, quorl::ATTR_TRACE_BUFFER_BASE_ADDRESS);
        const int sizeAt = attributeNode(ddr, quorl::ATTR_TRACE_BUFFER_SIZE);
        const uint64_t base = ddr->getBufferBaseAddress(), size = ddr->getBufferSize();
        if (base % frame)
            add("ddr-buffer", baseAt,
                "trace buffer address " + hex(base) + " of '" + entry.first + "' is not aligned to 4 KiB", entry.first);
        if (size == 0 || size % frame)
            add("ddr-buffer", sizeAt,
                "trace buffer size " + hex(size) + " of '" + entry.first + "' is " +
                    (size ? "not a multiple of 4 KiB" : "zero"),
                entry.first);
        else if (size > maxBytes)
            add("ddr-buffer", sizeAt,
                "trace buffer size " + hex(size) + " of '" + entry.first +
                    "' is over the 32-bit word count of the size register",
                entry.first);
    }
}

bool isLoopback(const std::string& address) {
    return address.compare(0, 4, "127.") == 0 || address == "::1" || address == "localhost";
}

// Frames of the CoreSight components: core trace unit, funnel, trace memory
// controller, STM, timestamp counter. NoC probes and observers have none.
bool hasFrame(int kind) {
    switch (kind) {
        case TraceModuleCreator::CoreKind:
        case TraceModuleCreator::StmKind:
        case TraceModuleCreator::ArmFunnelKind:
        case TraceModuleCreator::EtfSinkKind:
        case TraceModuleCreator::DdrSinkKind:
        case TraceModuleCreator::TimestampGeneratorKind:
            return true;
        default:
            return false;
    }
}

void Checker::checkLoggerEndpoint() {
    auto access = configuration->getConfigBlock(quorl::BLOCK_TARGET_ACCESS);
    if (!access) return;
    auto method = quorl::getTypedAttribute<quorl::EnumAttribute>(*access, quorl::ATTR_TARGET_ACCESS_METHOD);
    auto values = method ? method->getValues() : boost::shared_ptr<quorl::Vector<std::string>>();
    if (!values || values->size() == 0 || (*values)[0] != quorl::VALUE_LOGGER) return;
    const std::string qualified = access->getQualifiedName();
    const unsigned serverPort = quorl::DummyServer::DEFAULT_PORT;
    auto port = quorl::getTypedAttribute<quorl::UInt32Attribute>(*access, quorl::ATTR_SERVER_PORT);
    if (port && port->getValue() != serverPort)
        add("logger-endpoint", index->attribute(qualified, quorl::ATTR_SERVER_PORT),
            "Logger runs serve on port " + std::to_string(serverPort) + ", so port " +
                std::to_string(port->getValue()) + " reaches no server");
    auto address = quorl::getTypedAttribute<quorl::StringAttribute>(*access, quorl::ATTR_SERVER_ADDRESS);
    if (address && !isLoopback(address->getValue()))
        add("logger-endpoint", index->attribute(qualified, quorl::ATTR_SERVER_ADDRESS),
            "Logger runs serve on this machine, so address '" + address->getValue() +
                "' (not a loopback address) reaches no server");
}

// Registers and frames in one memory space: the base address of every module
// block and the frames of the CoreSight components, then the registers a
// configure run writes (the plan of the file).
void Checker::checkAddresses() {
    struct Region {
        std::string module;
        int node;
        std::string space;
        uint64_t base;
        bool frame;
    };
    std::vector<Region> regions;
    std::map<std::string, std::size_t> regionOf;
    auto addBlock = [&](const ConfigBlock& block, const std::string& space) {
        auto base = quorl::getTypedAttribute<quorl::Addr64Attribute>(block, quorl::ATTR_MODULE_BASE_ADDRESS);
        if (!base) return;
        const int kind = TraceModuleCreator::moduleTypeFromName(block.getName());
        regionOf[block.getName()] = regions.size();
        regions.push_back(Region{block.getName(), blockNode(block), space, base->getValue(), hasFrame(kind)});
    };
    std::string timestampName;
    if (auto timestamp = configuration->getConfigBlock(quorl::BLOCK_TIMESTAMP_GENERATOR)) {
        auto space = quorl::getTypedAttribute<quorl::StringAttribute>(*timestamp, quorl::ATTR_MEM_SPACE);
        addBlock(*timestamp, space ? space->getValue() : std::string());
        timestampName = timestamp->getName();
    }
    for (const auto& entry : modules)
        if (entry.second) addBlock(*entry.second->getConfigBlock(), entry.second->getMemorySpace());

    const uint64_t frameSize = 0x1000;
    auto frameOf = [&](uint64_t address) { return address & ~(frameSize - 1); };
    std::set<std::pair<std::size_t, std::size_t>> told;
    auto overlap = [&](std::size_t x, std::size_t y, const std::string& what) {
        if (x == y) return;
        const SourcePlace px = index->place(regions[x].node), py = index->place(regions[y].node);
        const bool xFirst = px.line != py.line ? px.line < py.line : px.column <= py.column;
        const Region& a = regions[xFirst ? x : y];
        const Region& b = regions[xFirst ? y : x];
        if (!told.insert({xFirst ? x : y, xFirst ? y : x}).second) return;
        add("address-overlap", b.node,
            "'" + b.module + "' and '" + a.module + "' (line " + lineOf(a.node) + ") overlap in " +
                (a.space.empty() ? std::string("the default memory space") : "memory space " + a.space) + ": " + what,
            b.module);
    };

    // Base addresses against each other and against the frames.
    std::map<std::pair<std::string, uint64_t>, std::vector<std::size_t>> byFrame;
    for (std::size_t i = 0; i < regions.size(); ++i) byFrame[{regions[i].space, frameOf(regions[i].base)}].push_back(i);
    for (const auto& entry : byFrame)
        for (std::size_t i : entry.second)
            for (std::size_t j : entry.second) {
                if (j <= i) continue;
                const Region& a = regions[i];
                const Region& b = regions[j];
                if (a.base == b.base)
                    overlap(i, j, "both have base address " + hex(a.base));
                else if (a.frame || b.frame)
                    overlap(i, j,
                            "base address " + hex(a.frame ? b.base : a.base) + " lies in the 4 KiB frame at " +
                                hex(entry.first.second));
            }

    // Registers the run writes. The shared timestamp counter is started by
    // every source that stamps its trace: those writes are its own.
    Plan plan;
    try {
        plan = makePlan(*plugin, path, PlanOptions());
    } catch (const std::exception&) {
        return;
    }
    std::map<std::pair<std::string, uint64_t>, std::size_t> firstWriter;
    const auto timestampRegion = regionOf.find(timestampName);
    for (const Access& access : plan.accesses) {
        if (access.op != Access::Op::Write) continue;
        auto writer = regionOf.find(access.module);
        if (writer == regionOf.end()) continue;
        if (timestampRegion != regionOf.end() && regions[timestampRegion->second].space == access.space &&
            frameOf(regions[timestampRegion->second].base) == frameOf(access.address))
            continue;
        auto first = firstWriter.emplace(std::make_pair(access.space, access.address), writer->second);
        if (first.first->second != writer->second)
            overlap(first.first->second, writer->second,
                    "both write " + (access.reg.empty() ? std::string("register") : access.reg) + " at " +
                        hex(access.address));
        auto owners = byFrame.find({access.space, frameOf(access.address)});
        if (owners == byFrame.end()) continue;
        for (std::size_t owner : owners->second)
            if (owner != writer->second && regions[owner].frame)
                overlap(owner, writer->second,
                        "register " + hex(access.address) + " of '" + access.module + "' lies in the 4 KiB frame of '" +
                            regions[owner].module + "'");
    }
}

void Checker::collectNodes() {
    auto addNode = [&](const ModulePtr& m, const ConfigBlock& block, bool built) {
        TraceNode node;
        node.name = block.getName();
        node.kind = TraceModuleCreator::moduleTypeFromName(node.name);
        auto dependency = quorl::getTypedAttribute<quorl::StringAttribute>(block, quorl::ATTR_DEPENDENCY);
        if (dependency) node.dependency = dependency->getValue();
        node.linked = m && !m->getDependencies().empty();
        node.on = on.count(node.name) != 0;
        node.built = built;
        if (auto base = quorl::getTypedAttribute<quorl::Addr64Attribute>(block, quorl::ATTR_MODULE_BASE_ADDRESS)) {
            node.hasBase = true;
            node.baseAddress = base->getValue();
        }
        if (auto space = quorl::getTypedAttribute<quorl::StringAttribute>(block, quorl::ATTR_MEM_SPACE))
            node.memorySpace = space->getValue();
        uint32_t id = 0;
        bool fromAttribute = false;
        if (m && traceIdOf(m, id, fromAttribute)) node.traceId = static_cast<int>(id);
        if (auto port = boost::dynamic_pointer_cast<quorl::ArmFunnelPortModule>(m)) {
            node.port = static_cast<int>(port->getPortNumber());
            node.portPriority = static_cast<int>(port->getPortPriority());
        }
        node.place = index->place(blockNode(block));
        report.nodes.push_back(node);
    };
    for (const ModulePtr& m : generators)
        if (m) addNode(m, *m->getConfigBlock(), true);
    for (const auto& entry : modules)
        if (entry.second && std::find(generators.begin(), generators.end(), entry.second) == generators.end())
            addNode(entry.second, *entry.second->getConfigBlock(), true);
    if (auto streams = configuration->getConfigBlock(quorl::BLOCK_DATA_STREAMS))
        if (auto children = streams->getConfigBlocks())
            for (std::size_t i = 0; i < children->size(); ++i)
                if (!modules.count((*children)[i]->getName()) &&
                    TraceModuleCreator::makesModule(TraceModuleCreator::moduleTypeFromName((*children)[i]->getName())))
                    addNode(ModulePtr(), *(*children)[i], false);
}

}  // namespace

LintReport lintConfiguration(const std::string& path) {
    LintReport report;
    Checker(path, report).run();
    std::stable_sort(report.findings.begin(), report.findings.end(), [](const Finding& a, const Finding& b) {
        return a.place.line != b.place.line ? a.place.line < b.place.line : a.place.column < b.place.column;
    });
    return report;
}

}  // namespace rq7
