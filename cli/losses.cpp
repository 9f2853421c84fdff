#include "losses.h"

#include "encoding_names.h"
#include "zucharset.h"

#include <algorithm>
#include <numeric>
#include <string_view>

namespace zucli {

namespace {

constexpr size_t kBlock = 256;
constexpr size_t kLongestCharacter = 6;
constexpr uint64_t kMostCounted = 100000;
constexpr uint64_t kMostPlaces = 3; // of each kind
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::string_view asText(Bytes bytes) { return {reinterpret_cast<const char *>(bytes.data()), bytes.size()}; }

bool hasReplacement(Bytes output) { return asText(output).find(kReplacement) != std::string_view::npos; }

// UTF-8 of U+D800 to U+DFFF: ED A0 80 to ED BF BF.
bool hasSurrogate(Bytes output) {
    const auto found = std::adjacent_find(output.begin(), output.end(),
                                          [](uint8_t lead, uint8_t next) { return lead == 0xED && next >= 0xA0; });
    return found != output.end();
}

size_t countCharacters(Bytes output) {
    return static_cast<size_t>(
        std::count_if(output.begin(), output.end(), [](uint8_t byte) { return (byte & 0xC0) != 0x80; }));
}

// Bytes that stand for nothing anywhere in these encodings.
bool hasUnusedByte(int32_t codeType, Bytes input) {
    const bool big5 = codeType == ZU_CHARSET_CODETYPE_BIG5;
    return std::any_of(input.begin(), input.end(),
                       [big5](uint8_t byte) { return byte == 0xFF || (big5 && byte >= 0x80 && byte <= 0xA0); });
}

} // namespace

void LossFinder::startWith(int32_t codeType, bool ignoreSurrogates) {
    m_codeType = codeType;
    m_ignoreSurrogates = ignoreSurrogates;
    m_converter.reset();
}

bool LossFinder::isSuspicious(Bytes input, Bytes output) const {
    if (isUnicode(m_codeType)) {
        const bool rewritten = m_codeType == ZU_CHARSET_CODETYPE_UTF8 && !std::ranges::equal(input, output);
        return rewritten || (!m_ignoreSurrogates && hasSurrogate(output));
    }
    if (hasReplacement(output)) {
        return true;
    }
    return isSingleByte(m_codeType) ? countCharacters(output) != input.size() : hasUnusedByte(m_codeType, input);
}

void LossFinder::inspect(uint64_t offset, Bytes input, Bytes output) {
    if (gaveUp() || !isSuspicious(input, output)) {
        return;
    }
    if (!m_converter) {
        m_converter = std::make_unique<Converter>(m_codeType);
    }
    while (!input.empty() && !gaveUp()) {
        const Bytes block = input.first(std::min(kBlock, input.size()));
        const Conversion conversion = m_converter->convert(block);
        if (conversion.consumed == 0) {
            return;
        }
        if (isSuspicious(block.first(conversion.consumed), conversion.output)) {
            inspectBlock(offset, block.first(conversion.consumed));
        }
        input = input.subspan(conversion.consumed);
        offset += conversion.consumed;
    }
}

void LossFinder::inspectBlock(uint64_t offset, Bytes block) {
    while (!block.empty()) {
        Conversion conversion = {};
        for (size_t size = 1; size <= std::min(kLongestCharacter, block.size()) && conversion.consumed == 0; ++size) {
            conversion = m_converter->convert(block.first(size));
        }
        if (conversion.consumed == 0) {
            return;
        }
        inspectCharacter(offset, block.first(conversion.consumed), conversion.output);
        block = block.subspan(conversion.consumed);
        offset += conversion.consumed;
    }
}

void LossFinder::inspectCharacter(uint64_t offset, Bytes character, Bytes output) {
    if (output.empty()) {
        note(Damage::dropped, offset, character);
    } else if (!isUnicode(m_codeType) && hasReplacement(output)) {
        note(Damage::replaced, offset, character);
    } else if (m_codeType == ZU_CHARSET_CODETYPE_UTF8 && !std::ranges::equal(character, output)) {
        note(Damage::rewritten, offset, character);
    } else if (isUnicode(m_codeType) && !m_ignoreSurrogates && hasSurrogate(output)) {
        note(Damage::surrogate, offset, character);
    }
}

void LossFinder::note(Damage damage, uint64_t offset, Bytes character) {
    if (++m_counts[static_cast<size_t>(damage)] <= kMostPlaces) {
        m_places.push_back({damage, offset, std::string(asText(character))});
    }
}

bool LossFinder::gaveUp() const {
    return std::accumulate(m_counts.begin(), m_counts.end(), uint64_t{0}) >= kMostCounted;
}

bool LossFinder::textLost() const {
    return count(Damage::replaced) + count(Damage::dropped) + count(Damage::rewritten) > 0;
}

} // namespace zucli
