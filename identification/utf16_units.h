// How text looks that is UTF-16 without a byte order mark: it holds a separator, or enough of it is ASCII.
#pragma once

#include <cstdint>

namespace zucharset {

inline constexpr uint8_t UTF16_SEPARATORS[] = {'\n', ' ', '\t', ',', '.'};

constexpr int32_t IsUnicodeBECheckKnown(uint8_t u8Byte) {
    for (const uint8_t u8Separator : UTF16_SEPARATORS) {
        if (u8Byte == u8Separator)
            return 0;
    }
    return -1;
}

// Accepts when a separator was seen or when fewer than 90 of 100 bytes lie outside ASCII units. 64 bits, so that no
// length overflows the percentage.
constexpr int32_t checkConfidentBelow(int32_t s32Total, int32_t s32Separators, int32_t s32Rest) {
    if (s32Separators > 0)
        return 0;
    const int64_t s64Percentage = s32Total > 0 ? int64_t{s32Rest} * 100 / s32Total : 0;
    return s64Percentage > 89 ? -1 : 0;
}

// Either byte order; s32High is the place of the high byte in a code unit. Before s32Pos there are s32Ascii ASCII units
// and no separator. stStop() is asked now and then whether to give up, which is a refusal.
template <class Stop>
int32_t checkUtf16Units(const uint8_t *pu8Input, int32_t s32InputLen, int32_t s32High, int32_t s32Pos, int32_t s32Ascii,
                        Stop stStop) {
    constexpr int32_t s32AskEvery = 64;
    for (; s32Pos < s32InputLen - 1; s32Pos += 2) {
        if (s32Pos % s32AskEvery == 0 && stStop())
            return -1;
        const uint8_t u8Low = pu8Input[s32Pos + 1 - s32High];
        if (pu8Input[s32Pos + s32High] != 0 || u8Low >= 0x80)
            continue;
        if (IsUnicodeBECheckKnown(u8Low) == 0)
            return checkConfidentBelow(s32InputLen, 1, 0); // one separator decides, whatever follows
        ++s32Ascii;
    }
    return checkConfidentBelow(s32InputLen, 0, s32InputLen - 2 * s32Ascii);
}

} // namespace zucharset
