// Reading a text several bytes at a time, in words so that every target profits.
#pragma once

#include "detector_vote.h"

#include <bit>
#include <cstring>

namespace zucharset {

static_assert(std::endian::native == std::endian::little, "byte positions in a word follow little-endian order");

// Bytes between two looks at the quit flag.
constexpr int32_t QUIT_BLOCK = 64;

constexpr uint64_t EVERY_BYTE = 0x0101010101010101;
constexpr uint64_t HIGH_BITS = 0x80 * EVERY_BYTE;

inline uint64_t loadWord(const uint8_t *pu8) {
    uint64_t u64Word;
    std::memcpy(&u64Word, pu8, sizeof u64Word);
    return u64Word;
}

// Marks the high bit of each byte that is u8Least or more, where 41 <= u8Least <= 80; right up to and including the
// lowest mark, which is all that a search for the first such byte needs.
constexpr uint64_t markAtLeast(uint64_t u64Word, uint8_t u8Least) {
    return (u64Word | (u64Word + EVERY_BYTE * (0x80u - u8Least))) & HIGH_BITS;
}

// The same for bytes below u8Limit, where u8Limit <= 80.
constexpr uint64_t markBelow(uint64_t u64Word, uint8_t u8Limit) {
    return (u64Word - EVERY_BYTE * u8Limit) & ~u64Word & HIGH_BITS;
}

// The same for bytes equal to u8Value.
constexpr uint64_t markEqual(uint64_t u64Word, uint8_t u8Value) {
    return markBelow(u64Word ^ (EVERY_BYTE * u8Value), 1);
}

// Position of the first byte from s32Pos on that stMark marks, or s32End.
template <class Mark> int32_t findMarked(const uint8_t *pu8, int32_t s32Pos, int32_t s32End, Mark stMark) {
    for (; s32End - s32Pos >= 8; s32Pos += 8) {
        const uint64_t u64Marks = stMark(loadWord(pu8 + s32Pos));
        if (u64Marks != 0)
            return s32Pos + std::countr_zero(u64Marks) / 8;
    }
    while (s32Pos < s32End && (stMark(uint64_t{pu8[s32Pos]} | 0x2020202020202000) & 0xFF) == 0)
        ++s32Pos;
    return s32Pos;
}

// The same over a long stretch, in blocks with a look at the quit flag before each; the position reached on a request.
template <class Mark>
int32_t findMarkedUnlessQuit(const HANDLE_CONTROL_S &stControl, TEXT_S stText, int32_t s32Pos, Mark stMark) {
    while (s32Pos < stText.s32Length && !quitRequested(stControl)) {
        const int32_t s32BlockEnd = stText.s32Length - s32Pos > QUIT_BLOCK ? s32Pos + QUIT_BLOCK : stText.s32Length;
        if (s32BlockEnd - s32Pos == QUIT_BLOCK) {
            uint64_t u64Marks = 0; // a whole block at once: compilers turn this into vectors
            for (int32_t i = 0; i < QUIT_BLOCK; i += 8)
                u64Marks |= stMark(loadWord(stText.pu8 + s32Pos + i));
            if (u64Marks == 0) {
                s32Pos = s32BlockEnd;
                continue;
            }
        }
        s32Pos = findMarked(stText.pu8, s32Pos, s32BlockEnd, stMark);
        if (s32Pos < s32BlockEnd)
            return s32Pos;
    }
    return s32Pos;
}

} // namespace zucharset
