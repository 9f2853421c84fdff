#include "commands.h"

#include "encoding_names.h"
#include "errors.h"
#include "file_list.h"
#include "guess.h"
#include "input_file.h"
#include "report.h"

#include <algorithm>
#include <iomanip>
#include <memory>
#include <sstream>

namespace zucli {

namespace {

constexpr const char *kFooter = R"(Prints the code type, the encoding and the file, one file a line. Without
--prefer the code type is exactly what the library answers to a player.

Examples:
  zucharset detect movie.srt
  zucharset detect --json -r ~/Videos
  zucharset detect --prefer windows-1251 movie.srt
  curl -s https://example.org/a.srt | zucharset detect -

Exit codes: 0 all right, 2 wrong usage, 3 a file cannot be read, 4 standard
output cannot be written, 5 the library refused. More in 'zucharset --help'.
)";

struct Options {
    FileOptions files;
    DetectionOptions detection;
    bool json = false;
};

std::string lineFor(const std::string &file, const Guess &guess) {
    std::ostringstream line;
    line << std::setw(3) << (guess.codeType == 0 ? "-" : std::to_string(guess.codeType)) << "  " << std::left
         << std::setw(13) << (guess.codeType == 0 ? "-" : nameOf(guess.codeType)) << " " << printable(file);
    if (const std::string remark = remarkOn(guess); !remark.empty()) {
        line << "  (" << remark << ")";
    }
    return line.str() + "\n";
}

class Detection {
  public:
    explicit Detection(const Options &options)
        : m_options(options), m_preferences(parsePreferences(options.detection.prefer)) {}

    int run() {
        FileSelection selection;
        selection.recursive = m_options.files.recursive;
        selection.extensions = splitList(m_options.files.extensions);
        const FileList list = listFiles(m_options.files.files, selection);
        m_json.beginObject();
        m_json.beginArray("files");
        for (const InputItem &item : list.items) {
            detect(item.path);
        }
        m_json.endArray();
        m_json.beginArray("problems");
        for (const std::string &problem : list.problems) {
            m_json.string({}, problem);
            if (!m_options.json) {
                printMessage(problem);
            }
            m_exitCode = std::max<int>(m_exitCode, kExitInput);
        }
        m_json.endArray();
        m_json.number("exitCode", m_exitCode);
        m_json.endObject();
        if (m_options.json) {
            printOut(m_json.text() + "\n");
        }
        return m_exitCode;
    }

  private:
    void detect(const std::string &path) {
        Guess guess;
        try {
            InputFile input(path);
            const size_t size = m_options.detection.sample;
            const Bytes sample = input.peek(size + 1);
            guess = guessEncoding(m_detector, sample.first(std::min(sample.size(), size)), sample.size() <= size,
                                  m_preferences);
        } catch (const CommandError &error) {
            addError(path, error);
            return;
        }
        if (!m_options.json) {
            printOut(lineFor(path, guess));
            return;
        }
        m_json.beginObject();
        m_json.fileName("file", path);
        m_json.number("exitCode", kExitOk);
        addGuess(m_json, guess);
        m_json.endObject();
    }

    void addError(const std::string &path, const CommandError &error) {
        const std::string message =
            error.exitCode() == kExitRefused ? printable(path) + ": " + error.what() : std::string(error.what());
        if (!m_options.json) {
            printMessage(message);
        }
        m_exitCode = std::max<int>(m_exitCode, error.exitCode());
        m_json.beginObject();
        m_json.fileName("file", path);
        m_json.number("exitCode", error.exitCode());
        m_json.string("error", message);
        m_json.endObject();
    }

    const Options &m_options;
    std::vector<int32_t> m_preferences;
    Detector m_detector;
    JsonWriter m_json;
    int m_exitCode = kExitOk;
};

} // namespace

void addDetectCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("detect", "Name the encoding of files");
    command->footer(kFooter);
    auto options = std::make_shared<Options>();
    addFileOptions(*command, options->files);
    addDetectionOptions(*command, options->detection);
    command->add_flag("--json", options->json, "Answer with one JSON document");
    command->callback([options, &chosen] { chosen = [options] { return Detection(*options).run(); }; });
}

} // namespace zucli
