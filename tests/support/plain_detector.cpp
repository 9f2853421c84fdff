#include "plain_detector.h"

#include "pair_rules.h"

#include <algorithm>
#include <sstream>

namespace plain {
namespace {

using Text = std::string_view;

bool in(int byte, int low, int high) { return byte >= low && byte <= high; }
int byteAt(Text text, size_t at) { return at < text.size() ? static_cast<uint8_t>(text[at]) : -1; }
bool standsAt(Text text, size_t at, Text bytes) { return text.substr(at).starts_with(bytes); }

float part(int64_t dividend, int64_t divisor) {
    const float quotient = static_cast<float>(dividend) / static_cast<float>(divisor);
    return 50.0f * quotient;
}

struct Counters {
    int64_t total = 1, good = 1, weight = 1, freqsum = 0;

    bool accept(int32_t value) { // unless it is negative
        if (value >= 0)
            good += 1, weight += 500, freqsum += value;
        return value >= 0;
    }
    int32_t score() const { return static_cast<int32_t>(part(good, total) + part(freqsum, weight)); }
};

// What a pair weighs by the rules of an estimator, which a table of scores pins down. What is plain is the counting.
int32_t pairs(const Instance &t, Text text, const zucharset::PAIR_ESTIMATOR_S &estimator) {
    const zucharset::PAIR_FAMILY_S &family = zucharset::PAIR_FAMILIES[estimator.u32Family];
    Counters c;
    for (size_t at = 0, step = 1; at + 1 < text.size(); at += step) {
        const auto isHalf = [&](size_t half) {
            return in(byteAt(text, half), 0x81, 0xFE) && in(byteAt(text, half + 1), '0', '9');
        };
        const auto lead = static_cast<uint8_t>(text[at]), trail = static_cast<uint8_t>(text[at + 1]);
        const bool isFourBytes =
            estimator.enEncoding == zucharset::DETECTOR_ENCODING_GB18030 && isHalf(at) && isHalf(at + 2);
        step = lead <= 0x7E ? 1 : isFourBytes ? 4 : 2;
        c.total += step > 1 ? 1 : 0;
        c.good += step == 4 ? 1 : 0;
        if (step == 2 && !c.accept(applyRule(family.stBase, t, lead, trail)) && estimator.bSuperset)
            c.accept(applyRule(family.stSuperset, t, lead, trail));
    }
    return c.score() - estimator.s32Subtract;
}

int32_t sjis(const Instance &t, Text text) {
    Counters c;
    for (size_t at = 0; at + 1 < text.size(); ++at) {
        const int lead = byteAt(text, at), trail = byteAt(text, at + 1);
        const bool isPair = (in(lead, 0x81, 0x9F) || in(lead, 0xE0, 0xEF)) && in(trail, 0x40, 0xFC) && trail != 0x7F;
        const int place = (lead - (lead < 0xA0 ? 0x81 : 0xC1)) * 188 + trail - (trail < 0x7F ? 0x40 : 0x41);
        c.total += lead > 0x7E ? 1 : 0;
        at += c.accept(isPair ? t.as32FreqJP[place / 94][place % 94] : -1) ? 1 : 0;
    }
    return c.score();
}

// A pair of GB2312 or CNS 11643 in bytes from first to last, -1 for any other.
struct Set {
    const int32_t (&cells)[94][94];
    int first, last, firstFallback, lastFallback, fallback; // what an empty cell of these rows weighs

    int32_t operator()(Text text, size_t at) const {
        const int row = byteAt(text, at), column = byteAt(text, at + 1);
        if (!in(row, first, last) || !in(column, first, last))
            return -1;
        const int cell = cells[row - first][column - first];
        return cell == 0 && in(row, firstFallback, lastFallback) ? fallback : cell;
    }
};

int32_t hz(const Instance &t, Text text) {
    const Set low{t.as32FreqGB, 0x21, 0x77, 0x30, 0x57, 200}, high{t.as32FreqGB, 0xA1, 0xF7, 0xB0, 0xD7, 200};
    size_t segments = 0;
    Counters c;
    for (size_t at = 0; at < text.size(); ++at) {
        if (standsAt(text, at, "~{")) {
            segments += 1;
            for (at += 2; at + 1 < text.size() && !standsAt(text, at, "~}") && text[at] != '\n' && text[at] != '\r';
                 at += 2)
                c.accept(std::max(low(text, at), high(text, at)));
        }
        at += standsAt(text, at, "~}") || standsAt(text, at, "~~") ? 1 : 0;
    }
    const float base = std::array{0.0f, 39.0f, 41.0f, 41.0f, 41.0f, 50.0f}[std::min<size_t>(segments, 5)];
    return static_cast<int32_t>(base + part(c.freqsum, c.weight));
}

int32_t iso2022Cn(const Instance &t, Text text) {
    const Set gb{t.as32FreqGB, 0x21, 0x77, 0x30, 0x57, 200}, cns{t.as32FreqEUC_TW, 0x21, 0x7E, 0x44, 0x7D, 150};
    Counters c;
    for (size_t at = 0; at < text.size(); ++at) {
        const bool isGb = standsAt(text, at, "\x1B$)A");
        if (!isGb && !standsAt(text, at, "\x1B$)G"))
            continue;
        for (at += 4; at < text.size() && text[at] != '\x1B'; ++at) {
            c.total += 1;
            at += c.accept(isGb ? gb(text, at) : cns(text, at)) ? 1 : 0;
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
    using namespace zucharset;
    const auto of = [&](const PAIR_ESTIMATOR_S &estimator) { return pairs(t, text, estimator); };
    return {of(_Detector_gb2312_probability),
            of(_Detector_gbk_probability),
            of(_Detector_gb18030_probability),
            hz(t, text),
            of(_Detector_big5_probability),
            of(_Detector_big5plus_probability),
            0,
            iso2022Cn(t, text),
            of(_Detector_euc_kr_probability),
            of(_Detector_cp949_probability),
            holds(text, "\x1B$)C"),
            0,
            of(_Detector_euc_jp_probability),
            sjis(t, text),
            holds(text, "\x1B$B"),
            utf8(text),
            0,
            ascii(text),
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
