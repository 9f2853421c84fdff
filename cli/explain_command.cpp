// Lays out the facts that libzutext gives of an answer.
#include "commands.h"

#include "encodings.h"
#include "errors.h"
#include "input_file.h"
#include "report.h"
#include "text_stream.h"
#include "verdicts.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <memory>
#include <sstream>

namespace zucli {

namespace {

constexpr const char *kExplainFooter = R"(First the library's own detection: the scores of the multibyte vote, of which
the highest wins if it reaches 66, and of equal ones the upper; if the winner
names no encoding, the single-byte tests in their order, of which the first that
accepts decides. Then how the text reads: every reading that makes sense of it,
the likeliest first, with what it costs more than the first, and what decides
between the first two. Last the answer, and how to overrule it.

Examples:
  zucharset explain movie.srt
  zucharset convert --from windows-1251 -o movie.utf8.srt movie.srt

Exit codes: 0 all right, 2 wrong usage, 3 the file cannot be read, 4 standard
output cannot be written.
)";

constexpr int kPointsPerColumn = 2;
constexpr int kBarColumns = 110 / kPointsPerColumn; // no score is above 109
constexpr int kThresholdColumn = ZUTEXT_SCORE_NEEDED / kPointsPerColumn;

std::string barOf(int score) {
    const int length = std::max(score, 0) / kPointsPerColumn;
    std::string bar;
    for (int column = 0; column < kBarColumns; ++column) {
        const char empty = column == kThresholdColumn ? '|' : ' ';
        bar += column < length ? '#' : empty;
    }
    bar.erase(bar.find_last_not_of(' ') + 1);
    return bar;
}

std::string chartOf(const zutext_explanation &facts) {
    std::ostringstream chart;
    chart << "Scores of the multibyte vote; 66, at the line, is needed\n";
    for (const zutext_score &score : facts.scores) {
        chart << (score.won != 0 ? "> " : "  ") << std::left << std::setw(12) << score.name << std::right
              << std::setw(4) << score.score << "  " << barOf(score.score) << "\n";
    }
    const auto *winner = std::ranges::find_if(facts.scores, [](const zutext_score &score) { return score.won != 0; });
    if (winner == std::end(facts.scores)) {
        chart << "No score reaches 66, so the single-byte tests decide.\n";
    } else if (winner->encoding != 0) {
        chart << winner->name << " wins and names code type " << winner->encoding << ", " << nameOf(winner->encoding)
              << ".\n";
    } else {
        chart << winner->name << " wins, which names no encoding here, so the single-byte tests decide.\n";
    }
    return chart.str();
}

std::string refusalOf(const zutext_test &test) {
    if (test.byte >= 0) {
        std::ostringstream refusal;
        refusal << "undefined byte " << std::hex << std::uppercase << std::setw(2) << std::setfill('0') << test.byte
                << std::dec << " at offset " << test.refused;
        return refusal.str();
    }
    return hasTrait(test.encoding, ZUTEXT_UNICODE)
               ? "no byte order mark, no separator, and 90 of 100 bytes or more not ASCII in UTF-16"
               : "too many signs and symbols";
}

std::string cascadeOf(const zutext_explanation &facts) {
    std::ostringstream cascade;
    cascade << "\nSingle-byte tests in their order\n";
    for (const zutext_test &test : facts.tests) {
        cascade << (test.decided != 0 ? "> " : "  ") << std::left << std::setw(14) << nameOf(test.encoding)
                << (test.accepted != 0 ? "accepts: code type " + std::to_string(test.encoding)
                                       : "refuses: " + refusalOf(test))
                << "\n";
        if (test.decided != 0) {
            break;
        }
    }
    return cascade.str();
}

// Two lines of the text in an encoding, indented; empty where it cannot be shown.
std::string previewIn(int32_t encoding, Bytes text) {
    constexpr uint32_t kLines = 2;
    std::array<char, 2048> lines = {};
    if (zutext_preview(text.data(), text.size(), encoding, kLines, lines.data(), lines.size()) != ZUTEXT_OK) {
        return {};
    }
    std::istringstream input(lines.data());
    std::string preview;
    for (std::string line; std::getline(input, line);) {
        preview += "      " + printable(line) + "\n";
    }
    return preview;
}

std::string hundredths(int32_t value) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << value / 100.0;
    return text.str();
}

std::string readingsOf(const zutext_verdict &verdict, Bytes text) {
    std::string list;
    for (int32_t i = 0; i < verdict.reading_count; ++i) {
        const zutext_reading &reading = verdict.readings[i];
        list += (i == 0 ? "> " : "  ") + readingName(reading) +
                (i == 0 ? "" : ", costs " + hundredths(reading.cost) + " more") + "\n" +
                previewIn(reading.encoding, text);
    }
    return list.empty() ? "" : "\nHow the text reads, the likeliest first; 4.00 more is sure\n" + list;
}

std::string differencesOf(const zutext_explanation &facts) {
    if (facts.difference_count == 0) {
        return {};
    }
    const zutext_verdict &verdict = facts.verdict;
    std::ostringstream text;
    text << "\nWhat decides between " << nameOf(verdict.readings[0].encoding) << " and "
         << nameOf(verdict.readings[1].encoding) << "\n";
    for (uint32_t i = 0; i < facts.difference_count; ++i) {
        const zutext_difference &difference = facts.differences[i];
        text << "  0x" << std::hex << std::uppercase << difference.byte << std::dec << " reads "
             << printable(difference.first) << " in " << counted(difference.words, "word", "words") << ", or "
             << printable(difference.second) << "\n";
    }
    return text.str();
}

std::string unitsOf(const zutext_explanation &facts) {
    if (facts.utf16_units == 0) {
        return {};
    }
    return "\nOf " + std::to_string(facts.utf16_units) + " units of 16 bits " + std::to_string(facts.utf16_ascii) +
           " are ASCII and " + std::to_string(facts.utf16_letters) + " other letters of one script.\n";
}

std::string overruling(const zutext_verdict &verdict, const std::string &path) {
    if (path == "-") {
        return {};
    }
    const std::span<const zutext_reading> readings(verdict.readings, static_cast<size_t>(verdict.reading_count));
    const auto other = std::ranges::find_if(readings, [&verdict](const zutext_reading &reading) {
        return reading.encoding != verdict.encoding && hasTrait(reading.encoding, ZUTEXT_CONVERTIBLE);
    });
    const std::string name = other == readings.end() ? "NAME" : nameOf(other->encoding);
    return "To overrule it: zucharset convert --from " + shellWord(name) + " " + shellWord(path) +
           (other == readings.end() ? "  ('zucharset list' shows the names)\n" : "\n");
}

std::string conclusionOf(const zutext_verdict &verdict, const std::string &path) {
    std::string text = "\nThe answer: ";
    text += verdict.encoding == 0 ? "no encoding" : nameOf(verdict.encoding);
    if (const std::string remark = remarkOn(verdict); !remark.empty()) {
        text += " (" + remark + ")";
    }
    text += ", decided by: " + std::string(decidedBy(verdict)) + "\n";
    if (verdict.library_code_type != 0) {
        text += "The library alone (--plain): " + nameOf(verdict.library_code_type) + "\n";
    }
    return text + (verdict.kind == ZUTEXT_KIND_ASCII ? "" : overruling(verdict, path));
}

int explain(const std::string &path, DetectionOptions &options) {
    options.complete();
    InputFile input(path);
    const Bytes text = input.peek(std::numeric_limits<size_t>::max());
    const zutext_options textOptions = options.textOptions();
    const auto facts = std::make_unique<zutext_explanation>();
    if (const int32_t result = zutext_explain(text.data(), text.size(), &textOptions, facts.get());
        result != ZUTEXT_OK) {
        throwFailure(result, nullptr);
    }
    const zutext_verdict &verdict = facts->verdict;
    if (verdict.kind == ZUTEXT_KIND_EMPTY) {
        printOut(printable(path) + ": empty file, which has no encoding\n");
        return kExitOk;
    }
    const std::string from = verdict.sample_offset == 0 ? "" : " from offset " + std::to_string(verdict.sample_offset);
    printOut(printable(path) + ": " + std::to_string(text.size()) + " bytes, " + std::to_string(facts->examined) +
             " examined" + from + "\n\n");
    printOut(chartOf(*facts) + (facts->vote_named != 0 ? "" : cascadeOf(*facts)));
    printOut(readingsOf(verdict, text.subspan(static_cast<size_t>(verdict.sample_offset))) + differencesOf(*facts) +
             unitsOf(*facts));
    printOut(conclusionOf(verdict, path));
    if (const std::string remark = remarkOnHint(verdict, options.prefer, options.hintOrigin); !remark.empty()) {
        printOut(remark + "\n");
    }
    return kExitOk;
}

} // namespace

void addExplainCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("explain", "Show why detection answers what it answers");
    command->footer(kExplainFooter);
    struct Options {
        std::string file = "-";
        DetectionOptions detection;
    };
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "A file; - is standard input")->option_text(" ")->required();
    addDetectionOptions(*command, options->detection);
    command->callback(
        [options, &chosen] { chosen = [options] { return explain(options->file, options->detection); }; });
}

} // namespace zucli
