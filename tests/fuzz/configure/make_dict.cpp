// Prints the configure fuzz target's dictionary: the file-format words of the
// loader's dictionary (copied from the file named by the argument), then
// every name of the vocabulary table, bare and as a whole <Name> element.
#include "common/src/Names.h"

#include <fstream>
#include <iostream>
#include <set>
#include <string>

namespace {

// A libFuzzer dictionary entry: quotes and backslashes escaped.
std::string entry(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::cerr << "usage: make_dict LOADER_DICT\n";
        return 2;
    }
    std::ifstream base(argv[1]);
    if (!base) {
        std::cerr << "make_dict: cannot read " << argv[1] << "\n";
        return 1;
    }
    std::cout << base.rdbuf();
    std::set<std::string> seen;
    for (const quorl::VocabularyEntry& row : quorl::vocabulary()) {
        const std::string name = row.text;
        if (!seen.insert(name).second) continue;
        std::cout << entry(name) << "\n" << entry("<Name>" + name + "</Name>") << "\n";
    }
    return std::cout.good() ? 0 : 1;
}
