#include "convert_file.h"

#include "input_file.h"
#include "report.h"
#include "text_stream.h"

#include <exception>
#include <utility>
#include <vector>

namespace zucli {

namespace {

// `output` is null when nothing is to be written.
void convert(InputFile &input, TextStream &stream, OutputFile *output, Progress &progress) {
    constexpr size_t kPieceBytes = size_t{64} * 1024;
    std::vector<uint8_t> piece(kPieceBytes);
    const auto put = [output](Bytes text) {
        if (output != nullptr) {
            output->write(text);
        }
    };
    while (const size_t count = input.read(piece.data(), piece.size())) {
        progress.advance(count);
        put(stream.write(Bytes(piece).first(count)));
    }
    put(stream.finish());
}

// Keeps what the stream knows, also of a text that could not be converted.
class KeepFacts {
  public:
    KeepFacts(const TextStream &stream, ConvertOutcome &outcome) : m_stream(stream), m_outcome(outcome) {}
    ~KeepFacts() {
        m_outcome.account = m_stream.account();
        if (const zutext_verdict *verdict = m_stream.verdict()) {
            m_outcome.verdict = *verdict;
        }
    }
    KeepFacts(const KeepFacts &) = delete;
    KeepFacts &operator=(const KeepFacts &) = delete;

  private:
    const TextStream &m_stream;
    ConvertOutcome &m_outcome;
};

void convertInto(const PlannedFile &file, const ConvertSettings &settings, Progress &progress,
                 ConvertOutcome &outcome) {
    if (file.refusal) {
        throw CommandError(*file.refusal);
    }
    InputFile input(file.input.path);
    std::unique_ptr<OutputFile> output;
    if (!settings.dryRun) {
        output = std::make_unique<OutputFile>(file.target, input.status());
        outcome.wholeOrNothing = output->isTemporary();
    }
    {
        TextStream stream(settings.text);
        const KeepFacts facts(stream, outcome);
        convert(input, stream, output.get(), progress);
    }
    const zutext_account &account = outcome.account;
    outcome.exitCode = outcome.textLost() ? kExitTextLost : kExitOk;
    outcome.unchanged = file.target.inPlace && account.changed == 0;
    const bool good = account.text_lost == 0 && account.well_formed != 0;
    const bool canRefuse = output == nullptr || output->isTemporary();
    outcome.refusedByStrict = settings.strict && !good && canRefuse;
    if (outcome.refusedByStrict) {
        outcome.exitCode = kExitTextLost;
    } else if (output && !outcome.unchanged) {
        output->finish();
        outcome.pending = std::move(output);
    }
}

} // namespace

ConvertOutcome convertFile(const PlannedFile &file, const ConvertSettings &settings, Progress &progress) {
    ConvertOutcome outcome;
    outcome.file = file.input.path;
    outcome.output = file.output;
    outcome.dryRun = settings.dryRun;
    try {
        convertInto(file, settings, progress, outcome);
    } catch (const TextError &error) {
        outcome.exitCode = error.exitCode();
        outcome.error = printable(outcome.file) + ": " + error.what();
    } catch (const CommandError &error) {
        outcome.exitCode = error.exitCode();
        outcome.error = error.what();
    } catch (const std::exception &error) {
        outcome.exitCode = kExitInternal;
        outcome.error = printable(outcome.file) + ": " + error.what();
    }
    return outcome;
}

} // namespace zucli
