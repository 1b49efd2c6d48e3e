// The workaround registry binding: reading, refusing, writing back.
#include "common/src/workaround.xml.h"

#include "xrt/xml_reader.h"
#include "xrt/xml_writer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace quorl {
namespace {

std::string workaround(const std::string& id, const std::string& state = "0", const std::string& priority = "1",
                       const std::string& soc = "KA7710X") {
    return "<Workaround><Id>" + id + "</Id><State>" + state + "</State><Priority>" + priority + "</Priority><SocName>" +
           soc + "</SocName></Workaround>";
}

struct RegistryCase {
    const char* what;
    std::string text;
    int code;
    int kind;  // root kind read, when the code is 0
};

class RegistryRead : public ::testing::TestWithParam<RegistryCase> {};

TEST_P(RegistryRead, GivesItsCode) {
    const RegistryCase& c = GetParam();
    exrt_error code;
    c_WorkaroundsRegistry_2 root(c.text.data(), c.text.size(), &code);
    EXPECT_EQ(c.code, code) << c.what;
    if (c.code == 0) {
        EXPECT_EQ(c.kind, root.get_kind()) << c.what;
        EXPECT_TRUE(root.is_occurs_ok());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Registry, RegistryRead,
    ::testing::Values(
        RegistryCase{"whole registry",
                     "<WorkaroundsRegistry><Version>2</Version><Workarounds>" + workaround("1") + workaround("2") +
                         "</Workarounds></WorkaroundsRegistry>",
                     0, c_WorkaroundsRegistry_2::kind_WorkaroundsRegistry},
        RegistryCase{"registry without Workarounds", "<WorkaroundsRegistry><Version>2</Version></WorkaroundsRegistry>",
                     0, c_WorkaroundsRegistry_2::kind_WorkaroundsRegistry},
        RegistryCase{"a lone Workaround as root", workaround("7"), 0, c_WorkaroundsRegistry_2::kind_Workaround},
        RegistryCase{"an empty list as root", "<Workarounds/>", 0, c_WorkaroundsRegistry_2::kind_Workarounds},
        RegistryCase{"SocName before Priority",
                     "<Workaround><Id>1</Id><State>0</State><SocName>x</SocName><Priority>1</Priority></Workaround>",
                     21, 0},
        RegistryCase{"Version missing", "<WorkaroundsRegistry><Workarounds/></WorkaroundsRegistry>", 21, 0},
        RegistryCase{"negative Id", workaround("-1"), 37, 0},
        RegistryCase{"Id too large", workaround("4294967296"), 36, 0},
        RegistryCase{"Priority not a number", workaround("1", "0", "high"), 35, 0},
        RegistryCase{"unknown root", "<Registry/>", 16, 0},
        RegistryCase{"unexpected attribute", "<Workarounds x='1'/>", 39, 0},
        RegistryCase{"stray element", "<Workarounds>" + workaround("1") + "<Other/></Workarounds>", 10, 0},
        RegistryCase{"self-closed Workaround", "<Workaround/>", 32, 0}));

TEST(Registry, ReadsFieldsAndWritesThemBack) {
    const std::string text = "<WorkaroundsRegistry><Version>v&amp;1</Version><Workarounds>" +
                             workaround("4294967295", "-1", " 3 ", "A&lt;B") + "</Workarounds></WorkaroundsRegistry>";
    exrt_error code;
    c_WorkaroundsRegistry registry(text, &code);
    ASSERT_EQ(0, code);
    EXPECT_EQ("v&1", registry.get_Version());
    ASSERT_TRUE(registry.has_Workarounds());
    ASSERT_EQ(1u, registry.get_Workarounds().size_Workaround());
    const c_Workaround& w = registry.get_Workarounds().get_Workaround(0);
    EXPECT_EQ(4294967295u, w.get_Id());
    EXPECT_EQ(-1, w.get_State());
    EXPECT_EQ(3, w.get_Priority());
    EXPECT_EQ("A<B", w.get_SocName());

    std::string out;
    ASSERT_EQ(0, registry.marshal(out));
    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<WorkaroundsRegistry>\n"
        "\t<Version>v&amp;1</Version>\n"
        "\t<Workarounds>\n"
        "\t\t<Workaround>\n"
        "\t\t\t<Id>4294967295</Id>\n"
        "\t\t\t<State>-1</State>\n"
        "\t\t\t<Priority>3</Priority>\n"
        "\t\t\t<SocName>A&lt;B</SocName>\n"
        "\t\t</Workaround>\n"
        "\t</Workarounds>\n"
        "</WorkaroundsRegistry>\n",
        out);

    // The same document through the root choice and a file.
    c_WorkaroundsRegistry_2 root(out, &code);
    ASSERT_EQ(0, code);
    const std::string path = ::testing::TempDir() + "registry.xml";
    ASSERT_EQ(0, root.marshal(path.c_str()));
    c_WorkaroundsRegistry_2 again(path.c_str(), &code);
    ASSERT_EQ(0, code);
    std::string out2;
    ASSERT_EQ(0, again.marshal(out2));
    EXPECT_EQ(out, out2);
    std::remove(path.c_str());
}

TEST(Registry, EditingTheList) {
    c_Workarounds list;
    list.append_Workaround().set_Id(1);
    list.append_Workaround().set_Id(3);
    list.insert_Workaround(1).set_Id(2);
    ASSERT_EQ(3u, list.size_Workaround());
    EXPECT_EQ(2u, list.get_Workaround(1).get_Id());
    list.delete_Workaround(0);
    EXPECT_EQ(2u, list.get_Workaround(0).get_Id());
    EXPECT_FALSE(list.get_Workaround(0).is_occurs_ok());  // only Id was set

    c_WorkaroundsRegistry registry;
    EXPECT_FALSE(registry.is_occurs_ok());
    registry.set_Version("1");
    registry.assign_Workarounds(list);
    c_WorkaroundsRegistry copy = registry;
    list.clear_Workaround();
    EXPECT_EQ(2u, copy.get_Workarounds().size_Workaround());
    EXPECT_TRUE(copy.is_occurs_ok());
}

TEST(Registry, FailuresOfTheWriterAndOfFiles) {
    c_WorkaroundsRegistry_2 unset;
    EXPECT_FALSE(unset.is_occurs_ok());
    std::ostringstream os;
    xrt::c_xml_writer w(os);
    EXPECT_EQ(7, unset.marshal(w));
    EXPECT_EQ("{anonymous compositor}", w.get_error_item_name());

    c_Workaround one;
    EXPECT_EQ(1, one.marshal("/nonexistent/dir/w.xml"));
    exrt_error code;
    c_Workarounds missing("/nonexistent/dir/w.xml", &code);
    EXPECT_EQ(1, code);
}

}  // namespace
}  // namespace quorl
