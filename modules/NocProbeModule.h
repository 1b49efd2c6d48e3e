#pragma once
// One probe of the network-on-chip: a trace generator for packets and
// transactions on the interconnect.
#include "plugin/base/ConfigurationModule.h"
#include "target.access/quorl/register.h"

#include <array>
#include <cstdint>
#include <string>

namespace quorl {

class NocProbeModule : public ConfigurationModule {
public:
    // Register indices, in the order of the register map.
    enum RegisterId {
        NOC_PROBE_CFGCTL, NOC_PROBE_MAINCTL, NOC_PROBE_TRACEPORT_SEL, NOC_PROBE_FILTER_LUT,
        REGISTER_COUNT
    };

    NocProbeModule(std::string name, boost::shared_ptr<ConfigBlock> block);

    uint32_t getModuleType() const override { return TraceGenerator; }
    bool configure(boost::shared_ptr<TaProcess> process) override;
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return configure(process); }
    bool disable(boost::shared_ptr<TaProcess> process) override;

    bool loadNoCProbeSettings(boost::shared_ptr<ConfigBlock> block);


private:
    Register<unsigned int>& reg(RegisterId id) { return registers[id]; }

    bool enablePayload = false;
    bool enableStatistics = false;
    bool enableIntrusiveMode = false;
    std::string probeName;
    uint32_t tracePort = 0;
    uint64_t baseAddress = 0;
    // The base address came from the block; without it nothing is accessed.
    bool baseAddressRead = false;
    std::array<Register<unsigned int>, REGISTER_COUNT> registers;
};

}  // namespace quorl
