#include "double_byte.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "binary.h"
#include "tables/ranked_positions.h"
#include "zucharset.h"

namespace zutext {
namespace {

constexpr size_t kRead = size_t{4} * 1024;
constexpr int kRanked = 600;
// Costs in hundredths of a nat.
constexpr int32_t kFirstRank = 220; // of the most frequent character; the others follow a Zipf law
constexpr int32_t kSign = 450;      // of the first row: punctuation
constexpr int32_t kHalfWidth = 700; // Japanese syllable of one byte
constexpr int32_t kUnranked = 1100;
constexpr int32_t kExtension = 1300; // outside the 94 by 94 characters of the national standard
constexpr int32_t kUndefinedPair = 1400;
constexpr int32_t kCutOff = 700;      // one byte at the text's end
constexpr int32_t kBesideAscii = 400; // next to an ASCII letter
// Share of the single-byte cost that a double-byte reading may have. What the vote claims may come closer if it is far
// better in sum; what it does not claim must be clearly better besides.
constexpr int32_t kBelievablePercent = 70;
constexpr int32_t kFarBetter = 10000;
constexpr int32_t kClearlyBetter = 1500;

bool isAsciiLetter(uint8_t byte) { return (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z'; }

// Ranks of two-byte codes, 1 the most frequent, 0 none.
class Ranks {
  public:
    [[nodiscard]] int of(int lead, int trail) const {
        return lead < kFirstLead || trail < kFirstTrail ? 0 : m_rows[lead - kFirstLead][trail - kFirstTrail];
    }
    void add(int lead, int trail, int rank) {
        uint16_t &entry = m_rows[lead - kFirstLead][trail - kFirstTrail];
        if (entry == 0 || entry > rank) {
            entry = static_cast<uint16_t>(rank);
        }
    }

  private:
    static constexpr int kFirstLead = 0x81;
    static constexpr int kFirstTrail = 0x40;

    uint16_t m_rows[0x100 - kFirstLead][0x100 - kFirstTrail];
};

using CodeOf = void (*)(int cell, int &lead, int &trail);

void eucCode(int cell, int &lead, int &trail) {
    lead = 0xA1 + cell / 94;
    trail = 0xA1 + cell % 94;
}

void gbkCode(int cell, int &lead, int &trail) {
    lead = 0x81 + cell / 191;
    trail = 0x40 + cell % 191;
}

void big5Code(int cell, int &lead, int &trail) {
    lead = 0xA1 + cell / 158;
    trail = 0x40 + cell % 158;
    if (trail > 0x7F) { // the table leaves out trails 80 to A0
        trail += 0x21;
    }
}

void shiftJisCode(int cell, int &lead, int &trail) {
    int row = cell / 94;
    int column = cell % 94;
    lead = row / 2 + (row < 62 ? 0x81 : 0xC1);
    trail = row % 2 != 0 ? column + 0x9F : column + 0x40 + (column >= 63 ? 1 : 0);
}

void fill(Ranks &ranks, const uint16_t (&cells)[kRanked], CodeOf codeOf) {
    for (int i = 0; i < kRanked; i++) {
        int lead;
        int trail;
        codeOf(cells[i], lead, trail);
        ranks.add(lead, trail, i + 1);
    }
}

bool fillFor(Ranks &ranks, int32_t encoding) {
    switch (encoding) {
        case ZU_CHARSET_CODETYPE_GBK:
            fill(ranks, zucharset::s_u16RankedGB, eucCode);
            fill(ranks, zucharset::s_u16RankedGBK, gbkCode);
            return true;
        case ZU_CHARSET_CODETYPE_BIG5:
            fill(ranks, zucharset::s_u16RankedBIG5, big5Code);
            return true;
        case ZU_CHARSET_CODETYPE_CP949:
            fill(ranks, zucharset::s_u16RankedKR, eucCode);
            return true;
        case kShiftJis:
            fill(ranks, zucharset::s_u16RankedJP, shiftJisCode);
            return true;
        case kEucJp:
            fill(ranks, zucharset::s_u16RankedJP, eucCode);
            return true;
        default:
            return false;
    }
}

// Whole-number approximation of 100 ln(rank), good to 4.
int32_t logOf(int rank) {
    constexpr int kLn2 = 6931; // in ten-thousandths
    const int power = static_cast<int>(std::bit_width(static_cast<unsigned>(rank))) - 1;
    return (kLn2 * power + kLn2 * (rank - (1 << power)) / (1 << power)) / 100;
}

bool isPair(int32_t encoding, uint8_t lead, uint8_t trail) {
    switch (encoding) {
        case ZU_CHARSET_CODETYPE_GBK:
            return lead >= 0x81 && lead <= 0xFE && trail >= 0x40 && trail <= 0xFE && trail != 0x7F;
        case ZU_CHARSET_CODETYPE_BIG5:
            return lead >= 0xA1 && lead <= 0xF9 && trail >= 0x40 && trail <= 0xFE && (trail <= 0x7E || trail >= 0xA1);
        case ZU_CHARSET_CODETYPE_CP949:
            return lead >= 0x81 && lead <= 0xFE && lead != 0xC9 && trail <= 0xFE &&
                   (trail >= 0x81 || isAsciiLetter(trail)) && (trail >= 0xA1 || lead <= 0xC6);
        case kShiftJis:
            return ((lead >= 0x81 && lead <= 0x9F) || (lead >= 0xE0 && lead <= 0xFC)) && trail >= 0x40 &&
                   trail <= 0xFC && trail != 0x7F;
        default:
            return lead >= 0xA1 && lead <= 0xFE && trail >= 0xA1 && trail <= 0xFE;
    }
}

int32_t pairCost(const Ranks &ranks, int32_t encoding, uint8_t lead, uint8_t trail) {
    if (!isPair(encoding, lead, trail)) {
        return kUndefinedPair;
    }
    const int rank = ranks.of(lead, trail);
    if (rank != 0) {
        return kFirstRank + logOf(rank);
    }
    if (encoding == kShiftJis) {
        return lead == 0x81 ? kSign : kUnranked;
    }
    // In GBK also letters and digits of full width, and lines of tables.
    if (lead == 0xA1 || ((lead == 0xA3 || lead == 0xA9) && encoding == ZU_CHARSET_CODETYPE_GBK)) {
        return kSign;
    }
    bool standard = encoding == ZU_CHARSET_CODETYPE_BIG5 || (lead >= 0xA1 && trail >= 0xA1);
    return standard ? kUnranked : kExtension;
}

// The cost of the start of a text that has so many high bytes in all, taken for all of it. Ends early where that is
// hopeless.
int64_t costOf(Bytes text, size_t highBytes, int32_t encoding, const Ranks &ranks, int64_t hopeless) {
    constexpr size_t kLook = 1024;
    const auto high = static_cast<int64_t>(highBytes);
    int64_t cost = 0;
    int64_t seen = 0; // high bytes
    size_t look = kLook;
    bool afterPair = false;
    uint8_t previous = ' ';
    for (size_t i = 0; i < text.size();) {
        if (i >= look) {
            look += kLook;
            if (cost * high / seen > hopeless) {
                break;
            }
        }
        uint8_t byte = text[i];
        uint8_t next = i + 1 < text.size() ? text[i + 1] : 0;
        size_t length = 1;
        bool wide = byte >= 0x80;
        if (!wide) {
            cost += afterPair && isAsciiLetter(byte) ? kBesideAscii : 0;
        } else {
            cost += isAsciiLetter(previous) ? kBesideAscii : 0;
            if (encoding == kShiftJis && byte >= 0xA1 && byte <= 0xDF) {
                cost += kHalfWidth;
            } else if (encoding == kEucJp && byte == 0x8E && next >= 0xA1 && next <= 0xDF) {
                cost += kHalfWidth;
                length = 2;
            } else if (i + 1 == text.size()) {
                cost += kCutOff;
            } else {
                cost += pairCost(ranks, encoding, byte, next);
                // An undefined pair may hold a line end, which then stands for itself.
                length = isPair(encoding, byte, next) ? 2 : 1;
            }
        }
        seen += wide ? 1 : 0;
        seen += length == 2 && next >= 0x80 ? 1 : 0;
        afterPair = wide;
        previous = wide ? 0 : byte;
        i += length;
    }
    return seen == 0 ? cost : cost * high / seen;
}

} // namespace

HighPart::HighPart(Bytes whole) {
    const auto first = std::find_if(whole.begin(), whole.end(), [](uint8_t byte) { return byte >= 0x80; });
    text = whole.subspan(static_cast<size_t>(first - whole.begin()));
    highBytes = countHighBytes(text);
}

bool readDoubleByte(const HighPart &part, int32_t encoding, int64_t hopeless, int32_t &cost) {
    auto *ranks = static_cast<Ranks *>(calloc(1, sizeof(Ranks)));
    if (ranks == nullptr) {
        return false;
    }
    const bool known = fillFor(*ranks, encoding);
    if (known) {
        const Bytes start = part.text.first(std::min(part.text.size(), kRead));
        const int64_t sum = costOf(start, part.highBytes, encoding, *ranks, hopeless);
        cost = static_cast<int32_t>(std::min<int64_t>(sum, INT32_MAX));
    }
    free(ranks);
    return known;
}

bool isBelievable(int64_t doubleByteCost, int64_t singleByteCost, bool claimed) {
    const int64_t better = singleByteCost - doubleByteCost;
    if (claimed) {
        return isSureOf(doubleByteCost, singleByteCost) || better >= kFarBetter;
    }
    return isSureOf(doubleByteCost, singleByteCost) && better >= kClearlyBetter;
}

bool isSureOf(int64_t doubleByteCost, int64_t singleByteCost) {
    return doubleByteCost * 100 <= singleByteCost * kBelievablePercent;
}

} // namespace zutext
