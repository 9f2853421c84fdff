// The multibyte vote: fifteen estimators score a text, the best one names its encoding.
#pragma once

#include "detector_instance.h"

namespace zucharset {

// The candidates of the vote; the value is the place in the table of scores.
enum DETECTOR_ENCODING_E : int32_t {
    DETECTOR_ENCODING_GB2312 = 0,
    DETECTOR_ENCODING_GBK = 1,
    DETECTOR_ENCODING_GB18030 = 2,
    DETECTOR_ENCODING_HZ = 3,
    DETECTOR_ENCODING_BIG5 = 4,
    DETECTOR_ENCODING_BIG5PLUS = 5,
    DETECTOR_ENCODING_ISO_2022_CN = 7,
    DETECTOR_ENCODING_EUC_KR = 8,
    DETECTOR_ENCODING_CP949 = 9,
    DETECTOR_ENCODING_ISO_2022_KR = 10,
    DETECTOR_ENCODING_EUC_JP = 12,
    DETECTOR_ENCODING_SJIS = 13,
    DETECTOR_ENCODING_ISO_2022_JP = 14,
    DETECTOR_ENCODING_UTF8 = 15,
    DETECTOR_ENCODING_ASCII = 17,
    DETECTOR_ENCODING_UNKNOWN = 18,
};

constexpr int32_t DETECTOR_ENCODINGS = 19;
constexpr int32_t DETECTOR_THRESHOLD = 66; // a score below it names nothing

// A text under examination. s32Length is 1 or more.
struct TEXT_S {
    const uint8_t *pu8;
    int32_t s32Length;
};

// Scores by DETECTOR_ENCODING_E; places without an estimator stay 0.
struct SCORES_S {
    int32_t as32[DETECTOR_ENCODINGS];
};

// Runs the fifteen estimators to the end.
void _Detector_scoreAll(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, SCORES_S &stScores);

// The candidate with the highest score, the first of equals; DETECTOR_ENCODING_UNKNOWN below the threshold.
DETECTOR_ENCODING_E _Detector_winner(const SCORES_S &stScores);

// The code type that a winner names, 0 for none.
int32_t guessEncoding(DETECTOR_ENCODING_E enWinner);

// The vote as a whole: 20, 1, 2, 33, or 0 when it names nothing.
int32_t _Detector_GuessEnCodingsType(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText);

} // namespace zucharset
