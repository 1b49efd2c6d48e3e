// Fuzz target of the reader: every input must end in the end event or an error with a code,
// and a source that hands out one byte per block must give exactly the same events as one
// that hands out the whole buffer.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "xrt/xrt.h"

namespace {

class c_read_drip : public xrt::c_read {
public:
    c_read_drip(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    int read() override { return m_pos < m_size ? m_data[m_pos++] : -1; }
    void rewind() override { m_pos = 0; }
    size_t read_block(const unsigned char*& data) override {
        if (m_pos >= m_size) return 0;
        data = m_data + m_pos++;
        return 1;
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

const xrt::s_xml_token k_tokens[] = {
    {1, "QUORL", 5, 12}, {1, "Configuration", 13, 13}, {1, "Name", 4, 14},
    {1, "a", 1, 15},     {1000, "a", 1, 16},           {0, nullptr, 0, 0},
};

// Walks the document the way a binding does, choosing the calls from the content, and
// returns a trace of what it saw.
std::string walk(xrt::c_read& source, int style) {
    xrt::c_xml_reader r(source);
    std::string trace, value;
    std::ostringstream out;
    xrt::c_xml_writer w(out);
    for (int step = 0; step < 1000000; ++step) {
        int ev = r.get_next_event();
        trace += std::to_string(ev);
        trace += ',';
        if (ev == xrt::xe_end_of_input) break;
        if (ev == xrt::xe_error || ev == xrt::xe_error_2) {
            if (r.get_error() == xrt::e_no_error) std::abort();  // an error must carry its code
            trace += std::to_string(r.get_error()) + "@" + std::to_string(r.get_error_line());
            break;
        }
        if (ev == xrt::xe_text) {
            w.write_escaped(r.get_value());
            trace += std::to_string(r.get_value().size());
        }
        if (ev != xrt::xe_start) continue;
        bool element = !r.is_attribute_event();
        trace += std::to_string(r.tokenise(k_tokens, element));
        trace += std::to_string(r.get_ns_id());
        if (!element) {
            trace += r.get_attribute_value(value, step % 3) ? value : "?";
            continue;
        }
        trace += r.get_local_name();
        if (r.get_named_attribute(1, "a", value, style)) trace += value;
        // Leaf-style reading of elements whose name starts with 'v'.
        if (r.get_local_name().compare(0, 1, "v") == 0) {
            bool self_closed = false;
            if (!r.skip_start_tag(self_closed)) {
                trace += "S" + std::to_string(r.get_error());
                break;
            }
            if (self_closed) continue;
            if (!r.get_element_value(value, style, step & 1)) {
                trace += "V" + std::to_string(r.get_error());
                break;
            }
            trace += value;
            std::string name = r.get_full_name();
            if (!r.test_end_tag(name.c_str())) {
                trace += "E" + std::to_string(r.get_error());
                break;
            }
        }
    }
    return trace + std::to_string(r.get_line_no());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    int style = size ? data[size - 1] % 3 : 0;
    xrt::c_read_memory whole(reinterpret_cast<const char*>(data), size);
    c_read_drip drip(data, size);
    std::string a = walk(whole, style);
    std::string b = walk(drip, style);
    if (a != b) std::abort();  // the block size of the source must not matter
    return 0;
}
