#include "detector_instance.h"

#include "tables/ranked_positions.h"

namespace zucharset {
namespace {

constexpr int32_t RANKED = 600;

template <size_t u32Rows, size_t u32Columns>
void storeRanking(int32_t (&as32Table)[u32Rows][u32Columns], const uint16_t (&au16Ranked)[RANKED]) {
    int32_t *ps32Cells = as32Table[0];
    for (int32_t i = 0; i < RANKED; ++i)
        ps32Cells[au16Ranked[i]] = RANKED - i;
}

} // namespace

// The tables need no zeroing of their own: create has just allocated the instance zero-filled.
int32_t _Detector_initialize_frequencies(ZU_CHARSETDETECTOR_Common_S &stDetector) {
    storeRanking(stDetector.as32FreqGB, s_u16RankedGB);
    storeRanking(stDetector.as32FreqGBK, s_u16RankedGBK);
    storeRanking(stDetector.as32FreqBIG5, s_u16RankedBIG5);
    storeRanking(stDetector.as32FreqBIG5P, s_u16RankedBIG5P);
    storeRanking(stDetector.as32FreqEUC_TW, s_u16RankedEUC_TW);
    storeRanking(stDetector.as32FreqKR, s_u16RankedKR);
    storeRanking(stDetector.as32FreqJP, s_u16RankedJP);
    return 0;
}

} // namespace zucharset
