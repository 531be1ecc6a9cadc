// The command line of trapsmith-batch and the choice of the compiler.
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "batch.h"
#include "options.h"

using ::testing::ElementsAre;

namespace {

bool Parse(const std::vector<std::string>& args, batch::Options* options, std::string* error = nullptr) {
    std::string ignored;
    return batch::ParseOptions(args, options, error ? error : &ignored);
}

TEST(BatchOptions, ShortLongAndJoinedForms) {
    batch::Options o;
    ASSERT_TRUE(Parse({"-j", "3", "--output=out", "--with", "std", "--with=more", "--timeout", "2.5", "-q",
                       "--report", "r.tsv", "--compiler=./tc", "tree", "-", "--", "-odd"},
                      &o));
    EXPECT_EQ(o.jobs, 3);
    EXPECT_EQ(o.outdir, "out");
    EXPECT_THAT(o.withs, ElementsAre("std", "more"));
    EXPECT_DOUBLE_EQ(o.timeout, 2.5);
    EXPECT_TRUE(o.quiet);
    EXPECT_EQ(o.report, "r.tsv");
    EXPECT_EQ(o.compiler, "./tc");
    EXPECT_THAT(o.paths, ElementsAre("tree", "-", "-odd"));
    batch::Options p;
    ASSERT_TRUE(Parse({"-j4", "-oOUT", "--jobs=2", "a"}, &p));
    EXPECT_EQ(p.jobs, 2);
    EXPECT_EQ(p.outdir, "OUT");
}

TEST(BatchOptions, BadUsage) {
    const std::vector<std::vector<std::string>> bad = {
        {},                      // no PATH
        {"-j", "0", "a"},        {"-j", "x", "a"}, {"--jobs"},          {"--timeout", "-1", "a"},
        {"--timeout=nan", "a"},  {"-x", "a"},      {"--quiet=1", "a"},  {"-o", "", "a"},
        {"--bogus", "a"},
    };
    for (const auto& args : bad) {
        batch::Options o;
        std::string error;
        EXPECT_FALSE(Parse(args, &o, &error)) << ::testing::PrintToString(args);
        EXPECT_FALSE(error.empty());
    }
    batch::Options help, version;
    EXPECT_TRUE(Parse({"--help"}, &help));
    EXPECT_TRUE(help.help);
    EXPECT_TRUE(Parse({"--version"}, &version));
    EXPECT_TRUE(version.version);
}

TEST(BatchOptions, CompilerGivenBesideTheProgramOrOnPath) {
    char dir[] = "/tmp/batch-options.XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    std::string root = dir;
    std::string tool = root + "/trapsmith";
    FILE* f = fopen(tool.c_str(), "w");
    ASSERT_NE(f, nullptr);
    fclose(f);
    // Not executable yet: not a compiler.
    EXPECT_EQ(batch::FindCompiler(tool, ""), "");
    chmod(tool.c_str(), 0755);
    EXPECT_EQ(batch::FindCompiler(tool, ""), tool);
    EXPECT_EQ(batch::FindCompiler("", root + "/trapsmith-batch"), tool);
    std::string path = getenv("PATH") ? getenv("PATH") : "";
    setenv("PATH", root.c_str(), 1);
    EXPECT_EQ(batch::FindCompiler("trapsmith", ""), tool);
    EXPECT_EQ(batch::FindCompiler("", "trapsmith-batch"), tool);
    setenv("PATH", "/nonexistent", 1);
    EXPECT_EQ(batch::FindCompiler("", "/nonexistent/trapsmith-batch"), "");
    setenv("PATH", path.c_str(), 1);
    std::system(("rm -rf '" + root + "'").c_str());
}

}  // namespace
