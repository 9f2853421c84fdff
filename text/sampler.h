// Chooses the part of a text that it is judged by, in the same way whether the text is there at once or comes in
// pieces.
#pragma once

#include "judge.h"

namespace zutext {

class Sampler {
  public:
    enum class Next {
        more,  // wants more of the text
        pass,  // the first passable() bytes that are held are plain ASCII and no longer needed
        judged // the verdict stands
    };

    // Looks at what is held of a text, which starts at an offset, a multiple of four; `last` tells that no more
    // follows. A ZUTEXT result.
    [[nodiscard]] int32_t advance(const Settings &settings, Bytes held, uint64_t offset, bool last, Next &next,
                                  zutext_verdict &verdict);

    [[nodiscard]] size_t passable() const { return m_passable; }

  private:
    uint64_t m_searched = 0; // up to this offset nothing says anything of the encoding
    bool m_controls = false; // was there, in what has passed, a control that plain text has no use for?
    size_t m_passable = 0;
};

} // namespace zutext
