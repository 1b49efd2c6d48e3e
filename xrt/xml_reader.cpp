#include "xrt/xml_reader.h"

#include <cstring>

namespace xrt {

namespace {
// How an offending character is shown in a message.
std::string char_text(int c) {
    if (c < 0) return "EOF";
    return std::string(1, static_cast<char>(c));
}
enum { k_continue = -1 };
}  // namespace

void c_cracked_name::crack(const char* name, std::size_t length) {
    full_name.assign(name, length);
    const void* colon = std::memchr(name, ':', length);
    if (colon) {
        std::size_t pos = static_cast<std::size_t>(static_cast<const char*>(colon) - name);
        prefix.assign(name, pos);
        local_name.assign(name + pos + 1, length - pos - 1);
        has_prefix = true;
    } else {
        prefix.clear();
        local_name = full_name;
        has_prefix = false;
    }
    ns_id = 0;
}

int c_xml_local::find(const std::string& prefix) const {
    for (const c_xml_local* scope = this; scope; scope = scope->m_parent)
        for (auto it = scope->m_rows.rbegin(); it != scope->m_rows.rend(); ++it)
            if (it->first == prefix) return it->second;
    return -1;
}

// ---------------------------------------------------------------- c_xml

c_xml::c_xml(c_read& source, c_error* error) : m_error(error ? *error : m_own_error), m_in(source, m_error) {
    m_in.set_namespaces(&m_namespaces);
}

c_xml::~c_xml() = default;

void c_xml::push_scope() {
    if (m_depth >= m_scopes.size()) m_scopes.emplace_back();
    c_xml_local& scope = m_scopes[m_depth];
    scope.clear();
    scope.set_parent(m_scope);
    m_scope = &scope;
    ++m_depth;
}

void c_xml::pop_scope() {
    if (m_depth == 0) return;
    m_declarations -= m_scope->size();
    --m_depth;
    m_scope = m_depth == 0 ? &m_root_scope : &m_scopes[m_depth - 1];
}

int c_xml::find_prefix(const std::string& prefix) const {
    if (prefix == "xml") return c_enumerated_namespaces::ns_xml;
    if (m_declarations == 0) return c_enumerated_namespaces::ns_unknown;
    int id = m_scope->find(prefix);
    return id < 0 ? c_enumerated_namespaces::ns_unknown : id;
}

// ---------------------------------------------------------------- c_xml_reader

c_xml_reader::c_xml_reader(c_read& source, c_error* error) : c_xml(source, error), m_source(source) {}

c_xml_reader::~c_xml_reader() = default;

exrt_error c_xml_reader::user_handle_error(exrt_error code) {
    return code;
}

exrt_error c_xml_reader::user_handle_error(exrt_error code, const char*, const char*, int) {
    return user_handle_error(code);
}

std::string c_xml_reader::get_error_info() const {
    if (m_last_code == e_no_error) return get_error_text(e_no_error);
    return "line:" + std::to_string(m_error_line) + "-'" + m_item_name + "'-" + get_error_text(m_last_code);
}

exrt_error c_xml_reader::handle_error(exrt_error code, const char* item, const char* file, int line) {
    if (!m_failed) m_error_line = m_in.get_line_num();
    m_last_code = code;
    m_item_name = item ? item : "";
    m_last_code = user_handle_error(code, item, file, line);
    return m_last_code;
}

void c_xml_reader::add_default_namespace_mapping(const char* uri) {
    m_root_scope.add("", m_namespaces.get_id(uri ? uri : ""));
    ++m_declarations;
}

void c_xml_reader::set_ns_map(const s_ns_map* map) {
    for (; map && map->uri; ++map) m_namespaces.add(map->uri, map->id);
}

void c_xml_reader::adopt_input_error() {
    m_last_code = m_error.get_last_error();
    m_error_line = m_error.get_last_line();
}

int c_xml_reader::fail(exrt_error code, exrt_error_type type, const std::string& message) {
    // An error already recorded by the input chain (it is why the input ended) comes first.
    if (m_error.is_fatal_errored()) {
        adopt_input_error();
    } else {
        m_in.report(type, code, message);
        m_last_code = code;
        m_error_line = m_in.get_line_num();
    }
    m_failed = true;
    m_in_attributes = m_on_attribute = false;
    return xe_error;
}

int c_xml_reader::end_of_input() {
    m_past_prolog = m_seen_markup = true;
    if (m_error.is_fatal_errored()) return fail(e_unexpected_end, et_fatal, "");
    if (m_depth > 0) return fail(e_unexpected_end, et_fatal, "Unexpected end of file");
    return xe_end_of_input;
}

bool c_xml_reader::match(const char* text) {
    for (; *text; ++text)
        if (m_in.get() != static_cast<unsigned char>(*text)) return false;
    return true;
}

int c_xml_reader::get_next_event() {
    if (m_restored) {
        m_restored = false;
        return m_event;
    }
    if (m_failed) return m_event = xe_error;
    if (m_in_attributes) return m_event = next_attribute();
    c_entity_name_reader_for_c_get reader(m_in);
    for (;;) {
        m_in.set_ws_mode(c_get_for_xml::ws_preserve);
        m_in.skip_ws();
        int c = m_in.get();
        if (c < 0) return m_event = end_of_input();
        if (c == '<') {
            const std::size_t taken = m_in.get_raw_offset();
            m_markup_line = m_in.get_line_num();
            m_markup_offset = taken ? taken - 1 : 0;
        }
        if (c != '<') {
            m_past_prolog = m_seen_markup = true;
            m_value.clear();
            bool ok = true;
            if (c == '&') {
                ok = m_in.read_reference(m_value, reader);
                if (ok && m_value.empty()) continue;  // an entity whose text now follows
            } else {
                m_value.push_back(static_cast<char>(c));
            }
            if (ok) ok = m_in.read_text(m_value);
            if (m_error.is_fatal_errored()) return m_event = fail(e_unexpected_end, et_fatal, "");
            if (!ok) {
                exrt_error code = m_in.get_reference_error();
                return m_event = fail(code == e_no_error ? e_not_well_formed : code, et_error,
                                      "Bad reference in text: " + m_value);
            }
            return m_event = xe_text;
        }
        c = m_in.get();
        if (is_name_start(c)) {
            m_in.unget(c);
            return m_event = read_start_tag();
        }
        if (c == '/') return m_event = end_tag();
        if (c == '?') {
            m_in.read_name(m_name);
            int next = m_in.get();
            if (m_name == "xml" && is_xml_space(next)) {
                if (m_seen_markup)
                    return m_event = fail(e_bad_xml_decl, et_fatal, "XML declaration not at start of document");
                m_seen_markup = true;
                if (!read_xml_decl()) return m_event = xe_error;
                continue;
            }
            m_in.unget(next);
            m_seen_markup = true;
            if (!m_in.skip_pi()) return m_event = fail(e_unexpected_end, et_fatal, "Unexpected end of file");
            continue;
        }
        if (c == '!') {
            int r = after_bang();
            if (r == k_continue) continue;
            return m_event = r;
        }
        if (c < 0) return m_event = fail(e_unexpected_end, et_fatal, "Unexpected end of file");
        return m_event = fail(e_not_well_formed, et_fatal, "XML not Well-Formed");
    }
}

int c_xml_reader::after_bang() {
    int c = m_in.get();
    if (c == '-') {
        if (m_in.get() != '-') return fail(e_not_well_formed, et_fatal, "XML not Well-Formed");
        m_seen_markup = true;
        if (!m_in.skip_comment()) return fail(e_bad_comment, et_fatal, "");
        return k_continue;
    }
    if (c == '[') {
        if (!match("CDATA[")) return fail(e_not_well_formed, et_fatal, "XML not Well-Formed");
        m_past_prolog = m_seen_markup = true;
        m_value.clear();
        if (!m_in.read_cdata(m_value)) return fail(e_unexpected_end, et_fatal, "");
        return xe_text;
    }
    if (c == 'D') {
        if (!match("OCTYPE")) return fail(e_not_well_formed, et_fatal, "XML not Well-Formed");
        if (m_past_prolog) return fail(e_bad_dtd, et_fatal, "Document Type Declaration not at start of document");
        if (m_doctype_read) return fail(e_bad_dtd, et_fatal, "Document Type Declaration already read");
        m_doctype_read = m_seen_markup = true;
        if (!m_in.read_doctype()) {
            // The subset recorded why; severities below fatal still stop the reader.
            adopt_input_error();
            m_failed = true;
            return xe_error;
        }
        return k_continue;
    }
    return fail(e_not_well_formed, et_fatal, "XML not Well-Formed");
}

int c_xml_reader::end_tag() {
    m_in.read_name(m_name);
    if (m_name.empty()) return fail(e_not_well_formed, et_fatal, "XML not Well-Formed");
    int c = m_in.get_non_ws();
    if (c != '>') {
        // The rest of the tag is read as part of the error.
        while (c >= 0 && c != '>') c = m_in.get();
        return fail(e_not_well_formed, et_fatal, "XML not Well-Formed");
    }
    m_element.crack(m_name.data(), m_name.size());
    m_element.ns_id = find_prefix(m_element.has_prefix ? m_element.prefix : std::string());
    pop_scope();
    return xe_end_tag;
}

int c_xml_reader::read_start_tag() {
    m_in.read_name(m_name);
    m_past_prolog = m_seen_markup = true;
    push_scope();
    m_attributes.clear();
    m_attr_text.clear();
    m_next_attribute = 0;
    if (!read_attributes()) return xe_error;
    m_element.crack(m_name.data(), m_name.size());
    m_element.ns_id = find_prefix(m_element.has_prefix ? m_element.prefix : std::string());
    m_in_attributes = true;
    m_on_attribute = false;
    return xe_start;
}

bool c_xml_reader::read_quoted(std::string& value) {
    int q = m_in.get_non_ws();
    if (q != '"' && q != '\'') {
        fail(e_not_well_formed, et_fatal, "Schema is not Well Formed (expected '\"' or ''', got " + char_text(q) + "'");
        return false;
    }
    value.clear();
    for (;;) {
        int c = m_in.get();
        if (c < 0) {
            fail(e_unexpected_end, et_fatal, "Unexpected end of file");
            return false;
        }
        if (c == q) return true;
        value.push_back(static_cast<char>(c));
    }
}

bool c_xml_reader::read_attributes() {
    for (;;) {
        m_in.skip_ws();
        int c = m_in.peek();
        if (c < 0) {
            fail(e_unexpected_end, et_fatal, "Unexpected end of file");
            return false;
        }
        if (!is_name_start(c)) return true;
        m_in.read_name(m_spare);
        c = m_in.get_non_ws();
        if (c != '=') {
            fail(e_not_well_formed, et_fatal, "Schema is not Well Formed (expected '=', got '" + char_text(c) + "'");
            return false;
        }
        if (!read_quoted(m_value)) return false;
        bool is_default = m_spare == "xmlns";
        if (is_default || m_spare.compare(0, 6, "xmlns:") == 0) {
            std::string prefix = is_default ? std::string() : m_spare.substr(6);
            std::string uri;
            if (m_value.find('&') != std::string::npos)
                expand_value(m_value.c_str(), uri, c_get_for_xml::ws_preserve);
            else
                uri = m_value;
            if (uri.empty() && prefix.empty())
                m_scope->add(prefix, c_enumerated_namespaces::ns_none);
            else
                m_scope->add(prefix, m_namespaces.get_id(uri));
            ++m_declarations;
            if (m_error.is_fatal_errored()) {
                fail(e_bad_dtd, et_fatal, "");
                return false;
            }
            continue;
        }
        s_attribute a;
        a.name = m_attr_text.size();
        a.name_length = m_spare.size();
        m_attr_text.append(m_spare).push_back('\0');
        a.value = m_attr_text.size();
        a.value_length = m_value.size();
        m_attr_text.append(m_value).push_back('\0');
        m_attributes.push_back(a);
    }
}

void c_xml_reader::crack_attribute(std::size_t i) {
    const s_attribute& a = m_attributes[i];
    m_attribute.crack(m_attr_text.data() + a.name, a.name_length);
    m_attribute.ns_id =
        m_attribute.has_prefix ? find_prefix(m_attribute.prefix) : static_cast<int>(c_enumerated_namespaces::ns_none);
}

int c_xml_reader::next_attribute() {
    if (m_next_attribute < m_attributes.size()) {
        crack_attribute(m_next_attribute++);
        m_on_attribute = true;
        return xe_start;
    }
    m_in_attributes = false;
    m_on_attribute = false;
    int c = m_in.get_non_ws();
    if (c == '>') return xe_start_tag_end;
    if (c == '/') {
        c = m_in.get_non_ws();
        if (c == '>') {
            pop_scope();
            return xe_end_tag;
        }
    }
    if (c < 0) return fail(e_unexpected_end, et_fatal, "Unexpected end of file");
    return fail(e_not_well_formed, et_fatal, "XML not well-formed");
}

bool c_xml_reader::read_xml_decl() {
    m_in.skip_ws();
    m_in.read_name(m_spare);
    if (m_spare != "version") {
        fail(e_bad_xml_decl, et_fatal, "Version not present in XML Decl");
        return false;
    }
    if (m_in.get_non_ws() != '=') {
        fail(e_bad_xml_decl, et_fatal, "XML Decl not Well Formed (expected '=')");
        return false;
    }
    if (!read_quoted(m_value)) return false;
    if (m_value != "1.0" && m_value != "1.1") {
        fail(e_unsupported_version, et_fatal, "XML version " + m_value + " not understood");
        return false;
    }
    m_in.skip_ws();
    m_in.read_name(m_spare);
    if (m_spare == "encoding") {
        if (m_in.get_non_ws() != '=') {
            fail(e_bad_xml_decl, et_fatal, "XML Decl not Well Formed (expected '=')");
            return false;
        }
        if (!read_quoted(m_value)) return false;
        if (!m_in.set_encoding(m_value.c_str())) {
            fail(e_encoding_not_supported, et_fatal, "");
            return false;
        }
        m_in.skip_ws();
        m_in.read_name(m_spare);
    }
    if (m_spare == "standalone") {
        if (m_in.get_non_ws() != '=') {
            fail(e_bad_xml_decl, et_fatal, "XML Decl not Well Formed (expected '=')");
            return false;
        }
        if (!read_quoted(m_value)) return false;
        if (m_value == "no") {
            fail(e_bad_xml_decl, et_fatal, "XML Document is not standalone");
            return false;
        }
        m_in.skip_ws();
        m_in.read_name(m_spare);
    }
    if (!m_spare.empty()) {
        fail(e_bad_xml_decl, et_fatal, "Unexpected " + m_spare + " in XML Decl");
        return false;
    }
    if (m_in.get_non_ws() != '?' || m_in.get() != '>') {
        fail(e_bad_xml_decl, et_fatal, "XML Decl not Well Formed (expected '?>')");
        return false;
    }
    return true;
}

int c_xml_reader::tokenise(const s_xml_token* table, bool is_element) {
    const c_cracked_name& n = is_element ? m_element : m_attribute;
    int ns = n.ns_id;
    if (!n.has_prefix) ns = is_element ? (ns ? ns : 1) : 1;
    const std::string& local = n.local_name;
    if (ns == c_enumerated_namespaces::ns_xsi) {
        if (local == "type") return xe_xsi_type;
        if (local == "nil") return xe_xsi_nil;
        if (local == "noNamespaceSchemaLocation") return xe_xsi_no_namespace_schema_location;
        if (local == "schemaLocation") return xe_xsi_schema_location;
        return xe_unknown_name;
    }
    for (const s_xml_token* row = table; row && row->name; ++row) {
        if (row->ns == ns && row->name[0] == local[0] && row->length == local.size() &&
            std::memcmp(row->name, local.data(), local.size()) == 0)
            return row->token;
    }
    return xe_unknown_name;
}

bool c_xml_reader::skip_start_tag(bool& self_closed) {
    if (m_failed) return false;
    if (!m_in_attributes) {
        // The tag end was read as an event already.
        self_closed = m_event == xe_end_tag;
        return m_event == xe_start_tag_end || m_event == xe_end_tag;
    }
    m_in_attributes = m_on_attribute = false;
    m_next_attribute = m_attributes.size();
    for (;;) {
        int c = m_in.get();
        if (c < 0) {
            fail(e_unexpected_end, et_fatal, "Unexpected end of file");
            return false;
        }
        if (c == '"' || c == '\'') {
            int q = c;
            do {
                c = m_in.get();
            } while (c >= 0 && c != q);
            continue;
        }
        if (c == '>') {
            self_closed = false;
            m_event = xe_start_tag_end;
            return true;
        }
        if (c != '/') continue;
        self_closed = true;
        bool reported = false;
        for (;;) {
            c = m_in.get_non_ws();
            if (c == '>') break;
            if (c < 0) {
                fail(e_unexpected_end, et_fatal, "Unexpected end of file");
                return false;
            }
            if (!reported) {
                m_in.report(et_error, e_bad_end_tag, "Illegal character(s) after / at end of tag - " + char_text(c));
                reported = true;
            }
        }
        pop_scope();
        m_event = xe_end_tag;
        if (reported) {
            m_last_code = e_bad_end_tag;
            m_error_line = m_in.get_line_num();
            m_failed = true;
            return false;
        }
        return true;
    }
}

bool c_xml_reader::get_element_value(std::string& value, int ws_mode, bool refs_are_ws) {
    value.clear();
    if (m_failed) return false;
    m_in.set_ws_mode(ws_mode, refs_are_ws);
    bool ok = true;
    exrt_error reference_error = e_no_error;
    for (;;) {
        if (!m_in.read_text(value)) {
            ok = false;
            if (reference_error == e_no_error) reference_error = m_in.get_reference_error();
        }
        int peek = m_in.peek_after_lt();
        if (peek >= 0 && peek != '!' && peek != '?') break;  // the next tag, left unread
        int c = m_in.get();
        if (c < 0) {
            fail(e_unexpected_end, et_fatal, "Premature end of file encountered");
            return false;
        }
        int next = m_in.get();
        if (next == '!') {
            c = m_in.get();
            if (c == '-' && m_in.get() == '-') {
                if (!m_in.skip_comment()) {
                    fail(e_bad_comment, et_fatal, "");
                    return false;
                }
                continue;
            }
            if (c == '[' && match("CDATA[")) {
                if (!m_in.read_cdata(value)) {
                    fail(e_unexpected_end, et_fatal, "");
                    return false;
                }
                continue;
            }
            fail(e_not_well_formed, et_fatal, "XML not well-formed");
            return false;
        }
        if (next == '?') {
            if (!m_in.skip_pi()) {
                fail(e_unexpected_end, et_fatal, "");
                return false;
            }
            continue;
        }
        m_in.unget(next);
        m_in.unget(c);
        break;
    }
    if (!ok) {
        if (reference_error == e_no_error) reference_error = e_not_well_formed;
        fail(reference_error, et_error, "Bad reference in value: " + value);
        return false;
    }
    return true;
}

bool c_xml_reader::test_end_tag(const char* name) {
    if (m_restored) {
        m_restored = false;
        return m_event == xe_end_tag && m_element.full_name == name;
    }
    if (m_failed) return false;
    bool ok = m_in.get_non_ws() == '<' && m_in.get() == '/';
    for (const char* p = name; ok && *p; ++p) ok = m_in.get() == static_cast<unsigned char>(*p);
    if (ok) {
        int c = m_in.get_non_ws();
        ok = c == '>';
    }
    if (!ok) {
        m_last_code = e_bad_end_of_element;
        m_error_line = m_in.get_line_num();
        m_failed = true;
        return false;
    }
    m_element.crack(name, std::strlen(name));
    m_element.ns_id = find_prefix(m_element.has_prefix ? m_element.prefix : std::string());
    pop_scope();
    m_event = xe_end_tag;
    return true;
}

bool c_xml_reader::expand_value(const char* raw, std::string& value, int ws_mode) {
    value.clear();
    m_in.set_ws_mode(ws_mode);
    c_entity_name_reader_for_attribute_data reader(raw);
    bool ok = true;
    for (int c; (c = reader.get()) >= 0;) {
        if (c == '&') {
            if (!m_in.read_reference(value, reader)) ok = false;
            if (m_error.is_fatal_errored()) return false;
        } else {
            m_in.append(value, c);
        }
    }
    return ok;
}

bool c_xml_reader::get_named_attribute(int ns_id, const char* local_name, std::string& value, int ws_mode) {
    const std::size_t length = std::strlen(local_name);
    for (const s_attribute& a : m_attributes) {
        const char* name = m_attr_text.data() + a.name;
        const char* colon = static_cast<const char*>(std::memchr(name, ':', a.name_length));
        const char* local = colon ? colon + 1 : name;
        std::size_t local_length = a.name_length - static_cast<std::size_t>(local - name);
        if (local_length != length || std::memcmp(local, local_name, length) != 0) continue;
        int id = colon ? find_prefix(std::string(name, static_cast<std::size_t>(colon - name)))
                       : static_cast<int>(c_enumerated_namespaces::ns_none);
        if (id != ns_id) continue;
        return expand_value(m_attr_text.data() + a.value, value, ws_mode);
    }
    return false;
}

bool c_xml_reader::get_attribute_value(std::string& value, int ws_mode) {
    if (m_next_attribute == 0 || m_next_attribute > m_attributes.size()) return false;
    return expand_value(m_attr_text.data() + m_attributes[m_next_attribute - 1].value, value, ws_mode);
}

}  // namespace xrt
