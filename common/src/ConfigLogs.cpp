#include "common/src/ConfigLogs.h"

namespace quorl {

Log logQorKaCommon("qor.ka.common");
Log logConfigurationXml("quorl.configuration.xml");
Log logConfigBlockXml("quorl.configblock.xml");
Log logMutableConfigBlockXml("quorl.mutableconfigblock.xml");

}  // namespace quorl
