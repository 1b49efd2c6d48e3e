#include "xrt/xrt_input.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace xrt {

const unsigned char g_char_class[256] = {
    16,  120, 120, 120, 120, 120, 120, 120, 120, 113, 1,   113, 113, 1,   120, 120,  // 00
    120, 120, 120, 120, 120, 120, 120, 120, 120, 120, 120, 120, 120, 120, 120, 120,  // 10
    113, 120, 88,  120, 120, 120, 16,  88,  120, 120, 120, 120, 120, 124, 124, 120,  // 20
    124, 124, 124, 124, 124, 124, 124, 124, 124, 124, 126, 120, 16,  120, 120, 120,  // 30
    120, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126,  // 40
    126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 120, 120, 120, 120, 126,  // 50
    120, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126,  // 60
    126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 126, 120, 120, 120, 120, 120,  // 70
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // 80
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // 90
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // A0
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // B0
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // C0
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // D0
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // E0
    6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,   6,    // F0
};

void append_utf8(std::string& out, unsigned long cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

namespace {
const char* const k_unrecognised = "Unrecognised character encoding";

bool iequals(const char* a, const char* b) {
    for (; *a && *b; ++a, ++b)
        if (std::toupper(static_cast<unsigned char>(*a)) != std::toupper(static_cast<unsigned char>(*b))) return false;
    return *a == *b;
}

std::string char_text(int c) {
    if (c < 0) return "EOF";
    return std::string(1, static_cast<char>(c));
}
}  // namespace

// ---------------------------------------------------------------- c_get_as_utf8

c_get_as_utf8::c_get_as_utf8(c_read& source, c_error& error) : m_source(source), m_error(error) {}

c_get_as_utf8::~c_get_as_utf8() = default;

bool c_get_as_utf8::refill_raw() {
    while (m_cur >= m_end) {
        if (m_source_done) return false;
        m_raw_before += static_cast<std::size_t>(m_end - m_block);
        m_block = m_end = m_cur = nullptr;
        const unsigned char* data = nullptr;
        std::size_t n = m_source.read_block(data);
        if (n == 0 || data == nullptr) {
            m_source_done = true;
            return false;
        }
        m_block = m_cur = data;
        m_end = data + n;
    }
    return true;
}

int c_get_as_utf8::next_raw() {
    if (m_cur >= m_end && !refill_raw()) return -1;
    return *m_cur++;
}

int c_get_as_utf8::peek_raw() {
    if (m_cur >= m_end && !refill_raw()) return -1;
    return *m_cur;
}

void c_get_as_utf8::report(exrt_error_type type, exrt_error code, const std::string& message) {
    m_error.record(type, code, get_source_id(), m_line, message);
    update_fast();
}

void c_get_as_utf8::rewind() {
    m_source.rewind();
    m_cur = m_end = m_block = nullptr;
    m_raw_before = 0;
    m_source_done = false;
    m_unget.clear();
    m_format = bf_unknown;
    m_prev_cr = false;
    m_pend_pos = m_pend_len = 0;
    m_line = 1;
    m_fast = false;
}

// First character of a document of unknown format: a byte order mark, or the pattern of
// the first two bytes ('<' or white space, alone or next to a zero byte) tells the format.
// Gives the first character, -1 at the end or on error, -2 when the format is known and the
// first character is still to be read.
int c_get_as_utf8::detect() {
    int b = next_raw();
    if (b < 0) return -1;
    if (b == 0xFF) {
        if (next_raw() == 0xFE) {
            int c = next_raw();
            if (c >= 1 && c <= 127 && next_raw() == 0) {
                m_format = bf_utf16_le;
                return c;
            }
        }
    } else if (b == 0xFE) {
        if (next_raw() == 0xFF && next_raw() == 0) {
            int c = next_raw();
            if (c >= 1 && c <= 127) {
                m_format = bf_utf16_be;
                return c;
            }
        }
    } else if (b == 0xEF) {
        if (next_raw() == 0xBB && next_raw() == 0xBF) {
            m_format = bf_utf8;
            return -2;
        }
    } else if (b == '<' || is_xml_space(b)) {
        if (peek_raw() == 0) {
            next_raw();
            m_format = bf_utf16_le;
        } else {
            m_format = bf_utf8;
        }
        return b;
    } else if (b == 0) {
        int c = next_raw();
        if (c == '<' || is_xml_space(c)) {
            m_format = bf_utf16_be;
            return c;
        }
    }
    report(et_fatal, e_encoding_not_supported, k_unrecognised);
    return -1;
}

int c_get_as_utf8::read_utf8(int lead) {
    int length;
    unsigned long cp;
    if (lead < 0xC0)
        length = 1;
    else if (lead < 0xE0)
        length = 2, cp = lead & 0x1F;
    else if (lead < 0xF0)
        length = 3, cp = lead & 0x0F;
    else if (lead < 0xF8)
        length = 4, cp = lead & 0x07;
    else
        length = 5;
    if (length == 1 || length > 4) goto bad;
    for (int i = 1; i < length; ++i) {
        int b = next_raw();
        if (b < 0 || (b & 0xC0) != 0x80) goto bad;
        cp = (cp << 6) | (b & 0x3F);
    }
    if ((length == 2 && cp < 0x80) || (length == 3 && cp < 0x800) || (length == 4 && cp < 0x10000) || cp > 0x10FFFF)
        goto bad;
    if (cp >= 0xD800 && cp <= 0xDBFF) {
        // A pair of halves, each written as its own three-byte sequence.
        if (next_raw() != 0xED) goto bad;
        int b2 = next_raw();
        if (b2 < 0xB0 || b2 > 0xBF) goto bad;
        int b3 = next_raw();
        if (b3 < 0 || (b3 & 0xC0) != 0x80) goto bad;
        unsigned long low = ((b2 & 0x3F) << 6) | (b3 & 0x3F);
        cp = (((cp & 0x3FF) + 64) << 10) | (low & 0x3FF);
    } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
        goto bad;
    }
    return static_cast<int>(cp);
bad:
    report(et_fatal, e_encoding_not_supported, k_unrecognised);
    return -1;
}

// One unit of a two-byte format whose first byte is already read; ok false on error.
int c_get_as_utf8::read_unit(bool& ok) {
    ok = false;
    int b1 = next_raw();
    if (b1 < 0) return 0;
    int b2 = next_raw();
    if (b2 < 0) return 0;
    ok = true;
    bool big = m_format == bf_utf16_be || m_format == bf_ucs2_be;
    return big ? (b1 << 8) | b2 : (b2 << 8) | b1;
}

int c_get_as_utf8::deliver(unsigned long cp) {
    if (cp < 0x80) return static_cast<int>(cp);
    // The first byte goes out now, the rest wait in the pending buffer.
    m_pend_pos = 0;
    if (cp < 0x800) {
        m_pending[0] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        m_pend_len = 1;
        return static_cast<int>(0xC0 | (cp >> 6));
    }
    if (cp < 0x10000) {
        m_pending[0] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
        m_pending[1] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        m_pend_len = 2;
        return static_cast<int>(0xE0 | (cp >> 12));
    }
    m_pending[0] = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
    m_pending[1] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
    m_pending[2] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
    m_pend_len = 3;
    return static_cast<int>(0xF0 | (cp >> 18));
}

int c_get_as_utf8::get_slow() {
    if (m_error.is_fatal_errored()) {
        m_fast = false;
        return -1;
    }
    if (!m_unget.empty()) {
        int c = m_unget.get();
        if (c == '\n') ++m_line;
        update_fast();
        return c;
    }
    if (m_pend_pos < m_pend_len) {
        int c = m_pending[m_pend_pos++];
        if (m_pend_pos >= m_pend_len) update_fast();
        return c;
    }
    for (;;) {
        long cp;
        if (m_format == bf_unknown) {
            cp = detect();
            if (cp == -2) continue;
            if (cp < 0) return -1;
        } else if (m_format == bf_single || m_format == bf_utf8) {
            int b = next_raw();
            if (b < 0) return -1;
            cp = (b < 0x80 || m_format == bf_single) ? b : read_utf8(b);
            if (cp < 0) return -1;
        } else {
            if (peek_raw() < 0) return -1;
            bool ok;
            int unit = read_unit(ok);
            if (!ok) {
                report(et_fatal, e_encoding_not_supported, k_unrecognised);
                return -1;
            }
            cp = unit;
            if (m_format == bf_utf16_be || m_format == bf_utf16_le) {
                if (unit >= 0xD800 && unit <= 0xDBFF) {
                    int low = read_unit(ok);
                    if (!ok || low < 0xDC00 || low > 0xDFFF) {
                        report(et_fatal, e_encoding_not_supported, k_unrecognised);
                        return -1;
                    }
                    cp = (static_cast<long>((unit & 0x3FF) + 64) << 10) | (low & 0x3FF);
                } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
                    report(et_fatal, e_encoding_not_supported, k_unrecognised);
                    return -1;
                }
            }
        }
        // Line ends: CR, LF and CR LF each count once and read as LF.
        if (cp == '\n' || cp == 0x85 || cp == 0x2028) {
            if (m_prev_cr) {
                m_prev_cr = false;
                continue;
            }
            ++m_line;
            update_fast();
            return '\n';
        }
        if (cp == '\r') {
            m_prev_cr = true;
            m_fast = false;
            ++m_line;
            return '\n';
        }
        m_prev_cr = false;
        int first = deliver(static_cast<unsigned long>(cp));
        update_fast();
        return first;
    }
}

bool c_get_as_utf8::set_encoding(const char* name) {
    bool match;
    if (iequals(name, "ISO-10646-UCS-2")) {
        match = m_format == bf_utf16_be || m_format == bf_utf16_le;
        if (match) m_format = m_format == bf_utf16_be ? bf_ucs2_be : bf_ucs2_le;
    } else if (iequals(name, "ISO-8859-1") || iequals(name, "US-ASCII")) {
        match = m_format == bf_utf8;
        if (match) m_format = bf_single;
    } else if (iequals(name, "UTF-8")) {
        match = m_format == bf_utf8;
    } else if (iequals(name, "UTF-16")) {
        match = m_format == bf_utf16_be || m_format == bf_utf16_le;
    } else {
        report(et_fatal, e_encoding_not_supported, "Unknown character encoding specified");
        return false;
    }
    if (!match) {
        report(et_fatal, e_encoding_mismatch, "Mis-match between specfied encoding and byte format");
        return false;
    }
    update_fast();
    return true;
}

// ---------------------------------------------------------------- c_get_with_entities

c_get_with_entities::c_get_with_entities(c_read& source, c_error& error) : c_get_as_utf8(source, error) {}

int c_get_with_entities::get_from_frames() {
    while (!m_frames.empty()) {
        s_frame& f = m_frames.back();
        if (!f.unget.empty()) return f.unget.get();
        if (*f.next) {
            if (get_error_handler().is_fatal_errored()) return -1;
            if (++m_expanded > max_expanded_bytes) {
                report(et_fatal, e_bad_dtd, "Entity expansion limit exceeded");
                return -1;
            }
            return static_cast<unsigned char>(*f.next++);
        }
        m_frames.pop_back();
        ++m_frames_ended;
    }
    return c_get_as_utf8::get();
}

void c_get_with_entities::unget(int c) {
    if (c < 0) return;
    if (m_frames.empty())
        c_get_as_utf8::unget(c);
    else
        m_frames.back().unget.unget(c);
}

void c_get_with_entities::add_general_entity(const std::string& name, const std::string& value) {
    m_general.emplace(name, value);
}

const std::string* c_get_with_entities::get_general_entity(const std::string& name) const {
    auto it = m_general.find(name);
    return it == m_general.end() ? nullptr : &it->second;
}

void c_get_with_entities::add_parameter_entity(const std::string& name, const std::string& value) {
    m_parameter.emplace(name, value);
}

const std::string* c_get_with_entities::get_parameter_entity(const std::string& name) const {
    auto it = m_parameter.find(name);
    return it == m_parameter.end() ? nullptr : &it->second;
}

bool c_get_with_entities::push_entity(const std::string& name, const std::string& value) {
    const char* v = value.c_str();
    for (const s_frame& f : m_frames) {
        if (f.value == v) {
            report(et_fatal, e_bad_dtd, "Recursive entity definition for: " + name);
            return false;
        }
    }
    if (m_frames.size() >= max_entity_depth) {
        report(et_fatal, e_bad_dtd, "Entity nesting too deep for: " + name);
        return false;
    }
    m_frames.push_back(s_frame{v, v, c_unget_buffer()});
    return true;
}

bool c_get_with_entities::charge_expansion(std::size_t bytes, const std::string& name) {
    m_expanded += bytes;
    if (m_expanded <= max_expanded_bytes) return true;
    report(et_fatal, e_bad_dtd, "Entity expansion limit exceeded for: " + name);
    return false;
}

void c_get_with_entities::rewind() {
    m_frames.clear();
    m_general.clear();
    m_parameter.clear();
    m_expanded = 0;
    m_frames_ended = 0;
    c_get_as_utf8::rewind();
}

// ---------------------------------------------------------------- namespaces

const char* const c_enumerated_namespaces::xml_namespace = "http://www.w3.org/XML/1998/namespace";
const char* const c_enumerated_namespaces::xsi_namespace = "http://www.w3.org/2001/XMLSchema-instance";

c_enumerated_namespaces::c_enumerated_namespaces() {
    m_rows.emplace_back("", ns_none);
    m_rows.emplace_back(xml_namespace, ns_xml);
    m_rows.emplace_back(xsi_namespace, ns_xsi);
}

int c_enumerated_namespaces::find_id(const std::string& uri) const {
    for (const auto& row : m_rows)
        if (row.first == uri) return row.second;
    return ns_unknown;
}

int c_enumerated_namespaces::get_id(const std::string& uri) {
    int id = find_id(uri);
    if (id != ns_unknown) return id;
    m_rows.emplace_back(uri, m_next);
    return m_next++;
}

void c_enumerated_namespaces::add(const std::string& uri, int id) {
    if (find_id(uri) == ns_unknown) m_rows.emplace_back(uri, id);
}

// ---------------------------------------------------------------- readers of references

c_entity_name_reader::~c_entity_name_reader() = default;

int c_entity_name_reader_for_c_get::get() {
    return m_in.get();
}
void c_entity_name_reader_for_c_get::unget(int c) {
    m_in.unget(c);
}

// ---------------------------------------------------------------- c_get_for_xml

c_get_for_xml::c_get_for_xml(c_read& source, c_error& error) : c_get_with_entities(source, error) {}

int c_get_for_xml::get_non_ws() {
    skip_ws();
    return get();
}

void c_get_for_xml::skip_ws() {
    for (;;) {
        if (entity_frames_empty() && raw_available()) {
            const unsigned char* p = m_cur;
            const unsigned char* e = m_end;
            int lines = 0;
            while (p < e && (g_char_class[*p] & ct_space) && *p != '\r') {
                if (*p == '\n') ++lines;
                ++p;
            }
            m_cur = p;
            m_line += lines;
            if (p == e) continue;
            if (*p != '\r' && *p < 0x80) return;  // CR and encoded line ends are decoded below
        }
        int c = get();
        if (!is_xml_space(c)) {
            unget(c);
            return;
        }
    }
}

void c_get_for_xml::append(std::string& buf, int c, bool from_ref) {
    if (m_ws_mode == ws_preserve) {
        buf.push_back(static_cast<char>(c));
        return;
    }
    bool blank = is_xml_space(c) && (!from_ref || m_refs_are_ws);
    if (blank) c = ' ';
    if (m_ws_mode == ws_replace) {
        buf.push_back(static_cast<char>(c));
        return;
    }
    if (blank) {
        m_pending_blank = true;
        return;
    }
    if (m_pending_blank && !buf.empty()) buf.push_back(' ');
    m_pending_blank = false;
    buf.push_back(static_cast<char>(c));
}

void c_get_for_xml::read_name(std::string& name) {
    name.clear();
    for (;;) {
        if (entity_frames_empty() && raw_available()) {
            const unsigned char* p = m_cur;
            const unsigned char* e = m_end;
            while (p < e && (g_char_class[*p] & (ct_name | ct_plain)) == (ct_name | ct_plain)) ++p;
            name.append(reinterpret_cast<const char*>(m_cur), static_cast<std::size_t>(p - m_cur));
            m_cur = p;
            if (p == e) continue;
            if (*p < 0x80) return;  // an ASCII character that ends the name, left unread
        }
        int c = get();
        if (!is_name_char(c)) {
            unget(c);
            return;
        }
        name.push_back(static_cast<char>(c));
    }
}

bool c_get_for_xml::read_text(std::string& buf) {
    bool ok = true;
    const unsigned char mask = m_ws_mode == ws_preserve ? ct_text0 : ct_text;
    c_entity_name_reader_for_c_get reader(*this);
    for (;;) {
        if (entity_frames_empty() && raw_available()) {
            const unsigned char* p = m_cur;
            const unsigned char* e = m_end;
            while (p < e && (g_char_class[*p] & mask)) ++p;
            if (p != m_cur) {
                if (m_pending_blank && !buf.empty()) buf.push_back(' ');
                m_pending_blank = false;
                buf.append(reinterpret_cast<const char*>(m_cur), static_cast<std::size_t>(p - m_cur));
                m_cur = p;
            }
            if (p == e) continue;
            if (*p == '<') return ok;  // left unread
        }
        int c = get();
        if (c < 0) return ok;
        if (c == '<') {
            unget(c);
            return ok;
        }
        if (c == '&') {
            if (!read_reference(buf, reader)) ok = false;
            continue;
        }
        append(buf, c);
    }
}

bool c_get_for_xml::read_reference(std::string& buf, c_entity_name_reader& in, bool parameter) {
    m_reference_error = e_no_error;
    int c = in.get();
    if (!parameter && c == '#') return read_char_reference(buf, in);
    const std::size_t frames_ended = get_frames_ended();
    std::string name;
    while (is_name_char(c)) {
        name.push_back(static_cast<char>(c));
        c = in.get();
    }
    bool semicolon = c == ';';
    if (!semicolon) in.unget(c);
    if (!in.is_expand_inline() && get_frames_ended() != frames_ended) {
        // Half inside an entity, half outside: the recursion check could not see it.
        report(et_fatal, e_bad_dtd, "Reference runs past the end of its entity: " + name);
        return false;
    }
    const std::string* value = nullptr;
    if (!parameter) {
        static const struct {
            const char* name;
            char c;
        } predefined[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}};
        for (const auto& p : predefined) {
            if (name == p.name) {
                buf.push_back(p.c);
                return true;
            }
        }
        value = get_general_entity(name);
    } else {
        value = get_parameter_entity(name);
    }
    if (value) {
        if (!in.is_expand_inline()) return push_entity(name, *value);
        return expand_inline(buf, name, *value);
    }
    buf.push_back(parameter ? '%' : '&');
    buf += name;
    if (semicolon) buf.push_back(';');
    m_reference_error = e_entity_not_found;
    return false;
}

bool c_get_for_xml::read_char_reference(std::string& buf, c_entity_name_reader& in) {
    int c = in.get();
    bool hex = c == 'x';
    if (hex) c = in.get();
    m_number.clear();
    bool too_long = false;
    while (c >= 0 && c < 128 && (hex ? std::isxdigit(c) : std::isdigit(c))) {
        if (m_number.size() < 12)
            m_number.push_back(static_cast<char>(c));
        else
            too_long = true;
        c = in.get();
    }
    if (c != ';') in.unget(c);
    unsigned long value = 0;
    if (!m_number.empty() && !too_long) value = std::strtoul(m_number.c_str(), nullptr, hex ? 16 : 10);
    if (m_number.empty() || too_long || value > 0x100000) {
        m_reference_error = e_not_well_formed;
        return false;
    }
    if (value == 0x85 || value == 0x2028) value = '\n';
    if (value < 128)
        append(buf, static_cast<int>(value), true);
    else
        append_utf8(buf, value);
    return true;
}

bool c_get_for_xml::expand_inline(std::string& buf, const std::string& name, const std::string& value) {
    const char* v = value.c_str();
    for (const char* open : m_inline_stack) {
        if (open == v) {
            report(et_fatal, e_bad_dtd, "Recursive entity definition for: " + name);
            return false;
        }
    }
    if (m_inline_stack.size() >= max_entity_depth) {
        report(et_fatal, e_bad_dtd, "Entity nesting too deep for: " + name);
        return false;
    }
    if (!charge_expansion(value.size(), name)) return false;
    m_inline_stack.push_back(v);
    c_entity_name_reader_for_entity reader(v);
    bool ok = true;
    for (int c; ok && (c = reader.get()) >= 0;) {
        if (c == '&' || c == '%') {
            if (!read_reference(buf, reader, c == '%')) ok = false;
            if (get_error_handler().is_fatal_errored()) ok = false;
        } else {
            append(buf, c);
        }
    }
    m_inline_stack.pop_back();
    return ok;
}

bool c_get_for_xml::skip_comment() {
    for (;;) {
        int c = get();
        if (c < 0) {
            report(et_fatal, e_unexpected_end, "Unexpected end of file");
            return false;
        }
        if (c != '-') {
            if (entity_frames_empty() && raw_available()) {
                // Skip to the next '-', counting line feeds; CR and non-ASCII take the slow road.
                const unsigned char* p = m_cur;
                const unsigned char* e = m_end;
                int lines = 0;
                while (p < e && *p != '-' && *p != '\r' && *p < 0x80) {
                    if (*p == '\n') ++lines;
                    ++p;
                }
                m_cur = p;
                m_line += lines;
            }
            continue;
        }
        c = get();
        if (c != '-') {
            unget(c);
            continue;
        }
        c = get();
        if (c == '>') return true;
        if (c < 0)
            report(et_fatal, e_unexpected_end, "Unexpected end of file");
        else
            report(et_fatal, e_bad_comment, "End of comment not Well-Formed");
        return false;
    }
}

bool c_get_for_xml::skip_pi() {
    int c = get();
    for (;;) {
        if (c < 0) {
            report(et_fatal, e_unexpected_end, "Unexpected end of file");
            return false;
        }
        if (c == '?') {
            c = get();
            if (c == '>') return true;
            continue;
        }
        c = get();
    }
}

bool c_get_for_xml::read_cdata(std::string& buf) {
    for (;;) {
        if (m_ws_mode == ws_preserve && entity_frames_empty() && raw_available()) {
            const unsigned char* p = m_cur;
            const unsigned char* e = m_end;
            while (p < e && *p != ']' && (g_char_class[*p] & ct_plain)) ++p;
            buf.append(reinterpret_cast<const char*>(m_cur), static_cast<std::size_t>(p - m_cur));
            m_cur = p;
            if (p == e) continue;
        }
        int c = get();
        if (c < 0) {
            report(et_fatal, e_unexpected_end, "Unexpected end of file");
            return false;
        }
        if (c != ']') {
            append(buf, c);
            continue;
        }
        std::size_t brackets = 1;
        while ((c = get()) == ']') ++brackets;
        if (c == '>' && brackets >= 2) {
            for (std::size_t i = 2; i < brackets; ++i) append(buf, ']');
            return true;
        }
        for (std::size_t i = 0; i < brackets; ++i) append(buf, ']');
        unget(c);
    }
}

bool c_get_for_xml::read_doctype() {
    set_ws_mode(ws_preserve);
    c_dtd_util dtd(*this);
    return dtd.parse();
}

// ---------------------------------------------------------------- c_dtd_util

namespace {
bool is_quote(int c) {
    return c == '"' || c == '\'';
}
}  // namespace

// Skips a quoted literal up to its closing quote; the end of input is fatal.
bool c_dtd_util::skip_quoted(int quote) {
    int c;
    do {
        c = get();
    } while (c >= 0 && c != quote);
    if (c < 0) {
        m_in.report(et_fatal, e_unexpected_end, "Unexpected end of file");
        return false;
    }
    return true;
}

bool c_dtd_util::skip_to_gt(bool quoted_aware) {
    for (;;) {
        int c = get();
        if (c < 0) {
            m_in.report(et_fatal, e_unexpected_end, "Unexpected end of file");
            return false;
        }
        if (c == '>') return true;
        if (quoted_aware && is_quote(c)) {
            if (!skip_quoted(c)) return false;
        }
    }
}

bool c_dtd_util::parse() {
    // The name and an external identifier are skipped up to the subset or the end.
    for (;;) {
        int c = get();
        if (c < 0) {
            m_in.report(et_fatal, e_unexpected_end, "Unexpected end of file");
            return false;
        }
        if (c == '>') return true;
        if (c == '[') break;
        if (is_quote(c)) {
            if (!skip_quoted(c)) return false;
        }
    }
    std::string keyword;
    for (;;) {
        int c = m_in.get_non_ws();
        if (c < 0) {
            m_in.report(et_fatal, e_unexpected_end, "Unexpected end of file");
            return false;
        }
        if (c == ']') {
            c = m_in.get_non_ws();
            if (c != '>') {
                m_in.report(et_fatal, e_bad_dtd, "DTD not Well Formed (expected '>', got " + char_text(c) + ")");
                return false;
            }
            return true;
        }
        if (c == '%') {
            if (!parse_parameter_reference()) return false;
            continue;
        }
        if (c != '<') {
            m_in.report(et_fatal, e_bad_dtd, "DTD not Well Formed (got " + char_text(c) + ")");
            return false;
        }
        keyword.clear();
        for (;;) {
            c = get();
            if (c < 0 || is_xml_space(c) || c == '[' || c == '>') break;
            keyword.push_back(static_cast<char>(c));
            if (keyword == "!--" || keyword.size() > 64) break;
        }
        bool ok;
        if (keyword == "!--") {
            ok = m_in.skip_comment();
        } else if (keyword == "!ENTITY") {
            unget(c);
            ok = parse_entity();
        } else if (!keyword.empty() && keyword[0] == '?') {
            ok = (c == '>' && keyword.size() >= 2 && keyword.back() == '?') ? true : m_in.skip_pi();
        } else {
            ok = c == '>' ? true : skip_to_gt(true);
        }
        if (!ok) return false;
    }
}

bool c_dtd_util::parse_parameter_reference() {
    const std::size_t frames_ended = m_in.get_frames_ended();
    std::string name;
    int c = get();
    while (is_name_char(c)) {
        name.push_back(static_cast<char>(c));
        c = get();
    }
    if (c != ';') unget(c);
    if (m_in.get_frames_ended() != frames_ended) {
        m_in.report(et_fatal, e_bad_dtd, "Reference runs past the end of its entity: %" + name);
        return false;
    }
    const std::string* value = m_in.get_parameter_entity(name);
    if (!value) {
        m_in.report(et_error, e_entity_not_found, "Entity '%" + name + "' not found");
        return false;
    }
    return m_in.push_entity(name, *value);
}

bool c_dtd_util::read_entity_value(int quote, std::string& value) {
    const std::size_t depth = m_in.get_entity_stack_depth();
    c_entity_name_reader_for_c_get reader(m_in);
    for (;;) {
        int c = get();
        if (c < 0) {
            m_in.report(et_fatal, e_unexpected_end, "Unexpected end of file");
            return false;
        }
        if (c == quote && m_in.get_entity_stack_depth() == depth) return true;
        if (c == '%') {
            if (!parse_parameter_reference()) return false;
            continue;
        }
        if (c == '&') {
            int next = get();
            if (next == '#') {
                if (!m_in.read_char_reference(value, reader)) {
                    m_in.report(et_fatal, e_bad_dtd, "Bad character reference in entity value");
                    return false;
                }
                continue;
            }
            unget(next);
        }
        value.push_back(static_cast<char>(c));
    }
}

bool c_dtd_util::parse_entity() {
    int c = m_in.get_non_ws();
    bool parameter = false;
    if (c == '%') {
        c = get();
        if (is_xml_space(c)) {
            parameter = true;
            c = m_in.get_non_ws();
        } else {
            // "%name;" in the place of the name: a reference whose text comes next.
            unget(c);
            if (!parse_parameter_reference()) return false;
            c = m_in.get_non_ws();
        }
    }
    std::string name;
    while (c >= 0 && !is_xml_space(c) && c != '>') {
        if (c == '%') {
            if (!parse_parameter_reference()) return false;
        } else {
            name.push_back(static_cast<char>(c));
        }
        c = get();
    }
    if (c < 0) {
        m_in.report(et_fatal, e_unexpected_end, "Unexpected end of file");
        return false;
    }
    if (c != '>') c = m_in.get_non_ws();
    if (is_quote(c)) {
        std::string value;
        if (!read_entity_value(c, value)) return false;
        if (parameter)
            m_in.add_parameter_entity(name, value);
        else
            m_in.add_general_entity(name, value);
        c = m_in.get_non_ws();
        return c == '>' ? true : skip_to_gt(true);
    }
    std::string word;
    while (c >= 0 && !is_xml_space(c) && c != '>' && word.size() < 64) {
        word.push_back(static_cast<char>(c));
        c = get();
    }
    if (word == "SYSTEM" || word == "PUBLIC") {
        m_in.report(et_warning, e_external_entity, "External Entity definitions not supported");
        return c == '>' ? true : skip_to_gt(true);
    }
    m_in.report(et_error, e_unexpected_entity, "Unexpected value in Entity definition: " + word);
    return false;
}

}  // namespace xrt
