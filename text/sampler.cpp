#include "sampler.h"

#include "binary.h"
#include "wide_forms.h"

namespace zutext {

namespace {

// Plain ASCII this far before the first telling byte belongs to the sample: its words tell the language.
constexpr size_t kContext = size_t{64} * 1024;

// Bytes that must follow one for it to tell: a run of HZ lies on one line.
constexpr size_t kAhead = 512;

// The first byte from `from` to `to` that says something of the encoding: a high byte, a zero, the escape of a 7-bit
// encoding; `to` when there is none.
size_t findTelling(Bytes text, size_t from, size_t to) {
    constexpr uint64_t kEach = 0x0101010101010101u;
    constexpr uint8_t kEscape = 0x1B;
    size_t at = from;
    while (at < to) {
        uint64_t word = kEach * 0x80;
        if (text.size() - at >= sizeof word) {
            std::memcpy(&word, text.data() + at, sizeof word);
        }
        // A subtraction borrows from the high bit of a byte that is zero, and of no byte before the first such one.
        const uint64_t telling =
            word | (word - kEach) | ((word ^ kEach * kEscape) - kEach) | ((word ^ kEach * '~') - kEach);
        if ((telling & kEach * 0x80) == 0) {
            at += sizeof word;
            continue;
        }
        for (const size_t end = std::min(at + sizeof word, to); at < end; ++at) {
            const uint8_t byte = text[at];
            if (byte >= 0x80 || byte == 0 ||
                ((byte == kEscape || byte == '~') && startsSevenBitForm(text.subspan(at)))) {
                return at;
            }
        }
    }
    return to;
}

} // namespace

int32_t Sampler::advance(const Settings &settings, Bytes held, uint64_t offset, bool last, Next &next,
                         zutext_verdict &verdict) {
    constexpr size_t kLongestMark = 4;
    next = Next::judged;
    if (settings.from != 0 && (last || held.size() >= kLongestMark)) {
        return judge(settings, {held, offset, last}, verdict);
    }
    const size_t to = held.size() - (last ? 0 : std::min(held.size(), kAhead));
    for (;;) {
        const auto from = std::min(static_cast<size_t>(m_searched - offset), to);
        const size_t found = findTelling(held, from, to);
        m_searched = offset + found;
        if (found == to) {
            break;
        }
        if (!last && held.size() - found < settings.sample) {
            next = Next::more;
            return ZUTEXT_OK;
        }
        const size_t start = found > kContext ? (found - kContext) / 4 * 4 : 0;
        const size_t end = found + std::min(settings.sample, held.size() - found);
        const Sample sample = {held.subspan(start, end - start), offset + start, last && end == held.size()};
        const int32_t result = judge(settings, sample, verdict);
        if (result != ZUTEXT_OK || !isOpen(verdict, sample)) {
            return result;
        }
        m_searched = offset + end;
        m_controls = true;
    }
    if (last) {
        const Bytes start = held.first(std::min(held.size(), settings.sample));
        m_controls |= hasStrayControl(held);
        return judgePlain(settings, start, offset + held.size(), m_controls, verdict);
    }
    next = Next::more;
    if (to > settings.sample + kContext) {
        m_passable = (to - kContext) / 4 * 4;
        m_controls |= hasStrayControl(held.first(m_passable));
        next = Next::pass;
    }
    return ZUTEXT_OK;
}

} // namespace zutext
