// rq7 snapshot: a decoder snapshot of what a configure run leaves in the
// trace units, without a target.
#include "rq7/CaptureArgs.h"
#include "rq7/Cli.h"
#include "rq7/Plan.h"
#include "rq7/TargetMemory.h"
#include "tools/gta-sim/GtaSim.h"

#include <fstream>
#include <iostream>
#include <iterator>

namespace rq7 {

const char* const snapshotHelp =
    "Usage: rq7 snapshot FILE -o DIR [--image IMAGE] [--trace BUFFER]... [--dump MEMORY]...\n"
    "\n"
    "Writes a trace decoder snapshot directory DIR for configuration FILE: the\n"
    "register values its core trace units and STMs hold after a configure run,\n"
    "one device file per core, unit and STM, and trace.ini naming the buffers.\n"
    "\n"
    "  -o DIR           the snapshot directory (replaced as a whole)\n"
    "  --image IMAGE    target memory as gta-sim loads it: the run reads from it,\n"
    "                   and the units' ID registers come from it; without it the\n"
    "                   values are those of a Logger run, the ID registers those\n"
    "                   of an Armv8-A unit\n"
    "  --trace BUFFER   captured trace of the next sink that stores trace, in\n"
    "                   plan order (repeatable)\n"
    "  --dump SPACE:ADDRESS:LENGTH   memory holding the traced code, read from\n"
    "                   IMAGE; SPACE:ADDRESS:@FILE takes FILE's bytes (repeatable)\n"
    "\n"
    "Exit status: 0 written, 1 the run would fail or writing failed, 2 usage or\n"
    "a file that cannot be loaded.\n";

int snapshotCommand(const std::vector<std::string>& args) {
    const CaptureArgs a = parseCaptureArgs(args, OPT_OUT | OPT_IMAGE | OPT_TRACE | OPT_DUMP | OPT_DUMP_FILE);
    return reportingFailures("snapshot", [&] {
        gtasim::MemoryImage image;
        PlanOptions options;
        if (!a.image.empty()) {
            image = loadMemoryImage(a.image);
            options.image = &image;
        }
        const Plan plan = makePlan(a.file, options);
        if (!plan.success) {
            std::cerr << "rq7 snapshot: a configure run of " << a.file << " would fail\n";
            return EXIT_FAIL;
        }
        SnapshotContent content;
        content.setup = traceSetup(a.file, plan);
        std::unique_ptr<TargetMemory> memory = a.image.empty() ? nullptr : imageMemory(image);
        for (const TraceUnit& unit : content.setup.units) {
            UnitRegisters r = defaultUnitRegisters(unit);
            if (memory) {
                const UnitRegisters ids = readUnitRegisters(*memory, unit);
                std::copy(std::begin(ids.ids), std::end(ids.ids), r.ids);
            }
            content.unitRegisters.push_back(r);
        }
        for (const StmUnit& s : content.setup.stms) content.stmControl.push_back(s.control);
        size_t next = 0;
        for (const TraceSink& sink : content.setup.sinks) {
            if (!sink.storesTrace()) continue;
            TraceBuffer buffer{sink.block, {}};
            if (next < a.traces.size()) {
                std::ifstream in(a.traces[next], std::ios::binary);
                if (!in) throw std::runtime_error("cannot read " + a.traces[next]);
                buffer.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
                ++next;
            }
            content.buffers.push_back(std::move(buffer));
        }
        if (next < a.traces.size())
            std::cerr << "rq7 snapshot: warning: more --trace files than sinks that store trace; "
                      << a.traces.size() - next << " left out\n";
        for (const DumpRequest& d : a.dumps) content.dumps.push_back(loadDump(d, memory.get()));
        writeSnapshot(snapshotFiles(content), a.out);
        return EXIT_OK;
    });
}

}  // namespace rq7
