// The walk of the batch's trees, the module index and the links of a compile.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "collect.h"

using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

class BatchCollect : public ::testing::Test {
protected:
    void SetUp() override {
        char dir[] = "/tmp/batch-collect.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        root = dir;
    }
    void TearDown() override { std::system(("rm -rf '" + root + "'").c_str()); }

    void Write(const std::string& name, const std::string& text) {
        std::string path = root + "/" + name;
        std::system(("mkdir -p \"$(dirname '" + path + "')\"").c_str());
        std::ofstream(path) << text;
    }
    static std::string Module(const std::string& name, const std::string& imports = "") {
        return name + " DEFINITIONS ::= BEGIN\n" + (imports.empty() ? "" : "IMPORTS x FROM " + imports + ";\n") + "END\n";
    }
    std::vector<std::string> Paths(const batch::Collection& c) {
        std::vector<std::string> paths;
        for (const auto& f : c.files) paths.push_back(f.path.substr(root.size() + 1));
        return paths;
    }
    std::string Winner(const batch::Collection& c, const std::string& module) {
        return c.files[c.index.at(module)].path.substr(root.size() + 1);
    }

    std::string root;
};

TEST_F(BatchCollect, WalkIsSortedEndsLinkCyclesAndLeavesOutTheOutputFolder) {
    Write("tree/b/B-MIB", Module("B-MIB"));
    Write("tree/a.my", Module("A-MIB"));
    Write("tree/out/OLD.cfg", Module("A-MIB"));
    Write("tree/c.txt", "no header here\n");
    ASSERT_EQ(symlink("..", (root + "/tree/b/up").c_str()), 0);          // a cycle
    ASSERT_EQ(symlink("missing", (root + "/tree/dangling").c_str()), 0);  // points nowhere
    ASSERT_EQ(mkfifo((root + "/tree/fifo").c_str(), 0600), 0);            // not a regular file
    batch::Collection c;
    std::string error;
    ASSERT_TRUE(batch::CollectFiles({root + "/tree"}, {}, root + "/tree/out", 2, &c, &error)) << error;
    EXPECT_THAT(Paths(c), ElementsAre("tree/a.my", "tree/b/B-MIB", "tree/c.txt"));
    EXPECT_EQ(c.files[1].depth, 1);
    EXPECT_EQ(c.files[2].skipped, "no module header");
    EXPECT_TRUE(c.problems.empty());
}

TEST_F(BatchCollect, RootsThatCannotBeRead) {
    batch::Collection c;
    std::string error;
    EXPECT_FALSE(batch::CollectFiles({root + "/none"}, {}, "", 2, &c, &error));
    EXPECT_THAT(error, ::testing::HasSubstr("cannot read"));
    Write("ok", Module("OK-MIB"));
    EXPECT_FALSE(batch::CollectFiles({root + "/ok"}, {root + "/none"}, "", 2, &c, &error));
    // A file named directly is a root of its own.
    batch::Collection d;
    ASSERT_TRUE(batch::CollectFiles({root + "/ok"}, {}, "", 2, &d, &error));
    ASSERT_EQ(d.files.size(), 1u);
    EXPECT_EQ(d.files[0].path, root + "/ok");
    EXPECT_EQ(d.files[0].modules.front(), "OK-MIB");
}

TEST_F(BatchCollect, BinaryFilesAreSkippedFromTheirFirstBlock) {
    std::string binary(1 << 20, '\0');
    Write("tree/blob", binary + Module("HIDDEN-MIB"));
    batch::Collection c;
    std::string error;
    ASSERT_TRUE(batch::CollectFiles({root + "/tree"}, {}, "", 2, &c, &error));
    EXPECT_EQ(c.files[0].skipped, "not text");
    EXPECT_TRUE(c.files[0].modules.empty());
}

TEST_F(BatchCollect, EarliestRootThenFewestLevelsThenPathWins) {
    Write("one/deep/er/M-MIB", Module("M-MIB"));
    Write("one/z/M-MIB", Module("M-MIB"));
    Write("one/a/M-MIB", Module("M-MIB"));
    Write("two/M-MIB", Module("M-MIB"));
    Write("two/N-MIB", Module("N-MIB"));
    Write("with/N-MIB", Module("N-MIB"));
    Write("with/W-MIB", Module("W-MIB"));
    batch::Collection c;
    std::string error;
    ASSERT_TRUE(batch::CollectFiles({root + "/one", root + "/two"}, {root + "/with"}, "", 2, &c, &error));
    batch::BuildIndex(&c);
    EXPECT_EQ(Winner(c, "M-MIB"), "one/a/M-MIB");
    EXPECT_EQ(Winner(c, "N-MIB"), "two/N-MIB");
    EXPECT_EQ(Winner(c, "W-MIB"), "with/W-MIB");
    EXPECT_FALSE(c.files[c.index.at("W-MIB")].compile);
}

TEST_F(BatchCollect, ImportsFoundUnderTheCompilersCandidateNamesAndThroughOtherImports) {
    Write("t/main", Module("MAIN-MIB", "MID-MIB x FROM IF-MIB y FROM Lower-MIB z FROM ABSENT-MIB w FROM ../x"));
    Write("t/mid", Module("MID-MIB", "LEAF-MIB"));
    Write("t/leaf", Module("LEAF-MIB", "MAIN-MIB"));  // back to the start: a cycle of imports
    Write("t/if", Module("if"));                     // found as "if.mib" for IF-MIB
    Write("t/lower", Module("lower-mib"));           // found as "lower-mib.mib"
    batch::Collection c;
    std::string error;
    ASSERT_TRUE(batch::CollectFiles({root + "/t"}, {}, "", 2, &c, &error));
    batch::BuildIndex(&c);
    std::string link;
    size_t file;
    ASSERT_TRUE(batch::FindImport(c, "IF-MIB", &link, &file));
    EXPECT_EQ(link, "if.mib");
    EXPECT_FALSE(batch::FindImport(c, "ABSENT-MIB", &link, &file));
    EXPECT_FALSE(batch::FindImport(c, "../x", &link, &file));
    auto links = batch::ImportClosure(c, c.index.at("MAIN-MIB"));
    std::vector<std::string> names;
    for (const auto& [name, target] : links) names.push_back(name + "=" + c.files[target].path.substr(root.size() + 3));
    EXPECT_THAT(names, ElementsAre("LEAF-MIB.mib=leaf", "MAIN-MIB.mib=main", "MID-MIB.mib=mid", "if.mib=if",
                                   "lower-mib.mib=lower"));
}

}  // namespace
