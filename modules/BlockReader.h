#pragma once
// Reading of one module's configuration block. Each attribute is fetched with
// its typed class; one that is missing, or of another type, is reported at
// level ERROR on the module's channel in the module's own message shape, and
// the caller ends its reading with false.
#include "app/base/Log.h"
#include "common/src/AttributeKinds.h"
#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace quorl {

// Told of every attribute a module's reader asks for: the block, the name,
// the kind it must have (element name, "UInt32Attribute") and whether it
// was found so. Lets tools list what a module needs without a copy of it.
class RequirementObserver {
public:
    virtual ~RequirementObserver();
    virtual void required(const ConfigBlock& block, const std::string& name, const char* kind, bool found) = 0;
};

class BlockReader {
public:
    // At most one observer at a time; null to stop.
    static void setObserver(RequirementObserver* observer);

    // Reports a missing attribute as
    // "[readModuleConfiguration]: Error: Could not find attribute <name> for <block>".
    BlockReader(Log& channel, const ConfigBlock& block);
    // Reports a missing attribute as missingPrefix + its name + missingSuffix.
    BlockReader(Log& channel, const ConfigBlock& block, std::string missingPrefix, std::string missingSuffix);

    // The attribute, or an empty pointer once the missing-attribute message is logged.
    template <typename A>
    boost::shared_ptr<A> require(const std::string& name) const {
        return require<A>(name, missingPrefix + name + missingSuffix);
    }
    // The same with a message of its own.
    template <typename A>
    boost::shared_ptr<A> require(const std::string& name, const std::string& message) const {
        boost::shared_ptr<A> attribute = getTypedAttribute<A>(block, name);
        if (RequirementObserver* o = observer()) o->required(block, name, kindName<A>(), bool(attribute));
        if (!attribute) fail(message);
        return attribute;
    }

    // "Module Base Address", whose absence every module reports in one shape:
    // "[<reader>] Could not find 'Module Base Address' for <block>".
    boost::shared_ptr<Addr64Attribute> requireBaseAddress(const std::string& reader) const;
    std::string baseAddressMissing(const std::string& reader) const;

    // Logs text at level ERROR and returns false, for `return reader.fail(...)`.
    bool fail(const std::string& text) const;

    const std::string& blockName() const { return name; }

private:
    static RequirementObserver* observer();
    template <typename A>
    static const char* kindName() {
        const char* found = "";
        forEachAttributeKind([&](auto tag) {
            using T = AttributeKindTraits<decltype(tag)::value>;
            if (std::is_same<typename T::Interface, A>::value) found = T::elementName;
        });
        return found;
    }

    Log& channel;
    const ConfigBlock& block;
    std::string name;
    std::string missingPrefix;
    std::string missingSuffix;
};

}  // namespace quorl
