#pragma once
// A generated configuration document for the benchmarks: the file vocabulary
// with every attribute kind, ranges, escapes and nested blocks, repeated
// until the text reaches the size asked for.
#include <cstddef>
#include <string>

namespace rq7bench {

// A document of at least min_bytes bytes; the same size gives the same text.
std::string make_config_document(std::size_t min_bytes);

}  // namespace rq7bench
