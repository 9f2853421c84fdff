#pragma once

#include "charset_host.h"

#include <vector>

namespace zucli {

// What joinSurrogates() found.
struct JoinedText {
    std::vector<uint8_t> text;
    size_t alone = 0;      // surrogate halves without their other half, kept as they were
    bool openPair = false; // the text ended with a first half, which is left out: its other half may follow
};

// The library writes each UTF-16 unit by itself, so a character beyond U+FFFF arrives as two surrogate halves of three
// bytes. This turns such pairs into the four bytes of well-formed UTF-8.
JoinedText joinSurrogates(Bytes text);

} // namespace zucli
