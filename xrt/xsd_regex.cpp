#include "xrt/xsd_regex.h"

#include <dlfcn.h>
#include <libxml/xmlregexp.h>

#include <bitset>
#include <cstring>
#include <utility>
#include <vector>

namespace xrt {

// The patterns of the configuration vocabulary are sequences of literal
// characters and bracket classes with counts ("0x[0-9a-fA-F]{1,8}"). Those
// are matched here without libxml2; any other pattern goes to libxml2's
// automaton, and only then is the library loaded, so that runs which never
// meet such a pattern do not pay for loading it and ICU.
struct simple_pattern {
    struct atom {
        std::bitset<128> chars;  // ASCII only: a multi-byte character never matches
        std::size_t min = 1, max = 1;
    };
    std::vector<atom> atoms;
};

namespace {

constexpr std::size_t k_unbounded = static_cast<std::size_t>(-1);

// Characters that stand for themselves both outside and inside brackets in
// the schema's pattern language. Everything else makes the pattern "not
// simple" and sends it to libxml2, which knows the whole language.
bool plain(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ',' ||
           c == ';' || c == ':' || c == '=' || c == '@' || c == '/' || c == '#';
}

bool parse_count(const std::string& p, std::size_t& i, std::size_t& out) {
    const std::size_t start = i;
    out = 0;
    while (i < p.size() && p[i] >= '0' && p[i] <= '9' && i - start < 9) out = out * 10 + (p[i++] - '0');
    return i > start && (i == p.size() || p[i] < '0' || p[i] > '9');
}

bool parse_quantifier(const std::string& p, std::size_t& i, simple_pattern::atom& a) {
    if (i >= p.size()) return true;
    switch (p[i]) {
        case '?':
            a.min = 0, a.max = 1, ++i;
            return true;
        case '*':
            a.min = 0, a.max = k_unbounded, ++i;
            return true;
        case '+':
            a.min = 1, a.max = k_unbounded, ++i;
            return true;
        case '{':
            break;
        default:
            return true;
    }
    ++i;
    if (!parse_count(p, i, a.min)) return false;
    a.max = a.min;
    if (i < p.size() && p[i] == ',') {
        ++i;
        a.max = k_unbounded;
        if (i < p.size() && p[i] != '}' && !parse_count(p, i, a.max)) return false;
    }
    if (i >= p.size() || p[i] != '}' || a.min > a.max) return false;
    ++i;
    return true;
}

// Null if the pattern is outside the simple subset.
std::unique_ptr<simple_pattern> parse_simple(const std::string& p) {
    auto program = std::make_unique<simple_pattern>();
    std::size_t i = 0;
    while (i < p.size()) {
        simple_pattern::atom a;
        if (plain(p[i])) {
            a.chars.set(static_cast<unsigned char>(p[i++]));
        } else if (p[i] == '[') {
            ++i;
            bool any = false;
            while (i < p.size() && p[i] != ']') {
                const char lo = p[i];
                if (!plain(lo)) return nullptr;
                char hi = lo;
                if (i + 2 < p.size() && p[i + 1] == '-' && p[i + 2] != ']') {
                    hi = p[i + 2];
                    if (!plain(hi) || hi < lo) return nullptr;
                    i += 2;
                }
                for (int c = lo; c <= hi; ++c) a.chars.set(static_cast<unsigned>(c));
                ++i;
                any = true;
            }
            if (i >= p.size() || !any) return nullptr;
            ++i;
        } else {
            return nullptr;
        }
        if (!parse_quantifier(p, i, a)) return nullptr;
        program->atoms.push_back(a);
    }
    return program;
}

// Whole-text match: the set of text positions reachable after each atom,
// spread over the run of matching characters from each reachable position.
bool run_simple(const simple_pattern& program, const std::string& text) {
    const std::size_t n = text.size();
    // Attribute values are short: their positions fit on the stack.
    constexpr std::size_t k_short = 64;
    char shortReach[k_short + 1];
    int shortNext[k_short + 2];
    std::vector<char> longReach;
    std::vector<int> longNext;
    if (n > k_short) longReach.resize(n + 1), longNext.resize(n + 2);
    char* reach = n > k_short ? longReach.data() : shortReach;
    int* next = n > k_short ? longNext.data() : shortNext;
    std::fill(reach, reach + n + 1, 0);
    reach[0] = 1;
    for (const auto& a : program.atoms) {
        std::fill(next, next + n + 2, 0);
        // next is filled as a difference array of position intervals.
        std::size_t run = 0;  // matching characters from position p onwards
        for (std::size_t p = n + 1; p-- > 0;) {
            const auto c = p < n ? static_cast<unsigned char>(text[p]) : 0x80u;
            run = (c < 0x80 && a.chars.test(c)) ? run + 1 : 0;
            if (!reach[p] || run < a.min) continue;
            const std::size_t last = p + (a.max == k_unbounded || run < a.max ? run : a.max);
            ++next[p + a.min];
            --next[last + 1];
        }
        bool any = false;
        int depth = 0;
        for (std::size_t p = 0; p <= n; ++p) {
            depth += next[p];
            reach[p] = depth > 0;
            any = any || reach[p];
        }
        if (!any) return false;
    }
    return reach[n] != 0;
}

// libxml2's regular expression calls, reached through the loader on first
// need. Null members if the library cannot be loaded: patterns then stay
// uncompiled, as if they failed to compile.
struct libxml2_regexp {
    decltype(&xmlRegexpCompile) compile = nullptr;
    decltype(&xmlRegexpExec) exec = nullptr;
    decltype(&xmlRegFreeRegexp) free = nullptr;

    libxml2_regexp() {
        void* lib = dlopen("libxml2.so.2", RTLD_NOW | RTLD_LOCAL);
        if (!lib) return;
        compile = reinterpret_cast<decltype(compile)>(dlsym(lib, "xmlRegexpCompile"));
        exec = reinterpret_cast<decltype(exec)>(dlsym(lib, "xmlRegexpExec"));
        free = reinterpret_cast<decltype(free)>(dlsym(lib, "xmlRegFreeRegexp"));
        if (!compile || !exec || !free) compile = nullptr;
    }
};

const libxml2_regexp& libxml2() {
    static const libxml2_regexp calls;
    return calls;
}

}  // namespace

c_regex::c_regex(const std::string& pattern) : m_pattern(pattern), m_automaton(nullptr) {
    compile();
}

c_regex::c_regex(const c_regex& other) : m_pattern(other.m_pattern), m_automaton(nullptr) {
    compile();
}

c_regex& c_regex::operator=(const c_regex& other) {
    if (this != &other) {
        c_regex copy(other);
        *this = std::move(copy);
    }
    return *this;
}

c_regex::c_regex(c_regex&& other) noexcept
    : m_pattern(std::move(other.m_pattern)),
      m_simple(std::move(other.m_simple)),
      m_automaton(std::exchange(other.m_automaton, nullptr)) {}

c_regex& c_regex::operator=(c_regex&& other) noexcept {
    if (this != &other) {
        release();
        m_pattern = std::move(other.m_pattern);
        m_simple = std::move(other.m_simple);
        m_automaton = std::exchange(other.m_automaton, nullptr);
    }
    return *this;
}

c_regex::~c_regex() {
    release();
}

void c_regex::compile() {
    // A pattern with a NUL byte would be cut short by the C interface.
    if (m_pattern.find('\0') != std::string::npos) return;
    m_simple = parse_simple(m_pattern);
    if (m_simple) return;
    if (const auto& lib = libxml2(); lib.compile)
        m_automaton = lib.compile(reinterpret_cast<const xmlChar*>(m_pattern.c_str()));
}

void c_regex::release() {
    if (m_automaton) libxml2().free(static_cast<xmlRegexpPtr>(m_automaton));
    m_automaton = nullptr;
    m_simple.reset();
}

bool c_regex::is_match(const std::string& text) const {
    if (!is_compiled()) return true;
    if (text.find('\0') != std::string::npos) return false;
    if (m_simple) return run_simple(*m_simple, text);
    // 1 is a match, 0 none, a negative value an internal failure.
    return libxml2().exec(static_cast<xmlRegexpPtr>(m_automaton), reinterpret_cast<const xmlChar*>(text.c_str())) == 1;
}

}  // namespace xrt
