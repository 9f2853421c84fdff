// A conversion handle of libzucharset.
#pragma once

#include "buffer.h"
#include "zucharset.h"

namespace zutext {

class Converter {
  public:
    Converter() = default;
    ~Converter();
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    // Prepares conversion from a code type. A ZUTEXT result.
    [[nodiscard]] int32_t start(int32_t codeType);

    // Appends the UTF-8 of the whole characters of a text of at most kLongestInput bytes. Only a character that the end
    // cuts off stays unconsumed. A ZUTEXT result.
    [[nodiscard]] int32_t convert(Bytes text, Buffer &output, size_t &consumed);

    // Ends a running conversion, from any thread.
    void cancel();

    static constexpr size_t kLongestInput = size_t{64} * 1024;

  private:
    ZU_CHARSET_HANDLE m_handle = nullptr; // written once, by start(), while cancel() may look
    int32_t m_codeType = 0;
};

// libzucharset's own answer for a text of at least one byte. A ZUTEXT result.
[[nodiscard]] int32_t identify(Bytes text, int32_t &codeType);

} // namespace zutext
