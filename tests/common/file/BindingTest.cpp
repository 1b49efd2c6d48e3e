// The configuration vocabulary's binding: what it refuses, with which code,
// and what it writes back.
#include "common/src/ka.common.xml.h"

#include "xrt/xml_reader.h"
#include "xrt/xml_writer.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace quorl {
namespace {

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<QUORL><Configuration><Name>B</Name><Version>1</Version>";
const std::string kTail = "</Configuration></QUORL>";

std::string doc(const std::string& body) {
    return kHead + body + kTail;
}
std::string block(const std::string& children) {
    return doc("<ConfigBlock><Name>A</Name>" + children + "</ConfigBlock>");
}
std::string attr(const std::string& element, const std::string& children) {
    return block("<" + element + ">" + children + "</" + element + ">");
}
std::string u32(const std::string& value) {
    return attr("UInt32Attribute", "<Name>x</Name><DefaultValue>" + value + "</DefaultValue>");
}

struct LoadCase {
    const char* what;
    std::string text;
    int code;
    const char* item;  // error item name the reader was given, or null to skip
};

// Records the item name the binding reported with the code.
struct Loaded {
    int code;
    std::string item;
    c_QUORL root;
};

Loaded load(const std::string& text) {
    Loaded out;
    xrt::c_xml_reader_memory reader(text.data(), text.size());
    out.code = out.root.unmarshal(reader);
    out.item = reader.get_error_item_name();
    return out;
}

class Refusal : public ::testing::TestWithParam<LoadCase> {};

TEST_P(Refusal, GivesItsCode) {
    const LoadCase& c = GetParam();
    Loaded l = load(c.text);
    EXPECT_EQ(c.code, l.code) << c.what << "\n" << c.text;
    if (c.item) {
        EXPECT_EQ(c.item, l.item) << c.what;
    }
}

// One row per reading code of the failure table, then the cases that sit on
// the borders between them.
INSTANTIATE_TEST_SUITE_P(
    FailureTable, Refusal,
    ::testing::Values(
        LoadCase{"second Name in an all-group", attr("Int32Attribute", "<Name>x</Name><Name>y</Name>"), 2, "Name"},
        LoadCase{"unknown child of ConfigBlock", block("<Frob/>"), 10, "ConfigBlock"},
        LoadCase{"mismatched end tag", doc("<ConfigBlock><Name>A</Name></ConfigBlok>"), 10, "ConfigBlock"},
        LoadCase{"bad end of a value's start tag", doc("<ConfigBlock><Name/x>A</Name></ConfigBlock>"), 11, "Name"},
        LoadCase{"end of file inside a start tag", kHead + "<ConfigBlock><Name", 34, nullptr},
        // Codes found under the reader, by the character and entity layers.
        LoadCase{"entity defined through itself", "<!DOCTYPE QUORL [<!ENTITY a \"&a;\">]><QUORL>&a;</QUORL>", 9,
                 nullptr},
        LoadCase{"DOCTYPE cut short", "<!DOCTYPE QUORL [<!ENTITY a \"x", 34, nullptr},
        LoadCase{"encoding the reader cannot decode", "<?xml version=\"1.0\" encoding=\"EBCDIC\"?><QUORL/>", 6,
                 nullptr},
        LoadCase{"root is not QUORL", "<Config/>", 16, "Config"},
        LoadCase{"required Version missing", "<QUORL><Configuration><Name>B</Name></Configuration></QUORL>", 21,
                 "Version"},
        LoadCase{"address without 0x", attr("Addr32Attribute", "<Name>a</Name><DefaultValue>10</DefaultValue>"), 22,
                 "DefaultValue"},
        LoadCase{"markup that breaks a value", attr("StringAttribute", "<Name>a<!x</Name><DefaultValue/>"), 29, "Name"},
        LoadCase{"unknown child of an all-group", attr("BoolAttribute", "<Name>a</Name><Frob/>"), 30, "Frob"},
        LoadCase{"self-closed attribute element", block("<StringAttribute/>"), 32, "StringAttribute"},
        LoadCase{"file ends inside the document", kHead + "<ConfigBlock><Name>A</Name>", 34, nullptr},
        LoadCase{"number with a letter", u32("12a"), 35, "DefaultValue"},
        LoadCase{"UInt32 above its maximum", u32("4294967296"), 36, "DefaultValue"},
        LoadCase{"UInt32 below its minimum", u32("-1"), 37, "DefaultValue"},
        LoadCase{"unknown XML attribute", block("<StringAttribute id=\"1\"><Name>a</Name></StringAttribute>"), 39,
                 "id"},

        // Borders between the codes.
        LoadCase{"ConfigBlock before Version",
                 "<QUORL><Configuration><Name>B</Name><ConfigBlock/></Configuration></QUORL>", 21, "Version"},
        LoadCase{"all-group missing DefaultValue", attr("UInt32Attribute", "<Name>x</Name>"), 21, "UInt32Attribute"},
        LoadCase{"float bound missing its value",
                 attr("FloatAttribute",
                      "<Name>f</Name><DefaultValue>1</DefaultValue><FloatRange><MinFloatValue><MinInclusive>true</"
                      "MinInclusive></MinFloatValue></FloatRange>"),
                 21, "MinFloatValue"},
        LoadCase{"float: ReadOnly before DefaultValue",
                 attr("FloatAttribute", "<Name>f</Name><ReadOnly>1</ReadOnly><DefaultValue>1</DefaultValue>"), 21,
                 "DefaultValue"},
        LoadCase{
            "float: ReadOnly after the range",
            attr("FloatAttribute", "<Name>f</Name><DefaultValue>1</DefaultValue><FloatRange/><ReadOnly>1</ReadOnly>"),
            10, "FloatAttribute"},
        LoadCase{"uint32: ReadOnly before Name is fine",
                 attr("UInt32Attribute", "<ReadOnly>1</ReadOnly><DefaultValue>3</DefaultValue><Name>x</Name>"), 0,
                 nullptr},
        LoadCase{"Int32 below minimum",
                 attr("Int32Attribute", "<Name>x</Name><DefaultValue>-2147483649</DefaultValue>"), 37, nullptr},
        LoadCase{"Int64 of forty digits",
                 attr("Int64Attribute",
                      "<Name>x</Name><DefaultValue>1234567890123456789012345678901234567890</DefaultValue>"),
                 36, nullptr},
        LoadCase{"UInt64 largest",
                 attr("UInt64Attribute", "<Name>x</Name><DefaultValue>18446744073709551615</DefaultValue>"), 0,
                 nullptr},
        LoadCase{"UInt64 one above",
                 attr("UInt64Attribute", "<Name>x</Name><DefaultValue>18446744073709551616</DefaultValue>"), 36,
                 nullptr},
        LoadCase{"blanks around a number collapse", u32("  7 "), 0, nullptr},
        LoadCase{"empty number", u32(""), 35, nullptr},
        LoadCase{"upper-case 0X", attr("Addr32Attribute", "<Name>a</Name><DefaultValue>0X10</DefaultValue>"), 22,
                 nullptr},
        LoadCase{"nine digits in Addr32",
                 attr("Addr32Attribute", "<Name>a</Name><DefaultValue>0x123456789</DefaultValue>"), 22, nullptr},
        LoadCase{"sixteen digits in Addr64",
                 attr("Addr64Attribute", "<Name>a</Name><DefaultValue>0xFFFFFFFFFFFFFFFF</DefaultValue>"), 0, nullptr},
        LoadCase{
            "bad address bound",
            attr("Addr64Attribute",
                 "<Name>a</Name><DefaultValue>0x1</DefaultValue><Addr64Range><MinValue>1</MinValue></Addr64Range>"),
            22, "MinValue"},
        LoadCase{"flag spelled True", attr("BoolAttribute", "<Name>a</Name><DefaultValue>True</DefaultValue>"), 35,
                 nullptr},
        LoadCase{"float in lower-case inf", attr("DoubleAttribute", "<Name>a</Name><DefaultValue>inf</DefaultValue>"),
                 35, nullptr},
        LoadCase{"second range bound",
                 attr("Int32Attribute",
                      "<Name>a</Name><DefaultValue>1</DefaultValue><Int32Range><MinValue>1</MinValue><MinValue>2</"
                      "MinValue></Int32Range>"),
                 2, "MinValue"},
        LoadCase{"empty default counts as false", doc("<default/>"), 0, nullptr},
        LoadCase{"default must be a flag", doc("<default>maybe</default>"), 35, "default"},
        LoadCase{"unknown child of Configuration", doc("<Frob/>"), 10, "Configuration"},
        LoadCase{"self-closed QUORL", "<QUORL/>", 32, "QUORL"},
        LoadCase{"QUORL with a prefix", "<q:QUORL xmlns:q=\"urn:q\"></q:QUORL>", 16, "QUORL"},
        LoadCase{
            "schema location on the root is skipped",
            "<QUORL xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:noNamespaceSchemaLocation=\"q.xsd\">"
            "<Configuration><Name>B</Name><Version>1</Version></Configuration></QUORL>",
            0, nullptr},
        LoadCase{"attribute on a value element", attr("StringAttribute", "<Name a='1'>x</Name><DefaultValue/>"), 39,
                 "a"},
        LoadCase{"empty file", "", 16, nullptr}));

// What the binding holds after reading, checked field by field.
TEST(Binding, ReadsValuesInTheirFieldTypes) {
    Loaded l =
        load(block("<Int32Attribute><Name>i</Name><DefaultValue>+5</DefaultValue><Int32Range><MaxValue>9</MaxValue></"
                   "Int32Range></Int32Attribute>"
                   "<Addr64Attribute><Name>a</Name><DefaultValue>0xABC</DefaultValue></Addr64Attribute>"
                   "<EnumAttribute><AllowMultiple>0</AllowMultiple><Name> e </Name><DefaultValue>a, "
                   "b</DefaultValue><EnumValues>a;b</EnumValues></EnumAttribute>"
                   "<ConfigBlock><Name>inner</Name><Mutable>true</Mutable></ConfigBlock>"));
    ASSERT_EQ(0, l.code);
    const c_ConfigBlock& b = l.root.get_Configuration().get_ConfigBlock(0);
    ASSERT_EQ(4u, b.size_StringAttribute());

    const c_Int32Attribute* i = b.get_StringAttribute(0).as<c_Int32Attribute>();
    ASSERT_TRUE(i);
    EXPECT_EQ(5, i->get_DefaultValue());
    EXPECT_TRUE(i->has(AC_Range));
    EXPECT_FALSE(i->extra().range.has_MinValue());
    EXPECT_EQ(9, i->extra().range.get_MaxValue());

    const c_Addr64Attribute* a = b.get_StringAttribute(1).as<c_Addr64Attribute>();
    ASSERT_TRUE(a);
    EXPECT_EQ("0xABC", a->get_DefaultValue());  // kept as text until the tree is built

    const c_EnumAttribute* e = b.get_StringAttribute(2).as<c_EnumAttribute>();
    ASSERT_TRUE(e);
    EXPECT_EQ(" e ", e->get_Name());  // names keep their blanks
    EXPECT_EQ("a;b", e->extra().enumValues);
    EXPECT_TRUE(e->has(AC_AllowMultiple));
    EXPECT_FALSE(e->extra().allowMultiple);
    // The order list remembers file order: AllowMultiple came first.
    EXPECT_EQ(AC_AllowMultiple, e->order_list().at(0));

    EXPECT_EQ(c_anon_StringAttribute::kind_ConfigBlock, b.get_StringAttribute(3).get_kind());
    const c_ConfigBlock* inner = b.get_StringAttribute(3).as<c_ConfigBlock>();
    ASSERT_TRUE(inner);
    EXPECT_TRUE(inner->has_Mutable());
    EXPECT_TRUE(inner->get_Mutable());
}

TEST(Binding, ReadsEntitiesAndWritesTheFourEscapes) {
    Loaded l = load(kHead.substr(0, kHead.size() - std::string("<Version>1</Version>").size()) +
                    "<Version>1</Version><Comments>&lt;a&gt; &amp; &quot;q&quot; 'p'</Comments>" + kTail);
    ASSERT_EQ(0, l.code);
    EXPECT_EQ("<a> & \"q\" 'p'", l.root.get_Configuration().get_Comments());
    std::ostringstream os;
    ASSERT_EQ(0, l.root.marshal(os));
    EXPECT_NE(std::string::npos, os.str().find("<Comments>&lt;a> &amp; &quot;q&quot; &apos;p&apos;</Comments>"))
        << os.str();
}

std::string marshalled(const c_QUORL& root, int* code) {
    std::ostringstream os;
    *code = root.marshal(os);
    return os.str();
}

// The writer's layout: one element per line, tab-indented, children of an
// all-group in the order they were set.
TEST(Binding, WritesOneElementPerLineInOrderListOrder) {
    c_QUORL root;
    c_Configuration& c = root.get_Configuration();
    c.set_Name("B");
    c.set_Version("1");
    c_ConfigBlock& b = c.append_ConfigBlock();
    b.set_Name("T");
    c_anon_StringAttribute& ch = b.append_StringAttribute();
    ch.select(c_UInt32Attribute::index);
    c_UInt32Attribute* u = ch.as<c_UInt32Attribute>();
    u->set_DefaultValue(45000);
    u->set_Name("Port");
    u->extra(AC_Range).range.set_MaxValue(65535);
    int code = -1;
    const std::string text = marshalled(root, &code);
    EXPECT_EQ(0, code);
    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<QUORL>\n"
        "\t<Configuration>\n"
        "\t\t<Name>B</Name>\n"
        "\t\t<Version>1</Version>\n"
        "\t\t<ConfigBlock>\n"
        "\t\t\t<Name>T</Name>\n"
        "\t\t\t<UInt32Attribute>\n"
        "\t\t\t\t<DefaultValue>45000</DefaultValue>\n"
        "\t\t\t\t<Name>Port</Name>\n"
        "\t\t\t\t<UInt32Range>\n"
        "\t\t\t\t\t<MaxValue>65535</MaxValue>\n"
        "\t\t\t\t</UInt32Range>\n"
        "\t\t\t</UInt32Attribute>\n"
        "\t\t</ConfigBlock>\n"
        "\t</Configuration>\n"
        "</QUORL>\n",
        text);
}

// The two refusals of the writer: a choice whose kind is set without an
// object, and a kind out of range.
TEST(Binding, WriterRefusesBrokenChoices) {
    struct Row {
        int kind;
        int code;
        const char* item;
    } rows[] = {{c_StringAttribute::index, 45, "StringAttribute"},
                {c_anon_StringAttribute::kind_ConfigBlock, 45, "ConfigBlock"},
                {15, 7, "{anonymous compositor}"},
                {-1, 7, "{anonymous compositor}"},
                {c_anon_StringAttribute::kind_not_set, 0, ""}};
    for (const Row& row : rows) {
        c_QUORL root;
        c_ConfigBlock& b = root.get_Configuration().append_ConfigBlock();
        b.append_StringAttribute().set_kind_only(row.kind);
        std::ostringstream os;
        xrt::c_xml_writer w(os);
        EXPECT_EQ(row.code, root.marshal(w)) << row.kind;
        EXPECT_EQ(row.item, w.get_error_item_name()) << row.kind;
    }
}

TEST(Binding, CopiesAreDeep) {
    Loaded l = load(u32("7"));
    ASSERT_EQ(0, l.code);
    c_QUORL copy = l.root;
    copy.get_Configuration().get_ConfigBlock(0).get_StringAttribute(0).as<c_UInt32Attribute>()->set_DefaultValue(8);
    EXPECT_EQ(7u, l.root.get_Configuration()
                      .get_ConfigBlock(0)
                      .get_StringAttribute(0)
                      .as<c_UInt32Attribute>()
                      ->get_DefaultValue());
}

std::string nested(int depth) {
    std::string open, close;
    for (int i = 0; i < depth; ++i) {
        open += "<ConfigBlock><Name>n</Name>";
        close += "</ConfigBlock>";
    }
    return doc(open + close);
}

// Nesting is bounded so that a hostile file cannot exhaust the stack.
TEST(Binding, NestingBeyondTheLimitIsRefused) {
    EXPECT_EQ(0, load(nested(BindReader::maxDepth)).code);
    Loaded deep = load(nested(BindReader::maxDepth + 1));
    EXPECT_EQ(42, deep.code);
    EXPECT_EQ("ConfigBlock", deep.item);
}

TEST(Binding, FileThatCannotBeOpenedIsCodeOne) {
    exrt_error code = XB_OK;
    c_QUORL root("/nonexistent/dir/config.xml", &code);
    EXPECT_EQ(1, code);
}

}  // namespace
}  // namespace quorl
