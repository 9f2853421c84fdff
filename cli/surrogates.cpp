#include "surrogates.h"

#include <algorithm>

namespace zucli {

namespace {

constexpr size_t kHalfLength = 3;

// Is there a surrogate half at the start, with a second byte in the range? First halves have A0 to AF, second halves
// B0 to BF.
bool isHalf(Bytes text, uint8_t from, uint8_t to) {
    return text.size() >= kHalfLength && text[0] == 0xED && text[1] >= from && text[1] <= to;
}

uint32_t payload(Bytes half) { return (uint32_t{half[1]} & 0x0F) << 6 | (uint32_t{half[2]} & 0x3F); }

void appendPair(std::vector<uint8_t> &text, Bytes pair) {
    const uint32_t codePoint = 0x10000 + (payload(pair) << 10) + payload(pair.subspan(kHalfLength));
    for (const uint32_t byte : {0xF0 | codePoint >> 18, 0x80 | (codePoint >> 12 & 0x3F), 0x80 | (codePoint >> 6 & 0x3F),
                                0x80 | (codePoint & 0x3F)}) {
        text.push_back(static_cast<uint8_t>(byte));
    }
}

} // namespace

JoinedText joinSurrogates(Bytes text) {
    JoinedText joined;
    joined.text.reserve(text.size());
    while (!text.empty()) {
        const auto plain = static_cast<size_t>(std::find(text.begin(), text.end(), uint8_t{0xED}) - text.begin());
        joined.text.insert(joined.text.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(plain));
        text = text.subspan(plain);
        const bool first = isHalf(text, 0xA0, 0xAF);
        if (first && text.size() == kHalfLength) {
            joined.openPair = true;
            return joined;
        }
        if (first && isHalf(text.subspan(kHalfLength), 0xB0, 0xBF)) {
            appendPair(joined.text, text.first(2 * kHalfLength));
            text = text.subspan(2 * kHalfLength);
            continue;
        }
        const size_t length = std::min(text.size(), kHalfLength);
        joined.alone += isHalf(text, 0xA0, 0xBF) ? 1 : 0;
        joined.text.insert(joined.text.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
        text = text.subspan(length);
    }
    return joined;
}

} // namespace zucli
