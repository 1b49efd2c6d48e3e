// Every lint rule: a variant of the clean configuration that triggers it at a
// known start tag, and a near variant that does not.
#include "rq7/Lint.h"
#include "tests/rq7/lint/LintTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

struct Edit {
    std::string anchor;  // the edit applies after the first occurrence of this text
    std::string from;
    std::string to;
};

std::string apply(const Edit& e, std::string text = rq7test::cleanConfiguration()) {
    if (e.anchor.empty()) return text;
    const std::size_t start = text.find(e.anchor);
    EXPECT_NE(start, std::string::npos) << e.anchor;
    const std::size_t at = text.find(e.from, start);
    EXPECT_NE(at, std::string::npos) << e.from;
    if (start == std::string::npos || at == std::string::npos) return text;
    return text.replace(at, e.from.size(), e.to);
}

// Line and column of the first `marker` after `anchor` in text.
rq7::SourcePlace placeOf(const std::string& text, const std::string& anchor, const std::string& marker) {
    const std::size_t at = text.find(marker, text.find(anchor));
    const std::size_t lineStart = text.rfind('\n', at);
    rq7::SourcePlace p;
    p.line = static_cast<int>(std::count(text.begin(), text.begin() + at, '\n')) + 1;
    p.column = static_cast<int>(at - (lineStart == std::string::npos ? 0 : lineStart + 1)) + 1;
    return p;
}

struct RuleCase {
    const char* title;
    const char* rule;
    Edit bad;
    std::string markerAnchor;  // the finding is at the first `marker` after this
    std::string marker;
    std::string mentions;  // the message names this (the other element, its line)
    Edit near;             // a similar edit that must not trigger the rule
    Edit setup = {};       // made first, for both variants
};

const std::string kCore1 = "<Name>Core 1</Name>";
const std::string kBlockOf1 = "<ConfigBlock><Name>Core 1</Name>";

const RuleCase kCases[] = {
    {"duplicate attribute",
     "duplicate-name",
     {kCore1, "\t<BoolAttribute><Name>Cycle",
      "\t<BoolAttribute><Name>Timestamp</Name><DefaultValue>false</DefaultValue></"
      "BoolAttribute>\n\t<BoolAttribute><Name>Cycle"},
     kCore1 + "\n\t<BoolAttribute><Name>Enable",
     "<BoolAttribute><Name>Timestamp</Name><DefaultValue>false",
     "line 39",
     {kCore1, "\t<BoolAttribute><Name>Cycle",
      "\t<BoolAttribute><Name>Timestamps</Name><DefaultValue>false</DefaultValue></"
      "BoolAttribute>\n\t<BoolAttribute><Name>Cycle"}},
    {"duplicate block",
     "duplicate-name",
     {"<ConfigBlock><Name>ARM Funnel Port 1", "<ConfigBlock><Name>ARM Funnel Port 1",
      "<ConfigBlock><Name>ARM Funnel</Name></ConfigBlock>\n<ConfigBlock><Name>ARM Funnel Port 1"},
     "Port 0</Name>",
     "<ConfigBlock><Name>ARM Funnel</Name></ConfigBlock>",
     "line 49",
     {"<ConfigBlock><Name>ARM Funnel Port 1", "<ConfigBlock><Name>ARM Funnel Port 1",
      "<ConfigBlock><Name>Debug ARM</Name></ConfigBlock>\n<ConfigBlock><Name>ARM Funnel Port 1"}},
    {"name makes no module",
     "unknown-module",
     {"<Name>CORE</Name>", "\n<ConfigBlock><Name>Core 0",
      "\n<ConfigBlock><Name>Kore 7</Name></ConfigBlock>\n<ConfigBlock><Name>Core 0"},
     "",
     "<ConfigBlock><Name>Kore 7",
     "Kore 7",
     {"<Name>Trace Generators</Name>", "\n<ConfigBlock><Name>CORE",
      "\n<ConfigBlock><Name>Kore 7</Name></ConfigBlock>\n<ConfigBlock><Name>CORE"}},
    {"attribute absent",
     "missing-attribute",
     {kCore1, "<UInt32Attribute><Name>ATB ID</Name>", "<UInt32Attribute><Name>ATB IDs</Name>"},
     "",
     kBlockOf1,
     "ATB ID",
     {kCore1, "<UInt32Attribute><Name>ATB ID</Name>",
      "<StringAttribute><Name>Note</Name><DefaultValue/></StringAttribute><UInt32Attribute><Name>ATB ID</Name>"}},
    {"attribute of another kind",
     "attribute-kind",
     {kCore1, "<UInt32Attribute><Name>ATB ID</Name><DefaultValue>3</DefaultValue></UInt32Attribute>",
      "<StringAttribute><Name>ATB ID</Name><DefaultValue>3</DefaultValue></StringAttribute>"},
     kCore1,
     "<StringAttribute><Name>ATB ID",
     "UInt32Attribute",
     {kCore1, "<UInt32Attribute><Name>ATB ID</Name><DefaultValue>3</DefaultValue></UInt32Attribute>",
      "<UInt32Attribute><Name>ATB ID</Name><DefaultValue>4</DefaultValue></UInt32Attribute>"}},
    {"dependency names nothing",
     "dependency-missing",
     {kCore1, "ARM Funnel Port 1</DefaultValue>", "Nowhere</DefaultValue>"},
     kCore1,
     "<StringAttribute><Name>Dependency",
     "Nowhere",
     {kCore1, "ARM Funnel Port 1</DefaultValue>", "ARM Funnel Port 0</DefaultValue>"}},
    {"dependency names a block without module",
     "dependency-missing",
     {kCore1, "ARM Funnel Port 1</DefaultValue>", "Timestamp Generator</DefaultValue>"},
     kCore1,
     "<StringAttribute><Name>Dependency",
     "makes no module",
     {kCore1, "ARM Funnel Port 1</DefaultValue>", "ETF 0</DefaultValue>"}},
    {"dependency cycle",
     "dependency-cycle",
     {"<Name>ETF 0</Name>", "<DefaultValue></DefaultValue>", "<DefaultValue>ARM Funnel</DefaultValue>"},
     "<Name>ETF 0</Name>",
     "<StringAttribute><Name>Dependency",
     "ARM Funnel",
     {"<Name>ETF 0</Name>", "<DefaultValue></DefaultValue>", "<DefaultValue>DDR Trace Buffer</DefaultValue>"}},
    {"pass-through ETF ends the chain",
     "no-sink",
     {"<Name>ETF 0</Name>", "<DefaultValue>OneBuffer</DefaultValue>", "<DefaultValue>PassThrough</DefaultValue>"},
     "",
     "<ConfigBlock><Name>Core 0",
     "Core 0 -> ARM Funnel Port 0 -> ARM Funnel -> ETF 0",
     {"<Name>ETF 0</Name>", "<DefaultValue></DefaultValue>", "<DefaultValue>DDR Trace Buffer</DefaultValue>"}},
    {"sink dropped by TraceLocation",
     "sink-filtered",
     {"<Name>TraceLocation</Name>", "<DefaultValue>DDR Buffer</DefaultValue>", "<DefaultValue>Internal</DefaultValue>"},
     "<Name>ETF 0</Name>",
     "<StringAttribute><Name>Dependency",
     "Internal",
     {"<Name>TraceLocation</Name>", "<DefaultValue>DDR Buffer</DefaultValue>",
      "<DefaultValue>DDR Buffer</DefaultValue>"},
     {"<Name>ETF 0</Name>", "<DefaultValue></DefaultValue>", "<DefaultValue>DDR Trace Buffer</DefaultValue>"}},
    {"trace ID reserved",
     "trace-id-range",
     {kCore1, "<DefaultValue>3</DefaultValue></UInt32Attribute>", "<DefaultValue>112</DefaultValue></UInt32Attribute>"},
     kCore1,
     "<UInt32Attribute><Name>ATB ID",
     "0x70",
     {kCore1, "<DefaultValue>3</DefaultValue></UInt32Attribute>",
      "<DefaultValue>111</DefaultValue></UInt32Attribute>"}},
    {"trace ID used twice",
     "trace-id-clash",
     {kCore1, "<DefaultValue>3</DefaultValue></UInt32Attribute>", "<DefaultValue>2</DefaultValue></UInt32Attribute>"},
     kCore1,
     "<UInt32Attribute><Name>ATB ID",
     "'Core 0' (line 25)",
     {kCore1, "<DefaultValue>true</DefaultValue></BoolAttribute>",
      "<DefaultValue>false</DefaultValue></BoolAttribute>"}},
    {"port priority over 7",
     "funnel-port",
     {"<Name>ARM Funnel Port 1</Name>", "<DefaultValue>2</DefaultValue>", "<DefaultValue>8</DefaultValue>"},
     "<Name>ARM Funnel Port 1</Name>",
     "<UInt32Attribute><Name>Port Priority",
     "priority 8",
     {"<Name>ARM Funnel Port 1</Name>", "<DefaultValue>2</DefaultValue>", "<DefaultValue>7</DefaultValue>"}},
    {"port number over 7",
     "funnel-port",
     {"<Name>ARM Funnel Port 1</Name>", "ARM Funnel Port 1</Name>", "ARM Funnel Port 8</Name>"},
     "",
     "<ConfigBlock><Name>ARM Funnel Port 8",
     "port number 8",
     {"<Name>ARM Funnel Port 1</Name>", "ARM Funnel Port 1</Name>", "ARM Funnel Port 7</Name>"}},
    {"two blocks for one port",
     "funnel-port",
     {"<Name>ARM Funnel Port 1</Name>", "ARM Funnel Port 1</Name>", "ARM Funnel Port 00</Name>"},
     "",
     "<ConfigBlock><Name>ARM Funnel Port 00",
     "line 55",
     {"<Name>ARM Funnel Port 1</Name>", "ARM Funnel Port 1</Name>", "ARM Funnel Port 01</Name>"}},
    {"timestamps without a running counter",
     "timestamp",
     {"<Name>Enable Timestamp Generator</Name>", "true", "false"},
     "<Name>Core 0</Name>",
     "<BoolAttribute><Name>Timestamp</Name>",
     "stays disabled",
     {"<Name>Halt on Debug</Name>", "true", "false"}},
    {"DDR buffer size",
     "ddr-buffer",
     {"<Name>Trace Buffer Size</Name>", "0x1000000", "0x1000800"},
     "<Name>DDR Trace Buffer</Name>",
     "<Addr64Attribute><Name>Trace Buffer Size",
     "multiple of 4 KiB",
     {"<Name>Trace Buffer Size</Name>", "0x1000000", "0x2000"}},
    {"DDR buffer alignment",
     "ddr-buffer",
     {"<Name>Trace Buffer Base Address</Name>", "0xa0000000", "0xa0000800"},
     "<Name>DDR Trace Buffer</Name>",
     "<Addr64Attribute><Name>Trace Buffer Base",
     "aligned",
     {"<Name>Trace Buffer Base Address</Name>", "0xa0000000", "0xa0001000"}},
    {"Logger on another port",
     "logger-endpoint",
     {"<Name>ServerPort</Name>", "5000", "5001"},
     "",
     "<UInt32Attribute><Name>ServerPort",
     "5001",
     {"<Name>ServerAddress</Name>", "127.0.0.1", "127.0.0.2"}},
    {"Logger on a remote address",
     "logger-endpoint",
     {"<Name>ServerAddress</Name>", "127.0.0.1", "10.0.0.1"},
     "",
     "<StringAttribute><Name>ServerAddress",
     "10.0.0.1",
     {"<Name>Target Access Method</Name>", "<DefaultValue>Logger", "<DefaultValue>GTA"}},
    {"two modules at one base",
     "address-overlap",
     {"<Name>ETF 0</Name>", "0x80050000", "0x80040000"},
     "",
     "<ConfigBlock><Name>ETF 0",
     "'ARM Funnel' (line 49)",
     {"<Name>ETF 0</Name>", "0x80050000", "0x80041000"}},
    {"register inside another's frame",
     "address-overlap",
     {"<Name>DDR Trace Buffer</Name>", "0x80060000", "0x80050800"},
     "",
     "<ConfigBlock><Name>DDR Trace Buffer",
     "frame",
     {"<Name>DDR Trace Buffer</Name>", "0x80060000", "0x80051000"}},
    {"value the loader refuses",
     "load-error",
     {"<Name>ServerPort</Name>", "<DefaultValue>5000", "<DefaultValue>x5000"},
     "",
     "\t<UInt32Attribute><Name>ServerPort",
     "35",
     {"<Name>ServerPort</Name>", "<DefaultValue>5000", "<DefaultValue>+5000"}},
};

std::vector<rq7::Finding> findingsOf(const std::vector<rq7::Finding>& all, const std::string& rule) {
    std::vector<rq7::Finding> out;
    for (const rq7::Finding& f : all)
        if (f.rule == rule) out.push_back(f);
    return out;
}

std::string describe(const std::vector<rq7::Finding>& all) {
    std::string text;
    for (const rq7::Finding& f : all)
        text += std::to_string(f.place.line) + ":" + std::to_string(f.place.column) + " " + f.message + " [" + f.rule +
                "]\n";
    return text;
}

class LintRule : public ::testing::TestWithParam<RuleCase> {};

TEST_P(LintRule, TriggersAtItsElementAndNotOnTheNearVariant) {
    const RuleCase& c = GetParam();
    const std::string bad = apply(c.bad, apply(c.setup));
    const rq7::LintReport report = rq7::lintConfiguration(rq7test::writeFile("bad.xml", bad));
    const std::vector<rq7::Finding> hits = findingsOf(report.findings, c.rule);
    ASSERT_FALSE(hits.empty()) << describe(report.findings);
    const rq7::SourcePlace want = placeOf(bad, c.markerAnchor, c.marker);
    const bool loadError = std::string(c.rule) == "load-error";
    const auto at = std::find_if(hits.begin(), hits.end(), [&](const rq7::Finding& f) {
        return f.place.line == want.line && (loadError || f.place.column == want.column);
    });
    ASSERT_NE(at, hits.end()) << "wanted " << want.line << ":" << want.column << "\n" << describe(report.findings);
    EXPECT_NE(at->message.find(c.mentions), std::string::npos) << at->message;
    EXPECT_EQ(at->severity, rq7::findLintRule(c.rule)->severity);

    const rq7::LintReport near = rq7::lintConfiguration(rq7test::writeFile("near.xml", apply(c.near, apply(c.setup))));
    EXPECT_TRUE(findingsOf(near.findings, c.rule).empty()) << describe(near.findings);
}

INSTANTIATE_TEST_SUITE_P(Rules, LintRule, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<RuleCase>& info) {
                             std::string name = info.param.title;
                             for (char& ch : name)
                                 if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             return name;
                         });

TEST(Lint, CleanConfigurationHasNoFindings) {
    const rq7::LintReport report =
        rq7::lintConfiguration(rq7test::writeFile("clean.xml", rq7test::cleanConfiguration()));
    EXPECT_TRUE(report.loaded);
    EXPECT_TRUE(report.findings.empty()) << describe(report.findings);
}

TEST(Lint, EveryRuleHasACase) {
    for (const rq7::LintRule& rule : rq7::lintRules()) {
        const bool covered = std::any_of(std::begin(kCases), std::end(kCases),
                                         [&](const RuleCase& c) { return c.rule == std::string(rule.id); });
        EXPECT_TRUE(covered) << rule.id;
    }
}

TEST(Lint, ColumnsCountBytesAndTabsAsOne) {
    // Two attributes on one line after a tab: the second starts further right.
    std::string text = rq7test::cleanConfiguration();
    const std::string from =
        "\t<UInt32Attribute><Name>ServerPort</Name><DefaultValue>5000</DefaultValue></UInt32Attribute>";
    const std::string first = "\t<BoolAttribute><Name>x</Name><DefaultValue>true</DefaultValue></BoolAttribute>";
    text.replace(text.find(from), from.size(),
                 first + "<UInt32Attribute><Name>ServerPort</Name><DefaultValue>5001</DefaultValue></UInt32Attribute>");
    const rq7::LintReport report = rq7::lintConfiguration(rq7test::writeFile("columns.xml", text));
    const auto hits = findingsOf(report.findings, "logger-endpoint");
    ASSERT_EQ(hits.size(), 1u) << describe(report.findings);
    EXPECT_EQ(hits[0].place.line, 9);
    EXPECT_EQ(hits[0].place.column, static_cast<int>(first.size()) + 1);
}

}  // namespace
