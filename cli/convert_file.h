#pragma once

#include "errors.h"
#include "output_file.h"
#include "output_plan.h"
#include "progress.h"
#include "zutext.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zucli {

struct ConvertSettings {
    zutext_options text = {}; // what is pointed to lives as long as the settings are used
    bool strict = false;
    bool dryRun = false;
};

// What became of one file. Until a committer has given it its name, the finished output is still pending.
struct ConvertOutcome {
    std::string file;
    std::string output;
    std::string backup;
    zutext_verdict verdict = {};
    zutext_account account = {};
    bool unchanged = false; // in place, and already as it should be
    bool refusedByStrict = false;
    bool dryRun = false; // nothing was to be written
    bool written = false;
    bool wholeOrNothing = false; // does a failed output leave nothing behind?
    ExitCode exitCode = kExitOk;
    std::string error;
    std::unique_ptr<OutputFile> pending;

    [[nodiscard]] bool failed() const { return !error.empty(); }
    [[nodiscard]] bool textLost() const { return account.text_lost != 0; }
};

// Converts one file, on any thread. Problems end up in the outcome, so that the other files can go on.
ConvertOutcome convertFile(const PlannedFile &file, const ConvertSettings &settings, Progress &progress);

} // namespace zucli
