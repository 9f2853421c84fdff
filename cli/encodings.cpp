#include "encodings.h"

#include "errors.h"
#include "file_list.h"
#include "report.h"

#include <array>

namespace zucli {

namespace {

std::string didYouMean(std::string_view name, bool languages) {
    std::array<char, 200> names = {};
    zutext_near_names(name.data(), name.size(), languages ? 1 : 0, names.data(), names.size());
    return names[0] == '\0' ? "" : "; did you mean " + std::string(names.data()) + "?";
}

bool isPreference(const std::string &name) {
    zutext_options options = {};
    options.prefer = name.c_str();
    zutext_verdict verdict = {};
    return zutext_detect(nullptr, 0, &options, &verdict) == ZUTEXT_OK;
}

} // namespace

std::span<const zutext_encoding> allEncodings() {
    size_t count = 0;
    const zutext_encoding *encodings = zutext_encodings(&count);
    return {encodings, count};
}

std::string nameOf(int32_t encoding) {
    const zutext_encoding *found = zutext_encoding_of(encoding);
    return found != nullptr ? found->name : "encoding " + std::to_string(encoding);
}

bool hasTrait(int32_t encoding, uint32_t trait) {
    const zutext_encoding *found = zutext_encoding_of(encoding);
    return found != nullptr && (found->traits & trait) != 0;
}

NamedEncoding parseEncoding(const std::string &name) {
    const std::string bare = name.substr(0, name.find("//"));
    int32_t markOpen = 0;
    const zutext_encoding *found = zutext_find_encoding(bare.data(), bare.size(), &markOpen);
    if (found == nullptr) {
        throw CommandError(kExitUsage, "unknown encoding '" + printable(name) + "'" + didYouMean(bare, false) +
                                           " ('zucharset list' shows every encoding)");
    }
    if ((found->traits & ZUTEXT_CONVERTIBLE) == 0) {
        throw CommandError(kExitUsage,
                           std::string(found->name) + " is known, but not supported here; " + otherTool(found->id));
    }
    return {found->id, markOpen != 0};
}

std::string otherTool(int32_t encoding) {
    const zutext_encoding *found = zutext_encoding_of(encoding);
    return found != nullptr && found->iconv_name != nullptr
               ? "'iconv -f " + std::string(found->iconv_name) + " -t UTF-8' converts it"
               : "another tool must convert it";
}

void checkPreferences(const std::string &list, std::string_view origin) {
    for (const std::string &name : splitList(list)) {
        if (!isPreference(name)) {
            throw CommandError(kExitUsage, std::string(origin) + ": '" + printable(name) +
                                               "' is neither an encoding nor a language" + didYouMean(name, true) +
                                               " ('zucharset list' shows both)");
        }
    }
}

} // namespace zucli
