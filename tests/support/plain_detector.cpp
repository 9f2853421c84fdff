#include "plain_detector.h"

#include <algorithm>
#include <sstream>

namespace plain {
namespace {

using Text = std::string_view;

bool in(int byte, int low, int high) { return byte >= low && byte <= high; }
int byteAt(Text text, size_t at) { return at < text.size() ? static_cast<uint8_t>(text[at]) : -1; }
bool standsAt(Text text, size_t at, Text bytes) { return text.substr(at).starts_with(bytes); }

// The pairs of a character set: ranges of lead and of trail bytes, each given by its first and its last byte. In the
// table, rows and columns of the ranges follow one another; 7F may have a column, but is no trail byte.
struct Rule {
    Text leads, trails;
    const int32_t *cells = nullptr;                                        // without, its characters weigh nothing
    int columns = 0, firstFallback = 0, lastFallback = -1, fallback = 200; // what an empty cell of these leads weighs
};
using Rules = std::vector<Rule>; // the first one that accepts a pair weighs it

// The place of a byte in ranges one after another, negative outside.
int placeIn(Text ranges, int byte) {
    if (ranges.empty())
        return -1000;
    const int first = byteAt(ranges, 0), last = byteAt(ranges, 1);
    return in(byte, first, last) ? byte - first : last - first + 1 + placeIn(ranges.substr(2), byte);
}

float part(int64_t dividend, int64_t divisor) {
    const float quotient = static_cast<float>(dividend) / static_cast<float>(divisor);
    return 50.0f * quotient;
}

struct Counters {
    int64_t total = 1, good = 1, weight = 1, freqsum = 0;

    bool accept(const Rules &rules, Text text, size_t at) {
        const int lead = byteAt(text, at), trail = byteAt(text, at + 1);
        for (const Rule &rule : rules) {
            const int row = placeIn(rule.leads, lead), column = placeIn(rule.trails, trail);
            if (row < 0 || column < 0 || trail == 0x7F)
                continue;
            const int cell = rule.cells == nullptr ? 0 : rule.cells[row * rule.columns + column];
            freqsum += cell == 0 && in(lead, rule.firstFallback, rule.lastFallback) ? rule.fallback : cell;
            good += 1, weight += 500;
            return true;
        }
        return false;
    }
    int32_t score() const { return static_cast<int32_t>(part(good, total) + part(freqsum, weight)); }
};

int32_t pairs(Text text, const Rules &rules, size_t afterRefused = 2, const Rules &halves = {}) {
    Counters c, ignored;
    for (size_t at = 0, step = 1; at + 1 < text.size(); at += step) {
        const bool isFourBytes = ignored.accept(halves, text, at) && ignored.accept(halves, text, at + 2);
        const bool isSingle = byteAt(text, at) <= 0x7E;
        step = isSingle ? 1 : isFourBytes ? 4 : c.accept(rules, text, at) ? 2 : afterRefused;
        c.total += isSingle ? 0 : 1;
        c.good += isFourBytes ? 1 : 0;
    }
    return c.score();
}

int32_t hz(Text text, const Rules &rules) {
    size_t segments = 0;
    Counters c;
    for (size_t at = 0; at < text.size(); ++at) {
        if (standsAt(text, at, "~{")) {
            segments += 1;
            for (at += 2; at + 1 < text.size() && !standsAt(text, at, "~}") && text[at] != '\n' && text[at] != '\r';
                 at += 2)
                c.accept(rules, text, at);
        }
        at += standsAt(text, at, "~}") || standsAt(text, at, "~~") ? 1 : 0;
    }
    const float base = std::array{0.0f, 39.0f, 41.0f, 41.0f, 41.0f, 50.0f}[std::min<size_t>(segments, 5)];
    return static_cast<int32_t>(base + part(c.freqsum, c.weight));
}

int32_t iso2022Cn(Text text, const Rules &gb, const Rules &cns) {
    Counters c;
    for (size_t at = 0; at < text.size(); ++at) {
        const bool isGb = standsAt(text, at, "\x1B$)A");
        if (!isGb && !standsAt(text, at, "\x1B$)G"))
            continue;
        for (at += 4; at < text.size() && text[at] != '\x1B'; ++at) {
            c.total += 1;
            at += c.accept(isGb ? gb : cns, text, at) ? 1 : 0;
        }
    }
    return c.score();
}

int32_t holds(Text text, Text escape) { return text.find(escape) != Text::npos ? 100 : 0; }

// The length of a good sequence, or 0.
size_t utf8SequenceAt(Text text, size_t at) {
    const int first = byteAt(text, at);
    size_t n = in(first, 0x80, 0xBF) || first > 0xFD ? 0 : 1;
    for (const int lead : {0xC0, 0xE0, 0xF0, 0xF8, 0xFC}) {
        if (first >= lead)
            n = n > 0 && in(byteAt(text, at + n), 0x80, 0xBF) ? n + 1 : 0;
    }
    return n;
}

int32_t utf8(Text text) {
    size_t sevenBit = 0, good = 0;
    for (size_t n = 1; n != 0 && sevenBit + good < text.size(); (n == 1 ? sevenBit : good) += n)
        n = utf8SequenceAt(text, sevenBit + good);
    if (sevenBit == text.size())
        return 17;
    const float q = static_cast<float>(good) / static_cast<float>(text.size() - sevenBit);
    const float percent = q * 100.0f;
    const auto raw = static_cast<int32_t>(percent);
    // Few bytes are trusted only if there is nothing but ASCII after a byte order mark.
    if (raw >= 99)
        return text.size() > 8 || (text.size() > 3 && good == 3 && standsAt(text, 0, "\xEF\xBB\xBF")) ? raw : 70;
    return raw >= 96 && good >= 31 ? raw : 0;
}

int32_t ascii(Text text) {
    const auto high = std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0x80) != 0; });
    const auto other = 2 * std::count(text.begin(), text.end(), '\x7F') + std::count(text.begin(), text.end(), '\x1B');
    return static_cast<int32_t>(std::max<int64_t>(70 - 10 * high - 5 * other, 0));
}

} // namespace

const std::vector<CascadeRow> cascade = {{IsUnicodeBE, 19},  {IsUnicodeLE, 18},  {IsIso8859_6, 8},   {IsIso8859_8, 10},
                                         {IsIso8859_11, 13}, {IsIso8859_3, 5},   {IsIso8859_7, 9},   {IsCp874, 30},
                                         {IsCp1255, 26},     {IsIso8859_16, 17}, {IsIso8859_15, 16}, {IsIso8859_14, 15},
                                         {IsIso8859_13, 14}, {IsIso8859_10, 12}, {IsIso8859_9, 11},  {IsIso8859_5, 7},
                                         {IsIso8859_4, 6},   {IsIso8859_2, 4},   {IsIso8859_1, 3},   {IsCp1253, 24},
                                         {IsCp1257, 28},     {IsCp1258, 29},     {IsCp1254, 25},     {IsCp1252, 23},
                                         {IsCp1250, 21},     {IsCp1251, 22},     {IsCp1256, 27}};

Scores scores(const Instance &t, Text text) {
    constexpr Text wide = "\x81\xFE", euc = "\xA1\xFE", big5Trails = "\x40\x7F\xA1\xFE";
    const Rules gb{{"\xA1\xF7", euc, t.as32FreqGB[0], 94, 0xB0, 0xD7}};
    const Rules gbk{gb[0], {wide, "\x40\xFE", t.as32FreqGBK[0], 191}}, fourBytes{{wide, "09"}};
    const Rules gb7Bit{{"\x21\x77", "\x21\x77", t.as32FreqGB[0], 94, 0x30, 0x57}};
    const Rules hzBoth{gb7Bit[0], {"\xA1\xF7", "\xA1\xF7", t.as32FreqGB[0], 94, 0xB0, 0xD7}};
    const Rules big5{{"\xA1\xF9", big5Trails, t.as32FreqBIG5[0], 158, 0xA4, 0xC6}};
    const Rules big5Plus{{"\xA1\xF9", big5Trails, t.as32FreqBIG5[0], 158, 0xA4, 0xC5},
                         {wide, "\x40\xFE", t.as32FreqBIG5P[0], 191}};
    const Rules cns{{"\x21\x7E", "\x21\x7E", t.as32FreqEUC_TW[0], 94, 0x44, 0x7D, 150}};
    const Rules eucKr{{euc, euc, t.as32FreqKR[0], 94}}, cp949{eucKr[0], {wide, "\x41\x5A\x61\x7A\x81\xFE"}};
    const Rules eucJp{{euc, euc, t.as32FreqJP[0], 94}};
    const Rules sjis{{"\x81\x9F\xE0\xEF", "\x40\x7E\x80\xFC", t.as32FreqJP[0], 188}}; // two rows of 94 for a lead
    const auto of = [&](const Rules &rules) { return pairs(text, rules); };
    const int32_t fourByte = pairs(text, gbk, 2, fourBytes) - 1, shifted = pairs(text, sjis, 1);
    const int32_t kr = holds(text, "\x1B$)C"), jp = holds(text, "\x1B$B"), cn = iso2022Cn(text, gb7Bit, cns);
    return {of(gb),    of(gbk) - 1, fourByte,  hz(text, hzBoth), of(big5), of(big5Plus) - 1,
            0,         cn,          of(eucKr), of(cp949),        kr,       0,
            of(eucJp), shifted,     jp,        utf8(text),       0,        ascii(text),
            0};
}

int32_t vote(const Scores &scores) {
    constexpr int32_t named[19] = {20, 20, 0, 0, 1, 1, 0, 0, 33, 33, 0, 0, 0, 0, 0, 2, 0, 0, 0};
    const auto best = std::max_element(scores.begin(), scores.end()); // the first of equals
    return *best >= 66 ? named[best - scores.begin()] : 0;
}

int32_t identify(const Instance &tables, Text text) {
    if (const int32_t named = vote(scores(tables, text)); named != 0)
        return named;
    for (const auto &[test, codeType] : cascade) {
        if (test(reinterpret_cast<const uint8_t *>(text.data()), static_cast<int32_t>(text.size())) == 0)
            return codeType;
    }
    return 0;
}

std::vector<std::string> fromHex(const std::string &hex) {
    std::vector<std::string> texts(1);
    std::istringstream tokens(hex);
    for (std::string token; tokens >> token; texts.resize(texts.size() + (token.back() == ',' ? 1 : 0))) {
        const size_t digits = std::min(token.find_first_of("*,"), token.size());
        for (int times = token[digits] == '*' ? std::stoi(token.substr(digits + 1)) : 1; times > 0; --times) {
            for (size_t at = 0; at < digits; at += 2)
                texts.back() += static_cast<char>(std::stoi(token.substr(at, 2), nullptr, 16));
        }
    }
    return texts;
}

} // namespace plain
