// Rows of the reading tables.
#pragma once

#include <cstdint>

namespace zutext {

enum Script : uint8_t { kLatin, kCyrillic, kGreek, kHebrew, kArabic, kThai, kNoScript };

// Classes of what is not a letter, in the order of tools/languages.py.
enum SymbolClass : uint8_t {
    kLowQuote,
    kLeftQuote,
    kRightQuote,
    kApostrophe,
    kGuillemet,
    kDash, // also the ellipsis
    kTiedSpace,
    kOrdinary,
    kInverted,
    kOdd,
    kImplausible,
    kControl,
    kNothing,
    kArabicSign,
    kHebrewSign,
    kThaiSign,
    kSymbolClasses,
};

struct EncodingRow {
    int32_t number;     // code type, or from 100 on the number of an encoding that is only recognised
    int32_t prior;      // hundredths
    uint64_t languages; // bit i: has the letters of language i
    uint64_t homes;     // bit i: is usual for language i
};

struct LanguageRow {
    const char *code;
    const char *name;
    int16_t prior; // hundredths
    uint8_t script;
    uint8_t letters;
    uint16_t firstLetter;
    uint16_t firstPair;
};

} // namespace zutext
