#include "modules/ArmFunnelPortModule.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Names.h"
#include "modules/ArmFunnelModule.h"
#include "modules/BlockReader.h"

#include <sstream>

namespace quorl {

ArmFunnelPortModule::ArmFunnelPortModule(std::string name, boost::shared_ptr<ConfigBlock> block)
    : ConfigurationModule(std::move(name), block) {
    readModuleConfiguration(block);
}

bool ArmFunnelPortModule::readModuleConfiguration(boost::shared_ptr<ConfigBlock> block) {
    if (!block) return false;
    const BlockReader read(logArmFunnelModule, *block);
    const std::string error = "[readModuleConfiguration]: Error: ";
    if (!getModuleIndexFromName(portNumber))
        return read.fail(error + "Could get module index from name for " + read.blockName());
    auto enablePort = read.require<BoolAttribute>(ATTR_ENABLE_PORT);
    if (!enablePort) return false;
    portEnable = enablePort->getValue();
    auto priority = read.require<UInt32Attribute>(ATTR_PORT_PRIORITY);
    if (!priority) return false;
    portPriority = priority->getValue();

    if (portNumber > MAX_PORT)
        return read.fail(error + "Port number exceeds maximum value (7) for " + read.blockName());
    if (portPriority > LOWEST_PRIORITY) {
        // The repaired value still reaches the funnel: the plugin reads the fields.
        portPriority = LOWEST_PRIORITY;
        return read.fail(error + "Port priority exceeds maximum value (7) for " + read.blockName() +
                         ". Priority will be set to lowest.");
    }
    enableTrace = portEnable;
    return true;
}

}  // namespace quorl
