// Compiler object: the trace and intermediate files Initialize opens, the
// failure paths of Initialize and CompileMIB, the three modes, and the
// streams the object leaves open.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "smitext.h"
#include "test_util.h"

namespace {

bool Exists(const std::string& name) { return access(name.c_str(), F_OK) == 0; }

class CompilerTest : public ScratchTest {
protected:
    // Initialize (when out is given) then CompileMIB; returns what they printed.
    std::string Run(CMib2Trap& mib, const char* base, const char* out, const char* mibFile, int pass,
                    bool* ok) {
        std::string printed;
        CAPTURE_STDOUT(printed, *ok = mib.Initialize(base, out, pass) && mib.CompileMIB(mibFile, pass));
        return printed;
    }
};

}  // namespace

TEST(BaseNameLength, CutsAtTheFirstDotAfterANonDot) {
    auto cut = [](const char* s) { return std::string(s, BaseNameLength(s)); };
    EXPECT_EQ(cut("foo.old.mib"), "foo");
    EXPECT_EQ(cut("../mibs/foo.mib"), "../mibs/foo");
    EXPECT_EQ(cut(".hidden.mib"), ".hidden");
    EXPECT_EQ(cut("noext"), "noext");
    EXPECT_EQ(cut("..."), "...");
}

TEST_F(CompilerTest, InitializeNamesTheTraceFileAfterTheCutName) {
    CMib2Trap main, imported;
    ASSERT_TRUE(main.Initialize("FOO-MIB.old.mib", "out.int", 1));
    EXPECT_STREQ(main.m_tmpFileStr, "FOO-MIB.dbg");
    EXPECT_TRUE(Exists("FOO-MIB.dbg") && Exists("out.int"));
    // Without a dot ".dbg" goes on the whole name; mode 2 needs no output file.
    ASSERT_TRUE(imported.Initialize("SNMPv2-SMI", nullptr, 2));
    EXPECT_STREQ(imported.m_tmpFileStr, "SNMPv2-SMI.dbg");
    EXPECT_EQ(imported.m_pCfgFile.get(), nullptr);
}

TEST_F(CompilerTest, InitializeFailuresPrintTheirMessageWithLineZero) {
    struct Case { const char* file; const char* out; int pass; std::string printed; };
    const std::string fits(123, 'a'), tooLong(124, 'b'), longExt = "c." + std::string(130, 'x');
    for (const Case& c : {
             Case{nullptr, "x.int", 1, "\nError in init: mib file not specified"},
             Case{"nodir/foo.mib", "x.int", 1, "\nLine: 0: Failure to open temporary file nodir/foo.dbg"},
             Case{"foo", nullptr, 3, "\nError in init: intermediate output file not specified"},
             Case{"bar", "nodir/bar.int", 1, "\nLine: 0: Failure to open temporary file nodir/bar.int"},
             // The trace name and the given name must both fit 128 characters.
             Case{tooLong.c_str(), nullptr, 2, "\nLine: 0: Failure to open temporary file " + tooLong + ".dbg"},
             Case{longExt.c_str(), nullptr, 2, "\nLine: 0: Failure to open temporary file c.dbg"},
         }) {
        CMib2Trap mib;
        std::string printed;
        bool ok = true;
        CAPTURE_STDOUT(printed, ok = mib.Initialize(c.file, c.out, c.pass));
        EXPECT_FALSE(ok) << c.printed;
        EXPECT_EQ(printed, c.printed);
    }
    EXPECT_FALSE(Exists(tooLong + ".dbg") || Exists("c.dbg"));
    CMib2Trap mib;
    EXPECT_TRUE(mib.Initialize(fits.c_str(), nullptr, 2));  // 123 + ".dbg" fills the buffer
}

TEST_F(CompilerTest, MissingOrUnparsableInputFailsOnlyTheMainCompile) {
    CMib2Trap missing;
    bool ok = true;
    EXPECT_EQ(Run(missing, "nosuch", "nosuch.int", "nosuch.mib", 1, &ok),
              "\nLine: 0: Failure to open input file nosuch.mib");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(Exists("nosuch.dbg"));
    EXPECT_TRUE(missing.m_pTrapFile == nullptr && missing.m_pCfgFile == nullptr);

    // A module without END fails to parse in every mode.
    Spit("broken.mib", "BROKEN-MIB DEFINITIONS ::= BEGIN\nfoo OBJECT IDENTIFIER ::= { bar 1 }\n");
    for (int pass : {1, 2, 3}) {
        ResetProcessState();
        CMib2Trap mib;
        Run(mib, "broken", "broken.int", "broken.mib", pass, &ok);
        EXPECT_EQ(ok, pass != 1) << pass;
        EXPECT_TRUE(mib.m_pInFile == nullptr && mib.m_pTrapFile == nullptr && mib.m_pCfgFile == nullptr);
        EXPECT_EQ(Slurp("broken.dbg").rfind("#-MIBFILE: broken.mib\n\n", 0), 0u) << pass;
        EXPECT_EQ(Slurp("broken.int"), "") << pass;
    }
}

// Needs the tokenizer, the module parser and the writer.
TEST_F(CompilerTest, Mode3PutsAMibFileLineAheadOfTheMode1Text) {
    Spit("small.txt",
         "SMALL-MIB DEFINITIONS ::= BEGIN\nacme OBJECT IDENTIFIER ::= { enterprises 4242 }\nEND\n");
    bool ok = false;
    CMib2Trap one;
    Run(one, "small", "small.int", "small.txt", 1, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Slurp("small.dbg").rfind("#-MIBFILE: small.txt\n\n#-MODULENAME: SMALL-MIB\n\n", 0), 0u);
    ResetProcessState();
    CMib2Trap three;
    Run(three, "small", "small3.int", "small.txt", 3, &ok);
    EXPECT_TRUE(ok);
    EXPECT_NE(Slurp("small.int").find("acme OBJECT IDENTIFIER"), std::string::npos);
    EXPECT_EQ(Slurp("small3.int"), "#-MIBFILE: small.mib\n\n" + Slurp("small.int"));
}

TEST_F(CompilerTest, DestructorClosesStreamsAndTraceStopsWithoutAFile) {
    int traceFd, outFd;
    {
        CMib2Trap mib;  // as import resolution leaves it: trace file still open
        ASSERT_TRUE(mib.Initialize("IMPORTED-MIB", "left.int", 1));
        traceFd = fileno(mib.m_pTrapFile.get());
        outFd = fileno(mib.m_pCfgFile.get());
        mib.Trace("%s %d%%\n", "#-OBJECT_OID: system", 3);
        fflush(mib.m_pTrapFile.get());
        EXPECT_EQ(Slurp("IMPORTED-MIB.dbg"), "#-OBJECT_OID: system 3%\n");
    }
    EXPECT_EQ(fcntl(traceFd, F_GETFD), -1);
    EXPECT_EQ(fcntl(outFd, F_GETFD), -1);
    CMib2Trap idle;
    idle.Trace("dropped %d\n", 1);  // no trace file: nothing happens
}

TEST_F(CompilerTest, ATraceFileOpenedAgainHoldsOnlyWhatWasWrittenThisTime) {
    // An older, longer trace file is written over and cut when the stream is
    // closed, by the destructor or by a second Initialize; until then it
    // keeps its old tail.  A shorter one grows.
    Spit("OLD-MIB.dbg", std::string(10000, 'x') + "\n");
    {
        CMib2Trap mib;
        ASSERT_TRUE(mib.Initialize("OLD-MIB", nullptr, 2));
        mib.Trace("%s\n", "#-OBJECT_OID: a 1");
    }
    EXPECT_EQ(Slurp("OLD-MIB.dbg"), "#-OBJECT_OID: a 1\n");
    const std::string longer(70000, 'y');  // more than a stream buffer
    CMib2Trap again;
    ASSERT_TRUE(again.Initialize("OLD-MIB", nullptr, 2));
    again.Trace("%s\n", longer.c_str());
    ASSERT_TRUE(again.Initialize("OLD-MIB", nullptr, 2));
    EXPECT_EQ(Slurp("OLD-MIB.dbg"), longer + "\n");
    again.Trace("%s %d\n", "#-OBJECT_OID: b", 2);
    ASSERT_TRUE(again.Initialize("NEW-MIB", nullptr, 2));
    EXPECT_EQ(Slurp("OLD-MIB.dbg"), "#-OBJECT_OID: b 2\n");
    // Not a regular file: written as before, nothing to cut.
    ASSERT_EQ(symlink("/dev/null", "NULL-MIB.dbg"), 0);
    ASSERT_TRUE(again.Initialize("NULL-MIB", nullptr, 2));
    again.Trace("%s\n", "gone");
    ASSERT_TRUE(again.Initialize("NEW-MIB", nullptr, 2));
}

// Records gathered in a parse's trace buffer read as printf writes them,
// for more formats than the table of split formats holds, each written
// twice: formats of up to five pieces, longer ones, texts longer than the
// buffer, "%%" and conversions the trace leaves to the C library.
TEST(Trace, RecordsOfEveryFormatReadAsPrintfWritesThem) {
    MibFixture f;
    std::vector<std::string> formats;
    for (int i = 0; i < 600; ++i) {
        std::string fmt = "r" + std::to_string(i);
        for (int piece = 0; piece < i % 8; ++piece) fmt += piece % 2 ? " %d" : " %s";
        if (i % 97 == 0) fmt += " %%";
        if (i % 131 == 0) fmt += i % 8 % 2 ? " %5d|%.2s" : " %.2s|%5d";
        formats.push_back(fmt + "\n");
    }
    const std::string longText(5000, 'L');  // longer than the buffer
    char expected[40000];
    std::string want;
    {
        smitext::Out out(f.mib.m_pTrapFile.get());
        f.mib.m_traceOut = &out;
        for (int pass = 0; pass < 2; ++pass) {
            for (size_t i = 0; i < formats.size(); ++i) {
                const char* text = i % 50 == 0 ? longText.c_str() : "abc";
                const int n = static_cast<int>(i) * (pass ? -1 : 1);
                f.mib.Trace(formats[i].c_str(), text, n, text, n, text, n, text, n, text, n);
                snprintf(expected, sizeof expected, formats[i].c_str(), text, n, text, n, text, n, text, n, text, n);
                want += expected;
            }
        }
        f.mib.m_traceOut = nullptr;
    }
    const std::string written = f.TraceText();
    EXPECT_EQ(written.size(), want.size());
    const auto differ = std::mismatch(want.begin(), want.end(), written.begin(), written.end());
    EXPECT_TRUE(differ.first == want.end()) << "differs at byte " << (differ.first - want.begin());
}
