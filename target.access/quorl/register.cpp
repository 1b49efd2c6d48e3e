#include "target.access/quorl/register.h"

#include "app/base/Exception.h"
#include "target.access/quorl/AccessNote.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace quorl {

// Source lines carried by the register exceptions. The failed-access ones
// are caught and replaced by the wrapped ones, so only the uninitialised and
// wrapped lines reach callers.
namespace {
enum : uint32_t {
    LINE_READ_UNINITIALIZED = 104,
    LINE_READ_FAILED = 112,
    LINE_READ_WRAPPED = 118,
    LINE_WRITE_UNINITIALIZED = 137,
    LINE_WRITE_FAILED = 154,
    LINE_WRITE_WRAPPED = 161,
};
}  // namespace

template <typename T>
Register<T>::Register() : hasResetValue(false), name("Not initialized"), resetValue(0) {}

template <typename T>
Register<T>::Register(uint64_t a, std::string space, std::string n)
    : hasResetValue(false), address(a, std::move(space)), name(std::move(n)), resetValue() {}

template <typename T>
Register<T>::Register(uint64_t a, std::string space, std::string n, T reset)
    : hasResetValue(true), address(a, std::move(space)), name(std::move(n)), resetValue(reset) {}

template <typename T>
void Register<T>::write(boost::shared_ptr<TaProcess> process, const T& value) {
    if (!isInitialized()) throw Exception(LINE_WRITE_UNINITIALIZED, "Register not initialized");
    AccessNoteScope note(&AccessNote::reg, name);
    try {
        T local = value;
        if (!process->writeMemory(address, sizeof(T), 1, &local))
            throw Exception(LINE_WRITE_FAILED, "Failed write access operation");
    } catch (...) {
        // The cause is in the access process's own log; callers see one text.
        throw Exception("register", LINE_WRITE_WRAPPED, "Error while writing " + name);
    }
}

template <typename T>
T Register<T>::read(boost::shared_ptr<TaProcess> process) {
    if (!isInitialized()) throw Exception(LINE_READ_UNINITIALIZED, "Register not initialized");
    T local = 0;
    AccessNoteScope note(&AccessNote::reg, name);
    try {
        if (!process->readMemory(address, sizeof(T), 1, &local))
            throw Exception(LINE_READ_FAILED, "Failed read access operation");
    } catch (...) {
        throw Exception("register", LINE_READ_WRAPPED, "Error while reading " + name);
    }
    return local;
}

template <typename T>
void Register<T>::reset(boost::shared_ptr<TaProcess> process) {
    if (hasResetValue) write(process, resetValue);
}

ResourceManager::ResourceManager(uint32_t count) : used(count, false) {}

void ResourceManager::setNumberOfResources(unsigned count) {
    used.resize(count, false);
}

int ResourceManager::firstFree() const {
    for (size_t i = 0; i < used.size(); ++i)
        if (!used[i]) return static_cast<int>(i);
    return -1;
}

template <typename T>
RegisterManager<T>::RegisterManager(uint64_t base, std::string space, uint32_t count, std::string p)
    : ResourceManager(count), baseAddress(base), prefix(std::move(p)), memorySpace(std::move(space)) {
    build(count);
}

template <typename T>
void RegisterManager<T>::setNumberOfResources(unsigned count) {
    if (count > registers.size()) return;
    ResourceManager::setNumberOfResources(count);
    // The first `count` registers are already those a new build would make.
    registers.resize(count);
}

template <typename T>
void RegisterManager<T>::build(unsigned count) {
    registers.clear();
    registers.reserve(count);
    // One allocation per register, with its count: the ETM builds hundreds.
    for (unsigned i = 0; i < count; ++i)
        registers.push_back(boost::make_shared<Register<T>>(baseAddress + uint64_t(i) * sizeof(T), memorySpace,
                                                            prefix + std::to_string(i), resetValue));
}

template class Register<unsigned int>;
template class Register<uint64_t>;
template struct RegisterManager<unsigned int>;
template struct RegisterManager<uint64_t>;

}  // namespace quorl
