#include "encodings.h"

#include "languages.h"
#include "zucharset.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace zutext {

namespace {

constexpr uint32_t kConverted = ZUTEXT_CONVERTIBLE | ZUTEXT_RECOGNISED;
constexpr uint32_t kPage = kConverted | ZUTEXT_SINGLE_BYTE | ZUTEXT_NAMED_ALONE;
constexpr uint32_t kQuietPage = kConverted | ZUTEXT_SINGLE_BYTE; // another encoding always answers before it
constexpr uint32_t kWide = kConverted | ZUTEXT_NAMED_ALONE;
constexpr uint32_t kUnicode = kWide | ZUTEXT_UNICODE;
constexpr uint32_t kForeign = ZUTEXT_RECOGNISED;
constexpr uint32_t kForeignPage = ZUTEXT_RECOGNISED | ZUTEXT_SINGLE_BYTE;
constexpr uint32_t kNameOnly = 0;

constexpr zutext_encoding kEncodings[] = {
    {1, kWide, "Big5", "cp950 ms950 windows-950 950 big-five cn-big5", "Chinese, traditional", "BIG5", "big5",
     "of code page 950 it lacks the euro sign A3E1, the rows from F9D6 on, and A15A, A1C3, A1C5, A1FE, A240, A2CC, "
     "A2CE"},
    {2, kUnicode, "UTF-8", "u8 unicode-1-1-utf-8 cp65001 65001 ascii us-ascii", "Unicode, plain ASCII", "UTF-8",
     "utf-8", nullptr},
    {3, kQuietPage, "ISO-8859-1", "latin1 l1 8859-1 iso-ir-100 cp28591", "Western European", "ISO-8859-1", nullptr,
     nullptr},
    {4, kQuietPage, "ISO-8859-2", "latin2 l2 8859-2 iso-ir-101 cp28592", "Central European", "ISO-8859-2", "iso-8859-2",
     nullptr},
    {5, kPage, "ISO-8859-3", "latin3 l3 8859-3 iso-ir-109 cp28593", "South European, Maltese", "ISO-8859-3",
     "iso-8859-3", nullptr},
    {6, kQuietPage, "ISO-8859-4", "latin4 l4 8859-4 iso-ir-110 cp28594", "North European", "ISO-8859-4", "iso-8859-4",
     nullptr},
    {7, kQuietPage, "ISO-8859-5", "cyrillic 8859-5 iso-ir-144 cp28595", "Cyrillic", "ISO-8859-5", "iso-8859-5",
     nullptr},
    {8, kPage, "ISO-8859-6", "arabic 8859-6 asmo-708 ecma-114 iso-ir-127 cp28596", "Arabic", "ISO-8859-6", "iso-8859-6",
     nullptr},
    {9, kPage, "ISO-8859-7", "greek 8859-7 elot-928 ecma-118 iso-ir-126 cp28597", "Greek", "ISO-8859-7", "iso-8859-7",
     nullptr},
    {10, kPage, "ISO-8859-8", "hebrew 8859-8 iso-ir-138 iso-8859-8-i cp28598", "Hebrew", "ISO-8859-8", "iso-8859-8",
     nullptr},
    {11, kQuietPage, "ISO-8859-9", "latin5 l5 8859-9 iso-ir-148 cp28599", "Turkish", "ISO-8859-9", nullptr, nullptr},
    {12, kQuietPage, "ISO-8859-10", "latin6 l6 8859-10 iso-ir-157", "Nordic", "ISO-8859-10", "iso-8859-10", nullptr},
    {13, kPage, "ISO-8859-11", "tis-620 8859-11 iso-ir-166", "Thai", "ISO-8859-11", nullptr, nullptr},
    {14, kQuietPage, "ISO-8859-13", "latin7 l7 8859-13 iso-ir-179 cp28603", "Baltic", "ISO-8859-13", "iso-8859-13",
     nullptr},
    {15, kQuietPage, "ISO-8859-14", "latin8 l8 8859-14 iso-ir-199 iso-celtic", "Celtic", "ISO-8859-14", "iso-8859-14",
     nullptr},
    {16, kQuietPage, "ISO-8859-15", "latin9 l9 8859-15 latin0 iso-ir-203 cp28605", "Western European with euro",
     "ISO-8859-15", "iso-8859-15", nullptr},
    {17, kPage, "ISO-8859-16", "latin10 l10 8859-16 iso-ir-226", "South-Eastern European", "ISO-8859-16", "iso-8859-16",
     nullptr},
    {18, kUnicode, "UTF-16LE", "utf-16 ucs-2 unicode ucs-2le ucs16le unicodelittle cp1200 1200",
     "Unicode, little endian", "UTF-16LE", "utf-16le", nullptr},
    {19, kUnicode, "UTF-16BE", "ucs-2be ucs16be unicodebig cp1201 1201", "Unicode, big endian", "UTF-16BE", "utf-16be",
     nullptr},
    {20, kWide, "GBK", "cp936 ms936 windows-936 936 gb2312 euc-cn gb-2312-80 cn-gb", "Chinese, simplified", "GBK",
     "gbk", "it does not read the four-byte codes of GB18030"},
    {21, kPage, "Windows-1250", "cp1250 win1250 ms1250 1250", "Central European", "CP1250", "windows-1250", nullptr},
    {22, kPage, "Windows-1251", "cp1251 win1251 ms1251 1251", "Cyrillic", "CP1251", "windows-1251", nullptr},
    {23, kPage, "Windows-1252", "cp1252 win1252 ms1252 1252 ansi", "Western European", "CP1252", "windows-1252",
     nullptr},
    {24, kPage, "Windows-1253", "cp1253 win1253 ms1253 1253", "Greek", "CP1253", "windows-1253", nullptr},
    {25, kPage, "Windows-1254", "cp1254 win1254 ms1254 1254", "Turkish", "CP1254", "windows-1254", nullptr},
    {26, kPage, "Windows-1255", "cp1255 win1255 ms1255 1255", "Hebrew", "CP1255", "windows-1255", nullptr},
    {27, kPage, "Windows-1256", "cp1256 win1256 ms1256 1256", "Arabic, Persian", "CP1256", "windows-1256", nullptr},
    {28, kPage, "Windows-1257", "cp1257 win1257 ms1257 1257", "Baltic", "CP1257", "windows-1257", nullptr},
    {29, kPage, "Windows-1258", "cp1258 win1258 ms1258 1258", "Vietnamese", "CP1258", "windows-1258", nullptr},
    {30, kPage, "Windows-874", "cp874 win874 ms874 874 thai", "Thai", "CP874", "windows-874", nullptr},
    {33, kWide, "CP949", "uhc ms949 windows-949 949 euc-kr ks-c-5601-1987 ksc5601 ks-c-5601 ks-x-1001 korean", "Korean",
     "CP949", "euc-kr", nullptr},
    {kShiftJis, kForeign, "Shift_JIS", "sjis cp932 ms932 windows-31j windows-932 932 ms-kanji x-sjis", "Japanese",
     "SHIFT_JIS", "shift_jis", nullptr},
    {kEucJp, kForeign, "EUC-JP", "eucjp ujis x-euc-jp cp51932", "Japanese", "EUC-JP", "euc-jp", nullptr},
    {kIso2022Jp, kForeign, "ISO-2022-JP", "jis csiso2022jp cp50220", "Japanese, 7-bit", "ISO-2022-JP", "iso-2022-jp",
     nullptr},
    {kIso2022Kr, kForeign, "ISO-2022-KR", "csiso2022kr cp50225", "Korean, 7-bit", "ISO-2022-KR", nullptr, nullptr},
    {kIso2022Cn, kForeign, "ISO-2022-CN", "csiso2022cn iso-2022-cn-ext", "Chinese, 7-bit", "ISO-2022-CN", nullptr,
     nullptr},
    {kHz, kForeign, "HZ", "hz-gb-2312 hzgb cp52936", "Chinese, simplified, 7-bit", nullptr, nullptr, nullptr},
    {kGb18030, kNameOnly, "GB18030", "cp54936 gb18030-2000 gb18030-2005 gb18030-2022", "Chinese", "GB18030", "gb18030",
     nullptr},
    {kKoi8R, kForeignPage, "KOI8-R", "koi8r koi cskoi8r cp20866", "Russian", "KOI8-R", "koi8-r", nullptr},
    {kKoi8U, kForeignPage, "KOI8-U", "koi8u koi8-ru cp21866", "Ukrainian", "KOI8-U", "koi8-u", nullptr},
    {kCp866, kForeignPage, "CP866", "ibm866 866 csibm866", "Cyrillic, DOS", "CP866", "ibm866", nullptr},
    {kCp437, kForeignPage, "CP437", "ibm437 437", "Western European, DOS", "CP437", nullptr, nullptr},
    {kCp850, kForeignPage, "CP850", "ibm850 850", "Western European, DOS", "CP850", nullptr, nullptr},
    {kCp852, kForeignPage, "CP852", "ibm852 852", "Central European, DOS", "CP852", nullptr, nullptr},
    {kMacCyrillic, kForeignPage, "Mac Cyrillic", "x-mac-cyrillic maccyrillic cp10007 x-mac-ukrainian", "Cyrillic, Mac",
     "MAC-CYRILLIC", "x-mac-cyrillic", nullptr},
    {kUtf32Le, kForeign | ZUTEXT_UNICODE, "UTF-32LE", "utf-32 ucs-4 ucs-4le cp12000", "Unicode, little endian",
     "UTF-32LE", nullptr, nullptr},
    {kUtf32Be, kForeign | ZUTEXT_UNICODE, "UTF-32BE", "ucs-4be cp12001", "Unicode, big endian", "UTF-32BE", nullptr,
     nullptr},
    {116, kNameOnly, "UTF-7", "unicode-1-1-utf-7 cp65000", "Unicode, 7-bit", "UTF-7", nullptr, nullptr},
    {117, kNameOnly, "Big5-HKSCS", "big5hkscs big5-hkscs2008 cp951", "Chinese, Hong Kong", "BIG5-HKSCS", nullptr,
     nullptr},
    {118, kNameOnly, "EUC-TW", "euctw x-euc-tw", "Chinese, traditional", "EUC-TW", nullptr, nullptr},
    {119, kNameOnly, "Johab", "cp1361 ms1361 1361", "Korean", "JOHAB", nullptr, nullptr},
    {120, kNameOnly, "VISCII", "viscii1.1-1", "Vietnamese", "VISCII", nullptr, nullptr},
    {121, kNameOnly, "TCVN", "tcvn5712 tcvn-5712", "Vietnamese", "TCVN", nullptr, nullptr},
    {122, kNameOnly, "Mac Roman", "macintosh macroman mac x-mac-roman cp10000", "Western European, Mac", "MACINTOSH",
     "macintosh", nullptr},
    {123, kNameOnly, "CP737", "ibm737 737", "Greek, DOS", "CP737", nullptr, nullptr},
    {124, kNameOnly, "CP775", "ibm775 775", "Baltic, DOS", "CP775", nullptr, nullptr},
    {125, kNameOnly, "CP855", "ibm855 855", "Cyrillic, DOS", "CP855", nullptr, nullptr},
    {126, kNameOnly, "CP857", "ibm857 857", "Turkish, DOS", "CP857", nullptr, nullptr},
    {127, kNameOnly, "CP858", "ibm858 858", "Western European with euro, DOS", "CP858", nullptr, nullptr},
    {128, kNameOnly, "CP862", "ibm862 862", "Hebrew, DOS", "CP862", nullptr, nullptr},
    {129, kNameOnly, "CP864", "ibm864 864", "Arabic, DOS", "CP864", nullptr, nullptr},
    {130, kNameOnly, "KOI8-T", "koi8t", "Tajik", "KOI8-T", nullptr, nullptr},
};

constexpr bool isBefore(const zutext_encoding &encoding, const zutext_encoding &other) {
    return encoding.id < other.id;
}
static_assert(std::is_sorted(std::begin(kEncodings), std::end(kEncodings), isBefore));

constexpr bool isFiller(char c) { return c == '-' || c == '_' || c == ' '; }

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// A name in lower case and without '-', '_' and spaces, cut where no name is as long.
struct FoldedName {
    static constexpr size_t kLongest = 24;
    std::array<char, kLongest> letters{};
    size_t length = 0;

    explicit FoldedName(std::string_view name) {
        for (const char c : name) {
            if (!isFiller(c) && length < kLongest) {
                letters[length++] = lower(c);
            }
        }
    }
    [[nodiscard]] std::string_view view() const { return {letters.data(), length}; }
};

// The number of typing slips between two names: a wrong, missing or extra character, or two in the wrong order.
size_t slipsBetween(std::string_view a, std::string_view b) {
    size_t slips[FoldedName::kLongest + 1][FoldedName::kLongest + 1];
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                slips[i][j] = i + j;
                continue;
            }
            const size_t wrong = slips[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            slips[i][j] = std::min({wrong, slips[i - 1][j] + 1, slips[i][j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                slips[i][j] = std::min(slips[i][j], slips[i - 2][j - 2] + 1);
            }
        }
    }
    return slips[a.size()][b.size()];
}

// Calls `visit` with every name of an encoding until it gives true.
template <class Visit> bool anyName(const zutext_encoding &encoding, Visit visit) {
    if (visit(std::string_view(encoding.name))) {
        return true;
    }
    for (std::string_view rest = encoding.aliases; !rest.empty();) {
        const size_t end = std::min(rest.find(' '), rest.size());
        if (visit(rest.substr(0, end))) {
            return true;
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

// The names nearest to what was typed, best first.
class NearNames {
  public:
    explicit NearNames(std::string_view typed) : m_typed(typed) {}

    void offer(std::string_view name) {
        const size_t farthest = std::max<size_t>(1, m_typed.length / 3);
        const size_t slips = slipsBetween(m_typed.view(), FoldedName(name).view());
        if (slips > farthest) {
            return;
        }
        size_t place = m_count;
        while (place > 0 && m_rows[place - 1].slips > slips) {
            --place;
        }
        if (place == kMost) {
            return;
        }
        m_count = std::min(m_count + 1, kMost);
        for (size_t i = m_count - 1; i > place; --i) {
            m_rows[i] = m_rows[i - 1];
        }
        m_rows[place] = {slips, name};
    }

    void writeTo(std::span<char> list) const {
        size_t length = 0;
        const auto put = [&](std::string_view part) {
            for (const char c : part) {
                if (length + 1 < list.size()) {
                    list[length++] = c;
                }
            }
        };
        for (size_t i = 0; i < m_count; ++i) {
            put(i == 0 ? "" : ", ");
            put(m_rows[i].name);
        }
        list[length] = 0;
    }

  private:
    static constexpr size_t kMost = 3;
    struct Row {
        size_t slips;
        std::string_view name;
    };
    FoldedName m_typed;
    std::array<Row, kMost> m_rows{};
    size_t m_count = 0;
};

} // namespace

std::span<const zutext_encoding> allEncodings() { return kEncodings; }

const zutext_encoding *encodingOf(int32_t id) {
    const auto *found =
        std::lower_bound(std::begin(kEncodings), std::end(kEncodings), id,
                         [](const zutext_encoding &encoding, int32_t wanted) { return encoding.id < wanted; });
    return found != std::end(kEncodings) && found->id == id ? found : nullptr;
}

bool hasTrait(int32_t id, uint32_t trait) {
    const zutext_encoding *encoding = encodingOf(id);
    return encoding != nullptr && (encoding->traits & trait) != 0;
}

bool sameName(std::string_view a, std::string_view b) {
    for (;;) {
        while (!a.empty() && isFiller(a.front())) {
            a.remove_prefix(1);
        }
        while (!b.empty() && isFiller(b.front())) {
            b.remove_prefix(1);
        }
        if (a.empty() || b.empty()) {
            return a.empty() && b.empty();
        }
        if (lower(a.front()) != lower(b.front())) {
            return false;
        }
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
}

} // namespace zutext

using namespace zutext;

const zutext_encoding *zutext_encodings(size_t *count) {
    *count = std::size(kEncodings);
    return kEncodings;
}

const zutext_encoding *zutext_encoding_of(int32_t id) { return encodingOf(id); }

const zutext_encoding *zutext_find_encoding(const char *name, size_t length, int32_t *mark_open) {
    const std::string_view typed(name, length);
    if (mark_open != nullptr) {
        *mark_open = sameName(typed, "utf16") || sameName(typed, "ucs2") || sameName(typed, "unicode") ? 1 : 0;
    }
    int32_t id = 0;
    if (const auto [end, error] = std::from_chars(name, name + length, id);
        error == std::errc() && end == name + length && encodingOf(id) != nullptr) {
        return encodingOf(id);
    }
    const auto *found =
        std::find_if(std::begin(kEncodings), std::end(kEncodings), [typed](const zutext_encoding &encoding) {
            return anyName(encoding, [typed](std::string_view each) { return sameName(each, typed); });
        });
    return found == std::end(kEncodings) ? nullptr : found;
}

void zutext_near_names(const char *name, size_t length, int32_t languages, char *names, size_t size) {
    NearNames near({name, length});
    for (const zutext_encoding &encoding : kEncodings) {
        anyName(encoding, [&near](std::string_view each) {
            near.offer(each);
            return false;
        });
    }
    if (languages != 0) {
        for (const zutext_language &language : allLanguages()) {
            near.offer(language.code);
            near.offer(language.name);
        }
    }
    if (size > 0) {
        near.writeTo({names, size});
    }
}
