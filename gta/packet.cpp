// Packet framing: building with the three encodings, checksum, sending with
// acknowledgement, and the receive state machine.
#include "gta/gta.h"

#include <cctype>
#include <chrono>
#include <cstdarg>
#include <cstring>
#include <string>

namespace {

const char DIGITS[] = "0123456789abcdef";
const uint8_t ESCAPE = '}';
const uint8_t ESCAPE_XOR = 0x20;
const uint8_t ACK = '+';
const uint8_t NACK = '-';

int hexValue(uint8_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool needsEscape(uint8_t c) {
    return c == '#' || c == '$' || c == '*' || c == ESCAPE;
}

bool debugOn(const GtaSession* s) {
    return s->debugSink && (s->debugSink->flags & GTA_DEBUG_ENABLED);
}

void debug(GtaSession* s, const char* format, ...) __attribute__((format(printf, 2, 3)));
void debug(GtaSession* s, const char* format, ...) {
    if (!debugOn(s)) return;
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    s->debugSink->write(s->debugSink, text);
}

// Bytes as printable text, others as \xNN.
std::string printable(const uint8_t* data, uint64_t size) {
    std::string out;
    for (uint64_t i = 0; i < size; ++i) {
        if (std::isgraph(data[i])) {
            out += static_cast<char>(data[i]);
        } else {
            out += "\\x";
            out += DIGITS[data[i] >> 4];
            out += DIGITS[data[i] & 0xF];
        }
    }
    return out;
}

// Drops whatever is buffered after a transport failure.
void dropReadBuffer(GtaSession* s) {
    s->readFill = s->readPosition = 0;
}

uint64_t monotonicMs() {
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void armReplyDeadline(GtaSession* s) {
    s->replyDeadline = monotonicMs() + GTA_REPLY_SILENCE_LIMIT_MS;
}

// A server that let the reply deadline pass is treated as gone: the
// connection is closed, so that this command and every later one fail as
// after a close by the peer, and a late reply can never be taken for the
// answer to a later command.
int32_t silenceEndsConnection(GtaSession* s) {
    dropReadBuffer(s);
    s->replyDeadline = 0;
    s->transport->close(s->transport);
    return GTA_ERR_CLOSED;
}

// One read into readBuffer; while a reply deadline runs, the wait is cut to
// what is left of it (or to the transport's own timeout when that is shorter).
int32_t refill(GtaSession* s, uint64_t* count) {
    GtaTransport* t = s->transport;
    if (!s->replyDeadline) return t->read(t, s->readBuffer, GTA_READ_BUFFER_SIZE, count);
    const uint64_t now = monotonicMs();
    if (now >= s->replyDeadline) return silenceEndsConnection(s);
    const uint64_t left = s->replyDeadline - now;
    const uint32_t own = t->timeout;
    const bool cut = own == 0 || left < own;
    if (cut) t->timeout = static_cast<uint32_t>(left);
    int32_t rc = t->read(t, s->readBuffer, GTA_READ_BUFFER_SIZE, count);
    t->timeout = own;
    if (rc == GTA_ERR_TIMEOUT && cut) return silenceEndsConnection(s);
    return rc;
}

// Takes one byte from readBuffer, refilling it with one read when empty.
int32_t takeByte(GtaSession* s, uint8_t* out) {
    while (s->readPosition == s->readFill) {
        uint64_t n = 0;
        int32_t rc = refill(s, &n);
        if (rc != GTA_OK) {
            dropReadBuffer(s);
            return rc;
        }
        s->readFill = n;
        s->readPosition = 0;
    }
    *out = s->readBuffer[s->readPosition++];
    return GTA_OK;
}

int32_t storeByte(GtaPacket* p, uint8_t c) {
    return gta_buffer_append(&p->buffer, &c, 1);
}

// Builds the printable text of the reply for the debug trace only.
std::string replyText(const GtaPacket* p) {
    return printable(p->buffer.data, p->buffer.size);
}

// Writes the acknowledgement for a received packet.
int32_t acknowledge(GtaSession* s, bool match) {
    debug(s, match ? "CHECKSUM match, sending ACK ... " : "CHECKSUM missmatch, sending NACK ... ");
    const uint8_t answer = match ? ACK : NACK;
    int32_t rc = s->transport->writeAll(s->transport, &answer, 1);
    if (rc != GTA_OK) return rc;
    debug(s, "OK\n");
    if (!match) {
        debug(s, "Packet integrity problem ...");
        return GTA_ERR_CHECKSUM;
    }
    return GTA_OK;
}

enum class State { Idle, Data, FirstDigit, SecondDigit };

// The state machine proper; the caller handles debug texts of failures.
int32_t receive(GtaSession* s) {
    GtaPacket* p = s->reply;
    State state = State::Idle;
    uint64_t noise = 0;
    uint8_t sum = 0;
    int high = 0;
    for (;;) {
        uint8_t c = 0;
        int32_t rc = takeByte(s, &c);
        if (rc != GTA_OK) {
            gta_packet_reset(p);
            return rc;
        }
        if (c == '$' && state != State::Idle) {  // a new start wins over a broken packet
            if ((rc = gta_packet_reset(p)) != GTA_OK) return rc;
            state = State::Data;
            sum = 0;
            continue;
        }
        switch (state) {
            case State::Idle:
                if (c == '$') {
                    s->replyDeadline = 0;  // the reply has begun
                    state = State::Data;
                } else if (c == ACK || c == NACK) {
                    p->kind = c == ACK ? GTA_PACKET_ACK : GTA_PACKET_NACK;
                    return storeByte(p, c);
                } else if (++noise > GTA_NOISE_LIMIT) {
                    return GTA_ERR_BAD_PACKET;
                }
                break;
            case State::Data:
                if (c == '#') {
                    state = State::FirstDigit;
                    break;
                }
                if (c == ESCAPE) {
                    uint8_t next = 0;
                    if ((rc = takeByte(s, &next)) != GTA_OK) {
                        gta_packet_reset(p);
                        return rc;
                    }
                    sum = static_cast<uint8_t>(sum + c + next);
                    c = static_cast<uint8_t>(next ^ ESCAPE_XOR);
                } else {
                    sum = static_cast<uint8_t>(sum + c);
                }
                if ((rc = storeByte(p, c)) != GTA_OK) return rc;
                break;
            case State::FirstDigit:
                if (s->ackMode != 0) {
                    state = State::SecondDigit;
                    break;
                }
                high = hexValue(c);
                if (high < 0) {
                    uint8_t ignored = 0;
                    takeByte(s, &ignored);
                    return GTA_ERR_BAD_PACKET;
                }
                state = State::SecondDigit;
                break;
            case State::SecondDigit: {
                if (s->ackMode != 0) return GTA_OK;
                int low = hexValue(c);
                if (low < 0) return GTA_ERR_BAD_PACKET;
                debug(s, "OK\n");
                if (debugOn(s)) debug(s, "Recv packet: %s\n", replyText(p).c_str());
                return acknowledge(s, ((high << 4) | low) == sum);
            }
        }
    }
}

}  // namespace

uint8_t gta_checksum(const void* data, uint64_t size) {
    auto* p = static_cast<const uint8_t*>(data);
    uint8_t sum = 0;
    for (uint64_t i = 0; i < size; ++i) sum = static_cast<uint8_t>(sum + p[i]);
    return sum;
}

uint64_t gta_encode_hex(const void* data, uint64_t size, char* out) {
    auto* p = static_cast<const uint8_t*>(data);
    for (uint64_t i = 0; i < size; ++i) {
        out[2 * i] = DIGITS[p[i] >> 4];
        out[2 * i + 1] = DIGITS[p[i] & 0xF];
    }
    return 2 * size;
}

uint64_t gta_encode_double_hex(const void* data, uint64_t size, char* out) {
    auto* p = static_cast<const uint8_t*>(data);
    for (uint64_t i = 0; i < size; ++i) {
        const char digits[2] = {DIGITS[p[i] >> 4], DIGITS[p[i] & 0xF]};
        gta_encode_hex(digits, 2, out + 4 * i);
    }
    return 4 * size;
}

uint64_t gta_encode_escaped(const void* data, uint64_t size, char* out) {
    auto* p = static_cast<const uint8_t*>(data);
    uint64_t n = 0;
    for (uint64_t i = 0; i < size; ++i) {
        if (needsEscape(p[i])) {
            out[n++] = static_cast<char>(ESCAPE);
            out[n++] = static_cast<char>(p[i] ^ ESCAPE_XOR);
        } else {
            out[n++] = static_cast<char>(p[i]);
        }
    }
    return n;
}

int32_t gta_decode_hex(const char* text, uint64_t size, uint8_t* out) {
    if (size % 2) return GTA_ERR_HEX;
    for (uint64_t i = 0; i < size; i += 2) {
        int hi = hexValue(static_cast<uint8_t>(text[i]));
        int lo = hexValue(static_cast<uint8_t>(text[i + 1]));
        if (hi < 0 || lo < 0) return GTA_ERR_HEX;
        out[i / 2] = static_cast<uint8_t>((hi << 4) | lo);
    }
    return GTA_OK;
}

int32_t gta_packet_begin(GtaSession* session) {
    return gta_buffer_append(session->command, "$", 1);
}

int32_t gta_packet_append(GtaSession* session, const void* data, uint64_t size, uint32_t encoding) {
    GtaBuffer* b = session->command;
    uint64_t factor = 1;
    if (encoding & GTA_ENCODE_HEX) factor = 2;
    if (encoding & GTA_ENCODE_DOUBLE_HEX) factor = 4;
    if (encoding == GTA_ENCODE_ESCAPED) factor = 2;
    if (size > (GTA_BUFFER_UNLIMITED - b->size) / factor) return GTA_ERR_BUFFER_LIMIT;
    int32_t rc = gta_buffer_grow(b, b->size + size * factor);
    if (rc != GTA_OK) return rc;
    char* out = reinterpret_cast<char*>(b->data + b->size);
    if (encoding & GTA_ENCODE_DOUBLE_HEX)
        b->size += gta_encode_double_hex(data, size, out);
    else if (encoding & GTA_ENCODE_HEX)
        b->size += gta_encode_hex(data, size, out);
    else if (encoding & GTA_ENCODE_ESCAPED)
        b->size += gta_encode_escaped(data, size, out);
    else {
        if (size) std::memcpy(out, data, size);
        b->size += size;
    }
    return GTA_OK;
}

int32_t gta_packet_end(GtaSession* session) {
    GtaBuffer* b = session->command;
    // The sum covers what follows the first '$'.
    const uint8_t* start = static_cast<const uint8_t*>(std::memchr(b->data, '$', b->size));
    uint8_t sum = start ? gta_checksum(start + 1, b->size - (start + 1 - b->data)) : 0;
    const char tail[3] = {'#', DIGITS[sum >> 4], DIGITS[sum & 0xF]};
    return gta_buffer_append(b, tail, sizeof tail);
}

int32_t gta_send_packet(GtaSession* session) {
    GtaTransport* t = session->transport;
    const bool single = session->ackMode == 1;
    uint32_t tries = session->sendRetries;
    const bool limited = single || tries != 0;
    if (single) tries = 1;
    int32_t status = GTA_ERR_CHECKSUM;
    for (;;) {
        if (limited && tries == 0) return status;
        if (debugOn(session))
            debug(session, "Sending packet: %s ... ",
                  printable(session->command->data, session->command->size).c_str());
        status = t->writeAll(t, session->command->data, session->command->size);
        if (status == GTA_OK) {
            armReplyDeadline(session);
            debug(session, "OK\n");
            if (session->ackMode != 0) return GTA_OK;
            debug(session, "Expecting ACK ... ");
            uint8_t c = 0;
            status = takeByte(session, &c);
            if (status == GTA_OK) {
                if (c == ACK) {
                    debug(session, "OK\n");
                    return GTA_OK;
                }
                status = GTA_ERR_CHECKSUM;  // any byte but '+' is a nack
            }
        }
        debug(session, "FAILED (error=%d)\n", status);
        if (status != GTA_ERR_CHECKSUM) return status;
        if (limited) --tries;
    }
}

int32_t gta_receive_packet(GtaSession* session) {
    debug(session, "Receiving packet ... ");
    int32_t rc = gta_packet_reset(session->reply);
    if (rc == GTA_OK) rc = receive(session);
    if (rc != GTA_OK) debug(session, "FAILED (error=%d)\n", rc);
    return rc;
}

namespace {

// The packets of one reply; a packet after a damaged one or after console
// output gets a fresh deadline of its own, as the server has shown it is there.
int32_t receiveReply(GtaSession* session) {
    for (;;) {
        uint32_t again = 0;
        int32_t rc;
        for (;;) {
            rc = gta_receive_packet(session);
            if (rc != GTA_ERR_CHECKSUM || session->ackMode == 1) break;
            if (session->receiveRetries != 0 && again++ == session->receiveRetries) break;
            armReplyDeadline(session);
        }
        if (rc != GTA_OK) return rc;
        GtaPacket* p = session->reply;
        if (p->buffer.size == 0 || gta_packet_kind(p) == GTA_PACKET_OK) return GTA_OK;
        if (p->buffer.data[0] != 'O') return GTA_OK;  // 'O...' is the server's console output
        armReplyDeadline(session);
    }
}

}  // namespace

int32_t gta_receive_reply(GtaSession* session, GtaPacket** out) {
    const int32_t rc = receiveReply(session);
    session->replyDeadline = 0;
    if (rc != GTA_OK) return rc;
    if (out) *out = session->reply;
    return GTA_OK;
}

int32_t gta_debug_attach(GtaSession* session, GtaDebugWriteFn write, FILE* file, void* user) {
    auto* sink = static_cast<GtaDebugSink*>(gta_malloc(sizeof(GtaDebugSink)));
    if (!sink) return GTA_ERR_NO_MEMORY;
    sink->flags = GTA_DEBUG_ENABLED;
    sink->write = write ? write : [](GtaDebugSink* s, const char* text) {
        if (s->file) std::fputs(text, s->file);
    };
    sink->file = file;
    sink->user = user;
    if (session->debugSink) {
        if (session->debugSink->file) std::fclose(session->debugSink->file);
        gta_free(session->debugSink);
    }
    session->debugSink = sink;
    return GTA_OK;
}
