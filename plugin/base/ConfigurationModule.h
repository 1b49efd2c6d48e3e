#pragma once
// Common life of every trace hardware module: built from one configuration
// block, switched on and off along its dependencies, and recording the
// outcome back into the block's "Enable Trace" attribute.
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace quorl {

class ConfigBlock;
class TaProcess;

class ConfigurationModule {
public:
    // Kind of a module, as the plugin branches on it.
    enum ModuleType : uint32_t {
        TraceGenerator = 0,    // GppTraceModule, StmModule, NocProbeModule
        DataStreamKind = 1,    // DataStream, HugoModule, HugoModuleDDR
        FunnelOrObserver = 2,  // ArmFunnelModule, NocObserverModule
        FunnelPort = 3,        // ArmFunnelPortModule
    };

    ConfigurationModule(std::string name, boost::shared_ptr<ConfigBlock> block);

    virtual uint32_t getModuleType() const = 0;
    virtual ~ConfigurationModule();
    // Programs the hardware for the configured settings.
    virtual bool configure(boost::shared_ptr<TaProcess> process) = 0;
    // Puts the hardware back.
    virtual bool reset(boost::shared_ptr<TaProcess> process) = 0;
    // What enableModule runs once the dependencies are on.
    virtual bool enable(boost::shared_ptr<TaProcess> process) = 0;
    // What disableModule runs before the dependencies are released.
    virtual bool disable(boost::shared_ptr<TaProcess> process) = 0;

    void addDependency(boost::shared_ptr<ConfigurationModule> dependency);

    // Switches the dependencies on first (counting this module as their user),
    // then this module. A dependency cycle is reported and ends in false.
    bool enableModule(boost::shared_ptr<TaProcess> process);

    // Switches this module off, then releases the dependencies; one whose
    // last user has gone is switched off if it is on, or if force is set
    // (force applies to the first level only).
    bool disableModule(boost::shared_ptr<TaProcess> process, bool force);

    // Writes `enabled` into the block's "Enable Trace" attribute, if it has one.
    void updateEnableTrace();

    // Number at the end of the name ("... Port 3" gives 3). False if the last
    // word does not start with a number.
    bool getModuleIndexFromName(uint32_t& index) const;

    const std::string& getName() const { return name; }
    const std::string& getMemorySpace() const { return memorySpace; }
    bool isEnabled() const { return enabled; }
    bool isEnableTrace() const { return enableTrace; }
    uint32_t getUseCount() const { return useCount; }
    boost::shared_ptr<ConfigBlock> getConfigBlock() const { return configBlock; }
    const std::vector<boost::shared_ptr<ConfigurationModule>>& getDependencies() const { return dependencies; }

protected:
    std::string name;
    std::string memorySpace;
    bool enabled = false;
    bool enableTrace = false;
    boost::shared_ptr<ConfigBlock> configBlock;
    std::vector<boost::shared_ptr<ConfigurationModule>> dependencies;
    uint32_t useCount = 0;

private:
    // Set while an enableModule or disableModule of this module is under way,
    // so that a dependency chain leading back here is caught.
    bool walking = false;
};

}  // namespace quorl
