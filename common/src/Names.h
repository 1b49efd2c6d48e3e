#pragma once
// The names by which the tool finds its settings in a configuration file,
// spelled exactly as the files spell them, blanks and misspellings included
// ("DataAdress", "Core " with its trailing blank). A name that differs by a
// blank or a letter is simply not found.
//
// One copy of each constant for the whole program (inline variables: a copy
// per translation unit cost start-up time in every unit that includes this
// header), built before anything in such a unit runs; compare by text all the
// same. A ":" in a block path is a step down the tree.
#include <string>
#include <vector>

// X(IDENTIFIER, "text"), grouped by use.
#define RQ7_VOCABULARY(X)                                                  \
    /* Blocks the run looks up */                                          \
    X(BLOCK_TARGET_ACCESS, "Target Access")                                \
    X(BLOCK_TIMESTAMP_GENERATOR, "Timestamp Generator")                    \
    X(BLOCK_TRACE_GENERATORS_CORE, "Trace Generators:CORE")                \
    X(BLOCK_TRACE_GENERATORS_PXDI, "Trace Generators:PXDI")                \
    X(BLOCK_TRACE_GENERATORS_DDDI, "Trace Generators:DDDI")                \
    X(BLOCK_TRACE_GENERATORS_NOC_MAIN, "Trace Generators:NOC:MAIN")        \
    X(BLOCK_TRACE_GENERATORS_STM, "Trace Generators:STM")                  \
    X(BLOCK_DEBUG_MODULES, "Debug Modules")                                \
    X(BLOCK_SOC_MODULES, "SoC Modules")                                    \
    X(BLOCK_GPP_FUNNEL, "GPP Funnel")                                      \
    X(BLOCK_NOC_MODULES, "NoC Modules")                                    \
    X(BLOCK_DATA_STREAMS, "Data Streams")                                  \
    /* Single names of that tree, and paths with a closing separator */    \
    X(BLOCK_GENERAL_CONFIG, "General config")                              \
    X(BLOCK_TRACE_GENERATORS, "Trace Generators")                          \
    X(BLOCK_TRACE_GENERATORS_SEP, "Trace Generators:")                     \
    X(BLOCK_DATASTREAMS, "DataStreams")                                    \
    X(BLOCK_CORE, "CORE")                                                  \
    X(BLOCK_NOC, "NOC")                                                    \
    X(BLOCK_MAIN, "MAIN")                                                  \
    X(BLOCK_HSIO, "HSIO")                                                  \
    X(BLOCK_TRACE_GENERATORS_CORE_SEP, "Trace Generators:CORE:")           \
    X(BLOCK_TRACE_GENERATORS_PXDI_SEP, "Trace Generators:PXDI:")           \
    X(BLOCK_TRACE_GENERATORS_DDDI_SEP, "Trace Generators:DDDI:")           \
    X(BLOCK_TRACE_GENERATORS_NOC_MAIN_SEP, "Trace Generators:NOC:MAIN:")   \
    X(BLOCK_TRACE_GENERATORS_STM_SEP, "Trace Generators:STM:")             \
    X(BLOCK_SOC_MODULES_SEP, "SoC Modules:")                               \
    X(BLOCK_GPP_FUNNEL_SEP, "GPP Funnel:")                                 \
    X(BLOCK_NOC_MODULES_SEP, "NoC Modules:")                               \
    /* Words that classify a block by its name (looked for inside it) */   \
    X(WORD_CORE, "Core ")                                                  \
    X(WORD_DEBUG, "Debug ")                                                \
    X(WORD_HSIO_FUNNEL, "HSIO Funnel")                                     \
    X(WORD_PORT, "Port")                                                   \
    X(WORD_SOC_FUNNEL, "SoC Funnel")                                       \
    X(WORD_GPP_CLUSTER_FUNNEL, "GPP Cluster Funnel")                       \
    X(WORD_TIMESTAMP_GENERATOR, "Timestamp Generator")                     \
    X(WORD_OBSERVER, "observer")                                           \
    X(WORD_OBS, "OBS")                                                     \
    X(WORD_DATA_STREAMS, "Data Streams")                                   \
    X(WORD_ETF, "ETF")                                                     \
    X(WORD_DDR, "DDR")                                                     \
    X(WORD_STM, "STM")                                                     \
    X(WORD_ARM_FUNNEL, "ARM Funnel")                                       \
    X(WORD_PACKET, "packet")                                               \
    X(WORD_XACTION, "xaction")                                             \
    X(WORD_PROBE, "Probe")                                                 \
    /* Names of individual blocks */                                       \
    X(BLOCK_PXDI_PREFIX, "PXDI ")                                          \
    X(BLOCK_PXDI_0, "PXDI 0")                                              \
    X(BLOCK_PXDI_1, "PXDI 1")                                              \
    X(BLOCK_PXDI_2, "PXDI 2")                                              \
    X(BLOCK_PXDI_3, "PXDI 3")                                              \
    X(BLOCK_DDDI_PREFIX, "DDDI ")                                          \
    X(BLOCK_DDDI_0, "DDDI 0")                                              \
    X(BLOCK_DDDI_1, "DDDI 1")                                              \
    X(BLOCK_DDDI_2, "DDDI 2")                                              \
    X(BLOCK_MAIN_NOC_PROBE_PREFIX, "Main NoC Probe ")                      \
    X(BLOCK_MAIN_NOC_OBSERVER, "Main NoC Observer")                        \
    X(BLOCK_HSIO_NOC_OBSERVER, "HSIO NoC Observer")                        \
    X(BLOCK_GPP_CLUSTER_FUNNEL_0, "GPP Cluster Funnel 0")                  \
    X(BLOCK_GPP_CLUSTER_FUNNEL_1, "GPP Cluster Funnel 1")                  \
    X(BLOCK_GPP_CLUSTER_FUNNEL_2, "GPP Cluster Funnel 2")                  \
    X(BLOCK_GPP_CLUSTER_FUNNEL_3, "GPP Cluster Funnel 3")                  \
    /* Attributes the tool reads */                                        \
    X(ATTR_TARGET_ACCESS_METHOD, "Target Access Method")                   \
    X(ATTR_SERVER_ADDRESS, "ServerAddress")                                \
    X(ATTR_SERVER_PORT, "ServerPort")                                      \
    X(ATTR_DEPENDENCY, "Dependency")                                       \
    X(ATTR_ENABLE_TRACE, "Enable Trace")                                   \
    X(ATTR_MEM_SPACE, "MemSpace")                                          \
    X(ATTR_MODULE_BASE_ADDRESS, "Module Base Address")                     \
    X(ATTR_TIMESTAMP, "Timestamp")                                         \
    X(ATTR_ATB_ID, "ATB ID")                                               \
    X(ATTR_TRACE_SCENARIO, "TraceScenario")                                \
    X(ATTR_TRACE_MODE, "TraceMode")                                        \
    X(ATTR_TRACE_GENERATOR_TYPE, "Trace Generator Type")                   \
    X(ATTR_ENABLE_LOGGING, "Enable Logging")                               \
    X(ATTR_CYCLE_COUNTING, "Cycle Counting")                               \
    X(ATTR_LOCKSTEP_STATUS_REGISTER, "Lockstep Status Register")           \
    X(ATTR_LOCKSTEP_REGISTER_MEM_SPACE, "Lockstep Register MemSpace")      \
    X(ATTR_MAIN_LOCKSTEP_CLUSTER, "Main Lockstep Cluster")                 \
    X(ATTR_ENABLE_TIMESTAMP_GENERATOR, "Enable Timestamp Generator")       \
    X(ATTR_HALT_ON_DEBUG, "Halt on Debug")                                 \
    X(ATTR_COUNTER_BASE_FREQUENCY, "Counter Base Frequency")               \
    X(ATTR_ENABLE_HW_EVENTS_TRACE, "Enable Hw Events Trace")               \
    X(ATTR_BANK_EVENT_ID, "Bank Event ID")                                 \
    X(ATTR_ENABLE_PAYLOAD, "Enable Payload")                               \
    X(ATTR_ENABLE_STATISTICS, "Enable Statistics")                         \
    X(ATTR_ENABLE_INTRUSIVE_MODE, "Enable Intrusive Mode")                 \
    X(ATTR_TRACE_PORT, "Trace Port")                                       \
    X(ATTR_STP_BASE_ADDRESS, "STP Base Address")                           \
    X(ATTR_SYNC_PERIOD, "SyncPeriod")                                      \
    X(ATTR_ENABLE_PORT, "Enable Port")                                     \
    X(ATTR_PORT_PRIORITY, "Port Priority")                                 \
    X(ATTR_TRACE_LOCATION, "TraceLocation")                                \
    X(ATTR_TRACE_COLLECTION_MODE, "TraceCollectionMode")                   \
    X(ATTR_BUFFER_MODE, "BufferMode")                                      \
    X(ATTR_ENABLE_BUFFER, "Enable Buffer")                                 \
    X(ATTR_TRACE_BUFFER_SIZE, "Trace Buffer Size")                         \
    X(ATTR_TRACE_BUFFER_BASE_ADDRESS, "Trace Buffer Base Address")         \
    /* Values the tool compares with */                                    \
    X(VALUE_OVERWRITE, "Overwrite")                                        \
    X(VALUE_PASS_THROUGH, "PassThrough")                                   \
    X(VALUE_DDR, "DDR")                                                    \
    X(VALUE_LTA, "LTA")                                                    \
    X(VALUE_GTA, "GTA")                                                    \
    X(VALUE_LOGGER, "Logger")                                              \
    /* Attributes of the shared vocabulary that this tool does not read */ \
    X(ATTR_DCSR_BASE_OFFSET, "DCSR Base Offset")                           \
    X(ATTR_BASE_OFFSET, "Base Offset")                                     \
    X(ATTR_MEMORY_SPACE_ID, "Memory Space Id")                             \
    X(ATTR_LAUNCH_NAME, "LaunchName")                                      \
    X(ATTR_ENABLE, "Enable")                                               \
    X(ATTR_ENABLE_TASK_TRACE, "Enable Task Trace")                         \
    X(ATTR_DCSR_MEMORY_SPACE_ID, "DCSR Memory Space Id")                   \
    X(ATTR_START_TRACE_ON_LAUNCH, "Start Trace On Launch")                 \
    X(ATTR_FUNNEL_PRIORITY, "Funnel Priority")                             \
    X(ATTR_FUNNEL_PRIORITY_0, "Funnel Priority 0")                         \
    X(ATTR_FUNNEL_PRIORITY_1, "Funnel Priority 1")                         \
    X(ATTR_FUNNEL_PRIORITY_2, "Funnel Priority 2")                         \
    X(ATTR_FUNNEL_PRIORITY_3, "Funnel Priority 3")                         \
    X(ATTR_MINIMUM_HOLD_TIME, "Minimum Hold Time")                         \
    X(ATTR_DEBUG_PROBE_SELECT, "Debug Probe Select")                       \
    X(ATTR_TRACE_ON_CHANGE, "Trace on Change")                             \
    X(ATTR_PORT_ENABLE, "Port Enable")                                     \
    X(ATTR_TRACE_MODE_SPACED, "Trace Mode")                                \
    X(ATTR_TIMESTAMP_ENABLE_MASK, "Timestamp Enable Mask")                 \
    X(ATTR_ARBITRATION_MODE, "Arbitration Mode")                           \
    X(ATTR_TRACE_GENERATOR_NAME, "Trace Generator Name")                   \
    /* Values of the trace scenario */                                     \
    X(VALUE_SCENARIO_PROGRAM_TRACE, "ProgramTrace")                        \
    X(VALUE_SCENARIO_DATA_TRACE, "DataTrace")                              \
    X(VALUE_SCENARIO_CUSTOM, "Custom")                                     \
    /* Values of the trace mode ("DataAdress" as the files spell it) */    \
    X(VALUE_MODE_DATA_ADRESS, "DataAdress")                                \
    X(VALUE_MODE_DATA_VALUE, "DataValue")                                  \
    X(VALUE_MODE_PROGRAM_TRACE, "ProgramTrace")                            \
    /* Values of "Trace Mode" */                                           \
    X(VALUE_VERBOSE, "Verbose")                                            \
    X(VALUE_TERSE1, "Terse1")                                              \
    X(VALUE_TERSE2, "Terse2")                                              \
    X(VALUE_TERSE3, "Terse3")                                              \
    /* Values of "Arbitration Mode" */                                     \
    X(VALUE_FIXED_PRIORITY, "Fixed Priority")                              \
    X(VALUE_ROUND_ROBIN, "Round Robin")                                    \
    /* Values of the buffer and trace location settings */                 \
    X(VALUE_ONE_BUFFER, "OneBuffer")                                       \
    X(VALUE_INTERNAL, "Internal")                                          \
    X(VALUE_ETB, "ETB")                                                    \
    X(VALUE_DTC, "DTC")                                                    \
    X(VALUE_S_DTC, "S-DTC")                                                \
    X(VALUE_SOC, "SOC")                                                    \
    X(VALUE_TRACE_COMPLEX_GENERATION, "TraceComplexGeneration")            \
    X(VALUE_SCATTER_GATHER, "Scatter-Gather")                              \
    /* Model names of systems-on-chip */                                   \
    X(SOC_KA7710X, "KA7710X")                                              \
    X(SOC_RD5T816, "RD5T816")                                              \
    X(SOC_RD5T814, "RD5T814")                                              \
    X(SOC_RD7M29, "RD7M29")                                                \
    X(SOC_RD9H418C, "RD9H418C")                                            \
    X(SOC_RD9H438C, "RD9H438C")                                            \
    X(SOC_RD9H455C, "RD9H455C")                                            \
    X(SOC_RD9H612C, "RD9H612C")

namespace quorl {

#define RQ7_DEFINE_NAME(id, text) inline const std::string id(text);
RQ7_VOCABULARY(RQ7_DEFINE_NAME)
#undef RQ7_DEFINE_NAME

// One row per constant: its identifier and its text, in the order above.
struct VocabularyEntry {
    const char* identifier;
    std::string text;
};
const std::vector<VocabularyEntry>& vocabulary();

}  // namespace quorl
