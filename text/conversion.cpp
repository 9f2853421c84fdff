#include "conversion.h"

#include "account.h"
#include "encodings.h"
#include "well_formed.h"

namespace zutext {

namespace {

using Form = Utf8Step::Form;

constexpr uint8_t kMark[] = {0xEF, 0xBB, 0xBF};
constexpr uint8_t kSwappedMark[] = {0xEF, 0xBF, 0xBE}; // U+FFFE: the other byte order

} // namespace

int32_t Conversion::start(int32_t encoding, uint32_t flags) {
    m_encoding = encoding;
    m_flags = flags;
    // Well-formed UTF-8 needs no converter, and what is not well-formed is better mended than bent into shape.
    const bool mend = encoding == ZU_CHARSET_CODETYPE_UTF8 && (flags & ZUTEXT_KEEP_SURROGATES) == 0;
    return mend ? ZUTEXT_OK : m_converter.start(encoding);
}

void Conversion::cancel() {
    __atomic_store_n(&m_cancelled, true, __ATOMIC_RELAXED);
    m_converter.cancel();
}

int32_t Conversion::convert(Bytes piece, bool last, Buffer &output) {
    const size_t start = output.size();
    while (!piece.empty() || (last && m_held.size() > 0)) {
        const int32_t result = m_held.size() > 0 ? convertHeld(piece, last, output) : convertFront(piece, last, output);
        if (result != ZUTEXT_OK) {
            return cancelled() ? ZUTEXT_ERROR_CANCELLED : result;
        }
    }
    if (const int32_t result = begin(output, start); result != ZUTEXT_OK) {
        return result;
    }
    m_account.output_bytes += output.size() - start;
    return cancelled() ? ZUTEXT_ERROR_CANCELLED : ZUTEXT_OK;
}

// Converts a block from the front of the piece and takes it away from there.
int32_t Conversion::convertFront(Bytes &piece, bool last, Buffer &output) {
    const Bytes block = piece.first(std::min(piece.size(), Converter::kLongestInput));
    const bool ends = block.size() == piece.size();
    size_t consumed = 0;
    if (const int32_t result = convertBlock(block, last && ends, output, consumed); result != ZUTEXT_OK) {
        return result;
    }
    piece = piece.subspan(consumed);
    if (!ends) {
        return consumed > 0 ? ZUTEXT_OK : ZUTEXT_ERROR_REFUSED;
    }
    const bool kept = last || m_held.append(piece);
    piece = {};
    return kept ? ZUTEXT_OK : ZUTEXT_ERROR_MEMORY;
}

// Completes the character that is held with the front of the piece; what follows it stays there.
int32_t Conversion::convertHeld(Bytes &piece, bool last, Buffer &output) {
    constexpr size_t kEnough = 16;
    const size_t held = m_held.size();
    const Bytes more = piece.first(std::min(piece.size(), kEnough));
    if (!m_held.append(more)) {
        return ZUTEXT_ERROR_MEMORY;
    }
    const bool ends = more.size() == piece.size();
    size_t consumed = 0;
    if (const int32_t result = convertBlock(m_held.bytes(), last && ends, output, consumed); result != ZUTEXT_OK) {
        return result;
    }
    if (consumed < held) {
        m_held.removeFront(consumed);
        piece = piece.subspan(more.size());
        return ends ? ZUTEXT_OK : ZUTEXT_ERROR_REFUSED;
    }
    piece = piece.subspan(consumed - held);
    m_held.clear();
    return ZUTEXT_OK;
}

// A ZUTEXT result. With `last` all of the block counts as consumed: what is cut off is lost and noted.
int32_t Conversion::convertBlock(Bytes block, bool last, Buffer &output, size_t &consumed) {
    if (cancelled()) {
        return ZUTEXT_ERROR_CANCELLED;
    }
    const size_t start = output.size();
    int32_t result = ZUTEXT_OK;
    switch (m_encoding) {
        case ZU_CHARSET_CODETYPE_UTF8:
            result = convertUtf8(block, last, output, consumed);
            break;
        case ZU_CHARSET_CODETYPE_UCS16LE:
        case ZU_CHARSET_CODETYPE_UCS16BE:
            result = convertUtf16(block, last, output, consumed);
            break;
        default:
            result = convertBytes(block, last, output, consumed);
    }
    if (result != ZUTEXT_OK) {
        return result;
    }
    if (last && consumed < block.size()) {
        noteLoss(m_account, ZUTEXT_LOSS_CUT, m_account.input_bytes + consumed, block.subspan(consumed));
        m_account.changed = 1;
        consumed = block.size();
    }
    const Bytes written = output.bytes().subspan(start);
    if (m_account.changed == 0) {
        m_account.changed = written.size() == consumed && startsWith(block, written) ? 0 : 1;
    }
    m_account.input_bytes += consumed;
    return ZUTEXT_OK;
}

// UTF-8 as it is where it is well-formed, mended where it is not.
int32_t Conversion::convertUtf8(Bytes block, bool last, Buffer &output, size_t &consumed) {
    if ((m_flags & ZUTEXT_KEEP_SURROGATES) != 0) {
        return keepUtf8(block, output, consumed);
    }
    if (!output.reserve(block.size())) {
        return ZUTEXT_ERROR_MEMORY;
    }
    for (consumed = 0; consumed < block.size();) {
        const Bytes rest = block.subspan(consumed);
        const size_t length = wellFormedLength(rest);
        if (!output.append(rest.first(length))) {
            return ZUTEXT_ERROR_MEMORY;
        }
        consumed += length;
        if (consumed == block.size()) {
            break;
        }
        const Bytes bad = rest.subspan(length);
        Utf8Step step = stepThrough(bad);
        if (step.form == Form::cut) {
            step = last ? atEnd(step, bad) : step;
            if (step.form == Form::cut) {
                break;
            }
        }
        noteStep(step, bad, m_account.input_bytes + consumed);
        if (step.form == Form::pair ? !output.append(joinPair(bad).bytes) : !output.append(kReplacement)) {
            return ZUTEXT_ERROR_MEMORY;
        }
        consumed += step.length;
    }
    return ZUTEXT_OK;
}

// UTF-8 as the library bends it into shape; what is wrong with it is noted all the same.
int32_t Conversion::keepUtf8(Bytes block, Buffer &output, size_t &consumed) {
    if (const int32_t result = m_converter.convert(block, output, consumed); result != ZUTEXT_OK) {
        return result;
    }
    for (size_t at = 0; at < consumed;) {
        at += wellFormedLength(block.subspan(at, consumed - at));
        if (at >= consumed) {
            break;
        }
        const Utf8Step step = stepThrough(block.subspan(at));
        if (step.form != Form::wellFormed) {
            m_account.well_formed = 0;
            noteStep(step, block.subspan(at), m_account.input_bytes + at);
        }
        at += step.length;
    }
    return ZUTEXT_OK;
}

void Conversion::noteStep(Utf8Step step, Bytes text, uint64_t offset) {
    const int32_t kind = step.form == Form::pair        ? ZUTEXT_MENDED_PAIR
                         : step.form == Form::surrogate ? ZUTEXT_LOSS_SURROGATE
                                                        : ZUTEXT_LOSS_MALFORMED;
    noteLoss(m_account, kind, offset, text.first(step.length));
}

// The library writes each unit by itself, so that a character beyond U+FFFF arrives as two halves of three bytes.
int32_t Conversion::convertUtf16(Bytes block, bool last, Buffer &output, size_t &consumed) {
    const auto unitAt = [&](size_t at) {
        const bool little = m_encoding == ZU_CHARSET_CODETYPE_UCS16LE;
        return little ? block[at] | block[at + 1] << 8 : block[at] << 8 | block[at + 1];
    };
    size_t size = block.size() / 2 * 2;
    uint32_t halves = 0;
    for (size_t at = 0; at < size; at += 2) {
        halves |= (unitAt(at) & 0xF800) == 0xD800 ? 1 : 0;
    }
    if (halves != 0 && !last && (unitAt(size - 2) & 0xFC00) == 0xD800) {
        size -= 2; // its other half may follow
    }
    consumed = size;
    if (halves == 0) {
        return convertFully(block.first(size), output);
    }
    for (size_t at = 0; at < size; at += 2) {
        if ((unitAt(at) & 0xF800) != 0xD800) {
            continue;
        }
        if ((unitAt(at) & 0xFC00) == 0xD800 && at + 2 < size && (unitAt(at + 2) & 0xFC00) == 0xDC00) {
            at += 2;
        } else {
            noteLoss(m_account, ZUTEXT_LOSS_SURROGATE, m_account.input_bytes + at, block.subspan(at, 2));
        }
    }
    if ((m_flags & ZUTEXT_KEEP_SURROGATES) != 0) {
        m_account.well_formed = 0;
        return convertFully(block.first(size), output);
    }
    m_scratch.clear();
    if (const int32_t result = convertFully(block.first(size), m_scratch); result != ZUTEXT_OK) {
        return result;
    }
    return joinHalves(m_scratch.bytes(), output) ? ZUTEXT_OK : ZUTEXT_ERROR_MEMORY;
}

int32_t Conversion::convertBytes(Bytes block, bool last, Buffer &output, size_t &consumed) {
    const size_t start = output.size();
    const Bytes whole = block.first(block.size() - (last ? 0 : openEnd(m_encoding, block)));
    if (whole.empty()) {
        consumed = 0;
        return ZUTEXT_OK;
    }
    if (const int32_t result = m_converter.convert(whole, output, consumed); result != ZUTEXT_OK) {
        return result;
    }
    return m_losses.inspect(m_encoding, m_account.input_bytes, block.first(consumed), output.bytes().subspan(start),
                            m_account);
}

// Converts a text without a character that is cut off.
int32_t Conversion::convertFully(Bytes text, Buffer &output) {
    size_t consumed = 0;
    if (text.empty()) {
        return ZUTEXT_OK;
    }
    if (const int32_t result = m_converter.convert(text, output, consumed); result != ZUTEXT_OK) {
        return result;
    }
    return consumed == text.size() ? ZUTEXT_OK : ZUTEXT_ERROR_REFUSED;
}

// Sees to the mark at the start of the text, once the first bytes of it are there.
int32_t Conversion::begin(Buffer &output, size_t start) {
    if (m_begun || output.size() == start) {
        return ZUTEXT_OK;
    }
    m_begun = true;
    const Bytes text = output.bytes().subspan(start);
    m_account.wrong_byte_order = hasTrait(m_encoding, ZUTEXT_UNICODE) && startsWith(text, kSwappedMark) ? 1 : 0;
    const bool marked = startsWith(text, kMark);
    if (marked && (m_flags & ZUTEXT_STRIP_MARK) != 0) {
        output.remove(start, std::size(kMark));
        m_account.changed = 1;
    } else if (!marked && (m_flags & ZUTEXT_ADD_MARK) != 0) {
        m_account.changed = 1;
        return output.insert(start, kMark) ? ZUTEXT_OK : ZUTEXT_ERROR_MEMORY;
    }
    return ZUTEXT_OK;
}

} // namespace zutext
