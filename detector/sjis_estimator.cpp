// The Shift_JIS estimator, the one that moves on by a single byte after a pair that it refuses.
#include "estimators.h"

#include "tables/ranked_positions.h"

#include <algorithm>
#include <iterator>

namespace zucharset {
namespace {

constexpr bool isSjisTrail(uint8_t u8Byte) { return u8Byte >= 0x40 && u8Byte <= 0xFC && u8Byte != 0x7F; }

// Row and cell of a pair in JIS X 0208, from 0. A lead byte covers two rows.
constexpr int32_t sjisRow(uint8_t u8Lead, uint8_t u8Trail) {
    const int32_t s32LeadFrom0 = u8Lead <= 0x9F ? u8Lead - 0x81 : u8Lead - 0xC1;
    return 2 * s32LeadFrom0 + (u8Trail >= 0x9F ? 1 : 0);
}

constexpr int32_t sjisCell(uint8_t u8Trail) {
    if (u8Trail >= 0x9F)
        return u8Trail - 0x9F;
    return u8Trail >= 0x80 ? u8Trail - 0x41 : u8Trail - 0x40;
}

static_assert(sjisRow(0x93, 0xFA) == 38 - 1 && sjisCell(0xFA) == 92 - 1);
static_assert(sjisRow(0xEF, 0xFC) == 94 - 1 && sjisCell(0xFC) == 94 - 1 && sjisCell(0x9E) == 94 - 1);

// Rare lead bytes begin no character that has a weight.
static_assert(std::all_of(std::begin(s_u16RankedJP), std::end(s_u16RankedJP),
                          [](uint16_t u16Cell) { return u16Cell / 94 <= sjisRow(SJIS_LAST_COMMON_LEAD, 0xFC); }));

// Whether a text can reach a score at all. Each accepted pair takes a lead byte and at most one more byte above 7E; the
// bytes above 7E that are left start pairs that are refused. So few accepted pairs mean a small share, and many mean
// that rare lead bytes without weight are among them: the best number is one of four.
bool sjisCanReach(const TARGET_S &stTarget, int32_t s32Length) {
    const BYTE_CENSUS_S &stCensus = stTarget.stCensus;
    const int32_t s32Starts = stCensus.s32LeastForeign - 1; // the last byte of a text starts nothing
    const int32_t s32BySize = s32Length / 2 + 1;
    const int32_t s32Common = std::min(stCensus.s32MostCommonLeads, s32BySize);
    const int32_t s32Most = s32Common + std::min(stCensus.s32MostRareLeads, s32BySize - s32Common);
    for (const int32_t s32Number : {s32Common, s32Starts / 2, s32Starts / 2 + 1, s32Most}) {
        const int32_t s32Accepted = std::clamp(s32Number, 0, s32Most);
        PAIR_TOTALS_S stBest;
        stBest.s32Good += s32Accepted;
        stBest.s32Total += std::max(s32Accepted, s32Starts - s32Accepted);
        stBest.s64Weight += int64_t{500} * s32Accepted;
        stBest.s64Freqsum = int64_t{600} * std::min(s32Accepted, s32Common);
        if (stBest.canReach(stTarget.s32Score, 0))
            return true;
    }
    return false;
}

} // namespace

int32_t _Detector_sjis_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                   const TARGET_S &stTarget) {
    if (stTarget.s32Score > 0 && !sjisCanReach(stTarget, stText.s32Length))
        return 0;
    constexpr int32_t s32CheckEvery = 16 * QUIT_BLOCK;
    PAIR_TOTALS_S stTotals;
    const int32_t s32Last = stText.s32Length - 1;
    int32_t s32NextCheck = s32CheckEvery;
    int32_t s32Pos = stTarget.stCensus.s32MostPairs > 0 ? 0 : s32Last;
    while (s32Pos < s32Last && !quitRequested(stDetector.stControl)) {
        if (s32Pos >= s32NextCheck) {
            if (!stTotals.canReach(stTarget.s32Score, (stText.s32Length - s32Pos) / 2 + 1))
                break;
            s32NextCheck = s32Last - s32Pos > s32CheckEvery ? s32Pos + s32CheckEvery : s32Last;
        }
        const uint8_t u8Lead = stText.pu8[s32Pos];
        if (u8Lead <= 0x7E) {
            s32Pos = findPairStart(stDetector.stControl, stText, s32Pos, s32Last);
            continue;
        }
        ++stTotals.s32Total;
        ++s32Pos;
        const uint8_t u8Trail = stText.pu8[s32Pos];
        if (isSjisLead(u8Lead) && isSjisTrail(u8Trail)) {
            stTotals.accept(stDetector.as32FreqJP[sjisRow(u8Lead, u8Trail)][sjisCell(u8Trail)]);
            ++s32Pos;
        }
    }
    return stTotals.score();
}

} // namespace zucharset
