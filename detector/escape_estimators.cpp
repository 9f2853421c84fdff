// The estimators of 7-bit encodings, which announce their characters by escapes.
#include "estimators.h"
#include "text_scan.h"

#include <string_view>

namespace zucharset {
namespace {

bool holdsAt(TEXT_S stText, int32_t s32Pos, std::string_view strBytes) {
    return stText.s32Length - s32Pos >= static_cast<int32_t>(strBytes.size()) &&
           std::memcmp(stText.pu8 + s32Pos, strBytes.data(), strBytes.size()) == 0;
}

int32_t findByte(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Pos, uint8_t u8Byte) {
    return findMarkedUnlessQuit(stDetector.stControl, stText, s32Pos,
                                [u8Byte](auto wWords) { return markEqual(wWords, u8Byte); });
}

// 100 when the escape stands anywhere in the text from s32Pos on, which is a place of ESC.
int32_t escapeProbability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Pos,
                          std::string_view strEscape) {
    while (s32Pos < stText.s32Length && !quitRequested(stDetector.stControl)) {
        if (holdsAt(stText, s32Pos, strEscape))
            return 100;
        s32Pos = findByte(stDetector, stText, s32Pos + 1, ESC);
    }
    return 0;
}

// A character set that 7-bit text switches to: its bytes and its table.
struct SEGMENT_SET_S {
    uint8_t u8First;
    uint8_t u8Last;
    int32_t (ZU_CHARSETDETECTOR_Common_S::*pas32Table)[94][94];
    int32_t s32Fallback;
    int32_t s32FirstFallbackRow;
    int32_t s32LastFallbackRow;

    bool has(uint8_t u8Byte) const { return u8Byte >= u8First && u8Byte <= u8Last; }

    int32_t weight(const ZU_CHARSETDETECTOR_Common_S &stDetector, uint8_t u8Row, uint8_t u8Column) const {
        const int32_t s32Row = u8Row - u8First;
        const int32_t s32Value = (stDetector.*pas32Table)[s32Row][u8Column - u8First];
        if (s32Value != 0)
            return s32Value;
        return s32Row >= s32FirstFallbackRow && s32Row <= s32LastFallbackRow ? s32Fallback : 0;
    }
};

constexpr SEGMENT_SET_S GB_7BIT{0x21, 0x77, &ZU_CHARSETDETECTOR_Common_S::as32FreqGB, 200, 15, 54};
constexpr SEGMENT_SET_S GB_8BIT{0xA1, 0xF7, &ZU_CHARSETDETECTOR_Common_S::as32FreqGB, 200, 15, 54};
constexpr SEGMENT_SET_S CNS_7BIT{0x21, 0x7E, &ZU_CHARSETDETECTOR_Common_S::as32FreqEUC_TW, 150, 35, 92};

// Counts the segment of an HZ text that begins at the position, and gives the position of the byte that ended it.
int32_t scanHzSegment(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Pos,
                      PAIR_TOTALS_S &stTotals) {
    for (; s32Pos < stText.s32Length - 1; s32Pos += 2) {
        const uint8_t u8First = stText.pu8[s32Pos];
        const uint8_t u8Second = stText.pu8[s32Pos + 1];
        if (u8First == '\n' || u8First == '\r')
            return s32Pos;
        if (u8First == '~' && u8Second == '}')
            return s32Pos + 1;
        for (const SEGMENT_SET_S *pstSet : {&GB_7BIT, &GB_8BIT}) {
            if (pstSet->has(u8First) && pstSet->has(u8Second))
                stTotals.accept(pstSet->weight(stDetector, u8First, u8Second));
        }
    }
    return s32Pos;
}

// The base score of a number of segments.
constexpr int32_t getRangeval(int32_t s32Segments) {
    if (s32Segments == 0)
        return 0;
    if (s32Segments == 1)
        return 39;
    return s32Segments < 5 ? 41 : 50;
}

// Counts the segment of an ISO-2022-CN text that begins at the position, up to the escape that ends it.
int32_t scanIso2022Segment(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Pos,
                           const SEGMENT_SET_S &stSet, PAIR_TOTALS_S &stTotals) {
    while (s32Pos < stText.s32Length && stText.pu8[s32Pos] != ESC) {
        ++stTotals.s32Total;
        const uint8_t u8First = stText.pu8[s32Pos++];
        if (s32Pos == stText.s32Length)
            break;
        const uint8_t u8Second = stText.pu8[s32Pos];
        if (stSet.has(u8First) && stSet.has(u8Second)) {
            stTotals.accept(stSet.weight(stDetector, u8First, u8Second));
            ++s32Pos;
        }
    }
    return s32Pos;
}

} // namespace

// In an HZ text ~{ begins a segment of GB2312 characters and ~} or the end of the line ends it.
int32_t _Detector_hz_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                 const BYTE_CENSUS_S &stCensus) {
    PAIR_TOTALS_S stTotals;
    int32_t s32Segments = 0;
    int32_t s32Pos = stCensus.bTilde ? findByte(stDetector, stText, 0, '~') : stText.s32Length;
    while (s32Pos < stText.s32Length - 1 && !quitRequested(stDetector.stControl)) {
        const uint8_t u8Next = stText.pu8[s32Pos + 1];
        if (u8Next == '{') {
            ++s32Segments;
            s32Pos = scanHzSegment(stDetector, stText, s32Pos + 2, stTotals);
            if (s32Pos == stText.s32Length)
                break;
        } else if (u8Next == '}' || u8Next == '~') {
            ++s32Pos;
        }
        s32Pos = findByte(stDetector, stText, s32Pos + 1, '~');
    }
    return static_cast<int32_t>(static_cast<float>(getRangeval(s32Segments)) + stTotals.frequencyPart());
}

namespace {

// ESC $ ) A begins a segment of GB2312 characters, ESC $ ) G one of CNS 11643 characters; any escape ends it.
int32_t _Detector_iso_2022_cn_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                          int32_t s32Pos) {
    PAIR_TOTALS_S stTotals;
    while (stText.s32Length - s32Pos > 3 && !quitRequested(stDetector.stControl)) {
        if (holdsAt(stText, s32Pos, "\x1B$)A"))
            s32Pos = scanIso2022Segment(stDetector, stText, s32Pos + 4, GB_7BIT, stTotals);
        else if (holdsAt(stText, s32Pos, "\x1B$)G"))
            s32Pos = scanIso2022Segment(stDetector, stText, s32Pos + 4, CNS_7BIT, stTotals);
        if (s32Pos == stText.s32Length)
            break;
        s32Pos = findByte(stDetector, stText, s32Pos + 1, ESC);
    }
    return stTotals.score();
}

int32_t _Detector_iso_2022_kr_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                          int32_t s32Pos) {
    return escapeProbability(stDetector, stText, s32Pos, "\x1B$)C");
}

int32_t _Detector_iso_2022_jp_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                          int32_t s32Pos) {
    return escapeProbability(stDetector, stText, s32Pos, "\x1B$B");
}

} // namespace

void _Detector_escapes_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                   const BYTE_CENSUS_S &stCensus, SCORES_S &stScores) {
    const int32_t s32First = stCensus.bEscape ? findByte(stDetector, stText, 0, ESC) : stText.s32Length;
    int32_t *ps32Score = stScores.as32;
    ps32Score[DETECTOR_ENCODING_ISO_2022_CN] = _Detector_iso_2022_cn_probability(stDetector, stText, s32First);
    ps32Score[DETECTOR_ENCODING_ISO_2022_KR] = _Detector_iso_2022_kr_probability(stDetector, stText, s32First);
    ps32Score[DETECTOR_ENCODING_ISO_2022_JP] = _Detector_iso_2022_jp_probability(stDetector, stText, s32First);
}

} // namespace zucharset
