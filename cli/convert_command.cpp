#include "commands.h"

#include "convert_batch.h"
#include "convert_report.h"
#include "encodings.h"
#include "errors.h"
#include "file_list.h"
#include "output_plan.h"
#include "progress.h"
#include "report.h"

#include <algorithm>
#include <memory>

namespace zucli {

namespace {

constexpr const char *kConvertFooter =
    R"(A single file goes to standard output unless an option says otherwise. An output
file appears whole or not at all. What a conversion loses is told with the
offset and the bytes, and where the encoding is not sure a remark says so, both
also under --quiet. What is no text, or in an encoding that is not supported, is
named and left alone.

Examples:
  zucharset convert movie.srt > movie.utf8.srt
  zucharset convert --from cp1251 -o movie.utf8.srt movie.srt
  zucharset convert --suffix .utf8 *.srt         writes movie.utf8.srt and so on
  zucharset convert -r --out-dir converted ~/Videos
  zucharset convert -r --in-place --strict --prefer ru ~/Videos
  player-dump | zucharset convert - | less

Exit codes: 0 all right, 1 converted but text was lost (with --strict: not
written), 2 wrong usage, 3 input problem, 4 output problem, 5 no text or in an
encoding that is not converted, 130 interrupted. More in 'zucharset --help'.
)";

struct ConvertOptions {
    FileOptions files;
    DetectionOptions detection;
    OutputRules output;
    std::string from;
    std::string to;
    bool addMark = false;
    bool stripMark = false;
    bool keepSurrogates = false;
    bool joinSurrogates = false; // as is the default now
    bool strict = false;
    bool quiet = false;
};

// What the option parser cannot check by itself.
void checkUsage(ConvertOptions &options) {
    options.files.complete();
    options.detection.complete();
    if (!options.to.empty() && parseEncoding(options.to).id != kUtf8) {
        throw CommandError(kExitUsage, "everything is converted to UTF-8; 'iconv -f UTF-8 -t " + options.to +
                                           "' can go on from there");
    }
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
    if (options.files.json && output.toStandardOutput() && !output.dryRun) {
        throw CommandError(kExitUsage, "--json and the text cannot both go to standard output; write the text with -o");
    }
}

ConvertSettings settingsFrom(const ConvertOptions &options) {
    ConvertSettings settings;
    settings.text = options.detection.textOptions();
    if (!options.from.empty()) {
        const NamedEncoding from = parseEncoding(options.from);
        settings.text.from = from.id;
        settings.text.flags |= from.markOpen ? ZUTEXT_MARK_OPEN : 0;
    }
    settings.text.flags |= options.addMark ? ZUTEXT_ADD_MARK : 0;
    settings.text.flags |= options.stripMark ? ZUTEXT_STRIP_MARK : 0;
    settings.text.flags |= options.keepSurrogates ? ZUTEXT_KEEP_SURROGATES : 0;
    settings.strict = options.strict;
    settings.dryRun = options.output.dryRun;
    return settings;
}

int convertAll(ConvertOptions &options) {
    checkUsage(options);
    const ConvertSettings settings = settingsFrom(options);
    FileSelection selection = options.files.selection();
    selection.outputFolder = options.output.outputFolder;
    selection.outputSuffix = options.output.suffix;
    FileList list = listFiles(options.files.files, selection);

    OutputPlanner planner(options.output, list.items);
    std::vector<PlannedFile> files;
    uint64_t bytes = 0;
    for (InputItem &item : list.items) {
        bytes += item.size;
        files.push_back(planner.plan(std::move(item)));
    }
    Progress progress(!options.quiet && !options.files.json, files.size(), bytes);
    const ReportSettings report = {options.quiet, !options.from.empty(), options.detection.prefer,
                                   options.detection.hintOrigin};
    ConvertSummary summary;
    JsonWriter json;
    json.beginObject();
    json.beginArray("files");
    int exitCode = kExitOk;
    convertBatch(files, settings, options.files.jobs, progress, [&](const ConvertOutcome &outcome) {
        exitCode = std::max<int>(exitCode, outcome.exitCode);
        summary.add(outcome);
        progress.clear();
        progress.finishFile();
        if (options.files.json) {
            addOutcome(json, outcome);
        } else {
            printOutcome(outcome, report);
        }
    });
    progress.clear();
    json.endArray();
    exitCode = std::max(exitCode, reportOnList(list, json, options.files.json));
    addSummary(json, summary);
    json.number("exitCode", exitCode);
    json.endObject();
    if (options.files.json) {
        printOut(json.text() + "\n");
    } else if (!options.quiet && (files.size() > 1 || options.files.recursive)) {
        printSummary(summary);
    }
    return exitCode;
}

} // namespace

void addConvertCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("convert", "Convert files to UTF-8");
    command->footer(kConvertFooter);
    auto options = std::make_shared<ConvertOptions>();
    OutputRules &output = options->output;
    output.backupSuffix = ".orig";
    addFileOptions(*command, options->files);
    command
        ->add_option("-f,--from,--from-code", options->from,
                     "The encoding of the input, by name or code type; detected if not given")
        ->option_text("NAME");
    command->add_option("-t,--to-code", options->to, "What is written: UTF-8, and nothing else")->option_text("UTF-8");
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
    command->add_flag("-n,--dry-run", output.dryRun, "Show what would become of the files, and write nothing");

    CLI::Option *add =
        command->add_flag("--to-utf8-bom", options->addMark, "Start the output with a byte order mark, never with two");
    command->add_flag("--strip-bom", options->stripMark, "Leave out a byte order mark")->excludes(add);
    command->add_flag("--keep-surrogates", options->keepSurrogates,
                      "Write characters beyond U+FFFF in two halves, as the library does; not well-formed UTF-8");
    command->add_flag("--join-surrogates", options->joinSurrogates)->group("");
    command->add_flag("--strict", options->strict,
                      "Write no file whose text would lose anything or not be well-formed UTF-8");
    command->add_flag("-q,--quiet", options->quiet, "Print only errors, lost text and warnings");
    command->callback([options, &chosen] { chosen = [options] { return convertAll(*options); }; });
}

} // namespace zucli
