#include "rq7/PlanText.h"

#include "rq7/Fields.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace rq7 {

std::string hexValue(uint64_t value, unsigned widthBits) {
    char text[24];
    const int digits = widthBits > 32 ? 16 : 8;
    std::snprintf(text, sizeof text, "0x%0*llx", digits, static_cast<unsigned long long>(value));
    return text;
}

std::string spaceText(const std::string& space) { return space.empty() ? "-" : space; }

void printPlanText(std::ostream& out, const std::vector<Access>& accesses) {
    enum { Op, Module, Register, Space, Address, Width, Value, Columns };
    std::vector<std::array<std::string, Columns>> rows;
    rows.reserve(accesses.size());
    std::array<size_t, Columns> widths{};
    for (const Access& access : accesses) {
        std::array<std::string, Columns> row = {
            access.op == Access::Op::Read ? "read" : "write",
            access.module.empty() ? "-" : access.module,
            access.reg.empty() ? "-" : access.reg,
            spaceText(access.space),
            hexValue(access.address, access.address > 0xffffffffu ? 64 : 32),
            std::to_string(access.width),
            hexValue(access.value, access.width)};
        for (size_t i = 0; i < Columns; ++i) widths[i] = std::max(widths[i], row[i].size());
        rows.push_back(std::move(row));
    }
    std::string line;
    for (size_t r = 0; r < rows.size(); ++r) {
        line.clear();
        for (size_t i = 0; i < Columns; ++i) {
            const std::string& cell = rows[r][i];
            // Numbers align right, names left.
            const std::string pad(widths[i] - cell.size(), ' ');
            line += i == Width ? pad + cell : cell + pad;
            if (i + 1 < Columns) line += "  ";
        }
        const std::string fields = describeFields(accesses[r].reg, accesses[r].value);
        if (!fields.empty())
            line += "  " + fields;
        else
            line.erase(line.find_last_not_of(' ') + 1);
        line += '\n';
        out << line;
    }
}

}  // namespace rq7
