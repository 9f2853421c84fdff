// Forms that show without weighing letters: UTF-16 and UTF-32 by their zero bytes, 7-bit encodings by their escapes.
#pragma once

#include "buffer.h"

namespace zutext {

// What the 16-bit units of a text look like in one byte order.
struct Utf16Units {
    size_t total = 0;
    size_t ascii = 0;   // letters, digits, signs, spaces and line ends
    size_t letters = 0; // others in the two scripts that stand most, and signs that go with any script
    size_t wrong = 0;   // controls, zeros, halves of pairs alone, noncharacters
};

Utf16Units countUnits(Bytes text, bool bigEndian);

// The id of the UTF-16 or UTF-32 that a text without a mark is; 0 when it is neither. A text that has no zero byte is
// not taken for either.
int32_t wideFormOf(Bytes text);

// The id of the UTF-16 that bytes without a zero are, which are no text in an encoding of bytes: Chinese without spaces
// and line ends. 0 when they are none.
int32_t zerolessUtf16(Bytes text);

// Can a text behind a mark be UTF-16 of that byte order?
bool isPlausibleUtf16(Bytes text, bool bigEndian);

// The id of the 7-bit encoding whose escapes a text without high bytes has; 0 when it has none.
int32_t sevenBitForm(Bytes text);

// Does such an escape start here?
bool startsSevenBitForm(Bytes text);

} // namespace zutext
