#include "reading.h"

#include <algorithm>
#include <cstdlib>

#include "reading_costs.h"

namespace zutext {
namespace {

constexpr int32_t kHint = 800;
constexpr int32_t kUnusual = 250;       // an encoding that has the letters of a language, but is not used for it
constexpr int32_t kRunAmongWords = 450; // of a script that is not Latin, among words in ASCII
// How much ASCII letters count for the language of a Latin text, and at most: in lines with a high byte, and elsewhere.
constexpr int32_t kNearPercent = 70;
constexpr int64_t kNearCap = 30000;
constexpr int32_t kElsewherePercent = 10;
constexpr int64_t kElsewhereCap = 4000;
// Half of the words may be English: what that costs where the other language and English differ by so many steps.
constexpr int32_t kMixtureCosts[16] = {0, 26, 43, 54, 61, 64, 67, 68, 69, 69, 69, 69, 69, 69, 69, 69};
constexpr int64_t kMixtureStart = 600;
constexpr int kEnglish = findLanguage("en");

// All candidates are tried on the most frequent pairs, and only those that are not far behind then on all of them.
constexpr int kFirstPairs = 20;
constexpr int kMostPairs = 2048;
constexpr int64_t kFar = 4000;
constexpr int kMostWork = 12000;

constexpr int64_t kLargestBest = 1 << 30;
constexpr int kCellStretch = 16;
static_assert(kPairColumns % kCellStretch == 0, "stretches end with the table's rows");

constexpr uint16_t kUndefined = 0xFFFD;

struct Pair {
    uint8_t first;
    uint8_t second;
    uint32_t count;
};

struct Text {
    Pair pairs[kMostPairs]; // with a high byte
    int pairCount;
    uint8_t codes[kByteCodes];      // each byte that occurs in them, in their order
    int16_t firstPairs[kByteCodes]; // the pair in which it does so first
    int codeCount;
    int64_t highRuns;
    int64_t asciiWords;
    int64_t behind[kLanguageCount]; // by its ASCII words, of each Latin language
};

struct Candidate {
    int64_t cost;
    int16_t encoding;
    int16_t language;
};

struct Scratch {
    BytePairs counts;
    Text text;
    Candidate candidates[kEncodingCount * kLanguageCount];
};

bool lessCost(const Candidate &a, const Candidate &b) {
    if (a.cost != b.cost) {
        return a.cost < b.cost;
    }
    return a.encoding != b.encoding ? a.encoding < b.encoding : a.language < b.language;
}

bool moreOften(const Pair &a, const Pair &b) {
    if (a.count != b.count) {
        return a.count > b.count;
    }
    return a.first != b.first ? a.first < b.first : a.second < b.second;
}

bool anyIn(const uint32_t *counts) {
    uint32_t any = 0;
    for (int i = 0; i < kCellStretch; i++) {
        any |= counts[i];
    }
    return any != 0;
}

// Lists the pairs with a high byte that come at least so often, or as many as there is room for. Tells how many there
// are, at least one more than room if there are too many.
int listPairs(const BytePairs &counts, uint32_t least, Text &text) {
    int count = 0;
    for (int a = 0; a < kByteCodes; a++) {
        int codes = isHighCode(a) ? kByteCodes : kHighCodes;
        for (int from = 0; from < codes; from += kCellStretch) {
            if (!anyIn(&counts.counts[a][from])) {
                continue;
            }
            for (int b = from; b < std::min(codes, from + kCellStretch); b++) {
                uint32_t often = counts.counts[a][b];
                if (often < least) {
                    continue;
                }
                if (count == kMostPairs) {
                    return count + 1;
                }
                text.pairs[count++] = {static_cast<uint8_t>(a), static_cast<uint8_t>(b), often};
            }
        }
    }
    return count;
}

// Lists the pairs with a high byte, the most frequent ones first; of too many, those.
void listPairs(const BytePairs &counts, Text &text) {
    for (uint32_t least = 1;; least *= 2) {
        text.pairCount = listPairs(counts, least, text);
        if (text.pairCount <= kMostPairs) {
            break;
        }
    }
    Pair *end = text.pairs + text.pairCount;
    for (int most : {16 * kFirstPairs, 4 * kFirstPairs, kFirstPairs}) {
        if (end - text.pairs > most) {
            std::nth_element(text.pairs, text.pairs + most, end, moreOften);
            end = text.pairs + most;
        }
    }
    bool listed[kByteCodes] = {};
    for (int i = 0; i < text.pairCount; i++) {
        for (uint8_t code : {text.pairs[i].first, text.pairs[i].second}) {
            if (!listed[code]) {
                listed[code] = true;
                text.codes[text.codeCount] = code;
                text.firstPairs[text.codeCount++] = static_cast<int16_t>(i);
            }
        }
    }
}

struct LetterPair {
    uint8_t first, second; // 1 to 26; 0 for what is no letter
    uint8_t english;       // steps between them in English
    uint32_t count;
};

// How well ASCII letters fit each Latin language.
void weighLetters(const LetterPairs &counts, int32_t percent, int64_t cap, Text &text) {
    LetterPair pairs[kFoldedLetters * kFoldedLetters];
    size_t count = 0;
    Alphabet english(kEnglish);
    for (uint8_t a = 0; a < kFoldedLetters; a++) {
        for (uint8_t b = 0; b < kFoldedLetters; b++) {
            if (counts[a][b] != 0 && a + b != 0) {
                pairs[count++] = {a, b, static_cast<uint8_t>(english.steps(a, b)), counts[a][b]};
            }
        }
    }
    int64_t costs[kLanguageCount];
    int64_t best = INT64_MAX;
    for (int language = 0; language < kLanguageCount; language++) {
        if (kLanguages[language].script != kLatin) {
            continue;
        }
        Alphabet alphabet(language);
        int64_t pure = 0;
        int64_t mixed = kMixtureStart;
        for (const LetterPair &pair : std::span(pairs, count)) {
            // Every Latin alphabet begins with a to z.
            int own = alphabet.steps(pair.first, pair.second);
            int other = pair.english;
            pure += int64_t{pair.count} * own * Alphabet::kPairStep;
            const int32_t either = std::min(own, other) * Alphabet::kPairStep + kMixtureCosts[std::abs(own - other)];
            mixed += int64_t{pair.count} * either;
        }
        costs[language] = std::min(pure, mixed);
        best = std::min(best, costs[language]);
    }
    for (int language = 0; language < kLanguageCount; language++) {
        if (kLanguages[language].script == kLatin) {
            int64_t more = (costs[language] - best) * percent / 100;
            text.behind[language] += more * cap / (more + cap);
        }
    }
}

// What ASCII letters say: how far each Latin language is behind the best. Those near high bytes say more.
void weighAscii(const BytePairs &counts, Text &text) {
    LetterPairs folded = {};
    auto letterOf = [](int code) { return isAsciiLetter(code) ? (code - kUpperCode) % 26 + 1 : 0; };
    for (int a = kHighCodes; a < kByteCodes; a++) {
        for (int b = kHighCodes; b < kByteCodes; b++) {
            folded[letterOf(a)][letterOf(b)] += counts.counts[a][b];
        }
    }
    weighLetters(folded, kNearPercent, kNearCap, text);
    weighLetters(counts.elsewhere, kElsewherePercent, kElsewhereCap, text);
}

int64_t sum(const uint32_t *first, const uint32_t *end) {
    int64_t total = 0;
    for (; first < end; first++) {
        total += *first;
    }
    return total;
}

void countWords(const BytePairs &counts, Text &text) {
    for (int a = kHighCodes; a < kByteCodes; a++) {
        const uint32_t *row = counts.counts[a];
        int64_t starts = sum(row, row + kHighCodes);
        text.highRuns += starts;
        text.asciiWords += isAsciiLetter(a) ? -starts : sum(row + kUpperCode, row + kBlankCode);
    }
    text.asciiWords =
        std::max<int64_t>(text.asciiWords, 0) + sum(counts.elsewhere[0], counts.elsewhere[0] + kFoldedLetters);
}

// Letters that are one to a reader, as those of Romanian with a comma or a cedilla, make no other text.
bool sameText(const Text &text, int encoding, int other) {
    return std::all_of(text.codes, text.codes + text.codeCount, [=](int code) {
        if (!isHighCode(code)) {
            return true;
        }
        int a = characterOf(encoding, code);
        int b = characterOf(other, code);
        return a == b || (kKinds[a] == kKinds[b] && isLetterKind(kKinds[a]));
    });
}

bool isConverted(int encoding) { return kEncodings[encoding].number < kShiftJis; }

// What the bytes of a text are in one language; worked out when asked for, and the same in all encodings.
class Signs {
  public:
    explicit Signs(int language) : alphabet_(language) {
        for (Sign &sign : signs_) {
            sign.group = kGroups;
        }
    }

    const Alphabet &alphabet() const { return alphabet_; }
    const Sign &of(int encoding, int code) {
        int character = isHighCode(code) ? characterOf(encoding, code) : kCharacterCount + code - kHighCodes;
        Sign &sign = signs_[character];
        if (sign.group == kGroups) {
            sign = signOf(encoding, alphabet_, code);
        }
        return sign;
    }

  private:
    static constexpr int kCharacterCount = static_cast<int>(std::size(kKinds));

    Alphabet alphabet_;
    Sign signs_[kCharacterCount + kByteCodes - kHighCodes];
};

// What the pairs of a text cost in one encoding and language.
class PairSum {
  public:
    PairSum(const Text &text, int encoding, Signs &signs, int64_t start)
        : text_(text), signs_(signs), encoding_(encoding), cost_(start) {}

    // Adds the pairs up to one, or to where the sum passes the bound: then the sum is less than the pairs cost.
    int64_t addUpTo(int end, int64_t bound) {
        constexpr int kStretch = 32;
        const Alphabet &alphabet = signs_.alphabet();
        while (next_ < end && cost_ <= bound) {
            int stop = std::min(end, next_ + kStretch);
            for (; codes_ < text_.codeCount && text_.firstPairs[codes_] < stop; codes_++) {
                uint8_t code = text_.codes[codes_];
                signOf_[code] = signs_.of(encoding_, code);
            }
            int64_t sum = 0;
            for (const Pair &pair : std::span(text_.pairs + next_, text_.pairs + stop)) {
                sum += int64_t{costOf(alphabet, signOf_[pair.first], signOf_[pair.second])} * pair.count;
            }
            next_ = stop;
            cost_ += sum;
        }
        return cost_;
    }

    int added() const { return next_; }

  private:
    const Text &text_;
    Signs &signs_;
    int encoding_;
    int next_ = 0;
    int codes_ = 0; // of the text's, those that signOf_ knows
    int64_t cost_;
    Sign signOf_[kByteCodes];
};

int64_t priorOf(const Text &text, int encoding, int language, const ReadingHints &hints) {
    int64_t cost = kLanguages[language].prior + kEncodings[encoding].prior + text.behind[language];
    if ((kEncodings[encoding].homes >> language & 1) == 0) {
        cost += kUnusual;
    }
    if (kLanguages[language].script != kLatin) {
        cost += std::min(text.highRuns, text.asciiWords) * kRunAmongWords + text.behind[kEnglish];
    }
    if ((hints.languages >> language & 1) != 0) {
        cost -= kHint;
    }
    if ((hints.encodings >> encoding & 1) != 0) {
        cost -= kHint;
    }
    return cost;
}

// Lists all candidates with their costs, the best first.
int rank(const Text &text, const ReadingHints &hints, Candidate *candidates) {
    int count = 0;
    int firstPairs = std::min(text.pairCount, kFirstPairs);
    for (int16_t language = 0; language < kLanguageCount; language++) {
        Signs signs(language);
        for (int16_t encoding = 0; encoding < kEncodingCount; encoding++) {
            if ((kEncodings[encoding].languages >> language & 1) == 0) {
                continue;
            }
            PairSum sum(text, encoding, signs, priorOf(text, encoding, language, hints));
            candidates[count++] = {sum.addUpTo(firstPairs, INT64_MAX), encoding, language};
        }
    }
    std::sort(candidates, candidates + count, lessCost);
    if (text.pairCount == firstPairs) {
        return count;
    }
    // Who is this far behind already only falls back further. What the rest would cost is not worked out: at least as
    // much more than the best as now.
    int64_t start = candidates[0].cost;
    int64_t best = INT64_MAX - kFar;
    int work = kMostWork;
    for (int i = 0; i < count; i++) {
        Candidate &candidate = candidates[i];
        if (candidate.cost > 2 * start + kFar || work < 0) {
            candidate.cost += best - start;
            continue;
        }
        Signs signs(candidate.language);
        PairSum sum(text, candidate.encoding, signs, priorOf(text, candidate.encoding, candidate.language, hints));
        candidate.cost = sum.addUpTo(text.pairCount, best + kFar);
        best = std::min(best, candidate.cost);
        work -= sum.added();
    }
    std::sort(candidates, candidates + count, lessCost);
    return count;
}

int32_t clamped(int64_t cost) { return static_cast<int32_t>(std::min<int64_t>(cost, INT32_MAX)); }

// An encoding that is not converted comes first only where it is sure.
void preferConverted(Candidate *candidates, int count) {
    const Candidate *end = candidates + count;
    const Candidate *best = std::find_if(candidates, candidates + count,
                                         [](const Candidate &candidate) { return isConverted(candidate.encoding); });
    if (best == end || candidates[0].cost + kSureMargin <= best->cost) {
        return;
    }
    int64_t cost = best->cost;
    for (Candidate &candidate : std::span(candidates, static_cast<size_t>(count))) {
        if (!isConverted(candidate.encoding)) {
            candidate.cost = std::max(candidate.cost, cost + 1);
        }
    }
    std::sort(candidates, candidates + count, lessCost);
}

} // namespace

bool readSingleByte(Bytes bytes, const ReadingHints &hints, Readings &readings) {
    readings.count = 0;
    auto *scratch = static_cast<Scratch *>(calloc(1, sizeof(Scratch)));
    if (scratch == nullptr) {
        return false;
    }
    Text &text = scratch->text;
    countBytePairs(bytes, scratch->counts);
    listPairs(scratch->counts, text);
    countWords(scratch->counts, text);
    weighAscii(scratch->counts, text);
    int count = rank(text, hints, scratch->candidates);
    preferConverted(scratch->candidates, count);
    // Sums of vast texts are cut alike, so that the margins stay.
    int64_t excess = std::max<int64_t>(scratch->candidates[0].cost - kLargestBest, 0);
    bool seen[kEncodingCount] = {};
    for (const Candidate &candidate : std::span(scratch->candidates, static_cast<size_t>(count))) {
        if (seen[candidate.encoding]) {
            continue;
        }
        seen[candidate.encoding] = true;
        if (readings.count == static_cast<int32_t>(std::size(readings.rows))) {
            break;
        }
        Reading *end = readings.rows + readings.count;
        bool listed = std::any_of(readings.rows, end, [&](const Reading &row) {
            return sameText(text, candidate.encoding, singleByteIndex(row.encoding));
        });
        if (!listed) {
            const int64_t prior = priorOf(text, candidate.encoding, candidate.language, hints);
            readings.rows[readings.count++] = {kEncodings[candidate.encoding].number, candidate.language,
                                               clamped(candidate.cost - excess), clamped(candidate.cost - prior)};
        }
    }
    free(scratch);
    return true;
}

std::span<const LanguageInfo> languages() {
    static constexpr auto kInfos = [] {
        std::array<LanguageInfo, static_cast<size_t>(kLanguageCount)> infos{};
        for (size_t i = 0; i < infos.size(); i++) {
            infos[i] = {kLanguages[i].code, kLanguages[i].name};
        }
        return infos;
    }();
    return kInfos;
}

int32_t singleByteIndex(int32_t encoding) {
    for (int i = 0; i < kEncodingCount; i++) {
        if (kEncodings[i].number == encoding) {
            return i;
        }
    }
    return -1;
}

uint16_t codePointOf(int32_t encoding, uint8_t byte) {
    int index = singleByteIndex(encoding);
    if (byte < 0x80) {
        return byte;
    }
    return index < 0 ? kUndefined : kPoints[characterOf(index, byte - 0x80)];
}

} // namespace zutext
