#pragma once
// A named log channel. One global object per channel; lines go to stdout.
#include <fstream>
#include <iosfwd>
#include <string>

namespace quorl {

enum LogLevel { LOG_ERROR = 0, LOG_WARNING = 1, LOG_INFO = 2, LOG_DEBUG = 3, LOG_TRACE = 4 };

class Log {
public:
    explicit Log(const std::string& name);
    virtual ~Log();
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // Writes one line "- HH:MM:SS.fff [name] LEVEL: text" if level <= this->level.
    void write(std::string text, int level);

    const std::string& getName() const { return name; }
    int getLevel() const { return level; }
    void setLevel(int l) { level = l; }

    static const char* levelName(int level);

private:
    int level = 0;
    std::ostream* stream = nullptr;
    std::ofstream* file = nullptr;
    std::string name;
};

// Writes an ostringstream-built text on a channel: RQ7_LOG(log, LOG_ERROR, "x " << y).
#define RQ7_LOG(channel, lvl, expr)                \
    do {                                           \
        std::ostringstream rq7_log_os_;            \
        rq7_log_os_ << expr;                       \
        (channel).write(rq7_log_os_.str(), (lvl)); \
    } while (0)

// Channel declared beside Exception; nothing writes on it.
extern Log logException;

}  // namespace quorl
