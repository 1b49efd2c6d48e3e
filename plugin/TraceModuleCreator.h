#pragma once
// Turns one configuration block into one hardware module, by the block's name
// alone. Every address and setting comes from the block's own attributes.
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

namespace quorl {

class ConfigBlock;
class ConfigurationModule;
class TimestampUtils;

class TraceModuleCreator {
public:
    // Kinds a block name classifies as. The plugin's configureModuleType takes
    // these numbers from callers, so they are fixed.
    enum ModuleKind : int32_t {
        CoreKind = 0,
        NocProbeKind = 1,
        StmKind = 2,
        GppClusterFunnelKind = 3,
        SocFunnelKind = 4,
        FunnelPortKind = 5,
        HsioFunnelKind = 6,
        NocObserverKind = 7,
        DataStreamsKind = 8,
        EtfSinkKind = 9,
        DdrSinkKind = 10,
        ArmFunnelKind = 11,
        UnusedKind = 12,
        TimestampGeneratorKind = 13,
        DebugKind = 14,
        UnknownKind = 255
    };

    virtual ~TraceModuleCreator();
    // The module for `block`, or an empty pointer when its name names no module.
    // A "Timestamp Generator" block replaces the shared timestamp object instead.
    virtual boost::shared_ptr<ConfigurationModule> createModule(boost::shared_ptr<ConfigBlock> block);

    // First word of the fixed list found anywhere in `name` decides the kind.
    static int32_t moduleTypeFromName(const std::string& name);
    // Whether createModule makes a module object for a kind.
    static bool makesModule(int32_t kind);

    // The timestamp object that cores and STM modules built from now on share.
    static boost::shared_ptr<TimestampUtils> sharedTimestampUtils();
    // Drops the shared timestamp object, so that a process that loads several
    // configurations starts each one as a fresh run does.
    static void forgetSharedObjects();
};

}  // namespace quorl
