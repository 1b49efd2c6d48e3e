#pragma once
// One NoC observer: where NoC trace leaves for the trace bus. Its registers
// lie on two sides, the ATB side and the STP side, each with its own base.
#include "modules/NocObserverRegisters.h"
#include "plugin/base/ConfigurationModule.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quorl {

// A known observer and its number.
struct ObserverIdentifier {
    std::string name;
    uint32_t number;
};

class NocObserverModule : public ConfigurationModule {
public:
    // The record of the known observers; nothing looks anything up in it.
    static const std::vector<ObserverIdentifier> observerIdentifiers;

    NocObserverModule(std::string name, boost::shared_ptr<ConfigBlock> block);

    uint32_t getModuleType() const override { return FunnelOrObserver; }
    bool configure(boost::shared_ptr<TaProcess> process) override;
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return configure(process); }
    bool disable(boost::shared_ptr<TaProcess> process) override;

    bool loadNoCObserverSettings(boost::shared_ptr<ConfigBlock> block);
    uint32_t getTraceId() const { return atbId; }

private:
    uint8_t syncPeriod = 0;  // only the low 8 bits of the attribute are kept
    uint32_t atbId = 0;
    uint64_t baseAddress = 0;
    uint64_t stpBaseAddress = 0;
    // Both base addresses came from the block; without them nothing is accessed.
    bool baseAddressRead = false;
    RegisterArray<nocobserver::RegisterId, unsigned int, nocobserver::REGISTER_COUNT> registers;
};

}  // namespace quorl
