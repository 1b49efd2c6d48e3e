#include "plugin/TraceTargetConfigPluginKA2.h"

#include "app/base/Exception.h"
#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/Names.h"
#include "modules/ArmFunnelModule.h"
#include "modules/ArmFunnelPortModule.h"
#include "modules/DataStream.h"
#include "plugin/TraceModuleCreator.h"
#include "plugin/base/ConfigurationModule.h"
#include "target.access/quorl/AccessNote.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <unordered_set>

namespace CONFIG_KA2 {

using quorl::ConfigBlock;
using quorl::ConfigurationModule;
using quorl::TraceModuleCreator;

quorl::Log logPluginKA2("quorl.ka.tracetargetconfigplugin.ka2.TraceTargetConfigPluginKA2");

namespace {

// Blocks whose children are trace generators, in the order they are loaded.
// The last entry is empty on purpose: the lookup is made and finds nothing
// unless a top-level block has an empty name.
const std::string emptyBlockName;
const std::string* const generatorBlocks[] = {
    &quorl::BLOCK_TRACE_GENERATORS_CORE,     &quorl::BLOCK_TRACE_GENERATORS_PXDI, &quorl::BLOCK_TRACE_GENERATORS_DDDI,
    &quorl::BLOCK_TRACE_GENERATORS_NOC_MAIN, &quorl::BLOCK_TRACE_GENERATORS_STM,  &emptyBlockName,
};

// Blocks whose children are funnels, funnel ports and observers.
const std::string* const socBlocks[] = {
    &quorl::BLOCK_SOC_MODULES,
    &quorl::BLOCK_GPP_FUNNEL,
    &quorl::BLOCK_NOC_MODULES,
};

}  // namespace

// "GPP Cluster Funnel 1 Port 3" belongs to "GPP Cluster Funnel 1": the text
// before the character that precedes the last "Port".
std::string TraceTargetConfigPluginKA2::funnelNameOfPort(const std::string& portName) {
    const std::string::size_type at = portName.rfind(quorl::WORD_PORT);
    return portName.substr(0, at - 1);
}

TraceTargetConfigPluginKA2::TraceTargetConfigPluginKA2(const std::string& id, const std::string& version,
                                                       const std::string& path, const std::string& name)
    : TraceTargetConfigPluginKA(id, version, path, name) {}

TraceTargetConfigPluginKA2::~TraceTargetConfigPluginKA2() = default;

uint32_t TraceTargetConfigPluginKA2::getFillLevelTrace(std::string moduleName) {
    return fillLevelTrace(moduleName, logPluginKA2);
}

void TraceTargetConfigPluginKA2::loadModules() {
    moduleCreator.reset(new TraceModuleCreator());
    moduleMap.clear();
    dependencyMap.clear();
    moduleList.clear();
    if (!configuration) return;

    // The timestamp object must exist before any core or STM module is built.
    moduleCreator->createModule(configuration->getConfigBlock(quorl::BLOCK_TIMESTAMP_GENERATOR));

    for (const std::string* blockName : generatorBlocks) loadGenerators(*blockName, true);
    loadGenerators(quorl::BLOCK_DEBUG_MODULES, false);

    std::map<std::string, FunnelPortSettings> funnels;
    for (const std::string* blockName : socBlocks) loadSocModules(*blockName, funnels);
    applyFunnelSettings(funnels);

    if (loadDataStreams()) linkDependencies();
}

template <class Visit>
void TraceTargetConfigPluginKA2::forEachChildModule(const std::string& blockName, Visit visit) {
    boost::shared_ptr<ConfigBlock> parent = configuration->getConfigBlock(blockName);
    if (!parent) return;
    auto children = parent->getConfigBlocks();
    if (!children) return;
    for (std::size_t i = 0; i < children->size(); ++i) {
        boost::shared_ptr<ConfigBlock> child = (*children)[i];
        // The module is made before the dependency is read: their log lines
        // come in that order.
        boost::shared_ptr<ConfigurationModule> module = moduleCreator->createModule(child);
        visit(child, module);
    }
}

void TraceTargetConfigPluginKA2::keepModule(const boost::shared_ptr<ConfigurationModule>& module,
                                            const std::string& dependency) {
    moduleMap[module->getName()] = module;
    if (!dependency.empty()) dependencyMap[module->getName()] = dependency;
}

void TraceTargetConfigPluginKA2::loadGenerators(const std::string& blockName, bool readDependency) {
    forEachChildModule(blockName, [&](const boost::shared_ptr<ConfigBlock>& child,
                                      const boost::shared_ptr<ConfigurationModule>& module) {
        // The dependency is read, and a missing one reported, even for a child
        // that gives no module.
        const std::string dependency = readDependency ? loadConfigBlockDependency(child) : std::string();
        if (!module) return;
        moduleList.push_back(module);
        keepModule(module, dependency);
    });
}

void TraceTargetConfigPluginKA2::loadSocModules(const std::string& blockName,
                                                std::map<std::string, FunnelPortSettings>& funnels) {
    forEachChildModule(blockName, [&](const boost::shared_ptr<ConfigBlock>& child,
                                      const boost::shared_ptr<ConfigurationModule>& module) {
        const std::string dependency = loadConfigBlockDependency(child);
        // Cluster and SoC funnel names classify as no module: nothing to keep.
        if (!module) return;

        if (module->getModuleType() == ConfigurationModule::FunnelPort) {
            auto port = boost::dynamic_pointer_cast<quorl::ArmFunnelPortModule>(module);
            if (!port) {
                logPluginKA2.write("ArmFunnelPortModule cast failed. Check configModule returned from creator.",
                                   quorl::LOG_ERROR);
                return;
            }
            const uint32_t number = port->getPortNumber();
            // The port has reported a number beyond the funnel's eight inputs
            // itself; its settings have nowhere to go.
            if (number < FunnelPortSettings::PortCount) {
                FunnelPortSettings& settings = funnels[funnelNameOfPort(module->getName())];
                settings.portEnables[number] = port->getPortEnable();
                settings.portPriorities[number] = port->getPortPriority();
            }
        }

        keepModule(module, dependency);
    });
}

void TraceTargetConfigPluginKA2::applyFunnelSettings(const std::map<std::string, FunnelPortSettings>& funnels) {
    for (const auto& entry : funnels) {
        auto found = moduleMap.find(entry.first);
        if (found == moduleMap.end() || !found->second ||
            found->second->getModuleType() != ConfigurationModule::FunnelOrObserver)
            continue;
        auto funnel = boost::dynamic_pointer_cast<quorl::ArmFunnelModule>(found->second);
        if (!funnel) {
            // An observer reached through a port name: same kind, other class.
            logPluginKA2.write("Could not cast to ArmFunnelModule", quorl::LOG_ERROR);
            continue;
        }
        funnel->setPortEnables(entry.second.portEnables);
        funnel->setPortPriorities(entry.second.portPriorities);
    }
}

bool TraceTargetConfigPluginKA2::loadDataStreams() {
    boost::shared_ptr<ConfigBlock> streams = configuration->getConfigBlock(quorl::BLOCK_DATA_STREAMS);
    if (!streams) {
        // No sinks in this configuration; the generators are still linked.
        return true;
    }

    auto location =
        boost::dynamic_pointer_cast<quorl::EnumAttribute>(streams->getConfigAttribute(quorl::ATTR_TRACE_LOCATION));
    boost::shared_ptr<quorl::Vector<std::string>> values;
    if (!location) {
        RQ7_LOG(logPluginKA2, quorl::LOG_ERROR,
                "[loadDataStreamSettings]Could not find 'TraceCollectionMode' config block for " << streams->getName());
    } else {
        values = location->getValues();
        if (!values || values->size() == 0) {
            RQ7_LOG(logPluginKA2, quorl::LOG_ERROR,
                    "[loadDataStreamSettings]Could not get value for 'TraceCollectionMode' "
                    "config block for "
                        << streams->getName());
            values.reset();
        }
    }

    auto children = streams->getConfigBlocks();
    if (!children) {
        logPluginKA2.write("Data Streams config block has no Config Blocks.", quorl::LOG_ERROR);
        return false;
    }
    // Without a location no sink can be placed: leave the sinks out, keep the links.
    if (!values) return true;
    const std::string locationText = (*values)[0];

    for (std::size_t i = 0; i < children->size(); ++i) {
        boost::shared_ptr<ConfigBlock> child = (*children)[i];
        const std::string childName = child->getName();
        if (!keepsDataStream(childName, locationText)) continue;

        boost::shared_ptr<ConfigurationModule> module = moduleCreator->createModule(child);
        if (!module) return false;
        const std::string dependency = loadConfigBlockDependency(child);
        auto stream = boost::dynamic_pointer_cast<quorl::DataStream>(module);
        if (stream && stream->supportsBufferMonitoring()) bufferMonitoring = true;
        moduleMap[childName] = module;
        if (!dependency.empty()) dependencyMap[childName] = dependency;
    }
    return true;
}

bool TraceTargetConfigPluginKA2::keepsDataStream(const std::string& name, const std::string& location) {
    // A DDR sink exists only where the location names DDR; others always.
    return name.find(quorl::WORD_DDR) == std::string::npos || location.find(quorl::VALUE_DDR) != std::string::npos;
}

std::vector<std::string> TraceTargetConfigPluginKA2::moduleParentBlocks() {
    std::vector<std::string> names;
    for (const std::string* name : generatorBlocks)
        if (!name->empty()) names.push_back(*name);
    names.push_back(quorl::BLOCK_DEBUG_MODULES);
    for (const std::string* name : socBlocks) names.push_back(*name);
    names.push_back(quorl::BLOCK_DATA_STREAMS);
    return names;
}

void TraceTargetConfigPluginKA2::linkDependencies() {
    // Links made so far, module name to dependency name. Each module has at
    // most one dependency, so a cycle shows as a chain that comes back.
    std::map<std::string, std::string> linked;
    for (const auto& entry : dependencyMap) {
        auto module = moduleMap.find(entry.first);
        auto dependency = moduleMap.find(entry.second);
        if (module == moduleMap.end() || dependency == moduleMap.end() || !module->second || !dependency->second)
            continue;

        std::string chain = entry.first;
        std::string at = entry.second;
        bool cycle = false;
        for (std::size_t steps = 0; steps <= linked.size(); ++steps) {
            chain += " -> " + at;
            if (at == entry.first) {
                cycle = true;
                break;
            }
            auto next = linked.find(at);
            if (next == linked.end()) break;
            at = next->second;
        }
        if (cycle) {
            RQ7_LOG(logPluginKA2, quorl::LOG_ERROR,
                    "[linkDependencies]: Error: Dependency cycle " << chain << ". The dependency of " << entry.first
                                                                   << " on " << entry.second << " is ignored.");
            continue;
        }
        module->second->addDependency(dependency->second);
        linked[entry.first] = entry.second;
    }
}

bool TraceTargetConfigPluginKA2::resetModules() {
    std::vector<std::string> names;
    std::unordered_set<std::string> listed;
    for (const auto& module : moduleList) {
        names.push_back(module->getName());
        listed.insert(names.back());
    }

    // Close the list under the dependencies in one pass: appended names are
    // walked too. A name already listed is not appended again.
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto dependency = dependencyMap.find(names[i]);
        if (dependency != dependencyMap.end() && listed.insert(dependency->second).second)
            names.push_back(dependency->second);
    }

    for (const std::string& name : names) {
        auto found = moduleMap.find(name);
        if (found == moduleMap.end()) continue;
        if (abortRequested) return false;
        if (!found->second) continue;
        quorl::AccessNoteScope note(&quorl::AccessNote::module, found->second->getName());
        try {
            if (!found->second->reset(accessProcess)) return false;
        } catch (const quorl::Exception& e) {
            // Modules after a failing one are left as they are, and the result is
            // still true: callers go on to enable what they can.
            RQ7_LOG(logPluginKA2, quorl::LOG_ERROR, "Unable to reset module: " << e.getMessage());
            return true;
        }
    }
    return true;
}

bool TraceTargetConfigPluginKA2::configure() {
    loadModules();
    resetModules();
    for (const auto& module : moduleList) {
        if (abortRequested) return false;
        if (module->isEnableTrace() && !module->enableModule(accessProcess)) return false;
    }
    // Sinks wanted for their own sake, unless a dependency chain already started them.
    for (const auto& entry : moduleMap) {
        if (abortRequested) return false;
        const auto& module = entry.second;
        if (module->getModuleType() == ConfigurationModule::DataStreamKind && !module->isEnabled() &&
            module->isEnableTrace() && !module->enableModule(accessProcess))
            return false;
    }
    saveConfiguration();
    return true;
}

bool TraceTargetConfigPluginKA2::reconfigure() {
    resetModules();
    for (const auto& module : moduleList)
        if (module->isEnableTrace() && !module->enableModule(accessProcess)) return false;
    saveConfiguration();
    return true;
}

bool TraceTargetConfigPluginKA2::configureModuleType(int32_t moduleType, std::string) {
    loadModules();
    for (const auto& module : moduleList) {
        if (!module->isEnableTrace()) continue;
        if (TraceModuleCreator::moduleTypeFromName(module->getName()) == moduleType &&
            !module->enableModule(accessProcess))
            return false;
    }
    saveConfiguration();
    return true;
}

}  // namespace CONFIG_KA2
