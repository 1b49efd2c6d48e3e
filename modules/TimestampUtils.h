#pragma once
// The system timestamp counter that stamps core and STM trace. One object per
// process, built from the "Timestamp Generator" block and shared by every
// module that has timestamps on; each of them calls configure.
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

namespace quorl {

class ConfigBlock;
class TaProcess;

class TimestampUtils {
public:
    explicit TimestampUtils(boost::shared_ptr<ConfigBlock> block);
    virtual ~TimestampUtils();

    // Writes the counter control, then the base frequency if one is set.
    // Does nothing when no base address was read.
    virtual bool configure(boost::shared_ptr<TaProcess> process);

    bool readModuleConfiguration(boost::shared_ptr<ConfigBlock> block);
    bool isGeneratorEnabled() const { return enableGenerator; }

private:
    uint64_t baseAddress = ~uint64_t(0);
    bool enableGenerator = false;
    bool haltOnDebug = false;
    std::string memorySpace;
    uint32_t counterBaseFrequency = 0;
};

}  // namespace quorl
