#include "judge.h"

#include "binary.h"
#include "charset_handle.h"
#include "encodings.h"
#include "languages.h"
#include "reading.h"
#include "well_formed.h"
#include "wide_encodings.h"
#include "wide_forms.h"

#include <climits>
#include <string_view>

namespace zutext {

namespace {

constexpr size_t kDefaultSample = size_t{1024} * 1024;

// --- Options ---

int32_t addHint(std::string_view name, Settings &settings) {
    if (const int32_t language = languageIndex(name); language >= 0) {
        if (language < static_cast<int32_t>(languages().size())) {
            settings.languageHints |= uint64_t{1} << language;
        } else {
            settings.wideHints |= wideBitsOf(allLanguages()[static_cast<size_t>(language)].code);
        }
        return ZUTEXT_OK;
    }
    const zutext_encoding *encoding = zutext_find_encoding(name.data(), name.size(), nullptr);
    if (encoding == nullptr) {
        return ZUTEXT_ERROR_NAME;
    }
    if (const int32_t index = singleByteIndex(encoding->id); index >= 0) {
        settings.encodingHints |= uint64_t{1} << index;
    }
    settings.wideHints |= wideBitOf(encoding->id);
    return ZUTEXT_OK;
}

int32_t readHints(std::string_view list, Settings &settings) {
    while (!list.empty()) {
        const size_t end = std::min(list.find(','), list.size());
        std::string_view name = list.substr(0, end);
        while (!name.empty() && name.front() == ' ') {
            name.remove_prefix(1);
        }
        while (!name.empty() && name.back() == ' ') {
            name.remove_suffix(1);
        }
        if (!name.empty()) {
            if (const int32_t result = addHint(name, settings); result != ZUTEXT_OK) {
                return result;
            }
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return ZUTEXT_OK;
}

// --- What shows without weighing letters ---

void decide(zutext_verdict &verdict, int32_t kind, int32_t encoding, int32_t decidedBy) {
    verdict.kind = kind;
    verdict.encoding = encoding;
    verdict.decided_by = decidedBy;
    verdict.sure = 1;
    verdict.margin = INT32_MAX;
}

void decideBinary(zutext_verdict &verdict, const char *what) {
    decide(verdict, ZUTEXT_KIND_BINARY, 0, ZUTEXT_BY_NOTHING);
    verdict.what = what != nullptr ? what : "data full of zeros or control characters";
}

struct Mark {
    std::string_view bytes;
    int32_t encoding;
};

using namespace std::string_view_literals;

// The longer ones first: UTF-32's begins as UTF-16's does.
constexpr Mark kMarks[] = {
    {"\xFF\xFE\x00\x00"sv, kUtf32Le},
    {"\x00\x00\xFE\xFF"sv, kUtf32Be},
    {"\xEF\xBB\xBF"sv, ZU_CHARSET_CODETYPE_UTF8},
    {"\xFF\xFE"sv, ZU_CHARSET_CODETYPE_UCS16LE},
    {"\xFE\xFF"sv, ZU_CHARSET_CODETYPE_UCS16BE},
};

int32_t kindOf(int32_t encoding) {
    return hasTrait(encoding, ZUTEXT_CONVERTIBLE) ? ZUTEXT_KIND_TEXT : ZUTEXT_KIND_UNSUPPORTED;
}

bool decideByMark(const Sample &sample, zutext_verdict &verdict) {
    if (sample.offset != 0) {
        return false;
    }
    for (const Mark &mark : kMarks) {
        const Bytes bytes(reinterpret_cast<const uint8_t *>(mark.bytes.data()), mark.bytes.size());
        if (!startsWith(sample.bytes, bytes)) {
            continue;
        }
        const bool utf16 = mark.encoding == ZU_CHARSET_CODETYPE_UCS16LE || mark.encoding == ZU_CHARSET_CODETYPE_UCS16BE;
        if (utf16 && !isPlausibleUtf16(sample.bytes, mark.encoding == ZU_CHARSET_CODETYPE_UCS16BE)) {
            return false;
        }
        decide(verdict, kindOf(mark.encoding), mark.encoding, ZUTEXT_BY_MARK);
        return true;
    }
    return false;
}

struct Utf8Shares {
    size_t characters = 0; // of more than one byte
    size_t malformed = 0;
};

// Ends early where there is no hope, which most other texts show in their first words, and where there is no doubt.
Utf8Shares countUtf8(Bytes text) {
    constexpr size_t kHopeless = 64;
    constexpr size_t kStretch = size_t{16} * 1024;
    constexpr size_t kUndoubted = 4096;
    const auto isUndecided = [](const Utf8Shares &shares) {
        return shares.malformed == 0 ? shares.characters < kUndoubted
                                     : shares.malformed < kHopeless || shares.characters >= shares.malformed;
    };
    Utf8Shares shares;
    while (!text.empty() && isUndecided(shares)) {
        const size_t length = wellFormedLength(text.first(std::min(text.size(), kStretch)));
        shares.characters +=
            static_cast<size_t>(std::count_if(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length),
                                              [](uint8_t byte) { return byte >= 0xC0; }));
        text = text.subspan(length);
        if (text.empty()) {
            break;
        }
        const Utf8Step step = stepThrough(text);
        if (step.form == Utf8Step::Form::cut) {
            break;
        }
        (step.form == Utf8Step::Form::malformed ? shares.malformed : shares.characters) += 1;
        text = text.subspan(step.length);
    }
    return shares;
}

bool isAsciiLetter(uint8_t byte) { return (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z'; }

// Text of other encodings hardly ever has the form of UTF-8, and the less the longer it is. Damage is told from another
// encoding by how rare it is.
bool decideUtf8(const Sample &sample, zutext_verdict &verdict) {
    const Utf8Shares shares = countUtf8(sample.bytes);
    const size_t rarity = verdict.library_code_type == ZU_CHARSET_CODETYPE_UTF8 ? 3 : 10;
    if (shares.characters == 0 || shares.characters < rarity * shares.malformed) {
        return false;
    }
    decide(verdict, ZUTEXT_KIND_TEXT, ZU_CHARSET_CODETYPE_UTF8, ZUTEXT_BY_FORM);
    // Two Chinese characters of GBK can be two or three of UTF-8 by chance.
    const bool tiny = shares.characters <= 2 && wideBitOf(verdict.library_code_type) != 0 &&
                      std::none_of(sample.bytes.begin(), sample.bytes.end(), isAsciiLetter);
    verdict.sure = tiny ? 0 : 1;
    verdict.margin = tiny ? 0 : INT32_MAX;
    return true;
}

// --- Letters ---

// A hint lets a double-byte reading cost half as much again.
constexpr int64_t kHintWeight = 150;
constexpr int64_t kVoteWeight = 85;   // in hundredths of the cost
constexpr int64_t kHopelessTimes = 2; // times the best single-byte cost

class LetterJudge {
  public:
    LetterJudge(const Settings &settings, Bytes text, int32_t libraryCodeType)
        : m_text(text), m_vote(wideBitOf(libraryCodeType) != 0 ? libraryCodeType : 0), m_settings(settings) {}

    // A ZUTEXT result.
    int32_t run(zutext_verdict &verdict) {
        Readings plain;
        if (!readSingleByte(m_text, {}, plain)) {
            return ZUTEXT_ERROR_MEMORY;
        }
        m_hopeless = kHopelessTimes * std::max(1, plain.rows[0].letters);
        const HighPart part(m_text);
        for (size_t i = 0; i < kWideCount; ++i) {
            int32_t cost = 0;
            if (!readDoubleByte(part, kWideEncodings[i].encoding, m_hopeless, cost)) {
                return ZUTEXT_ERROR_MEMORY;
            }
            m_wideCosts[i] = cost;
        }
        decideBy(plain, 0, verdict);
        if (m_settings.hinted()) {
            const int32_t unhinted = verdict.encoding;
            Readings hinted;
            if (!readSingleByte(m_text, {m_settings.encodingHints, m_settings.languageHints}, hinted)) {
                return ZUTEXT_ERROR_MEMORY;
            }
            decideBy(hinted, m_settings.wideHints, verdict);
            verdict.hint = judgeHint(unhinted, verdict);
        }
        return ZUTEXT_OK;
    }

  private:
    void decideBy(const Readings &readings, uint32_t wideHints, zutext_verdict &verdict) const {
        const int64_t single = std::max(1, readings.rows[0].letters);
        size_t best = kWideCount;
        int64_t bestCost = INT64_MAX;
        for (size_t i = 0; i < kWideCount; ++i) {
            const bool claimed = kWideEncodings[i].encoding == m_vote;
            const bool hinted = (wideHints >> i & 1) != 0;
            // The vote weighs more of a text than its start, so its claim gives way only to what is clearly better.
            const int64_t cost = m_wideCosts[i] * (claimed ? kVoteWeight : 100) / 100;
            if (isBelievable(m_wideCosts[i], single * (hinted ? kHintWeight : 100) / 100, claimed) && cost < bestCost) {
                best = i;
                bestCost = cost;
            }
        }
        listReadings(readings, best, verdict);
        const bool wide = best < kWideCount;
        verdict.encoding = verdict.readings[0].encoding;
        verdict.language = verdict.readings[0].language;
        verdict.kind = kindOf(verdict.encoding);
        verdict.decided_by = wide && verdict.encoding == m_vote ? ZUTEXT_BY_VOTE : ZUTEXT_BY_READING;
        verdict.margin = verdict.reading_count > 1 ? verdict.readings[1].cost : INT32_MAX;
        verdict.sure = verdict.margin >= kSureMargin && (!wide || isSureOf(m_wideCosts[best], single)) ? 1 : 0;
    }

    // The chosen double-byte reading first if there is one, then all others by cost. Double-byte readings have no part
    // in what ASCII words say, so they are given the best single-byte one's.
    void listReadings(const Readings &readings, size_t chosen, zutext_verdict &verdict) const {
        int64_t costs[ZUTEXT_MOST_READINGS];
        verdict.reading_count = 0;
        const auto add = [&](int32_t encoding, const char *language, int64_t cost, int32_t firstPlace) {
            int32_t place = verdict.reading_count;
            while (place > firstPlace && costs[place - 1] > cost) {
                --place;
            }
            if (place >= ZUTEXT_MOST_READINGS) {
                return;
            }
            verdict.reading_count = std::min<int32_t>(verdict.reading_count + 1, ZUTEXT_MOST_READINGS);
            for (int32_t i = verdict.reading_count - 1; i > place; --i) {
                verdict.readings[i] = verdict.readings[i - 1];
                costs[i] = costs[i - 1];
            }
            verdict.readings[place] = {encoding, 0, language};
            costs[place] = cost;
        };
        const bool wide = chosen < kWideCount;
        const int64_t words = int64_t{readings.rows[0].cost} - readings.rows[0].letters;
        if (wide) {
            add(kWideEncodings[chosen].encoding, kWideEncodings[chosen].language, m_wideCosts[chosen] + words, 0);
        }
        for (int32_t i = 0; i < readings.count; ++i) {
            const Reading &row = readings.rows[i];
            const char *language = row.language < 0 ? nullptr : languages()[static_cast<size_t>(row.language)].code;
            // Equal costs and costs out of order keep the order of the readings: an encoding that is not converted
            // stands behind one that is although it costs a little less.
            add(row.encoding, language, std::max<int64_t>(row.cost, i == 0 ? 0 : readings.rows[0].cost), wide ? 1 : 0);
        }
        for (size_t i = 0; i < kWideCount; ++i) {
            if (i != chosen && m_wideCosts[i] < m_hopeless) {
                add(kWideEncodings[i].encoding, kWideEncodings[i].language, m_wideCosts[i] + words, 1);
            }
        }
        for (int32_t i = verdict.reading_count - 1; i >= 0; --i) {
            verdict.readings[i].cost = static_cast<int32_t>(std::clamp<int64_t>(costs[i] - costs[0], 0, INT32_MAX));
        }
    }

    [[nodiscard]] bool isHinted(const zutext_verdict &verdict) const {
        const int32_t index = singleByteIndex(verdict.encoding);
        const bool encoding = index >= 0 && (m_settings.encodingHints >> index & 1) != 0;
        const bool wide = (m_settings.wideHints & wideBitOf(verdict.encoding)) != 0;
        const int32_t language = verdict.language == nullptr ? -1 : languageIndex(verdict.language);
        const bool spoken = language >= 0 && language < 64 && (m_settings.languageHints >> language & 1) != 0;
        return encoding || wide || spoken;
    }

    [[nodiscard]] int32_t judgeHint(int32_t unhinted, const zutext_verdict &verdict) const {
        if (isHinted(verdict)) {
            return verdict.encoding == unhinted ? ZUTEXT_HINT_AGREED : ZUTEXT_HINT_DECIDED;
        }
        bool possible = m_settings.languageHints != 0;
        for (const zutext_encoding &encoding : allEncodings()) {
            const int32_t index = singleByteIndex(encoding.id);
            possible |= index >= 0 && (m_settings.encodingHints >> index & 1) != 0 && definesAll(encoding.id);
        }
        for (size_t i = 0; i < kWideCount; ++i) {
            possible |= (m_settings.wideHints >> i & 1) != 0 && m_wideCosts[i] < m_hopeless;
        }
        return possible ? ZUTEXT_HINT_OUTWEIGHED : ZUTEXT_HINT_UNDEFINED;
    }

    [[nodiscard]] bool definesAll(int32_t encoding) const {
        return std::all_of(m_text.begin(), m_text.end(),
                           [encoding](uint8_t byte) { return byte < 0x80 || codePointOf(encoding, byte) != 0xFFFD; });
    }

    Bytes m_text;
    int64_t m_hopeless = 0; // the cost from which on a double-byte reading is not worth a look
    int32_t m_vote;         // what libzucharset's vote claims: a double-byte encoding, or 0
    const Settings &m_settings;
    int64_t m_wideCosts[kWideCount];
};

// What needs no look at the text as a whole. A ZUTEXT result; `decided` tells whether the verdict stands, and otherwise
// libzucharset's own answer is in it.
int32_t judgeStart(const Settings &settings, const Sample &sample, zutext_verdict &verdict, bool &decided) {
    verdict = {};
    verdict.sample_offset = sample.offset;
    verdict.sample_length = sample.bytes.size();
    verdict.whole = sample.toEnd ? 1 : 0;
    decided = true;
    if (sample.bytes.empty()) {
        decide(verdict, ZUTEXT_KIND_EMPTY, 0, ZUTEXT_BY_NOTHING);
        return ZUTEXT_OK;
    }
    if (settings.from != 0) {
        // Whether the rest is plausible so is not asked: a stream knows only the first bytes here.
        constexpr uint8_t kOtherMark[] = {0xFE, 0xFF};
        if (settings.has(ZUTEXT_MARK_OPEN) && sample.offset == 0 && startsWith(sample.bytes, kOtherMark)) {
            decide(verdict, ZUTEXT_KIND_TEXT, ZU_CHARSET_CODETYPE_UCS16BE, ZUTEXT_BY_MARK);
        } else {
            decide(verdict, kindOf(settings.from), settings.from, ZUTEXT_BY_USER);
        }
        return ZUTEXT_OK;
    }
    const char *format = sample.offset == 0 ? formatOf(sample.bytes) : nullptr;
    if (format != nullptr && !settings.has(ZUTEXT_PLAIN)) {
        decideBinary(verdict, format);
        return ZUTEXT_OK;
    }
    if (const int32_t result = identify(sample.bytes, verdict.library_code_type); result != ZUTEXT_OK) {
        return result;
    }
    if (settings.has(ZUTEXT_PLAIN)) {
        decide(verdict, ZUTEXT_KIND_TEXT, verdict.library_code_type, ZUTEXT_BY_LIBRARY);
        return ZUTEXT_OK;
    }
    decided = decideByMark(sample, verdict);
    return ZUTEXT_OK;
}

} // namespace

int32_t readOptions(const zutext_options *options, Settings &settings) {
    settings = {};
    settings.sample = kDefaultSample;
    if (options == nullptr) {
        return ZUTEXT_OK;
    }
    settings.from = options->from;
    settings.flags = options->flags;
    settings.sample = options->sample != 0 ? options->sample : kDefaultSample;
    settings.sample = std::min<size_t>(settings.sample, INT_MAX / 4);
    if (settings.from != 0 && encodingOf(settings.from) == nullptr) {
        return ZUTEXT_ERROR_ARGUMENT;
    }
    if (settings.has(ZUTEXT_ADD_MARK) && settings.has(ZUTEXT_STRIP_MARK)) {
        return ZUTEXT_ERROR_ARGUMENT;
    }
    return options->prefer == nullptr ? ZUTEXT_OK : readHints(options->prefer, settings);
}

int32_t judge(const Settings &settings, const Sample &sample, zutext_verdict &verdict) {
    bool decided = false;
    if (const int32_t result = judgeStart(settings, sample, verdict, decided); result != ZUTEXT_OK || decided) {
        return result;
    }
    if (const int32_t wide = wideFormOf(sample.bytes); wide != 0) {
        decide(verdict, kindOf(wide), wide, ZUTEXT_BY_FORM);
        return ZUTEXT_OK;
    }
    const ByteShares shares = countShares(sample.bytes);
    if (isBinary(shares)) {
        const int32_t wide = zerolessUtf16(sample.bytes);
        if (wide != 0) {
            decide(verdict, ZUTEXT_KIND_TEXT, wide, ZUTEXT_BY_FORM);
        } else {
            decideBinary(verdict, nullptr);
        }
        return ZUTEXT_OK;
    }
    if (shares.high == 0) {
        const int32_t form = sevenBitForm(sample.bytes);
        const int32_t encoding = form != 0 ? form : static_cast<int32_t>(ZU_CHARSET_CODETYPE_UTF8);
        decide(verdict, kindOf(encoding), encoding, ZUTEXT_BY_FORM);
        return ZUTEXT_OK;
    }
    if (decideUtf8(sample, verdict)) {
        return ZUTEXT_OK;
    }
    return LetterJudge(settings, sample.bytes, verdict.library_code_type).run(verdict);
}

int32_t judgePlain(const Settings &settings, Bytes start, uint64_t length, bool controls, zutext_verdict &verdict) {
    bool decided = false;
    if (const int32_t result = judgeStart(settings, {start, 0, true}, verdict, decided); result != ZUTEXT_OK) {
        return result;
    }
    verdict.sample_length = length;
    if (!decided) {
        decide(verdict, ZUTEXT_KIND_TEXT, ZU_CHARSET_CODETYPE_UTF8, ZUTEXT_BY_FORM);
    }
    const bool plain = !decided || verdict.decided_by == ZUTEXT_BY_LIBRARY;
    if (plain && !controls) {
        verdict.kind = ZUTEXT_KIND_ASCII;
    } else if (!decided && isBinary(countShares(start))) {
        decideBinary(verdict, nullptr);
    }
    return ZUTEXT_OK;
}

bool isOpen(const zutext_verdict &verdict, const Sample &sample) {
    return !sample.toEnd && verdict.decided_by == ZUTEXT_BY_FORM && verdict.encoding == ZU_CHARSET_CODETYPE_UTF8 &&
           countShares(sample.bytes).high == 0;
}

int32_t resultOf(const zutext_verdict &verdict) {
    switch (verdict.kind) {
        case ZUTEXT_KIND_BINARY:
            return ZUTEXT_ERROR_NOT_TEXT;
        case ZUTEXT_KIND_UNSUPPORTED:
            return ZUTEXT_ERROR_UNSUPPORTED;
        default:
            return ZUTEXT_OK;
    }
}

} // namespace zutext
