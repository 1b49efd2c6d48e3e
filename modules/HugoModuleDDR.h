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

    bool loadDataStreamSettings(boost::shared_ptr<ConfigBlock> block);
    uint64_t getBufferBaseAddress() const { return traceBufferBaseAddress; }
    uint64_t getBufferSize() const { return traceBufferSize; }  // bytes

private:
    uint64_t traceBufferSize = 0;  // bytes
    std::string collectionMode;
    uint64_t traceBufferBaseAddress = 0;
};

}  // namespace quorl
