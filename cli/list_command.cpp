#include "commands.h"

#include "encodings.h"
#include "errors.h"
#include "file_list.h"
#include "report.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace zucli {

namespace {

constexpr const char *kListFooter = R"(Names may be written in any case, with or without '-', '_' and spaces.
"utf-16", "ucs-2" and "unicode" follow a byte order mark and are little endian
without one.
)";

std::span<const zutext_language> allLanguages() {
    size_t count = 0;
    const zutext_language *languages = zutext_languages(&count);
    return {languages, count};
}

bool has(const zutext_encoding &encoding, uint32_t trait) { return (encoding.traits & trait) != 0; }

int listAsJson() {
    JsonWriter json;
    json.beginObject();
    json.beginArray("encodings");
    for (const zutext_encoding &encoding : allEncodings()) {
        json.beginObject();
        if (has(encoding, ZUTEXT_CONVERTIBLE)) {
            json.number("codeType", encoding.id);
        } else {
            json.null("codeType");
        }
        json.string("encoding", encoding.name);
        json.string("description", encoding.description);
        json.boolean("converted", has(encoding, ZUTEXT_CONVERTIBLE));
        json.boolean("detected", has(encoding, ZUTEXT_RECOGNISED));
        json.boolean("detectedPlain", has(encoding, ZUTEXT_NAMED_ALONE));
        json.strings("aliases", splitList(encoding.aliases, ' '));
        if (encoding.iconv_name != nullptr) {
            json.string("iconvName", encoding.iconv_name);
        }
        if (encoding.caveat != nullptr) {
            json.string("caveat", encoding.caveat);
        }
        json.endObject();
    }
    json.endArray();
    json.beginArray("languages");
    for (const zutext_language &language : allLanguages()) {
        json.beginObject();
        json.string("code", language.code);
        json.string("name", language.name);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    printOut(json.text() + "\n");
    return kExitOk;
}

void listConverted(std::ostringstream &text) {
    text << "code  encoding      --plain  description\n";
    for (const zutext_encoding &encoding : allEncodings()) {
        if (!has(encoding, ZUTEXT_CONVERTIBLE)) {
            continue;
        }
        text << std::right << std::setw(4) << encoding.id << "  " << std::left << std::setw(14) << encoding.name
             << std::setw(9) << (has(encoding, ZUTEXT_NAMED_ALONE) ? "yes" : "never") << encoding.description << "\n"
             << "      " << encoding.aliases << "\n";
        if (encoding.caveat != nullptr) {
            text << "      Its table is not complete: " << encoding.caveat << "\n";
        }
    }
    text << "\n--plain never: the library alone asks another encoding first that accepts the same\nbytes.\n";
}

void listKnown(std::ostringstream &text) {
    text << "\nKnown, but not converted; those with a * are recognised\n";
    for (const zutext_encoding &encoding : allEncodings()) {
        if (!has(encoding, ZUTEXT_CONVERTIBLE)) {
            text << (has(encoding, ZUTEXT_RECOGNISED) ? "   *  " : "      ") << std::left << std::setw(14)
                 << encoding.name << encoding.description << "\n";
        }
    }
}

void listLanguages(std::ostringstream &text) {
    constexpr size_t kColumn = 26;
    constexpr size_t kColumns = 3;
    text << "\nLanguages that --prefer takes\n";
    size_t column = 0;
    for (const zutext_language &language : allLanguages()) {
        const std::string entry = std::string(language.code) + " " + language.name;
        const bool last = ++column % kColumns == 0;
        text << (column % kColumns == 1 ? "      " : "") << entry
             << (last ? "\n" : std::string(kColumn - std::min(entry.size(), kColumn - 1), ' '));
    }
    text << (column % kColumns == 0 ? "" : "\n");
}

int listAsText() {
    std::ostringstream text;
    listConverted(text);
    listKnown(text);
    listLanguages(text);
    printOut(text.str());
    return kExitOk;
}

} // namespace

void addListCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("list", "Show the encodings with their names, and the languages");
    command->footer(kListFooter);
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Answer with one JSON document");
    command->callback([json, &chosen] { chosen = [json] { return *json ? listAsJson() : listAsText(); }; });
}

} // namespace zucli
