#pragma once
// Builds the text of small configuration files for the tests, one attribute
// element per call, so that each case shows only what it is about.
#include <string>
#include <vector>

namespace rq7test {

struct Block {
    std::string name;
    std::vector<std::string> attributes;  // element texts made by the functions below
    std::vector<Block> blocks;
};

inline std::string attribute(const std::string& kind, const std::string& name, const std::string& value,
                             const std::string& extra = "") {
    return "<" + kind + "><Name>" + name + "</Name><DefaultValue>" + value + "</DefaultValue>" + extra + "</" + kind +
           ">";
}
inline std::string boolAttr(const std::string& name, bool value) {
    return attribute("BoolAttribute", name, value ? "true" : "false");
}
inline std::string stringAttr(const std::string& name, const std::string& value) {
    return attribute("StringAttribute", name, value);
}
inline std::string uint32Attr(const std::string& name, const std::string& value) {
    return attribute("UInt32Attribute", name, value);
}
inline std::string addr64Attr(const std::string& name, const std::string& value) {
    return attribute("Addr64Attribute", name, value);
}
inline std::string enumAttr(const std::string& name, const std::string& value, const std::string& allowed) {
    return attribute("EnumAttribute", name, value, "<EnumValues>" + allowed + "</EnumValues>");
}

inline void appendBlock(std::string& out, const Block& block) {
    out += "<ConfigBlock><Name>" + block.name + "</Name>\n";
    for (const std::string& a : block.attributes) out += a + "\n";
    for (const Block& b : block.blocks) appendBlock(out, b);
    out += "</ConfigBlock>\n";
}

inline std::string document(const std::vector<Block>& blocks, const std::string& name = "Board") {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QUORL><Configuration><Name>" + name +
                      "</Name><Version>1.0</Version>\n";
    for (const Block& b : blocks) appendBlock(out, b);
    return out + "</Configuration></QUORL>\n";
}

// The connection block of a Logger run on the in-process server.
inline Block loggerAccess(const std::string& port = "5000") {
    return Block{"Target Access",
                 {enumAttr("Target Access Method", "Logger", "LTA,Logger,GTA"),
                  stringAttr("ServerAddress", "127.0.0.1"), uint32Attr("ServerPort", port)},
                 {}};
}

}  // namespace rq7test
