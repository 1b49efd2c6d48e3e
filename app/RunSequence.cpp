#include "app/RunSequence.h"

#include "common/src/ConfigAttribute.h"
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "common/src/Names.h"
#include "plugin/TraceTargetConfigPluginKA2.h"
#include "target.access/TaClient.h"
#include "target.access/TaProcessLTA.h"
#include "target.access/TaProcessManager.h"
#include "target.access/Uuid.h"
#include "target.access/server/DummyServer.h"

#include <pthread.h>
#include <sched.h>

#include <iostream>

namespace rq7 {

namespace {

const uint32_t PortLimit = 65536;

const char* const PluginVersion = "1.0.0";
const char* const PluginClassName = "TraceTargetConfigPluginKA2";

int fail(std::ostream& stream, const char* text) {
    stream << text << std::endl;
    return 1;
}

// A Logger run is one conversation between this thread and the server
// thread. On one CPU each hand-off is a local switch; across CPUs a message
// may wait for an idle CPU to wake up, which made whole runs several times
// slower. The server thread inherits the mask when it starts.
void keepLoggerRunOnOneCpu() {
    const int cpu = sched_getcpu();
    if (cpu < 0) return;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    pthread_setaffinity_np(pthread_self(), sizeof set, &set);
}

}  // namespace

int runSequence(const std::string& configFile, int disableCount) {
    const std::string pluginId = quorl::generateUuid();
    const std::string version = PluginVersion;
    const std::string className = PluginClassName;
    boost::shared_ptr<CONFIG_KA2::TraceTargetConfigPluginKA2> plugin(
        new CONFIG_KA2::TraceTargetConfigPluginKA2(pluginId, version, configFile, className));
    if (!plugin) return fail(std::cout, "Internal error: could not allocate configurator plugin.");

    boost::shared_ptr<quorl::Configuration> configuration = plugin->getConfiguration();
    if (!configuration) return fail(std::cout, "[RQ7 Trace Configuration Client] Cannot find configuration");

    boost::shared_ptr<quorl::ConfigBlock> targetAccess = configuration->getConfigBlock(quorl::BLOCK_TARGET_ACCESS);
    if (!targetAccess)
        return fail(std::cout,
                    "[RQ7 Trace Configuration Client]: Unable to get configuration block: "
                    "'Target Access'.");

    auto serverAddress = boost::dynamic_pointer_cast<quorl::StringAttribute>(
        targetAccess->getConfigAttribute(quorl::ATTR_SERVER_ADDRESS));
    if (!serverAddress) return fail(std::cerr, "[RQ7 CONFIG]: Could not find 'ServerAddress' config block!");

    auto serverPort =
        boost::dynamic_pointer_cast<quorl::UInt32Attribute>(targetAccess->getConfigAttribute(quorl::ATTR_SERVER_PORT));
    if (!serverPort) return fail(std::cerr, "[RQ7 CONFIG]: Could not find 'ServerPort' config block!");
    const uint32_t port = serverPort->getValue();
    if (port >= PortLimit) return fail(std::cerr, "[RQ7 CONFIG]: Invalid port number!");

    auto method = boost::dynamic_pointer_cast<quorl::EnumAttribute>(
        targetAccess->getConfigAttribute(quorl::ATTR_TARGET_ACCESS_METHOD));
    if (!method)
        return fail(std::cout,
                    "[RQ7 Trace Configuration Client]: Could not find 'Target Access Method' "
                    "config block!");
    auto methodValues = method->getValues();
    if (!methodValues)
        return fail(std::cout,
                    "[RQ7 Trace Configuration Client]: Could not get values for 'Target Access "
                    "Method' config block!");
    // An empty list ends the program here with the out-of-range error of the access.
    const std::string accessMethod = methodValues->at(0);

    boost::shared_ptr<quorl::TargetConfig_TaProcessClient> client(new quorl::TargetConfig_TaProcessClient());
    // The in-process agent server always listens on its default port; a Logger
    // configuration must name that port for its process to reach it.
    quorl::DummyServer server(quorl::DummyServer::DEFAULT_PORT);
    if (!client) return fail(std::cout, "Internal error: could not allocate internal structure.");

    const bool logger = accessMethod == quorl::VALUE_LOGGER;
    if (!logger && accessMethod != quorl::VALUE_LTA && accessMethod != quorl::VALUE_GTA)
        return fail(std::cout,
                    "[RQ7 Trace Configuration Client] Target access type different than LTA, "
                    "Logger or GTA.");

    boost::shared_ptr<quorl::TaProcess> process;
    if (logger) {
        process.reset(new quorl::TaProcessLTA(serverAddress->getValue(), static_cast<int>(port)));
        if (!process) return fail(std::cout, "[RQ7 Trace Configuration Client] Cannot find valid process");
        // The process connects on its first access; by then the server listens.
        keepLoggerRunOnOneCpu();
        server.run();
    } else {
        quorl::TaProcessManager& manager = quorl::TaProcessManager::getInstance();
        manager.getAccessType(client, targetAccess);
        // A failing GTA connection throws out of here on purpose: nothing catches it.
        process = manager.createProcess(client->getId(), targetAccess);
        if (!process) return fail(std::cout, "[RQ7 Trace Configuration Client] Cannot find valid process");
    }

    plugin->setAccessProcess(process);
    const bool disable = disableCount != 0;
    const bool result = disable ? plugin->disableTrace() : plugin->configure();

    if (logger) {
        // Order matters: the server leaves its loop once it sees the flag down
        // and the client's end of the connection closed.
        server.stop();
        auto lta = boost::dynamic_pointer_cast<quorl::TaProcessLTA>(process);
        if (lta) lta->getConnectionInfo();
        quorl::closeAgentSocket();
        server.join();
    }

    if (!result)
        return fail(std::cout,
                    disable ? "Trace Generators were unsuccessfully disabled." : "Configuration was unsuccessful.");
    std::cout << (disable ? "Trace Generators were successfully disabled." : "Configuration finished successfully.")
              << std::endl;
    return 0;
}

}  // namespace rq7
