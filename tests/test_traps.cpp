// TRAP-TYPE and NOTIFICATION-TYPE, their annotations and trace records, and
// the placement of traps in the OID tree at END.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "test_util.h"

namespace {

using Strings = std::vector<std::string>;

Strings Items(const MibTokenList* head) {
    Strings items;
    for (const MibTokenList* e = head ? head->forw : nullptr; e && e != head; e = e->forw)
        items.push_back(e->szToken);
    return items;
}

Strings Notes(const node* np) {
    Strings lines;
    for (const keyword* kp = np->keyword; kp; kp = kp->next) {
        EXPECT_EQ(kp->szLabel, kp->szValue);  // one string serves as both
        lines.push_back(kp->szLabel);
    }
    return lines;
}

// Parses a trap (trap = true) or a notification named `name` from `f`;
// returns what was printed.
std::string Parse(MibFixture& f, bool trap, node** np, const char* name = "t") {
    char szName[TOKEN_BUF];
    snprintf(szName, sizeof szName, "%s", name);
    f.mib.m_nNameLine = 3;
    std::string out;
    CAPTURE_STDOUT(out, *np = trap ? f.mib.ParseTrapType(szName, nullptr)
                                   : f.mib.ParseNotificationType(szName));
    return out;
}

}  // namespace

TEST(TrapType, RecordAndTrace) {
    MibFixture f("ENTERPRISE snmp\nDESCRIPTION\n  \"A coldStart trap.\"\n  --#SEVERITY MAJOR\n::= 0\n");
    node* np = nullptr;
    EXPECT_EQ(Parse(f, true, &np, "coldStart"), "");
    ASSERT_NE(np, nullptr);
    EXPECT_EQ(np->type, TOK_TRAP_TYPE);
    EXPECT_STREQ(np->szLabel, "coldStart");
    EXPECT_STREQ(np->szParent, "snmp");
    EXPECT_STREQ(np->szEnterprise, "snmp");
    EXPECT_STREQ(np->szDescr, "A coldStart trap.");
    EXPECT_EQ(Notes(np), Strings{"#SEVERITY MAJOR"});
    EXPECT_EQ(np->subid, 0);
    EXPECT_EQ(np->def_line, 3);
    EXPECT_EQ(f.TraceText(),
              "#-START_TRAPNAME: coldStart\n#-TRAP_ENTERPRISE: snmp\n"
              "DESCRIPTION: \"A coldStart trap.\"\n#SEVERITY MAJOR\n#-TRAP_SPECIFIC_ID: 0\n"
              "#-RULE_HANDLER: \n#-NOTICE_HANDLER: \n#-ENABLE: true\n#-TRAPEND: coldStart\n\n");
    CMib2Trap::FreeNode(np);
}

TEST(TrapType, VariablesAndAnnotations) {
    // Comments, REFERENCE texts and single dashes in the annotation stretch.
    std::string longNote = "#HELP " + std::string(600, 'h');
    MibFixture f("ENTERPRISE acme VARIABLES { ifIndex, ifDescr }\nDESCRIPTION \"d\"\n"
                 "--#TYPE \"Power supply - failed\"\n-- plain comment\nREFERENCE \"r\"\n--" +
                 longNote + "\n--#ARGUMENTS {0}\n::= 6\nnext\n");
    node* np = nullptr;
    EXPECT_EQ(Parse(f, true, &np), "");
    ASSERT_NE(np, nullptr);
    EXPECT_EQ(Items(np->augment_name), (Strings{"ifIndex", "ifDescr"}));
    EXPECT_EQ(Notes(np), (Strings{"#TYPE \"Power supply - failed\"", longNote, "#ARGUMENTS {0}"}));
    EXPECT_NE(f.TraceText().find("#-VARBIND_COUNT: 2\nDESCRIPTION: \"d\"\n#TYPE"), std::string::npos);
    std::string next;
    f.Next(&next);
    EXPECT_EQ(next, "next");  // the trap number was the last word read
    CMib2Trap::FreeNode(np);
}

TEST(TrapType, AcceptedForms) {
    std::string words;
    for (int i = 0; i < 99; ++i) words += " w" + std::to_string(i);
    struct Case { std::string text; const char* parent; int subid; bool noted; };
    const Case cases[] = {
        // Without DESCRIPTION, "--#" lines are ordinary comments.
        {"ENTERPRISE acme\n--#TYPE \"x\"\nVARIABLES { a }\n--#TYPE \"y\"\n::= 2\n", "acme", 2, false},
        {"ENTERPRISE { acme 5 } ::= 1\n", "5", 1, false},
        {"ENTERPRISE {" + words + " } ::= 1\n", "w98", 1, false},  // 99 words fit
        {"ENTERPRISE acme ::= +7\n", "acme", 7, false},
        {"ENTERPRISE acme ::= 2147483647\n", "acme", 2147483647, false},
        // An unreadable description is reported by the reader, not fatal.
        {"ENTERPRISE acme DESCRIPTION bad\n--#TYPE \"x\"\n::= 4\n", "acme", 4, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        MibFixture f(c.text);
        node* np = nullptr;
        std::string out = Parse(f, true, &np);
        ASSERT_NE(np, nullptr) << out;
        EXPECT_STREQ(np->szParent, c.parent);
        EXPECT_EQ(np->subid, c.subid);
        EXPECT_EQ(np->keyword != nullptr, c.noted);
        std::string trace = f.TraceText();
        EXPECT_EQ(trace.find("#-TRAP_ENTERPRISE") != std::string::npos, c.text[11] != '{');
        if (c.noted) {
            EXPECT_NE(trace.find("DESCRIPTION: \"\"\n"), std::string::npos);
        }
        CMib2Trap::FreeNode(np);
    }
}

TEST(TrapType, RefusedForms) {
    std::string words;
    for (int i = 0; i < 100; ++i) words += " w" + std::to_string(i);
    const char* const k155 = "Error defining ENTERPRISE: missing '}' or too long of registration";
    struct Case { std::string text; std::string out; };
    const Case cases[] = {
        {"VARIABLES { a } ::= 1", "Line: 1: Error defining TRAP-TYPE: Expected 'ENTERPRISE', found VARIABLES"},
        {"ENTERPRISE {" + words + " } ::= 1", std::string("Line: 1: ") + k155},
        {"ENTERPRISE { acme\n", std::string("Line: 2: ") + k155},  // the end counts as words
        {"ENTERPRISE ::= 1", "Line: 1: Error defining ENTERPRISE: Expected object name or registration, found ::="},
        {"ENTERPRISE a VARIABLES DESCRIPTION\n", "Line: 1: Error defining VARIABLES: Expected '{', found DESCRIPTION"},
        {"ENTERPRISE a VARIABLES { } ::= 1", "Line: 1: Error defining VARIABLES: Expected '{', found ::="},
        {"ENTERPRISE a REFERENCE \"r\" DESCRIPTION \"d\" ::= 1",
         "Line: 1: Error defining TRAP-TYPE: Expected '::=', found REFERENCE"},
        {"ENTERPRISE a DESCRIPTION \"d\"\n--#TYPE \"t\"\n", "Line: 3: Error defining TRAP-TYPE: Expected '::=', found "},
        {"ENTERPRISE a ::= {", "Line: 1: Error defining trap number: Found reserved symbol {"},
        {"ENTERPRISE a ::= 6a\n", "Line: 1: Error defining trap number: Expected integer, found 6a"},
        {"ENTERPRISE a ::= 2147483648\n", "Line: 1: Error defining trap number: Expected integer, found 2147483648"},
        {"ENTERPRISE a ::= -1\n", "Line: 1: Error defining trap number: Expected integer, found -1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        MibFixture f(c.text);
        node* np = nullptr;
        EXPECT_EQ(Parse(f, true, &np), "\n" + c.out);
        EXPECT_EQ(np, nullptr);
        EXPECT_EQ(f.TraceText().find("TRAPEND"), std::string::npos);
    }
}

TEST(NotificationType, RecordTraceAndRefusals) {
    MibFixture f("\nOBJECTS { ifIndex, ifType }\nSTATUS current\nDESCRIPTION \"Down.\"\n"
                 "--#SEVERITY MINOR\n::= { snmpTraps 3 }\n");
    f.mib.m_nLine = 5;
    node* np = nullptr;
    EXPECT_EQ(Parse(f, false, &np, "linkDown"), "");
    ASSERT_NE(np, nullptr);
    EXPECT_EQ(np->type, TOK_NOTIFICATION_TYPE);
    EXPECT_EQ(np->subid, -1);  // the value is left to the module parser
    EXPECT_EQ(Items(np->augment_name), (Strings{"ifIndex", "ifType"}));
    EXPECT_STREQ(np->szDescr, "Down.");
    EXPECT_EQ(Notes(np), Strings{"#SEVERITY MINOR"});
    EXPECT_EQ(f.TraceText(), "TRAPSTART: linkDown\nLINE: 5\nOBJECT: ifIndex\nOBJECT: ifType\n"
                             "#SEVERITY MINOR\nTRAPEND: linkDown\n");
    std::string next;
    f.Next(&next);
    EXPECT_EQ(next, "{");
    CMib2Trap::FreeNode(np);

    const char* const cases[][2] = {
        {"STATUS current DESCRIPTION \"d\" ::= {", ""},
        {"OBJECTS { } STATUS x DESCRIPTION \"d\" ::= {", ""},
        {"OBJECTS { a } DESCRIPTION \"d\" ::= {",
         "\nLine: 1: Error defining NOTIFICATION-TYPE: Expected 'STATUS', found DESCRIPTION"},
        {"STATUS current ::= {", "\nLine: 1: Error defining NOTIFICATION-TYPE: Expected 'DESCRIPTION', found ::="},
        {"STATUS current DESCRIPTION \"d\"\n", "\nLine: 2: Error defining NOTIFICATION-TYPE: Expected '::=', found "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0]);
        MibFixture g(c[0]);
        EXPECT_EQ(Parse(g, false, &np), c[1]);
        EXPECT_EQ(np != nullptr, c[1][0] == '\0');
        if (np) {
            EXPECT_EQ(np->augment_name, nullptr);
            CMib2Trap::FreeNode(np);
        }
    }
}

namespace {

struct Rec { std::string label, parent; int subid, type; };

node* Build(CMib2Trap& mib, const std::vector<Rec>& recs) {
    node* head = nullptr;
    for (auto r = recs.rbegin(); r != recs.rend(); ++r) {
        node* np = mib.CreateNode(r->type);
        snprintf(np->szLabel, LABEL_LEN, "%s", r->label.c_str());
        snprintf(np->szParent, LABEL_LEN, "%s", r->parent.c_str());
        np->subid = r->subid;
        np->next = head;
        head = np;
    }
    return head;
}

std::vector<Rec> Dump(const node* np) {
    std::vector<Rec> recs;
    for (; np; np = np->next) recs.push_back({np->szLabel, np->szParent, np->subid, np->type});
    return recs;
}

bool operator==(const Rec& a, const Rec& b) {
    return a.label == b.label && a.parent == b.parent && a.subid == b.subid && a.type == b.type;
}

void PrintTo(const Rec& r, std::ostream* os) {
    *os << r.label << "<" << r.parent << "." << r.subid << "/" << r.type << ">";
}

// The placement written the slow, obvious way: for each trap, a search of the
// whole list from its first record.
std::vector<Rec> SlowFix(std::vector<Rec> recs) {
    const char* const generic[] = {"coldStart", "warmStart", "linkDown", "linkUp",
                                   "authenticationFailure", "egpNeighborLoss"};
    for (size_t i = 0; i < recs.size(); ++i) {
        Rec& t = recs[i];
        if (t.type != TOK_TRAP_TYPE) continue;
        if (t.parent == "snmp" && t.subid >= 0 && t.subid <= 5 && t.label == generic[t.subid]) {
            t.parent = "snmpTraps";
            t.subid++;
            continue;
        }
        size_t j = 0;
        while (j < recs.size() && (j == i || recs[j].subid != 0 || recs[j].parent != t.parent)) ++j;
        if (j == recs.size()) {
            recs.insert(recs.begin() + i, Rec{t.parent + "_Corvanta_v1traps_", t.parent, 0, 0});
            j = i++;
        }
        recs[i].parent = recs[j].label;
    }
    return recs;
}

}  // namespace

TEST(FixTrapTypeNodes, PlacesTraps) {
    MibFixture f;
    f.mib.m_nLine = 42;
    node* head = Build(f.mib, {{"t1", "acme", 1, 41}, {"coldStart", "snmp", 0, 41},
                               {"egpNeighborLoss", "snmp", 5, 41}, {"linkUp", "snmp", 2, 41},
                               {"t2", "acme", 2, 41}, {"t3", "other", 1, 41}, {"ot", "other", 0, 49}});
    EXPECT_EQ(f.mib.FixTrapTypeNodes(&head), 0);
    EXPECT_EQ(Dump(head), (std::vector<Rec>{
        {"acme_Corvanta_v1traps_", "acme", 0, 0}, {"t1", "acme_Corvanta_v1traps_", 1, 41},
        {"coldStart", "snmpTraps", 1, 41}, {"egpNeighborLoss", "snmpTraps", 6, 41},
        {"snmp_Corvanta_v1traps_", "snmp", 0, 0}, {"linkUp", "snmp_Corvanta_v1traps_", 2, 41},
        {"t2", "acme_Corvanta_v1traps_", 2, 41}, {"t3", "ot", 1, 41}, {"ot", "other", 0, 49}}));
    EXPECT_EQ(head->def_line, 42);  // the line of the END
    CMib2Trap::FreeNodeList(head);

    head = nullptr;
    EXPECT_EQ(f.mib.FixTrapTypeNodes(&head), 0);
}

TEST(FixTrapTypeNodes, MatchesSearchFromFirstRecord) {
    // Traps numbered 0 are records numbered 0 themselves, found by later
    // searches under their old and then their rewritten parent.
    const char* const labels[] = {"a", "b", "a_Corvanta_v1traps_", "coldStart", "warmStart"};
    const char* const parents[] = {"a", "b", "snmp", "a_Corvanta_v1traps_"};
    const int kinds[] = {41, 41, 4, 0};
    std::mt19937 rng(7);
    for (int round = 0; round < 400; ++round) {
        std::vector<Rec> recs(1 + rng() % 12);
        for (Rec& r : recs) r = {labels[rng() % 5], parents[rng() % 4], int(rng() % 3), kinds[rng() % 4]};
        MibFixture f;
        node* head = Build(f.mib, recs);
        ASSERT_EQ(f.mib.FixTrapTypeNodes(&head), 0);
        EXPECT_EQ(Dump(head), SlowFix(recs)) << "round " << round;
        CMib2Trap::FreeNodeList(head);
    }
}

TEST(FixTrapTypeNodes, GeneratedLabelMustFit) {
    MibFixture f;
    std::string fits(237, 'e');  // with the 18-character suffix: 255 characters
    node* head = Build(f.mib, {{"t", fits, 1, 41}});
    EXPECT_EQ(f.mib.FixTrapTypeNodes(&head), 0);
    EXPECT_EQ(head->szLabel, fits + "_Corvanta_v1traps_");
    CMib2Trap::FreeNodeList(head);

    // A cut label could merge two enterprises: refused, the list stays whole.
    head = Build(f.mib, {{"t0", "a", 1, 41}, {"t", fits + "e", 1, 41}});
    EXPECT_NE(f.mib.FixTrapTypeNodes(&head), 0);
    EXPECT_EQ(Dump(head), (std::vector<Rec>{{"a_Corvanta_v1traps_", "a", 0, 0},
                                            {"t0", "a_Corvanta_v1traps_", 1, 41},
                                            {"t", fits + "e", 1, 41}}));
    CMib2Trap::FreeNodeList(head);
}
