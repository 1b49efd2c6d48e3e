// Editable blocks and attributes: adding, removing, copying, and what each
// refusal logs.
#include "common/src/ConfigurationLoader.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/MutableAttributeXml.h"
#include "common/src/MutableConfigBlockXml.h"
#include "common/src/ka.common.xml.h"
#include "tests/support/ConfigTestSupport.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/smart_ptr/bad_weak_ptr.hpp>

#include <functional>
#include <string>

namespace quorl {
namespace {

using rq7test::logged;

// A block "P" (qualified "Doc.P") holding attribute "a" and child block "c".
boost::shared_ptr<MutableConfigBlockXml> makeParent() {
    auto parent = boost::make_shared<MutableConfigBlockXml>("P", "Doc");
    parent->addConfigAttribute(*makeStringAttribute("a", "1"));
    parent->addConfigBlock(ConfigBlockXml("c"));
    return parent;
}

// A block implementation whose lists are missing.
rq7test::StubBlock listless() {
    return rq7test::StubBlock("listless", "X.listless", nullptr, nullptr);
}

struct EditCase {
    const char* what;
    std::function<void(MutableConfigBlockXml&)> edit;
    const char* logLine;  // the whole ERROR text, or "" for none
    size_t attributes;    // counts after the edit
    size_t blocks;
};

class Edit : public ::testing::TestWithParam<EditCase> {};

TEST_P(Edit, ChangesTheChildrenOrLogs) {
    const EditCase& c = GetParam();
    auto parent = makeParent();
    const std::string out = logged([&] { c.edit(*parent); });
    if (*c.logLine)
        EXPECT_NE(std::string::npos, out.find(std::string("[quorl.mutableconfigblock.xml] ERROR: ") + c.logLine + "\n"))
            << c.what << ": " << out;
    else
        EXPECT_EQ("", out) << c.what;
    EXPECT_EQ(c.attributes, parent->getConfigAttributes()->size()) << c.what;
    EXPECT_EQ(c.blocks, parent->getConfigBlocks()->size()) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    MutableBlock, Edit,
    ::testing::Values(
        EditCase{"add a block of a new name", [](MutableConfigBlockXml& p) { p.addConfigBlock(ConfigBlockXml("d")); },
                 "", 1, 2},
        EditCase{"add a block of a taken name", [](MutableConfigBlockXml& p) { p.addConfigBlock(ConfigBlockXml("c")); },
                 "duplicate config block", 1, 1},
        EditCase{"add an editable block of a taken name",
                 [](MutableConfigBlockXml& p) { p.addMutableConfigBlock(MutableConfigBlockXml("c")); },
                 "duplicate config block", 1, 1},
        EditCase{"add a plain block as editable",
                 [](MutableConfigBlockXml& p) { p.addMutableConfigBlock(ConfigBlockXml("d")); },
                 "invalid mutable config block", 1, 1},
        EditCase{"add an attribute of a taken name",
                 [](MutableConfigBlockXml& p) { p.addConfigAttribute(*makeBoolAttribute("a", true)); },
                 "duplicate config attribute", 1, 1},
        EditCase{"add an editable attribute of a taken name",
                 [](MutableConfigBlockXml& p) { p.addMutableConfigAttribute(MutableBoolAttributeXml("a")); },
                 "duplicate config attribute", 1, 1},
        EditCase{"add a plain attribute as editable",
                 [](MutableConfigBlockXml& p) { p.addMutableConfigAttribute(*makeBoolAttribute("b", true)); },
                 "invalid config attribute", 1, 1},
        EditCase{"add an editable attribute",
                 [](MutableConfigBlockXml& p) { p.addMutableConfigAttribute(MutableInt64AttributeXml("b")); }, "", 2,
                 1},
        EditCase{"copy a block whose lists are missing",
                 [](MutableConfigBlockXml& p) { p.addConfigBlock(MutableConfigBlockXml(listless())); },
                 "invalid attributes for config block", 1, 2},
        EditCase{"copy a block whose block list is missing",
                 [](MutableConfigBlockXml& p) { p.addConfigBlock(MutableConfigBlockXml(listless())); },
                 "invalid blocks for config block", 1, 2},
        EditCase{"remove a missing block", [](MutableConfigBlockXml& p) { EXPECT_FALSE(p.removeConfigBlock("x")); }, "",
                 1, 1},
        EditCase{"remove a block", [](MutableConfigBlockXml& p) { EXPECT_TRUE(p.removeConfigBlock("c")); }, "", 1, 0},
        EditCase{"remove an attribute", [](MutableConfigBlockXml& p) { EXPECT_TRUE(p.removeConfigAttribute("a")); }, "",
                 0, 1},
        EditCase{"remove everything",
                 [](MutableConfigBlockXml& p) {
                     p.removeConfigAttributes();
                     p.removeConfigBlocks();
                 },
                 "", 0, 0}));

TEST(MutableBlock, CopiesComeInTheRightClassUnderThisBlock) {
    auto parent = makeParent();
    auto source = boost::make_shared<MutableUInt32AttributeXml>("u", "Elsewhere");
    parent->addConfigAttribute(*source);
    parent->addMutableConfigAttribute(MutableStringAttributeXml("m", "Elsewhere"));
    MutableConfigBlockXml editableChild("e", "Elsewhere");
    editableChild.addConfigAttribute(*makeStringAttribute("x", "1"));
    parent->addConfigBlock(editableChild);

    // An editable attribute given to addConfigAttribute is stored plain.
    ConfigAttributePtr u = parent->getConfigAttribute("u");
    EXPECT_TRUE(boost::dynamic_pointer_cast<UInt32AttributeXml>(u));
    EXPECT_FALSE(boost::dynamic_pointer_cast<MutableConfigAttribute>(u));
    EXPECT_EQ("Doc.P.u", u->getQualifiedName());
    EXPECT_EQ("Elsewhere.u", source->getQualifiedName());
    EXPECT_TRUE(boost::dynamic_pointer_cast<MutableStringAttributeXml>(parent->getConfigAttribute("m")));

    ConfigBlockPtr e = parent->getConfigBlock("e");
    EXPECT_TRUE(boost::dynamic_pointer_cast<MutableConfigBlockXml>(e));
    EXPECT_EQ("Doc.P.e", e->getQualifiedName());
    EXPECT_EQ("Doc.P.e.x", e->getConfigAttribute("x")->getQualifiedName());
    EXPECT_TRUE(boost::dynamic_pointer_cast<ConfigBlockXml>(parent->getConfigBlock("c")));

    // The copies share nothing with their sources.
    editableChild.removeConfigAttribute("x");
    EXPECT_TRUE(e->getConfigAttribute("x"));

    // On saving, the plain copy has no Mutable, the editable ones do.
    c_ConfigBlock element;
    parent->populate(element);
    EXPECT_TRUE(element.has_Mutable());
    const c_UInt32Attribute* saved = element.get_StringAttribute(1).as<c_UInt32Attribute>();
    ASSERT_TRUE(saved);
    EXPECT_FALSE(saved->has_Mutable());
    const c_StringAttribute* m = element.get_StringAttribute(2).as<c_StringAttribute>();
    ASSERT_TRUE(m);
    EXPECT_TRUE(m->get_Mutable());
}

TEST(MutableBlock, RemovedChildrenKeepTheirBareNames) {
    auto parent = makeParent();
    ConfigBlockPtr c = parent->getConfigBlock("c");
    ConfigAttributePtr a = parent->getConfigAttribute("a");
    EXPECT_EQ("Doc.P.c", c->getQualifiedName());
    EXPECT_TRUE(parent->removeConfigBlock("c"));
    parent->removeConfigAttributes();
    EXPECT_EQ("c", c->getQualifiedName());
    EXPECT_EQ("a", a->getQualifiedName());
    EXPECT_FALSE(parent->getConfigBlock("c"));
}

TEST(MutableBlock, CloneIsEditableAndIndependent) {
    auto parent = makeParent();
    ConfigBlockPtr copy = parent->clone();
    auto editable = boost::dynamic_pointer_cast<MutableConfigBlockXml>(copy);
    ASSERT_TRUE(editable);
    editable->removeConfigBlocks();
    EXPECT_EQ(1u, parent->getConfigBlocks()->size());
    EXPECT_EQ("Doc.P", copy->getQualifiedName());
}

// ---- Attributes ------------------------------------------------------------------------

TEST(MutableAttribute, SettersNeedSharedOwnership) {
    MutableUInt32AttributeXml onStack("u");
    EXPECT_THROW(onStack.setValue(5), boost::bad_weak_ptr);
    EXPECT_EQ(5u, onStack.getValue());  // stored before the throw
    onStack.setMinValue(2);             // the range setters do not care
    EXPECT_EQ(2u, onStack.getMinValue());

    MutableEnumAttributeXml enumOnStack("e");
    EXPECT_THROW(enumOnStack.setValues(std::string("a,b")), boost::bad_weak_ptr);

    auto owned = boost::make_shared<MutableUInt32AttributeXml>("u");
    EXPECT_NO_THROW(owned->setValue(6));
    EXPECT_EQ(6u, owned->getValue());
}

TEST(MutableAttribute, SetEnumValuesEmptiesTheValues) {
    auto e = boost::make_shared<MutableEnumAttributeXml>("e");
    e->setValues(std::string("x;y"));
    e->setEnumValues(std::string(" p : q "));
    EXPECT_TRUE(e->getValues()->empty());
    EXPECT_EQ((std::vector<std::string>{"p", "q"}), e->getEnumValues()->snapshot());
    e->setValues(std::vector<std::string>{"q"});
    e->setEnumValues(std::vector<std::string>{"r"});
    EXPECT_TRUE(e->getValues()->empty());
    EXPECT_EQ((std::vector<std::string>{"r"}), e->getEnumValues()->snapshot());
}

TEST(MutableAttribute, CloneIsEditableAndIndependent) {
    auto f = boost::make_shared<MutableFloatAttributeXml>("f", "B");
    f->setMaxValue(2.0f);
    f->setMaxInclusive(false);
    f->setReadOnly(true);
    ConfigAttributePtr copy = f->clone();
    auto editable = boost::dynamic_pointer_cast<MutableFloatAttribute>(copy);
    ASSERT_TRUE(editable);
    editable->setValue(9.0f);
    editable->setMaxValue(3.0f);
    EXPECT_EQ(0.0f, f->getValue());
    EXPECT_EQ(2.0f, f->getMaxValue());
    EXPECT_FALSE(editable->isMaxInclusive());
    EXPECT_TRUE(copy->isReadOnly());
    EXPECT_EQ("B.f", copy->getQualifiedName());
}

// ---- In a loaded document ------------------------------------------------------------------

TEST(MutableDocument, EditsSurviveASave) {
    const std::string text =
        "<QUORL><Configuration><Name>D</Name><Version>1</Version>"
        "<ConfigBlock><Name>M</Name><Mutable>true</Mutable>"
        "<ConfigBlock><Name>inner</Name></ConfigBlock>"
        "<UInt32Attribute><Name>u</Name><DefaultValue>1</DefaultValue><Mutable>true</Mutable></UInt32Attribute>"
        "</ConfigBlock></Configuration></QUORL>";
    xrt::exrt_error code;
    ConfigurationPtr cfg = loadConfigurationFromMemory(text.data(), text.size(), &code);
    ASSERT_TRUE(cfg);
    auto m = boost::dynamic_pointer_cast<MutableConfigBlock>(cfg->getConfigBlock("M"));
    ASSERT_TRUE(m);
    auto u = rq7test::typedAttribute<MutableUInt32Attribute>(*m, "u");
    u->setValue(42);
    u->setMaxValue(100);
    m->addConfigAttribute(*makeBoolAttribute("added", true));

    auto doc = boost::dynamic_pointer_cast<ConfigurationXml>(cfg);
    ASSERT_TRUE(doc);
    c_Configuration element;
    doc->populate(element);
    ASSERT_EQ(1u, element.size_ConfigBlock());
    const c_ConfigBlock& saved = element.get_ConfigBlock(0);
    EXPECT_TRUE(saved.get_Mutable());
    // Attributes first, then the block, whatever the file order was.
    ASSERT_EQ(3u, saved.size_StringAttribute());
    const c_UInt32Attribute* su = saved.get_StringAttribute(0).as<c_UInt32Attribute>();
    ASSERT_TRUE(su);
    EXPECT_EQ(42u, su->get_DefaultValue());
    EXPECT_TRUE(su->get_Mutable());
    EXPECT_EQ(100u, su->extra().range.get_MaxValue());
    EXPECT_FALSE(su->extra().range.has_MinValue());
    EXPECT_TRUE(saved.get_StringAttribute(1).as<c_BoolAttribute>());
    EXPECT_EQ(c_anon_StringAttribute::kind_ConfigBlock, saved.get_StringAttribute(2).get_kind());
}

TEST(MutableDocument, AddMutableConfigBlockStoresAnEditableCopy) {
    ConfigurationXml doc("D", "1");
    MutableConfigBlockXml source("A");
    source.addConfigAttribute(*makeStringAttribute("s", "x"));
    doc.addMutableConfigBlock(source);
    auto stored = boost::dynamic_pointer_cast<MutableConfigBlockXml>(doc.getConfigBlock("A"));
    ASSERT_TRUE(stored);
    source.removeConfigAttributes();
    EXPECT_TRUE(stored->getConfigAttribute("s"));
    EXPECT_NE("", logged([&] { doc.addMutableConfigBlock(ConfigBlockXml("A")); }));
    EXPECT_EQ(1u, doc.getConfigBlocks()->size());
}

}  // namespace
}  // namespace quorl
