#pragma once
// A small debug server for tests and dry runs: it speaks the remote serial
// framing ('$payload#cs', '+'/'-' acknowledgement) and the monitor commands
// of libgta ("ctx set current", "ctx connect", "mem list-ms", "mem read",
// "mem read-piped", "mem write") over a sparse byte-addressed memory image.
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace gtasim {

// Error replies of the simulator.
const char* const REPLY_BAD_PACKET = "E01";    // payload not hex, or not a monitor command
const char* const REPLY_NO_CONTEXT = "E02";    // no connected context yet
const char* const REPLY_UNKNOWN = "E03";       // unknown command
const char* const REPLY_BAD_ARGUMENT = "E04";  // malformed or out-of-range argument
const char* const REPLY_BAD_SPACE = "E05";     // unknown memory space
const char* const REPLY_BAD_DATA = "E06";      // write data not whole elements of hex

// Sparse memory, 4 KiB pages per memory space. Unwritten bytes read as 0.
class MemoryImage {
public:
    void write(const std::string& space, uint64_t address, const uint8_t* data, uint64_t size);
    void read(const std::string& space, uint64_t address, uint8_t* data, uint64_t size) const;
    // Stores `value` as `width` bytes in the given byte order.
    void writeValue(const std::string& space, uint64_t address, uint64_t value, unsigned width, bool bigEndian);
    uint64_t readValue(const std::string& space, uint64_t address, unsigned width, bool bigEndian) const;
    // Lines "space address value [width]" or "space address @file" (the
    // file's bytes, its name relative to the image's folder); '#' starts a
    // comment. False with a message naming the line on a malformed line.
    bool load(const std::string& path, bool bigEndian, std::string& error);
    // Spaces in order of first appearance.
    const std::vector<std::string>& spaces() const { return order; }

private:
    static const uint64_t PAGE = 4096;
    using Page = std::vector<uint8_t>;
    std::map<std::string, std::unordered_map<uint64_t, Page>> pages;  // keyed by address / PAGE
    std::vector<std::string> order;
};

struct Options {
    std::string bindAddress = "127.0.0.1";
    uint16_t port = 0;  // 0: the system picks one
    // Answer of "mem list-ms"; the first one stands in for an empty name.
    std::vector<std::string> memorySpaces = {"APB", "AXI"};
    bool bigEndian = false;  // byte order of the target's memory
    // Bits that read back as 0 once a write to their register has completed
    // (a flush or drain request the hardware clears when done).
    struct ClearOnWrite {
        std::string space;
        uint64_t address = 0;
        uint64_t mask = 0;
    };
    std::vector<ClearOnWrite> clearOnWrite;
    // A read-data register in front of a RAM (a trace buffer's RAM read data
    // register): each 4-byte read returns the next word of `data`, all ones
    // once it is used up.
    struct ReadFifo {
        std::string space;
        uint64_t address = 0;
        std::string data;
    };
    std::vector<ReadFifo> readFifos;
};

// "SPACE:ADDRESS:MASK" as --clear-on-write takes it.
bool parseClearOnWrite(const std::string& text, Options::ClearOnWrite& rule);
// "SPACE:ADDRESS:FILE" as --read-fifo takes it; reads the file.
bool parseReadFifo(const std::string& text, Options::ReadFifo& fifo, std::string& error);

class Server {
public:
    Server(Options options, MemoryImage image);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Binds and listens; false with a message on failure.
    bool listen(std::string& error);
    uint16_t port() const { return boundPort; }
    // Serves clients until stop(), each in a thread of its own; they may
    // come and go.
    void run();
    // Safe from another thread and from a signal handler.
    void stop();

    // Every line of the command log goes here ("> command", "< reply",
    // "# event"); none when unset.
    void setLog(std::function<void(const std::string&)> sink) { log = std::move(sink); }
    // Commands executed so far, as received.
    std::vector<std::string> commands() const;
    void clearCommands();
    uint64_t readValue(const std::string& space, uint64_t address, unsigned width) const;

private:
    struct Client;
    void converse(Client& client);
    void wakeReaper();
    void serve(Client& client);
    bool handlePacket(Client& client, const std::string& payload);
    std::string execute(Client& client, const std::string& command);
    std::string memoryRead(Client& client, const std::vector<std::string>& tokens);
    std::string memoryWrite(Client& client, const std::vector<std::string>& tokens);
    bool sendPacket(Client& client, const std::string& payload);
    bool sendRaw(Client& client, const std::string& bytes);
    void flush(Client& client);
    std::string spaceName(const std::string& space) const;
    void note(const std::string& line);

    Options options;
    MemoryImage image;
    int listener = -1;
    int wake[2] = {-1, -1};
    int reapPipe[2] = {-1, -1};  // a client thread has finished
    uint16_t boundPort = 0;
    std::atomic<bool> stopping{false};
    std::function<void(const std::string&)> log;
    std::mutex logMutex;
    mutable std::mutex mutex;  // guards the image and `executed` across client threads
    std::vector<std::string> executed;
    std::vector<size_t> fifoRead;  // bytes of each read FIFO handed out
    unsigned nextClient = 1;
};

// Hex helpers shared with the command line.
std::string toHex(const std::string& bytes);
bool fromHex(const std::string& text, std::string& bytes);

}  // namespace gtasim
