#pragma once

#include "charset_host.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zucli {

// What can happen to a character on its way to UTF-8.
enum class Damage : uint8_t {
    replaced,  // became U+FFFD
    dropped,   // vanished from the text
    rewritten, // malformed UTF-8 that the library bent into shape
    surrogate, // half of a UTF-16 pair, written by itself; not well-formed UTF-8
};
inline constexpr size_t kDamageKinds = 4;

struct DamagedPlace {
    Damage damage;
    uint64_t offset; // in the input file
    std::string bytes;
};

// Finds the characters that a conversion damaged. It sees every piece of input with its output, and takes a piece that
// looks suspicious through the converter again in ever smaller parts.
class LossFinder {
  public:
    // The encoding of the pieces from here on. Whoever joins surrogates does not want to hear of them.
    void startWith(int32_t codeType, bool ignoreSurrogates);
    void inspect(uint64_t offset, Bytes input, Bytes output);

    [[nodiscard]] uint64_t count(Damage damage) const { return m_counts[static_cast<size_t>(damage)]; }
    [[nodiscard]] const std::vector<DamagedPlace> &firstPlaces() const { return m_places; }
    // Counting stops in a text that is damaged all over; the counts then are lower bounds.
    [[nodiscard]] bool gaveUp() const;
    // Is any of the text gone? Surrogate halves are still there, only oddly written.
    [[nodiscard]] bool textLost() const;

  private:
    [[nodiscard]] bool isSuspicious(Bytes input, Bytes output) const;
    void inspectBlock(uint64_t offset, Bytes block);
    void inspectCharacter(uint64_t offset, Bytes character, Bytes output);
    void note(Damage damage, uint64_t offset, Bytes character);

    int32_t m_codeType = 0;
    bool m_ignoreSurrogates = false;
    std::unique_ptr<Converter> m_converter; // its own, so that the output under inspection stays in place
    std::array<uint64_t, kDamageKinds> m_counts = {};
    std::vector<DamagedPlace> m_places;
};

} // namespace zucli
