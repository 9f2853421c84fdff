// How well a text reads in an East Asian encoding, on the scale of the single-byte readings.
#pragma once

#include <cstdint>

#include "reading.h"

namespace zutext {

// Cost of a text, in hundredths of a nat, as Big5, GBK or code page 949 (by code type), Shift_JIS or EUC-JP. Of a long
// text the start is read, from the first high byte on, and the rest taken for alike. False: no memory, or another
// encoding.
bool readDoubleByte(Bytes text, int32_t encoding, int32_t &cost);

// Is a double-byte reading to be believed, given the cost of the best single-byte one? More is asked of one that
// libzucharset's vote does not claim.
bool isBelievable(int64_t doubleByteCost, int64_t singleByteCost, bool claimed);

// Is it so much better that nothing else comes into question?
bool isSureOf(int64_t doubleByteCost, int64_t singleByteCost);

} // namespace zutext
