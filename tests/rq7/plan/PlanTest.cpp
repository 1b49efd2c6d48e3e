// rq7 plan against the real thing: the write_mem/read_mem lines of Logger runs
// of rq7.config, and the command log of gta-sim for a GTA run with an image.
#include "tests/rq7/plan/PlanSupport.h"
#include "tests/support/SimProcess.h"
#include "tools/socgen/SocGen.h"

#include <nlohmann/json.hpp>

#include <cinttypes>
#include <cstdio>
#include <functional>
#include <set>
#include <sstream>

using namespace rq7plantest;
using rq7test::readFile;
using rq7test::ScratchDir;
using rq7test::writeFile;

namespace {

// One access as both sides can say it: reads carry no value (the Logger line
// prints the request's), widths in bytes.
struct Line {
    std::string op;
    uint64_t address = 0;
    unsigned bytes = 0;
    uint64_t value = 0;
    std::string space;  // compared only against gta-sim
    bool operator==(const Line& o) const {
        return op == o.op && address == o.address && bytes == o.bytes && value == o.value && space == o.space;
    }
};

std::string show(const Line& l) {
    char text[160];
    std::snprintf(text, sizeof text, "%s %s 0x%" PRIx64 " w%u 0x%" PRIx64, l.op.c_str(), l.space.c_str(), l.address,
                  l.bytes, l.value);
    return text;
}

void expectSame(const std::vector<Line>& plan, const std::vector<Line>& run) {
    size_t i = 0;
    while (i < plan.size() && i < run.size() && plan[i] == run[i]) ++i;
    if (i == plan.size() && i == run.size()) return;
    ADD_FAILURE() << "first difference at access " << i + 1
                  << "\n  plan: " << (i < plan.size() ? show(plan[i]) : "(end)")
                  << "\n  run:  " << (i < run.size() ? show(run[i]) : "(end)") << "\n  (" << plan.size() << " vs "
                  << run.size() << " accesses)";
}

std::vector<Line> planLines(const std::string& json, bool withSpace) {
    std::vector<Line> lines;
    for (const auto& access : nlohmann::json::parse(json)) {
        Line l;
        l.op = access.at("op");
        l.address = std::stoull(access.at("address").get<std::string>(), nullptr, 16);
        l.bytes = access.at("width").get<unsigned>() / 8;
        if (l.op == "write") l.value = std::stoull(access.at("value").get<std::string>(), nullptr, 16);
        if (withSpace) l.space = access.at("space");
        lines.push_back(l);
    }
    return lines;
}

std::vector<Line> loggerLines(const std::string& out) {
    std::vector<Line> lines;
    std::istringstream in(out);
    std::string text;
    while (std::getline(in, text)) {
        Line l;
        unsigned long long address, value;
        unsigned length;
        if (std::sscanf(text.c_str(), "write_mem 0x%llx data=0x%llx length=0x%x", &address, &value, &length) == 3)
            l.op = "write", l.value = value;
        else if (std::sscanf(text.c_str(), "read_mem 0x%llx data=0x%llx length=0x%x", &address, &value, &length) == 3)
            l.op = "read";
        else
            continue;
        l.address = address;
        l.bytes = length;
        lines.push_back(l);
    }
    return lines;
}

// "mem write CTX 0x<a> <w> <space> <hex>" / "mem read CTX 0x<a> <w> <space> <n>":
// the context id may hold blanks, so the fields are taken from the right.
std::vector<Line> simLines(const std::string& log) {
    std::vector<Line> lines;
    std::istringstream in(log);
    std::string text;
    while (std::getline(in, text)) {
        const bool write = text.rfind("> mem write ", 0) == 0;
        if (!write && text.rfind("> mem read ", 0) != 0) continue;
        std::vector<std::string> words;
        std::istringstream w(text);
        for (std::string word; w >> word;) words.push_back(word);
        const size_t n = words.size();
        Line l;
        l.op = write ? "write" : "read";
        l.address = std::stoull(words[n - 4], nullptr, 16);
        l.bytes = unsigned(std::stoul(words[n - 3]));
        l.space = words[n - 2];
        if (write)  // little-endian bytes in hex
            for (size_t i = words[n - 1].size(); i >= 2; i -= 2)
                l.value = (l.value << 8) | std::stoull(words[n - 1].substr(i - 2, 2), nullptr, 16);
        lines.push_back(l);
    }
    return lines;
}

struct LoggerCase {
    const char* name;
    std::function<std::string()> text;
    bool disable;
};

void PrintTo(const LoggerCase& c, std::ostream* os) {
    *os << c.name;
}

class PlanMatchesLoggerRun : public testing::TestWithParam<LoggerCase> {};

TEST_P(PlanMatchesLoggerRun, WritesAndReadsLineForLine) {
    const LoggerCase& c = GetParam();
    ScratchDir dir;
    const std::string text = c.text();
    writeFile(dir.file("plan.xml"), text);
    writeFile(dir.file("run.xml"), text);
    std::vector<std::string> flags;
    if (c.disable) flags.push_back("-d");

    std::vector<std::string> planArgs = {"plan", "--format", "json"};
    planArgs.insert(planArgs.end(), flags.begin(), flags.end());
    planArgs.push_back(dir.file("plan.xml"));
    const auto plan = rq7(planArgs, dir.path());
    flags.insert(flags.end(), {"-c", dir.file("run.xml")});
    const auto run = rq7test::runTool(flags, dir.path());

    ASSERT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(plan.status, run.status) << plan.err;
    const auto lines = loggerLines(run.out);
    EXPECT_GT(lines.size(), 10u);
    expectSame(planLines(plan.out, false), lines);
    EXPECT_EQ(readFile(dir.file("plan.xml")), text) << "the plan wrote its file";
}

INSTANTIATE_TEST_SUITE_P(Files, PlanMatchesLoggerRun,
                         testing::Values(LoggerCase{"LoggerExample", [] { return readFile(LOGGER_EXAMPLE); }, false},
                                         LoggerCase{"LoggerExampleDisable", [] { return readFile(LOGGER_EXAMPLE); },
                                                    true},
                                         LoggerCase{"GtaExampleAsLogger", gtaExampleAsLogger, false},
                                         LoggerCase{"Soc1", [] { return socgen::generatedSoc(1); }, false},
                                         LoggerCase{"Soc8", [] { return socgen::generatedSoc(8); }, false},
                                         LoggerCase{"Soc64", [] { return socgen::generatedSoc(64); }, false},
                                         LoggerCase{"Soc64Disable", [] { return socgen::generatedSoc(64); }, true}),
                         [](const testing::TestParamInfo<LoggerCase>& info) { return info.param.name; });

class PlanWithImageMatchesSim : public testing::TestWithParam<bool> {};

TEST_P(PlanWithImageMatchesSim, CommandsInOrder) {
    const bool disable = GetParam();
    ScratchDir dir;
    rq7test::SimProcess sim(GTA_SIM_PROGRAM, {"--image", IMAGE, "--log", dir.file("sim.log")});
    ASSERT_NE(sim.port(), 0u) << sim.firstLine;
    const std::string text = readFile(GTA_EXAMPLE);
    writeFile(dir.file("run.xml"), replaced(text, "<DefaultValue>6170</DefaultValue>",
                                            "<DefaultValue>" + std::to_string(sim.port()) + "</DefaultValue>"));
    writeFile(dir.file("plan.xml"), text);

    std::vector<std::string> runArgs = {"-c", dir.file("run.xml")};
    std::vector<std::string> planArgs = {"plan", dir.file("plan.xml"), "--image", IMAGE, "--format", "json"};
    if (disable) runArgs.insert(runArgs.begin(), "-d"), planArgs.push_back("-d");
    const auto run = rq7test::runTool(runArgs, dir.path());
    sim.stop();
    const auto plan = rq7(planArgs, dir.path());

    ASSERT_EQ(run.status, 0) << run.out;
    EXPECT_EQ(plan.status, 0) << plan.err;
    expectSame(planLines(plan.out, true), simLines(readFile(dir.file("sim.log"))));
}

INSTANTIATE_TEST_SUITE_P(Runs, PlanWithImageMatchesSim, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& info) { return info.param ? "Disable" : "Configure"; });

// Every access is named by a block of the file and a register of its module.
TEST(PlanNames, EveryAccessNamesItsBlockAndRegister) {
    ScratchDir dir;
    const std::string text = readFile(LOGGER_EXAMPLE);
    writeFile(dir.file("a.xml"), text);
    const auto plan = rq7({"plan", "--format", "json", dir.file("a.xml")}, dir.path());
    ASSERT_EQ(plan.status, 0) << plan.err;
    std::set<std::string> modules;
    for (const auto& access : nlohmann::json::parse(plan.out)) {
        const std::string module = access.at("module");
        EXPECT_NE(access.at("register").get<std::string>(), "") << access.dump();
        EXPECT_NE(text.find("<Name>" + module + "</Name>"), std::string::npos) << access.dump();
        modules.insert(module);
    }
    // Cores, STM, NoC probes and observers, funnels, ETF, DDR sink.
    EXPECT_GE(modules.size(), 12u);
}

}  // namespace
