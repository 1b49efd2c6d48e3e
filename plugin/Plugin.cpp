#include "plugin/Plugin.h"

#include "common/src/Configuration.h"
#include "common/src/ConfigurationLoader.h"

namespace quorl {

Plugin::Plugin(const std::string& id_, const std::string& version_, const std::string& path_, const std::string& name_)
    : id(id_), version(version_), path(path_) {
    configuration = loadConfiguration(path);
    name = name_;
}

Plugin::~Plugin() = default;

std::string Plugin::getId() {
    return id;
}
std::string Plugin::getName() {
    return name;
}

void Plugin::setName(const std::string& n) {
    if (&n != &name) name = n;
}

boost::shared_ptr<Configuration> Plugin::getConfiguration() {
    return configuration;
}

void Plugin::setConfiguration(boost::shared_ptr<Configuration> c) {
    configuration = c;
}

std::string Plugin::getVersion() {
    return version;
}

void Plugin::setVersion(const std::string& v) {
    if (&v != &version) version = v;
}

void Plugin::initialize() {}

}  // namespace quorl
