// The estimators of UTF-8 and ASCII, which need no frequency tables.
#include "estimators.h"
#include "text_scan.h"

namespace zucharset {
namespace {

constexpr bool within80BF(uint8_t u8Byte) { return (u8Byte & 0xC0) == 0x80; }

// Length of the well-formed sequence at a position, 0 when there is none.
int32_t getGoodBytes(TEXT_S stText, int32_t s32Pos) {
    const uint8_t u8Lead = stText.pu8[s32Pos];
    const int32_t s32Length = u8Lead > 0xFD ? 0 : utf8SequenceLength(u8Lead);
    if (s32Length > stText.s32Length - s32Pos)
        return 0;
    for (int32_t i = 1; i < s32Length; ++i) {
        if (!within80BF(stText.pu8[s32Pos + i]))
            return 0;
    }
    return s32Length;
}

bool isUtf8Bom(TEXT_S stText) {
    return stText.s32Length >= 4 && stText.pu8[0] == 0xEF && stText.pu8[1] == 0xBB && stText.pu8[2] == 0xBF;
}

// A second opinion on a flawless text too short to trust: nothing but a byte order mark may be foreign.
DETECTOR_ENCODING_E getLabelCodeType(TEXT_S stText) {
    for (int32_t s32Pos = isUtf8Bom(stText) ? 3 : 0; s32Pos < stText.s32Length; ++s32Pos) {
        if (stText.pu8[s32Pos] >= 0x80)
            return DETECTOR_ENCODING_GBK;
    }
    return DETECTOR_ENCODING_UTF8;
}

// A flawless text keeps its score, a short one only if the second opinion agrees; one with a flaw needs more than 30
// good bytes to make up for it.
int32_t adjustScore(TEXT_S stText, int32_t s32Raw, int32_t s32GoodBytes) {
    if (s32Raw >= 99) {
        const bool bTrusted = stText.s32Length > 8 || getLabelCodeType(stText) == DETECTOR_ENCODING_UTF8;
        return bTrusted ? s32Raw : 70;
    }
    return s32Raw >= 96 && s32GoodBytes > 30 ? s32Raw : 0;
}

// The UTF-8 score of a text that could as well be anything else.
constexpr int32_t ALL_ASCII = 17;

// What a byte takes from the score of plain text.
constexpr int32_t getScore(uint8_t u8Byte) {
    if (u8Byte >= 0x7F)
        return 10;
    return u8Byte == ESC ? 5 : 0;
}

} // namespace

int32_t _Detector_utf8_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                   const BYTE_CENSUS_S &stCensus) {
    if (stCensus.s32MostPairs == 0)
        return ALL_ASCII;
    int32_t s32Ascii = 0;
    int32_t s32GoodBytes = 0;
    int32_t s32Pos = 0;
    bool bBroken = false;
    while (s32Pos < stText.s32Length && !bBroken && !quitRequested(stDetector.stControl)) {
        const int32_t s32BlockEnd = stText.s32Length - s32Pos > QUIT_BLOCK ? s32Pos + QUIT_BLOCK : stText.s32Length;
        if (s32BlockEnd - s32Pos == QUIT_BLOCK) {
            if (isAsciiBlock(stText.pu8 + s32Pos)) {
                s32Ascii += QUIT_BLOCK;
                s32Pos += QUIT_BLOCK;
                continue;
            }
            const int32_t s32WellFormed = wellFormedLength(stText.pu8 + s32Pos);
            if (s32WellFormed > 0) {
                const int32_t s32Cut = QUIT_BLOCK - s32WellFormed; // the start of a sequence, all of it foreign
                const int32_t s32Foreign = countForeign(stText.pu8 + s32Pos) - s32Cut;
                s32GoodBytes += s32Foreign;
                s32Ascii += s32WellFormed - s32Foreign;
                s32Pos += s32WellFormed;
                continue;
            }
        }
        while (s32Pos < s32BlockEnd) {
            if (stText.pu8[s32Pos] < 0x80) {
                ++s32Ascii;
                ++s32Pos;
                continue;
            }
            const int32_t s32Good = getGoodBytes(stText, s32Pos);
            if (s32Good == 0) {
                bBroken = true;
                break;
            }
            s32GoodBytes += s32Good;
            s32Pos += s32Good;
        }
    }
    if (s32Ascii == stText.s32Length)
        return ALL_ASCII;
    const float f32Share = quotient(s32GoodBytes, stText.s32Length - s32Ascii);
    return adjustScore(stText, static_cast<int32_t>(rounded(100.0f * f32Share)), s32GoodBytes);
}

int32_t _Detector_ascii_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText,
                                    const BYTE_CENSUS_S &stCensus) {
    const auto costly = [](auto wWords) { return markAtLeast(wWords, 0x7F) | markEqual(wWords, ESC); };
    int32_t s32Score = 70;
    int32_t s32Pos = stCensus.s32MostPairs > 0 || stCensus.bEscape ? 0 : stText.s32Length;
    while ((s32Pos = findMarkedUnlessQuit(stDetector.stControl, stText, s32Pos, costly)) < stText.s32Length &&
           !quitRequested(stDetector.stControl)) {
        s32Score -= getScore(stText.pu8[s32Pos]);
        if (s32Score < 0)
            return 0;
        ++s32Pos;
    }
    return s32Score;
}

} // namespace zucharset
