#include "rq7/TraceSetup.h"

#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/ConfigurationLoader.h"
#include "common/src/Names.h"

#include <cctype>
#include <map>

namespace rq7 {

using namespace quorl::etm;

const EtmIdRegister ETM_ID_REGISTERS[ETM_ID_COUNT] = {
    {ID_TRCAUTHSTATUS, 0x000000CC},
    {quorl::etm::ID_TRCIDR0, 0x28000EA1},
    {ID_TRCIDR1, 0x4100F403},
    {quorl::etm::ID_TRCIDR2, 0x00000488},
    {ID_TRCIDR8, 0},
    {ID_TRCIDR9, 0},
    {ID_TRCIDR10, 0},
    {ID_TRCIDR11, 0},
    {ID_TRCIDR12, 0},
    {ID_TRCIDR13, 0},
};

namespace {

const char* const ATTR_CORE_TYPE = "Core Type";
const char* const DEFAULT_CORE_TYPE = "ARMv8-A";
const unsigned MAX_CHAIN = 64;  // Dependency links followed before giving up (a cycle)

// TRCIDR2.VMIDOPT: how the VMID comparator is chosen; 0 leaves TRCCONFIGR.VMIDOPT fixed.
constexpr quorl::Field TRCIDR2_VMIDOPT{"VMIDOPT", 29, 2, quorl::FieldAccess::ReadOnly};

// Each TRCCONFIGR field with the ID register field that says it exists.
struct ConfigField {
    quorl::Field config;
    bool inIdr2;  // else in TRCIDR0
    quorl::Field id;
};
// clang-format off
const ConfigField CONFIG_FIELDS[] = {
    {TRCCONFIGR_INSTP0,  false, TRCIDR0_INSTP0},
    {TRCCONFIGR_BB,      false, TRCIDR0_TRCBB},
    {TRCCONFIGR_CCI,     false, TRCIDR0_TRCCCI},
    {TRCCONFIGR_CID,     true,  TRCIDR2_CIDSIZE},
    {TRCCONFIGR_VMID,    true,  TRCIDR2_VMIDSIZE},
    {TRCCONFIGR_COND,    false, TRCIDR0_TRCCOND},
    {TRCCONFIGR_TS,      false, TRCIDR0_TSSIZE},
    {TRCCONFIGR_RS,      false, TRCIDR0_RETSTACK},
    {TRCCONFIGR_QE,      false, TRCIDR0_QSUPP},
    {TRCCONFIGR_VMIDOPT, true,  TRCIDR2_VMIDOPT},
    {TRCCONFIGR_DA,      false, TRCIDR0_TRCDATA},
    {TRCCONFIGR_DV,      false, TRCIDR0_TRCDATA},
};
// clang-format on
const uint32_t CONFIG_RES1 = 1u << 0;  // bit 0 reads as written

// Final value written to each address of one module, and the registers it
// writes by the names of the units' register maps.
struct ModuleWrites {
    std::string space;
    std::map<uint64_t, uint64_t> last;
    std::map<std::string, uint64_t> addressOf;  // register name -> address
    bool has(const char* reg) const { return addressOf.count(reg) != 0; }
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
    uint32_t bits = CONFIG_RES1;
    for (const ConfigField& f : CONFIG_FIELDS)
        if (f.id.get(f.inIdr2 ? idr2 : idr0) != 0) bits |= static_cast<uint32_t>(f.config.mask());
    return bits;
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
        auto prg = m.addressOf.find(registerMap32[TRCPRGCTLR].name);
        if (prg != m.addressOf.end()) {
            const uint64_t base = prg->second - etmOffset(TRCPRGCTLR);
            if (!TRCPRGCTLR_EN.get(m.value(prg->second))) continue;
            TraceUnit unit;
            unit.block = name;
            unit.space = m.space;
            unit.base = base;
            unit.config = static_cast<uint32_t>(m.value(base + etmOffset(TRCCONFIGR)));
            unit.traceId = static_cast<uint32_t>(m.value(base + etmOffset(TRCTRACEIDR)));
            setup.units.push_back(unit);
            continue;
        }
        auto tcsr = m.addressOf.find(quorl::stm::registerMap[quorl::stm::STMTCSR].name);
        if (tcsr != m.addressOf.end()) {
            if (!quorl::stm::STMTCSR_EN.get(m.value(tcsr->second))) continue;
            setup.stms.push_back({name, m.space, tcsr->second - stmOffset(quorl::stm::STMTCSR),
                                  static_cast<uint32_t>(m.value(tcsr->second)), ""});
            continue;
        }
        auto ctl = m.addressOf.find(quorl::tmc::registerMap[quorl::tmc::CTL].name);
        if (ctl != m.addressOf.end() && m.has(quorl::tmc::registerMap[quorl::tmc::MODE].name)) {
            const uint64_t base = ctl->second - tmcOffset(quorl::tmc::CTL);
            if (!quorl::tmc::CTL_TraceCaptEn.get(m.value(ctl->second))) continue;
            TraceSink sink;
            sink.block = name;
            sink.space = m.space;
            sink.base = base;
            sink.mode = static_cast<uint32_t>(m.value(base + tmcOffset(quorl::tmc::MODE)));
            sink.systemBuffer = m.has(quorl::tmc::registerMap[quorl::tmc::DBALO].name);
            if (sink.systemBuffer) {
                sink.bufferBase = m.value(base + tmcOffset(quorl::tmc::DBAHI)) << quorl::tmc::DBAHI_ADDRESS_SHIFT |
                                  m.value(base + tmcOffset(quorl::tmc::DBALO));
                sink.bufferSize = m.value(base + tmcOffset(quorl::tmc::RSZ)) * 4;
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
