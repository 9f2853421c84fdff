// Which single-byte encoding and language a text reads as: the one in which its letters follow each other best.
#pragma once

#include "buffer.h"
#include "encodings.h"

namespace zutext {

struct Reading {
    int32_t encoding;
    int32_t language; // index in languages(), -1 none
    int32_t cost;     // hundredths of a nat: whole numbers, so that every target gives the same
    int32_t letters;  // the part of it that the letters cost, to be compared with a double-byte reading
};

// What is likelier than usual. A hint is a prior and not a veto.
struct ReadingHints {
    uint64_t encodings; // bit singleByteIndex()
    uint64_t languages; // bit i: language i
};

struct Readings {
    int32_t count;
    Reading rows[16]; // the best first
};

// A margin from which on the first reading is sure.
constexpr int32_t kSureMargin = 400;

// Reads a text as each single-byte encoding. Of encodings that give the same text only the likeliest is listed. One
// that is not converted comes first only by kSureMargin. Costs of the first encodings are exact, those far behind are
// at least what is said. False: no memory.
bool readSingleByte(Bytes text, const ReadingHints &hints, Readings &readings);

struct LanguageInfo {
    const char *code; // "ru", "sr-Latn"
    const char *name; // "Russian"
};

std::span<const LanguageInfo> languages();

// Index of a single-byte encoding in the hints, -1 for any other.
int32_t singleByteIndex(int32_t encoding);

// The code point of a byte, 0xFFFD where there is none; for single-byte encodings.
uint16_t codePointOf(int32_t encoding, uint8_t byte);

} // namespace zutext
