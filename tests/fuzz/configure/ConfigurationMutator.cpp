// Mutation of a configuration file as elements rather than bytes, for the
// configure fuzz target.
#include "tests/fuzz/configure/ConfigurationMutator.h"

#include "common/src/Names.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace rq7fuzz {

namespace {

// One element of the file: <name>content</name>, positions in the text.
struct Element {
    std::string name;
    size_t begin, contentBegin, contentEnd, end;
    int parent;
};

// The elements of a document written as this format writes it (no XML
// attributes on elements); false when the tags do not nest.
bool parseElements(const std::string& text, std::vector<Element>& out) {
    std::vector<int> open;
    size_t at = 0;
    while ((at = text.find('<', at)) != std::string::npos) {
        const size_t close = text.find('>', at);
        if (close == std::string::npos) return false;
        if (text[at + 1] == '?' || text[at + 1] == '!') {
            const size_t end = text.compare(at, 4, "<!--") == 0 ? text.find("-->", at) : close;
            if (end == std::string::npos) return false;
            at = end + 1;
            continue;
        }
        if (text[close - 1] == '/') {  // <Empty/>
            out.push_back({text.substr(at + 1, close - at - 2), at, close + 1, close + 1, close + 1,
                           open.empty() ? -1 : open.back()});
        } else if (text[at + 1] == '/') {
            if (open.empty() || out[open.back()].name != text.substr(at + 2, close - at - 2)) return false;
            out[open.back()].contentEnd = at;
            out[open.back()].end = close + 1;
            open.pop_back();
        } else {
            out.push_back({text.substr(at + 1, close - at - 1), at, close + 1, 0, 0, open.empty() ? -1 : open.back()});
            open.push_back(static_cast<int>(out.size() - 1));
        }
        at = close + 1;
    }
    return open.empty() && !out.empty();
}

bool endsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else
            out += c;
    }
    return out;
}

class Mutator {
public:
    Mutator(const std::string& text, unsigned seed) : text(text), random(seed) {}

    // A mutated text, or "" when the input is not a document of elements.
    std::string run() {
        if (!parseElements(text, elements)) return "";
        for (size_t i = 0; i < elements.size(); ++i) {
            const Element& e = elements[i];
            if (e.name == "ConfigBlock") blocks.push_back(i);
            if (endsWith(e.name, "Attribute")) attributes.push_back(i);
            if (e.name == "DefaultValue" && e.parent >= 0 && endsWith(elements[e.parent].name, "Attribute"))
                values.push_back(i);
            if (e.name == "Name" && e.parent >= 0 && elements[e.parent].name == "ConfigBlock") {
                blockNames.push_back(i);
                names.push_back(content(e));
            }
        }
        // Values most often; a dropped or renamed block mostly takes modules away.
        switch (pick(8)) {
            case 0:
                return renameBlock();
            case 1:
                return drop(pick(4) ? attributes : blocks);
            case 2:
                return duplicate(pick(2) ? blocks : attributes);
            default:
                return replaceValue();
        }
    }

private:
    size_t pick(size_t n) { return n ? random() % n : 0; }
    std::string content(const Element& e) const { return text.substr(e.contentBegin, e.contentEnd - e.contentBegin); }
    std::string replaced(const Element& e, const std::string& value) const {
        return text.substr(0, e.contentBegin) + escaped(value) + text.substr(e.contentEnd);
    }
    const std::string& word() {
        const auto& rows = quorl::vocabulary();
        return rows[pick(rows.size())].text;
    }
    // A number for a field of `bits` bits, mostly one at an edge.
    std::string number(unsigned bits, bool hex, bool isSigned) {
        static const uint64_t interesting[] = {0,
                                               1,
                                               2,
                                               3,
                                               4,
                                               7,
                                               8,
                                               15,
                                               16,
                                               31,
                                               32,
                                               64,
                                               111,
                                               112,
                                               127,
                                               128,
                                               255,
                                               256,
                                               4095,
                                               4096,
                                               65535,
                                               65536,
                                               0x7fffffff,
                                               0x80000000,
                                               0xffffffff,
                                               0x100000000ull,
                                               0x80000000ull << 32,
                                               ~0ull};
        uint64_t v = pick(3) ? interesting[pick(sizeof interesting / sizeof *interesting)] : random();
        if (bits == 32)
            v &= isSigned ? 0x7fffffffu : 0xffffffffu;
        else if (isSigned)
            v &= ~0ull >> 1;
        if (hex) {
            char buffer[24];
            std::snprintf(buffer, sizeof buffer, "0x%llx", static_cast<unsigned long long>(v));
            return buffer;
        }
        if (isSigned && pick(4) == 0) return "-" + std::to_string(v % 100000);
        return std::to_string(v);
    }

    // A value that suits the kind of its attribute most of the time.
    std::string replaceValue() {
        if (values.empty()) return "";
        const Element& value = elements[values[pick(values.size())]];
        const Element& owner = elements[value.parent];
        const std::string kind = owner.name.substr(0, owner.name.size() - std::string("Attribute").size());
        std::string v;
        const unsigned bits = endsWith(kind, "32") ? 32 : 64;
        if (pick(32) == 0)
            v = word();  // mostly refused by the loader, now and then worth it
        else if (kind == "Bool")
            v = pick(2) ? "true" : "false";
        else if (kind == "Addr32" || kind == "Addr64")
            v = number(bits, true, false);
        else if (kind == "Int32" || kind == "Int64")
            v = number(bits, false, true);
        else if (kind == "UInt32" || kind == "UInt64")
            v = number(bits, false, false);
        else if (kind == "Float" || kind == "Double")
            v = pick(2) ? "1.5" : number(32, false, true);
        else if (kind == "Enum")
            v = enumValue(owner);
        else
            v = names.empty() || pick(2) ? word() : names[pick(names.size())];
        return replaced(value, v);
    }
    std::string enumValue(const Element& owner) {
        for (size_t i = 0; i < elements.size(); ++i) {
            if (elements[i].name != "EnumValues" || &elements[elements[i].parent] != &owner) continue;
            std::vector<std::string> items;
            std::string list = content(elements[i]), item;
            for (char c : list + ",") {
                if (c == ',')
                    items.push_back(item), item.clear();
                else
                    item += c;
            }
            if (pick(4) == 0 && items.size() > 1) return items[pick(items.size())] + "," + items[pick(items.size())];
            return items[pick(items.size())];
        }
        return word();
    }
    std::string renameBlock() {
        if (blockNames.empty()) return "";
        const Element& name = elements[blockNames[pick(blockNames.size())]];
        switch (pick(3)) {
            case 0:
                return replaced(name, word());
            case 1:
                return replaced(name, names[pick(names.size())]);
            default:
                return replaced(name, content(name) + " " + std::to_string(pick(4)));
        }
    }
    std::string drop(const std::vector<size_t>& from) {
        if (from.empty()) return "";
        const Element& e = elements[from[pick(from.size())]];
        return text.substr(0, e.begin) + text.substr(e.end);
    }
    std::string duplicate(const std::vector<size_t>& from) {
        if (from.empty()) return "";
        const Element& e = elements[from[pick(from.size())]];
        return text.substr(0, e.end) + text.substr(e.begin, e.end - e.begin) + text.substr(e.end);
    }

    const std::string& text;
    std::minstd_rand random;
    std::vector<Element> elements;
    std::vector<size_t> blocks, attributes, values, blockNames;
    std::vector<std::string> names;
};

}  // namespace

std::string mutateConfiguration(const std::string& text, unsigned seed) {
    return Mutator(text, seed).run();
}

}  // namespace rq7fuzz
