#pragma once
// Binding of the workaround registry: a list of workarounds by identifier,
// state and priority for a named system-on-chip. A library facility: no run
// of the tool reads a registry.
//
// Every class has the same generated surface (constructors from a file,
// memory or a string, marshal and unmarshal in several forms), provided once
// by c_WorkaroundElement; each class adds its children.
#include "common/src/ka.common.xml.io.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace xrt {
struct s_ns_map;
}

namespace quorl {

// The generated surface over a class D that provides
//   static const char* element_name();
//   exrt_error marshal_child_elements(xrt::c_xml_writer&) const;
//   exrt_error unmarshal_body(BindReader&);   // children, start tag done
//   static bool may_be_empty();               // "/>" accepted
template <class D>
class c_WorkaroundElement {
public:
    virtual ~c_WorkaroundElement() = default;

    // Whole documents.
    exrt_error marshal(const char* path) const;
    exrt_error marshal(std::string& out) const;
    exrt_error marshal(std::ostream& os) const;
    // The element at the writer's depth, under a name (default: its own).
    exrt_error marshal(xrt::c_xml_writer& w, const char* name = nullptr) const;
    exrt_error marshal_attributes(xrt::c_xml_writer&) const { return XB_OK; }

    exrt_error unmarshal(const char* path);
    exrt_error unmarshal(const char* data, size_t length);
    // A document whose root must be this element.
    exrt_error unmarshal(xrt::c_xml_reader& reader);
    exrt_error unmarshal(xrt::c_xml_reader& reader, const char* expected);
    // The element whose start tag is current in the cursor.
    exrt_error unmarshal(BindReader& r, const char* expected);
    exrt_error unmarshal_attributes(BindReader& r, bool& selfClosed);

    static const xrt::s_ns_map* ns_map();

protected:
    D& self() { return static_cast<D&>(*this); }
    const D& self() const { return static_cast<const D&>(*this); }
};

class c_Workaround : public c_WorkaroundElement<c_Workaround> {
public:
    c_Workaround() = default;
    c_Workaround(const char* path, exrt_error* err) { *err = unmarshal(path); }
    c_Workaround(const char* data, size_t length, exrt_error* err) { *err = unmarshal(data, length); }
    c_Workaround(const std::string& text, exrt_error* err) { *err = unmarshal(text.data(), text.size()); }

    uint32_t get_Id() const { return id; }
    exrt_error set_Id(uint32_t v) {
        id = v;
        hasId = true;
        return XB_OK;
    }
    int32_t get_State() const { return state; }
    exrt_error set_State(int32_t v) {
        state = v;
        hasState = true;
        return XB_OK;
    }
    int32_t get_Priority() const { return priority; }
    exrt_error set_Priority(int32_t v) {
        priority = v;
        hasPriority = true;
        return XB_OK;
    }
    const std::string& get_SocName() const { return socName; }
    exrt_error set_SocName(const std::string& v) {
        socName = v;
        hasSocName = true;
        return XB_OK;
    }

    bool is_occurs_ok() const { return hasId && hasState && hasPriority && hasSocName; }
    void reset() { *this = c_Workaround(); }
    void swap(c_Workaround& o) { std::swap(*this, o); }

    static const char* element_name() { return "Workaround"; }
    static bool may_be_empty() { return false; }
    exrt_error marshal_child_elements(xrt::c_xml_writer& w) const;
    exrt_error unmarshal_body(BindReader& r);

private:
    uint32_t id = 0;
    int32_t state = 0;
    int32_t priority = 0;
    std::string socName;
    bool hasId = false, hasState = false, hasPriority = false, hasSocName = false;
};

class c_Workarounds : public c_WorkaroundElement<c_Workarounds> {
public:
    c_Workarounds() = default;
    c_Workarounds(const char* path, exrt_error* err) { *err = unmarshal(path); }
    c_Workarounds(const char* data, size_t length, exrt_error* err) { *err = unmarshal(data, length); }
    c_Workarounds(const std::string& text, exrt_error* err) { *err = unmarshal(text.data(), text.size()); }

    size_t size_Workaround() const { return items.size(); }
    const c_Workaround& get_Workaround(size_t i) const { return items.at(i); }
    c_Workaround& get_Workaround(size_t i) { return items.at(i); }
    c_Workaround& append_Workaround() {
        items.emplace_back();
        return items.back();
    }
    c_Workaround& back_Workaround() { return items.back(); }
    c_Workaround& insert_Workaround(size_t i) { return *items.emplace(items.begin() + static_cast<long>(i)); }
    void delete_Workaround(size_t i) { items.erase(items.begin() + static_cast<long>(i)); }
    void clear_Workaround() { items.clear(); }
    void assign_Workaround(size_t i, const c_Workaround& v) { items.at(i) = v; }

    bool is_occurs_ok() const { return true; }
    void reset() { items.clear(); }
    void swap(c_Workarounds& o) { items.swap(o.items); }

    static const char* element_name() { return "Workarounds"; }
    static bool may_be_empty() { return true; }
    exrt_error marshal_child_elements(xrt::c_xml_writer& w) const;
    exrt_error unmarshal_body(BindReader& r);

private:
    std::vector<c_Workaround> items;
};

class c_WorkaroundsRegistry : public c_WorkaroundElement<c_WorkaroundsRegistry> {
public:
    c_WorkaroundsRegistry() = default;
    c_WorkaroundsRegistry(const char* path, exrt_error* err) { *err = unmarshal(path); }
    c_WorkaroundsRegistry(const char* data, size_t length, exrt_error* err) { *err = unmarshal(data, length); }
    c_WorkaroundsRegistry(const std::string& text, exrt_error* err) { *err = unmarshal(text.data(), text.size()); }

    const std::string& get_Version() const { return version; }
    exrt_error set_Version(const std::string& v) {
        version = v;
        hasVersion = true;
        return XB_OK;
    }
    bool has_Workarounds() const { return hasWorkarounds; }
    const c_Workarounds& get_Workarounds() const { return workarounds; }
    void assign_Workarounds(const c_Workarounds& v) {
        workarounds = v;
        hasWorkarounds = true;
    }

    bool is_occurs_ok() const { return hasVersion; }
    void reset() { *this = c_WorkaroundsRegistry(); }
    void swap(c_WorkaroundsRegistry& o) { std::swap(*this, o); }

    static const char* element_name() { return "WorkaroundsRegistry"; }
    static bool may_be_empty() { return false; }
    exrt_error marshal_child_elements(xrt::c_xml_writer& w) const;
    exrt_error unmarshal_body(BindReader& r);

private:
    std::string version;
    bool hasVersion = false;
    c_Workarounds workarounds;
    bool hasWorkarounds = false;
};

// The root choice: a document may hold any of the three elements.
class c_WorkaroundsRegistry_2 : public c_WorkaroundElement<c_WorkaroundsRegistry_2> {
public:
    enum Kind { kind_Workaround = 0, kind_Workarounds = 1, kind_WorkaroundsRegistry = 2, kind_not_set = 3 };

    c_WorkaroundsRegistry_2() = default;
    c_WorkaroundsRegistry_2(const char* path, exrt_error* err) { *err = unmarshal(path); }
    c_WorkaroundsRegistry_2(const char* data, size_t length, exrt_error* err) { *err = unmarshal(data, length); }
    c_WorkaroundsRegistry_2(const std::string& text, exrt_error* err) { *err = unmarshal(text.data(), text.size()); }
    c_WorkaroundsRegistry_2(const c_WorkaroundsRegistry_2& o);
    c_WorkaroundsRegistry_2& operator=(const c_WorkaroundsRegistry_2& o);

    int get_kind() const { return kind; }
    // Chooses a kind; the old object is deleted.
    void select(int newKind);
    c_Workaround* get_Workaround() const { return kind == kind_Workaround ? workaround.get() : nullptr; }
    c_Workarounds* get_Workarounds() const { return kind == kind_Workarounds ? workarounds.get() : nullptr; }
    c_WorkaroundsRegistry* get_WorkaroundsRegistry() const {
        return kind == kind_WorkaroundsRegistry ? registry.get() : nullptr;
    }

    bool is_occurs_ok() const { return kind != kind_not_set; }
    void reset() { select(kind_not_set); }
    void swap(c_WorkaroundsRegistry_2& o);
    // Whether the name starts one of the three kinds.
    static bool is_member(xrt::c_xml_reader& reader, const std::string& name);

    static const char* element_name() { return nullptr; }
    static bool may_be_empty() { return false; }
    // The children of the chosen kind; the body is read through unmarshal(reader).
    exrt_error marshal_child_elements(xrt::c_xml_writer& w) const;
    exrt_error unmarshal_body(BindReader&) { return XB_UNDEFINED; }
    // The root is whatever kind is chosen, under its own name.
    exrt_error marshal(xrt::c_xml_writer& w, const char* name = nullptr) const;
    exrt_error marshal(const char* path) const { return Base::marshal(path); }
    exrt_error marshal(std::string& out) const { return Base::marshal(out); }
    exrt_error marshal(std::ostream& os) const { return Base::marshal(os); }
    exrt_error unmarshal(xrt::c_xml_reader& reader);
    exrt_error unmarshal(const char* path) { return Base::unmarshal(path); }
    exrt_error unmarshal(const char* data, size_t length) { return Base::unmarshal(data, length); }

private:
    using Base = c_WorkaroundElement<c_WorkaroundsRegistry_2>;
    int kind = kind_not_set;
    std::unique_ptr<c_Workaround> workaround;
    std::unique_ptr<c_Workarounds> workarounds;
    std::unique_ptr<c_WorkaroundsRegistry> registry;
};

}  // namespace quorl
