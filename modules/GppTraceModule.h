#pragma once
// The ETMv4 trace unit of one general-purpose core: settings from the core's
// configuration block, the programming sequence, the reset sequence and the
// filters of LinuxTraceGenerator (comparators, tracepoints, VMID, context id).
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "modules/EtmRegisters.h"
#include "modules/LinuxTraceGenerator.h"
#include "plugin/base/ConfigurationModule.h"
#include "target.access/quorl/register.h"

namespace quorl {

class TimestampUtils;

class GppTraceModule : public ConfigurationModule, public LinuxTraceGenerator {
public:
    GppTraceModule(std::string name, boost::shared_ptr<ConfigBlock> block,
                   boost::shared_ptr<TimestampUtils> timestampUtils);
    ~GppTraceModule() override;

    uint32_t getModuleType() const override { return TraceGenerator; }
    bool configure(boost::shared_ptr<TaProcess> process) override;
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override;
    bool disable(boost::shared_ptr<TaProcess> process) override;

    bool readModuleConfiguration(boost::shared_ptr<ConfigBlock> block);

    // What the block asked for, for tools that check a configuration.
    uint32_t getTraceId() const { return atbId; }
    bool usesTimestamp() const { return timestamp; }

private:
    bool isLockstepCore(boost::shared_ptr<TaProcess> process);
    // True for the secondary core of a lockstep pair, which is left alone.
    bool isSecondaryLockstepCore(boost::shared_ptr<TaProcess> process);
    void unlock(boost::shared_ptr<TaProcess> process);
    void discoverResources(boost::shared_ptr<TaProcess> process);
    void programVmidComparator(boost::shared_ptr<TaProcess> process);
    void programContextId(boost::shared_ptr<TaProcess> process);
    void programAddressComparator(boost::shared_ptr<TaProcess> process,
                                  boost::shared_ptr<Register<uint64_t>> valueRegister,
                                  boost::shared_ptr<Register<uint64_t>> typeRegister, uint64_t address);
    bool programAddressRanges(boost::shared_ptr<TaProcess> process);
    bool programTracepoints(boost::shared_ptr<TaProcess> process);
    // Mask of excluded exception levels for the comparators' EXLEVEL fields.
    uint32_t exceptionLevelMask() const;
    void buildRegisters();

    void write(boost::shared_ptr<TaProcess> process, etm::Register32 id, uint32_t value);
    uint32_t read(boost::shared_ptr<TaProcess> process, etm::Register32 id);
    void resetRegister(boost::shared_ptr<TaProcess> process, etm::Register32 id);

    std::vector<std::string> traceScenarios;
    std::vector<std::string> traceModes;
    std::string traceGeneratorType;
    std::string lockstepMemorySpace;
    uint32_t atbId = 0;
    bool enableLogging = false;
    bool timestamp = false;
    bool cycleCounting = false;
    bool mainLockstepCluster = false;
    std::string blockName;
    uint64_t baseAddress = ~uint64_t(0);
    bool baseAddressRead = false;
    uint64_t lockstepStatusAddress = 0;
    boost::shared_ptr<TimestampUtils> timestampUtils;
    std::unique_ptr<Register<uint32_t>> lockstepStatus;

    // Indexed by ids of their own width only.
    RegisterArray<etm::Register32, uint32_t, etm::REGISTER32_COUNT> registers32;
    RegisterArray<etm::Register64, uint64_t, etm::REGISTER64_COUNT> registers64;
    std::unique_ptr<RegisterManager<uint32_t>> resourceSelectors;
    std::unique_ptr<RegisterManager<uint64_t>> vmidComparators;
    std::unique_ptr<RegisterManager<uint64_t>> addressValues;
    std::unique_ptr<RegisterManager<uint64_t>> addressTypes;
};

}  // namespace quorl
