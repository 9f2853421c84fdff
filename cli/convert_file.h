#pragma once

#include "encoding_names.h"
#include "errors.h"
#include "guess.h"
#include "losses.h"
#include "output_plan.h"
#include "progress.h"
#include "surrogates.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zucli {

enum class ByteOrderMark { keep, strip, add };

struct ConvertSettings {
    std::optional<NamedEncoding> from; // detected when not given
    std::vector<int32_t> preferences;
    size_t sample = kDefaultSample;
    ByteOrderMark byteOrderMark = ByteOrderMark::keep;
    bool joinSurrogates = false;
    bool strict = false;
};

// What became of one file.
struct ConvertOutcome {
    std::string file;
    std::string output;
    std::string backup;
    Guess guess;
    uint64_t inputBytes = 0;
    uint64_t outputBytes = 0;
    LossFinder losses;
    uint64_t surrogatesAlone = 0; // that --join-surrogates found no partner for
    std::string leftover;         // a character that the end of the file cut off
    bool wrongByteOrder = false;
    bool unchanged = false; // in place, and already as it should be
    bool written = false;
    bool wholeOrNothing = false; // does a failed output leave nothing behind?
    ExitCode exitCode = kExitOk;
    std::string error;

    [[nodiscard]] bool textLost() const { return losses.textLost() || !leftover.empty(); }
};

// Converts one file. Problems end up in the outcome, so that the other files can go on.
ConvertOutcome convertFile(const InputItem &item, const ConvertSettings &settings, OutputPlanner &planner,
                           Progress &progress);

} // namespace zucli
