#include "plugin/TraceTargetConfigPluginKA.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/Names.h"
#include "modules/DataStream.h"
#include "plugin/base/ConfigurationModule.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <sstream>

namespace CONFIG_KA {

quorl::Log logPluginKA("quorl.ka.rq.config.TraceTargetConfigPluginKA");

TraceTargetConfigPluginKA::TraceTargetConfigPluginKA(const std::string& id, const std::string& version,
                                                     const std::string& path, const std::string& name)
    : quorl::Plugin(id, version, path, name), configurationPath(path) {}

TraceTargetConfigPluginKA::~TraceTargetConfigPluginKA() = default;

void TraceTargetConfigPluginKA::setAccessProcess(boost::shared_ptr<quorl::TaProcess> process) {
    accessProcess = process;
}

void TraceTargetConfigPluginKA::abort() {
    abortRequested = true;
}

uint32_t TraceTargetConfigPluginKA::getStatus() {
    return status;
}

// A file that was not written back is worth a line on stderr: the result
// line only reports the programming of the hardware.
bool TraceTargetConfigPluginKA::saveConfiguration() {
    if (!saveEnabled) return true;
    if (!configuration) return false;
    if (configuration->save(configurationPath)) return true;
    const int error = errno;
    std::cerr << "Cannot save configuration to " << configurationPath << ": " << std::strerror(error) << std::endl;
    return false;
}

bool TraceTargetConfigPluginKA::configure() {
    loadModules();
    // Stop everything first, forced, so that the modules they depend on stop too.
    for (const auto& module : moduleList) {
        if (abortRequested) return false;
        if (!module->disableModule(accessProcess, true)) return false;
    }
    for (const auto& module : moduleList) {
        if (abortRequested) return false;
        if (module->isEnableTrace() && !module->enableModule(accessProcess)) return false;
    }
    saveConfiguration();
    return true;
}

bool TraceTargetConfigPluginKA::reconfigure() {
    for (const auto& module : moduleList) {
        if (abortRequested) return false;
        if (!module->disableModule(accessProcess, true)) return false;
    }
    // This loop deliberately does not look at abortRequested.
    for (const auto& module : moduleList)
        if (module->isEnableTrace() && !module->enableModule(accessProcess)) return false;
    saveConfiguration();
    return true;
}

bool TraceTargetConfigPluginKA::disableTrace() {
    loadModules();
    // Not forced: in a fresh run only the generators themselves are stopped.
    for (const auto& module : moduleList)
        if (module->isEnableTrace() && !module->disableModule(accessProcess, false)) return false;
    return true;
}

uint32_t TraceTargetConfigPluginKA::getFillLevelTrace(std::string moduleName) {
    return fillLevelTrace(moduleName, logPluginKA);
}

uint32_t TraceTargetConfigPluginKA::fillLevelTrace(const std::string& moduleName, quorl::Log& channel) {
    auto found = moduleMap.find(moduleName);
    if (found == moduleMap.end()) return 0;
    auto stream = boost::dynamic_pointer_cast<quorl::DataStream>(found->second);
    if (!stream) {
        channel.write("[getFillLevelTrace]: Error: Could not find any data stream module.!", quorl::LOG_ERROR);
        return 0;
    }
    if (!stream->supportsBufferMonitoring()) {
        channel.write(
            "[getFillLevelTrace]: Error: The data stream module does not support buffer "
            "monitoring.",
            quorl::LOG_WARNING);
        return 0;
    }
    return stream->getFillLevel(accessProcess);
}

std::string TraceTargetConfigPluginKA::loadConfigBlockDependency(boost::shared_ptr<quorl::ConfigBlock> block) {
    if (!block) {
        std::cerr << "[loadConfigBlockDependency]: NULL config block" << std::endl;
        return std::string();
    }
    auto dependency =
        boost::dynamic_pointer_cast<quorl::StringAttribute>(block->getConfigAttribute(quorl::ATTR_DEPENDENCY));
    if (dependency) return dependency->getValue();
    RQ7_LOG(logPluginKA, quorl::LOG_ERROR,
            "[loadConfigBlockDependency]: Error: Could not find attribute "
                << quorl::ATTR_DEPENDENCY << " in config block " << block->getName() << ".\n");
    return std::string();
}

}  // namespace CONFIG_KA
