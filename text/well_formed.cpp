#include "well_formed.h"

#include <array>

namespace zutext {

namespace {

using Form = Utf8Step::Form;

constexpr uint8_t kHalf = 3; // bytes of a surrogate
constexpr uint8_t kHalfLead = 0xED;

constexpr bool isContinuation(uint8_t byte) { return (byte & 0xC0) == 0x80; }

// Bytes of the character that a lead byte begins, in the old definition of up to six; 0 for a continuation byte.
constexpr size_t expectedLength(uint8_t lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC0) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : lead < 0xFC ? 5 : 6;
}

// Where the second byte of a character may lie: it excludes overlong forms, surrogates and what lies beyond U+10FFFF.
struct Range {
    uint8_t first;
    uint8_t last;
};

constexpr Range secondByte(uint8_t lead) {
    switch (lead) {
        case 0xE0:
            return {0xA0, 0xBF};
        case 0xED:
            return {0x80, 0x9F};
        case 0xF0:
            return {0x90, 0xBF};
        case 0xF4:
            return {0x80, 0x8F};
        default:
            return lead >= 0xC2 && lead <= 0xF4 ? Range{0x80, 0xBF} : Range{1, 0};
    }
}

constexpr auto kSecondBytes = [] {
    std::array<Range, 256> ranges{};
    for (size_t lead = 0; lead < ranges.size(); ++lead) {
        ranges[lead] = secondByte(static_cast<uint8_t>(lead));
    }
    return ranges;
}();

bool isHalf(Bytes text, uint8_t from, uint8_t to) {
    return text.size() >= kHalf && text[0] == kHalfLead && text[1] >= from && text[1] <= to && isContinuation(text[2]);
}

// Do the first two bytes, as far as there are two, allow a character?
bool startsCharacter(Bytes text) {
    const Range second = kSecondBytes[text[0]];
    return second.first <= second.last && (text.size() < 2 || (text[1] >= second.first && text[1] <= second.last));
}

Utf8Step surrogateStep(Bytes text) {
    const bool first = text[1] < 0xB0;
    const Bytes next = text.subspan(kHalf);
    if (first && isHalf(next, 0xB0, 0xBF)) {
        return {Form::pair, 2 * kHalf};
    }
    const bool mayFollow =
        next.empty() || (next[0] == kHalfLead && (next.size() == 1 || (next.size() == 2 && next[1] >= 0xB0)));
    if (first && mayFollow) {
        return {Form::cut, static_cast<uint8_t>(text.size())};
    }
    return {Form::surrogate, kHalf};
}

} // namespace

Utf8Step stepThrough(Bytes text) {
    const uint8_t lead = text[0];
    const size_t expected = expectedLength(lead);
    if (expected <= 1) {
        return {expected == 1 ? Form::wellFormed : Form::malformed, 1};
    }
    size_t length = 1;
    while (length < expected && length < text.size() && isContinuation(text[length])) {
        ++length;
    }
    if (length < expected) {
        return {length == text.size() ? Form::cut : Form::malformed, static_cast<uint8_t>(length)};
    }
    if (startsCharacter(text)) {
        return {Form::wellFormed, static_cast<uint8_t>(length)};
    }
    return lead == kHalfLead ? surrogateStep(text) : Utf8Step{Form::malformed, static_cast<uint8_t>(length)};
}

Utf8Step atEnd(Utf8Step cut, Bytes text) {
    if (startsCharacter(text)) {
        return cut;
    }
    const bool half = text[0] == kHalfLead && text.size() >= kHalf;
    return half ? Utf8Step{Form::surrogate, kHalf} : Utf8Step{Form::malformed, cut.length};
}

size_t wellFormedLength(Bytes text) {
    size_t at = 0;
    while (at < text.size()) {
        while (text.size() - at >= sizeof(uint64_t)) {
            uint64_t word = 0;
            std::memcpy(&word, text.data() + at, sizeof word);
            if ((word & 0x8080808080808080u) != 0) {
                break;
            }
            at += sizeof word;
        }
        while (at < text.size() && text[at] < 0x80) {
            ++at;
        }
        // Characters follow their like, so stay here until the next ASCII one.
        while (at < text.size() && text[at] >= 0x80) {
            const Range second = kSecondBytes[text[at]];
            const size_t left = text.size() - at;
            if (left < 2 || text[at + 1] < second.first || text[at + 1] > second.last) {
                return at;
            }
            const size_t length = text[at] < 0xE0 ? 2 : text[at] < 0xF0 ? 3 : 4;
            if (left < length || (length > 2 && !isContinuation(text[at + 2])) ||
                (length > 3 && !isContinuation(text[at + 3]))) {
                return at;
            }
            at += length;
        }
    }
    return at;
}

FourBytes joinPair(Bytes pair) {
    const auto payload = [pair](size_t at) { return (pair[at + 1] & 0x0Fu) << 6 | (pair[at + 2] & 0x3Fu); };
    const uint32_t point = 0x10000 + (payload(0) << 10) + payload(kHalf);
    const auto byte = [](uint32_t value) { return static_cast<uint8_t>(value); };
    return {{byte(0xF0 | point >> 18), byte(0x80 | (point >> 12 & 0x3F)), byte(0x80 | (point >> 6 & 0x3F)),
             byte(0x80 | (point & 0x3F))}};
}

bool joinHalves(Bytes text, Buffer &output) {
    while (!text.empty()) {
        const size_t length = wellFormedLength(text);
        if (!output.append(text.first(length))) {
            return false;
        }
        text = text.subspan(length);
        if (text.empty()) {
            break;
        }
        const bool pair = stepThrough(text).form == Form::pair;
        if (pair ? !output.append(joinPair(text).bytes) : !output.append(kReplacement)) {
            return false;
        }
        text = text.subspan(pair ? 2 * kHalf : kHalf);
    }
    return true;
}

} // namespace zutext
