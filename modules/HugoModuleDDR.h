#pragma once
// A sink that writes trace into a buffer in system memory.
#include "modules/DataStream.h"
#include "modules/TMC.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace quorl {

class HugoModuleDDR : public DataStream {
public:
    HugoModuleDDR(std::string name, boost::shared_ptr<ConfigBlock> block);
    ~HugoModuleDDR() override;

    bool configure(boost::shared_ptr<TaProcess> process) override;
    // Stops capture; the unlock belongs to configure.
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return enableOnce(process); }

    bool loadDataStreamSettings(boost::shared_ptr<ConfigBlock> block);

    // Empty unless the whole block was read.
    boost::shared_ptr<TMC> getTmc() const { return tmc; }

private:
    uint64_t traceBufferSize = 0;  // bytes
    std::string collectionMode;
    uint64_t traceBufferBaseAddress = 0;
    boost::shared_ptr<TMC> tmc;
};

}  // namespace quorl
