#pragma once
// Pattern facets: XML Schema regular expressions, compiled by libxml2's
// automaton builder and matched against a whole text.
//
// Compile once and keep the object: compilation builds an automaton, while a
// match is a plain run over the text. A compiled object may be matched from
// several threads at once.
#include <string>

namespace xrt {

class c_regex {
public:
    // Compiles `pattern` in the schema's pattern language (implicitly
    // anchored at both ends, no "^" or "$"). A pattern that does not compile
    // leaves the automaton null; nothing is reported, callers that must tell
    // the two cases apart ask is_compiled().
    explicit c_regex(const std::string& pattern);
    c_regex(const c_regex& other);
    c_regex& operator=(const c_regex& other);
    c_regex(c_regex&& other) noexcept;
    c_regex& operator=(c_regex&& other) noexcept;
    virtual ~c_regex();

    // True if the automaton is null, or if it accepts the whole text. A text
    // holding a NUL byte never matches a compiled pattern.
    bool is_match(const std::string& text) const;
    bool is_compiled() const { return m_automaton != nullptr; }
    const std::string& get_pattern() const { return m_pattern; }

private:
    void release();

    std::string m_pattern;
    void* m_automaton;  // libxml2's compiled regular expression, owned
};

// The same object, constructed from a C string (null reads as "").
class c_pattern : public c_regex {
public:
    explicit c_pattern(const char* pattern) : c_regex(pattern ? pattern : "") {}
};

}  // namespace xrt
