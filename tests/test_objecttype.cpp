// OBJECT-TYPE clauses, read through the real tokenizer and readers.
#include <algorithm>

#include "test_util.h"

namespace {

std::vector<std::string> Items(const MibTokenList* tlh) {
    std::vector<std::string> v;
    for (const MibTokenList* tl = tlh ? tlh->forw : nullptr; tl && tl != tlh; tl = tl->forw) v.push_back(tl->szToken);
    return v;
}

// Parses the clauses of object "o" from `text`, capturing stdout.
struct ObjectRun : MibFixture {
    node* np = nullptr;
    std::string out;
    explicit ObjectRun(const std::string& text) : MibFixture(text + " ") {
        char name[] = "o";
        CAPTURE_STDOUT(out, np = mib.ParseObjectType(name));
    }
    ~ObjectRun() { if (np) CMib2Trap::FreeNode(np); }
};

TEST(ObjectType, AcceptedClauses) {
    ObjectRun r("SYNTAX INTEGER { up(1), down(2) } UNITS \"seconds\" MAX-ACCESS read-create\n"
                "STATUS current DESCRIPTION \"The state\n   is up.\" REFERENCE \"RFC 1\"\n"
                "INDEX { a, b, IMPLIED c } DEFVAL { { x, { y } } } ::= { t 1 }");
    ASSERT_NE(r.np, nullptr) << r.out;
    EXPECT_EQ(r.out, "");
    EXPECT_STREQ(r.np->szUnits, "seconds");
    EXPECT_EQ(r.np->smi_access, 4);
    EXPECT_EQ(r.np->status, TOK_MANDATORY);
    EXPECT_EQ(Items(r.np->index_names), (std::vector<std::string>{"a", "b", "IMPLIED c"}));
    EXPECT_EQ(r.TraceText(),
              "#-START_OBJECTNAME: o\n#-OBJECT_SYNTAX: INTEGER {  up(1), down(2) }\n"
              "#-OBJECT_ACCESS: read-create\n#-OBJECT_STATUS: current\n"
              "#-OBJECT_DESCRIPTION: \"The state\nis up.\"\n");
    EXPECT_EQ(r.Next(), TOK_BRACE);  // stops right after "::="

    ObjectRun v1("SYNTAX TimeTicks ACCESS read-only STATUS mandatory ::= { system 3 }");
    ASSERT_NE(v1.np, nullptr);
    EXPECT_EQ(v1.np->szDescr, nullptr);
    EXPECT_EQ(v1.TraceText(), "#-START_OBJECTNAME: o\n#-OBJECT_SYNTAX: TimeTicks\n"
                              "#-OBJECT_ACCESS: read-only\n#-OBJECT_STATUS: mandatory\n");

    ObjectRun aug("SYNTAX Later MAX-ACCESS accessible-for-notify STATUS optional AUGMENTS { ifEntry } ::=");
    ASSERT_NE(aug.np, nullptr);
    EXPECT_EQ(aug.np->smi_access, 5);
    EXPECT_EQ(aug.np->status, TOK_OBSOLETE);
    EXPECT_EQ(Items(aug.np->augment_name), std::vector<std::string>{"ifEntry"});
    EXPECT_EQ(aug.mib.m_pUnresObjList->forw->szToken, reinterpret_cast<char*>(aug.np));

    ObjectRun noIndex("SYNTAX Gauge32 MAX-ACCESS write-only STATUS deprecated INDEX { } ::=");
    ASSERT_NE(noIndex.np, nullptr);
    EXPECT_EQ(noIndex.np->smi_access, 2);
    EXPECT_EQ(noIndex.np->status, TOK_DEPRECATED);
    ASSERT_NE(noIndex.np->index_names, nullptr);  // the list exists, empty
    EXPECT_EQ(noIndex.np->index_names->forw, noIndex.np->index_names);
}

TEST(ObjectType, FailuresPrintOneMessageAndCloseTheTrace) {
    const std::string head = "SYNTAX Later MAX-ACCESS read-only STATUS current ";
    const std::string lastToken = "\nLine: 1: Error defining OBJECT-TYPE: last token ACCESS";
    struct { std::string text, message; bool withLine; } cases[] = {
        {"ACCESS read-only", "Error defining OBJECT-TYPE: Expected 'SYNTAX', found ACCESS", true},
        {"SYNTAX ACCESS", "Error defining SYNTAX: Invalid keyword ACCESS" + lastToken, true},
        {"SYNTAX Later STATUS current", "Error defining OBJECT-TYPE: Expected 'MAX-ACCESS', found STATUS", false},
        {"SYNTAX Later ACCESS not-implemented", "Error defining OBJECT-TYPE: Invalid ACCESS type not-implemented", false},
        {"SYNTAX Later ACCESS read-only ::=", "Error defining OBJECT-TYPE: Expected 'STATUS', found ::=", false},
        {"SYNTAX Later ACCESS read-only STATUS bogus", "Error defining OBJECT-TYPE: Invalid STATUS type bogus", false},
        {head + "DESCRIPTION nodesc ::=", "Error defining quoted text: expected opening quote, found nodesc", true},
        {head + "REFERENCE \"r\" DESCRIPTION \"d\" ::=", "Error defining OBJECT-TYPE: Expected '::=', found DESCRIPTION",
         false},
        {head + "AUGMENTS { a } INDEX { b } ::=", "Error defining OBJECT-TYPE: Expected '::=', found INDEX", false},
        {head + "AUGMENTS { a, b } ::=", "Error defining AUGMENTS: More than one value specified", false},
        {head + "AUGMENTS { } ::=", "Error defining OBJECT-TYPE: Expected '::=', found ::=", false},
        {head + "AUGMENTS ::=", "Error defining OBJECT-TYPE: Expected '::=', found ::=", false},
        {head + "DEFVAL 5 ::=", "Error defining DEFVAL: No default value specified", false},
    };
    for (const auto& c : cases) {
        ObjectRun r(c.text);
        EXPECT_EQ(r.np, nullptr) << c.text;
        EXPECT_EQ(r.out, "\nLine: 1: " + c.message) << c.text;
        std::string trace = r.TraceText();
        const std::string end = c.withLine ? "#-END_OBJECTNAME: o\nLINE: 1\n" : "#-END_OBJECTNAME: o\n\n";
        EXPECT_EQ(trace.substr(trace.size() - std::min(trace.size(), end.size())), end) << c.text;
        // A failed object whose type was still unknown is taken off the queue.
        MibTokenList* q = r.mib.m_pUnresObjList;
        EXPECT_TRUE(!q || q->forw == q) << c.text;
    }
}

}  // namespace
