// rq7 capture: stops the trace sinks of a configured target, reads their
// trace out over the debug server and writes it with a decoder snapshot.
#include "rq7/CaptureArgs.h"
#include "rq7/Cli.h"
#include "rq7/Plan.h"
#include "rq7/TargetMemory.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <set>
#include <stdexcept>
#include <thread>

namespace rq7 {

const char* const captureHelp =
    "Usage: rq7 capture FILE -o DIR [--dump SPACE:ADDRESS:LENGTH]...\n"
    "\n"
    "Over the debug server that FILE's Target Access block names (GTA): stops\n"
    "each enabled trace sink that stores trace (manual formatter flush, then\n"
    "capture disabled), reads its trace out (an internal buffer through its RAM\n"
    "read data register, a system-memory buffer from its base to the write\n"
    "pointer, a wrapped one from the write pointer round), and writes a trace\n"
    "decoder snapshot directory DIR with one buffer per sink and the trace\n"
    "units' registers as the target holds them. Run it after rq7.config -c.\n"
    "\n"
    "  -o DIR           the snapshot directory (replaced as a whole; nothing is\n"
    "                   left under that name when the capture fails)\n"
    "  --dump SPACE:ADDRESS:LENGTH   memory holding the traced code, read from\n"
    "                   the target and added to the snapshot (repeatable)\n"
    "\n"
    "Exit status: 0 captured, 1 a debug-server or sink failure, 2 usage or a\n"
    "file that cannot be loaded.\n";

namespace {

using Clock = std::chrono::steady_clock;
const std::chrono::milliseconds POLL_INTERVAL(1);
const std::chrono::milliseconds WAIT_LIMIT(2000);  // a flush takes microseconds on hardware
const uint64_t PROGRESS_FROM = 1 << 20;            // bytes; smaller buffers need no bar

class CaptureError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string hex(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

namespace tmc = quorl::tmc;
const uint32_t RRD_EMPTY = 0xFFFFFFFF;  // what the RAM read data register gives once all is read

uint32_t readTmc(TargetMemory& memory, const TraceSink& sink, tmc::RegisterId id) {
    return memory.read32(sink.space, sink.base + tmcOffset(id));
}
void writeTmc(TargetMemory& memory, const TraceSink& sink, tmc::RegisterId id, uint32_t value) {
    memory.write32(sink.space, sink.base + tmcOffset(id), value);
}

// Polls a register until `field` reads `expected`, within WAIT_LIMIT.
void waitFor(TargetMemory& memory, const TraceSink& sink, tmc::RegisterId id, const quorl::Field& field,
             uint64_t expected, const char* what) {
    const auto deadline = Clock::now() + WAIT_LIMIT;
    for (;;) {
        const uint32_t value = readTmc(memory, sink, id);
        if (field.get(value) == expected) return;
        if (Clock::now() >= deadline)
            throw CaptureError(sink.block + ": " + what + " (" + tmc::registerMap[id].name + " at " +
                               hex(sink.base + tmcOffset(id)) + " reads " + hex(value) + " after " +
                               std::to_string(WAIT_LIMIT.count()) + " ms)");
        std::this_thread::sleep_for(POLL_INTERVAL);
    }
}

// The order of the trace controller's manual: stop on flush, manual flush,
// wait for the flush and for the controller to be ready, stop capture.
void stopSink(TargetMemory& memory, const TraceSink& sink) {
    const uint32_t formatter = readTmc(memory, sink, tmc::FFCR) | tmc::FFCR_StopOnFl(1);
    writeTmc(memory, sink, tmc::FFCR, formatter);
    writeTmc(memory, sink, tmc::FFCR, formatter | tmc::FFCR_FlushMan(1));
    waitFor(memory, sink, tmc::FFCR, tmc::FFCR_FlushMan, 0, "the formatter flush did not complete");
    waitFor(memory, sink, tmc::STS, tmc::STS_TMCReady, 1, "the controller did not become ready");
    writeTmc(memory, sink, tmc::CTL, tmc::CTL_TraceCaptEn(0));
}

class Progress {
public:
    Progress(const std::string& name, uint64_t total)
        : name(name), total(total), shown(total > PROGRESS_FROM && ::isatty(2)) {}
    void operator()(uint64_t done) {
        if (!shown) return;
        const unsigned percent = static_cast<unsigned>(done * 100 / total);
        if (percent == last) return;
        last = percent;
        const unsigned width = 40, filled = percent * width / 100;
        std::fprintf(stderr, "\r%s [%s%s] %3u%% %llu KiB", name.c_str(), std::string(filled, '#').c_str(),
                     std::string(width - filled, ' ').c_str(), percent, static_cast<unsigned long long>(done / 1024));
        if (done == total) std::fputc('\n', stderr);
    }

private:
    std::string name;
    uint64_t total;
    bool shown;
    unsigned last = ~0u;
};

// A buffer in system memory: base to the write pointer, or from the write
// pointer round to it when it wrapped.
std::vector<uint8_t> readSystemBuffer(TargetMemory& memory, const TraceSink& sink, const std::string& dataSpace) {
    const uint32_t status = readTmc(memory, sink, tmc::STS);
    const uint64_t base =
        uint64_t(readTmc(memory, sink, tmc::DBAHI)) << tmc::DBAHI_ADDRESS_SHIFT | readTmc(memory, sink, tmc::DBALO);
    const uint64_t size = uint64_t(readTmc(memory, sink, tmc::RSZ)) * 4;
    const uint64_t pointer = uint64_t(readTmc(memory, sink, tmc::RWPHI)) << 32 | readTmc(memory, sink, tmc::RWP);
    if (pointer < base || pointer > base + size)
        throw CaptureError(sink.block + ": write pointer " + hex(pointer) + " lies outside the buffer " + hex(base) +
                           " + " + hex(size));
    const bool wrapped = tmc::STS_Full.get(status);
    const uint64_t total = wrapped ? size : pointer - base;
    std::vector<uint8_t> out;
    out.reserve(total);
    Progress progress(sink.block, total);
    if (wrapped) {
        readRange(memory, dataSpace, pointer, base + size - pointer, out, [&](uint64_t n) { progress(n); });
        const uint64_t first = out.size();
        readRange(memory, dataSpace, base, pointer - base, out, [&](uint64_t n) { progress(first + n); });
    } else {
        readRange(memory, dataSpace, base, total, out, [&](uint64_t n) { progress(n); });
    }
    return out;
}

// An internal buffer: word by word through RRD until it reads empty, at most
// the RAM's size. A full one is read from the write pointer (the oldest data).
std::vector<uint8_t> readInternalBuffer(TargetMemory& memory, const TraceSink& sink) {
    const uint64_t words = readTmc(memory, sink, tmc::RSZ);
    if (tmc::STS_Full.get(readTmc(memory, sink, tmc::STS)))
        writeTmc(memory, sink, tmc::RRP, readTmc(memory, sink, tmc::RWP));
    std::vector<uint8_t> out;
    Progress progress(sink.block, words * 4);
    for (uint64_t i = 0; i < words; ++i) {
        const uint32_t word = readTmc(memory, sink, tmc::RRD);
        if (word == RRD_EMPTY) break;
        for (int b = 0; b < 4; ++b) out.push_back(static_cast<uint8_t>(word >> (8 * b)));
        progress(out.size());
    }
    return out;
}

// Trace IDs that a formatted buffer carries (the ID bytes of its frames).
std::set<unsigned> traceIdsIn(const std::vector<uint8_t>& bytes) {
    std::set<unsigned> ids;
    for (size_t frame = 0; frame + 16 <= bytes.size(); frame += 16) {
        const uint8_t* f = &bytes[frame];
        if (f[0] == 0xFF && f[1] == 0xFF && f[2] == 0xFF && f[3] == 0x7F) continue;  // frame sync
        for (int i = 0; i < 15; i += 2)
            if (f[i] & 1) {
                const unsigned id = f[i] >> 1;
                if (id != 0 && id != 0x7F) ids.insert(id);
            }
    }
    return ids;
}

}  // namespace

int captureCommand(const std::vector<std::string>& args) {
    const CaptureArgs a = parseCaptureArgs(args, OPT_OUT | OPT_DUMP);
    return reportingFailures("capture", [&] {
        std::unique_ptr<TargetMemory> memory = connectTarget(a.file);
        SnapshotContent content;
        content.setup = traceSetup(a.file, planAgainstTarget(a.file, *memory));

        std::set<unsigned> known;
        for (const TraceSink& sink : content.setup.sinks) {
            if (!sink.storesTrace()) continue;  // a pass-through keeps nothing
            stopSink(*memory, sink);
            TraceBuffer buffer{sink.block, {}};
            buffer.bytes =
                sink.systemBuffer ? readSystemBuffer(*memory, sink, sink.space) : readInternalBuffer(*memory, sink);
            content.buffers.push_back(std::move(buffer));
        }
        if (content.buffers.empty())
            std::cerr << "rq7 capture: warning: " << a.file << " enables no sink that stores trace\n";
        for (const TraceUnit& unit : content.setup.units) {
            content.unitRegisters.push_back(readUnitRegisters(*memory, unit));
            known.insert(
                static_cast<unsigned>(quorl::etm::TRCTRACEIDR_TRACEID.get(content.unitRegisters.back().traceId)));
        }
        for (const StmUnit& s : content.setup.stms) {
            content.stmControl.push_back(memory->read32(s.space, s.base + stmOffset(quorl::stm::STMTCSR)));
            known.insert(static_cast<unsigned>(quorl::stm::STMTCSR_TRACEID.get(content.stmControl.back())));
        }
        for (const TraceBuffer& buffer : content.buffers)
            for (unsigned id : traceIdsIn(buffer.bytes))
                if (!known.count(id))
                    std::cerr << "rq7 capture: warning: " << buffer.sink << " holds trace of ID " << hex(id)
                              << ", which no trace source of " << a.file << " has\n";
        for (const DumpRequest& d : a.dumps) content.dumps.push_back(loadDump(d, memory.get()));
        writeSnapshot(snapshotFiles(content), a.out);
        size_t total = 0;
        for (const TraceBuffer& buffer : content.buffers) total += buffer.bytes.size();
        std::cerr << "rq7 capture: " << content.buffers.size() << " buffer(s), " << total << " bytes, written to "
                  << a.out << "\n";
        return EXIT_OK;
    });
}

}  // namespace rq7
