#include "preview.h"

#include "charset_handle.h"
#include "conversion.h"
#include "encodings.h"
#include "memory.h"
#include "reading.h"
#include "zucharset.h"

#include <array>

namespace zutext {

namespace {

constexpr size_t kMostCharacters = 70;
constexpr size_t kLongestLine = 4 * kMostCharacters; // in bytes
constexpr size_t kSearched = size_t{256} * 1024;     // what follows tells hardly more

using ByteSet = std::array<bool, 256>;

int32_t newBytes(Bytes line, const ByteSet &known) {
    ByteSet seen = known;
    int32_t count = 0;
    for (const uint8_t byte : line) {
        if (byte >= 0x80 && !seen[byte]) {
            seen[byte] = true;
            ++count;
        }
    }
    return count;
}

bool isLineEnd(uint8_t byte) { return byte == '\n' || byte == '\r'; }

// The next line from `at` on, cut where it is too long.
Bytes lineAt(Bytes text, size_t &at) {
    const size_t start = at;
    while (at < text.size() && !isLineEnd(text[at])) {
        ++at;
    }
    const Bytes line = text.subspan(start, std::min(at - start, kLongestLine));
    ++at;
    return line;
}

// Writes code points of a text as long as there is room, with '\n' between lines.
class PreviewWriter {
  public:
    PreviewWriter(char *text, size_t size) : m_text(text), m_room(size - 1) {}
    ~PreviewWriter() { m_text[m_length] = 0; }
    PreviewWriter(const PreviewWriter &) = delete;
    PreviewWriter &operator=(const PreviewWriter &) = delete;

    void startLine() {
        if (m_length > 0) {
            write({reinterpret_cast<const uint8_t *>("\n"), 1});
        }
        m_characters = 0;
    }

    // Whole characters of well-formed UTF-8.
    void put(Bytes utf8) {
        while (!utf8.empty()) {
            const Utf8Step step = stepThrough(utf8);
            const Bytes character = utf8.first(step.length);
            utf8 = utf8.subspan(step.length);
            if (m_characters++ >= kMostCharacters) {
                return;
            }
            const bool control =
                character[0] < 0x20 || character[0] == 0x7F || (character[0] == 0xC2 && character[1] < 0xA0);
            write(control ? Bytes(kReplacement) : character);
        }
    }

    void putPoint(uint16_t point) {
        const auto byte = [](uint32_t value) { return static_cast<uint8_t>(value); };
        const uint8_t utf8[] = {byte(0xE0 | point >> 12), byte(0x80 | (point >> 6 & 0x3F)),
                                byte(0x80 | (point & 0x3F))};
        const uint8_t pair[] = {byte(0xC0 | point >> 6), utf8[2]};
        const uint8_t ascii = byte(point);
        put(point < 0x80 ? Bytes(&ascii, 1) : point < 0x800 ? Bytes(pair) : Bytes(utf8));
    }

  private:
    void write(Bytes bytes) {
        if (m_room - m_length >= bytes.size()) {
            std::memcpy(m_text + m_length, bytes.data(), bytes.size());
            m_length += bytes.size();
        } else {
            m_room = m_length; // no later character may stand where an earlier one had no room
        }
    }

    char *m_text;
    size_t m_room;
    size_t m_length = 0;
    size_t m_characters = 0;
};

int32_t convertTo(int32_t encoding, Bytes text, Buffer &output) {
    Owned<Conversion> conversion;
    if (!conversion) {
        return ZUTEXT_ERROR_MEMORY;
    }
    if (const int32_t result = conversion->start(encoding, ZUTEXT_STRIP_MARK); result != ZUTEXT_OK) {
        return result;
    }
    return conversion->convert(text, true, output);
}

} // namespace

TellingLines tellingLines(Bytes text, size_t most) {
    text = text.first(std::min(text.size(), kSearched));
    TellingLines chosen;
    ByteSet known{};
    while (chosen.count < most) {
        Bytes best;
        int32_t bestCount = 0;
        for (size_t at = 0; at < text.size();) {
            const Bytes line = lineAt(text, at);
            if (const int32_t count = newBytes(line, known); count > bestCount) {
                best = line;
                bestCount = count;
            }
        }
        if (bestCount == 0) {
            break;
        }
        for (const uint8_t byte : best) {
            known[byte] = true;
        }
        size_t place = chosen.count++;
        for (; place > 0 && chosen.lines[place - 1].data() > best.data(); --place) {
            chosen.lines[place] = chosen.lines[place - 1];
        }
        chosen.lines[place] = best;
    }
    return chosen;
}

} // namespace zutext

using namespace zutext;

int32_t zutext_preview(const uint8_t *bytes, size_t length, int32_t encoding, uint32_t lines, char *text, size_t size) {
    const zutext_encoding *row = encodingOf(encoding);
    if ((bytes == nullptr && length > 0) || row == nullptr || text == nullptr || size == 0 || lines == 0 ||
        lines > kMostLines) {
        return ZUTEXT_ERROR_ARGUMENT;
    }
    Bytes whole(bytes, length);
    PreviewWriter writer(text, size);
    const bool utf16 = encoding == ZU_CHARSET_CODETYPE_UCS16LE || encoding == ZU_CHARSET_CODETYPE_UCS16BE;
    const bool shown = (row->traits & ZUTEXT_CONVERTIBLE) != 0 || singleByteIndex(encoding) >= 0;
    if (!shown) {
        return ZUTEXT_ERROR_UNSUPPORTED;
    }
    Buffer converted;
    if (utf16) { // whose lines show only after conversion
        if (const int32_t result = convertTo(encoding, whole.first(std::min(whole.size(), kSearched)), converted);
            result != ZUTEXT_OK) {
            return result;
        }
        whole = converted.bytes();
    }
    const TellingLines chosen = tellingLines(whole, lines);
    for (const Bytes line : std::span(chosen.lines, chosen.count)) {
        writer.startLine();
        if (utf16) {
            writer.put(line);
        } else if (singleByteIndex(encoding) >= 0) {
            for (const uint8_t byte : line) {
                writer.putPoint(codePointOf(encoding, byte));
            }
        } else {
            converted.clear();
            if (const int32_t result = convertTo(encoding, line, converted); result != ZUTEXT_OK) {
                return result;
            }
            writer.put(converted.bytes());
        }
    }
    return ZUTEXT_OK;
}
