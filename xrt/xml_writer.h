// The writer of the XML runtime (see xrt/xrt.h for the whole API).
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "xrt/xml_reader.h"
#include "xrt/xrt_error.h"

namespace xrt {

// The escaping of text content and attribute values: '"', '\'', '&' and '<'
// become entities ('>' stays). Calls out(data, length) for each run of
// ordinary bytes and for each entity, so callers copy whole runs.
template <class Out>
void escape_runs(const char* text, std::size_t length, Out&& out) {
    const char* run = text;
    const char* end = text + length;
    for (const char* p = text; p != end; ++p) {
        const char* entity;
        std::size_t size;
        switch (*p) {
            case '"':
                entity = "&quot;", size = 6;
                break;
            case '\'':
                entity = "&apos;", size = 6;
                break;
            case '&':
                entity = "&amp;", size = 5;
                break;
            case '<':
                entity = "&lt;", size = 4;
                break;
            default:
                continue;
        }
        if (p != run) out(run, static_cast<std::size_t>(p - run));
        out(entity, size);
        run = p + 1;
    }
    if (end != run) out(run, static_cast<std::size_t>(end - run));
}

// Appends text to out, escaped.
inline void append_escaped(std::string& out, const char* text, std::size_t length) {
    escape_runs(text, length, [&out](const char* data, std::size_t size) { out.append(data, size); });
}

// A formatting object over a stream: the prolog, the indent depth, and the namespace and
// schema-location attributes of the first element. Tags and values are written by the
// caller through operator() and the stream.
class c_xml_writer {
public:
    // Imbues the classic locale and writes the prolog line.
    explicit c_xml_writer(std::ostream& os);
    virtual ~c_xml_writer();
    c_xml_writer(const c_xml_writer&) = delete;
    c_xml_writer& operator=(const c_xml_writer&) = delete;

    virtual exrt_error user_handle_error(exrt_error code, const char* item, const char* file, int line);
    virtual exrt_error user_handle_error(exrt_error code);
    // "'item'-text of the code", or the text of code 0.
    virtual std::string get_error_info() const;
    virtual const char* endl() const { return m_newline; }
    virtual void nest() { m_os << m_tab; }

    void indent() { ++m_depth; }
    void undent() {
        if (m_depth > 0) --m_depth;
    }
    int get_depth() const { return m_depth; }
    // Writes nest() depth times if do_indent, then gives the stream.
    std::ostream& operator()(bool do_indent);
    std::ostream& stream() { return m_os; }

    // Namespace output of a start tag: does nothing after the first element.
    void write_namespaces();
    void set_ns_map(const s_ns_map* map) { m_ns_map = map; }
    void add_default_namespace(const char* uri) { m_default_namespaces.emplace_back("", uri); }
    void add_namespace(const char* prefix, const char* uri) { m_default_namespaces.emplace_back(prefix, uri); }
    void add_no_namespace_schema_location(const char* location) { m_schema_locations.emplace_back("", location); }
    void add_schema_location(const char* ns, const char* location) { m_schema_locations.emplace_back(ns, location); }
    void reenable_ns_map_output() { m_ns_map_written = false; }

    // Writes text with '"', '\'', '&' and '<' escaped (see escape_runs).
    void write_escaped(const char* text, std::size_t length);
    void write_escaped(const std::string& text) { write_escaped(text.data(), text.size()); }

    // Stores code and item, asks the hook and returns (and stores) its answer.
    exrt_error handle_error(exrt_error code, const char* item, const char* file, int line);
    exrt_error get_error() const { return m_last_code; }
    const std::string& get_error_item_name() const { return m_item_name; }
    c_error& get_error_object() { return m_error; }

    const char* get_expected_class_identity() const { return m_expected_class; }
    void set_expected_class_identity(const char* identity) { m_expected_class = identity; }
    void clear_expected_class_identity() { m_expected_class = nullptr; }

private:
    std::ostream& m_os;
    int m_depth = 0;
    const char* m_tab = "\t";
    const char* m_newline = "\n";
    bool m_ns_map_written = false;
    c_error m_error;
    exrt_error m_last_code = e_no_error;
    std::string m_item_name;
    const s_ns_map* m_ns_map = nullptr;
    std::vector<std::pair<std::string, std::string>> m_default_namespaces;
    std::vector<std::pair<std::string, std::string>> m_schema_locations;
    const char* m_expected_class = nullptr;
};

}  // namespace xrt
