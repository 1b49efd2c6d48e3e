// rq7 verify: reads back every register a configure run writes and reports
// the ones whose value differs.
#include "rq7/CaptureArgs.h"
#include "rq7/Cli.h"
#include "rq7/Fields.h"
#include "rq7/Plan.h"
#include "rq7/TargetMemory.h"
#include "tools/gta-sim/GtaSim.h"

#include <cstdio>
#include <iostream>
#include <map>
#include <set>
#include <utility>

namespace rq7 {

const char* const verifyHelp =
    "Usage: rq7 verify FILE\n"
    "\n"
    "Over the debug server that FILE's Target Access block names (GTA): reads\n"
    "back every register a configure run of FILE writes and prints one line per\n"
    "register whose value differs:\n"
    "  MODULE REGISTER ADDRESS: wrote X, reads Y (differing fields)\n"
    "Write-only registers (lock access, OS lock), status registers, bits that\n"
    "clear themselves (formatter flush and drain) and bits the trace unit's ID\n"
    "registers mark as not implemented are not compared. Run it after\n"
    "rq7.config -c and before a capture, which stops the sinks.\n"
    "\n"
    "Exit status: 0 all match, 1 a register differs or the server failed, 2\n"
    "usage or a file that cannot be loaded.\n";

namespace {

bool endsWith(const std::string& text, const char* tail) {
    const std::string t(tail);
    return text.size() >= t.size() && text.compare(text.size() - t.size(), t.size(), t) == 0;
}

// Bits of a register worth comparing: the read-write fields of its table;
// without a table all of it, but for write-only lock registers.
uint64_t comparedBits(const std::string& reg) {
    const quorl::RegisterFields* fields = quorl::findRegisterFields(reg);
    if (!fields) return endsWith(reg, "LAR") ? 0 : ~uint64_t(0);  // lock access, OS lock
    uint64_t bits = 0;
    for (const quorl::Field& f : *fields)
        if (f.access == quorl::FieldAccess::ReadWrite) bits |= f.mask();
    return bits;
}

// "bit 3, bits 8-10" of a difference.
std::string differingBits(uint64_t diff) {
    std::string out;
    for (unsigned bit = 0; bit < 64; ++bit) {
        if (!(diff >> bit & 1)) continue;
        unsigned last = bit;
        while (last + 1 < 64 && (diff >> (last + 1) & 1)) ++last;
        if (!out.empty()) out += ", ";
        out += last == bit ? "bit " + std::to_string(bit) : "bits " + std::to_string(bit) + "-" + std::to_string(last);
        bit = last;
    }
    return out;
}

std::string hex(uint64_t value, unsigned bits) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%0*llx", int(bits / 4), static_cast<unsigned long long>(value));
    return text;
}

using Location = std::pair<std::string, uint64_t>;  // memory space, address

}  // namespace

int verifyCommand(const std::vector<std::string>& args) {
    const CaptureArgs a = parseCaptureArgs(args, 0);
    return reportingFailures("verify", [&] {
        unsigned differing = 0;
        std::unique_ptr<TargetMemory> memory = connectTarget(a.file);
        const Plan plan = planAgainstTarget(a.file, *memory);
        // The last write of each register, in order of the first.
        std::vector<Location> order;
        std::map<Location, const Access*> last;
        for (const Access& w : plan.accesses) {
            if (w.op != Access::Op::Write) continue;
            const Location at{w.space, w.address};
            if (!last.count(at)) order.push_back(at);
            last[at] = &w;
        }
        for (const Location& at : order) {
            const Access& w = *last[at];
            uint64_t bits = comparedBits(w.reg);
            if (w.reg == quorl::etm::registerMap32[quorl::etm::TRCCONFIGR].name) {
                const uint64_t base = w.address - etmOffset(quorl::etm::TRCCONFIGR);
                bits &= implementedConfigBits(memory->read32(w.space, base + etmIdOffset(quorl::etm::ID_TRCIDR0)),
                                              memory->read32(w.space, base + etmIdOffset(quorl::etm::ID_TRCIDR2)));
            }
            if (w.width < 64) bits &= (uint64_t(1) << w.width) - 1;
            if (!bits) continue;
            const uint64_t reads = memory->read(w.space, w.address, w.width);
            const uint64_t diff = (reads ^ w.value) & bits;
            if (!diff) continue;
            ++differing;
            std::string fields;
            for (const std::string& f : differingFields(w.reg, w.value & bits, reads & bits))
                fields += (fields.empty() ? "" : ", ") + f;
            std::cout << w.module << " " << w.reg << " " << hex(w.address, 1) << ": wrote " << hex(w.value, w.width)
                      << ", reads " << hex(reads, w.width) << " (" << (fields.empty() ? differingBits(diff) : fields)
                      << ")\n";
        }
        return differing ? EXIT_FAIL : EXIT_OK;
    });
}

}  // namespace rq7
