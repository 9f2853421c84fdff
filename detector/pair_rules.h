// The pair-counting estimators as data: which pairs each accepts, and where the weight of an accepted character stands.
#pragma once

#include "estimators.h"

#include <iterator>

namespace zucharset {

struct TRAIL_BAND_S {
    uint8_t u8First;
    uint8_t u8Last;
    uint8_t u8Column; // column of the first trail byte
};

// Accepts the pairs of a range of lead bytes with up to three bands of trail bytes.
struct PAIR_RULE_S {
    uint8_t u8FirstLead;
    uint8_t u8LastLead;
    TRAIL_BAND_S astTrail[3]; // a band that ends before it begins is empty
    size_t u32Table;          // offset of the frequency table in the instance; NO_TABLE: accepted pairs weigh nothing
    int32_t s32Columns;
    int32_t s32Fallback; // weight of a character without an entry, in the rows from first to last
    int32_t s32FirstFallbackRow;
    int32_t s32LastFallbackRow;
};

constexpr size_t NO_TABLE = SIZE_MAX;
constexpr TRAIL_BAND_S UNUSED{1, 0, 0};

// Column of a trail byte; -1 when no band holds it.
constexpr int32_t trailColumn(const PAIR_RULE_S &stRule, uint8_t u8Trail) {
    const auto &astBand = stRule.astTrail;
    if (u8Trail >= astBand[0].u8First && u8Trail <= astBand[0].u8Last)
        return u8Trail - astBand[0].u8First + astBand[0].u8Column;
    if (u8Trail >= astBand[1].u8First && u8Trail <= astBand[1].u8Last)
        return u8Trail - astBand[1].u8First + astBand[1].u8Column;
    if (u8Trail >= astBand[2].u8First && u8Trail <= astBand[2].u8Last)
        return u8Trail - astBand[2].u8First + astBand[2].u8Column;
    return -1;
}

// The rule's answer to a pair: refused, or accepted with a weight of 0 or more.
constexpr int32_t REFUSED = -1;

[[gnu::always_inline]] inline int32_t
applyRule(const PAIR_RULE_S &stRule, const ZU_CHARSETDETECTOR_Common_S &stDetector, uint8_t u8Lead, uint8_t u8Trail) {
    if (u8Lead < stRule.u8FirstLead || u8Lead > stRule.u8LastLead)
        return REFUSED;
    const int32_t s32Column = trailColumn(stRule, u8Trail);
    if (s32Column < 0)
        return REFUSED;
    if (stRule.u32Table == NO_TABLE)
        return 0;
    const int32_t s32Row = u8Lead - stRule.u8FirstLead;
    const auto *pu8Table = reinterpret_cast<const uint8_t *>(&stDetector) + stRule.u32Table;
    const int32_t s32Value = reinterpret_cast<const int32_t *>(pu8Table)[s32Row * stRule.s32Columns + s32Column];
    if (s32Value != 0)
        return s32Value;
    const bool bFallback = s32Row >= stRule.s32FirstFallbackRow && s32Row <= stRule.s32LastFallbackRow;
    return bFallback ? stRule.s32Fallback : 0;
}

#define ZU_FREQUENCY_TABLE(field) offsetof(ZU_CHARSETDETECTOR_Common_S, field)

constexpr PAIR_RULE_S RULE_GB2312{
    0xA1, 0xF7, {{0xA1, 0xFE, 0}, UNUSED, UNUSED}, ZU_FREQUENCY_TABLE(as32FreqGB), 94, 200, 15, 54};
constexpr PAIR_RULE_S RULE_GBK{
    0x81, 0xFE, {{0x40, 0x7E, 0}, {0x80, 0xFE, 64}, UNUSED}, ZU_FREQUENCY_TABLE(as32FreqGBK), 191, 0, 0, -1};
constexpr PAIR_RULE_S RULE_BIG5{
    0xA1, 0xF9, {{0x40, 0x7E, 0}, {0xA1, 0xFE, 64}, UNUSED}, ZU_FREQUENCY_TABLE(as32FreqBIG5), 158, 200, 3, 37};
// In Big5-plus the last row with a fallback is one earlier.
constexpr PAIR_RULE_S RULE_BIG5_IN_BIG5PLUS{
    0xA1, 0xF9, {{0x40, 0x7E, 0}, {0xA1, 0xFE, 64}, UNUSED}, ZU_FREQUENCY_TABLE(as32FreqBIG5), 158, 200, 3, 36};
constexpr PAIR_RULE_S RULE_BIG5PLUS{
    0x81, 0xFE, {{0x40, 0x7E, 0}, {0x80, 0xFE, 64}, UNUSED}, ZU_FREQUENCY_TABLE(as32FreqBIG5P), 191, 0, 0, -1};
constexpr PAIR_RULE_S RULE_EUC_KR{0xA1, 0xFE, {{0xA1, 0xFE, 0}, UNUSED, UNUSED}, ZU_FREQUENCY_TABLE(as32FreqKR), 94, 0,
                                  0,    -1};
constexpr PAIR_RULE_S RULE_UHC{0x81, 0xFE, {{0x41, 0x5A, 0}, {0x61, 0x7A, 0}, {0x81, 0xFE, 0}}, NO_TABLE, 0, 0, 0, -1};
constexpr PAIR_RULE_S RULE_EUC_JP{0xA1, 0xFE, {{0xA1, 0xFE, 0}, UNUSED, UNUSED}, ZU_FREQUENCY_TABLE(as32FreqJP), 94, 0,
                                  0,    -1};
constexpr PAIR_RULE_S NO_RULE{1, 0, {UNUSED, UNUSED, UNUSED}, NO_TABLE, 0, 0, 0, -1};

#undef ZU_FREQUENCY_TABLE

// Estimators that share their sums: a base set, and a superset that also accepts what the base refuses.
struct PAIR_FAMILY_S {
    PAIR_RULE_S stBase;
    PAIR_RULE_S stSuperset;
};

constexpr PAIR_FAMILY_S PAIR_FAMILIES[] = {
    {RULE_GB2312, RULE_GBK}, {RULE_BIG5, NO_RULE},   {RULE_BIG5_IN_BIG5PLUS, RULE_BIG5PLUS},
    {RULE_EUC_KR, RULE_UHC}, {RULE_EUC_JP, NO_RULE},
};
constexpr size_t PAIR_FAMILY_COUNT = std::size(PAIR_FAMILIES);

// Some supersets score one less, so that text of the base set goes to it.
struct PAIR_ESTIMATOR_S {
    DETECTOR_ENCODING_E enEncoding;
    size_t u32Family;
    bool bSuperset;
    int32_t s32Subtract;
};

constexpr PAIR_ESTIMATOR_S _Detector_gb2312_probability{DETECTOR_ENCODING_GB2312, 0, false, 0};
constexpr PAIR_ESTIMATOR_S _Detector_gbk_probability{DETECTOR_ENCODING_GBK, 0, true, 1};
// Counts four-byte codes as well.
constexpr PAIR_ESTIMATOR_S _Detector_gb18030_probability{DETECTOR_ENCODING_GB18030, 0, true, 1};
constexpr PAIR_ESTIMATOR_S _Detector_big5_probability{DETECTOR_ENCODING_BIG5, 1, false, 0};
constexpr PAIR_ESTIMATOR_S _Detector_big5plus_probability{DETECTOR_ENCODING_BIG5PLUS, 2, true, 1};
constexpr PAIR_ESTIMATOR_S _Detector_euc_kr_probability{DETECTOR_ENCODING_EUC_KR, 3, false, 0};
constexpr PAIR_ESTIMATOR_S _Detector_cp949_probability{DETECTOR_ENCODING_CP949, 3, true, 0};
constexpr PAIR_ESTIMATOR_S _Detector_euc_jp_probability{DETECTOR_ENCODING_EUC_JP, 4, false, 0};

} // namespace zucharset
