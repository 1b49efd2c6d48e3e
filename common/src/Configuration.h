#pragma once
// The parsed configuration document: its top-level blocks by name, and
// lookups by qualified name ("Target Access.ServerPort", or with ":").
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"

#include <boost/shared_ptr.hpp>

#include <ios>
#include <string>

namespace quorl {

class Configuration {
public:
    virtual std::string getId() const = 0;
    virtual std::string getVersion() const = 0;
    virtual std::string getName() const = 0;
    virtual void setName(const std::string& name) = 0;
    virtual std::string getComments() const = 0;
    virtual void setComments(const std::string& comments) = 0;
    // Split on every "." and ":"; the first token names a top-level block,
    // each further one a child. Null if any step is missing.
    virtual ConfigBlockPtr getConfigBlock(const std::string& qualifiedName) const = 0;
    // Snapshot of the top-level blocks in ascending byte order of the name,
    // one per name.
    virtual ConfigBlockVectorPtr getConfigBlocks() const = 0;
    // Blocks down to the last token, which names the attribute. Fewer than
    // two tokens: an ERROR log line and null.
    virtual ConfigAttributePtr getConfigAttribute(const std::string& qualifiedName) const = 0;
    // New document with a new id and clones of the top-level blocks.
    virtual boost::shared_ptr<Configuration> clone() const = 0;
    // Enters a copy of block, read through its interface; a block of an
    // already used name is refused with a log line.
    virtual void addConfigBlock(const ConfigBlock& block) = 0;
    // The same with an editable copy.
    virtual void addMutableConfigBlock(const ConfigBlock& block) = 0;
    // Removes the name from the lookup; false if it is not there.
    virtual bool removeConfigBlock(const std::string& name) = 0;
    // Writes the document to path. protection is the sharing mode of the
    // stream on platforms that have one. True on success; after a false
    // result errno holds the reason.
    virtual bool save(const std::string& path, std::ios_base::openmode openMode, int protection) const = 0;
    virtual ~Configuration() {}

    // save with a truncating text stream.
    bool save(const std::string& path) const {
        return save(path, std::ios_base::out | std::ios_base::trunc, kDefaultProtection);
    }
    static const int kDefaultProtection = 0;
};

typedef boost::shared_ptr<Configuration> ConfigurationPtr;

}  // namespace quorl
