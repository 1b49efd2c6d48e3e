#include "app/base/Log.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <ostream>

namespace quorl {

Log logException("quorl.exception");

namespace {

long tickMs() {
    using namespace std::chrono;
    return static_cast<long>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace

Log::Log(const std::string& n) : name(n) {}

Log::~Log() {
    if (file) {
        file->close();
        delete file;
    }
    delete stream;
}

const char* Log::levelName(int l) {
    static const char* const names[] = {"ERROR", "WARNING", "INFO", "DEBUG", "TRACE"};
    return (l >= 0 && l <= 4) ? names[l] : "";
}

void Log::write(std::string text, int lvl) {
    if (!stream) stream = new std::ostream(std::cout.rdbuf());
    if (lvl > level) return;

    char clock[20];
    std::string timeText;
    std::time_t now = std::time(nullptr);
    std::tm local{};
    if (localtime_r(&now, &local) && std::strftime(clock, sizeof clock, "%H:%M:%S", &local) > 0) {
        // The fraction counts from the first logged line, not from the clock's second.
        static const long start = tickMs();
        long fraction = (tickMs() - start) % 1000;
        char buf[40];
        std::snprintf(buf, sizeof buf, "%s.%03ld", clock, fraction);
        timeText = buf;
    } else {
        timeText = "Error in NowTime()";
    }
    *stream << "- " << timeText << " [" << name << "]" << ' ' << levelName(lvl) << ": " << text << std::endl;
}

}  // namespace quorl
