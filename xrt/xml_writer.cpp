#include "xrt/xml_writer.h"

#include <locale>
#include <typeinfo>

#include "xrt/xrt_input.h"

namespace xrt {

c_xml_writer::c_xml_writer(std::ostream& os) : m_os(os) {
    m_os.imbue(std::locale::classic());
    m_os << "<?xml version=\"1.0\" encoding=\"UTF-8\""
         << "?>" << m_newline;
}

c_xml_writer::~c_xml_writer() = default;

exrt_error c_xml_writer::user_handle_error(exrt_error code, const char*, const char*, int) {
    return user_handle_error(code);
}

exrt_error c_xml_writer::user_handle_error(exrt_error code) {
    return code;
}

std::string c_xml_writer::get_error_info() const {
    if (m_last_code == e_no_error) return get_error_text(e_no_error);
    return "'" + m_item_name + "'-" + get_error_text(m_last_code);
}

exrt_error c_xml_writer::handle_error(exrt_error code, const char* item, const char* file, int line) {
    m_last_code = code;
    m_item_name = item ? item : "";
    m_last_code = user_handle_error(code, item, file, line);
    return m_last_code;
}

std::ostream& c_xml_writer::operator()(bool do_indent) {
    if (!do_indent || m_depth == 0) return m_os;
    if (typeid(*this) != typeid(c_xml_writer)) {
        // A subclass may lay lines out its own way: one nest() per level.
        for (int i = 0; i < m_depth; ++i) nest();
        return m_os;
    }
    // The runtime's own layout: the whole indent in one write instead of one
    // formatted insertion per level, which was a seventh of a save.
    static const char tabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
    const int chunk = static_cast<int>(sizeof tabs - 1);
    for (int left = m_depth; left > 0; left -= chunk) m_os.write(tabs, left < chunk ? left : chunk);
    return m_os;
}

namespace {
void write_ns(std::ostream& os, const std::string& prefix, const std::string& uri) {
    os << " xmlns";
    if (!prefix.empty()) os << ':' << prefix;
    os << "=\"" << uri << '"';
}
}  // namespace

void c_xml_writer::write_namespaces() {
    if (m_ns_map_written) return;
    for (const s_ns_map* row = m_ns_map; row && row->uri; ++row)
        write_ns(m_os, row->prefix ? row->prefix : "", row->uri);
    for (const auto& ns : m_default_namespaces) write_ns(m_os, ns.first, ns.second);
    if (!m_schema_locations.empty()) {
        m_os << " xmlns:xsi=\"" << c_enumerated_namespaces::xsi_namespace << '"';
        if (!m_schema_locations.front().first.empty()) {
            m_os << " xsi:schemaLocation=\"";
            for (std::size_t i = 0; i < m_schema_locations.size(); ++i) {
                if (i) m_os << ' ';
                m_os << m_schema_locations[i].first << ' ' << m_schema_locations[i].second;
            }
            m_os << '"';
        } else {
            m_os << " xsi:noNamespaceSchemaLocation=\"" << m_schema_locations.front().second << '"';
        }
    }
    m_ns_map_written = true;
}

void c_xml_writer::write_escaped(const char* text, std::size_t length) {
    escape_runs(text, length,
                [this](const char* data, std::size_t size) { m_os.write(data, static_cast<std::streamsize>(size)); });
}

}  // namespace xrt
