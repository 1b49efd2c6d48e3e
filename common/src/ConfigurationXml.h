#pragma once
// The document implementation of the configuration tree.
//
// Top-level blocks live twice: in blockMap, by name in ascending byte order
// (first block of a name wins; the one lookups and getConfigBlocks see), and
// in blockList, in file order with every block added. Building in code: see
// ConfigBlockXml.h.
#include "common/src/ConfigBlock.h"
#include "common/src/ConfigBlockXml.h"
#include "common/src/Configuration.h"
#include "common/src/Map.h"
#include "common/src/Vector.h"
#include "xrt/xrt_error.h"

#include <boost/shared_ptr.hpp>

#include <ios>
#include <string>

namespace xrt {
class c_xml_writer;
}

namespace quorl {

class c_Configuration;

typedef Map<std::string, ConfigBlockPtr> ConfigBlockMap;

class ConfigurationXml : public Configuration {
public:
    // The deleter of the shared pointer that holds a loaded document.
    class deleter {
    public:
        void operator()(ConfigurationXml* p) const { delete p; }
    };

    // An empty document with a new id.
    ConfigurationXml(const std::string& name, const std::string& version, const std::string& comments = std::string());
    // From the file binding. Defined with the loader.
    explicit ConfigurationXml(const c_Configuration& element);
    // The same, releasing the binding objects as the tree takes them over.
    explicit ConfigurationXml(c_Configuration&& element);
    ConfigurationXml(const ConfigurationXml&) = delete;
    ConfigurationXml& operator=(const ConfigurationXml&) = delete;
    ~ConfigurationXml() override;

    std::string getId() const override;
    std::string getVersion() const override;
    std::string getName() const override;
    void setName(const std::string& name) override;
    std::string getComments() const override;
    void setComments(const std::string& comments) override;
    ConfigBlockPtr getConfigBlock(const std::string& qualifiedName) const override;
    ConfigBlockVectorPtr getConfigBlocks() const override;
    ConfigAttributePtr getConfigAttribute(const std::string& qualifiedName) const override;
    boost::shared_ptr<Configuration> clone() const override;
    void addConfigBlock(const ConfigBlock& block) override;
    // Needs the editable block; defined with it.
    void addMutableConfigBlock(const ConfigBlock& block) override;
    bool removeConfigBlock(const std::string& name) override;
    using Configuration::save;
    // Defined with the file writer.
    bool save(const std::string& path, std::ios_base::openmode openMode, int protection) const override;

    virtual void setVersion(const std::string& version);
    // A new vector of clones of the map's blocks, in key order.
    virtual ConfigBlockVectorPtr cloneConfigBlocks(const ConfigBlockMap& map) const;
    // A new map built from blockList, the first block of a name winning.
    virtual boost::shared_ptr<ConfigBlockMap> getConfigBlockMap() const;
    // Writes the document into its binding object. Defined with the file
    // writer.
    virtual void populate(c_Configuration& element) const;
    // Writes the document as populate and marshal would, one attribute's
    // binding object at a time. Defined with the file writer.
    xrt::exrt_error write(xrt::c_xml_writer& w) const;

    // ---- Building and loading ----
    // Appends block to blockList and enters it in blockMap if its name is
    // new (silently kept out otherwise, as when loading a file); the block
    // is adopted, not copied, and renamed below the document. True if it
    // entered blockMap.
    bool addBlock(const ConfigBlockPtr& block);
    // The block at a qualified path ("Trace Generators:CORE"), each missing
    // step created empty. Null if a step exists but is not a ConfigBlockXml.
    boost::shared_ptr<ConfigBlockXml> ensureBlock(const std::string& qualifiedPath);
    // Snapshot of blockList: every top-level block in file order.
    ConfigBlockVectorPtr getConfigBlockList() const;

protected:
    template <class Element>
    void buildBlocks(Element&& element);

    std::string id;
    std::string name;
    std::string version;
    std::string comments;
    ConfigBlockMap blockMap;
    boost::shared_ptr<ConfigBlockVector> blockList;
};

typedef boost::shared_ptr<ConfigurationXml> ConfigurationXmlPtr;

// Text form of a new random UUID.
std::string newConfigurationId();

}  // namespace quorl
