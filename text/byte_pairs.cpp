#include "byte_pairs.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zutext {
namespace {

// Behind this many bytes only the pairs with a high byte are of interest: the language of ASCII words is known by then.
constexpr size_t kThorough = 64 * 1024;
constexpr size_t kLongestMarkup = 400;

constexpr std::array<uint8_t, 256> makeCodes() {
    std::array<uint8_t, 256> codes{};
    for (int byte = 0; byte < 256; byte++) {
        int code = kOtherCode;
        if (byte >= 0x80)
            code = byte - 0x80;
        else if (byte >= 'A' && byte <= 'Z')
            code = kUpperCode + byte - 'A';
        else if (byte >= 'a' && byte <= 'z')
            code = kLowerCode + byte - 'a';
        else if (byte <= ' ')
            code = kBlankCode;
        else if (byte >= '0' && byte <= '9')
            code = kDigitCode;
        codes[static_cast<size_t>(byte)] = static_cast<uint8_t>(code);
    }
    return codes;
}
constexpr std::array<uint8_t, 256> kCodes = makeCodes();

constexpr bool opensMarkup(uint8_t byte) { return byte == '<' || byte == '{' || byte == '&'; }

constexpr bool isLetter(uint8_t byte) { return isAsciiLetter(kCodes[byte]); }

// The length of the tag, override block or entity that begins at text[at], 0 if it is none.
size_t markupLength(Bytes text, size_t at) {
    if (at + 2 >= text.size())
        return 0;
    uint8_t second = text[at + 1];
    uint8_t last = '>';
    size_t longest = kLongestMarkup;
    bool opens = isLetter(second) || second == '/' || second == '!' || second == '?';
    if (text[at] == '{') {
        opens = second == '\\';
        last = '}';
    } else if (text[at] == '&') {
        opens = isLetter(second) || second == '#';
        last = ';';
        longest = 10;
    }
    if (!opens)
        return 0;
    size_t end = std::min(text.size(), at + longest);
    for (size_t i = at + 1; i < end; i++) {
        // Every high byte counts, so that nothing is lost to a bracket that was not meant so.
        if (text[i] >= 0x80)
            return 0;
        if (text[i] == last)
            return i + 1 - at;
    }
    return 0;
}

bool hasHighByte(const uint8_t *bytes) {
    uint64_t word;
    memcpy(&word, bytes, sizeof word);
    return (word & 0x8080808080808080u) != 0;
}

} // namespace

void countBytePairs(Bytes text, BytePairs &pairs) {
    size_t previous = kBlankCode;
    size_t i = 0;
    size_t thorough = std::min(text.size(), kThorough);
    while (i < thorough) {
        size_t code = kCodes[text[i]];
        if (code == kOtherCode && opensMarkup(text[i])) {
            size_t skipped = markupLength(text, i);
            if (skipped != 0) {
                pairs.counts[previous][kBlankCode]++;
                previous = kBlankCode;
                i += skipped;
                continue;
            }
        }
        pairs.counts[previous][code]++;
        previous = code;
        i++;
    }
    while (i < text.size()) {
        if (isHighCode(static_cast<int>(previous)) || text.size() - i < sizeof(uint64_t) || hasHighByte(&text[i])) {
            size_t end = std::min(text.size(), i + sizeof(uint64_t));
            for (; i < end; i++) {
                size_t code = kCodes[text[i]];
                pairs.counts[previous][code]++;
                previous = code;
            }
        } else {
            i += sizeof(uint64_t);
            previous = kCodes[text[i - 1]];
        }
    }
    if (!text.empty())
        pairs.counts[previous][kBlankCode]++;
}

} // namespace zutext
