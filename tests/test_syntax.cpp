// SYNTAX clauses and enumerations, read through the real tokenizer and readers.
#include "test_util.h"

namespace {

// Reads one SYNTAX clause into a fresh record of kind `kind` (none for 0).
struct SyntaxRun : MibFixture {
    node* np = nullptr;
    char tok[TOKEN_BUF] = "";
    int type = 0;
    bool ok = false;
    std::string out;
    explicit SyntaxRun(const std::string& text, int kind = TOK_OBJECT_TYPE) : MibFixture(text + " ") {
        if (kind) np = mib.CreateNode(kind);
        MibEnumList a{nullptr, 1, const_cast<char*>("a")};  // user types known beforehand
        for (const char* name : {"Status", "TruthValue"})
            mib.AppendUserTypeOnTokenList(CMib2Trap::CreateUserTypeElement(name, TOK_INTEGER, &a, nullptr, "(0..7)"),
                                          &mib.m_pUserTypeList);
    }
    SyntaxRun& Run() {
        CAPTURE_STDOUT(out, ok = mib.GetSyntax(tok, &type, np));
        return *this;
    }
    // The enumeration items, the subtype (or second SEQUENCE entry), "/" and the type name.
    std::string Fields() {
        std::string s;
        for (MibEnumList* ep = np->enums; ep; ep = ep->next)
            s += std::string(ep->szLabel) + "=" + std::to_string(ep->value) + " ";
        const char* extra = np->sequence ? np->sequence->pNext->szString : np->szSubtype;
        return s + (extra ? extra : "") + (np->szUserDef ? std::string("/") + np->szUserDef : "");
    }
};

TEST(GetSyntax, FormsFieldsAndTrace) {
    struct { const char* text; int syntax; const char* fields; const char* trace; } cases[] = {
        {"INTEGER { a ( 1 ) ,b (2),(5), x('0A'H), y('1010'B) , z(-3) }", TOK_INTEGER,
         "a=1 b=2 =5 x=10 y=10 z=-3 ", nullptr},
        {"OCTET STRING (SIZE (0 .. 255))", TOK_OCTET_STRING, "(SIZE(0..255))",
         "#-OBJECT_SYNTAX: OCTET STRING (SIZE(0..255))\n"},
        {"SEQUENCE { a INTEGER, b DisplayString (SIZE (0..9)) }", TOK_SEQUENCE, "b DisplayString", ""},
        {"TruthValue", TOK_TRUTHVALUE, "", "#-OBJECT_SYNTAX: TruthValue\n"},  // a keyword, not a user type
        {"Status", TOK_INTEGER, "a=1 (0..7)/Status", "#-OBJECT_SYNTAX: Status\n"},
        {"Later (1..2)", TOK_LABEL, "(1..2)/Later", nullptr},
    };
    for (const auto& c : cases) {
        SyntaxRun r(std::string(c.text) + " next");
        EXPECT_TRUE(r.Run().ok) << c.text;
        EXPECT_EQ(r.np->syntax, c.syntax) << c.text;
        EXPECT_EQ(r.Fields(), c.fields) << c.text;
        EXPECT_EQ(c.trace ? r.TraceText() : "", c.trace ? c.trace : "") << c.text;
        EXPECT_STREQ(r.tok, "next") << c.text;
    }
    for (const char* text : {"INTEGER (0..3) { a(1) } next", "SEQUENCE { a INTEGER } next", "Later (SIZE(4)) next"}) {
        SyntaxRun r(text, 0);  // without a record the clause is only consumed
        EXPECT_TRUE(r.Run().ok) << text;
        EXPECT_STREQ(r.tok, "next") << text;
    }
}

TEST(GetSyntax, Errors) {
    struct { const char* text; const char* message; int kind; } cases[] = {
        {"", "Error defining SYNTAX: Invalid keyword ", TOK_OBJECT_TYPE},
        {"SEQUENCE { } foo", "Error defining object SYNTAX: Expected 'OF', found foo", TOK_OBJECT_TYPE},
        {"INTEGER { a(1) MAX-ACCESS", "Error defining object enumeration: Expected '}', found MAX-ACCESS", 0},
        {"INTEGER { a 1 }", "Error defining enumerated type: Missing '(' in 1", TOK_OBJECT_TYPE},
        {"INTEGER { a('0A'X) }", "Error defining enumerated type: Invalid value '0A'X", TOK_OBJECT_TYPE},
        {"INTEGER { a(1 }", "Error defining enumerated type: Missing ')' in }", TOK_OBJECT_TYPE},
        {"BITS { a(1)", "Error defining enumeration list: Unexpected EOF", TOK_OBJECT_TYPE},
    };
    for (const auto& c : cases) {
        SyntaxRun r(c.text, c.kind);
        EXPECT_FALSE(r.Run().ok) << c.text;
        EXPECT_EQ(r.out, std::string("\nLine: 1: ") + c.message) << c.text;
    }
}

}  // namespace
