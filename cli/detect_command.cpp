#include "commands.h"

#include "encodings.h"
#include "errors.h"
#include "file_list.h"
#include "input_file.h"
#include "ordered_work.h"
#include "output_plan.h"
#include "progress.h"
#include "report.h"
#include "text_stream.h"
#include "verdicts.h"

#include <algorithm>
#include <iomanip>
#include <memory>
#include <sstream>

namespace zucli {

namespace {

constexpr const char *kDetectFooter = R"(Prints the code type, the encoding and the file, one file a line; behind it the
language, how sure that is, and what else it could be. With --plain the answer
is exactly what the library gives to a player.

Examples:
  zucharset detect movie.srt
  zucharset detect --json -r ~/Videos
  zucharset detect --prefer ru,uk movie.srt
  curl -s https://example.org/a.srt | zucharset detect -

Exit codes: 0 all right, 2 wrong usage, 3 a file cannot be read, 4 standard
output cannot be written. More in 'zucharset --help'.
)";

struct DetectOptions {
    FileOptions files;
    DetectionOptions detection;
    bool advise = false;
};

std::string lineFor(const std::string &file, const zutext_verdict &verdict) {
    const bool named = verdict.encoding != 0;
    const bool converted = named && hasTrait(verdict.encoding, ZUTEXT_CONVERTIBLE);
    std::ostringstream line;
    line << std::setw(3) << (converted ? std::to_string(verdict.encoding) : "-") << "  " << std::left << std::setw(13)
         << (named ? nameOf(verdict.encoding) : "-") << " " << printable(file);
    if (const std::string remark = remarkOn(verdict); !remark.empty()) {
        line << "  (" << remark << ")";
    }
    return line.str() + "\n";
}

struct Answer {
    zutext_verdict verdict = {};
    ExitCode exitCode = kExitOk;
    std::string error;
};

// Reads no further than the verdict needs.
zutext_verdict judge(const std::string &path, const zutext_options &options) {
    constexpr size_t kPieceBytes = size_t{64} * 1024;
    InputFile input(path);
    TextStream stream(options);
    std::vector<uint8_t> piece(kPieceBytes);
    while (stream.verdict() == nullptr) {
        const size_t count = input.read(piece.data(), piece.size());
        if (count == 0) {
            stream.finish();
            break;
        }
        stream.write(Bytes(piece).first(count));
    }
    return *stream.verdict();
}

Answer answerFor(const InputItem &item, const zutext_options &options) {
    Answer answer;
    try {
        answer.verdict = judge(item.path, options);
    } catch (const TextError &error) {
        answer.exitCode = error.exitCode();
        answer.error = printable(item.path) + ": " + error.what();
    } catch (const CommandError &error) {
        answer.exitCode = error.exitCode();
        answer.error = error.what();
    } catch (const std::exception &error) {
        answer.exitCode = kExitInternal;
        answer.error = printable(item.path) + ": " + error.what();
    }
    return answer;
}

void print(const std::string &file, const Answer &answer, const DetectionOptions &options) {
    if (!answer.error.empty()) {
        printMessage(answer.error);
        return;
    }
    printOut(lineFor(file, answer.verdict));
    if (const std::string remark = remarkOnHint(answer.verdict, options.prefer, options.hintOrigin); !remark.empty()) {
        printMessage(printable(file) + ": " + remark);
    }
}

void add(JsonWriter &json, const std::string &file, const Answer &answer) {
    json.beginObject();
    json.fileName("file", file);
    json.number("exitCode", answer.exitCode);
    if (answer.error.empty()) {
        addVerdict(json, answer.verdict);
    } else {
        json.string("error", answer.error);
    }
    json.endObject();
}

// How to go on, for someone who named nothing but files. `toConvert` are those that are not UTF-8 already.
std::string advice(const std::vector<std::string> &files, const std::vector<std::string> &toConvert) {
    std::string text;
    if (toConvert.size() == 1) {
        const std::string &file = toConvert.front();
        text = "To convert it: zucharset convert " + shellWord(file) +
               (file == "-" ? "" : " > " + shellWord(withSuffix(file, ".utf8"))) + "\n";
    } else if (toConvert.size() > 1) {
        text = "To convert them: zucharset convert --suffix .utf8";
        for (const std::string &file : toConvert) {
            text += " " + shellWord(file);
        }
        text += "\n";
    }
    return text + "Why this answer, and what else it could be: zucharset explain " + shellWord(files.front()) + "\n";
}

int detectAll(DetectOptions &options) {
    options.files.complete();
    options.detection.complete();
    zutext_options textOptions = options.detection.textOptions();
    textOptions.flags |= ZUTEXT_JUDGE_ONLY;
    const FileList list = listFiles(options.files.files, options.files.selection());
    const bool asJson = options.files.json;
    JsonWriter json;
    json.beginObject();
    json.beginArray("files");
    int exitCode = kExitOk;
    std::vector<std::string> toConvert;
    constexpr size_t kWindow = 1024;
    constexpr std::chrono::milliseconds kProgressInterval{100};
    OrderedWork<Answer> work(list.items.size(), options.files.jobs, kWindow,
                             [&] { return [&](size_t index) { return answerFor(list.items[index], textOptions); }; });
    Progress progress(true, list.items.size(), 0);
    for (size_t index = 0; !work.done(); progress.update()) {
        const std::optional<Answer> answer = work.next(kProgressInterval);
        if (!answer) {
            continue;
        }
        progress.finishFile();
        const std::string &file = list.items[index++].path;
        if (asJson) {
            add(json, file, *answer);
        } else {
            progress.clear();
            print(file, *answer, options.detection);
        }
        exitCode = std::max<int>(exitCode, answer->exitCode);
        if (answer->verdict.kind == ZUTEXT_KIND_TEXT && answer->verdict.encoding != kUtf8) {
            toConvert.push_back(file);
        }
    }
    progress.clear();
    json.endArray();
    exitCode = std::max(exitCode, reportOnList(list, json, asJson));
    json.number("exitCode", exitCode);
    json.endObject();
    if (asJson) {
        printOut(json.text() + "\n");
    } else if (options.advise) {
        printOut(advice(options.files.files, toConvert));
    }
    return exitCode;
}

} // namespace

void addDetectCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("detect", "Name the encoding of files");
    command->footer(kDetectFooter);
    auto options = std::make_shared<DetectOptions>();
    addFileOptions(*command, options->files);
    addDetectionOptions(*command, options->detection);
    command->add_flag("--advise", options->advise)->group(""); // what a bare file name on the command line means
    command->callback([options, &chosen] { chosen = [options] { return detectAll(*options); }; });
}

} // namespace zucli
