#pragma once

#include "convert_file.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace zucli {

// Converts files by several threads and gives them their names group by group. `tell` hears of each file in the order
// of the list, when all is done with it, on the calling thread.
void convertBatch(const std::vector<PlannedFile> &files, const ConvertSettings &settings, size_t jobs,
                  Progress &progress, const std::function<void(const ConvertOutcome &)> &tell);

} // namespace zucli
