// Trace file: the whole ".dbg" text a compile leaves.  The driver deletes
// trace files when the run ends, so these tests drive the compiler object
// directly in a scratch directory and read the file before anything removes
// it.
#include <string>

#include "test_util.h"

namespace {

// The module header of T.mib and the records every main compile of it starts with.
const std::string kModule = "T-MIB DEFINITIONS ::= BEGIN\n";
const std::string kHead = "#-MIBFILE: T.mib\n\n#-MODULENAME: T-MIB\n\n";

class TraceTest : public ScratchTest {
protected:
    // Compiles `text` as the main module T.mib (mode 1) and returns the
    // trace.  CompileMIB closes the trace file but leaves it in place.
    std::string Compile(const std::string& text, bool expectOk = true) {
        ResetProcessState();
        Spit("T.mib", text);
        CMib2Trap mib;
        bool ok = false;
        std::string printed;
        CAPTURE_STDOUT(printed, ok = mib.Initialize("T", "T.int", 1) && mib.CompileMIB("T.mib", 1));
        EXPECT_EQ(ok, expectOk) << printed;
        return Slurp("T.dbg");
    }
};

TEST_F(TraceTest, ObjectTypesOtherMacrosAndModuleHeaders) {
    // Braces after a module name, IMPORTS and OBJECT IDENTIFIER assignments
    // leave nothing; each module header leaves its name.  The macros that
    // only register leave the syntax records of their SYNTAX and WRITE-SYNTAX
    // clauses, then the OID and END records; inner arcs of a value leave
    // nothing of their own.
    EXPECT_EQ(Compile("T-MIB { iso 3 6 1 } DEFINITIONS ::= BEGIN\n"
                      "IMPORTS mib-2 FROM RFC1213-MIB;\n"
                      "system OBJECT IDENTIFIER ::= { mib-2 1 }\n"
                      "sysUpTime OBJECT-TYPE SYNTAX TimeTicks ACCESS read-only STATUS mandatory ::= { system 3 }\n"
                      "sysLevel OBJECT-TYPE\n"
                      "    SYNTAX Integer32 (1 .. 10) UNITS \"steps\" MAX-ACCESS read-write STATUS current\n"
                      "    DESCRIPTION \"Two lines,\n"
                      "                 the second indented.\"\n"
                      "    REFERENCE \"Manual\" DEFVAL { 5 } ::= { system sysExtra(9) 4 }\n"
                      "sysFlags OBJECT-TYPE SYNTAX BITS { on(0), off(1) } MAX-ACCESS read-only STATUS current\n"
                      "    ::= { system 5 }\n"
                      "tMIB MODULE-IDENTITY LAST-UPDATED \"2024\" ORGANIZATION \"Example\" CONTACT-INFO \"noc\"\n"
                      "    DESCRIPTION \"Test.\" ::= { enterprises 42 }\n"
                      "tId OBJECT-IDENTITY STATUS current DESCRIPTION \"An identity.\" ::= { tMIB tIds(4) 1 }\n"
                      "tCompliance MODULE-COMPLIANCE STATUS current DESCRIPTION \"C.\"\n"
                      "    MODULE OBJECT tCounter SYNTAX INTEGER { up(1), down(2) } WRITE-SYNTAX Integer32 (1..2)\n"
                      "        DESCRIPTION \"Narrowed.\" ::= { tMIB 2 }\n"
                      "tAgent AGENT-CAPABILITIES PRODUCT-RELEASE \"1.0\" STATUS current DESCRIPTION \"A.\"\n"
                      "    SUPPORTS T-MIB INCLUDES { tGroup }\n"
                      "        VARIATION tName SYNTAX DisplayString (SIZE (0..32)) DESCRIPTION \"Shorter.\"\n"
                      "    ::= { tMIB 3 }\n"
                      "END\n"
                      "U-MIB DEFINITIONS ::= BEGIN\nEND\n"),
              kHead +
                  "#-START_OBJECTNAME: sysUpTime\n#-OBJECT_SYNTAX: TimeTicks\n"
                  "#-OBJECT_ACCESS: read-only\n#-OBJECT_STATUS: mandatory\n"
                  "#-OBJECT_OID: system 3\n#-END_OBJECTNAME: sysUpTime\n\n"
                  // INTEGER's record has a blank after the keyword and one
                  // before the subtype; the OID names the next-to-last arc.
                  "#-START_OBJECTNAME: sysLevel\n#-OBJECT_SYNTAX: Integer32  (1..10)\n"
                  "#-OBJECT_ACCESS: read-write\n#-OBJECT_STATUS: current\n"
                  "#-OBJECT_DESCRIPTION: \"Two lines,\nthe second indented.\"\n"
                  "#-OBJECT_OID: sysExtra 4\n#-END_OBJECTNAME: sysLevel\n\n"
                  // BITS has no record of its own: only its items are echoed.
                  "#-START_OBJECTNAME: sysFlags\n on(0), off(1)#-OBJECT_ACCESS: read-only\n"
                  "#-OBJECT_STATUS: current\n#-OBJECT_OID: system 5\n#-END_OBJECTNAME: sysFlags\n\n"
                  "#-OBJECT_OID: enterprises 42\n#-END_OBJECTNAME: tMIB\n\n"
                  "#-OBJECT_OID: tIds 1\n#-END_OBJECTNAME: tId\n\n"
                  "#-OBJECT_SYNTAX: INTEGER {  up(1), down(2) }\n#-OBJECT_SYNTAX: Integer32  (1..2)\n"
                  "#-OBJECT_OID: tMIB 2\n#-END_OBJECTNAME: tCompliance\n\n"
                  "#-OBJECT_SYNTAX: DisplayString (SIZE(0..32))\n"
                  "#-OBJECT_OID: tMIB 3\n#-END_OBJECTNAME: tAgent\n\n"
                  "#-MODULENAME: U-MIB\n\n");
}

TEST_F(TraceTest, TrapTypeAndNotificationType) {
    EXPECT_EQ(Compile(kModule +
                      "coldStart TRAP-TYPE ENTERPRISE snmp DESCRIPTION \"The agent restarted.\"\n"
                      "    --#SEVERITY MAJOR\n"
                      "    ::= 0\n"
                      // Enterprise in braces, no DESCRIPTION: no enterprise
                      // record, and the "--#" line is an ordinary comment.
                      "acmeAlarm TRAP-TYPE ENTERPRISE { acme 5 } VARIABLES { ifIndex, ifType }\n"
                      "    --#TYPE \"Not collected\"\n"
                      "    ::= 7\n"
                      "fooTraps OBJECT IDENTIFIER ::= { enterprises 42 }\n"
                      "fooEvent\n"
                      "    NOTIFICATION-TYPE\n"
                      "    OBJECTS { ifIndex, ifType } STATUS current DESCRIPTION \"Something happened.\"\n"
                      "    --#TYPE \"Foo event\"\n"
                      "    -- an ordinary comment\n"
                      "    --#SEVERITY MINOR\n"
                      "    ::= { fooTraps 1 }\n"
                      "END\n"),
              kHead +
                  "#-START_TRAPNAME: coldStart\n#-TRAP_ENTERPRISE: snmp\n"
                  "DESCRIPTION: \"The agent restarted.\"\n#SEVERITY MAJOR\n"
                  "#-TRAP_SPECIFIC_ID: 0\n#-RULE_HANDLER: \n#-NOTICE_HANDLER: \n#-ENABLE: true\n"
                  "#-TRAPEND: coldStart\n\n"
                  "#-START_TRAPNAME: acmeAlarm\n#-VARBIND_COUNT: 2\n"
                  "#-TRAP_SPECIFIC_ID: 7\n#-RULE_HANDLER: \n#-NOTICE_HANDLER: \n#-ENABLE: true\n"
                  "#-TRAPEND: acmeAlarm\n\n"
                  // LINE is the line being read when the keyword has been
                  // read, not the line of the descriptor.
                  "TRAPSTART: fooEvent\nLINE: 10\nOBJECT: ifIndex\nOBJECT: ifType\n"
                  "#TYPE \"Foo event\"\n#SEVERITY MINOR\nTRAPEND: fooEvent\n"
                  "#-OBJECT_OID: fooTraps 1\n#-END_OBJECTNAME: fooEvent\n\n");
}

TEST_F(TraceTest, FailedObjectTypeEndsWithEitherEndRecord) {
    const std::string object = kModule + "ifInErrors OBJECT-TYPE\n    SYNTAX Counter32\n    MAX-ACCESS read-only\n";
    const std::string records = kHead + "#-START_OBJECTNAME: ifInErrors\n#-OBJECT_SYNTAX: Counter32\n"
                                        "#-OBJECT_ACCESS: read-only\n";
    // An unreadable DESCRIPTION text ends with the form that names the line.
    EXPECT_EQ(Compile(object + "    STATUS current\n    DESCRIPTION Errors\n    ::= { ifEntry 14 }\nEND\n", false),
              records + "#-OBJECT_STATUS: current\n#-END_OBJECTNAME: ifInErrors\nLINE: 6\n");
    // A bad STATUS value ends with the short form.
    EXPECT_EQ(Compile(object + "    STATUS active\n    ::= { ifEntry 14 }\nEND\n", false),
              records + "#-END_OBJECTNAME: ifInErrors\n\n");
    // A value whose last arc has no number leaves the OID record unfinished.
    EXPECT_EQ(Compile(object + "    STATUS current\n    ::= { ifEntry ifX(3) errors }\nEND\n", false),
              records + "#-OBJECT_STATUS: current\n#-OBJECT_OID: ifX");
}

TEST_F(TraceTest, ImportedModuleHasNoMibFileRecord) {
    Spit("IMP-MIB.mib",
         "IMP-MIB DEFINITIONS ::= BEGIN\n"
         "imp OBJECT IDENTIFIER ::= { enterprises 7 }\n"
         "impTable OBJECT-TYPE SYNTAX SEQUENCE OF ImpEntry MAX-ACCESS not-accessible STATUS current\n"
         "    ::= { imp 1 }\n"
         "END\n");
    char module[] = "IMP-MIB", label[] = "impTable";
    keyword imported{nullptr, label, module};
    importFilesList entry{nullptr, module, &imported};
    FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    {
        CMib2Trap imp;
        ASSERT_TRUE(imp.Initialize(module, nullptr, 2));
        bool ok = false;
        std::string printed;
        CAPTURE_STDOUT(printed, ok = imp.ProcessImports(&entry, out));
        EXPECT_TRUE(ok) << printed;
        // Import resolution leaves the trace file open: flush it to read it.
        if (imp.m_pTrapFile) fflush(imp.m_pTrapFile.get());
        EXPECT_EQ(Slurp("IMP-MIB.dbg"),
                  "#-MODULENAME: IMP-MIB\n\n"
                  "#-START_OBJECTNAME: impTable\n#-OBJCET_SYNTAX: SEQUENCE OF ImpEntry\n"
                  "#-OBJECT_ACCESS: not-accessible\n#-OBJECT_STATUS: current\n"
                  "#-OBJECT_OID: imp 1\n#-END_OBJECTNAME: impTable\n\n");
    }
    fclose(out);
}

}  // namespace
