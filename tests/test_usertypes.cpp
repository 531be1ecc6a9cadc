// User types: comparison, the user-type list with its index, and the clauses
// of a TEXTUAL-CONVENTION read through the real tokenizer.
#include "test_util.h"

namespace {

// A type whose items are a(1) then b(2), or b(2) then a(1) when `swapped`.
MibUserType* Type(const char* name, int type, bool swapped, const char* userDef, const char* subtype) {
    MibEnumList second{nullptr, swapped ? 1 : 2, const_cast<char*>(swapped ? "a" : "b")};
    MibEnumList first{&second, swapped ? 2 : 1, const_cast<char*>(swapped ? "b" : "a")};
    return CMib2Trap::CreateUserTypeElement(name, type, &first, userDef, subtype);
}

struct TypeFixture : MibFixture {
    std::string out;
    explicit TypeFixture(const std::string& text = "") : MibFixture(text + " ") {}
    // Parses one type definition, as the module parser does after "name ::=".
    int Parse(std::string name) {
        char tok[TOKEN_BUF];
        int code = 0;
        CAPTURE_STDOUT(out, code = mib.ParseUserType(tok, &name[0], nullptr));
        return code;
    }
    bool Append(MibUserType* utp) {
        bool ok = false;
        CAPTURE_STDOUT(out, ok = mib.AppendUserTypeOnTokenList(utp, &mib.m_pUserTypeList));
        return ok;
    }
    MibUserType* Find(const char* name) { return mib.FindUserTypeOnTokenList(name, mib.m_pUserTypeList); }
};

TEST(UserTypes, ListKeepsFirstDefinition) {
    TypeFixture t;
    MibUserType* a = Type("A", TOK_INTEGER, false, "B", "(1..2)");
    ASSERT_TRUE(t.Append(a));
    ASSERT_TRUE(t.Append(Type("Z", TOK_OCTET_STRING, false, nullptr, nullptr)));
    EXPECT_TRUE(t.Append(Type("A", TOK_INTEGER, false, "B", "(5)")));  // differs only in subtype
    EXPECT_EQ(t.out, "");
    EXPECT_EQ(t.mib.m_pUserTypeList->forw->szToken, reinterpret_cast<char*>(a));
    EXPECT_STREQ(t.Find("A")->szSubtype, "(1..2)");
    for (MibUserType* conflict : {Type("A", TOK_INTEGER, true, "B", nullptr), Type("A", TOK_BITS, false, "B", nullptr),
                                  Type("A", TOK_INTEGER, false, nullptr, nullptr)}) {
        EXPECT_FALSE(t.Append(conflict));
        EXPECT_EQ(t.out, "\nLine: 1: Error defining ASN.1 Type: duplicate type with conflicting definition A");
    }
    EXPECT_EQ(t.Find("a"), nullptr);
    // Any other list (the writer's) is walked, not looked up in the index: a
    // walk that starts and ends at Z's element sees every type but Z.
    MibTokenList* other = t.mib.m_pUserTypeList->back;
    EXPECT_EQ(t.mib.FindUserTypeOnTokenList("A", other), a);
    EXPECT_EQ(t.mib.FindUserTypeOnTokenList("Z", other), nullptr);
    // Releasing the list clears the index but leaves the records alive.
    MibUserType* z = t.Find("Z");
    t.mib.ReleaseUserTypeList();
    EXPECT_TRUE(t.mib.m_userTypeIndex.empty());
    CMib2Trap::FreeUserTypeElement(a);
    CMib2Trap::FreeUserTypeElement(z);
}

TEST(UserTypes, TextualConventions) {
    struct { const char* text; const char* message; } cases[] = {
        {"STATUS current DESCRIPTION \"d\" SYNTAX OCTET STRING (SIZE (0..9)) x", ""},
        {"DESCRIPTION \"d\"", "Expected 'STATUS', found DESCRIPTION"},
        {"STATUS current REFERENCE \"r\" DESCRIPTION \"d\"", "Expected 'DESCRIPTION', found REFERENCE"},
        {"STATUS current DESCRIPTION \"d\" ::=", "Expected 'SYNTAX', found ::="},
    };
    for (const auto& c : cases) {
        TypeFixture t(std::string("TEXTUAL-CONVENTION ") + c.text);
        EXPECT_EQ(t.Parse("DisplayString"), *c.message ? 0 : TOK_LABEL) << c.text;
        EXPECT_EQ(t.out, *c.message ? std::string("\nLine: 1: Error defining TEXTUAL-CONVENTION: ") + c.message : "");
        MibUserType* tc = t.Find("DisplayString");
        EXPECT_EQ(tc != nullptr, !*c.message);
        EXPECT_STREQ(tc ? tc->szSubtype : nullptr, *c.message ? nullptr : "(SIZE(0..9))");
    }
}

}  // namespace
