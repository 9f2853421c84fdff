#include "commands.h"

#include "encoding_names.h"
#include "errors.h"
#include "report.h"
#include "zucharset.h"

#include <sstream>

#include <iomanip>

namespace zucli {

namespace {

constexpr const char *kFooter = R"(Names may be written in any case, with or without '-', '_' and spaces.
"utf-16", "ucs-2" and "unicode" follow a byte order mark and are little endian
without one.
)";

int listAsJson() {
    JsonWriter json;
    json.beginObject();
    json.beginArray("encodings");
    for (const Encoding &encoding : allEncodings()) {
        json.beginObject();
        json.number("codeType", encoding.codeType);
        json.string("encoding", encoding.name);
        json.string("description", encoding.description);
        json.boolean("detected", encoding.reported);
        json.beginArray("aliases");
        std::istringstream aliases{std::string(encoding.aliases)};
        for (std::string alias; aliases >> alias;) {
            json.string({}, alias);
        }
        json.endArray();
        json.endObject();
    }
    json.endArray();
    json.endObject();
    printOut(json.text() + "\n");
    return kExitOk;
}

int listAsText() {
    std::ostringstream text;
    text << "code  encoding      detected  description\n";
    for (int32_t codeType = ZU_CHARSET_GetMinCodetype(); codeType <= ZU_CHARSET_GetMaxCodetype(); ++codeType) {
        text << std::setw(4) << codeType << "  ";
        const Encoding *encoding = findByCodeType(codeType);
        if (encoding == nullptr) {
            text << "(not assigned)\n";
            continue;
        }
        text << std::left << std::setw(14) << encoding->name << std::setw(10) << (encoding->reported ? "yes" : "never")
             << encoding->description << "\n"
             << std::right << std::string(6, ' ') << encoding->aliases << "\n";
    }
    text << "\n'never': another encoding that accepts the same bytes is asked first. Such an encoding can be named\n"
            "with --from, or as a hint with --prefer.\n";
    printOut(text.str());
    return kExitOk;
}

} // namespace

void addListCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("list", "Show the code types with their names and aliases");
    command->footer(kFooter);
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Answer with one JSON document");
    command->callback([json, &chosen] { chosen = [json] { return *json ? listAsJson() : listAsText(); }; });
}

} // namespace zucli
