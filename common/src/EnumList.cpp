#include "common/src/EnumList.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <locale>

namespace quorl {

std::vector<std::string> splitEnumList(const std::string& text) {
    std::vector<std::string> tokens;
    boost::split(tokens, text, boost::is_any_of(",;:"));
    const std::locale& classic = std::locale::classic();
    for (std::string& token : tokens) {
        boost::trim_left(token, classic);
        boost::trim_right(token, classic);
    }
    return tokens;
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
