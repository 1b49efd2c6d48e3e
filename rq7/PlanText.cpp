#include "rq7/PlanText.h"

#include "rq7/Fields.h"

#include <algorithm>

namespace rq7 {

namespace {

const char Digits[] = "0123456789abcdef";

unsigned hexDigits(unsigned widthBits) {
    return widthBits > 32 ? 16 : 8;
}

void appendHex(std::string& out, uint64_t value, unsigned digits) {
    out += "0x";
    for (unsigned i = digits; i-- > 0;) out += Digits[(value >> (4 * i)) & 0xf];
}

void appendPadded(std::string& out, const std::string& text, size_t width) {
    out += text;
    out.append(width - text.size(), ' ');
}

const std::string Dash = "-";
const std::string& orDash(const std::string& text) {
    return text.empty() ? Dash : text;
}

unsigned addressBits(uint64_t address) {
    return address > 0xffffffffu ? 64 : 32;
}

}  // namespace

std::string hexValue(uint64_t value, unsigned widthBits) {
    std::string text;
    appendHex(text, value, hexDigits(widthBits));
    return text;
}

std::string spaceText(const std::string& space) {
    return orDash(space);
}

void printPlanText(std::ostream& out, const std::vector<Access>& accesses) {
    size_t module = 0, reg = 0, space = 0, address = 0, width = 0;
    for (const Access& a : accesses) {
        module = std::max(module, orDash(a.module).size());
        reg = std::max(reg, orDash(a.reg).size());
        space = std::max(space, orDash(a.space).size());
        address = std::max<size_t>(address, 2 + hexDigits(addressBits(a.address)));
        width = std::max(width, std::to_string(a.width).size());
    }
    std::string line;
    for (const Access& a : accesses) {
        line.clear();
        line += a.op == Access::Op::Read ? "read   " : "write  ";
        appendPadded(line, orDash(a.module), module + 2);
        appendPadded(line, orDash(a.reg), reg + 2);
        appendPadded(line, orDash(a.space), space + 2);
        const size_t at = line.size();
        appendHex(line, a.address, hexDigits(addressBits(a.address)));
        line.append(at + address + 2 - line.size(), ' ');
        const std::string bits = std::to_string(a.width);
        line.append(width - bits.size(), ' ');
        line += bits;
        line += "  ";
        appendHex(line, a.value, hexDigits(a.width));
        const std::string fields = describeFields(a.reg, a.value);
        if (!fields.empty()) {
            line.append(2 + 18 - (2 + hexDigits(a.width)), ' ');
            line += fields;
        }
        line += '\n';
        out << line;
    }
}

}  // namespace rq7
