#include "convert_report.h"

#include "zucharset.h"

namespace zucli {

namespace {

std::string counted(uint64_t count, std::string_view singular, std::string_view plural) {
    return std::to_string(count) + " " + std::string(count == 1 ? singular : plural);
}

std::string_view jsonName(Damage damage) {
    switch (damage) {
        case Damage::replaced:
            return "replaced";
        case Damage::dropped:
            return "dropped";
        case Damage::rewritten:
            return "rewritten";
        case Damage::surrogate:
            break;
    }
    return "surrogate";
}

std::string explanation(Damage damage, uint64_t count) {
    switch (damage) {
        case Damage::replaced:
            return counted(count, "character", "characters") + " became U+FFFD";
        case Damage::dropped:
            return counted(count, "undefined byte", "undefined bytes") + " dropped";
        case Damage::rewritten:
            return counted(count, "malformed sequence", "malformed sequences") + " rewritten";
        case Damage::surrogate:
            break;
    }
    return counted(count, "surrogate half", "surrogate halves") +
           " written singly, which is not well-formed UTF-8 (--join-surrogates makes it so)";
}

void printDamage(const ConvertOutcome &outcome) {
    for (size_t kind = 0; kind < kDamageKinds; ++kind) {
        const auto damage = static_cast<Damage>(kind);
        const uint64_t count = outcome.losses.count(damage);
        if (count == 0) {
            continue;
        }
        std::string places;
        for (const DamagedPlace &place : outcome.losses.firstPlaces()) {
            if (place.damage == damage) {
                places += places.empty() ? ": offset " : ", ";
                places += std::to_string(place.offset) + " (" + hexBytes(place.bytes) + ")";
            }
        }
        printMessage(printable(outcome.file) + ": " + (outcome.losses.gaveUp() ? "at least " : "") +
                     explanation(damage, count) + places);
    }
}

void printRemarks(const ConvertOutcome &outcome) {
    const std::string file = printable(outcome.file) + ": ";
    printDamage(outcome);
    if (outcome.losses.textLost()) {
        printMessage(file + "if " + nameOf(outcome.guess.codeType) +
                     " is wrong, name the encoding with --from or give a hint with --prefer");
    }
    if (outcome.surrogatesAlone > 0) {
        printMessage(file + counted(outcome.surrogatesAlone, "surrogate half", "surrogate halves") +
                     " without a partner; the output is not well-formed UTF-8 there");
    }
    if (outcome.wrongByteOrder) {
        printMessage(file + "the byte order mark belongs to the other byte order; try --from " +
                     (outcome.guess.codeType == ZU_CHARSET_CODETYPE_UCS16LE ? "utf-16be" : "utf-16le"));
    }
    if (!outcome.leftover.empty()) {
        printMessage(file + counted(outcome.leftover.size(), "byte", "bytes") + " left unconverted at offset " +
                     std::to_string(outcome.inputBytes) + ": " + hexBytes(outcome.leftover) +
                     " (the end of the file cuts off a character)");
    }
    if (outcome.textLost() && !outcome.written && !outcome.unchanged) {
        printMessage(file + "not written, because of --strict");
    }
}

} // namespace

void ConvertSummary::add(const ConvertOutcome &outcome) {
    ++files;
    written += outcome.written ? 1 : 0;
    unchanged += outcome.unchanged ? 1 : 0;
    textLost += outcome.textLost() ? 1 : 0;
    failed += outcome.error.empty() ? 0 : 1;
}

void printOutcome(const ConvertOutcome &outcome, bool quiet) {
    if (!outcome.error.empty()) {
        printMessage(outcome.error + (outcome.wholeOrNothing ? " (nothing was written)" : ""));
        return;
    }
    printRemarks(outcome);
    if (quiet || outcome.output == "-") {
        return;
    }
    std::string line = printable(outcome.file) + ": ";
    line += outcome.guess.codeType == 0 ? "empty" : nameOf(outcome.guess.codeType);
    if (const std::string remark = remarkOn(outcome.guess); outcome.guess.codeType != 0 && !remark.empty()) {
        line += " (" + remark + ")";
    }
    if (outcome.unchanged) {
        line += outcome.guess.codeType == 0 ? ", left as it is" : ", already UTF-8, left as it is";
    } else if (outcome.written) {
        line += " -> " + printable(outcome.output);
        line += outcome.backup.empty() ? "" : ", original kept as " + printable(outcome.backup);
    } else {
        line += ", not written";
    }
    printOut(line + "\n");
}

void printSummary(const ConvertSummary &summary) {
    printOut(counted(summary.files, "file", "files") + ": " + std::to_string(summary.written) + " converted, " +
             std::to_string(summary.unchanged) + " left as they were, " + std::to_string(summary.failed) +
             " failed; text lost in " + std::to_string(summary.textLost) + "\n");
}

void addOutcome(JsonWriter &json, const ConvertOutcome &outcome) {
    json.beginObject();
    json.fileName("file", outcome.file);
    json.number("exitCode", outcome.exitCode);
    if (!outcome.error.empty()) {
        json.string("error", outcome.error);
        json.endObject();
        return;
    }
    addGuess(json, outcome.guess);
    json.fileName("output", outcome.output);
    json.boolean("written", outcome.written);
    json.boolean("unchanged", outcome.unchanged);
    if (!outcome.backup.empty()) {
        json.fileName("backup", outcome.backup);
    }
    json.number("inputBytes", static_cast<int64_t>(outcome.inputBytes + outcome.leftover.size()));
    json.number("outputBytes", static_cast<int64_t>(outcome.outputBytes));
    json.beginObject("damage");
    for (size_t kind = 0; kind < kDamageKinds; ++kind) {
        const auto damage = static_cast<Damage>(kind);
        json.number(jsonName(damage), static_cast<int64_t>(outcome.losses.count(damage)));
    }
    json.boolean("complete", !outcome.losses.gaveUp());
    json.number("surrogateAlone", static_cast<int64_t>(outcome.surrogatesAlone));
    json.beginArray("first");
    for (const DamagedPlace &place : outcome.losses.firstPlaces()) {
        json.beginObject();
        json.string("kind", jsonName(place.damage));
        json.number("offset", static_cast<int64_t>(place.offset));
        json.string("bytes", hexBytes(place.bytes));
        json.endObject();
    }
    json.endArray();
    json.endObject();
    json.boolean("wrongByteOrder", outcome.wrongByteOrder);
    if (!outcome.leftover.empty()) {
        json.beginObject("leftover");
        json.number("offset", static_cast<int64_t>(outcome.inputBytes));
        json.string("bytes", hexBytes(outcome.leftover));
        json.endObject();
    }
    json.endObject();
}

void addSummary(JsonWriter &json, const ConvertSummary &summary) {
    json.beginObject("summary");
    json.number("files", static_cast<int64_t>(summary.files));
    json.number("written", static_cast<int64_t>(summary.written));
    json.number("unchanged", static_cast<int64_t>(summary.unchanged));
    json.number("textLost", static_cast<int64_t>(summary.textLost));
    json.number("failed", static_cast<int64_t>(summary.failed));
    json.endObject();
}

} // namespace zucli
