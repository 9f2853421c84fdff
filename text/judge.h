// What a text is: the verdict on a sample of it.
#pragma once

#include "buffer.h"
#include "zutext.h"

namespace zutext {

// Options as the caller gave them, checked, with the names of the hints looked up.
struct Settings {
    int32_t from = 0;
    uint32_t flags = 0;
    size_t sample = 0;
    uint64_t encodingHints = 0; // bits singleByteIndex()
    uint64_t languageHints = 0; // bits of languages()
    uint32_t wideHints = 0;     // bits of wideIndex(): double-byte encodings, by name or by language

    [[nodiscard]] bool has(uint32_t flag) const { return (flags & flag) != 0; }
    [[nodiscard]] bool hinted() const { return (encodingHints | languageHints | wideHints) != 0; }
};

// A ZUTEXT result: ZUTEXT_ERROR_ARGUMENT or ZUTEXT_ERROR_NAME for options that make no sense.
[[nodiscard]] int32_t readOptions(const zutext_options *options, Settings &settings);

// A part of a text.
struct Sample {
    Bytes bytes;
    uint64_t offset = 0; // in the text; a multiple of four
    bool toEnd = false;  // does the text end with it?
};

// Judges a sample. A ZUTEXT result.
[[nodiscard]] int32_t judge(const Settings &settings, const Sample &sample, zutext_verdict &verdict);

// The verdict on `length` bytes in which nothing says anything of the encoding: empty, or plain ASCII. `start` are the
// first or all of them, `controls` tells whether controls that plain text has no use for are among them.
[[nodiscard]] int32_t judgePlain(const Settings &settings, Bytes start, uint64_t length, bool controls,
                                 zutext_verdict &verdict);

// Does a verdict say no more than that all bytes so far are below 80? Then a later byte may say more.
bool isOpen(const zutext_verdict &verdict, const Sample &sample);

// The result that a conversion ends with because of the verdict; ZUTEXT_OK when it can go on.
int32_t resultOf(const zutext_verdict &verdict);

} // namespace zutext
