#include "target.access/ExtAddress.h"

#include "app/base/Log.h"

#include <algorithm>
#include <sstream>

namespace quorl {

Log logExtAddress("qor.ka.common.ExtAddress");

std::vector<std::string> ExtAddress::memorySpaceIds;

ExtAddress::ExtAddress(uint64_t a, std::string space) : memorySpace(std::move(space)), address(a) {}

std::string ExtAddress::validMemorySpace(std::string text) {
    if (std::find(memorySpaceIds.begin(), memorySpaceIds.end(), text) != memorySpaceIds.end()) return text;
    if (memorySpaceIds.empty()) {
        RQ7_LOG(logExtAddress, LOG_ERROR, "ExtAddress::memorySpaceIds is empty, check device xml files in GTA.");
        return std::string();
    }
    // Logger mode has no memory spaces: any name maps to the default quietly.
    if (memorySpaceIds.size() == 1 && memorySpaceIds.front() == "logger") return std::string();
    RQ7_LOG(logExtAddress, LOG_ERROR, "Invalid memory space string: \"" << text << "\". Returning empty string.");
    return std::string();
}

}  // namespace quorl
