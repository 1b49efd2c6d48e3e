#pragma once
// An on-chip sink: a FIFO that passes trace on, or a small internal buffer.
#include "modules/DataStream.h"
#include "modules/TMC.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace quorl {

class HugoModule : public DataStream {
public:
    HugoModule(std::string name, boost::shared_ptr<ConfigBlock> block);
    ~HugoModule() override;

    bool configure(boost::shared_ptr<TaProcess> process) override;

    bool loadDataStreamSettings(boost::shared_ptr<ConfigBlock> block);
};

}  // namespace quorl
