#include "rq7/SourceIndex.h"

#include "xrt/xml_reader.h"

namespace rq7 {

namespace {

bool endsWith(const std::string& s, const char* tail) {
    const std::string t(tail);
    return s.size() >= t.size() && s.compare(s.size() - t.size(), t.size(), t) == 0;
}

SourcePlace placeOf(const std::string& text, int line, std::size_t offset) {
    std::size_t start = offset;
    while (start > 0 && text[start - 1] != '\n' && text[start - 1] != '\r') --start;
    return SourcePlace{line, static_cast<int>(offset - start) + 1};
}

}  // namespace

SourceIndex::SourceIndex(const std::string& text) {
    xrt::c_xml_reader_memory reader(text.data(), text.size());
    struct Frame {
        std::string element;
        int node;           // block or attribute node this element opens, else -1
        std::string text;   // collected text of a leaf
    };
    std::vector<Frame> stack;
    int openBlock = -1;  // innermost open ConfigBlock node
    for (;;) {
        const int event = reader.get_next_event();
        if (event == xrt::xe_start && !reader.is_attribute_event()) {
            const std::string& element = reader.get_local_name();
            int node = -1;
            const bool inBlock = !stack.empty() && stack.back().element == "ConfigBlock";
            const bool inDocument = !stack.empty() && stack.back().element == "Configuration";
            if (element == "ConfigBlock" && (inBlock || inDocument)) {
                node = static_cast<int>(list.size());
                list.push_back(SourceNode());
                list.back().kind = SourceNode::Block;
            } else if (inBlock && endsWith(element, "Attribute")) {
                node = static_cast<int>(list.size());
                list.push_back(SourceNode());
                list.back().kind = SourceNode::Attribute;
            }
            if (node >= 0) {
                SourceNode& n = list[node];
                n.element = element;
                n.parent = openBlock;
                n.place = placeOf(text, reader.get_markup_line(), reader.get_markup_offset());
                if (n.kind == SourceNode::Block) openBlock = node;
            }
            stack.push_back(Frame{element, node, std::string()});
        } else if (event == xrt::xe_text) {
            if (!stack.empty()) stack.back().text += reader.get_value();
        } else if (event == xrt::xe_end_tag) {
            if (stack.empty()) break;
            Frame frame = std::move(stack.back());
            stack.pop_back();
            if (frame.node >= 0) {
                if (list[frame.node].kind == SourceNode::Block) openBlock = list[frame.node].parent;
                else if (list[frame.node].keptAs < 0) named(frame.node);  // attribute without a Name
                continue;
            }
            if (stack.empty()) continue;
            Frame& owner = stack.back();
            if (frame.element == "Name" && owner.element == "Configuration") {
                docName = frame.text;
            } else if (owner.node >= 0 && frame.element == "Name" && list[owner.node].keptAs < 0) {
                list[owner.node].name = frame.text;
                named(owner.node);
            } else if (owner.node >= 0 && frame.element == "DefaultValue") {
                list[owner.node].value = frame.text;
            }
        } else if (event == xrt::xe_end_of_input || event == xrt::xe_error || event == xrt::xe_error_2) {
            break;
        }
    }
}

// Enters a node under its qualified name once its Name is known. The first of
// a name is kept; a later one, and everything inside a block that is not
// kept, points at the node the loader keeps instead.
void SourceIndex::named(int node) {
    SourceNode& n = list[node];
    const bool parentKept = n.parent < 0 || list[n.parent].keptAs == n.parent;
    const std::string parentName = n.parent < 0 ? docName : list[n.parent].qualifiedName;
    std::map<std::string, int>& table = n.kind == SourceNode::Block ? blocks : attributes;
    const std::string key =
        n.kind == SourceNode::Block ? parentName + "." + n.name : parentName + "\n" + n.name;
    n.qualifiedName = parentName + "." + n.name;
    if (!parentKept) {
        n.keptAs = -2;  // inside a dropped block: neither kept nor a duplicate of its own
        return;
    }
    auto inserted = table.emplace(key, node);
    n.keptAs = inserted.first->second;
}

int SourceIndex::block(const std::string& qualifiedName) const {
    auto found = blocks.find(qualifiedName);
    return found == blocks.end() ? -1 : found->second;
}

int SourceIndex::attribute(const std::string& blockQualifiedName, const std::string& name) const {
    auto found = attributes.find(blockQualifiedName + "\n" + name);
    return found == attributes.end() ? -1 : found->second;
}

SourcePlace SourceIndex::place(int node) const {
    if (node < 0 || node >= static_cast<int>(list.size())) return SourcePlace{1, 1};
    return list[node].place;
}

}  // namespace rq7
