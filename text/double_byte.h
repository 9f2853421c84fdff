// How well a text reads in an East Asian encoding, on the scale of the single-byte readings.
#pragma once

#include <cstdint>

#include "reading.h"

namespace zutext {

// A text from its first high byte on, and how many it has.
struct HighPart {
    explicit HighPart(Bytes whole);

    Bytes text;
    size_t highBytes;
};

// Cost of a text, in hundredths of a nat, as Big5, GBK or code page 949 (by code type), Shift_JIS or EUC-JP. Of a long
// text the start is read and the rest taken for alike; less of it where the cost is beyond what is hopeless. False: no
// memory, or another encoding.
bool readDoubleByte(const HighPart &part, int32_t encoding, int64_t hopeless, int32_t &cost);

// Is a double-byte reading to be believed, given the cost of the best single-byte one? More is asked of one that
// libzucharset's vote does not claim.
bool isBelievable(int64_t doubleByteCost, int64_t singleByteCost, bool claimed);

// Is it so much better that nothing else comes into question?
bool isSureOf(int64_t doubleByteCost, int64_t singleByteCost);

} // namespace zutext
