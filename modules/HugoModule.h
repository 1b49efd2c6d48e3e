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
    // Stops capture; the unlock belongs to configure.
    bool reset(boost::shared_ptr<TaProcess> process) override;
    bool enable(boost::shared_ptr<TaProcess> process) override { return enableOnce(process); }

    bool loadDataStreamSettings(boost::shared_ptr<ConfigBlock> block);

    // Empty unless the whole block was read.
    boost::shared_ptr<TMC> getTmc() const { return tmc; }

private:
    boost::shared_ptr<TMC> tmc;
};

}  // namespace quorl
