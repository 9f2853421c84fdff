// The estimators that step through a text in pairs: by one over bytes up to 7E, by two from any higher byte, whether
// its pair is accepted or not. Seven of them visit the same pairs, and GB18030 differs only in how it counts four-byte
// codes. A score depends on how often each pair occurs, so one scan counts the pairs and each distinct one is looked
// up once for all estimators. Shift_JIS steps differently and has a scan of its own.
#include "pair_rules.h"
#include "text_scan.h"

#include <iterator>
#include <utility>

namespace zucharset {
namespace {

constexpr const PAIR_ESTIMATOR_S *ESTIMATORS[] = {
    &_Detector_gb2312_probability, &_Detector_gbk_probability,      &_Detector_gb18030_probability,
    &_Detector_big5_probability,   &_Detector_big5plus_probability, &_Detector_euc_kr_probability,
    &_Detector_cp949_probability,  &_Detector_euc_jp_probability,
};
constexpr size_t ESTIMATOR_COUNT = std::size(ESTIMATORS);

template <const PAIR_ESTIMATOR_S &stEstimator>
void countPair(const ZU_CHARSETDETECTOR_Common_S &stDetector, uint8_t u8Lead, uint8_t u8Trail, int32_t s32Times,
               PAIR_TOTALS_S &stTotals) {
    int32_t s32Value = applyRule(stEstimator.stFirst, stDetector, u8Lead, u8Trail);
    if (s32Value == REFUSED)
        s32Value = applyRule(stEstimator.stSecond, stDetector, u8Lead, u8Trail);
    if (s32Value != REFUSED)
        stTotals.accept(s32Value, s32Times);
}

class PairSurvey {
  public:
    explicit PairSurvey(const ZU_CHARSETDETECTOR_Common_S &stDetectorIn) : stDetector(stDetectorIn) {}

    void scan(TEXT_S stText) {
        const int32_t s32Last = stText.s32Length - 1; // a lead byte here has no partner and is not looked at
        int32_t s32Pos = 0;
        while (s32Pos < s32Last && !quitRequested(stDetector.stControl)) {
            const int32_t s32BlockEnd = s32Last - s32Pos > QUIT_BLOCK ? s32Pos + QUIT_BLOCK : s32Last;
            while (s32Pos < s32BlockEnd) {
                if (stText.pu8[s32Pos] <= 0x7E) {
                    s32Pos = findMarked(stText.pu8, s32Pos, s32BlockEnd,
                                        [](uint64_t u64Word) { return markAtLeast(u64Word, 0x7F); });
                } else {
                    visit(stText, s32Pos);
                    s32Pos += 2;
                }
            }
        }
        countAll(std::make_index_sequence<ESTIMATOR_COUNT>());
    }

    void storeScores(SCORES_S &stScores) const {
        for (size_t i = 0; i < ESTIMATOR_COUNT; ++i) {
            const PAIR_ESTIMATOR_S &stEstimator = *ESTIMATORS[i];
            PAIR_TOTALS_S stTotals = astTotals[i];
            stTotals.s32Total += s32Visited;
            if (stEstimator.enEncoding == DETECTOR_ENCODING_GB18030) {
                stTotals.s32Total -= s32FourByteCodes; // each took the place of two pairs
                stTotals.s32Good += s32FourByteCodes;
            }
            stScores.as32[stEstimator.enEncoding] = stTotals.score() - stEstimator.s32Subtract;
        }
    }

  private:
    // Every estimator refuses pairs outside these ranges.
    static constexpr int32_t FIRST_LEAD = 0x81;
    static constexpr int32_t LEADS = 0xFE - FIRST_LEAD + 1;
    static constexpr int32_t FIRST_TRAIL = 0x40;
    static constexpr int32_t TRAILS = 0xFF - FIRST_TRAIL + 1;
    static_assert(TRAILS % 8 == 0);

    static bool isGb18030Lead(uint8_t u8Byte) { return u8Byte >= 0x81 && u8Byte <= 0xFE; }
    static bool isGb18030Digit(uint8_t u8Byte) { return u8Byte >= 0x30 && u8Byte <= 0x39; }

    void visit(TEXT_S stText, int32_t s32Pos) {
        const uint8_t u8Lead = stText.pu8[s32Pos];
        const uint8_t u8Trail = stText.pu8[s32Pos + 1];
        ++s32Visited;
        const auto u32Row = static_cast<uint32_t>(u8Lead - FIRST_LEAD);
        if (u32Row >= LEADS)
            return;
        if (u8Trail >= FIRST_TRAIL) {
            uint8_t &u8Count = au8Count[u32Row][u8Trail - FIRST_TRAIL];
            if (++u8Count == 0) // 256 of them: counted now, and again from 0
                countPairs(u8Lead, u8Trail, 256, std::make_index_sequence<ESTIMATOR_COUNT>());
        } else if (isGb18030Digit(u8Trail)) {
            visitGb18030Half(stText, s32Pos);
        }
    }

    // Half of a four-byte code looks to the other estimators like a pair that they refuse, so GB18030 is back in step
    // with them after the second half.
    void visitGb18030Half(TEXT_S stText, int32_t s32Pos) {
        if (s32Pos == s32SecondHalf)
            return;
        if (stText.s32Length - s32Pos > 3 && isGb18030Lead(stText.pu8[s32Pos + 2]) &&
            isGb18030Digit(stText.pu8[s32Pos + 3])) {
            ++s32FourByteCodes;
            s32SecondHalf = s32Pos + 2;
        }
    }

    template <size_t... u32Index>
    void countPairs(uint8_t u8Lead, uint8_t u8Trail, int32_t s32Times, std::index_sequence<u32Index...>) {
        (countPair<*ESTIMATORS[u32Index]>(stDetector, u8Lead, u8Trail, s32Times, astTotals[u32Index]), ...);
    }

    template <class Indexes> void countAll(Indexes stIndexes) {
        for (int32_t s32Row = 0; s32Row < LEADS; ++s32Row) {
            for (int32_t s32Word = 0; s32Word < TRAILS; s32Word += 8) {
                uint64_t u64Counts = loadWord(&au8Count[s32Row][s32Word]);
                while (u64Counts != 0) {
                    const int32_t s32Byte = std::countr_zero(u64Counts) / 8;
                    countPairs(static_cast<uint8_t>(FIRST_LEAD + s32Row),
                               static_cast<uint8_t>(FIRST_TRAIL + s32Word + s32Byte),
                               static_cast<uint8_t>(u64Counts >> (8 * s32Byte)), stIndexes);
                    u64Counts &= ~(uint64_t{0xFF} << (8 * s32Byte));
                }
            }
        }
    }

    const ZU_CHARSETDETECTOR_Common_S &stDetector;
    PAIR_TOTALS_S astTotals[ESTIMATOR_COUNT];
    int32_t s32Visited = 0; // pair starts met
    int32_t s32FourByteCodes = 0;
    int32_t s32SecondHalf = -1; // where the second half of the latest four-byte code stands
    uint8_t au8Count[LEADS][TRAILS] = {};
};

static_assert(sizeof(PairSurvey) <= 32 * 1024, "small devices have small thread stacks");

// --- Shift_JIS ---

constexpr bool isSjisLead(uint8_t u8Byte) {
    return (u8Byte >= 0x81 && u8Byte <= 0x9F) || (u8Byte >= 0xE0 && u8Byte <= 0xEF);
}
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

} // namespace

void _Detector_pairs_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, SCORES_S &stScores) {
    PairSurvey stSurvey(stDetector);
    stSurvey.scan(stText);
    stSurvey.storeScores(stScores);
}

// The one estimator that moves on by a single byte after a pair that it refuses.
int32_t _Detector_sjis_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText) {
    PAIR_TOTALS_S stTotals;
    const int32_t s32Last = stText.s32Length - 1;
    int32_t s32Pos = 0;
    while (s32Pos < s32Last && !quitRequested(stDetector.stControl)) {
        const int32_t s32BlockEnd = s32Last - s32Pos > QUIT_BLOCK ? s32Pos + QUIT_BLOCK : s32Last;
        while (s32Pos < s32BlockEnd) {
            const uint8_t u8Lead = stText.pu8[s32Pos];
            if (u8Lead <= 0x7E) {
                s32Pos = findMarked(stText.pu8, s32Pos, s32BlockEnd,
                                    [](uint64_t u64Word) { return markAtLeast(u64Word, 0x7F); });
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
    }
    return stTotals.score();
}

} // namespace zucharset
