// Any input gives either a refusal code or a whole tree, and a whole tree
// saves to a text that loads again and saves to the same text.
#include "common/src/ConfigurationLoader.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/ka.common.xml.h"

#include "xrt/xml_writer.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

std::string saveToText(const quorl::ConfigurationPtr& cfg) {
    auto doc = boost::dynamic_pointer_cast<quorl::ConfigurationXml>(cfg);
    if (!doc) std::abort();
    quorl::c_QUORL root;
    doc->populate(root.get_Configuration());
    std::ostringstream os;
    xrt::c_xml_writer writer(os);
    if (root.marshal(writer) != 0) std::abort();
    return os.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    xrt::exrt_error code;
    quorl::ConfigurationPtr cfg = quorl::loadConfigurationFromMemory(reinterpret_cast<const char*>(data), size, &code);
    if ((code == 0) != static_cast<bool>(cfg)) std::abort();
    if (!cfg) return 0;

    const std::string saved = saveToText(cfg);
    quorl::ConfigurationPtr again = quorl::loadConfigurationFromMemory(saved.data(), saved.size(), &code);
    if (!again) std::abort();
    if (saveToText(again) != saved) std::abort();
    return 0;
}
