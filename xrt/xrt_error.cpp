#include "xrt/xrt_error.h"

namespace xrt {

namespace {
const char* const g_texts[] = {
    "No Error",
    "Unable to open file",
    "Violation of xs:all cardinality constraints",
    "Attribute has already been read",
    "Attributes found in anonymous compositor",
    "XML badly formed",
    "XML character encoding not supported",
    "Inappropriate choice option selected",
    "Badly formed comment",
    "Badly formed DTD",
    "Bad end of element",
    "Bad start tag end",
    "Syntax error in end tag",
    "Bad XML Decl spec",
    "Unsupported XML version",
    "Mis-match between specified char encoding and read bytes",
    "Element not found",
    "Reference to external entity",
    "Fraction digits exceeded",
    "Length too long",
    "Length too short",
    "Mandatory element missing",
    "No pattern matched",
    "Not well formed",
    "Recursive entity definition",
    "Required attribute(s) missing",
    "Element instances exceeds maxOccurs",
    "Total digits exceeded",
    "Unable to read attribute value",
    "Unable to read element value",
    "Unknown element in xs:all",
    "Unknown element in complexContent",
    "Unexpected empty element",
    "Unexpected entity",
    "Unexpected end of message",
    "Invalid value format for this type",
    "Value greater than specified maximum",
    "Value less than specified minimum",
    "Value does not match enumerations",
    "Unexpected attribute",
    "Nilled element body not empty",
    "Entity not found",
    "Undefined error",
    "Value does not match specified fixed constraint",
    "Unknown xsi:type",
    "Type not set",
    "min/max occurs error on marshaling",
};
const char* const g_user_texts[] = {
    "User defined error 1", "User defined error 2", "User defined error 3",
    "User defined error 4", "User defined error 5", "User defined error 6",
    "User defined error 7", "User defined error 8", "User defined error 9",
};
constexpr int g_text_count = sizeof(g_texts) / sizeof(g_texts[0]);
static_assert(g_text_count == e_occurs_on_marshal + 1, "one text per code");
}  // namespace

const char* get_error_text(exrt_error code) {
    int c = static_cast<int>(code);
    if (c >= 0 && c < g_text_count) return g_texts[c];
    if (c >= e_user_defined_1 && c <= e_user_defined_9) return g_user_texts[c - e_user_defined_1];
    return "";
}

void c_error::report_error(exrt_error_type, exrt_error, const char*, int, const char*) {}

c_error::~c_error() = default;

void c_error::record(exrt_error_type type, exrt_error code, const char* source, int line, const std::string& message) {
    if (m_fatal_count != 0) return;
    m_last_type = type;
    m_last_code = code;
    m_last_line = line;
    switch (type) {
        case et_fatal:
            ++m_fatal_count;
            ++m_error_count;
            break;
        case et_error:
            ++m_error_count;
            break;
        case et_warning:
            ++m_warning_count;
            break;
        default:
            break;
    }
    report_error(type, code, source, line, message.c_str());
}

void c_error::clear() {
    m_fatal_count = m_error_count = m_warning_count = 0;
    m_last_type = et_none;
    m_last_code = e_no_error;
    m_last_line = -1;
}

c_xrt_exception::~c_xrt_exception() = default;
const char* c_xrt_exception::what() const noexcept {
    return get_error_text(m_code);
}
c_xrt_exception_with_name::~c_xrt_exception_with_name() = default;
c_xrt_reader_exception::~c_xrt_reader_exception() = default;

}  // namespace xrt
