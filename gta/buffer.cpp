// Allocator pair, growable buffer and reply packets.
#include "gta/gta.h"

#include <cstdlib>
#include <cstring>

namespace {

GtaMallocFn allocateFn = std::malloc;
GtaFreeFn releaseFn = std::free;

uint64_t effectiveMax(const GtaBuffer* b) {
    return b->maxSize ? b->maxSize : GTA_BUFFER_UNLIMITED;
}

}  // namespace

void gta_set_allocator(GtaMallocFn allocate, GtaFreeFn release) {
    allocateFn = allocate ? allocate : std::malloc;
    releaseFn = release ? release : std::free;
}

void* gta_malloc(size_t size) {
    return allocateFn(size);
}

void gta_free(void* p) {
    if (p) releaseFn(p);
}

int32_t gta_buffer_init(GtaBuffer* buffer, uint64_t capacity, uint64_t maxSize) {
    if (capacity == 0) capacity = GTA_BUFFER_DEFAULT_CAPACITY;
    buffer->size = 0;
    buffer->maxSize = maxSize;
    if (capacity > effectiveMax(buffer)) capacity = effectiveMax(buffer);
    buffer->data = static_cast<uint8_t*>(gta_malloc(capacity));
    buffer->capacity = buffer->data ? capacity : 0;
    return buffer->data ? GTA_OK : GTA_ERR_NO_MEMORY;
}

void gta_buffer_release(GtaBuffer* buffer) {
    gta_free(buffer->data);
    buffer->data = nullptr;
    buffer->capacity = buffer->size = 0;
}

int32_t gta_buffer_create(uint64_t capacity, uint64_t maxSize, GtaBuffer** out) {
    *out = nullptr;
    auto* b = static_cast<GtaBuffer*>(gta_malloc(sizeof(GtaBuffer)));
    if (!b) return GTA_ERR_NO_MEMORY;
    int32_t rc = gta_buffer_init(b, capacity, maxSize);
    if (rc != GTA_OK) {
        gta_free(b);
        return rc;
    }
    *out = b;
    return GTA_OK;
}

void gta_buffer_destroy(GtaBuffer* buffer) {
    if (!buffer) return;
    gta_buffer_release(buffer);
    gta_free(buffer);
}

int32_t gta_buffer_reset(GtaBuffer* buffer, uint64_t capacity) {
    if (capacity == 0) capacity = GTA_BUFFER_DEFAULT_CAPACITY;
    if (capacity > effectiveMax(buffer)) return GTA_ERR_BUFFER_LIMIT;
    if (capacity != buffer->capacity || !buffer->data) {
        auto* data = static_cast<uint8_t*>(gta_malloc(capacity));
        if (!data) return GTA_ERR_NO_MEMORY;
        if (buffer->size > capacity) buffer->size = capacity;
        if (buffer->size) std::memcpy(data, buffer->data, buffer->size);
        gta_free(buffer->data);
        buffer->data = data;
        buffer->capacity = capacity;
    }
    return GTA_OK;
}

int32_t gta_buffer_grow(GtaBuffer* buffer, uint64_t need) {
    if (need <= buffer->capacity) return GTA_OK;
    const uint64_t limit = effectiveMax(buffer);
    if (need > limit) return GTA_ERR_BUFFER_LIMIT;
    uint64_t capacity = buffer->capacity * 2 > need ? buffer->capacity * 2 : need;
    if (capacity > limit) capacity = limit;
    auto* data = static_cast<uint8_t*>(gta_malloc(capacity));
    if (!data) return GTA_ERR_NO_MEMORY;
    if (buffer->size) std::memcpy(data, buffer->data, buffer->size);
    gta_free(buffer->data);
    buffer->data = data;
    buffer->capacity = capacity;
    return GTA_OK;
}

int32_t gta_buffer_append(GtaBuffer* buffer, const void* data, uint64_t size) {
    if (size > effectiveMax(buffer) - buffer->size) return GTA_ERR_BUFFER_LIMIT;
    int32_t rc = gta_buffer_grow(buffer, buffer->size + size);
    if (rc != GTA_OK) return rc;
    if (size) std::memcpy(buffer->data + buffer->size, data, size);
    buffer->size += size;
    return GTA_OK;
}

int32_t gta_packet_create(GtaPacket** out) {
    *out = nullptr;
    auto* p = static_cast<GtaPacket*>(gta_malloc(sizeof(GtaPacket)));
    if (!p) return GTA_ERR_NO_MEMORY;
    int32_t rc = gta_buffer_init(&p->buffer, GTA_PACKET_CAPACITY, 0);
    if (rc != GTA_OK) {
        gta_free(p);
        return rc;
    }
    p->kind = GTA_PACKET_UNKNOWN;
    p->errorCode = -1;
    *out = p;
    return GTA_OK;
}

void gta_packet_destroy(GtaPacket* packet) {
    if (!packet) return;
    gta_buffer_release(&packet->buffer);
    gta_free(packet);
}

int32_t gta_packet_reset(GtaPacket* packet) {
    packet->errorCode = -1;
    packet->kind = GTA_PACKET_UNKNOWN;
    packet->buffer.size = 0;
    return gta_buffer_reset(&packet->buffer, GTA_PACKET_CAPACITY);
}

uint32_t gta_packet_kind(GtaPacket* packet) {
    if (packet->kind != GTA_PACKET_UNKNOWN) return packet->kind;
    const uint8_t* d = packet->buffer.data;
    const uint64_t n = packet->buffer.size;
    auto digit = [](uint8_t c) { return c >= '0' && c <= '9'; };
    if (n == 2 && d[0] == 'O' && d[1] == 'K') {
        packet->kind = GTA_PACKET_OK;
    } else if (n == 3 && d[0] == 'E' && digit(d[1]) && digit(d[2])) {
        packet->kind = GTA_PACKET_ERROR;
        packet->errorCode = (d[1] - '0') * 10 + (d[2] - '0');
    } else {
        packet->kind = GTA_PACKET_DATA;
    }
    return packet->kind;
}
