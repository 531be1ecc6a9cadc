// Object identifier values read through the tokenizer: GetOid's components
// and limits, ParseObjectId's chains and refusals.
#include <climits>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "test_util.h"

// ParseObjectId for foo on text: each record as "label<parent.subid:kind@line",
// then what was printed.
static std::string ParseOid(const std::string& text, const char* name = "foo") {
    MibFixture f(text);
    f.mib.m_nNameLine = 4;
    char szName[TOKEN_BUF];
    snprintf(szName, sizeof szName, "%s", name);
    node* chain = nullptr;
    std::string out, recs;
    CAPTURE_STDOUT(out, chain = f.mib.ParseObjectId(szName));
    for (node* np = chain; np; np = np->next)
        recs += std::string(np->szLabel) + "<" + np->szParent + "." + std::to_string(np->subid) +
                ":" + std::to_string(np->type) + "@" + std::to_string(np->def_line) + " ";
    return recs + out;
}

static std::string Msg(const std::string& text) {
    return "\nLine: 1: Error defining OBJECT IDENTIFIER: " + text;
}

// "::= { a n1(1) n2(2) ... }" with n components in all.
static std::string Components(int n) {
    std::string s = "::= { a";
    for (int i = 1; i < n - 1; ++i) s += " n" + std::to_string(i) + "(" + std::to_string(i) + ")";
    return s + " " + std::to_string(n - 1) + " }";
}

TEST(GetOid, ComponentsAndLimits) {
    MibFixture f("{ iso org(3) 6 x(99999999999) } {mib-2 1} {iso(1) org(3)}");
    subid oid[16];
    ASSERT_EQ(f.mib.GetOid(oid, 16), 4);
    EXPECT_TRUE(!strcmp(oid[0].szLabel, "iso") && oid[0].nSubid == -1);
    EXPECT_TRUE(!strcmp(oid[1].szLabel, "org") && oid[1].nSubid == 3);
    EXPECT_TRUE(!oid[2].szLabel && oid[2].nSubid == 6);
    EXPECT_EQ(oid[3].nSubid, INT_MAX);  // held at the top, never wrapped to -1
    ReleaseOidLabels(oid, 4);
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(f.mib.GetOid(oid, 16), 2);
        ReleaseOidLabels(oid, 2);
    }

    const char* failures[][2] = {
        {"{ iso(1) }", "Expected subid, found }"}, {"{ mib-2 }", "Expected subid, found }"},
        {"::= {", "Expected '{', found ::="},      {"{ a 1 ::= }", "Expected '}', found ::="},
        {"{ a 1 ", "Expected '}', found "},
    };
    for (auto& c : failures) {
        MibFixture g(c[0]);
        std::string out;
        int n = -1;
        CAPTURE_STDOUT(out, n = g.mib.GetOid(oid, 16));
        EXPECT_EQ(n, 0) << c[0];
        EXPECT_EQ(out, Msg(c[1])) << c[0];
    }
}

TEST(ParseObjectId, ChainsAndRefusals) {
    EXPECT_EQ(ParseOid("::= { enterprises 9 }"), "foo<enterprises.9:4@4 ");
    EXPECT_EQ(ParseOid("::= { iso org(3) dod(6) internet(1) private(4) 1 }", "enterprises"),
              "org<iso.3:0@0 dod<org.6:0@0 internet<dod.1:0@0 private<internet.4:0@0 "
              "enterprises<private.1:0@4 ");
    EXPECT_EQ(ParseOid("::= { a iso 5 }"), "iso<a.-1:0@0 foo<iso.5:0@4 ");
    std::string longest = ParseOid(Components(16));  // the most a value may hold
    EXPECT_EQ(longest.substr(0, 11), "n1<a.1:0@0 ");
    EXPECT_EQ(longest.substr(longest.size() - 15), "foo<n14.15:0@4 ");

    const std::string refusals[][2] = {
        {"{ a 1 }", "Expected '::=', found {"},
        {"::= { 1 3 6 1 }", "invalid registration for foo"},
        {"::= { 0 0 }", "invalid registration for foo"},
        {"::= { 0 }", "invalid registration for foo"},  // a single component names no parent
        {"::= { a b 5 }", "no subid for object label b"},
        {"::= { a b(2) c }", "no subid for object label foo"},
        {"::= { a b }", "Expected subid, found }"},
        {"::= { a org(3 5 }", "Missing ')' at end of org(3"},
        {Components(17), "maximun number of subids is 16"},
    };
    for (auto& c : refusals) EXPECT_EQ(ParseOid(c[0]), Msg(c[1])) << c[0];
}
