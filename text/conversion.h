// Converts a text piece by piece in an encoding that is known, and keeps the account.
#pragma once

#include "buffer.h"
#include "charset_handle.h"
#include "judge.h"
#include "losses.h"
#include "well_formed.h"

namespace zutext {

class Conversion {
  public:
    Conversion() { m_account.complete = m_account.well_formed = 1; }
    Conversion(const Conversion &) = delete;
    Conversion &operator=(const Conversion &) = delete;

    // The encoding must be one that can be converted. A ZUTEXT result.
    [[nodiscard]] int32_t start(int32_t encoding, uint32_t flags);

    // Appends what the next piece of the text becomes. What a cut leaves at its end is kept for the next piece; with
    // `last` it is lost, and noted. A ZUTEXT result.
    [[nodiscard]] int32_t convert(Bytes piece, bool last, Buffer &output);

    // Ends a running call, from any thread; later ones end at once.
    void cancel();
    [[nodiscard]] bool cancelled() const { return __atomic_load_n(&m_cancelled, __ATOMIC_RELAXED); }

    [[nodiscard]] const zutext_account &account() const { return m_account; }

  private:
    [[nodiscard]] int32_t convertFront(Bytes &piece, bool last, Buffer &output);
    [[nodiscard]] int32_t convertHeld(Bytes &piece, bool last, Buffer &output);
    [[nodiscard]] int32_t convertBlock(Bytes block, bool last, Buffer &output, size_t &consumed);
    [[nodiscard]] int32_t convertUtf8(Bytes block, bool last, Buffer &output, size_t &consumed);
    [[nodiscard]] int32_t convertUtf16(Bytes block, bool last, Buffer &output, size_t &consumed);
    [[nodiscard]] int32_t convertBytes(Bytes block, bool last, Buffer &output, size_t &consumed);
    [[nodiscard]] int32_t convertFully(Bytes text, Buffer &output);
    [[nodiscard]] int32_t keepUtf8(Bytes block, Buffer &output, size_t &consumed);
    void noteStep(Utf8Step step, Bytes text, uint64_t offset);
    [[nodiscard]] int32_t begin(Buffer &output, size_t start);

    int32_t m_encoding = 0;
    uint32_t m_flags = 0;
    Converter m_converter;
    LossFinder m_losses;
    Buffer m_scratch;
    Buffer m_held; // the start of a character whose end has not come yet
    bool m_begun = false;
    bool m_cancelled = false;
    zutext_account m_account = {};
};

} // namespace zutext
