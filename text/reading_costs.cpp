#include "reading_costs.h"

namespace zutext {
namespace {

constexpr int32_t kForeignLetter = 1200; // a letter of another script than the language's
constexpr int32_t kForeignAscii = 300;   // an ASCII letter in a language that does not use them
constexpr int32_t kMixedWord = 700;      // two scripts in one word
constexpr int32_t kAfterOutside = 200;   // a word's end after a letter that the language lacks
constexpr int32_t kUpperAfterLower = 700;
constexpr int32_t kUpperFirst = 160;
constexpr int32_t kUpperAfterUpper = 80;
constexpr int kUpperBit = 0x8000;

// What a symbol costs, and what its neighbours add.
struct SymbolRow {
    int16_t cost;
    int16_t afterLetter;
    int16_t beforeLetter;
    int16_t afterBlank;
    int16_t beforeBlank;
};
constexpr SymbolRow kSymbols[] = {
    /* kLowQuote    */ {450, 600, 0, 0, 350},
    /* kLeftQuote   */ {450, 150, 150, 0, 0},
    /* kRightQuote  */ {450, 0, 400, 100, 0},
    /* kApostrophe  */ {450, 0, 0, 350, 0},
    /* kGuillemet   */ {450, 0, 0, 0, 0},
    /* kDash        */ {450, 0, 0, 0, 0},
    /* kTiedSpace   */ {450, 150, 150, 150, 150},
    /* kOrdinary    */ {700, 300, 500, 0, 0},
    /* kInverted    */ {950, 600, 0, 0, 350},
    /* kOdd         */ {1100, 300, 300, 0, 0},
    /* kImplausible */ {1300, 300, 300, 0, 0},
    /* kControl     */ {1800, 0, 0, 0, 0},
    /* kNothing     */ {2500, 0, 0, 0, 0},
    /* kArabicSign  */ {1300, 300, 300, 0, 0},
    /* kHebrewSign  */ {1300, 300, 300, 0, 0},
    /* kThaiSign    */ {1600, 0, 0, 0, 0},
};
static_assert(std::size(kSymbols) == kSymbolClasses, "a row for each class");
constexpr int32_t kOwnSign = 450; // a sign of the language's script

enum Case : uint8_t { kLower, kUpper, kCaseless };

constexpr bool isSymbol(int group) { return group < kSymbolClasses; }
constexpr bool isLetter(int group) { return group >= kLetter; }
constexpr bool isForeign(int group) { return group >= kForeign; }
constexpr bool isOutside(int group) { return group >= kOutside && group < kForeign; }
constexpr int caseOf(int group) { return (group - kLetter) % 3; }

constexpr int32_t neighbourCost(int a, int b) {
    int32_t cost = 0;
    if (isSymbol(b)) {
        cost += isLetter(a) ? kSymbols[b].afterLetter : a == kBlank ? kSymbols[b].afterBlank : 0;
    }
    if (isSymbol(a)) {
        cost += isLetter(b) ? kSymbols[a].beforeLetter : b == kBlank ? kSymbols[a].beforeBlank : 0;
    }
    if (isLetter(a) && isLetter(b) && isForeign(a) != isForeign(b)) {
        cost += kMixedWord;
    }
    if ((a == kOwnSymbol && isForeign(b)) || (isForeign(a) && b == kOwnSymbol)) {
        cost += kMixedWord;
    }
    if (isOutside(a) && !isLetter(b)) {
        cost += kAfterOutside;
    }
    if (isLetter(b) && caseOf(b) == kUpper) {
        cost += !isLetter(a) ? kUpperFirst : caseOf(a) == kLower ? kUpperAfterLower : kUpperAfterUpper;
    }
    return cost;
}

Sign symbolSign(int symbol, int script) {
    bool own = (symbol == kArabicSign && script == kArabic) || (symbol == kHebrewSign && script == kHebrew) ||
               (symbol == kThaiSign && script == kThai);
    if (own) {
        return {0, 0, kOwnSymbol, kOwnSign};
    }
    return {0, 0, static_cast<uint8_t>(symbol), kSymbols[symbol].cost};
}

Sign letterSign(const Alphabet &alphabet, int script, int letter, bool upper, bool ascii) {
    bool cased = script == kLatin || script == kCyrillic || script == kGreek;
    int letterCase = upper ? kUpper : cased ? kLower : kCaseless;
    if (script != alphabet.script()) {
        return {0, 0, static_cast<uint8_t>(kForeign + letterCase), ascii ? kForeignAscii : kForeignLetter};
    }
    uint8_t column = alphabet.column(letter);
    if (column != 0) {
        return {column, column, static_cast<uint8_t>(kLetter + letterCase), 0};
    }
    for (size_t i = 0; alphabet.hasMarks() && i < std::size(kDecomposed); i += 3) {
        uint8_t base = alphabet.column(kDecomposed[i + 1]);
        uint8_t mark = alphabet.column(kDecomposed[i + 2]);
        if (kDecomposed[i] == letter && base != 0 && mark != 0) {
            return {base, mark, static_cast<uint8_t>(kLetter + letterCase), alphabet.pairCost(base, mark)};
        }
    }
    return {0, 0, static_cast<uint8_t>(kOutside + letterCase), kRarity[kScripts[script] + letter] * 10};
}

} // namespace

constinit const std::array<std::array<int16_t, kGroups>, kGroups> kNeighbours = [] {
    std::array<std::array<int16_t, kGroups>, kGroups> costs{};
    for (int a = 0; a < kGroups; a++) {
        for (int b = 0; b < kGroups; b++) {
            costs[static_cast<size_t>(a)][static_cast<size_t>(b)] = static_cast<int16_t>(neighbourCost(a, b));
        }
    }
    return costs;
}();

Sign signOf(int encoding, const Alphabet &alphabet, int code) {
    if (isAsciiLetter(code)) {
        bool upper = code < kLowerCode;
        int letter = code - (upper ? kUpperCode : kLowerCode);
        if (upper && letter == kTurkish[0] && alphabet.hasDotless()) {
            letter = kTurkish[1];
        }
        return letterSign(alphabet, kLatin, letter, upper, true);
    }
    if (!isHighCode(code)) {
        return {0, 0, static_cast<uint8_t>(code == kBlankCode ? kBlank : kPlain), 0};
    }
    int kind = kKinds[characterOf(encoding, code)];
    if (isLetterKind(kind)) {
        return letterSign(alphabet, kind >> 8 & 0x7F, kind & 0xFF, (kind & kUpperBit) != 0, false);
    }
    return symbolSign(kind & 0xFF, alphabet.script());
}

} // namespace zutext
