#pragma once
// Control interface of a trace plugin, as the application sees it.
#include <boost/shared_ptr.hpp>
#include <cstdint>

namespace quorl {

class TaProcess;

class ITraceConfigKA {
public:
    virtual bool configure() = 0;
    virtual void setAccessProcess(boost::shared_ptr<TaProcess> process) = 0;
    // Asks a running operation to stop at the next module.
    virtual void abort() = 0;
    virtual uint32_t getStatus() = 0;

protected:
    // Plugins are owned through their concrete type; the interface never deletes.
    ~ITraceConfigKA() = default;
};

}  // namespace quorl
