// The texts that the benchmarks work on: real texts in many encodings, mixes and sizes.
#pragma once

#include "zucharset.h"

#include <string>
#include <vector>

namespace bench {

enum class Mix {
    ascii, // English subtitles with their numbers and time codes
    dense, // running text of the encoding's language
    mixed, // subtitles of the encoding's language
};
constexpr Mix MIXES[] = {Mix::ascii, Mix::dense, Mix::mixed};
const char *mixName(Mix mix);

struct Encoding {
    const char *name;
    int32_t codeType;
    const char *iconvName;
    const char *icuName;
    const char *encaLanguage;        // "__": none that fits
    std::vector<const char *> files; // of samples/text
};
const std::vector<Encoding> &encodings();
const Encoding &encoding(const std::string &name);

// What detection is measured on.
struct DetectionText {
    const char *name;
    const char *encoding;
    Mix mix;
    bool byteOrderMark;
};
const std::vector<DetectionText> &detectionTexts();

struct Sample {
    std::string bytes; // in the encoding, ending with a whole character, at most as long as asked
    std::string utf8;  // the same text
};
Sample makeSample(const Encoding &encoding, Mix mix, size_t size);

[[noreturn]] void fail(const std::string &message);

} // namespace bench
