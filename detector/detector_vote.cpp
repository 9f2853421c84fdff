#include "detector_vote.h"

#include "estimators.h"

namespace zucharset {

namespace {

// Which scores the estimators that come late in the vote need to work out.
enum class PRECISION_E {
    EXACT,
    WINNER, // only those that can still win
};

void score(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, PRECISION_E enPrecision, SCORES_S &stScores) {
    stScores = {};
    int32_t *ps32Score = stScores.as32;
    TARGET_S stTarget{0, takeCensus(stDetector.stControl, stText)};
    const BYTE_CENSUS_S &stCensus = stTarget.stCensus;
    const auto raiseTarget = [&] {
        stTarget.s32Score = DETECTOR_THRESHOLD;
        for (const int32_t s32Score : stScores.as32)
            stTarget.s32Score = s32Score > stTarget.s32Score ? s32Score : stTarget.s32Score;
    };
    ps32Score[DETECTOR_ENCODING_UTF8] = _Detector_utf8_probability(stDetector, stText, stCensus);
    ps32Score[DETECTOR_ENCODING_ASCII] = _Detector_ascii_probability(stDetector, stText, stCensus);
    if (enPrecision == PRECISION_E::WINNER)
        raiseTarget();
    _Detector_pairs_probability(stDetector, stText, stTarget, stScores);
    // The others name nothing: they matter only where they could keep a candidate from winning that does. UTF-16 and
    // most single-byte text has none.
    if (enPrecision == PRECISION_E::WINNER && guessEncoding(_Detector_winner(stScores)) == 0)
        return;
    ps32Score[DETECTOR_ENCODING_HZ] = _Detector_hz_probability(stDetector, stText, stCensus);
    _Detector_escapes_probability(stDetector, stText, stCensus, stScores);
    if (enPrecision == PRECISION_E::WINNER)
        raiseTarget();
    ps32Score[DETECTOR_ENCODING_SJIS] = _Detector_sjis_probability(stDetector, stText, stTarget);
}

} // namespace

void _Detector_scoreAll(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, SCORES_S &stScores) {
    score(stDetector, stText, PRECISION_E::EXACT, stScores);
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
    score(stDetector, stText, PRECISION_E::WINNER, stScores);
    return guessEncoding(_Detector_winner(stScores));
}

} // namespace zucharset
