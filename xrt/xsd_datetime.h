#pragma once
// XML Schema durations, dates and times.
//
// The date-like types are one template over the parts they carry; each
// accessor exists only where its part does (using get_hours on a c_date does
// not compile). Values read from text are checked against the schema's
// lexical rules; set_X stores what it is given.
#include "xrt/xrt_error.h"

#include <cstdint>
#include <string>

namespace xrt {

// Durations and date-like values are only partially ordered.
enum e_xsd_order { xsd_less = -1, xsd_equal = 0, xsd_greater = 1, xsd_indeterminate = 2 };

// ---- c_duration -----------------------------------------------------------

class c_duration {
public:
    c_duration() = default;
    explicit c_duration(const std::string& text) { *this = text; }

    // Reads [-+]P nY nM nD [T nH nM n[.n]S] without checking: reading stops at
    // the first thing it cannot place, and later fields stay 0.
    c_duration& operator=(const std::string& text);
    // The full shape check: a designator needs its number, "P" alone or a "T"
    // with no part after it is invalid.
    static bool is_valid(const std::string& text);

    // Canonical text: zero fields left out, "PT0S" for zero, "-" only when the
    // duration is not zero.
    std::string to_string() const;

    // The schema's order: equal fields in months and seconds compare
    // directly; otherwise the durations are added to four reference instants
    // and they compare only if all four agree ("P1M" against "P30D" is
    // indeterminate, "P1Y" equals "P12M", "PT24H" equals "P1D").
    e_xsd_order compare(const c_duration& other) const;
    bool operator==(const c_duration& o) const { return compare(o) == xsd_equal; }

    bool get_is_neg() const { return m_is_neg; }
    void set_is_neg(bool v) { m_is_neg = v; }
    uint32_t get_years() const { return m_years; }
    void set_years(uint32_t v) { m_years = v; }
    uint32_t get_months() const { return m_months; }
    void set_months(uint32_t v) { m_months = v; }
    uint32_t get_days() const { return m_days; }
    void set_days(uint32_t v) { m_days = v; }
    uint32_t get_hours() const { return m_hours; }
    void set_hours(uint32_t v) { m_hours = v; }
    uint32_t get_mins() const { return m_mins; }
    void set_mins(uint32_t v) { m_mins = v; }
    float get_secs() const { return m_secs; }
    void set_secs(float v) { m_secs = v; }

private:
    bool m_is_neg = false;
    uint32_t m_years = 0;
    uint32_t m_months = 0;
    uint32_t m_days = 0;
    uint32_t m_hours = 0;
    uint32_t m_mins = 0;
    float m_secs = 0;
};

// ---- Dates and times ------------------------------------------------------

// The parts a date-like type carries.
enum : unsigned {
    k_xsd_year = 1,
    k_xsd_month = 2,
    k_xsd_day = 4,
    k_xsd_time = 8,
};

// Fields and text handling shared by every date-like type; `parts` says which
// fields the lexical form holds.
class c_xsd_temporal {
public:
    explicit c_xsd_temporal(unsigned parts) : m_parts(parts) {}

    // total_offset_mins = hours * 60 + mins, or hours * 60 - mins when hours
    // is negative; is_utc is set exactly when the total is 0.
    void set_offset(int hours, int mins);
    int get_total_offset_mins() const { return m_total_offset_mins; }
    void set_total_offset_mins(int v) { m_total_offset_mins = v; }
    bool get_is_utc() const { return m_is_utc; }
    void set_is_utc(bool v) { m_is_utc = v; }
    // A value without a time zone has offset 0 and is_utc false.
    bool has_timezone() const { return m_is_utc || m_total_offset_mins != 0; }

    // Reads the lexical form of this type ("2024-02-29", "13:20:00.5Z",
    // "--12-25", "---01+14:00" ...). Returns 0, or 35 for a text that is not
    // of the form or names no real date; the value is then unchanged.
    exrt_error parse(const std::string& text);
    // The form back; a zero offset is written "Z", seconds without a needless
    // fraction ("13:20:00", "13:20:00.5").
    std::string to_string() const;

    // Instants on the time line; a value with a time zone against one without
    // is indeterminate when they lie within 14 hours of each other.
    e_xsd_order compare(const c_xsd_temporal& other) const;

protected:
    unsigned m_parts;
    int m_year = 1;
    unsigned m_month = 1;
    unsigned m_day = 1;
    unsigned m_hours = 0;
    unsigned m_mins = 0;
    float m_secs = 0;
    int m_total_offset_mins = 0;
    bool m_is_utc = false;
};

template <unsigned Parts>
class c_xsd_temporal_of : public c_xsd_temporal {
public:
    c_xsd_temporal_of() : c_xsd_temporal(Parts) {}
    // A text that does not parse leaves the default value: 0001-01-01,
    // 00:00:00, no time zone. Call parse() to see the result.
    explicit c_xsd_temporal_of(const std::string& text) : c_xsd_temporal(Parts) { parse(text); }

    int get_year() const {
        static_assert(Parts & k_xsd_year, "no year");
        return m_year;
    }
    void set_year(int v) {
        static_assert(Parts & k_xsd_year, "no year");
        m_year = v;
    }
    unsigned get_month() const {
        static_assert(Parts & k_xsd_month, "no month");
        return m_month;
    }
    void set_month(unsigned v) {
        static_assert(Parts & k_xsd_month, "no month");
        m_month = v;
    }
    unsigned get_day() const {
        static_assert(Parts & k_xsd_day, "no day");
        return m_day;
    }
    void set_day(unsigned v) {
        static_assert(Parts & k_xsd_day, "no day");
        m_day = v;
    }
    unsigned get_hours() const {
        static_assert(Parts & k_xsd_time, "no time");
        return m_hours;
    }
    void set_hours(unsigned v) {
        static_assert(Parts & k_xsd_time, "no time");
        m_hours = v;
    }
    unsigned get_mins() const {
        static_assert(Parts & k_xsd_time, "no time");
        return m_mins;
    }
    void set_mins(unsigned v) {
        static_assert(Parts & k_xsd_time, "no time");
        m_mins = v;
    }
    float get_secs() const {
        static_assert(Parts & k_xsd_time, "no time");
        return m_secs;
    }
    void set_secs(float v) {
        static_assert(Parts & k_xsd_time, "no time");
        m_secs = v;
    }

    bool operator==(const c_xsd_temporal_of& o) const { return compare(o) == xsd_equal; }
    bool operator<(const c_xsd_temporal_of& o) const { return compare(o) == xsd_less; }
};

using c_date = c_xsd_temporal_of<k_xsd_year | k_xsd_month | k_xsd_day>;
using c_time = c_xsd_temporal_of<k_xsd_time>;
using c_datetime = c_xsd_temporal_of<k_xsd_year | k_xsd_month | k_xsd_day | k_xsd_time>;
using c_gyear = c_xsd_temporal_of<k_xsd_year>;
using c_gyearmonth = c_xsd_temporal_of<k_xsd_year | k_xsd_month>;
using c_gmonth = c_xsd_temporal_of<k_xsd_month>;
using c_gmonthday = c_xsd_temporal_of<k_xsd_month | k_xsd_day>;
using c_gday = c_xsd_temporal_of<k_xsd_day>;

}  // namespace xrt
