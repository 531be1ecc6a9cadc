// The command-line driver.
//
// trapsmith [-d dirspec] mibfile compiles the MIB file in mode 1 into
// {base}.int, resolves every imported module into {base}.imports, and then
// assembles {base}.cfg from a header, the ".imports" file and the ".int" file,
// keeping up to ten earlier results as {base}.cfg_1 .. {base}.cfg_10.  All
// work files ({base}.int, {base}.imports and the ".dbg" trace files) are
// removed at the end of every run that got past the command line.  The
// working folder and the folder of {base} are locked for the whole run.
#include "driver.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "folderlock.h"
#include "mib2trap.h"

namespace {

// Capacities of the driver's name buffers.
constexpr size_t kShortName = 128;  // MIB file name, base name, backup names
constexpr size_t kWorkName = 256;   // {base}.int, {base}.imports, {base}.cfg

constexpr int kBackups = 10;
constexpr size_t kCopyBlock = 1021;  // bytes per read of the ".cfg" assembly

const char kUsage[] =
    "\ntrapsmith [-d <dirspec>] <mibfile>\n"
    "The Mib Compiler requires a mib file as input.\n"
    "Example: trapsmith mymib.mib\n"
    "Example: trapsmith -d mibsdir mymib.mib\n";

// The names of one run, all formed from the MIB file name.
struct RunNames {
    char szModuleName[kShortName];     // {base}
    char szPass_1_Output[kWorkName];   // {base}.int
    char szImportsFile[kWorkName];     // {base}.imports
    char szPass_3_File[kWorkName];     // {base}.cfg
};

// Forms every name of the run, checking each capacity first.  A name that
// does not fit is refused with one message before any file is created or
// renamed, instead of being cut short and touching the wrong files.
bool FormNames(const char* szMibFileName, RunNames* names) {
    if (strlen(szMibFileName) >= kShortName) {
        printf("\nMib file name too long: %s\n", szMibFileName);
        return false;
    }
    std::string base(szMibFileName, BaseNameLength(szMibFileName));
    // The longest backup name is {base}.cfg_10.
    std::string longestBackup = base + ".cfg_" + std::to_string(kBackups);
    if (longestBackup.size() >= kShortName) {
        printf("\nMib base name too long: %s\n", base.c_str());
        return false;
    }
    // With the limits above a base name always leaves room for these; the
    // check keeps the buffers below safe should those limits ever change.
    for (const char* suffix : {".int", ".imports", ".cfg"}) {
        if ((base + suffix).size() >= kWorkName) {
            printf("\nWork file name too long: %s%s\n", base.c_str(), suffix);
            return false;
        }
    }
    snprintf(names->szModuleName, sizeof names->szModuleName, "%s", base.c_str());
    snprintf(names->szPass_1_Output, sizeof names->szPass_1_Output, "%s.int", base.c_str());
    snprintf(names->szImportsFile, sizeof names->szImportsFile, "%s.imports", base.c_str());
    snprintf(names->szPass_3_File, sizeof names->szPass_3_File, "%s.cfg", base.c_str());
    return true;
}

// True when `name` is the MIB file itself, by name or by file identity.
bool SameFile(const std::string& mib, const struct stat* mibStat, const std::string& name) {
    if (name == mib) return true;
    struct stat st;
    return mibStat && stat(name.c_str(), &st) == 0 && st.st_dev == mibStat->st_dev &&
           st.st_ino == mibStat->st_ino;
}

// Removes the file named `name` followed by `suffix`.  A name longer than a
// path can be names no file.
void RemoveNamed(const char* name, const char* suffix) {
    char path[PATH_MAX];
    const int n = snprintf(path, sizeof path, "%s%s", name, suffix);
    if (n >= 0 && static_cast<size_t>(n) < sizeof path) remove(path);
}

// A MIB file that is also one of the files the run creates or removes (for
// example "foo.int" or "foo.dbg") would be emptied by the compile or deleted
// by cleanup.  Such a name is refused before anything is touched.
bool ClashesWithWorkFile(const char* szMibFileName, const char* szModuleName) {
    const std::string mib = szMibFileName;
    const std::string base = szModuleName;
    struct stat mibStat;
    const struct stat* pStat = stat(szMibFileName, &mibStat) == 0 ? &mibStat : nullptr;
    for (const std::string& name : {base + ".int", base + ".dbg", base + ".tmp.dbg",
                                    base + ".imports", std::string(".dbg"), std::string(".tmp.dbg")}) {
        if (SameFile(mib, pStat, name)) {
            printf("\nMib file name clashes with work file %s\n", name.c_str());
            return true;
        }
    }
    return false;
}

// Memory ran out: says so in one line, then ends the compile as a failed
// parse does.  The line comes from the compiler object at hand, as catalog
// message 101 with the line being read ("\nLine: N: Error: out of memory");
// with none at hand (the driver's own work) it is "\nError: out of memory".
// Nothing here needs memory.
int FailOutOfMemory(CMib2Trap* mib) {
    if (mib)
        mib->DisplayMsg(101);
    else
        printf("\nError: out of memory");
    printf("\nMib compilation failed.\n");
    return 1;
}

enum class ImportsResult { kCompiled, kWarnings, kOutOfMemory };

// Resolves every imported module into the open ".imports" stream, each with
// a compiler object of its own.  A module that cannot be compiled is a
// warning; running out of memory in one, which would silently drop its
// registrations, fails the whole compile and has been reported.
ImportsResult CompileImports(FILE* pImpFile) {
    bool warnings = false;
    for (importFilesList* entry = importFiles; entry; entry = entry->next) {
        auto mib2TrapImports = std::make_unique<CMib2Trap>();
        try {
            // A module name holding a '/' gets no trace file: ProcessImports
            // reports it as not found before it opens anything.
            if (!ModuleNameIsPath(entry->szLabel) && !mib2TrapImports->Initialize(entry->szLabel, nullptr, 2)) {
                warnings = true;
                printf("\ncould not compile module %s. init failed.\n", entry->szLabel);
            } else if (!mib2TrapImports->ProcessImports(entry, pImpFile)) {
                printf("\ncould not compile module %s\n", entry->szLabel);
                warnings = true;
            }
        } catch (const std::bad_alloc&) {
            FailOutOfMemory(mib2TrapImports.get());
            return ImportsResult::kOutOfMemory;
        }
    }
    return warnings ? ImportsResult::kWarnings : ImportsResult::kCompiled;
}

// Writes {base}.cfg: the header, then the ".imports" file, then the ".int"
// file, after rotating the backups.  Returns the exit status.
//
// Every stream is made before the backups are rotated, so that nothing can
// run out of memory once the previous result has moved: the ".cfg" stream
// starts on /dev/null and takes over the descriptor of the new file when
// that is created.
int AssembleCfg(const RunNames& names, bool warnings) {
    Stream pIntFile = OpenStream("/dev/null", "w");
    Stream pIntCfgFile = OpenStream(names.szPass_1_Output, "r");
    Stream pImpFile = OpenStream(names.szImportsFile, "r");
    RotateBackups(names.szModuleName);

    if (!pIntFile || !pIntFile.Retarget(names.szPass_3_File)) {
        printf("\ncould not open intermediate file %s for output\n", names.szPass_3_File);
        return 1;
    }
    if (!pIntCfgFile) {
        printf("\ncould not open %s for read\n", names.szPass_1_Output);
        return 1;
    }
    if (!pImpFile) {
        printf("\ncould not open %s for read\n", names.szImportsFile);
        return 1;
    }

    // PrintMIB names the module it writes; a header is still well formed if
    // nothing set the name.
    fprintf(pIntFile.get(), "#-MIBFILE: %s.mib\n\n", names.szModuleName);
    fprintf(pIntFile.get(), "%s DEFINITIONS ::= BEGIN\n\n", szMibModuleName ? szMibModuleName : "");
    bool copied = CopyFileBlocks(pImpFile.get(), pIntFile.get()) && CopyFileBlocks(pIntCfgFile.get(), pIntFile.get());
    pImpFile.Close();
    pIntCfgFile.Close();
    copied = pIntFile.Close() == 0 && copied;

    // A result that could not be written completely (a full disk) must not be
    // reported as a success, nor left behind looking like one: the truncated
    // file is removed, and the previous result stays as the newest backup.
    if (!copied) {
        printf("\ncould not write %s\n", names.szPass_3_File);
        remove(names.szPass_3_File);
        return 1;
    }
    if (warnings)
        printf("\nMib file compilation completed with warnings");
    else
        printf("\nMib Compilation completed successfully\n");
    return 0;
}

// The compile phases after the command line, in their fixed order.  Returns
// the exit status; every stream the phases open is closed when it returns.
// Running out of memory ends the phases here, before the backups are
// rotated.
int RunPhases(const char* szMibFileName, RunNames& names) {
    try {
        CMib2Trap mib2Trap;
        try {
            if (!mib2Trap.Initialize(names.szModuleName, names.szPass_1_Output, 1)) return 1;
            if (!mib2Trap.CompileMIB(szMibFileName, 1)) {
                printf("\nMib compilation failed.\n");
                return 1;
            }
        } catch (const std::bad_alloc&) {
            return FailOutOfMemory(&mib2Trap);
        }

        Stream pImpFile = OpenStream(names.szImportsFile, "w");
        if (!pImpFile) {
            printf("\ncould not open %s for output\n", names.szImportsFile);
            return 1;
        }
        const ImportsResult imports = CompileImports(pImpFile.get());
        pImpFile.Close();
        if (imports == ImportsResult::kOutOfMemory) return 1;

        return AssembleCfg(names, imports == ImportsResult::kWarnings);
    } catch (const std::bad_alloc&) {
        return FailOutOfMemory(nullptr);
    }
}

// The run after the banner and the command line: the names, the folder
// locks, the compile phases and the removal of the work files.
int Run(const char* szMibFileName) {
    RunNames names;
    if (!FormNames(szMibFileName, &names)) return 1;
    if (ClashesWithWorkFile(szMibFileName, names.szModuleName)) return 1;

    // One compile per folder at a time: the working folder and the folder
    // the results go to stay locked until the work files are removed, so
    // that runs sharing a folder neither mix their work files nor rotate
    // each other's backups half-way.
    FolderLocks locks({".", FolderOf(names.szModuleName)});

    // The main compiler object is gone by the time cleanup runs, so every
    // stream it held is closed before its files are removed.
    const int retval = RunPhases(szMibFileName, names);
    fflush(stdout);
    cleanup(names.szModuleName);
    return retval;
}

}  // namespace

int TrapsmithMain(int argc, char** argv) {
    printf("\nQuorvane Mib Compiler, Version 1.0\n");
    printf("Copyright (c) Quorvane\n");

    if (argc < 2 || !argv[1]) {
        printf("%s", kUsage);
        return 0;
    }

    const char* szArg;
    if (strcmp(argv[1], "-d") == 0) {
        if (argc != 4) {
            printf("%s", kUsage);
            return 1;
        }
        if (chdir(argv[2]) != 0) {
            printf("\nChange directory to '%s' failed.\n", argv[2]);
            return 1;
        }
        szArg = argv[3];
    } else {
        szArg = argv[1];  // further arguments are ignored
    }

    printf("\nCompiling %s\n", szArg);

    int retval;
    try {
        retval = Run(szArg);
    } catch (const std::bad_alloc&) {
        // Memory ran out before the folders were locked: the run has made no
        // file yet.
        retval = FailOutOfMemory(nullptr);
    }

    // Nothing allocated by the compile survives the run, and the folder
    // locks go with it.
    ResetProcessState();
    return retval;
}

void cleanup(char* szModuleName) {
    // Close stray descriptors: the duplicate of 0 takes the lowest free
    // number, so every descriptor from 3 up to it is open; close them all,
    // the duplicate included.  Standard input, output and error stay open,
    // and so do the run's folder locks, which must outlast the removals.
    int fd = fcntl(0, F_DUPFD, 0);
    if (fd >= 0) {
        for (; fd >= 3; --fd)
            if (!IsFolderLockDescriptor(fd)) close(fd);
    }

    // The names are formed in a buffer on the stack: cleanup also runs after
    // memory ran out.
    const char* base = szModuleName ? szModuleName : "";
    for (const char* suffix : {".int", ".dbg", ".tmp.dbg", ".imports"}) RemoveNamed(base, suffix);
    remove(".dbg");
    remove(".tmp.dbg");

    // Imported modules' files are named after the module name as written; a
    // name holding a '/' never named a file of the run.
    for (importFilesList* entry = importFiles; entry; entry = entry->next) {
        if (!entry->szLabel || ModuleNameIsPath(entry->szLabel)) continue;
        for (const char* suffix : {".int", ".dbg", ".tmp.dbg"}) RemoveNamed(entry->szLabel, suffix);
    }
}

void RotateBackups(const char* szModuleName) {
    if (!szModuleName) return;
    const std::string cfg = std::string(szModuleName) + ".cfg";
    char szFile[kShortName];
    char szOldCfg[kShortName];
    struct stat statbuff;
    // Oldest first, so that each rename moves into a name already vacated.
    for (int n = kBackups; n >= 1; --n) {
        int target = snprintf(szFile, sizeof szFile, "%s_%i", cfg.c_str(), n);
        int source = n > 1 ? snprintf(szOldCfg, sizeof szOldCfg, "%s_%i", cfg.c_str(), n - 1)
                           : snprintf(szOldCfg, sizeof szOldCfg, "%s", cfg.c_str());
        // Never rename between shortened names.
        if (target < 0 || source < 0 || static_cast<size_t>(target) >= sizeof szFile ||
            static_cast<size_t>(source) >= sizeof szOldCfg)
            continue;
        if (stat(szOldCfg, &statbuff) == 0) rename(szOldCfg, szFile);
    }
}

bool CopyFileBlocks(FILE* src, FILE* dst) {
    char line[1024];
    while (!feof(src)) {
        size_t n = fread(line, 1, kCopyBlock, src);
        if (n > 0 && fwrite(line, 1, n, dst) != n) return false;
        if (ferror(src)) return false;
    }
    return fflush(dst) == 0 && !ferror(dst);
}
