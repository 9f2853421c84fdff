#pragma once

#include "convert_file.h"
#include "report.h"

namespace zucli {

struct ConvertSummary {
    size_t files = 0;
    size_t written = 0;
    size_t unchanged = 0;
    size_t textLost = 0;
    size_t failed = 0;

    void add(const ConvertOutcome &outcome);
};

// Lost text and errors are told even when quiet.
void printOutcome(const ConvertOutcome &outcome, bool quiet);
void printSummary(const ConvertSummary &summary);

void addOutcome(JsonWriter &json, const ConvertOutcome &outcome);
void addSummary(JsonWriter &json, const ConvertSummary &summary);

} // namespace zucli
