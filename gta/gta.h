#pragma once
// libgta: a plain-function client of a debug server that speaks the GDB
// remote serial framing ("$data#cs" with '+'/'-' acknowledgement) and takes
// its commands as monitor commands ("qRcmd," and the hex-encoded text).
//
// Every function returns a signed 32-bit status, GTA_OK (0) on success.
// Nothing is thrown. All memory comes from one replaceable allocator pair.
#include <cstddef>
#include <cstdint>
#include <cstdio>

// ---- Status values ---------------------------------------------------------

enum : int32_t {
    GTA_OK = 0,
    GTA_ERR_HEX = -2,  // bad hexadecimal data
    GTA_ERR_NO_MEMORY = -3,
    GTA_ERR_BUFFER_LIMIT = -4,
    GTA_ERR_URL = -101,      // bad URL
    GTA_ERR_SCHEME = -102,   // unknown URL scheme
    GTA_ERR_CONNECT = -103,  // the TCP connection failed
    GTA_ERR_SEND = -104,
    GTA_ERR_RECEIVE = -105,  // a receive failed, or not connected
    GTA_ERR_CLOSED = -107,   // the peer closed the connection
    GTA_ERR_TIMEOUT = -108,
    GTA_ERR_WAIT = -109,
    GTA_ERR_SOCKET_LIBRARY = -110,
    GTA_ERR_CHECKSUM = -200,  // checksum failure, or a nack
    GTA_ERR_BAD_PACKET = -202,
    GTA_ERR_COMMAND = -300,       // the server refused the command, or a short reply
    GTA_ERR_COMMAND_TEXT = -301,  // the command text could not be built
};

// ---- Allocation ------------------------------------------------------------

typedef void* (*GtaMallocFn)(size_t size);
typedef void (*GtaFreeFn)(void* p);
// Replaces the allocator pair (null restores malloc/free). Only between
// sessions: memory must go back to the allocator it came from.
void gta_set_allocator(GtaMallocFn allocate, GtaFreeFn release);
void* gta_malloc(size_t size);
void gta_free(void* p);

// ---- Growable byte buffer --------------------------------------------------

const uint64_t GTA_BUFFER_DEFAULT_CAPACITY = 16;
const uint64_t GTA_BUFFER_UNLIMITED = 0xFFFFFFFFu;  // what a maxSize of 0 means

struct GtaBuffer {
    uint64_t capacity;
    uint64_t size;
    uint64_t maxSize;
    uint8_t* data;
};

// In-place initialisation and release of a buffer held by value.
int32_t gta_buffer_init(GtaBuffer* buffer, uint64_t capacity, uint64_t maxSize);
void gta_buffer_release(GtaBuffer* buffer);
int32_t gta_buffer_create(uint64_t capacity, uint64_t maxSize, GtaBuffer** out);
void gta_buffer_destroy(GtaBuffer* buffer);
// Makes room for `need` bytes in all.
int32_t gta_buffer_grow(GtaBuffer* buffer, uint64_t need);
int32_t gta_buffer_append(GtaBuffer* buffer, const void* data, uint64_t size);
// Sets the capacity anew; content beyond it is cut off.
int32_t gta_buffer_reset(GtaBuffer* buffer, uint64_t capacity);

// ---- Reply packets ---------------------------------------------------------

enum GtaPacketKind : uint32_t {
    GTA_PACKET_UNKNOWN = 0,
    GTA_PACKET_DATA = 1,
    GTA_PACKET_ACK = 2,
    GTA_PACKET_NACK = 3,
    GTA_PACKET_OK = 4,
    GTA_PACKET_ERROR = 5,
};

const uint64_t GTA_PACKET_CAPACITY = 1024;

struct GtaPacket {
    GtaBuffer buffer;
    uint32_t kind;      // cached classification, GTA_PACKET_UNKNOWN until asked
    int32_t errorCode;  // number of an "Enn" reply, -1 otherwise
};

int32_t gta_packet_create(GtaPacket** out);
void gta_packet_destroy(GtaPacket* packet);
int32_t gta_packet_reset(GtaPacket* packet);
// Classifies the packet once ("OK", "Enn", other data) and returns the kind.
uint32_t gta_packet_kind(GtaPacket* packet);

// ---- URLs and transports ---------------------------------------------------

struct GtaUrl {
    char* scheme;
    char* host;  // null when the URL has none
    char* port;  // null when the URL has none
};

// "tcp://host:port" or a bare scheme such as "memory".
int32_t gta_url_parse(const char* text, GtaUrl* out);
void gta_url_release(GtaUrl* url);

struct GtaTransport {
    int32_t (*open)(GtaTransport* t);  // connects; a second call reconnects
    int32_t (*close)(GtaTransport* t);
    int32_t (*read)(GtaTransport* t, void* data, uint64_t size, uint64_t* count);
    int32_t (*readAll)(GtaTransport* t, void* data, uint64_t size);
    int32_t (*write)(GtaTransport* t, const void* data, uint64_t size, uint64_t* count);
    int32_t (*writeAll)(GtaTransport* t, const void* data, uint64_t size);
    int32_t (*lastError)(GtaTransport* t);  // the platform's last error (errno)
    const char* name;                       // "tcp" or "memory"
    GtaUrl url;
    uint32_t timeout;  // milliseconds; 0 waits for ever

    // tcp
    int socket;  // -1 when not connected
    int error;
    // memory: what was written and not yet read
    GtaBuffer* memory;
    uint64_t memoryPosition;
};

const uint64_t GTA_MEMORY_TRANSPORT_CAPACITY = 1024;

// Picks the transport by the URL's scheme; "tcp" connects at once.
int32_t gta_transport_create(const char* url, uint32_t timeout, GtaTransport** out);
void gta_transport_destroy(GtaTransport* transport);

// ---- Sessions and the packet layer -----------------------------------------

const uint64_t GTA_READ_BUFFER_SIZE = 4096;
const uint64_t GTA_COMMAND_CAPACITY = 4096;
const uint64_t GTA_NOISE_LIMIT = 8192;  // bytes skipped before '$' at most
// A reply whose '$' has not arrived this long after its command was sent (or
// last resent) ends the connection as if the server had closed it; the
// acknowledgement bytes before it do not count as a beginning.
const uint32_t GTA_REPLY_SILENCE_LIMIT_MS = 60000;

struct GtaDebugSink;
typedef void (*GtaDebugWriteFn)(GtaDebugSink* sink, const char* text);

// Optional trace of the packet layer. Bit 0 of `flags` enables it; `file`
// (if any) is closed with the session.
struct GtaDebugSink {
    uint32_t flags;
    GtaDebugWriteFn write;
    FILE* file;
    void* user;
};
const uint32_t GTA_DEBUG_ENABLED = 1u << 0;

struct GtaSession {
    GtaTransport* transport;
    uint8_t readBuffer[GTA_READ_BUFFER_SIZE];
    uint64_t readFill;
    uint64_t readPosition;
    // 0 (always, in this system): every packet is acknowledged and its checksum
    // tested. Any other value skips both; 1 also sends and receives only once.
    uint32_t ackMode;
    GtaPacket* reply;
    GtaBuffer* command;
    uint32_t receiveRetries;  // 0: without limit
    uint32_t sendRetries;     // 0: without limit
    GtaDebugSink* debugSink;
    uint64_t replyDeadline;  // monotonic ms by which a reply must begin; 0: none
};

// Attaches a sink that the session owns from now on (it is freed, and its
// file closed, by gta_close). `write` null means "write to `file`".
int32_t gta_debug_attach(GtaSession* session, GtaDebugWriteFn write, FILE* file, void* user);

// Packet building, appended to session->command.
enum : uint32_t {
    GTA_ENCODE_RAW = 0,
    GTA_ENCODE_HEX = 1u << 0,
    GTA_ENCODE_DOUBLE_HEX = 1u << 1,
    GTA_ENCODE_ESCAPED = 1u << 2,
};
int32_t gta_packet_begin(GtaSession* session);
int32_t gta_packet_append(GtaSession* session, const void* data, uint64_t size, uint32_t encoding);
int32_t gta_packet_end(GtaSession* session);

// Sum modulo 256 of the bytes.
uint8_t gta_checksum(const void* data, uint64_t size);
// Encodings as pure functions: `out` must hold 2, 4 or 2 bytes per input byte
// (hex, double hex, escaped at most); the count written is returned.
uint64_t gta_encode_hex(const void* data, uint64_t size, char* out);
uint64_t gta_encode_double_hex(const void* data, uint64_t size, char* out);
uint64_t gta_encode_escaped(const void* data, uint64_t size, char* out);
// Hex text to bytes; odd length or a non-hex digit gives GTA_ERR_HEX.
int32_t gta_decode_hex(const char* text, uint64_t size, uint8_t* out);

// Sends session->command and waits for its acknowledgement, resending on a
// nack up to sendRetries times.
int32_t gta_send_packet(GtaSession* session);
// Receives one packet into session->reply and acknowledges it.
int32_t gta_receive_packet(GtaSession* session);
// Receives the reply to a command, skipping the server's console output.
int32_t gta_receive_reply(GtaSession* session, GtaPacket** out);

// ---- Contexts --------------------------------------------------------------

enum GtaContextKind : uint32_t {
    GTA_CONTEXT_BASE = 0,
    GTA_CONTEXT_DEVICE = 1,
    GTA_CONTEXT_MEMORY = 2,
};

enum GtaContextMode : uint32_t {
    GTA_MODE_SIMULATOR = 1,  // id suffix "-sim"
    GTA_MODE_EMULATOR = 2,   // id suffix "-emu"
};

struct GtaContext;

struct GtaContextOps {
    uint32_t kind;
    void (*destroy)(GtaContext* context);
    int32_t (*equals)(const GtaContext* a, const GtaContext* b);  // 1 equal, 0 not
    int32_t (*clone)(const GtaContext* context, GtaContext** out);
    // The context's id at `level` (a GtaContextKind not above its own kind),
    // allocated with gta_malloc.
    int32_t (*id)(const GtaContext* context, uint32_t level, char** out);
};

struct GtaProperty {
    uint32_t scope;  // GtaContextKind the property belongs to
    char* key;
    char* value;
};

const uint64_t GTA_PROPERTIES_CAPACITY = 8;

struct GtaContext {
    const GtaContextOps* ops;
    GtaProperty* properties;
    uint64_t propertyCount;
    uint64_t propertyCapacity;
    char* name;
};

struct GtaDeviceContext {
    GtaContext base;
    char* device;
    uint32_t mode;
};

struct GtaMemoryContext {
    GtaDeviceContext device;
    char* core;
};

int32_t gta_context_create(const char* name, const char* device, uint32_t mode, const char* core, GtaContext** out);
void gta_context_destroy(GtaContext* context);
int32_t gta_context_add_property(GtaContext* context, uint32_t scope, const char* key, const char* value);
// The context's own id (its full level).
int32_t gta_context_id(const GtaContext* context, char** out);

// ---- Sessions and commands -------------------------------------------------

int32_t gta_init();
int32_t gta_cleanup();
int32_t gta_open(const char* url, GtaSession** out);
int32_t gta_close(GtaSession* session);
// Makes the context the server's current one, sets its properties, connects.
int32_t gta_context_connect(GtaSession* session, GtaContext* context);
// Runs a monitor command; *out is the session's reply, valid until the next.
int32_t gta_exec(GtaSession* session, const char* text, GtaPacket** out);
// Runs a monitor command whose reply must be "OK".
int32_t gta_exec_ok(GtaSession* session, const char* text);
int32_t gta_mem_read(GtaSession* session, GtaContext* context, uint64_t address, const char* memorySpace, int32_t width,
                     int32_t count, void* buffer);
int32_t gta_mem_read_piped(GtaSession* session, GtaContext* context, uint64_t address, const char* memorySpace,
                           int32_t width, int32_t count, void* buffer);
int32_t gta_mem_write(GtaSession* session, GtaContext* context, uint64_t address, const char* memorySpace,
                      int32_t width, int32_t count, const void* buffer);
