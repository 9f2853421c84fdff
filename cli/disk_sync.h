#pragma once

#include <set>
#include <span>
#include <string>
#include <vector>

namespace zucli {

// Waits until the content of these open files is safe on the disk; gives 0 or an errno value for each. Many files cost
// hardly more than one where the file system can be asked to write all it has.
std::vector<int> syncFiles(std::span<const int> descriptors);

// The same for the names in these folders. Failures do not count: some file systems cannot sync a folder.
void syncFolders(const std::set<std::string> &folders);

} // namespace zucli
