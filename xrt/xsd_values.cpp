#include "xrt/xsd_values.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale>
#include <ostream>

namespace xrt {

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

const char* skip_digits(const char* p, const char* end) {
    while (p != end && is_digit(*p)) ++p;
    return p;
}

const char* skip_sign(const char* p, const char* end) {
    return (p != end && (*p == '+' || *p == '-')) ? p + 1 : p;
}

// The magnitude of an integer text: sign, then the digit run after any
// leading zeros. An all-zero or empty magnitude is zero and never negative.
struct magnitude {
    bool negative;
    const char* digits;
    size_t length;
};

magnitude read_magnitude(const char* p, const char* end) {
    magnitude m{false, p, 0};
    if (p != end && (*p == '-' || *p == '+')) m.negative = (*p++ == '-');
    while (p != end && *p == '0') ++p;
    m.digits = p;
    m.length = static_cast<size_t>(skip_digits(p, end) - p);
    if (m.length == 0) m.negative = false;
    return m;
}

int compare_magnitudes(const magnitude& a, const magnitude& b) {
    if (a.length != b.length) return a.length < b.length ? -1 : 1;
    return std::memcmp(a.digits, b.digits, a.length);
}

int compare_signed(const magnitude& a, const magnitude& b) {
    if (a.negative != b.negative) return a.negative ? -1 : 1;
    int c = compare_magnitudes(a, b);
    c = c < 0 ? -1 : (c > 0 ? 1 : 0);
    return a.negative ? -c : c;
}

}  // namespace

// ---- Text tests -----------------------------------------------------------

bool is_integer_text(const std::string& text) {
    const char* p = text.data();
    const char* end = p + text.size();
    p = skip_sign(p, end);
    const char* digits_end = skip_digits(p, end);
    return digits_end != p && digits_end == end;
}

bool is_boolean_text(const std::string& text) {
    return text == "true" || text == "false" || text == "1" || text == "0";
}

bool boolean_value(const std::string& text) {
    return text == "true" || text == "1";
}

bool is_mantissa_text(const char* begin, const char* end) {
    const char* p = skip_digits(begin, end);
    size_t digits = static_cast<size_t>(p - begin);
    if (p != end && *p == '.') {
        const char* f = p + 1;
        p = skip_digits(f, end);
        digits += static_cast<size_t>(p - f);
    }
    return digits > 0 && p == end;
}

bool is_float_text(const std::string& text) {
    if (text == "INF" || text == "-INF" || text == "NaN") return true;
    const char* p = skip_sign(text.data(), text.data() + text.size());
    const char* end = text.data() + text.size();
    const char* e = p;
    while (e != end && *e != 'e' && *e != 'E') ++e;
    if (!is_mantissa_text(p, e)) return false;
    if (e == end) return true;
    const char* x = skip_sign(e + 1, end);
    const char* x_end = skip_digits(x, end);
    return x_end != x && x_end == end;
}

bool is_decimal_text(const std::string& text) {
    const char* end = text.data() + text.size();
    return is_mantissa_text(skip_sign(text.data(), end), end);
}

// ---- Integer bounds -------------------------------------------------------

exrt_error check_integer_text(const std::string& text, const char* min_text, const char* max_text) {
    if (!is_integer_text(text)) return e_invalid_value_format;
    const magnitude value = read_magnitude(text.data(), text.data() + text.size());
    const magnitude lo = read_magnitude(min_text, min_text + std::strlen(min_text));
    const magnitude hi = read_magnitude(max_text, max_text + std::strlen(max_text));
    if (compare_signed(value, lo) < 0) return e_value_below_min;
    if (compare_signed(value, hi) > 0) return e_value_above_max;
    return e_no_error;
}

// ---- Float and double -----------------------------------------------------

double double_from_text(const std::string& text) {
    if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
    if (text == "INF") return std::numeric_limits<double>::infinity();
    if (text == "-INF") return -std::numeric_limits<double>::infinity();
    const lconv* conv = std::localeconv();
    if (conv && conv->decimal_point && conv->decimal_point[0] == ',') {
        std::string copy(text);
        const size_t dot = copy.find('.');
        if (dot != std::string::npos) copy[dot] = ',';
        return std::atof(copy.c_str());
    }
    return std::atof(text.c_str());
}

float float_from_text(const std::string& text) {
    return static_cast<float>(double_from_text(text));
}

namespace {

// The special classes have fixed words; returns null for an ordinary value.
const char* special_float_text(double value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
    if (value == 0) return std::signbit(value) ? "-0.0" : "0.0";
    return nullptr;
}

template <typename T>
void write_real(std::ostream& os, T value, std::streamsize precision) {
    if (const char* word = special_float_text(value)) {
        os << word;
        return;
    }
    const std::streamsize old = os.precision(precision);
    os << value;
    os.precision(old);
}

// The text write_real gives on a classic-locale stream (general format at
// that precision), without building a stream for each value.
template <typename T>
std::string real_to_text(T value, std::streamsize precision) {
    if (const char* word = special_float_text(value)) return word;
    char text[64];
    const std::to_chars_result r = std::to_chars(text, text + sizeof text, static_cast<double>(value),
                                                 std::chars_format::general, static_cast<int>(precision));
    return std::string(text, r.ptr);
}

constexpr std::streamsize k_float_precision = 7;
constexpr std::streamsize k_double_precision = 14;

}  // namespace

void write_float(std::ostream& os, float value) {
    write_real(os, value, k_float_precision);
}
void write_double(std::ostream& os, double value) {
    write_real(os, value, k_double_precision);
}
std::string float_to_text(float value) {
    return real_to_text(value, k_float_precision);
}
std::string double_to_text(double value) {
    return real_to_text(value, k_double_precision);
}

// ---- c_big_int ------------------------------------------------------------

c_big_int& c_big_int::operator=(const std::string& text) {
    const magnitude m = read_magnitude(text.data(), text.data() + text.size());
    if (m.length == 0) {
        m_value = "0";
        return *this;
    }
    m_value.clear();
    m_value.reserve(m.length + 1);
    if (m.negative) m_value += '-';
    m_value.append(m.digits, m.length);
    return *this;
}

int c_big_int::compare(const std::string& text) const {
    const magnitude self = read_magnitude(m_value.data(), m_value.data() + m_value.size());
    return compare_signed(self, read_magnitude(text.data(), text.data() + text.size()));
}

// ---- c_decimal ------------------------------------------------------------

c_decimal& c_decimal::operator=(const std::string& text) {
    const char* p = text.data();
    const char* end = p + text.size();
    m_negative = p != end && *p == '-';
    p = skip_sign(p, end);
    const char* int_end = skip_digits(p, end);
    m_integer = std::string(p, int_end);
    p = int_end;
    if (p != end && *p == '.') ++p;
    m_fraction.assign(p, skip_digits(p, end));
    return *this;
}

std::string c_decimal::trimmed_fraction() const {
    const size_t last = m_fraction.find_last_not_of('0');
    return last == std::string::npos ? std::string() : m_fraction.substr(0, last + 1);
}

bool c_decimal::is_zero() const {
    return m_integer.str() == "0" && trimmed_fraction().empty();
}

int c_decimal::compare(const c_decimal& other) const {
    const bool neg_a = m_negative && !is_zero();
    const bool neg_b = other.m_negative && !other.is_zero();
    if (neg_a != neg_b) return neg_a ? -1 : 1;
    int c = m_integer.compare(other.m_integer);
    if (c == 0) {
        // Fractions compare digit by digit, the shorter padded with zeros.
        const std::string& fa = m_fraction;
        const std::string& fb = other.m_fraction;
        const size_t n = std::max(fa.size(), fb.size());
        for (size_t i = 0; i < n && c == 0; ++i) {
            const char da = i < fa.size() ? fa[i] : '0';
            const char db = i < fb.size() ? fb[i] : '0';
            c = (da > db) - (da < db);
        }
    }
    c = (c > 0) - (c < 0);
    return neg_a ? -c : c;
}

std::string c_decimal::to_string() const {
    const std::string fraction = trimmed_fraction();
    std::string out = (m_negative && !is_zero()) ? "-" : "";
    out += m_integer.str();
    out += '.';
    out += fraction.empty() ? "0" : fraction;
    return out;
}

unsigned c_decimal::fraction_digits() const {
    return static_cast<unsigned>(trimmed_fraction().size());
}

unsigned c_decimal::total_digits() const {
    const unsigned fraction = fraction_digits();
    // A zero integer part has no significant digits unless nothing follows.
    const unsigned integer =
        m_integer.str() == "0" ? (fraction == 0 ? 1u : 0u) : static_cast<unsigned>(m_integer.str().size());
    if (integer > 0) return integer + fraction;
    const std::string f = trimmed_fraction();
    return static_cast<unsigned>(f.size() - f.find_first_not_of('0'));
}

// ---- c_binary -------------------------------------------------------------

namespace {

int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

const char k_base64_alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int base64_value(char c) {
    const char* hit = c ? std::strchr(k_base64_alphabet, c) : nullptr;
    return hit ? static_cast<int>(hit - k_base64_alphabet) : -1;
}

}  // namespace

bool c_binary::from_hex(const std::string& text) {
    if (text.size() % 2 != 0) return false;
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        const int hi = hex_value(text[i]);
        const int lo = hex_value(text[i + 1]);
        if (hi < 0 || lo < 0) return false;
        bytes.push_back(static_cast<unsigned char>(hi << 4 | lo));
    }
    m_bytes.swap(bytes);
    return true;
}

std::string c_binary::to_hex() const {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(m_bytes.size() * 2);
    for (unsigned char b : m_bytes) {
        out += digits[b >> 4];
        out += digits[b & 0xF];
    }
    return out;
}

bool c_binary::from_base64(const std::string& text) {
    // Collect the significant characters; blanks may stand between them.
    std::string chars;
    chars.reserve(text.size());
    for (char c : text) {
        if (c == ' ') continue;
        chars += c;
    }
    if (chars.size() % 4 != 0) return false;
    size_t pad = 0;
    while (pad < 2 && pad < chars.size() && chars[chars.size() - 1 - pad] == '=') ++pad;
    std::vector<unsigned char> bytes;
    bytes.reserve(chars.size() / 4 * 3);
    unsigned bits = 0;
    int count = 0;
    for (size_t i = 0; i < chars.size() - pad; ++i) {
        const int v = base64_value(chars[i]);
        if (v < 0) return false;
        bits = bits << 6 | static_cast<unsigned>(v);
        if (++count == 4) {
            bytes.push_back(static_cast<unsigned char>(bits >> 16));
            bytes.push_back(static_cast<unsigned char>(bits >> 8));
            bytes.push_back(static_cast<unsigned char>(bits));
            bits = 0;
            count = 0;
        }
    }
    // The last group before the padding must not carry stray low bits.
    if (pad == 2) {
        if (bits & 0xF) return false;
        bytes.push_back(static_cast<unsigned char>(bits >> 4));
    } else if (pad == 1) {
        if (bits & 0x3) return false;
        bytes.push_back(static_cast<unsigned char>(bits >> 10));
        bytes.push_back(static_cast<unsigned char>(bits >> 2));
    }
    m_bytes.swap(bytes);
    return true;
}

std::string c_binary::to_base64() const {
    std::string out;
    out.reserve((m_bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < m_bytes.size(); i += 3) {
        const size_t n = std::min<size_t>(3, m_bytes.size() - i);
        unsigned bits = static_cast<unsigned>(m_bytes[i]) << 16;
        if (n > 1) bits |= static_cast<unsigned>(m_bytes[i + 1]) << 8;
        if (n > 2) bits |= m_bytes[i + 2];
        out += k_base64_alphabet[bits >> 18 & 0x3F];
        out += k_base64_alphabet[bits >> 12 & 0x3F];
        out += n > 1 ? k_base64_alphabet[bits >> 6 & 0x3F] : '=';
        out += n > 2 ? k_base64_alphabet[bits & 0x3F] : '=';
    }
    return out;
}

}  // namespace xrt
