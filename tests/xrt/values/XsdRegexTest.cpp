// Schema patterns: whole-text matching, the pattern language, failed
// compilation, ownership of the automaton.
#include "xrt/xsd_regex.h"

#include <gtest/gtest.h>
#include <libxml/xmlregexp.h>

#include <memory>
#include <random>

using namespace xrt;

namespace {

const char* const k_addr32 = "0x[0-9a-fA-F]{1,8}";
const char* const k_addr64 = "0x[0-9a-fA-F]{1,16}";

struct match_case {
    const char* pattern;
    std::string text;
    bool match;
};

const match_case k_matches[] = {
    {k_addr32, "0x0", true},
    {k_addr32, "0xABCDEF12", true},
    {k_addr32, "0x123456789", false},  // nine digits
    {k_addr32, "0x", false},
    {k_addr32, "0X10", false},
    {k_addr32, " 0x10", false},
    {k_addr32, "x0x10", false},  // the match covers the whole text
    {k_addr32, std::string("0x1\0", 4), false},
    {k_addr64, "0x1234567890abcdef", true},
    {k_addr64, "0x1234567890abcdef0", false},
    {"\\d{3}-\\d{4}", "555-1234", true},
    {"[a-z]+(,[a-z]+)*", "a,bc", true},
    {"abc|def", "def", true},
    {"abc|def", "abcdef", false},
    {"[^,]*", "", true},
    {"a.c", "abc", true},
    {"a.c", "a\nc", false},  // "." excludes line ends
    {"\\i\\c*", "_x1", true},
    {"\\i\\c*", "1x", false},
    {"(ab){2,3}", "ababab", true},
    {"\\p{Lu}\\p{Ll}*", "\xc3\x89lan", true},  // UTF-8 capital E acute
    {"\\p{Lu}\\p{Ll}*", "\xc3\xa9lan", false},
    {"[a-z]*", "\xff\xfe", false},  // broken UTF-8 is no match, and no crash
};

TEST(XsdRegex, MatchesWholeTexts) {
    for (const auto& c : k_matches) {
        SCOPED_TRACE(std::string(c.pattern) + " on \"" + c.text + "\"");
        const c_regex re(c.pattern);
        ASSERT_TRUE(re.is_compiled());
        EXPECT_EQ(re.is_match(c.text), c.match);
    }
}

TEST(XsdRegex, FailedCompilationMatchesEverything) {
    const std::string broken[] = {"[a-", "(ab", "\\q", "*a", std::string("a\0b", 3)};
    for (const auto& pattern : broken) {
        const c_regex re(pattern);
        EXPECT_FALSE(re.is_compiled()) << pattern;
        EXPECT_TRUE(re.is_match("anything")) << pattern;
    }
}

TEST(XsdRegex, CopiesOwnTheirAutomaton) {
    auto original = std::make_unique<c_regex>(k_addr32);
    const c_regex copy(*original);
    c_regex assigned("x");
    assigned = *original;
    original.reset();
    for (const c_regex* re : {&copy, static_cast<const c_regex*>(&assigned)}) {
        EXPECT_TRUE(re->is_match("0x10"));
        EXPECT_FALSE(re->is_match("0x"));
        EXPECT_EQ(re->get_pattern(), k_addr32);
    }
    c_regex moved(std::move(assigned));
    EXPECT_FALSE(moved.is_match("0x"));
    const c_pattern pattern(k_addr64);
    EXPECT_TRUE(pattern.is_match("0xffffffffffffffff"));
    EXPECT_FALSE(c_pattern(nullptr).is_match("a"));  // null reads as the empty pattern
}

// Patterns of the simple kind are matched without libxml2: their answers
// must be libxml2's, text for text. Patterns outside the kind are listed too,
// so that the split between the two engines is exercised as well.
TEST(XsdRegex, AgreesWithLibxml2) {
    const std::string patterns[] = {k_addr32,
                                    k_addr64,
                                    "",
                                    "a",
                                    "abc",
                                    "[a-c]",
                                    "[a-c]*",
                                    "[a-c]+",
                                    "[a-c]?",
                                    "a{0}",
                                    "a{2}",
                                    "a{2,}",
                                    "a{0,1}b",
                                    "[ab]*a",
                                    "[a-z]*a[a-z]{2}",
                                    "[0-9]{1,3}:[0-9]{2}",
                                    "x[a-a]y",
                                    "[a-zA-Z_][a-zA-Z0-9_]*",
                                    "a{3,2}",  // refused by both
                                    "[z-a]",   // likewise
                                    "a{1,2}{3}",
                                    "[]",
                                    "[a-]",
                                    "a-b",
                                    "0x[0-9a-f]{1,8}|foo",
                                    "[^a]",
                                    "\\d+",
                                    "a.b",
                                    "(ab)*",
                                    "#@/=;,",
                                    "a{007}",
                                    "a{1234567890}"};
    const std::string texts[] = {"",
                                 "a",
                                 "aa",
                                 "aaa",
                                 "ab",
                                 "abc",
                                 "abca",
                                 "b",
                                 "0x",
                                 "0x0",
                                 "0xAbC",
                                 "0x123456789",
                                 "12:34",
                                 "1234:5",
                                 "xay",
                                 "_id9",
                                 "9id",
                                 "a-b",
                                 "#@/=;,",
                                 "\xc3\xa9",
                                 "a\xff",
                                 "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
                                 "0x1234567890abcdef",
                                 "foo",
                                 std::string(100, 'a'),  // past the matcher's short buffers
                                 "0x" + std::string(70, 'f')};
    for (const auto& pattern : patterns) {
        xmlRegexpPtr reference = xmlRegexpCompile(reinterpret_cast<const xmlChar*>(pattern.c_str()));
        const c_regex re(pattern);
        EXPECT_EQ(re.is_compiled(), reference != nullptr) << pattern;
        if (!reference) continue;
        for (const auto& text : texts) {
            const bool expected = xmlRegexpExec(reference, reinterpret_cast<const xmlChar*>(text.c_str())) == 1;
            EXPECT_EQ(re.is_match(text), expected) << pattern << " on \"" << text << "\"";
        }
        xmlRegFreeRegexp(reference);
    }
}

// Random texts over a small alphabet against random simple patterns.
TEST(XsdRegex, AgreesWithLibxml2OnGeneratedCases) {
    std::mt19937 rng(7);
    const std::string atoms[] = {"a", "b", "0", "x", "[ab]", "[a-c0-2]", "[0-9a-fA-F]"};
    const std::string counts[] = {"", "?", "*", "+", "{2}", "{0,2}", "{1,}", "{1,3}"};
    const char alphabet[] = "ab0x2cF";
    for (int i = 0; i < 300; ++i) {
        std::string pattern;
        for (int n = 1 + rng() % 4; n > 0; --n) pattern += atoms[rng() % 7] + counts[rng() % 8];
        xmlRegexpPtr reference = xmlRegexpCompile(reinterpret_cast<const xmlChar*>(pattern.c_str()));
        ASSERT_NE(reference, nullptr) << pattern;
        const c_regex re(pattern);
        for (int j = 0; j < 20; ++j) {
            std::string text;
            for (int n = rng() % 7; n > 0; --n) text += alphabet[rng() % 7];
            const bool expected = xmlRegexpExec(reference, reinterpret_cast<const xmlChar*>(text.c_str())) == 1;
            EXPECT_EQ(re.is_match(text), expected) << pattern << " on \"" << text << "\"";
        }
        xmlRegFreeRegexp(reference);
    }
}

}  // namespace
