// Any bytes, between any two code types, in any parts.
// Input: source (3 more than the code type), destination (below E0: UTF-8), spare capacity, length of the parts, text.
#include "fuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 5)
        return 0;
    const int32_t source = data[0] % 40 - 3;
    const int32_t destination = data[1] < 0xE0 ? 2 : data[1] - 0xE1;
    const bool convertible = isCodeType(source) && destination == 2;
    const size_t spare = data[2];
    const size_t part = data[3] + size_t{1};
    const Bytes text(data + 4, data + size);

    // A handle for each source, which keeps its converter from one execution to the next, and one for what is refused.
    static ZU_CHARSET_HANDLE handles[34];
    ZU_CHARSET_HANDLE &handle = handles[convertible ? source : 0];
    if (handle == nullptr) {
        recording::keepLines(false);
        CHECK(g_stCharset_entry.pfnConverterFind(2, 2) == 0);
        CHECK(g_stCharset_entry.pfnConverterCreate(&handle, 0) == 0);
    }
    const Converted whole = convert(handle, text, 3 * text.size(), source, destination);
    CHECK((whole.result == 0) == convertible);
    if (!convertible)
        return 0;
    CHECK(text.size() - whole.consumed < 6); // no more than a sequence cut off

    // Squeezed, the text gives the characters that fit.
    const size_t capacity = text.size() - 1 + spare * (2 * text.size() + 2) / 255;
    const Converted squeezed = convert(handle, text, capacity, source, destination);
    CHECK((squeezed.result == 0) == (capacity >= text.size()));
    if (squeezed.result == 0) {
        const Bytes &fitting = squeezed.output;
        CHECK(fitting.size() <= whole.output.size());
        CHECK(std::equal(fitting.begin(), fitting.end(), whole.output.begin()));
        CHECK(squeezed.consumed == whole.consumed || capacity - fitting.size() < 6);
    }

    // In parts, each from where the one before stopped, it gives what it gives as a whole. The last part is the rest.
    Bytes joined;
    size_t at = 0;
    for (size_t count = 0, length = part, stuck = 0; at < whole.consumed; ++count) {
        const size_t end = count < 12 ? std::min(at + length, text.size()) : text.size();
        const Bytes piece(data + 4 + at, data + 4 + end);
        const size_t room = stuck > 0 || count >= 12 ? 3 * piece.size() : piece.size() + piece.size() * spare / 128;
        const Converted next = convert(handle, piece, room, source, destination);
        CHECK(next.result == 0);
        joined.insert(joined.end(), next.output.begin(), next.output.end());
        at += next.consumed;
        stuck = next.consumed > 0 ? 0 : stuck + 1;
        CHECK(stuck < 8);
        length = stuck > 0 ? length + 1 : part;
    }
    CHECK(at == whole.consumed && joined == whole.output);
    return 0;
}
