#include "rq7/Plan.h"

#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/ConfigurationLoader.h"
#include "common/src/Names.h"
#include "plugin/TraceModuleCreator.h"
#include "plugin/TraceTargetConfigPluginKA2.h"
#include "target.access/ExtAddress.h"
#include "target.access/TaProcess.h"
#include "target.access/quorl/AccessNote.h"
#include "target.access/server/DummyServer.h"
#include "tools/gta-sim/GtaSim.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

namespace rq7 {

namespace {

const std::string PluginId = "rq7-plan";
const std::string PluginVersion = "1.0.0";
const std::string PluginClassName = "TraceTargetConfigPluginKA2";
// What a debug server without options answers to "mem list-ms".
const std::vector<std::string> DefaultDebugSpaces = {"APB", "AXI"};
const unsigned MaxAccessBytes = 8;

uint64_t lowBytes(uint64_t value, unsigned bytes) {
    return bytes >= 8 ? value : value & ((uint64_t(1) << (8 * bytes)) - 1);
}

// Stands in for the target. Without an image it answers as the Logger
// server does (one mailbox holding the last value written, whatever the
// address); with one it behaves as the debug-server process against a server
// holding that memory (64-bit writes go out as two 32-bit halves, low first).
class PlanProcess : public quorl::TaProcess {
public:
    PlanProcess(std::vector<Access>& out, const gtasim::MemoryImage* image, bool reachable)
        : out(out), reachable(reachable) {
        if (image) {
            memory.reset(new gtasim::MemoryImage(*image));
            spaces = DefaultDebugSpaces;
            for (const std::string& space : image->spaces())
                if (std::find(spaces.begin(), spaces.end(), space) == spaces.end()) spaces.push_back(space);
            quorl::ExtAddress::memorySpaceIds = spaces;
        } else {
            quorl::ExtAddress::memorySpaceIds = {"logger"};
        }
    }

    bool writeMemory(const quorl::ExtAddress& where, uint64_t width, uint32_t count, void* source) override {
        if (!source || !reachable) return false;
        const auto* bytes = static_cast<const uint8_t*>(source);
        if (!memory) {
            // One message of at most eight bytes, as the agent protocol carries it.
            const unsigned size = unsigned(std::min<uint64_t>(width * count, MaxAccessBytes));
            uint64_t value = 0;
            std::memcpy(&value, bytes, size);
            mailbox = lowBytes(value, size);
            record(Access::Op::Write, where, size, mailbox);
            return true;
        }
        for (uint32_t i = 0; i < count; ++i, bytes += width) {
            uint64_t value = 0;
            std::memcpy(&value, bytes, std::min<uint64_t>(width, MaxAccessBytes));
            if (width == 8) {
                quorl::ExtAddress upper(where.address + 4, where.memorySpace);
                quorl::ExtAddress lower(where.address, where.memorySpace);
                lower.address += uint64_t(i) * 8;
                upper.address += uint64_t(i) * 8;
                store(lower, 4, value & 0xffffffffu);
                store(upper, 4, value >> 32);
            } else {
                quorl::ExtAddress at(where.address + uint64_t(i) * width, where.memorySpace);
                store(at, unsigned(width), value);
            }
        }
        return true;
    }

    bool readMemory(const quorl::ExtAddress& where, uint64_t width, uint32_t count, void* destination) override {
        if (!destination || !reachable) return false;
        auto* bytes = static_cast<uint8_t*>(destination);
        if (!memory) {
            const unsigned size = unsigned(std::min<uint64_t>(width * count, MaxAccessBytes));
            // The whole mailbox comes back; the process keeps the low bytes.
            std::memcpy(bytes, &mailbox, size);
            record(Access::Op::Read, where, size, lowBytes(mailbox, size));
            return true;
        }
        for (uint32_t i = 0; i < count; ++i, bytes += width) {
            quorl::ExtAddress at(where.address + uint64_t(i) * width, where.memorySpace);
            const unsigned w = unsigned(std::min<uint64_t>(width, MaxAccessBytes));
            const uint64_t value = memory->readValue(spaceOf(at), at.address, w, false);
            std::memcpy(bytes, &value, w);
            record(Access::Op::Read, at, w, value);
        }
        return true;
    }

    bool readMemoryPiped(const quorl::ExtAddress& where, uint64_t width, uint32_t count, void* destination) override {
        // The agent protocol has no piped read.
        return memory && readMemory(where, width, count, destination);
    }

    // Registers by name: the Logger server keeps them in its mailbox and
    // prints nothing; a debug server does not offer them.
    bool writeRegister(const std::string&, uint64_t width, uint32_t count, void* source) override {
        if (memory || !source || !reachable) return false;
        uint64_t value = 0;
        std::memcpy(&value, source, std::min<uint64_t>(width * count, MaxAccessBytes));
        mailbox = value;
        return true;
    }
    bool readRegister(const std::string&, uint64_t, uint32_t, uint64_t* destination) override {
        if (memory || !destination || !reachable) return false;
        *destination = mailbox;
        return true;
    }
    bool reserved() override { return false; }
    unsigned int accessType() override { return memory ? ACCESS_GTA : ACCESS_AGENT; }

private:
    // An empty memory space is the server's first one.
    const std::string& spaceOf(const quorl::ExtAddress& at) const {
        return at.memorySpace.empty() && !spaces.empty() ? spaces.front() : at.memorySpace;
    }

    void store(const quorl::ExtAddress& at, unsigned width, uint64_t value) {
        memory->writeValue(spaceOf(at), at.address, value, width, false);
        record(Access::Op::Write, at, width, value);
    }

    void record(Access::Op op, const quorl::ExtAddress& at, unsigned bytes, uint64_t value) {
        const quorl::AccessNote& note = quorl::currentAccessNote;
        Access access{op,
                      note.module ? *note.module : std::string(),
                      note.reg ? *note.reg : std::string(),
                      at.memorySpace,
                      at.address,
                      bytes * 8,
                      value};
        out.push_back(std::move(access));
    }

    std::vector<Access>& out;
    std::unique_ptr<gtasim::MemoryImage> memory;
    std::vector<std::string> spaces;
    uint64_t mailbox = 0;
    bool reachable;
};

// Sends what the run prints on stdout (its log lines) to stderr meanwhile.
class StdoutToStderr {
public:
    StdoutToStderr() : saved(std::cout.rdbuf(std::cerr.rdbuf())) {}
    ~StdoutToStderr() { std::cout.rdbuf(saved); }

private:
    std::streambuf* saved;
};

// Why `path` cannot be read at all, or "" when it can.
std::string unreadable(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) return path + ": cannot open: " + std::strerror(errno);
    if (S_ISDIR(status.st_mode)) return path + ": is a directory";
    if (!std::ifstream(path, std::ios::binary)) return path + ": cannot open: " + std::strerror(errno);
    return std::string();
}

std::string describeLoadFailure(const std::string& path) {
    const std::string why = unreadable(path);
    if (!why.empty()) return why;
    std::ifstream in(path, std::ios::binary);
    if (!quorl::hasConfigurationExtension(path))
        return path + ": not taken as a configuration file: the name must end in .xml";
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    xrt::exrt_error code{};
    quorl::loadConfigurationFromMemory(text.data(), text.size(), &code);
    std::ostringstream message;
    message << path << ": not a valid configuration file (XML error " << int(code);
    const char* detail = xrt::get_error_text(code);
    if (detail && *detail) message << ": " << detail;
    message << ")";
    return message.str();
}

// Whether the access process of the run could reach its target: a Logger
// process reaches the in-process server only on its port. Other methods are
// taken as reachable; an unknown one or LTA yields no process at all.
enum class Endpoint { Reachable, Unreachable, NoProcess };

Endpoint endpointOf(const quorl::Configuration& configuration, std::string& why) {
    auto block = configuration.getConfigBlock(quorl::BLOCK_TARGET_ACCESS);
    if (!block) {
        why = "no 'Target Access' block";
        return Endpoint::NoProcess;
    }
    auto method =
        boost::dynamic_pointer_cast<quorl::EnumAttribute>(block->getConfigAttribute(quorl::ATTR_TARGET_ACCESS_METHOD));
    auto address =
        boost::dynamic_pointer_cast<quorl::StringAttribute>(block->getConfigAttribute(quorl::ATTR_SERVER_ADDRESS));
    auto port = boost::dynamic_pointer_cast<quorl::UInt32Attribute>(block->getConfigAttribute(quorl::ATTR_SERVER_PORT));
    if (!method || !address || !port) {
        why = "'Target Access' lacks 'Target Access Method', 'ServerAddress' or 'ServerPort'";
        return Endpoint::NoProcess;
    }
    auto values = method->getValues();
    if (!values || values->size() == 0) {
        why = "'Target Access Method' has no value";
        return Endpoint::NoProcess;
    }
    const std::string name = values->at(0);
    if (name == quorl::VALUE_LOGGER)
        return port->getValue() == quorl::DummyServer::DEFAULT_PORT ? Endpoint::Reachable : Endpoint::Unreachable;
    if (name == quorl::VALUE_GTA) return Endpoint::Reachable;
    why = "target access method '" + name + "' yields no access process";
    return Endpoint::NoProcess;
}

}  // namespace

gtasim::MemoryImage loadMemoryImage(const std::string& path) {
    gtasim::MemoryImage image;
    std::string error;
    const std::string why = unreadable(path);
    if (!why.empty()) throw LoadError(why);
    if (!image.load(path, false, error)) throw LoadError(error);
    return image;
}

Plan makePlan(const std::string& configFile, const PlanOptions& options) {
    // A file that cannot be read needs no loader's log line besides the message.
    const std::string refused = unreadable(configFile);
    if (!refused.empty()) throw LoadError(refused);
    StdoutToStderr logToStderr;
    quorl::TraceModuleCreator::forgetSharedObjects();
    CONFIG_KA2::TraceTargetConfigPluginKA2 plugin(PluginId, PluginVersion, configFile, PluginClassName);
    return makePlan(plugin, configFile, options);
}

Plan makePlan(CONFIG_KA2::TraceTargetConfigPluginKA2& plugin, const std::string& configFile,
              const PlanOptions& options) {
    StdoutToStderr logToStderr;
    boost::shared_ptr<quorl::Configuration> configuration = plugin.getConfiguration();
    if (!configuration) throw LoadError(describeLoadFailure(configFile));
    plugin.setSaveEnabled(false);
    // Modules of an earlier load must not share objects with this run's.
    quorl::TraceModuleCreator::forgetSharedObjects();

    Plan plan;
    std::string why;
    const Endpoint endpoint = endpointOf(*configuration, why);
    if (endpoint == Endpoint::NoProcess) {
        std::cerr << "rq7: " << configFile << ": " << why << ": the run would fail" << std::endl;
        return plan;
    }
    if (endpoint == Endpoint::Unreachable)
        std::cerr << "rq7: " << configFile << ": the Logger server listens on port " << quorl::DummyServer::DEFAULT_PORT
                  << " only: every access would fail" << std::endl;

    boost::shared_ptr<quorl::TaProcess> process(
        new PlanProcess(plan.accesses, options.image, endpoint == Endpoint::Reachable));
    plugin.setAccessProcess(process);
    plan.success = options.disable ? plugin.disableTrace() : plugin.configure();
    return plan;
}

}  // namespace rq7
