#pragma once
// Builds short ETMv4 instruction trace streams wrapped in CoreSight frame
// formatting, as a trace sink would store them, for decoder round trips.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace capturetest {

using Bytes = std::vector<uint8_t>;

struct EtmTrace {
    uint64_t address = 0;     // where tracing starts (A64, EL1, non-secure)
    std::vector<bool> atoms;  // true: branch taken (E), false: not taken (N)
    uint64_t timestamp = 0;
};

// Packets: alignment sync, trace info, trace on, timestamp, 64-bit address
// with context, one atom packet per atom.
inline Bytes etmPackets(const EtmTrace& t) {
    Bytes out(11, 0x00);
    out.push_back(0x80);  // A-sync: 11 zeros then 0x80
    out.push_back(0x01);  // trace info
    out.push_back(0x00);  //   no optional sections
    out.push_back(0x04);  // trace on
    out.push_back(0x02);  // timestamp, no cycle count
    uint64_t ts = t.timestamp;
    for (int i = 0; i < 8; ++i) {  // 7 bits a byte, bit 7 says more follow
        const uint8_t low = ts & 0x7F;
        ts >>= 7;
        out.push_back(static_cast<uint8_t>(low | (ts ? 0x80 : 0)));
        if (!ts) break;
    }
    out.push_back(0x85);  // address with context, 64-bit, IS0
    out.push_back((t.address >> 2) & 0x7F);
    out.push_back((t.address >> 9) & 0x7F);
    for (int shift = 16; shift < 64; shift += 8) out.push_back(static_cast<uint8_t>(t.address >> shift));
    out.push_back(0x31);  // context: EL1, 64-bit, non-secure, no VMID or context ID
    for (bool taken : t.atoms) out.push_back(taken ? 0xF7 : 0xF6);  // atom format 1
    return out;
}

// CoreSight formatter frames of 16 bytes: an ID byte for `traceId`, then
// data; even bytes keep their low bit in the frame's last byte. The tail is
// data of the null ID 0, which decoders drop.
inline Bytes coresightFrames(uint8_t traceId, const Bytes& data) {
    Bytes out;
    size_t next = 0;
    while (next < data.size()) {
        uint8_t frame[16] = {};
        frame[0] = static_cast<uint8_t>(traceId << 1 | 1);  // new ID, for the byte after it
        bool padding = false;
        for (int i = 1; i < 15; ++i) {
            if (i % 2) {
                frame[i] = padding ? 0 : data[next++];
                if (next == data.size()) padding = true;
            } else if (padding || data.size() - next == 1) {
                if (!padding) frame[15] |= static_cast<uint8_t>(1 << (i / 2));  // after the last byte
                frame[i] = 0x01;                                                // ID 0 from here
                padding = true;
                if (frame[15] & (1 << (i / 2))) frame[++i] = data[next++];
                for (++i; i < 15; ++i) frame[i] = 0;
            } else {
                const uint8_t byte = data[next++];
                frame[i] = byte & 0xFE;
                frame[15] |= static_cast<uint8_t>((byte & 1) << (i / 2));
                if (next == data.size()) padding = true;
            }
        }
        out.insert(out.end(), frame, frame + 16);
    }
    return out;
}

// A64 code the trace above runs through: two NOPs then B.NE back to the
// start, so an E atom loops and an N atom falls through to a final NOP.
inline Bytes loopCode() {
    const uint32_t words[] = {0xD503201F, 0xD503201F, 0x54FFFFC1, 0xD503201F, 0xD503201F};
    Bytes out;
    for (uint32_t w : words)
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(w >> (8 * i)));
    return out;
}

}  // namespace capturetest
