// List texts (enum lists, qualified names) and the locked containers.
#include "common/src/EnumList.h"
#include "common/src/Map.h"
#include "common/src/Vector.h"

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using quorl::Map;
using quorl::Vector;
typedef std::vector<std::string> Strings;

TEST(EnumListSplit, SeparatorsTrimmingAndEmptyTokens) {
    struct Row {
        const char* text;
        Strings tokens;
    };
    const Row rows[] = {
        {"a, b;c", {"a", "b", "c"}},
        {"a:b", {"a", "b"}},
        {"a,,b", {"a", "", "b"}},
        {",", {"", ""}},
        {"", {""}},
        {"  x  ", {"x"}},
        {"\ta\n;\r b\v\f", {"a", "b"}},
        {"two words , x", {"two words", "x"}},
        {"a.b", {"a.b"}},
        {" , ;", {"", "", ""}},
        {"a:", {"a", ""}},
        {"\xA0x\xA0", {"\xA0x\xA0"}},  // only the classic locale's blanks are trimmed
    };
    for (const Row& row : rows) EXPECT_EQ(quorl::splitEnumList(row.text), row.tokens) << '"' << row.text << '"';
}

TEST(EnumListJoin, CommaWithoutBlanks) {
    EXPECT_EQ(quorl::joinEnumList({"a", "b", "c"}), "a,b,c");
    EXPECT_EQ(quorl::joinEnumList({"a", "", "b"}), "a,,b");
    EXPECT_EQ(quorl::joinEnumList({}), "");
    // Split then join is the writer's normal form.
    EXPECT_EQ(quorl::joinEnumList(quorl::splitEnumList(" a ; b:c ")), "a,b,c");
}

TEST(QualifiedNameSplit, BothSeparatorsNoTrimNoCompression) {
    struct Row {
        const char* name;
        Strings tokens;
    };
    const Row rows[] = {
        {"Target Access.ServerPort", {"Target Access", "ServerPort"}},
        {"Target Access..ServerPort", {"Target Access", "", "ServerPort"}},
        {"A.:B", {"A", "", "B"}},
        {"Trace Generators:CORE:", {"Trace Generators", "CORE", ""}},
        {"", {""}},
        {" A . B ", {" A ", " B "}},
        {"A,B;C", {"A,B;C"}},
    };
    for (const Row& row : rows) EXPECT_EQ(quorl::splitQualifiedName(row.name), row.tokens) << '"' << row.name << '"';
}

TEST(LockedVector, CopiesAreSnapshots) {
    Vector<std::string> v{"a", "b"};
    boost::shared_ptr<Vector<std::string>> snap = v.copy();
    Vector<std::string> assigned;
    assigned = v;
    v.push_back("c");
    v.set(0, "z");
    EXPECT_EQ(snap->snapshot(), (Strings{"a", "b"}));
    EXPECT_EQ(assigned.snapshot(), (Strings{"a", "b"}));
    EXPECT_EQ(v.snapshot(), (Strings{"z", "b", "c"}));
}

TEST(LockedVector, Access) {
    Vector<boost::shared_ptr<int>> v;
    EXPECT_THROW(v.at(0), std::out_of_range);
    EXPECT_THROW(v.back(), std::out_of_range);
    EXPECT_FALSE(v.findFirst([](const boost::shared_ptr<int>&) { return true; }));
    auto one = boost::shared_ptr<int>(new int(1));
    auto two = boost::shared_ptr<int>(new int(2));
    auto twoAgain = boost::shared_ptr<int>(new int(2));
    v.push_back(one);
    v.push_back(two);
    v.push_back(twoAgain);
    auto isTwo = [](const boost::shared_ptr<int>& p) { return *p == 2; };
    EXPECT_EQ(v.findFirst(isTwo), two);  // first match wins
    EXPECT_TRUE(v.removeFirst(isTwo));
    EXPECT_EQ(v.findFirst(isTwo), twoAgain);
    EXPECT_FALSE(v.eraseAt(5));
    v.insert(0, two);
    EXPECT_EQ(v.front(), two);
    EXPECT_EQ(v.size(), 3u);
}

TEST(LockedMap, FirstEntryKeptKeysInByteOrder) {
    Map<std::string, int> m;
    EXPECT_TRUE(m.insert("b", 1));
    EXPECT_TRUE(m.insert("a", 2));
    EXPECT_TRUE(m.insert("B", 3));
    EXPECT_FALSE(m.insert("b", 9));
    EXPECT_EQ(m.get("b"), 1);
    EXPECT_EQ(m.get("missing"), 0);
    EXPECT_EQ(m.keys(), (Strings{"B", "a", "b"}));
    EXPECT_EQ(m.values(), (std::vector<int>{3, 2, 1}));
    auto copy = m.copy();
    m.set("b", 7);
    EXPECT_TRUE(m.erase("a"));
    EXPECT_FALSE(m.erase("a"));
    EXPECT_EQ(copy->get("b"), 1);
    EXPECT_TRUE(copy->contains("a"));
    int out = 0;
    EXPECT_TRUE(m.find("b", out));
    EXPECT_EQ(out, 7);
}

}  // namespace
