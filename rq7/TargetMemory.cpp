#include "rq7/TargetMemory.h"

#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/ConfigurationLoader.h"
#include "common/src/Names.h"
#include "target.access/ExtAddress.h"
#include "target.access/TaProcess.h"
#include "target.access/TaProcessManager.h"
#include "tools/gta-sim/GtaSim.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

namespace rq7 {

namespace {

class ImageMemory : public TargetMemory {
public:
    explicit ImageMemory(const gtasim::MemoryImage& image) : image(image) {}
    uint64_t read(const std::string& space, uint64_t address, unsigned bits) override {
        return image.readValue(space, address, bits / 8, false);
    }
    void write32(const std::string& space, uint64_t address, uint32_t value) override {
        image.writeValue(space, address, value, 4, false);
    }
    void readBytes(const std::string& space, uint64_t address, uint8_t* out, uint32_t size) override {
        image.read(space, address, out, size);
    }

private:
    gtasim::MemoryImage image;
};

// Through the same access process a GTA run of rq7.config uses.
// Its failures name the server and the access.
class ServerMemory : public TargetMemory {
public:
    ServerMemory(boost::shared_ptr<quorl::TaProcess> process, std::string server)
        : process(std::move(process)), server(std::move(server)) {
        // The process has just loaded the server's spaces.
        serverSpaces = quorl::ExtAddress::memorySpaceIds;
    }
    std::vector<std::string> spaces() const override { return serverSpaces; }
    uint64_t read(const std::string& space, uint64_t address, unsigned bits) override {
        uint64_t value = 0;
        access("read of", space, address,
               [&] { process->readMemory(quorl::ExtAddress(address, space), bits / 8, 1, &value); });
        return value;
    }
    void write32(const std::string& space, uint64_t address, uint32_t value) override {
        access("write to", space, address,
               [&] { process->writeMemory(quorl::ExtAddress(address, space), 4, 1, &value); });
    }
    void readBytes(const std::string& space, uint64_t address, uint8_t* out, uint32_t size) override {
        access("read of", space, address,
               [&] { process->readMemory(quorl::ExtAddress(address, space), 1, size, out); });
    }

private:
    template <typename F>
    void access(const char* what, const std::string& space, uint64_t address, F run) {
        try {
            run();
        } catch (const std::exception& e) {
            char where[64];
            std::snprintf(where, sizeof where, "0x%llx", static_cast<unsigned long long>(address));
            throw std::runtime_error("debug server " + server + ": " + e.what() + " (" + what + " " + where +
                                     (space.empty() ? "" : " in " + space) + ")");
        }
    }

    boost::shared_ptr<quorl::TaProcess> process;
    std::string server;
    std::vector<std::string> serverSpaces;
};

}  // namespace

std::unique_ptr<TargetMemory> imageMemory(const gtasim::MemoryImage& image) {
    return std::unique_ptr<TargetMemory>(new ImageMemory(image));
}

std::unique_ptr<TargetMemory> connectTarget(const std::string& configFile) {
    std::ifstream in(configFile, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    xrt::exrt_error code{};
    auto configuration = quorl::hasConfigurationExtension(configFile)
                             ? quorl::loadConfigurationFromMemory(text.data(), text.size(), &code)
                             : nullptr;
    // A file that does not load: the plan says why, as for every subcommand.
    if (!configuration) makePlan(configFile, PlanOptions());
    auto block = configuration ? configuration->getConfigBlock(quorl::BLOCK_TARGET_ACCESS) : nullptr;
    if (!block) throw std::runtime_error(configFile + ": no 'Target Access' block");
    auto address = quorl::getTypedAttribute<quorl::StringAttribute>(*block, quorl::ATTR_SERVER_ADDRESS);
    auto port = quorl::getTypedAttribute<quorl::UInt32Attribute>(*block, quorl::ATTR_SERVER_PORT);
    const std::string server =
        (address ? address->getValue() : "?") + ":" + (port ? std::to_string(port->getValue()) : "?");
    boost::shared_ptr<quorl::TaProcess> process;
    try {
        process = quorl::TaProcessManager::getInstance().createProcess("rq7", block);
    } catch (const std::out_of_range&) {
        // An empty method list: no debug server either.
    } catch (const std::exception& e) {
        throw std::runtime_error("debug server " + server + ": " + e.what());
    }
    if (!process) throw std::runtime_error(configFile + ": the 'Target Access' block names no GTA debug server");
    return std::unique_ptr<TargetMemory>(new ServerMemory(process, server));
}

UnitRegisters readUnitRegisters(TargetMemory& memory, const TraceUnit& unit) {
    UnitRegisters r;
    r.config = memory.read32(unit.space, unit.base + etmOffset(quorl::etm::TRCCONFIGR));
    r.traceId = memory.read32(unit.space, unit.base + etmOffset(quorl::etm::TRCTRACEIDR));
    for (size_t i = 0; i < ETM_ID_COUNT; ++i)
        r.ids[i] = memory.read32(unit.space, unit.base + ETM_ID_REGISTERS[i].offset());
    return r;
}

UnitRegisters defaultUnitRegisters(const TraceUnit& unit) {
    UnitRegisters r;
    r.config = unit.config;
    r.traceId = unit.traceId;
    for (size_t i = 0; i < ETM_ID_COUNT; ++i) r.ids[i] = ETM_ID_REGISTERS[i].armv8Default;
    return r;
}

void readRange(TargetMemory& memory, const std::string& space, uint64_t address, uint64_t size,
               std::vector<uint8_t>& out, const std::function<void(uint64_t)>& progress) {
    const size_t start = out.size();
    out.resize(start + size);
    for (uint64_t done = 0; done < size;) {
        const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(size - done, MAX_TRANSFER));
        memory.readBytes(space, address + done, out.data() + start + done, n);
        done += n;
        if (progress) progress(done);
    }
}

Plan planAgainstTarget(const std::string& configFile, TargetMemory& memory) {
    const unsigned MAX_ROUNDS = 4;
    gtasim::MemoryImage image;
    const std::vector<std::string> spaces = memory.spaces();
    for (const std::string& space : spaces) image.write(space, 0, nullptr, 0);  // known, still empty
    const std::string defaultSpace = spaces.empty() ? std::string() : spaces.front();
    PlanOptions options;
    options.image = &image;
    Plan plan = makePlan(configFile, options);
    std::set<std::pair<std::string, uint64_t>> known;
    for (unsigned round = 1; round < MAX_ROUNDS; ++round) {
        bool added = false;
        for (const Access& a : plan.accesses) {
            if (a.op != Access::Op::Read || !known.insert({a.space, a.address}).second) continue;
            const uint64_t value = memory.read(a.space, a.address, a.width);
            image.writeValue(a.space.empty() ? defaultSpace : a.space, a.address, value, a.width / 8, false);
            added = true;
        }
        if (!added) break;
        plan = makePlan(configFile, options);
    }
    return plan;
}

MemoryDump loadDump(const DumpRequest& request, TargetMemory* memory) {
    MemoryDump dump;
    dump.space = request.space;
    dump.address = request.address;
    if (!request.file.empty()) {
        std::ifstream in(request.file, std::ios::binary);
        if (!in) throw std::runtime_error("cannot read " + request.file);
        dump.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        return dump;
    }
    if (!memory)
        throw std::runtime_error("--dump " + request.space + ":... needs memory to read: give --image or @FILE");
    readRange(*memory, request.space, request.address, request.length, dump.bytes, nullptr);
    return dump;
}

}  // namespace rq7
