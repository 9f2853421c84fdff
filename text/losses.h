// Finds the characters that a conversion from a single-byte or double-byte encoding damaged.
#pragma once

#include "charset_handle.h"
#include "zutext.h"

namespace zutext {

// Sees every piece of input with its output, and takes a piece that looks suspicious through a converter again in ever
// smaller parts.
class LossFinder {
  public:
    // A ZUTEXT result. `output` is what `input`, which starts at `offset`, was converted to.
    [[nodiscard]] int32_t inspect(int32_t codeType, uint64_t offset, Bytes input, Bytes output,
                                  zutext_account &account);

  private:
    [[nodiscard]] int32_t inspectBlock(size_t from, size_t to, Bytes input, uint64_t offset, zutext_account &account);

    int32_t m_codeType = 0;
    Converter m_converter; // its own, so that the output under inspection stays in place
    Buffer m_output;
};

// Bytes at the end of a piece that may be part of a code whose rest is in the next piece: they must be held back, or
// the code would not be seen whole. The converters hold back no more than the first byte of a pair.
size_t openEnd(int32_t codeType, Bytes piece);

} // namespace zutext
