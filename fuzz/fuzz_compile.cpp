// libFuzzer target: compiles an in-memory MIB through the real compiler
// object, the way the driver does (main module in mode 1, then every import in
// mode 2 into the imports file), with the imported modules' files taken from a
// fixed scratch folder.
//
// The scratch folder (TRAPSMITH_FUZZ_DIR, prepared by fuzz/run.sh) holds the
// import files and receives the work files of every run.  After each run
// every file that was not there at start-up is removed again, the
// process-wide state is reset, and the process must hold exactly the
// descriptors it held before: the driver's descriptor sweep is left out (it
// would close the fuzzer's own descriptors), so a stream the compile forgot
// to close shows up here as a finding instead of being swept away.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "mib2trap.h"

namespace {

const char kBase[] = "FUZZ-MIB";
const char kMibFile[] = "FUZZ-MIB.mib";
const char kIntFile[] = "FUZZ-MIB.int";
const char kImportsFile[] = "FUZZ-MIB.imports";

// The files of the scratch folder at start-up: the import files.  Nothing
// else may survive a run.
std::set<std::string> g_keep;

[[noreturn]] void Fail(const char* what) {
    fprintf(stderr, "fuzz_compile: %s\n", what);
    abort();
}

std::set<std::string> ListFolder() {
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
int LowestFreeDescriptor() {
    int fd = fcntl(0, F_DUPFD, 0);
    if (fd < 0) Fail("cannot duplicate descriptor 0");
    close(fd);
    return fd;
}

// Module names become file names ("{module}.dbg" and the import file names);
// a name holding a "/" would reach outside the scratch folder.
bool StaysInScratch(const char* szModule) { return szModule && !strchr(szModule, '/'); }

// The driver's compile phases, minus the command line and the ".cfg"
// assembly: the main module into FUZZ-MIB.int, then each import into
// FUZZ-MIB.imports.
void Compile() {
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

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* dir = getenv("TRAPSMITH_FUZZ_DIR");
    // Every run deletes the files it did not find at start-up, so the target
    // refuses to run anywhere but in a folder made for it.
    if (!dir || !*dir) Fail("TRAPSMITH_FUZZ_DIR must name the scratch folder");
    if (chdir(dir) != 0) Fail("cannot enter TRAPSMITH_FUZZ_DIR");
    g_keep = ListFolder();
    g_keep.erase(kMibFile);
    // The compiler reports on standard output; keep the fuzzer's log readable.
    if (!freopen("/dev/null", "w", stdout)) Fail("cannot redirect standard output");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int freeBefore = LowestFreeDescriptor();

    FILE* in = fopen(kMibFile, "wb");
    if (!in) Fail("cannot write the input file");
    if (size && fwrite(data, 1, size, in) != size) Fail("cannot write the input file");
    if (fclose(in) != 0) Fail("cannot write the input file");

    Compile();
    fflush(stdout);

    // Every work file of the run (".int", ".imports", the ".dbg" trace files
    // of the main module and of each import, whatever its name) goes.
    for (const std::string& name : ListFolder()) {
        if (!g_keep.count(name)) remove(name.c_str());
    }
    ResetProcessState();

    if (LowestFreeDescriptor() != freeBefore) Fail("a compile left a descriptor open");
    return 0;
}
