// The detector's instance with its seven character frequency tables.
#pragma once

#include "charset_common.h"

namespace zucharset {

// A table holds 600 for the most frequent character of its ranking, down to 1 for the 600th, and 0 elsewhere. A
// character's cell follows from its two bytes: row by row, each lead byte from the table's first one on.
struct ZU_CHARSETDETECTOR_Common_S {
    int32_t as32FreqGB[94][94];      // GB2312: lead from A1, trail from A1; simplified Chinese
    int32_t as32FreqGBK[126][191];   // GBK: lead from 81, trail from 40; traditional Chinese
    int32_t as32FreqBIG5[94][158];   // Big5: lead from A1, trails 40 to 7E and, from column 64, A1 to FE; traditional
    int32_t as32FreqBIG5P[126][191]; // Big5-plus: lead from 81, trail from 40; simplified Chinese
    int32_t as32FreqEUC_TW[94][94];  // CNS 11643 plane 1: 7-bit codes from 21; traditional Chinese
    int32_t as32FreqKR[94][94];      // KS X 1001: lead from A1, trail from A1; Korean
    int32_t as32FreqJP[94][94];      // JIS X 0208: EUC-JP lead from A1, trail from A1; Japanese
    HANDLE_CONTROL_S stControl;
};

constexpr size_t FREQUENCY_CELLS = 98328;
static_assert(offsetof(ZU_CHARSETDETECTOR_Common_S, stControl) == FREQUENCY_CELLS * sizeof(int32_t));

// Stores the rankings in the tables of an instance that is all zero. 0.
int32_t _Detector_initialize_frequencies(ZU_CHARSETDETECTOR_Common_S &stDetector);

} // namespace zucharset
