// Any bytes through libzutext: a whole text beside the same in pieces, and the facts behind its verdict.
// The first four bytes of an input are the options: encoding, flags, hint, length of a piece.
#include "fuzzing.h"
#include "zutext.h"

#include <cstring>
#include <string>

namespace {

// Decodes and encodes again: only the shortest form of a code point that is none of the surrogates comes back.
bool isWellFormed(const uint8_t *text, size_t length) {
    for (size_t at = 0; at < length;) {
        const uint8_t lead = text[at];
        const size_t size = lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
        if (size == 0 || at + size > length)
            return false;
        uint32_t point = size == 1 ? lead : lead & (0x7FU >> size);
        for (size_t i = 1; i < size; ++i)
            point = point << 6 | (text[at + i] & 0x3FU);
        uint8_t again[6];
        const bool same = ZU_CHARSET_UNICODEToUTF8code(point, again) == static_cast<int32_t>(size) &&
                          std::memcmp(again, text + at, size) == 0;
        if (!same || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000))
            return false;
        at += size;
    }
    return true;
}

void checkAccount(const zutext_account &account, size_t input, size_t output, bool keep) {
    CHECK(account.input_bytes == input && account.output_bytes == output);
    CHECK(account.place_count <= ZUTEXT_MOST_PLACES);
    uint64_t lost = 0;
    for (int kind = 0; kind < ZUTEXT_LOSS_KINDS; ++kind)
        lost += kind == ZUTEXT_MENDED_PAIR ? 0 : account.losses[kind];
    CHECK((lost > 0) == (account.text_lost != 0));
    for (uint32_t i = 0; i < account.place_count; ++i)
        CHECK(account.places[i].offset + account.places[i].length <= input &&
              (i == 0 || account.places[i].offset >= account.places[i - 1].offset));
    CHECK(keep || account.well_formed == 1);
}

// A whole text, then the same in pieces.
void checkRoads(const Bytes &input, const zutext_options &options, size_t piece, bool judgeAgain,
                zutext_verdict &verdict) {
    const bool keep = (options.flags & ZUTEXT_KEEP_SURROGATES) != 0;
    zutext_text whole;
    const int32_t result = zutext_convert(input.data(), input.size(), &options, &whole);
    verdict = whole.verdict;
    CHECK(result == (verdict.kind == ZUTEXT_KIND_BINARY        ? ZUTEXT_ERROR_NOT_TEXT
                     : verdict.kind == ZUTEXT_KIND_UNSUPPORTED ? ZUTEXT_ERROR_UNSUPPORTED
                                                               : ZUTEXT_OK));
    CHECK(verdict.reading_count >= 0 && verdict.reading_count <= ZUTEXT_MOST_READINGS);
    if (result == ZUTEXT_OK) {
        CHECK(keep || isWellFormed(whole.bytes, whole.length));
        CHECK(whole.bytes[whole.length] == 0);
        checkAccount(whole.account, input.size(), whole.length, keep);
        CHECK(whole.account.changed ==
              (whole.length != input.size() || std::memcmp(whole.bytes, input.data(), input.size()) != 0 ? 1 : 0));
    }

    zutext_options streamed = options;
    if (!judgeAgain && options.from == 0) {
        streamed.from = verdict.encoding; // 0 where there is none: judged again
        streamed.flags &= ~uint32_t{ZUTEXT_MARK_OPEN};
    }
    zutext_stream *stream = nullptr;
    CHECK(zutext_open(&streamed, &stream) == ZUTEXT_OK);
    zutext_output output = {};
    std::string text;
    int32_t step = ZUTEXT_OK;
    for (size_t at = 0; at < input.size() && step == ZUTEXT_OK; at += piece) {
        const Bytes part(input.begin() + static_cast<std::ptrdiff_t>(at),
                         input.begin() + static_cast<std::ptrdiff_t>(std::min(at + piece, input.size())));
        step = zutext_write(stream, part.data(), part.size(), &output);
        text.append(reinterpret_cast<const char *>(output.bytes), output.length);
    }
    if (step == ZUTEXT_OK) {
        step = zutext_finish(stream, &output);
        text.append(reinterpret_cast<const char *>(output.bytes), output.length);
    }
    CHECK(step == result);
    const zutext_verdict *again = zutext_verdict_of(stream);
    CHECK(again != nullptr && again->encoding == verdict.encoding &&
          (streamed.from != options.from || again->kind == verdict.kind));
    if (result == ZUTEXT_OK) {
        CHECK(keep || text == std::string(whole.bytes, whole.bytes + whole.length));
        checkAccount(*zutext_account_of(stream), input.size(), text.size(), keep);
    }
    zutext_close(stream);
    zutext_release(&whole);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    constexpr size_t kHead = 4;
    if (size < kHead)
        return 0;
    recording::keepLines(false);
    static const char *const hints[] = {nullptr,         nullptr, nullptr, "ru",
                                        "iso-8859-2,fr", "gbk",   "ja,zh", "windows-1256"};
    zutext_options options = {data[0] % 4 != 0 ? 0 : data[0] / 4 % 40, data[1] & 31U, data[1] / 32 * 100U,
                              hints[data[2] % 8]};
    if (zutext_encoding_of(options.from) == nullptr)
        options.from = 0;
    const Bytes input(data + kHead, data + size);
    const size_t piece = 1 + data[3];
    zutext_verdict verdict;
    if ((options.flags & ZUTEXT_ADD_MARK) != 0 && (options.flags & ZUTEXT_STRIP_MARK) != 0) {
        CHECK(zutext_detect(input.data(), input.size(), &options, &verdict) == ZUTEXT_ERROR_ARGUMENT);
        return 0;
    }

    // Judging takes nearly all of the time. In a search most texts are given an encoding, and the input as a whole
    // draws lots for what else is done: a byte of it would stay what it is from one input to those made of it.
    const std::string_view drawer(reinterpret_cast<const char *>(data), size);
    const size_t lot = std::hash<std::string_view>()(drawer) % 16;
    if (!SEARCHING || lot < 4)
        checkRoads(input, options, piece, !SEARCHING || lot == 0, verdict);
    if (!SEARCHING || lot == 1) { // works out every score
        zutext_explanation facts;
        CHECK(zutext_explain(input.data(), input.size(), &options, &facts) == ZUTEXT_OK);
        CHECK(facts.verdict.encoding == verdict.encoding);
        char preview[200];
        if (verdict.encoding != 0 && zutext_preview(input.data(), input.size(), verdict.encoding, 3, preview,
                                                    1 + data[2] % sizeof preview) == ZUTEXT_OK)
            CHECK(std::strlen(preview) <= data[2] % sizeof preview &&
                  isWellFormed(reinterpret_cast<const uint8_t *>(preview), std::strlen(preview)));
    }
    options.from = 1 + data[0] % 33;
    if ((!SEARCHING || lot >= 4) && zutext_encoding_of(options.from) != nullptr)
        checkRoads(input, options, piece, true, verdict);
    return 0;
}
