#pragma once
// Agent message protocol: the wire format between a target agent and its
// client over one TCP connection, and the plain functions that convert, send,
// receive and dispatch messages. The same module serves both ends.
//
// Messages are packed; their integers are big-endian on the wire and in host
// order inside the program. Every function returns a negative errno value on
// failure.
#include <cstddef>
#include <cstdint>
#include <cstdio>

// Error report with a fixed function, source and line: these positions are
// part of the text users see on stderr, so they do not follow the build's
// file paths.
#ifndef AGENT_ERROR_AT
#define AGENT_ERROR_AT(func, source, line, fmt, ...) \
    std::fprintf(stderr, "[%s] [%s:%d] ERROR : " fmt "\n\n", (func), (source), (line), ##__VA_ARGS__)
#endif

// Message types.
enum : uint8_t {
    AGENT_MSG_MEMORY = 0,
    AGENT_MSG_REGISTER = 1,
    AGENT_MSG_DDR_CONTROL = 2,
    AGENT_MSG_DDR_BLOCK = 3,
    AGENT_MSG_STM_KMSG = 4,
    AGENT_MSG_STATUS = 5,
};

// Operations.
enum : uint8_t {
    AGENT_OP_READ = 0,
    AGENT_OP_WRITE = 1,
    AGENT_DDR_GET = 0,
    AGENT_DDR_SET = 1,
    AGENT_DDR_TRIGGER = 2,
};

enum : uint8_t { AGENT_STATUS_OK = 0, AGENT_STATUS_FAILED = 1 };

// Bytes of a message behind its `length` field.
enum : uint32_t {
    AGENT_MEM_LENGTH = 19,
    AGENT_REG_FIXED_LENGTH = 10,  // + name with its NUL
    AGENT_DDR_CONTROL_LENGTH = 18,
    AGENT_DDR_BLOCK_FIXED_LENGTH = 19,  // + payload
    AGENT_STM_LENGTH = 10,
    AGENT_STATUS_FIXED_LENGTH = 2,  // + text + one byte
};

// A peer may announce at most this many bytes in one message; anything larger
// is refused before a buffer is allocated.
constexpr uint32_t AGENT_MAX_MESSAGE_LENGTH = 1024 * 1024;

typedef int agent_socket_t;

#pragma pack(push, 1)
struct agent_message {
    uint32_t length;  // bytes behind this field
    uint8_t type;
};

struct agent_mem_message {
    uint32_t length;
    uint8_t type;
    uint8_t operation;
    uint8_t data_length;  // width code: 0..3 for 1, 2, 4, 8 bytes
    uint64_t address;
    uint64_t value;
};

// Followed at offset 14 by the register name and its NUL.
struct agent_reg_message {
    uint32_t length;
    uint8_t type;
    uint64_t value;
    uint8_t operation;
};

struct agent_ddr_ctrl_message {
    uint32_t length;
    uint8_t type;
    uint8_t operation;
    uint64_t first;
    uint64_t second;
};

// Followed at offset 23 by the payload.
struct agent_ddr_block_message {
    uint32_t length;
    uint8_t type;
    uint8_t operation;
    uint64_t size;
    uint64_t address;
    uint8_t element_width;
};

struct agent_stm_message {
    uint32_t length;
    uint8_t type;
    uint8_t operation;
    uint64_t value;
};

// Followed at offset 6 by the failure text, if any.
struct agent_status_message {
    uint32_t length;
    uint8_t type;
    uint8_t status;
};
#pragma pack(pop)

static_assert(sizeof(agent_mem_message) == 4 + AGENT_MEM_LENGTH, "memory message layout");
static_assert(sizeof(agent_reg_message) == 4 + AGENT_REG_FIXED_LENGTH, "register message layout");
static_assert(sizeof(agent_ddr_ctrl_message) == 4 + AGENT_DDR_CONTROL_LENGTH, "ddr control layout");
static_assert(sizeof(agent_ddr_block_message) == 4 + AGENT_DDR_BLOCK_FIXED_LENGTH, "ddr block layout");
static_assert(sizeof(agent_stm_message) == 4 + AGENT_STM_LENGTH, "STM/KMSG layout");
static_assert(sizeof(agent_status_message) == 6, "status message layout");

// The variable parts behind the fixed fields.
inline char* agent_reg_name(agent_message* m) {
    return reinterpret_cast<char*>(m) + sizeof(agent_reg_message);
}
inline uint8_t* agent_ddr_payload(agent_message* m) {
    return reinterpret_cast<uint8_t*>(m) + sizeof(agent_ddr_block_message);
}
inline char* agent_status_text(agent_message* m) {
    return reinterpret_cast<char*>(m) + sizeof(agent_status_message);
}

// The agent's handlers, filled in by the server. Each returns 0 on success, a
// negative errno value, or a positive value for an unknown failure.
struct agent_handler_table {
    int (*write_mem)(uint64_t address, uint64_t value, unsigned width);
    int (*read_mem)(uint64_t address, uint64_t* value, unsigned width);
    int (*read_reg)(const char* name, uint64_t* value);
    int (*write_reg)(const char* name, uint64_t value);
    int (*ddr_get)(uint64_t first, uint64_t* second);
    int (*ddr_set)(uint64_t second);
    int (*ddr_trigger)();
    int (*ddr_write)(uint64_t address, uint64_t size, uint8_t* data);
    int (*ddr_read)(uint64_t address, uint64_t size, uint8_t* data);
};

extern agent_handler_table agent_handlers;

// Starts the socket library (nothing to do on POSIX systems).
int init_sock_library();

// Converts a host-order message to a freshly allocated network-order copy in
// *destination (free() it). STM/KMSG messages are converted in place instead.
int htonm(agent_message* message, agent_message** destination);
// The same from network to host order.
int ntohm(agent_message* message, agent_message** destination);

// Reads exactly `size` bytes; fewer only if the peer closed. Negative on error.
int sock_read(agent_socket_t socket, void* buffer, size_t size);
// Sends one whole network-order message; returns its size in bytes. `flags`
// are added to send()'s (MSG_MORE holds a reply back for the status behind it).
int sock_write(agent_socket_t socket, const agent_message* message, int flags = 0);

// A receive buffer for one socket. A client whose answers come in pairs (a
// read's reply and its status) gets both with one system call instead of
// four. Bytes on the wire and results stay those of an unbuffered receive.
struct agent_reader {
    agent_socket_t socket;
    size_t start;  // unread bytes are buffer[start, end)
    size_t end;
    uint8_t buffer[4096];
};

// Binds the reader to `socket` with an empty buffer (also after a reconnect).
void agent_reader_init(agent_reader* reader, agent_socket_t socket);

// Reads one whole network-order message into a buffer allocated in *message
// (free() it), through `reader` if one is given (it is bound to `socket`
// first if it was not). -120 when the peer closed between messages.
int recv_sock_message(agent_socket_t socket, agent_message** message, agent_reader* reader = nullptr);

// The server's dispatcher for one host-order message; sends the reply of a
// read itself. Returns the failure text, or null on success.
const char* interpret_message(agent_socket_t socket, agent_message* message);
const char* interpret_ddr_message(agent_socket_t socket, agent_message* message);
