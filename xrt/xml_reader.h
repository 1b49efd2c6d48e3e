// The pull reader of the XML runtime (see xrt/xrt.h for the whole API).
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "xrt/xrt_error.h"
#include "xrt/xrt_input.h"
#include "xrt/xrt_read.h"

namespace xrt {

// Events of c_xml_reader::get_next_event and results of tokenise.
enum exrt_event {
    xe_end_of_input = 0,
    xe_unknown_name = 1,
    xe_error_2 = 2,
    xe_error = 3,
    xe_start_tag_end = 4,  // ">" of a start tag
    xe_text = 5,
    xe_end_tag = 6,  // "</name>" or "/>"
    xe_start = 7,    // start tag, or one attribute of it
    xe_xsi_type = 8,
    xe_xsi_nil = 9,
    xe_xsi_schema_location = 10,
    xe_xsi_no_namespace_schema_location = 11,
    xe_first_token = 12
};

// One row of a token table; a table ends with a row whose name is null.
struct s_xml_token {
    int ns;            // namespace id, 1 for no namespace
    const char* name;  // local name
    unsigned length;   // length of name
    int token;         // value the name maps to (12 and up)
};

// A prefix and namespace URI; a table ends with a row whose URI is null. The reader enters
// the URIs under the ids given; the writer declares them on the first element.
struct s_ns_map {
    const char* prefix;
    const char* uri;
    int id;
};

// A name split at its prefix, with the namespace the prefix stands for.
struct c_cracked_name {
    std::string full_name;
    std::string local_name;
    std::string prefix;
    bool has_prefix = false;
    int ns_id = 0;
    void crack(const char* name, std::size_t length);
};

// One namespace scope: (prefix, id) rows and the enclosing scope.
class c_xml_local {
public:
    explicit c_xml_local(c_xml_local* parent = nullptr) : m_parent(parent) {}
    c_xml_local* get_parent() const { return m_parent; }
    void set_parent(c_xml_local* parent) { m_parent = parent; }
    void add(const std::string& prefix, int id) { m_rows.push_back({prefix, id}); }
    void clear() { m_rows.clear(); }
    std::size_t size() const { return m_rows.size(); }
    // Innermost first; -1 if no scope declares the prefix.
    int find(const std::string& prefix) const;

private:
    c_xml_local* m_parent;
    std::vector<std::pair<std::string, int>> m_rows;
};

// Names of the open elements, kept by the binding through c_string_stack_node guards.
class c_string_stack {
public:
    void push(const std::string& name) { m_names.push_back(name); }
    void pop() {
        if (!m_names.empty()) m_names.pop_back();
    }
    const std::string& get_str(std::size_t i) const { return m_names[i]; }
    std::size_t get_stack_size() const { return m_names.size(); }

private:
    std::vector<std::string> m_names;
};

class c_string_stack_node {
public:
    c_string_stack_node(c_string_stack& stack, const std::string& name) : m_stack(stack), m_name(name) {
        m_stack.push(name);
    }
    ~c_string_stack_node() { m_stack.pop(); }
    c_string_stack_node(const c_string_stack_node&) = delete;
    c_string_stack_node& operator=(const c_string_stack_node&) = delete;
    bool operator==(const std::string& s) const { return m_name == s; }
    bool operator!=(const std::string& s) const { return m_name != s; }

private:
    c_string_stack& m_stack;
    std::string m_name;
};

// The parsing core: the input chain, the name buffers and the namespace scopes.
class c_xml {
public:
    // error, if given, receives the messages of the input chain (it must outlive the reader).
    c_xml(c_read& source, c_error* error);
    virtual ~c_xml();
    c_xml(const c_xml&) = delete;
    c_xml& operator=(const c_xml&) = delete;

    c_get_for_xml& get_input() { return m_in; }

protected:
    c_error m_own_error;
    c_error& m_error;
    c_get_for_xml m_in;
    c_enumerated_namespaces m_namespaces;
    c_xml_local m_root_scope;
    std::deque<c_xml_local> m_scopes;  // one per open element, reused
    std::size_t m_depth = 0;
    c_xml_local* m_scope = &m_root_scope;
    std::size_t m_declarations = 0;  // prefix rows in the open scopes and the root

    void push_scope();
    void pop_scope();
    int find_prefix(const std::string& prefix) const;
};

class c_xml_reader : public c_xml {
public:
    explicit c_xml_reader(c_read& source, c_error* error = nullptr);
    ~c_xml_reader() override;
    virtual exrt_error user_handle_error(exrt_error code);
    virtual exrt_error user_handle_error(exrt_error code, const char* item, const char* file, int line);
    // "line:N-'item'-text of the code", or the text of code 0.
    virtual std::string get_error_info() const;

    bool is_open() const { return m_source.is_open(); }

    // Namespace set-up by the binding.
    void add_default_namespace_mapping(const char* uri);
    void set_ns_map(const s_ns_map* map);
    void set_known_elements(const s_xml_token* table) { m_known = table; }
    const s_xml_token* get_known_elements() const { return m_known; }

    // Next event (exrt_event). After xe_start for an element, further calls give one
    // xe_start per attribute, then xe_start_tag_end or xe_end_tag ("/>").
    int get_next_event();
    // Gives the current event once more on the next get_next_event or test_end_tag.
    void restore_event() { m_restored = true; }
    // Maps the current element's (or attribute's) name to a token of table, or to
    // xe_unknown_name or one of the xsi events.
    int tokenise(const s_xml_token* table, bool is_element);
    // Tag end scan: reads to the end of the current start tag; false (error recorded) on a
    // bad tag or the end of input.
    bool skip_start_tag(bool& self_closed);
    // The text of a value element up to its next markup, in a white space mode (0 preserve,
    // 1 replace, 2 collapse); refs_are_ws lets references to white space count as such.
    bool get_element_value(std::string& value, int ws_mode, bool refs_are_ws = false);
    // Reads "</name>" (blanks allowed before ">"); false if something else comes.
    bool test_end_tag(const char* name);
    // Value of an attribute of the current start tag, references expanded.
    bool get_named_attribute(int ns_id, const char* local_name, std::string& value, int ws_mode = 0);
    // Value of the attribute of the current xe_start attribute event.
    bool get_attribute_value(std::string& value, int ws_mode = 0);
    bool get_xsi_type(std::string& type) {
        return get_named_attribute(c_enumerated_namespaces::ns_xsi, "type", type, c_get_for_xml::ws_collapse);
    }
    bool is_xsi_attribute() const { return m_on_attribute && m_attribute.ns_id == c_enumerated_namespaces::ns_xsi; }
    bool is_current_event_tokenisable() const { return m_event == xe_start; }

    // Status.
    int get_current_event() const { return m_event; }
    bool is_attribute_event() const { return m_event == xe_start && m_on_attribute; }
    const std::string& get_value() const { return m_value; }  // text of xe_text
    int get_element_ns_id() const { return m_element.ns_id; }
    const std::string& get_local_name() const { return m_element.local_name; }
    const std::string& get_full_name() const { return m_element.full_name; }
    bool get_has_ns_prefix() const { return m_element.has_prefix; }
    int get_ns_id() const { return m_on_attribute ? m_attribute.ns_id : m_element.ns_id; }
    const c_cracked_name& get_attribute_name() const { return m_attribute; }
    c_string_stack& get_element_name_stack() { return m_name_stack; }
    int get_line_no() const { return m_in.get_line_num(); }
    // Line and source byte offset of the '<' that began the current markup.
    int get_markup_line() const { return m_markup_line; }
    std::size_t get_markup_offset() const { return m_markup_offset; }
    // The code of the last failure, whichever layer found it: the input
    // chain's errors are copied here when they stop the reader.
    exrt_error get_error() const { return m_last_code; }
    const std::string& get_error_item_name() const { return m_item_name; }
    int get_error_line() const { return m_error_line; }

    // Stores code and item, asks the hook and returns (and stores) its answer.
    exrt_error handle_error(exrt_error code, const char* item, const char* file, int line);

private:
    struct s_attribute {
        std::size_t name, name_length, value, value_length;  // offsets into m_attr_text
    };
    // Takes code and line of the error the input chain recorded.
    void adopt_input_error();
    int fail(exrt_error code, exrt_error_type type, const std::string& message);
    int end_of_input();
    int read_start_tag();
    int next_attribute();
    bool read_attributes();
    bool read_xml_decl();
    bool read_quoted(std::string& value);
    int after_bang();
    bool match(const char* text);
    int end_tag();
    bool expand_value(const char* raw, std::string& value, int ws_mode);
    void crack_attribute(std::size_t i);

    c_read& m_source;
    exrt_error m_last_code = e_no_error;
    int m_error_line = -1;
    std::string m_item_name;
    c_cracked_name m_element;
    c_cracked_name m_attribute;
    int m_event = xe_end_of_input;
    int m_markup_line = 0;
    std::size_t m_markup_offset = 0;
    bool m_restored = false;
    bool m_past_prolog = false;  // a start tag, text or the end was seen
    bool m_seen_markup = false;  // anything at all was seen
    bool m_failed = false;       // a syntax error stopped the reader
    bool m_doctype_read = false;
    bool m_in_attributes = false;  // between xe_start of an element and the end of its tag
    bool m_on_attribute = false;   // the current xe_start is an attribute
    std::vector<s_attribute> m_attributes;
    std::string m_attr_text;
    std::size_t m_next_attribute = 0;
    const s_xml_token* m_known = nullptr;
    c_string_stack m_name_stack;
    std::string m_name;
    std::string m_value;
    std::string m_spare;
};

namespace detail {
struct s_file_source {
    explicit s_file_source(const char* path) : file(path) {}
    explicit s_file_source(const wchar_t* path) : file(path) {}
    explicit s_file_source(std::FILE* f) : file(f) {}
    c_read_file file;
};
struct s_memory_source {
    s_memory_source(const char* data, std::size_t size) : memory(data, size) {}
    c_read_memory memory;
};
}  // namespace detail

class c_xml_reader_file : private detail::s_file_source, public c_xml_reader {
public:
    explicit c_xml_reader_file(const char* path) : detail::s_file_source(path), c_xml_reader(file) {}
    explicit c_xml_reader_file(const wchar_t* path) : detail::s_file_source(path), c_xml_reader(file) {}
    explicit c_xml_reader_file(std::FILE* f) : detail::s_file_source(f), c_xml_reader(file) {}
    bool is_open() const { return file.is_open(); }
};

class c_xml_reader_memory : private detail::s_memory_source, public c_xml_reader {
public:
    c_xml_reader_memory(const char* data, std::size_t size)
        : detail::s_memory_source(data, size), c_xml_reader(memory) {}
};

}  // namespace xrt
