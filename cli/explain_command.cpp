// Shows the reasoning of the library's detector, which is linked in beside the library for this purpose.
#include "commands.h"

#include "detector_cascade.h"
#include "detector_vote.h"
#include "encoding_names.h"
#include "errors.h"
#include "guess.h"
#include "input_file.h"
#include "report.h"

#include <algorithm>
#include <iomanip>
#include <memory>
#include <sstream>

namespace zucli {

namespace {

using namespace zucharset;

constexpr const char *kFooter = R"(First the scores of the multibyte vote: the highest one wins if it reaches 66,
and of equal ones the upper. If the winner names no encoding, the single-byte
tests are asked in the order shown, and the first that accepts decides. Last,
every single-byte encoding that defines all bytes of the text shows how the
text reads in it, so that you can pick the right one for 'convert --from'.

Examples:
  zucharset explain movie.srt
  zucharset convert --from windows-1251 -o movie.utf8.srt movie.srt

Exit codes: 0 all right, 2 wrong usage, 3 the file cannot be read, 4 standard
output cannot be written.
)";

struct Candidate {
    DETECTOR_ENCODING_E index;
    const char *name;
};

constexpr Candidate kCandidates[] = {
    {DETECTOR_ENCODING_GB2312, "GB2312"},
    {DETECTOR_ENCODING_GBK, "GBK"},
    {DETECTOR_ENCODING_GB18030, "GB18030"},
    {DETECTOR_ENCODING_HZ, "HZ"},
    {DETECTOR_ENCODING_BIG5, "Big5"},
    {DETECTOR_ENCODING_BIG5PLUS, "Big5-plus"},
    {DETECTOR_ENCODING_ISO_2022_CN, "ISO-2022-CN"},
    {DETECTOR_ENCODING_EUC_KR, "EUC-KR"},
    {DETECTOR_ENCODING_CP949, "CP949"},
    {DETECTOR_ENCODING_ISO_2022_KR, "ISO-2022-KR"},
    {DETECTOR_ENCODING_EUC_JP, "EUC-JP"},
    {DETECTOR_ENCODING_SJIS, "Shift_JIS"},
    {DETECTOR_ENCODING_ISO_2022_JP, "ISO-2022-JP"},
    {DETECTOR_ENCODING_UTF8, "UTF-8"},
    {DETECTOR_ENCODING_ASCII, "ASCII"},
};

constexpr int kPointsPerColumn = 2;
constexpr int kBarColumns = 110 / kPointsPerColumn; // no score is above 109
constexpr int kThresholdColumn = DETECTOR_THRESHOLD / kPointsPerColumn;

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

std::string chartOf(const SCORES_S &scores, DETECTOR_ENCODING_E winner) {
    std::ostringstream chart;
    chart << "Scores of the multibyte vote; 66, at the line, is needed\n";
    for (const Candidate &candidate : kCandidates) {
        const int score = scores.as32[candidate.index];
        chart << (candidate.index == winner ? "> " : "  ") << std::left << std::setw(12) << candidate.name << std::right
              << std::setw(4) << score << "  " << barOf(score) << "\n";
    }
    return chart.str();
}

std::string verdictOf(DETECTOR_ENCODING_E winner) {
    if (winner == DETECTOR_ENCODING_UNKNOWN) {
        return "No score reaches 66, so the single-byte tests decide.\n";
    }
    const auto *candidate = std::find_if(std::begin(kCandidates), std::end(kCandidates),
                                         [winner](const Candidate &each) { return each.index == winner; });
    const std::string name = candidate->name;
    if (const int32_t codeType = guessEncoding(winner); codeType != 0) {
        return name + " wins and names code type " + std::to_string(codeType) + ", " + nameOf(codeType) + ".\n";
    }
    return name + " wins, which names no encoding here, so the single-byte tests decide.\n";
}

// Why a test of the cascade refuses the text.
std::string refusalOf(const CASCADE_ROW_S &row, Bytes text) {
    if (row.pstKnown == nullptr) {
        return "no byte order mark, no separator, and 90 of 100 bytes or more not ASCII in UTF-16";
    }
    const auto foreign =
        std::find_if(text.begin(), text.end(), [&row](uint8_t byte) { return !row.pstKnown->has(byte); });
    if (foreign == text.end()) {
        return "too many signs and symbols";
    }
    std::ostringstream refusal;
    refusal << "undefined byte " << std::hex << std::uppercase << std::setw(2) << std::setfill('0')
            << static_cast<int>(*foreign) << std::dec << " at offset " << foreign - text.begin();
    return refusal.str();
}

std::string cascadeOf(Bytes text) {
    std::ostringstream cascade;
    cascade << "\nSingle-byte tests in their order\n";
    for (const CASCADE_ROW_S &row : cascadeRows()) {
        const bool accepts = row.pfnTest(text.data(), static_cast<int32_t>(text.size())) == 0;
        cascade << (accepts ? "> " : "  ") << std::left << std::setw(14) << row.pszName
                << (accepts ? "accepts: code type " + std::to_string(row.s32CodeType) + ", " + nameOf(row.s32CodeType)
                            : "refuses: " + refusalOf(row, text))
                << "\n";
        if (accepts) {
            break;
        }
    }
    return cascade.str();
}

// The first lines of the text that hold foreign bytes, which are the ones that tell encodings apart.
std::vector<Bytes> tellingLines(Bytes text) {
    constexpr size_t kLines = 2;
    constexpr ptrdiff_t kLongest = 70;
    std::vector<Bytes> lines;
    for (auto start = text.begin(); start != text.end() && lines.size() < kLines;) {
        const auto end = std::find_if(start, text.end(), [](uint8_t byte) { return byte == '\n' || byte == '\r'; });
        if (std::any_of(start, end, [](uint8_t byte) { return byte >= 0x80; })) {
            lines.emplace_back(start, start + std::min(end - start, kLongest));
        }
        start = end == text.end() ? end : end + 1;
    }
    return lines;
}

std::string previewIn(int32_t codeType, const std::vector<Bytes> &lines) {
    Converter converter(codeType);
    std::string preview;
    for (const Bytes line : lines) {
        const Bytes output = converter.convert(line).output;
        preview += "    " + printable({reinterpret_cast<const char *>(output.data()), output.size()}) + "\n";
    }
    return preview;
}

// How the text reads in each single-byte encoding that defines all of its bytes; those that read alike together.
std::string previewsOf(Bytes text) {
    const std::vector<Bytes> lines = tellingLines(text);
    if (lines.empty()) {
        return "\nThe text is plain ASCII: it reads the same in every encoding.\n";
    }
    std::vector<std::pair<std::string, std::string>> groups; // preview, names
    for (const Encoding &encoding : allEncodings()) {
        if (encoding.test == nullptr || encoding.test(text.data(), static_cast<int32_t>(text.size())) != 0) {
            continue;
        }
        const std::string preview = previewIn(encoding.codeType, lines);
        const auto group =
            std::find_if(groups.begin(), groups.end(), [&preview](const auto &each) { return each.first == preview; });
        if (group == groups.end()) {
            groups.emplace_back(preview, encoding.name);
        } else {
            group->second += ", " + std::string(encoding.name);
        }
    }
    std::string previews = "\nHow the text reads in the single-byte encodings that define all of its bytes\n";
    for (const auto &[preview, names] : groups) {
        previews.append("  ").append(names).append("\n").append(preview);
    }
    return previews;
}

int explain(const std::string &path, size_t sampleSize) {
    InputFile input(path);
    const Bytes text = input.peek(sampleSize);
    if (text.empty()) {
        printOut(printable(path) + ": empty file, which has no encoding\n");
        return kExitOk;
    }
    const auto detector = std::make_unique<ZU_CHARSETDETECTOR_Common_S>();
    _Detector_initialize_frequencies(*detector);
    SCORES_S scores;
    _Detector_scoreAll(*detector, {text.data(), static_cast<int32_t>(text.size())}, scores);
    const DETECTOR_ENCODING_E winner = _Detector_winner(scores);
    const bool named = guessEncoding(winner) != 0;

    printOut(printable(path) + ": " + std::to_string(text.size()) + " bytes examined\n\n");
    printOut(chartOf(scores, winner) + verdictOf(winner));
    if (!named) {
        printOut(cascadeOf(text));
    }
    printOut(previewsOf(text));
    return kExitOk;
}

} // namespace

void addExplainCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("explain", "Show why detection answers what it answers");
    command->footer(kFooter);
    struct Options {
        std::string file;
        size_t sample = kDefaultSample;
    };
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "A file; - is standard input")->option_text(" ")->required();
    command->add_option("--sample", options->sample, "Examine this much of the start of the file")
        ->option_text("SIZE [1M]")
        ->transform(CLI::AsSizeValue(false))
        ->check(CLI::Range(size_t{1}, kLargestSample));
    command->callback([options, &chosen] { chosen = [options] { return explain(options->file, options->sample); }; });
}

} // namespace zucli
