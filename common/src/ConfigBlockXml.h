#pragma once
// The block implementation of the configuration tree.
//
// Building a tree in code (tests, tools):
//
//   auto cfg = boost::make_shared<quorl::ConfigurationXml>("Board", "1.0");
//   auto ta = cfg->ensureBlock(quorl::BLOCK_TARGET_ACCESS);          // finds or creates
//   ta->addAttribute(quorl::makeStringAttribute(quorl::ATTR_SERVER_ADDRESS, "127.0.0.1"));
//   ta->addAttribute(quorl::makeUInt32Attribute(quorl::ATTR_SERVER_PORT, 5000));
//   auto core = cfg->ensureBlock(quorl::BLOCK_TRACE_GENERATORS_CORE)->ensureBlock("Core 0");
//   core->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_TRACE, true));
//
// Children keep the order in which they were added; adding a child gives it
// (and its subtree) qualified names below this block. A second child of an
// existing name is dropped with the loader's log line.
//
// ConfigBlockXmlBase<Interface> holds the fields and the read operations for
// any block interface derived from ConfigBlock, so the editable block shares
// them; its protected helpers keep the name index used for duplicate checks,
// so derived classes change the child lists only through them.
#include "app/base/Log.h"
#include "common/src/AttributeXml.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Vector.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <string>
#include <unordered_map>
#include <vector>

namespace quorl {

class c_ConfigBlock;

// Mixin of the block implementations: lets a parent give a child block (and
// through it the whole subtree) its qualified name.
class RenamableConfigBlock {
public:
    virtual void setQualifiedName(const std::string& qualifiedName) = 0;
    virtual ~RenamableConfigBlock() {}
};

// Sets the qualified name of a block that carries the mixin; false otherwise.
bool setBlockQualifiedName(ConfigBlock& block, const std::string& qualifiedName);

template <class Interface>
class ConfigBlockXmlBase : public Interface, public RenamableConfigBlock {
public:
    std::string getName() const override {
        Guard g(lock);
        return name;
    }
    std::string getQualifiedName() const override {
        Guard g(lock);
        return qualifiedName;
    }
    ConfigBlockPtr getConfigBlock(const std::string& childName) const override {
        return blocks.findFirst([&](const ConfigBlockPtr& b) { return b && b->getName() == childName; });
    }
    ConfigBlockVectorPtr getConfigBlocks() const override { return blocks.copy(); }
    ConfigAttributePtr getConfigAttribute(const std::string& attributeName) const override {
        return attributes.findFirst([&](const ConfigAttributePtr& a) { return a && a->getName() == attributeName; });
    }
    ConfigAttributeVectorPtr getConfigAttributes() const override { return attributes.copy(); }
    // Calls f on every attribute in order, under the list's lock, without the
    // copy that getConfigAttributes makes (the writer of a wide block).
    template <class F>
    void forEachAttribute(F f) const {
        attributes.forEach(f);
    }
    void accept(ConfigBlockVisitor& visitor) override { visitor.visit(*this); }
    void accept(ConfigBlockVisitor& visitor) const override { visitor.visit(const_cast<ConfigBlockXmlBase&>(*this)); }

    // Renames this block and, below it, every attribute and block.
    void setQualifiedName(const std::string& q) override {
        Guard g(lock);
        qualifiedName = q;
        attributes.forEach([&](const ConfigAttributePtr& a) {
            if (a) setAttributeQualifiedName(*a, joinQualifiedName(q, a->getName()));
        });
        blocks.forEach([&](const ConfigBlockPtr& b) {
            if (b) setBlockQualifiedName(*b, joinQualifiedName(q, b->getName()));
        });
    }

protected:
    typedef boost::lock_guard<boost::recursive_mutex> Guard;

    ConfigBlockXmlBase() = default;
    ConfigBlockXmlBase(const std::string& n, const std::string& q) : name(n), qualifiedName(q) {}
    ConfigBlockXmlBase(const ConfigBlockXmlBase&) = delete;
    ConfigBlockXmlBase& operator=(const ConfigBlockXmlBase&) = delete;

    // Copy through the interface: name and qualified name, then clones of the
    // attributes and of the blocks, in order, without duplicate checks. A
    // null list stays empty; it is logged only when a channel is given.
    void copyFrom(const ConfigBlock& source, Log* channel) {
        Guard g(lock);
        name = source.getName();
        qualifiedName = source.getQualifiedName();
        if (ConfigAttributeVectorPtr list = source.getConfigAttributes()) {
            for (const ConfigAttributePtr& a : list->snapshot())
                if (a) appendAttribute(a->clone());
        } else if (channel) {
            channel->write("invalid attributes for config block", LOG_ERROR);
        }
        if (ConfigBlockVectorPtr list = source.getConfigBlocks()) {
            for (const ConfigBlockPtr& b : list->snapshot())
                if (b) appendBlock(b->clone());
        } else if (channel) {
            channel->write("invalid blocks for config block", LOG_ERROR);
        }
    }

    // The children of a file binding element, built in file order (defined
    // with the loader). An element passed as an rvalue loses each child's
    // binding object as soon as the child is built, so that a loaded
    // document never exists twice in memory.
    template <class Element>
    void buildFromElement(Element&& element, Log& channel, const char* unknownText);

    bool hasAttributeNamed(const std::string& n) const {
        Guard g(lock);
        return attributeNames.count(n) != 0;
    }
    bool hasBlockNamed(const std::string& n) const {
        Guard g(lock);
        return blockNames.count(n) != 0;
    }

    // Sizes the attribute list and its name index for a known child count,
    // so that loading a wide block does not rehash as it grows.
    void reserveChildren(size_t n) {
        Guard g(lock);
        attributes.reserve(n);
        attributeNames.reserve(n);
    }

    // Appends without checks and without renaming.
    void appendAttribute(const ConfigAttributePtr& a) {
        Guard g(lock);
        attributes.push_back(a);
        ++attributeNames[a->getName()];
    }
    void appendBlock(const ConfigBlockPtr& b) {
        Guard g(lock);
        blocks.push_back(b);
        ++blockNames[b->getName()];
    }
    // Appends unless the name is taken, with one look-up of the name: the
    // loader's path through wide blocks. False if the name was taken.
    bool appendAttributeIfNew(const ConfigAttributePtr& a) {
        Guard g(lock);
        unsigned& count = attributeNames[a->getName()];
        if (count) return false;
        count = 1;
        attributes.push_back(a);
        return true;
    }

    // The loader's rule: a child whose name is taken is dropped after an
    // ERROR line on channel ("duplicate attribute was found", "duplicate
    // config block was found" and the name); otherwise it is renamed below
    // this block and appended. True if appended.
    bool adoptAttribute(const ConfigAttributePtr& a, Log& channel) {
        if (!a) return false;
        Guard g(lock);
        const std::string n = a->getName();
        if (attributeNames.count(n)) {
            channel.write("duplicate attribute was found", LOG_ERROR);
            return false;
        }
        setAttributeQualifiedName(*a, joinQualifiedName(qualifiedName, n));
        appendAttribute(a);
        return true;
    }
    bool adoptBlock(const ConfigBlockPtr& b, Log& channel) {
        if (!b) return false;
        Guard g(lock);
        const std::string n = b->getName();
        if (blockNames.count(n)) {
            channel.write("duplicate config block was found" + n, LOG_ERROR);
            return false;
        }
        setBlockQualifiedName(*b, joinQualifiedName(qualifiedName, n));
        appendBlock(b);
        return true;
    }

    // Removes the first child of that name; the removed child's qualified
    // name becomes its bare name. Returns it, or null.
    ConfigAttributePtr detachAttribute(const std::string& n) {
        Guard g(lock);
        ConfigAttributePtr found = getConfigAttribute(n);
        if (!found) return found;
        attributes.removeFirst([&](const ConfigAttributePtr& a) { return a == found; });
        forget(attributeNames, n);
        setAttributeQualifiedName(*found, n);
        return found;
    }
    ConfigBlockPtr detachBlock(const std::string& n) {
        Guard g(lock);
        ConfigBlockPtr found = getConfigBlock(n);
        if (!found) return found;
        blocks.removeFirst([&](const ConfigBlockPtr& b) { return b == found; });
        forget(blockNames, n);
        setBlockQualifiedName(*found, n);
        return found;
    }
    // Removes every child, each given its bare name, in order.
    void detachAllAttributes() {
        Guard g(lock);
        for (const ConfigAttributePtr& a : attributes.snapshot())
            if (a) setAttributeQualifiedName(*a, a->getName());
        attributes.clear();
        attributeNames.clear();
    }
    void detachAllBlocks() {
        Guard g(lock);
        for (const ConfigBlockPtr& b : blocks.snapshot())
            if (b) setBlockQualifiedName(*b, b->getName());
        blocks.clear();
        blockNames.clear();
    }

    mutable boost::recursive_mutex lock;
    std::string name;
    std::string qualifiedName;
    ConfigBlockVector blocks;
    ConfigAttributeVector attributes;

private:
    static void forget(std::unordered_map<std::string, unsigned>& names, const std::string& n) {
        auto it = names.find(n);
        if (it != names.end() && --it->second == 0) names.erase(it);
    }
    // How many children carry each name; keeps duplicate checks off the lists.
    std::unordered_map<std::string, unsigned> attributeNames;
    std::unordered_map<std::string, unsigned> blockNames;
};

class ConfigBlockXml : public ConfigBlockXmlBase<ConfigBlock> {
public:
    // An empty block whose qualified name is its bare name.
    explicit ConfigBlockXml(const std::string& name);
    // Qualified name: parent's qualified name, ".", name.
    ConfigBlockXml(const std::string& name, const std::string& parentQualifiedName);
    // Reads another block through its interface: names, then clones of its
    // attributes and blocks in order.
    explicit ConfigBlockXml(const ConfigBlock& source);
    ConfigBlockXml(const ConfigBlockXml& source);
    ConfigBlockXml& operator=(const ConfigBlockXml&) = delete;
    // From the file binding, with the parent's qualified name. Defined with
    // the loader.
    ConfigBlockXml(const c_ConfigBlock& element, const std::string& parentQualifiedName);
    ConfigBlockXml(c_ConfigBlock&& element, const std::string& parentQualifiedName);
    ~ConfigBlockXml() override;

    ConfigBlockPtr clone() const override;

    // Writes the block into its binding object: name, attributes, blocks.
    // Defined with the file writer.
    virtual void populate(c_ConfigBlock& element) const;

    // ---- Building ----
    // Adopts the attribute (not a copy): renamed below this block and
    // appended, unless the name is taken (logged, dropped, false).
    bool addAttribute(const ConfigAttributePtr& attribute);
    // The same for a child block and its subtree.
    bool addBlock(const ConfigBlockPtr& block);
    // The child block of that name, created empty if there is none. Null if
    // the existing child is not a ConfigBlockXml.
    boost::shared_ptr<ConfigBlockXml> ensureBlock(const std::string& name);
    // Removes the first child of that name (it keeps its bare name as
    // qualified name); false if there is none.
    bool removeAttribute(const std::string& name);
    bool removeBlock(const std::string& name);
};

typedef boost::shared_ptr<ConfigBlockXml> ConfigBlockXmlPtr;

}  // namespace quorl
