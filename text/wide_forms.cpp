#include "wide_forms.h"

#include "encodings.h"
#include "zucharset.h"

#include <array>
#include <string_view>

namespace zutext {

namespace {

constexpr uint8_t kEscape = 0x1B;

uint32_t unitAt(Bytes text, size_t at, bool bigEndian) {
    const uint32_t high = text[bigEndian ? at : at + 1];
    const uint32_t low = text[bigEndian ? at + 1 : at];
    return high << 8 | low;
}

bool isAsciiText(uint32_t unit) { return (unit >= 0x20 && unit < 0x7F) || (unit >= 0x09 && unit <= 0x0D); }

bool isControl(uint32_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

bool isNoncharacter(uint32_t unit) { return unit >= 0xFFFE || (unit >= 0xFDD0 && unit <= 0xFDEF); }

// The script that a unit's block of 256 belongs to, as far as a text can mix them: 0 for signs that go with any.
uint32_t scriptOf(uint32_t unit) {
    const uint32_t page = unit >> 8;
    if (page == 0x20 || page == 0x21 || page == 0x22 || page == 0x25 || page == 0x26 || page == 0xFE || page == 0xFF) {
        return 0;
    }
    if (page <= 0x02 || page == 0x03 || page == 0x1E) {
        return page == 0x03 ? 0x03 : 0x01; // Latin; Greek with combining marks
    }
    if (page == 0x30 || page == 0x31 || (page >= 0x34 && page <= 0x9F) || page == 0xF9 || page == 0xFA) {
        return 0x4E; // Chinese characters and kana
    }
    return page >= 0xAC && page <= 0xD7 ? 0xAC : page; // Hangul, or a page of its own
}

// What follows the first pages only says the same again.
constexpr size_t kEnough = size_t{64} * 1024;

// Fewer units than these are in two scripts by chance.
constexpr size_t kFewest = 16;

// One in so many units may be wrong: a damaged byte here and there.
constexpr size_t kWrongOneIn = 50;

bool isPlausible(const Utf16Units &units) {
    return units.total > 0 && units.wrong * kWrongOneIn <= units.total &&
           (units.ascii + units.letters) * 10 >= units.total * 9;
}

bool isUtf32(Bytes text, bool bigEndian) {
    const size_t total = text.size() / 4;
    size_t good = 0;
    for (size_t at = 0; at + 4 <= text.size(); at += 4) {
        const uint32_t high = bigEndian ? unitAt(text, at, true) : unitAt(text, at + 2, false);
        const uint32_t low = bigEndian ? unitAt(text, at + 2, true) : unitAt(text, at, false);
        good += high == 0 ? (isControl(low) && !isAsciiText(low) ? 0 : 1) : (high <= 0x10 ? 1 : 0);
    }
    return total > 0 && (total - good) * kWrongOneIn <= total;
}

struct Escape {
    std::string_view bytes;
    int32_t encoding;
};

// The designations of ISO/IEC 2022 that tell its national forms.
constexpr Escape kEscapes[] = {
    {"\x1B$)C", kIso2022Kr}, {"\x1B$)A", kIso2022Cn}, {"\x1B$)G", kIso2022Cn}, {"\x1B$*H", kIso2022Cn},
    {"\x1B$@", kIso2022Jp},  {"\x1B$B", kIso2022Jp},  {"\x1B$(D", kIso2022Jp}, {"\x1B(I", kIso2022Jp},
};

// HZ: ~{ pairs of 21 to 7E ~}, on one line.
bool isHzRun(Bytes text) {
    if (text.size() < 2 || text[0] != '~' || text[1] != '{') {
        return false;
    }
    size_t at = 2;
    while (at + 1 < text.size() && text[at] >= 0x21 && text[at] <= 0x77 && text[at + 1] >= 0x21 &&
           text[at + 1] <= 0x7E) {
        at += 2;
    }
    return at > 2 && at + 1 < text.size() && text[at] == '~' && text[at + 1] == '}';
}

int32_t escapeAt(Bytes text) {
    if (text[0] == '~') {
        return isHzRun(text) ? static_cast<int32_t>(kHz) : 0;
    }
    if (text[0] != kEscape) {
        return 0;
    }
    for (const Escape &escape : kEscapes) {
        if (text.size() >= escape.bytes.size() &&
            std::memcmp(text.data(), escape.bytes.data(), escape.bytes.size()) == 0) {
            return escape.encoding;
        }
    }
    return 0;
}

} // namespace

Utf16Units countUnits(Bytes text, bool bigEndian) {
    Utf16Units units;
    std::array<uint32_t, 256> scripts{};
    for (size_t at = 0; at + 2 <= text.size(); at += 2) {
        const uint32_t unit = unitAt(text, at, bigEndian);
        ++units.total;
        if (isAsciiText(unit)) {
            ++units.ascii;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            const bool paired =
                unit < 0xDC00 && at + 4 <= text.size() && (unitAt(text, at + 2, bigEndian) & 0xFC00) == 0xDC00;
            units.wrong += paired ? 0 : 1;
            if (paired) {
                scripts[0] += 2;
                ++units.total;
                at += 2;
            }
        } else if (isControl(unit) || isNoncharacter(unit)) {
            ++units.wrong;
        } else {
            ++scripts[scriptOf(unit)];
        }
    }
    std::sort(scripts.begin() + 1, scripts.end(), [](uint32_t a, uint32_t b) { return a > b; });
    units.letters = scripts[0] + scripts[1] + scripts[2];
    return units;
}

bool isPlausibleUtf16(Bytes text, bool bigEndian) {
    const Utf16Units units = countUnits(text.first(std::min(text.size(), kEnough)), bigEndian);
    return units.total == 0 || units.wrong * 10 <= units.total;
}

int32_t wideFormOf(Bytes text) {
    const void *zero = text.empty() ? nullptr : std::memchr(text.data(), 0, text.size());
    if (zero == nullptr) {
        return 0;
    }
    const auto first = static_cast<size_t>(static_cast<const uint8_t *>(zero) - text.data());
    text = text.subspan(first / 4 * 4);
    text = text.first(std::min(text.size(), kEnough));
    // Which of four bytes the zeros are in tells the form: of ASCII every high byte, of other letters still the
    // spaces'.
    std::array<size_t, 4> zeros{};
    size_t printable = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        zeros[at % 4] += text[at] == 0 ? 1 : 0;
        printable += isAsciiText(text[at]) ? 1 : 0;
    }
    const size_t even = zeros[0] + zeros[2];
    const size_t odd = zeros[1] + zeros[3];
    // In plain text with stray zeros nearly every byte is a letter, in no wide form more than every other one.
    if (even + odd == 0 || printable * 10 > text.size() * 8) {
        return 0;
    }
    const size_t quarter = text.size() / 4;
    if (quarter > 0 && zeros[3] * 10 >= quarter * 9 && isUtf32(text, false)) {
        return kUtf32Le;
    }
    if (quarter > 0 && zeros[0] * 10 >= quarter * 9 && isUtf32(text, true)) {
        return kUtf32Be;
    }
    // Of few units as many zeros may stand in either place; then ASCII decides.
    const auto asciiOf = [text](bool bigEndian) { return countUnits(text, bigEndian).ascii; };
    const bool bigEndian = even != odd ? even > odd : asciiOf(true) > asciiOf(false);
    if (text.size() < 2 || !isPlausible(countUnits(text, bigEndian))) {
        return 0;
    }
    return bigEndian ? ZU_CHARSET_CODETYPE_UCS16BE : ZU_CHARSET_CODETYPE_UCS16LE;
}

int32_t zerolessUtf16(Bytes text) {
    text = text.first(std::min(text.size(), kEnough));
    for (const bool bigEndian : {false, true}) {
        const Utf16Units units = countUnits(text, bigEndian);
        if (units.total >= kFewest && isPlausible(units)) {
            return bigEndian ? ZU_CHARSET_CODETYPE_UCS16BE : ZU_CHARSET_CODETYPE_UCS16LE;
        }
    }
    return 0;
}

int32_t sevenBitForm(Bytes text) {
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == kEscape || text[at] == '~') {
            if (const int32_t form = escapeAt(text.subspan(at)); form != 0) {
                return form;
            }
        }
    }
    return 0;
}

bool startsSevenBitForm(Bytes text) { return escapeAt(text) != 0; }

} // namespace zutext
