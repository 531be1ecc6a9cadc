// File helpers of the batch: whole reads, and writes that leave a file whole
// or untouched.
#ifndef TRAPSMITH_BATCH_FILES_H
#define TRAPSMITH_BATCH_FILES_H

#include <cstddef>
#include <string>

namespace batch {

// The first `limit` bytes of a file; `ok` (when given) tells whether it
// could be opened and read.
std::string ReadFile(const std::string& name, size_t limit, bool* ok = nullptr);

// Writes `data` to `target` whole or not at all: into a temporary file of the
// same folder, then renamed over the target.  On failure nothing is left and
// `error` says why.
bool WriteWhole(const std::string& target, const std::string& data, std::string* error);

// Whether files can be created in `folder`: one is created and removed.
bool Writable(const std::string& folder, std::string* error);

}  // namespace batch

#endif  // TRAPSMITH_BATCH_FILES_H
