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
#include <regex>
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

const char* const files[] = {
    "../../../examples/ka7710x_logger.xml", "../../../examples/ka7710x_gta.xml",
    "../../../examples/minimal_logger.xml", "../../e2e_run/golden/ka7710x_saved.xml",
    "../../fuzz/loader/corpus/full.xml",    "../../fuzz/loader/corpus/full-utf16le.xml",
    "../../fuzz/loader/corpus/cdata.xml",   "../../fuzz/loader/corpus/dup.xml",
    "../../fuzz/loader/corpus/latin1.xml",  "../../fuzz/loader/corpus/min.xml",
    "../../fuzz/loader/corpus/bom.xml",
};

TEST(WriteDocument, FilesOfEveryShape) {
    for (const char* file : files) {
        const ConfigurationPtr cfg = loadConfiguration(file);
        ASSERT_TRUE(cfg) << file;
        expectSameText(dynamic_cast<const ConfigurationXml&>(*cfg), file);
    }
}

// The loader releases the binding objects as it builds the tree; building
// from a binding kept whole gives the same tree and the same log lines.
TEST(WriteDocument, ReleasingBuildGivesTheSameTree) {
    for (const char* file : files) {
        std::string keptText, loadedText;
        const std::string keptLog = rq7test::logged([&] {
            xrt::exrt_error code = XB_UNDEFINED;
            const c_QUORL document(file, &code);
            ASSERT_EQ(code, XB_OK) << file;
            keptText = streamed(ConfigurationXml(document.get_Configuration()));
        });
        const std::string loadedLog = rq7test::logged([&] {
            const ConfigurationPtr cfg = loadConfiguration(file);
            ASSERT_TRUE(cfg) << file;
            loadedText = streamed(dynamic_cast<const ConfigurationXml&>(*cfg));
        });
        EXPECT_EQ(loadedText, keptText) << file;
        // The lines without their time of day.
        const std::regex time("[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}");
        EXPECT_EQ(std::regex_replace(loadedLog, time, ""), std::regex_replace(keptLog, time, "")) << file;
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
