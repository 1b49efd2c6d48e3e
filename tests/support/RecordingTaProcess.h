#pragma once
// A fake access process for unit tests: records every access in call order,
// answers reads from a per-address value (0 by default), and fails a chosen
// access by returning false or by throwing.
#include "app/base/Exception.h"
#include "target.access/ExtAddress.h"
#include "target.access/TaProcess.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <ostream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace rq7test {

enum class AccessKind { Read, Write, ReadPiped, ReadRegister, WriteRegister };

// One recorded call. For memory accesses `address` and `memorySpace` come from
// the ExtAddress; for register accesses `name` is set and `address` is 0.
// `value` is the first element written, or the value a read returned.
struct Access {
    AccessKind kind = AccessKind::Read;
    uint64_t address = 0;
    uint64_t value = 0;
    uint64_t width = 4;
    uint32_t count = 1;
    std::string memorySpace;
    std::string name;

    static Access write(uint64_t address, uint64_t value, uint64_t width = 4, std::string memorySpace = std::string()) {
        Access a;
        a.kind = AccessKind::Write;
        a.address = address;
        a.value = value;
        a.width = width;
        a.memorySpace = std::move(memorySpace);
        return a;
    }
    static Access read(uint64_t address, uint64_t value = 0, uint64_t width = 4,
                       std::string memorySpace = std::string()) {
        Access a = write(address, value, width, std::move(memorySpace));
        a.kind = AccessKind::Read;
        return a;
    }

    bool operator==(const Access& o) const {
        return std::tie(kind, address, value, width, count, memorySpace, name) ==
               std::tie(o.kind, o.address, o.value, o.width, o.count, o.memorySpace, o.name);
    }
    bool operator!=(const Access& o) const { return !(*this == o); }
};

inline std::ostream& operator<<(std::ostream& os, const Access& a) {
    static const char* const kinds[] = {"read", "write", "read-piped", "read-register", "write-register"};
    os << kinds[int(a.kind)] << "(";
    if (!a.name.empty()) os << a.name << ", ";
    os << "0x" << std::hex << a.address << ", 0x" << a.value << std::dec << ", w" << a.width;
    if (a.count != 1) os << " x" << a.count;
    if (!a.memorySpace.empty()) os << ", \"" << a.memorySpace << "\"";
    return os << ")";
}

// The quorl::Exception `f` throws; a test failure when it throws none.
inline quorl::Exception thrownBy(const std::function<void()>& f) {
    try {
        f();
    } catch (const quorl::Exception& e) {
        return e;
    }
    ADD_FAILURE() << "no quorl::Exception thrown";
    return quorl::Exception("", 0, "");
}

enum class Failure {
    ReturnFalse,       // the process reports an access it did not do
    ThrowException,    // quorl::Exception, as the agent process raises
    ThrowRuntimeError  // std::runtime_error, as the GTA process raises
};

class RecordingTaProcess : public quorl::TaProcess {
public:
    std::vector<Access> accesses;

    // Every read of `address` returns `value`.
    void setReadValue(uint64_t address, uint64_t value) { values[address] = value; }
    // The access with this 0-based call index fails (it is still recorded).
    void failAtIndex(size_t index, Failure how) { failIndex[index] = how; }
    // Every access of this kind to this address fails.
    void failAtAddress(uint64_t address, AccessKind kind, Failure how) { failAddress[{address, kind}] = how; }
    void setAccessType(unsigned int t) { type = t; }

    void clear() { accesses.clear(); }

    bool writeMemory(const quorl::ExtAddress& where, uint64_t width, uint32_t count, void* source) override {
        Access a = Access::write(where.address, firstElement(source, width), width, where.memorySpace);
        a.count = count;
        return record(a);
    }
    bool readMemory(const quorl::ExtAddress& where, uint64_t width, uint32_t count, void* destination) override {
        return doRead(AccessKind::Read, where, width, count, destination);
    }
    bool readMemoryPiped(const quorl::ExtAddress& where, uint64_t width, uint32_t count, void* destination) override {
        return doRead(AccessKind::ReadPiped, where, width, count, destination);
    }
    bool writeRegister(const std::string& name, uint64_t width, uint32_t count, void* source) override {
        Access a = Access::write(0, firstElement(source, width), width);
        a.kind = AccessKind::WriteRegister;
        a.name = name;
        a.count = count;
        return record(a);
    }
    bool readRegister(const std::string& name, uint64_t width, uint32_t count, uint64_t* destination) override {
        Access a = Access::read(0, 0, width);
        a.kind = AccessKind::ReadRegister;
        a.name = name;
        a.count = count;
        if (destination) *destination = 0;
        return record(a);
    }
    bool reserved() override { return false; }
    unsigned int accessType() override { return type; }

private:
    static uint64_t firstElement(const void* p, uint64_t width) {
        uint64_t v = 0;
        if (p) std::memcpy(&v, p, width < 8 ? width : 8);  // little-endian host
        return v;
    }

    bool doRead(AccessKind kind, const quorl::ExtAddress& where, uint64_t width, uint32_t count, void* destination) {
        auto it = values.find(where.address);
        uint64_t v = it == values.end() ? 0 : it->second;
        Access a = Access::read(where.address, v, width, where.memorySpace);
        a.kind = kind;
        a.count = count;
        bool ok = record(a);
        if (ok && destination) std::memcpy(destination, &v, width < 8 ? width : 8);
        return ok;
    }

    bool record(const Access& a) {
        size_t index = accesses.size();
        accesses.push_back(a);
        const Failure* how = nullptr;
        auto i = failIndex.find(index);
        if (i != failIndex.end()) how = &i->second;
        auto j = failAddress.find({a.address, a.kind});
        if (!how && j != failAddress.end()) how = &j->second;
        if (!how) return true;
        switch (*how) {
            case Failure::ReturnFalse:
                return false;
            case Failure::ThrowException:
                throw quorl::Exception("RecordingTaProcess", 0, "injected failure");
            case Failure::ThrowRuntimeError:
                throw std::runtime_error("injected failure");
        }
        return false;
    }

    std::map<uint64_t, uint64_t> values;
    std::map<size_t, Failure> failIndex;
    std::map<std::pair<uint64_t, AccessKind>, Failure> failAddress;
    unsigned int type = quorl::TaProcess::ACCESS_AGENT;
};

}  // namespace rq7test
