#pragma once

#include "bytes.h"
#include "errors.h"
#include "zutext.h"

#include <memory>

namespace zucli {

// What libzutext has against a text; what() does not name the file. Text that is none, or that cannot be converted, has
// kExitRefused.
class TextError : public CommandError {
  public:
    using CommandError::CommandError;
};

// A text on its way through libzutext. Every failure is a TextError.
class TextStream {
  public:
    explicit TextStream(const zutext_options &options);

    // Takes a piece and gives what is ready. The output stays valid until the next call.
    Bytes write(Bytes piece);
    Bytes finish();

    // Null until it stands.
    [[nodiscard]] const zutext_verdict *verdict() const { return zutext_verdict_of(m_stream.get()); }
    [[nodiscard]] const zutext_account &account() const { return *zutext_account_of(m_stream.get()); }

  private:
    [[nodiscard]] Bytes checked(int32_t result, const zutext_output &output) const;

    std::unique_ptr<zutext_stream, decltype(&zutext_close)> m_stream{nullptr, zutext_close};
};

// Throws what a result of libzutext means for the user; the verdict, if there is one, says more.
[[noreturn]] void throwFailure(int32_t result, const zutext_verdict *verdict);

} // namespace zucli
