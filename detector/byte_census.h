// A quick count of what limits the scores that a text can reach. Taken once, it spares most texts the long way through
// the estimators of encodings that are not theirs.
#pragma once

#include "text_scan.h"

namespace zucharset {

struct BYTE_CENSUS_S {
    int32_t s32Foreign;     // bytes above 7E, which start pairs or end them
    int32_t s32Runs;        // runs of such bytes
    int32_t s32CommonLeads; // lead bytes of Shift_JIS whose rows hold all characters that have a weight
    int32_t s32RareLeads;   // its other lead bytes

    // Steps of two through each run meet at most so many pairs.
    constexpr int32_t mostPairs() const { return s32Foreign / 2 + s32Runs / 2 + 1; }
};

// What limits any text of this length, or a part of a text that is not looked at.
constexpr BYTE_CENSUS_S worstCensus(int32_t s32Length) { return {s32Length, 1, s32Length, s32Length}; }

constexpr uint8_t SJIS_LAST_COMMON_LEAD = 0x98;

constexpr bool isSjisLead(uint8_t u8Byte) {
    return (u8Byte >= 0x81 && u8Byte <= 0x9F) || (u8Byte >= 0xE0 && u8Byte <= 0xEF);
}

inline BYTE_CENSUS_S takeCensus(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    if (!HAS_VECTORS)
        return worstCensus(stText.s32Length);
    BYTE_CENSUS_S stCensus{};
    VECTOR_U8 vBefore{};
    int32_t s32Pos = 0;
    for (; stText.s32Length - s32Pos >= TEXT_BLOCK && !quitRequested(stControl); s32Pos += TEXT_BLOCK) {
        VECTOR_MASK vForeign{}, vRuns{}, vCommon{}, vRare{}; // counted downwards, a true mask being -1
        for (int32_t i = 0; i < TEXT_BLOCK; i += 16) {
            const auto vText = loadAs<VECTOR_U8>(stText.pu8 + s32Pos + i);
            if (s32Pos + i > 0)
                vBefore = loadAs<VECTOR_U8>(stText.pu8 + s32Pos + i - 1);
            const VECTOR_MASK vHigh = vText > 0x7E;
            vForeign += vHigh;
            vRuns += vHigh & (vBefore <= 0x7E);
            vCommon += vText - 0x81 <= SJIS_LAST_COMMON_LEAD - 0x81; // one comparison for both ends of a range
            vRare += (vText - (SJIS_LAST_COMMON_LEAD + 1) <= 0x9F - (SJIS_LAST_COMMON_LEAD + 1)) |
                     (vText - 0xE0 <= 0xEF - 0xE0);
        }
        stCensus.s32Foreign += sumOfBytes(-vForeign);
        stCensus.s32Runs += sumOfBytes(-vRuns);
        stCensus.s32CommonLeads += sumOfBytes(-vCommon);
        stCensus.s32RareLeads += sumOfBytes(-vRare);
    }
    const BYTE_CENSUS_S stRest = worstCensus(stText.s32Length - s32Pos);
    return {stCensus.s32Foreign + stRest.s32Foreign, stCensus.s32Runs + stRest.s32Runs,
            stCensus.s32CommonLeads + stRest.s32CommonLeads, stCensus.s32RareLeads + stRest.s32RareLeads};
}

} // namespace zucharset
