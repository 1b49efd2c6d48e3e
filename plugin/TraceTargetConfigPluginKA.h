#pragma once
// First-generation trace plugin: owns the modules made from the configuration
// and drives them in order. Module loading is left to the generation above.
#include "plugin/ITraceConfigKA.h"
#include "plugin/Plugin.h"

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quorl {
class ConfigBlock;
class ConfigurationModule;
class Log;
}  // namespace quorl

namespace CONFIG_KA {

typedef std::map<std::string, boost::shared_ptr<quorl::ConfigurationModule>> ModuleMap;
typedef std::map<std::string, std::string> DependencyMap;
typedef std::vector<boost::shared_ptr<quorl::ConfigurationModule>> ModuleList;

class TraceTargetConfigPluginKA : public quorl::ITraceConfigKA, public quorl::Plugin {
public:
    TraceTargetConfigPluginKA(const std::string& id, const std::string& version, const std::string& path,
                              const std::string& name);
    ~TraceTargetConfigPluginKA() override;

    bool configure() override;
    void setAccessProcess(boost::shared_ptr<quorl::TaProcess> process) override;
    void abort() override;
    uint32_t getStatus() override;

    virtual bool reconfigure();
    virtual uint32_t getFillLevelTrace(std::string moduleName);
    virtual void loadModules() = 0;

    // Stops every generator that the configuration enables; never saves.
    bool disableTrace();
    // Text of the block's `Dependency` attribute, or "" when there is none.
    std::string loadConfigBlockDependency(boost::shared_ptr<quorl::ConfigBlock> block);

    // What the last loadModules produced (read-only views for callers and tests).
    const ModuleMap& getModuleMap() const { return moduleMap; }
    const DependencyMap& getDependencyMap() const { return dependencyMap; }
    const ModuleList& getModuleList() const { return moduleList; }
    bool isBufferMonitoring() const { return bufferMonitoring; }
    // With saving off, a configure run leaves the file as it is (for tools
    // that only look at what a run would do).
    void setSaveEnabled(bool enabled) { saveEnabled = enabled; }

protected:
    // Fill level of the sink `moduleName`; messages go to `channel`.
    uint32_t fillLevelTrace(const std::string& moduleName, quorl::Log& channel);
    // Writes the configuration back to the file it came from.
    bool saveConfiguration();

    boost::shared_ptr<quorl::TaProcess> accessProcess;
    bool abortRequested = false;
    uint32_t status = 0;
    std::string configurationPath;
    bool bufferMonitoring = false;
    bool saveEnabled = true;
    ModuleMap moduleMap;
    DependencyMap dependencyMap;
    ModuleList moduleList;
};

}  // namespace CONFIG_KA
