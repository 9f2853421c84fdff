#include "convert_report.h"

#include "encodings.h"
#include "verdicts.h"

#include <array>
#include <span>

namespace zucli {

namespace {

struct LossKind {
    std::string_view key; // in JSON
    std::string_view singular;
    std::string_view plural;
};

// In the order of ZUTEXT_LOSS_...
constexpr auto kLossKinds = std::to_array<LossKind>({
    {"replaced", "character without a meaning became U+FFFD", "characters without a meaning became U+FFFD"},
    {"dropped", "undefined byte dropped", "undefined bytes dropped"},
    {"malformed", "sequence that is not UTF-8 became U+FFFD", "sequences that are not UTF-8 became U+FFFD"},
    {"surrogate", "surrogate half alone", "surrogate halves alone"},
    {"misread", "code that others read otherwise", "codes that others read otherwise"},
    {"cut", "character cut off by the end of the file", "characters cut off by the end of the file"},
    {"mended", "surrogate pair in UTF-8 became one character", "surrogate pairs in UTF-8 became one character each"},
});
static_assert(kLossKinds.size() == ZUTEXT_LOSS_KINDS);

std::string hexOf(const zutext_place &place) {
    return hexBytes({reinterpret_cast<const char *>(place.bytes), place.length});
}

std::span<const zutext_place> placesOf(const zutext_account &account) { return {account.places, account.place_count}; }

void printLosses(const std::string &file, const zutext_account &account) {
    for (size_t kind = 0; kind < kLossKinds.size(); ++kind) {
        if (account.losses[kind] == 0) {
            continue;
        }
        std::string places;
        for (const zutext_place &place : placesOf(account)) {
            if (place.kind == static_cast<int32_t>(kind)) {
                places += places.empty() ? ": offset " : ", ";
                places += std::to_string(place.offset) + " (" + hexOf(place) + ")";
            }
        }
        printMessage(file + (account.complete == 0 ? "at least " : "") +
                     counted(account.losses[kind], kLossKinds[kind].singular, kLossKinds[kind].plural) + places);
    }
}

// What can be done about lost text. Never what was just done.
void printAdvice(const std::string &file, const ConvertOutcome &outcome, const ReportSettings &settings) {
    const zutext_encoding *encoding = zutext_encoding_of(outcome.verdict.encoding);
    const auto *losses = outcome.account.losses;
    if (encoding == nullptr) {
        return;
    }
    const std::string name = encoding->name;
    if (losses[ZUTEXT_LOSS_MISREAD] > 0 && encoding->id == kGbk) {
        printMessage(file + "it may be GB18030; 'iconv -f GB18030 -t UTF-8' converts that");
    } else if (encoding->caveat != nullptr && losses[ZUTEXT_LOSS_REPLACED] + losses[ZUTEXT_LOSS_DROPPED] > 0) {
        printMessage(file + "the table of " + name + " is not complete: " + encoding->caveat);
    }
    if (outcome.account.wrong_byte_order != 0) {
        printMessage(file + "the byte order mark belongs to the other byte order; try --from " +
                     (encoding->id == kUtf16LittleEndian ? "utf-16be" : "utf-16le"));
    } else if (settings.fromGiven) {
        printMessage(file + "if it is not " + name + ", 'zucharset explain' shows what else it could be");
    } else {
        const bool hintHelps = (encoding->traits & ZUTEXT_SINGLE_BYTE) != 0 && settings.hint.empty();
        printMessage(file + "if " + name + " is wrong, name the encoding with --from" +
                     (hintHelps ? " or give a hint with --prefer" : ""));
    }
}

void printRemarks(const ConvertOutcome &outcome, const ReportSettings &settings) {
    const std::string file = printable(outcome.file) + ": ";
    printLosses(file, outcome.account);
    if (outcome.textLost() || outcome.account.wrong_byte_order != 0) {
        printAdvice(file, outcome, settings);
    }
    if (outcome.account.well_formed == 0) {
        printMessage(file + "the output is not well-formed UTF-8, because of --keep-surrogates");
    }
    if (const std::string warning = warningOn(outcome.verdict); !warning.empty()) {
        printMessage(file + warning);
    }
    if (const std::string remark = remarkOnHint(outcome.verdict, settings.hint, settings.hintOrigin); !remark.empty()) {
        printMessage(file + remark);
    }
    if (outcome.refusedByStrict) {
        printMessage(file + "not written, because of --strict");
    }
}

std::string lineFor(const ConvertOutcome &outcome) {
    const bool empty = outcome.verdict.kind == ZUTEXT_KIND_EMPTY;
    std::string line = printable(outcome.file) + ": " + (empty ? "empty" : nameOf(outcome.verdict.encoding));
    if (const std::string remark = remarkOn(outcome.verdict); !empty && !remark.empty()) {
        line += " (" + remark + ")";
    }
    if (outcome.unchanged) {
        return line + (empty ? ", left as it is" : ", already UTF-8, left as it is");
    }
    if (outcome.refusedByStrict) {
        return line + ", not written";
    }
    line += " -> " + printable(outcome.output) + (outcome.dryRun ? " (dry run, not written)" : "");
    return line + (outcome.backup.empty() ? "" : ", original kept as " + printable(outcome.backup));
}

} // namespace

void ConvertSummary::add(const ConvertOutcome &outcome) {
    ++files;
    failed += outcome.failed() ? 1 : 0;
    if (outcome.failed()) {
        return;
    }
    written += outcome.written ? 1 : 0;
    wouldWrite += outcome.dryRun && !outcome.unchanged && !outcome.refusedByStrict ? 1 : 0;
    unchanged += outcome.unchanged ? 1 : 0;
    textLost += outcome.textLost() ? 1 : 0;
    unsure += warningOn(outcome.verdict).empty() ? 0 : 1;
}

void printOutcome(const ConvertOutcome &outcome, const ReportSettings &settings) {
    if (outcome.failed()) {
        printMessage(outcome.error + (outcome.wholeOrNothing ? " (nothing was written)" : ""));
        return;
    }
    printRemarks(outcome, settings);
    if (!settings.quiet && (outcome.output != "-" || outcome.dryRun)) {
        printOut(lineFor(outcome) + "\n");
    }
}

void printSummary(const ConvertSummary &summary) {
    const std::string converted = summary.wouldWrite > 0 ? std::to_string(summary.wouldWrite) + " would be converted, "
                                                         : std::to_string(summary.written) + " converted, ";
    printOut(counted(summary.files, "file", "files") + ": " + converted + std::to_string(summary.unchanged) +
             " left as they were, " + std::to_string(summary.failed) + " failed; text lost in " +
             std::to_string(summary.textLost) + ", not sure of " + std::to_string(summary.unsure) + "\n");
}

void addOutcome(JsonWriter &json, const ConvertOutcome &outcome) {
    const zutext_account &account = outcome.account;
    json.beginObject();
    json.fileName("file", outcome.file);
    json.number("exitCode", outcome.exitCode);
    if (outcome.failed()) {
        json.string("error", outcome.error);
    }
    if (outcome.failed() && outcome.exitCode != kExitRefused) {
        json.endObject();
        return;
    }
    addVerdict(json, outcome.verdict);
    json.fileName("output", outcome.output);
    json.boolean("written", outcome.written);
    json.boolean("dryRun", outcome.dryRun);
    json.boolean("unchanged", outcome.unchanged);
    if (!outcome.backup.empty()) {
        json.fileName("backup", outcome.backup);
    }
    json.number("inputBytes", static_cast<int64_t>(account.input_bytes));
    json.number("outputBytes", static_cast<int64_t>(account.output_bytes));
    json.boolean("textLost", account.text_lost != 0);
    json.boolean("wellFormed", account.well_formed != 0);
    json.boolean("wrongByteOrder", account.wrong_byte_order != 0);
    json.beginObject("losses");
    for (size_t kind = 0; kind < kLossKinds.size(); ++kind) {
        json.number(kLossKinds[kind].key, static_cast<int64_t>(account.losses[kind]));
    }
    json.boolean("complete", account.complete != 0);
    json.beginArray("first");
    for (const zutext_place &place : placesOf(account)) {
        json.beginObject();
        json.string("kind", kLossKinds[static_cast<size_t>(place.kind)].key);
        json.number("offset", static_cast<int64_t>(place.offset));
        json.string("bytes", hexOf(place));
        json.endObject();
    }
    json.endArray();
    json.endObject();
    json.endObject();
}

void addSummary(JsonWriter &json, const ConvertSummary &summary) {
    json.beginObject("summary");
    json.number("files", static_cast<int64_t>(summary.files));
    json.number("written", static_cast<int64_t>(summary.written));
    json.number("unchanged", static_cast<int64_t>(summary.unchanged));
    json.number("textLost", static_cast<int64_t>(summary.textLost));
    json.number("unsure", static_cast<int64_t>(summary.unsure));
    json.number("failed", static_cast<int64_t>(summary.failed));
    json.endObject();
}

} // namespace zucli
