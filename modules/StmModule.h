#pragma once
// The system trace macrocell: turns software writes to stimulus ports, and
// hardware events, into trace. Four attributes switch features; every other
// register value is fixed.
#include "modules/StmRegisters.h"
#include "plugin/base/ConfigurationModule.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace quorl {

class TimestampUtils;

class StmModule : public ConfigurationModule {
public:
    StmModule(std::string name, boost::shared_ptr<ConfigBlock> block, boost::shared_ptr<TimestampUtils> timestampUtils);
    ~StmModule() override;

    uint32_t getModuleType() const override { return TraceGenerator; }
    bool configure(boost::shared_ptr<TaProcess> process) override;
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return configure(process); }
    bool disable(boost::shared_ptr<TaProcess> process) override { return reset(process); }

    bool loadSTMSettings(boost::shared_ptr<ConfigBlock> block);
    // The STM's trace ID is fixed, whatever the block says.
    static uint32_t traceId();
    bool usesTimestamp() const { return timestampEnable; }

private:
    bool timestampEnable = false;
    boost::shared_ptr<TimestampUtils> timestampUtils;
    uint64_t baseAddress = 0;
    // The base address came from the block; without it nothing is accessed.
    bool baseAddressRead = false;
    uint32_t bankEventId = 0;
    bool hwEventsEnable = false;
    RegisterArray<stm::RegisterId, unsigned int, stm::REGISTER_COUNT> registers;
};

}  // namespace quorl
