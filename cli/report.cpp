#include "report.h"

#include "errors.h"
#include "interrupts.h"
#include "output_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <unistd.h>

namespace zucli {

namespace {

Bytes asBytes(std::string_view text) { return {reinterpret_cast<const uint8_t *>(text.data()), text.size()}; }

std::string hexByte(char byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto value = static_cast<uint8_t>(byte);
    return {kDigits[value >> 4], kDigits[value & 0x0F]};
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t bits = 0;
        for (size_t j = i; j < i + 3; ++j) {
            bits = bits << 8 | (j < bytes.size() ? static_cast<uint8_t>(bytes[j]) : 0U);
        }
        const size_t digits = std::min<size_t>(bytes.size() - i, 3) + 1;
        for (size_t j = 0; j < 4; ++j) {
            result += j < digits ? kDigits[bits >> (18 - 6 * j) & 0x3F] : '=';
        }
    }
    return result;
}

bool isContinuation(char byte) { return (static_cast<uint8_t>(byte) & 0xC0) == 0x80; }

// The length of the well-formed UTF-8 sequence at the start of the text, 0 when there is none.
size_t sequenceLength(std::string_view text) {
    const auto lead = static_cast<uint8_t>(text[0]);
    if (lead < 0x80) {
        return 1;
    }
    const size_t length = lead >= 0xF0 ? 4 : (lead >= 0xE0 ? 3 : 2);
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[i])) {
            return 0;
        }
    }
    // Overlong forms, surrogates and numbers past the last code point show in the second byte.
    const auto second = static_cast<uint8_t>(text[1]);
    const bool wrong = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                       (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
    return wrong ? 0 : length;
}

bool isControl(std::string_view sequence) {
    const auto lead = static_cast<uint8_t>(sequence[0]);
    const bool c1 = lead == 0xC2 && static_cast<uint8_t>(sequence[1]) < 0xA0;
    return lead < 0x20 || lead == 0x7F || c1;
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const size_t length = sequenceLength(text);
        if (length == 0 || isControl(text.substr(0, length))) {
            result += "\\x" + hexByte(text[0]);
            text.remove_prefix(1);
            continue;
        }
        result += text.substr(0, length);
        text.remove_prefix(length);
    }
    return result;
}

std::string shellWord(std::string_view name) {
    const auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               std::string_view("_./+,@%=:-").find(c) != std::string_view::npos;
    };
    const std::string start = name.starts_with('-') && name != "-" ? "./" : "";
    if (!name.empty() && std::all_of(name.begin(), name.end(), isPlain)) {
        return start + std::string(name);
    }
    const bool escapes = printable(name) != name;
    std::string word;
    for (const char c : name) {
        const bool special = c == '\'' || (escapes && c == '\\');
        word += special ? (escapes ? std::string("\\") + c : "'\\''") : std::string(1, c);
    }
    return start + (escapes ? "$'" + printable(word) : "'" + word) + "'";
}

std::string hexBytes(std::string_view bytes) {
    std::string result;
    for (const char byte : bytes) {
        result += (result.empty() ? "" : " ") + hexByte(byte);
    }
    return result;
}

void printOut(std::string_view text) {
    if (!writeAll(STDOUT_FILENO, asBytes(text))) {
        if (errno == EPIPE) {
            endByClosedPipe();
            errno = EPIPE;
        }
        throw CommandError(kExitOutput, systemMessage("standard output: cannot write", errno));
    }
}

void printMessage(std::string_view message) {
    const std::string line = "zucharset: " + std::string(message) + "\n";
    // When even standard error is gone, the exit code still tells.
    [[maybe_unused]] const bool written = writeAll(STDERR_FILENO, asBytes(line));
}

std::string counted(uint64_t count, std::string_view singular, std::string_view plural) {
    return std::to_string(count) + " " + std::string(count == 1 ? singular : plural);
}

void JsonWriter::start(std::string_view key) {
    if (!m_first) {
        m_text += ',';
    }
    m_first = false;
    if (!key.empty()) {
        quoted(key);
        m_text += ':';
    }
}

void JsonWriter::quoted(std::string_view value) {
    m_text += '"';
    while (!value.empty()) {
        const size_t length = sequenceLength(value);
        const std::string_view sequence = value.substr(0, length == 0 ? 1 : length);
        if (length == 0) {
            m_text += "\xEF\xBF\xBD";
        } else if (sequence == "\"" || sequence == "\\") {
            m_text += '\\';
            m_text += sequence;
        } else if (length == 1 && isControl(sequence)) {
            m_text += "\\u00" + hexByte(sequence[0]);
        } else {
            m_text += sequence;
        }
        value.remove_prefix(sequence.size());
    }
    m_text += '"';
}

void JsonWriter::beginObject(std::string_view key) {
    start(key);
    m_text += '{';
    m_first = true;
}

void JsonWriter::endObject() {
    m_text += '}';
    m_first = false;
}

void JsonWriter::beginArray(std::string_view key) {
    start(key);
    m_text += '[';
    m_first = true;
}

void JsonWriter::endArray() {
    m_text += ']';
    m_first = false;
}

void JsonWriter::string(std::string_view key, std::string_view value) {
    start(key);
    quoted(value);
}

void JsonWriter::number(std::string_view key, int64_t value) {
    start(key);
    m_text += std::to_string(value);
}

void JsonWriter::hundredths(std::string_view key, int32_t value) {
    start(key);
    const std::string digits = std::to_string(value % 100);
    m_text += std::to_string(value / 100) + (digits.size() < 2 ? ".0" : ".") + digits;
}

void JsonWriter::boolean(std::string_view key, bool value) {
    start(key);
    m_text += value ? "true" : "false";
}

void JsonWriter::null(std::string_view key) {
    start(key);
    m_text += "null";
}

void JsonWriter::strings(std::string_view key, const std::vector<std::string> &values) {
    beginArray(key);
    for (const std::string &value : values) {
        string({}, value);
    }
    endArray();
}

void JsonWriter::fileName(std::string_view key, std::string_view name) {
    string(key, name);
    for (std::string_view rest = name; !rest.empty();) {
        const size_t length = sequenceLength(rest);
        if (length == 0) {
            string(std::string(key) + "Base64", base64(name));
            return;
        }
        rest.remove_prefix(length);
    }
}

} // namespace zucli
