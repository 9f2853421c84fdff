// What a byte costs in an encoding and a language, on its own and next to another one. Costs are in hundredths of a
// nat.
#pragma once

#include <array>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "byte_pairs.h"
#include "tables/reading_tables.h"

namespace zutext {

constexpr int kEncodingCount = static_cast<int>(std::size(kEncodings));
constexpr int kLanguageCount = static_cast<int>(std::size(kLanguages));
static_assert(kEncodingCount <= 64 && kLanguageCount <= 64, "hints are words of 64 bits");

constexpr int findLanguage(std::string_view code) {
    int i = 0;
    while (kLanguages[i].code != code) {
        i++;
    }
    return i;
}

// Number in the tables of the character that a high byte is.
constexpr int characterOf(int encoding, int code) { return kHeld[encoding * kHighCodes + code]; }

// Is an entry of kKinds that of a letter?
constexpr bool isLetterKind(int kind) { return (kind >> 8 & 0x7F) != kNoScript; }

// What a byte is to its neighbours: a symbol of a class, or one of these.
enum Group : uint8_t {
    kBlank = kSymbolClasses,
    kPlain, // digits, punctuation
    kOwnSymbol,
    kLetter,                // three groups each: lower case, upper case, a script without case
    kOutside = kLetter + 3, // of a letter that the language lacks
    kForeign = kOutside + 3,
    kGroups = kForeign + 3,
};

// What a byte is in one encoding and language.
struct Sign {
    uint8_t first; // column of the letter; of its first part where it stands for two
    uint8_t last;
    uint8_t group;
    int32_t cost; // on its own, wherever it stands
};

// The letters of one language.
class Alphabet {
  public:
    static constexpr int32_t kPairStep = 60;

    explicit Alphabet(int language) : row_(kLanguages[language]), width_(row_.letters + 1) {
        for (int i = 0; i < row_.letters; i++) {
            columns_[kAlphabets[row_.firstLetter + i]] = static_cast<uint8_t>(i + 1);
        }
        if (hasDotless()) {
            columns_[kTurkish[2]] = columns_[kTurkish[0]];
        }
    }

    int script() const { return row_.script; }
    // Does I belong to the dotless i?
    bool hasDotless() const { return row_.script == kLatin && columns_[kTurkish[1]] != 0; }
    // Are letters with a mark two letters?
    bool hasMarks() const { return row_.script == kLatin && columns_[kDecomposed[2]] != 0; }
    // Column of a letter of the language's script, 0 if it is no letter of the language.
    uint8_t column(int letter) const { return columns_[static_cast<size_t>(letter)]; }
    // How far a letter is from following another, in steps; column 0 is a word's end or start.
    int steps(int first, int second) const {
        const auto cell = static_cast<unsigned>(first * width_ + second);
        return kPairs[row_.firstPair + cell / 2] >> (4 * (cell & 1)) & 15;
    }
    int32_t pairCost(int first, int second) const { return steps(first, second) * kPairStep; }

  private:
    const LanguageRow &row_;
    int width_;
    std::array<uint8_t, 256> columns_{};
};

// What a code of byte_pairs.h is.
Sign signOf(int encoding, const Alphabet &alphabet, int code);

extern const std::array<std::array<int16_t, kGroups>, kGroups> kNeighbours;

inline int32_t costOf(const Alphabet &alphabet, const Sign &a, const Sign &b) {
    int32_t cost = b.cost + kNeighbours[a.group][b.group];
    return b.group < kOutside ? cost + alphabet.pairCost(a.last, b.first) : cost;
}

} // namespace zutext
