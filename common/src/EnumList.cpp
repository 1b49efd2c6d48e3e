#include "common/src/EnumList.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <cstring>

namespace quorl {

// Runs for every enum value of a load: a plain scan, trimming the blanks of
// the classic locale, rather than a general split and trim per token.
std::vector<std::string> splitEnumList(const std::string& text) {
    static const char separators[] = ",;:";
    static const char blanks[] = " \t\n\v\f\r";
    std::vector<std::string> tokens;
    size_t start = 0;
    for (;;) {
        const size_t stop = std::min(text.find_first_of(separators, start), text.size());
        size_t first = text.find_first_not_of(blanks, start);
        if (first == std::string::npos || first > stop) first = stop;
        size_t last = stop;
        while (last > first && std::strchr(blanks, text[last - 1]) && text[last - 1] != '\0') --last;
        tokens.emplace_back(text, first, last - first);
        if (stop == text.size()) return tokens;
        start = stop + 1;
    }
}

std::string joinEnumList(const std::vector<std::string>& values) {
    return boost::algorithm::join(values, ",");
}

std::vector<std::string> splitQualifiedName(const std::string& name) {
    std::vector<std::string> tokens;
    boost::split(tokens, name, boost::is_any_of(".:"));
    return tokens;
}

}  // namespace quorl
