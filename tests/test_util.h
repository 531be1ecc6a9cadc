// Helpers shared by the unit tests: a compiler object reading a MIB text from
// memory, with its trace and output captured in temporary files, and a
// scratch working directory for the code that names its files itself.
#ifndef TRAPSMITH_TEST_UTIL_H
#define TRAPSMITH_TEST_UTIL_H

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>

#include <gtest/gtest.h>

#include "mib2trap.h"

// Reads the whole of a stream from its start, leaving the position at its end.
inline std::string ReadStream(FILE* f) {
    std::string s;
    if (!f) return s;
    fflush(f);
    rewind(f);
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, f)) > 0) s.append(buf, n);
    return s;
}

// A stream holding text, positioned at its start.
inline FILE* TextStream(const std::string& text) {
    FILE* f = std::tmpfile();
    if (f) {
        fwrite(text.data(), 1, text.size(), f);
        rewind(f);
    }
    return f;
}

// The whole content of a file, or "<missing>".
inline std::string Slurp(const std::string& name) {
    FILE* f = fopen(name.c_str(), "rb");
    std::string s = f ? ReadStream(f) : "<missing>";
    if (f) fclose(f);
    return s;
}

inline void Spit(const std::string& name, const std::string& text) {
    FILE* f = fopen(name.c_str(), "wb");
    ASSERT_NE(f, nullptr) << name;
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
}

// Runs each test in a fresh scratch directory, with the process state reset
// before and after.
class ScratchTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetProcessState();
        char tmpl[] = "/tmp/trapsmith-testXXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir_ = tmpl;
        ASSERT_EQ(chdir(dir_.c_str()), 0);
    }
    void TearDown() override {
        ResetProcessState();
        EXPECT_EQ(chdir("/"), 0);
        EXPECT_EQ(system(("rm -rf " + dir_).c_str()), 0);
    }
    std::string dir_;
};

// A compiler object set up as a compile would leave it just before parsing:
// keyword hash built, input open on `text`, line counter at 1, the process
// state reset, and trace and intermediate output going to temporary files.
struct MibFixture {
    CMib2Trap mib;

    explicit MibFixture(const std::string& text = "") {
        ResetProcessState();
        mib.HashInit();
        mib.m_pInFile = TextStream(text);
        mib.m_pTrapFile = Stream(std::tmpfile());
        mib.m_pCfgFile = Stream(std::tmpfile());
        mib.m_nLine = 1;
    }
    ~MibFixture() {
        if (mib.m_pInFile) fclose(mib.m_pInFile);
        mib.m_pInFile = nullptr;  // the trace and output streams close themselves
        ResetProcessState();
    }
    MibFixture(const MibFixture&) = delete;
    MibFixture& operator=(const MibFixture&) = delete;

    // Next token in plain mode (or with the given flags).
    int Next(std::string* text = nullptr, int flags = 0) {
        char buf[TRAP_TOKEN_BUF];
        int code = mib.GetToken(mib.m_pInFile, buf, flags);
        if (text) *text = buf;
        return code;
    }
    std::string TraceText() { return ReadStream(mib.m_pTrapFile.get()); }
};

// Captures what a piece of code prints on standard output.
#define CAPTURE_STDOUT(out, stmt)                 \
    do {                                          \
        fflush(stdout);                           \
        ::testing::internal::CaptureStdout();     \
        stmt;                                     \
        fflush(stdout);                           \
        out = ::testing::internal::GetCapturedStdout(); \
    } while (0)

// Parse records made for a test, each with a label of its own; they live as
// long as the object.
struct Records {
    std::deque<std::string> labels;
    std::deque<node> nodes;
    node* Add(const std::string& label) {
        node* np = &nodes.emplace_back();
        np->szLabel = labels.emplace_back(label).c_str();
        return np;
    }
};

#endif  // TRAPSMITH_TEST_UTIL_H
