// Import resolution: the ancestor chains ResolveParent finds through labels
// defined twice, cycles and long chains, and the longest module file name
// ProcessImports can open.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>

#include "test_util.h"

namespace {

std::string Reg(const std::string& label, const std::string& parent, int subid) {
    return "\n" + label + " OBJECT IDENTIFIER ::= { " + parent + " " + std::to_string(subid) + " }";
}

class Imports : public ::testing::Test {
protected:
    void SetUp() override { ResetImportWriterState(); }
    void TearDown() override {
        fclose(out);
        ResetImportWriterState();
    }
    // Appends a registration to the hand-built module.
    void Def(const std::string& label, const std::string& parent, int subid) {
        node* np = &nodes.emplace_back();
        np->type = TOK_OBJECT_IDENTIFIER;
        np->szLabel = mib.CopyLabel(label.c_str());
        np->szParent = mib.CopyLabel(parent.c_str());
        np->subid = subid;
        if (nodes.size() > 1) nodes[nodes.size() - 2].next = np;
    }
    // Resolves one imported label and writes its list, as ProcessImports does;
    // the module's definitions are looked up from the first call on.
    void Resolve(const std::string& label) {
        if (!defs) defs = std::make_unique<ModuleDefinitions>(&nodes.front());
        NameValueList* list = CMib2Trap::ResolveParent(*defs, label.c_str(), nullptr);
        if (list) list->dump(out);
        NameValueList::FreeList(list);
    }
    CMib2Trap mib;
    std::deque<node> nodes;
    std::unique_ptr<ModuleDefinitions> defs;
    FILE* out = std::tmpfile();
};

TEST_F(Imports, TwiceDefinedLabelsCyclesAndLongChains) {
    Def("twice", "a", 1);
    Def("a", "iso", 4);
    Def("twice", "b", 2);
    Def("b", "enterprises", 8);
    Def("enterprises", "private", 7);  // a label every reader knows is never registered
    Def("c1", "c2", 1);
    Def("c2", "c1", 2);
    Def("self", "self", 3);
    const int n = 100000;  // child first
    for (int i = n - 1; i >= 0; --i) Def("l" + std::to_string(i), "l" + std::to_string(i - 1), i);
    for (const char* label : {"twice", "c1", "self", "undefined", "enterprises"}) Resolve(label);
    Resolve("l" + std::to_string(n - 1));
    const std::string text = ReadStream(out);
    EXPECT_EQ(0u, text.find(Reg("b", "enterprises", 8) + Reg("twice", "b", 2) + Reg("a", "iso", 4) +
                            Reg("c2", "c1", 2) + Reg("c1", "c2", 1) + Reg("self", "self", 3) + Reg("l0", "l-1", 0) +
                            Reg("l1", "l0", 1)));
    EXPECT_EQ(static_cast<size_t>(n + 6), std::count(text.begin(), text.end(), '\n'));
}

TEST_F(Imports, ModuleFileNamesUpTo255Characters) {
    char oldDir[4096], dir[] = "/tmp/imports_XXXXXX";
    ASSERT_NE(nullptr, getcwd(oldDir, sizeof oldDir));
    ASSERT_NE(nullptr, mkdtemp(dir));
    ASSERT_EQ(0, chdir(dir));
    const std::string longest(251, 'a'), tooLong(252, 'a');  // with ".mib", 255 characters fit
    FILE* f = fopen((longest + ".mib").c_str(), "w");
    ASSERT_NE(nullptr, f);
    fclose(f);
    for (const std::string& name : {longest, tooLong}) {
        importFilesList entry{nullptr, const_cast<char*>(name.c_str()), nullptr};
        CMib2Trap imp;
        imp.HashInit();
        std::string printed;
        bool ok = false;
        CAPTURE_STDOUT(printed, ok = imp.ProcessImports(&entry, out));
        EXPECT_EQ(ok, name == longest);
        EXPECT_EQ(printed, (ok ? "\nProcessing import file: " : "\nFailed to open import file: ") + name + ".mib");
    }
    EXPECT_EQ(0, chdir(oldDir));
    EXPECT_EQ(0, system(("rm -rf " + std::string(dir)).c_str()));
}

}  // namespace

namespace {

// Compiles MAIN-MIB.mib and resolves its imports as the driver does, one
// compiler object per FROM clause; returns, per clause, what was printed and
// the trace file of the imported module, then the ".imports" text.
std::vector<std::string> ResolveAll(bool reuse) {
    ResetProcessState();
    SetImportReuse(reuse);
    std::vector<std::string> seen;
    {
        CMib2Trap main;
        EXPECT_TRUE(main.Initialize("MAIN-MIB", "MAIN-MIB.int", 1));
        EXPECT_TRUE(main.CompileMIB("MAIN-MIB.mib", 1));
    }
    FILE* imports = fopen("MAIN-MIB.imports", "w");
    for (importFilesList* entry = importFiles; entry; entry = entry->next) {
        std::string out;
        CMib2Trap mib;
        CAPTURE_STDOUT(out, {
            EXPECT_TRUE(mib.Initialize(entry->szLabel, nullptr, 2));
            EXPECT_TRUE(mib.ProcessImports(entry, imports));
        });
        fflush(mib.m_pTrapFile.get());
        seen.push_back(out + "|" + Slurp(std::string(entry->szLabel) + ".dbg"));
    }
    fclose(imports);
    seen.push_back(Slurp("MAIN-MIB.imports"));
    seen.push_back(std::to_string(ImportsReused()));
    SetImportReuse(true);
    return seen;
}

}  // namespace

class ImportReuseTest : public ScratchTest {};

// A module named by several FROM clauses is parsed once when its parse printed
// nothing: the later clauses write the same registrations, the same trace
// records and no type again.  A module whose parse printed a message is
// parsed every time.
TEST_F(ImportReuseTest, RepeatedModulesGiveWhatParsingThemAgainGives) {
    Spit("A-MIB.mib",
         "A-MIB DEFINITIONS ::= BEGIN\n"
         "IMPORTS enterprises FROM RFC1155-SMI;\n"
         "acme OBJECT IDENTIFIER ::= { enterprises 9 }\n"
         "Level ::= INTEGER { low(1), high(2) }\n"
         "Name ::= TEXTUAL-CONVENTION STATUS current DESCRIPTION \"n\" SYNTAX OCTET STRING (SIZE(0..8))\n"
         "acmeObjs OBJECT IDENTIFIER ::= { acme 1 }\n"
         "acmeLevel OBJECT-TYPE SYNTAX Level ACCESS read-only STATUS mandatory\n"
         "  DESCRIPTION \"the level\n     of things\" ::= { acmeObjs 1 }\n"
         "acmeDeep OBJECT IDENTIFIER ::= { acmeObjs 2 }\n"
         "END\n");
    // The over-long word makes its parse print a warning.
    Spit("B-MIB.mib", "B-MIB DEFINITIONS ::= BEGIN\nbeta OBJECT IDENTIFIER ::= { acme 2 }\n-- x\n" +
                          std::string(300, 'w') + " OBJECT IDENTIFIER ::= { beta 1 }\nEND\n");
    Spit("MAIN-MIB.mib",
         "MAIN-MIB DEFINITIONS ::= BEGIN\n"
         "IMPORTS acmeLevel FROM A-MIB beta FROM B-MIB acmeDeep, Name FROM A-MIB\n"
         "        beta FROM B-MIB acmeObjs, acme FROM A-MIB;\n"
         "m OBJECT IDENTIFIER ::= { acme 7 }\n"
         "END\n");
    const std::vector<std::string> parsed = ResolveAll(false);
    const std::vector<std::string> reused = ResolveAll(true);
    ASSERT_EQ(parsed.size(), 7u);
    EXPECT_EQ(parsed.back(), "0");
    EXPECT_EQ(reused.back(), "2");  // the second and third A-MIB clauses
    for (size_t i = 0; i + 1 < parsed.size(); ++i) EXPECT_EQ(reused[i], parsed[i]) << "entry " << i;
    // Every clause wrote a trace of the whole module, the first A-MIB clause
    // wrote the types and B-MIB warned twice.
    EXPECT_EQ(parsed[0].substr(parsed[0].find('|')), parsed[4].substr(parsed[4].find('|')));
    EXPECT_NE(parsed[0].find("#-START_OBJECTNAME: acmeLevel"), std::string::npos);
    EXPECT_NE(parsed[1].find("Warning: token longer"), std::string::npos);
    EXPECT_NE(parsed[3].find("Warning: token longer"), std::string::npos);
    EXPECT_NE(parsed[5].find("Level ::="), std::string::npos);
    EXPECT_EQ(parsed[5].find("Level ::="), parsed[5].rfind("Level ::="));
}
