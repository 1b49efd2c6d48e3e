#pragma once
// A decoder snapshot directory: snapshot.ini naming the device files, one
// file per core, core trace unit and STM with its register values, trace.ini
// naming the trace buffers and which source goes to which buffer and core,
// and the binary files (buffers, memory dumps) beside them.
#include "rq7/TraceSetup.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rq7 {

// Memory holding traced code, added to every core so the decoder can follow
// instructions.
struct MemoryDump {
    std::string space;  // where it was read ("" for a file given as is)
    uint64_t address = 0;
    std::vector<uint8_t> bytes;
};

// Register values of one unit, read from a target or an image, or defaults.
struct UnitRegisters {
    uint32_t config = 0, traceId = 0;
    uint32_t ids[ETM_ID_COUNT] = {};  // in ETM_ID_REGISTERS order
};

struct TraceBuffer {
    std::string sink;  // block of the sink it came from
    std::vector<uint8_t> bytes;
};

struct SnapshotContent {
    TraceSetup setup;
    std::vector<UnitRegisters> unitRegisters;  // one per setup.units entry
    std::vector<uint32_t> stmControl;          // one per setup.stms entry
    std::vector<TraceBuffer> buffers;
    std::vector<MemoryDump> dumps;
};

// The text of each file of the snapshot, by file name, in writing order.
struct SnapshotFile {
    std::string name;
    std::string bytes;
};
std::vector<SnapshotFile> snapshotFiles(const SnapshotContent& content);

// Writes the files into a new directory beside `dir` and renames it to
// `dir` (replacing an earlier snapshot there), so that a failure leaves no
// partial snapshot under that name. Throws std::runtime_error.
void writeSnapshot(const std::vector<SnapshotFile>& files, const std::string& dir);

// "SPACE:ADDRESS:LENGTH" of --dump; false when malformed.
struct DumpRequest {
    std::string space;
    uint64_t address = 0, length = 0;
    std::string file;  // "SPACE:ADDRESS:@FILE": the bytes of FILE instead of a read
};
bool parseDumpRequest(const std::string& text, DumpRequest& request);

}  // namespace rq7
