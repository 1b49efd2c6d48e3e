// Text tests, integer bounds, float texts, big integers, decimals, binary.
#include "xrt/xsd_values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

using namespace xrt;

namespace {

struct text_case {
    const char* text;
    bool integer, floating, decimal, boolean;
};

const text_case k_text_cases[] = {
    // text          int    float  dec    bool
    {"0", true, true, true, true},
    {"true", false, false, false, true},
    {"TRUE", false, false, false, false},
    {"", false, false, false, false},
    {"+", false, false, false, false},
    {"+5", true, true, true, false},
    {"5 ", false, false, false, false},
    {"1 0", false, false, false, false},
    {"1.", false, true, true, false},
    {".5", false, true, true, false},
    {".", false, false, false, false},
    {"1..2", false, false, false, false},
    {"1e", false, false, false, false},
    {"e5", false, false, false, false},
    {"1e+5", false, true, false, false},
    {"1e5.0", false, false, false, false},
    {"-1.5E-07", false, true, false, false},
    {"INF", false, true, false, false},
    {"+INF", false, false, false, false},
    {"NaN", false, true, false, false},
    {"-NaN", false, false, false, false},
    {"inf", false, false, false, false},
    {"123456789012345678901234567890", true, true, true, false},
};

TEST(XsdTextTests, ClassifiesEachText) {
    for (const auto& c : k_text_cases) {
        SCOPED_TRACE(std::string("text \"") + c.text + "\"");
        EXPECT_EQ(is_integer_text(c.text), c.integer);
        EXPECT_EQ(is_float_text(c.text), c.floating);
        EXPECT_EQ(is_decimal_text(c.text), c.decimal);
        EXPECT_EQ(is_boolean_text(c.text), c.boolean);
    }
}

TEST(XsdTextTests, BooleanValueIsTrueOnlyForTrueAndOne) {
    const std::pair<const char*, bool> cases[] = {{"true", true}, {"1", true},     {"false", false},
                                                  {"0", false},   {"True", false}, {"", false}};
    for (const auto& c : cases) EXPECT_EQ(boolean_value(c.first), c.second) << c.first;
}

struct bound_case {
    const char* text;
    const char* min;
    const char* max;
    exrt_error expected;
};

const char* const k_u32_max = "4294967295";
const char* const k_i32_min = "-2147483648";
const char* const k_i32_max = "2147483647";
const char* const k_i64_min = "-9223372036854775808";
const char* const k_i64_max = "9223372036854775807";
const char* const k_u64_max = "18446744073709551615";

const bound_case k_bound_cases[] = {
    {"4294967295", "0", k_u32_max, e_no_error},
    {"4294967296", "0", k_u32_max, e_value_above_max},
    {"+0004294967295", "0", k_u32_max, e_no_error},
    {"-1", "0", k_u32_max, e_value_below_min},
    {"-000", "0", k_u32_max, e_no_error},
    {"99999999999999999999999999999999", "0", k_u32_max, e_value_above_max},
    {"", "0", k_u32_max, e_invalid_value_format},
    {"1 ", "0", k_u32_max, e_invalid_value_format},
    {"1.0", "0", k_u32_max, e_invalid_value_format},
    {"-2147483649", k_i32_min, k_i32_max, e_value_below_min},
    {"-0000000000002147483648", k_i32_min, k_i32_max, e_no_error},
    {"-1999999999", k_i32_min, k_i32_max, e_no_error},
    {"-9223372036854775809", k_i64_min, k_i64_max, e_value_below_min},
    {"18446744073709551616", "0", k_u64_max, e_value_above_max},
    // A range wholly below zero orders negative numbers by magnitude reversed.
    {"-11", "-10", "-5", e_value_below_min},
    {"-4", "-10", "-5", e_value_above_max},
    {"-7", "-10", "-5", e_no_error},
    {"0", "-10", "-5", e_value_above_max},
};

TEST(XsdIntegerBounds, ChecksFormatThenBounds) {
    for (const auto& c : k_bound_cases) {
        SCOPED_TRACE(std::string(c.text) + " in [" + c.min + ", " + c.max + "]");
        EXPECT_EQ(check_integer_text(c.text, c.min, c.max), c.expected);
    }
}

TEST(XsdBigInt, AssignmentKeepsTheNormalForm) {
    const std::pair<const char*, const char*> cases[] = {
        {"-000", "0"},   {"", "0"},
        {"-", "0"},      {"abc", "0"},
        {"+42", "42"},   {"-007", "-7"},
        {"12abc", "12"}, {"123456789012345678901234567890", "123456789012345678901234567890"},
    };
    for (const auto& c : cases) {
        c_big_int value;
        value = c.first;
        EXPECT_EQ(value.str(), c.second) << "from \"" << c.first << "\"";
    }
}

TEST(XsdBigInt, ComparesWithTexts) {
    struct row {
        const char* value;
        const char* text;
        int order;
    };
    const row cases[] = {
        {"0", "-0", 0},
        {"0", "", 0},
        {"123", "0123", 0},
        {"10", "9", 1},
        {"99", "100", -1},
        {"-10", "-9", -1},
        {"-100", "-99", -1},
        {"-1", "1", -1},
        {"0", "-1", 1},
        {"-1", "-0", -1},
        {"19", "21", -1},
        {"-19", "-21", 1},
        {"18446744073709551616", "18446744073709551615", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.value) + " vs \"" + c.text + "\"");
        const c_big_int value(c.value);
        EXPECT_EQ(value == std::string(c.text), c.order == 0);
        EXPECT_EQ(value < std::string(c.text), c.order < 0);
        EXPECT_EQ(value > std::string(c.text), c.order > 0);
        EXPECT_EQ(value.compare(c_big_int(c.text)) > 0, c.order > 0);
    }
}

TEST(XsdFloat, ReadsTexts) {
    const std::pair<const char*, double> cases[] = {
        {"INF", INFINITY}, {"-INF", -INFINITY}, {"-2e3", -2000.0}, {".5", 0.5}, {"1.", 1.0}, {"+1E-2", 0.01},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(double_from_text(c.first), c.second) << c.first;
        EXPECT_EQ(float_from_text(c.first), static_cast<float>(c.second)) << c.first;
    }
    EXPECT_TRUE(std::isnan(double_from_text("NaN")));
    EXPECT_TRUE(std::isnan(float_from_text("NaN")));
    EXPECT_TRUE(std::signbit(double_from_text("-0")));  // the sign of zero survives
    // The float field narrows the double: a text between floats rounds once.
    EXPECT_EQ(float_from_text("0.1"), 0.1f);
}

TEST(XsdFloat, WritesTextsByClassOfValue) {
    const std::pair<float, const char*> floats[] = {
        {std::numeric_limits<float>::quiet_NaN(), "NaN"},
        {-std::numeric_limits<float>::infinity(), "-INF"},
        {-0.0f, "-0.0"},
        {1.5f, "1.5"},
        {3.14159265f, "3.141593"},
        {123456789.0f, "1.234568e+08"},
        {1e-5f, "1e-05"},
        {-42.0f, "-42"},
    };
    for (const auto& c : floats) EXPECT_EQ(float_to_text(c.first), c.second);
    const std::pair<double, const char*> doubles[] = {
        {std::numeric_limits<double>::quiet_NaN(), "NaN"}, {-0.0, "-0.0"},  {3.14159265358979, "3.1415926535898"},
        {1234567890123456.0, "1.2345678901235e+15"},       {1e20, "1e+20"},
    };
    for (const auto& c : doubles) EXPECT_EQ(double_to_text(c.first), c.second);
}

// The text of a value and what the stream writer gives for it never differ:
// exponents of one to three digits, rounding that carries, the smallest values.
TEST(XsdFloat, TextMatchesTheStreamWriter) {
    const double doubles[] = {1e-300,
                              -2.5e-308,
                              4.9e-324,
                              1.7976931348623157e308,
                              99999999999999.5,
                              999999999999995.0,
                              0.000123456789012345,
                              1e14,
                              1e15,
                              -123.456,
                              0.1,
                              7.0};
    for (double v : doubles) {
        std::ostringstream os;
        write_double(os, v);
        EXPECT_EQ(double_to_text(v), os.str()) << v;
    }
    const float floats[] = {1e-45f, 3.4028235e38f, 9999999.5f, 0.1f, -65536.0f, 1.17549435e-38f, 100000.0f};
    for (float v : floats) {
        std::ostringstream os;
        write_float(os, v);
        EXPECT_EQ(float_to_text(v), os.str()) << v;
    }
}

TEST(XsdFloat, StreamWriterRestoresPrecision) {
    std::ostringstream os;
    os.precision(3);
    write_double(os, 2.0 / 3.0);
    os << ' ';
    write_float(os, 2.0f / 3.0f);
    os << ' ' << 2.0 / 3.0;
    EXPECT_EQ(os.str(), "0.66666666666667 0.6666667 0.667");
    EXPECT_EQ(os.precision(), 3);
}

TEST(XsdDecimal, ReadsAndWritesCanonicalForm) {
    struct row {
        const char* text;
        const char* canonical;
        unsigned total, fraction;
    };
    const row cases[] = {
        {"1", "1.0", 1, 0},
        {"+.5", "0.5", 1, 1},
        {"-0.0", "0.0", 1, 0},
        {"007.100", "7.1", 2, 1},
        {"0.0012", "0.0012", 2, 4},
        {"120.0", "120.0", 3, 0},
        {"-12.345", "-12.345", 5, 3},
        {"12345678901234567890.000000000001", "12345678901234567890.000000000001", 32, 12},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        ASSERT_TRUE(is_decimal_text(c.text));
        const c_decimal d(c.text);
        EXPECT_EQ(d.to_string(), c.canonical);
        EXPECT_EQ(d.total_digits(), c.total);
        EXPECT_EQ(d.fraction_digits(), c.fraction);
    }
}

TEST(XsdDecimal, OrdersNumerically) {
    struct row {
        const char* a;
        const char* b;
        int order;
    };
    const row cases[] = {
        {"1.5", "1.50", 0}, {"-0.000", "+0", 0}, {"-1.5", "-1.25", -1}, {"0.1", "0.09", 1},
        {"-0.1", "0", -1},  {"10", "9.99", 1},   {"-10", "-9.99", -1},  {"-2.001", "-2.01", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        EXPECT_EQ(c_decimal(c.a).compare(c_decimal(c.b)), c.order);
        EXPECT_EQ(c_decimal(c.b).compare(c_decimal(c.a)), -c.order);
    }
}

TEST(XsdBinary, ReadsHexAndBase64) {
    struct row {
        const char* text;
        bool base64;
        bool valid;
        const char* bytes;
    };
    const row cases[] = {
        {"0fb7", false, true, "\x0f\xb7"}, {"", false, true, ""},
        {"0FB", false, false, ""},         {"0G", false, false, ""},
        {"Zm9v", true, true, "foo"},       {"Zm8=", true, true, "fo"},
        {"Zg==", true, true, "f"},         {"Zm9v YmFy", true, true, "foobar"},
        {"Zh==", true, false, ""},         {"Zm9=", true, false, ""},
        {"Zm9", true, false, ""},          {"Z===", true, false, ""},
        {"Zm=v", true, false, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        c_binary value(std::vector<unsigned char>{0xAA});
        const bool ok = c.base64 ? value.from_base64(c.text) : value.from_hex(c.text);
        ASSERT_EQ(ok, c.valid);
        if (!ok) {
            EXPECT_EQ(value.get_bytes(), std::vector<unsigned char>{0xAA});  // untouched
            continue;
        }
        EXPECT_EQ(std::string(value.get_bytes().begin(), value.get_bytes().end()), c.bytes);
        c_binary back;
        ASSERT_TRUE(c.base64 ? back.from_base64(value.to_base64()) : back.from_hex(value.to_hex()));
        EXPECT_EQ(back, value);
    }
    EXPECT_EQ(c_binary({0x0f, 0xb7}).to_hex(), "0FB7");
}

}  // namespace
