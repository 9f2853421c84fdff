#include "detector_vote.h"

#include "estimators.h"

namespace zucharset {

void _Detector_scoreAll(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, SCORES_S &stScores) {
    stScores = {};
    _Detector_pairs_probability(stDetector, stText, stScores);
    int32_t *ps32Score = stScores.as32;
    ps32Score[DETECTOR_ENCODING_HZ] = _Detector_hz_probability(stDetector, stText);
    ps32Score[DETECTOR_ENCODING_ISO_2022_CN] = _Detector_iso_2022_cn_probability(stDetector, stText);
    ps32Score[DETECTOR_ENCODING_UTF8] = _Detector_utf8_probability(stDetector, stText);
    ps32Score[DETECTOR_ENCODING_ISO_2022_KR] = _Detector_iso_2022_kr_probability(stDetector, stText);
    ps32Score[DETECTOR_ENCODING_SJIS] = _Detector_sjis_probability(stDetector, stText);
    ps32Score[DETECTOR_ENCODING_ISO_2022_JP] = _Detector_iso_2022_jp_probability(stDetector, stText);
    ps32Score[DETECTOR_ENCODING_ASCII] = _Detector_ascii_probability(stDetector, stText);
}

DETECTOR_ENCODING_E _Detector_winner(const SCORES_S &stScores) {
    int32_t s32Best = 0;
    int32_t s32BestIndex = DETECTOR_ENCODING_UNKNOWN;
    for (int32_t i = 0; i < DETECTOR_ENCODINGS; ++i) {
        if (stScores.as32[i] > s32Best) {
            s32Best = stScores.as32[i];
            s32BestIndex = i;
        }
    }
    return s32Best < DETECTOR_THRESHOLD ? DETECTOR_ENCODING_UNKNOWN : static_cast<DETECTOR_ENCODING_E>(s32BestIndex);
}

int32_t guessEncoding(DETECTOR_ENCODING_E enWinner) {
    switch (enWinner) {
        case DETECTOR_ENCODING_GB2312:
        case DETECTOR_ENCODING_GBK:
            return ZU_CHARSET_CODETYPE_GBK;
        case DETECTOR_ENCODING_BIG5:
        case DETECTOR_ENCODING_BIG5PLUS:
            return ZU_CHARSET_CODETYPE_BIG5;
        case DETECTOR_ENCODING_EUC_KR:
        case DETECTOR_ENCODING_CP949:
            return ZU_CHARSET_CODETYPE_CP949;
        case DETECTOR_ENCODING_UTF8:
            return ZU_CHARSET_CODETYPE_UTF8;
        default:
            return 0; // the others only keep a wrong candidate from winning
    }
}

int32_t _Detector_GuessEnCodingsType(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText) {
    SCORES_S stScores;
    _Detector_scoreAll(stDetector, stText, stScores);
    return guessEncoding(_Detector_winner(stScores));
}

} // namespace zucharset
