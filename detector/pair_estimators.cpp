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

// The weight that an estimator gives a pair, or REFUSED.
template <const PAIR_ESTIMATOR_S &stEstimator>
[[gnu::always_inline]] inline int32_t pairValue(const ZU_CHARSETDETECTOR_Common_S &stDetector, uint8_t u8Lead,
                                                uint8_t u8Trail) {
    const int32_t s32Value = applyRule(stEstimator.stFirst, stDetector, u8Lead, u8Trail);
    return s32Value != REFUSED ? s32Value : applyRule(stEstimator.stSecond, stDetector, u8Lead, u8Trail);
}

// Position of the next byte above 7E, or s32End.
int32_t findPairStart(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Pos, int32_t s32End) {
    return findMarkedUnlessQuit(stDetector.stControl, {stText.pu8, s32End}, s32Pos,
                                [](auto wWords) { return markAtLeast(wWords, 0x7F); });
}

class PairSurvey {
  public:
    explicit PairSurvey(const ZU_CHARSETDETECTOR_Common_S &stDetectorIn) : stDetector(stDetectorIn) {}

    void scan(TEXT_S stText, int32_t s32Target) {
        const int32_t s32Last = stText.s32Length - 1; // a lead byte here has no partner and is not looked at
        const int32_t s32First = findPairStart(stDetector, stText, 0, s32Last);
        if (stText.s32Length - s32First <= COUNTING_PAYS) {
            scanRange<&PairSurvey::weighPair>(stText, s32First, s32Last);
            return;
        }
        std::memset(au8Count, 0, sizeof au8Count);
        int32_t s32Pos = s32First;
        if (s32Target > HARD_TO_REACH) {
            for (const int32_t s32Divisor : {4, 2}) {
                s32Pos = scanRange<&PairSurvey::countPair>(stText, s32Pos, s32Last / s32Divisor);
                weighCounts();
                if (!anyCanReach(s32Target, stText.s32Length - s32Pos))
                    return;
                std::memset(au8Count, 0, sizeof au8Count);
            }
        }
        scanRange<&PairSurvey::countPair>(stText, s32Pos, s32Last);
        weighCounts();
    }

    void storeScores(SCORES_S &stScores) const {
        for (size_t i = 0; i < ESTIMATOR_COUNT; ++i)
            stScores.as32[ESTIMATORS[i]->enEncoding] = totalsOf(i).score() - ESTIMATORS[i]->s32Subtract;
    }

  private:
    // Every estimator refuses pairs outside these ranges.
    static constexpr int32_t FIRST_LEAD = 0x81;
    static constexpr int32_t LEADS = 0xFE - FIRST_LEAD + 1;
    static constexpr int32_t FIRST_TRAIL = 0x40;
    static constexpr int32_t TRAILS = 0xFF - FIRST_TRAIL + 1;
    static_assert(TRAILS % 8 == 0);

    // In a shorter text each pair is weighed as it comes.
    static constexpr int32_t COUNTING_PAYS = 256;
    // Above this score, text of one encoding shows early that it is not of another.
    static constexpr int32_t HARD_TO_REACH = 90;

    // Steps through the pairs that start before s32End, and gives the place where the next one may start.
    template <void (PairSurvey::*pfnPair)(uint8_t, uint8_t)>
    int32_t scanRange(TEXT_S stText, int32_t s32Pos, int32_t s32End) {
        while (s32Pos < s32End && !quitRequested(stDetector.stControl)) {
            const int32_t s32BlockEnd = s32End - s32Pos > QUIT_BLOCK ? s32Pos + QUIT_BLOCK : s32End;
            while (s32Pos < s32BlockEnd) {
                const uint8_t u8Lead = stText.pu8[s32Pos];
                if (u8Lead <= 0x7E) {
                    s32Pos = findPairStart(stDetector, stText, s32Pos, s32End);
                    continue;
                }
                ++s32Visited;
                const uint8_t u8Trail = stText.pu8[s32Pos + 1];
                if (u8Lead >= FIRST_LEAD && u8Lead < FIRST_LEAD + LEADS) {
                    if (u8Trail >= FIRST_TRAIL)
                        (this->*pfnPair)(u8Lead, u8Trail);
                    else if (isGb18030Digit(u8Trail))
                        visitGb18030Half(stText, s32Pos);
                }
                s32Pos += 2;
            }
        }
        return s32Pos;
    }

    void countPair(uint8_t u8Lead, uint8_t u8Trail) {
        uint8_t &u8Count = au8Count[u8Lead - FIRST_LEAD][u8Trail - FIRST_TRAIL];
        if (++u8Count == 0) // 256 of them: weighed now, and counted again from 0
            weigh(u8Lead, u8Trail, 256);
    }

    void weighPair(uint8_t u8Lead, uint8_t u8Trail) { weigh(u8Lead, u8Trail, 1); }

    void weighCounts() {
        for (int32_t s32Row = 0; s32Row < LEADS; ++s32Row) {
            for (int32_t s32Word = 0; s32Word < TRAILS; s32Word += 8) {
                auto u64Counts = loadAs<uint64_t>(&au8Count[s32Row][s32Word]);
                while (u64Counts != 0) {
                    const int32_t s32Byte = std::countr_zero(u64Counts) / 8;
                    weigh(static_cast<uint8_t>(FIRST_LEAD + s32Row),
                          static_cast<uint8_t>(FIRST_TRAIL + s32Word + s32Byte),
                          static_cast<uint8_t>(u64Counts >> (8 * s32Byte)));
                    u64Counts &= ~(uint64_t{0xFF} << (8 * s32Byte));
                }
            }
        }
    }

    void weigh(uint8_t u8Lead, uint8_t u8Trail, int32_t s32Times) {
        weighFor(u8Lead, u8Trail, s32Times, std::make_index_sequence<ESTIMATOR_COUNT>());
    }

    // All values first, then all sums: estimators share rules, and a compiler looks a shared rule up only once while
    // nothing is stored in between.
    template <size_t... u32Index>
    void weighFor(uint8_t u8Lead, uint8_t u8Trail, int32_t s32Times, std::index_sequence<u32Index...>) {
        const int32_t as32Value[] = {pairValue<*ESTIMATORS[u32Index]>(stDetector, u8Lead, u8Trail)...};
        ((as32Value[u32Index] != REFUSED ? astTotals[u32Index].accept(as32Value[u32Index], s32Times) : void()), ...);
    }

    static bool isGb18030Lead(uint8_t u8Byte) { return u8Byte >= 0x81 && u8Byte <= 0xFE; }
    static bool isGb18030Digit(uint8_t u8Byte) { return u8Byte >= 0x30 && u8Byte <= 0x39; }

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

    PAIR_TOTALS_S totalsOf(size_t u32Estimator) const {
        PAIR_TOTALS_S stTotals = astTotals[u32Estimator];
        stTotals.s32Total += s32Visited;
        if (ESTIMATORS[u32Estimator]->enEncoding == DETECTOR_ENCODING_GB18030) {
            stTotals.s32Total -= s32FourByteCodes; // each took the place of two pairs
            stTotals.s32Good += s32FourByteCodes;
        }
        return stTotals;
    }

    bool anyCanReach(int32_t s32Target, int32_t s32Bytes) const {
        for (size_t i = 0; i < ESTIMATOR_COUNT; ++i) {
            if (totalsOf(i).canReach(s32Target, s32Bytes))
                return true;
        }
        return false;
    }

    const ZU_CHARSETDETECTOR_Common_S &stDetector;
    PAIR_TOTALS_S astTotals[ESTIMATOR_COUNT];
    int32_t s32Visited = 0; // pair starts met
    int32_t s32FourByteCodes = 0;
    int32_t s32SecondHalf = -1; // where the second half of the latest four-byte code stands
    uint8_t au8Count[LEADS][TRAILS];
};

static_assert(sizeof(PairSurvey) <= 32768, "small devices have small thread stacks");

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

// Whether a text can reach a score at all. A pair needs a lead byte, and every other byte above 7E starts a pair that
// is refused unless an accepted one took it as its trail byte. Counting both kinds is far cheaper than stepping
// through.
bool sjisCanReach(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Target) {
    if (!HAS_VECTORS)
        return true;
    int32_t s32High = 0;
    int32_t s32Leads = 0;
    int32_t s32Pos = 0;
    for (; stText.s32Length - s32Pos >= TEXT_BLOCK && !quitRequested(stDetector.stControl); s32Pos += TEXT_BLOCK) {
        VECTOR_MASK vHigh{}; // counted downwards, a true mask being -1
        VECTOR_MASK vLeads{};
        for (int32_t i = 0; i < TEXT_BLOCK; i += 16) {
            const auto vText = loadAs<VECTOR_U8>(stText.pu8 + s32Pos + i);
            vHigh += vText > 0x7E;
            vLeads += ((vText >= 0x81) & (vText <= 0x9F)) | ((vText >= 0xE0) & (vText <= 0xEF));
        }
        s32High += sumOfBytes(-vHigh);
        s32Leads += sumOfBytes(-vLeads);
    }
    // The rest of the text is taken for lead bytes, and the last byte starts nothing: both can only raise the bound.
    const int32_t s32ByLeads = s32Leads + (stText.s32Length - s32Pos);
    const int32_t s32BySize = stText.s32Length / 2 + 1;
    const int32_t s32Accepted = s32ByLeads < s32BySize ? s32ByLeads : s32BySize;
    const int32_t s32OtherStarts = s32High - s32Leads - 1;
    PAIR_TOTALS_S stBest;
    stBest.s32Good += s32Accepted;
    stBest.s32Total += s32OtherStarts > s32Accepted ? s32OtherStarts : s32Accepted;
    stBest.s64Freqsum = 600;
    stBest.s64Weight = 500;
    return stBest.canReach(s32Target, 0);
}

} // namespace

void _Detector_pairs_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Target,
                                 SCORES_S &stScores) {
    PairSurvey stSurvey(stDetector);
    stSurvey.scan(stText, s32Target);
    stSurvey.storeScores(stScores);
}

// The one estimator that moves on by a single byte after a pair that it refuses.
int32_t _Detector_sjis_probability(const ZU_CHARSETDETECTOR_Common_S &stDetector, TEXT_S stText, int32_t s32Target) {
    if (s32Target > 0 && !sjisCanReach(stDetector, stText, s32Target))
        return 0;
    constexpr int32_t s32CheckEvery = 16 * QUIT_BLOCK;
    PAIR_TOTALS_S stTotals;
    const int32_t s32Last = stText.s32Length - 1;
    int32_t s32NextCheck = s32CheckEvery;
    int32_t s32Pos = 0;
    while (s32Pos < s32Last && !quitRequested(stDetector.stControl)) {
        if (s32Pos >= s32NextCheck) {
            if (!stTotals.canReach(s32Target, stText.s32Length - s32Pos))
                break;
            s32NextCheck = s32Last - s32Pos > s32CheckEvery ? s32Pos + s32CheckEvery : s32Last;
        }
        const int32_t s32BlockEnd = s32Last - s32Pos > QUIT_BLOCK ? s32Pos + QUIT_BLOCK : s32Last;
        while (s32Pos < s32BlockEnd) {
            const uint8_t u8Lead = stText.pu8[s32Pos];
            if (u8Lead <= 0x7E) {
                s32Pos = findPairStart(stDetector, stText, s32Pos, s32Last);
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
