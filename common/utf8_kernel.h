// Code points to UTF-8: a vector of them at a time, by byte shuffles, with the plain way beside it.
#pragma once

#include "utf8_block.h"

namespace zucharset {

// --- Single sequences ---

// The sequence of a code point from 800 to FFFF in a word: first byte lowest.
template <class Words> constexpr Words threeByteSequence(Words wUnicode) {
    return 0x8080E0u | wUnicode >> 12 | (wUnicode & 0xFC0) << 2 | (wUnicode & 0x3F) << 16;
}

// The sequence of any code point below 10000. One byte or two is chosen by a mask.
constexpr uint32_t sequence(uint32_t u32Unicode) {
    if (u32Unicode >= 0x800)
        return threeByteSequence(u32Unicode);
    const uint32_t u32Two = 0u - (u32Unicode >= 0x80 ? 1u : 0u);
    return ((0x80C0u | u32Unicode >> 6 | (u32Unicode & 0x3F) << 8) & u32Two) | (u32Unicode & ~u32Two);
}

// --- Eight sequences, plain ---

// The sequences of eight code points below 10000, each with its length in the topmost byte. Widths are chosen by masks,
// because letters and spaces come in no order that a processor could foresee.
struct EIGHT_SEQUENCES_S {
    VECTOR_U32 av[2];
};

ZU_HOT EIGHT_SEQUENCES_S anySequences(VECTOR_U16 vUnicode) {
    const auto vOne = std::bit_cast<VECTOR_U16>((vUnicode & 0xFF80) == 0);
    const auto vOneOrTwo = std::bit_cast<VECTOR_U16>((vUnicode & 0xF800) == 0);
    const VECTOR_U16 vLast = 0x80 | (vUnicode & 0x3F);
    const VECTOR_U16 vMiddle = 0x80 | (vUnicode >> 6 & 0x3F);
    const VECTOR_U16 vFirstOfTwo = (vUnicode & vOne) | ((0xC0 | vUnicode >> 6) & ~vOne);
    const VECTOR_U16 vFirst = (vFirstOfTwo & vOneOrTwo) | ((0xE0 | vUnicode >> 12) & ~vOneOrTwo);
    const VECTOR_U16 vSecond = (vLast & vOneOrTwo) | (vMiddle & ~vOneOrTwo);
    const VECTOR_U16 vLow = vFirst | vSecond << 8;
    const VECTOR_U16 vHigh = vLast | (3 + vOne + vOneOrTwo) << 8; // a true mask being -1
    return {{std::bit_cast<VECTOR_U32>(__builtin_shufflevector(vLow, vHigh, 0, 8, 1, 9, 2, 10, 3, 11)),
             std::bit_cast<VECTOR_U32>(__builtin_shufflevector(vLow, vHigh, 4, 12, 5, 13, 6, 14, 7, 15))}};
}

// Writes a sequence that carries its length, and gives the place behind it.
ZU_HOT uint8_t *storeSequence(uint8_t *pu8Output, uint32_t u32Sequence) {
    storeAs(pu8Output, u32Sequence);
    return pu8Output + (u32Sequence >> 24);
}

ZU_HOT uint8_t *storePlain(uint8_t *pu8Output, VECTOR_U16 vUnicode) {
    const EIGHT_SEQUENCES_S stEight = anySequences(vUnicode);
#pragma GCC unroll 4
    for (int32_t i = 0; i < 4; ++i) {
        const uint64_t u64Pair = std::bit_cast<VECTOR_U64>(stEight.av[i / 2])[i % 2];
        pu8Output = storeSequence(pu8Output, static_cast<uint32_t>(u64Pair));
        pu8Output = storeSequence(pu8Output, static_cast<uint32_t>(u64Pair >> 32));
    }
    return pu8Output;
}

// --- Eight sequences by shuffles ---

// Shuffles that close the gaps between sequences of different lengths, and what is left then.
struct PACKING_S {
    alignas(16) uint8_t au8Places[256][16];
    uint8_t au8Length[256];

    // Writes the sequences that stand in vLanes, and gives the place behind them.
    ZU_HOT uint8_t *store(uint8_t *pu8Output, VECTOR_U8 vLanes, uint32_t u32Lengths) const {
        storeAs(pu8Output, shuffled(vLanes, loadAs<VECTOR_U8>(au8Places[u32Lengths])));
        return pu8Output + au8Length[u32Lengths];
    }
};

// For s32Points code points in lanes of equal size, last byte lowest. lengthOf() tells the length of the sequence in a
// lane from the row of the table.
template <int32_t s32Points, class LengthOf> constexpr PACKING_S makePacking(LengthOf lengthOf) {
    PACKING_S stPacking{};
    for (uint32_t u32Row = 0; u32Row < 256; ++u32Row) {
        int32_t s32Written = 0;
        for (int32_t s32Point = 0; s32Point < s32Points; ++s32Point) {
            for (int32_t s32Byte = lengthOf(u32Row, s32Point) - 1; s32Byte >= 0; --s32Byte)
                stPacking.au8Places[u32Row][s32Written++] = static_cast<uint8_t>(16 / s32Points * s32Point + s32Byte);
        }
        stPacking.au8Length[u32Row] = static_cast<uint8_t>(s32Written);
    }
    return stPacking;
}

// Four code points of up to three bytes. Two bits of the row for each: whether it is below 80, and below 800.
inline constexpr PACKING_S s_stPackFour = makePacking<4>([](uint32_t u32Row, int32_t s32Point) {
    const uint32_t u32Bits = u32Row >> 2 * s32Point & 3;
    return u32Bits == 0 ? 3 : u32Bits == 2 ? 2 : 1;
});

// Eight code points of up to two bytes. A bit of the row for each: whether it takes two.
inline constexpr PACKING_S s_stPackEight =
    makePacking<8>([](uint32_t u32Row, int32_t s32Point) { return (u32Row >> s32Point & 1) != 0 ? 2 : 1; });

// Sequences in lanes of four bytes, last byte lowest: of each sixteen bytes of a vector the first four code points are
// in vLow, the other four in vHigh.
template <class Vector> struct LANES_S {
    Vector vLow;
    Vector vHigh;
};

// Puts together the last two bytes of each sequence, the very last lowest, and before them the first one of three.
ZU_HOT LANES_S<VECTOR_U8> lanesOf(VECTOR_U16 vLast, VECTOR_U16 vFirst) {
    return {std::bit_cast<VECTOR_U8>(__builtin_shufflevector(vLast, vFirst, 0, 8, 1, 9, 2, 10, 3, 11)),
            std::bit_cast<VECTOR_U8>(__builtin_shufflevector(vLast, vFirst, 4, 12, 5, 13, 6, 14, 7, 15))};
}

template <class Wide>
requires(sizeof(Wide) > sizeof(VECTOR_U16)) ZU_HOT LANES_S<WIDE_U8> lanesOf(Wide vLast, Wide vFirst) {
    return {std::bit_cast<WIDE_U8>(
                __builtin_shufflevector(vLast, vFirst, 0, 16, 1, 17, 2, 18, 3, 19, 8, 24, 9, 25, 10, 26, 11, 27)),
            std::bit_cast<WIDE_U8>(
                __builtin_shufflevector(vLast, vFirst, 4, 20, 5, 21, 6, 22, 7, 23, 12, 28, 13, 29, 14, 30, 15, 31))};
}

// Writes eight or sixteen sequences without gaps. Two bits of u32Lengths for each, as in s_stPackFour.
template <class Vector> ZU_HOT uint8_t *storePacked(uint8_t *pu8Output, LANES_S<Vector> stLanes, uint32_t u32Lengths) {
    if constexpr (sizeof(Vector) == 16) {
        pu8Output = s_stPackFour.store(pu8Output, stLanes.vLow, u32Lengths & 0xFF);
        return s_stPackFour.store(pu8Output, stLanes.vHigh, u32Lengths >> 8);
    } else {
        pu8Output =
            storePacked<VECTOR_U8>(pu8Output, {lowHalf(stLanes.vLow), lowHalf(stLanes.vHigh)}, u32Lengths & 0xFFFF);
        return storePacked<VECTOR_U8>(pu8Output, {highHalf(stLanes.vLow), highHalf(stLanes.vHigh)}, u32Lengths >> 16);
    }
}

// The last two bytes of three.
template <class Vector> ZU_HOT Vector lastTwoOfThree(Vector vUnicode) {
    return 0x8080 | (vUnicode & 0x3F) | (vUnicode << 2 & 0x3F00);
}

template <class Vector> ZU_HOT Vector firstOfThree(Vector vUnicode) { return 0xE0 | vUnicode >> 12; }

// The sequences of as many code points as a vector holds.
template <class Vector> ZU_HOT uint8_t *storeShuffled(uint8_t *pu8Output, Vector vUnicode) {
    const auto vOne = std::bit_cast<Vector>((vUnicode & 0xFF80) == 0);
    const auto vOneOrTwo = std::bit_cast<Vector>((vUnicode & 0xF800) == 0);
    const Vector vLastOfMore = lastTwoOfThree(vUnicode) | (vOneOrTwo & 0x4000);
    const auto stLanes = lanesOf((vUnicode & vOne) | (vLastOfMore & ~vOne), firstOfThree(vUnicode));
    const auto vLengths = std::bit_cast<decltype(stLanes.vLow)>((vOne & 0xFF) | (vOneOrTwo & 0xFF00));
    return storePacked(pu8Output, stLanes, bitsOf(vLengths));
}

// Eight sequences of one byte or two side by side, the last byte lowest.
ZU_HOT uint8_t *storeInterleaved(uint8_t *pu8Output, VECTOR_U8 vLast, VECTOR_U8 vFirst, uint32_t u32Two) {
    const auto vLow = __builtin_shufflevector(vLast, vFirst, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const auto vHigh =
        __builtin_shufflevector(vLast, vFirst, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    pu8Output = s_stPackEight.store(pu8Output, vLow, u32Two & 0xFF);
    return s_stPackEight.store(pu8Output, vHigh, u32Two >> 8 & 0xFF);
}

// --- The kernel ---

// What may be written behind the sequences.
constexpr int32_t KERNEL_MARGIN = 4;

// Writes the sequences of the code points in a vector, each below 10000, and gives the place behind them.
template <class Vector> ZU_HOT uint8_t *storeSequences(uint8_t *pu8Output, Vector vUnicode) {
    if constexpr (HAS_SHUFFLE)
        return storeShuffled(pu8Output, vUnicode);
    else
        return storePlain(pu8Output, vUnicode);
}

// Writes the sequences of code points from 800 to FFFF, and as many bytes behind them as KERNEL_MARGIN says. Needs
// shuffles.
ZU_HOT void storeThreeByteLanes(uint8_t *pu8Output, LANES_S<VECTOR_U8> stLanes) {
    constexpr VECTOR_U8 vPlaces = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 3, 3, 3, 3};
    storeAs(pu8Output, shuffled(stLanes.vLow, vPlaces));
    storeAs(pu8Output + 12, shuffled(stLanes.vHigh, vPlaces));
}

template <class Vector> ZU_HOT void storeThreeByteSequences(uint8_t *pu8Output, Vector vUnicode) {
    const auto stLanes = lanesOf(lastTwoOfThree(vUnicode), firstOfThree(vUnicode));
    if constexpr (sizeof(Vector) == 16) {
        storeThreeByteLanes(pu8Output, stLanes);
    } else {
        storeThreeByteLanes(pu8Output, {lowHalf(stLanes.vLow), lowHalf(stLanes.vHigh)});
        storeThreeByteLanes(pu8Output + 24, {highHalf(stLanes.vLow), highHalf(stLanes.vHigh)});
    }
}

// Writes a sequence of one byte or two for each byte of a single-byte text: the foreign ones take two, vLast and before
// it vFirst, the others are their own sequences. Needs shuffles.
ZU_HOT uint8_t *storeOneOrTwo(uint8_t *pu8Output, WIDE_U8 vText, WIDE_MASK vForeign, WIDE_U8 vFirst, WIDE_U8 vLast) {
    const auto vIsForeign = std::bit_cast<WIDE_U8>(vForeign);
    const WIDE_U8 vEnd = (vText & ~vIsForeign) | (vLast & vIsForeign);
    const uint32_t u32Two = bitsOf(vIsForeign);
    pu8Output = storeInterleaved(pu8Output, lowHalf(vEnd), lowHalf(vFirst), u32Two);
    if constexpr (WIDE_BYTES > 16)
        pu8Output = storeInterleaved(pu8Output, highHalf(vEnd), highHalf(vFirst), u32Two >> 16);
    return pu8Output;
}

} // namespace zucharset
