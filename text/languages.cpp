#include "languages.h"

#include "encodings.h"
#include "tables/reading_tables.h"

#include <algorithm>
#include <array>

namespace zutext {

namespace {

// Told by their encodings, not by pairs of letters.
constexpr zutext_language kWideLanguages[] = {{"ja", "Japanese"}, {"ko", "Korean"}, {"zh", "Chinese"}};

constexpr auto kAll = [] {
    std::array<zutext_language, std::size(kLanguages) + std::size(kWideLanguages)> all{};
    auto *end = std::transform(std::begin(kLanguages), std::end(kLanguages), all.begin(), [](const LanguageRow &row) {
        return zutext_language{row.code, row.name};
    });
    std::copy(std::begin(kWideLanguages), std::end(kWideLanguages), end);
    return all;
}();

} // namespace

std::span<const zutext_language> allLanguages() { return kAll; }

int32_t languageIndex(std::string_view name) {
    const auto *found = std::find_if(kAll.begin(), kAll.end(), [name](const zutext_language &each) {
        return sameName(each.code, name) || sameName(each.name, name);
    });
    return found == kAll.end() ? -1 : static_cast<int32_t>(found - kAll.begin());
}

} // namespace zutext

using namespace zutext;

const zutext_language *zutext_languages(size_t *count) {
    *count = kAll.size();
    return kAll.data();
}

const char *zutext_language_name(const char *code) {
    const int32_t index = code == nullptr ? -1 : languageIndex(code);
    return index < 0 ? nullptr : kAll[static_cast<size_t>(index)].name;
}
