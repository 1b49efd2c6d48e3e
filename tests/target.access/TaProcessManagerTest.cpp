// Choosing and building an access process from a `Target Access` block.
#include "target.access/TaProcessManager.h"

#include "common/src/AttributeXml.h"
#include "common/src/ConfigBlockXml.h"
#include "target.access/TaClient.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <regex>
#include <tuple>

namespace {

using namespace quorl;

// What a block holds, one attribute per entry: name, kind ("s" string, "u"
// unsigned, "e" enum) and value.
struct Attr {
    const char* name;
    char kind;
    const char* value;
};

boost::shared_ptr<ConfigBlock> block(const std::vector<Attr>& attrs) {
    auto b = boost::make_shared<ConfigBlockXml>("Target Access");
    for (const Attr& a : attrs) {
        switch (a.kind) {
            case 's':
                b->addAttribute(makeStringAttribute(a.name, a.value));
                break;
            case 'u':
                b->addAttribute(makeUInt32Attribute(a.name, std::stoul(a.value)));
                break;
            case 'e':
                b->addAttribute(makeEnumAttribute(a.name, a.value, "LTA,Logger,GTA,big,little"));
                break;
        }
    }
    return b;
}

const std::vector<Attr> GTA_SETTINGS = {
    {"ServerAddress", 's', "127.0.0.1"},
    {"Connection", 's', "jtag"},
    {"ServerPort", 'u', "1"},
    {"SOC", 's', "soc0"},
    {"Core", 's', "core0"},
    {"MemSpace", 's', "APB"},
    {"endianness", 'e', "little"},
};

std::vector<Attr> gtaWithout(const std::string& missing, Attr replacement = {nullptr, 0, nullptr}) {
    std::vector<Attr> out = {{"Target Access Method", 'e', "GTA"}};
    for (const Attr& a : GTA_SETTINGS)
        if (a.name != missing) out.push_back(a);
    if (replacement.name) out.push_back(replacement);
    return out;
}

TEST(TaProcessManager, AccessType) {
    struct Case {
        const char* name;
        std::vector<Attr> attrs;
        uint32_t type;
    };
    const Case cases[] = {
        {"method GTA", {{"Target Access Method", 'e', "GTA"}}, 1},
        {"method Logger", {{"Target Access Method", 'e', "Logger"}}, 128},
        {"first of several methods", {{"Target Access Method", 'e', "GTA,Logger"}}, 1},
        {"TaType wins", {{"TaType", 's', "LTA"}, {"Target Access Method", 'e', "GTA"}}, 128},
        {"TaType GTA", {{"TaType", 's', "GTA"}, {"Target Access Method", 'e', "Logger"}}, 1},
        {"case matters", {{"TaType", 's', "gta"}}, 128},
        {"TaType of another type is ignored", {{"TaType", 'u', "1"}, {"Target Access Method", 'e', "GTA"}}, 1},
        {"method of another type", {{"Target Access Method", 's', "GTA"}}, 256},
        {"nothing", {}, 256},
    };
    auto client = boost::make_shared<TargetConfig_TaProcessClient>();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(TaProcessManager::getInstance().getAccessType(client, block(c.attrs)), c.type);
    }
    EXPECT_EQ(TaProcessManager::getInstance().getAccessType(client, nullptr), 256u);
}

// Every refusal gives an empty pointer before any connection is tried.
TEST(TaProcessManager, CreateProcessRefusals) {
    struct Case {
        const char* name;
        std::vector<Attr> attrs;
    };
    std::vector<Case> cases = {
        {"no type", {}},
        {"Logger", {{"Target Access Method", 'e', "Logger"}}},
        {"LTA has no branch here", {{"Target Access Method", 'e', "LTA"}}},
        {"TaType LTA wins over method GTA", gtaWithout("", {"TaType", 's', "LTA"})},
        {"port of another type", gtaWithout("ServerPort", {"ServerPort", 's', "1"})},
        {"endianness of another type", gtaWithout("endianness", {"endianness", 's', "big"})},
    };
    for (const Attr& a : GTA_SETTINGS) cases.push_back({a.name, gtaWithout(a.name)});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_FALSE(TaProcessManager::getInstance().createProcess("id", block(c.attrs)));
    }
    EXPECT_FALSE(TaProcessManager::getInstance().createProcess("id", nullptr));
    EXPECT_EQ(&TaProcessManager::getInstance(), &TaProcessManager::getInstance());
}

TEST(TaClient, RandomIdsAndNotification) {
    const std::regex v4("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    TargetConfig_TaProcessClient a, b;
    EXPECT_TRUE(std::regex_match(a.getId(), v4)) << a.getId();
    EXPECT_NE(a.getId(), b.getId());
    EXPECT_TRUE(a.notify(1, 2, 3));
    EXPECT_EQ(std::make_tuple(a.getFirst(), a.getSecond(), a.getThird()), std::make_tuple(1u, 2u, 3u));
}

}  // namespace
