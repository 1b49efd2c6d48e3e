#include "common/src/ka.common.xml.io.h"

#include "xrt/xml_writer.h"
#include "xrt/xsd_regex.h"
#include "xrt/xsd_values.h"

#include <charconv>
#include <cstdlib>
#include <limits>

namespace quorl {

// ---- Value codecs ------------------------------------------------------------

exrt_error TextCodec::parse(const std::string& text, type& out) {
    out = text;
    return XB_OK;
}

void TextCodec::append(std::string& out, const type& v) {
    xrt::append_escaped(out, v.data(), v.size());
}

exrt_error FlagCodec::parse(const std::string& text, type& out) {
    if (!xrt::is_boolean_text(text)) return XB_BAD_FORMAT;
    out = xrt::boolean_value(text);
    return XB_OK;
}

void FlagCodec::append(std::string& out, type v) {
    out += v ? "true" : "false";
}

namespace {

// Bound texts of the integer types, built once at start.
template <class T>
struct IntBounds {
    static const std::string min;
    static const std::string max;
};
template <class T>
const std::string IntBounds<T>::min = std::to_string(std::numeric_limits<T>::min());
template <class T>
const std::string IntBounds<T>::max = std::to_string(std::numeric_limits<T>::max());

// The text passed the bound check, so each conversion below is in range.
// The signed ones accept a "+" as the C library does; the unsigned ones see
// "+n" or "-0".
template <class T>
T convertInt(const std::string& text) {
    if (std::numeric_limits<T>::is_signed) return static_cast<T>(std::strtoll(text.c_str(), nullptr, 10));
    return static_cast<T>(std::strtoull(text.c_str(), nullptr, 10));
}

}  // namespace

template <class T>
exrt_error IntCodec<T>::parse(const std::string& text, type& out) {
    exrt_error e = xrt::check_integer_text(text, IntBounds<T>::min.c_str(), IntBounds<T>::max.c_str());
    if (e != XB_OK) return e;
    out = convertInt<T>(text);
    return XB_OK;
}

template <class T>
void IntCodec<T>::append(std::string& out, type v) {
    char digits[24];
    const std::to_chars_result r = std::to_chars(digits, digits + sizeof digits, v);
    out.append(digits, r.ptr);
}

template struct IntCodec<int32_t>;
template struct IntCodec<uint32_t>;
template struct IntCodec<int64_t>;
template struct IntCodec<uint64_t>;

namespace {
// Compiled once, before the entry function, as every address value is checked.
const xrt::c_regex addr32Pattern("0x[0-9a-fA-F]{1,8}");
const xrt::c_regex addr64Pattern("0x[0-9a-fA-F]{1,16}");
}  // namespace

bool matchesAddressPattern(const std::string& text, int digits) {
    const xrt::c_regex& re = digits == 8 ? addr32Pattern : addr64Pattern;
    // A pattern that failed to compile refuses every address.
    return re.is_compiled() && re.is_match(text);
}

template <int Digits>
exrt_error AddrCodec<Digits>::parse(const std::string& text, type& out) {
    if (!matchesAddressPattern(text, Digits)) return XB_NO_PATTERN;
    out = text;
    return XB_OK;
}

template <int Digits>
void AddrCodec<Digits>::append(std::string& out, const type& v) {
    out += v;
}

// Both conversions run for every address of a load and a save: plain C
// conversions, not a string stream built (locale and all) for each value.
template <int Digits>
uint64_t AddrCodec<Digits>::toNumber(const std::string& text) {
    return std::strtoull(text.c_str(), nullptr, 16);
}

template <int Digits>
std::string AddrCodec<Digits>::toText(uint64_t v) {
    char text[2 + 16] = {'0', 'x'};
    char* end = std::to_chars(text + 2, text + sizeof text, v, 16).ptr;
    return std::string(text, end);
}

template struct AddrCodec<8>;
template struct AddrCodec<16>;

template <class T>
exrt_error RealCodec<T>::parse(const std::string& text, type& out) {
    if (!xrt::is_float_text(text)) return XB_BAD_FORMAT;
    out = static_cast<T>(xrt::double_from_text(text));
    return XB_OK;
}

template <>
void RealCodec<float>::append(std::string& out, float v) {
    out += xrt::float_to_text(v);
}
template <>
void RealCodec<double>::append(std::string& out, double v) {
    out += xrt::double_to_text(v);
}

template struct RealCodec<float>;
template struct RealCodec<double>;

// ---- Order list --------------------------------------------------------------

bool OrderList::has(int kind) const {
    for (int i = 0; i < count; ++i)
        if (kinds[i] == kind) return true;
    return false;
}

bool OrderList::add(int kind) {
    if (has(kind) || count == capacity) return false;
    kinds[count++] = static_cast<unsigned char>(kind);
    return true;
}

}  // namespace quorl

// ---- Reader cursor -----------------------------------------------------------

#include "xrt/xml_reader.h"
#include "xrt/xml_writer.h"

namespace quorl {

BindReader::BindReader(xrt::c_xml_reader& reader) : r(reader) {}

BindReader::Kind BindReader::peek() {
    if (pending) return cur;
    pending = true;
    switch (r.get_next_event()) {
        case xrt::xe_start:
            cur = START;
            curName = r.get_local_name();
            curPrefixed = r.get_has_ns_prefix();
            break;
        case xrt::xe_end_tag:
            // Left for test_end_tag, which compares the name.
            r.restore_event();
            cur = END;
            break;
        case xrt::xe_text:
            cur = TEXT;
            break;
        case xrt::xe_end_of_input:
            cur = EOI;
            break;
        default:
            cur = FAIL;
            break;
    }
    return cur;
}

exrt_error BindReader::peekTag(const char* context, Kind& k) {
    k = peek();
    if (k == FAIL) return readerError();
    if (k == EOI) return fail(XB_END_OF_MESSAGE, context, __LINE__);
    return XB_OK;
}

exrt_error BindReader::finishStart(const char* element, bool& selfClosed) {
    for (;;) {
        switch (r.get_next_event()) {
            case xrt::xe_start:
                if (r.is_xsi_attribute()) continue;
                return fail(XB_UNEXPECTED_ATTR, r.get_attribute_name().full_name, __LINE__);
            case xrt::xe_start_tag_end:
                selfClosed = false;
                return XB_OK;
            case xrt::xe_end_tag:
                selfClosed = true;
                return XB_OK;
            case xrt::xe_end_of_input:
                return fail(XB_BAD_START_END, element, __LINE__);
            default:
                return readerError();
        }
    }
}

exrt_error BindReader::readValue(const char* element, WsMode ws, std::string& out) {
    consume();
    bool selfClosed = false;
    exrt_error e = finishStart(element, selfClosed);
    if (e != XB_OK) return e == XB_UNEXPECTED_ATTR ? e : fail(XB_BAD_START_END, element, __LINE__);
    out.clear();
    if (selfClosed) return XB_OK;
    if (!r.get_element_value(out, ws)) return fail(XB_BAD_VALUE_TEXT, element, __LINE__);
    if (!r.test_end_tag(element)) return fail(XB_BAD_END, element, __LINE__);
    return XB_OK;
}

exrt_error BindReader::endTag(const char* element) {
    const bool atEnd = pending && cur == END;
    if (pending && !atEnd) return fail(XB_BAD_END, element, __LINE__);
    pending = false;
    if (!r.test_end_tag(element)) return fail(XB_BAD_END, element, __LINE__);
    return XB_OK;
}

exrt_error BindReader::fail(exrt_error code, const std::string& item, int line) {
    return r.handle_error(code, item.c_str(), __FILE__, line);
}

exrt_error BindReader::readerError() {
    // The reader holds the code of every failure, its own or its input's.
    exrt_error code = r.get_error();
    if (code == XB_OK) code = XB_UNDEFINED;
    return fail(code, r.get_error_item_name(), __LINE__);
}

// ---- Writer helpers ----------------------------------------------------------

void writeStart(xrt::c_xml_writer& w, const char* element) {
    w(true) << '<' << element;
    w.write_namespaces();
    w.stream() << '>' << w.endl();
    w.indent();
}

void writeEnd(xrt::c_xml_writer& w, const char* element) {
    w.undent();
    w(true) << "</" << element << '>' << w.endl();
}

std::string& beginLeaf(const char* element) {
    static thread_local std::string line;
    line.clear();
    line += '<';
    line += element;
    line += '>';
    return line;
}

void endLeaf(xrt::c_xml_writer& w, std::string& line, const char* element) {
    line += "</";
    line += element;
    line += '>';
    line += w.endl();
    w(true).write(line.data(), static_cast<std::streamsize>(line.size()));
}

exrt_error writerFail(xrt::c_xml_writer& w, exrt_error code, const char* item, int line) {
    return w.handle_error(code, item, __FILE__, line);
}

}  // namespace quorl
