#include "target.access/TaProcessManager.h"

#include "app/base/Log.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/Names.h"
#include "target.access/TaProcessGTA.h"

namespace quorl {

Log logProcessManager("qor.ta.process.manager");

namespace {

// Settings of a debug-server connection, read only here.
const std::string ATTR_TA_TYPE = "TaType";
const std::string ATTR_CONNECTION = "Connection";
const std::string ATTR_SOC = "SOC";
const std::string ATTR_CORE = "Core";
const std::string ATTR_ENDIANNESS = "endianness";
const std::string TYPE_GTA = "GTA";

// The type the block asks for; false when it names none.
bool accessTypeOf(const ConfigBlock& block, std::string& type) {
    if (auto taType = getTypedAttribute<StringAttribute>(block, ATTR_TA_TYPE)) {
        type = taType->getValue();
        return true;
    }
    auto method = getTypedAttribute<EnumAttribute>(block, ATTR_TARGET_ACCESS_METHOD);
    if (!method) return false;
    auto values = method->getValues();
    if (!values) return false;
    type = values->at(0);  // an empty list throws std::out_of_range
    return true;
}

}  // namespace

TaProcessManager& TaProcessManager::getInstance() {
    static TaProcessManager instance;
    return instance;
}

uint32_t TaProcessManager::getAccessType(boost::shared_ptr<TaClient>, boost::shared_ptr<ConfigBlock> block) {
    std::string type;
    if (!block || !accessTypeOf(*block, type)) return ACCESS_TYPE_UNKNOWN;
    return type == TYPE_GTA ? ACCESS_TYPE_GTA : ACCESS_TYPE_OTHER;
}

boost::shared_ptr<TaProcess> TaProcessManager::createProcess(const std::string&, boost::shared_ptr<ConfigBlock> block) {
    std::string type;
    if (!block || !accessTypeOf(*block, type) || type != TYPE_GTA) return boost::shared_ptr<TaProcess>();

    auto address = getTypedAttribute<StringAttribute>(*block, ATTR_SERVER_ADDRESS);
    auto connection = getTypedAttribute<StringAttribute>(*block, ATTR_CONNECTION);
    auto port = getTypedAttribute<UInt32Attribute>(*block, ATTR_SERVER_PORT);
    auto soc = getTypedAttribute<StringAttribute>(*block, ATTR_SOC);
    auto core = getTypedAttribute<StringAttribute>(*block, ATTR_CORE);
    auto memSpace = getTypedAttribute<StringAttribute>(*block, ATTR_MEM_SPACE);
    auto endianness = getTypedAttribute<EnumAttribute>(*block, ATTR_ENDIANNESS);
    if (!address || !connection || !port || !soc || !core || !memSpace || !endianness)
        return boost::shared_ptr<TaProcess>();
    auto endiannessValues = endianness->getValues();
    if (!endiannessValues) return boost::shared_ptr<TaProcess>();

    // Connects in its constructor; its failures are thrown through.
    return boost::shared_ptr<TaProcess>(new TaProcessGTA(address->getValue(), port->getValue(), connection->getValue(),
                                                         soc->getValue(), core->getValue(), memSpace->getValue(),
                                                         endiannessValues->at(0)));
}

}  // namespace quorl
