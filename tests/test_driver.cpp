// Driver: backup rotation, the block copy of the ".cfg" assembly, cleanup,
// the refusal of a MIB file named like a work file, the folder locks of a
// run, and imported module names that name paths.  cleanup and whole
// runs close descriptors and change the working directory, so they run in a
// child process.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "driver.h"
#include "folderlock.h"
#include "test_util.h"

namespace {

using Names = std::vector<std::string>;

const std::string kBanner = "\nQuorvane Mib Compiler, Version 1.0\nCopyright (c) Quorvane\n";

class DriverTest : public ScratchTest {
protected:
    Names Entries() const {
        Names names;
        for (const auto& e : std::filesystem::directory_iterator(dir_))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    // Runs fn in a child inside the scratch directory; returns its exit
    // status and stores what it printed in *out.
    int InChild(const std::function<int()>& fn, std::string* out) {
        const std::string outName = dir_ + ".out";
        fflush(stdout);
        pid_t pid = fork();
        if (pid == 0) {
            if (chdir(dir_.c_str()) != 0 || !freopen(outName.c_str(), "w", stdout)) _exit(99);
            int rc = fn();
            fflush(stdout);
            _exit(rc);
        }
        int ws = 0;
        waitpid(pid, &ws, 0);
        *out = Slurp(outName);
        remove(outName.c_str());
        return WIFEXITED(ws) ? WEXITSTATUS(ws) : -1;
    }
    int Main(Names args, std::string* out) {
        return InChild([&args]() {
            std::vector<char*> argv{const_cast<char*>("trapsmith")};
            for (auto& a : args) argv.push_back(&a[0]);
            argv.push_back(nullptr);
            return TrapsmithMain(static_cast<int>(argv.size()) - 1, argv.data());
        }, out);
    }
};

}  // namespace

TEST_F(DriverTest, RotationKeepsTheTenNewestResultsAndMovesGapsUp) {
    const std::string base = "FOO-MIB";
    for (int run = 1; run <= 12; ++run) {
        RotateBackups(base.c_str());
        Spit(base + ".cfg", std::to_string(run));
    }
    EXPECT_EQ(Slurp(base + ".cfg"), "12");
    for (int n = 1; n <= 10; ++n) EXPECT_EQ(Slurp(base + ".cfg_" + std::to_string(n)), std::to_string(12 - n));
    EXPECT_EQ(Entries().size(), 11u);

    const std::string gap = "gap";
    Spit(gap + ".cfg", "current");
    Spit(gap + ".cfg_1", "one");
    Spit(gap + ".cfg_3", "three");
    RotateBackups(gap.c_str());
    EXPECT_EQ(Slurp(gap + ".cfg_1") + Slurp(gap + ".cfg_2") + Slurp(gap + ".cfg_4"), "currentonethree");
    EXPECT_EQ(Entries().size(), 14u);
}

TEST(CopyFileBlocks, CopiesEverySizeAroundTheBlockAndReportsWriteErrors) {
    for (size_t size : {0u, 1020u, 1021u, 1022u, 5000u}) {
        std::string data(size, '\0');
        for (size_t i = 0; i < size; ++i) data[i] = static_cast<char>(i * 7 + 3);
        FILE* src = TextStream(data);
        FILE* dst = TextStream("head:");
        fseek(dst, 0, SEEK_END);
        EXPECT_TRUE(CopyFileBlocks(src, dst)) << size;
        EXPECT_EQ(ReadStream(dst), "head:" + data) << size;
        fclose(src);
        fclose(dst);
    }
    FILE* src = TextStream(std::string(5000, 'z'));
    if (FILE* full = fopen("/dev/full", "w")) {
        EXPECT_FALSE(CopyFileBlocks(src, full));
        fclose(full);
    }
    fclose(src);
}

TEST_F(DriverTest, CleanupRemovesWorkFilesAndClosesStrayDescriptors) {
    for (const char* f : {"FOO-MIB.int", "FOO-MIB.dbg", "FOO-MIB.tmp.dbg", "FOO-MIB.imports", ".dbg", ".tmp.dbg",
                          "IMP-MIB.int", "IMP-MIB.dbg", "IMP-MIB.tmp.dbg", "OTHER.dbg", "FOO-MIB.cfg",
                          "FOO-MIB.mib", "IMP-MIB.mib", "unrelated.dbg"})
        Spit(f, "x");
    std::string out;
    int rc = InChild([]() {
        static char imp[] = "IMP-MIB", other[] = "OTHER", base[] = "FOO-MIB";
        static importFilesList second = {nullptr, other, nullptr};
        static importFilesList first = {&second, imp, nullptr};
        importFiles = &first;
        // Descriptors from 3 up to the first gap are closed; above it they stay.
        int a = open("FOO-MIB.mib", O_RDONLY), b = open("FOO-MIB.mib", O_RDONLY),
            c = open("FOO-MIB.mib", O_RDONLY);
        close(b);
        cleanup(base);
        importFiles = nullptr;
        return (fcntl(a, F_GETFD) != -1) | (fcntl(c, F_GETFD) == -1) << 1 | (fcntl(2, F_GETFD) == -1) << 2;
    }, &out);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Entries(), (Names{"FOO-MIB.cfg", "FOO-MIB.mib", "IMP-MIB.mib", "unrelated.dbg"}));
}

TEST_F(DriverTest, MibFileThatIsAWorkFileIsRefusedUntouched) {
    for (std::string name : {"foo.int", "./foo.int", "foo.tmp.dbg", "foo.imports", ".dbg"}) {
        const std::string file = name.substr(name.rfind('/') + 1);
        Spit(file, "FOO-MIB DEFINITIONS ::= BEGIN\nEND\n");
        std::string out;
        EXPECT_EQ(Main({name}, &out), 1) << name;
        EXPECT_EQ(out, kBanner + "\nCompiling " + name + "\n\nMib file name clashes with work file " + name + "\n");
        EXPECT_EQ(Slurp(file), "FOO-MIB DEFINITIONS ::= BEGIN\nEND\n") << name;
        EXPECT_EQ(Entries(), Names{file}) << name;
        remove(file.c_str());
    }
}

TEST_F(DriverTest, CleanupLeavesTheFolderLocksOpenAndHeld) {
    std::string out;
    int rc = InChild([]() {
        static char base[] = "FOO-MIB";
        FolderLocks locks({"."});
        if (locks.Descriptors().size() != 1) return 8;
        const int lock = locks.Descriptors()[0];
        const int stray = open(".", O_RDONLY);
        cleanup(base);
        const bool lockOpen = fcntl(lock, F_GETFD) != -1;
        const bool strayClosed = stray > lock && fcntl(stray, F_GETFD) == -1;
        // Another open file of the folder still cannot take the lock.
        const int probe = open(".", O_RDONLY | O_DIRECTORY);
        const bool held = probe >= 0 && flock(probe, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        return (lockOpen ? 0 : 1) | (strayClosed ? 0 : 2) | (held ? 0 : 4);
    }, &out);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(out, "");
}

// A run waits, before it creates any file, while another holds the lock on
// its working folder or on the folder of its results, and then compiles.
TEST_F(DriverTest, RunWaitsForTheLocksOfItsWorkingAndOutputFolders) {
    ASSERT_EQ(mkdir("work", 0755), 0);
    ASSERT_EQ(mkdir("out", 0755), 0);
    Spit("out/LOCK-MIB.mib", "LOCK-MIB DEFINITIONS ::= BEGIN\nlockRoot OBJECT IDENTIFIER ::= { enterprises 7 }\nEND\n");
    for (const char* held : {"work", "out"}) {
        const int lock = open((dir_ + "/" + held).c_str(), O_RDONLY | O_DIRECTORY);
        ASSERT_GE(lock, 0);
        ASSERT_EQ(flock(lock, LOCK_EX), 0);
        const std::string outName = dir_ + ".out";
        fflush(stdout);
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            // The parent's lock must not live on in the child's copy.
            close(lock);
            if (!freopen(outName.c_str(), "w", stdout)) _exit(99);
            char arg0[] = "trapsmith", d[] = "-d", work[256], mib[] = "../out/LOCK-MIB.mib";
            snprintf(work, sizeof work, "%s/work", dir_.c_str());
            char* argv[] = {arg0, d, work, mib, nullptr};
            const int rc = TrapsmithMain(4, argv);
            fflush(stdout);
            _exit(rc);
        }
        usleep(300 * 1000);
        int ws = 0;
        EXPECT_EQ(waitpid(pid, &ws, WNOHANG), 0) << held;
        EXPECT_EQ(Entries(), (Names{"out", "work"})) << held;
        EXPECT_EQ(std::filesystem::directory_iterator("out")->path().filename(), "LOCK-MIB.mib") << held;
        EXPECT_TRUE(std::filesystem::is_empty("work")) << held;
        close(lock);
        ASSERT_EQ(waitpid(pid, &ws, 0), pid);
        EXPECT_TRUE(WIFEXITED(ws) && WEXITSTATUS(ws) == 0) << held;
        EXPECT_NE(Slurp(outName).find("Mib Compilation completed successfully"), std::string::npos) << held;
        remove(outName.c_str());
        EXPECT_NE(Slurp("out/LOCK-MIB.cfg"), "<missing>") << held;
        remove("out/LOCK-MIB.cfg");
    }
}

// A module name after FROM that holds a '/' names no file: nothing in the
// folder it points at is read, created or removed, whether it is written
// relative to the working folder or absolute, and the import is reported as
// not found, as a missing module is.
TEST_F(DriverTest, ImportedModuleNamedByAPathTouchesNothingThere) {
    ASSERT_EQ(mkdir("work", 0755), 0);
    ASSERT_EQ(mkdir("victim", 0755), 0);
    // Read, it would register dataRoot in the result.
    const std::string dataMib = "DATA DEFINITIONS ::= BEGIN\ndataRoot OBJECT IDENTIFIER ::= { enterprises 4242 }\nEND\n";
    const Names victimFiles{"data.dbg", "data.int", "data.mib", "data.tmp.dbg"};
    for (const std::string& f : victimFiles) Spit("victim/" + f, f == "data.mib" ? dataMib : "keep " + f);
    const std::string absolute = dir_ + "/victim/data";
    Spit("work/PATH-MIB.mib", "PATH-MIB DEFINITIONS ::= BEGIN\nIMPORTS\n    dataRoot FROM ../victim/data\n    dataRoot FROM " +
                                  absolute + "\n    dataRoot FROM ../victim/data;\n"
                                  "pathObjects OBJECT IDENTIFIER ::= { dataRoot 1 }\nEND\n");
    struct stat before {};
    ASSERT_EQ(stat("victim", &before), 0);
    usleep(20 * 1000);  // a later change would show in the folder's times

    std::string out;
    EXPECT_EQ(Main({"-d", "work", "PATH-MIB.mib"}, &out), 0);
    // The name printed is the last one a module is looked for under: the
    // module name with ".mib", lower-cased.
    auto notFound = [](const std::string& module) {
        std::string lower = module + ".mib";
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return "\nFailed to open import file: " + lower + "\ncould not compile module " + module + "\n";
    };
    EXPECT_EQ(out, kBanner + "\nCompiling PATH-MIB.mib\n" + notFound("../victim/data") + notFound(absolute) +
                       notFound("../victim/data") + "\nMib file compilation completed with warnings");
    EXPECT_EQ(Slurp("work/PATH-MIB.cfg"),
              "#-MIBFILE: PATH-MIB.mib\n\nPATH-MIB DEFINITIONS ::= BEGIN\n\n\n"
              "pathObjects OBJECT IDENTIFIER ::= { dataRoot 1 }\n\nEND\n\n");

    Names left;
    for (const auto& e : std::filesystem::directory_iterator("victim")) left.push_back(e.path().filename().string());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, victimFiles);
    for (const std::string& f : victimFiles)
        EXPECT_EQ(Slurp("victim/" + f), f == "data.mib" ? dataMib : "keep " + f) << f;
    struct stat after {};
    ASSERT_EQ(stat("victim", &after), 0);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
}
