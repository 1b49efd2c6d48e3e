#pragma once
// A CoreSight funnel: merges up to eight trace streams into one. Its port
// enables and priorities are gathered by the plugin from the port blocks.
#include "modules/FunnelRegisters.h"
#include "plugin/base/ConfigurationModule.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quorl {

class Log;
extern Log logArmFunnelModule;  // shared by funnels and their ports

class ArmFunnelModule : public ConfigurationModule {
public:
    ArmFunnelModule(std::string name, boost::shared_ptr<ConfigBlock> block);

    uint32_t getModuleType() const override { return FunnelOrObserver; }
    // Programs the funnel only while it is enabled (reached by a dependency chain).
    bool configure(boost::shared_ptr<TaProcess> process) override;
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return configure(process); }
    bool disable(boost::shared_ptr<TaProcess> process) override;

    bool readModuleConfiguration(boost::shared_ptr<ConfigBlock> block);

    // Bit n / element n belong to port n. Ports beyond the given vectors
    // count as off with priority 0.
    void setPortEnables(std::vector<bool> enables) { portEnables = std::move(enables); }
    void setPortPriorities(std::vector<uint32_t> priorities) { portPriorities = std::move(priorities); }

private:
    unsigned int controlValue() const;
    unsigned int priorityValue() const;

    std::vector<bool> portEnables;
    std::vector<uint32_t> portPriorities;
    uint64_t baseAddress = 0;
    // The base address came from the block; without it nothing is accessed.
    bool baseAddressRead = false;
    RegisterArray<funnel::RegisterId, unsigned int, funnel::REGISTER_COUNT> registers;
};

}  // namespace quorl
