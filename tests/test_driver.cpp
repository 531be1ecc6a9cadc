// Driver: backup rotation, the block copy of the ".cfg" assembly, cleanup,
// and the refusal of a MIB file named like a work file.  cleanup and whole
// runs close descriptors and change the working directory, so they run in a
// child process.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "driver.h"
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
