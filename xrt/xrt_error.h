// Result codes, the error record and the exceptions of the XML runtime.
#pragma once

#include <exception>
#include <string>

namespace xrt {

// Result code of every runtime operation; 0 is success.
enum exrt_error : int {
    e_no_error = 0,
    e_unable_to_open_file = 1,
    e_all_cardinality = 2,
    e_attribute_already_read = 3,
    e_attributes_in_anonymous = 4,
    e_xml_badly_formed = 5,
    e_encoding_not_supported = 6,
    e_inappropriate_choice = 7,
    e_bad_comment = 8,
    e_bad_dtd = 9,
    e_bad_end_of_element = 10,
    e_bad_start_tag_end = 11,
    e_bad_end_tag = 12,
    e_bad_xml_decl = 13,
    e_unsupported_version = 14,
    e_encoding_mismatch = 15,
    e_element_not_found = 16,
    e_external_entity = 17,
    e_fraction_digits = 18,
    e_length_too_long = 19,
    e_length_too_short = 20,
    e_mandatory_missing = 21,
    e_no_pattern_matched = 22,
    e_not_well_formed = 23,
    e_recursive_entity = 24,
    e_required_attribute_missing = 25,
    e_max_occurs = 26,
    e_total_digits = 27,
    e_unable_to_read_attribute = 28,
    e_unable_to_read_element = 29,
    e_unknown_in_all = 30,
    e_unknown_in_complex = 31,
    e_unexpected_empty = 32,
    e_unexpected_entity = 33,
    e_unexpected_end = 34,
    e_invalid_value_format = 35,
    e_value_above_max = 36,
    e_value_below_min = 37,
    e_enumeration_mismatch = 38,
    e_unexpected_attribute = 39,
    e_nilled_not_empty = 40,
    e_entity_not_found = 41,
    e_undefined = 42,
    e_fixed_mismatch = 43,
    e_unknown_xsi_type = 44,
    e_type_not_set = 45,
    e_occurs_on_marshal = 46,
    e_user_defined_1 = 1000,
    e_user_defined_9 = 1008
};

// Severity of a recorded error; et_none is the value before anything was recorded.
enum exrt_error_type : int { et_fatal = 0, et_error = 1, et_warning = 2, et_none = 4 };

// Fixed text of a code, "" for a code outside the table.
const char* get_error_text(exrt_error code);

// Error record of the character layers and of the reader and writer. report_error is the
// hook a subclass overrides to see the messages; the base drops them.
class c_error {
public:
    c_error() = default;
    c_error(const c_error&) = default;
    c_error& operator=(const c_error&) = default;
    virtual void report_error(exrt_error_type type, exrt_error code, const char* source, int line, const char* message);
    virtual ~c_error();

    // Records an error unless a fatal one is already recorded, then calls report_error.
    void record(exrt_error_type type, exrt_error code, const char* source, int line, const std::string& message);
    void clear();

    bool is_errored() const { return m_fatal_count != 0 || m_error_count != 0; }
    bool is_fatal_errored() const { return m_fatal_count != 0; }
    exrt_error get_last_error() const { return m_last_code; }
    exrt_error_type get_last_error_type() const { return m_last_type; }
    int get_last_line() const { return m_last_line; }
    int get_fatal_count() const { return m_fatal_count; }
    int get_error_count() const { return m_error_count; }
    int get_warning_count() const { return m_warning_count; }

private:
    int m_fatal_count = 0;
    int m_error_count = 0;  // fatal errors count here as well
    int m_warning_count = 0;
    exrt_error_type m_last_type = et_none;
    exrt_error m_last_code = e_no_error;
    int m_last_line = -1;
};

class c_xrt_exception : public std::exception {
public:
    explicit c_xrt_exception(exrt_error code) : m_code(code) {}
    ~c_xrt_exception() override;
    const char* what() const noexcept override;
    exrt_error get_error() const { return m_code; }

private:
    exrt_error m_code;
};

class c_xrt_exception_with_name : public c_xrt_exception {
public:
    c_xrt_exception_with_name(exrt_error code, const char* item_name) : c_xrt_exception(code), m_item_name(item_name) {}
    ~c_xrt_exception_with_name() override;
    const char* get_item_name() const { return m_item_name; }

private:
    const char* m_item_name;  // not owned
};

class c_xrt_reader_exception : public c_xrt_exception {
public:
    c_xrt_reader_exception(exrt_error code, int line) : c_xrt_exception(code), m_line(line) {}
    ~c_xrt_reader_exception() override;
    int get_line() const { return m_line; }

private:
    int m_line;
};

}  // namespace xrt
