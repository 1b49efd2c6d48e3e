#include "rq7/Snapshot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <stdexcept>

namespace rq7 {

namespace {

std::string hex(uint64_t value, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(value));
    return text;
}

// "NAME(0xIII)=0xVVVVVVVV": the index is the register's offset in words.
std::string registerLine(const std::string& name, uint64_t offset, uint32_t value) {
    return name + "(" + hex(offset / 4, 3) + ")=" + hex(value, 8) + "\n";
}

std::string bytesOf(const std::vector<uint8_t>& data) {
    return std::string(data.begin(), data.end());
}

void fail(const std::string& what, const std::string& path) {
    throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

void writeFile(const std::string& path, const std::string& bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) fail("cannot create", path);
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            ::close(fd);
            fail("cannot write", path);
        }
        done += static_cast<size_t>(n);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) fail("cannot write", path);
}

void removeTree(const std::string& dir, const std::vector<SnapshotFile>& files) {
    for (const auto& f : files) ::unlink((dir + "/" + f.name).c_str());
    ::rmdir(dir.c_str());
}

}  // namespace

std::vector<SnapshotFile> snapshotFiles(const SnapshotContent& c) {
    std::vector<SnapshotFile> files;
    std::string deviceList, sources, cores, buffers, bufferSections;

    // One buffer per captured sink, named after its block.
    std::set<std::string> captured;
    for (size_t i = 0; i < c.buffers.size(); ++i) {
        const std::string name = deviceName(c.buffers[i].sink);
        captured.insert(c.buffers[i].sink);
        buffers += (i ? "," : "") + std::string("buffer") + std::to_string(i);
        bufferSections +=
            "\n[buffer" + std::to_string(i) + "]\nname=" + name + "\nfile=" + name + ".bin\nformat=coresight\n";
        files.push_back({name + ".bin", bytesOf(c.buffers[i].bytes)});
    }
    // A source whose chain reaches no captured sink is put with the first
    // buffer: with one sink that is where its trace went.
    auto bufferOf = [&](const std::string& sink) {
        const std::string& chosen = captured.count(sink) || c.buffers.empty() ? sink : c.buffers.front().sink;
        return deviceName(chosen);
    };

    std::string dumpSections;
    for (size_t i = 0; i < c.dumps.size(); ++i) {
        const std::string file = "mem_" + std::to_string(i) + ".bin";
        dumpSections += "\n[dump" + std::to_string(i + 1) + "]\nfile=" + file +
                        "\naddress=" + hex(c.dumps[i].address, 8) + "\nlength=" + hex(c.dumps[i].bytes.size(), 1) +
                        "\n";
        files.push_back({file, bytesOf(c.dumps[i].bytes)});
    }

    unsigned device = 0;
    auto addDevice = [&](const std::string& file, const std::string& text) {
        deviceList += "device" + std::to_string(device++) + "=" + file + "\n";
        files.push_back({file, text});
    };
    for (size_t i = 0; i < c.setup.units.size(); ++i) {
        const TraceUnit& unit = c.setup.units[i];
        const UnitRegisters& r = c.unitRegisters[i];
        const std::string core = deviceName(unit.block), etm = "ETM_" + core;
        addDevice(core + ".ini",
                  "[device]\nname=" + core + "\nclass=core\ntype=" + unit.coreType + "\n" + dumpSections);
        const uint32_t implemented = implementedConfigBits(r.ids[ID_INDEX_TRCIDR0], r.ids[ID_INDEX_TRCIDR2]);
        std::string regs = registerLine("TRCCONFIGR", etmOffset(quorl::etm::TRCCONFIGR), r.config & implemented) +
                           registerLine("TRCTRACEIDR", etmOffset(quorl::etm::TRCTRACEIDR), r.traceId);
        for (size_t k = 0; k < ETM_ID_COUNT; ++k)
            regs += registerLine(ETM_ID_REGISTERS[k].name(), ETM_ID_REGISTERS[k].offset(), r.ids[k]);
        addDevice(etm + ".ini", "[device]\nname=" + etm + "\nclass=trace_source\ntype=ETM4\n\n[regs]\n" + regs);
        sources += etm + "=" + bufferOf(unit.sink) + "\n";
        cores += core + "=" + etm + "\n";
    }
    for (size_t i = 0; i < c.setup.stms.size(); ++i) {
        const std::string name = "STM_" + deviceName(c.setup.stms[i].block);
        addDevice(name + ".ini", "[device]\nname=" + name + "\nclass=trace_source\ntype=STM\n\n[regs]\n" +
                                     registerLine("STMTCSR", stmOffset(quorl::stm::STMTCSR), c.stmControl[i]));
        sources += name + "=" + bufferOf(c.setup.stms[i].sink) + "\n";
    }

    files.push_back({"snapshot.ini",
                     "[snapshot]\nversion=1.0\n\n[device_list]\n" + deviceList + "\n[trace]\nmetadata=trace.ini\n"});
    files.push_back({"trace.ini", "[trace_buffers]\nbuffers=" + buffers + "\n" + bufferSections +
                                      "\n[source_buffers]\n" + sources + "\n[core_trace_sources]\n" + cores});
    return files;
}

void writeSnapshot(const std::vector<SnapshotFile>& files, const std::string& dir) {
    std::string path = dir;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    std::string work = path + ".tmp-XXXXXX";
    if (!::mkdtemp(&work[0])) fail("cannot create a directory beside", path);
    try {
        for (const auto& f : files) writeFile(work + "/" + f.name, f.bytes);
    } catch (...) {
        removeTree(work, files);
        throw;
    }
    // An earlier snapshot under that name is moved aside, then removed.
    struct stat st;
    std::string old;
    if (::stat(path.c_str(), &st) == 0) {
        old = path + ".old-XXXXXX";
        if (!::mkdtemp(&old[0]) || ::rename(path.c_str(), (old + "/previous").c_str()) != 0) {
            const int error = errno;
            ::rmdir(old.c_str());
            removeTree(work, files);
            errno = error;
            fail("cannot replace", path);
        }
    }
    if (::rename(work.c_str(), path.c_str()) != 0) {
        const int error = errno;
        removeTree(work, files);
        if (!old.empty() && ::rename((old + "/previous").c_str(), path.c_str()) == 0) ::rmdir(old.c_str());
        errno = error;
        fail("cannot rename the snapshot to", path);
    }
    std::error_code ignored;
    if (!old.empty()) std::filesystem::remove_all(old, ignored);
}

bool parseDumpRequest(const std::string& text, DumpRequest& r) {
    const auto first = text.find(':');
    if (first == std::string::npos || first == 0) return false;
    const auto second = text.find(':', first + 1);
    if (second == std::string::npos) return false;
    r.space = text.substr(0, first);
    const std::string address = text.substr(first + 1, second - first - 1), last = text.substr(second + 1);
    auto number = [](const std::string& s, uint64_t& v) {
        if (s.empty() || s[0] == '-' || s[0] == '+') return false;
        char* end = nullptr;
        errno = 0;
        v = std::strtoull(s.c_str(), &end, 0);
        return errno == 0 && *end == 0;
    };
    if (!number(address, r.address)) return false;
    if (!last.empty() && last[0] == '@') {
        r.file = last.substr(1);
        return !r.file.empty();
    }
    return number(last, r.length) && r.length > 0;
}

}  // namespace rq7
