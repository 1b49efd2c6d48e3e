#include "target.agent/user/communication.h"

#include <endian.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

agent_handler_table agent_handlers = {};

namespace {

const char* const SOURCE = "communication";

// The peer-closed value of this protocol (its own number, not the host's errno).
const int AGENT_PEER_CLOSED = 120;

// Width in bytes of each memory data_length code.
const unsigned WIDTH_OF_CODE[] = {1, 2, 4, 8};

uint32_t load32(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

void store32(uint8_t* p, uint32_t v) {
    std::memcpy(p, &v, sizeof v);
}

void copyByteAt(uint8_t* dst, const uint8_t* src, size_t offset) {
    dst[offset] = src[offset];
}

// Byte order conversion of one field; the same operation in both directions.
void swap16At(uint8_t* dst, const uint8_t* src, size_t offset) {
    uint16_t v;
    std::memcpy(&v, src + offset, 2);
    v = htobe16(v);
    std::memcpy(dst + offset, &v, 2);
}
void swap32At(uint8_t* dst, const uint8_t* src, size_t offset) {
    uint32_t v;
    std::memcpy(&v, src + offset, 4);
    v = htobe32(v);
    std::memcpy(dst + offset, &v, 4);
}
void swap64At(uint8_t* dst, const uint8_t* src, size_t offset) {
    uint64_t v;
    std::memcpy(&v, src + offset, 8);
    v = htobe64(v);
    std::memcpy(dst + offset, &v, 8);
}

// Bytes behind `length` that a message of this type needs at least, or 0 for
// an unknown type. A shorter length would make the conversion read past the
// buffer that a peer sent.
uint32_t minimumLength(uint8_t type) {
    switch (type) {
        case AGENT_MSG_MEMORY:
            return AGENT_MEM_LENGTH;
        case AGENT_MSG_REGISTER:
            return AGENT_REG_FIXED_LENGTH;
        case AGENT_MSG_DDR_CONTROL:
            return AGENT_DDR_CONTROL_LENGTH;
        case AGENT_MSG_DDR_BLOCK:
            return AGENT_DDR_BLOCK_FIXED_LENGTH;
        case AGENT_MSG_STM_KMSG:
            return AGENT_STM_LENGTH;
        case AGENT_MSG_STATUS:
            return AGENT_STATUS_FIXED_LENGTH;
    }
    return 0;
}

// Converts a ddr block payload of `n` bytes element by element. Bytes behind
// the last whole element are copied as they are.
int convertPayload(uint8_t* dst, const uint8_t* src, size_t n, uint8_t width) {
    size_t whole = 0;
    switch (width) {
        case 1:
            break;
        case 2:
            if (n > 1)
                for (; whole + 2 <= n; whole += 2) swap16At(dst, src, whole);
            break;
        case 4:
            if (n > 3)
                for (; whole + 4 <= n; whole += 4) swap32At(dst, src, whole);
            break;
        case 8:
            if (n > 7)
                for (; whole + 8 <= n; whole += 8) swap64At(dst, src, whole);
            break;
        default:
            return -EINVAL;
    }
    if (whole < n) std::memcpy(dst + whole, src + whole, n - whole);
    return 0;
}

// htonm and ntohm: the same walk over the fields, differing in where the
// length is read from and in their error reports.
int convert(agent_message* message, agent_message** destination, bool toNetwork) {
    if (!message) return -EINVAL;
    uint8_t* src = reinterpret_cast<uint8_t*>(message);
    const uint32_t rawLength = load32(src);
    const uint32_t length = toNetwork ? rawLength : be32toh(rawLength);
    if (length < sizeof(agent_message::type)) return -EINVAL;  // not even a type
    const uint8_t type = src[offsetof(agent_message, type)];

    if (type == AGENT_MSG_STM_KMSG) {
        if (destination && *destination) {
            if (toNetwork)
                AGENT_ERROR_AT("htonm", SOURCE, 213, "destination should point to NULL for STM/KMSG operations");
            else
                AGENT_ERROR_AT("ntohm", SOURCE, 342, "destination should point to NULL for STM/KMSG operations");
        }
        if (length < AGENT_STM_LENGTH) return -EINVAL;
        store32(src, htobe32(rawLength));
        swap64At(src, src, offsetof(agent_stm_message, value));
        return 0;
    }
    if (!destination) {
        if (!toNetwork) AGENT_ERROR_AT("ntohm", SOURCE, 246, "destination must not be null for mem/reg operations");
        return -EINVAL;
    }
    const uint32_t minimum = minimumLength(type);
    if (minimum == 0 || length < minimum) return -EINVAL;

    uint8_t* dst = static_cast<uint8_t*>(std::malloc(size_t(length) + 4));
    if (!dst) return -ENOMEM;
    store32(dst, htobe32(rawLength));
    dst[offsetof(agent_message, type)] = type;

    switch (type) {
        case AGENT_MSG_MEMORY:
            copyByteAt(dst, src, offsetof(agent_mem_message, operation));
            copyByteAt(dst, src, offsetof(agent_mem_message, data_length));
            swap64At(dst, src, offsetof(agent_mem_message, address));
            swap64At(dst, src, offsetof(agent_mem_message, value));
            break;
        case AGENT_MSG_REGISTER:
            swap64At(dst, src, offsetof(agent_reg_message, value));
            copyByteAt(dst, src, offsetof(agent_reg_message, operation));
            std::memcpy(dst + sizeof(agent_reg_message), src + sizeof(agent_reg_message),
                        length - AGENT_REG_FIXED_LENGTH);
            break;
        case AGENT_MSG_DDR_CONTROL:
            copyByteAt(dst, src, offsetof(agent_ddr_ctrl_message, operation));
            swap64At(dst, src, offsetof(agent_ddr_ctrl_message, first));
            swap64At(dst, src, offsetof(agent_ddr_ctrl_message, second));
            break;
        case AGENT_MSG_DDR_BLOCK: {
            copyByteAt(dst, src, offsetof(agent_ddr_block_message, operation));
            swap64At(dst, src, offsetof(agent_ddr_block_message, size));
            swap64At(dst, src, offsetof(agent_ddr_block_message, address));
            copyByteAt(dst, src, offsetof(agent_ddr_block_message, element_width));
            const uint8_t width = src[offsetof(agent_ddr_block_message, element_width)];
            if (convertPayload(dst + sizeof(agent_ddr_block_message), src + sizeof(agent_ddr_block_message),
                               length - AGENT_DDR_BLOCK_FIXED_LENGTH, width) != 0) {
                std::free(dst);
                return -EINVAL;
            }
            break;
        }
        case AGENT_MSG_STATUS:
            copyByteAt(dst, src, offsetof(agent_status_message, status));
            std::memcpy(dst + sizeof(agent_status_message), src + sizeof(agent_status_message),
                        length - AGENT_STATUS_FIXED_LENGTH);
            break;
    }
    *destination = reinterpret_cast<agent_message*>(dst);
    return 0;
}

// Text of a handler result: null for success, the errno text for a negative
// value, "Unknown error" for a positive one.
const char* handlerText(int result) {
    if (result == 0) return nullptr;
    return result < 0 ? std::strerror(-result) : "Unknown error";
}

// Sends `m` (host order) back to the client as the reply of a read. The
// status message always follows at once, so the reply is held back for it
// (MSG_MORE): the client then gets both in one segment and wakes once.
const char* sendReply(agent_socket_t socket, agent_message* m) {
    agent_message* net = nullptr;
    int rc = htonm(m, &net);
    if (rc != 0) {
        std::free(net);
        return rc > 0 ? "Unknown error" : std::strerror(-rc);
    }
    if (!net) return "Out of memory";
    int sent = sock_write(socket, net, MSG_MORE);
    std::free(net);
    return sent <= 0 ? "Failed to send reply to a client" : nullptr;
}

// A handler the server left empty counts as an unknown failure.
template <typename F, typename... A>
int call(F* handler, A... args) {
    return handler ? handler(args...) : 1;
}

const char* interpretMemory(agent_socket_t socket, agent_message* message) {
    auto* m = reinterpret_cast<agent_mem_message*>(message);
    if (m->data_length >= sizeof WIDTH_OF_CODE / sizeof WIDTH_OF_CODE[0]) return "Invalid data length";
    const unsigned width = WIDTH_OF_CODE[m->data_length];
    switch (m->operation) {
        case AGENT_OP_WRITE:
            return handlerText(call(agent_handlers.write_mem, uint64_t(m->address), uint64_t(m->value), width));
        case AGENT_OP_READ: {
            uint64_t value = m->value;
            const char* text = handlerText(call(agent_handlers.read_mem, uint64_t(m->address), &value, width));
            m->value = value;
            const char* replyText = sendReply(socket, message);
            return replyText ? replyText : text;
        }
    }
    return "Invalid memory operation";
}

const char* interpretRegister(agent_socket_t socket, agent_message* message) {
    auto* m = reinterpret_cast<agent_reg_message*>(message);
    const char* name = agent_reg_name(message);
    // The name must end inside the message, or the handlers would read past it.
    if (!std::memchr(name, 0, m->length - AGENT_REG_FIXED_LENGTH)) return std::strerror(EINVAL);
    switch (m->operation) {
        case AGENT_OP_WRITE:
            return call(agent_handlers.write_reg, name, uint64_t(m->value)) != 0 ? "register write failure" : nullptr;
        case AGENT_OP_READ: {
            uint64_t value = m->value;
            int rc = call(agent_handlers.read_reg, name, &value);
            m->value = value;
            const char* replyText = sendReply(socket, message);
            if (replyText) return replyText;
            return rc != 0 ? "Register read failure" : nullptr;
        }
    }
    return "Invalid register operation";
}

const char* interpretDdrControl(agent_socket_t socket, agent_message* message) {
    auto* m = reinterpret_cast<agent_ddr_ctrl_message*>(message);
    switch (m->operation) {
        case AGENT_DDR_GET: {
            uint64_t second = m->second;
            const char* text = handlerText(call(agent_handlers.ddr_get, uint64_t(m->first), &second));
            m->second = second;
            const char* replyText = sendReply(socket, message);
            return replyText ? replyText : text;
        }
        case AGENT_DDR_SET: {
            int rc = call(agent_handlers.ddr_set, uint64_t(m->second));
            return rc != 0 ? std::strerror(rc) : nullptr;
        }
        case AGENT_DDR_TRIGGER: {
            int rc = call(agent_handlers.ddr_trigger);
            return rc != 0 ? std::strerror(rc) : nullptr;
        }
    }
    return "Invalid ddr operation";
}

}  // namespace

int init_sock_library() {
    // Berkeley sockets need no start-up here; the call stays for the callers'
    // sake, which start the library once per process.
    return 0;
}

int htonm(agent_message* message, agent_message** destination) {
    return convert(message, destination, true);
}

int ntohm(agent_message* message, agent_message** destination) {
    return convert(message, destination, false);
}

int sock_read(agent_socket_t socket, void* buffer, size_t size) {
    size_t got = 0;
    while (got < size) {
        ssize_t r = ::recv(socket, static_cast<char*>(buffer) + got, size - got, 0);
        if (r == 0) break;
        if (r < 0) {
            if (errno == EINTR || errno == EAGAIN) continue;
            return static_cast<int>(r);
        }
        got += static_cast<size_t>(r);
    }
    return static_cast<int>(got);
}

int sock_write(agent_socket_t socket, const agent_message* message, int flags) {
    if (!message) return -EINVAL;
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(message);
    const uint32_t total = be32toh(load32(bytes)) + 4;  // wraps to 0 for 0xFFFFFFFC
    if (total == 0) return 0;
    size_t sent = 0;
    while (sent < total) {
        // MSG_NOSIGNAL: a peer that has gone is a failed send, not a signal.
        ssize_t r = ::send(socket, bytes + sent, total - sent, MSG_NOSIGNAL | flags);
        if (r < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (r <= 0) {
            int e = r < 0 ? errno : 0;
            AGENT_ERROR_AT("sock_write", SOURCE, 412, "\tonly %d of %zd bytes chunk sent (errno %d:%s)", int(sent),
                           ssize_t(total), e, std::strerror(e));
            return static_cast<int>(r);
        }
        sent += static_cast<size_t>(r);
    }
    return static_cast<int>(total);
}

void agent_reader_init(agent_reader* reader, agent_socket_t socket) {
    reader->socket = socket;
    reader->start = reader->end = 0;
}

namespace {

// Reads exactly `size` bytes as sock_read does, through the reader's buffer
// when there is one: a short read then takes whatever the socket holds, so a
// reply and the status behind it arrive with one system call.
int receiveBytes(agent_socket_t socket, agent_reader* r, uint8_t* out, size_t size) {
    if (!r) return sock_read(socket, out, size);
    size_t got = 0;
    for (;;) {
        const size_t n = std::min(size - got, r->end - r->start);
        std::memcpy(out + got, r->buffer + r->start, n);
        r->start += n;
        got += n;
        if (got == size) return static_cast<int>(got);
        // The buffer is empty here.
        if (size - got >= sizeof r->buffer) {
            int rest = sock_read(socket, out + got, size - got);
            return rest < 0 ? rest : static_cast<int>(got) + rest;
        }
        ssize_t k = ::recv(socket, r->buffer, sizeof r->buffer, 0);
        // EAGAIN here is the receive timeout of the socket: the peer is silent.
        if (k < 0 && errno == EINTR) continue;
        if (k < 0) return static_cast<int>(k);
        if (k == 0) return static_cast<int>(got);
        r->start = 0;
        r->end = size_t(k);
    }
}

}  // namespace

int recv_sock_message(agent_socket_t socket, agent_message** message, agent_reader* reader) {
    if (!message) return -EINVAL;
    *message = nullptr;
    if (reader && reader->socket != socket) agent_reader_init(reader, socket);
    uint8_t head[4];
    int r = receiveBytes(socket, reader, head, sizeof head);
    if (r < 0) return -EIO;
    if (r == 0) return -AGENT_PEER_CLOSED;
    if (r != 4) return -EIO;
    const uint32_t length = be32toh(load32(head));
    if (length > AGENT_MAX_MESSAGE_LENGTH) return -EMSGSIZE;

    uint8_t* buffer = static_cast<uint8_t*>(std::malloc(size_t(length) + 4));
    if (!buffer) return -ENOMEM;
    *message = reinterpret_cast<agent_message*>(buffer);
    std::memcpy(buffer, head, sizeof head);
    r = receiveBytes(socket, reader, buffer + 4, length);
    if (r < 0 || uint32_t(r) != length) {
        AGENT_ERROR_AT("recv_sock_message", SOURCE, 484, "Unable to read the message content");
        return -EIO;
    }
    return 0;
}

const char* interpret_message(agent_socket_t socket, agent_message* message) {
    if (!message) return "Invalid operation";
    switch (message->type) {
        case AGENT_MSG_MEMORY:
            return interpretMemory(socket, message);
        case AGENT_MSG_REGISTER:
            return interpretRegister(socket, message);
        case AGENT_MSG_DDR_CONTROL:
            return interpretDdrControl(socket, message);
        case AGENT_MSG_DDR_BLOCK:
            return interpret_ddr_message(socket, message);
    }
    return "Invalid operation";
}

const char* interpret_ddr_message(agent_socket_t socket, agent_message* message) {
    if (!message) return "m is NULL";
    auto* m = reinterpret_cast<agent_ddr_block_message*>(message);
    const uint64_t available = m->length - AGENT_DDR_BLOCK_FIXED_LENGTH;
    switch (m->operation) {
        case AGENT_OP_WRITE:
            // A size beyond the payload that came would make the handler read
            // past the message.
            if (m->size > available) return std::strerror(EINVAL);
            return handlerText(
                call(agent_handlers.ddr_write, uint64_t(m->address), uint64_t(m->size), agent_ddr_payload(message)));
        case AGENT_OP_READ: {
            // The reply is a copy with room for `size` bytes behind the
            // request; its length field stays the request's.
            const size_t requestBytes = size_t(m->length) + 4;
            uint8_t* copy = nullptr;
            if (m->size <= AGENT_MAX_MESSAGE_LENGTH)
                copy = static_cast<uint8_t*>(std::calloc(1, requestBytes + size_t(m->size)));
            if (!copy) return "Cannot allocate memory";
            std::memcpy(copy, message, requestBytes);
            auto* reply = reinterpret_cast<agent_message*>(copy);
            const char* text = handlerText(
                call(agent_handlers.ddr_read, uint64_t(m->address), uint64_t(m->size), agent_ddr_payload(reply)));
            const char* replyText = sendReply(socket, reply);
            std::free(copy);
            return replyText ? replyText : text;
        }
    }
    return "Invalid ddr operation";
}
