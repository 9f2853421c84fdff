// Reading a text several bytes at a time, in words so that every target profits.
#pragma once

#include "detector_vote.h"
#include "utf8_block.h"

#include <type_traits>

namespace zucharset {

// Bytes between two looks at the quit flag.
constexpr int32_t QUIT_BLOCK = TEXT_BLOCK;

// A byte in every place of a word, or of a vector of words, which is what the marks below take.
template <class Words> constexpr Words inEveryByte(uint32_t u32Byte) {
    if constexpr (std::is_integral_v<Words>)
        return static_cast<Words>(EVERY_BYTE * u32Byte);
    else
        return EVERY_BYTE * u32Byte + Words{};
}

// Marks the high bit of each byte that is u8Least or more, where 41 <= u8Least <= 80; right up to and including the
// lowest mark, which is all that a search for the first such byte needs.
template <class Words> constexpr Words markAtLeast(Words wWords, uint8_t u8Least) {
    return (wWords | (wWords + inEveryByte<Words>(0x80u - u8Least))) & inEveryByte<Words>(0x80);
}

// The same for bytes below u8Limit, where u8Limit <= 80.
template <class Words> constexpr Words markBelow(Words wWords, uint8_t u8Limit) {
    return (wWords - inEveryByte<Words>(u8Limit)) & ~wWords & inEveryByte<Words>(0x80);
}

// The same for bytes equal to u8Value.
template <class Words> constexpr Words markEqual(Words wWords, uint8_t u8Value) {
    return markBelow(wWords ^ inEveryByte<Words>(u8Value), 1);
}

// Position of the first byte from s32Pos on that stMark marks, or s32End.
template <class Mark> int32_t findMarked(const uint8_t *pu8, int32_t s32Pos, int32_t s32End, Mark stMark) {
    for (; s32End - s32Pos >= 8; s32Pos += 8) {
        const uint64_t u64Marks = stMark(loadAs<uint64_t>(pu8 + s32Pos));
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
    if (stText.s32Length - s32Pos >= 8) { // most stretches are short
        const uint64_t u64Marks = stMark(loadAs<uint64_t>(stText.pu8 + s32Pos));
        if (u64Marks != 0)
            return s32Pos + std::countr_zero(u64Marks) / 8;
        s32Pos += 8;
    }
    while (stText.s32Length - s32Pos >= QUIT_BLOCK && !quitRequested(stControl)) {
        VECTOR_U64 vMarks{};
        for (int32_t i = 0; i < QUIT_BLOCK; i += 16)
            vMarks |= stMark(loadAs<VECTOR_U64>(stText.pu8 + s32Pos + i));
        if (!isZero(vMarks))
            break;
        s32Pos += QUIT_BLOCK;
    }
    if (quitRequested(stControl))
        return s32Pos;
    const int32_t s32BlockEnd = stText.s32Length - s32Pos > QUIT_BLOCK ? s32Pos + QUIT_BLOCK : stText.s32Length;
    return findMarked(stText.pu8, s32Pos, s32BlockEnd, stMark);
}

// Position of the next byte above 7E before s32End, or s32End.
inline int32_t findPairStart(const HANDLE_CONTROL_S &stControl, TEXT_S stText, int32_t s32Pos, int32_t s32End) {
    return findMarkedUnlessQuit(stControl, {stText.pu8, s32End}, s32Pos,
                                [](auto wWords) { return markAtLeast(wWords, 0x7F); });
}

} // namespace zucharset
