#include "guess.h"

#include "encoding_names.h"

#include <algorithm>

namespace zucli {

namespace {

// Escape sequences switch some 7-bit encodings to other characters, and UTF-16 holds 0 bytes: neither is plain ASCII.
bool isPlainAscii(Bytes text) {
    constexpr uint8_t kEscape = 0x1B;
    return std::all_of(text.begin(), text.end(),
                       [](uint8_t byte) { return byte != 0 && byte < 0x80 && byte != kEscape; });
}

} // namespace

Guess guessEncoding(Detector &detector, Bytes sample, bool wholeFile, const std::vector<int32_t> &preferences) {
    Guess guess;
    guess.sampled = sample.size();
    guess.wholeFile = wholeFile;
    if (sample.empty()) {
        return guess;
    }
    guess.codeType = detector.identify(sample);
    guess.libraryCodeType = guess.codeType;
    guess.decidedBy = DecidedBy::library;
    guess.plainAscii = isPlainAscii(sample);
    if (guess.plainAscii || !isSingleByte(guess.codeType)) {
        return guess;
    }
    for (const int32_t preferred : preferences) {
        if (findByCodeType(preferred)->test(sample.data(), static_cast<int32_t>(sample.size())) == 0) {
            guess.codeType = preferred;
            guess.decidedBy = DecidedBy::preference;
            return guess;
        }
    }
    return guess;
}

std::string_view nameOf(DecidedBy decidedBy) {
    switch (decidedBy) {
        case DecidedBy::library:
            return "library";
        case DecidedBy::preference:
            return "--prefer";
        case DecidedBy::user:
            return "--from";
        case DecidedBy::byteOrderMark:
            return "byte order mark";
        case DecidedBy::nothing:
            break;
    }
    return "nothing";
}

std::string remarkOn(const Guess &guess) {
    std::string remark;
    if (guess.codeType == 0) {
        return "empty file";
    }
    if (guess.plainAscii) {
        remark = "plain ASCII: every choice converts it alike";
    } else if (guess.decidedBy == DecidedBy::preference) {
        remark = "by --prefer; detection alone says " +
                 (guess.codeType == guess.libraryCodeType
                      ? "the same"
                      : std::to_string(guess.libraryCodeType) + " " + nameOf(guess.libraryCodeType));
    }
    if (!guess.wholeFile) {
        remark += (remark.empty() ? "" : "; ") + ("judged by the first " + std::to_string(guess.sampled) + " bytes");
    }
    return remark;
}

void addGuess(JsonWriter &json, const Guess &guess) {
    if (guess.codeType == 0) {
        json.null("codeType");
        json.null("encoding");
    } else {
        json.number("codeType", guess.codeType);
        json.string("encoding", nameOf(guess.codeType));
    }
    json.string("decidedBy", nameOf(guess.decidedBy));
    json.boolean("plainAscii", guess.plainAscii);
    json.number("sampledBytes", static_cast<int64_t>(guess.sampled));
    json.boolean("wholeFile", guess.wholeFile);
}

} // namespace zucli
