#include "tools/gta-sim/GtaSim.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <list>
#include <memory>
#include <sstream>
#include <thread>

namespace gtasim {

namespace {

const char HEX[] = "0123456789abcdef";
const size_t MAX_PENDING_INPUT = 1 << 20;  // an unterminated packet longer than this drops the client
const uint64_t MAX_TRANSFER = 1 << 16;     // bytes per read or write command
const size_t READ_CHUNK = 4096;
const size_t MAX_UNACKED = 64;  // a client that never acknowledges does not grow the queue

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool parseNumber(const std::string& text, uint64_t& value) {
    if (text.empty() || text[0] == '-' || text[0] == '+') return false;
    errno = 0;
    char* end = nullptr;
    unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (errno || *end) return false;
    value = v;
    return true;
}

// Splits at single blanks, keeping empty tokens (an empty memory space).
std::vector<std::string> splitBlanks(const std::string& text) {
    std::vector<std::string> out;
    std::string::size_type start = 0;
    for (;;) {
        auto blank = text.find(' ', start);
        out.push_back(text.substr(start, blank == std::string::npos ? blank : blank - start));
        if (blank == std::string::npos) return out;
        start = blank + 1;
    }
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::string frame(const std::string& payload) {
    std::string out = "$";
    uint8_t sum = 0;
    for (unsigned char c : payload) {
        if (c == '#' || c == '$' || c == '}' || c == '*') {
            out += '}';
            out += static_cast<char>(c ^ 0x20);
            sum = static_cast<uint8_t>(sum + '}' + (c ^ 0x20));
        } else {
            out += static_cast<char>(c);
            sum = static_cast<uint8_t>(sum + c);
        }
    }
    out += '#';
    out += HEX[sum >> 4];
    out += HEX[sum & 0xF];
    return out;
}

}  // namespace

std::string toHex(const std::string& bytes) {
    std::string out;
    out.reserve(bytes.size() * 2);
    for (unsigned char c : bytes) {
        out += HEX[c >> 4];
        out += HEX[c & 0xF];
    }
    return out;
}

bool fromHex(const std::string& text, std::string& bytes) {
    if (text.size() % 2) return false;
    bytes.resize(text.size() / 2);
    for (size_t i = 0; i < bytes.size(); ++i) {
        int hi = hexValue(text[2 * i]), lo = hexValue(text[2 * i + 1]);
        if (hi < 0 || lo < 0) return false;
        bytes[i] = static_cast<char>((hi << 4) | lo);
    }
    return true;
}

// ---- Memory image ----------------------------------------------------------

void MemoryImage::write(const std::string& space, uint64_t address, const uint8_t* data, uint64_t size) {
    auto it = pages.find(space);
    if (it == pages.end()) {
        it = pages.emplace(space, std::unordered_map<uint64_t, Page>()).first;
        order.push_back(space);
    }
    while (size) {
        const uint64_t offset = address % PAGE, n = std::min(size, PAGE - offset);
        Page& page = it->second[address / PAGE];
        if (page.empty()) page.assign(PAGE, 0);
        std::memcpy(page.data() + offset, data, n);
        address += n, data += n, size -= n;
    }
}

void MemoryImage::read(const std::string& space, uint64_t address, uint8_t* data, uint64_t size) const {
    auto it = pages.find(space);
    while (size) {
        const uint64_t offset = address % PAGE, n = std::min(size, PAGE - offset);
        const Page* page = nullptr;
        if (it != pages.end()) {
            auto p = it->second.find(address / PAGE);
            if (p != it->second.end()) page = &p->second;
        }
        if (page)
            std::memcpy(data, page->data() + offset, n);
        else
            std::memset(data, 0, n);
        address += n, data += n, size -= n;
    }
}

void MemoryImage::writeValue(const std::string& space, uint64_t address, uint64_t value, unsigned width,
                             bool bigEndian) {
    uint8_t data[8];
    for (unsigned i = 0; i < width; ++i) data[bigEndian ? width - 1 - i : i] = static_cast<uint8_t>(value >> (8 * i));
    write(space, address, data, width);
}

uint64_t MemoryImage::readValue(const std::string& space, uint64_t address, unsigned width, bool bigEndian) const {
    uint8_t data[8];
    read(space, address, data, width);
    uint64_t value = 0;
    for (unsigned i = 0; i < width; ++i) value |= uint64_t(data[bigEndian ? width - 1 - i : i]) << (8 * i);
    return value;
}

bool MemoryImage::load(const std::string& path, bool bigEndian, std::string& error) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot open " + path;
        return false;
    }
    const auto slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    std::string line;
    for (unsigned number = 1; std::getline(in, line); ++number) {
        auto hash = line.find('#');
        if (hash != std::string::npos) line.erase(hash);
        std::istringstream fields(line);
        std::string space, address, value, width = "4", extra;
        if (!(fields >> space)) continue;
        fields >> address >> value;
        if (fields >> width) fields >> extra;
        const std::string where = path + ":" + std::to_string(number) + ": ";
        uint64_t a = 0, v = 0, w = 0;
        if (value.size() > 1 && value[0] == '@' && width == "4" && parseNumber(address, a)) {
            std::string name = value.substr(1);
            if (name[0] != '/') name = folder + name;
            std::ifstream file(name, std::ios::binary);
            const std::string data((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            if (!file.good() && !file.eof()) {
                error = where + "cannot read " + name;
                return false;
            }
            write(space, a, reinterpret_cast<const uint8_t*>(data.data()), data.size());
            continue;
        }
        if (value.empty() || !extra.empty() || !parseNumber(address, a) || !parseNumber(value, v) ||
            !parseNumber(width, w) || (w != 1 && w != 2 && w != 4 && w != 8) || (w < 8 && (v >> (8 * w)) != 0)) {
            error =
                where + "expected \"space address value [width]\" with width 1, 2, 4 or 8, or \"space address @file\"";
            return false;
        }
        writeValue(space, a, v, static_cast<unsigned>(w), bigEndian);
    }
    return true;
}

bool parseClearOnWrite(const std::string& text, Options::ClearOnWrite& rule) {
    const auto first = text.find(':'), last = text.rfind(':');
    if (first == std::string::npos || first == last || first == 0) return false;
    rule.space = text.substr(0, first);
    return parseNumber(text.substr(first + 1, last - first - 1), rule.address) &&
           parseNumber(text.substr(last + 1), rule.mask);
}

bool parseReadFifo(const std::string& text, Options::ReadFifo& fifo, std::string& error) {
    const auto first = text.find(':'), second = text.find(':', first == std::string::npos ? first : first + 1);
    if (first == std::string::npos || second == std::string::npos || first == 0 ||
        !parseNumber(text.substr(first + 1, second - first - 1), fifo.address) || second + 1 == text.size()) {
        error = "--read-fifo takes SPACE:ADDRESS:FILE";
        return false;
    }
    fifo.space = text.substr(0, first);
    const std::string name = text.substr(second + 1);
    std::ifstream in(name, std::ios::binary);
    if (!in) {
        error = "cannot read " + name;
        return false;
    }
    fifo.data.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

// ---- Server ----------------------------------------------------------------

struct Server::Client {
    int fd = -1;
    bool open = true;               // false once the connection failed or was dropped
    std::atomic<bool> done{false};  // its thread has finished
    std::thread thread;
    unsigned number = 0;
    std::string input;
    std::deque<std::string> unacked;  // framed replies not yet acknowledged
    std::string current;              // id of the current context
    bool connected = false;           // "ctx connect" done for `current`
    uint64_t noise = 0;
    std::string output;  // answers of one input chunk, sent at once
};

Server::Server(Options o, MemoryImage i) : options(std::move(o)), image(std::move(i)) {
    fifoRead.assign(options.readFifos.size(), 0);
    for (const auto& space : image.spaces()) {
        bool known = false;
        for (const auto& s : options.memorySpaces) known = known || s == space;
        if (!known) options.memorySpaces.push_back(space);
    }
}

Server::~Server() {
    if (listener >= 0) ::close(listener);
    for (int fd : wake)
        if (fd >= 0) ::close(fd);
    for (int fd : reapPipe)
        if (fd >= 0) ::close(fd);
}

bool Server::listen(std::string& error) {
    if (::pipe(wake) != 0 || ::pipe(reapPipe) != 0) {
        error = std::string("pipe: ") + std::strerror(errno);
        return false;
    }
    listener = ::socket(AF_INET, SOCK_STREAM, 0);
    int one = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(options.port);
    if (::inet_pton(AF_INET, options.bindAddress.c_str(), &a.sin_addr) != 1) {
        error = "not an IPv4 address: " + options.bindAddress;
        return false;
    }
    if (::bind(listener, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || ::listen(listener, 8) != 0) {
        error = "cannot listen on " + options.bindAddress + ":" + std::to_string(options.port) + ": " +
                std::strerror(errno);
        return false;
    }
    socklen_t len = sizeof a;
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&a), &len);
    boundPort = ntohs(a.sin_port);
    return true;
}

void Server::stop() {
    stopping = true;
    if (wake[1] >= 0) {
        char c = 0;
        ssize_t ignored = ::write(wake[1], &c, 1);
        (void)ignored;
    }
}

// Lets the accepting thread reap a finished client soon.
void Server::wakeReaper() {
    if (reapPipe[1] >= 0) {
        char c = 0;
        ssize_t ignored = ::write(reapPipe[1], &c, 1);
        (void)ignored;
    }
}

void Server::note(const std::string& line) {
    if (!log) return;
    std::lock_guard<std::mutex> lock(logMutex);
    log(line);
}

std::vector<std::string> Server::commands() const {
    std::lock_guard<std::mutex> lock(mutex);
    return executed;
}

void Server::clearCommands() {
    std::lock_guard<std::mutex> lock(mutex);
    executed.clear();
}

uint64_t Server::readValue(const std::string& space, uint64_t address, unsigned width) const {
    std::lock_guard<std::mutex> lock(mutex);
    return image.readValue(spaceName(space), address, width, options.bigEndian);
}

// One thread per client, blocking in recv: a command costs the server one
// wake-up. This thread accepts, reaps finished clients and stops them all.
void Server::run() {
    std::list<std::unique_ptr<Client>> clients;
    auto reap = [&clients](bool all) {
        for (auto it = clients.begin(); it != clients.end();) {
            Client& c = **it;
            if (!all && !c.done) {
                ++it;
                continue;
            }
            ::shutdown(c.fd, SHUT_RDWR);
            c.thread.join();
            ::close(c.fd);
            it = clients.erase(it);
        }
    };
    while (!stopping) {
        pollfd fds[3] = {{wake[0], POLLIN, 0}, {listener, POLLIN, 0}, {reapPipe[0], POLLIN, 0}};
        if (::poll(fds, 3, -1) < 0) {
            if (errno == EINTR) continue;
            note(std::string("# poll failed: ") + std::strerror(errno));
            break;
        }
        if (fds[0].revents) break;
        if (fds[2].revents) {
            char drain[64];
            ssize_t ignored = ::read(reapPipe[0], drain, sizeof drain);
            (void)ignored;
            reap(false);
        }
        if (!(fds[1].revents & POLLIN)) continue;
        sockaddr_in peer{};
        socklen_t len = sizeof peer;
        int fd = ::accept(listener, reinterpret_cast<sockaddr*>(&peer), &len);
        if (fd < 0) continue;
        int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        std::unique_ptr<Client> c(new Client);
        c->fd = fd;
        c->number = nextClient++;
        char host[INET_ADDRSTRLEN] = "?";
        ::inet_ntop(AF_INET, &peer.sin_addr, host, sizeof host);
        note("# client " + std::to_string(c->number) + " connected from " + host + ":" +
             std::to_string(ntohs(peer.sin_port)));
        Client* client = c.get();
        c->thread = std::thread([this, client] { converse(*client); });
        clients.push_back(std::move(c));
    }
    reap(true);
}

void Server::converse(Client& c) {
    char chunk[READ_CHUNK];
    while (c.open) {
        ssize_t n = ::recv(c.fd, chunk, sizeof chunk, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            note("# client " + std::to_string(c.number) +
                 (n == 0 ? " closed the connection" : " failed: " + std::string(std::strerror(errno))));
            break;
        }
        c.input.append(chunk, static_cast<size_t>(n));
        serve(c);
        flush(c);
    }
    c.done = true;
    wakeReaper();
}

bool Server::sendRaw(Client& c, const std::string& bytes) {
    c.output += bytes;
    return c.open;
}

// Sends what the input chunk produced in one go: the ack and the reply of a
// command share a segment.
void Server::flush(Client& c) {
    const std::string bytes = std::move(c.output);
    c.output.clear();
    size_t done = 0;
    while (c.open && done < bytes.size()) {
        ssize_t n = ::send(c.fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            note("# client " + std::to_string(c.number) + " send failed: " + std::strerror(errno));
            c.open = false;
            return;
        }
        done += static_cast<size_t>(n);
    }
}

bool Server::sendPacket(Client& c, const std::string& payload) {
    std::string framed = frame(payload);
    if (c.unacked.size() == MAX_UNACKED) c.unacked.pop_front();
    c.unacked.push_back(framed);
    return sendRaw(c, framed);
}

// Takes every complete packet and acknowledgement out of the client's input.
void Server::serve(Client& c) {
    std::string& in = c.input;
    size_t pos = 0;
    while (pos < in.size() && c.open) {
        const char ch = in[pos];
        if (ch == '+') {
            if (!c.unacked.empty()) c.unacked.pop_front();
            ++pos;
            continue;
        }
        if (ch == '-') {
            note("# client " + std::to_string(c.number) + " asked for a resend");
            if (!c.unacked.empty()) sendRaw(c, c.unacked.front());
            ++pos;
            continue;
        }
        if (ch != '$') {
            ++c.noise;
            ++pos;
            continue;
        }
        if (c.noise) {
            note("# client " + std::to_string(c.number) + " skipped " + std::to_string(c.noise) + " bytes before '$'");
            c.noise = 0;
        }
        // The packet ends at '#'; a later '$' before it restarts the packet.
        size_t start = pos, hash = pos + 1;
        while (hash < in.size() && in[hash] != '#') {
            if (in[hash] == '$') start = hash;
            ++hash;
        }
        if (hash + 2 >= in.size()) {
            if (in.size() - pos > MAX_PENDING_INPUT) {
                note("# client " + std::to_string(c.number) + " sent an overlong packet; dropped");
                c.open = false;
                return;
            }
            break;  // wait for the rest
        }
        const char* raw = in.data() + start + 1;
        const size_t rawSize = hash - start - 1;
        uint8_t sum = 0;
        for (size_t i = 0; i < rawSize; ++i) sum = static_cast<uint8_t>(sum + static_cast<unsigned char>(raw[i]));
        const int hi = hexValue(in[hash + 1]), lo = hexValue(in[hash + 2]);
        pos = hash + 3;
        if (hi < 0 || lo < 0 || ((hi << 4) | lo) != sum) {
            note("# client " + std::to_string(c.number) + " bad checksum, sent NACK");
            if (!sendRaw(c, "-")) return;
            continue;
        }
        if (!sendRaw(c, "+")) return;
        std::string payload(rawSize, '\0');
        size_t n = 0;
        for (size_t i = 0; i < rawSize; ++i)
            payload[n++] = raw[i] == '}' && i + 1 < rawSize ? static_cast<char>(raw[++i] ^ 0x20) : raw[i];
        payload.resize(n);
        if (!handlePacket(c, payload)) return;
    }
    in.erase(0, pos);
}

bool Server::handlePacket(Client& c, const std::string& payload) {
    static const std::string MONITOR = "qRcmd,";
    if (!startsWith(payload, MONITOR)) {
        note("# unsupported packet: " + payload.substr(0, 64));
        return sendPacket(c, "");  // the usual answer to an unknown packet
    }
    std::string command;
    if (!fromHex(payload.substr(MONITOR.size()), command)) {
        note("# monitor command is not hex");
        return sendPacket(c, REPLY_BAD_PACKET);
    }
    if (log) note("> " + command);
    {
        std::lock_guard<std::mutex> lock(mutex);
        executed.push_back(command);
    }
    std::string reply = execute(c, command);
    if (!c.open) return false;
    if (log) note("< " + (reply.size() > 80 ? reply.substr(0, 80) + "..." : reply));
    return sendPacket(c, reply);
}

std::string Server::spaceName(const std::string& space) const {
    return space.empty() && !options.memorySpaces.empty() ? options.memorySpaces.front() : space;
}

std::string Server::execute(Client& c, const std::string& command) {
    static const std::string SET_CURRENT = "ctx set current ";
    static const std::string SET_PROP = "ctx id ";
    if (startsWith(command, SET_CURRENT)) {
        std::string id = command.substr(SET_CURRENT.size());
        if (id.empty()) return REPLY_BAD_ARGUMENT;
        c.current = id;
        c.connected = false;
        return "OK";
    }
    if (startsWith(command, SET_PROP) && command.find(" set prop ") != std::string::npos) return "OK";
    if (command == "ctx connect") {
        if (c.current.empty()) return REPLY_NO_CONTEXT;
        c.connected = true;
        // Console output before the reply, as a real server prints it.
        if (!sendPacket(c, "O" + toHex("connected to " + c.current + "\n"))) return "";
        return "OK";
    }
    if (command == "mem list-ms") {
        std::string list;
        for (const auto& s : options.memorySpaces) list += s + "\n";
        return toHex(list);
    }
    auto tokens = splitBlanks(command);
    if (tokens.size() >= 2 && tokens[0] == "mem" && (tokens[1] == "read" || tokens[1] == "read-piped"))
        return memoryRead(c, tokens);
    if (tokens.size() >= 2 && tokens[0] == "mem" && tokens[1] == "write") return memoryWrite(c, tokens);
    return REPLY_UNKNOWN;
}

namespace {

// "mem <verb> <id...> 0x<address> <width> <space> <last>": the id may hold
// blanks, so the fields are taken from the right.
struct MemoryArguments {
    uint64_t address = 0, width = 0;
    std::string space, last;
};

bool parseMemoryArguments(const std::vector<std::string>& t, MemoryArguments& a) {
    if (t.size() < 7) return false;
    const size_t n = t.size();
    a.last = t[n - 1];
    a.space = t[n - 2];
    if (!startsWith(t[n - 4], "0x") || !parseNumber(t[n - 4], a.address) || !parseNumber(t[n - 3], a.width))
        return false;
    return a.width == 1 || a.width == 2 || a.width == 4 || a.width == 8;
}

}  // namespace

std::string Server::memoryRead(Client& c, const std::vector<std::string>& tokens) {
    if (!c.connected) return REPLY_NO_CONTEXT;
    MemoryArguments a;
    uint64_t count = 0;
    if (!parseMemoryArguments(tokens, a) || !parseNumber(a.last, count) || a.width * count > MAX_TRANSFER)
        return REPLY_BAD_ARGUMENT;
    const std::string space = spaceName(a.space);
    bool known = false;
    for (const auto& s : options.memorySpaces) known = known || s == space;
    if (!known) return REPLY_BAD_SPACE;
    std::string data(a.width * count, '\0');
    {
        std::lock_guard<std::mutex> lock(mutex);
        image.read(space, a.address, reinterpret_cast<uint8_t*>(&data[0]), data.size());
        for (size_t i = 0; i < options.readFifos.size(); ++i) {
            const auto& fifo = options.readFifos[i];
            if (a.width != 4 || count != 1 || fifo.space != space || fifo.address != a.address) continue;
            size_t& next = fifoRead[i];
            for (size_t b = 0; b < 4; ++b, ++next) data[b] = next < fifo.data.size() ? fifo.data[next] : '\xff';
        }
    }
    return toHex(toHex(data));
}

std::string Server::memoryWrite(Client& c, const std::vector<std::string>& tokens) {
    if (!c.connected) return REPLY_NO_CONTEXT;
    MemoryArguments a;
    if (!parseMemoryArguments(tokens, a)) return REPLY_BAD_ARGUMENT;
    const std::string space = spaceName(a.space);
    bool known = false;
    for (const auto& s : options.memorySpaces) known = known || s == space;
    if (!known) return REPLY_BAD_SPACE;
    std::string data;
    if (!fromHex(a.last, data) || data.size() % a.width || data.size() > MAX_TRANSFER) return REPLY_BAD_DATA;
    std::lock_guard<std::mutex> lock(mutex);
    image.write(space, a.address, reinterpret_cast<const uint8_t*>(data.data()), data.size());
    // Requests the hardware completes at once: their bits fall back to 0.
    for (const auto& rule : options.clearOnWrite) {
        if (rule.space != space || rule.address < a.address || rule.address >= a.address + data.size()) continue;
        const unsigned width = static_cast<unsigned>(std::min<uint64_t>(a.width, 8));
        const uint64_t value = image.readValue(space, rule.address, width, options.bigEndian);
        image.writeValue(space, rule.address, value & ~rule.mask, width, options.bigEndian);
    }
    return "OK";
}

}  // namespace gtasim
