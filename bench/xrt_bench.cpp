// Speed and memory of the XML runtime against libxml2, on the same bytes in
// the same run.
//
//   xrt_bench [benchmark flags]   timings, then the ratio and a memory table
//   xrt_bench --rss IMPL MB       one round trip in this process, prints the
//                                 peak resident size before and after (KiB)
//   xrt_bench --once IMPL MB [FILE]  one round trip (IMPL xrt or libxml2), for
//                                 callgrind; with FILE, the input goes to FILE
//                                 and the xrt output to FILE.out
//
// The xrt side reads the document the way the configuration binding does:
// events, token tables, value elements in their white space modes, integer
// bounds, address patterns, float and flag checks, and writes it back through
// the writer with the binding's layout and escapes. The libxml2 side parses
// the bytes into its tree and saves it to memory.
#include "bench/config_document.h"
#include "xrt/xml_reader.h"
#include "xrt/xml_writer.h"
#include "xrt/xsd_regex.h"
#include "xrt/xsd_values.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <ostream>
#include <streambuf>
#include <string>

namespace {

using namespace xrt;

// ---- The vocabulary as the round trip needs it ---------------------------

// What a value element holds; the number kinds of DefaultValue, MinValue and
// MaxValue come from the enclosing attribute element.
enum value_kind {
    vk_complex,
    vk_text,
    vk_bool,
    vk_int32,
    vk_uint32,
    vk_int64,
    vk_uint64,
    vk_addr32,
    vk_addr64,
    vk_float,
    vk_double,
    vk_inherit,  // value: from the context; complex: passes its context on
};

struct element_info {
    const char* name;
    value_kind value;    // vk_complex for elements with children
    value_kind context;  // for complex elements: the kind their values take
};

const element_info k_elements[] = {
    {"QUORL", vk_complex, vk_text},
    {"Configuration", vk_complex, vk_text},
    {"ConfigBlock", vk_complex, vk_text},
    {"StringAttribute", vk_complex, vk_text},
    {"PathAttribute", vk_complex, vk_text},
    {"FileAttribute", vk_complex, vk_text},
    {"Int32Attribute", vk_complex, vk_int32},
    {"UInt32Attribute", vk_complex, vk_uint32},
    {"Int64Attribute", vk_complex, vk_int64},
    {"UInt64Attribute", vk_complex, vk_uint64},
    {"Addr32Attribute", vk_complex, vk_addr32},
    {"Addr64Attribute", vk_complex, vk_addr64},
    {"FloatAttribute", vk_complex, vk_float},
    {"DoubleAttribute", vk_complex, vk_double},
    {"BoolAttribute", vk_complex, vk_bool},
    {"EnumAttribute", vk_complex, vk_text},
    {"Int32Range", vk_complex, vk_inherit},
    {"UInt32Range", vk_complex, vk_inherit},
    {"Int64Range", vk_complex, vk_inherit},
    {"UInt64Range", vk_complex, vk_inherit},
    {"Addr32Range", vk_complex, vk_inherit},
    {"Addr64Range", vk_complex, vk_inherit},
    {"FloatRange", vk_complex, vk_inherit},
    {"DoubleRange", vk_complex, vk_inherit},
    {"MinFloatValue", vk_complex, vk_inherit},
    {"MaxFloatValue", vk_complex, vk_inherit},
    {"MinDoubleValue", vk_complex, vk_inherit},
    {"MaxDoubleValue", vk_complex, vk_inherit},
    {"Name", vk_text, vk_text},
    {"Version", vk_text, vk_text},
    {"Comments", vk_text, vk_text},
    {"ValueDescription", vk_text, vk_text},
    {"EnumValues", vk_text, vk_text},
    {"DefaultValue", vk_inherit, vk_text},
    {"MinValue", vk_inherit, vk_text},
    {"MaxValue", vk_inherit, vk_text},
    {"Mutable", vk_bool, vk_text},
    {"ReadOnly", vk_bool, vk_text},
    {"AllowMultiple", vk_bool, vk_text},
    {"MinInclusive", vk_bool, vk_text},
    {"MaxInclusive", vk_bool, vk_text},
    {"default", vk_bool, vk_text},
};
constexpr int k_element_count = sizeof k_elements / sizeof k_elements[0];

struct token_table {
    s_xml_token rows[k_element_count + 1];
    token_table() {
        for (int i = 0; i < k_element_count; ++i)
            rows[i] = {1, k_elements[i].name, static_cast<unsigned>(std::strlen(k_elements[i].name)),
                       xe_first_token + i};
        rows[k_element_count] = {0, nullptr, 0, 0};
    }
};
const token_table k_tokens;

struct integer_bounds {
    const char* min;
    const char* max;
};

integer_bounds bounds_of(value_kind kind) {
    switch (kind) {
        case vk_int32:
            return {"-2147483648", "2147483647"};
        case vk_uint32:
            return {"0", "4294967295"};
        case vk_int64:
            return {"-9223372036854775808", "9223372036854775807"};
        default:
            return {"0", "18446744073709551615"};
    }
}

const c_regex& address_pattern(value_kind kind) {
    static const c_regex addr32("0x[0-9a-fA-F]{1,8}");
    static const c_regex addr64("0x[0-9a-fA-F]{1,16}");
    return kind == vk_addr32 ? addr32 : addr64;
}

// ---- xrt round trip ------------------------------------------------------

class xrt_round_trip {
public:
    xrt_round_trip(c_xml_reader& reader, c_xml_writer* writer) : m_reader(reader), m_writer(writer) {}

    // True if the whole document was read (and written) without an error.
    bool run() {
        if (m_reader.get_next_event() != xe_start) return false;
        const int token = m_reader.tokenise(k_tokens.rows, true);
        return token == xe_first_token && element(token, vk_text);
    }

private:
    bool element(int token, value_kind context) {
        const element_info& info = k_elements[token - xe_first_token];
        if (info.value != vk_complex) return value_element(info, info.value == vk_inherit ? context : info.value);
        bool self_closed = false;
        for (;;) {
            const int event = m_reader.get_next_event();
            if (event == xe_start_tag_end) break;
            if (event == xe_end_tag) {
                self_closed = true;
                break;
            }
            return false;  // an attribute or an error
        }
        if (m_writer) {
            (*m_writer)(true) << '<' << info.name;
            m_writer->write_namespaces();
            m_writer->stream() << '>' << m_writer->endl();
            m_writer->indent();
        }
        const value_kind inner = info.context == vk_inherit ? context : info.context;
        if (!self_closed) {
            for (;;) {
                if (m_reader.get_next_event() != xe_start) {
                    m_reader.restore_event();
                    break;
                }
                const int child = m_reader.tokenise(k_tokens.rows, true);
                if (child < xe_first_token || !element(child, inner)) return false;
            }
            if (!m_reader.test_end_tag(info.name)) return false;
        }
        if (m_writer) {
            m_writer->undent();
            (*m_writer)(true) << "</" << info.name << '>' << m_writer->endl();
        }
        return true;
    }

    bool value_element(const element_info& info, value_kind kind) {
        bool self_closed = false;
        if (!m_reader.skip_start_tag(self_closed)) return false;
        m_value.clear();
        const bool kept = kind == vk_text || kind == vk_addr32 || kind == vk_addr64;
        if (!self_closed) {
            if (!m_reader.get_element_value(m_value, kept ? 0 : 2)) return false;
            if (!m_reader.test_end_tag(info.name)) return false;
        }
        std::ostream* os = m_writer ? &(*m_writer)(true) : nullptr;
        if (os) *os << '<' << info.name << '>';
        switch (kind) {
            case vk_text:
                if (m_writer) m_writer->write_escaped(m_value);
                break;
            case vk_bool:
                if (!is_boolean_text(m_value)) return false;
                if (os) *os << (boolean_value(m_value) ? "true" : "false");
                break;
            case vk_int32:
            case vk_uint32:
            case vk_int64:
            case vk_uint64: {
                const integer_bounds b = bounds_of(kind);
                if (check_integer_text(m_value, b.min, b.max) != e_no_error) return false;
                if (kind == vk_uint64 || kind == vk_uint32) {
                    const unsigned long long v = std::strtoull(m_value.c_str(), nullptr, 10);
                    if (os) *os << v;
                } else {
                    const long long v = std::strtoll(m_value.c_str(), nullptr, 10);
                    if (os) *os << v;
                }
                break;
            }
            case vk_addr32:
            case vk_addr64: {
                if (!address_pattern(kind).is_match(m_value)) return false;
                const unsigned long long v = std::strtoull(m_value.c_str() + 2, nullptr, 16);
                if (os) *os << "0x" << std::hex << v << std::dec;
                break;
            }
            case vk_float:
            case vk_double:
                if (!is_float_text(m_value)) return false;
                if (kind == vk_float) {
                    const float v = float_from_text(m_value);
                    if (os) write_float(*os, v);
                } else {
                    const double v = double_from_text(m_value);
                    if (os) write_double(*os, v);
                }
                break;
            default:
                return false;
        }
        if (os) *os << "</" << info.name << '>' << m_writer->endl();
        return true;
    }

    c_xml_reader& m_reader;
    c_xml_writer* m_writer;
    std::string m_value;
};

// Output into a string that keeps its capacity between runs.
class string_sink : public std::streambuf {
public:
    explicit string_sink(std::string& out) : m_out(out) {}

protected:
    int_type overflow(int_type c) override {
        if (c != traits_type::eof()) m_out.push_back(static_cast<char>(c));
        return c;
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        m_out.append(s, static_cast<size_t>(n));
        return n;
    }

private:
    std::string& m_out;
};

// Output that is only counted, so that memory measures the reader and writer.
class counting_sink : public std::streambuf {
public:
    size_t bytes = 0;

protected:
    int_type overflow(int_type c) override {
        ++bytes;
        return c;
    }
    std::streamsize xsputn(const char*, std::streamsize n) override {
        bytes += static_cast<size_t>(n);
        return n;
    }
};

bool xrt_read_write(const std::string& doc, std::streambuf* out) {
    c_xml_reader_memory reader(doc.data(), doc.size());
    if (!out) return xrt_round_trip(reader, nullptr).run();
    std::ostream os(out);
    c_xml_writer writer(os);
    return xrt_round_trip(reader, &writer).run();
}

// ---- libxml2 -------------------------------------------------------------

size_t libxml2_parse_save(const std::string& doc, bool save) {
    xmlDocPtr tree = xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "bench.xml", nullptr, XML_PARSE_NONET);
    if (!tree) return 0;
    int length = 0;
    if (save) {
        xmlChar* text = nullptr;
        xmlDocDumpMemory(tree, &text, &length);
        xmlFree(text);
    }
    xmlFreeDoc(tree);
    return save ? static_cast<size_t>(length) : 1;
}

// ---- Benchmarks ----------------------------------------------------------

constexpr size_t k_mib = 1024 * 1024;

const std::string& document(size_t mib) {
    static std::map<size_t, std::string> cache;
    std::string& doc = cache[mib];
    if (doc.empty()) doc = rq7bench::make_config_document(mib * k_mib);
    return doc;
}

void BM_xrt_read_write(benchmark::State& state) {
    const std::string& doc = document(static_cast<size_t>(state.range(0)));
    std::string out;
    out.reserve(doc.size() + doc.size() / 4);
    string_sink sink(out);
    for (auto _ : state) {
        out.clear();
        if (!xrt_read_write(doc, &sink)) state.SkipWithError("xrt round trip failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
    state.counters["out_MB"] = static_cast<double>(out.size()) / k_mib;
}

void BM_xrt_read(benchmark::State& state) {
    const std::string& doc = document(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        if (!xrt_read_write(doc, nullptr)) state.SkipWithError("xrt read failed");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void BM_libxml2_parse_save(benchmark::State& state) {
    const std::string& doc = document(static_cast<size_t>(state.range(0)));
    size_t out = 0;
    for (auto _ : state)
        if ((out = libxml2_parse_save(doc, true)) == 0) state.SkipWithError("libxml2 failed");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
    state.counters["out_MB"] = static_cast<double>(out) / k_mib;
}

void BM_libxml2_parse(benchmark::State& state) {
    const std::string& doc = document(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        if (libxml2_parse_save(doc, false) == 0) state.SkipWithError("libxml2 failed");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

BENCHMARK(BM_xrt_read_write)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_libxml2_parse_save)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_xrt_read)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_libxml2_parse)->Arg(10)->Unit(benchmark::kMillisecond);

// Console output as usual, with the throughput of each benchmark kept for
// the summary (the median when runs are repeated). Throughput is counted on
// the process's CPU time: both sides run on one thread, and the wall clock
// also counts whatever else the machine is doing.
class summary_reporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> mb_per_s;

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            const auto it = run.counters.find("bytes_per_second");
            if (it != run.counters.end()) mb_per_s[run.run_name.function_name] = it->second.value / k_mib;
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

// ---- Memory --------------------------------------------------------------

long peak_rss_kib() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// One round trip in this process; prints "before after" peak sizes in KiB.
int rss_mode(const std::string& impl, size_t mib) {
    const std::string doc = rq7bench::make_config_document(mib * k_mib);
    // The patterns and libxml2's globals exist before the first measure.
    address_pattern(vk_addr32);
    xmlInitParser();
    const long before = peak_rss_kib();
    bool ok = false;
    if (impl == "xrt") {
        counting_sink sink;
        ok = xrt_read_write(doc, &sink);
    } else {
        ok = libxml2_parse_save(doc, true) != 0;
    }
    std::printf("%ld %ld\n", before, peak_rss_kib());
    return ok ? 0 : 1;
}

void print_memory_table(const char* self) {
    std::printf("\nPeak resident growth of one round trip (KiB), fresh process per row:\n");
    std::printf("%-8s %6s %10s %10s %10s\n", "impl", "doc MB", "before", "after", "growth");
    for (const char* impl : {"xrt", "libxml2"}) {
        for (size_t mib : {10, 40}) {
            const std::string command = std::string(self) + " --rss " + impl + " " + std::to_string(mib);
            FILE* pipe = popen(command.c_str(), "r");
            long before = 0, after = 0;
            const bool read = pipe && std::fscanf(pipe, "%ld %ld", &before, &after) == 2;
            if (pipe) pclose(pipe);
            if (!read) {
                std::printf("%-8s %6zu   (failed)\n", impl, mib);
                continue;
            }
            std::printf("%-8s %6zu %10ld %10ld %10ld\n", impl, mib, before, after, after - before);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--rss") == 0) return rss_mode(argv[2], std::strtoul(argv[3], nullptr, 10));
    if ((argc == 4 || argc == 5) && std::strcmp(argv[1], "--once") == 0) {
        const bool xrt = std::strcmp(argv[2], "xrt") == 0;
        const std::string doc = rq7bench::make_config_document(std::strtoul(argv[3], nullptr, 10) * k_mib);
        std::string out;
        string_sink sink(out);
        const bool ok = xrt ? xrt_read_write(doc, &sink) : libxml2_parse_save(doc, true) != 0;
        std::printf("in %zu bytes, out %zu bytes, %s\n", doc.size(), out.size(), ok ? "ok" : "FAILED");
        if (argc == 5) {
            if (FILE* f = std::fopen(argv[4], "wb")) {
                std::fwrite(doc.data(), 1, doc.size(), f);
                std::fclose(f);
            }
            const std::string written = std::string(argv[4]) + ".out";
            if (FILE* f = std::fopen(written.c_str(), "wb")) {
                std::fwrite(out.data(), 1, out.size(), f);
                std::fclose(f);
            }
        }
        return ok ? 0 : 1;
    }
    benchmark::Initialize(&argc, argv);
    summary_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    auto ratio_line = [&](const char* what, const char* ours, const char* theirs) {
        const double a = reporter.mb_per_s[ours];
        const double b = reporter.mb_per_s[theirs];
        if (a > 0 && b > 0)
            std::printf("%-16s xrt %7.1f MiB/s   libxml2 %7.1f MiB/s   ratio xrt/libxml2 %.2f\n", what, a, b, a / b);
    };
    std::printf("\nThroughput on CPU time, 10 MiB document:\n");
    ratio_line("read and write", "BM_xrt_read_write", "BM_libxml2_parse_save");
    ratio_line("read only", "BM_xrt_read", "BM_libxml2_parse");
    char self[4096];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n > 0) {
        self[n] = '\0';
        print_memory_table(self);
    }
    benchmark::Shutdown();
    return 0;
}
