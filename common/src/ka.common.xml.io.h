#pragma once
// Shared machinery of the generated bindings (configuration vocabulary and
// workaround registry): the value codecs that check, convert and write the
// text of each leaf, the order list of all-groups, and a small cursor over
// the pull reader that gives the binding classes the few moves they need.
#include "xrt/xrt_error.h"

#include <cstdint>
#include <functional>
#include <ios>
#include <ostream>
#include <string>

namespace xrt {
class c_xml_reader;
class c_xml_writer;
}  // namespace xrt

namespace quorl {

using xrt::exrt_error;

// Result codes the bindings produce themselves.
#define XB_CODE(n, v) constexpr exrt_error n = static_cast<exrt_error>(v);
XB_CODE(XB_OK, 0)
XB_CODE(XB_CANNOT_OPEN, 1)
XB_CODE(XB_ALL_TWICE, 2)
XB_CODE(XB_BAD_CHOICE, 7)
XB_CODE(XB_BAD_END, 10)
XB_CODE(XB_BAD_START_END, 11)
XB_CODE(XB_NOT_FOUND, 16)
XB_CODE(XB_MISSING, 21)
XB_CODE(XB_NO_PATTERN, 22)
XB_CODE(XB_BAD_VALUE_TEXT, 29)
XB_CODE(XB_UNKNOWN_IN_ALL, 30)
XB_CODE(XB_EMPTY_ELEMENT, 32)
XB_CODE(XB_END_OF_MESSAGE, 34)
XB_CODE(XB_BAD_FORMAT, 35)
XB_CODE(XB_ABOVE_MAX, 36)
XB_CODE(XB_BELOW_MIN, 37)
XB_CODE(XB_UNEXPECTED_ATTR, 39)
XB_CODE(XB_UNDEFINED, 42)
XB_CODE(XB_TYPE_NOT_SET, 45)
#undef XB_CODE

// White space modes of leaf values.
enum WsMode { WS_PRESERVE = 0, WS_REPLACE = 1, WS_COLLAPSE = 2 };

// ---- Value codecs ------------------------------------------------------
// Each codec: `type` of the field, `ws` mode of the text, `parse` (returns
// the refusal code or 0) and `append` (adds the normal text form, escaped
// where the text is free).

// Free text, written with the four escapes.
struct TextCodec {
    using type = std::string;
    static constexpr WsMode ws = WS_PRESERVE;
    static exrt_error parse(const std::string& text, type& out);
    static void append(std::string& out, const type& v);
};

// "true", "false", "1", "0"; written as "true"/"false".
struct FlagCodec {
    using type = bool;
    static constexpr WsMode ws = WS_COLLAPSE;
    static exrt_error parse(const std::string& text, type& out);
    static void append(std::string& out, type v);
};

// Decimal integers checked against the type bounds as texts, so any length
// is refused cleanly before a conversion could overflow.
template <class T>
struct IntCodec {
    using type = T;
    static constexpr WsMode ws = WS_COLLAPSE;
    static exrt_error parse(const std::string& text, type& out);
    static void append(std::string& out, type v);
};

// Addresses stay text in the binding: "0x" and 1..Digits hex digits, white
// space kept (so blanks are refused). Checked by a pattern compiled once.
template <int Digits>
struct AddrCodec {
    using type = std::string;
    static constexpr WsMode ws = WS_PRESERVE;
    static exrt_error parse(const std::string& text, type& out);
    static void append(std::string& out, const type& v);
    // Converts checked text to the number (hexadecimal stream extraction).
    static uint64_t toNumber(const std::string& text);
    // "0x" then lower-case hex without leading zeros.
    static std::string toText(uint64_t v);
};

template <class T>
struct RealCodec {
    using type = T;
    static constexpr WsMode ws = WS_COLLAPSE;
    static exrt_error parse(const std::string& text, type& out);
    static void append(std::string& out, type v);
};

bool matchesAddressPattern(const std::string& text, int digits);

// ---- Order list of an all-group ------------------------------------------
// The kinds of child seen, in order: "present" is "in the list", a second
// occurrence is refused, and marshal writes in list order.
class OrderList {
public:
    static constexpr int capacity = 8;
    bool has(int kind) const;
    // False if the kind was there already.
    bool add(int kind);
    int size() const { return count; }
    int at(int i) const { return kinds[i]; }
    void clear() { count = 0; }

private:
    unsigned char kinds[capacity] = {};
    unsigned char count = 0;
};

// ---- Reader cursor -------------------------------------------------------
// The moves of the generated code over the pull reader: start tags, their
// attributes, leaf values and end tags, with one event of look-ahead so that
// a sequence can leave an unplaced start tag for the enclosing end check.
class BindReader {
public:
    enum Kind { START, END, TEXT, EOI, FAIL };

    explicit BindReader(xrt::c_xml_reader& reader);

    // Next start or end tag (text between complex children is an error
    // event to the caller). The event stays current until consume().
    Kind peek();
    void consume() { pending = false; }
    // peek() for a binding class: the reader's own error and the end of
    // input stop here (reported for context).
    exrt_error peekTag(const char* context, Kind& k);
    // Whether k is the start tag of the unprefixed child element.
    bool startsChild(Kind k, const char* element) const { return k == START && !curPrefixed && curName == element; }
    const std::string& name() const { return curName; }
    bool prefixed() const { return curPrefixed; }

    // After a start tag: takes its XML attributes (xmlns by the reader,
    // schema instance ones skipped, others 39) and reports "/>".
    exrt_error finishStart(const char* element, bool& selfClosed);
    // Reads a leaf: its start tag was peeked and is consumed here.
    exrt_error readValue(const char* element, WsMode ws, std::string& out);
    // The end tag of a complex element; 10 on anything else.
    exrt_error endTag(const char* element);

    // Records a code through the reader's error hook; returns the hook's result.
    exrt_error fail(exrt_error code, const std::string& item, int line);
    exrt_error readerError();

    // Guards the nesting of blocks against running out of stack.
    int depth = 0;
    static constexpr int maxDepth = 1000;

    xrt::c_xml_reader& raw() { return r; }

private:
    xrt::c_xml_reader& r;
    bool pending = false;
    Kind cur = EOI;
    std::string curName;
    bool curPrefixed = false;
};

#define XB_FAIL(rd, code, item) (rd).fail((code), (item), __LINE__)

// ---- Files --------------------------------------------------------------------
// How replaceFile makes its temporary file: unnamed where the file system
// allows it (a named one otherwise), or named from the start.
enum class SaveMethod { Automatic, NamedTemporary };

// Replaces the file at path (a symbolic link is followed) by what write puts
// on the stream, never losing the old text: the complete text goes to a
// temporary file in the same folder, which takes the original's permissions,
// is synced, and is renamed over the target. A folder that takes no new file
// while the target is writable gets the target rewritten in place. SIGINT and
// SIGTERM during the call remove the temporary file and then end the process.
// Returns 0, or the errno value of the failure (EINVAL when write returned
// false or the stream failed); on failure the original is untouched.
int replaceFile(const std::string& path, const std::function<bool(std::ostream&)>& write,
                SaveMethod method = SaveMethod::Automatic);

// The same as a bool; errno holds the reason of a false result. openMode is
// kept for callers and has no effect (the text is written as bytes).
bool replaceFileSafely(const std::string& path, std::ios_base::openmode openMode,
                       const std::function<bool(std::ostream&)>& write);

// ---- Writer helpers ---------------------------------------------------------
// Records a code through the writer's error hook; returns the hook's result.
exrt_error writerFail(xrt::c_xml_writer& w, exrt_error code, const char* item, int line);

// Start and end of a complex element, one per line at the writer's depth.
void writeStart(xrt::c_xml_writer& w, const char* element);
void writeEnd(xrt::c_xml_writer& w, const char* element);
// A leaf on one line: indent, <e>, text, </e>, composed in a buffer and
// handed to the stream in one write.
std::string& beginLeaf(const char* element);
void endLeaf(xrt::c_xml_writer& w, std::string& line, const char* element);
template <class Codec, class V>
void writeLeaf(xrt::c_xml_writer& w, const char* element, const V& v) {
    std::string& line = beginLeaf(element);
    Codec::append(line, v);
    endLeaf(w, line, element);
}

// Reads a leaf through its codec; the refusal goes through the error hook
// with the element's name.
template <class Codec>
exrt_error readLeaf(BindReader& r, const char* element, typename Codec::type& out) {
    std::string text;
    if (exrt_error e = r.readValue(element, Codec::ws, text)) return e;
    if (exrt_error e = Codec::parse(text, out)) return XB_FAIL(r, e, element);
    return XB_OK;
}

// Reads the leaf of a sequence that must come next: 21 if another element
// comes, the end of input or the reader's error as peekTag gives them.
template <class Codec>
exrt_error readRequired(BindReader& r, const char* context, const char* element, typename Codec::type& out) {
    BindReader::Kind k;
    if (exrt_error e = r.peekTag(context, k)) return e;
    if (!r.startsChild(k, element)) return XB_FAIL(r, XB_MISSING, element);
    return readLeaf<Codec>(r, element, out);
}

}  // namespace quorl
