#pragma once
// Error report of the plain-function agent code: function, file and line,
// then the message, on stderr.
#include <cstdio>

#define AGENT_ERROR(fmt, ...)                                                            \
    std::fprintf(stderr, "[%s] [%s:%d] ERROR : " fmt "\n\n", __func__, __FILE__, __LINE__, \
                 ##__VA_ARGS__)
