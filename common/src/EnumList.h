#pragma once
// Splitting of the list texts of the configuration: enum lists and
// qualified names.
#include <string>
#include <vector>

namespace quorl {

// Enum list: split on every ",", ";" and ":" (adjacent separators give an
// empty token, an empty text gives one empty token), then each token trimmed
// on both sides of the classic locale's space characters. Order and
// duplicates are kept.
std::vector<std::string> splitEnumList(const std::string& text);

// Enum list text as written: the values joined with "," and no blank.
std::string joinEnumList(const std::vector<std::string>& values);

// Qualified name: split on every "." and ":"; no trimming, no compression of
// adjacent separators. A name with neither gives one token.
std::vector<std::string> splitQualifiedName(const std::string& name);

}  // namespace quorl
