// The lines of a text that tell most about its encoding.
#pragma once

#include "buffer.h"

namespace zutext {

inline constexpr size_t kMostLines = 8;

struct TellingLines {
    size_t count = 0;
    Bytes lines[kMostLines]; // in the order of the text
};

// Chooses up to `most` lines by the high bytes that each has and the others do not.
TellingLines tellingLines(Bytes text, size_t most);

} // namespace zutext
