#include "common/src/ka.common.xml.h"

#include "xrt/xml_reader.h"
#include "xrt/xml_writer.h"

#include <cstring>
#include <sstream>
#include <unordered_map>

namespace quorl {

namespace {

// Consumes the start tag of a complex element and refuses "/>".
exrt_error openComplex(BindReader& r, const char* element) {
    r.consume();
    bool selfClosed = false;
    if (exrt_error e = r.finishStart(element, selfClosed)) return e;
    if (selfClosed) return XB_FAIL(r, XB_EMPTY_ELEMENT, element);
    return XB_OK;
}

// Reads an optional leaf of a sequence if it comes next.
template <class Codec>
exrt_error readOptional(BindReader& r, const char* context, const char* element, typename Codec::type& out,
                        bool& present) {
    BindReader::Kind k;
    if (exrt_error e = r.peekTag(context, k)) return e;
    if (!r.startsChild(k, element)) return XB_OK;
    present = true;
    return readLeaf<Codec>(r, element, out);
}

// The loop of an all-group: children in any order, each at most once, until
// the end tag; then the required ones are checked and the end tag read.
// `rows` names the children; `readChild(id)` reads one whose start tag is
// current.
template <class ReadChild>
exrt_error unmarshalAllGroup(BindReader& r, const char* element, const ChildRow* rows, int rowCount, OrderList& order,
                             ReadChild readChild) {
    for (;;) {
        BindReader::Kind k;
        if (exrt_error e = r.peekTag(element, k)) return e;
        if (k != BindReader::START) break;
        const ChildRow* row = nullptr;
        if (!r.prefixed())
            for (int i = 0; i < rowCount; ++i)
                if (r.name() == rows[i].name) row = &rows[i];
        if (!row) return XB_FAIL(r, XB_UNKNOWN_IN_ALL, r.name());
        if (order.has(row->id)) return XB_FAIL(r, XB_ALL_TWICE, r.name());
        if (exrt_error e = readChild(row->id)) return e;
        order.add(row->id);
    }
    for (int i = 0; i < rowCount; ++i)
        if (rows[i].required && !order.has(rows[i].id)) return XB_FAIL(r, XB_MISSING, element);
    return r.endTag(element);
}

}  // namespace

// ---- Ranges ------------------------------------------------------------------

namespace {
const ChildRow intRangeRows[] = {{0, "MinValue", false}, {1, "MaxValue", false}};
}

template <AttributeKind K>
exrt_error c_IntRange<K>::unmarshal(BindReader& r) {
    r.consume();
    bool selfClosed = false;
    if (exrt_error e = r.finishStart(name, selfClosed)) return e;
    if (selfClosed) return XB_OK;  // ranges may be empty
    return unmarshalAllGroup(r, name, intRangeRows, 2, order, [&](int id) {
        return readLeaf<Codec>(r, intRangeRows[id].name, id == MinValue ? minValue : maxValue);
    });
}

template <AttributeKind K>
exrt_error c_IntRange<K>::marshal(xrt::c_xml_writer& w) const {
    writeStart(w, name);
    for (int i = 0; i < order.size(); ++i) {
        const int id = order.at(i);
        writeLeaf<Codec>(w, intRangeRows[id].name, id == MinValue ? minValue : maxValue);
    }
    writeEnd(w, name);
    return XB_OK;
}

template <AttributeKind K, bool IsMax>
exrt_error c_RealBound<K, IsMax>::unmarshal(BindReader& r) {
    if (exrt_error e = openComplex(r, name)) return e;
    const ChildRow rows[] = {{Value, valueName, true}, {Inclusive, inclusiveName, false}};
    return unmarshalAllGroup(r, name, rows, 2, order, [&](int id) {
        if (id == Value) return readLeaf<Codec>(r, valueName, value);
        return readLeaf<FlagCodec>(r, inclusiveName, inclusive);
    });
}

template <AttributeKind K, bool IsMax>
exrt_error c_RealBound<K, IsMax>::marshal(xrt::c_xml_writer& w) const {
    writeStart(w, name);
    for (int i = 0; i < order.size(); ++i) {
        if (order.at(i) == Value)
            writeLeaf<Codec>(w, valueName, value);
        else
            writeLeaf<FlagCodec>(w, inclusiveName, inclusive);
    }
    writeEnd(w, name);
    return XB_OK;
}

template <AttributeKind K>
exrt_error c_RealRange<K>::unmarshal(BindReader& r) {
    r.consume();
    bool selfClosed = false;
    if (exrt_error e = r.finishStart(name, selfClosed)) return e;
    if (selfClosed) return XB_OK;
    BindReader::Kind k;
    if (exrt_error e = r.peekTag(name, k)) return e;
    if (r.startsChild(k, Min::name)) {
        if (exrt_error e = minBound.unmarshal(r)) return e;
        hasMin = true;
        if (exrt_error e = r.peekTag(name, k)) return e;
    }
    if (r.startsChild(k, Max::name)) {
        if (exrt_error e = maxBound.unmarshal(r)) return e;
        hasMax = true;
    }
    return r.endTag(name);
}

template <AttributeKind K>
exrt_error c_RealRange<K>::marshal(xrt::c_xml_writer& w) const {
    writeStart(w, name);
    if (hasMin) minBound.marshal(w);
    if (hasMax) maxBound.marshal(w);
    writeEnd(w, name);
    return XB_OK;
}

// ---- Extras ------------------------------------------------------------------

const ChildRow NoExtra::rows[] = {{-1, "", false}};

const ChildRow BoolExtra::rows[] = {{AC_ValueDescription, "ValueDescription", false}};

exrt_error BoolExtra::read(int, BindReader& r) {
    return readLeaf<TextCodec>(r, "ValueDescription", valueDescription);
}

void BoolExtra::write(int, xrt::c_xml_writer& w) const {
    writeLeaf<TextCodec>(w, "ValueDescription", valueDescription);
}

const ChildRow EnumExtra::rows[] = {{AC_EnumValues, "EnumValues", true}, {AC_AllowMultiple, "AllowMultiple", false}};

exrt_error EnumExtra::read(int id, BindReader& r) {
    if (id == AC_EnumValues) return readLeaf<TextCodec>(r, "EnumValues", enumValues);
    return readLeaf<FlagCodec>(r, "AllowMultiple", allowMultiple);
}

void EnumExtra::write(int id, xrt::c_xml_writer& w) const {
    if (id == AC_EnumValues)
        writeLeaf<TextCodec>(w, "EnumValues", enumValues);
    else
        writeLeaf<FlagCodec>(w, "AllowMultiple", allowMultiple);
}

// ---- Attribute elements ------------------------------------------------------

namespace {
// The four children every attribute element has, in the order of a sequence.
const ChildRow commonRows[] = {{AC_Name, "Name", true},
                               {AC_DefaultValue, "DefaultValue", true},
                               {AC_Mutable, "Mutable", false},
                               {AC_ReadOnly, "ReadOnly", false}};
constexpr int commonRowCount = 4;

// The rows of one kind: the common four, then its extras.
template <class Extra>
struct KindRows {
    ChildRow rows[commonRowCount + 2];
    int count = 0;
    KindRows() {
        for (const ChildRow& c : commonRows) rows[count++] = c;
        for (int i = 0; i < Extra::rowCount; ++i) rows[count++] = Extra::rows[i];
    }
};
}  // namespace

template <AttributeKind K>
exrt_error c_Attribute<K>::readChild(int id, BindReader& r) {
    switch (id) {
        case AC_Name:
            return readLeaf<TextCodec>(r, "Name", fileName);
        case AC_DefaultValue:
            return readLeaf<Codec>(r, "DefaultValue", value);
        case AC_Mutable:
            return readLeaf<FlagCodec>(r, "Mutable", mutableFlag);
        case AC_ReadOnly:
            return readLeaf<FlagCodec>(r, "ReadOnly", readOnly);
        default:
            return ext.read(id, r);
    }
}

template <AttributeKind K>
void c_Attribute<K>::writeChild(int id, xrt::c_xml_writer& w) const {
    switch (id) {
        case AC_Name:
            writeLeaf<TextCodec>(w, "Name", fileName);
            break;
        case AC_DefaultValue:
            writeLeaf<Codec>(w, "DefaultValue", value);
            break;
        case AC_Mutable:
            writeLeaf<FlagCodec>(w, "Mutable", mutableFlag);
            break;
        case AC_ReadOnly:
            writeLeaf<FlagCodec>(w, "ReadOnly", readOnly);
            break;
        default:
            ext.write(id, w);
            break;
    }
}

template <AttributeKind K>
exrt_error c_Attribute<K>::unmarshal(BindReader& r) {
    if (exrt_error e = openComplex(r, name)) return e;
    static const KindRows<Extra> table;
    if (!sequence)
        return unmarshalAllGroup(r, name, table.rows, table.count, order, [&](int id) { return readChild(id, r); });
    for (int i = 0; i < table.count; ++i) {
        const ChildRow& row = table.rows[i];
        BindReader::Kind k;
        if (exrt_error e = r.peekTag(name, k)) return e;
        if (r.startsChild(k, row.name)) {
            if (exrt_error e = readChild(row.id, r)) return e;
            order.add(row.id);
        } else if (row.required) {
            return XB_FAIL(r, XB_MISSING, row.name);
        }
    }
    return r.endTag(name);
}

template <AttributeKind K>
exrt_error c_Attribute<K>::marshal(xrt::c_xml_writer& w) const {
    writeStart(w, name);
    if (sequence) {
        static const KindRows<Extra> table;
        for (int i = 0; i < table.count; ++i)
            if (order.has(table.rows[i].id)) writeChild(table.rows[i].id, w);
    } else {
        for (int i = 0; i < order.size(); ++i) writeChild(order.at(i), w);
    }
    writeEnd(w, name);
    return XB_OK;
}

// Every attribute element and its range (the bounds of a real range come
// with the range).
#define RQ7_INSTANTIATE_KIND(Kind, Index, Value, Codec, Range, Form) \
    template class c_Attribute<AttributeKind::Kind>;                 \
    template class Range<AttributeKind::Kind>;
RQ7_ATTRIBUTE_KINDS(RQ7_INSTANTIATE_KIND)
#undef RQ7_INSTANTIATE_KIND

// ---- The choice --------------------------------------------------------------

namespace {
struct ChoiceRow {
    const char* name;
    c_Element* (*make)();
};
template <class C>
c_Element* makeElement() {
    return new C();
}
constexpr bool sameText(const char* a, const char* b) {
    while (*a && *a == *b) ++a, ++b;
    return *a == *b;
}
// Choice numbers in file-vocabulary order; ConfigBlock closes the list.
#define RQ7_CHOICE_ROW(Kind, ...) {c_##Kind##Attribute::name, &makeElement<c_##Kind##Attribute>},
constexpr ChoiceRow choiceRows[] = {RQ7_ATTRIBUTE_KINDS(RQ7_CHOICE_ROW){"ConfigBlock", &makeElement<c_ConfigBlock>}};
#undef RQ7_CHOICE_ROW
constexpr int choiceCount = sizeof(choiceRows) / sizeof(choiceRows[0]);
static_assert(choiceCount == kAttributeKindCount + 1 &&
                  kAttributeKindCount == c_anon_StringAttribute::kind_ConfigBlock &&
                  choiceCount == c_anon_StringAttribute::kind_not_set,
              "choice table out of step");
// The binding's choice number of each kind selects that kind's element, so
// an attribute never comes back from the file as another kind or none.
#define RQ7_CHECK_CHOICE(Kind, Index, ...)                                                                     \
    static_assert(c_##Kind##Attribute::index == Index &&                                                       \
                      sameText(choiceRows[Index].name, AttributeKindTraits<AttributeKind::Kind>::elementName), \
                  #Kind ": choice row out of step with the kind");
RQ7_ATTRIBUTE_KINDS(RQ7_CHECK_CHOICE)
#undef RQ7_CHECK_CHOICE
}  // namespace

c_anon_StringAttribute::c_anon_StringAttribute(const c_anon_StringAttribute& o)
    : kind(o.kind), object(o.object ? o.object->clone_element() : nullptr) {}

c_anon_StringAttribute& c_anon_StringAttribute::operator=(const c_anon_StringAttribute& o) {
    if (this != &o) {
        c_anon_StringAttribute copy(o);
        *this = std::move(copy);
    }
    return *this;
}

c_anon_StringAttribute::~c_anon_StringAttribute() = default;

void c_anon_StringAttribute::select(int newKind) {
    object.reset();
    kind = newKind;
    if (newKind >= 0 && newKind < choiceCount) object.reset(choiceRows[newKind].make());
}

void c_anon_StringAttribute::set_kind_only(int newKind) {
    object.reset();
    kind = newKind;
}

int c_anon_StringAttribute::kindOf(const std::string& element) {
    // Asked once per child of every block: one hash instead of fourteen compares.
    static const std::unordered_map<std::string, int> index = [] {
        std::unordered_map<std::string, int> m;
        for (int k = 0; k < choiceCount; ++k) m.emplace(choiceRows[k].name, k);
        return m;
    }();
    const auto it = index.find(element);
    return it == index.end() ? kind_not_set : it->second;
}

exrt_error c_anon_StringAttribute::unmarshal(BindReader& r) {
    select(kindOf(r.name()));
    if (!object) return XB_FAIL(r, XB_BAD_CHOICE, "{anonymous compositor}");
    return object->unmarshal(r);
}

exrt_error c_anon_StringAttribute::marshal(xrt::c_xml_writer& w) const {
    if (kind == kind_not_set) return XB_OK;
    if (kind < 0 || kind > kind_not_set) return writerFail(w, XB_BAD_CHOICE, "{anonymous compositor}", __LINE__);
    if (!object) return writerFail(w, XB_TYPE_NOT_SET, choiceRows[kind].name, __LINE__);
    return object->marshal(w);
}

// ---- ConfigBlock -------------------------------------------------------------

exrt_error c_ConfigBlock::unmarshal(BindReader& r) {
    if (r.depth >= BindReader::maxDepth) return XB_FAIL(r, XB_UNDEFINED, "ConfigBlock");
    struct DepthGuard {
        int& d;
        explicit DepthGuard(int& depth) : d(depth) { ++d; }
        ~DepthGuard() { --d; }
    } guard(r.depth);

    if (exrt_error e = openComplex(r, "ConfigBlock")) return e;
    if (exrt_error e = readRequired<TextCodec>(r, "ConfigBlock", "Name", name)) return e;
    if (exrt_error e = readOptional<FlagCodec>(r, "ConfigBlock", "Mutable", mutableFlag, hasMutable)) return e;
    for (;;) {
        BindReader::Kind k;
        if (exrt_error e = r.peekTag("ConfigBlock", k)) return e;
        if (k != BindReader::START || r.prefixed()) break;
        const int kind = c_anon_StringAttribute::kindOf(r.name());
        if (kind == c_anon_StringAttribute::kind_not_set) break;
        children.emplace_back();
        if (exrt_error e = children.back().unmarshal(r)) return e;
    }
    return r.endTag("ConfigBlock");
}

void c_ConfigBlock::marshal_open(xrt::c_xml_writer& w) const {
    writeStart(w, "ConfigBlock");
    writeLeaf<TextCodec>(w, "Name", name);
    if (hasMutable) writeLeaf<FlagCodec>(w, "Mutable", mutableFlag);
}

void c_ConfigBlock::marshal_close(xrt::c_xml_writer& w) const {
    writeEnd(w, "ConfigBlock");
}

exrt_error c_ConfigBlock::marshal(xrt::c_xml_writer& w) const {
    marshal_open(w);
    for (const c_anon_StringAttribute& c : children)
        if (exrt_error e = c.marshal(w)) return e;
    marshal_close(w);
    return XB_OK;
}

// ---- Configuration -----------------------------------------------------------

exrt_error c_Configuration::unmarshal(BindReader& r) {
    static const char* const self = "Configuration";
    if (exrt_error e = openComplex(r, self)) return e;
    if (exrt_error e = readRequired<TextCodec>(r, self, "Name", name)) return e;
    if (exrt_error e = readRequired<TextCodec>(r, self, "Version", version)) return e;
    if (exrt_error e = readOptional<TextCodec>(r, self, "Comments", comments, hasComments)) return e;
    BindReader::Kind k;
    for (;;) {
        if (exrt_error e = r.peekTag(self, k)) return e;
        if (!r.startsChild(k, "ConfigBlock")) break;
        blocks.emplace_back();
        if (exrt_error e = blocks.back().unmarshal(r)) return e;
    }
    if (r.startsChild(k, "default")) {
        // An empty "default" counts as false; anything else is a flag.
        std::string text;
        if (exrt_error e = r.readValue("default", FlagCodec::ws, text)) return e;
        hasDefault = true;
        if (text.empty())
            defaultFlag = false;
        else if (exrt_error e = FlagCodec::parse(text, defaultFlag))
            return XB_FAIL(r, e, "default");
    }
    return r.endTag(self);
}

void c_Configuration::marshal_open(xrt::c_xml_writer& w) const {
    writeStart(w, "Configuration");
    writeLeaf<TextCodec>(w, "Name", name);
    writeLeaf<TextCodec>(w, "Version", version);
    if (hasComments) writeLeaf<TextCodec>(w, "Comments", comments);
}

void c_Configuration::marshal_close(xrt::c_xml_writer& w) const {
    if (hasDefault) writeLeaf<FlagCodec>(w, "default", defaultFlag);
    writeEnd(w, "Configuration");
}

exrt_error c_Configuration::marshal(xrt::c_xml_writer& w) const {
    marshal_open(w);
    for (const c_ConfigBlock& b : blocks)
        if (exrt_error e = b.marshal(w)) return e;
    marshal_close(w);
    return XB_OK;
}

// ---- QUORL -------------------------------------------------------------------

c_QUORL::c_QUORL(const char* path, exrt_error* err) {
    exrt_error result = XB_UNDEFINED;
    xrt::c_xml_reader_file reader(path);
    if (!reader.is_open())
        result = XB_CANNOT_OPEN;
    else
        result = unmarshal(reader);
    if (err) *err = result;
}

c_QUORL::c_QUORL(const char* data, size_t length, exrt_error* err) {
    xrt::c_xml_reader_memory reader(data, length);
    exrt_error result = unmarshal(reader);
    if (err) *err = result;
}

exrt_error c_QUORL::unmarshal(xrt::c_xml_reader& reader) {
    BindReader r(reader);
    const BindReader::Kind k = r.peek();
    if (k == BindReader::FAIL) return r.readerError();
    if (k != BindReader::START) return XB_FAIL(r, XB_NOT_FOUND, "QUORL");
    if (r.prefixed() || r.name() != "QUORL") return XB_FAIL(r, XB_NOT_FOUND, r.name());
    return unmarshal(r);
}

exrt_error c_QUORL::unmarshal(BindReader& r) {
    if (exrt_error e = openComplex(r, "QUORL")) return e;
    BindReader::Kind k;
    if (exrt_error e = r.peekTag("QUORL", k)) return e;
    if (!r.startsChild(k, "Configuration")) return XB_FAIL(r, XB_MISSING, "Configuration");
    if (exrt_error e = configuration.unmarshal(r)) return e;
    hasConfiguration = true;
    return r.endTag("QUORL");
}

exrt_error c_QUORL::marshal(xrt::c_xml_writer& w) const {
    writeStart(w, "QUORL");
    if (exrt_error e = configuration.marshal(w)) return e;
    writeEnd(w, "QUORL");
    return XB_OK;
}

exrt_error c_QUORL::marshal(std::ostream& os) const {
    xrt::c_xml_writer w(os);
    return marshal(w);
}

}  // namespace quorl
