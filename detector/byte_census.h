// A quick count of what a text holds, as far as it limits the scores that the text can reach. Taken once, it spares
// most texts the long way through the estimators of encodings that are not theirs.
#pragma once

#include "text_scan.h"

namespace zucharset {

struct BYTE_CENSUS_S {
    int32_t s32Foreign;     // bytes above 7E, which start pairs or end them
    int32_t s32Runs;        // runs of such bytes
    int32_t s32Weighty;     // those that may start a pair of any weight
    int32_t s32CommonLeads; // lead bytes of Shift_JIS whose rows hold all characters that have a weight
    int32_t s32RareLeads;   // its other lead bytes
    bool bEscape;           // an ESC occurs
    bool bTilde;

    // Steps of two through each run meet at most so many pairs.
    constexpr int32_t mostPairs() const { return s32Foreign / 2 + s32Runs / 2 + 1; }
};

constexpr uint8_t ESC = 0x1B;

// No character that has a weight has both a lead byte and a trail byte from these on.
constexpr uint8_t FIRST_LIGHT_LEAD = 0xD8;
constexpr uint8_t FIRST_LIGHT_TRAIL = 0xA1;
constexpr uint8_t SJIS_LAST_COMMON_LEAD = 0x98;

constexpr bool isSjisLead(uint8_t u8Byte) {
    return (u8Byte >= 0x81 && u8Byte <= 0x9F) || (u8Byte >= 0xE0 && u8Byte <= 0xEF);
}

// Adds a block; the byte before it is read too unless the block is the first.
inline void addToCensus(BYTE_CENSUS_S &stCensus, const uint8_t *pu8Block, bool bFirst) {
    VECTOR_MASK vForeign{}, vEscape{}, vTilde{}; // counted downwards, a true mask being -1
    for (int32_t i = 0; i < TEXT_BLOCK; i += 16) {
        const auto vText = loadAs<VECTOR_U8>(pu8Block + i);
        vForeign += vText > 0x7E;
        vEscape |= vText == ESC;
        vTilde |= vText == '~';
    }
    stCensus.bEscape |= !isZero(vEscape);
    stCensus.bTilde |= !isZero(vTilde);
    if (isZero(vForeign) && (bFirst || pu8Block[-1] <= 0x7E))
        return;
    const VECTOR_U8 vNone{};
    VECTOR_MASK vRuns{}, vWeighty{}, vCommon{}, vRare{};
    for (int32_t i = 0; i < TEXT_BLOCK; i += 16) {
        const auto vText = loadAs<VECTOR_U8>(pu8Block + i);
        const VECTOR_U8 vBefore = i == 0 && bFirst ? __builtin_shufflevector(vNone, vText, 15, 16, 17, 18, 19, 20, 21,
                                                                             22, 23, 24, 25, 26, 27, 28, 29, 30)
                                                   : loadAs<VECTOR_U8>(pu8Block + i - 1);
        const VECTOR_MASK vHighBefore = vBefore > 0x7E;
        vRuns += (vText > 0x7E) & ~vHighBefore;
        vWeighty += vHighBefore & ((vBefore < FIRST_LIGHT_LEAD) | (vText - 0x40 < FIRST_LIGHT_TRAIL - 0x40));
        vCommon += vText - 0x81 <= SJIS_LAST_COMMON_LEAD - 0x81; // one comparison for both ends of a range
        vRare +=
            (vText - (SJIS_LAST_COMMON_LEAD + 1) <= 0x9F - (SJIS_LAST_COMMON_LEAD + 1)) | (vText - 0xE0 <= 0xEF - 0xE0);
    }
    stCensus.s32Foreign += sumOfBytes(-vForeign);
    stCensus.s32Runs += sumOfBytes(-vRuns);
    stCensus.s32Weighty += sumOfBytes(-vWeighty);
    stCensus.s32CommonLeads += sumOfBytes(-vCommon);
    stCensus.s32RareLeads += sumOfBytes(-vRare);
}

inline BYTE_CENSUS_S takeCensus(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    const int32_t s32Length = stText.s32Length;
    const BYTE_CENSUS_S stAnything{s32Length, 1, s32Length, s32Length, s32Length, true, true};
    if (!HAS_VECTORS)
        return stAnything;
    BYTE_CENSUS_S stCensus{};
    int32_t s32Pos = 0;
    for (; s32Length - s32Pos >= TEXT_BLOCK; s32Pos += TEXT_BLOCK) {
        if (quitRequested(stControl)) // the estimators see to the rest
            return stAnything;
        addToCensus(stCensus, stText.pu8 + s32Pos, s32Pos == 0);
    }
    uint8_t au8Rest[1 + TEXT_BLOCK] = {s32Pos > 0 ? stText.pu8[s32Pos - 1] : uint8_t{0}};
    std::memcpy(au8Rest + 1, stText.pu8 + s32Pos, static_cast<size_t>(s32Length - s32Pos));
    addToCensus(stCensus, au8Rest + 1, false);
    return quitRequested(stControl) ? stAnything : stCensus;
}

} // namespace zucharset
