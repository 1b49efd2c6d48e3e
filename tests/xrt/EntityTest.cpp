// Internal entities, parameter entities and the DOCTYPE subset, seen through the reader's
// events, and the reference rules of values.
#include <gtest/gtest.h>

#include "tests/xrt/XrtTestSupport.h"

using namespace xrt;

namespace {

std::string dtd(const std::string& subset, const std::string& body) {
    return "<!DOCTYPE r [" + subset + "]>" + body;
}

struct s_case {
    const char* name;
    std::string doc;
    std::string trace;
};

std::string laughs() {
    std::string subset = "<!ENTITY a0 \"lol\">";
    for (int i = 1; i < 30; ++i) {
        std::string prev = "&a" + std::to_string(i - 1) + ";";
        subset += "<!ENTITY a" + std::to_string(i) + " \"" + prev + prev + prev + prev + "\">";
    }
    return subset;
}

const s_case k_cases[] = {
    {"text entity", dtd("<!ENTITY e \"hi\">", "<r>a&e;b</r>"), "<r > 'ahib' /r $"},
    {"entity with markup", dtd("<!ENTITY e \"<b c='1'>x</b>\">", "<r>&e;</r>"), "<r > <b @c=1 > 'x' /b /r $"},
    {"entity alone in content", dtd("<!ENTITY e \"<b/>\">", "<r>&e;&e;</r>"), "<r > <b /b <b /b /r $"},
    {"nested entities", dtd("<!ENTITY i \"in\"><!ENTITY o \"[&i;]\">", "<r>&o;</r>"), "<r > '[in]' /r $"},
    {"first declaration wins", dtd("<!ENTITY e \"one\"><!ENTITY e \"two\">", "<r>&e;</r>"), "<r > 'one' /r $"},
    {"predefined cannot be overridden", dtd("<!ENTITY lt \"X\">", "<r>&lt;&gt;&amp;&apos;&quot;</r>"),
     "<r > '<>&'\"' /r $"},
    {"char reference expanded at declaration", dtd("<!ENTITY e \"&#60;b/>\">", "<r>&e;</r>"), "<r > <b /b /r $"},
    {"entity in attribute value", dtd("<!ENTITY e \"hi\">", "<r a=\"x&e;y\"/>"), "<r @a=xhiy /r $"},
    {"nested entity in attribute value", dtd("<!ENTITY i \"1\"><!ENTITY e \"&i;&i;\">", "<r a='&e;'/>"),
     "<r @a=11 /r $"},
    {"parameter entity declares", dtd("<!ENTITY % p \"<!ENTITY e 'pv'>\"> %p;", "<r>&e;</r>"), "<r > 'pv' /r $"},
    {"parameter entity in a value", dtd("<!ENTITY % p \"abc\"><!ENTITY e \"x%p;y\">", "<r>&e;</r>"),
     "<r > 'xabcy' /r $"},
    {"doctype without subset", "<!DOCTYPE r SYSTEM \"r.dtd\"><r/>", "<r /r $"},
    {"doctype with quoted bracket", "<!DOCTYPE r PUBLIC \"-//x[\" \"y\"><r/>", "<r /r $"},
    {"other declarations skipped",
     dtd("<!ELEMENT r (#PCDATA)><!ATTLIST r a CDATA \"x>y\"><!NOTATION n SYSTEM \"n\">", "<r/>"), "<r /r $"},
    {"comment and PI in subset", dtd("<!-- c > --><?pi x?>", "<r/>"), "<r /r $"},
    {"external entity is only a warning", dtd("<!ENTITY e SYSTEM \"e.xml\">", "<r/>"), "<r /r $"},
    {"blanks around the subset", "<!DOCTYPE r [ \n <!ENTITY e 'v'> \n ] >\n<r>&e;</r>", "<r > 'v' /r $"},
    // Failures, with the line where they were found
    {"recursion direct", dtd("<!ENTITY a \"x&a;\">", "<r>&a;</r>"), "<r > !9@1"},
    {"recursion indirect", dtd("<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">", "\n<r>&a;</r>"), "<r > !9@2"},
    {"recursion in attribute", dtd("<!ENTITY a \"&a;\">", "<r x='&a;'/>"), "<r @x=? !9@1"},
    {"parameter recursion", dtd("<!ENTITY % p \"&#37;p;\"> %p;", "<r/>"), "!9@1"},
    {"parameter entity declared later", dtd("<!ENTITY % p \"%p;\">", "<r/>"), "!41@1"},
    {"reference split over entity end", dtd("<!ENTITY a \";&b\"><!ENTITY b \"&a;\">", "<r>&a;</r>"), "<r > !9@1"},
    {"parameter reference split", dtd("<!ENTITY % p \"&#37;q\"><!ENTITY % q \"x\"> %p;;", "<r/>"), "!9@1"},
    {"expansion without end", dtd(laughs(), "<r>&a29;</r>"), "<r > !9@1"},
    {"expansion without end in attribute", dtd(laughs(), "<r x='&a29;'/>"), "<r @x=? !9@1"},
    {"unknown entity in text", "<r>&foo;</r>", "<r > !41@1"},
    {"unknown parameter entity", dtd("%nope;", "<r/>"), "!41@1"},
    {"other keyword in entity", dtd("<!ENTITY e NDATA x>", "<r/>"), "!33@1"},
    {"bad character in subset", dtd("x", "<r/>"), "!9@1"},
    {"no > after ]", "<!DOCTYPE r [ ] x<r/>", "!9@1"},
    {"subset never ends", "<!DOCTYPE r [ <!ENTITY e 'v'>", "!34@1"},
    {"entity value never ends", "<!DOCTYPE r [ <!ENTITY e 'v>]><r/>", "!34@1"},
    {"doctype after root", "<r/><!DOCTYPE r>", "<r /r !9@1"},
    {"second doctype", "<!DOCTYPE r><!DOCTYPE r><r/>", "!9@1"},
    {"bad char reference", "<r>&#x110000;</r>", "<r > !23@1"},
    {"empty char reference", "<r>&#;</r>", "<r > !23@1"},
};

class EntityTest : public ::testing::TestWithParam<s_case> {};

TEST_P(EntityTest, Trace) {
    EXPECT_EQ(xrt_test::trace(GetParam().doc), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(XrtEntities, EntityTest, ::testing::ValuesIn(k_cases), xrt_test::param_name());

TEST(XrtEntityMessages, TextsAndSeverities) {
    struct {
        std::string doc;
        const char* message;
        exrt_error_type type;
    } cases[] = {
        {dtd("<!ENTITY a \"&a;\">", "<r>&a;</r>"), "9@1:Recursive entity definition for: a", et_fatal},
        {dtd("x", "<r/>"), "9@1:DTD not Well Formed (got x)", et_fatal},
        {"<!DOCTYPE r [ ] x", "9@1:DTD not Well Formed (expected '>', got x)", et_fatal},
        {dtd("%nope;", "<r/>"), "41@1:Entity '%nope' not found", et_error},
        {dtd("<!ENTITY e JUNK>", "<r/>"), "33@1:Unexpected value in Entity definition: JUNK", et_error},
        {dtd("<!ENTITY e PUBLIC \"p\" \"s\">", "<r/>"), "17@1:External Entity definitions not supported", et_warning},
        {"<r/><!DOCTYPE r>", "9@1:Document Type Declaration not at start of document", et_fatal},
        {"<!DOCTYPE r><!DOCTYPE r>", "9@1:Document Type Declaration already read", et_fatal},
    };
    for (const auto& c : cases) {
        exrt_error_type type = et_none;
        EXPECT_EQ(xrt_test::first_message(c.doc, &type), c.message);
        EXPECT_EQ(type, c.type) << c.doc;
    }
}

// References inside a value element, in the three white space modes.
struct s_value_case {
    const char* name;
    std::string doc;
    int mode;
    bool refs_are_ws;
    std::string value;
    bool ok;
};

const s_value_case k_value_cases[] = {
    {"cr reference kept", "<a>&#xD;</a>", 0, false, "\r", true},
    {"NEL reference is a line feed", "<a>&#133;</a>", 0, false, "\n", true},
    {"highest accepted reference", "<a>&#x100000;</a>", 0, false, "\xF4\x80\x80\x80", true},
    {"unknown entity kept literally", "<a>x&foo;y</a>", 0, false, "x&foo;y", false},
    {"unknown entity without semicolon", "<a>&foo y</a>", 0, false, "&foo y", false},
    {"space references kept in collapse", "<a> a&#32;&#32;b </a>", 2, false, "a  b", true},
    {"space references collapsed on request", "<a> a&#32;&#32;b </a>", 2, true, "a b", true},
    {"tab reference kept in replace", "<a>a&#9;b\tc</a>", 1, false, "a\tb c", true},
    {"entity text goes through the mode", dtd("<!ENTITY e \" x  y \">", "<a>&e;</a>"), 2, false, "x y", true},
    {"entity markup ends the value", dtd("<!ENTITY e \"v<b/>\">", "<a>&e;</a>"), 0, false, "v", true},
};

class EntityValueTest : public ::testing::TestWithParam<s_value_case> {};

TEST_P(EntityValueTest, Value) {
    const s_value_case& c = GetParam();
    c_xml_reader_memory r(c.doc.data(), c.doc.size());
    int ev;
    while ((ev = r.get_next_event()) != xe_start_tag_end && ev != xe_error && ev != xe_end_of_input) {
    }
    ASSERT_EQ(ev, xe_start_tag_end);
    std::string value;
    EXPECT_EQ(r.get_element_value(value, c.mode, c.refs_are_ws), c.ok);
    EXPECT_EQ(value, c.value);
}

INSTANTIATE_TEST_SUITE_P(XrtEntities, EntityValueTest, ::testing::ValuesIn(k_value_cases), xrt_test::param_name());

TEST(XrtEntityTables, RewindForgetsEverything) {
    c_error error;
    c_read_string source(" x");
    c_get_for_xml in(source, error);
    in.add_general_entity("g", "1");
    in.add_parameter_entity("p", "2");
    ASSERT_TRUE(in.push_entity("g", *in.get_general_entity("g")));
    EXPECT_EQ(in.get_entity_stack_depth(), 1u);
    EXPECT_EQ(in.get(), '1');
    in.rewind();
    EXPECT_EQ(in.get_entity_stack_depth(), 0u);
    EXPECT_EQ(in.get_general_entity("g"), nullptr);
    EXPECT_EQ(in.get_parameter_entity("p"), nullptr);
    EXPECT_EQ(in.get(), ' ');
    EXPECT_EQ(in.get(), 'x');
}

}  // namespace
