#pragma once

#include "convert_file.h"
#include "report.h"

#include <string>

namespace zucli {

// What the user chose, so that no advice names it again.
struct ReportSettings {
    bool quiet = false;
    bool fromGiven = false;
    std::string hint;       // the encodings and languages that were preferred
    std::string hintOrigin; // and where they stand
};

struct ConvertSummary {
    size_t files = 0;
    size_t written = 0;
    size_t wouldWrite = 0; // in a dry run
    size_t unchanged = 0;
    size_t textLost = 0;
    size_t unsure = 0;
    size_t failed = 0;

    void add(const ConvertOutcome &outcome);
};

// Lost text, unsure readings and errors are told even when quiet.
void printOutcome(const ConvertOutcome &outcome, const ReportSettings &settings);
void printSummary(const ConvertSummary &summary);

void addOutcome(JsonWriter &json, const ConvertOutcome &outcome);
void addSummary(JsonWriter &json, const ConvertSummary &summary);

} // namespace zucli
