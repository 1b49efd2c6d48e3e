#pragma once
// Log channels of the configuration model.
#include "app/base/Log.h"

namespace quorl {

extern Log logQorKaCommon;            // "qor.ka.common": loading a configuration file
extern Log logConfigurationXml;       // "quorl.configuration.xml": Configuration
extern Log logConfigBlockXml;         // "quorl.configblock.xml": ConfigBlock
extern Log logMutableConfigBlockXml;  // "quorl.mutableconfigblock.xml": MutableConfigBlock

}  // namespace quorl
