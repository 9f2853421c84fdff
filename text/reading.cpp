#include "reading.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "byte_pairs.h"
#include "tables/reading_tables.h"

namespace zutext {
namespace {

// Costs in hundredths of a nat.
constexpr int32_t kPairStep = 60;
constexpr int32_t kForeignLetter = 1200; // a letter of another script than the language's
constexpr int32_t kForeignAscii = 300;   // an ASCII letter in a language that does not use them
constexpr int32_t kMixedWord = 700;      // two scripts in one word
constexpr int32_t kAfterOutside = 200;   // a word's end after a letter that the language lacks
constexpr int32_t kUpperAfterLower = 700;
constexpr int32_t kUpperFirst = 160;
constexpr int32_t kUpperAfterUpper = 80;
constexpr int32_t kHint = 800;
constexpr int32_t kRunAmongWords = 450; // of a script that is not Latin, among words in ASCII
constexpr int32_t kAsciiPercent = 60;
constexpr int64_t kAsciiCap = 20000;

constexpr int kEncodingCount = static_cast<int>(std::size(kEncodings));
constexpr int kLanguageCount = static_cast<int>(std::size(kLanguages));
// Half of the words may be English: what that costs where the other language and English differ by so many steps.
constexpr int32_t kMixtureCosts[16] = {0, 26, 43, 54, 61, 64, 67, 68, 69, 69, 69, 69, 69, 69, 69, 69};
constexpr int64_t kMixtureStart = 300;

constexpr int findLanguage(std::string_view code) {
    int i = 0;
    while (kLanguages[i].code != code)
        i++;
    return i;
}
constexpr int kEnglish = findLanguage("en");

constexpr int kUpperBit = 0x8000;
constexpr int kMostPairs = 2048;
constexpr int kFirstPairs = 96;
static_assert(kEncodingCount <= 64 && kLanguageCount <= 64, "hints are words of 64 bits");

struct Pair {
    uint8_t first;
    uint8_t second;
    uint32_t count;
};

struct Text {
    const Pair *pairs; // with a high byte
    int pairCount;
    const uint8_t *codes; // each code that occurs in them
    int codeCount;
    int64_t highRuns;
    int64_t asciiWords;
};

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
    /* kLeftQuote   */ {450, 0, 0, 0, 0},
    /* kRightQuote  */ {450, 0, 200, 100, 0},
    /* kApostrophe  */ {450, 0, 0, 350, 0},
    /* kGuillemet   */ {450, 0, 0, 0, 0},
    /* kDash        */ {450, 0, 0, 0, 0},
    /* kOrdinary    */ {700, 300, 300, 0, 0},
    /* kInverted    */ {950, 600, 0, 0, 350},
    /* kOdd         */ {1100, 300, 300, 0, 0},
    /* kImplausible */ {1300, 300, 300, 0, 0},
    /* kControl     */ {1800, 0, 0, 0, 0},
    /* kNothing     */ {2500, 0, 0, 0, 0},
    /* kArabicSign  */ {1600, 0, 0, 0, 0},
    /* kHebrewSign  */ {1600, 0, 0, 0, 0},
    /* kThaiSign    */ {1600, 0, 0, 0, 0},
};
static_assert(std::size(kSymbols) == kSymbolClasses, "a row for each class");
constexpr int32_t kOwnSign = 450; // a sign of the language's script

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
enum Case : uint8_t { kLower, kUpper, kCaseless };

// What a byte is in one encoding and language.
struct Sign {
    uint8_t first; // column of the letter; of its first part where it stands for two
    uint8_t last;
    uint8_t group;
    int32_t cost; // on its own, wherever it stands
};

constexpr bool isSymbol(int group) { return group < kSymbolClasses; }
constexpr bool isLetter(int group) { return group >= kLetter; }
constexpr bool isForeign(int group) { return group >= kForeign; }
constexpr bool isOutside(int group) { return group >= kOutside && group < kForeign; }
constexpr int caseOf(int group) { return (group - kLetter) % 3; }

constexpr int32_t neighbourCost(int a, int b) {
    int32_t cost = 0;
    if (isSymbol(b))
        cost += isLetter(a) ? kSymbols[b].afterLetter : a == kBlank ? kSymbols[b].afterBlank : 0;
    if (isSymbol(a))
        cost += isLetter(b) ? kSymbols[a].beforeLetter : b == kBlank ? kSymbols[a].beforeBlank : 0;
    if (isLetter(a) && isLetter(b) && isForeign(a) != isForeign(b))
        cost += kMixedWord;
    if (isOutside(a) && !isLetter(b))
        cost += kAfterOutside;
    if (isLetter(b) && caseOf(b) == kUpper)
        cost += !isLetter(a) ? kUpperFirst : caseOf(a) == kLower ? kUpperAfterLower : kUpperAfterUpper;
    return cost;
}

// Cost of each group after each.
constexpr auto kNeighbours = [] {
    std::array<std::array<int16_t, kGroups>, kGroups> costs{};
    for (int a = 0; a < kGroups; a++) {
        for (int b = 0; b < kGroups; b++)
            costs[static_cast<size_t>(a)][static_cast<size_t>(b)] = static_cast<int16_t>(neighbourCost(a, b));
    }
    return costs;
}();

// The letters of one language.
class Alphabet {
  public:
    explicit Alphabet(int language) : row_(kLanguages[language]), width_(row_.letters + 1) {
        for (int i = 0; i < row_.letters; i++)
            columns_[kAlphabets[row_.firstLetter + i]] = static_cast<uint8_t>(i + 1);
        if (hasDotless())
            columns_[kTurkish[2]] = columns_[kTurkish[0]];
    }

    // Does I belong to the dotless i?
    bool hasDotless() const { return row_.script == kLatin && columns_[kTurkish[1]] != 0; }
    int script() const { return row_.script; }
    // Column of a letter of the language's script, 0 if it is no letter of the language.
    uint8_t column(int letter) const { return columns_[static_cast<size_t>(letter)]; }
    int32_t pairCost(int first, int second) const {
        int cell = first * width_ + second;
        return (kPairs[row_.firstPair + cell / 2] >> (4 * (cell & 1)) & 15) * kPairStep;
    }

  private:
    const LanguageRow &row_;
    int width_;
    std::array<uint8_t, 256> columns_{};
};

int characterOf(int encoding, int code) { return kHeld[encoding * kHighCodes + code]; }

Sign symbolSign(int symbol, const LanguageRow &language) {
    bool own = (symbol == kArabicSign && language.script == kArabic) ||
               (symbol == kHebrewSign && language.script == kHebrew) ||
               (symbol == kThaiSign && language.script == kThai);
    if (own)
        return {0, 0, kOwnSymbol, kOwnSign};
    return {0, 0, static_cast<uint8_t>(symbol), kSymbols[symbol].cost};
}

Sign letterSign(const Alphabet &alphabet, int script, int letter, bool upper, bool ascii) {
    bool cased = script == kLatin || script == kCyrillic || script == kGreek;
    int letterCase = upper ? kUpper : cased ? kLower : kCaseless;
    if (script != alphabet.script())
        return {0, 0, static_cast<uint8_t>(kForeign + letterCase), ascii ? kForeignAscii : kForeignLetter};
    uint8_t column = alphabet.column(letter);
    if (column != 0)
        return {column, column, static_cast<uint8_t>(kLetter + letterCase), 0};
    for (size_t i = 0; script == kLatin && i < std::size(kDecomposed); i += 3) {
        uint8_t base = alphabet.column(kDecomposed[i + 1]);
        uint8_t mark = alphabet.column(kDecomposed[i + 2]);
        if (kDecomposed[i] == letter && base != 0 && mark != 0)
            return {base, mark, static_cast<uint8_t>(kLetter + letterCase), alphabet.pairCost(base, mark)};
    }
    return {0, 0, static_cast<uint8_t>(kOutside + letterCase), kRarity[kScripts[script] + letter] * 10};
}

Sign signOf(int encoding, const LanguageRow &language, const Alphabet &alphabet, int code) {
    if (isAsciiLetter(code)) {
        bool upper = code < kLowerCode;
        int letter = code - (upper ? kUpperCode : kLowerCode);
        if (upper && letter == kTurkish[0] && alphabet.hasDotless())
            letter = kTurkish[1];
        return letterSign(alphabet, kLatin, letter, upper, true);
    }
    if (!isHighCode(code))
        return {0, 0, static_cast<uint8_t>(code == kBlankCode ? kBlank : kPlain), 0};
    int kind = kKinds[characterOf(encoding, code)];
    int script = kind >> 8 & 0x7F;
    if (script != kNoScript)
        return letterSign(alphabet, script, kind & 0xFF, (kind & kUpperBit) != 0, false);
    return symbolSign(kind & 0xFF, language);
}

// Cost of the pairs [from, to).
int64_t pairsCost(const Text &text, const Sign *signs, const Alphabet &alphabet, int from, int to) {
    int64_t cost = 0;
    for (int i = from; i < to; i++) {
        const Pair &pair = text.pairs[i];
        const Sign &a = signs[pair.first];
        const Sign &b = signs[pair.second];
        int32_t one = b.cost + kNeighbours[a.group][b.group];
        if (b.group < kOutside)
            one += alphabet.pairCost(a.last, b.first);
        cost += static_cast<int64_t>(one) * pair.count;
    }
    return cost;
}

struct Candidate {
    int64_t cost;
    int16_t encoding;
    int16_t language;
    bool whole; // all pairs are in the cost
};

struct Scratch {
    BytePairs counts;
    Pair pairs[kMostPairs];
    Candidate candidates[kEncodingCount * kLanguageCount];
};

bool lessCost(const Candidate &a, const Candidate &b) {
    if (a.cost != b.cost)
        return a.cost < b.cost;
    return a.encoding != b.encoding ? a.encoding < b.encoding : a.language < b.language;
}

bool moreOften(const Pair &a, const Pair &b) {
    if (a.count != b.count)
        return a.count > b.count;
    return a.first != b.first ? a.first < b.first : a.second < b.second;
}

// Puts the pairs with a high byte into a list, the most frequent of them if there are too many.
void listPairs(Scratch &scratch, Text &text) {
    for (uint32_t least = 1;; least *= 2) {
        int count = 0;
        for (int a = 0; a < kByteCodes && count <= kMostPairs; a++) {
            int codes = isHighCode(a) ? kByteCodes : kHighCodes;
            for (int b = 0; b < codes; b++) {
                uint32_t often = scratch.counts.counts[a][b];
                if (often < least)
                    continue;
                if (count < kMostPairs)
                    scratch.pairs[count] = {static_cast<uint8_t>(a), static_cast<uint8_t>(b), often};
                count++;
            }
        }
        if (count <= kMostPairs) {
            text.pairs = scratch.pairs;
            text.pairCount = count;
            break;
        }
    }
    if (text.pairCount > kFirstPairs)
        std::nth_element(scratch.pairs, scratch.pairs + kFirstPairs, scratch.pairs + text.pairCount, moreOften);
}

// What ASCII letters say: how far each Latin language is behind the best.
void weighAscii(const BytePairs &counts, int64_t (&behind)[kLanguageCount]) {
    struct LetterPair {
        uint8_t first, second; // 1 to 26, 0 for what is no letter
        uint32_t count;
    };
    uint32_t folded[27][27] = {};
    auto letterOf = [](int code) { return isAsciiLetter(code) ? (code - kUpperCode) % 26 + 1 : 0; };
    for (int a = kHighCodes; a < kByteCodes; a++) {
        for (int b = kHighCodes; b < kByteCodes; b++)
            folded[letterOf(a)][letterOf(b)] += counts.counts[a][b];
    }
    folded[0][0] = 0;
    Alphabet english(kEnglish);
    int64_t best = INT64_MAX;
    for (int language = 0; language < kLanguageCount; language++) {
        behind[language] = 0;
        if (kLanguages[language].script != kLatin)
            continue;
        Alphabet alphabet(language);
        int64_t pure = 0;
        int64_t mixed = kMixtureStart;
        for (int a = 0; a < 27; a++) {
            int first = a == 0 ? 0 : alphabet.column(a - 1);
            for (int b = 0; b < 27; b++) {
                if (folded[a][b] == 0)
                    continue;
                int32_t own = alphabet.pairCost(first, b == 0 ? 0 : alphabet.column(b - 1));
                int32_t other = english.pairCost(a, b);
                pure += static_cast<int64_t>(folded[a][b]) * own;
                mixed += static_cast<int64_t>(folded[a][b]) *
                         (std::min(own, other) + kMixtureCosts[std::abs(own - other) / kPairStep]);
            }
        }
        behind[language] = std::min(pure, mixed);
        best = std::min(best, behind[language]);
    }
    for (int language = 0; language < kLanguageCount; language++) {
        if (kLanguages[language].script == kLatin) {
            int64_t more = (behind[language] - best) * kAsciiPercent / 100;
            behind[language] = more * kAsciiCap / (more + kAsciiCap);
        }
    }
}

void countWords(const BytePairs &counts, Text &text) {
    for (int a = 0; a < kByteCodes; a++) {
        for (int b = 0; b < kByteCodes; b++) {
            int64_t count = counts.counts[a][b];
            if (!isHighCode(a) && isHighCode(b))
                text.highRuns += count;
            if (isAsciiLetter(b) && !isHighCode(a) && !isAsciiLetter(a))
                text.asciiWords += count;
            if (isAsciiLetter(a) && isHighCode(b))
                text.asciiWords -= count;
        }
    }
    text.asciiWords = std::max<int64_t>(text.asciiWords, 0);
}

bool sameText(const Text &text, int encoding, int other) {
    for (int i = 0; i < text.codeCount; i++) {
        int code = text.codes[i];
        if (isHighCode(code) && characterOf(encoding, code) != characterOf(other, code))
            return false;
    }
    return true;
}

bool isConverted(int encoding) { return kEncodings[encoding].number < kShiftJis; }

} // namespace

bool readSingleByte(Bytes bytes, const ReadingHints &hints, Readings &readings) {
    readings.count = 0;
    auto *scratch = static_cast<Scratch *>(calloc(1, sizeof(Scratch)));
    if (scratch == nullptr)
        return false;
    countBytePairs(bytes, scratch->counts);
    Text text{};
    listPairs(*scratch, text);
    countWords(scratch->counts, text);
    bool occurs[kByteCodes] = {};
    for (int i = 0; i < text.pairCount; i++)
        occurs[text.pairs[i].first] = occurs[text.pairs[i].second] = true;
    uint8_t codes[kByteCodes];
    text.codes = codes;
    for (int code = 0; code < kByteCodes; code++) {
        if (occurs[code])
            codes[text.codeCount++] = static_cast<uint8_t>(code);
    }
    int64_t behind[kLanguageCount];
    weighAscii(scratch->counts, behind);

    int count = 0;
    int first = std::min(text.pairCount, kFirstPairs);
    for (int language = 0; language < kLanguageCount; language++) {
        Alphabet alphabet(language);
        int64_t prior = kLanguages[language].prior + behind[language];
        if (kLanguages[language].script != kLatin)
            prior += std::min(text.highRuns, text.asciiWords) * kRunAmongWords;
        if ((hints.languages >> language & 1) != 0)
            prior -= kHint;
        for (int encoding = 0; encoding < kEncodingCount; encoding++) {
            if ((kEncodings[encoding].languages >> language & 1) == 0)
                continue;
            Sign signs[kByteCodes];
            for (int i = 0; i < text.codeCount; i++)
                signs[codes[i]] = signOf(encoding, kLanguages[language], alphabet, codes[i]);
            int64_t cost = prior + kEncodings[encoding].prior;
            if ((hints.encodings >> encoding & 1) != 0)
                cost -= kHint;
            cost += pairsCost(text, signs, alphabet, 0, text.pairCount);
            scratch->candidates[count++] = {cost, static_cast<int16_t>(encoding), static_cast<int16_t>(language), true};
        }
    }
    (void)first;
    std::sort(scratch->candidates, scratch->candidates + count, lessCost);
    // The best that is converted has a start before those that are not.
    int64_t converted = 0;
    for (int i = 0; i < count; i++) {
        if (isConverted(scratch->candidates[i].encoding)) {
            converted = scratch->candidates[i].cost;
            break;
        }
    }
    bool ahead =
        !isConverted(scratch->candidates[0].encoding) && scratch->candidates[0].cost + kSureMargin <= converted;
    if (!ahead) {
        for (int i = 0; i < count; i++) {
            Candidate &candidate = scratch->candidates[i];
            if (!isConverted(candidate.encoding))
                candidate.cost = std::max(candidate.cost, converted + 1);
        }
        std::sort(scratch->candidates, scratch->candidates + count, lessCost);
    }
    for (int i = 0; i < count && readings.count < static_cast<int32_t>(std::size(readings.rows)); i++) {
        const Candidate &candidate = scratch->candidates[i];
        bool listed = false;
        for (int row = 0; row < readings.count && !listed; row++)
            listed = sameText(text, candidate.encoding, readings.rows[row].encoding);
        if (!listed)
            readings.rows[readings.count++] = {candidate.encoding, candidate.language,
                                               static_cast<int32_t>(std::min<int64_t>(candidate.cost, INT32_MAX))};
    }
    for (int row = 0; row < readings.count; row++)
        readings.rows[row].encoding = kEncodings[readings.rows[row].encoding].number;
    free(scratch);
    return true;
}

std::span<const LanguageInfo> languages() {
    static constexpr auto kInfos = [] {
        std::array<LanguageInfo, static_cast<size_t>(kLanguageCount)> infos{};
        for (size_t i = 0; i < infos.size(); i++)
            infos[i] = {kLanguages[i].code, kLanguages[i].name};
        return infos;
    }();
    return kInfos;
}

int32_t singleByteIndex(int32_t encoding) {
    for (int i = 0; i < kEncodingCount; i++) {
        if (kEncodings[i].number == encoding)
            return i;
    }
    return -1;
}

uint16_t codePointOf(int32_t encoding, uint8_t byte) {
    int index = singleByteIndex(encoding);
    if (byte < 0x80 || index < 0)
        return byte < 0x80 ? byte : 0xFFFD;
    return kPoints[characterOf(index, byte - 0x80)];
}

} // namespace zutext
