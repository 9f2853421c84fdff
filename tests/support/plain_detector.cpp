#include "plain_detector.h"

#include <algorithm>
#include <sstream>

namespace plain {
namespace {

using Text = std::string_view;

bool in(int byte, int low, int high) { return byte >= low && byte <= high; }
int byteAt(Text text, size_t at) { return static_cast<uint8_t>(text[at]); }
bool standsAt(Text text, size_t at, Text bytes) { return text.substr(at).starts_with(bytes); }
bool pairIn(int a, int b, int low, int high) { return in(a, low, high) && in(b, low, high); }

float part(int64_t dividend, int64_t divisor) {
    const float quotient = static_cast<float>(dividend) / static_cast<float>(divisor);
    return 50.0f * quotient;
}

struct Counters {
    int64_t total = 1, good = 1, weight = 1, freqsum = 0;

    void accept(int32_t frequency) { good += 1, weight += 500, freqsum += frequency; }
    int32_t score() const { return static_cast<int32_t>(part(good, total) + part(freqsum, weight)); }
};

int32_t orFallback(int32_t cell, bool inFallbackRows, int32_t fallback = 200) {
    return cell == 0 && inFallbackRows ? fallback : cell;
}

// The score for pairs, which rule() weighs or refuses with -1.
template <class Rule> int32_t pairs(Text text, Rule rule, size_t afterRefused = 2, bool hasFourBytes = false) {
    Counters c;
    for (size_t at = 0, step = 1; at + 1 < text.size(); at += step) {
        const int a = byteAt(text, at), b = byteAt(text, at + 1);
        step = a <= 0x7E ? 1 : rule(a, b) < 0 ? afterRefused : 2;
        c.total += a <= 0x7E ? 0 : 1;
        if (a > 0x7E && rule(a, b) >= 0) {
            c.accept(rule(a, b));
        } else if (hasFourBytes && at + 3 < text.size() && in(a, 0x81, 0xFE) && in(b, '0', '9') &&
                   in(byteAt(text, at + 2), 0x81, 0xFE) && in(text[at + 3], '0', '9')) {
            c.good += 1;
            step = 4;
        }
    }
    return c.score();
}

int32_t hz(const Instance &tables, Text text) {
    int segments = 0;
    Counters c;
    for (size_t at = 0; at < text.size(); ++at) {
        if (standsAt(text, at, "~}") || standsAt(text, at, "~~")) {
            at += 1;
        } else if (standsAt(text, at, "~{")) {
            segments += 1;
            for (at += 2; at + 1 < text.size() && text[at] != '\n' && text[at] != '\r'; at += 2) {
                const int a = byteAt(text, at), b = byteAt(text, at + 1);
                const int base = pairIn(a, b, 0x21, 0x77) ? 0x21 : 0xA1;
                if (a == '~' && b == '}') {
                    at += 1;
                    break;
                }
                if (base == 0x21 || pairIn(a, b, 0xA1, 0xF7))
                    c.accept(orFallback(tables.as32FreqGB[a - base][b - base], in(a - base, 15, 54)));
            }
        }
    }
    const float base = segments == 0 ? 0.0f : segments == 1 ? 39.0f : segments <= 4 ? 41.0f : 50.0f;
    return static_cast<int32_t>(base + part(c.freqsum, c.weight));
}

int32_t iso2022Cn(const Instance &tables, Text text) {
    Counters c;
    for (size_t at = 0; at + 1 < text.size(); ++at) {
        const bool isGb = standsAt(text, at, "\x1B$)A");
        if (!isGb && !standsAt(text, at, "\x1B$)G"))
            continue; // an escape back to ASCII outside a segment counts nothing
        for (at += 4; at < text.size() && text[at] != '\x1B'; ++at) {
            c.total += 1;
            const int a = byteAt(text, at) - 0x21;
            const int b = at + 1 < text.size() ? byteAt(text, at + 1) - 0x21 : -1;
            if (!pairIn(a, b, 0, isGb ? 0x77 - 0x21 : 0x7E - 0x21))
                continue;
            c.accept(isGb ? orFallback(tables.as32FreqGB[a][b], in(a, 15, 54))
                          : orFallback(tables.as32FreqEUC_TW[a][b], in(a, 35, 92), 150));
            at += 1;
        }
        if (at < text.size() && standsAt(text, at, "\x1B(B"))
            at += 2;
    }
    return c.score();
}

int32_t holds(Text text, Text escape) { return text.find(escape) != Text::npos ? 100 : 0; }

size_t utf8SequenceAt(Text text, size_t at) {
    const int a = byteAt(text, at);
    const size_t n = in(a, 0xC0, 0xDF) ? 2 : in(a, 0xE0, 0xEF) ? 3 : in(a, 0xF0, 0xF7) ? 4 : in(a, 0xF8, 0xFB) ? 5 : 6;
    const auto isNext = [](char byte) { return (byte & 0xC0) == 0x80; };
    const Text rest = text.substr(at + 1, n - 1);
    return in(a, 0xC0, 0xFD) && rest.size() == n - 1 && std::all_of(rest.begin(), rest.end(), isNext) ? n : 0;
}

// Whether nothing in a short text that is good UTF-8 hints at another encoding.
bool isPlainlyUtf8(Text text) {
    if (text.size() >= 4 && standsAt(text, 0, "\xEF\xBB\xBF"))
        text.remove_prefix(3);
    const auto first = std::find_if(text.begin(), text.end(), [](char byte) { return (byte & 0x80) != 0; });
    const int a = first == text.end() ? 0xC0 : static_cast<uint8_t>(*first);
    return in(a, 0xC0, 0xFD) && !in(a, 0xDE, 0xDF) && (first == text.end() || first + 1 == text.end());
}

int32_t utf8(Text text) {
    size_t sevenBit = 0, good = 0;
    for (size_t n = 1; n != 0 && sevenBit + good < text.size();) {
        n = byteAt(text, sevenBit + good) < 0x80 ? 1 : utf8SequenceAt(text, sevenBit + good);
        (n == 1 ? sevenBit : good) += n;
    }
    if (sevenBit == text.size())
        return 17;
    const float q = static_cast<float>(good) / static_cast<float>(text.size() - sevenBit);
    const float percent = q * 100.0f;
    const auto raw = static_cast<int32_t>(percent);
    if (raw >= 99)
        return text.size() > 8 || isPlainlyUtf8(text) ? raw : 70;
    return raw >= 96 && good >= 31 ? raw : 0;
}

int32_t ascii(Text text) {
    int32_t score = 70;
    for (size_t at = 0; at < text.size() && score >= 0; ++at)
        score -= byteAt(text, at) >= 0x7F ? 10 : text[at] == '\x1B' ? 5 : 0;
    return std::max(score, 0);
}

template <class... Score> Scores list(Score... score) { return {score...}; }

} // namespace

const std::vector<CascadeRow> cascade = {{IsUnicodeBE, 19},  {IsUnicodeLE, 18},  {IsIso8859_6, 8},   {IsIso8859_8, 10},
                                         {IsIso8859_11, 13}, {IsIso8859_3, 5},   {IsIso8859_7, 9},   {IsCp874, 30},
                                         {IsCp1255, 26},     {IsIso8859_16, 17}, {IsIso8859_15, 16}, {IsIso8859_14, 15},
                                         {IsIso8859_13, 14}, {IsIso8859_10, 12}, {IsIso8859_9, 11},  {IsIso8859_5, 7},
                                         {IsIso8859_4, 6},   {IsIso8859_2, 4},   {IsIso8859_1, 3},   {IsCp1253, 24},
                                         {IsCp1257, 28},     {IsCp1258, 29},     {IsCp1254, 25},     {IsCp1252, 23},
                                         {IsCp1250, 21},     {IsCp1251, 22},     {IsCp1256, 27}};

Scores scores(const Instance &t, Text text) {
    const auto isWide = [](int a, int b) { return in(a, 0x81, 0xFE) && (in(b, 0x40, 0x7E) || in(b, 0x80, 0xFE)); };
    const auto isEuc = [](int a, int b) { return pairIn(a, b, 0xA1, 0xFE); };
    const auto gb2312 = [&](int a, int b) {
        const bool accepted = in(a, 0xA1, 0xF7) && in(b, 0xA1, 0xFE);
        return accepted ? orFallback(t.as32FreqGB[a - 0xA1][b - 0xA1], in(a - 0xA1, 15, 54)) : -1;
    };
    const auto gbk = [&](int a, int b) {
        return gb2312(a, b) < 0 && isWide(a, b) ? t.as32FreqGBK[a - 0x81][b - 0x40] : gb2312(a, b);
    };
    const auto big5To = [&](int a, int b, int lastFallbackRow) {
        if (!in(a, 0xA1, 0xF9) || !(in(b, 0x40, 0x7E) || in(b, 0xA1, 0xFE)))
            return -1;
        const int32_t cell = t.as32FreqBIG5[a - 0xA1][b <= 0x7E ? b - 0x40 : b - 0x61];
        return orFallback(cell, in(a - 0xA1, 3, lastFallbackRow));
    };
    const auto big5 = [&](int a, int b) { return big5To(a, b, 37); };
    const auto big5Plus = [&](int a, int b) {
        return big5To(a, b, 36) < 0 && isWide(a, b) ? t.as32FreqBIG5P[a - 0x81][b - 0x40] : big5To(a, b, 36);
    };
    const auto eucKr = [&](int a, int b) { return isEuc(a, b) ? t.as32FreqKR[a - 0xA1][b - 0xA1] : -1; };
    const auto cp949 = [&](int a, int b) {
        const bool accepted = in(a, 0x81, 0xFE) && (in(b, 0x41, 0x5A) || in(b, 0x61, 0x7A) || in(b, 0x81, 0xFE));
        return isEuc(a, b) ? eucKr(a, b) : accepted ? 0 : -1;
    };
    const auto eucJp = [&](int a, int b) { return isEuc(a, b) ? t.as32FreqJP[a - 0xA1][b - 0xA1] : -1; };
    const auto sjis = [&](int a, int b) {
        const int base = in(a, 0x81, 0x9F) ? 0x70 : in(a, 0xE0, 0xEF) ? 0xB0 : 0;
        if (base == 0 || !(in(b, 0x40, 0x7E) || in(b, 0x80, 0xFC)))
            return -1;
        const int row = 2 * (a - base) - (b <= 0x9E ? 1 : 0) - 32;
        return t.as32FreqJP[row - 1][(b <= 0x7E ? b - 0x3F : b <= 0x9E ? b - 0x40 : b - 0x9E) - 1];
    };
    return list(pairs(text, gb2312), pairs(text, gbk) - 1, pairs(text, gbk, 2, true) - 1, hz(t, text),
                pairs(text, big5), pairs(text, big5Plus) - 1, 0, iso2022Cn(t, text), pairs(text, eucKr),
                pairs(text, cp949), holds(text, "\x1B$)C"), 0, pairs(text, eucJp), pairs(text, sjis, 1),
                holds(text, "\x1B$B"), utf8(text), 0, ascii(text), 0);
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
    for (std::string token; tokens >> token;) {
        const size_t star = token.find('*');
        for (int times = star < token.size() ? std::stoi(token.substr(star + 1)) : 1; times > 0; --times) {
            for (size_t at = 0; at + 1 < std::min(star, token.size()); at += 2)
                texts.back() += static_cast<char>(std::stoi(token.substr(at, 2), nullptr, 16));
        }
        if (token.back() == ',')
            texts.emplace_back();
    }
    return texts;
}

} // namespace plain
