#pragma once
// A small complete configuration (two cores, a funnel, an ETF and a DDR sink)
// that lints clean, and helpers to write variants of it to files.
#include <boost/filesystem.hpp>

#include <fstream>
#include <sstream>
#include <string>

namespace rq7test {

inline const std::string& cleanConfiguration() {
    static const std::string text = R"(<?xml version="1.0" encoding="UTF-8"?>
<QUORL>
<Configuration>
<Name>T</Name>
<Version>1</Version>
<ConfigBlock><Name>Target Access</Name>
	<EnumAttribute><Name>Target Access Method</Name><DefaultValue>Logger</DefaultValue><EnumValues>LTA,Logger,GTA</EnumValues></EnumAttribute>
	<StringAttribute><Name>ServerAddress</Name><DefaultValue>127.0.0.1</DefaultValue></StringAttribute>
	<UInt32Attribute><Name>ServerPort</Name><DefaultValue>5000</DefaultValue></UInt32Attribute>
</ConfigBlock>
<ConfigBlock><Name>Timestamp Generator</Name>
	<Addr64Attribute><Name>Module Base Address</Name><DefaultValue>0x80010000</DefaultValue></Addr64Attribute>
	<BoolAttribute><Name>Enable Timestamp Generator</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<BoolAttribute><Name>Halt on Debug</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<StringAttribute><Name>MemSpace</Name><DefaultValue>APB</DefaultValue></StringAttribute>
	<UInt32Attribute><Name>Counter Base Frequency</Name><DefaultValue>100000000</DefaultValue></UInt32Attribute>
</ConfigBlock>
<ConfigBlock><Name>Trace Generators</Name>
<ConfigBlock><Name>CORE</Name>
<ConfigBlock><Name>Core 0</Name>
	<BoolAttribute><Name>Enable Trace</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<StringAttribute><Name>MemSpace</Name><DefaultValue>APB</DefaultValue></StringAttribute>
	<Addr64Attribute><Name>Module Base Address</Name><DefaultValue>0x81030000</DefaultValue></Addr64Attribute>
	<StringAttribute><Name>Trace Generator Type</Name><DefaultValue>ETMv4</DefaultValue></StringAttribute>
	<UInt32Attribute><Name>ATB ID</Name><DefaultValue>2</DefaultValue></UInt32Attribute>
	<BoolAttribute><Name>Timestamp</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<BoolAttribute><Name>Cycle Counting</Name><DefaultValue>false</DefaultValue></BoolAttribute>
	<EnumAttribute><Name>TraceScenario</Name><DefaultValue>ProgramTrace</DefaultValue><EnumValues>ProgramTrace,DataTrace</EnumValues></EnumAttribute>
	<EnumAttribute><Name>TraceMode</Name><DefaultValue>ProgramTrace</DefaultValue><EnumValues>DataAdress,ProgramTrace</EnumValues></EnumAttribute>
	<BoolAttribute><Name>Enable Logging</Name><DefaultValue>false</DefaultValue></BoolAttribute>
	<StringAttribute><Name>Dependency</Name><DefaultValue>ARM Funnel Port 0</DefaultValue></StringAttribute>
</ConfigBlock>
<ConfigBlock><Name>Core 1</Name>
	<BoolAttribute><Name>Enable Trace</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<StringAttribute><Name>MemSpace</Name><DefaultValue>APB</DefaultValue></StringAttribute>
	<Addr64Attribute><Name>Module Base Address</Name><DefaultValue>0x81070000</DefaultValue></Addr64Attribute>
	<StringAttribute><Name>Trace Generator Type</Name><DefaultValue>ETMv4</DefaultValue></StringAttribute>
	<UInt32Attribute><Name>ATB ID</Name><DefaultValue>3</DefaultValue></UInt32Attribute>
	<BoolAttribute><Name>Timestamp</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<BoolAttribute><Name>Cycle Counting</Name><DefaultValue>false</DefaultValue></BoolAttribute>
	<EnumAttribute><Name>TraceScenario</Name><DefaultValue>ProgramTrace</DefaultValue><EnumValues>ProgramTrace,DataTrace</EnumValues></EnumAttribute>
	<EnumAttribute><Name>TraceMode</Name><DefaultValue>ProgramTrace</DefaultValue><EnumValues>DataAdress,ProgramTrace</EnumValues></EnumAttribute>
	<BoolAttribute><Name>Enable Logging</Name><DefaultValue>false</DefaultValue></BoolAttribute>
	<StringAttribute><Name>Dependency</Name><DefaultValue>ARM Funnel Port 1</DefaultValue></StringAttribute>
</ConfigBlock>
</ConfigBlock>
</ConfigBlock>
<ConfigBlock><Name>SoC Modules</Name>
<ConfigBlock><Name>ARM Funnel</Name>
	<BoolAttribute><Name>Enable Trace</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<StringAttribute><Name>MemSpace</Name><DefaultValue>APB</DefaultValue></StringAttribute>
	<Addr64Attribute><Name>Module Base Address</Name><DefaultValue>0x80040000</DefaultValue></Addr64Attribute>
	<StringAttribute><Name>Dependency</Name><DefaultValue>ETF 0</DefaultValue></StringAttribute>
</ConfigBlock>
<ConfigBlock><Name>ARM Funnel Port 0</Name>
	<BoolAttribute><Name>Enable Port</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<UInt32Attribute><Name>Port Priority</Name><DefaultValue>1</DefaultValue></UInt32Attribute>
	<StringAttribute><Name>Dependency</Name><DefaultValue>ARM Funnel</DefaultValue></StringAttribute>
</ConfigBlock>
<ConfigBlock><Name>ARM Funnel Port 1</Name>
	<BoolAttribute><Name>Enable Port</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<UInt32Attribute><Name>Port Priority</Name><DefaultValue>2</DefaultValue></UInt32Attribute>
	<StringAttribute><Name>Dependency</Name><DefaultValue>ARM Funnel</DefaultValue></StringAttribute>
</ConfigBlock>
</ConfigBlock>
<ConfigBlock><Name>Data Streams</Name>
	<EnumAttribute><Name>TraceLocation</Name><DefaultValue>DDR Buffer</DefaultValue><EnumValues>Internal,DDR Buffer</EnumValues></EnumAttribute>
<ConfigBlock><Name>ETF 0</Name>
	<EnumAttribute><Name>BufferMode</Name><DefaultValue>OneBuffer</DefaultValue><EnumValues>PassThrough,OneBuffer</EnumValues></EnumAttribute>
	<BoolAttribute><Name>Enable Buffer</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<StringAttribute><Name>MemSpace</Name><DefaultValue>APB</DefaultValue></StringAttribute>
	<Addr64Attribute><Name>Module Base Address</Name><DefaultValue>0x80050000</DefaultValue></Addr64Attribute>
	<EnumAttribute><Name>TraceCollectionMode</Name><DefaultValue>Overwrite</DefaultValue><EnumValues>Overwrite,StopOnFull</EnumValues></EnumAttribute>
	<StringAttribute><Name>Dependency</Name><DefaultValue></DefaultValue></StringAttribute>
</ConfigBlock>
<ConfigBlock><Name>DDR Trace Buffer</Name>
	<BoolAttribute><Name>Enable Buffer</Name><DefaultValue>true</DefaultValue></BoolAttribute>
	<StringAttribute><Name>MemSpace</Name><DefaultValue>APB</DefaultValue></StringAttribute>
	<Addr64Attribute><Name>Module Base Address</Name><DefaultValue>0x80060000</DefaultValue></Addr64Attribute>
	<Addr64Attribute><Name>Trace Buffer Base Address</Name><DefaultValue>0xa0000000</DefaultValue></Addr64Attribute>
	<Addr64Attribute><Name>Trace Buffer Size</Name><DefaultValue>0x1000000</DefaultValue></Addr64Attribute>
	<EnumAttribute><Name>TraceCollectionMode</Name><DefaultValue>Overwrite</DefaultValue><EnumValues>Overwrite,StopOnFull</EnumValues></EnumAttribute>
	<StringAttribute><Name>Dependency</Name><DefaultValue></DefaultValue></StringAttribute>
</ConfigBlock>
</ConfigBlock>
</Configuration>
</QUORL>
)";
    return text;
}

// A fresh directory per test binary run.
inline boost::filesystem::path scratchDirectory() {
    static const boost::filesystem::path dir = [] {
        boost::filesystem::path p =
            boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("rq7-lint-%%%%-%%%%");
        boost::filesystem::create_directories(p);
        return p;
    }();
    return dir;
}

inline std::string writeFile(const std::string& name, const std::string& text) {
    const std::string path = (scratchDirectory() / name).string();
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream os;
    os << in.rdbuf();
    return os.str();
}

}  // namespace rq7test
