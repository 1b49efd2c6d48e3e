#pragma once
// One probe of the network-on-chip: a trace generator for packets and
// transactions on the interconnect.
#include "modules/NocProbeRegisters.h"
#include "plugin/base/ConfigurationModule.h"

#include <cstdint>
#include <string>

namespace quorl {

class NocProbeModule : public ConfigurationModule {
public:
    NocProbeModule(std::string name, boost::shared_ptr<ConfigBlock> block);

    uint32_t getModuleType() const override { return TraceGenerator; }
    bool configure(boost::shared_ptr<TaProcess> process) override;
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return configure(process); }
    bool disable(boost::shared_ptr<TaProcess> process) override;

    bool loadNoCProbeSettings(boost::shared_ptr<ConfigBlock> block);

private:
    bool enablePayload = false;
    bool enableStatistics = false;
    bool enableIntrusiveMode = false;
    std::string probeName;
    uint32_t tracePort = 0;
    uint64_t baseAddress = 0;
    // The base address came from the block; without it nothing is accessed.
    bool baseAddressRead = false;
    RegisterArray<nocprobe::RegisterId, unsigned int, nocprobe::REGISTER_COUNT> registers;
};

}  // namespace quorl
