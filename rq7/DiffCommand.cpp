// rq7 diff: two configurations compared by the registers their runs write.
#include "rq7/Cli.h"
#include "rq7/Fields.h"
#include "rq7/Plan.h"
#include "rq7/PlanArgs.h"
#include "rq7/PlanText.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <sstream>
#include <tuple>

namespace rq7 {

namespace po = boost::program_options;

const char* const diffHelp =
    "Usage: rq7 diff [-d] A B [--image IMAGE]\n"
    "\n"
    "Compares the register plans of two configuration files (see 'rq7 help plan').\n"
    "First, one line for each register whose final written value differs, or that\n"
    "only one plan writes: module, register, memory space and address, both values\n"
    "and the fields that differ. Then, where the two runs write their common\n"
    "registers in another order, a unified-diff-like listing of that order.\n"
    "\n"
    "Options:\n"
    "  -d, --disable   compare disable runs\n"
    "  --image IMAGE   answer reads from this memory image (gta-sim's format)\n"
    "  -h, --help      this text\n"
    "\n"
    "Neither file is written. Exit status: 0 when the plans are equal, 1 when they\n"
    "differ, 2 on a usage error or a file that cannot be loaded.\n";

namespace {

using Key = std::pair<std::string, uint64_t>;  // memory space, address

std::map<Key, const Access*> finalWrites(const Plan& plan) {
    std::map<Key, const Access*> writes;
    for (const Access& access : plan.accesses)
        if (access.op == Access::Op::Write) writes[{access.space, access.address}] = &access;
    return writes;
}

std::string where(const Access& access) {
    return spaceText(access.space) + ":" + hexValue(access.address, 32);
}

std::string named(const Access& access) {
    return (access.module.empty() ? "-" : access.module) + "  " + (access.reg.empty() ? "-" : access.reg) + "  " +
           where(access);
}

// Lines for registers whose final values differ; returns their count.
size_t printValueDifferences(std::ostream& out, const Plan& a, const Plan& b) {
    const auto inA = finalWrites(a);
    const auto inB = finalWrites(b);
    std::map<Key, std::pair<const Access*, const Access*>> both;
    for (const auto& entry : inA) both[entry.first].first = entry.second;
    for (const auto& entry : inB) both[entry.first].second = entry.second;
    size_t count = 0;
    for (const auto& entry : both) {
        const Access* x = entry.second.first;
        const Access* y = entry.second.second;
        if (x && y && x->value == y->value) continue;
        ++count;
        const Access& shown = x ? *x : *y;
        out << named(shown) << ": " << (x ? hexValue(x->value, x->width) : "(not written)") << " -> "
            << (y ? hexValue(y->value, y->width) : "(not written)");
        if (x && y)
            for (const std::string& field : differingFields(shown.reg, x->value, y->value)) out << "  " << field;
        out << "\n";
    }
    return count;
}

// The writes of `plan` to registers that both plans write, in order.
std::vector<const Access*> commonWrites(const Plan& plan, const std::map<Key, const Access*>& other) {
    std::vector<const Access*> writes;
    for (const Access& access : plan.accesses)
        if (access.op == Access::Op::Write && other.count({access.space, access.address})) writes.push_back(&access);
    return writes;
}

bool sameKey(const Access* x, const Access* y) {
    return x->space == y->space && x->address == y->address;
}

// Edit script of the middle part by the longest common subsequence; larger
// middles are shown as a whole replacement.
const size_t MaxLcsCells = size_t(1) << 22;

void printHunk(std::ostream& out, const std::vector<const Access*>& x, size_t xBegin, size_t xEnd,
               const std::vector<const Access*>& y, size_t yBegin, size_t yEnd) {
    out << "@@ -" << xBegin + 1 << "," << xEnd - xBegin << " +" << yBegin + 1 << "," << yEnd - yBegin << " @@\n";
    const size_t n = xEnd - xBegin, m = yEnd - yBegin;
    if (n * m > MaxLcsCells) {
        for (size_t i = xBegin; i < xEnd; ++i) out << "-" << named(*x[i]) << "\n";
        for (size_t j = yBegin; j < yEnd; ++j) out << "+" << named(*y[j]) << "\n";
        return;
    }
    // lcs[i][j]: common length of x[i..] and y[j..].
    std::vector<uint32_t> lcs((n + 1) * (m + 1), 0);
    auto at = [&](size_t i, size_t j) -> uint32_t& { return lcs[i * (m + 1) + j]; };
    for (size_t i = n; i-- > 0;)
        for (size_t j = m; j-- > 0;)
            at(i, j) =
                sameKey(x[xBegin + i], y[yBegin + j]) ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
    size_t i = 0, j = 0;
    while (i < n || j < m) {
        if (i < n && j < m && sameKey(x[xBegin + i], y[yBegin + j])) {
            out << " " << named(*x[xBegin + i]) << "\n";
            ++i, ++j;
        } else if (j < m && (i == n || at(i, j + 1) >= at(i + 1, j))) {
            out << "+" << named(*y[yBegin + j++]) << "\n";
        } else {
            out << "-" << named(*x[xBegin + i++]) << "\n";
        }
    }
}

// The order section; false when the common registers are written in one order.
bool printOrderDifference(std::ostream& out, const Plan& a, const Plan& b, const std::string& nameA,
                          const std::string& nameB) {
    const auto x = commonWrites(a, finalWrites(b));
    const auto y = commonWrites(b, finalWrites(a));
    size_t prefix = 0;
    while (prefix < x.size() && prefix < y.size() && sameKey(x[prefix], y[prefix])) ++prefix;
    if (prefix == x.size() && prefix == y.size()) return false;
    size_t suffix = 0;
    while (suffix < x.size() - prefix && suffix < y.size() - prefix &&
           sameKey(x[x.size() - 1 - suffix], y[y.size() - 1 - suffix]))
        ++suffix;
    out << "order of writes to registers both write:\n--- " << nameA << "\n+++ " << nameB << "\n";
    printHunk(out, x, prefix, x.size() - suffix, y, prefix, y.size() - suffix);
    return true;
}

}  // namespace

int diffCommand(const std::vector<std::string>& args) {
    po::options_description options;
    addPlanOptions(options);
    options.add_options()("files", po::value<std::vector<std::string>>(), "");
    po::positional_options_description positional;
    positional.add("files", 2);
    const po::variables_map values = parseArguments(args, options, positional);
    if (!values.count("files") || values["files"].as<std::vector<std::string>>().size() != 2)
        throw UsageError("two files needed: A B");
    const auto files = values["files"].as<std::vector<std::string>>();

    gtasim::MemoryImage image;
    const PlanOptions planOptions = planOptionsOf(values, image);
    const Plan a = makePlan(files[0], planOptions);
    const Plan b = makePlan(files[1], planOptions);

    std::ostringstream out;
    bool differ = printValueDifferences(out, a, b) != 0;
    differ = printOrderDifference(out, a, b, files[0], files[1]) || differ;
    if (a.success != b.success) {
        differ = true;
        out << "the run of " << (a.success ? files[1] : files[0]) << " would fail, the other succeed\n";
    }
    std::cout << out.str() << std::flush;
    return differ ? EXIT_FAIL : EXIT_OK;
}

}  // namespace rq7
