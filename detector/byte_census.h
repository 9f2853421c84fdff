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

// The same without vectors. Plain text is told by the word; the rest is counted byte by byte where that promises much,
// in texts whose first foreign bytes are mostly light, and is taken for the worst elsewhere.
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
        uint64_t u64Marked = 0; // bytes from 7E on, with that tilde among the foreign ones
        for (int32_t i = 0; i < TEXT_BLOCK; i += 8) {
            const auto u64Word = loadAs<uint64_t>(pu8Block + i);
            u64Marked |= markAtLeast(u64Word, '~');
            u64Escapes |= markEqual(u64Word, ESC);
        }
        if (u64Marked == 0 && pu8Block[-1] < '~')
            return;
        bTilde = true;
        stFound.s32MostPairs += TEXT_BLOCK / 2 + 1;
        if (!bCounts) {
            addBlock(stFound.s32MostWeighty);
            addBlock(stFound.s32MostCommonLeads);
            addBlock(stFound.s32MostRareLeads);
            return;
        }
        for (int32_t i = 0; i < TEXT_BLOCK; ++i) {
            const uint8_t u8Byte = pu8Block[i];
            if (u8Byte <= 0x7E)
                continue;
            ++stFound.s32LeastForeign;
            // What follows the last byte is taken for the worst.
            if (u8Byte < FIRST_LIGHT_LEAD || i == TEXT_BLOCK - 1 ||
                (pu8Block[i + 1] >= FIRST_TRAIL_OF_ANY && pu8Block[i + 1] < FIRST_LIGHT_TRAIL))
                ++stFound.s32MostWeighty;
            if (isSjisLead(u8Byte))
                ++(u8Byte <= SJIS_LAST_COMMON_LEAD ? stFound.s32MostCommonLeads : stFound.s32MostRareLeads);
        }
    }

    void addTo(BYTE_CENSUS_S &stCensus) const {
        stCensus = stFound;
        stCensus.bEscape = u64Escapes != 0;
        stCensus.bTilde = bTilde;
    }

  private:
    // The last block of the longest text is a byte short, and so is the room for it.
    static void addBlock(int32_t &s32Bytes) { s32Bytes += std::min(TEXT_BLOCK, INT32_MAX - s32Bytes); }

    bool bCounts;
    BYTE_CENSUS_S stFound{};
    uint64_t u64Escapes = 0;
    bool bTilde = false;
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
