#include "plugin/base/ConfigurationModule.h"

#include <sstream>

#include "app/base/Exception.h"
#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "target.access/TaProcess.h"
#include "target.access/quorl/AccessNote.h"

namespace quorl {

Log logConfigurationModule("quorl.ka.rq.config.ConfigurationModule");

namespace {

// Marks a module as being walked for the length of one enable or disable.
class WalkGuard {
public:
    explicit WalkGuard(bool& flag) : flag(flag) { flag = true; }
    ~WalkGuard() { flag = false; }
    WalkGuard(const WalkGuard&) = delete;
    WalkGuard& operator=(const WalkGuard&) = delete;

private:
    bool& flag;
};

}  // namespace

ConfigurationModule::ConfigurationModule(std::string name, boost::shared_ptr<ConfigBlock> block)
    : name(std::move(name)), configBlock(std::move(block)) {}

ConfigurationModule::~ConfigurationModule() = default;

void ConfigurationModule::addDependency(boost::shared_ptr<ConfigurationModule> dependency) {
    dependencies.push_back(dependency);
}

bool ConfigurationModule::enableModule(boost::shared_ptr<TaProcess> process) {
    if (walking) {
        RQ7_LOG(logConfigurationModule, LOG_ERROR,
                "Dependency cycle detected at module " << name << ", module not enabled.");
        return false;
    }
    WalkGuard guard(walking);

    for (const boost::shared_ptr<ConfigurationModule>& dependency : dependencies) {
        if (!dependency) continue;
        ++dependency->useCount;
        if (!dependency->enabled && !dependency->enableModule(process)) return false;
    }

    // Set before the module's own enable: configure reads it to start the unit.
    enabled = true;
    bool result;
    AccessNoteScope note(&AccessNote::module, name);
    try {
        result = enable(process);
    } catch (const Exception& e) {
        RQ7_LOG(logConfigurationModule, LOG_ERROR, "Cannot enable module: " << e.getMessage());
        return false;
    }
    if (!result) return false;

    updateEnableTrace();
    return true;
}

bool ConfigurationModule::disableModule(boost::shared_ptr<TaProcess> process, bool force) {
    if (walking) {
        RQ7_LOG(logConfigurationModule, LOG_ERROR,
                "Dependency cycle detected at module " << name << ", module not disabled.");
        return false;
    }
    WalkGuard guard(walking);

    enabled = false;
    bool result;
    AccessNoteScope note(&AccessNote::module, name);
    try {
        result = disable(process);
    } catch (const Exception& e) {
        RQ7_LOG(logConfigurationModule, LOG_ERROR, "Cannot disable module: " << e.getMessage());
        return false;
    }
    if (!result) return false;

    for (const boost::shared_ptr<ConfigurationModule>& dependency : dependencies) {
        if (!dependency) continue;
        if (dependency->useCount != 0) --dependency->useCount;
        // force reaches one level only; deeper modules go by their own state.
        if (dependency->useCount == 0 && (dependency->enabled || force)) dependency->disableModule(process, false);
    }

    updateEnableTrace();
    return true;
}

void ConfigurationModule::updateEnableTrace() {
    if (!configBlock) return;
    auto attribute = getTypedAttribute<BoolAttribute>(*configBlock, ATTR_ENABLE_TRACE);
    if (attribute) attribute->setValue(enabled);
}

bool ConfigurationModule::getModuleIndexFromName(uint32_t& index) const {
    std::istringstream words(name);
    std::string word;
    std::string last;
    while (words >> word) last = word;
    std::istringstream number(last);
    number >> index;
    return !number.fail();
}

}  // namespace quorl
