#include "convert_file.h"

#include "input_file.h"
#include "report.h"
#include "zucharset.h"

#include <algorithm>
#include <array>
#include <exception>

namespace zucli {

namespace {

constexpr size_t kPieceBytes = size_t{64} * 1024;
constexpr std::array<uint8_t, 3> kUtf8Mark = {0xEF, 0xBB, 0xBF};
constexpr std::array<uint8_t, 3> kSwappedMark = {0xEF, 0xBF, 0xBE}; // U+FFFE: the other byte order
// Enough input for the byte order mark of every encoding.
constexpr size_t kMarkInput = 4;

bool startsWith(Bytes text, Bytes start) {
    return text.size() >= start.size() && std::ranges::equal(text.first(start.size()), start);
}

class FileConversion {
  public:
    FileConversion(const ConvertSettings &settings, InputFile &input, OutputFile &output, ConvertOutcome &outcome,
                   Progress &progress)
        : m_settings(settings), m_input(input), m_output(output), m_outcome(outcome), m_progress(progress) {}

    void run() {
        chooseEncoding();
        if (m_outcome.guess.codeType == 0) {
            return;
        }
        m_converter.emplace(m_outcome.guess.codeType);
        m_outcome.losses.startWith(m_outcome.guess.codeType, m_settings.joinSurrogates);

        std::vector<uint8_t> piece(kPieceBytes);
        size_t held = 0; // bytes at the start of the piece that wait for the rest of their character
        while (const size_t count = m_input.read(piece.data() + held, piece.size() - held)) {
            held += count;
            m_progress.advance(count);
            const size_t consumed = convertPiece(Bytes(piece).first(held));
            std::copy(piece.begin() + static_cast<std::ptrdiff_t>(consumed),
                      piece.begin() + static_cast<std::ptrdiff_t>(held), piece.begin());
            held -= consumed;
            if (held == piece.size()) {
                throw CommandError(kExitRefused,
                                   "the library makes no progress at offset " + std::to_string(m_outcome.inputBytes));
            }
        }
        m_outcome.leftover.assign(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(held));
        m_changed |= held > 0;
    }

    [[nodiscard]] bool changed() const { return m_changed; }

  private:
    void chooseEncoding() {
        Guess &guess = m_outcome.guess;
        const Bytes start = m_input.peek(kMarkInput);
        if (start.empty()) {
            return;
        }
        if (!m_settings.from) {
            const Bytes sample = m_input.peek(m_settings.sample + 1);
            guess = guessEncoding(m_detector.emplace(), sample.first(std::min(sample.size(), m_settings.sample)),
                                  sample.size() <= m_settings.sample, m_settings.preferences);
            return;
        }
        guess.codeType = m_settings.from->codeType;
        guess.decidedBy = DecidedBy::user;
        if (m_settings.from->byteOrderOpen && start.size() >= 2 && start[0] == 0xFE && start[1] == 0xFF) {
            guess.codeType = ZU_CHARSET_CODETYPE_UCS16BE;
            guess.decidedBy = DecidedBy::byteOrderMark;
        }
    }

    // A sample of plain ASCII says nothing about what follows it. Up to here every encoding gives the same text, so
    // the first other byte is early enough to decide.
    void reconsider(Bytes piece) {
        Guess &guess = m_outcome.guess;
        if (!guess.plainAscii || guess.wholeFile || std::ranges::none_of(piece, [](uint8_t b) { return b >= 0x80; })) {
            return;
        }
        std::vector<uint8_t> sample(piece.begin(), piece.end());
        const Bytes following = m_input.peek(m_settings.sample);
        sample.insert(sample.end(), following.begin(), following.end());
        guess = guessEncoding(*m_detector, sample, m_input.atEnd(), m_settings.preferences);
        m_converter.emplace(guess.codeType);
        m_outcome.losses.startWith(guess.codeType, m_settings.joinSurrogates);
    }

    size_t convertPiece(Bytes piece) {
        reconsider(piece);
        const Conversion conversion = m_converter->convert(piece);
        size_t consumed = conversion.consumed;
        Bytes text = conversion.output;
        JoinedText joined;
        if (m_settings.joinSurrogates) {
            joined = joinSurrogates(text);
            text = joined.text;
            m_outcome.surrogatesAlone += joined.alone;
            if (joined.openPair) {
                consumed -= m_converter->codeType() == ZU_CHARSET_CODETYPE_UTF8 ? 3 : 2;
            }
        }
        m_outcome.losses.inspect(m_outcome.inputBytes, piece.first(conversion.consumed), conversion.output);
        write(text, piece.first(consumed));
        m_outcome.inputBytes += consumed;
        return consumed;
    }

    void write(Bytes text, Bytes source) {
        if (m_first && !text.empty()) {
            m_first = false;
            m_outcome.wrongByteOrder = isUnicode(m_converter->codeType()) && startsWith(text, kSwappedMark);
            const bool marked = startsWith(text, kUtf8Mark);
            if (marked && m_settings.byteOrderMark == ByteOrderMark::strip) {
                text = text.subspan(kUtf8Mark.size());
            } else if (!marked && m_settings.byteOrderMark == ByteOrderMark::add) {
                put(kUtf8Mark);
                m_changed = true;
            }
        }
        m_changed |= !std::ranges::equal(text, source);
        put(text);
    }

    void put(Bytes text) {
        m_output.write(text);
        m_outcome.outputBytes += text.size();
    }

    const ConvertSettings &m_settings;
    InputFile &m_input;
    OutputFile &m_output;
    ConvertOutcome &m_outcome;
    Progress &m_progress;
    std::optional<Detector> m_detector;
    std::optional<Converter> m_converter;
    bool m_first = true;
    bool m_changed = false;
};

} // namespace

ConvertOutcome convertFile(const InputItem &item, const ConvertSettings &settings, OutputPlanner &planner,
                           Progress &progress) {
    ConvertOutcome outcome;
    outcome.file = item.path;
    try {
        InputFile input(item.path);
        const OutputTarget target = planner.plan(item, input.status());
        outcome.output = target.path;
        OutputFile output(target);
        outcome.wholeOrNothing = output.canDiscard();
        FileConversion conversion(settings, input, output, outcome, progress);
        conversion.run();
        outcome.exitCode = outcome.textLost() ? kExitTextLost : kExitOk;
        outcome.unchanged = planner.rules().inPlace && !conversion.changed();
        if (!outcome.unchanged && !(settings.strict && outcome.textLost() && output.canDiscard())) {
            output.commit();
            outcome.backup = output.backupPath();
            outcome.written = true;
        }
    } catch (const CommandError &error) {
        outcome.exitCode = error.exitCode();
        outcome.error = error.what();
        if (outcome.exitCode == kExitRefused) {
            outcome.error.insert(0, printable(item.path) + ": ");
        }
    } catch (const std::exception &error) {
        outcome.exitCode = kExitInternal;
        outcome.error = printable(item.path) + ": " + error.what();
    }
    return outcome;
}

} // namespace zucli
