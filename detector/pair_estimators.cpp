// The estimators that step through a text in pairs: by one over bytes up to 7E, by two from any higher byte, whether
// its pair is accepted or not. Seven of them visit the same pairs, and GB18030 differs only in how it counts four-byte
// codes. A score depends on how often each pair occurs, so one scan counts the pairs and each distinct one is looked
// up once for all estimators.
#include "pair_rules.h"
#include "text_scan.h"

#include "tables/ranked_positions.h"

#include <algorithm>
#include <utility>

namespace zucharset {
namespace {

constexpr const PAIR_ESTIMATOR_S *ESTIMATORS[] = {
    &_Detector_gb2312_probability, &_Detector_gbk_probability,      &_Detector_gb18030_probability,
    &_Detector_big5_probability,   &_Detector_big5plus_probability, &_Detector_euc_kr_probability,
    &_Detector_cp949_probability,  &_Detector_euc_jp_probability,
};

// --- Pairs that weigh nothing ---

// Whether a ranking gives no weight to light pairs, apart from those that a base set accepts first.
template <size_t u32Ranked>
constexpr bool leavesOutLight(const uint16_t (&au16Ranked)[u32Ranked], const PAIR_RULE_S &stRule,
                              const PAIR_RULE_S &stBase = NO_RULE) {
    for (const uint16_t u16Cell : au16Ranked) {
        const int32_t s32Lead = stRule.u8FirstLead + u16Cell / stRule.s32Columns;
        if (s32Lead < FIRST_LIGHT_LEAD)
            continue;
        for (int32_t s32Trail = FIRST_LIGHT_TRAIL; s32Trail <= 0xFF; ++s32Trail) {
            const auto u8Trail = static_cast<uint8_t>(s32Trail);
            const bool bBase =
                s32Lead >= stBase.u8FirstLead && s32Lead <= stBase.u8LastLead && trailColumn(stBase, u8Trail) >= 0;
            if (!bBase && trailColumn(stRule, u8Trail) == u16Cell % stRule.s32Columns)
                return false;
        }
    }
    return stRule.s32Fallback == 0 || stRule.u8FirstLead + stRule.s32LastFallbackRow < FIRST_LIGHT_LEAD;
}

static_assert(leavesOutLight(s_u16RankedGB, RULE_GB2312) && leavesOutLight(s_u16RankedGBK, RULE_GBK, RULE_GB2312) &&
              leavesOutLight(s_u16RankedBIG5, RULE_BIG5) && leavesOutLight(s_u16RankedBIG5, RULE_BIG5_IN_BIG5PLUS) &&
              leavesOutLight(s_u16RankedBIG5P, RULE_BIG5PLUS, RULE_BIG5_IN_BIG5PLUS) &&
              leavesOutLight(s_u16RankedKR, RULE_EUC_KR) && leavesOutLight(s_u16RankedJP, RULE_EUC_JP));

// Whether any estimator can reach a score. All bytes above 7E but the last are part of a pair, so that there are at
// least half as many pairs. With few pairs of any weight a score is highest when those alone are accepted, or all.
bool pairsCanReach(const TARGET_S &stTarget) {
    const double f64Weighty = stTarget.stCensus.s32MostWeighty;
    const double f64Pairs = (stTarget.stCensus.s32LeastForeign - 1) / 2.0;
    if (f64Weighty >= f64Pairs)
        return true;
    const double f64Share = (f64Weighty + 1) / (f64Pairs + 1); // both counts start at one
    return std::max(50 * f64Share + 60, 50 + 60 * f64Weighty / f64Pairs) + 1 >= stTarget.s32Score;
}

// --- The survey ---

// Where in a block pairs start, the first byte being none's second: at every other byte of each run above 7E. The
// sum carries through the runs that begin at an even place, and so tells them from the others.
constexpr uint64_t pairStarts(uint64_t u64Above) {
    constexpr uint64_t EVEN = 0x5555555555555555;
    const uint64_t u64Begins = u64Above & ~(u64Above << 1);
    const uint64_t u64FromEven = u64Above & ~(u64Above + (u64Begins & EVEN));
    return (u64FromEven & EVEN) | (u64Above & ~u64FromEven & ~EVEN);
}
static_assert(pairStarts(0b1111'0111'0110'1110) == 0b0101'0101'0010'1010);

// Accepted pairs and what they weigh together.
struct PAIR_SUM_S {
    int32_t s32Accepted;
    int64_t s64Weight;

    void add(int32_t s32Value, int32_t s32Times) {
        s32Accepted += s32Times;
        s64Weight += int64_t{s32Value} * s32Times;
    }
};

struct FAMILY_SUMS_S {
    PAIR_SUM_S stBase;
    PAIR_SUM_S stSuperset; // of pairs that the base refuses
};

class PairSurvey {
  public:
    explicit PairSurvey(const ZU_CHARSETDETECTOR_Common_S &stDetectorIn) : stDetector(stDetectorIn) {}

    void scan(TEXT_S stText, const TARGET_S &stTarget) {
        const int32_t s32Last = stText.s32Length - 1; // a lead byte here has no partner and is not looked at
        if (stTarget.stCensus.s32MostPairs == 0 || !pairsCanReach(stTarget))
            return;
        const int32_t s32First = findPairStart(stDetector.stControl, stText, 0, s32Last);
        if (stText.s32Length - s32First <= COUNTING_PAYS) {
            scanRange<PAIRS_E::WEIGHED>(stText, s32First, s32Last);
            return;
        }
        std::memset(au8Count, 0, sizeof au8Count);
        int32_t s32Pos = s32First;
        if (stTarget.s32Score > HARD_TO_REACH) {
            for (const int32_t s32Divisor : {4, 2}) {
                s32Pos = scanRange<PAIRS_E::COUNTED>(stText, s32Pos, s32Last / s32Divisor);
                weighCounts();
                if (!anyCanReach(stTarget))
                    return;
                std::memset(au8Count, 0, sizeof au8Count);
            }
        }
        scanRange<PAIRS_E::COUNTED>(stText, s32Pos, s32Last);
        weighCounts();
    }

    void storeScores(SCORES_S &stScores) const {
        for (const PAIR_ESTIMATOR_S *pstEstimator : ESTIMATORS)
            stScores.as32[pstEstimator->enEncoding] = totalsOf(*pstEstimator).score() - pstEstimator->s32Subtract;
    }

  private:
    // Every byte above 7E starts a pair. No estimator accepts one with a lower trail byte.
    static constexpr size_t FIRST_LEAD = 0x7F;
    static constexpr size_t LEADS = 0xFF - FIRST_LEAD + 1;
    static constexpr size_t FIRST_TRAIL = 0x40;
    static constexpr size_t TRAILS = 0xFF - FIRST_TRAIL + 1;
    static_assert(TRAILS % 16 == 0);

    // In a shorter text each pair is weighed as it comes.
    static constexpr int32_t COUNTING_PAYS = 256;
    // Above this score, text of one encoding shows early that it is not of another.
    static constexpr int32_t HARD_TO_REACH = 90;

    // What becomes of a pair: weighed as it comes, or counted, to be weighed with its like.
    enum class PAIRS_E { WEIGHED, COUNTED };

    // Counts a pair, to be weighed with its like.
    ZU_HOT void count(TEXT_S stText, const uint8_t *pu8Pair) {
        const size_t u32Lead = pu8Pair[0];
        const size_t u32Trail = pu8Pair[1];
        if (u32Trail < FIRST_TRAIL)
            visitLowTrail(stText, static_cast<int32_t>(pu8Pair - stText.pu8));
        else if (++au8Count[(u32Lead - FIRST_LEAD) * TRAILS + u32Trail - FIRST_TRAIL] == 0)
            weigh(pu8Pair[0], pu8Pair[1], 256); // weighed now, and counted again from 0
    }

    // The whole blocks before pu8End. Words and spaces come in no order that a processor could foresee; here it need
    // not.
    const uint8_t *countBlocks(TEXT_S stText, const uint8_t *pu8, const uint8_t *pu8End) {
        while (pu8End - pu8 >= TEXT_BLOCK && !quitRequested(stDetector.stControl)) {
            const uint64_t u64Starts = pairStarts(bitsAtLeast<FIRST_LEAD>(pu8));
            for (uint64_t u64Left = u64Starts; u64Left != 0; u64Left &= u64Left - 1)
                count(stText, pu8 + std::countr_zero(u64Left));
            pu8 += TEXT_BLOCK + (u64Starts >> 63); // with the second byte of the last pair
        }
        return pu8;
    }

    // Steps through the pairs that start before s32End, and gives the place where the next one may start. Words with
    // single spaces between them are stepped through without a search.
    template <PAIRS_E enPairs> int32_t scanRange(TEXT_S stText, int32_t s32Pos, int32_t s32End) {
        const HANDLE_CONTROL_S &stControl = stDetector.stControl;
        const uint8_t *pu8 = stText.pu8 + s32Pos;
        const uint8_t *const pu8End = stText.pu8 + s32End;
        if (HAS_QUICK_BITS && enPairs == PAIRS_E::COUNTED)
            pu8 = countBlocks(stText, pu8, pu8End);
        while (pu8 < pu8End && !quitRequested(stControl)) {
            const size_t u32Lead = pu8[0];
            const size_t u32Trail = pu8[1];
            if (u32Lead > 0x7E) {
                if (enPairs == PAIRS_E::WEIGHED && u32Trail >= FIRST_TRAIL)
                    weigh(pu8[0], pu8[1], 1);
                else
                    count(stText, pu8);
                pu8 += 2;
                continue;
            }
            if (u32Trail > 0x7E) {
                ++pu8;
                continue;
            }
            const uint64_t u64Marks = pu8End - pu8 >= 8 ? markAtLeast(loadAs<uint64_t>(pu8), 0x7F) : 0;
            if (u64Marks != 0)
                pu8 += std::countr_zero(u64Marks) / 8;
            else
                pu8 = stText.pu8 + findPairStart(stControl, stText, static_cast<int32_t>(pu8 - stText.pu8), s32End);
        }
        return static_cast<int32_t>(pu8 - stText.pu8);
    }

    void weighCounts() {
        for (size_t u32Cell = 0; u32Cell < sizeof au8Count; u32Cell += 16) {
            if (isZero(loadAs<VECTOR_U64>(au8Count + u32Cell)))
                continue;
            weighWord(u32Cell);
            weighWord(u32Cell + 8);
        }
    }

    void weighWord(size_t u32Cell) {
        auto u64Counts = loadAs<uint64_t>(au8Count + u32Cell);
        while (u64Counts != 0) {
            const uint32_t u32Byte = static_cast<uint32_t>(std::countr_zero(u64Counts)) / 8;
            weigh(static_cast<uint8_t>(FIRST_LEAD + u32Cell / TRAILS),
                  static_cast<uint8_t>(FIRST_TRAIL + u32Cell % TRAILS + u32Byte),
                  static_cast<uint8_t>(u64Counts >> (8 * u32Byte)));
            u64Counts &= ~(uint64_t{0xFF} << (8 * u32Byte));
        }
    }

    [[gnu::noinline]] void weigh(uint8_t u8Lead, uint8_t u8Trail, int32_t s32Times) {
        s32Visited += s32Times;
        weighFor(u8Lead, u8Trail, s32Times, std::make_index_sequence<PAIR_FAMILY_COUNT>());
    }

    template <size_t... u32Family>
    void weighFor(uint8_t u8Lead, uint8_t u8Trail, int32_t s32Times, std::index_sequence<u32Family...>) {
        (weighForFamily<u32Family>(u8Lead, u8Trail, s32Times), ...);
    }

    template <size_t u32Family>
    [[gnu::always_inline]] void weighForFamily(uint8_t u8Lead, uint8_t u8Trail, int32_t s32Times) {
        constexpr PAIR_FAMILY_S stFamily = PAIR_FAMILIES[u32Family];
        int32_t s32Value = applyRule(stFamily.stBase, stDetector, u8Lead, u8Trail);
        if (s32Value != REFUSED) {
            astSums[u32Family].stBase.add(s32Value, s32Times);
            return;
        }
        s32Value = applyRule(stFamily.stSuperset, stDetector, u8Lead, u8Trail);
        if (s32Value != REFUSED)
            astSums[u32Family].stSuperset.add(s32Value, s32Times);
    }

    static bool isGb18030Lead(uint8_t u8Byte) { return u8Byte >= 0x81 && u8Byte <= 0xFE; }
    static bool isGb18030Digit(uint8_t u8Byte) { return u8Byte >= 0x30 && u8Byte <= 0x39; }

    // Half of a four-byte code looks to the other estimators like a pair that they refuse, so GB18030 is back in step
    // with them after the second half.
    void visitLowTrail(TEXT_S stText, int32_t s32Pos) {
        ++s32Visited;
        const uint8_t *pu8 = stText.pu8 + s32Pos;
        if (s32Pos == s32SecondHalf || stText.s32Length - s32Pos <= 3)
            return;
        if (isGb18030Lead(pu8[0]) && isGb18030Digit(pu8[1]) && isGb18030Lead(pu8[2]) && isGb18030Digit(pu8[3])) {
            ++s32FourByteCodes;
            s32SecondHalf = s32Pos + 2;
        }
    }

    PAIR_TOTALS_S totalsOf(const PAIR_ESTIMATOR_S &stEstimator) const {
        const FAMILY_SUMS_S &stSums = astSums[stEstimator.u32Family];
        PAIR_SUM_S stSum = stSums.stBase;
        if (stEstimator.bSuperset) {
            stSum.s32Accepted += stSums.stSuperset.s32Accepted;
            stSum.s64Weight += stSums.stSuperset.s64Weight;
        }
        PAIR_TOTALS_S stTotals;
        stTotals.s32Total += s32Visited;
        stTotals.s32Good += stSum.s32Accepted;
        stTotals.s64Weight += int64_t{500} * stSum.s32Accepted;
        stTotals.s64Freqsum += stSum.s64Weight;
        if (stEstimator.enEncoding == DETECTOR_ENCODING_GB18030) {
            stTotals.s32Total -= s32FourByteCodes; // each took the place of two pairs
            stTotals.s32Good += s32FourByteCodes;
        }
        return stTotals;
    }

    bool anyCanReach(const TARGET_S &stTarget) const {
        const int32_t s32Rest = stTarget.stCensus.s32MostPairs - s32Visited;
        for (const PAIR_ESTIMATOR_S *pstEstimator : ESTIMATORS) {
            if (totalsOf(*pstEstimator).canReach(stTarget.s32Score, s32Rest > 0 ? s32Rest : 0))
                return true;
        }
        return false;
    }

    const ZU_CHARSETDETECTOR_Common_S &stDetector;
    FAMILY_SUMS_S astSums[PAIR_FAMILY_COUNT]{};
    int32_t s32Visited = 0; // pair starts met, without those that are only counted yet
    int32_t s32FourByteCodes = 0;
    int32_t s32SecondHalf = -1; // where the second half of the latest four-byte code stands
    uint8_t au8Count[LEADS * TRAILS];
};

static_assert(sizeof(PairSurvey) <= 32768, "small devices have small thread stacks");

} // namespace

void _Detector_pairs_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, const TARGET_S &stTarget,
                                 SCORES_S &stScores) {
    PairSurvey stSurvey(stDetector);
    stSurvey.scan(stText, stTarget);
    stSurvey.storeScores(stScores);
}

} // namespace zucharset
