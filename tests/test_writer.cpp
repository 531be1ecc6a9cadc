// PrintMIB and AddToQueue on module lists built by hand.
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
    std::deque<tagBracedList> braced;
    node* last = nullptr;

    void Module(const char* name) {
        mods.emplace_back();
        snprintf(mods.back().szModName, MODNAME_LEN, "%s", name);
        if (mods.size() > 1) mods[mods.size() - 2].next_mod = &mods.back();
        last = nullptr;
    }
    // A record as CreateNode leaves it, named, registered and appended.
    node* Add(int type, const char* label, const char* parent, int subid, int line = 0) {
        nodes.emplace_back();
        node* np = &nodes.back();
        np->smi_access = -1;
        np->type = type;
        snprintf(np->szLabel, LABEL_LEN, "%s", label);
        snprintf(np->szParent, LABEL_LEN, "%s", parent);
        np->subid = subid;
        np->def_line = line;
        (last ? last->next : mods.back().node) = np;
        return last = np;
    }
    char* Text(const std::string& s) { return &texts.emplace_back(s)[0]; }
    MibTokenList* List(const std::vector<std::string>& words) {
        MibTokenList* head = &elems.emplace_back();
        head->forw = head->back = head;
        for (const std::string& w : words)
            head->back = head->back->forw = &elems.emplace_back(MibTokenList{head, head->back, Text(w)});
        return head;
    }
    tagBracedList* Braced(const std::vector<std::string>& words) {
        tagBracedList* first = nullptr;
        for (auto it = words.rbegin(); it != words.rend(); ++it)
            first = &braced.emplace_back(tagBracedList{first, Text(*it)});
        return first;
    }
    // The record of a SEQUENCE type assignment, which is not on the module list.
    node* Sequence(const std::vector<std::string>& members) {
        node* np = &nodes.emplace_back();
        np->sequence = Braced(members);
        return np;
    }
};

std::string Oid(const char* label, const char* parent, int subid) {
    return "\n" + std::string(label) + " OBJECT IDENTIFIER ::= { " + parent + " " + std::to_string(subid) + " }\n";
}
std::string Trap(const char* label, const char* enterprise, int number) {
    return "\n" + std::string(label) + " TRAP-TYPE\n\tENTERPRISE " + enterprise + "\nDESCRIPTION \"\"\n\t::= " +
           std::to_string(number) + "\n\n";
}
std::string Obj(const char* label, const char* syntax, const char* access, const char* status,
                const char* index = "") {
    return "\n" + std::string(label) + " OBJECT-TYPE\n\tSYNTAX " + syntax + "\n\tACCESS " + access + "\n\tSTATUS " +
           status + "\n\tDESCRIPTION \"\"\n" + index + "\t::= { t 1 }\n\n";
}

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

TEST_F(Writer, WritesParentsFirstObjectsBeforeTrapsAndSkipsUnwrittenKinds) {
    m.Module("EMPTY");
    m.Module("FOO-MIB");
    m.Add(TOK_TRAP_TYPE, "fooTrap", "foo#0", 3)->szEnterprise = m.Text("foo");
    m.Add(TOK_OBJECT_TYPE, "fooName", "fooGroup", 1)->syntax = TOK_GAUGE;  // ahead of its parent
    m.Add(0, "fooChain", "foo", 5);
    m.Add(TOK_MODULE_COMPLIANCE, "fooCompl", "foo", 6);
    // A SEQUENCE type that follows no OBJECT-TYPE is not written.
    m.Add(TOK_OBJECT_IDENTIFIER, "fooGroup", "foo", 2)->userDefinedSequence = m.Sequence({"s"});
    m.Add(TOK_MODULE_IDENTITY, "foo", "enterprises", 99);
    m.Add(TOK_OBJECT_GROUP, "fooGrp", "ifEntry", 4);  // parent in another module
    m.Add(TOK_NOTIFICATION_GROUP, "fooNGrp", "fooGroup", 5);
    EXPECT_EQ("", Print());
    EXPECT_EQ("\nEND\n\n" + Oid("foo", "enterprises", 99) + Oid("fooGroup", "foo", 2) +
                  "\nfooName OBJECT-TYPE\n\tSYNTAX Gauge\n\tACCESS read-only\n\tSTATUS optional\n"
                  "\tDESCRIPTION \"\"\n\t::= { fooGroup 1 }\n\n" +
                  Oid("fooGrp", "ifEntry", 4) + Oid("fooNGrp", "fooGroup", 5) + Trap("fooTrap", "foo", 3) + "\nEND\n\n",
              ReadStream(out));
    EXPECT_STREQ("FOO-MIB", szMibModuleName);
}

TEST_F(Writer, NotificationsFollowTheirParentAndMapZeroArcsToTheEnterprise) {
    m.Module("N-MIB");
    m.Add(TOK_OBJECT_IDENTIFIER, "fooNotifs", "foo", 0);
    m.Add(TOK_OBJECT_IDENTIFIER, "fooEvents", "foo", 2);
    m.Add(TOK_NOTIFICATION_TYPE, "n2", "n1", 1);
    m.Add(TOK_NOTIFICATION_TYPE, "n1", "fooNotifs", 5);
    m.Add(TOK_NOTIFICATION_TYPE, "n3", "fooEvents", 7);
    m.Add(TOK_NOTIFICATION_TYPE, "n4", "ifMIB", 9);
    Print();
    EXPECT_EQ(Oid("fooNotifs", "foo", 0) + Oid("fooEvents", "foo", 2) + Trap("n1", "foo", 5) + Trap("n2", "n1", 1) +
                  Trap("n3", "fooEvents", 7) + Trap("n4", "ifMIB", 9) + "\nEND\n\n",
              ReadStream(out));
}

TEST_F(Writer, QueueBreaksTiesByPositionEndsCyclesAndHandlesLongChains) {
    m.Module("Q");
    std::vector<node*> all{m.Add(TOK_OBJECT_TYPE, "y", "x", 1), m.Add(TOK_OBJECT_TYPE, "x", "z", 1),
                           m.Add(TOK_OBJECT_IDENTIFIER, "x", "z", 2), m.Add(TOK_OBJECT_IDENTIFIER, "a", "b", 1),
                           m.Add(TOK_OBJECT_IDENTIFIER, "b", "a", 1), m.Add(TOK_OBJECT_IDENTIFIER, "s", "s", 1)};
    std::vector<node*> queue;
    for (node* np : all) mib.AddToQueue(&all, &queue, np);
    EXPECT_EQ((std::vector<node*>{all[1], all[0], all[2], all[4], all[3], all[5]}), queue);

    const int n = 100000;  // child first: each record pulls all its ancestors forward
    std::vector<node*> chain, chainQueue;
    for (int i = n - 1; i >= 0; --i)
        chain.push_back(m.Add(4, ("l" + std::to_string(i)).c_str(), ("l" + std::to_string(i - 1)).c_str(), 1));
    for (node* np : chain) mib.AddToQueue(&chain, &chainQueue, np);
    ASSERT_EQ(static_cast<size_t>(n), chainQueue.size());
    for (int i = 0; i < n; ++i) ASSERT_EQ(chain[n - 1 - i], chainQueue[i]);
}

TEST_F(Writer, RefusesASecondDefinitionOfACheckedLabelAcrossModulesAndCalls) {
    m.Module("A");
    m.Add(TOK_OBJECT_IDENTIFIER, "dup", "foo", 1, 3);
    m.Add(TOK_OBJECT_TYPE, "dup", "foo", 2, 5);  // not checked
    m.Add(TOK_MODULE_IDENTITY, "mod", "foo", 3, 6);
    m.Module("B");
    m.Add(TOK_OBJECT_GROUP, "mod", "foo", 4, 9);  // not checked
    m.Add(TOK_OBJECT_IDENTITY, "dup", "foo", 5, 11);
    m.Add(TOK_OBJECT_IDENTIFIER, "after", "foo", 6, 12);
    EXPECT_EQ("\nDuplicate object dup on line 11", Print(false));
    const std::string text = ReadStream(out);
    EXPECT_NE(std::string::npos, text.find("\ndup OBJECT-TYPE\n"));
    EXPECT_EQ(Oid("mod", "foo", 3) + "\nEND\n\n" + Oid("mod", "foo", 4) + "\n", text.substr(text.find("\nmod ")));

    Modules later;  // a later call, after the first module list is gone
    later.Module("C");
    later.Add(TOK_TRAP_TYPE, "mod", "foo", 1, 20);
    later.Add(TOK_NOTIFICATION_TYPE, "dup", "foo", 1, 21);
    m = std::move(later);
    EXPECT_EQ("\nDuplicate trap object dup on line 21", Print(false));
}

TEST_F(Writer, WritesObjectTypeSyntaxAccessAndStatus) {
    m.Module("T");
    auto obj = [&](const char* label, int syntax, int access = -1, int status = 0) {
        node* np = m.Add(TOK_OBJECT_TYPE, label, "t", 1);
        np->syntax = syntax;
        np->smi_access = access;
        np->status = status;
        return np;
    };
    obj("u", TOK_UNSIGNED32, 4, TOK_MANDATORY)->szSubtype = m.Text("(0..10)");
    obj("c", TOK_COUNTER64, 1, TOK_DEPRECATED);
    MibEnumList y{nullptr, 1, m.Text("y")}, x{&y, 0, m.Text("x")};
    obj("b", TOK_BITS, 3, TOK_OBSOLETE)->enums = &x;
    node* row = obj("r", TOK_LABEL, 2, TOK_STATUS_SPARE);
    row->szUserDef = m.Text("REntry");
    row->index_names = m.List({"i1", "i2"});
    obj("tbl", TOK_OF)->szUserDef = m.Text("SEQUENCE OF REntry");
    m.last->index_names = m.List({"ignored"});
    obj("one", TOK_LABEL)->index_names = m.List({"i"});
    obj("ds", TOK_DISPLAYSTRING)->szSubtype = m.Text("(SIZE(0..9))");
    obj("rs", TOK_ROWSTATUS);
    obj("seq", TOK_SEQUENCE)->sequence = m.Braced({"x", "y"});
    obj("nil", TOK_NULL);
    row->userDefinedSequence = m.Sequence({"i1", "i2"});
    std::vector<std::string> wide;
    for (int i = 0; i < 300; ++i) wide.push_back("indexObject" + std::to_string(i));
    obj("wide", TOK_LABEL)->index_names = m.List(wide);
    std::string wideIndex = "\tINDEX { indexObject0 ";
    for (int i = 1; i < 300; ++i) wideIndex += ", indexObject" + std::to_string(i);
    Print();
    EXPECT_EQ(Obj("u", "INTEGER (0..10)", "read-only", "mandatory") + Obj("c", "Counter", "read-write", "optional") +
                  Obj("b", "OCTET STRING {\n\tx(0),\n\ty(1)\n\t}", "not-accessible", "obsolete") +
                  Obj("r", "REntry", "write-only", "optional", "\tINDEX { i1 , i2 }\n\n") +
                  "r ::=\n\tSEQUENCE {\n\t\ti1,\n\t\ti2\n\t\t}\n" +
                  Obj("tbl", "SEQUENCE OF REntry", "read-only", "optional") +
                  Obj("one", "", "read-only", "optional", "\tINDEX { i  }\n\n") +
                  Obj("ds", "DisplayString (SIZE(0..9))", "read-only", "optional") +
                  Obj("rs", "RowStatus", "read-only", "optional") +
                  Obj("seq", "SEQUENCE {\n\tx,\n\ty\n\t}", "read-only", "optional") +
                  Obj("nil", "NULL", "read-only", "optional") +
                  Obj("wide", "", "read-only", "optional", (wideIndex + " }\n\n").c_str()) + "\nEND\n\n",
              ReadStream(out));
}

TEST_F(Writer, WritesTrapVariablesAnnotationsAndDescription) {
    m.Module("TRAPS");
    node* t = m.Add(TOK_TRAP_TYPE, "linkDown", "acme#0", 4);
    t->szEnterprise = m.Text("acme");
    t->augment_name = m.List({"v1", "v2"});
    keyword severity{nullptr, m.Text("#SEVERITY 3"), nullptr}, type{&severity, m.Text("#TYPE \"Down\""), nullptr};
    t->keyword = &type;
    t->szDescr = m.Text("Down.");
    m.Add(TOK_TRAP_TYPE, "bare", "x", 0)->augment_name = m.List({});
    Print();
    EXPECT_EQ("\nlinkDown TRAP-TYPE\n\tENTERPRISE acme\n\tVARIABLES { v1, v2 }\n"
              "\n\t--#TYPE \"Down\"\n\n\t--#SEVERITY 3\nDESCRIPTION \"Down.\"\n\t::= 4\n\n" +
                  Trap("bare", "", 0) + "\nEND\n\n",
              ReadStream(out));
}

}  // namespace
