// How often each pair of neighbouring bytes stands in a text.
#pragma once

#include <cstdint>

#include "reading.h"

namespace zutext {

// Bytes by what a reading tells apart: each high byte, each ASCII letter, and kinds of the rest.
constexpr int kHighCodes = 128;
constexpr int kUpperCode = kHighCodes;
constexpr int kLowerCode = kUpperCode + 26;
constexpr int kBlankCode = kLowerCode + 26;
constexpr int kDigitCode = kBlankCode + 1;
constexpr int kOtherCode = kDigitCode + 1;
constexpr int kByteCodes = kOtherCode + 1;

constexpr bool isHighCode(int code) { return code < kHighCodes; }
constexpr bool isAsciiLetter(int code) { return code >= kUpperCode && code < kBlankCode; }

// Rows end in unused columns, so that they may be gone through by stretches.
constexpr int kPairColumns = (kByteCodes + 15) / 16 * 16;

// Letters a to z as 1 to 26, all else as 0.
constexpr int kFoldedLetters = 27;
using LetterPairs = uint32_t[kFoldedLetters][kFoldedLetters];

struct BytePairs {
    uint32_t counts[kByteCodes][kPairColumns]; // in lines with a high byte
    LetterPairs elsewhere;                     // in the other lines of the text's first 64 KiB
};

// Counts the pairs of a text into tables that are all zeros. Markup is left out: it says nothing of the text's
// language.
void countBytePairs(Bytes text, BytePairs &pairs);

} // namespace zutext
