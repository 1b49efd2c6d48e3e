// The pull reader: event sequences of valid documents, malformed documents pinned to their
// code and line, namespaces and tokens, values, end tags and the error record.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/xrt/XrtTestSupport.h"

using namespace xrt;

namespace {

struct s_case {
    const char* name;
    std::string doc;
    std::string trace;
};

const s_case k_documents[] = {
    {"empty document", "", "$"},
    {"blank document", " \n ", "$"},
    {"element with text", "<a>x y</a>", "<a > 'x y' /a $"},
    {"nested with blanks between", "<a>\n  <b/>\n  <c></c>\n</a>", "<a > <b /b <c > /c /a $"},
    {"attributes in both quotes", "<a b = 'x\"y' c=\"1\"/>", "<a @b=x\"y @c=1 /a $"},
    {"attribute references", "<a b='&lt;&#65;&amp;'/>", "<a @b=<A& /a $"},
    {"declaration and comments", "<?xml version=\"1.0\"?>\n<!-- c --><a/><!-- after -->", "<a /a $"},
    {"declaration with all parts", "<?xml version='1.1' encoding='UTF-8' standalone='yes' ?><a/>", "<a /a $"},
    {"processing instructions skipped",
     "<?style x?><a><?pi ?"
     "?></a>",
     "<a > /a $"},
    {"cdata as text", "<a><![CDATA[<x>&amp;]]]></a>", "<a > '<x>&amp;]' /a $"},
    {"end tag with blanks", "<a></a  \n>", "<a > /a $"},
    {"empty element with blank", "<a/ >", "<a /a $"},
    {"names with all classes", "<_a-b.c:d \xC3\xA9=\"1\"/>", "<_a-b.c:d @\xC3\xA9=1 /_a-b.c:d $"},
    {"text then element", "<a>x<b/>y</a>", "<a > 'x' <b /b 'y' /a $"},
    {"reference starts text", "<a>&amp;x</a>", "<a > '&x' /a $"},
    {"line ends in text", "<a>1\r\n2\r3</a>", "<a > '1\n2\n3' /a $"},
    {"encoded line ends are blanks",
     "<a\xC2\x85"
     "b='1'\xE2\x80\xA8/>",
     "<a @b=1 /a $"},
    {"namespace declarations not listed", "<a xmlns='u' xmlns:p='v' p:b='1'/>", "<a @p:b=1 /a $"},
};

class DocumentTest : public ::testing::TestWithParam<s_case> {};
TEST_P(DocumentTest, Trace) {
    EXPECT_EQ(xrt_test::trace(GetParam().doc), GetParam().trace);
}
INSTANTIATE_TEST_SUITE_P(XrtReader, DocumentTest, ::testing::ValuesIn(k_documents), xrt_test::param_name());

const s_case k_malformed[] = {
    {"declaration after comment", "<!-- c --><?xml version=\"1.0\"?><a/>", "!13@1"},
    {"declaration after root", "<a/>\n<?xml version=\"1.0\"?>", "<a /a !13@2"},
    {"version missing", "<?xml encoding=\"UTF-8\"?><a/>", "!13@1"},
    {"version 2.0", "<?xml version=\"2.0\"?><a/>", "!14@1"},
    {"not standalone", "<?xml version=\"1.0\" standalone=\"no\"?><a/>", "!13@1"},
    {"declaration not closed", "<?xml version=\"1.0\" ><a/>", "!13@1"},
    {"declaration attribute order", "<?xml version=\"1.0\" standalone=\"yes\" encoding=\"UTF-8\"?><a/>", "!13@1"},
    {"slash then letter", "<a/x>", "<a !23@1"},
    {"attribute without value", "\n<a b>", "!23@2"},
    {"value without quote", "<a b=x>", "!23@1"},
    {"value never ends", "<a b=\"x", "!34@1"},
    {"tag never ends", "<a b=\"x\"", "!34@1"},
    {"empty end tag name", "<a></>", "<a > !23@1"},
    {"junk in end tag", "<a></a x>", "<a > !23@1"},
    {"double hyphen in comment", "<!-- a -- b -->", "!8@1"},
    {"comment never ends", "<a/><!-- x", "<a /a !34@1"},
    {"pi never ends", "<?pi", "!34@1"},
    {"cdata never ends", "<a><![CDATA[x", "<a > !34@1"},
    {"bad bang", "<a><!X></a>", "<a > !23@1"},
    {"less-than then blank", "<a>< b/></a>", "<a > !23@1"},
    {"file ends inside element", "<a>\n<b>\n", "<a > <b > !34@3"},
    {"unknown entity in text", "<a>x & y</a>", "<a > !41@1"},
    {"error after many lines", "<a>\n\n\n\n<b c=></b></a>", "<a > !23@5"},
    {"utf16 broken in the middle", xrt_test::utf16("<a>\n", false, true) + std::string("\x00\xDC", 2), "<a > !6@2"},
};

class MalformedTest : public ::testing::TestWithParam<s_case> {};
TEST_P(MalformedTest, CodeAndLineForEveryBlockSize) {
    EXPECT_EQ(xrt_test::trace(GetParam().doc), GetParam().trace);
    EXPECT_EQ(xrt_test::trace_drip(GetParam().doc), GetParam().trace) << "one byte per block";
}
INSTANTIATE_TEST_SUITE_P(XrtReader, MalformedTest, ::testing::ValuesIn(k_malformed), xrt_test::param_name());

TEST(XrtReaderErrors, StopIsSticky) {
    std::string doc = "<a b>";
    c_xml_reader_memory r(doc.data(), doc.size());
    EXPECT_EQ(r.get_next_event(), xe_error);
    EXPECT_EQ(r.get_next_event(), xe_error);
    std::string v;
    EXPECT_FALSE(r.get_element_value(v, 0));
    EXPECT_FALSE(r.test_end_tag("a"));
    EXPECT_EQ(r.get_error(), e_not_well_formed);
}

TEST(XrtReaderErrors, MessagesOfTheReader) {
    struct {
        std::string doc;
        const char* message;
    } cases[] = {
        {"<a b>", "23@1:Schema is not Well Formed (expected '=', got '>'"},
        {"<a b=x>", "23@1:Schema is not Well Formed (expected '\"' or ''', got x'"},
        {"<a/x>", "23@1:XML not well-formed"},
        {"<a><!X></a>", "23@1:XML not Well-Formed"},
        {"<a b='", "34@1:Unexpected end of file"},
        {"<!-- -- -->", "8@1:End of comment not Well-Formed"},
        {"<?xml version='9'?>", "14@1:XML version 9 not understood"},
        {"<?xml encoding='UTF-8'?>", "13@1:Version not present in XML Decl"},
        {"<?xml version='1.0' standalone='no'?>", "13@1:XML Document is not standalone"},
        {"<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>", "15@1:Mis-match between specfied encoding and byte format"},
        {"<?xml version=\"1.0\" encoding=\"KOI8-R\"?><a/>", "6@1:Unknown character encoding specified"},
        {"x", "6@1:Unrecognised character encoding"},
        {"<!-- --><?xml version='1.0'?>", "13@1:XML declaration not at start of document"},
    };
    for (const auto& c : cases) EXPECT_EQ(xrt_test::first_message(c.doc), c.message) << c.doc;
}

// ---------------------------------------------------------------- namespaces and tokens

enum { t_root = 12, t_child, t_attr, t_other_ns };
const s_xml_token k_tokens[] = {
    {1, "root", 4, t_root},       {1, "child", 5, t_child}, {1, "attr", 4, t_attr},
    {100, "root", 4, t_other_ns}, {0, nullptr, 0, 0},
};
const s_ns_map k_ns_map[] = {{"b", "urn:bound", 100}, {nullptr, nullptr, 0}};

// Moves to the n-th start tag (0-based) and leaves the reader on it.
void to_element(c_xml_reader& r, int n) {
    for (int ev; (ev = r.get_next_event()) != xe_error && ev != xe_end_of_input;)
        if (ev == xe_start && !r.is_attribute_event() && n-- == 0) return;
    FAIL() << "element not found";
}

struct s_token_case {
    const char* name;
    std::string doc;
    int element;  // which start tag
    int ns_id;    // its namespace id
    int token;    // tokenise as element
};

const s_token_case k_token_cases[] = {
    {"no namespace", "<root/>", 0, 0, t_root},
    {"empty default namespace", "<root xmlns=''/>", 0, 1, t_root},
    {"bound namespace by default", "<root xmlns='urn:bound'/>", 0, 100, t_other_ns},
    {"bound namespace by prefix", "<p:root xmlns:p='urn:bound'/>", 0, 100, t_other_ns},
    {"undeclared prefix", "<q:root/>", 0, 0, xe_unknown_name},
    {"new uri numbered", "<x:root xmlns:x='urn:new'/>", 0, 1000, xe_unknown_name},
    {"default inherited", "<root xmlns='urn:bound'><child/></root>", 1, 100, xe_unknown_name},
    {"default undone inside", "<root xmlns='urn:bound'><child xmlns=''/></root>", 1, 1, t_child},
    {"scope ends with element", "<root><a xmlns='urn:bound'/><child/></root>", 2, 0, t_child},
    {"uri keeps its id", "<root><a xmlns='urn:x'/><b xmlns='urn:y'/><c xmlns='urn:x'/></root>", 3, 1000,
     xe_unknown_name},
    {"second new uri", "<root><a xmlns='urn:x'/><b xmlns='urn:y'/></root>", 2, 1001, xe_unknown_name},
    {"xml prefix", "<xml:root/>", 0, 2, xe_unknown_name},
    {"uri from reference", "<root xmlns='urn:&#98;ound'/>", 0, 100, t_other_ns},
    {"unknown local name", "<rooty/>", 0, 0, xe_unknown_name},
};

class TokenTest : public ::testing::TestWithParam<s_token_case> {};
TEST_P(TokenTest, ElementNamespaceAndToken) {
    const s_token_case& c = GetParam();
    c_xml_reader_memory r(c.doc.data(), c.doc.size());
    r.set_ns_map(k_ns_map);
    to_element(r, c.element);
    EXPECT_EQ(r.get_element_ns_id(), c.ns_id);
    EXPECT_EQ(r.tokenise(k_tokens, true), c.token);
}
INSTANTIATE_TEST_SUITE_P(XrtReader, TokenTest, ::testing::ValuesIn(k_token_cases), xrt_test::param_name());

TEST(XrtTokens, AttributesAndSchemaInstanceNames) {
    std::string doc =
        "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:b='urn:bound' attr='1' "
        "xsi:type='t' xsi:nil='true' xsi:schemaLocation='a b' xsi:noNamespaceSchemaLocation='c' "
        "xsi:other='x' xml:lang='en' b:attr='2' q:attr='3'/>";
    c_xml_reader_memory r(doc.data(), doc.size());
    r.set_ns_map(k_ns_map);
    ASSERT_EQ(r.get_next_event(), xe_start);
    std::string type;
    EXPECT_TRUE(r.get_xsi_type(type));
    EXPECT_EQ(type, "t");
    std::string value;
    EXPECT_TRUE(r.get_named_attribute(100, "attr", value));
    EXPECT_EQ(value, "2");
    EXPECT_FALSE(r.get_named_attribute(100, "lang", value));
    struct {
        int token;
        int ns;
        bool xsi;
    } expected[] = {{t_attr, 1, false},
                    {xe_xsi_type, 5, true},
                    {xe_xsi_nil, 5, true},
                    {xe_xsi_schema_location, 5, true},
                    {xe_xsi_no_namespace_schema_location, 5, true},
                    {xe_unknown_name, 5, true},
                    {xe_unknown_name, 2, false},
                    {xe_unknown_name, 100, false},
                    {xe_unknown_name, 0, false}};
    for (const auto& e : expected) {
        ASSERT_EQ(r.get_next_event(), xe_start);
        ASSERT_TRUE(r.is_attribute_event());
        EXPECT_EQ(r.tokenise(k_tokens, false), e.token) << r.get_attribute_name().full_name;
        EXPECT_EQ(r.get_ns_id(), e.ns) << r.get_attribute_name().full_name;
        EXPECT_EQ(r.is_xsi_attribute(), e.xsi) << r.get_attribute_name().full_name;
    }
    EXPECT_EQ(r.get_next_event(), xe_end_tag);
    EXPECT_EQ(r.get_next_event(), xe_end_of_input);
}

TEST(XrtTokens, DefaultNamespaceMappingOfTheBinding) {
    std::string doc = "<root/>";
    c_xml_reader_memory r(doc.data(), doc.size());
    r.set_ns_map(k_ns_map);
    r.add_default_namespace_mapping("urn:bound");
    ASSERT_EQ(r.get_next_event(), xe_start);
    EXPECT_EQ(r.tokenise(k_tokens, true), t_other_ns);
}

// ---------------------------------------------------------------- values and end tags

struct s_value_case {
    const char* name;
    std::string doc;
    int mode;
    std::string value;
};

const s_value_case k_values[] = {
    {"preserve", "<a>  x \t y  </a>", 0, "  x \t y  "},
    {"replace", "<a>  x \t\ny  </a>", 1, "  x   y  "},
    {"collapse", "<a>  x \t\n y  </a>", 2, "x y"},
    {"collapse blanks only", "<a> \n </a>", 2, ""},
    {"comment and pi skipped", "<a>x<!-- c -->y<?p z?>z</a>", 0, "xyz"},
    {"cdata appended", "<a>x<![CDATA[<&>]]>y</a>", 0, "x<&>y"},
    {"cdata in collapse", "<a> x <![CDATA[ y ]]> </a>", 2, "x y"},
    {"line ends normalised", "<a>a\r\nb\rc</a>", 0, "a\nb\nc"},
    {"multi-byte text", "<a>\xE2\x82\xAC \xC3\xA9</a>", 2, "\xE2\x82\xAC \xC3\xA9"},
    {"empty", "<a></a>", 0, ""},
};

class ValueTest : public ::testing::TestWithParam<s_value_case> {};
TEST_P(ValueTest, ValueAndEndTag) {
    const s_value_case& c = GetParam();
    c_xml_reader_memory r(c.doc.data(), c.doc.size());
    ASSERT_EQ(r.get_next_event(), xe_start);
    bool self_closed = true;
    ASSERT_TRUE(r.skip_start_tag(self_closed));
    EXPECT_FALSE(self_closed);
    std::string value = "junk";
    ASSERT_TRUE(r.get_element_value(value, c.mode));
    EXPECT_EQ(value, c.value);
    EXPECT_TRUE(r.test_end_tag("a"));
    EXPECT_EQ(r.get_next_event(), xe_end_of_input);
}
INSTANTIATE_TEST_SUITE_P(XrtReader, ValueTest, ::testing::ValuesIn(k_values), xrt_test::param_name());

TEST(XrtStartTagEnd, ScanOfValueElements) {
    struct {
        std::string doc;
        bool ok;
        bool self_closed;
        exrt_error code;
    } cases[] = {
        {"<a x='/>' y=\">\">", true, false, e_no_error},
        {"<a/>", true, true, e_no_error},
        {"<a / >", true, true, e_no_error},
        {"<a/x>", false, true, e_bad_end_tag},
        {"<a/xy >", false, true, e_bad_end_tag},
        {"<a x='1'", false, false, e_unexpected_end},
    };
    for (const auto& c : cases) {
        xrt_test::c_recording_error error;
        c_read_string source(c.doc);
        c_xml_reader r(source, &error);
        int ev = r.get_next_event();
        bool self_closed = false;
        if (ev == xe_start) {
            EXPECT_EQ(r.skip_start_tag(self_closed), c.ok) << c.doc;
            EXPECT_EQ(self_closed, c.self_closed) << c.doc;
        }
        EXPECT_EQ(r.get_error(), c.code) << c.doc;
        if (c.code == e_bad_end_tag) {
            ASSERT_EQ(error.messages.size(), 1u) << c.doc;  // reported once
            EXPECT_EQ(error.messages[0], "12@1:Illegal character(s) after / at end of tag - x");
        }
    }
}

TEST(XrtEndTags, MatchingAndErrorInfo) {
    struct {
        std::string doc;
        bool ok;
    } cases[] = {
        {"<a>v</a>", true},   {"<a>v</a \t\n>", true}, {"<a>v</b>", false},
        {"<a>v</ab>", false}, {"<a>v</a", false},      {"<a>v<b/>", false},
    };
    for (const auto& c : cases) {
        c_xml_reader_memory r(c.doc.data(), c.doc.size());
        ASSERT_EQ(r.get_next_event(), xe_start);
        ASSERT_EQ(r.get_next_event(), xe_start_tag_end);
        std::string v;
        ASSERT_TRUE(r.get_element_value(v, 0));
        EXPECT_EQ(r.test_end_tag("a"), c.ok) << c.doc;
    }
    std::string doc = "<a>\nv</b>";
    c_xml_reader_memory r(doc.data(), doc.size());
    EXPECT_EQ(r.get_error_info(), "No Error");
    r.get_next_event();
    r.get_next_event();
    std::string v;
    r.get_element_value(v, 0);
    EXPECT_FALSE(r.test_end_tag("a"));
    EXPECT_EQ(r.handle_error(e_bad_end_of_element, "a", __FILE__, __LINE__), e_bad_end_of_element);
    EXPECT_EQ(r.get_error_info(), "line:2-'a'-Bad end of element");
    EXPECT_EQ(r.get_error_item_name(), "a");
}

TEST(XrtEvents, RestoredEventsMeetTheEndTagCheck) {
    std::string doc = "<a><b/></a>";
    c_xml_reader_memory r(doc.data(), doc.size());
    ASSERT_EQ(r.get_next_event(), xe_start);
    ASSERT_EQ(r.get_next_event(), xe_start_tag_end);
    ASSERT_EQ(r.get_next_event(), xe_start);
    r.restore_event();
    EXPECT_EQ(r.get_next_event(), xe_start);
    EXPECT_EQ(r.get_local_name(), "b");
    r.restore_event();
    EXPECT_FALSE(r.test_end_tag("a"));  // the unplaced child is where the end tag should be

    c_xml_reader_memory again(doc.data(), doc.size());
    for (int ev : {xe_start, xe_start_tag_end, xe_start, xe_end_tag, xe_end_tag}) ASSERT_EQ(again.get_next_event(), ev);
    EXPECT_EQ(again.get_full_name(), "a");
    again.restore_event();
    EXPECT_TRUE(again.test_end_tag("a"));
    EXPECT_EQ(again.get_next_event(), xe_end_of_input);
}

TEST(XrtEvents, LookaheadIsTheSameForEveryBlockSize) {
    // After a value the reader looks two characters ahead; a line end among them must not
    // count before it is read for good, and a bad byte among them must be found either way.
    struct {
        std::string doc;
        exrt_error code;
        int line;
    } cases[] = {
        {"<v>&bad;<\r\n/v>", e_entity_not_found, 1},
        {"<v>&bad;<\xFF/v>", e_encoding_not_supported, 1},
        {"<v>&bad;<\xC3\xA9/v>", e_entity_not_found, 1},
    };
    for (const auto& c : cases) {
        c_read_string whole(c.doc);
        xrt_test::c_read_drip drip(c.doc);
        for (c_read* source : {static_cast<c_read*>(&whole), static_cast<c_read*>(&drip)}) {
            c_xml_reader r(*source);
            ASSERT_EQ(r.get_next_event(), xe_start);
            bool self_closed;
            ASSERT_TRUE(r.skip_start_tag(self_closed));
            std::string v;
            EXPECT_FALSE(r.get_element_value(v, 0));
            EXPECT_EQ(v, "&bad;");
            EXPECT_EQ(r.get_error(), c.code) << c.doc;
            EXPECT_EQ(r.get_error_line(), c.line) << c.doc;
            EXPECT_EQ(r.get_line_no(), 1) << c.doc;
        }
    }
}

struct c_forgiving_reader : c_xml_reader_memory {
    using c_xml_reader_memory::c_xml_reader_memory;
    std::string seen;
    exrt_error user_handle_error(exrt_error code, const char* item, const char*, int) override {
        seen = std::to_string(code) + ":" + item;
        return e_no_error;
    }
};

TEST(XrtHooks, SubclassMayGoOn) {
    c_forgiving_reader r("<a/>", 4);
    EXPECT_EQ(r.handle_error(e_unexpected_attribute, "id", "f.cpp", 1), e_no_error);
    EXPECT_EQ(r.seen, "39:id");
    EXPECT_EQ(r.get_error(), e_no_error);
    c_xml_reader_memory plain("<a/>", 4);
    EXPECT_EQ(plain.handle_error(e_unexpected_attribute, "id", "f.cpp", 1), e_unexpected_attribute);
}

// ---------------------------------------------------------------- the error table and record

TEST(XrtErrorTable, Texts) {
    struct {
        int code;
        const char* text;
    } cases[] = {
        {0, "No Error"},
        {15, "Mis-match between specified char encoding and read bytes"},
        {46, "min/max occurs error on marshaling"},
        {47, ""},
        {-1, ""},
        {999, ""},
        {1000, "User defined error 1"},
        {1008, "User defined error 9"},
        {1009, ""},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(get_error_text(static_cast<exrt_error>(c.code)), c.text) << c.code;
        EXPECT_STREQ(c_xrt_exception(static_cast<exrt_error>(c.code)).what(), c.text) << c.code;
    }
}

TEST(XrtErrorRecord, CountsAndTheFatalStop) {
    xrt_test::c_recording_error e;
    EXPECT_EQ(e.get_last_error_type(), et_none);
    EXPECT_EQ(e.get_last_line(), -1);
    e.record(et_warning, e_external_entity, "s", 3, "w");
    EXPECT_FALSE(e.is_errored());
    e.record(et_error, e_entity_not_found, "s", 4, "e");
    EXPECT_TRUE(e.is_errored());
    EXPECT_FALSE(e.is_fatal_errored());
    e.record(et_fatal, e_bad_dtd, "s", 5, "f");
    e.record(et_fatal, e_bad_comment, "s", 6, "dropped");
    e.record(et_error, e_bad_comment, "s", 6, "dropped");
    EXPECT_TRUE(e.is_fatal_errored());
    EXPECT_EQ(e.get_fatal_count(), 1);
    EXPECT_EQ(e.get_error_count(), 2);
    EXPECT_EQ(e.get_warning_count(), 1);
    EXPECT_EQ(e.get_last_error(), e_bad_dtd);
    EXPECT_EQ(e.get_last_line(), 5);
    EXPECT_EQ(e.messages.size(), 3u);
    c_error copy = e;
    EXPECT_TRUE(copy.is_fatal_errored());
}

}  // namespace
