// TRAP-TYPE and NOTIFICATION-TYPE clause limits, and the placement of traps
// in the OID tree at END.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "test_util.h"

namespace {

using Strings = std::vector<std::string>;

Strings Notes(const node* np) {
    Strings lines;
    for (const keyword* kp = np->keyword; kp; kp = kp->next) {
        EXPECT_EQ(kp->szLabel, kp->szValue);  // one string serves as both
        lines.push_back(kp->szLabel);
    }
    return lines;
}

// Parses a trap (trap = true) or a notification named "t" from `f`; returns
// what was printed.
std::string Parse(MibFixture& f, bool trap, node** np) {
    char szName[] = "t";
    std::string out;
    CAPTURE_STDOUT(out, *np = trap ? f.mib.ParseTrapType(szName, nullptr) : f.mib.ParseNotificationType(szName));
    return out;
}

}  // namespace

TEST(TrapType, AcceptedLimits) {
    std::string words;
    for (int i = 0; i < 99; ++i) words += " w" + std::to_string(i);
    const std::string help = "#HELP " + std::string(600, 'h');
    struct Case { bool trap; std::string text, out, parent; int subid; Strings notes; };
    const Case cases[] = {
        {true, "ENTERPRISE {" + words + " } ::= 1", "", "w98", 1, {}},  // 99 words fit
        {true, "ENTERPRISE acme ::= +7", "", "acme", 7, {}},
        {true, "ENTERPRISE acme ::= 2147483647", "", "acme", 2147483647, {}},
        // An annotation line is as long as the annotation word allows.
        {true, "ENTERPRISE acme DESCRIPTION \"d\"\n--" + help + "\n::= 4", "", "acme", 4, {help}},
        // An unreadable description is reported by the text reader, not fatal.
        {true, "ENTERPRISE acme DESCRIPTION bad\n--#TYPE \"x\"\n::= 4",
         "\nLine: 1: Error defining quoted text: expected opening quote, found bad", "acme", 4, {"#TYPE \"x\""}},
        // Any word is a notification's status.
        {false, "OBJECTS { a } STATUS x DESCRIPTION \"d\" ::= {", "", "", -1, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        MibFixture f(c.text + " ");
        node* np = nullptr;
        EXPECT_EQ(Parse(f, c.trap, &np), c.out);
        ASSERT_NE(np, nullptr);
        EXPECT_EQ(np->szParent, c.parent);
        EXPECT_EQ(np->subid, c.subid);
        EXPECT_EQ(Notes(np), c.notes);
        if (!c.notes.empty()) {
            EXPECT_NE(f.TraceText().find(c.notes[0] + "\n#-TRAP_SPECIFIC_ID"), std::string::npos);
        }
    }
}

TEST(TrapType, RefusedNumbersAndMissingValue) {
    const std::string e = "\nLine: 1: Error defining trap number: Expected integer, found ";
    const std::string cases[][2] = {
        {"ENTERPRISE a ::= 2147483648\n", e + "2147483648"},
        {"ENTERPRISE a ::= -1\n", e + "-1"},
        {"ENTERPRISE a DESCRIPTION \"d\"\n--#TYPE \"t\"\n",
         "\nLine: 3: Error defining TRAP-TYPE: Expected '::=', found "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0]);
        MibFixture f(c[0]);
        node* np = nullptr;
        EXPECT_EQ(Parse(f, true, &np), c[1]);
        EXPECT_EQ(np, nullptr);
        EXPECT_EQ(f.TraceText().find("TRAPEND"), std::string::npos);
    }
}

namespace {

struct Rec { std::string label, parent; int subid, type; };

node* Build(CMib2Trap& mib, const std::vector<Rec>& recs) {
    node* head = nullptr;
    for (auto r = recs.rbegin(); r != recs.rend(); ++r) {
        node* np = mib.CreateNode(r->type);
        np->szLabel = mib.CopyLabel(r->label.c_str());
        np->szParent = mib.CopyLabel(r->parent.c_str());
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
    const char* const generic[] = {"coldStart", "warmStart", "linkDown", "linkUp", "authenticationFailure",
                                   "egpNeighborLoss"};
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

TEST(FixTrapTypeNodes, MatchesSearchFromFirstRecord) {
    // Traps numbered 0 are records numbered 0 themselves, found by later
    // searches under their old and then their rewritten parent.
    const char* const labels[] = {"a", "b", "a_Corvanta_v1traps_", "coldStart", "warmStart", "egpNeighborLoss"};
    const char* const parents[] = {"a", "b", "snmp", "a_Corvanta_v1traps_"};
    const int kinds[] = {TOK_TRAP_TYPE, TOK_TRAP_TYPE, TOK_OBJECT_IDENTIFIER, 0};
    std::mt19937 rng(7);
    for (int round = 0; round < 400; ++round) {
        std::vector<Rec> recs(rng() % 13);
        for (Rec& r : recs) r = {labels[rng() % 6], parents[rng() % 4], int(rng() % 6), kinds[rng() % 4]};
        MibFixture f;
        node* head = Build(f.mib, recs);
        ASSERT_EQ(f.mib.FixTrapTypeNodes(&head), 0);
        EXPECT_EQ(Dump(head), SlowFix(recs)) << "round " << round;
    }
}

TEST(FixTrapTypeNodes, GeneratedLabelMustFit) {
    MibFixture f;
    std::string fits(237, 'e');  // with the 18-character suffix: 255 characters
    node* head = Build(f.mib, {{"t", fits, 1, TOK_TRAP_TYPE}});
    EXPECT_EQ(f.mib.FixTrapTypeNodes(&head), 0);
    EXPECT_EQ(head->szLabel, fits + "_Corvanta_v1traps_");

    // A cut label could merge two enterprises: refused, the list stays whole.
    head = Build(f.mib, {{"t0", "a", 1, TOK_TRAP_TYPE}, {"t", fits + "e", 1, TOK_TRAP_TYPE}});
    EXPECT_NE(f.mib.FixTrapTypeNodes(&head), 0);
    EXPECT_EQ(Dump(head), (std::vector<Rec>{{"a_Corvanta_v1traps_", "a", 0, 0},
                                            {"t0", "a_Corvanta_v1traps_", 1, TOK_TRAP_TYPE},
                                            {"t", fits + "e", 1, TOK_TRAP_TYPE}}));
}
