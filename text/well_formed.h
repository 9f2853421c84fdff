// Well-formed UTF-8: told from what is not, and made of what nearly is.
#pragma once

#include "buffer.h"

namespace zutext {

// What stands at the start of a text.
struct Utf8Step {
    enum class Form : uint8_t {
        wellFormed, // one character
        pair,       // a surrogate pair, three bytes each: means one character
        surrogate,  // half a pair
        malformed,  // bytes that UTF-8 does not allow, as long as they belong together
        cut,        // the text ends within one of these, or behind the first half of a pair
    };
    Form form;
    uint8_t length; // in bytes; of `cut`: all that are left
};

// The text must not be empty.
Utf8Step stepThrough(Bytes text);

// What a `cut` step is where nothing follows: still that, if it can be the start of a character.
Utf8Step atEnd(Utf8Step cut, Bytes text);

// The length of the well-formed text at the start, up to the first step of another form.
size_t wellFormedLength(Bytes text);

// A surrogate pair of two times three bytes as the four bytes of its character.
struct FourBytes {
    uint8_t bytes[4];
};
FourBytes joinPair(Bytes pair);

// Appends a text that is well-formed but for surrogates, in which pairs become characters and halves U+FFFD. False: no
// memory.
[[nodiscard]] bool joinHalves(Bytes text, Buffer &output);

inline constexpr uint8_t kReplacement[] = {0xEF, 0xBF, 0xBD};

} // namespace zutext
