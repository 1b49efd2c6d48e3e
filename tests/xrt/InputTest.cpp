// Byte sources and the lowest input layer: encoding detection, conversion to UTF-8,
// line ends and line counting, on whole documents and on sources that hand out one byte
// per block (so that every multi-byte form straddles a block boundary).
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "tests/xrt/XrtTestSupport.h"

using namespace xrt;
using xrt_test::utf16;

namespace {

using xrt_test::c_read_drip;

struct s_decoded {
    std::string text;
    exrt_error error;
    int line;
};

s_decoded decode(c_read& source) {
    c_error error;
    c_get_for_xml in(source, error);
    s_decoded out;
    for (int c, guard = 0; (c = in.get()) >= 0 && guard < 100000; ++guard) out.text.push_back(static_cast<char>(c));
    out.error = error.get_last_error();
    out.line = in.get_line_num();
    return out;
}

struct s_decode_case {
    const char* name;
    std::string input;
    std::string output;
    exrt_error error;
    int line;
};

std::string le(const std::string& s) {
    return utf16(s, false, false);
}
std::string be(const std::string& s) {
    return utf16(s, true, false);
}

const s_decode_case k_decode_cases[] = {
    // UTF-8
    {"utf8 plain", "<a>x</a>", "<a>x</a>", e_no_error, 1},
    {"utf8 mark not returned", "\xEF\xBB\xBF<a/>", "<a/>", e_no_error, 1},
    {"utf8 mark only", "\xEF\xBB\xBF", "", e_no_error, 1},
    {"utf8 two to four bytes", "<a>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</a>",
     "<a>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</a>", e_no_error, 1},
    {"utf8 halves combined", "<\xED\xA0\xBD\xED\xB8\x80", "<\xF0\x9F\x98\x80", e_no_error, 1},
    {"utf8 NEL is a line feed",
     "<a\xC2\x85"
     "b",
     "<a\nb", e_no_error, 2},
    {"utf8 LS is a line feed",
     "<a\xE2\x80\xA8"
     "b",
     "<a\nb", e_no_error, 2},
    {"utf8 truncated sequence", "<a>\xC3(</a>", "<a>", e_encoding_not_supported, 1},
    {"utf8 bare continuation", "<a>\x80", "<a>", e_encoding_not_supported, 1},
    {"utf8 overlong", "<\xC0\xAF", "<", e_encoding_not_supported, 1},
    {"utf8 above U+10FFFF", "<\xF4\x90\x80\x80", "<", e_encoding_not_supported, 1},
    {"utf8 five-byte lead", "<\xF8\x88\x80\x80\x80", "<", e_encoding_not_supported, 1},
    {"utf8 first half alone", "<\xED\xA0\xBDx", "<", e_encoding_not_supported, 1},
    {"utf8 second half alone", "<\xED\xB8\x80", "<", e_encoding_not_supported, 1},
    {"utf8 cut at the end", "<\xE2\x82", "<", e_encoding_not_supported, 1},
    // UTF-16
    {"utf16 le with mark", utf16("<a>\xE9</a>", false, true), "<a>\xC3\xA9</a>", e_no_error, 1},
    {"utf16 be with mark", utf16("<a>\xE9</a>", true, true), "<a>\xC3\xA9</a>", e_no_error, 1},
    {"utf16 le without mark", le("<a/>"), "<a/>", e_no_error, 1},
    {"utf16 be without mark", be("<a/>"), "<a/>", e_no_error, 1},
    {"utf16 be starting with blank", be(" \n<a/>"), " \n<a/>", e_no_error, 2},
    {"utf16 le surrogate pair", le("<") + std::string("\x3D\xD8\x00\xDE", 4), "<\xF0\x9F\x98\x80", e_no_error, 1},
    {"utf16 bad second half", le("<") + std::string("\x3D\xD8\x41\x00", 4), "<", e_encoding_not_supported, 1},
    {"utf16 lone second half", le("<") + std::string("\x00\xDE", 2), "<", e_encoding_not_supported, 1},
    {"utf16 odd last byte", le("<a/>") + "x", "<a/>", e_encoding_not_supported, 1},
    {"utf16 pair cut", le("<") + std::string("\x3D\xD8", 2), "<", e_encoding_not_supported, 1},
    {"utf16 line ends", le("<\r\n\r\r\n"), "<\n\n\n", e_no_error, 4},
    {"utf16 NEL", le("<a\x85"), "<a\n", e_no_error, 2},
    // Detection failures
    {"empty", "", "", e_no_error, 1},
    {"starts with a letter", "abc", "", e_encoding_not_supported, 1},
    {"ff fe then a non-ASCII unit", "\xFF\xFE\xE9\x00", "", e_encoding_not_supported, 1},
    {"fe ff then zero zero", std::string("\xFE\xFF\x00\x00", 4), "", e_encoding_not_supported, 1},
    {"broken utf8 mark", "\xEF\xBB<", "", e_encoding_not_supported, 1},
    {"zero then a letter",
     std::string("\x00"
                 "a",
                 2),
     "", e_encoding_not_supported, 1},
    {"lone mark byte", "\xFF", "", e_encoding_not_supported, 1},
    // Line ends
    {"cr lf counts once", " a\r\nb", " a\nb", e_no_error, 2},
    {"cr cr counts twice", " a\r\rb", " a\n\nb", e_no_error, 3},
    {"lf cr lf", " \n\r\n", " \n\n", e_no_error, 3},
    {"cr at the end", " a\r", " a\n", e_no_error, 2},
    {"lone blank and a zero", std::string(" \x00", 2), " ", e_no_error, 1},
};

class DecodeTest : public ::testing::TestWithParam<s_decode_case> {};

TEST_P(DecodeTest, WholeBufferAndOneBytePerBlock) {
    const s_decode_case& c = GetParam();
    c_read_string whole(c.input);
    c_read_drip drip(c.input);
    for (c_read* source : {static_cast<c_read*>(&whole), static_cast<c_read*>(&drip)}) {
        s_decoded d = decode(*source);
        EXPECT_EQ(d.text, c.output);
        EXPECT_EQ(d.error, c.error);
        EXPECT_EQ(d.line, c.line);
    }
}

INSTANTIATE_TEST_SUITE_P(XrtEncodings, DecodeTest, ::testing::ValuesIn(k_decode_cases), xrt_test::param_name());

// The encoding named by the declaration against the bytes of the document.
struct s_declared_case {
    const char* name;
    std::string doc;
    std::string trace;
};

const s_declared_case k_declared_cases[] = {
    {"utf8 mark and lower-case name", "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?><a>x</a>",
     "<a > 'x' /a $"},
    {"utf8 declared utf16", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>", "!15@1"},
    {"utf16 mark declared utf8", utf16("<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>", false, true), "!15@1"},
    {"utf16 be declared utf16", be("<?xml version='1.0' encoding='UTF-16'?>\n<a>\xE9</a>"), "<a > '\xC3\xA9' /a $"},
    {"latin1 byte becomes two", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9</a>", "<a > '\xC3\xA9' /a $"},
    {"us-ascii", "<?xml version=\"1.0\" encoding=\"us-ascii\"?><a>x</a>", "<a > 'x' /a $"},
    {"latin1 on utf16 bytes", le("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a/>"), "!15@1"},
    {"ucs2 keeps halves apart",
     le("<?xml version=\"1.0\" encoding=\"ISO-10646-UCS-2\"?><a>") + std::string("\x00\xD8", 2) + le("</a>"),
     "<a > '\xED\xA0\x80' /a $"},
    {"ucs2 on utf8 bytes", "<?xml version=\"1.0\" encoding=\"ISO-10646-UCS-2\"?><a/>", "!15@1"},
    {"unknown name", "<?xml version=\"1.0\" encoding=\"EBCDIC\"?><a/>", "!6@1"},
    {"bad byte on line three", "<a>\n\n\xFF</a>", "<a > !6@3"},
    {"no start at all", "hello", "!6@1"},
};

class DeclaredEncodingTest : public ::testing::TestWithParam<s_declared_case> {};

TEST_P(DeclaredEncodingTest, Trace) {
    EXPECT_EQ(xrt_test::trace(GetParam().doc), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(XrtEncodings, DeclaredEncodingTest, ::testing::ValuesIn(k_declared_cases),
                         xrt_test::param_name());

TEST(XrtEncodingMessages, UngetComesBeforePendingBytes) {
    c_error error;
    c_read_string source("<\xC3\xA9");
    c_get_as_utf8 in(source, error);
    EXPECT_EQ(in.get(), '<');
    EXPECT_EQ(in.get(), 0xC3);
    in.unget('z');
    EXPECT_EQ(in.get(), 'z');
    EXPECT_EQ(in.get(), 0xA9);
    EXPECT_EQ(in.get(), -1);
    EXPECT_EQ(in.get(), -1);
}

// ---------------------------------------------------------------- byte sources

std::string temp_path(const char* name) {
    return ::testing::TempDir() + name;
}

TEST(XrtByteSources, MissingFileAndOpenFileHandle) {
    c_read_file missing("/nonexistent/dir/file.xml");
    EXPECT_FALSE(missing.is_open());
    EXPECT_EQ(missing.read(), -1);
    c_xml_reader_file reader("/nonexistent/dir/file.xml");
    EXPECT_FALSE(reader.is_open());

    std::string path = temp_path("xrt_read_handle.xml");
    std::ofstream(path) << "<a/>";
    std::FILE* f = std::fopen(path.c_str(), "rb");
    ASSERT_NE(f, nullptr);
    {
        c_read_file file(f);
        file.leave_file_open_on_delete(true);
        EXPECT_STREQ(file.get_source_id(), "");
        EXPECT_EQ(file.read(), '<');
    }
    // Still open: the source left it so.
    ASSERT_EQ(std::fseek(f, 0, SEEK_SET), 0);
    EXPECT_EQ(std::fgetc(f), '<');
    std::fclose(f);
    std::remove(path.c_str());
}

TEST(XrtByteSources, MemoryAndStringCopies) {
    std::string text = "<a/>";
    c_read_string copy(text);
    text[1] = 'b';
    c_read_memory view(text.data(), text.size());
    std::string a, b;
    for (int c; (c = copy.read()) >= 0;) a.push_back(static_cast<char>(c));
    for (int c; (c = view.read()) >= 0;) b.push_back(static_cast<char>(c));
    EXPECT_EQ(a, "<a/>");
    EXPECT_EQ(b, "<b/>");
    view.rewind();
    EXPECT_EQ(view.read(), '<');
    c_read_memory empty(nullptr, 0);
    EXPECT_EQ(empty.read(), -1);
}

TEST(XrtByteSources, LargeFileReadRewoundAndParsed) {
    // Multi-byte characters at every offset cross the file buffer's edges.
    std::string doc = "<r>";
    std::string expected;
    for (int i = 0; i < 700; ++i) {
        doc +=
            "\xE2\x82\xAC"
            "a\r\n";
        expected +=
            "\xE2\x82\xAC"
            "a\n";
    }
    doc += "</r>";
    std::string path = temp_path("xrt_large.xml");
    std::ofstream(path, std::ios::binary) << doc;
    {
        c_read_file file(path.c_str());
        ASSERT_TRUE(file.is_open());
        for (int pass = 0; pass < 2; ++pass) {  // the second pass after a rewind
            std::string back;
            for (int c; (c = file.read()) >= 0;) back.push_back(static_cast<char>(c));
            EXPECT_EQ(back, doc) << "pass " << pass;
            file.rewind();
        }
        std::string blocks;  // never more than the buffer at a time, and the same bytes
        const unsigned char* data;
        for (std::size_t n; (n = file.read_block(data)) != 0;) {
            EXPECT_LE(n, c_read_file::buffer_size);
            blocks.append(reinterpret_cast<const char*>(data), n);
        }
        EXPECT_EQ(blocks, doc);
    }
    c_xml_reader_file r(path.c_str());
    ASSERT_EQ(r.get_next_event(), xe_start);
    ASSERT_EQ(r.get_next_event(), xe_start_tag_end);
    std::string value;
    ASSERT_TRUE(r.get_element_value(value, 0));
    EXPECT_EQ(value, expected);
    EXPECT_TRUE(r.test_end_tag("r"));
    EXPECT_EQ(r.get_line_no(), 701);
    EXPECT_EQ(r.get_next_event(), xe_end_of_input);
    std::remove(path.c_str());
}

}  // namespace
