// Loading a configuration file into the tree and saving it back.
#include "common/src/ConfigurationLoader.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/MutableAttributeXml.h"
#include "common/src/MutableConfigBlockXml.h"
#include "common/src/ka.common.xml.io.h"
#include "tests/support/ConfigTestSupport.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace quorl {
namespace {

const std::string kProlog = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string doc(const std::string& blocks) {
    return kProlog + "<QUORL><Configuration><Name>B</Name><Version>1</Version>" + blocks + "</Configuration></QUORL>";
}

using rq7test::logged;
using rq7test::readFile;
using rq7test::ScratchDir;
using rq7test::typedAttribute;
using rq7test::writeFile;

size_t count(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// ---- The extension rule and the load error line -----------------------------------

TEST(Loader, ExtensionRule) {
    struct Row {
        const char* path;
        bool accepted;
    } rows[] = {{"CONFIG.XML", true}, {"config.xml.bak", false}, {"a.xmlx", true},
                {"a.Xml", false},     {"dir.xml/config", false}, {"/some/dir/b.xml", true}};
    for (const Row& r : rows) EXPECT_EQ(r.accepted, hasConfigurationExtension(r.path)) << r.path;

    ScratchDir dir;
    const std::string path = dir.file("config.txt");
    writeFile(path, doc(""));
    ConfigurationPtr cfg;
    EXPECT_EQ("", logged([&] { cfg = loadConfiguration(path); }));
    EXPECT_FALSE(cfg);
}

TEST(Loader, RefusedFileGivesTheErrorLineAndNoTree) {
    ScratchDir dir;
    struct Row {
        std::string text;  // empty: no file at all
        int code;
    } rows[] = {{"", 1},
                {doc("<ConfigBlock><Name>A</Name><UInt32Attribute><Name>x</Name><DefaultValue>-1</DefaultValue>"
                     "</UInt32Attribute></ConfigBlock>"),
                 37}};
    for (const Row& r : rows) {
        const std::string path = dir.file("c" + std::to_string(r.code) + ".XML");
        if (!r.text.empty()) writeFile(path, r.text);
        ConfigurationPtr cfg;
        const std::string out = logged([&] { cfg = loadConfiguration(path); });
        EXPECT_FALSE(cfg);
        EXPECT_NE(std::string::npos, out.find("[qor.ka.common] ERROR: An error occurred while reading XML (" + path +
                                              ") XML Error Code: " + std::to_string(r.code) + "\n"))
            << out;
    }
}

// ---- The tree built from a file ------------------------------------------------------------

ConfigurationPtr loadText(const std::string& text) {
    xrt::exrt_error code;
    ConfigurationPtr cfg = loadConfigurationFromMemory(text.data(), text.size(), &code);
    EXPECT_EQ(0, code);
    return cfg;
}

TEST(Loader, ValuesRangesAndSentinels) {
    ConfigurationPtr cfg = loadText(doc(
        "<ConfigBlock><Name>T</Name>"
        "<UInt32Attribute><Name>plus</Name><DefaultValue>+7</DefaultValue>"
        "<UInt32Range><MinValue>10</MinValue></UInt32Range></UInt32Attribute>"
        "<UInt64Attribute><Name>big</Name><DefaultValue>18446744073709551615</DefaultValue></UInt64Attribute>"
        "<Addr32Attribute><Name>a</Name><DefaultValue>0xABCDEF01</DefaultValue></Addr32Attribute>"
        "<FloatAttribute><Name>f</Name><DefaultValue>-2.5</DefaultValue>"
        "<FloatRange><MaxFloatValue><MaxValue>3</MaxValue><MaxInclusive>false</MaxInclusive></MaxFloatValue></"
        "FloatRange>"
        "</FloatAttribute>"
        "<EnumAttribute><Name>e</Name><DefaultValue>a, b;c</DefaultValue><EnumValues>a,,b</EnumValues></EnumAttribute>"
        "<BoolAttribute><Name>b</Name><DefaultValue>1</DefaultValue><ReadOnly>true</ReadOnly>"
        "<ValueDescription>on</ValueDescription></BoolAttribute>"
        "</ConfigBlock>"));
    ASSERT_TRUE(cfg);

    auto plus = typedAttribute<UInt32Attribute>(*cfg, "T.plus");
    EXPECT_EQ(7u, plus->getValue());  // below its own minimum, and kept
    EXPECT_EQ(10u, plus->getMinValue());
    EXPECT_EQ(4294967295u, plus->getMaxValue());
    EXPECT_EQ("B.T.plus", plus->getQualifiedName());

    auto big = typedAttribute<UInt64Attribute>(*cfg, "T:big");
    EXPECT_EQ(18446744073709551615ull, big->getValue());
    EXPECT_EQ(9223372036854775807ull, big->getMaxValue());

    EXPECT_EQ(0xABCDEF01u, typedAttribute<Addr32Attribute>(*cfg, "T.a")->getValue());

    auto f = typedAttribute<FloatAttribute>(*cfg, "T.f");
    EXPECT_EQ(-2.5f, f->getValue());
    EXPECT_EQ(1.1754944e-38f, f->getMinValue());
    EXPECT_TRUE(f->isMinInclusive());
    EXPECT_EQ(3.0f, f->getMaxValue());
    EXPECT_FALSE(f->isMaxInclusive());

    auto e = typedAttribute<EnumAttribute>(*cfg, "T.e");
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c"}), e->getValues()->snapshot());
    EXPECT_EQ((std::vector<std::string>{"a", "", "b"}), e->getEnumValues()->snapshot());
    EXPECT_TRUE(e->isAllowMultiple());  // absent, and more than one value

    auto b = typedAttribute<BoolAttribute>(*cfg, "T.b");
    EXPECT_TRUE(b->getValue());
    EXPECT_TRUE(b->isReadOnly());
    EXPECT_EQ("on", b->getValueDescription());
}

// Each element picks its own class: a mutable attribute in a plain block and
// a plain attribute in a mutable block.
TEST(Loader, MutableOrPlainPerElement) {
    ConfigurationPtr cfg =
        loadText(doc("<ConfigBlock><Name>P</Name>"
                     "<StringAttribute><Name>m</Name><DefaultValue/><Mutable>true</Mutable></StringAttribute>"
                     "<StringAttribute><Name>f</Name><DefaultValue/><Mutable>false</Mutable></StringAttribute>"
                     "<ConfigBlock><Name>M</Name><Mutable>1</Mutable>"
                     "<PathAttribute><Name>p</Name><DefaultValue>/x</DefaultValue></PathAttribute></ConfigBlock>"
                     "</ConfigBlock>"));
    ASSERT_TRUE(cfg);
    ConfigBlockPtr p = cfg->getConfigBlock("P");
    EXPECT_TRUE(boost::dynamic_pointer_cast<ConfigBlockXml>(p));
    EXPECT_TRUE(boost::dynamic_pointer_cast<MutableStringAttribute>(p->getConfigAttribute("m")));
    EXPECT_FALSE(boost::dynamic_pointer_cast<MutableConfigAttribute>(p->getConfigAttribute("f")));
    ConfigBlockPtr m = cfg->getConfigBlock("P.M");
    EXPECT_TRUE(boost::dynamic_pointer_cast<MutableConfigBlock>(m));
    EXPECT_TRUE(boost::dynamic_pointer_cast<PathAttributeXml>(m->getConfigAttribute("p")));
    EXPECT_EQ("B.P.M.p", m->getConfigAttribute("p")->getQualifiedName());
}

// The first of two same-named children wins, with one line on the channel of
// the block that holds them; top-level duplicates are silent.
TEST(Loader, DuplicatesAreLoggedAndDropped) {
    const std::string attributes =
        "<StringAttribute><Name>x</Name><DefaultValue>first</DefaultValue></StringAttribute>"
        "<StringAttribute><Name>x</Name><DefaultValue>second</DefaultValue></StringAttribute>"
        "<ConfigBlock><Name>c</Name><StringAttribute><Name>y</Name><DefaultValue>1</DefaultValue></StringAttribute></"
        "ConfigBlock>"
        "<ConfigBlock><Name>c</Name></ConfigBlock>";
    struct Row {
        const char* mutableElement;
        const char* channel;
    } rows[] = {{"", "[quorl.configblock.xml]"}, {"<Mutable>true</Mutable>", "[quorl.mutableconfigblock.xml]"}};
    for (const Row& r : rows) {
        ConfigurationPtr cfg;
        const std::string out = logged([&] {
            cfg = loadText(
                doc("<ConfigBlock><Name>A</Name>" + std::string(r.mutableElement) + attributes + "</ConfigBlock>"));
        });
        ASSERT_TRUE(cfg);
        EXPECT_EQ(1u, count(out, std::string(r.channel) + " ERROR: duplicate attribute was found\n")) << out;
        EXPECT_EQ(1u, count(out, std::string(r.channel) + " ERROR: duplicate config block was foundc\n")) << out;
        ConfigBlockPtr a = cfg->getConfigBlock("A");
        EXPECT_EQ(1u, a->getConfigAttributes()->size());
        EXPECT_EQ("first", typedAttribute<StringAttribute>(*a, "x")->getValue());
        EXPECT_EQ(1u, a->getConfigBlocks()->size());
        EXPECT_TRUE(cfg->getConfigAttribute("A.c.y"));
    }

    ConfigurationPtr cfg;
    const std::string out = logged([&] {
        cfg =
            loadText(doc("<ConfigBlock><Name>A</Name><StringAttribute><Name>v</Name><DefaultValue>1</DefaultValue>"
                         "</StringAttribute></ConfigBlock><ConfigBlock><Name>A</Name></ConfigBlock>"));
    });
    ASSERT_TRUE(cfg);
    EXPECT_EQ("", out);
    EXPECT_EQ(1u, cfg->getConfigBlocks()->size());
    EXPECT_TRUE(cfg->getConfigAttribute("A.v"));
}

// The deepest nesting the binding accepts still builds, saves and reloads.
TEST(Loader, DeepestNestingBuildsAndSaves) {
    std::string open, close, path = "n";
    for (int i = 0; i < BindReader::maxDepth; ++i) {
        open += "<ConfigBlock><Name>n</Name>";
        close += "</ConfigBlock>";
        if (i) path += ".n";
    }
    ConfigurationPtr cfg = loadText(doc(open + close));
    ASSERT_TRUE(cfg);
    EXPECT_TRUE(cfg->getConfigBlock(path));
    ScratchDir dir;
    ASSERT_TRUE(cfg->save(dir.file("deep.xml")));
    EXPECT_TRUE(loadConfiguration(dir.file("deep.xml")));
}

// ---- Load, save, compare the text ------------------------------------------------------

struct RoundTrip {
    const char* what;
    std::string input;   // the Configuration element's children after Version
    std::string output;  // the saved lines after Version, at depth 2
};

class SavedText : public ::testing::TestWithParam<RoundTrip> {};

std::string savedHead() {
    return kProlog + "<QUORL>\n\t<Configuration>\n\t\t<Name>B</Name>\n\t\t<Version>1</Version>\n";
}

TEST_P(SavedText, IsTheNormalForm) {
    const RoundTrip& c = GetParam();
    ScratchDir dir;
    const std::string path = dir.file("round.xml");
    writeFile(path, doc(c.input));
    ConfigurationPtr cfg = loadConfiguration(path);
    ASSERT_TRUE(cfg) << c.what;
    ASSERT_TRUE(cfg->save(path)) << c.what;
    const std::string saved = readFile(path);
    EXPECT_EQ(savedHead() + c.output + "\t</Configuration>\n</QUORL>\n", saved) << c.what;

    // The saved text is a fixed point.
    ConfigurationPtr again = loadConfiguration(path);
    ASSERT_TRUE(again) << c.what;
    ASSERT_TRUE(again->save(path));
    EXPECT_EQ(saved, readFile(path)) << c.what;
}

std::string block(const std::string& name, const std::string& lines) {
    return "\t\t<ConfigBlock>\n\t\t\t<Name>" + name + "</Name>\n" + lines + "\t\t</ConfigBlock>\n";
}

INSTANTIATE_TEST_SUITE_P(
    Loader, SavedText,
    ::testing::Values(
        RoundTrip{
            "top-level blocks sorted, attributes before blocks",
            "<ConfigBlock><Name>b</Name><ConfigBlock><Name>in</Name></ConfigBlock>"
            "<BoolAttribute><Name>x</Name><DefaultValue>0</DefaultValue></BoolAttribute></ConfigBlock>"
            "<ConfigBlock><Name>a</Name></ConfigBlock>",
            block("a", "") +
                block("b",
                      "\t\t\t<BoolAttribute>\n\t\t\t\t<Name>x</Name>\n\t\t\t\t<DefaultValue>false</DefaultValue>\n"
                      "\t\t\t</BoolAttribute>\n\t\t\t<ConfigBlock>\n\t\t\t\t<Name>in</Name>\n\t\t\t</ConfigBlock>\n")},
        RoundTrip{"normal forms of numbers and addresses",
                  "<ConfigBlock><Name>n</Name>"
                  "<Int32Attribute><DefaultValue> +5 </DefaultValue><Name>i</Name></Int32Attribute>"
                  "<Addr64Attribute><Name>a</Name><DefaultValue>0x00ABC</DefaultValue>"
                  "<Addr64Range><MaxValue>0xFFFF</MaxValue></Addr64Range></Addr64Attribute></ConfigBlock>",
                  block("n",
                        "\t\t\t<Int32Attribute>\n\t\t\t\t<Name>i</Name>\n\t\t\t\t<DefaultValue>5</DefaultValue>\n"
                        "\t\t\t</Int32Attribute>\n"
                        "\t\t\t<Addr64Attribute>\n\t\t\t\t<Name>a</Name>\n\t\t\t\t<DefaultValue>0xabc</DefaultValue>\n"
                        "\t\t\t\t<Addr64Range>\n\t\t\t\t\t<MaxValue>0xffff</MaxValue>\n\t\t\t\t</Addr64Range>\n"
                        "\t\t\t</Addr64Attribute>\n")},
        RoundTrip{"ranges only where a bound differs from its sentinel",
                  "<ConfigBlock><Name>r</Name>"
                  "<UInt32Attribute><Name>u</Name><DefaultValue>1</DefaultValue>"
                  "<UInt32Range><MinValue>0</MinValue><MaxValue>4294967295</MaxValue></UInt32Range></UInt32Attribute>"
                  "<UInt64Attribute><Name>w</Name><DefaultValue>1</DefaultValue>"
                  "<UInt64Range><MaxValue>18446744073709551615</MaxValue></UInt64Range></UInt64Attribute>"
                  "<FloatAttribute><Name>f</Name><DefaultValue>1</DefaultValue></FloatAttribute>"
                  "<DoubleAttribute><Name>d</Name><DefaultValue>0</DefaultValue><DoubleRange><MinDoubleValue>"
                  "<MinValue>-1.5</MinValue><MinInclusive>true</MinInclusive></MinDoubleValue></DoubleRange>"
                  "</DoubleAttribute></ConfigBlock>",
                  block("r",
                        "\t\t\t<UInt32Attribute>\n\t\t\t\t<Name>u</Name>\n\t\t\t\t<DefaultValue>1</DefaultValue>\n"
                        "\t\t\t</UInt32Attribute>\n"
                        "\t\t\t<UInt64Attribute>\n\t\t\t\t<Name>w</Name>\n\t\t\t\t<DefaultValue>1</DefaultValue>\n"
                        "\t\t\t\t<UInt64Range>\n\t\t\t\t\t<MaxValue>18446744073709551615</MaxValue>\n"
                        "\t\t\t\t</UInt64Range>\n\t\t\t</UInt64Attribute>\n"
                        "\t\t\t<FloatAttribute>\n\t\t\t\t<Name>f</Name>\n\t\t\t\t<DefaultValue>1</DefaultValue>\n"
                        "\t\t\t</FloatAttribute>\n"
                        "\t\t\t<DoubleAttribute>\n\t\t\t\t<Name>d</Name>\n\t\t\t\t<DefaultValue>0.0</DefaultValue>\n"
                        "\t\t\t\t<DoubleRange>\n\t\t\t\t\t<MinDoubleValue>\n\t\t\t\t\t\t<MinValue>-1.5</MinValue>\n"
                        "\t\t\t\t\t</MinDoubleValue>\n\t\t\t\t</DoubleRange>\n\t\t\t</DoubleAttribute>\n")},
        RoundTrip{"flags: false ones are lost, Mutable and ReadOnly come after Name",
                  "<Comments></Comments><ConfigBlock><Name>f</Name><Mutable>false</Mutable>"
                  "<EnumAttribute><EnumValues>a ; b</EnumValues><ReadOnly>1</ReadOnly><DefaultValue>b</DefaultValue>"
                  "<Name>e</Name><Mutable>1</Mutable><AllowMultiple>false</AllowMultiple></EnumAttribute>"
                  "<StringAttribute><Name>s</Name><DefaultValue>x</DefaultValue><ReadOnly>false</ReadOnly>"
                  "</StringAttribute></ConfigBlock><default>true</default>",
                  block("f",
                        "\t\t\t<EnumAttribute>\n\t\t\t\t<Name>e</Name>\n\t\t\t\t<Mutable>true</Mutable>\n"
                        "\t\t\t\t<ReadOnly>true</ReadOnly>\n\t\t\t\t<DefaultValue>b</DefaultValue>\n"
                        "\t\t\t\t<EnumValues>a,b</EnumValues>\n\t\t\t</EnumAttribute>\n"
                        "\t\t\t<StringAttribute>\n\t\t\t\t<Name>s</Name>\n\t\t\t\t<DefaultValue>x</DefaultValue>\n"
                        "\t\t\t</StringAttribute>\n")},
        RoundTrip{"mutable blocks say so; escapes in names and comments",
                  "<Comments>&lt;1&gt; &amp; &apos;</Comments><ConfigBlock><Name>m &quot;q&quot;</Name>"
                  "<Mutable>1</Mutable></ConfigBlock>",
                  "\t\t<Comments>&lt;1> &amp; &apos;</Comments>\n\t\t<ConfigBlock>\n"
                  "\t\t\t<Name>m &quot;q&quot;</Name>\n\t\t\t<Mutable>true</Mutable>\n\t\t</ConfigBlock>\n"},
        RoundTrip{"enum with several values keeps AllowMultiple",
                  "<ConfigBlock><Name>e</Name><EnumAttribute><Name>m</Name><DefaultValue>a:b</DefaultValue>"
                  "<EnumValues>a,b,c</EnumValues></EnumAttribute></ConfigBlock>",
                  block("e",
                        "\t\t\t<EnumAttribute>\n\t\t\t\t<Name>m</Name>\n\t\t\t\t<DefaultValue>a,b</DefaultValue>\n"
                        "\t\t\t\t<EnumValues>a,b,c</EnumValues>\n\t\t\t\t<AllowMultiple>true</AllowMultiple>\n"
                        "\t\t\t</EnumAttribute>\n")}));

// ---- Saving never loses the user's file -------------------------------------------------

TEST(Save, KeepsPermissionsAndFollowsLinks) {
    ScratchDir dir;
    const std::string path = dir.file("p.xml");
    writeFile(path, doc("<ConfigBlock><Name>a</Name></ConfigBlock>"));
    ASSERT_EQ(0, ::chmod(path.c_str(), 0640));
    const std::string link = dir.file("link.xml");
    ASSERT_EQ(0, ::symlink(path.c_str(), link.c_str()));

    ConfigurationPtr cfg = loadConfiguration(link);
    ASSERT_TRUE(cfg);
    ASSERT_TRUE(cfg->save(link));
    struct stat st;
    ASSERT_EQ(0, ::lstat(link.c_str(), &st));
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    ASSERT_EQ(0, ::stat(path.c_str(), &st));
    EXPECT_EQ(0640u, st.st_mode & 07777);
    EXPECT_EQ(savedHead() + block("a", "") + "\t</Configuration>\n</QUORL>\n", readFile(path));
}

TEST(Save, FailureLeavesTheOriginal) {
    ScratchDir dir;
    const std::string path = dir.file("keep.xml");
    const std::string original = doc("<ConfigBlock><Name>a</Name></ConfigBlock>");
    writeFile(path, original);

    // A writer that fails half-way: nothing of it reaches the file.
    EXPECT_FALSE(replaceFileSafely(path, std::ios::out, [](std::ostream& os) {
        os << "<QUORL>";
        return false;
    }));
    EXPECT_EQ(original, readFile(path));

    ConfigurationPtr cfg = loadConfiguration(path);
    ASSERT_TRUE(cfg);
    // Unwritable targets: a folder that does not exist, a folder in place of the file.
    ::mkdir(dir.file("sub.xml").c_str(), 0755);
    std::string out = logged([&] {
        EXPECT_FALSE(cfg->save(dir.file("missing/keep.xml")));
        EXPECT_FALSE(cfg->save(dir.file("sub.xml")));
    });
    EXPECT_EQ("", out);
    EXPECT_EQ(original, readFile(path));

    // No temporary file is left behind.
    EXPECT_EQ(0, std::system(("test $(ls -A '" + dir.path() + "' | wc -l) -eq 2").c_str()));
}

TEST(Save, WritesANewFileWithDefaultPermissions) {
    ScratchDir dir;
    ConfigurationPtr cfg = loadText(doc(""));
    ASSERT_TRUE(cfg);
    const std::string path = dir.file("new.xml");
    ASSERT_TRUE(cfg->save(path));
    struct stat st;
    ASSERT_EQ(0, ::stat(path.c_str(), &st));
    const mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(0666u & ~mask, st.st_mode & 07777);
}

}  // namespace
}  // namespace quorl
