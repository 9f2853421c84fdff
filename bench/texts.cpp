#include "texts.h"

#include <iconv.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace bench {
namespace {

// An endless stream of the characters of a text. Each round through the text starts at another place.
class TextStream {
  public:
    explicit TextStream(const std::vector<const char *> &files) {
        for (const char *name : files) {
            std::ifstream file(std::string(SAMPLES "/") + name + ".txt", std::ios::binary);
            std::ostringstream content;
            content << file.rdbuf();
            if (!file || content.str().empty())
                fail(std::string("cannot read the sample text ") + name);
            text += content.str();
        }
    }

    // One character in UTF-8.
    std::string next() {
        if (left == 0)
            startRound();
        if (position == text.size())
            position = 0;
        size_t end = position + 1;
        while (end < text.size() && continues(text[end]))
            end++;
        std::string character = text.substr(position, end - position);
        left -= character.size();
        position = end;
        return character;
    }

  private:
    static bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

    void startRound() {
        constexpr double GOLDEN_RATIO = 0.6180339887498949; // its multiples spread evenly
        const double turns = GOLDEN_RATIO * rounds++;
        position = static_cast<size_t>((turns - static_cast<int>(turns)) * static_cast<double>(text.size()));
        while (continues(text[position]))
            position--;
        left = text.size();
    }

    std::string text;
    size_t position = 0;
    size_t left = 0;
    int rounds = 0;
};

std::string subtitleLine(TextStream &stream, int columns) {
    std::string line;
    while (columns > 0) {
        std::string character = stream.next();
        if (character == "\n")
            character = " ";
        if (character == " " && (line.empty() || line.back() == ' '))
            continue;
        line += character;
        columns -= character.size() >= 3 ? 2 : 1;
    }
    return line + "\r\n";
}

std::string timeCode(unsigned ms) {
    char code[48];
    std::snprintf(code, sizeof code, "%02u:%02u:%02u,%03u", ms / 3600000 % 100, ms / 60000 % 60, ms / 1000 % 60,
                  ms % 1000);
    return code;
}

std::string subtitles(TextStream stream, size_t size) {
    std::string text;
    unsigned random = 1;
    unsigned time = 1000;
    for (unsigned cue = 1; text.size() < size; cue++) {
        random = random * 1664525 + 1013904223;
        const unsigned end = time + 900 + random / 65536 % 4000;
        text += std::to_string(cue) + "\r\n" + timeCode(time) + " --> " + timeCode(end) + "\r\n";
        const unsigned lines = 1 + random / 4096 % 2;
        for (unsigned line = 0; line < lines; line++)
            text += subtitleLine(stream, static_cast<int>(14 + (random >> (8 * line + 8)) % 26));
        text += "\r\n";
        time = end + 80 + random / 256 % 2000;
    }
    return text;
}

std::string runningText(TextStream stream, size_t size) {
    std::string text;
    while (text.size() < size)
        text += stream.next();
    return text;
}

} // namespace

const char *mixName(Mix mix) { return mix == Mix::ascii ? "ascii" : mix == Mix::dense ? "dense" : "mixed"; }

const std::vector<Encoding> &encodings() {
    static const std::vector<const char *> western = {"french", "german", "spanish"};
    static const std::vector<const char *> world = {"chinese_simplified", "russian", "korean", "greek"};
    static const std::vector<Encoding> list = {
        {"GBK", ZU_CHARSET_CODETYPE_GBK, "GBK", "GBK", "zh", {"chinese_simplified"}},
        {"Big5", ZU_CHARSET_CODETYPE_BIG5, "BIG5", "Big5", "zh", {"chinese_traditional"}},
        {"CP949", ZU_CHARSET_CODETYPE_CP949, "CP949", "windows-949", "__", {"korean"}},
        {"CP1251", ZU_CHARSET_CODETYPE_CP1251, "CP1251", "windows-1251", "ru", {"russian"}},
        {"ISO-8859-1", ZU_CHARSET_CODETYPE_ISO8859_1, "ISO-8859-1", "ISO-8859-1", "__", western},
        {"UTF-16LE", ZU_CHARSET_CODETYPE_UCS16LE, "UTF-16LE", "UTF-16LE", "zh", world},
        {"UTF-8", ZU_CHARSET_CODETYPE_UTF8, "UTF-8", "UTF-8", "zh", world},
        {"CP1252", ZU_CHARSET_CODETYPE_CP1252, "CP1252", "windows-1252", "__", western},
        {"ISO-8859-7", ZU_CHARSET_CODETYPE_ISO8859_7, "ISO-8859-7", "ISO-8859-7", "__", {"greek"}},
        {"UTF-16BE", ZU_CHARSET_CODETYPE_UCS16BE, "UTF-16BE", "UTF-16BE", "zh", world},
    };
    return list;
}

const Encoding &encoding(const std::string &name) {
    for (const Encoding &known : encodings())
        if (name == known.name)
            return known;
    fail("no encoding is called " + name);
}

const std::vector<DetectionText> &detectionTexts() {
    static const std::vector<DetectionText> list = {
        {"ASCII subtitles", "UTF-8", Mix::ascii, false},
        {"UTF-8 subtitles", "UTF-8", Mix::mixed, false},
        {"GBK subtitles", "GBK", Mix::mixed, false},
        {"GBK dense", "GBK", Mix::dense, false},
        {"Big5 subtitles", "Big5", Mix::mixed, false},
        {"CP949 subtitles", "CP949", Mix::mixed, false},
        {"CP1251 subtitles", "CP1251", Mix::mixed, false},
        {"CP1251 dense", "CP1251", Mix::dense, false},
        {"UTF-16LE subtitles", "UTF-16LE", Mix::mixed, false},
        {"UTF-16LE with mark", "UTF-16LE", Mix::mixed, true},
        {"ISO-8859-7 subtitles", "ISO-8859-7", Mix::mixed, false},
        {"CP1252 subtitles", "CP1252", Mix::mixed, false},
        {"CP1252 dense", "CP1252", Mix::dense, false},
    };
    return list;
}

Sample makeSample(const Encoding &encoding, Mix mix, size_t size) {
    const size_t needed = 2 * size + 64; // no encoding here needs half the bytes of UTF-8
    const TextStream stream(mix == Mix::ascii ? std::vector{"english"} : encoding.files);
    std::string text = mix == Mix::dense ? runningText(stream, needed) : subtitles(stream, needed);

    Sample sample;
    sample.bytes.resize(size);
    const iconv_t converter = iconv_open(encoding.iconvName, "UTF-8");
    if (converter == reinterpret_cast<iconv_t>(-1))
        fail(std::string("iconv cannot encode ") + encoding.iconvName);
    char *input = text.data();
    char *output = sample.bytes.data();
    size_t inputLeft = text.size();
    size_t outputLeft = size;
    // It stops with the last whole character that fits.
    if (iconv(converter, &input, &inputLeft, &output, &outputLeft) != static_cast<size_t>(-1) || errno != E2BIG)
        fail(std::string("a sample text does not encode in ") + encoding.name + ": " + std::strerror(errno));
    iconv_close(converter);
    sample.bytes.resize(size - outputLeft);
    text.resize(text.size() - inputLeft);
    sample.utf8 = std::move(text);
    return sample;
}

void fail(const std::string &message) {
    std::fprintf(stderr, "error: %s\n", message.c_str());
    std::exit(1);
}

} // namespace bench
