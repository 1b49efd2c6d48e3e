#pragma once
// The register layer on which every hardware module stands.
//
// Register<T> is one target register of T = unsigned int or uint64_t. It keeps
// no picture of the hardware: every write goes to the target at once and every
// read comes from it, so the order of calls is the order on the target.
// RegisterManager<T> is an array of like registers at consecutive addresses,
// with one in-use bit each (ResourceManager).
#include "target.access/ExtAddress.h"
#include "target.access/TaProcess.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace quorl {

template <typename T>
class Register {
public:
    // An unusable placeholder; modules assign real registers over it.
    Register();
    Register(uint64_t address, std::string memorySpace, std::string name);
    Register(uint64_t address, std::string memorySpace, std::string name, T resetValue);

    // Both throw Exception "Error while writing <name>" / "Error while reading
    // <name>" for any failure of the process, or "Register not initialized".
    void write(boost::shared_ptr<TaProcess> process, const T& value);
    T read(boost::shared_ptr<TaProcess> process);
    // Writes the reset value if the register has one; otherwise touches nothing.
    void reset(boost::shared_ptr<TaProcess> process);

    const std::string& getName() const { return name; }
    const ExtAddress& getAddress() const { return address; }
    bool getHasResetValue() const { return hasResetValue; }
    T getResetValue() const { return resetValue; }
    bool isInitialized() const { return address.address != ExtAddress::NOT_INITIALIZED; }

private:
    bool hasResetValue;
    ExtAddress address;
    std::string name;
    T resetValue;
};

// Numbered hardware resources (comparators, counters) handed out one at a time.
struct ResourceManager {
    explicit ResourceManager(uint32_t count);
    virtual ~ResourceManager() = default;

    // Resizes to `count` resources, keeping the bits that remain.
    virtual void setNumberOfResources(unsigned count);

    // Lowest free index, or -1 when all are taken. The caller sets the bit.
    int firstFree() const;

    std::vector<bool> used;
};

template <typename T>
struct RegisterManager : ResourceManager {
    // Registers "<prefix>0" at baseAddress up to "<prefix><count-1>", each
    // sizeof(T) apart, each with reset value 0.
    RegisterManager(uint64_t baseAddress, std::string memorySpace, uint32_t count, std::string prefix);

    // Shrinks the array (after the module has learnt the real count from the
    // hardware); a larger count leaves everything as it is.
    void setNumberOfResources(unsigned count) override;

    std::vector<boost::shared_ptr<Register<T>>> registers;
    uint64_t baseAddress;
    std::string prefix;
    std::string memorySpace;
    T resetValue = 0;

private:
    void build(unsigned count);
};

extern template class Register<unsigned int>;
extern template class Register<uint64_t>;
extern template struct RegisterManager<unsigned int>;
extern template struct RegisterManager<uint64_t>;

}  // namespace quorl
