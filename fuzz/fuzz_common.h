// The parts the libFuzzer targets share: the scratch folder every run works
// in, the driver's compile phases, the clean-up and descriptor check after a
// run, and the count of large inputs.
//
// The scratch folder (TRAPSMITH_FUZZ_DIR, prepared by fuzz/run.sh) holds the
// import files and receives the work files of every run.  After each run
// every file that was not there at start-up is removed again, the
// process-wide state is reset, and the process must hold exactly the
// descriptors it held before: the driver's descriptor sweep is left out (it
// would close the fuzzer's own descriptors), so a stream the compile forgot
// to close shows up here as a finding instead of being swept away.
#ifndef TRAPSMITH_FUZZ_COMMON_H
#define TRAPSMITH_FUZZ_COMMON_H

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <set>
#include <string>

#include "mib2trap.h"

namespace fuzz {

// The main module: its file, the base name the driver would form from it,
// and the work files of the compile phases.
const char kBase[] = "FUZZ-MIB";
const char kMibFile[] = "FUZZ-MIB.mib";
const char kIntFile[] = "FUZZ-MIB.int";
const char kImportsFile[] = "FUZZ-MIB.imports";

// Inputs longer than this can reach past the compiler's fixed limits (a
// quoted text is kept up to 4,096 characters); their executions are counted
// and reported at exit.
constexpr size_t kLargeInput = 4096;

// Name of the target in messages.
inline const char* g_name = "fuzz";
// The files of the scratch folder at start-up: the import files.  Nothing
// else may survive a run.
inline std::set<std::string> g_keep;
// Executions in all, and executions of inputs longer than kLargeInput.
inline unsigned long long g_runs = 0;
inline unsigned long long g_largeRuns = 0;

[[noreturn]] inline void Fail(const char* what) {
    fprintf(stderr, "%s: %s\n", g_name, what);
    abort();
}

inline std::set<std::string> ListFolder() {
    std::set<std::string> names;
    DIR* dir = opendir(".");
    if (!dir) Fail("cannot list the scratch folder");
    while (dirent* e = readdir(dir)) {
        if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) names.insert(e->d_name);
    }
    closedir(dir);
    return names;
}

// The lowest descriptor number not in use.
inline int LowestFreeDescriptor() {
    int fd = fcntl(0, F_DUPFD, 0);
    if (fd < 0) Fail("cannot duplicate descriptor 0");
    close(fd);
    return fd;
}

// fuzz/run.sh reads this line from the fuzzer's log; libFuzzer leaves
// through exit() when its time is up, so the handler runs then.
inline void ReportCounts() {
    fprintf(stderr, "%s: %llu executions, %llu of inputs larger than %zu bytes\n", g_name, g_runs,
            g_largeRuns, kLargeInput);
}

// Enters the scratch folder and notes its files.  `written` names the files
// every run writes itself: they are removed after each run even when a
// previous process left them behind.
inline void Setup(const char* name, std::initializer_list<const char*> written) {
    g_name = name;
    const char* dir = getenv("TRAPSMITH_FUZZ_DIR");
    // Every run deletes the files it did not find at start-up, so the target
    // refuses to run anywhere but in a folder made for it.
    if (!dir || !*dir) Fail("TRAPSMITH_FUZZ_DIR must name the scratch folder");
    if (chdir(dir) != 0) Fail("cannot enter TRAPSMITH_FUZZ_DIR");
    g_keep = ListFolder();
    for (const char* file : written) g_keep.erase(file);
    // The compiler reports on standard output; keep the fuzzer's log readable.
    if (!freopen("/dev/null", "w", stdout)) Fail("cannot redirect standard output");
    atexit(ReportCounts);
}

inline void CountRun(size_t size) {
    ++g_runs;
    if (size > kLargeInput) ++g_largeRuns;
}

inline void WriteFile(const char* name, const uint8_t* data, size_t size) {
    FILE* f = fopen(name, "wb");
    if (!f) Fail("cannot write an input file");
    if (size && fwrite(data, 1, size, f) != size) Fail("cannot write an input file");
    if (fclose(f) != 0) Fail("cannot write an input file");
}

// Module names become file names ("{module}.dbg" and the import file names);
// a name holding a "/" would reach outside the scratch folder.
inline bool StaysInScratch(const char* szModule) { return szModule && !strchr(szModule, '/'); }

// The driver's compile phases, minus the command line and the ".cfg"
// assembly: the main module into FUZZ-MIB.int, then each import into
// FUZZ-MIB.imports.
inline void Compile() {
    CMib2Trap mib;
    if (!mib.Initialize(kBase, kIntFile, 1) || !mib.CompileMIB(kMibFile, 1)) return;
    FILE* imp = fopen(kImportsFile, "w");
    if (!imp) return;
    for (importFilesList* ip = importFiles; ip; ip = ip->next) {
        if (!StaysInScratch(ip->szLabel)) continue;
        CMib2Trap importer;
        if (importer.Initialize(ip->szLabel, nullptr, 2)) importer.ProcessImports(ip, imp);
    }
    fclose(imp);
}

// After a run: every work file (".int", ".imports", the ".dbg" trace files
// of the main module and of each import, whatever its name) and every input
// file goes, the process-wide state is reset, and the descriptors must be
// those held before the run.
inline void Finish(int freeBefore) {
    fflush(stdout);
    for (const std::string& name : ListFolder()) {
        if (!g_keep.count(name)) remove(name.c_str());
    }
    ResetProcessState();
    if (LowestFreeDescriptor() != freeBefore) Fail("a compile left a descriptor open");
}

}  // namespace fuzz

#endif  // TRAPSMITH_FUZZ_COMMON_H
