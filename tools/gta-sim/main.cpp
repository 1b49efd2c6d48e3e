// gta-sim: a debug server on loopback for dry runs and tests of GTA access.
#include "tools/gta-sim/GtaSim.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace {

gtasim::Server* running = nullptr;

void onSignal(int) {
    if (running) running->stop();
}

const char USAGE[] =
    "usage: gta-sim [options]\n"
    "  --port N          TCP port to listen on (0: pick a free one; default 0)\n"
    "  --address A       IPv4 address to bind (default 127.0.0.1)\n"
    "  --image FILE      preload memory (repeatable): lines \"space address value [width]\"\n"
    "                    or \"space address @file\" (a binary file's bytes)\n"
    "  --clear-on-write SPACE:ADDRESS:MASK\n"
    "                    bits of MASK read as 0 after a write to that register\n"
    "                    (repeatable; a flush request the hardware completes)\n"
    "  --read-fifo SPACE:ADDRESS:FILE\n"
    "                    4-byte reads of that register return FILE word by word,\n"
    "                    then all ones (a trace RAM's read data register)\n"
    "  --spaces A,B,...  memory spaces answered to \"mem list-ms\" (default APB,AXI)\n"
    "  --big-endian      target memory is big-endian (image values and byte order)\n"
    "  --log FILE        write the command log to FILE instead of stdout\n"
    "  --quiet           no command log\n"
    "  --help            this text\n";

bool parsePort(const char* text, uint16_t& port) {
    char* end = nullptr;
    long v = std::strtol(text, &end, 10);
    if (!*text || *end || v < 0 || v > 65535) return false;
    port = static_cast<uint16_t>(v);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    gtasim::Options options;
    std::vector<std::string> imagePaths;
    std::string logPath;
    bool quiet = false;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) {
                std::cerr << "gta-sim: " << arg << " needs a value\n" << USAGE;
                std::exit(2);
            }
            return argv[++i];
        };
        if (arg == "--help" || arg == "-h") {
            std::cout << USAGE;
            return 0;
        } else if (arg == "--port") {
            if (!parsePort(value(), options.port)) {
                std::cerr << "gta-sim: bad port\n";
                return 2;
            }
        } else if (arg == "--address") {
            options.bindAddress = value();
        } else if (arg == "--image") {
            imagePaths.push_back(value());
        } else if (arg == "--spaces") {
            options.memorySpaces.clear();
            std::string list = value(), name;
            for (size_t start = 0;;) {
                auto comma = list.find(',', start);
                name = list.substr(start, comma == std::string::npos ? comma : comma - start);
                if (!name.empty()) options.memorySpaces.push_back(name);
                if (comma == std::string::npos) break;
                start = comma + 1;
            }
        } else if (arg == "--clear-on-write") {
            gtasim::Options::ClearOnWrite rule;
            if (!gtasim::parseClearOnWrite(value(), rule)) {
                std::cerr << "gta-sim: --clear-on-write takes SPACE:ADDRESS:MASK\n";
                return 2;
            }
            options.clearOnWrite.push_back(rule);
        } else if (arg == "--read-fifo") {
            gtasim::Options::ReadFifo fifo;
            std::string error;
            if (!gtasim::parseReadFifo(value(), fifo, error)) {
                std::cerr << "gta-sim: " << error << "\n";
                return 2;
            }
            options.readFifos.push_back(fifo);
        } else if (arg == "--big-endian") {
            options.bigEndian = true;
        } else if (arg == "--log") {
            logPath = value();
        } else if (arg == "--quiet") {
            quiet = true;
        } else {
            std::cerr << "gta-sim: unknown option " << arg << "\n" << USAGE;
            return 2;
        }
    }

    gtasim::MemoryImage image;
    std::string error;
    for (const std::string& path : imagePaths)  // later files write over earlier ones
        if (!image.load(path, options.bigEndian, error)) {
            std::cerr << "gta-sim: " << error << "\n";
            return 2;
        }
    FILE* logFile = stdout;
    if (!logPath.empty() && !(logFile = std::fopen(logPath.c_str(), "a"))) {
        std::cerr << "gta-sim: cannot open " << logPath << ": " << std::strerror(errno) << "\n";
        return 2;
    }

    gtasim::Server server(options, image);
    if (!quiet)
        server.setLog([logFile](const std::string& line) {
            std::fprintf(logFile, "%s\n", line.c_str());
            std::fflush(logFile);
        });
    if (!server.listen(error)) {
        std::cerr << "gta-sim: " << error << "\n";
        return 1;
    }
    running = &server;
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    std::signal(SIGPIPE, SIG_IGN);
    std::printf("gta-sim listening on %s:%u\n", options.bindAddress.c_str(), server.port());
    std::fflush(stdout);
    server.run();
    running = nullptr;
    if (logFile != stdout) std::fclose(logFile);
    return 0;
}
