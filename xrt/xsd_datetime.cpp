#include "xrt/xsd_datetime.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace xrt {

namespace {

constexpr double k_secs_per_day = 86400.0;
constexpr int k_max_offset_mins = 14 * 60;
constexpr double k_max_offset_secs = k_max_offset_mins * 60.0;
// Longest year we hold in an int without overflow.
constexpr size_t k_max_year_digits = 9;
// Year that stands in for the missing year of a month-day value.
constexpr int64_t k_reference_year = 1972;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Days since 1970-01-01 of a proleptic Gregorian date (astronomical years).
int64_t days_from_civil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

bool is_leap(int64_t astro_year) {
    return (astro_year % 4 == 0 && astro_year % 100 != 0) || astro_year % 400 == 0;
}

unsigned days_in_month(int64_t astro_year, unsigned month) {
    static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && is_leap(astro_year) ? 29 : days[month - 1];
}

// The schema has no year 0: year -1 is the year before year 1.
int64_t astronomical_year(int year) {
    return year < 0 ? year + 1 : year;
}

// Shortest decimal text that reads back as the same float, never with an
// exponent, as the lexical forms have none.
std::string decimal_float(float value) {
    char buf[64];
    for (int precision = 1; precision <= 9; ++precision) {
        std::snprintf(buf, sizeof buf, "%.*g", precision, static_cast<double>(value));
        if (std::strtof(buf, nullptr) == value) break;
    }
    std::string s = buf;
    if (s.find('e') != std::string::npos) {
        std::snprintf(buf, sizeof buf, "%.12f", static_cast<double>(value));
        s = buf;
        s.erase(s.find_last_not_of('0') + 1);
        if (s.back() == '.') s.pop_back();
    }
    return s;
}

// Seconds as the lexical forms want them: two integer digits, a fraction
// only when there is one.
std::string seconds_text(float secs) {
    const std::string s = decimal_float(secs);
    return secs < 10 ? "0" + s : s;
}

// A cursor over a lexical form.
struct scanner {
    const char* p;
    const char* end;

    bool at_end() const { return p == end; }
    bool take(char c) {
        if (p == end || *p != c) return false;
        ++p;
        return true;
    }
    // Exactly n digits.
    bool fixed(size_t n, unsigned& out) {
        if (static_cast<size_t>(end - p) < n) return false;
        unsigned v = 0;
        for (size_t i = 0; i < n; ++i) {
            if (!is_digit(p[i])) return false;
            v = v * 10 + static_cast<unsigned>(p[i] - '0');
        }
        p += n;
        out = v;
        return true;
    }
};

// -?YYYY with more digits allowed but then no leading zero, and no year 0.
bool scan_year(scanner& s, int& year) {
    const bool negative = s.take('-');
    const char* start = s.p;
    while (!s.at_end() && is_digit(*s.p)) ++s.p;
    const size_t n = static_cast<size_t>(s.p - start);
    if (n < 4 || n > k_max_year_digits || (n > 4 && *start == '0')) return false;
    const int v = std::atoi(std::string(start, n).c_str());
    if (v == 0) return false;
    year = negative ? -v : v;
    return true;
}

// hh:mm:ss(.s+)? with 24:00:00 as the only value of hour 24.
bool scan_time(scanner& s, unsigned& hours, unsigned& mins, float& secs) {
    unsigned whole = 0;
    if (!s.fixed(2, hours) || !s.take(':') || !s.fixed(2, mins) || !s.take(':') || !s.fixed(2, whole)) return false;
    const char* frac = s.p;
    if (s.take('.')) {
        const char* digits = s.p;
        while (!s.at_end() && is_digit(*s.p)) ++s.p;
        if (s.p == digits) return false;
    }
    secs = static_cast<float>(std::atof(std::string(frac - 2, s.p).c_str()));
    if (mins > 59 || whole > 59) return false;
    return hours < 24 || (hours == 24 && mins == 0 && secs == 0);
}

// Z or (+|-)hh:mm, at most 14:00 either way.
bool scan_timezone(scanner& s, bool& present, bool& utc, int& total) {
    present = false;
    utc = false;
    total = 0;
    if (s.at_end()) return true;
    present = true;
    if (s.take('Z')) {
        utc = true;
        return true;
    }
    const bool negative = *s.p == '-';
    if (!s.take('+') && !s.take('-')) return false;
    unsigned h = 0, m = 0;
    if (!s.fixed(2, h) || !s.take(':') || !s.fixed(2, m)) return false;
    const int mins = static_cast<int>(h * 60 + m);
    if (m > 59 || mins > k_max_offset_mins) return false;
    total = negative ? -mins : mins;
    utc = total == 0;
    return true;
}

void append_2(std::string& out, unsigned v) {
    out += static_cast<char>('0' + v / 10 % 10);
    out += static_cast<char>('0' + v % 10);
}

}  // namespace

// ---- c_duration -----------------------------------------------------------

namespace {

// One "number designator" pair of a duration.
struct duration_item {
    const char* number;  // start of the number text
    const char* number_end;
    char designator;
};

// Reads a number (digits, and a fraction when allowed) and its designator.
bool next_duration_item(scanner& s, bool allow_fraction, duration_item& item) {
    item.number = s.p;
    while (!s.at_end() && is_digit(*s.p)) ++s.p;
    if (allow_fraction && !s.at_end() && *s.p == '.') {
        const char* dot = s.p++;
        while (!s.at_end() && is_digit(*s.p)) ++s.p;
        if (s.p == dot + 1) return false;
    }
    item.number_end = s.p;
    if (s.at_end()) return false;
    item.designator = *s.p++;
    return true;
}

// Walks a duration text in its fixed order and hands each part to `put`
// (date designator index 0..2 for Y M D, 3..5 for H M S). Returns false at
// the first thing out of shape; `strict` also requires digits before every
// designator and at least one part in the text and after "T".
template <typename Put>
bool walk_duration(const std::string& text, bool strict, bool& negative, Put put) {
    static const char k_date_designators[] = "YMD";
    static const char k_time_designators[] = "HMS";
    scanner s{text.data(), text.data() + text.size()};
    negative = s.take('-');
    if (!negative) s.take('+');
    if (!s.take('P')) return false;
    int parts = 0;
    size_t next = 0;  // lowest designator index still allowed
    bool in_time = false;
    while (!s.at_end()) {
        if (!in_time && s.take('T')) {
            in_time = true;
            next = 3;
            if (strict && s.at_end()) return false;
            continue;
        }
        duration_item item{};
        if (!next_duration_item(s, in_time, item)) return false;
        const char* designators = in_time ? k_time_designators : k_date_designators;
        const char* hit = item.designator ? std::strchr(designators, item.designator) : nullptr;
        if (!hit) return false;
        const size_t index = static_cast<size_t>(hit - designators) + (in_time ? 3 : 0);
        if (index < next) return false;
        const bool has_digits = item.number_end != item.number && is_digit(*item.number);
        if (strict && !has_digits) return false;
        // A fraction is only for seconds.
        if (index != 5 && std::memchr(item.number, '.', static_cast<size_t>(item.number_end - item.number)))
            return false;
        put(index, std::string(item.number, item.number_end));
        next = index + 1;
        ++parts;
    }
    return !strict || parts > 0;
}

}  // namespace

c_duration& c_duration::operator=(const std::string& text) {
    *this = c_duration();
    bool negative = false;
    walk_duration(text, false, negative, [this](size_t index, const std::string& number) {
        uint32_t* fields[] = {&m_years, &m_months, &m_days, &m_hours, &m_mins};
        if (index < 5)
            *fields[index] = static_cast<uint32_t>(std::atoi(number.c_str()));
        else
            m_secs = static_cast<float>(std::atof(number.c_str()));
    });
    m_is_neg = negative;
    return *this;
}

bool c_duration::is_valid(const std::string& text) {
    bool negative = false;
    return walk_duration(text, true, negative, [](size_t, const std::string&) {});
}

std::string c_duration::to_string() const {
    const uint32_t date[] = {m_years, m_months, m_days};
    const uint32_t time[] = {m_hours, m_mins};
    const bool zero = !m_years && !m_months && !m_days && !m_hours && !m_mins && m_secs == 0;
    if (zero) return "PT0S";
    std::string out = m_is_neg ? "-P" : "P";
    for (int i = 0; i < 3; ++i)
        if (date[i]) out += std::to_string(date[i]) + "YMD"[i];
    if (m_hours || m_mins || m_secs != 0) {
        out += 'T';
        for (int i = 0; i < 2; ++i)
            if (time[i]) out += std::to_string(time[i]) + "HM"[i];
        if (m_secs != 0) out += decimal_float(m_secs) + 'S';
    }
    return out;
}

e_xsd_order c_duration::compare(const c_duration& other) const {
    struct span {
        int64_t months;
        double secs;
    };
    auto span_of = [](const c_duration& d) {
        const double sign = d.m_is_neg ? -1 : 1;
        const int64_t months = static_cast<int64_t>(d.m_years) * 12 + d.m_months;
        const double secs = ((static_cast<double>(d.m_days) * 24 + d.m_hours) * 60 + d.m_mins) * 60 + d.m_secs;
        return span{d.m_is_neg ? -months : months, sign * secs};
    };
    const span a = span_of(*this);
    const span b = span_of(other);
    auto order = [](double x, double y) { return x < y ? xsd_less : (x > y ? xsd_greater : xsd_equal); };
    if (a.months == b.months) return order(a.secs, b.secs);

    // Reference instants whose following months have 28, 29, 30 and 31 days.
    static const int k_reference[][2] = {{1696, 9}, {1697, 2}, {1903, 3}, {1903, 7}};
    auto instant = [](const int* ref, const span& s) {
        const int64_t total = static_cast<int64_t>(ref[0]) * 12 + (ref[1] - 1) + s.months;
        const int64_t year = total >= 0 ? total / 12 : (total - 11) / 12;
        const unsigned month = static_cast<unsigned>(total - year * 12) + 1;
        return static_cast<double>(days_from_civil(year, month, 1)) * k_secs_per_day + s.secs;
    };
    e_xsd_order result = order(instant(k_reference[0], a), instant(k_reference[0], b));
    for (const auto& ref : k_reference)
        if (order(instant(ref, a), instant(ref, b)) != result) return xsd_indeterminate;
    return result;
}

// ---- Dates and times ------------------------------------------------------

void c_xsd_temporal::set_offset(int hours, int mins) {
    m_total_offset_mins = hours < 0 ? hours * 60 - mins : hours * 60 + mins;
    m_is_utc = m_total_offset_mins == 0;
}

exrt_error c_xsd_temporal::parse(const std::string& text) {
    const exrt_error bad = e_invalid_value_format;
    scanner s{text.data(), text.data() + text.size()};
    int year = 1;
    unsigned month = 1, day = 1, hours = 0, mins = 0;
    float secs = 0;
    const bool has_date = m_parts & (k_xsd_year | k_xsd_month | k_xsd_day);
    if (m_parts & k_xsd_year) {
        if (!scan_year(s, year)) return bad;
    } else if (has_date) {
        // gMonth and gMonthDay start "--", gDay "---".
        if (!s.take('-') || !s.take('-')) return bad;
        if (!(m_parts & k_xsd_month) && !s.take('-')) return bad;
    }
    if (m_parts & k_xsd_month) {
        if ((m_parts & k_xsd_year) && !s.take('-')) return bad;
        if (!s.fixed(2, month) || month < 1 || month > 12) return bad;
    }
    if (m_parts & k_xsd_day) {
        if ((m_parts & k_xsd_month) && !s.take('-')) return bad;
        if (!s.fixed(2, day) || day < 1) return bad;
        // Without a year, 29 February stays possible.
        const int64_t astro = (m_parts & k_xsd_year) ? astronomical_year(year) : 2000;
        const unsigned limit = (m_parts & k_xsd_month) ? days_in_month(astro, month) : 31;
        if (day > limit) return bad;
    }
    if (m_parts & k_xsd_time) {
        if (has_date && !s.take('T')) return bad;
        if (!scan_time(s, hours, mins, secs)) return bad;
    }
    bool present = false, utc = false;
    int total = 0;
    if (!scan_timezone(s, present, utc, total) || !s.at_end()) return bad;
    m_year = year;
    m_month = month;
    m_day = day;
    m_hours = hours;
    m_mins = mins;
    m_secs = secs;
    m_total_offset_mins = total;
    m_is_utc = utc;
    return e_no_error;
}

std::string c_xsd_temporal::to_string() const {
    std::string out;
    const bool has_date = m_parts & (k_xsd_year | k_xsd_month | k_xsd_day);
    if (m_parts & k_xsd_year) {
        char buf[16];
        std::snprintf(buf, sizeof buf, "%s%04d", m_year < 0 ? "-" : "", std::abs(m_year));
        out += buf;
    } else if (has_date) {
        out += (m_parts & k_xsd_month) ? "--" : "---";
    }
    if (m_parts & k_xsd_month) {
        if (m_parts & k_xsd_year) out += '-';
        append_2(out, m_month);
    }
    if (m_parts & k_xsd_day) {
        if (m_parts & k_xsd_month) out += '-';
        append_2(out, m_day);
    }
    if (m_parts & k_xsd_time) {
        if (has_date) out += 'T';
        append_2(out, m_hours);
        out += ':';
        append_2(out, m_mins);
        out += ':';
        out += seconds_text(m_secs);
    }
    if (m_is_utc) {
        out += 'Z';
    } else if (m_total_offset_mins != 0) {
        const unsigned mins = static_cast<unsigned>(std::abs(m_total_offset_mins));
        out += m_total_offset_mins < 0 ? '-' : '+';
        append_2(out, mins / 60);
        out += ':';
        append_2(out, mins % 60);
    }
    return out;
}

e_xsd_order c_xsd_temporal::compare(const c_xsd_temporal& other) const {
    // Local time line position; missing parts take the fields' defaults, and
    // a missing year a leap year, so that "--02-29" has its place.
    auto local = [](const c_xsd_temporal& t) {
        const int64_t year = (t.m_parts & k_xsd_year) ? astronomical_year(t.m_year) : k_reference_year;
        const double days = static_cast<double>(days_from_civil(year, t.m_month, t.m_day));
        return days * k_secs_per_day + (t.m_hours * 60.0 + t.m_mins) * 60.0 + t.m_secs;
    };
    auto utc = [&](const c_xsd_temporal& t) { return local(t) - t.m_total_offset_mins * 60.0; };
    auto order = [](double x, double y) { return x < y ? xsd_less : (x > y ? xsd_greater : xsd_equal); };
    if (has_timezone() == other.has_timezone()) return order(utc(*this), utc(other));
    // One side has no zone: it may lie anywhere within 14 hours of its
    // local reading.
    const bool self_zoned = has_timezone();
    const double zoned = self_zoned ? utc(*this) : utc(other);
    const double floating = self_zoned ? local(other) : local(*this);
    e_xsd_order zoned_vs_floating = xsd_indeterminate;
    if (zoned < floating - k_max_offset_secs) zoned_vs_floating = xsd_less;
    if (zoned > floating + k_max_offset_secs) zoned_vs_floating = xsd_greater;
    if (zoned_vs_floating == xsd_indeterminate || self_zoned) return zoned_vs_floating;
    return zoned_vs_floating == xsd_less ? xsd_greater : xsd_less;
}

}  // namespace xrt
