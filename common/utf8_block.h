// Bytes by the block, and the question whether a block of text is well-formed UTF-8.
#pragma once

#include "vectors.h"

#include <type_traits>

namespace zucharset {

constexpr uint64_t EVERY_BYTE = 0x0101010101010101;
constexpr uint64_t HIGH_BITS = 0x80 * EVERY_BYTE;

// Length of the sequence that a byte of UTF-8 begins, in the definition of up to six bytes; 0 for a continuation byte,
// which begins none.
constexpr int32_t utf8SequenceLength(uint8_t u8Lead) {
    if (u8Lead < 0x80)
        return 1;
    if (u8Lead < 0xC0)
        return 0;
    if (u8Lead < 0xE0)
        return 2;
    if (u8Lead < 0xF0)
        return 3;
    if (u8Lead < 0xF8)
        return 4;
    return u8Lead < 0xFC ? 5 : 6;
}

constexpr int32_t TEXT_BLOCK = 64;

inline bool isAsciiBlock(const uint8_t *pu8Block) {
    WIDE_U8 vAny{};
    for (int32_t i = 0; i < TEXT_BLOCK; i += WIDE_BYTES)
        vAny |= loadAs<WIDE_U8>(pu8Block + i);
    return isZero(vAny & 0x80);
}

// A bit for each byte of a block that is u8Least or more, that of the first byte lowest.
template <uint8_t u8Least = 0x80> ZU_HOT uint64_t bitsAtLeast(const uint8_t *pu8Block) {
    uint64_t u64Bits = 0;
#pragma GCC unroll 4
    for (int32_t i = 0; i < TEXT_BLOCK; i += WIDE_BYTES) {
        const auto vText = loadAs<WIDE_U8>(pu8Block + i);
        u64Bits |= uint64_t{bitsOf(u8Least == 0x80 ? vText : std::bit_cast<WIDE_U8>(vText >= u8Least))} << i;
    }
    return u64Bits;
}

// Bytes of a block that are 80 or more.
inline int32_t countForeign(const uint8_t *pu8Block) {
    uint64_t u64Sums = 0; // eight sums side by side, each at most eight
    for (int32_t i = 0; i < TEXT_BLOCK; i += 8)
        u64Sums += loadAs<uint64_t>(pu8Block + i) >> 7 & EVERY_BYTE;
    return static_cast<int32_t>(u64Sums * EVERY_BYTE >> 56);
}

// The bytes so many places before those of vText, which follow those of vBefore.
template <size_t u32Places, class Vector, size_t... u32Place>
ZU_HOT Vector placesBefore(Vector vBefore, Vector vText, std::index_sequence<u32Place...>) {
    return __builtin_shufflevector(vBefore, vText, (sizeof(Vector) - u32Places + u32Place)...);
}

// Marks the bytes that are in place: continuation bytes that something before them asks for, and others that nothing
// asks to be one. The bytes one, two and three places before them come with them.
template <class Vector> ZU_HOT auto inPlace(Vector vText, Vector vBefore1, Vector vBefore2, Vector vBefore3) {
    const auto vUnasked = (vBefore1 < 0xC0) & (vBefore2 < 0xE0) & (vBefore3 < 0xF0);
    const auto vContinuation = std::bit_cast<decltype(vUnasked)>(vText) < static_cast<int8_t>(0xC0);
    return vUnasked ^ vContinuation;
}

// What stands before a block: nothing that asks for a continuation, or bytes that belong to it.
enum class BEFORE_E { NOTHING, TEXT };

// How a block of UTF-8 looks.
enum class FORM_E { FLAWED, WELL_FORMED, PLAIN };

// UTF-8 is well-formed when continuation bytes stand exactly where the lead bytes before them ask for them, and plain
// if it needs none. A block may end inside a sequence. Flawed is also one with a sequence of more than four bytes, and
// every one that is not plain if the target has no vectors to tell it fast. A block is a multiple of 16 bytes.
template <BEFORE_E enBefore, int32_t s32Bytes = TEXT_BLOCK> ZU_HOT FORM_E formOf(const uint8_t *pu8Block) {
    using Vector = std::conditional_t<s32Bytes % WIDE_BYTES == 0, WIDE_U8, VECTOR_U8>;
    constexpr auto s32Step = static_cast<int32_t>(sizeof(Vector));
    constexpr auto places = std::make_index_sequence<sizeof(Vector)>();
    if (!HAS_VECTORS)
        return FORM_E::FLAWED;
    Vector vHighest{};
    Vector vBefore{};
    auto vInPlace = vHighest == vHighest;
#pragma GCC unroll 4
    for (int32_t i = 0; i < s32Bytes; i += s32Step) {
        const auto vText = loadAs<Vector>(pu8Block + i);
        if (i == 0 ? enBefore == BEFORE_E::TEXT : LOADS_BEAT_SHUFFLES)
            vInPlace &= inPlace(vText, loadAs<Vector>(pu8Block + i - 1), loadAs<Vector>(pu8Block + i - 2),
                                loadAs<Vector>(pu8Block + i - 3));
        else
            vInPlace &= inPlace(vText, placesBefore<1>(vBefore, vText, places), placesBefore<2>(vBefore, vText, places),
                                placesBefore<3>(vBefore, vText, places));
        vHighest = vText > vHighest ? vText : vHighest;
        vBefore = vText;
    }
    if (!isZero(~vInPlace | (vHighest > 0xF7)))
        return FORM_E::FLAWED;
    return isZero(vHighest & 0x80) ? FORM_E::PLAIN : FORM_E::WELL_FORMED;
}

// Bytes of a sequence that goes on behind the end of well-formed text: one of them asks for more than there is.
ZU_HOT int32_t openBytes(const uint8_t *pu8End) {
    return (pu8End[-1] >= 0xC0 ? 1 : 0) + (pu8End[-2] >= 0xE0 ? 2 : 0) + (pu8End[-3] >= 0xF0 ? 3 : 0);
}

// Of a block that begins with a new character the length of the whole sequences; 0 when it is not well-formed.
inline int32_t wellFormedLength(const uint8_t *pu8Block) {
    const bool bFlawed = formOf<BEFORE_E::NOTHING>(pu8Block) == FORM_E::FLAWED;
    return bFlawed ? 0 : TEXT_BLOCK - openBytes(pu8Block + TEXT_BLOCK);
}

} // namespace zucharset
