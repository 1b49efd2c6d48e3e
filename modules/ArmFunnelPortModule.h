#pragma once
// One input port of a funnel. It owns no hardware: the plugin hands its
// enable and priority to the funnel, which programs them.
#include "modules/FunnelRegisters.h"
#include "plugin/base/ConfigurationModule.h"

#include <cstdint>
#include <string>

namespace quorl {

class ArmFunnelPortModule : public ConfigurationModule {
public:
    static const uint32_t MAX_PORT = funnel::PORT_COUNT - 1;
    static const uint32_t LOWEST_PRIORITY = funnel::CSTFPCR_PRIPORT[0].mask();  // largest PRIPORTn value

    ArmFunnelPortModule(std::string name, boost::shared_ptr<ConfigBlock> block);

    uint32_t getModuleType() const override { return FunnelPort; }
    bool configure(boost::shared_ptr<TaProcess>) override { return true; }
    bool reset(boost::shared_ptr<TaProcess>) override { return true; }
    bool enable(boost::shared_ptr<TaProcess>) override { return true; }
    bool disable(boost::shared_ptr<TaProcess>) override { return true; }

    bool readModuleConfiguration(boost::shared_ptr<ConfigBlock> block);

    bool getPortEnable() const { return portEnable; }
    uint32_t getPortPriority() const { return portPriority; }
    uint32_t getPortNumber() const { return portNumber; }

private:
    bool portEnable = false;
    uint32_t portPriority = 0;
    uint32_t portNumber = 0;
};

}  // namespace quorl
