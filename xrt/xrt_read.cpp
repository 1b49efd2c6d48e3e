#include "xrt/xrt_read.h"

#include <cstdlib>
#include <cwchar>
#include <vector>

namespace xrt {

c_read::~c_read() = default;

std::size_t c_read::read_block(const unsigned char*& data) {
    std::size_t n = 0;
    while (n < sizeof m_block) {
        int c = read();
        if (c < 0) break;
        m_block[n++] = static_cast<unsigned char>(c);
    }
    data = m_block;
    return n;
}

c_read_memory::c_read_memory() = default;

c_read_memory::c_read_memory(const char* data, std::size_t size) {
    set_range(data, size);
}

void c_read_memory::set_range(const char* data, std::size_t size) {
    m_start = reinterpret_cast<const unsigned char*>(data);
    m_current = m_start;
    m_end = m_start ? m_start + size : m_start;
}

int c_read_memory::read() {
    return m_current < m_end ? *m_current++ : -1;
}

void c_read_memory::rewind() {
    m_current = m_start;
}

std::size_t c_read_memory::read_block(const unsigned char*& data) {
    data = m_current;
    std::size_t n = static_cast<std::size_t>(m_end - m_current);
    m_current = m_end;
    return n;
}

c_read_string::c_read_string(std::string text) : m_text(std::move(text)) {
    set_range(m_text.data(), m_text.size());
}

c_read_file::c_read_file(const char* path) : m_name(path ? path : "") {
    if (path) m_file = std::fopen(path, "rb");
}

c_read_file::c_read_file(const wchar_t* path) {
    if (!path) return;
    // The file system takes narrow names here: convert in the current locale.
    std::mbstate_t state{};
    const wchar_t* src = path;
    std::size_t len = std::wcsrtombs(nullptr, &src, 0, &state);
    if (len == static_cast<std::size_t>(-1)) return;
    std::vector<char> narrow(len + 1);
    src = path;
    state = std::mbstate_t{};
    std::wcsrtombs(narrow.data(), &src, len + 1, &state);
    m_name.assign(narrow.data(), len);
    m_file = std::fopen(m_name.c_str(), "rb");
}

c_read_file::c_read_file(std::FILE* file) : m_file(file) {}

c_read_file::~c_read_file() {
    if (m_close_on_delete) close();
}

void c_read_file::close() {
    if (m_file) std::fclose(m_file);
    m_file = nullptr;
}

bool c_read_file::fill() {
    if (!m_file) return false;
    m_index = 0;
    m_fill = std::fread(m_buffer, 1, buffer_size, m_file);
    return m_fill != 0;
}

int c_read_file::read() {
    if (m_index >= m_fill && !fill()) return -1;
    return m_buffer[m_index++];
}

void c_read_file::rewind() {
    if (m_file) std::fseek(m_file, 0, SEEK_SET);
    m_fill = m_index = 0;
}

std::size_t c_read_file::read_block(const unsigned char*& data) {
    if (m_index >= m_fill && !fill()) return 0;
    data = m_buffer + m_index;
    std::size_t n = m_fill - m_index;
    m_index = m_fill;
    return n;
}

}  // namespace xrt
