#include "xrt/xsd_regex.h"

#include <libxml/xmlregexp.h>

#include <cstring>
#include <utility>

namespace xrt {

namespace {

void* compile(const std::string& pattern) {
    // A pattern with a NUL byte would be cut short by the C interface.
    if (pattern.find('\0') != std::string::npos) return nullptr;
    return xmlRegexpCompile(reinterpret_cast<const xmlChar*>(pattern.c_str()));
}

}  // namespace

c_regex::c_regex(const std::string& pattern) : m_pattern(pattern), m_automaton(compile(pattern)) {}

c_regex::c_regex(const c_regex& other) : m_pattern(other.m_pattern), m_automaton(compile(other.m_pattern)) {}

c_regex& c_regex::operator=(const c_regex& other) {
    if (this != &other) {
        c_regex copy(other);
        *this = std::move(copy);
    }
    return *this;
}

c_regex::c_regex(c_regex&& other) noexcept
    : m_pattern(std::move(other.m_pattern)), m_automaton(std::exchange(other.m_automaton, nullptr)) {}

c_regex& c_regex::operator=(c_regex&& other) noexcept {
    if (this != &other) {
        release();
        m_pattern = std::move(other.m_pattern);
        m_automaton = std::exchange(other.m_automaton, nullptr);
    }
    return *this;
}

c_regex::~c_regex() {
    release();
}

void c_regex::release() {
    if (m_automaton) xmlRegFreeRegexp(static_cast<xmlRegexpPtr>(m_automaton));
    m_automaton = nullptr;
}

bool c_regex::is_match(const std::string& text) const {
    if (!m_automaton) return true;
    if (text.find('\0') != std::string::npos) return false;
    // 1 is a match, 0 none, a negative value an internal failure.
    return xmlRegexpExec(static_cast<xmlRegexpPtr>(m_automaton), reinterpret_cast<const xmlChar*>(text.c_str())) == 1;
}

}  // namespace xrt
