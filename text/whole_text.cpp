// A text that is there as a whole.
#include "whole_text.h"
#include "conversion.h"
#include "memory.h"
#include "sampler.h"

namespace zutext {

int32_t judgeWhole(const Settings &settings, Bytes text, zutext_verdict &verdict) {
    Sampler sampler;
    Sampler::Next next = {};
    return sampler.advance(settings, text, 0, true, next, verdict);
}

} // namespace zutext

using namespace zutext;

int32_t zutext_detect(const uint8_t *bytes, size_t length, const zutext_options *options, zutext_verdict *verdict) {
    Settings settings;
    if ((bytes == nullptr && length > 0) || verdict == nullptr) {
        return ZUTEXT_ERROR_ARGUMENT;
    }
    *verdict = {};
    const int32_t result = readOptions(options, settings);
    return result != ZUTEXT_OK ? result : judgeWhole(settings, {bytes, length}, *verdict);
}

int32_t zutext_convert(const uint8_t *bytes, size_t length, const zutext_options *options, zutext_text *text) {
    if (text == nullptr) {
        return ZUTEXT_ERROR_ARGUMENT;
    }
    *text = {};
    int32_t result = zutext_detect(bytes, length, options, &text->verdict);
    if (result == ZUTEXT_OK) {
        result = resultOf(text->verdict);
    }
    Owned<Conversion> conversion;
    if (result == ZUTEXT_OK && !conversion) {
        result = ZUTEXT_ERROR_MEMORY;
    }
    if (result != ZUTEXT_OK) {
        return result;
    }
    Buffer output;
    if (length > 0) {
        result = conversion->start(text->verdict.encoding, options == nullptr ? 0 : options->flags);
        if (result == ZUTEXT_OK) {
            result = conversion->convert({bytes, length}, true, output);
        }
    }
    constexpr uint8_t kEnd[] = {0};
    if (result == ZUTEXT_OK && !output.append(kEnd)) {
        result = ZUTEXT_ERROR_MEMORY;
    }
    if (result == ZUTEXT_OK) {
        text->account = conversion->account();
        text->length = output.size() - 1;
        text->bytes = output.release();
    }
    return result;
}

void zutext_release(zutext_text *text) {
    if (text != nullptr) {
        std::free(text->bytes);
        text->bytes = nullptr;
        text->length = 0;
    }
}
