// The module parser over whole texts: a clean start after a failed parse, the
// compile modes, IMPORTS and EXPORTS recording, and late binding of types.
#include <string>

#include <gtest/gtest.h>

#include "test_util.h"

namespace {

// One parse of a text, kept for inspection.
struct Parsed {
    MibFixture f;
    ModListNode* mods = nullptr;
    std::string out;
    explicit Parsed(const std::string& text, int pass = 1) : f(text) { CAPTURE_STDOUT(out, mods = f.mib.Parse(pass)); }
    ~Parsed() { CMib2Trap::FreeModList(mods); }

    node* Find(const char* label) const {
        for (node* np = mods ? mods->node : nullptr; np; np = np->next)
            if (std::string(np->szLabel) == label) return np;
        return nullptr;
    }
};

std::string Mod(const std::string& body) { return "M DEFINITIONS ::= BEGIN\n" + body + "\nEND\n"; }

std::string Object(const std::string& name, const std::string& syntax, const std::string& value) {
    return name + " OBJECT-TYPE SYNTAX " + syntax + " ACCESS read-only STATUS mandatory ::= " + value + "\n";
}

// Kind, type name, syntax, subtype and enumerations of an object.
std::string Binding(const node* np) {
    std::string s = std::to_string(np->type) + " " + np->szUserDef + " " + std::to_string(np->syntax) + " " +
                    (np->szSubtype ? np->szSubtype : "-") + " ";
    for (MibEnumList* ep = np->enums; ep; ep = ep->next)
        s += std::string(ep->szLabel) + "=" + std::to_string(ep->value) + " ";
    return s;
}

}  // namespace

TEST(Parse, ModuleHeadersAndACleanStartAfterAFailedParse) {
    // Each module keeps the name of the MIB the comment before it named.
    Parsed two("-- START OF MIB: A.mib\nA DEFINITIONS ::= BEGIN END\n-- START OF MIB: B.mib\n" + Mod(""));
    ASSERT_TRUE(two.mods && two.mods->next_mod);
    EXPECT_STREQ(two.mods->szMibName, " A.mib");
    EXPECT_STREQ(two.mods->next_mod->szMibName, " B.mib");

    // The "{" that ended the word of the failed parse is not read again.
    Parsed again("x y{");
    EXPECT_EQ(again.out, "\nLine: 1: Error while not parsing a module: found: y");
    fclose(again.f.mib.m_pInFile);
    again.f.mib.m_pInFile = TextStream("M DEFINITIONS ::= BEGIN END\n");
    EXPECT_NE(again.mods = again.f.mib.Parse(1), nullptr);

    Parsed odd(Mod("y OBJECT-IDENTITY STATUS current DESCRIPTION \"d\" ::= { a 3 b(2) 1 }"));
    EXPECT_EQ(odd.out, "\nLine: 2: Error defining registration: Invalid parent label or subid");
}

TEST(Parse, ImportsExportsAndModes) {
    const std::string clause = Mod("IMPORTS a, b FROM M1 c FROM M2;\nEXPORTS e;\nIMPORTS d , f FROM M3;\nEXPORTS g;");
    {
        Parsed p(clause);
        // Exported words join the next FROM, those no FROM follows are dropped,
        // and a lone comma is an empty label.
        std::string s;
        for (importFilesList* e = importFiles; e; e = e->next) {
            s += std::string(e->szLabel) + ":";
            for (keyword* kp = e->imports; kp; kp = kp->next) {
                EXPECT_EQ(kp->szValue, e->szLabel);  // the entry's own string, shared
                s += std::string(kp->szLabel) + " ";
            }
        }
        EXPECT_EQ(s, "M1:a b M2:c M3:e d  f ");
    }
    Parsed imported(clause, 2);  // an imported module's IMPORTS are not followed
    EXPECT_TRUE(imported.mods && !importFiles);
    Parsed mode3(Mod("Color ::= INTEGER { red(1) }"), 3);  // nor are its types kept
    EXPECT_TRUE(mode3.mods && !mode3.f.mib.m_pUserTypeList);
}

TEST(Parse, ObjectsReadBeforeTheirTypeAreBoundAtTheEnd) {
    Parsed p(Mod(Object("early", "Color", "{ a 1 }") + Object("early2", "Name", "{ a 2 }") +
                 Object("unknown", "Nowhere", "{ a 3 }") +
                 "Color ::= INTEGER { red(1), blue(2) }\nName ::= OCTET STRING (SIZE (0..8))\n" +
                 Object("late", "Color", "{ a 4 }") + Object("late2", "Name", "{ a 5 }")));
    ASSERT_NE(p.mods, nullptr) << p.out;
    EXPECT_EQ(p.f.mib.m_pUnresObjList, nullptr);
    EXPECT_EQ(p.Find("unknown")->syntax, TOK_LABEL);
    EXPECT_EQ(Binding(p.Find("early")), "16 Color 6 - red=1 blue=2 ");
    EXPECT_EQ(Binding(p.Find("early")), Binding(p.Find("late")));
    EXPECT_EQ(Binding(p.Find("early2")), "16 Name 5 (SIZE(0..8)) ");
    EXPECT_EQ(Binding(p.Find("early2")), Binding(p.Find("late2")));
}
