// Helpers shared by the runtime's tests: a compact trace of a document's reader events.
#pragma once

#include <cctype>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "xrt/xrt.h"

namespace xrt_test {

// Collects what the input layers report.
struct c_recording_error : xrt::c_error {
    std::vector<std::string> messages;
    void report_error(xrt::exrt_error_type, xrt::exrt_error code, const char*, int line, const char* message) override {
        messages.push_back(std::to_string(code) + "@" + std::to_string(line) + ":" + message);
    }
};

// Events as text: "<a" start, "@b=v" attribute, ">" tag end, "'t'" text, "/a" end,
// "$" end of input, "!code@line" error.
inline std::string trace_reader(xrt::c_xml_reader& r) {
    std::string out;
    for (int guard = 0; guard < 10000; ++guard) {
        int ev = r.get_next_event();
        if (!out.empty()) out += ' ';
        switch (ev) {
            case xrt::xe_start:
                if (r.is_attribute_event()) {
                    std::string v;
                    bool ok = r.get_attribute_value(v);
                    out += "@" + r.get_attribute_name().full_name + "=" + (ok ? v : "?");
                } else {
                    out += "<" + r.get_full_name();
                }
                break;
            case xrt::xe_start_tag_end:
                out += ">";
                break;
            case xrt::xe_text:
                out += "'" + r.get_value() + "'";
                break;
            case xrt::xe_end_tag:
                out += "/" + r.get_full_name();
                break;
            case xrt::xe_end_of_input:
                out += "$";
                return out;
            default:
                out += "!" + std::to_string(r.get_error()) + "@" + std::to_string(r.get_error_line());
                return out;
        }
    }
    return out + " <no end>";
}

// Names a parameterised case after its row's "name" field.
struct param_name {
    template <class P>
    std::string operator()(const ::testing::TestParamInfo<P>& info) const {
        std::string n = info.param.name;
        for (char& ch : n)
            if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
        return n;
    }
};

// Reads a whole document and returns the first message reported, "" for none.
inline std::string first_message(const std::string& doc, xrt::exrt_error_type* type = nullptr) {
    c_recording_error error;
    xrt::c_read_string source(doc);
    xrt::c_xml_reader r(source, &error);
    trace_reader(r);
    if (type) *type = error.get_last_error_type();
    return error.messages.empty() ? "" : error.messages.front();
}

// Hands out its bytes one per read_block call, so that every lookahead crosses a block end.
class c_read_drip : public xrt::c_read {
public:
    explicit c_read_drip(std::string bytes) : m_bytes(std::move(bytes)) {}
    int read() override { return m_pos < m_bytes.size() ? static_cast<unsigned char>(m_bytes[m_pos++]) : -1; }
    void rewind() override { m_pos = 0; }
    std::size_t read_block(const unsigned char*& data) override {
        if (m_pos >= m_bytes.size()) return 0;
        data = reinterpret_cast<const unsigned char*>(m_bytes.data()) + m_pos++;
        return 1;
    }

private:
    std::string m_bytes;
    std::size_t m_pos = 0;
};

inline std::string trace_drip(const std::string& doc) {
    c_read_drip source(doc);
    xrt::c_xml_reader r(source);
    return trace_reader(r);
}

inline std::string trace(const std::string& doc) {
    xrt::c_xml_reader_memory r(doc.data(), doc.size());
    return trace_reader(r);
}

// UTF-16 and UCS-2 forms of an ASCII or Latin-1 text, with or without a mark.
inline std::string utf16(const std::string& text, bool big_endian, bool mark) {
    std::string out;
    auto unit = [&](unsigned u) {
        char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
        out += big_endian ? std::string{hi, lo} : std::string{lo, hi};
    };
    if (mark) unit(0xFEFF);
    for (unsigned char c : text) unit(c);
    return out;
}

}  // namespace xrt_test
