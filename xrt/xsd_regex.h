#pragma once
// Pattern facets: XML Schema regular expressions matched against a whole
// text. Sequences of literal characters and bracket classes with counts are
// compiled here; other patterns by libxml2's automaton builder, loaded on
// first need.
//
// Compile once and keep the object: compilation builds an automaton, while a
// match is a plain run over the text. A compiled object may be matched from
// several threads at once.
#include <memory>
#include <string>

namespace xrt {

struct simple_pattern;

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
    bool is_compiled() const { return m_simple || m_automaton; }
    const std::string& get_pattern() const { return m_pattern; }

private:
    void compile();
    void release();

    std::string m_pattern;
    std::unique_ptr<simple_pattern> m_simple;  // set for patterns of the simple kind
    void* m_automaton;                         // libxml2's compiled regular expression, owned
};

// The same object, constructed from a C string (null reads as "").
class c_pattern : public c_regex {
public:
    explicit c_pattern(const char* pattern) : c_regex(pattern ? pattern : "") {}
};

}  // namespace xrt
