// The reader's place of the current start tag (line and source byte offset),
// from memory and from a file read in small runs, and the index built on it.
#include "rq7/SourceIndex.h"
#include "tests/rq7/lint/LintTestSupport.h"
#include "xrt/xml_reader.h"

#include <gtest/gtest.h>

namespace {

struct PlaceCase {
    const char* title;
    std::string text;
    int line;            // of the start tag of element <b>
    std::size_t offset;  // of its '<'
};

const std::string kLongLine = "<a>" + std::string(300, ' ') + "<b/></a>";

const PlaceCase kPlaces[] = {
    {"second line", "<a>\n  <b/>\n</a>", 2, 6},
    {"CR LF line ends", "<a>\r\n\t<b/>\r\n</a>", 2, 6},
    {"byte order mark", "\xEF\xBB\xBF<a><b/></a>", 1, 6},
    {"after a comment with a tag in it", "<a><!-- <x> --><b/></a>", 1, 15},
    {"past the reader's first run", kLongLine, 1, 303},
    {"after attributes", "<?xml version=\"1.0\"?>\n<a x='1'\n   y='2'><b/></a>", 3, 40},
};

// Place of <b> as the reader reports it.
void placeOfB(xrt::c_xml_reader& reader, int& line, std::size_t& offset) {
    line = -1;
    for (int event = reader.get_next_event(); event != xrt::xe_end_of_input && event != xrt::xe_error;
         event = reader.get_next_event())
        if (event == xrt::xe_start && !reader.is_attribute_event() && reader.get_local_name() == "b") {
            line = reader.get_markup_line();
            offset = reader.get_markup_offset();
            return;
        }
}

TEST(MarkupPlace, LineAndOffsetOfTheStartTag) {
    for (const PlaceCase& c : kPlaces) {
        SCOPED_TRACE(c.title);
        int line = 0;
        std::size_t offset = 0;
        xrt::c_xml_reader_memory memory(c.text.data(), c.text.size());
        placeOfB(memory, line, offset);
        EXPECT_EQ(line, c.line);
        EXPECT_EQ(offset, c.offset);

        const std::string path = rq7test::writeFile("place.xml", c.text);
        xrt::c_xml_reader_file file(path.c_str());
        placeOfB(file, line, offset);
        EXPECT_EQ(line, c.line);
        EXPECT_EQ(offset, c.offset);
    }
}

TEST(SourceIndex, KeepsTheFirstOfARepeatedNameAndNothingInsideADroppedBlock) {
    const std::string text =
        "<QUORL><Configuration><Name>D</Name><Version>1</Version>\n"
        "<ConfigBlock><Name>A</Name>\n"
        "\t<BoolAttribute><Name>x</Name><DefaultValue>true</DefaultValue></BoolAttribute>\n"
        "\t<BoolAttribute><Name>x</Name><DefaultValue>false</DefaultValue></BoolAttribute>\n"
        "</ConfigBlock>\n"
        "<ConfigBlock><Name>A</Name><ConfigBlock><Name>inner</Name></ConfigBlock></ConfigBlock>\n"
        "</Configuration></QUORL>\n";
    const rq7::SourceIndex index(text);
    const int block = index.block("D.A");
    ASSERT_GE(block, 0);
    EXPECT_EQ(index.place(block).line, 2);
    const int attribute = index.attribute("D.A", "x");
    ASSERT_GE(attribute, 0);
    EXPECT_EQ(index.nodes()[attribute].value, "true");
    EXPECT_EQ(index.place(attribute).column, 2);
    EXPECT_EQ(index.block("D.A.inner"), -1);  // inside the second A, which the loader drops

    int duplicates = 0;
    for (std::size_t i = 0; i < index.nodes().size(); ++i) {
        const rq7::SourceNode& n = index.nodes()[i];
        if (n.keptAs >= 0 && n.keptAs != static_cast<int>(i)) ++duplicates;
    }
    EXPECT_EQ(duplicates, 2);  // the second x and the second A
}

}  // namespace
