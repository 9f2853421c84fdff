#pragma once

#include "charset_host.h"
#include "report.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zucli {

enum class DecidedBy { library, preference, user, byteOrderMark, nothing };

// How the encoding of a text was found.
struct Guess {
    int32_t codeType = 0; // 0 for an empty text, which has no encoding
    DecidedBy decidedBy = DecidedBy::nothing;
    int32_t libraryCodeType = 0; // what detection said before --prefer
    bool plainAscii = false;
    size_t sampled = 0;
    bool wholeFile = true; // was the sample all there is?
};

// Bytes of a file that detection looks at unless --sample says otherwise.
inline constexpr size_t kDefaultSample = size_t{1024} * 1024;
// Enough for every text that a person wrote; a larger sample only takes longer.
inline constexpr size_t kLargestSample = size_t{16} * 1024 * 1024;

// Names the encoding of a sample. A preferred code page replaces a single-byte answer when it defines every byte.
Guess guessEncoding(Detector &detector, Bytes sample, bool wholeFile, const std::vector<int32_t> &preferences);

// "library", "--prefer", ...; for people and scripts.
std::string_view nameOf(DecidedBy decidedBy);

// What a person should know about a guess; empty when there is nothing.
std::string remarkOn(const Guess &guess);

// Adds the fields of a guess to the open JSON object.
void addGuess(JsonWriter &json, const Guess &guess);

} // namespace zucli
