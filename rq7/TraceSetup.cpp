#include "rq7/TraceSetup.h"

#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/ConfigurationLoader.h"
#include "common/src/Names.h"

#include <cctype>
#include <map>

namespace rq7 {

const EtmIdRegister ETM_ID_REGISTERS[10] = {
    {"TRCAUTHSTATUS", 0xFB8, 0x000000CC}, {"TRCIDR0", 0x1E0, 0x28000EA1}, {"TRCIDR1", 0x1E4, 0x4100F403},
    {"TRCIDR2", 0x1E8, 0x00000488},       {"TRCIDR8", 0x180, 0},          {"TRCIDR9", 0x184, 0},
    {"TRCIDR10", 0x188, 0},               {"TRCIDR11", 0x18C, 0},         {"TRCIDR12", 0x190, 0},
    {"TRCIDR13", 0x194, 0},
};

namespace {

const char* const ATTR_CORE_TYPE = "Core Type";
const char* const DEFAULT_CORE_TYPE = "ARMv8-A";
const unsigned MAX_CHAIN = 64;  // Dependency links followed before giving up (a cycle)

uint32_t field(uint32_t value, unsigned shift, unsigned bits) { return (value >> shift) & ((1u << bits) - 1); }

// One TRCCONFIGR field and the ID register field that says it exists.
struct ConfigField {
    uint32_t bits;     // in TRCCONFIGR
    unsigned idIndex;  // ID_TRCIDR0 or ID_TRCIDR2
    unsigned shift, width;
};
// clang-format off
const ConfigField CONFIG_FIELDS[] = {
    {0x1u,        ID_TRCIDR0, 0, 1},   // RES1 bit, kept as written
    {0x3u << 1,   ID_TRCIDR0, 1, 2},   // INSTP0:  TRCIDR0.INSTP0
    {1u << 3,     ID_TRCIDR0, 5, 1},   // BB:      TRCIDR0.TRCBB
    {1u << 4,     ID_TRCIDR0, 7, 1},   // CCI:     TRCIDR0.TRCCCI
    {1u << 6,     ID_TRCIDR2, 5, 5},   // CID:     TRCIDR2.CIDSIZE
    {1u << 7,     ID_TRCIDR2, 10, 5},  // VMID:    TRCIDR2.VMIDSIZE
    {0x7u << 8,   ID_TRCIDR0, 6, 1},   // COND:    TRCIDR0.TRCCOND
    {1u << 11,    ID_TRCIDR0, 24, 5},  // TS:      TRCIDR0.TSSIZE
    {1u << 12,    ID_TRCIDR0, 9, 1},   // RS:      TRCIDR0.RETSTACK
    {0x3u << 13,  ID_TRCIDR0, 15, 2},  // QE:      TRCIDR0.QSUPP
    {1u << 15,    ID_TRCIDR2, 29, 2},  // VMIDOPT: TRCIDR2.VMIDOPT
    {0x3u << 16,  ID_TRCIDR0, 3, 2},   // DA, DV:  TRCIDR0.TRCDATA
};
// clang-format on

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// Final value written to each (space, address) of one module, and which
// modules play which part, in order of first appearance.
struct ModuleWrites {
    std::string space;
    std::map<uint64_t, uint64_t> last;
    std::map<std::string, uint64_t> addressOf;  // register name -> address
    bool has(const std::string& reg) const { return findSuffix(reg) != addressOf.end(); }
    std::map<std::string, uint64_t>::const_iterator findSuffix(const std::string& reg) const {
        for (auto it = addressOf.begin(); it != addressOf.end(); ++it)
            if (endsWith(it->first, reg) &&
                (it->first.size() == reg.size() || it->first[it->first.size() - reg.size() - 1] == '_'))
                return it;
        return addressOf.end();
    }
    uint64_t value(uint64_t address) const {
        auto it = last.find(address);
        return it == last.end() ? 0 : it->second;
    }
};

void indexBlocks(const quorl::ConfigBlockPtr& block, std::map<std::string, quorl::ConfigBlockPtr>& byName) {
    if (!block) return;
    byName.emplace(block->getName(), block);
    auto children = block->getConfigBlocks();
    if (children)
        for (const auto& child : *children) indexBlocks(child, byName);
}

std::string stringAttribute(const quorl::ConfigBlock& block, const std::string& name) {
    auto attribute = quorl::getTypedAttribute<quorl::StringAttribute>(block, name);
    return attribute ? attribute->getValue() : std::string();
}

}  // namespace

uint32_t implementedConfigBits(uint32_t idr0, uint32_t idr2) {
    uint32_t bits = 0;
    for (const ConfigField& f : CONFIG_FIELDS)
        if (field(f.idIndex == ID_TRCIDR0 ? idr0 : idr2, f.shift, f.width) != 0) bits |= f.bits;
    return bits | 1u;
}

std::string deviceName(const std::string& block) {
    std::string name = block;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-') c = '_';
    return name;
}

TraceSetup traceSetup(const std::string& configFile, const Plan& plan) {
    std::vector<std::string> order;
    std::map<std::string, ModuleWrites> modules;
    for (const Access& a : plan.accesses) {
        if (a.op != Access::Op::Write || a.module.empty()) continue;
        auto inserted = modules.emplace(a.module, ModuleWrites());
        if (inserted.second) order.push_back(a.module);
        ModuleWrites& m = inserted.first->second;
        m.space = a.space;
        m.last[a.address] = a.value;
        m.addressOf.emplace(a.reg, a.address);
    }

    TraceSetup setup;
    for (const std::string& name : order) {
        const ModuleWrites& m = modules[name];
        auto prg = m.findSuffix("TRCPRGCTLR");
        if (prg != m.addressOf.end()) {
            const uint64_t base = prg->second - etm::TRCPRGCTLR;
            if (!(m.value(prg->second) & 1)) continue;
            TraceUnit unit;
            unit.block = name;
            unit.space = m.space;
            unit.base = base;
            unit.config = static_cast<uint32_t>(m.value(base + etm::TRCCONFIGR));
            unit.traceId = static_cast<uint32_t>(m.value(base + etm::TRCTRACEIDR));
            setup.units.push_back(unit);
            continue;
        }
        auto tcsr = m.findSuffix("STMTCSR");
        if (tcsr != m.addressOf.end()) {
            if (!(m.value(tcsr->second) & 1)) continue;
            setup.stms.push_back({name, m.space, tcsr->second - stm::STMTCSR,
                                  static_cast<uint32_t>(m.value(tcsr->second)), ""});
            continue;
        }
        auto ctl = m.findSuffix("CTL");
        if (ctl != m.addressOf.end() && m.has("MODE")) {
            const uint64_t base = ctl->second - tmc::CTL;
            if (!(m.value(ctl->second) & tmc::CTL_CAPT_EN)) continue;
            TraceSink sink;
            sink.block = name;
            sink.space = m.space;
            sink.base = base;
            sink.mode = static_cast<uint32_t>(m.value(base + tmc::MODE));
            sink.systemBuffer = m.has("DBALO");
            if (sink.systemBuffer) {
                sink.bufferBase = m.value(base + tmc::DBAHI) << 32 | m.value(base + tmc::DBALO);
                sink.bufferSize = m.value(base + tmc::RSZ) * 4;
            }
            setup.sinks.push_back(sink);
        }
    }

    // Core types and Dependency chains come from the file itself.
    auto configuration = quorl::loadConfiguration(configFile);
    std::map<std::string, quorl::ConfigBlockPtr> blocks;
    if (configuration) {
        auto top = configuration->getConfigBlocks();
        if (top)
            for (const auto& block : *top) indexBlocks(block, blocks);
    }
    auto sinkReached = [&](const std::string& source) -> std::string {
        std::string at = source;
        for (unsigned step = 0; step < MAX_CHAIN; ++step) {
            auto block = blocks.find(at);
            if (block == blocks.end()) return "";
            if (at != source)
                for (const TraceSink& sink : setup.sinks)
                    if (sink.block == at && sink.storesTrace()) return at;
            at = stringAttribute(*block->second, quorl::ATTR_DEPENDENCY);
        }
        return "";
    };
    for (TraceUnit& unit : setup.units) {
        auto block = blocks.find(unit.block);
        unit.coreType = block == blocks.end() ? "" : stringAttribute(*block->second, ATTR_CORE_TYPE);
        if (unit.coreType.empty()) unit.coreType = DEFAULT_CORE_TYPE;
        unit.sink = sinkReached(unit.block);
    }
    for (StmUnit& s : setup.stms) s.sink = sinkReached(s.block);
    return setup;
}

}  // namespace rq7
