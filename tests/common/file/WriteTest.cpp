// The document written straight from the tree is the text that populating
// the binding objects and marshalling them gives, for every shape of file.
#include "common/src/ConfigurationLoader.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/MutableAttributeXml.h"
#include "common/src/MutableConfigBlockXml.h"
#include "common/src/ka.common.xml.h"
#include "tests/support/ConfigTestSupport.h"

#include "xrt/xml_writer.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <fstream>
#include <sstream>
#include <string>

namespace quorl {
namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string populated(const ConfigurationXml& doc) {
    c_QUORL root;
    doc.populate(root.get_Configuration());
    std::ostringstream os;
    xrt::c_xml_writer w(os);
    EXPECT_EQ(root.marshal(w), XB_OK);
    return os.str();
}

std::string streamed(const ConfigurationXml& doc) {
    std::ostringstream os;
    xrt::c_xml_writer w(os);
    EXPECT_EQ(doc.write(w), XB_OK);
    return os.str();
}

// Compares both texts, and the saved file with them.
void expectSameText(const ConfigurationXml& doc, const std::string& what) {
    const std::string expected = populated(doc);
    EXPECT_EQ(streamed(doc), expected) << what;
    const std::string path = ::testing::TempDir() + "rq7-write-test.xml";
    ASSERT_TRUE(doc.save(path, std::ios::out, 0)) << what;
    EXPECT_EQ(readFile(path), expected) << what;
    std::remove(path.c_str());
}

TEST(WriteDocument, FilesOfEveryShape) {
    const char* const files[] = {
        "../../../examples/ka7710x_logger.xml", "../../../examples/ka7710x_gta.xml",
        "../../../examples/minimal_logger.xml", "../../e2e_run/golden/ka7710x_saved.xml",
        "../../fuzz/loader/corpus/full.xml",    "../../fuzz/loader/corpus/full-utf16le.xml",
        "../../fuzz/loader/corpus/cdata.xml",   "../../fuzz/loader/corpus/dup.xml",
        "../../fuzz/loader/corpus/latin1.xml",  "../../fuzz/loader/corpus/min.xml",
        "../../fuzz/loader/corpus/bom.xml",
    };
    for (const char* file : files) {
        const ConfigurationPtr cfg = loadConfiguration(file);
        ASSERT_TRUE(cfg) << file;
        expectSameText(dynamic_cast<const ConfigurationXml&>(*cfg), file);
    }
}

// Editable blocks and attributes, nesting, comments, and a block of another
// implementation (written empty, with its log line).
TEST(WriteDocument, EditedTrees) {
    ConfigurationXml doc("Doc", "2", "a comment & more");
    auto editable = boost::make_shared<MutableConfigBlockXml>("E", "Doc");
    editable->addConfigAttribute(*makeStringAttribute("s", "<text>"));
    MutableConfigBlockXml inner("inner", "Doc.E");
    inner.addConfigAttribute(*makeStringAttribute("t", "x"));
    editable->addConfigBlock(inner);
    editable->addConfigBlock(ConfigBlockXml("plain"));
    doc.addBlock(editable);
    doc.addBlock(boost::make_shared<ConfigBlockXml>("empty"));
    doc.addBlock(boost::make_shared<rq7test::StubBlock>("stub", "Doc.stub", nullptr, nullptr));
    expectSameText(doc, "edited");
    EXPECT_NE(streamed(doc).find("<Mutable>true</Mutable>"), std::string::npos);
}

}  // namespace
}  // namespace quorl
