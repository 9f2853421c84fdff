// What is no text, told by the first bytes of its format and by bytes that no text has.
#pragma once

#include "buffer.h"

namespace zutext {

// What a file that starts so is, "a PNG image"; null for what may be text.
const char *formatOf(Bytes start);

// Bytes of a text by what they may be.
struct ByteShares {
    size_t zeros = 0;    // without those at the end, which only fill up
    size_t controls = 0; // C0 controls that no text needs, zeros not counted
    size_t high = 0;     // 80 to FF
    size_t total = 0;
};

ByteShares countShares(Bytes text);

// Bytes from 80 to FF.
size_t countHighBytes(Bytes text);

// Are there zeros, escapes or controls that plain text has no use for?
bool hasStrayControl(Bytes text);

// Too many zeros or controls for a text in an encoding of bytes?
bool isBinary(const ByteShares &shares);

} // namespace zutext
