#pragma once
// Identity of a plugin and the configuration document it works on. The
// document is loaded from `path` when the plugin is built; an empty pointer
// afterwards means the file could not be read.
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <string>

namespace quorl {

class Configuration;

class Plugin : private boost::noncopyable {
public:
    Plugin(const std::string& id, const std::string& version, const std::string& path, const std::string& name);

    virtual std::string getId();
    virtual std::string getName();
    virtual void setName(const std::string& name);
    virtual boost::shared_ptr<Configuration> getConfiguration();
    virtual void setConfiguration(boost::shared_ptr<Configuration> configuration);
    virtual std::string getVersion();
    virtual void setVersion(const std::string& version);
    // Kept in the interface for plugins that need a late start; does nothing here.
    virtual void initialize();
    virtual ~Plugin();

protected:
    std::string id;
    std::string version;
    std::string name;
    std::string path;
    boost::shared_ptr<Configuration> configuration;
};

}  // namespace quorl
