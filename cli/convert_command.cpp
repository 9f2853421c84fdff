#include "commands.h"

#include "convert_file.h"
#include "convert_report.h"
#include "encoding_names.h"
#include "errors.h"
#include "file_list.h"
#include "output_plan.h"
#include "progress.h"
#include "report.h"

#include <algorithm>
#include <memory>
#include <numeric>

namespace zucli {

namespace {

constexpr const char *kFooter = R"(A single file goes to standard output unless an option says otherwise. An output
file appears whole or not at all. What a conversion loses is told with the
offset and the bytes, also under --quiet.

Examples:
  zucharset convert movie.srt > movie.utf8.srt
  zucharset convert --from cp1251 -o movie.utf8.srt movie.srt
  zucharset convert --suffix .utf8 *.srt         writes movie.utf8.srt and so on
  zucharset convert -r --out-dir converted ~/Videos
  zucharset convert -r --in-place --strict --prefer cp1251 ~/Videos
  player-dump | zucharset convert - | less

Exit codes: 0 all right, 1 converted but text was lost (with --strict: not
written), 2 wrong usage, 3 input problem, 4 output problem, 5 refused by the
library, 130 interrupted. More in 'zucharset --help'.
)";

struct Options {
    FileOptions files;
    DetectionOptions detection;
    OutputRules output;
    std::string from;
    bool addMark = false;
    bool stripMark = false;
    bool joinSurrogates = false;
    bool strict = false;
    bool quiet = false;
    bool json = false;
};

// What the option parser cannot check by itself.
void checkUsage(Options &options) {
    OutputRules &output = options.output;
    const bool perFile = output.inPlace || !output.outputFolder.empty() || !output.suffix.empty();
    const bool several = options.files.files.size() > 1 || options.files.recursive;
    if (several && !perFile) {
        throw CommandError(kExitUsage, "several files need --in-place, --out-dir or --suffix");
    }
    if (output.suffix.find('/') != std::string::npos || output.backupSuffix.find('/') != std::string::npos ||
        output.backupSuffix.empty()) {
        throw CommandError(kExitUsage, "a suffix is part of a file name: not empty and without '/'");
    }
    const auto &files = options.files.files;
    if (std::ranges::find(files, "-") != files.end() && perFile) {
        throw CommandError(kExitUsage, "standard input has no name; use -o for its output");
    }
    if (!perFile && output.output.empty()) {
        output.output = "-";
    }
    if (options.json && output.toStandardOutput()) {
        throw CommandError(kExitUsage, "--json and the text cannot both go to standard output; write the text with -o");
    }
}

ConvertSettings settingsFrom(const Options &options) {
    ConvertSettings settings;
    if (!options.from.empty()) {
        settings.from = parseEncoding(options.from);
    }
    settings.preferences = parsePreferences(options.detection.prefer);
    settings.sample = options.detection.sample;
    settings.byteOrderMark = options.addMark     ? ByteOrderMark::add
                             : options.stripMark ? ByteOrderMark::strip
                                                 : ByteOrderMark::keep;
    settings.joinSurrogates = options.joinSurrogates;
    settings.strict = options.strict;
    return settings;
}

int convertAll(Options &options) {
    checkUsage(options);
    const ConvertSettings settings = settingsFrom(options);
    FileSelection selection;
    selection.recursive = options.files.recursive;
    selection.extensions = splitList(options.files.extensions);
    selection.outputFolder = options.output.outputFolder;
    selection.outputSuffix = options.output.suffix;
    const FileList list = listFiles(options.files.files, selection);

    OutputPlanner planner(options.output);
    const uint64_t bytes = std::accumulate(list.items.begin(), list.items.end(), uint64_t{0},
                                           [](uint64_t sum, const InputItem &item) { return sum + item.size; });
    Progress progress(!options.quiet && !options.json, list.items.size(), bytes);
    ConvertSummary summary;
    JsonWriter json;
    json.beginObject();
    json.beginArray("files");
    int exitCode = kExitOk;
    for (const InputItem &item : list.items) {
        const ConvertOutcome outcome = convertFile(item, settings, planner, progress);
        exitCode = std::max<int>(exitCode, outcome.exitCode);
        summary.add(outcome);
        progress.clear();
        progress.finishFile();
        if (options.json) {
            addOutcome(json, outcome);
        } else {
            printOutcome(outcome, options.quiet);
        }
    }
    progress.clear();
    json.endArray();
    json.beginArray("problems");
    for (const std::string &problem : list.problems) {
        exitCode = std::max<int>(exitCode, kExitInput);
        json.string({}, problem);
        if (!options.json) {
            printMessage(problem);
        }
    }
    json.endArray();
    addSummary(json, summary);
    json.number("exitCode", exitCode);
    json.endObject();
    if (options.json) {
        printOut(json.text() + "\n");
    } else if (!options.quiet && (list.items.size() > 1 || options.files.recursive)) {
        printSummary(summary);
    }
    return exitCode;
}

} // namespace

void addConvertCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("convert", "Convert files to UTF-8");
    command->footer(kFooter);
    auto options = std::make_shared<Options>();
    OutputRules &output = options->output;
    output.backupSuffix = ".orig";
    addFileOptions(*command, options->files);
    command
        ->add_option("--from", options->from, "The encoding of the input, by name or code type; detected if not given")
        ->option_text("NAME");
    addDetectionOptions(*command, options->detection);

    CLI::Option *one = command->add_option("-o,--output", output.output, "Write here; - is standard output");
    one->option_text("FILE");
    CLI::Option *inPlace = command->add_flag("--in-place", output.inPlace, "Replace the files and keep the originals");
    command
        ->add_option("--backup-suffix", output.backupSuffix,
                     "Names the kept original; a number is added rather than overwrite one")
        ->option_text("SUFFIX [.orig]");
    CLI::Option *folder =
        command->add_option("--out-dir", output.outputFolder, "Write into this folder, under the same names");
    folder->option_text("DIR");
    CLI::Option *suffix =
        command->add_option("--suffix", output.suffix, "Write movie.srt as movieSUFFIX.srt")->option_text("SUFFIX");
    one->excludes(inPlace)->excludes(folder)->excludes(suffix);
    inPlace->excludes(folder)->excludes(suffix);
    command->add_flag("--force", output.force, "Replace outputs that exist already");

    CLI::Option *add =
        command->add_flag("--to-utf8-bom", options->addMark, "Start the output with a byte order mark, never with two");
    command->add_flag("--strip-bom", options->stripMark, "Leave out a byte order mark")->excludes(add);
    command->add_flag("--join-surrogates", options->joinSurrogates,
                      "Write characters beyond U+FFFF as well-formed UTF-8, not in two halves");
    command->add_flag("--strict", options->strict, "Write no file whose text would lose anything");
    command->add_flag("-q,--quiet", options->quiet, "Print only errors and lost text");
    command->add_flag("--json", options->json, "Answer with one JSON document");
    command->callback([options, &chosen] { chosen = [options] { return convertAll(*options); }; });
}

} // namespace zucli
