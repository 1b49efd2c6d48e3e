#include "common/src/workaround.xml.h"

#include "xrt/xml_reader.h"
#include "xrt/xml_writer.h"

#include <fstream>
#include <sstream>

namespace quorl {

namespace {

const xrt::s_ns_map noNamespaces[] = {{nullptr, nullptr, 0}};

// readRequired that also marks the field present.
template <class Codec>
exrt_error readRequired(BindReader& r, const char* context, const char* element, typename Codec::type& out,
                        bool& present) {
    if (exrt_error e = quorl::readRequired<Codec>(r, context, element, out)) return e;
    present = true;
    return XB_OK;
}

}  // namespace

// ---- The generated surface ---------------------------------------------------

template <class D>
exrt_error c_WorkaroundElement<D>::marshal(const char* path) const {
    std::ofstream os(path, std::ios::out | std::ios::trunc | std::ios::binary);
    if (!os.is_open()) return XB_CANNOT_OPEN;
    return self().marshal(os);
}

template <class D>
exrt_error c_WorkaroundElement<D>::marshal(std::string& out) const {
    std::ostringstream os;
    exrt_error e = self().marshal(os);
    out = os.str();
    return e;
}

template <class D>
exrt_error c_WorkaroundElement<D>::marshal(std::ostream& os) const {
    xrt::c_xml_writer w(os);
    return self().marshal(w);
}

template <class D>
exrt_error c_WorkaroundElement<D>::marshal(xrt::c_xml_writer& w, const char* name) const {
    const char* element = name ? name : D::element_name();
    writeStart(w, element);
    if (exrt_error e = marshal_attributes(w)) return e;
    if (exrt_error e = self().marshal_child_elements(w)) return e;
    writeEnd(w, element);
    return XB_OK;
}

template <class D>
exrt_error c_WorkaroundElement<D>::unmarshal(const char* path) {
    xrt::c_xml_reader_file reader(path);
    if (!reader.is_open()) return XB_CANNOT_OPEN;
    return self().unmarshal(reader);
}

template <class D>
exrt_error c_WorkaroundElement<D>::unmarshal(const char* data, size_t length) {
    xrt::c_xml_reader_memory reader(data, length);
    return self().unmarshal(reader);
}

template <class D>
exrt_error c_WorkaroundElement<D>::unmarshal(xrt::c_xml_reader& reader) {
    return unmarshal(reader, D::element_name());
}

template <class D>
exrt_error c_WorkaroundElement<D>::unmarshal(xrt::c_xml_reader& reader, const char* expected) {
    BindReader r(reader);
    const BindReader::Kind k = r.peek();
    if (k == BindReader::FAIL) return r.readerError();
    if (k != BindReader::START) return XB_FAIL(r, XB_NOT_FOUND, expected);
    if (!r.startsChild(k, expected)) return XB_FAIL(r, XB_NOT_FOUND, r.name());
    return unmarshal(r, expected);
}

template <class D>
exrt_error c_WorkaroundElement<D>::unmarshal_attributes(BindReader& r, bool& selfClosed) {
    return r.finishStart(D::element_name(), selfClosed);
}

template <class D>
exrt_error c_WorkaroundElement<D>::unmarshal(BindReader& r, const char* expected) {
    r.consume();
    bool selfClosed = false;
    if (exrt_error e = unmarshal_attributes(r, selfClosed)) return e;
    if (selfClosed) return D::may_be_empty() ? XB_OK : XB_FAIL(r, XB_EMPTY_ELEMENT, expected);
    if (exrt_error e = self().unmarshal_body(r)) return e;
    return r.endTag(expected);
}

template <class D>
const xrt::s_ns_map* c_WorkaroundElement<D>::ns_map() {
    return noNamespaces;
}

template class c_WorkaroundElement<c_Workaround>;
template class c_WorkaroundElement<c_Workarounds>;
template class c_WorkaroundElement<c_WorkaroundsRegistry>;
template class c_WorkaroundElement<c_WorkaroundsRegistry_2>;

// ---- Workaround --------------------------------------------------------------

exrt_error c_Workaround::marshal_child_elements(xrt::c_xml_writer& w) const {
    writeLeaf<IntCodec<uint32_t>>(w, "Id", id);
    writeLeaf<IntCodec<int32_t>>(w, "State", state);
    writeLeaf<IntCodec<int32_t>>(w, "Priority", priority);
    writeLeaf<TextCodec>(w, "SocName", socName);
    return XB_OK;
}

exrt_error c_Workaround::unmarshal_body(BindReader& r) {
    if (exrt_error e = readRequired<IntCodec<uint32_t>>(r, "Workaround", "Id", id, hasId)) return e;
    if (exrt_error e = readRequired<IntCodec<int32_t>>(r, "Workaround", "State", state, hasState)) return e;
    if (exrt_error e = readRequired<IntCodec<int32_t>>(r, "Workaround", "Priority", priority, hasPriority)) return e;
    return readRequired<TextCodec>(r, "Workaround", "SocName", socName, hasSocName);
}

// ---- Workarounds -------------------------------------------------------------

exrt_error c_Workarounds::marshal_child_elements(xrt::c_xml_writer& w) const {
    for (const c_Workaround& item : items)
        if (exrt_error e = item.marshal(w)) return e;
    return XB_OK;
}

exrt_error c_Workarounds::unmarshal_body(BindReader& r) {
    for (;;) {
        BindReader::Kind k;
        if (exrt_error e = r.peekTag("Workarounds", k)) return e;
        if (!r.startsChild(k, "Workaround")) return XB_OK;
        items.emplace_back();
        if (exrt_error e = items.back().unmarshal(r, "Workaround")) return e;
    }
}

// ---- WorkaroundsRegistry -----------------------------------------------------

exrt_error c_WorkaroundsRegistry::marshal_child_elements(xrt::c_xml_writer& w) const {
    writeLeaf<TextCodec>(w, "Version", version);
    if (hasWorkarounds) return workarounds.marshal(w);
    return XB_OK;
}

exrt_error c_WorkaroundsRegistry::unmarshal_body(BindReader& r) {
    if (exrt_error e = readRequired<TextCodec>(r, "WorkaroundsRegistry", "Version", version, hasVersion)) return e;
    BindReader::Kind k;
    if (exrt_error e = r.peekTag("WorkaroundsRegistry", k)) return e;
    if (!r.startsChild(k, "Workarounds")) return XB_OK;
    if (exrt_error e = workarounds.unmarshal(r, "Workarounds")) return e;
    hasWorkarounds = true;
    return XB_OK;
}

// ---- The root choice ---------------------------------------------------------

namespace {
const char* const rootNames[] = {"Workaround", "Workarounds", "WorkaroundsRegistry"};

int rootKindOf(const std::string& name) {
    for (int k = 0; k < c_WorkaroundsRegistry_2::kind_not_set; ++k)
        if (name == rootNames[k]) return k;
    return c_WorkaroundsRegistry_2::kind_not_set;
}
}  // namespace

c_WorkaroundsRegistry_2::c_WorkaroundsRegistry_2(const c_WorkaroundsRegistry_2& o) : kind(o.kind) {
    if (o.workaround) workaround.reset(new c_Workaround(*o.workaround));
    if (o.workarounds) workarounds.reset(new c_Workarounds(*o.workarounds));
    if (o.registry) registry.reset(new c_WorkaroundsRegistry(*o.registry));
}

c_WorkaroundsRegistry_2& c_WorkaroundsRegistry_2::operator=(const c_WorkaroundsRegistry_2& o) {
    if (this != &o) {
        c_WorkaroundsRegistry_2 copy(o);
        swap(copy);
    }
    return *this;
}

void c_WorkaroundsRegistry_2::swap(c_WorkaroundsRegistry_2& o) {
    std::swap(kind, o.kind);
    workaround.swap(o.workaround);
    workarounds.swap(o.workarounds);
    registry.swap(o.registry);
}

void c_WorkaroundsRegistry_2::select(int newKind) {
    workaround.reset();
    workarounds.reset();
    registry.reset();
    kind = newKind;
    switch (newKind) {
        case kind_Workaround:
            workaround.reset(new c_Workaround);
            break;
        case kind_Workarounds:
            workarounds.reset(new c_Workarounds);
            break;
        case kind_WorkaroundsRegistry:
            registry.reset(new c_WorkaroundsRegistry);
            break;
        default:
            kind = kind_not_set;
            break;
    }
}

bool c_WorkaroundsRegistry_2::is_member(xrt::c_xml_reader&, const std::string& name) {
    return rootKindOf(name) != kind_not_set;
}

exrt_error c_WorkaroundsRegistry_2::marshal(xrt::c_xml_writer& w, const char* name) const {
    switch (kind) {
        case kind_Workaround:
            return workaround->marshal(w, name);
        case kind_Workarounds:
            return workarounds->marshal(w, name);
        case kind_WorkaroundsRegistry:
            return registry->marshal(w, name);
        default:
            return writerFail(w, XB_BAD_CHOICE, "{anonymous compositor}", __LINE__);
    }
}

exrt_error c_WorkaroundsRegistry_2::marshal_child_elements(xrt::c_xml_writer& w) const {
    switch (kind) {
        case kind_Workaround:
            return workaround->marshal_child_elements(w);
        case kind_Workarounds:
            return workarounds->marshal_child_elements(w);
        case kind_WorkaroundsRegistry:
            return registry->marshal_child_elements(w);
        default:
            return writerFail(w, XB_BAD_CHOICE, "{anonymous compositor}", __LINE__);
    }
}

exrt_error c_WorkaroundsRegistry_2::unmarshal(xrt::c_xml_reader& reader) {
    BindReader r(reader);
    const BindReader::Kind k = r.peek();
    if (k == BindReader::FAIL) return r.readerError();
    if (k != BindReader::START) return XB_FAIL(r, XB_NOT_FOUND, "WorkaroundsRegistry");
    const int found = r.prefixed() ? kind_not_set : rootKindOf(r.name());
    if (found == kind_not_set) return XB_FAIL(r, XB_NOT_FOUND, r.name());
    select(found);
    switch (kind) {
        case kind_Workaround:
            return workaround->unmarshal(r, rootNames[kind]);
        case kind_Workarounds:
            return workarounds->unmarshal(r, rootNames[kind]);
        default:
            return registry->unmarshal(r, rootNames[kind]);
    }
}

}  // namespace quorl
