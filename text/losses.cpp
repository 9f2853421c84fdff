#include "losses.h"

#include "account.h"
#include "encodings.h"
#include "tables/gb18030_pairs.h"
#include "well_formed.h"

#include <string_view>

namespace zutext {

namespace {

constexpr size_t kBlock = 256;
constexpr size_t kLongestCharacter = 2;
constexpr size_t kFourByteCode = 4;

std::string_view asText(Bytes bytes) { return {reinterpret_cast<const char *>(bytes.data()), bytes.size()}; }

bool hasReplacement(Bytes output) { return asText(output).find(asText(Bytes(kReplacement))) != std::string_view::npos; }

// U+E000 to U+F8FF: EE 80 80 to EF A3 BF.
bool hasPrivateUse(Bytes output) {
    const auto found = std::adjacent_find(output.begin(), output.end(), [](uint8_t lead, uint8_t next) {
        return lead == 0xEE || (lead == 0xEF && next <= 0xA3);
    });
    return found != output.end() || (!output.empty() && output.back() == 0xEE);
}

size_t countCharacters(Bytes output) {
    return static_cast<size_t>(
        std::count_if(output.begin(), output.end(), [](uint8_t byte) { return (byte & 0xC0) != 0x80; }));
}

// Bytes that stand for nothing anywhere in the double-byte encodings: they are dropped without a trace in the output.
bool hasUnusedByte(int32_t codeType, Bytes input) {
    const bool big5 = codeType == ZU_CHARSET_CODETYPE_BIG5;
    return std::any_of(input.begin(), input.end(),
                       [big5](uint8_t byte) { return byte == 0xFF || (big5 && byte >= 0x80 && byte <= 0xA0); });
}

constexpr bool isGbLead(uint8_t byte) { return byte >= 0x81 && byte <= 0xFE; }

constexpr bool isDigit(uint8_t byte) { return byte >= '0' && byte <= '9'; }

// A four-byte code of GB18030: two leads, each with a digit, which no other use of GBK has side by side.
bool isFourByteCode(Bytes text) {
    return text.size() >= kFourByteCode && isGbLead(text[0]) && isDigit(text[1]) && isGbLead(text[2]) &&
           isDigit(text[3]);
}

// A pair that means another character in GB18030.
bool isGb18030Pair(Bytes character) {
    if (character.size() != 2) {
        return false;
    }
    const uint32_t pair = uint32_t{character[0]} << 8u | character[1];
    bool found = false;
    for (size_t run = 0; run < std::size(kGb18030Pairs); run += 2) {
        found |= pair >= kGb18030Pairs[run] && pair <= kGb18030Pairs[run + 1];
    }
    return found;
}

bool isSuspicious(int32_t codeType, Bytes input, Bytes output) {
    if (hasReplacement(output)) {
        return true;
    }
    if (hasTrait(codeType, ZUTEXT_SINGLE_BYTE)) {
        return countCharacters(output) != input.size();
    }
    // A byte that is dropped leaves its neighbours: every character but ASCII takes two bytes.
    const size_t wide =
        static_cast<size_t>(std::count_if(output.begin(), output.end(), [](uint8_t byte) { return byte >= 0xC0; }));
    return countCharacters(output) + wide != input.size() || hasUnusedByte(codeType, input) ||
           (codeType == ZU_CHARSET_CODETYPE_GBK && hasPrivateUse(output));
}

} // namespace

int32_t LossFinder::inspect(int32_t codeType, uint64_t offset, Bytes input, Bytes output, zutext_account &account) {
    if (countedEnough(account) || !isSuspicious(codeType, input, output)) {
        return ZUTEXT_OK;
    }
    if (m_codeType != codeType) {
        if (const int32_t result = m_converter.start(codeType); result != ZUTEXT_OK) {
            return result;
        }
        m_codeType = codeType;
    }
    for (size_t at = 0; at < input.size() && !countedEnough(account);) {
        const Bytes block = input.subspan(at, std::min(kBlock, input.size() - at));
        m_output.clear();
        size_t consumed = 0;
        if (const int32_t result = m_converter.convert(block, m_output, consumed); result != ZUTEXT_OK) {
            return result;
        }
        if (consumed == 0) {
            break;
        }
        if (isSuspicious(codeType, block.first(consumed), m_output.bytes())) {
            if (const int32_t result = inspectBlock(at, at + consumed, input, offset, account); result != ZUTEXT_OK) {
                return result;
            }
        }
        at += consumed;
    }
    return ZUTEXT_OK;
}

int32_t LossFinder::inspectBlock(size_t from, size_t to, Bytes input, uint64_t offset, zutext_account &account) {
    for (size_t at = from; at < to;) {
        const bool gbk = m_codeType == ZU_CHARSET_CODETYPE_GBK;
        const bool wide = !hasTrait(m_codeType, ZUTEXT_SINGLE_BYTE);
        if (gbk && isFourByteCode(input.subspan(at))) {
            noteLoss(account, ZUTEXT_LOSS_MISREAD, offset + at, input.subspan(at, kFourByteCode));
            at += kFourByteCode;
            continue;
        }
        size_t consumed = 0;
        m_output.clear();
        for (size_t size = 1; size <= std::min(kLongestCharacter, input.size() - at) && consumed == 0; ++size) {
            if (const int32_t result = m_converter.convert(input.subspan(at, size), m_output, consumed);
                result != ZUTEXT_OK) {
                return result;
            }
        }
        if (consumed == 0) {
            break;
        }
        const Bytes character = input.subspan(at, consumed);
        if (m_output.size() == 0) {
            noteLoss(account, ZUTEXT_LOSS_DROPPED, offset + at, character);
        } else if (hasReplacement(m_output.bytes())) {
            noteLoss(account, ZUTEXT_LOSS_REPLACED, offset + at, character);
        } else if ((gbk && isGb18030Pair(character)) || (wide && consumed == 1 && character[0] >= 0x80)) {
            // A single high byte is the euro sign on some systems and nothing on others; the tables make it a
            // character.
            noteLoss(account, ZUTEXT_LOSS_MISREAD, offset + at, character);
        }
        at += consumed;
    }
    return ZUTEXT_OK;
}

size_t openEnd(int32_t codeType, Bytes piece) {
    if (codeType != ZU_CHARSET_CODETYPE_GBK) {
        return 0;
    }
    const size_t size = piece.size();
    if (size >= kFourByteCode && isFourByteCode(piece.subspan(size - kFourByteCode))) {
        return 0;
    }
    if (size >= 3 && isGbLead(piece[size - 3]) && isDigit(piece[size - 2]) && isGbLead(piece[size - 1])) {
        return 3;
    }
    return size >= 2 && isGbLead(piece[size - 2]) && isDigit(piece[size - 1]) ? 2 : 0;
}

} // namespace zutext
