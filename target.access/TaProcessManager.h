#pragma once
// Turns a `Target Access` configuration block into an access process.
#include "common/src/ConfigBlock.h"
#include "target.access/TaClient.h"
#include "target.access/TaProcess.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace quorl {

class TaProcessManager {
public:
    // Results of getAccessType.
    static constexpr uint32_t ACCESS_TYPE_GTA = 1;
    static constexpr uint32_t ACCESS_TYPE_OTHER = 128;
    static constexpr uint32_t ACCESS_TYPE_UNKNOWN = 256;

    static TaProcessManager& getInstance();

    // The kind of process the block asks for: `TaType` if present, else the
    // first value of `Target Access Method`.
    uint32_t getAccessType(boost::shared_ptr<TaClient> client, boost::shared_ptr<ConfigBlock> block);

    // A connected debug-server process for a "GTA" block; empty for any other
    // type or when a connection setting is missing. Connection failures of
    // the process itself are thrown through.
    boost::shared_ptr<TaProcess> createProcess(const std::string& clientId, boost::shared_ptr<ConfigBlock> block);

private:
    TaProcessManager() = default;
    TaProcessManager(const TaProcessManager&) = delete;
    TaProcessManager& operator=(const TaProcessManager&) = delete;
};

}  // namespace quorl
