#include "text_stream.h"

#include "encodings.h"

namespace zucli {

void throwFailure(int32_t result, const zutext_verdict *verdict) {
    if (result == ZUTEXT_ERROR_NOT_TEXT && verdict != nullptr && verdict->what != nullptr) {
        throw TextError(kExitRefused,
                        "is no text but " + std::string(verdict->what) + "; --from NAME converts it all the same");
    }
    if (result == ZUTEXT_ERROR_UNSUPPORTED && verdict != nullptr) {
        throw TextError(kExitRefused, "looks like " + nameOf(verdict->encoding) + ", which is not converted here; " +
                                          otherTool(verdict->encoding) + "; --from NAME overrules this");
    }
    const std::string reason = zutext_error_text(result);
    if (result == ZUTEXT_ERROR_REFUSED) {
        throw TextError(kExitRefused, reason + "; VEMORA_LOG=2 in the environment shows why");
    }
    throw TextError(kExitInternal, reason);
}

TextStream::TextStream(const zutext_options &options) {
    zutext_stream *stream = nullptr;
    if (const int32_t result = zutext_open(&options, &stream); result != ZUTEXT_OK) {
        throwFailure(result, nullptr);
    }
    m_stream.reset(stream);
}

Bytes TextStream::write(Bytes piece) {
    zutext_output output = {};
    return checked(zutext_write(m_stream.get(), piece.data(), piece.size(), &output), output);
}

Bytes TextStream::finish() {
    zutext_output output = {};
    return checked(zutext_finish(m_stream.get(), &output), output);
}

Bytes TextStream::checked(int32_t result, const zutext_output &output) const {
    if (result != ZUTEXT_OK) {
        throwFailure(result, verdict());
    }
    return {output.bytes, output.length};
}

} // namespace zucli
