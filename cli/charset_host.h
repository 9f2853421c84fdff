#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zucli {

using Bytes = std::span<const uint8_t>;

// A detection handle of the library.
class Detector {
  public:
    Detector();
    ~Detector();
    Detector(const Detector &) = delete;
    Detector &operator=(const Detector &) = delete;

    // The code type of a text, which must not be empty.
    int32_t identify(Bytes text);

  private:
    void *m_handle = nullptr;
};

// What one conversion call did. The output stays valid until the converter's next call.
struct Conversion {
    Bytes output;
    size_t consumed;
};

// A conversion handle of the library, for one source encoding.
class Converter {
  public:
    explicit Converter(int32_t codeType);
    ~Converter();
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    [[nodiscard]] int32_t codeType() const { return m_codeType; }

    // Converts the whole characters of a piece of text. Only a character that the end of the piece cuts off remains
    // unconsumed; it belongs in front of the next piece.
    Conversion convert(Bytes text);

  private:
    int32_t m_codeType;
    void *m_handle = nullptr;
    std::vector<uint8_t> m_output;
};

} // namespace zucli
