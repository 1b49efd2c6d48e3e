#include "tools/socgen/SocGen.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace socgen {

std::string generatedSoc(unsigned cores) {
    const unsigned clusters = (cores + CoresPerCluster - 1) / CoresPerCluster;
    auto coresIn = [&](unsigned cluster) { return std::min(CoresPerCluster, cores - cluster * CoresPerCluster); };
    std::ostringstream x;
    auto attr = [&](const char* kind, const std::string& name, const std::string& value,
                    const std::string& extra = "") {
        x << "<" << kind << "><Name>" << name << "</Name><DefaultValue>" << value << "</DefaultValue>" << extra << "</"
          << kind << ">\n";
    };
    auto hex = [](unsigned long long v) {
        char b[32];
        std::snprintf(b, sizeof b, "0x%llx", v);
        return std::string(b);
    };
    x << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QUORL><Configuration><Name>GEN" << cores
      << "</Name><Version>1.0</Version>\n";
    x << "<ConfigBlock><Name>Target Access</Name>\n";
    attr("EnumAttribute", "Target Access Method", "Logger", "<EnumValues>LTA,Logger,GTA</EnumValues>");
    attr("StringAttribute", "ServerAddress", "127.0.0.1");
    attr("UInt32Attribute", "ServerPort", "5000");
    x << "</ConfigBlock>\n<ConfigBlock><Name>Timestamp Generator</Name>\n";
    attr("Addr64Attribute", "Module Base Address", "0x80010000");
    attr("BoolAttribute", "Enable Timestamp Generator", "true");
    attr("BoolAttribute", "Halt on Debug", "false");
    attr("StringAttribute", "MemSpace", "APB");
    attr("UInt32Attribute", "Counter Base Frequency", "100000000");
    x << "</ConfigBlock>\n<ConfigBlock><Name>Trace Generators</Name><ConfigBlock><Name>CORE</Name>\n";
    for (unsigned c = 0; c < clusters; ++c)
        for (unsigned n = 0; n < coresIn(c); ++n) {
            x << "<ConfigBlock><Name>Cluster " << c << " Core " << n << "</Name>\n";
            attr("BoolAttribute", "Enable Trace", "true");
            attr("StringAttribute", "MemSpace", "APB");
            attr("Addr64Attribute", "Module Base Address", hex(0x81030000ull + c * 0x01000000ull + n * 0x40000ull));
            attr("StringAttribute", "Trace Generator Type", "ETMv4");
            attr("UInt32Attribute", "ATB ID", std::to_string(2 + c * 8 + n));
            attr("BoolAttribute", "Timestamp", "true");
            attr("BoolAttribute", "Cycle Counting", "false");
            attr("EnumAttribute", "TraceScenario", "ProgramTrace",
                 "<EnumValues>ProgramTrace,DataAddress,DataValue</EnumValues>");
            attr("EnumAttribute", "TraceMode", "ProgramTrace",
                 "<EnumValues>DataAdress,DataValue,ProgramTrace</EnumValues>");
            attr("BoolAttribute", "Enable Logging", "false");
            attr("StringAttribute", "Dependency",
                 "Cluster " + std::to_string(c) + " ARM Funnel Port " + std::to_string(n));
            x << "</ConfigBlock>\n";
        }
    x << "</ConfigBlock></ConfigBlock>\n<ConfigBlock><Name>GPP Funnel</Name>\n";
    for (unsigned c = 0; c < clusters; ++c) {
        const std::string funnel = "Cluster " + std::to_string(c) + " ARM Funnel";
        x << "<ConfigBlock><Name>" << funnel << "</Name>\n";
        attr("BoolAttribute", "Enable Trace", "true");
        attr("StringAttribute", "MemSpace", "APB");
        attr("Addr64Attribute", "Module Base Address", hex(0x81010000ull + c * 0x01000000ull));
        attr("StringAttribute", "Dependency", "SoC ARM Funnel Port " + std::to_string(c));
        x << "</ConfigBlock>\n";
        for (unsigned n = 0; n < coresIn(c); ++n) {
            x << "<ConfigBlock><Name>" << funnel << " Port " << n << "</Name>\n";
            attr("BoolAttribute", "Enable Port", "true");
            attr("UInt32Attribute", "Port Priority", std::to_string(n));
            attr("StringAttribute", "Dependency", funnel);
            x << "</ConfigBlock>\n";
        }
    }
    x << "</ConfigBlock>\n<ConfigBlock><Name>SoC Modules</Name>\n<ConfigBlock><Name>SoC ARM Funnel</Name>\n";
    attr("BoolAttribute", "Enable Trace", "true");
    attr("StringAttribute", "MemSpace", "APB");
    attr("Addr64Attribute", "Module Base Address", "0x80040000");
    attr("StringAttribute", "Dependency", "ETF 0");
    x << "</ConfigBlock>\n";
    for (unsigned c = 0; c < clusters && c < 8; ++c) {
        x << "<ConfigBlock><Name>SoC ARM Funnel Port " << c << "</Name>\n";
        attr("BoolAttribute", "Enable Port", "true");
        attr("UInt32Attribute", "Port Priority", std::to_string(c));
        attr("StringAttribute", "Dependency", "SoC ARM Funnel");
        x << "</ConfigBlock>\n";
    }
    x << "</ConfigBlock>\n<ConfigBlock><Name>Data Streams</Name>\n";
    attr("EnumAttribute", "TraceLocation", "DDR Buffer", "<EnumValues>Internal,DDR Buffer</EnumValues>");
    x << "<ConfigBlock><Name>ETF 0</Name>\n";
    attr("EnumAttribute", "BufferMode", "PassThrough", "<EnumValues>PassThrough,OneBuffer</EnumValues>");
    attr("BoolAttribute", "Enable Buffer", "true");
    attr("StringAttribute", "MemSpace", "APB");
    attr("Addr64Attribute", "Module Base Address", "0x80050000");
    attr("EnumAttribute", "TraceCollectionMode", "Overwrite", "<EnumValues>Overwrite,StopOnFull</EnumValues>");
    attr("StringAttribute", "Dependency", "DDR Trace Buffer");
    x << "</ConfigBlock>\n<ConfigBlock><Name>DDR Trace Buffer</Name>\n";
    attr("BoolAttribute", "Enable Buffer", "true");
    attr("StringAttribute", "MemSpace", "APB");
    attr("Addr64Attribute", "Module Base Address", "0x80060000");
    attr("Addr64Attribute", "Trace Buffer Base Address", "0xa0000000");
    attr("Addr64Attribute", "Trace Buffer Size", "0x1000000");
    attr("EnumAttribute", "TraceCollectionMode", "Overwrite", "<EnumValues>Overwrite,StopOnFull</EnumValues>");
    attr("StringAttribute", "Dependency", "");
    x << "</ConfigBlock></ConfigBlock>\n</Configuration></QUORL>\n";
    return x.str();
}

}  // namespace socgen
