// URL parsing and the two transports: TCP (non-blocking socket, waits with
// an optional timeout) and an in-memory loop for running the protocol
// without a server.
#include "gta/gta.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fcntl.h>
#include <cerrno>
#include <cfloat>
#include <cstdlib>
#include <cstring>

namespace {

const long MAX_PORT = 65535;

char* copyText(const char* text, size_t size) {
    auto* s = static_cast<char*>(gta_malloc(size + 1));
    if (!s) return nullptr;
    std::memcpy(s, text, size);
    s[size] = '\0';
    return s;
}

// ---- TCP -------------------------------------------------------------------

int waitTimeout(const GtaTransport* t) {
    return t->timeout ? static_cast<int>(t->timeout) : -1;
}

void tcpDisconnect(GtaTransport* t) {
    if (t->socket >= 0) ::close(t->socket);
    t->socket = -1;
}

// Waits for `events` on the socket: GTA_OK, a timeout or a failed wait.
int32_t tcpWait(GtaTransport* t, short events) {
    pollfd p{t->socket, events, 0};
    for (;;) {
        int n = ::poll(&p, 1, waitTimeout(t));
        if (n > 0) return GTA_OK;
        if (n == 0) return GTA_ERR_TIMEOUT;
        if (errno == EINTR) continue;
        t->error = errno;
        return GTA_ERR_WAIT;
    }
}

// One connection attempt to one resolved address.
int tcpTry(GtaTransport* t, const addrinfo* ai) {
    int s = ::socket(ai->ai_family, ai->ai_socktype, ai->ai_protocol);
    if (s < 0) {
        t->error = errno;
        return -1;
    }
    int one = 1;
    ::fcntl(s, F_SETFL, ::fcntl(s, F_GETFL, 0) | O_NONBLOCK);
    ::setsockopt(s, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (::connect(s, ai->ai_addr, ai->ai_addrlen) == 0) return s;
    if (errno == EINPROGRESS) {
        pollfd p{s, POLLOUT, 0};
        int n;
        do {
            n = ::poll(&p, 1, waitTimeout(t));
        } while (n < 0 && errno == EINTR);
        if (n > 0 && !(p.revents & POLLNVAL)) {
            int err = 0;
            socklen_t len = sizeof err;
            if (::getsockopt(s, SOL_SOCKET, SO_ERROR, &err, &len) == 0 && err == 0) return s;
            t->error = err;
        } else {
            t->error = n == 0 ? ETIMEDOUT : errno;
        }
    } else {
        t->error = errno;
    }
    ::close(s);
    return -1;
}

int32_t tcpOpen(GtaTransport* t) {
    tcpDisconnect(t);
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (::getaddrinfo(t->url.host, t->url.port, &hints, &list) != 0) return GTA_ERR_CONNECT;
    for (addrinfo* ai = list; ai; ai = ai->ai_next) {
        int s = tcpTry(t, ai);
        if (s >= 0) {
            t->socket = s;
            break;
        }
    }
    ::freeaddrinfo(list);
    return t->socket >= 0 ? GTA_OK : GTA_ERR_CONNECT;
}

int32_t tcpClose(GtaTransport* t) {
    tcpDisconnect(t);
    return GTA_OK;
}

// One recv, then after a would-block one wait and one more recv (which may
// legally find nothing). End of stream closes the connection.
int32_t tcpRead(GtaTransport* t, void* data, uint64_t size, uint64_t* count) {
    *count = 0;
    if (t->socket < 0) return GTA_ERR_RECEIVE;
    for (int attempt = 0; attempt < 2; ++attempt) {
        ssize_t n = ::recv(t->socket, data, size, 0);
        if (n > 0) {
            *count = static_cast<uint64_t>(n);
            return GTA_OK;
        }
        if (n == 0) {
            tcpDisconnect(t);
            return GTA_ERR_CLOSED;
        }
        if (errno == ECONNRESET) {  // the peer is gone as surely as with an orderly close
            t->error = errno;
            tcpDisconnect(t);
            return GTA_ERR_CLOSED;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            t->error = errno;
            return GTA_ERR_RECEIVE;
        }
        if (attempt == 0) {
            int32_t rc = tcpWait(t, POLLIN);
            if (rc != GTA_OK) return rc;
        }
    }
    return GTA_OK;
}

int32_t tcpWrite(GtaTransport* t, const void* data, uint64_t size, uint64_t* count) {
    *count = 0;
    if (t->socket < 0) return GTA_ERR_SEND;
    for (int attempt = 0; attempt < 2; ++attempt) {
        ssize_t n = ::send(t->socket, data, size, MSG_NOSIGNAL);
        if (n >= 0) {
            *count = static_cast<uint64_t>(n);
            return GTA_OK;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            t->error = errno;
            if (errno == EPIPE || errno == ECONNRESET) tcpDisconnect(t);
            return GTA_ERR_SEND;
        }
        if (attempt == 0) {
            int32_t rc = tcpWait(t, POLLOUT);
            if (rc != GTA_OK) return rc;
        }
    }
    return GTA_OK;
}

// Repeats step (a read or a write) until all size bytes have moved; its
// first failure ends the loop.
template <class Byte, class Step>
int32_t tcpMoveAll(GtaTransport* t, Byte* p, uint64_t size, Step step) {
    while (size) {
        uint64_t n = 0;
        int32_t rc = step(t, p, size, &n);
        if (rc != GTA_OK) return rc;
        p += n;
        size -= n;
    }
    return GTA_OK;
}

int32_t tcpReadAll(GtaTransport* t, void* data, uint64_t size) {
    return tcpMoveAll(t, static_cast<uint8_t*>(data), size, tcpRead);
}

int32_t tcpWriteAll(GtaTransport* t, const void* data, uint64_t size) {
    return tcpMoveAll(t, static_cast<const uint8_t*>(data), size, tcpWrite);
}

int32_t lastError(GtaTransport* t) {
    return t->error;
}

// ---- Memory ----------------------------------------------------------------

int32_t memoryOpen(GtaTransport*) {
    return GTA_OK;
}
int32_t memoryClose(GtaTransport*) {
    return GTA_OK;
}

// Nothing left to read is the end of the stream: a reader never waits here.
int32_t memoryRead(GtaTransport* t, void* data, uint64_t size, uint64_t* count) {
    GtaBuffer* m = t->memory;
    uint64_t left = m->size - t->memoryPosition;
    *count = 0;
    if (left == 0) return GTA_ERR_CLOSED;
    uint64_t n = size < left ? size : left;
    std::memcpy(data, m->data + t->memoryPosition, n);
    t->memoryPosition += n;
    if (t->memoryPosition == m->size) {
        t->memoryPosition = 0;
        m->size = 0;
        int32_t rc = gta_buffer_reset(m, GTA_MEMORY_TRANSPORT_CAPACITY);
        if (rc != GTA_OK) return rc;
    }
    *count = n;
    return GTA_OK;
}

int32_t memoryReadAll(GtaTransport* t, void* data, uint64_t size) {
    if (t->memory->size - t->memoryPosition < size) return GTA_ERR_CLOSED;
    uint64_t n = 0;
    return size ? memoryRead(t, data, size, &n) : GTA_OK;
}

int32_t memoryWrite(GtaTransport* t, const void* data, uint64_t size, uint64_t* count) {
    *count = 0;
    int32_t rc = gta_buffer_append(t->memory, data, size);
    if (rc == GTA_OK) *count = size;
    return rc;
}

int32_t memoryWriteAll(GtaTransport* t, const void* data, uint64_t size) {
    uint64_t n = 0;
    return memoryWrite(t, data, size, &n);
}

}  // namespace

int32_t gta_url_parse(const char* text, GtaUrl* out) {
    out->scheme = out->host = out->port = nullptr;
    if (!text) return GTA_ERR_URL;
    const char* colon = std::strchr(text, ':');
    if (!colon) {
        if (!*text) return GTA_ERR_URL;
        out->scheme = copyText(text, std::strlen(text));
        return out->scheme ? GTA_OK : GTA_ERR_NO_MEMORY;
    }
    if (colon == text || std::strncmp(colon + 1, "//", 2) != 0) return GTA_ERR_URL;
    const char* host = colon + 3;
    const char* hostEnd = std::strchr(host, ':');
    const char* end = hostEnd ? hostEnd : host + std::strlen(host);
    if (end > host && end[-1] == '/') --end;
    if (end == host || !hostEnd) return GTA_ERR_URL;
    const char* port = hostEnd + 1;
    char* portEnd = nullptr;
    errno = 0;
    long value = std::strtol(port, &portEnd, 10);
    if (portEnd == port || *portEnd != '\0' || errno != 0 || value < 0 || value > MAX_PORT) return GTA_ERR_URL;
    out->scheme = copyText(text, colon - text);
    out->host = copyText(host, end - host);
    out->port = copyText(port, std::strlen(port));
    if (!out->scheme || !out->host || !out->port) {
        gta_url_release(out);
        return GTA_ERR_NO_MEMORY;
    }
    return GTA_OK;
}

void gta_url_release(GtaUrl* url) {
    gta_free(url->scheme);
    gta_free(url->host);
    gta_free(url->port);
    url->scheme = url->host = url->port = nullptr;
}

int32_t gta_transport_create(const char* url, uint32_t timeout, GtaTransport** out) {
    *out = nullptr;
    GtaUrl parsed;
    int32_t rc = gta_url_parse(url, &parsed);
    if (rc != GTA_OK) return rc;
    const bool isTcp = std::strcmp(parsed.scheme, "tcp") == 0;
    const bool isMemory = std::strcmp(parsed.scheme, "memory") == 0;
    if (!isTcp && !isMemory)
        rc = GTA_ERR_SCHEME;
    else if (isTcp && !parsed.host)
        rc = GTA_ERR_URL;
    else if (isMemory && parsed.host)
        rc = GTA_ERR_URL;
    if (rc != GTA_OK) {
        gta_url_release(&parsed);
        return rc;
    }
    auto* t = static_cast<GtaTransport*>(gta_malloc(sizeof(GtaTransport)));
    if (!t) {
        gta_url_release(&parsed);
        return GTA_ERR_NO_MEMORY;
    }
    std::memset(t, 0, sizeof *t);
    t->url = parsed;
    t->timeout = timeout;
    t->socket = -1;
    t->lastError = lastError;
    if (isTcp) {
        t->name = "tcp";
        t->open = tcpOpen;
        t->close = tcpClose;
        t->read = tcpRead;
        t->readAll = tcpReadAll;
        t->write = tcpWrite;
        t->writeAll = tcpWriteAll;
        rc = t->open(t);
    } else {
        t->name = "memory";
        t->open = memoryOpen;
        t->close = memoryClose;
        t->read = memoryRead;
        t->readAll = memoryReadAll;
        t->write = memoryWrite;
        t->writeAll = memoryWriteAll;
        rc = gta_buffer_create(GTA_MEMORY_TRANSPORT_CAPACITY, 0, &t->memory);
    }
    if (rc != GTA_OK) {
        gta_transport_destroy(t);
        return rc;
    }
    *out = t;
    return GTA_OK;
}

void gta_transport_destroy(GtaTransport* transport) {
    if (!transport) return;
    if (transport->close) transport->close(transport);
    gta_buffer_destroy(transport->memory);
    gta_url_release(&transport->url);
    gta_free(transport);
}
