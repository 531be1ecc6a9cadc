// The registration-only SMIv2 macros: accepted clause forms and the message
// of each refused form.
#include <string>

#include "test_util.h"

namespace {

using Parser = node* (CMib2Trap::*)(char*);
const Parser MI = &CMib2Trap::ParseModuleIdentity, OI = &CMib2Trap::ParseObjectIdentity,
             OG = &CMib2Trap::ParseObjectGroup, NG = &CMib2Trap::ParseNotificationGroup,
             MC = &CMib2Trap::ParseModuleCompliance, AC = &CMib2Trap::ParseAgentCapabilities;

struct Case {
    std::string text;
    Parser parser;
    std::string out;  // printed; empty for an accepted form
};

// Runs one case; returns the record (for accepted forms, with the "::="
// value left unread) or null.
node* Check(MibFixture& f, const Case& c) {
    char szName[] = "thing";
    std::string out;
    node* np = nullptr;
    CAPTURE_STDOUT(out, np = (f.mib.*c.parser)(szName));
    EXPECT_EQ(out, c.out);
    // A text the text reader could not read is reported but not fatal.
    EXPECT_EQ(np != nullptr, c.out.empty() || c.out.find("quoted text") != std::string::npos);
    if (np) {
        EXPECT_EQ(np->subid, -1);
        std::string next;
        f.Next(&next);
        EXPECT_EQ(next, "{");
    }
    return np;
}

const std::string kMI = "LAST-UPDATED \"2000\" ORGANIZATION \"o\" CONTACT-INFO \"c\" DESCRIPTION \"d\" ";
const std::string kAC = "PRODUCT-RELEASE \"p\" STATUS current DESCRIPTION \"d\" ";
const std::string kMC = "STATUS current DESCRIPTION \"d\" ";

}  // namespace

TEST(SmiV2, AcceptedClauseForms) {
    const Case cases[] = {
        // Any status word is an identity's status, the SMIv1 ones are valid
        // group statuses too; lists may lack their braces or their items.
        {"STATUS anything DESCRIPTION \"oi\" ::= {", OI, ""},
        {"OBJECTS STATUS optional DESCRIPTION \"d\" ::= {", OG, ""},
        {"NOTIFICATIONS { } STATUS mandatory DESCRIPTION \"d\" ::= {", NG, ""},
        {kAC + "SUPPORTS M INCLUDES { g } VARIATION v ACCESS not-implemented DESCRIPTION \"d\" ::= {", AC, ""},
        {kAC + "REFERENCE \"r\"\nSUPPORTS IF-MIB INCLUDES { ifGeneralGroup }\n"
               "  VARIATION ifAdminStatus SYNTAX INTEGER { up(1) } WRITE-SYNTAX INTEGER { up(1) }\n"
               "    ACCESS read-only CREATION-REQUIRES { ifIndex } DEFVAL { { up } } DESCRIPTION \"d\"\n"
               "  VARIATION ifType DESCRIPTION \"d\"\nSUPPORTS INCLUDES { }\n::= {", AC, ""},
        // Two sections, the first without a module name; the word OBJECT of a
        // refinement is not taken for OBJECT IDENTIFIER.
        {kMC + "REFERENCE \"r\"\nMODULE -- this module\n  MANDATORY-GROUPS { g1, g2 }\n"
               "  OBJECT ifAdminStatus SYNTAX INTEGER { up(1) } WRITE-SYNTAX INTEGER { up(1) }\n"
               "    MIN-ACCESS read-only DESCRIPTION \"d\"\n  GROUP g3 DESCRIPTION \"d\"\n"
               "MODULE IF-MIB MANDATORY-GROUPS { ifGeneralGroup } OBJECT\nifType DESCRIPTION \"d\"\n"
               "MODULE IF-MIB\n::= {", MC, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        MibFixture f(c.text);
        Check(f, c);
        // SYNTAX clauses are not kept but leave their trace records.
        EXPECT_EQ(f.TraceText().find("#-OBJECT_SYNTAX: INTEGER") != std::string::npos,
                  c.text.find("SYNTAX INTEGER") != std::string::npos);
    }
}

TEST(SmiV2, RefusedForms) {
    const std::string e = "\nLine: 1: Error defining ";
    const Case cases[] = {
        {"LAST-UPDATED \"x\" CONTACT-INFO \"c\" ", MI,
         e + "MODULE-IDENTITY: Expected 'ORGANIZATION', found CONTACT-INFO"},
        {"LAST-UPDATED \"x\" ORGANIZATION \"o\" DESCRIPTION ", MI,
         e + "MODULE-IDENTITY: Expected 'CONTACT-INFO', found DESCRIPTION"},
        {"LAST-UPDATED \"x\" ORGANIZATION \"o\" CONTACT-INFO \"c\" ::= {", MI,
         e + "MODULE-IDENTITY: Expected 'DESCRIPTION', found ::="},
        {kMI + "STATUS current ::= {", MI, e + "MODULE-IDENTITY: Expected '::=', found STATUS"},
        {"DESCRIPTION \"d\" ::= {", OI, e + "OBJECT-IDENTITY: Expected 'STATUS', found DESCRIPTION"},
        {"STATUS current REFERENCE \"r\" ::= {", OI, e + "OBJECT-IDENTITY: Expected 'DESCRIPTION', found REFERENCE"},
        {"STATUS current ::= {", NG, e + "NOTIFICATION-GROUP: Expected 'NOTIFICATIONS', found STATUS"},
        {"NOTIFICATIONS { n } DESCRIPTION ", NG, e + "NOTIFICATION-GROUP: Expected 'STATUS', found DESCRIPTION"},
        {"NOTIFICATIONS { n } STATUS current ::= {", NG, e + "NOTIFICATION-GROUP: Expected 'DESCRIPTION', found ::="},
        {"NOTIFICATIONS { n } STATUS current DESCRIPTION \"d\" OBJECTS ", NG,
         e + "NOTIFICATION-GROUP: Expected '::=', found OBJECTS"},
        {"NOTIFICATIONS { n } ", OG, e + "OBJECT-GROUP: Expected 'OBJECTS', found NOTIFICATIONS"},
        {"OBJECTS { a } ::= {", OG, e + "OBJECT-GROUP: Expected 'STATUS', found ::="},
        {"OBJECTS { a } STATUS current REFERENCE ", OG, e + "OBJECT-GROUP: Expected 'DESCRIPTION', found REFERENCE"},
        {"OBJECTS { a } STATUS current DESCRIPTION \"d\"\n", OG,
         "\nLine: 2: Error defining OBJECT-GROUP: Expected '::=', found "},
        {"STATUS current ::= {", AC, e + "AGENT-CAPABILITIES: Expected 'PRODUCT-RELEASE', found STATUS"},
        {"PRODUCT-RELEASE \"p\" DESCRIPTION ", AC, e + "AGENT-CAPABILITIES: Expected 'STATUS', found DESCRIPTION"},
        {"PRODUCT-RELEASE \"p\" STATUS current ::= {", AC, e + "AGENT-CAPABILITIES: Expected 'DESCRIPTION', found ::="},
        {kAC + "SUPPORTS IF-MIB VARIATION ", AC, e + "AGENT-CAPABILITIES: Expected 'INCLUDES', found VARIATION"},
        {kAC + "SUPPORTS M INCLUDES { g } VARIATION v DEFVAL 5 DESCRIPTION \"d\" ::= {", AC,
         e + "DEFVAL: No default value specified"},
        {kAC + "SUPPORTS M INCLUDES { g } VARIATION v ::= {", AC,
         e + "AGENT-CAPABILITIES: Expected 'DESCRIPTION', found ::="},
        {kAC + "SUPPORTS M INCLUDES { g } MODULE ", AC, e + " AGENT-CAPABILITIES: Expected '::=', found MODULE"},
        {"DESCRIPTION \"d\" ::= {", MC, e + "MODULE-COMPLIANCE: Expected 'STATUS', found DESCRIPTION"},
        {"STATUS current MODULE ", MC, e + "MODULE-COMPLIANCE: Expected 'DESCRIPTION', found MODULE"},
        {kMC + "::= {", MC, e + "MODULE-COMPLIANCE: Expected 'MODULE', found ::="},
        {kMC + "MODULE OBJECT o MIN-ACCESS read-only ::= {", MC,
         e + "MODULE-COMPLIANCE: Expected 'DESCRIPTION', found ::="},
        {kMC + "MODULE OBJECT x SYNTAX ACCESS ", MC, e + "SYNTAX: Invalid keyword ACCESS"},
        {kAC + "SUPPORTS M INCLUDES { g } VARIATION v WRITE-SYNTAX ACCESS ", AC, e + "SYNTAX: Invalid keyword ACCESS"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        MibFixture f(c.text);
        Check(f, c);
    }
}
