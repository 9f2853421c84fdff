// A text on its way: what has come is held until it can be judged, then converted as it comes.
#include "conversion.h"
#include "memory.h"
#include "sampler.h"
#include "zutext.h"

struct zutext_stream {
    zutext::Settings settings;
    zutext::Sampler sampler;
    zutext::Buffer held;     // until the verdict stands
    uint64_t heldOffset = 0; // in the text
    bool judged = false;
    bool finished = false;
    int32_t error = ZUTEXT_OK; // what ended the stream
    zutext_verdict verdict = {};
    zutext::Conversion conversion;
    zutext::Buffer output;

    int32_t take(zutext::Bytes piece, bool last);
    int32_t passPlain();
    int32_t settle(bool last);
    [[nodiscard]] bool judgesOnly() const { return settings.has(ZUTEXT_JUDGE_ONLY); }
};

using namespace zutext;

// A ZUTEXT result.
int32_t zutext_stream::take(Bytes piece, bool last) {
    if (judged) {
        return judgesOnly() || verdict.kind == ZUTEXT_KIND_EMPTY ? ZUTEXT_OK : conversion.convert(piece, last, output);
    }
    if (!held.append(piece)) {
        return ZUTEXT_ERROR_MEMORY;
    }
    for (;;) {
        Sampler::Next next = {};
        if (const int32_t result = sampler.advance(settings, held.bytes(), heldOffset, last, next, verdict);
            result != ZUTEXT_OK) {
            return result;
        }
        if (next != Sampler::Next::pass) {
            return next == Sampler::Next::judged ? settle(last) : ZUTEXT_OK;
        }
        if (const int32_t result = passPlain(); result != ZUTEXT_OK) {
            return result;
        }
    }
}

// Gives out plain ASCII that lies too far back to matter for the verdict: every encoding reads it alike.
int32_t zutext_stream::passPlain() {
    const size_t length = sampler.passable();
    if (!judgesOnly()) {
        const uint32_t flags = settings.flags & ~uint32_t{ZUTEXT_KEEP_SURROGATES}; // which needs a converter
        int32_t result = conversion.start(ZU_CHARSET_CODETYPE_UTF8, flags);
        if (result == ZUTEXT_OK) {
            result = conversion.convert(held.bytes().first(length), false, output);
        }
        if (result != ZUTEXT_OK) {
            return result;
        }
    }
    held.removeFront(length);
    heldOffset += length;
    return ZUTEXT_OK;
}

// The verdict stands: what is held goes through the conversion.
int32_t zutext_stream::settle(bool last) {
    judged = true;
    if (judgesOnly() || verdict.kind == ZUTEXT_KIND_EMPTY) {
        return ZUTEXT_OK;
    }
    if (const int32_t result = resultOf(verdict); result != ZUTEXT_OK) {
        return result;
    }
    if (const int32_t result = conversion.start(verdict.encoding, settings.flags); result != ZUTEXT_OK) {
        return result;
    }
    const int32_t result = conversion.convert(held.bytes(), last, output);
    held.clear();
    return result;
}

namespace {

int32_t advance(zutext_stream *stream, Bytes piece, bool last, zutext_output *output) {
    if (stream == nullptr || stream->finished || (piece.data() == nullptr && !piece.empty()) ||
        (output == nullptr && !stream->judgesOnly())) {
        return ZUTEXT_ERROR_ARGUMENT;
    }
    stream->output.clear();
    if (stream->error == ZUTEXT_OK) {
        stream->error = stream->conversion.cancelled() ? ZUTEXT_ERROR_CANCELLED : stream->take(piece, last);
    }
    stream->finished = last;
    if (output != nullptr) {
        const bool good = stream->error == ZUTEXT_OK;
        *output = {good ? stream->output.data() : nullptr, good ? stream->output.size() : 0};
    }
    return stream->error;
}

} // namespace

int32_t zutext_open(const zutext_options *options, zutext_stream **stream) {
    Settings settings;
    if (const int32_t result = stream == nullptr ? ZUTEXT_ERROR_ARGUMENT : readOptions(options, settings);
        result != ZUTEXT_OK) {
        return result;
    }
    auto *created = make<zutext_stream>();
    if (created == nullptr) {
        return ZUTEXT_ERROR_MEMORY;
    }
    created->settings = settings;
    *stream = created;
    return ZUTEXT_OK;
}

int32_t zutext_write(zutext_stream *stream, const uint8_t *bytes, size_t length, zutext_output *output) {
    return advance(stream, {bytes, length}, false, output);
}

int32_t zutext_finish(zutext_stream *stream, zutext_output *output) { return advance(stream, {}, true, output); }

const zutext_verdict *zutext_verdict_of(const zutext_stream *stream) {
    return stream != nullptr && stream->judged ? &stream->verdict : nullptr;
}

const zutext_account *zutext_account_of(const zutext_stream *stream) {
    return stream == nullptr ? nullptr : &stream->conversion.account();
}

void zutext_cancel(zutext_stream *stream) {
    if (stream != nullptr) {
        stream->conversion.cancel();
    }
}

void zutext_close(zutext_stream *stream) { destroy(stream); }
