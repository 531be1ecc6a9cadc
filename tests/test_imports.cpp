// Import resolution: the ancestor chains ResolveParent finds through labels
// defined twice, cycles and long chains, and the longest module file name
// ProcessImports can open.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
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
    // Resolves one imported label and writes its list, as ProcessImports does.
    void Resolve(const std::string& label) {
        NameValueList* list = mib.ResolveParent(&nodes.front(), label.c_str(), nullptr);
        if (list) list->dump(out);
        NameValueList::FreeList(list);
    }
    CMib2Trap mib;
    std::deque<node> nodes;
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
