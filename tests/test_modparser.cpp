// The module parser over whole texts: module headers, registrations, IMPORTS
// and EXPORTS, its diagnostics with their line numbers, and late binding.
#include <string>

#include <gtest/gtest.h>

#include "test_util.h"

namespace {

// One parse of a text, kept for inspection.
struct Parsed {
    MibFixture f;
    ModListNode* mods = nullptr;
    std::string out;
    explicit Parsed(const std::string& text, int pass = 1) : f(text) {
        CAPTURE_STDOUT(out, mods = f.mib.Parse(pass));
    }
    ~Parsed() { CMib2Trap::FreeModList(mods); }

    // The records of module m as "label<parent.subid:kind@line ".
    std::string Records(int m = 0) const {
        ModListNode* mod = mods;
        while (mod && m--) mod = mod->next_mod;
        std::string s;
        for (node* np = mod ? mod->node : nullptr; np; np = np->next)
            s += std::string(np->szLabel) + "<" + np->szParent + "." + std::to_string(np->subid) +
                 ":" + std::to_string(np->type) + "@" + std::to_string(np->def_line) + " ";
        return s;
    }
    node* Find(const char* label) const {
        for (node* np = mods ? mods->node : nullptr; np; np = np->next)
            if (std::string(np->szLabel) == label) return np;
        return nullptr;
    }
};

std::string Mod(const std::string& body) { return "M DEFINITIONS ::= BEGIN\n" + body + "\nEND\n"; }

std::string Identity(const std::string& name, const std::string& value) {
    return name + " OBJECT-IDENTITY STATUS current DESCRIPTION \"d\" ::= " + value + "\n";
}

std::string Object(const std::string& name, const std::string& syntax, const std::string& value) {
    return name + " OBJECT-TYPE SYNTAX " + syntax + " ACCESS read-only STATUS mandatory ::= " +
           value + "\n";
}

// Kind, type name, syntax, subtype and enumerations of an object.
std::string Binding(const node* np) {
    std::string s = std::to_string(np->type) + " " + np->szUserDef + " " +
                    std::to_string(np->syntax) + " " + (np->szSubtype ? np->szSubtype : "-") + " ";
    for (MibEnumList* ep = np->enums; ep; ep = ep->next)
        s += std::string(ep->szLabel) + "=" + std::to_string(ep->value) + " ";
    return s;
}

// importFiles as "Module:label,label ".
std::string Imports() {
    std::string s;
    for (importFilesList* e = importFiles; e; e = e->next) {
        s += std::string(e->szLabel) + ":";
        for (keyword* kp = e->imports; kp; kp = kp->next) {
            EXPECT_EQ(kp->szValue, e->szLabel);  // the entry's own string, shared
            s += std::string(kp->szLabel) + (kp->next ? "," : "");
        }
        s += " ";
    }
    return s;
}

}  // namespace

TEST(Parse, FilesAndModuleHeaders) {
    for (const char* text : {"", "-- nothing but a comment\n"}) {
        Parsed p(text);
        EXPECT_TRUE(!p.mods && p.out.empty());
    }

    Parsed one("FOO-MIB { iso 3 6 1 } DEFINITIONS ::= BEGIN\nEND\n");
    ASSERT_NE(one.mods, nullptr);
    EXPECT_STREQ(one.mods->szModName, "FOO-MIB");
    EXPECT_STREQ(one.mods->szMibName, "");
    EXPECT_TRUE(!one.mods->node && !one.mods->next_mod && one.out.empty());
    EXPECT_EQ(one.f.TraceText(), "#-MODULENAME: FOO-MIB\n\n");

    Parsed two("-- START OF MIB: A.mib\nA DEFINITIONS ::= BEGIN END\n-- START OF MIB: B.mib\n" +
               Mod("x OBJECT IDENTIFIER ::= { a 1 }").replace(0, 1, "B"));
    ASSERT_TRUE(two.mods && two.mods->next_mod);
    EXPECT_STREQ(two.mods->szMibName, " A.mib");
    EXPECT_STREQ(two.mods->next_mod->szModName, "B");
    EXPECT_STREQ(two.mods->next_mod->szMibName, " B.mib");
    EXPECT_EQ(two.Records(1), "x<a.1:4@5 ");

    // A parse starts clean even after one that stopped with a "{" pushed back.
    Parsed again("x y{");
    EXPECT_EQ(again.out, "\nLine: 1: Error while not parsing a module: found: y");
    fclose(again.f.mib.m_pInFile);
    again.f.mib.m_pInFile = TextStream("M DEFINITIONS ::= BEGIN END\n");
    EXPECT_NE(again.mods = again.f.mib.Parse(1), nullptr);
}

TEST(Parse, Registrations) {
    Parsed p(Mod("internet OBJECT IDENTIFIER ::= { iso org(3) dod(6) 1 }\n"
                 "foo OBJECT IDENTIFIER ::= { internet 9 }\nfoo OBJECT IDENTIFIER ::= { internet 10 }\n"
                 "odd OBJECT IDENTIFIER ::= { a iso 5 }\n" +  // reads its value once only
                 Identity("x", "{ enterprises 232 }") + Identity("y", "{ a b(2) c(3) 5 }") +
                 Identity("z", "{ 7 }") + "w OBJECT IDENTIFIER ::= { z 1 }"));
    EXPECT_EQ(p.out, "");
    EXPECT_EQ(p.Records(),
              "org<iso.3:0@0 dod<org.6:0@0 internet<dod.1:0@2 foo<internet.9:4@3 "
              "foo<internet.10:4@4 iso<a.-1:0@0 odd<iso.5:0@5 x<enterprises.232:49@6 "
              "b<a.2:4@7 c<b.3:4@7 y<c.5:49@7 w<z.1:4@9 ");
    EXPECT_NE(p.f.TraceText().find("#-OBJECT_OID: enterprises 232\n#-END_OBJECTNAME: x\n\n"),
              std::string::npos);
}

TEST(Parse, ImportsAndExports) {
    std::string clause = Mod("IMPORTS a, b FROM M1 c FROM M2;\nEXPORTS e;\nIMPORTS d , f FROM M3;\nEXPORTS g;");
    {
        Parsed p(clause);
        // Exported words join the next FROM; those no FROM follows are dropped.
        EXPECT_EQ(Imports(), "M1:a,b M2:c M3:e,d,,f ");
    }
    {
        Parsed p(clause, 2);
        EXPECT_TRUE(p.mods && !importFiles);
    }
    std::string words;
    for (int i = 0; i < 498; ++i) words += " w";
    Parsed most(Mod("IMPORTS" + words + " FROM;"));  // 499 words with the last
    EXPECT_EQ(most.out, "");
}

TEST(Parse, Diagnostics) {
    std::string words;
    for (int i = 0; i < 500; ++i) words += " w\n";
    const std::string cases[][2] = {
        {"IMPORTS a FROM b;", "1: Error defining MIB module: unexpected keyword IMPORTS"},
        {"END\n", "1: Error defining MIB module: unexpected keyword END"},
        {Mod("IMPORTS" + words), "2: Error defining IMPORTS or EXPORTS: missing ';' or too many imports/exports"},
        {Mod("OBJECT-TYPE"), "2: Error defining object: expected a label, found reserved symbol OBJECT-TYPE"},
        {Mod("x {"), "2: Error defining object: found {"},
        {Mod("x y"), "2: Error defining object: found y"},
        {"A DEFINITIONS ::= BEGIN\nB DEFINITIONS\n", "2: Nested module definitions not allowed"},
        {"x y ", "1: Error while not parsing a module: found: y"},
        {"M DEFINITIONS ::= BEGIN\nx \n", "3: Error defining object: end of file found"},
        {Mod(Identity("y", "{ 1 3 6 }")), "2: Error defining registration: Invalid parent label or subid"},
        {Mod(Identity("y", "{ a 3 b(2) 1 }")), "2: Error defining registration: Invalid parent label or subid"},
        {Mod(Identity("y", "{ a b(2) c }")), "2: Error defining registration: Invalid parent label or subid"},
        {"M DEFINITIONS ::= BEGIN\n", "2: Error defining MIB Module: Missing keyword END"},
        {"M DEFINITIONS BEGIN\n", "1: Error defining MIB module: Expected '::=', found BEGIN"},
        {"M DEFINITIONS ::= END\n", "1: Error defining MIB module: Expected 'BEGIN', found END"},
    };
    for (auto& c : cases) {
        Parsed p(c[0]);
        EXPECT_EQ(p.mods, nullptr) << c[0];
        EXPECT_EQ(p.out, "\nLine: " + c[1]) << c[0];
    }
}

TEST(Parse, StatementsAndLateBinding) {
    Parsed p(Mod("DisplayString ::= TEXTUAL-CONVENTION STATUS current DESCRIPTION \"d\"\n"
                 "  SYNTAX OCTET STRING (SIZE (0..255))\n" +
                 Object("early", "Color", "{ a 1 }") + Object("early2", "Name", "{ a 2 }") +
                 Object("lost", "Name", "{ 7 }") + Object("unknown", "Nowhere", "{ a 3 }") +
                 "Color ::= INTEGER { red(1), blue(2) }\nName ::= OCTET STRING (SIZE (0..8))\n" +
                 Object("late", "Color", "{ a 4 }") + Object("late2", "Name", "{ a 5 }") +
                 "n NOTIFICATION-TYPE STATUS current DESCRIPTION \"d\" ::= { acmeTraps 3 }"));
    ASSERT_NE(p.mods, nullptr) << p.out;
    EXPECT_NE(p.f.mib.FindUserTypeOnTokenList("DisplayString", p.f.mib.m_pUserTypeList), nullptr);
    EXPECT_EQ(p.f.mib.m_pUnresObjList, nullptr);
    EXPECT_TRUE(p.f.mib.m_bMibHasTrapTypeMacro);
    EXPECT_EQ(p.Find("lost"), nullptr);
    EXPECT_EQ(p.Find("unknown")->syntax, TOK_LABEL);

    // Objects read before their type end up as those read after it.
    EXPECT_EQ(Binding(p.Find("early")), "16 Color 6 - red=1 blue=2 ");
    EXPECT_EQ(Binding(p.Find("early")), Binding(p.Find("late")));
    EXPECT_EQ(Binding(p.Find("early2")), Binding(p.Find("late2")));
    EXPECT_NE(p.Find("early2")->szSubtype, nullptr);

    Parsed trap(Mod("t TRAP-TYPE ENTERPRISE acme ::= 3"));
    ASSERT_NE(trap.mods, nullptr) << trap.out;
    node* fix = trap.mods->node;  // the enterprise's child 0 added at END
    EXPECT_TRUE(fix->next && std::string(fix->szParent) == "acme" && fix->subid == 0);
    EXPECT_STREQ(fix->next->szParent, fix->szLabel);

    Parsed mode3(Mod("Color ::= INTEGER { red(1) }"), 3);
    EXPECT_TRUE(mode3.mods && !mode3.f.mib.m_pUserTypeList);
}
