// PrintMIB and AddToQueue on module lists built by hand: the queue order on
// ties, cycles and long chains, the process-wide list of written labels, and
// the object texts no real module leads to.
#include <deque>
#include <string>
#include <vector>

#include "test_util.h"

namespace {

// Module lists built by hand; owns every record and text it hands out.
struct Modules {
    std::deque<ModListNode> mods;
    std::deque<node> nodes;
    std::deque<std::string> texts;
    std::deque<MibTokenList> elems;
    node* last = nullptr;

    void Module(const char* name) {
        mods.emplace_back();
        snprintf(mods.back().szModName, MODNAME_LEN, "%s", name);
        if (mods.size() > 1) mods[mods.size() - 2].next_mod = &mods.back();
        last = nullptr;
    }
    // A record as CreateNode leaves it, named, registered and appended.
    node* Add(int type, const std::string& label, const std::string& parent, int subid, int line = 0) {
        node* np = &nodes.emplace_back();
        np->smi_access = -1;
        np->type = type;
        np->szLabel = texts.emplace_back(label).c_str();
        np->szParent = texts.emplace_back(parent).c_str();
        np->subid = subid;
        np->def_line = line;
        (last ? last->next : mods.back().node) = np;
        return last = np;
    }
    MibTokenList* List(const std::vector<std::string>& words) {
        MibTokenList* head = &elems.emplace_back();
        head->forw = head->back = head;
        for (const std::string& w : words) {
            char* text = &texts.emplace_back(w)[0];
            head->back = head->back->forw = &elems.emplace_back(MibTokenList{head, head->back, text});
        }
        return head;
    }
};

class Writer : public ::testing::Test {
protected:
    void SetUp() override { ResetPrintMIBState(); }
    void TearDown() override {
        fclose(out);
        ResetPrintMIBState();
    }
    // Runs PrintMIB on m; returns what it printed on standard output.
    std::string Print(bool expected = true) {
        std::string printed;
        bool ok = false;
        CAPTURE_STDOUT(printed, ok = mib.PrintMIB(&m.mods.front(), out));
        EXPECT_EQ(expected, ok);
        return printed;
    }
    CMib2Trap mib;
    Modules m;
    FILE* out = std::tmpfile();
};

TEST_F(Writer, QueueBreaksTiesByPositionEndsCyclesAndHandlesLongChains) {
    m.Module("Q");
    std::vector<node*> all{m.Add(TOK_OBJECT_TYPE, "y", "x", 1), m.Add(TOK_OBJECT_TYPE, "x", "z", 1),
                           m.Add(TOK_OBJECT_IDENTIFIER, "x", "z", 2), m.Add(TOK_OBJECT_IDENTIFIER, "a", "b", 1),
                           m.Add(TOK_OBJECT_IDENTIFIER, "b", "a", 1), m.Add(TOK_OBJECT_IDENTIFIER, "s", "s", 1)};
    ModuleQueue queue(all);
    for (node* np : all) CMib2Trap::AddToQueue(queue, np);
    EXPECT_EQ((std::vector<node*>{all[1], all[0], all[2], all[4], all[3], all[5]}), queue.records);

    const int n = 100000;  // child first: each record pulls all its ancestors forward
    std::vector<node*> chain;
    for (int i = n - 1; i >= 0; --i)
        chain.push_back(m.Add(TOK_OBJECT_IDENTIFIER, "l" + std::to_string(i), "l" + std::to_string(i - 1), 1));
    ModuleQueue chainQueue(chain);
    for (node* np : chain) CMib2Trap::AddToQueue(chainQueue, np);
    ASSERT_EQ(static_cast<size_t>(n), chainQueue.records.size());
    for (int i = 0; i < n; ++i) ASSERT_EQ(chain[n - 1 - i], chainQueue.records[i]);
}

TEST_F(Writer, WrittenLabelsOutliveTheirModuleList) {
    m.Module("A");
    m.Add(TOK_OBJECT_IDENTIFIER, "dup", "foo", 1, 3);
    m.Add(TOK_OBJECT_TYPE, "dup", "foo", 2, 5);  // objects are not checked
    m.Add(TOK_MODULE_IDENTITY, "mod", "foo", 3, 6);
    EXPECT_EQ("", Print());
    Modules later;  // a later call, after the first module list is gone
    later.Module("C");
    later.Add(TOK_TRAP_TYPE, "mod", "foo", 1, 20);  // nor are MODULE-IDENTITY labels
    later.Add(TOK_OBJECT_IDENTITY, "dup", "foo", 1, 21);
    m = std::move(later);
    EXPECT_EQ("\nDuplicate object dup on line 21", Print(false));
}

TEST_F(Writer, WritesAnIndexOfAnyLengthAndSyntaxesNoTypeNames) {
    m.Module("T");
    std::vector<std::string> wide;
    std::string index = "\tINDEX { indexObject0 ";
    for (int i = 0; i < 300; ++i) wide.push_back("indexObject" + std::to_string(i));
    for (int i = 1; i < 300; ++i) index += ", indexObject" + std::to_string(i);
    node* np = m.Add(TOK_OBJECT_TYPE, "wide", "t", 1);
    np->syntax = TOK_LABEL;
    np->index_names = m.List(wide);
    m.Add(TOK_OBJECT_TYPE, "nil", "t", 2)->syntax = TOK_NULL;
    np = m.Add(TOK_OBJECT_TYPE, "seq", "t", 3);
    np->syntax = TOK_SEQUENCE;
    tagBracedList y{nullptr, &m.texts.emplace_back("y")[0]}, x{&y, &m.texts.emplace_back("x")[0]};
    np->sequence = &x;
    m.Add(TOK_TRAP_TYPE, "bare", "t", 4)->augment_name = m.List({});  // an empty VARIABLES list
    Print();
    const std::string tail = "\tACCESS read-only\n\tSTATUS optional\n\tDESCRIPTION \"\"\n";
    EXPECT_EQ("\nwide OBJECT-TYPE\n\tSYNTAX \n" + tail + index + " }\n\n\t::= { t 1 }\n\n" +
                  "\nnil OBJECT-TYPE\n\tSYNTAX NULL\n" + tail + "\t::= { t 2 }\n\n" +
                  "\nseq OBJECT-TYPE\n\tSYNTAX SEQUENCE {\n\tx,\n\ty\n\t}\n" + tail + "\t::= { t 3 }\n\n" +
                  "\nbare TRAP-TYPE\n\tENTERPRISE \nDESCRIPTION \"\"\n\t::= 4\n\n\nEND\n\n",
              ReadStream(out));
}

}  // namespace
