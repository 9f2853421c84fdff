#pragma once

#include "report.h"
#include "zutext.h"

#include <string>
#include <string_view>

namespace zucli {

// "Windows-1251 (Russian)"; the language where one is known.
std::string readingName(const zutext_reading &reading);

// "reading", "vote", ...; for people and scripts.
std::string_view decidedBy(const zutext_verdict &verdict);

// What stands in brackets behind an answer: language, how sure, what else it could be. Empty when there is nothing.
std::string remarkOn(const zutext_verdict &verdict);

// Why a hint was not followed, in a sentence; empty when it was, or there was none. `origin` is where the hint stands.
std::string remarkOnHint(const zutext_verdict &verdict, std::string_view hint, std::string_view origin);

// The warning that goes with an unsure reading, in a sentence; empty when it is sure.
std::string warningOn(const zutext_verdict &verdict);

// Adds the fields of a verdict to the open JSON object.
void addVerdict(JsonWriter &json, const zutext_verdict &verdict);

} // namespace zucli
