// The files of a batch: the walk of the trees named on the command line, the
// scan of each file, and the index from module name to the file that defines
// it.
#ifndef TRAPSMITH_BATCH_COLLECT_H
#define TRAPSMITH_BATCH_COLLECT_H

#include <map>
#include <string>
#include <vector>

namespace batch {

struct SourceFile {
    std::string path;      // as reached from its root ("vendor/sub/FOO-MIB")
    std::string target;    // absolute name, for the links of the scratch folders
    int root = 0;          // index of its root: the PATHs in order, then the --with folders
    int depth = 0;         // folder levels below its root
    bool compile = false;  // under a PATH (true) or a --with folder (false)
    std::string skipped;   // why it is not compiled ("no module header", ...), or empty
    std::vector<std::string> modules;
    std::vector<std::string> imports;
    bool scanned = false;
};

struct Collection {
    std::vector<SourceFile> files;
    std::map<std::string, size_t> index;  // module name -> the winning file
    std::vector<std::string> problems;    // folders that could not be read
};

// Walks every root (recursively, following links, each folder once so that a
// link cycle ends) and scans every regular file.  `exclude` is a folder left
// out of the walk (the output folder when it lies inside a tree).  Files are
// scanned on `threads` threads.  Returns false with `error` set when a root
// cannot be read at all.
bool CollectFiles(const std::vector<std::string>& paths, const std::vector<std::string>& withs,
                  const std::string& exclude, int threads, Collection* collection, std::string* error);

// Fills `index`: where several files define a module, the file of the
// earliest root wins, then the one with the fewest folder levels below its
// root, then the path in byte order.
void BuildIndex(Collection* collection);

// The file name under which a compile in a flat folder of every module
// (each linked as MODULE.mib) finds an imported module, and the file behind
// it; false when none.  Mirrors the compiler's three candidate names.
bool FindImport(const Collection& collection, const std::string& module, std::string* linkName,
                size_t* file);

// The links a compile of `file` needs: every module it imports, directly or
// through the modules it imports, as link name -> file.
std::map<std::string, size_t> ImportClosure(const Collection& collection, size_t file);

}  // namespace batch

#endif  // TRAPSMITH_BATCH_COLLECT_H
