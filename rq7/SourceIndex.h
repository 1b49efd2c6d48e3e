#pragma once
// Where each block and attribute of a configuration file stands. The loader
// keeps no positions and only the first of two same-named children, so one
// pass of the XML runtime's pull reader over the same bytes records every
// block and attribute element, duplicates included, by qualified name.
#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace rq7 {

struct SourcePlace {
    int line = 0;
    int column = 0;  // bytes from 1; a tab is one column
};

struct SourceNode {
    enum Kind { Block, Attribute } kind = Block;
    std::string element;  // "ConfigBlock", "UInt32Attribute" ...
    std::string name;
    std::string value;          // text of DefaultValue, for attributes
    std::string qualifiedName;  // as the tree names it: document name, ".", block names ...
    SourcePlace place;          // the start tag
    int parent = -1;            // enclosing block node
    // The node the loader keeps under this name: itself, or the earlier node
    // this one duplicates; -1 until the name is known, -2 inside a dropped block.
    int keptAs = -1;
};

class SourceIndex {
public:
    // Reads `text` (the file's bytes); stops quietly where the reader finds an error.
    explicit SourceIndex(const std::string& text);

    const std::vector<SourceNode>& nodes() const { return list; }
    const std::string& documentName() const { return docName; }
    // The kept block or attribute node by the tree's qualified name; -1 if none.
    int block(const std::string& qualifiedName) const;
    int attribute(const std::string& blockQualifiedName, const std::string& name) const;
    // Place of a node, or of line 1 column 1 for -1.
    SourcePlace place(int node) const;

private:
    void named(int node);

    std::vector<SourceNode> list;
    std::unordered_map<std::string, int> blocks;      // qualified name -> kept node
    std::unordered_map<std::string, int> attributes;  // block qualified name + '\n' + name -> kept node
    std::string docName;
};

}  // namespace rq7
