#include "target.access/TaProcessGTA.h"

#include "app/base/Log.h"
#include "gta/gta.h"
#include "target.access/ExtAddress.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace quorl {

Log logGta("qor.ta.gta");

namespace {

const uint32_t CONTEXT_MODE = 3;  // neither simulator nor emulator: no id suffix
const uint64_t SPLIT_WIDTH = 8;
const uint64_t HALF_WIDTH = 4;
const char LIST_MEMORY_SPACES[] = "mem list-ms";

[[noreturn]] void fail(const char* text) {
    RQ7_LOG(logGta, LOG_ERROR, text);
    throw std::runtime_error(text);
}

}  // namespace

TaProcessGTA::TaProcessGTA(std::string address, unsigned port, std::string connection, std::string soc,
                           std::string core, std::string memSpace, std::string endian) {
    if (gta_init() != GTA_OK) fail("Cannot initialize libgta");
    const std::string url = "tcp://" + address + ":" + std::to_string(port);
    if (gta_open(url.c_str(), &session) != GTA_OK) fail("Cannot open a connection to server");
    gta_context_create(connection.c_str(), soc.c_str(), CONTEXT_MODE, core.c_str(), &context);
    if (gta_context_connect(session, context) != GTA_OK) fail("Cannot create memory context");
    memorySpace = std::move(memSpace);
    connected = true;
    endianness = std::move(endian);
    if (loadMemorySpaces() != 0) fail("Cannot load memory spaces.");
}

TaProcessGTA::~TaProcessGTA() {
    if (session) gta_close(session);
    if (context) gta_context_destroy(context);
    if (gta_cleanup() != GTA_OK) RQ7_LOG(logGta, LOG_ERROR, "Cannot cleanup libgta");
}

int TaProcessGTA::loadMemorySpaces() {
    GtaPacket* reply = nullptr;
    if (gta_exec(session, LIST_MEMORY_SPACES, &reply) != GTA_OK) return -1;
    const uint64_t size = reply->buffer.size;
    std::string text(size / 2, '\0');
    if (gta_decode_hex(reinterpret_cast<const char*>(reply->buffer.data), size, reinterpret_cast<uint8_t*>(&text[0])) !=
        GTA_OK)
        return -1;
    // One token per newline, empty ones kept; the last is what follows the
    // final newline and is dropped.
    text.resize(std::strlen(text.c_str()));
    std::vector<std::string> names;
    std::string::size_type start = 0;
    for (;;) {
        auto newline = text.find('\n', start);
        names.push_back(text.substr(start, newline == std::string::npos ? newline : newline - start));
        if (newline == std::string::npos) break;
        start = newline + 1;
    }
    names.pop_back();
    ExtAddress::memorySpaceIds = names;
    return 0;
}

void TaProcessGTA::swapElements(void* buffer, uint64_t width, uint32_t count) const {
    if (!buffer || width == 0) return;
    auto* p = static_cast<uint8_t*>(buffer);
    for (uint32_t i = 0; i < count; ++i, p += width) std::reverse(p, p + width);
}

bool TaProcessGTA::writeMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* source) {
    if (!connected) throw std::runtime_error("Invalid connection");
    if (width == SPLIT_WIDTH) {
        if (!source) return false;
        ExtAddress at = where;
        const auto* elements = static_cast<const uint64_t*>(source);
        for (uint32_t i = 0; i < count; ++i) {
            uint64_t element;
            std::memcpy(&element, elements + i, sizeof element);
            uint32_t low = static_cast<uint32_t>(element);
            uint32_t high = static_cast<uint32_t>(element >> 32);
            if (!writeMemory(at, HALF_WIDTH, 1, &low)) return false;
            ExtAddress upper(at.address + HALF_WIDTH, at.memorySpace);
            if (!writeMemory(upper, HALF_WIDTH, 1, &high)) return false;
            at.address += SPLIT_WIDTH;
        }
        return true;
    }
    const bool swap = bigEndian() && count != 0;
    if (swap) swapElements(source, width, count);
    int32_t status = gta_mem_write(session, context, where.address, where.memorySpace.c_str(),
                                   static_cast<int32_t>(width), static_cast<int32_t>(count), source);
    if (swap) swapElements(source, width, count);
    if (status != GTA_OK) fail("Cannot write memory through GTA");
    return true;
}

bool TaProcessGTA::readMemory(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) {
    if (!connected) throw std::runtime_error("Invalid connection");
    if (!destination) return false;
    if (gta_mem_read(session, context, where.address, where.memorySpace.c_str(), static_cast<int32_t>(width),
                     static_cast<int32_t>(count), destination) != GTA_OK)
        throw std::runtime_error("Cannot read memory through GTA");
    if (bigEndian() && count != 0) swapElements(destination, width, count);
    return true;
}

bool TaProcessGTA::readMemoryPiped(const ExtAddress& where, uint64_t width, uint32_t count, void* destination) {
    if (!connected) throw std::runtime_error("Invalid connection");
    if (!destination) return false;
    if (gta_mem_read_piped(session, context, where.address, where.memorySpace.c_str(), static_cast<int32_t>(width),
                           static_cast<int32_t>(count), destination) != GTA_OK)
        throw std::runtime_error("Cannot read memory through GTA");
    if (bigEndian() && count != 0) swapElements(destination, width, count);
    return true;
}

}  // namespace quorl
