#include "bench/config_document.h"

#include <cstdio>

namespace rq7bench {

namespace {

// Appends formatted text; the pieces here are short.
template <typename... Args>
void put(std::string& out, const char* format, Args... args) {
    char buf[512];
    const int n = std::snprintf(buf, sizeof buf, format, args...);
    out.append(buf, static_cast<std::size_t>(n));
}

// One attribute element per line group, tabs for depth as the writer makes them.
void put_attributes(std::string& out, const char* tabs, unsigned block, unsigned i) {
    put(out,
        "%s<UInt32Attribute>\n%s\t<Name>Port %u</Name>\n%s\t<DefaultValue>%u</DefaultValue>\n"
        "%s\t<UInt32Range>\n%s\t\t<MinValue>1</MinValue>\n%s\t\t<MaxValue>65535</MaxValue>\n"
        "%s\t</UInt32Range>\n%s</UInt32Attribute>\n",
        tabs, tabs, i, tabs, 1000 + (block * 7 + i) % 60000, tabs, tabs, tabs, tabs, tabs);
    put(out,
        "%s<Addr64Attribute>\n%s\t<Name>Base Address %u</Name>\n"
        "%s\t<DefaultValue>0x%llx</DefaultValue>\n%s</Addr64Attribute>\n",
        tabs, tabs, i, tabs, 0x7fe40000ULL + block * 0x1000ULL + i * 0x10ULL, tabs);
    put(out,
        "%s<Int64Attribute>\n%s\t<Name>Offset %u</Name>\n%s\t<ReadOnly>true</ReadOnly>\n"
        "%s\t<DefaultValue>-%u</DefaultValue>\n%s</Int64Attribute>\n",
        tabs, tabs, i, tabs, tabs, block * 31 + i, tabs);
    put(out,
        "%s<StringAttribute>\n%s\t<Name>Description %u</Name>\n"
        "%s\t<DefaultValue>Cluster %u &amp; core %u &lt;trace&gt; &quot;unit&quot;</DefaultValue>\n"
        "%s</StringAttribute>\n",
        tabs, tabs, i, tabs, block % 8, i, tabs);
    put(out,
        "%s<BoolAttribute>\n%s\t<Name>Enable Trace %u</Name>\n%s\t<DefaultValue>%s</DefaultValue>\n"
        "%s\t<ValueDescription>Switches the unit on</ValueDescription>\n%s</BoolAttribute>\n",
        tabs, tabs, i, tabs, (block + i) % 2 ? "true" : "0", tabs, tabs);
    put(out,
        "%s<EnumAttribute>\n%s\t<Name>Mode %u</Name>\n%s\t<DefaultValue>Circular</DefaultValue>\n"
        "%s\t<EnumValues>Circular, Software FIFO ; Hardware FIFO</EnumValues>\n%s</EnumAttribute>\n",
        tabs, tabs, i, tabs, tabs, tabs);
    put(out,
        "%s<DoubleAttribute>\n%s\t<Name>Ratio %u</Name>\n%s\t<DefaultValue>%u.25e-3</DefaultValue>\n"
        "%s\t<DoubleRange>\n%s\t\t<MinDoubleValue>\n%s\t\t\t<MinValue>0</MinValue>\n"
        "%s\t\t\t<MinInclusive>true</MinInclusive>\n%s\t\t</MinDoubleValue>\n%s\t</DoubleRange>\n"
        "%s</DoubleAttribute>\n",
        tabs, tabs, i, tabs, block % 1000, tabs, tabs, tabs, tabs, tabs, tabs, tabs);
}

}  // namespace

std::string make_config_document(std::size_t min_bytes) {
    std::string out;
    out.reserve(min_bytes + 8192);
    out +=
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QUORL>\n\t<Configuration>\n"
        "\t\t<Name>Bench</Name>\n\t\t<Version>1.0</Version>\n"
        "\t\t<Comments>Generated document &lt;benchmark&gt;</Comments>\n";
    static const char* const k_tail = "\t</Configuration>\n</QUORL>\n";
    for (unsigned block = 0; out.size() < min_bytes; ++block) {
        put(out, "\t\t<ConfigBlock>\n\t\t\t<Name>Trace Unit %u</Name>\n", block);
        for (unsigned i = 0; i < 2; ++i) put_attributes(out, "\t\t\t", block, i);
        put(out, "\t\t\t<ConfigBlock>\n\t\t\t\t<Name>Port %u</Name>\n", block % 4);
        put_attributes(out, "\t\t\t\t", block, 9);
        out += "\t\t\t</ConfigBlock>\n\t\t</ConfigBlock>\n";
    }
    out += k_tail;
    return out;
}

}  // namespace rq7bench
