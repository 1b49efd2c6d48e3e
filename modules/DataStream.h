#pragma once
// A trace sink: the place where the merged trace ends up. The concrete sinks
// add their own settings and the trace memory controller they drive.
#include "plugin/base/ConfigurationModule.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace quorl {

class BlockReader;
class TMC;

class DataStream : public ConfigurationModule {
public:
    DataStream(std::string name, boost::shared_ptr<ConfigBlock> block);
    ~DataStream() override;

    uint32_t getModuleType() const override { return DataStreamKind; }
    // A sink keeps running and capturing when its users are switched off;
    // only reset stops it.
    bool disable(boost::shared_ptr<TaProcess>) override { return true; }
    // Stops capture; the unlock belongs to configure.
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return enableOnce(process); }

    // No sink reports how full it is.
    virtual bool supportsBufferMonitoring() { return monitoringSupported; }
    virtual uint32_t getFillLevel(boost::shared_ptr<TaProcess>) { return 0; }

    bool isTmcConfigured() const { return tmcConfigured; }
    // The buffer mode hands trace on to the sink's own dependency instead of storing it.
    bool passesThrough() const;
    // Empty unless the whole block was read.
    boost::shared_ptr<TMC> getTmc() const { return tmc; }

protected:
    // Runs configure once; later calls succeed without touching the sink.
    bool enableOnce(boost::shared_ptr<TaProcess> process);

    // What every sink block holds, read in this order: Enable Buffer, MemSpace
    // and Module Base Address. Gives the controller at that base address, or
    // an empty pointer once the first missing attribute has been reported.
    static boost::shared_ptr<TMC> readController(const BlockReader& read, bool& enableBuffer);
    // The first current value of TraceCollectionMode; false once a missing
    // attribute or an empty list has been reported.
    static bool readCollectionMode(const BlockReader& read, std::string& mode);

    std::string bufferMode;
    std::string traceCollectionMode;
    bool monitoringSupported = false;
    bool scatterGather = false;
    bool tmcConfigured = false;
    // Set only once the whole block was read: a sink whose reading stopped
    // early touches nothing.
    boost::shared_ptr<TMC> tmc;
};

}  // namespace quorl
