#include "verdicts.h"

#include "encodings.h"

#include <cstdint>

namespace zucli {

namespace {

std::string_view kindName(int32_t kind) {
    switch (kind) {
        case ZUTEXT_KIND_EMPTY:
            return "empty";
        case ZUTEXT_KIND_ASCII:
            return "ascii";
        case ZUTEXT_KIND_TEXT:
            return "text";
        case ZUTEXT_KIND_UNSUPPORTED:
            return "unsupported";
        default:
            return "binary";
    }
}

std::string_view hintName(int32_t hint) {
    switch (hint) {
        case ZUTEXT_HINT_AGREED:
            return "agreed";
        case ZUTEXT_HINT_DECIDED:
            return "decided";
        case ZUTEXT_HINT_UNDEFINED:
            return "undefined";
        case ZUTEXT_HINT_OUTWEIGHED:
            return "outweighed";
        default:
            return "none";
    }
}

void append(std::string &remark, const std::string &more) { remark += (remark.empty() ? "" : "; ") + more; }

std::string runnerUp(const zutext_verdict &verdict) {
    return verdict.reading_count > 1 ? readingName(verdict.readings[1]) : "";
}

void addEncoding(JsonWriter &json, int32_t encoding) {
    if (encoding == 0) {
        json.null("codeType");
        json.null("encoding");
        return;
    }
    if (hasTrait(encoding, ZUTEXT_CONVERTIBLE)) {
        json.number("codeType", encoding);
    } else {
        json.null("codeType");
    }
    json.string("encoding", nameOf(encoding));
}

void addOptional(JsonWriter &json, std::string_view key, const char *value) {
    if (value == nullptr) {
        json.null(key);
    } else {
        json.string(key, value);
    }
}

} // namespace

std::string readingName(const zutext_reading &reading) {
    const char *language = zutext_language_name(reading.language);
    return nameOf(reading.encoding) + (language == nullptr ? "" : " (" + std::string(language) + ")");
}

std::string_view decidedBy(const zutext_verdict &verdict) {
    switch (verdict.decided_by) {
        case ZUTEXT_BY_USER:
            return "--from";
        case ZUTEXT_BY_MARK:
            return "byte order mark";
        case ZUTEXT_BY_FORM:
            return "form";
        case ZUTEXT_BY_VOTE:
            return "vote";
        case ZUTEXT_BY_READING:
            return "reading";
        case ZUTEXT_BY_LIBRARY:
            return "library";
        default:
            return "nothing";
    }
}

std::string remarkOn(const zutext_verdict &verdict) {
    switch (verdict.kind) {
        case ZUTEXT_KIND_EMPTY:
            return "empty file";
        case ZUTEXT_KIND_ASCII:
            return "plain ASCII: every choice converts it alike";
        case ZUTEXT_KIND_BINARY:
            return verdict.what == nullptr ? "no text" : "no text but " + std::string(verdict.what);
        default:
            break;
    }
    std::string remark;
    if (const char *language = zutext_language_name(verdict.language); language != nullptr) {
        remark = language;
    }
    if (verdict.sure == 0 && verdict.decided_by != ZUTEXT_BY_USER) {
        append(remark, "not sure");
        if (const std::string other = runnerUp(verdict); !other.empty()) {
            remark += ", perhaps " + other;
        }
    } else if (verdict.decided_by == ZUTEXT_BY_READING || verdict.decided_by == ZUTEXT_BY_VOTE) {
        remark += remark.empty() ? "sure" : ", sure";
    }
    if (verdict.kind == ZUTEXT_KIND_UNSUPPORTED) {
        append(remark, "not converted here: " + otherTool(verdict.encoding));
    }
    if (verdict.hint == ZUTEXT_HINT_DECIDED) {
        append(remark, "by the hint");
    }
    if (verdict.whole == 0) {
        append(remark, "judged by " + std::to_string(verdict.sample_length) + " bytes from offset " +
                           std::to_string(verdict.sample_offset));
    }
    return remark;
}

std::string remarkOnHint(const zutext_verdict &verdict, std::string_view hint, std::string_view origin) {
    const std::string start = std::string(origin) + " " + printable(hint) + " was not followed: ";
    if (verdict.hint == ZUTEXT_HINT_UNDEFINED) {
        return start + "some bytes of the text have no meaning there";
    }
    if (verdict.hint == ZUTEXT_HINT_OUTWEIGHED) {
        return start + "the text speaks too clearly for " + nameOf(verdict.encoding);
    }
    return {};
}

std::string warningOn(const zutext_verdict &verdict) {
    if (verdict.sure != 0 || verdict.kind != ZUTEXT_KIND_TEXT || verdict.decided_by == ZUTEXT_BY_USER) {
        return {};
    }
    const std::string read = "not sure: read as " + readingName({verdict.encoding, 0, verdict.language});
    const std::string other = runnerUp(verdict);
    return read + (other.empty() ? "" : ", could be " + other) + "; 'zucharset explain' shows how it reads, --from " +
           "settles it";
}

void addVerdict(JsonWriter &json, const zutext_verdict &verdict) {
    json.string("kind", kindName(verdict.kind));
    addEncoding(json, verdict.encoding);
    addOptional(json, "language", verdict.language);
    addOptional(json, "languageName", zutext_language_name(verdict.language));
    json.boolean("sure", verdict.sure != 0);
    if (verdict.margin == INT32_MAX) {
        json.null("margin");
    } else {
        json.hundredths("margin", verdict.margin);
    }
    json.string("decidedBy", decidedBy(verdict));
    json.string("hint", hintName(verdict.hint));
    if (verdict.library_code_type == 0) {
        json.null("libraryCodeType");
    } else {
        json.number("libraryCodeType", verdict.library_code_type);
    }
    json.boolean("plainAscii", verdict.kind == ZUTEXT_KIND_ASCII);
    if (verdict.what != nullptr) {
        json.string("what", verdict.what);
    }
    json.number("sampleOffset", static_cast<int64_t>(verdict.sample_offset));
    json.number("sampledBytes", static_cast<int64_t>(verdict.sample_length));
    json.boolean("wholeFile", verdict.whole != 0);
    json.beginArray("readings");
    for (int32_t i = 0; i < verdict.reading_count; ++i) {
        const zutext_reading &reading = verdict.readings[i];
        json.beginObject();
        addEncoding(json, reading.encoding);
        addOptional(json, "language", reading.language);
        addOptional(json, "languageName", zutext_language_name(reading.language));
        json.hundredths("cost", reading.cost);
        json.endObject();
    }
    json.endArray();
}

} // namespace zucli
