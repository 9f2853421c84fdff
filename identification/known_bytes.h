// The single-byte tests as data: the bytes that each encoding defines. A test accepts a text that is not empty exactly
// when all its bytes are in the set; IsIso8859_1 limits symbols besides.
#pragma once

#include <cstdint>
#include <initializer_list>

namespace zucharset {

// A set of byte values.
struct ByteSet {
    uint32_t au32Bits[8];

    constexpr bool has(uint8_t u8Byte) const { return (au32Bits[u8Byte / 32] >> (u8Byte % 32) & 1) != 0; }
    constexpr void add(uint8_t u8Byte) { au32Bits[u8Byte / 32] |= 1u << (u8Byte % 32); }
    constexpr void remove(uint8_t u8Byte) { au32Bits[u8Byte / 32] &= ~(1u << (u8Byte % 32)); }

    constexpr bool includes(const ByteSet &stOther) const {
        for (int i = 0; i < 8; ++i) {
            if ((stOther.au32Bits[i] & ~au32Bits[i]) != 0)
                return false;
        }
        return true;
    }
};

struct ByteRange {
    uint8_t u8First;
    uint8_t u8Last;

    constexpr ByteRange(int32_t s32Only) : ByteRange(s32Only, s32Only) {}
    constexpr ByteRange(int32_t s32First, int32_t s32Last)
        : u8First(static_cast<uint8_t>(s32First)), u8Last(static_cast<uint8_t>(s32Last)) {}
};

constexpr ByteSet bytes(std::initializer_list<ByteRange> astRanges) {
    ByteSet stSet{};
    for (const ByteRange &stRange : astRanges) {
        for (uint32_t u32Byte = stRange.u8First; u32Byte <= stRange.u8Last; ++u32Byte)
            stSet.add(static_cast<uint8_t>(u32Byte));
    }
    return stSet;
}

constexpr ByteSet without(ByteSet stSet, std::initializer_list<ByteRange> astGaps) {
    const ByteSet stGaps = bytes(astGaps);
    for (uint32_t u32Byte = 0; u32Byte <= 0xFF; ++u32Byte) {
        if (stGaps.has(static_cast<uint8_t>(u32Byte)))
            stSet.remove(static_cast<uint8_t>(u32Byte));
    }
    return stSet;
}

// A code page knows every byte but its undefined ones.
constexpr ByteSet codePage(std::initializer_list<ByteRange> astUndefined) {
    return without(bytes({{0x00, 0xFF}}), astUndefined);
}

// A part of ISO/IEC 8859 knows its graphic characters, and no control character at all.
constexpr ByteSet isoPart(std::initializer_list<ByteRange> astUndefined) {
    return without(bytes({{0x20, 0x7E}, {0xA0, 0xFF}}), astUndefined);
}

inline constexpr ByteSet KNOWN_CP1250 = codePage({0x81, 0x83, 0x88, 0x90, 0x98});
inline constexpr ByteSet KNOWN_CP1251 = codePage({0x98});
inline constexpr ByteSet KNOWN_CP1252 = codePage({0x81, 0x8D, 0x8F, 0x90, 0x9D});
inline constexpr ByteSet KNOWN_CP1253 =
    codePage({0x81, 0x88, 0x8A, {0x8C, 0x90}, 0x98, 0x9A, {0x9C, 0x9F}, 0xAA, 0xD2, 0xFF});
inline constexpr ByteSet KNOWN_CP1254 = codePage({0x81, {0x8D, 0x90}, 0x9D, 0x9E});
inline constexpr ByteSet KNOWN_CP1255 =
    codePage({0x81, 0x8A, {0x8C, 0x90}, 0x9A, {0x9C, 0x9F}, 0xCA, {0xD9, 0xDF}, 0xFB, 0xFC, 0xFF});
inline constexpr ByteSet KNOWN_CP1256 = codePage({});
inline constexpr ByteSet KNOWN_CP1257 =
    codePage({0x81, 0x83, 0x88, 0x8A, 0x8C, 0x90, 0x98, 0x9A, 0x9C, 0x9F, 0xA1, 0xA5});
inline constexpr ByteSet KNOWN_CP1258 = codePage({0x81, 0x8A, {0x8D, 0x90}, 0x9A, 0x9D, 0x9E});
inline constexpr ByteSet KNOWN_CP874 = codePage({{0x81, 0x84}, {0x86, 0x90}, {0x98, 0x9F}, {0xDB, 0xDE}, {0xFC, 0xFF}});

inline constexpr ByteSet KNOWN_ISO8859_2 =
    isoPart({}); // and the parts 1, 4, 5, 9, 10 and 13 to 16, which define every position
inline constexpr ByteSet KNOWN_ISO8859_3 = isoPart({0xA5, 0xAE, 0xBE, 0xC3, 0xD0, 0xE3, 0xF0});
inline constexpr ByteSet KNOWN_ISO8859_6 =
    isoPart({{0xA1, 0xA3}, {0xA5, 0xAB}, {0xAE, 0xBA}, {0xBC, 0xBE}, 0xC0, {0xDB, 0xDF}, {0xF3, 0xFF}});
inline constexpr ByteSet KNOWN_ISO8859_7 = isoPart({0xAE, 0xD2, 0xFF});
inline constexpr ByteSet KNOWN_ISO8859_8 = isoPart({0xA1, {0xBF, 0xDE}, 0xFB, 0xFC, 0xFF});
inline constexpr ByteSet KNOWN_ISO8859_11 = isoPart({{0xDB, 0xDE}, {0xFC, 0xFF}});

} // namespace zucharset
