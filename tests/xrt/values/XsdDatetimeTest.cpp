// Durations, dates and times: lexical forms, normal texts, order.
#include "xrt/xsd_datetime.h"

#include <gtest/gtest.h>

using namespace xrt;

namespace {

TEST(XsdDuration, ValidatesTheWholeShape) {
    const char* const valid[] = {"-P1DT2H", "+P1D", "P1Y2M3DT4H5M6.5S", "PT0S", "P1MT1M", "P123456789D"};
    const char* const invalid[] = {"P",      "PT",    "P1YT",  "1Y",     "P1",     "PY",     "P1.5Y",
                                   "PT1.5H", "P1D1Y", "P1Y1Y", "PT1S1M", "P1H",    "",       "P1Y ",
                                   "PT.5S",  "PT1.S", "p1Y",   "P-1Y",   "PT1H1D", "P1YTT1H"};
    for (const char* text : valid) EXPECT_TRUE(c_duration::is_valid(text)) << text;
    for (const char* text : invalid) EXPECT_FALSE(c_duration::is_valid(text)) << text;
}

TEST(XsdDuration, AssignmentReadsUpToTheFirstUnreadablePart) {
    const std::pair<const char*, const char*> cases[] = {
        {"P1Y2M3DT4H5M6.5S", "P1Y2M3DT4H5M6.5S"},
        {"-P1DT2H", "-P1DT2H"},
        {"P2MT3M", "P2MT3M"},
        {"P1Y2X3D", "P1Y"},    // stops at X
        {"P1D1Y", "P1D"},      // Y out of order
        {"PT1.5H2M", "PT0S"},  // a fraction only for seconds
        {"garbage", "PT0S"},
    };
    for (const auto& c : cases) {
        c_duration d;
        d.set_years(99);  // assignment starts from zero
        d = c.first;
        EXPECT_EQ(d.to_string(), c.second) << c.first;
    }
}

TEST(XsdDuration, WritesCanonicalText) {
    const std::pair<const char*, const char*> cases[] = {
        {"P1Y2M3DT4H5M6.5S", "P1Y2M3DT4H5M6.5S"},
        {"P0Y0M", "PT0S"},
        {"-PT0S", "PT0S"},
        {"P12M", "P12M"},
        {"PT36H", "PT36H"},
        {"-P1DT2H", "-P1DT2H"},
        {"P01D", "P1D"},
        {"PT0.00001S", "PT0.00001S"},
        {"PT100000000S", "PT100000000S"},
    };
    for (const auto& c : cases) EXPECT_EQ(c_duration(c.first).to_string(), c.second) << c.first;
}

TEST(XsdDuration, IsPartiallyOrdered) {
    struct row {
        const char* a;
        const char* b;
        e_xsd_order order;
    };
    const row cases[] = {
        {"P1Y", "P12M", xsd_equal},   {"PT24H", "P1D", xsd_equal},        {"PT1.5S", "PT1S", xsd_greater},
        {"P1M", "P27D", xsd_greater}, {"P1M", "P28D", xsd_indeterminate}, {"P1M", "P31D", xsd_indeterminate},
        {"P1M", "P32D", xsd_less},    {"P1Y", "P364D", xsd_greater},      {"P1Y", "P366D", xsd_indeterminate},
        {"P1Y", "P367D", xsd_less},   {"-P1D", "-PT1H", xsd_less},        {"P2M", "P62D", xsd_indeterminate},
        {"P2M", "P63D", xsd_less},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        ASSERT_TRUE(c_duration::is_valid(c.a) && c_duration::is_valid(c.b));
        EXPECT_EQ(c_duration(c.a).compare(c_duration(c.b)), c.order);
        const e_xsd_order reverse = c.order == xsd_indeterminate ? c.order : static_cast<e_xsd_order>(-c.order);
        EXPECT_EQ(c_duration(c.b).compare(c_duration(c.a)), reverse);
    }
}

// One row per text, whatever its type: the row names the type through a
// function that parses and writes the text back.
template <typename T>
exrt_error parse_as(const char* text, std::string& back) {
    T value;
    const exrt_error code = value.parse(text);
    back = value.to_string();
    return code;
}

template <typename T>
e_xsd_order compare_as(const char* a, const char* b) {
    T x, y;
    EXPECT_EQ(x.parse(a), e_no_error) << a;
    EXPECT_EQ(y.parse(b), e_no_error) << b;
    return x.compare(y);
}

struct form_case {
    exrt_error (*parse)(const char*, std::string&);
    const char* text;
    const char* normal;  // null: the text is invalid
};

const auto k_date = parse_as<c_date>;
const auto k_time = parse_as<c_time>;
const auto k_datetime = parse_as<c_datetime>;

const form_case k_forms[] = {
    {k_date, "2024-02-29", "2024-02-29"},
    {k_date, "-0001-02-29Z", "-0001-02-29Z"},  // the year before 1 is a leap year
    {k_date, "12345-01-01", "12345-01-01"},
    {k_date, "2024-01-01+14:00", "2024-01-01+14:00"},
    {k_date, "2024-01-01+00:00", "2024-01-01Z"},
    {k_date, "2023-02-29", nullptr},
    {k_date, "1900-02-29", nullptr},
    {k_date, "2024-04-31", nullptr},
    {k_date, "0000-01-01", nullptr},
    {k_date, "02024-01-01", nullptr},
    {k_date, "2024-13-01", nullptr},
    {k_date, "2024-01-01+14:01", nullptr},
    {k_date, "2024-01-01+05:60", nullptr},
    {k_date, "2024-01-01z", nullptr},
    {k_date, "2024-01-01T00:00:00", nullptr},
    {k_date, "9999999999-01-01", nullptr},
    {k_time, "13:20:00", "13:20:00"},
    {k_time, "13:20:00.500", "13:20:00.5"},
    {k_time, "13:20:05.25Z", "13:20:05.25Z"},
    {k_time, "24:00:00", "24:00:00"},
    {k_time, "00:00:00.00001", "00:00:00.00001"},
    {k_time, "00:00:00-14:00", "00:00:00-14:00"},
    {k_time, "24:00:01", nullptr},
    {k_time, "24:00:00.5", nullptr},
    {k_time, "23:60:00", nullptr},
    {k_time, "9:00:00", nullptr},
    {k_time, "13:20:00.", nullptr},
    {k_datetime, "2024-02-29T23:59:59.75+01:00", "2024-02-29T23:59:59.75+01:00"},
    {k_datetime, "2024-02-29 23:59:59", nullptr},
    {k_datetime, "2024-02-29", nullptr},
    {parse_as<c_gyear>, "2024", "2024"},
    {parse_as<c_gyear>, "-2024Z", "-2024Z"},
    {parse_as<c_gyear>, "24", nullptr},
    {parse_as<c_gyear>, "2024-01", nullptr},
    {parse_as<c_gyearmonth>, "2024-02", "2024-02"},
    {parse_as<c_gyearmonth>, "2024-00", nullptr},
    {parse_as<c_gmonth>, "--12", "--12"},
    {parse_as<c_gmonth>, "--13", nullptr},
    {parse_as<c_gmonth>, "--12--", nullptr},
    {parse_as<c_gmonthday>, "--02-29", "--02-29"},
    {parse_as<c_gmonthday>, "--02-30", nullptr},
    {parse_as<c_gmonthday>, "--04-31", nullptr},
    {parse_as<c_gday>, "---31", "---31"},
    {parse_as<c_gday>, "---32", nullptr},
    {parse_as<c_gday>, "--31", nullptr},
};

TEST(XsdTemporal, ReadsLexicalFormsAndWritesThemBack) {
    for (const auto& c : k_forms) {
        SCOPED_TRACE(c.text);
        std::string back;
        EXPECT_EQ(c.parse(c.text, back), c.normal ? e_no_error : e_invalid_value_format);
        if (c.normal) {
            EXPECT_EQ(back, c.normal);
        }
    }
}

TEST(XsdTemporal, FailedReadLeavesTheValue) {
    c_datetime value("2024-02-29T23:59:59.75+01:00");
    EXPECT_EQ(value.parse("2023-02-29T00:00:00"), e_invalid_value_format);
    EXPECT_EQ(value.to_string(), "2024-02-29T23:59:59.75+01:00");
}

TEST(XsdTemporal, SetOffset) {
    struct row {
        int hours, mins, total;
        bool utc;
    };
    const row cases[] = {{0, 0, 0, true}, {-1, 30, -90, false}, {1, 30, 90, false}, {0, 45, 45, false}};
    for (const auto& c : cases) {
        c_time t;
        t.set_offset(c.hours, c.mins);
        EXPECT_EQ(t.get_total_offset_mins(), c.total) << c.hours << ":" << c.mins;
        EXPECT_EQ(t.get_is_utc(), c.utc) << c.hours << ":" << c.mins;
    }
}

struct order_case {
    e_xsd_order (*compare)(const char*, const char*);
    const char* a;
    const char* b;
    e_xsd_order order;
};

const auto k_dt = compare_as<c_datetime>;

const order_case k_orders[] = {
    {k_dt, "2024-01-01T12:00:00Z", "2024-01-01T13:00:00+01:00", xsd_equal},
    {k_dt, "2024-01-01T00:00:00Z", "2023-12-31T23:59:59.5Z", xsd_greater},
    {k_dt, "2024-01-01T00:00:00-05:00", "2024-01-01T04:00:00Z", xsd_greater},
    {k_dt, "2024-01-01T24:00:00", "2024-01-02T00:00:00", xsd_equal},
    {k_dt, "-0001-12-31T00:00:00Z", "0001-01-01T00:00:00Z", xsd_less},
    // A value without a zone may lie anywhere within 14 hours.
    {k_dt, "2024-01-01T00:00:00Z", "2024-01-01T00:00:00", xsd_indeterminate},
    {k_dt, "2024-01-01T14:00:00Z", "2024-01-01T00:00:00", xsd_indeterminate},
    {k_dt, "2024-01-01T14:00:01Z", "2024-01-01T00:00:00", xsd_greater},
    {k_dt, "2024-01-01T00:00:00Z", "2024-01-01T14:00:01", xsd_less},
    {k_dt, "2024-01-02T00:00:00", "2024-01-01T00:00:00Z", xsd_greater},
    {compare_as<c_date>, "2024-03-01+02:00", "2024-02-29-02:00", xsd_greater},
    {compare_as<c_time>, "23:00:00-02:00", "01:00:00Z", xsd_greater},
    {compare_as<c_gmonthday>, "--02-29", "--03-01", xsd_less},
    {compare_as<c_gyear>, "-0002", "-0001", xsd_less},
};

TEST(XsdTemporal, OrdersOnTheTimeLine) {
    for (const auto& c : k_orders) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        EXPECT_EQ(c.compare(c.a, c.b), c.order);
    }
}

}  // namespace
