// A quick count of what a text holds, as far as it limits the scores that the text can reach. Taken once, it spares
// most texts the long way through the estimators of encodings that are not theirs.
#pragma once

#include "text_scan.h"

#include <algorithm>
#include <type_traits>

namespace zucharset {

struct BYTE_CENSUS_S {
    int32_t s32LeastForeign;    // there are at least so many bytes above 7E, which start pairs or end them
    int32_t s32MostPairs;       // steps of two through runs of such bytes meet at most so many pairs; 0: there are none
    int32_t s32MostWeighty;     // at most so many of them may start a pair of any weight, or half a four-byte code
    int32_t s32MostCommonLeads; // are lead bytes of Shift_JIS whose rows hold all characters that have a weight
    int32_t s32MostRareLeads;   // or its other lead bytes
    bool bEscape;               // an ESC may occur
    bool bTilde;
};

constexpr uint8_t ESC = 0x1B;

// No character that has a weight has both a lead byte and a trail byte from these on.
constexpr uint8_t FIRST_LIGHT_LEAD = 0xD8;
constexpr uint8_t FIRST_LIGHT_TRAIL = 0xA1;
// Digits stand in four-byte codes of GB18030, which count as accepted though they weigh nothing. Lower bytes are no
// part of any character.
constexpr uint8_t FIRST_TRAIL_OF_ANY = 0x30;
constexpr uint8_t SJIS_LAST_COMMON_LEAD = 0x98;

constexpr bool isSjisLead(uint8_t u8Byte) {
    return (u8Byte >= 0x81 && u8Byte <= 0x9F) || (u8Byte >= 0xE0 && u8Byte <= 0xEF);
}

// Adds up true masks, as long as no byte counts more than 255 of them.
class MaskCounter {
  public:
    void add(VECTOR_MASK vTrue) { vCount -= std::bit_cast<VECTOR_U8>(vTrue); } // a true mask being -1

    int32_t sum() const {
        const auto vPairs = std::bit_cast<VECTOR_U16>(vCount);
        const auto vFours = std::bit_cast<VECTOR_U64>((vPairs & 0xFF) + (vPairs >> 8));
        return static_cast<int32_t>((vFours[0] + vFours[1]) * 0x0001000100010001 >> 48);
    }

  private:
    VECTOR_U8 vCount{};
};

// Counts up to MOST blocks, the byte before each being read too.
class VectorCensus {
  public:
    static constexpr int32_t MOST = 255 / (TEXT_BLOCK / 16);

    explicit VectorCensus(TEXT_S) {}

    void add(const uint8_t *pu8Block) {
        VECTOR_MASK vAny{};
#pragma GCC unroll 4
        for (int32_t i = 0; i < TEXT_BLOCK; i += 16) {
            const auto vText = loadAs<VECTOR_U8>(pu8Block + i);
            const VECTOR_MASK vHigh = vText > 0x7E;
            vAny |= vHigh;
            stForeign.add(vHigh);
            vEscape |= vText == ESC;
            vTilde |= vText == '~';
        }
        if (isZero(vAny) && pu8Block[-1] <= 0x7E)
            return;
#pragma GCC unroll 4
        for (int32_t i = 0; i < TEXT_BLOCK; i += 16) {
            const auto vText = loadAs<VECTOR_U8>(pu8Block + i);
            const auto vBefore = loadAs<VECTOR_U8>(pu8Block + i - 1);
            const VECTOR_MASK vHighBefore = vBefore > 0x7E;
            stRuns.add((vText > 0x7E) & ~vHighBefore);
            stWeighty.add(vHighBefore & ((vBefore < FIRST_LIGHT_LEAD) |
                                         (vText - FIRST_TRAIL_OF_ANY < FIRST_LIGHT_TRAIL - FIRST_TRAIL_OF_ANY)));
            stCommon.add(vText - 0x81 <= SJIS_LAST_COMMON_LEAD - 0x81); // one comparison for both ends of a range
            stRare.add((vText - (SJIS_LAST_COMMON_LEAD + 1) <= 0x9F - (SJIS_LAST_COMMON_LEAD + 1)) |
                       (vText - 0xE0 <= 0xEF - 0xE0));
        }
    }

    void addTo(BYTE_CENSUS_S &stCensus) const {
        const int32_t s32Foreign = stForeign.sum();
        stCensus.s32LeastForeign += s32Foreign;
        stCensus.s32MostPairs += (s32Foreign + stRuns.sum() + 1) / 2; // a run of an odd number meets one byte more
        stCensus.s32MostWeighty += stWeighty.sum();
        stCensus.s32MostCommonLeads += stCommon.sum();
        stCensus.s32MostRareLeads += stRare.sum();
        stCensus.bEscape |= !isZero(vEscape);
        stCensus.bTilde |= !isZero(vTilde);
    }

  private:
    MaskCounter stForeign, stRuns, stWeighty, stCommon, stRare;
    VECTOR_MASK vEscape{}, vTilde{};
};

// What a byte counts for, in fields of so many bits that the sum over HALF_BLOCK bytes fits.
struct BYTE_CLASSES_S {
    static constexpr int32_t HALF_BLOCK = TEXT_BLOCK / 2;
    static constexpr int32_t BITS = 6;
    static_assert(HALF_BLOCK < 1 << BITS);

    enum CLASS_E : int32_t { FOREIGN, HEAVY, COMMON_LEAD, RARE_LEAD, TILDE };

    uint32_t au32[256];

    constexpr void add(uint32_t u32Byte, CLASS_E enClass) { au32[u32Byte] |= 1u << BITS * enClass; }
    static constexpr int32_t countOf(uint32_t u32Sum, CLASS_E enClass) {
        return static_cast<int32_t>(u32Sum >> BITS * enClass & ((1u << BITS) - 1));
    }
};

constexpr BYTE_CLASSES_S s_stByteClasses = [] {
    BYTE_CLASSES_S stClasses{};
    stClasses.add('~', BYTE_CLASSES_S::TILDE);
    for (uint32_t u32Byte = 0x7F; u32Byte <= 0xFF; ++u32Byte) {
        stClasses.add(u32Byte, BYTE_CLASSES_S::FOREIGN);
        if (u32Byte < FIRST_LIGHT_LEAD)
            stClasses.add(u32Byte, BYTE_CLASSES_S::HEAVY);
        if (isSjisLead(static_cast<uint8_t>(u32Byte)))
            stClasses.add(u32Byte,
                          u32Byte <= SJIS_LAST_COMMON_LEAD ? BYTE_CLASSES_S::COMMON_LEAD : BYTE_CLASSES_S::RARE_LEAD);
    }
    return stClasses;
}();

// The same without vectors. Plain text is told by the word; the rest is counted where that promises much, in texts
// whose first foreign bytes are mostly light, and is taken for the worst elsewhere.
class WordCensus {
  public:
    static constexpr int32_t MOST = INT32_MAX;

    explicit WordCensus(TEXT_S stText) {
        constexpr int32_t s32Sample = 1024;
        int32_t s32Light = 0;
        int32_t s32Heavy = 0;
        for (int32_t i = 0; i < stText.s32Length && i < s32Sample; ++i) {
            s32Light += stText.pu8[i] >= FIRST_LIGHT_LEAD ? 1 : 0;
            s32Heavy += stText.pu8[i] > 0x7E && stText.pu8[i] < FIRST_LIGHT_LEAD ? 1 : 0;
        }
        bCounts = s32Light > 4 * s32Heavy;
    }

    void add(const uint8_t *pu8Block) {
        // As markAtLeast() and markEqual() do it, but that the high bits are taken out of all words at once.
        WORD wMarked = 0; // bytes from 7E on, with that tilde among the foreign ones
#pragma GCC unroll 4
        for (int32_t i = 0; i < TEXT_BLOCK; i += WORD_BYTES) {
            const WORD wText = loadAs<WORD>(pu8Block + i);
            const WORD wNoEscape = wText ^ inEveryByte<WORD>(ESC);
            wMarked |= wText | (wText + inEveryByte<WORD>(0x80 - '~'));
            wEscapes |= (wNoEscape - inEveryByte<WORD>(1)) & ~wNoEscape;
        }
        if ((wMarked & inEveryByte<WORD>(0x80)) == 0 && pu8Block[-1] < '~')
            return;
        stFound.s32MostPairs += TEXT_BLOCK / 2 + 1;
        if (bCounts) {
            countClasses(pu8Block);
            stFound.s32MostWeighty += countLightPairs(pu8Block);
            return;
        }
        stFound.bTilde = true;
        addBlock(stFound.s32MostWeighty);
        addBlock(stFound.s32MostCommonLeads);
        addBlock(stFound.s32MostRareLeads);
    }

    void addTo(BYTE_CENSUS_S &stCensus) const {
        stCensus = stFound;
        stCensus.bEscape = (wEscapes & inEveryByte<WORD>(0x80)) != 0;
    }

  private:
    using WORD = size_t;
    static constexpr int32_t WORD_BYTES = sizeof(WORD);

    // The last block of the longest text is a byte short, and so is the room for it.
    static void addBlock(int32_t &s32Bytes) { s32Bytes += std::min(TEXT_BLOCK, INT32_MAX - s32Bytes); }

    void countClasses(const uint8_t *pu8Block) {
        using CLASSES = BYTE_CLASSES_S;
        for (int32_t s32Half = 0; s32Half < TEXT_BLOCK; s32Half += CLASSES::HALF_BLOCK) {
            uint32_t u32Sum = 0;
#pragma GCC unroll 16
            for (int32_t i = 0; i < CLASSES::HALF_BLOCK; ++i)
                u32Sum += s_stByteClasses.au32[pu8Block[s32Half + i]];
            stFound.s32LeastForeign += CLASSES::countOf(u32Sum, CLASSES::FOREIGN);
            stFound.s32MostWeighty += CLASSES::countOf(u32Sum, CLASSES::HEAVY);
            stFound.s32MostCommonLeads += CLASSES::countOf(u32Sum, CLASSES::COMMON_LEAD);
            stFound.s32MostRareLeads += CLASSES::countOf(u32Sum, CLASSES::RARE_LEAD);
            stFound.bTilde |= CLASSES::countOf(u32Sum, CLASSES::TILDE) > 0;
        }
    }

    // Bytes from 30 to 7E behind a light lead byte. With the heavy ones that is all that can make a pair weighty: a
    // light lead byte before a higher trail byte of weight has that for the pair's heavy byte.
    static int32_t countLightPairs(const uint8_t *pu8Block) {
        constexpr auto wHigh = inEveryByte<WORD>(0x80);
        WORD wBefore = pu8Block[-1] >= FIRST_LIGHT_LEAD ? 0x80 : 0;
        WORD wPairs = 0; // a sum for each place in a word, at most 16
#pragma GCC unroll 4
        for (int32_t i = 0; i < TEXT_BLOCK; i += WORD_BYTES) {
            const WORD wText = loadAs<WORD>(pu8Block + i);
            const WORD wLow = wText & ~wHigh;
            const WORD wLight = wText & (wLow + inEveryByte<WORD>(0x100 - FIRST_LIGHT_LEAD)) & wHigh;
            const WORD wTrail = (wLow + inEveryByte<WORD>(0x80 - FIRST_TRAIL_OF_ANY)) & ~wText;
            wPairs += (wTrail & (wBefore | wLight << 8)) >> 7;
            wBefore = wLight >> 8 * (WORD_BYTES - 1);
        }
        return static_cast<int32_t>(wPairs * inEveryByte<WORD>(1) >> 8 * (WORD_BYTES - 1));
    }

    bool bCounts;
    BYTE_CENSUS_S stFound{};
    WORD wEscapes = 0;
};

using BlockCensus = std::conditional_t<HAS_VECTORS, VectorCensus, WordCensus>;

// The census of a text, whole blocks read where they stand, the first and what is left behind the last from a copy that
// can be read beyond its ends.
inline BYTE_CENSUS_S takeCensus(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    const int32_t s32Length = stText.s32Length;
    const BYTE_CENSUS_S stAnything{0, s32Length / 2 + 1, s32Length, s32Length, s32Length, true, true};
    BYTE_CENSUS_S stCensus{};
    int32_t s32Pos = 0;
    while (s32Pos < s32Length) {
        BlockCensus stBlocks(stText);
        for (int32_t i = 0; i < BlockCensus::MOST && s32Pos < s32Length; ++i) {
            if (quitRequested(stControl)) // the estimators see to the rest
                return stAnything;
            if (s32Pos > 0 && s32Length - s32Pos >= TEXT_BLOCK) {
                stBlocks.add(stText.pu8 + s32Pos);
            } else {
                uint8_t au8Copy[1 + TEXT_BLOCK] = {s32Pos > 0 ? stText.pu8[s32Pos - 1] : uint8_t{0}};
                std::memcpy(au8Copy + 1, stText.pu8 + s32Pos,
                            static_cast<size_t>(std::min(s32Length - s32Pos, TEXT_BLOCK)));
                stBlocks.add(au8Copy + 1);
            }
            s32Pos += std::min(s32Length - s32Pos, TEXT_BLOCK);
        }
        stBlocks.addTo(stCensus);
    }
    return stCensus;
}

} // namespace zucharset
