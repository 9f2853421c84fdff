// The fifteen estimators of the vote. Each scores a text for one encoding, reads the quit flag as it goes, and after a
// quit request scores what it has seen.
#pragma once

#include "byte_census.h"

#include <cfloat>

namespace zucharset {

// Scores are single precision at every step. Volatile makes the rounding of a product real, so that no compiler fuses
// it into the sum that follows.
static_assert(FLT_EVAL_METHOD == 0, "expressions in float must be evaluated in float");

inline float rounded(float f32Value) {
    const volatile float f32Rounded = f32Value;
    return f32Rounded;
}

inline float quotient(int64_t s64Dividend, int64_t s64Divisor) {
    return rounded(static_cast<float>(s64Dividend) / static_cast<float>(s64Divisor));
}

// What an estimator counts. good / total: the share of pair starts that are accepted; freqsum / weight: how frequent
// the accepted characters are, against a norm of 500 for each.
struct PAIR_TOTALS_S {
    int32_t s32Total = 1;
    int32_t s32Good = 1;
    int64_t s64Weight = 1;
    int64_t s64Freqsum = 0;

    void accept(int32_t s32Value, int32_t s32Times = 1) {
        s32Good += s32Times;
        s64Weight += int64_t{500} * s32Times;
        s64Freqsum += int64_t{s32Value} * s32Times;
    }

    float frequencyPart() const { return rounded(50.0f * quotient(s64Freqsum, s64Weight)); }

    int32_t score() const {
        return static_cast<int32_t>(rounded(50.0f * quotient(s32Good, s32Total)) + frequencyPart());
    }

    // Whether s32Pairs more pairs could lift the score to s32Target: they would have to be accepted throughout, each of
    // them the most frequent character. One point more makes up for roundings.
    bool canReach(int32_t s32Target, int32_t s32Pairs) const {
        const auto f64Pairs = static_cast<double>(s32Pairs);
        const double f64Share = (s32Good + f64Pairs) / (s32Total + f64Pairs);
        const double f64Frequency =
            (static_cast<double>(s64Freqsum) + 600 * f64Pairs) / (static_cast<double>(s64Weight) + 500 * f64Pairs);
        return 50 * f64Share + 50 * f64Frequency + 1 >= s32Target;
    }
};

// Tells an estimator what it looks for: the census of the text and the scores that matter. It may stop as soon as it
// cannot reach the target, and then gives some lower score. With target 0 every score is exact.
struct TARGET_S {
    int32_t s32Score;
    BYTE_CENSUS_S stCensus;
};

// GB2312, GBK, GB18030, Big5, Big5-plus, EUC-KR, CP949 and EUC-JP, which look at the same pairs.
void _Detector_pairs_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, const TARGET_S &stTarget,
                                 SCORES_S &stScores);

int32_t _Detector_sjis_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                   const TARGET_S &stTarget);
int32_t _Detector_hz_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                 const BYTE_CENSUS_S &stCensus);
// ISO-2022-CN, ISO-2022-KR and ISO-2022-JP, which all wait for an escape.
void _Detector_escapes_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                   const BYTE_CENSUS_S &stCensus, SCORES_S &stScores);
int32_t _Detector_utf8_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                   const BYTE_CENSUS_S &stCensus);
int32_t _Detector_ascii_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                    const BYTE_CENSUS_S &stCensus);

} // namespace zucharset
