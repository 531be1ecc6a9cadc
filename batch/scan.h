// The batch's own scanner of MIB files: it finds the module headers
// ("NAME DEFINITIONS ::= BEGIN") and the module names after FROM in IMPORTS
// clauses, skipping comments and quoted texts.  It judges nothing else: the
// compiler stays the one judge of a module.
#ifndef TRAPSMITH_BATCH_SCAN_H
#define TRAPSMITH_BATCH_SCAN_H

#include <cstddef>
#include <string>
#include <vector>

namespace batch {

struct ScanResult {
    std::vector<std::string> modules;  // module names, in file order
    std::vector<std::string> imports;  // module names after FROM, first mention first
};

// Scans a whole file held in memory.
ScanResult ScanModules(const char* data, size_t size);

// True when the first bytes of a file look like text: no NUL byte and few
// control characters other than white space.  Only `size` bytes are looked
// at, so a large binary file is judged from its first block.
bool LooksLikeText(const char* data, size_t size);

// A module name that may become a file name in a scratch folder: not empty,
// no "/", not "." or "..", no control character.
bool UsableModuleName(const std::string& name);

}  // namespace batch

#endif  // TRAPSMITH_BATCH_SCAN_H
