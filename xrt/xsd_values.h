#pragma once
// Numeric and boolean value types of XML Schema and the checks and
// conversions on their text forms, as the generated binding uses them.
//
// The text tests are exact: they see the value after the reader has applied
// the element's white space mode, so a blank anywhere makes them fail.
#include "xrt/xrt_error.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace xrt {

// ---- Text tests -----------------------------------------------------------

// Optional "+" or "-", at least one digit, nothing after.
bool is_integer_text(const std::string& text);
// Exactly "true", "false", "1" or "0".
bool is_boolean_text(const std::string& text);
// True for "true" and "1"; any other text is false.
bool boolean_value(const std::string& text);
// Digits, optionally "." and digits, with at least one digit in all.
bool is_mantissa_text(const char* begin, const char* end);
// "INF", "-INF", "NaN"; or an optional sign, a mantissa, and optionally "e" or
// "E", an optional sign and at least one digit. Used for float and double.
bool is_float_text(const std::string& text);
// Optional sign and a mantissa (xs:decimal).
bool is_decimal_text(const std::string& text);

// ---- Integer bounds -------------------------------------------------------

// Checks an integer text against inclusive bounds given as decimal texts,
// without converting it, so a number of any length is judged cleanly.
// Returns 0, 35 if the text is not an integer, 37 below min, 36 above max.
exrt_error check_integer_text(const std::string& text, const char* min_text, const char* max_text);

// ---- Float and double -----------------------------------------------------

// "NaN", "INF", "-INF" give the quiet NaN and the infinities; anything else
// goes through atof, with the first "." turned into "," when the C locale's
// decimal point is ",". The text should have passed is_float_text.
double double_from_text(const std::string& text);
float float_from_text(const std::string& text);

// By class of the value: "NaN", "-INF", "INF", "-0.0", "0.0"; otherwise the
// stream's default format at precision 7 (float) or 14 (double). The stream's
// precision is restored afterwards.
void write_float(std::ostream& os, float value);
void write_double(std::ostream& os, double value);
// The same, in the classic locale, as a string.
std::string float_to_text(float value);
std::string double_to_text(double value);

// ---- c_big_int ------------------------------------------------------------

// An integer of any length held as its normal decimal text: an optional "-",
// then digits without leading zeros; zero is "0".
class c_big_int {
public:
    c_big_int() : m_value("0") {}
    explicit c_big_int(const std::string& text) { *this = text; }

    // A "-" is kept, a "+" dropped, leading zeros dropped, digits copied up to
    // the first non-digit; nothing left is "0" (and "-0" is "0").
    c_big_int& operator=(const std::string& text);
    c_big_int& operator=(const char* text) { return *this = std::string(text ? text : ""); }

    // Compares with a decimal text (optional sign, leading zeros allowed);
    // the text is read like the assignment reads it. Returns <0, 0, >0.
    int compare(const std::string& text) const;
    int compare(const c_big_int& other) const { return compare(other.m_value); }

    bool operator==(const std::string& text) const { return compare(text) == 0; }
    bool operator<(const std::string& text) const { return compare(text) < 0; }
    bool operator>(const std::string& text) const { return compare(text) > 0; }
    bool operator==(const c_big_int& o) const { return m_value == o.m_value; }
    bool operator<(const c_big_int& o) const { return compare(o) < 0; }
    bool operator>(const c_big_int& o) const { return compare(o) > 0; }

    void swap(c_big_int& other) noexcept { m_value.swap(other.m_value); }
    const std::string& str() const { return m_value; }
    bool is_negative() const { return m_value[0] == '-'; }

private:
    std::string m_value;
};

// ---- c_decimal ------------------------------------------------------------

// xs:decimal as sign, integer part and fraction digits.
class c_decimal {
public:
    c_decimal() = default;
    explicit c_decimal(const std::string& text) { *this = text; }

    // A "-" sets the negative flag, a "+" is skipped, the integer part goes
    // through c_big_int, an optional "." is skipped and the digits after it
    // are the fraction. Does not check the form: see is_decimal_text.
    c_decimal& operator=(const std::string& text);

    bool get_is_neg() const { return m_negative; }
    const c_big_int& get_integer() const { return m_integer; }
    const std::string& get_fraction() const { return m_fraction; }

    // Numeric order: trailing fraction zeros and the sign of zero do not count.
    int compare(const c_decimal& other) const;
    bool operator==(const c_decimal& o) const { return compare(o) == 0; }
    bool operator<(const c_decimal& o) const { return compare(o) < 0; }

    // Canonical text: at least one digit on each side of the point ("1.0",
    // "-0.25"), no redundant zeros, no "-" on zero.
    std::string to_string() const;

    // Digit counts of the canonical value, for totalDigits and fractionDigits.
    unsigned total_digits() const;
    unsigned fraction_digits() const;

private:
    bool is_zero() const;
    std::string trimmed_fraction() const;

    bool m_negative = false;
    c_big_int m_integer;
    std::string m_fraction;
};

// ---- c_binary -------------------------------------------------------------

// xs:hexBinary and xs:base64Binary content.
class c_binary {
public:
    c_binary() = default;
    explicit c_binary(std::vector<unsigned char> bytes) : m_bytes(std::move(bytes)) {}

    // Both return false and leave the value unchanged on a malformed text.
    // Base64 text may hold blanks between groups, as the schema type allows.
    bool from_hex(const std::string& text);
    bool from_base64(const std::string& text);
    std::string to_hex() const;  // upper-case digits, the canonical form
    std::string to_base64() const;

    const std::vector<unsigned char>& get_bytes() const { return m_bytes; }
    void set_bytes(std::vector<unsigned char> bytes) { m_bytes = std::move(bytes); }
    bool operator==(const c_binary& o) const { return m_bytes == o.m_bytes; }

private:
    std::vector<unsigned char> m_bytes;
};

}  // namespace xrt
