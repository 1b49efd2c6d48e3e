// The input chain of the XML reader, bottom up:
//   c_get_as_utf8       encoding detection, conversion to UTF-8, line ends, line count
//   c_get_with_entities entity texts read as if they stood in the document
//   c_get_for_xml       character classes, references, white space modes, the DTD subset
// get() is inline and takes one byte straight from the source's current run when nothing
// special is pending; the bulk scanners of c_get_for_xml walk the run with a class table.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "xrt/xrt_error.h"
#include "xrt/xrt_read.h"

namespace xrt {

// Character classes of a byte, one table for the whole runtime.
enum : unsigned char {
    ct_space = 1,       // what isspace says of 1..32
    ct_name_start = 2,  // letter, '_', ':', byte >= 128
    ct_name = 4,        // name start, digit, '-', '.'
    ct_text = 8,        // ASCII text that no scanner stops at (no markup, space, CR, LF)
    ct_plain = 16,      // ASCII that the lowest layer passes through untouched (not CR, LF)
    ct_attr = 32,       // raw attribute text: no quote, '&', '<', CR, LF, byte >= 128
    ct_text0 = 64,      // ct_text plus the blanks other than CR and LF
};
extern const unsigned char g_char_class[256];
inline bool is_xml_space(int c) {
    return c > 0 && c < 256 && (g_char_class[c] & ct_space);
}
inline bool is_name_char(int c) {
    return c > 0 && c < 256 && (g_char_class[c] & ct_name);
}
inline bool is_name_start(int c) {
    return c > 0 && c < 256 && (g_char_class[c] & ct_name_start);
}

// Appends the UTF-8 form of a code point.
void append_utf8(std::string& out, unsigned long code_point);

class c_unget_buffer {
public:
    void clear() { m_count = 0; }
    bool empty() const { return m_count == 0; }
    int get() { return m_buf[--m_count]; }
    void unget(int c) {
        if (m_count < depth) m_buf[m_count++] = c;
    }
    int size() const { return m_count; }
    static constexpr int depth = 4;

private:
    int m_buf[depth];
    int m_count = 0;
};

// A small table of rows with stable addresses; lookups give the first match.
template <class K, class V>
class c_repository {
public:
    void add(K key, V value) { m_rows.emplace_back(std::move(key), std::move(value)); }
    const V* find(const K& key) const {
        for (const auto& row : m_rows)
            if (row.first == key) return &row.second;
        return nullptr;
    }
    std::size_t size() const { return m_rows.size(); }
    void clear() { m_rows.clear(); }
    const std::pair<K, V>& operator[](std::size_t i) const { return m_rows[i]; }

private:
    std::deque<std::pair<K, V>> m_rows;
};

class c_get_as_utf8 {
public:
    enum {
        bf_unknown = 0,
        bf_single = 1,
        bf_utf8 = 2,
        bf_utf16_be = 3,
        bf_utf16_le = 4,
        bf_ucs2_be = 5,
        bf_ucs2_le = 6
    };

    c_get_as_utf8(c_read& source, c_error& error);
    virtual ~c_get_as_utf8();
    c_get_as_utf8(const c_get_as_utf8&) = delete;
    c_get_as_utf8& operator=(const c_get_as_utf8&) = delete;

    // Next UTF-8 byte with line ends normalised, or -1 at the end or after a fatal error.
    int get() {
        if (m_fast && m_cur < m_end && (g_char_class[*m_cur] & ct_plain)) return *m_cur++;
        return get_slow();
    }
    void unget(int c) {
        if (c < 0) return;
        m_unget.unget(c);
        m_fast = false;
        if (c == '\n') --m_line;  // counted again when it is read again
    }
    // Applies the encoding name of the XML declaration; false after recording an error.
    bool set_encoding(const char* name);

    int get_line_num() const { return m_line; }
    // Bytes taken from the source so far (before decoding), for tools that point at a place.
    std::size_t get_raw_offset() const { return m_raw_before + static_cast<std::size_t>(m_cur - m_block); }
    const char* get_source_id() const { return m_source.get_source_id(); }
    c_error& get_error_handler() { return m_error; }
    int get_byte_format() const { return m_format; }
    void rewind();

    // Records an error against the current line; after a fatal one get() gives -1.
    void report(exrt_error_type type, exrt_error code, const std::string& message);

protected:
    // The raw run may be scanned directly: no ungets, no pending bytes, a byte format whose
    // ASCII is itself, no half-seen CR LF, no fatal error.
    bool can_scan_raw() const { return m_fast && m_cur < m_end; }
    // Makes the raw run non-empty if the source has more; false at the end.
    bool refill_raw();
    // The raw run may be scanned and holds at least one byte.
    bool raw_available() {
        if (!m_fast) return false;
        return m_cur < m_end || refill_raw();
    }

    const unsigned char* m_cur = nullptr;
    const unsigned char* m_end = nullptr;
    const unsigned char* m_block = nullptr;  // start of the raw run m_cur is in
    std::size_t m_raw_before = 0;            // bytes of the runs before it
    int m_line = 1;

private:
    int get_slow();
    int next_raw();  // next source byte or -1
    int peek_raw();
    int detect();
    int read_utf8(int lead);
    int read_unit(bool& ok);
    int deliver(unsigned long code_point);
    void update_fast() {
        m_fast = m_unget.empty() && m_pend_pos >= m_pend_len && !m_prev_cr &&
                 (m_format == bf_single || m_format == bf_utf8) && !m_error.is_fatal_errored();
    }

    c_read& m_source;
    c_error& m_error;
    c_unget_buffer m_unget;
    int m_format = bf_unknown;
    bool m_prev_cr = false;  // the last character from the source was a CR
    unsigned char m_pending[8];
    int m_pend_pos = 0;
    int m_pend_len = 0;
    bool m_fast = false;
    bool m_source_done = false;
};

class c_get_with_entities : public c_get_as_utf8 {
public:
    c_get_with_entities(c_read& source, c_error& error);

    int get() {
        if (m_frames.empty()) return c_get_as_utf8::get();
        return get_from_frames();
    }
    void unget(int c);

    void add_general_entity(const std::string& name, const std::string& value);
    const std::string* get_general_entity(const std::string& name) const;
    void add_parameter_entity(const std::string& name, const std::string& value);
    const std::string* get_parameter_entity(const std::string& name) const;

    // Reads an entity's value next; fails with error 9 if that entity is being read already.
    bool push_entity(const std::string& name, const std::string& value);
    std::size_t get_entity_stack_depth() const { return m_frames.size(); }
    // Counts frames that ended; a reference whose name runs past the end of its entity
    // shows as a change of this count.
    std::size_t get_frames_ended() const { return m_frames_ended; }
    void rewind();

    // Bounds on entity expansion, so that a small document cannot expand without end.
    static constexpr std::size_t max_entity_depth = 64;
    static constexpr std::size_t max_expanded_bytes = 1u << 20;
    // Counts bytes produced by inline expansion against the same budget; false when spent.
    bool charge_expansion(std::size_t bytes, const std::string& name);

protected:
    bool entity_frames_empty() const { return m_frames.empty(); }

private:
    struct s_frame {
        const char* next;
        const char* value;
        c_unget_buffer unget;
    };
    int get_from_frames();

    std::vector<s_frame> m_frames;
    // Values keep their addresses for the life of the table; the first declaration wins.
    std::unordered_map<std::string, std::string> m_general;
    std::unordered_map<std::string, std::string> m_parameter;
    std::size_t m_expanded = 0;
    std::size_t m_frames_ended = 0;
};

// URIs numbered in order of first sight: 1 empty, 2 the xml prefix's namespace, 5 schema
// instances, the binding's own, new ones from 1000.
class c_enumerated_namespaces {
public:
    c_enumerated_namespaces();
    int get_id(const std::string& uri);         // enters an unknown URI
    int find_id(const std::string& uri) const;  // 0 if unknown
    void add(const std::string& uri, int id);

    static const char* const xml_namespace;
    static const char* const xsi_namespace;
    enum { ns_unknown = 0, ns_none = 1, ns_xml = 2, ns_xsi = 5, ns_first_new = 1000 };

private:
    std::vector<std::pair<std::string, int>> m_rows;
    int m_next = ns_first_new;
};

// Where the reference parser takes its characters from.
class c_entity_name_reader {
public:
    explicit c_entity_name_reader(bool expand_inline) : m_expand_inline(expand_inline) {}
    virtual ~c_entity_name_reader();
    virtual int get() = 0;
    virtual void unget(int c) = 0;
    bool is_expand_inline() const { return m_expand_inline; }

private:
    bool m_expand_inline;
};

class c_get_for_xml;

class c_entity_name_reader_for_c_get : public c_entity_name_reader {
public:
    explicit c_entity_name_reader_for_c_get(c_get_for_xml& in) : c_entity_name_reader(false), m_in(in) {}
    int get() override;
    void unget(int c) override;

private:
    c_get_for_xml& m_in;
};

// A zero-ended text with an index; unget steps back, not before the start.
class c_entity_name_reader_for_c_str : public c_entity_name_reader {
public:
    explicit c_entity_name_reader_for_c_str(const char* text, bool expand_inline = true)
        : c_entity_name_reader(expand_inline), m_text(text) {}
    int get() override {
        unsigned char c = static_cast<unsigned char>(m_text[m_index]);
        if (c == 0) return -1;
        ++m_index;
        return c;
    }
    void unget(int c) override {
        if (c >= 0 && m_index > 0) --m_index;
    }

private:
    const char* m_text;
    std::size_t m_index = 0;
};

class c_entity_name_reader_for_attribute_data : public c_entity_name_reader_for_c_str {
public:
    explicit c_entity_name_reader_for_attribute_data(const char* value) : c_entity_name_reader_for_c_str(value, true) {}
};

class c_entity_name_reader_for_entity : public c_entity_name_reader_for_c_str {
public:
    explicit c_entity_name_reader_for_entity(const char* value) : c_entity_name_reader_for_c_str(value, true) {}
};

class c_get_for_xml : public c_get_with_entities {
public:
    enum { ws_preserve = 0, ws_replace = 1, ws_collapse = 2 };

    c_get_for_xml(c_read& source, c_error& error);

    int get_non_ws();
    void skip_ws();  // skips white space, leaves the next character unread
    void set_ws_mode(int mode, bool refs_are_ws = false) {
        m_ws_mode = mode;
        m_refs_are_ws = refs_are_ws;
        m_pending_blank = false;
    }
    int get_ws_mode() const { return m_ws_mode; }
    void reset_ws_mode() { m_pending_blank = false; }

    // Appends a character under the white space mode.
    void append(std::string& buf, int c, bool from_ref = false);
    // After "&" (or "%" with parameter set): expands a reference into buf. False for an
    // unknown name (appended literally), a bad character reference or a recursion.
    bool read_reference(std::string& buf, c_entity_name_reader& in, bool parameter = false);
    // The next byte without reading it (the first byte of its UTF-8 form), -1 at the end.
    int peek() {
        if (entity_frames_empty() && raw_available() && *m_cur < 0x80) return *m_cur;
        int c = get();
        unget(c);
        return c;
    }
    // The byte after a '<' that is next in the raw run, without reading either; -1 if the
    // run cannot tell (an entity is open, something is pushed back, the run ends there, the
    // byte is not ASCII).
    int peek_after_lt() {
        if (!entity_frames_empty() || !raw_available() || m_end - m_cur < 2 || *m_cur != '<') return -1;
        return m_cur[1] < 0x80 ? m_cur[1] : -1;  // other bytes are decoded, which may fail
    }
    // Reads a name from the input; stops before the first non-name character.
    void read_name(std::string& name);
    // Appends text up to '<' (left unread) or the end, with references; false on a failed
    // reference (the rest of the text is still read).
    bool read_text(std::string& buf);
    // After "<!--": skips to "-->"; false (error 8 recorded) if "--" is not followed by ">".
    bool skip_comment();
    // After "<?" and the target: skips to "?>"; false at the end of input.
    bool skip_pi();
    // After "<![CDATA[": appends the content up to "]]>"; false at the end of input.
    bool read_cdata(std::string& buf);
    // After "<!DOCTYPE": reads the declaration and its internal subset.
    bool read_doctype();

    void set_namespaces(c_enumerated_namespaces* namespaces) { m_namespaces = namespaces; }
    c_enumerated_namespaces* get_namespaces() const { return m_namespaces; }

    // Why the last read_reference failed.
    exrt_error get_reference_error() const { return m_reference_error; }

private:
    friend class c_dtd_util;
    bool read_char_reference(std::string& buf, c_entity_name_reader& in);
    bool expand_inline(std::string& buf, const std::string& name, const std::string& value);

    std::string m_number;
    int m_ws_mode = ws_preserve;
    bool m_pending_blank = false;
    bool m_refs_are_ws = false;
    std::string m_entity_name;
    c_enumerated_namespaces* m_namespaces = nullptr;
    std::vector<const char*> m_inline_stack;
    exrt_error m_reference_error = e_no_error;
};

// Parses a DOCTYPE declaration: the name and an external identifier are skipped, the
// internal subset gives general and parameter entities; other declarations are skipped.
class c_dtd_util {
public:
    explicit c_dtd_util(c_get_for_xml& in) : m_in(in) {}
    int get() { return m_in.get(); }
    void unget(int c) { m_in.unget(c); }
    c_get_for_xml& getter() { return m_in; }
    bool parse();

private:
    bool parse_entity();
    bool parse_parameter_reference();
    bool skip_quoted(int quote);
    bool read_entity_value(int quote, std::string& value);
    bool skip_to_gt(bool quoted_aware);
    c_get_for_xml& m_in;
};

}  // namespace xrt
