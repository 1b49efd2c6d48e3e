// The configuration tree: lookups by plain and qualified name, order,
// removal, copies and building in code.
#include "common/src/AttributeXml.h"
#include "common/src/ConfigBlockXml.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/Names.h"

#include "tests/support/ConfigTestSupport.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include <regex>
#include <string>
#include <vector>

namespace {

using namespace quorl;
typedef std::vector<std::string> Strings;

// Board
//   Target Access: ServerAddress, ServerPort, Target Access Method
//   Trace Generators
//     CORE: Core 0 (Enable Trace), Core 1
//     NOC: MAIN: Main NoC Probe 0
//   Dup (which = 1), Dup (which = 2)    second one kept out of the lookup
ConfigurationXmlPtr makeBoard() {
    auto cfg = boost::make_shared<ConfigurationXml>("Board", "1.0", "comment");
    auto ta = cfg->ensureBlock(BLOCK_TARGET_ACCESS);
    ta->addAttribute(makeStringAttribute(ATTR_SERVER_ADDRESS, "127.0.0.1"));
    ta->addAttribute(makeUInt32Attribute(ATTR_SERVER_PORT, 5000));
    ta->addAttribute(makeEnumAttribute(ATTR_TARGET_ACCESS_METHOD, "Logger", "LTA,Logger,GTA"));
    auto core = cfg->ensureBlock(BLOCK_TRACE_GENERATORS_CORE);
    core->ensureBlock("Core 0")->addAttribute(makeBoolAttribute(ATTR_ENABLE_TRACE, true));
    core->ensureBlock("Core 1");
    cfg->ensureBlock(BLOCK_TRACE_GENERATORS_NOC_MAIN)->ensureBlock("Main NoC Probe 0");
    for (uint32_t which : {1u, 2u}) {
        auto dup = boost::make_shared<ConfigBlockXml>("Dup");
        dup->addAttribute(makeUInt32Attribute("which", which));
        cfg->addBlock(dup);
    }
    return cfg;
}

uint32_t uintAt(const Configuration& cfg, const std::string& path) {
    auto a = boost::dynamic_pointer_cast<UInt32Attribute>(cfg.getConfigAttribute(path));
    return a ? a->getValue() : 0xdeadbeef;
}

Strings namesOf(const ConfigBlockVectorPtr& blocks) {
    Strings out;
    for (const ConfigBlockPtr& b : blocks->snapshot()) out.push_back(b->getName());
    return out;
}

// ---- Lookups -------------------------------------------------------------------

TEST(QualifiedLookup, Blocks) {
    auto cfg = makeBoard();
    struct Row {
        const char* path;
        const char* found;  // qualified name of the result, "" for none
    };
    const Row rows[] = {
        {"Target Access", "Board.Target Access"},
        {"Trace Generators:CORE", "Board.Trace Generators.CORE"},
        {"Trace Generators:CORE.Core 1", "Board.Trace Generators.CORE.Core 1"},
        {"Trace Generators:NOC:MAIN:Main NoC Probe 0", "Board.Trace Generators.NOC.MAIN.Main NoC Probe 0"},
        {"Trace Generators:CORE:", ""},  // closing separator: a child with an empty name
        {"Trace Generators::CORE", ""},
        {"", ""},
        {"Core 0", ""},                    // not top-level
        {"target access", ""},             // case-sensitive
        {"Target Access ", ""},            // blanks are part of the name
        {"Board.Target Access", ""},       // the document's name is not a step
        {"Target Access.ServerPort", ""},  // attributes are not blocks
    };
    for (const Row& row : rows) {
        ConfigBlockPtr b = cfg->getConfigBlock(row.path);
        EXPECT_EQ(b ? b->getQualifiedName() : "", row.found) << '"' << row.path << '"';
    }
}

TEST(QualifiedLookup, Attributes) {
    auto cfg = makeBoard();
    struct Row {
        const char* path;
        const char* found;
        bool logged;
    };
    const Row rows[] = {
        {"Target Access.ServerPort", "Board.Target Access.ServerPort", false},
        {"Target Access:ServerPort", "Board.Target Access.ServerPort", false},
        {"Trace Generators:CORE:Core 0:Enable Trace", "Board.Trace Generators.CORE.Core 0.Enable Trace", false},
        {"Trace Generators.CORE:Core 0.Enable Trace", "Board.Trace Generators.CORE.Core 0.Enable Trace", false},
        {"Target Access..ServerPort", "", false},
        {"Nowhere.ServerPort", "", false},
        {"Trace Generators.CORE.Core 1.Enable Trace", "", false},
        {"Target Access", "", true},
        {"", "", true},
    };
    for (const Row& row : rows) {
        ConfigAttributePtr a;
        const std::string out = rq7test::logged([&] { a = cfg->getConfigAttribute(row.path); });
        EXPECT_EQ(a ? a->getQualifiedName() : "", row.found) << '"' << row.path << '"';
        if (row.logged) {
            const std::regex line(
                R"(- \d\d:\d\d:\d\d\.\d{3} \[quorl\.configuration\.xml\] ERROR: Configuration attribute requested )"
                R"(without qualified path, name must contain both configuration block name and attribute name, )"
                R"(separated by '\.' or ':'\. Name used:)" +
                std::string(row.path) + "\n");
            EXPECT_TRUE(std::regex_match(out, line)) << out;
        } else {
            EXPECT_EQ(out, "") << row.path;
        }
    }
}

TEST(QualifiedLookup, FirstMatchWins) {
    auto cfg = makeBoard();
    // Top level: the map keeps the first block of a name; no message.
    EXPECT_EQ(uintAt(*cfg, "Dup.which"), 1u);
    EXPECT_EQ(namesOf(cfg->getConfigBlocks()), (Strings{"Dup", "Target Access", "Trace Generators"}));
    EXPECT_EQ(cfg->getConfigBlockList()->size(), 4u);
}

TEST(BlockLookup, FirstMatchWinsAndNamesAreOneStep) {
    // Copying another implementation keeps same-named children in order.
    auto attrs = boost::make_shared<ConfigAttributeVector>();
    attrs->push_back(makeUInt32Attribute("x", 1));
    attrs->push_back(makeUInt32Attribute("x", 2));
    attrs->push_back(makeUInt32Attribute("a.b", 3));
    auto blocks = boost::make_shared<ConfigBlockVector>();
    blocks->push_back(boost::make_shared<ConfigBlockXml>("child"));
    blocks->push_back(boost::make_shared<ConfigBlockXml>("child"));
    ConfigBlockXml copy(rq7test::StubBlock("B", "Elsewhere.B", attrs, blocks));

    EXPECT_EQ(copy.getQualifiedName(), "Elsewhere.B");
    EXPECT_EQ(copy.getConfigAttributes()->size(), 3u);
    EXPECT_EQ(rq7test::typedAttribute<UInt32Attribute>(copy, "x")->getValue(), 1u);
    // The copy holds clones, not the source's objects.
    EXPECT_NE(copy.getConfigAttribute("x"), attrs->at(0));
    EXPECT_NE(copy.getConfigBlock("child"), blocks->at(0));
    EXPECT_EQ(copy.getConfigBlock("child"), copy.getConfigBlocks()->at(0));
    // A name with a separator is matched whole.
    EXPECT_TRUE(copy.getConfigAttribute("a.b"));
    EXPECT_FALSE(copy.getConfigAttribute("a"));

    // Null lists stay empty.
    ConfigBlockXml empty(rq7test::StubBlock("N", "N", nullptr, nullptr));
    EXPECT_TRUE(empty.getConfigAttributes()->empty());
    EXPECT_TRUE(empty.getConfigBlocks()->empty());
}

TEST(BlockLookup, EmptyNameIsFoundOnlyIfItExists) {
    auto cfg = makeBoard();
    EXPECT_FALSE(cfg->getConfigBlock(""));
    cfg->ensureBlock(BLOCK_TRACE_GENERATORS_CORE)->addBlock(boost::make_shared<ConfigBlockXml>(""));
    EXPECT_TRUE(cfg->getConfigBlock(BLOCK_TRACE_GENERATORS_CORE_SEP));
    cfg->addBlock(boost::make_shared<ConfigBlockXml>(""));
    EXPECT_TRUE(cfg->getConfigBlock(""));
}

// ---- Order ---------------------------------------------------------------------

TEST(TreeOrder, DocumentLevelByNameBlockLevelByInsertion) {
    auto cfg = boost::make_shared<ConfigurationXml>("D", "1");
    auto parent = boost::make_shared<ConfigBlockXml>("P");
    for (const char* n : {"b", "A", "a", "B", "_"}) {
        cfg->addBlock(boost::make_shared<ConfigBlockXml>(n));
        parent->ensureBlock(n);
        parent->addAttribute(makeStringAttribute(n, n));
    }
    EXPECT_EQ(namesOf(cfg->getConfigBlocks()), (Strings{"A", "B", "_", "a", "b"}));
    EXPECT_EQ(namesOf(cfg->getConfigBlockList()), (Strings{"b", "A", "a", "B", "_"}));
    EXPECT_EQ(namesOf(parent->getConfigBlocks()), (Strings{"b", "A", "a", "B", "_"}));
    Strings attributeNames;
    for (const ConfigAttributePtr& a : parent->getConfigAttributes()->snapshot())
        attributeNames.push_back(a->getName());
    EXPECT_EQ(attributeNames, (Strings{"b", "A", "a", "B", "_"}));
}

// ---- Removal -------------------------------------------------------------------

TEST(TreeRemoval, RemovedBlockLeavesLookupAndClone) {
    auto cfg = makeBoard();
    EXPECT_EQ(rq7test::logged([&] {
                  EXPECT_FALSE(cfg->removeConfigBlock("Unknown"));
                  EXPECT_TRUE(cfg->removeConfigBlock(BLOCK_TARGET_ACCESS));
                  EXPECT_FALSE(cfg->removeConfigBlock(BLOCK_TARGET_ACCESS));
              }),
              "");
    EXPECT_FALSE(cfg->getConfigBlock(BLOCK_TARGET_ACCESS));
    EXPECT_FALSE(cfg->getConfigAttribute("Target Access.ServerPort"));
    EXPECT_EQ(namesOf(cfg->getConfigBlocks()), (Strings{"Dup", "Trace Generators"}));
    EXPECT_FALSE(cfg->clone()->getConfigBlock(BLOCK_TARGET_ACCESS));
    // The file-order list keeps it.
    EXPECT_EQ(cfg->getConfigBlockList()->size(), 4u);
}

TEST(TreeRemoval, BlockChildrenGetTheirBareNames) {
    auto cfg = makeBoard();
    auto core = cfg->ensureBlock(BLOCK_TRACE_GENERATORS_CORE);
    ConfigBlockPtr core0 = core->getConfigBlock("Core 0");
    ASSERT_TRUE(core0);
    EXPECT_TRUE(core->removeBlock("Core 0"));
    EXPECT_FALSE(core->removeBlock("Core 0"));
    EXPECT_FALSE(core->getConfigBlock("Core 0"));
    EXPECT_EQ(core0->getQualifiedName(), "Core 0");
    EXPECT_EQ(core0->getConfigAttribute(ATTR_ENABLE_TRACE)->getQualifiedName(), "Core 0.Enable Trace");

    auto ta = cfg->ensureBlock(BLOCK_TARGET_ACCESS);
    ConfigAttributePtr port = ta->getConfigAttribute(ATTR_SERVER_PORT);
    EXPECT_TRUE(ta->removeAttribute(ATTR_SERVER_PORT));
    EXPECT_EQ(port->getQualifiedName(), "ServerPort");
    // The name is free again.
    EXPECT_TRUE(ta->addAttribute(port));
    EXPECT_EQ(port->getQualifiedName(), "Board.Target Access.ServerPort");
}

// ---- Copies ----------------------------------------------------------------------

TEST(TreeClone, CloneIsIndependent) {
    auto cfg = makeBoard();
    boost::shared_ptr<Configuration> copy = cfg->clone();
    EXPECT_NE(copy->getId(), cfg->getId());
    EXPECT_EQ(copy->getName(), "Board");
    EXPECT_EQ(copy->getVersion(), "1.0");
    EXPECT_EQ(copy->getComments(), "comment");
    EXPECT_TRUE(boost::dynamic_pointer_cast<ConfigurationXml>(copy));
    EXPECT_EQ(namesOf(copy->getConfigBlocks()), namesOf(cfg->getConfigBlocks()));

    // Only the blocks of the lookup are cloned: the second "Dup" is gone.
    auto copyXml = boost::dynamic_pointer_cast<ConfigurationXml>(copy);
    EXPECT_EQ(copyXml->getConfigBlockList()->size(), 3u);

    rq7test::typedAttribute<UInt32Attribute>(*copy, "Target Access.ServerPort")->setValue(6000);
    copy->setName("Other");
    copy->setComments("");
    EXPECT_TRUE(copy->removeConfigBlock("Dup"));
    auto coreCopy = boost::dynamic_pointer_cast<ConfigBlockXml>(copy->getConfigBlock(BLOCK_TRACE_GENERATORS_CORE));
    ASSERT_TRUE(coreCopy);
    coreCopy->ensureBlock("Core 9");

    EXPECT_EQ(uintAt(*cfg, "Target Access.ServerPort"), 5000u);
    EXPECT_EQ(cfg->getName(), "Board");
    EXPECT_EQ(cfg->getComments(), "comment");
    EXPECT_TRUE(cfg->getConfigBlock("Dup"));
    EXPECT_FALSE(cfg->getConfigBlock("Trace Generators:CORE:Core 9"));
    EXPECT_NE(copy->getConfigBlock(BLOCK_TARGET_ACCESS), cfg->getConfigBlock(BLOCK_TARGET_ACCESS));
}

TEST(TreeClone, BlockCloneIsDeep) {
    auto cfg = makeBoard();
    ConfigBlockPtr tg = cfg->getConfigBlock(BLOCK_TRACE_GENERATORS);
    ConfigBlockPtr copy = tg->clone();
    EXPECT_EQ(copy->getQualifiedName(), "Board.Trace Generators");
    rq7test::typedAttribute<BoolAttribute>(*copy->getConfigBlock("CORE")->getConfigBlock("Core 0"), ATTR_ENABLE_TRACE)
        ->setValue(false);
    EXPECT_TRUE(rq7test::typedAttribute<BoolAttribute>(*cfg, "Trace Generators:CORE:Core 0:Enable Trace")->getValue());
}

TEST(TreeAdd, AddConfigBlockStoresACopyAndRefusesDuplicates) {
    auto cfg = boost::make_shared<ConfigurationXml>("D", "1");
    auto block = boost::make_shared<ConfigBlockXml>("Target Access", "D");
    block->addAttribute(makeUInt32Attribute(ATTR_SERVER_PORT, 1));
    cfg->addConfigBlock(*block);
    block->removeAttribute(ATTR_SERVER_PORT);
    EXPECT_EQ(uintAt(*cfg, "Target Access:ServerPort"), 1u);
    EXPECT_NE(cfg->getConfigBlock("Target Access"), ConfigBlockPtr(block));

    const std::string out = rq7test::logged([&] { cfg->addConfigBlock(ConfigBlockXml("Target Access")); });
    EXPECT_TRUE(
        std::regex_match(out, std::regex(R"(- \S+ \[quorl\.configuration\.xml\] ERROR: duplicate config block\n)")))
        << out;
    EXPECT_EQ(cfg->getConfigBlockList()->size(), 1u);
}

// ---- Building --------------------------------------------------------------------

TEST(TreeBuilding, QualifiedNamesFollowTheTree) {
    auto cfg = makeBoard();
    // A subtree built apart is renamed when it is adopted.
    auto soc = boost::make_shared<ConfigBlockXml>(BLOCK_SOC_MODULES);
    auto funnel = boost::make_shared<ConfigBlockXml>("SoC Funnel", "Anything");
    funnel->addAttribute(makeAddr64Attribute(ATTR_MODULE_BASE_ADDRESS, 0x1000));
    EXPECT_EQ(funnel->getConfigAttribute(ATTR_MODULE_BASE_ADDRESS)->getQualifiedName(),
              "Anything.SoC Funnel.Module Base Address");
    soc->addBlock(funnel);
    cfg->addBlock(soc);
    EXPECT_EQ(funnel->getQualifiedName(), "Board.SoC Modules.SoC Funnel");
    EXPECT_EQ(cfg->getConfigAttribute("SoC Modules:SoC Funnel:Module Base Address")->getQualifiedName(),
              "Board.SoC Modules.SoC Funnel.Module Base Address");
    // ensureBlock finds what exists.
    EXPECT_EQ(cfg->ensureBlock("SoC Modules:SoC Funnel"), funnel);
}

TEST(TreeBuilding, DuplicateChildrenAreDroppedWithTheLoaderLines) {
    struct Row {
        bool block;
        const char* expected;
    };
    const Row rows[] = {
        {false, R"(- \S+ \[quorl\.configblock\.xml\] ERROR: duplicate attribute was found\n)"},
        {true, R"(- \S+ \[quorl\.configblock\.xml\] ERROR: duplicate config block was foundCore 0\n)"},
    };
    for (const Row& row : rows) {
        auto parent = boost::make_shared<ConfigBlockXml>("P");
        bool first, second;
        const std::string out = rq7test::logged([&] {
            if (row.block) {
                first = parent->addBlock(boost::make_shared<ConfigBlockXml>("Core 0"));
                second = parent->addBlock(boost::make_shared<ConfigBlockXml>("Core 0"));
            } else {
                first = parent->addAttribute(makeUInt32Attribute("n", 1));
                second = parent->addAttribute(makeUInt32Attribute("n", 2));
            }
        });
        EXPECT_TRUE(first);
        EXPECT_FALSE(second);
        EXPECT_TRUE(std::regex_match(out, std::regex(row.expected))) << out;
        EXPECT_EQ(parent->getConfigBlocks()->size() + parent->getConfigAttributes()->size(), 1u);
    }
}

}  // namespace
