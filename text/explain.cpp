// The facts behind a verdict.
#include "detector_cascade.h"
#include "detector_vote.h"
#include "memory.h"
#include "reading.h"
#include "well_formed.h"
#include "whole_text.h"
#include "wide_forms.h"

#include <algorithm>
#include <array>
#include <climits>

namespace zutext {

namespace {

using namespace zucharset;

struct Candidate {
    DETECTOR_ENCODING_E index;
    const char *name;
};

constexpr Candidate kCandidates[] = {
    {DETECTOR_ENCODING_GB2312, "GB2312"},
    {DETECTOR_ENCODING_GBK, "GBK"},
    {DETECTOR_ENCODING_GB18030, "GB18030"},
    {DETECTOR_ENCODING_HZ, "HZ"},
    {DETECTOR_ENCODING_BIG5, "Big5"},
    {DETECTOR_ENCODING_BIG5PLUS, "Big5-plus"},
    {DETECTOR_ENCODING_ISO_2022_CN, "ISO-2022-CN"},
    {DETECTOR_ENCODING_EUC_KR, "EUC-KR"},
    {DETECTOR_ENCODING_CP949, "CP949"},
    {DETECTOR_ENCODING_ISO_2022_KR, "ISO-2022-KR"},
    {DETECTOR_ENCODING_EUC_JP, "EUC-JP"},
    {DETECTOR_ENCODING_SJIS, "Shift_JIS"},
    {DETECTOR_ENCODING_ISO_2022_JP, "ISO-2022-JP"},
    {DETECTOR_ENCODING_UTF8, "UTF-8"},
    {DETECTOR_ENCODING_ASCII, "ASCII"},
};
static_assert(std::size(kCandidates) == ZUTEXT_SCORES);
static_assert(DETECTOR_THRESHOLD == ZUTEXT_SCORE_NEEDED);

// A ZUTEXT result.
int32_t explainVote(Bytes text, zutext_explanation &explanation) {
    Owned<ZU_CHARSETDETECTOR_Common_S> detector;
    if (!detector) {
        return ZUTEXT_ERROR_MEMORY;
    }
    *detector = {};
    _Detector_initialize_frequencies(*detector);
    SCORES_S scores = {};
    _Detector_scoreAll(*detector, {text.data(), static_cast<int32_t>(text.size())}, scores);
    const DETECTOR_ENCODING_E winner = _Detector_winner(scores);
    for (size_t i = 0; i < std::size(kCandidates); ++i) {
        const Candidate &candidate = kCandidates[i];
        explanation.scores[i] = {candidate.name, scores.as32[candidate.index], guessEncoding(candidate.index),
                                 candidate.index == winner ? 1 : 0};
    }
    explanation.vote_named = guessEncoding(winner) != 0 ? 1 : 0;
    return ZUTEXT_OK;
}

void explainCascade(Bytes text, zutext_explanation &explanation) {
    bool open = explanation.vote_named == 0;
    static_assert(std::size(zutext_explanation{}.tests) == ZUTEXT_TESTS);
    for (size_t i = 0; i < cascadeRows().size() && i < ZUTEXT_TESTS; ++i) {
        const CASCADE_ROW_S &row = cascadeRows()[i];
        const bool accepted = row.pfnTest(text.data(), static_cast<int32_t>(text.size())) == 0;
        zutext_test &test = explanation.tests[i];
        test = {row.s32CodeType, accepted ? 1 : 0, -1, -1, accepted && open ? 1 : 0};
        open &= !accepted;
        if (accepted || row.pstKnown == nullptr) {
            continue;
        }
        const auto unknown =
            std::find_if(text.begin(), text.end(), [&row](uint8_t byte) { return !row.pstKnown->has(byte); });
        if (unknown != text.end()) {
            test.refused = static_cast<int64_t>(explanation.verdict.sample_offset) + (unknown - text.begin());
            test.byte = *unknown;
        }
    }
}

void writePoint(uint16_t point, char (&text)[8]) {
    const int32_t length = utf8Length(point);
    writeUtf8(point, length, reinterpret_cast<uint8_t *>(text));
    text[length] = 0;
}

// The bytes that the first two readings read differently, most frequent first.
void explainDifferences(Bytes text, zutext_explanation &explanation) {
    const zutext_verdict &verdict = explanation.verdict;
    if (verdict.reading_count < 2) {
        return;
    }
    const int32_t first = verdict.readings[0].encoding;
    const int32_t second = verdict.readings[1].encoding;
    if (singleByteIndex(first) < 0 || singleByteIndex(second) < 0) {
        return;
    }
    std::array<zutext_difference, 256> rows{};
    std::array<uint64_t, 256> lastWord{};
    uint64_t word = 1;
    for (const uint8_t byte : text) {
        word += byte <= ' ' ? 1 : 0;
        ++rows[byte].count;
        rows[byte].words += lastWord[byte] != word ? 1 : 0;
        lastWord[byte] = word;
    }
    const auto differs = [&](size_t byte) {
        const auto value = static_cast<uint8_t>(byte);
        return rows[byte].count > 0 && codePointOf(first, value) != codePointOf(second, value);
    };
    for (size_t byte = 0x80; byte < rows.size(); ++byte) {
        if (!differs(byte)) {
            rows[byte].count = 0;
            continue;
        }
        rows[byte].byte = static_cast<int32_t>(byte);
        writePoint(codePointOf(first, static_cast<uint8_t>(byte)), rows[byte].first);
        writePoint(codePointOf(second, static_cast<uint8_t>(byte)), rows[byte].second);
    }
    std::sort(rows.begin() + 0x80, rows.end(), [](const zutext_difference &a, const zutext_difference &b) {
        return a.count != b.count ? a.count > b.count : a.byte < b.byte;
    });
    for (size_t i = 0x80;
         i < rows.size() && rows[i].count > 0 && explanation.difference_count < ZUTEXT_MOST_DIFFERENCES; ++i) {
        explanation.differences[explanation.difference_count++] = rows[i];
    }
}

void explainUnits(Bytes text, zutext_explanation &explanation) {
    const int32_t encoding = explanation.verdict.encoding;
    if (encoding == ZU_CHARSET_CODETYPE_UCS16LE || encoding == ZU_CHARSET_CODETYPE_UCS16BE) {
        const Utf16Units units = countUnits(text, encoding == ZU_CHARSET_CODETYPE_UCS16BE);
        explanation.utf16_units = static_cast<int32_t>(units.total);
        explanation.utf16_ascii = static_cast<int32_t>(units.ascii);
        explanation.utf16_letters = static_cast<int32_t>(units.letters);
    }
}

} // namespace

} // namespace zutext

using namespace zutext;

int32_t zutext_explain(const uint8_t *bytes, size_t length, const zutext_options *options,
                       zutext_explanation *explanation) {
    if (explanation == nullptr) {
        return ZUTEXT_ERROR_ARGUMENT;
    }
    *explanation = {};
    if (const int32_t result = zutext_detect(bytes, length, options, &explanation->verdict); result != ZUTEXT_OK) {
        return result;
    }
    const zutext_verdict &verdict = explanation->verdict;
    const Bytes sample = Bytes(bytes, length).subspan(static_cast<size_t>(verdict.sample_offset));
    const auto wanted = static_cast<size_t>(verdict.sample_length); // both are within the text
    const Bytes text = sample.first(std::min<size_t>({sample.size(), wanted, INT_MAX}));
    explanation->examined = text.size();
    if (text.empty()) {
        return ZUTEXT_OK;
    }
    if (const int32_t result = explainVote(text, *explanation); result != ZUTEXT_OK) {
        return result;
    }
    explainCascade(text, *explanation);
    explainDifferences(text, *explanation);
    explainUnits(text, *explanation);
    return ZUTEXT_OK;
}
