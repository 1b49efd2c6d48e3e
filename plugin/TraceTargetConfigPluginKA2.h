#pragma once
// Second-generation trace plugin: builds the modules from a fixed walk of the
// configuration tree, links their dependencies, hands the funnel port settings
// to the funnels, and configures by reset-then-enable with sinks last.
#include "modules/FunnelRegisters.h"
#include "plugin/TraceTargetConfigPluginKA.h"

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quorl {
class TraceModuleCreator;
}

namespace CONFIG_KA2 {

// Settings of one funnel gathered from its port blocks, indexed by port number.
struct FunnelPortSettings {
    static const unsigned PortCount = quorl::funnel::PORT_COUNT;
    std::vector<bool> portEnables = std::vector<bool>(PortCount, false);
    std::vector<uint32_t> portPriorities = std::vector<uint32_t>(PortCount, 0);
};

class TraceTargetConfigPluginKA2 : public CONFIG_KA::TraceTargetConfigPluginKA {
public:
    TraceTargetConfigPluginKA2(const std::string& id, const std::string& version, const std::string& path,
                               const std::string& name);
    ~TraceTargetConfigPluginKA2() override;

    bool configure() override;
    bool reconfigure() override;
    uint32_t getFillLevelTrace(std::string moduleName) override;
    void loadModules() override;
    // Loads, then enables only the generators of one kind (a number of
    // TraceModuleCreator::ModuleKind). `name` is accepted and not used.
    virtual bool configureModuleType(int32_t moduleType, std::string name);

    // Resets the generators and everything their dependencies reach.
    bool resetModules();

    // The blocks whose children loadModules turns into modules, in walk order.
    static std::vector<std::string> moduleParentBlocks();
    // Whether the sink block `name` is built for the TraceLocation text `location`.
    static bool keepsDataStream(const std::string& name, const std::string& location);
    // The funnel a port block's settings go to.
    static std::string funnelNameOfPort(const std::string& portName);

private:
    // Calls visit(child, module) for each child block of `blockName`, with the
    // module the factory makes of it (null for none), in file order.
    template <class Visit>
    void forEachChildModule(const std::string& blockName, Visit visit);
    void keepModule(const boost::shared_ptr<quorl::ConfigurationModule>& module, const std::string& dependency);
    void loadGenerators(const std::string& blockName, bool readDependency);
    void loadSocModules(const std::string& blockName, std::map<std::string, FunnelPortSettings>& funnels);
    void applyFunnelSettings(const std::map<std::string, FunnelPortSettings>& funnels);
    // Returns false when the dependency links must be left out.
    bool loadDataStreams();
    void linkDependencies();

    boost::shared_ptr<quorl::TraceModuleCreator> moduleCreator;
};

}  // namespace CONFIG_KA2
