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
    // What an open element is to the index; only Name and DefaultValue texts are kept.
    enum Role { Other, Document, Block, Attribute, NameText, ValueText };
    struct Frame {
        Role role;
        int node;  // block or attribute node this element opens, else -1
    };
    std::vector<Frame> stack;
    std::string leaf;    // text of the open Name or DefaultValue
    int openBlock = -1;  // innermost open ConfigBlock node
    for (;;) {
        const int event = reader.get_next_event();
        if (event == xrt::xe_start && !reader.is_attribute_event()) {
            const std::string& element = reader.get_local_name();
            const Role parent = stack.empty() ? Other : stack.back().role;
            Role role = Other;
            if (element == "ConfigBlock" && (parent == Block || parent == Document))
                role = Block;
            else if (parent == Block && endsWith(element, "Attribute"))
                role = Attribute;
            else if (element == "Name" && parent != Other)
                role = NameText;
            else if (element == "DefaultValue" && parent == Attribute)
                role = ValueText;
            else if (element == "Configuration" && stack.size() == 1)
                role = Document;
            int node = -1;
            if (role == Block || role == Attribute) {
                node = static_cast<int>(list.size());
                list.emplace_back();
                SourceNode& n = list.back();
                n.kind = role == Block ? SourceNode::Block : SourceNode::Attribute;
                n.element = element;
                n.parent = openBlock;
                n.place = placeOf(text, reader.get_markup_line(), reader.get_markup_offset());
                if (role == Block) openBlock = node;
            }
            if (role == NameText || role == ValueText) leaf.clear();
            stack.push_back(Frame{role, node});
        } else if (event == xrt::xe_text) {
            if (!stack.empty() && (stack.back().role == NameText || stack.back().role == ValueText))
                leaf += reader.get_value();
        } else if (event == xrt::xe_end_tag) {
            if (stack.empty()) break;
            const Frame frame = stack.back();
            stack.pop_back();
            if (frame.node >= 0) {
                if (frame.role == Block)
                    openBlock = list[frame.node].parent;
                else if (list[frame.node].keptAs == -1)
                    named(frame.node);  // attribute without a Name
                continue;
            }
            if (stack.empty()) continue;
            const Frame& owner = stack.back();
            if (frame.role == NameText && owner.role == Document) {
                docName = leaf;
            } else if (frame.role == NameText && owner.node >= 0 && list[owner.node].keptAs == -1) {
                list[owner.node].name = leaf;
                named(owner.node);
            } else if (frame.role == ValueText && owner.node >= 0) {
                list[owner.node].value = leaf;
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
    std::unordered_map<std::string, int>& table = n.kind == SourceNode::Block ? blocks : attributes;
    const std::string key = n.kind == SourceNode::Block ? parentName + "." + n.name : parentName + "\n" + n.name;
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
