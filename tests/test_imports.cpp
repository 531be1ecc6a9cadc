// Import resolution: registration lists, the ancestor chains ResolveParent
// finds, and ProcessImports on module files in a temporary directory.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

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
        snprintf(np->szLabel, LABEL_LEN, "%s", label.c_str());
        snprintf(np->szParent, LABEL_LEN, "%s", parent.c_str());
        np->subid = subid;
        if (nodes.size() > 1) nodes[nodes.size() - 2].next = np;
    }
    // Resolves one imported label and writes its list, as ProcessImports does.
    void Resolve(const std::string& label) {
        NameValueList* list = mib.ResolveParent(nodes.empty() ? nullptr : &nodes.front(), label.c_str(), nullptr);
        if (list) list->dump(out);
        NameValueList::FreeList(list);
    }
    CMib2Trap mib;
    std::deque<node> nodes;
    FILE* out = std::tmpfile();
};

TEST_F(Imports, RegistersAncestorsParentFirstWithKnownAndFixedLabels) {
    Def("fooIndex", "fooEntry", 1);
    Def("fooEntry", "fooTable", 1);
    Def("fooTable", "foo", 2);
    Def("foo", "mib-2", 2);
    Def("fooOther", "fooEntry", 2);
    Def("transmission", "mib-2", 99);  // the module's own definition wins
    Def("ds1", "transmission", 18);
    Def("snmpFrameworkMIB", "snmpModules", 10);
    Def("enterprises", "private", 7);  // a known label is never registered
    Def("mib-2", "elsewhere", 5);      // nor is a fixed one moved
    for (const char* label : {"enterprises", "fooIndex", "fooOther", "fooIndex", "undefined", "ds1",
                              "snmpFrameworkMIB", "security"})
        Resolve(label);
    EXPECT_EQ(Reg("mib-2", "mgmt", 1) + Reg("foo", "mib-2", 2) + Reg("fooTable", "foo", 2) +
                  Reg("fooEntry", "fooTable", 1) + Reg("fooIndex", "fooEntry", 1) + Reg("fooOther", "fooEntry", 2) +
                  Reg("transmission", "mib-2", 99) + Reg("ds1", "transmission", 18) + Reg("snmpV2", "internet", 6) +
                  Reg("snmpModules", "snmpV2", 3) + Reg("snmpFrameworkMIB", "snmpModules", 10) +
                  Reg("security", "internet", 5),
              ReadStream(out));
}

TEST_F(Imports, TwiceDefinedLabelsCyclesAndLongChains) {
    Def("twice", "a", 1);
    Def("a", "iso", 4);
    Def("twice", "b", 2);
    Def("b", "enterprises", 8);
    Def("c1", "c2", 1);
    Def("c2", "c1", 2);
    Def("self", "self", 3);
    const int n = 100000;  // child first
    for (int i = n - 1; i >= 0; --i) Def("l" + std::to_string(i), "l" + std::to_string(i - 1), i);
    for (const char* label : {"twice", "c1", "self"}) Resolve(label);
    Resolve("l" + std::to_string(n - 1));
    const std::string text = ReadStream(out);
    EXPECT_EQ(0u, text.find(Reg("b", "enterprises", 8) + Reg("twice", "b", 2) + Reg("a", "iso", 4) +
                            Reg("c2", "c1", 2) + Reg("c1", "c2", 1) + Reg("self", "self", 3) + Reg("l0", "l-1", 0) +
                            Reg("l1", "l0", 1)));
    EXPECT_EQ(static_cast<size_t>(n + 6), std::count(text.begin(), text.end(), '\n'));
}

// ProcessImports runs in a scratch directory holding the module files.
class ProcessImportsTest : public Imports {
protected:
    void SetUp() override {
        Imports::SetUp();
        ResetUserTypeWriterState();
        ASSERT_NE(nullptr, getcwd(oldDir, sizeof oldDir));
        ASSERT_NE(nullptr, mkdtemp(dir));
        ASSERT_EQ(0, chdir(dir));
    }
    void TearDown() override {
        EXPECT_EQ(0, chdir(oldDir));
        EXPECT_EQ(0, system(("rm -rf " + std::string(dir)).c_str()));
        ResetUserTypeWriterState();
        Imports::TearDown();
    }
    static void Write(const std::string& name, const char* text) {
        FILE* f = fopen(name.c_str(), "w");
        ASSERT_NE(nullptr, f);
        fputs(text, f);
        fclose(f);
    }
    // ProcessImports of one FROM clause on a fresh compiler object; returns
    // what it printed.
    std::string Process(const std::string& module, const std::vector<const char*>& labels = {}, bool ok = true) {
        importFilesList& entry = entries.emplace_back();
        entry.szLabel = &texts.emplace_back(module)[0];
        for (auto it = labels.rbegin(); it != labels.rend(); ++it)
            entry.imports = &keywords.emplace_back(keyword{entry.imports, &texts.emplace_back(*it)[0], entry.szLabel});
        CMib2Trap imp;
        imp.HashInit();
        std::string printed;
        bool result = !ok;
        CAPTURE_STDOUT(printed, result = imp.ProcessImports(&entry, out));
        EXPECT_EQ(ok, result);
        return printed;
    }
    char oldDir[4096] = {};
    char dir[20] = "/tmp/imports_XXXXXX";
    std::deque<std::string> texts;
    std::deque<importFilesList> entries;
    std::deque<keyword> keywords;
};

TEST_F(ProcessImportsTest, TriesThreeFileNames) {
    const std::string longest(251, 'a'), tooLong(252, 'a');  // with ".mib", 255 characters fit
    for (const std::string& name : {std::string("x.mib"), std::string("-mib.mib"), std::string(".mib"),
                                    std::string("y-mib.mib"), longest + ".mib"})
        Write(name, "");
    EXPECT_EQ("\nProcessing import file: x.mib", Process("x-MiB"));
    EXPECT_EQ("\nProcessing import file: -mib.mib", Process("-MIB"));
    EXPECT_EQ("\nProcessing import file: y-mib.mib", Process("Y-MIB"));
    EXPECT_EQ("\nProcessing import file: " + longest + ".mib", Process(longest));
    EXPECT_EQ("\nFailed to open import file: nope-mib.mib", Process("NOPE-MIB", {}, false));
    EXPECT_EQ("\nFailed to open import file: " + tooLong + ".mib", Process(tooLong, {}, false));
}

// Needs the module parser and the type parsers.
TEST_F(ProcessImportsTest, WritesTypesAndRegistrationsOnceAcrossModules) {
    Write("A-MIB.mib",
          "A-MIB DEFINITIONS ::= BEGIN\nAStatus ::= INTEGER { up(1), down(2) }\n"
          "a OBJECT IDENTIFIER ::= { enterprises 42 }\naTable OBJECT IDENTIFIER ::= { a 1 }\n"
          "aLeaf OBJECT IDENTIFIER ::= { aTable 1 }\naOther OBJECT IDENTIFIER ::= { a 2 }\nEND\n");
    Write("b.mib",
          "B-MIB DEFINITIONS ::= BEGIN\nAStatus ::= INTEGER\na OBJECT IDENTIFIER ::= { enterprises 7 }\n"
          "b OBJECT IDENTIFIER ::= { a 5 }\nEND\n");
    Write("broken.mib", "BROKEN DEFINITIONS ::= BEGIN\nBType ::= Counter\nx OBJECT IDENTIFIER\n");
    EXPECT_EQ("\nProcessing import file: A-MIB.mib", Process("A-MIB", {"aLeaf", "AStatus", "aOther"}));
    Process("A-MIB", {"aOther", "aLeaf"});
    Process("B-MIB", {"a", "b"});
    Process("BROKEN", {"x"});
    EXPECT_EQ("\nAStatus ::=\n\tINTEGER {\n\tup(1),\n\tdown(2)\n\t}\n" + Reg("a", "enterprises", 42) +
                  Reg("aTable", "a", 1) + Reg("aLeaf", "aTable", 1) + Reg("aOther", "a", 2) + Reg("b", "a", 5) +
                  "\nBType ::=\n\tCounter\n",
              ReadStream(out));
}

}  // namespace
