// The writer: prolog, indentation, namespace and schema-location output, escaping, and a
// written document read back by the reader.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/xrt/XrtTestSupport.h"

using namespace xrt;

namespace {

const char* const k_prolog = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Writes <Root> with one leaf, the way a binding class does.
void write_small(c_xml_writer& w) {
    w(true) << "<Root";
    w.write_namespaces();
    w.stream() << ">" << w.endl();
    w.indent();
    w(true) << "<Name>";
    w.write_escaped("a<b & \"c\" 'd' >");
    w.stream() << "</Name>" << w.endl();
    w(true) << "<Inner";
    w.write_namespaces();  // only the first element gets them
    w.stream() << "/>" << w.endl();
    w.undent();
    w(true) << "</Root>" << w.endl();
}

struct s_ns_case {
    const char* name;
    void (*setup)(c_xml_writer&);
    std::string root_attributes;
};

const s_ns_map k_map[] = {{"", "urn:default", 100}, {"p", "urn:p", 101}, {nullptr, nullptr, 0}};
const s_ns_map k_empty_map[] = {{nullptr, nullptr, 0}};

const s_ns_case k_ns_cases[] = {
    {"nothing", [](c_xml_writer&) {}, ""},
    {"empty map", [](c_xml_writer& w) { w.set_ns_map(k_empty_map); }, ""},
    {"map", [](c_xml_writer& w) { w.set_ns_map(k_map); }, " xmlns=\"urn:default\" xmlns:p=\"urn:p\""},
    {"map then defaults",
     [](c_xml_writer& w) {
         w.set_ns_map(k_map + 1);
         w.add_default_namespace("urn:d");
     },
     " xmlns:p=\"urn:p\" xmlns=\"urn:d\""},
    {"no-namespace location", [](c_xml_writer& w) { w.add_no_namespace_schema_location("cfg.xsd"); },
     " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:noNamespaceSchemaLocation=\"cfg.xsd\""},
    {"namespace locations",
     [](c_xml_writer& w) {
         w.add_schema_location("urn:a", "a.xsd");
         w.add_schema_location("urn:b", "b.xsd");
     },
     " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:schemaLocation=\"urn:a a.xsd urn:b b.xsd\""},
};

class NamespaceOutputTest : public ::testing::TestWithParam<s_ns_case> {};

TEST_P(NamespaceOutputTest, WholeDocument) {
    std::ostringstream os;
    c_xml_writer w(os);
    GetParam().setup(w);
    write_small(w);
    std::string expected = std::string(k_prolog) + "<Root" + GetParam().root_attributes + ">\n" +
                           "\t<Name>a&lt;b &amp; &quot;c&quot; &apos;d&apos; ></Name>\n" + "\t<Inner/>\n</Root>\n";
    EXPECT_EQ(os.str(), expected);
}

INSTANTIATE_TEST_SUITE_P(XrtWriter, NamespaceOutputTest, ::testing::ValuesIn(k_ns_cases), xrt_test::param_name());

TEST(XrtWriter, PrologPerWriterAndDepthFloor) {
    std::ostringstream os;
    {
        c_xml_writer w(os);
        w.undent();
        EXPECT_EQ(w.get_depth(), 0);
        w.indent();
        w.indent();
        w(true) << "x";
        w(false) << "y";
    }
    c_xml_writer second(os);
    EXPECT_EQ(os.str(), std::string(k_prolog) + "\t\txy" + k_prolog);
}

TEST(XrtWriter, NamespaceOutputCanBeEnabledAgain) {
    std::ostringstream os;
    c_xml_writer w(os);
    w.add_default_namespace("urn:d");
    w.write_namespaces();
    w.write_namespaces();
    w.reenable_ns_map_output();
    w.write_namespaces();
    EXPECT_EQ(os.str(), std::string(k_prolog) + " xmlns=\"urn:d\" xmlns=\"urn:d\"");
}

TEST(XrtWriter, ClassicLocaleAndLayoutHooks) {
    struct c_spaced : c_xml_writer {
        using c_xml_writer::c_xml_writer;
        void nest() override { stream() << "  "; }
        const char* endl() const override { return "\r\n"; }
    };
    std::ostringstream os;
    c_spaced w(os);
    w.indent();
    w(true) << 1234567 << w.endl();
    EXPECT_EQ(os.str(), std::string(k_prolog) + "  1234567\r\n");
}

// The indent at any depth, from the runtime's layout and from a subclass's
// nest(), which must still be called once per level.
TEST(XrtWriter, IndentAtDepthTable) {
    struct c_spaced : c_xml_writer {
        using c_xml_writer::c_xml_writer;
        void nest() override { stream() << "  "; }
    };
    for (int depth : {0, 1, 3, 31, 32, 33, 70}) {
        std::ostringstream plain_os, spaced_os;
        c_xml_writer plain(plain_os);
        c_spaced spaced(spaced_os);
        for (int i = 0; i < depth; ++i) {
            plain.indent();
            spaced.indent();
        }
        plain(true) << 'x';
        plain(false) << 'y';
        spaced(true) << 'x';
        EXPECT_EQ(plain_os.str(), std::string(k_prolog) + std::string(depth, '\t') + "xy") << depth;
        EXPECT_EQ(spaced_os.str(), std::string(k_prolog) + std::string(2 * depth, ' ') + "x") << depth;
    }
}

TEST(XrtWriter, EscapingTable) {
    struct {
        std::string in, out;
    } cases[] = {
        {"", ""},
        {"<<", "&lt;&lt;"},
        {"a&", "a&amp;"},
        {"\"'", "&quot;&apos;"},
        {">\t\n\xC3\xA9", ">\t\n\xC3\xA9"},
        {std::string("a\0b", 3), std::string("a\0b", 3)},
    };
    for (const auto& c : cases) {
        std::ostringstream os;
        c_xml_writer w(os);
        w.write_escaped(c.in);
        EXPECT_EQ(os.str().substr(std::string(k_prolog).size()), c.out);
        // The binding's leaves escape into a buffer: same text.
        std::string appended = "x";
        append_escaped(appended, c.in.data(), c.in.size());
        EXPECT_EQ(appended, "x" + c.out);
    }
}

TEST(XrtWriter, ErrorInfo) {
    std::ostringstream os;
    c_xml_writer w(os);
    EXPECT_EQ(w.get_error_info(), "No Error");
    EXPECT_EQ(w.handle_error(e_type_not_set, "StringAttribute", __FILE__, __LINE__), e_type_not_set);
    EXPECT_EQ(w.get_error_info(), "'StringAttribute'-Type not set");
}

TEST(XrtWriter, ReadBackThroughTheReader) {
    std::ostringstream os;
    c_xml_writer w(os);
    write_small(w);
    std::string doc = os.str();
    c_xml_reader_memory r(doc.data(), doc.size());
    ASSERT_EQ(r.get_next_event(), xe_start);
    ASSERT_EQ(r.get_next_event(), xe_start_tag_end);
    ASSERT_EQ(r.get_next_event(), xe_start);
    bool self_closed;
    ASSERT_TRUE(r.skip_start_tag(self_closed));
    std::string value;
    ASSERT_TRUE(r.get_element_value(value, 0));
    EXPECT_EQ(value, "a<b & \"c\" 'd' >");
    EXPECT_TRUE(r.test_end_tag("Name"));
    EXPECT_EQ(xrt_test::trace_reader(r), "<Inner /Inner /Root $");
}

}  // namespace
