// Sessions and the monitor commands built on the packet layer.
#include "gta/gta.h"

#include <charconv>
#include <cstdarg>
#include <cstring>
#include <string>

namespace {

const char COMMAND_PREFIX[] = "qRcmd,";
const uint64_t READ_CHARS_PER_BYTE = 4;  // double hex

bool libraryStarted = false;

// printf into a std::string; false when the text cannot be built.
bool formatText(std::string& out, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
bool formatText(std::string& out, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    va_list again;
    va_copy(again, args);
    char small[256];
    int n = std::vsnprintf(small, sizeof small, fmt, args);
    va_end(args);
    bool ok = n >= 0;
    if (ok && static_cast<size_t>(n) < sizeof small) {
        out.assign(small, static_cast<size_t>(n));
    } else if (ok) {
        out.resize(static_cast<size_t>(n) + 1);
        std::vsnprintf(&out[0], out.size(), fmt, again);
        out.resize(static_cast<size_t>(n));
    }
    va_end(again);
    return ok;
}

// Appends a number as printf's %d or %llx would write it.
template <typename T>
void appendNumber(std::string& out, T value, int base) {
    char digits[24];
    auto end = std::to_chars(digits, digits + sizeof digits, value, base).ptr;
    out.append(digits, end);
}

// "mem <verb> <id> 0x<address> <width> <space> " (printf-free: one command
// per register access makes this a hot path).
void memoryCommand(std::string& out, const char* verb, const std::string& id, uint64_t address, int32_t width,
                   const char* memorySpace) {
    out.assign("mem ");
    out += verb;
    out += ' ';
    out += id;
    out += " 0x";
    appendNumber(out, address, 16);
    out += ' ';
    appendNumber(out, width, 10);
    out += ' ';
    out += memorySpace ? memorySpace : "";
    out += ' ';
}

// Empties the command buffer and starts "$qRcmd," with the hex-encoded text.
int32_t beginCommand(GtaSession* s, const std::string& text) {
    s->command->size = 0;
    int32_t rc = gta_buffer_reset(s->command, GTA_COMMAND_CAPACITY);
    if (rc == GTA_OK) rc = gta_packet_begin(s);
    if (rc == GTA_OK) rc = gta_packet_append(s, COMMAND_PREFIX, sizeof COMMAND_PREFIX - 1, GTA_ENCODE_RAW);
    if (rc == GTA_OK) rc = gta_packet_append(s, text.data(), text.size(), GTA_ENCODE_HEX);
    return rc;
}

int32_t transact(GtaSession* s, GtaPacket** out) {
    int32_t rc = gta_packet_end(s);
    if (rc == GTA_OK) rc = gta_send_packet(s);
    if (rc == GTA_OK) rc = gta_receive_reply(s, out);
    return rc;
}

int32_t contextId(const GtaContext* context, uint32_t level, std::string& out) {
    if (!context || level > context->ops->kind) return GTA_ERR_COMMAND_TEXT;
    char* id = nullptr;
    if (context->ops->id(context, level, &id) != GTA_OK || !id) return GTA_ERR_COMMAND_TEXT;
    out = id;
    gta_free(id);
    return GTA_OK;
}

int32_t memRead(GtaSession* s, const char* verb, GtaContext* context, uint64_t address, const char* memorySpace,
                int32_t width, int32_t count, void* buffer) {
    s->command->size = 0;
    std::string id, text;
    if (contextId(context, context ? context->ops->kind : 0, id) != GTA_OK) return GTA_ERR_COMMAND_TEXT;
    if (width < 0 || count < 0) return GTA_ERR_COMMAND_TEXT;
    memoryCommand(text, verb, id, address, width, memorySpace);  // "mem %s %s 0x%llx %d %s %d"
    appendNumber(text, count, 10);
    GtaPacket* reply = nullptr;
    int32_t rc = beginCommand(s, text);
    if (rc == GTA_OK) rc = transact(s, &reply);
    if (rc != GTA_OK) return rc;
    if (gta_packet_kind(reply) == GTA_PACKET_ERROR) return GTA_ERR_COMMAND;
    const uint64_t bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(count);
    if (reply->buffer.size < bytes * READ_CHARS_PER_BYTE) return GTA_ERR_COMMAND;
    auto* out = static_cast<uint8_t*>(buffer);
    const char* in = reinterpret_cast<const char*>(reply->buffer.data);
    for (uint64_t i = 0; i < bytes; ++i) {
        uint8_t digits[2];
        if (gta_decode_hex(in + READ_CHARS_PER_BYTE * i, 4, digits) != GTA_OK ||
            gta_decode_hex(reinterpret_cast<const char*>(digits), 2, out + i) != GTA_OK)
            return GTA_ERR_HEX;
    }
    return GTA_OK;
}

}  // namespace

int32_t gta_init() {
    // Berkeley sockets need no start-up here; the flag keeps init and
    // cleanup paired as the interface promises.
    libraryStarted = true;
    return GTA_OK;
}

int32_t gta_cleanup() {
    libraryStarted = false;
    return GTA_OK;
}

int32_t gta_open(const char* url, GtaSession** out) {
    *out = nullptr;
    auto* s = static_cast<GtaSession*>(gta_malloc(sizeof(GtaSession)));
    if (!s) return GTA_ERR_NO_MEMORY;
    std::memset(s, 0, sizeof *s);
    int32_t rc = gta_transport_create(url, 0, &s->transport);
    s->ackMode = 0;
    if (rc == GTA_OK) rc = gta_packet_create(&s->reply);
    if (rc == GTA_OK) rc = gta_buffer_create(GTA_COMMAND_CAPACITY, 0, &s->command);
    if (rc != GTA_OK) {
        gta_close(s);
        return rc;
    }
    *out = s;
    return GTA_OK;
}

int32_t gta_close(GtaSession* session) {
    if (!session) return GTA_OK;
    gta_transport_destroy(session->transport);
    gta_packet_destroy(session->reply);
    gta_buffer_destroy(session->command);
    if (session->debugSink) {
        if (session->debugSink->file) std::fclose(session->debugSink->file);
        gta_free(session->debugSink);
    }
    gta_free(session);
    return GTA_OK;
}

int32_t gta_exec(GtaSession* session, const char* text, GtaPacket** out) {
    int32_t rc = beginCommand(session, text ? text : "");
    if (rc == GTA_OK) rc = transact(session, out);
    return rc;
}

int32_t gta_exec_ok(GtaSession* session, const char* text) {
    GtaPacket* reply = nullptr;
    int32_t rc = gta_exec(session, text, &reply);
    if (rc != GTA_OK) return rc;
    return gta_packet_kind(reply) == GTA_PACKET_OK ? GTA_OK : GTA_ERR_COMMAND;
}

int32_t gta_context_connect(GtaSession* session, GtaContext* context) {
    std::string id, text;
    if (contextId(context, context ? context->ops->kind : 0, id) != GTA_OK) return GTA_ERR_COMMAND_TEXT;
    if (!formatText(text, "ctx set current %s", id.c_str())) return GTA_ERR_NO_MEMORY;
    int32_t rc = gta_exec_ok(session, text.c_str());
    if (rc != GTA_OK) return rc;
    for (uint64_t i = 0; i < context->propertyCount; ++i) {
        const GtaProperty& p = context->properties[i];
        std::string scopeId;
        if (contextId(context, p.scope, scopeId) != GTA_OK) return GTA_ERR_COMMAND_TEXT;
        if (!formatText(text, "ctx id %s set prop %s %s", scopeId.c_str(), p.key, p.value)) return GTA_ERR_NO_MEMORY;
        if ((rc = gta_exec_ok(session, text.c_str())) != GTA_OK) return rc;
    }
    return gta_exec_ok(session, "ctx connect");
}

int32_t gta_mem_read(GtaSession* session, GtaContext* context, uint64_t address, const char* memorySpace, int32_t width,
                     int32_t count, void* buffer) {
    return memRead(session, "read", context, address, memorySpace, width, count, buffer);
}

int32_t gta_mem_read_piped(GtaSession* session, GtaContext* context, uint64_t address, const char* memorySpace,
                           int32_t width, int32_t count, void* buffer) {
    return memRead(session, "read-piped", context, address, memorySpace, width, count, buffer);
}

int32_t gta_mem_write(GtaSession* session, GtaContext* context, uint64_t address, const char* memorySpace,
                      int32_t width, int32_t count, const void* buffer) {
    session->command->size = 0;
    std::string id, text;
    if (contextId(context, context ? context->ops->kind : 0, id) != GTA_OK) return GTA_ERR_COMMAND_TEXT;
    if (width < 0 || count < 0) return GTA_ERR_COMMAND_TEXT;
    memoryCommand(text, "write", id, address, width, memorySpace);  // "mem write %s 0x%llx %d %s "
    const uint64_t bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(count);
    GtaPacket* reply = nullptr;
    int32_t rc = beginCommand(session, text);
    if (rc == GTA_OK && bytes) rc = gta_packet_append(session, buffer, bytes, GTA_ENCODE_DOUBLE_HEX);
    if (rc == GTA_OK) rc = transact(session, &reply);
    if (rc != GTA_OK) return rc;
    return gta_packet_kind(reply) == GTA_PACKET_OK ? GTA_OK : GTA_ERR_COMMAND;
}
