#include "byte_pairs.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace zutext {
namespace {

// Behind this many bytes only the pairs with a high byte are of interest: the language of ASCII words is known by then.
constexpr size_t kThorough = size_t{64} * 1024;
constexpr size_t kLongestMarkup = 400;
constexpr size_t kLongestLine = 256;

using CodeTable = std::array<uint8_t, 256>;

constexpr CodeTable makeCodes() {
    CodeTable codes{};
    for (int byte = 0; byte < 256; byte++) {
        int code = kOtherCode;
        if (byte >= 0x80) {
            code = byte - 0x80;
        } else if (byte >= 'A' && byte <= 'Z') {
            code = kUpperCode + byte - 'A';
        } else if (byte >= 'a' && byte <= 'z') {
            code = kLowerCode + byte - 'a';
        } else if (byte <= ' ') {
            code = kBlankCode;
        } else if (byte >= '0' && byte <= '9') {
            code = kDigitCode;
        }
        codes[static_cast<size_t>(byte)] = static_cast<uint8_t>(code);
    }
    return codes;
}
constexpr CodeTable kCodes = makeCodes();

constexpr CodeTable makeLetters() {
    CodeTable letters{};
    for (size_t i = 0; i < 26; i++) {
        letters['A' + i] = letters['a' + i] = static_cast<uint8_t>(i + 1);
    }
    return letters;
}
constexpr CodeTable kLetters = makeLetters();

constexpr bool opensMarkup(uint8_t byte) { return byte == '<' || byte == '{' || byte == '&'; }

constexpr bool isLetter(uint8_t byte) { return isAsciiLetter(kCodes[byte]); }

// The length of the tag, override block or entity that begins at text[at], 0 if it is none.
size_t markupLength(Bytes text, size_t at) {
    if (at + 2 >= text.size()) {
        return 0;
    }
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
    if (!opens) {
        return 0;
    }
    size_t end = std::min(text.size(), at + longest);
    for (size_t i = at + 1; i < end; i++) {
        // Every high byte counts, so that nothing is lost to a bracket that was not meant so.
        if (text[i] >= 0x80) {
            return 0;
        }
        if (text[i] == last) {
            return i + 1 - at;
        }
    }
    return 0;
}

bool hasHighByte(const uint8_t *bytes) {
    uint64_t word;
    memcpy(&word, bytes, sizeof word);
    return (word & 0x8080808080808080u) != 0;
}

bool hasHighByte(Bytes bytes) {
    size_t i = 0;
    for (; i + sizeof(uint64_t) <= bytes.size(); i += sizeof(uint64_t)) {
        if (hasHighByte(&bytes[i])) {
            return true;
        }
    }
    return std::any_of(bytes.begin() + static_cast<ptrdiff_t>(i), bytes.end(),
                       [](uint8_t byte) { return byte >= 0x80; });
}

// Where the line that begins at text[at] ends; a long one is taken in parts.
size_t lineEnd(Bytes text, size_t at) {
    size_t longest = std::min(text.size() - at, kLongestLine);
    const void *end = memchr(&text[at], '\n', longest);
    return end == nullptr ? at + longest : static_cast<size_t>(static_cast<const uint8_t *>(end) - text.data()) + 1;
}

// Goes through the text from `from` to `end` and hands each byte's code to count(), in place of markup a blank's; codes
// are numbers in a table, where `other` is that of signs like those that open markup. Returns where it stopped: markup
// may reach further.
template <typename Count>
size_t scan(Bytes text, size_t from, size_t end, const CodeTable &codes, uint8_t other, Count count) {
    size_t i = from;
    while (i < end) {
        uint8_t code = codes[text[i]];
        size_t length = 1;
        if (code == other && opensMarkup(text[i])) {
            size_t skipped = markupLength(text, i);
            if (skipped != 0) {
                code = codes[' '];
                length = skipped;
            }
        }
        count(code);
        i += length;
    }
    return i;
}

} // namespace

void countBytePairs(Bytes text, BytePairs &pairs) {
    size_t thorough = std::min(text.size(), kThorough);
    size_t previous = kBlankCode;
    size_t i = 0;
    while (i < thorough) {
        size_t end = std::min(lineEnd(text, i), thorough);
        if (isHighCode(static_cast<int>(previous)) || hasHighByte(text.subspan(i, end - i))) {
            i = scan(text, i, end, kCodes, kOtherCode, [&](uint8_t code) {
                pairs.counts[previous][code]++;
                previous = code;
            });
        } else {
            size_t letter = 0;
            i = scan(text, i, end, kLetters, 0, [&](uint8_t code) {
                pairs.elsewhere[letter][code]++;
                letter = code;
            });
            previous = kBlankCode;
        }
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
    if (!text.empty()) {
        pairs.counts[previous][kBlankCode]++;
    }
}

} // namespace zutext
