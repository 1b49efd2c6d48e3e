// Context records: base (connection name), device (device and mode) and
// memory (core), each level embedding the one above it, with one operations
// table per kind.
#include "gta/gta.h"

#include <cstring>

namespace {

char* copyText(const char* text) {
    if (!text) text = "";
    size_t n = std::strlen(text);
    auto* s = static_cast<char*>(gta_malloc(n + 1));
    if (s) std::memcpy(s, text, n + 1);
    return s;
}

bool sameText(const char* a, const char* b) {
    return std::strcmp(a ? a : "", b ? b : "") == 0;
}

const char* modeSuffix(uint32_t mode) {
    if (mode == GTA_MODE_SIMULATOR) return "-sim";
    if (mode == GTA_MODE_EMULATOR) return "-emu";
    return "";
}

void releaseProperties(GtaContext* c) {
    for (uint64_t i = 0; i < c->propertyCount; ++i) {
        gta_free(c->properties[i].key);
        gta_free(c->properties[i].value);
    }
    gta_free(c->properties);
    c->properties = nullptr;
    c->propertyCount = c->propertyCapacity = 0;
}

void destroyMemory(GtaContext* c) {
    auto* m = reinterpret_cast<GtaMemoryContext*>(c);
    releaseProperties(c);
    gta_free(c->name);
    gta_free(m->device.device);
    gta_free(m->core);
    gta_free(m);
}

int32_t equalsMemory(const GtaContext* a, const GtaContext* b) {
    if (!a || !b || a->ops->kind != b->ops->kind) return 0;
    auto* x = reinterpret_cast<const GtaMemoryContext*>(a);
    auto* y = reinterpret_cast<const GtaMemoryContext*>(b);
    if (!sameText(a->name, b->name) || !sameText(x->device.device, y->device.device) ||
        x->device.mode != y->device.mode || !sameText(x->core, y->core) || a->propertyCount != b->propertyCount)
        return 0;
    for (uint64_t i = 0; i < a->propertyCount; ++i) {
        const GtaProperty& p = a->properties[i];
        const GtaProperty& q = b->properties[i];
        if (p.scope != q.scope || !sameText(p.key, q.key) || !sameText(p.value, q.value)) return 0;
    }
    return 1;
}

int32_t cloneMemory(const GtaContext* c, GtaContext** out) {
    auto* m = reinterpret_cast<const GtaMemoryContext*>(c);
    int32_t rc = gta_context_create(c->name, m->device.device, m->device.mode, m->core, out);
    for (uint64_t i = 0; rc == GTA_OK && i < c->propertyCount; ++i)
        rc = gta_context_add_property(*out, c->properties[i].scope, c->properties[i].key, c->properties[i].value);
    if (rc != GTA_OK) {
        gta_context_destroy(*out);
        *out = nullptr;
    }
    return rc;
}

// ":name", ":name:device<suffix>" or ":name:device<suffix>:core" by level.
int32_t idMemory(const GtaContext* c, uint32_t level, char** out) {
    *out = nullptr;
    if (level > GTA_CONTEXT_MEMORY) return GTA_ERR_COMMAND_TEXT;
    auto* m = reinterpret_cast<const GtaMemoryContext*>(c);
    const char* parts[5] = {c->name, nullptr, nullptr, nullptr, nullptr};
    size_t n = 1;
    if (level >= GTA_CONTEXT_DEVICE) {
        parts[n++] = m->device.device;
        parts[n++] = modeSuffix(m->device.mode);
    }
    if (level == GTA_CONTEXT_MEMORY) parts[n++] = m->core;
    size_t size = 1;
    for (size_t i = 0; i < n; ++i) size += std::strlen(parts[i]) + 1;
    char* id = static_cast<char*>(gta_malloc(size));
    if (!id) return GTA_ERR_NO_MEMORY;
    char* p = id;
    for (size_t i = 0; i < n; ++i) {
        if (i != 2) *p++ = ':';  // the mode suffix joins the device name
        size_t len = std::strlen(parts[i]);
        std::memcpy(p, parts[i], len);
        p += len;
    }
    *p = '\0';
    *out = id;
    return GTA_OK;
}

const GtaContextOps MEMORY_OPS = {GTA_CONTEXT_MEMORY, destroyMemory, equalsMemory, cloneMemory, idMemory};

}  // namespace

int32_t gta_context_create(const char* name, const char* device, uint32_t mode, const char* core, GtaContext** out) {
    *out = nullptr;
    auto* m = static_cast<GtaMemoryContext*>(gta_malloc(sizeof(GtaMemoryContext)));
    if (!m) return GTA_ERR_NO_MEMORY;
    std::memset(m, 0, sizeof *m);
    GtaContext* c = &m->device.base;
    c->ops = &MEMORY_OPS;
    c->properties = static_cast<GtaProperty*>(gta_malloc(GTA_PROPERTIES_CAPACITY * sizeof(GtaProperty)));
    c->propertyCapacity = c->properties ? GTA_PROPERTIES_CAPACITY : 0;
    c->name = copyText(name);
    m->device.device = copyText(device);
    m->device.mode = mode;
    m->core = copyText(core);
    if (!c->properties || !c->name || !m->device.device || !m->core) {
        destroyMemory(c);
        return GTA_ERR_NO_MEMORY;
    }
    *out = c;
    return GTA_OK;
}

void gta_context_destroy(GtaContext* context) {
    if (context) context->ops->destroy(context);
}

int32_t gta_context_add_property(GtaContext* context, uint32_t scope, const char* key, const char* value) {
    if (context->propertyCount == context->propertyCapacity) {
        uint64_t capacity = context->propertyCapacity ? 2 * context->propertyCapacity : GTA_PROPERTIES_CAPACITY;
        auto* list = static_cast<GtaProperty*>(gta_malloc(capacity * sizeof(GtaProperty)));
        if (!list) return GTA_ERR_NO_MEMORY;
        if (context->propertyCount)
            std::memcpy(list, context->properties, context->propertyCount * sizeof(GtaProperty));
        gta_free(context->properties);
        context->properties = list;
        context->propertyCapacity = capacity;
    }
    GtaProperty p{scope, copyText(key), copyText(value)};
    if (!p.key || !p.value) {
        gta_free(p.key);
        gta_free(p.value);
        return GTA_ERR_NO_MEMORY;
    }
    context->properties[context->propertyCount++] = p;
    return GTA_OK;
}

int32_t gta_context_id(const GtaContext* context, char** out) {
    *out = nullptr;
    if (!context) return GTA_ERR_COMMAND_TEXT;
    return context->ops->id(context, context->ops->kind, out);
}
